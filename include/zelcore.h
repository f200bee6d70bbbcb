/*
 * zelcore: the three functions that the zeldc library imports.
 *
 * libzeldc never calls the system's allocator or asks the OpenMP run time for a thread count itself. It imports
 * these three symbols by name, so an application that wants its own allocator or thread policy defines them and
 * links (or preloads) its definitions in front of libzelcore.
 */
#ifndef ZELCORE_H
#define ZELCORE_H

#include <stdint.h>

#if defined(_WIN32)
#define ZELCORE_API
#else
#define ZELCORE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Allocates memory for one state record.
 *
 * len: bytes wanted; the library asks for at least 1.
 * Returns memory aligned for any scalar type, or null when there is none. The content is not initialised.
 */
ZELCORE_API void* zelMalloc(int32_t len);

/*
 * Releases memory obtained from zelMalloc.
 *
 * ptr: the address zelMalloc returned, or null, which does nothing.
 */
ZELCORE_API void zelFree(void* ptr);

/*
 * The number of threads, at least 1, that a parallel region of the library may use. It is asked anew at every
 * region. This implementation answers what the OpenMP run time would use, so OMP_NUM_THREADS works as usual.
 */
ZELCORE_API int32_t ownGetNumThreads(void);

#ifdef __cplusplus
}
#endif

#endif
