#pragma once

#include "common/compiler.h"

/// The debug trace. It produces nothing and costs nothing: the arguments are named in an operand that is
/// never evaluated, so that a call compiles to no code while its format stays checked.
#define Trace(...) static_cast<void>(sizeof(TraceFormatCheck(__VA_ARGS__)))

/// Never defined; lets the compiler check the arguments of Trace against its format.
ORVANE_PRINTF(1, 2) int TraceFormatCheck(const char* format, ...);
