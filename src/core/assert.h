// What must hold or memory is at stake: preconditions that callers inside the library keep, held against them in builds
// with sanitizers, and nothing in others.
#pragma once

#if defined(ZELDC_ASSERTIONS)
#define ZELDC_ASSERT(condition) ((condition) ? static_cast<void>(0) : __builtin_trap())
#else
#define ZELDC_ASSERT(condition) static_cast<void>(sizeof((condition) ? 1 : 0))
#endif
