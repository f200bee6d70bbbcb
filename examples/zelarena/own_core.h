/*
 * A core of the application's own: what libzeldc asks of zelcore.h, with a limit on memory, counters, and a number of
 * threads that the application sets. Linked into a program, it takes the place of libzelcore's three functions.
 */
#ifndef ZELARENA_OWN_CORE_H
#define ZELARENA_OWN_CORE_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define OWN_CORE_API
#else
#define OWN_CORE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What has been asked since the start. */
typedef struct OwnCoreCounts {
  size_t allocations;   /* zelMalloc calls that got memory */
  size_t refusals;      /* zelMalloc calls that did not */
  size_t bytes;         /* asked for by the former */
  size_t live;          /* records that are not released */
  size_t thread_counts; /* ownGetNumThreads calls */
} OwnCoreCounts;

/*
 * Sets up the arena from which all records come, and the number of threads. No record may be live.
 *
 * memory   size bytes, which the arena uses until the next call; null for none
 * threads  the answer of ownGetNumThreads, at least 1
 */
OWN_CORE_API void OwnCoreSetUp(void* memory, size_t size, int32_t threads);

OWN_CORE_API OwnCoreCounts OwnCoreGetCounts(void);

#ifdef __cplusplus
}
#endif

#endif
