// Which form of a kernel callers get. Scalar and SSE2 forms are always both built, so that tests can hold
// them together; this constant alone chooses.
#pragma once

#ifdef ORVANE_SCALAR
inline constexpr bool kScalarOnly = true;
#else
inline constexpr bool kScalarOnly = false;
#endif
