#pragma once

#include <cstdint>
#include <memory>
#include <optional>

/// Answers a message on the window's thread; nothing: the message is not the owner's.
using MessageHandler = std::optional<intptr_t> (*)(void* owner, uint32_t message,
                                                   intptr_t parameter) noexcept;

/// A window that nobody sees and the queue of its thread: what other threads post is handled there one by
/// one, in the order of posting.
class MessageWindow
{
  public:
    /// Ends Run. Goes to the thread, so that it arrives also where there is no window.
    static constexpr uint32_t kStop = 1035;

    virtual ~MessageWindow() = default;

    /// On the window's own thread, before anything is posted. Without success Handle stays null, and Run
    /// waits for the stop all the same.
    /// index  makes the window's class the only one of its name
    virtual void Create(uint32_t index, MessageHandler handler, void* owner) noexcept = 0;

    /// Null while there is no window.
    virtual void* Handle() const noexcept = 0;

    /// Handles messages until the stop, then destroys the window.
    virtual void Run() noexcept = 0;

    /// From any thread. False when the message was not taken.
    virtual bool Post(uint32_t message, intptr_t parameter) noexcept = 0;
    virtual bool PostStop() noexcept = 0;
};

/// A window of the system; where there are none, the queue alone.
std::unique_ptr<MessageWindow> MakeMessageWindow();
