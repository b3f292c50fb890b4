#include "interrupt.h"

#include "platform/end_request.h"
#include "tool_error.h"

bool IsInterrupted()
{
    return platform::IsEndRequested();
}

void ThrowIfInterrupted()
{
    if (IsInterrupted())
        throw ToolError("interrupted", "", "start again to have the whole result");
}
