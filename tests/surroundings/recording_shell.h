// A notification area that writes down what is asked of it.
#pragma once

#include "platform/host_path.h"
#include "surroundings/tray_thread.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

/// Notes what the notifier asks of it, in words.
class RecordingShell final : public surroundings::TrayShell
{
  public:
    void Add(void* window, surroundings::TrayMode mode) override { Note(window, "add " + ModeText(mode)); }
    void Update(void* window, surroundings::TrayMode mode, const surroundings::TrayTexts& texts,
                bool balloon) override
    {
        Note(window, (balloon ? "balloon " : "update ") + ModeText(mode) + ": " + texts.info);
    }
    void Remove(void* window) override { Note(window, "remove"); }

    /// All that was noted, once there are `count` entries.
    std::vector<std::string> WaitFor(size_t count)
    {
        std::unique_lock lock(mutex);
        noted.wait(lock, [&] { return entries.size() >= count; });
        return entries;
    }

    void* Window()
    {
        const std::lock_guard lock(mutex);
        return lastWindow;
    }

  private:
    static std::string ModeText(surroundings::TrayMode mode)
    {
        return std::to_string(static_cast<int>(mode));
    }

    void Note(void* window, const std::string& entry)
    {
        const std::lock_guard lock(mutex);
        EXPECT_NE(window, nullptr);
        lastWindow = window;
        entries.push_back(entry);
        noted.notify_all();
    }

    std::mutex mutex;
    std::condition_variable noted;
    std::vector<std::string> entries;
    void* lastWindow = nullptr;
};

inline surroundings::TrayStatus StatusOf(surroundings::TrayMode mode, uint32_t width)
{
    surroundings::TrayStatus status;
    status.Mode = mode;
    status.Width = width;
    status.Height = 3;
    std::snprintf(status.FormatText, sizeof status.FormatText, "YUY2");
    std::snprintf(status.CompressedText, sizeof status.CompressedText, "YUV");
    return status;
}

inline std::string InfoOf(const surroundings::TrayStatus& status)
{
    return surroundings::BuildTrayTexts(status, surroundings::ShortHostName(platform::HostPath())).info;
}

using Entries = std::vector<std::string>;
