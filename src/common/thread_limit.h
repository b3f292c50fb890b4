#pragma once

/// Threads that may share a frame, the calling one included.
inline constexpr int kMaxThreads = 64;
