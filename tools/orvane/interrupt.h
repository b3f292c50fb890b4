// Ctrl-C. Commands look at it between frames, so that what was written stays readable.
#pragma once

/// From now on Ctrl-C sets a mark; a second one ends the program at once.
void CatchInterrupt();

/// Throws ToolError once the mark is set.
void ThrowIfInterrupted();
