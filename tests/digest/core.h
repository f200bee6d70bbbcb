// What the program has in front of zelcore: its own memory and number of threads.
#pragma once

#include "run.h"

namespace zeldc_digest {

// Nothing can be put in front of a DLL: there the library allocates for itself, and the run time is asked for threads.
#if defined(_WIN32)
constexpr bool kOwnsCore = false;
#else
constexpr bool kOwnsCore = true;
#endif

// Makes the library's allocations and thread count what the conditions say. False if the library still sees another
// number of threads.
bool SetConditions(const Conditions& conditions);

}  // namespace zeldc_digest
