#pragma once

namespace platform {

/// Becomes readable once the process is asked to end; -1 while requests are not caught.
int EndRequestPipe();

} // namespace platform
