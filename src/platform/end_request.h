// Signals that ask a program to end: it finishes its work first, then ends as they would have ended it.
#pragma once

namespace platform {

/// From now on Ctrl-C, a request to terminate and a closing terminal set a mark and wake a read, or a write
/// to a pipe, that waits. Those that the process was started to ignore stay ignored. After the first, Ctrl-C
/// ends the process at once. Writes to a pipe without a reader and beyond the limit of file sizes fail
/// instead of ending the process.
void CatchEndRequests();

/// Whether one has come. Any thread.
bool IsEndRequested();

/// Ends the process the way the request does by default, so that whoever started it sees why. Only once one
/// has come.
[[noreturn]] void EndAsRequested();

} // namespace platform
