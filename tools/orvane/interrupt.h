// The user, or the system, asks the tool to end. Commands look at it between frames, so that what was written
// can be finished; main then ends the process as the request would have.
#pragma once

bool IsInterrupted();

/// Throws ToolError once a request has come.
void ThrowIfInterrupted();
