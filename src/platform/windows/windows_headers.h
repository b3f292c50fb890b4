// The system's main header without its macros min and max.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
