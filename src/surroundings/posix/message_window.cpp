#include "surroundings/message_window.h"

#include <condition_variable>
#include <deque>
#include <mutex>

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
        for (Message next = Take(); next.message != kStop; next = Take())
            handler(owner, next.message, next.parameter);
    }

    bool Post(uint32_t message, intptr_t parameter) noexcept override
    try {
        const std::lock_guard lock(mutex);
        messages.push_back({message, parameter});
        // Notified under the lock: once the stop is taken this object may be gone.
        posted.notify_one();
        return true;
    } catch (...) {
        return false;
    }

    bool PostStop() noexcept override { return Post(kStop, 0); }

  private:
    struct Message {
        uint32_t message;
        intptr_t parameter;
    };

    Message Take()
    {
        std::unique_lock lock(mutex);
        posted.wait(lock, [this] { return !messages.empty(); });
        const Message next = messages.front();
        messages.pop_front();
        return next;
    }

    std::mutex mutex;
    std::condition_variable posted;
    std::deque<Message> messages;
    MessageHandler handler = nullptr;
    void* owner = nullptr;
};

} // namespace

std::unique_ptr<MessageWindow> MakeMessageWindow()
{
    return std::make_unique<MessageQueue>();
}
