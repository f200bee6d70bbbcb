// The three functions that libzeldc imports, over the system's allocator and the OpenMP run time.

#include "zelcore.h"

#include <omp.h>
#include <stdlib.h>

extern "C" void* zelMalloc(int32_t len) { return len < 1 ? nullptr : malloc(static_cast<size_t>(len)); }

extern "C" void zelFree(void* ptr) { free(ptr); }

extern "C" int32_t ownGetNumThreads(void) { return omp_get_max_threads(); }
