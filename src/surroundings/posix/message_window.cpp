#include "surroundings/message_window.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace surroundings {

namespace {

class MessageQueue final : public MessageWindow
{
  public:
    void Create(uint32_t, MessageHandler handler_, void* owner_) noexcept override
    {
        handler = handler_;
        owner = owner_;
    }

    void* Handle() const noexcept override { return handler ? owner : nullptr; }

    void Run() noexcept override
    {
        while (const std::optional<uint32_t> next = Take())
            handler(owner, *next, 0);
    }

    // Both notify under the lock: once the stop is taken this object may be gone.

    void Post(uint32_t message) noexcept override
    try {
        const std::lock_guard guard(lock);
        messages.push_back(message);
        posted.notify_one();
    } catch (...) { // out of memory: the message is lost
        return;
    }

    void PostStop() noexcept override
    {
        const std::lock_guard guard(lock);
        stopping = true;
        posted.notify_one();
    }

  private:
    /// Nothing: the stop came after all that was posted.
    std::optional<uint32_t> Take()
    {
        std::unique_lock guard(lock);
        posted.wait(guard, [this] { return stopping || !messages.empty(); });
        if (messages.empty())
            return std::nullopt;
        const uint32_t next = messages.front();
        messages.pop_front();
        return next;
    }

    std::mutex lock;
    std::condition_variable posted;
    std::deque<uint32_t> messages;
    bool stopping = false;
    MessageHandler handler = nullptr;
    void* owner = nullptr;
};

} // namespace

std::unique_ptr<MessageWindow> MakeMessageWindow()
{
    return std::make_unique<MessageQueue>();
}

} // namespace surroundings
