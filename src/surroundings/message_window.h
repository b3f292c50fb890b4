#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace surroundings {

/// Answers a message on the window's thread; nothing: the message is not the owner's.
/// parameter  of the callback; 0 for what was posted here
using MessageHandler = std::optional<intptr_t> (*)(void* owner, uint32_t message,
                                                   intptr_t parameter) noexcept;

/// A window that nobody sees and the queue of its thread: what is posted here is handled there one by one, in
/// the order of posting. What anybody else sends to window or thread is not taken for it, whatever its
/// number.
class MessageWindow
{
  public:
    /// Wakes the thread for its end, also where there is no window.
    static constexpr uint32_t kStop = 1035;
    /// From the shell, with a mouse message: the one message that comes from outside.
    static constexpr uint32_t kCallback = 1034;

    virtual ~MessageWindow() = default;

    /// On the window's own thread, before anything is posted. Without success Handle stays null, and Run
    /// waits for the stop all the same.
    /// index  makes the window's class the only one of its name
    virtual void Create(uint32_t index, MessageHandler handler, void* owner) noexcept = 0;

    /// Null while there is no window.
    virtual void* Handle() const noexcept = 0;

    /// Handles messages until the stop, then destroys the window.
    virtual void Run() noexcept = 0;

    /// From any thread, before the stop. A message that there is no memory for is lost.
    virtual void Post(uint32_t message) noexcept = 0;
    /// Never lost. Nothing here may be used after it: the thread may be gone.
    virtual void PostStop() noexcept = 0;
};

/// A window of the system; where there are none, the queue alone.
std::unique_ptr<MessageWindow> MakeMessageWindow();

} // namespace surroundings
