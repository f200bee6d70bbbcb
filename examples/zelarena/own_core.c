/*
 * Records come one behind the other from one arena, and its room is free again when the last of them is released: the
 * life of records in a program that makes them at the start of a job and releases them at its end. Nothing is
 * fragmented, and no more memory is used than the arena has.
 */
#include "own_core.h"

#include <pthread.h>
#include <zelcore.h>

enum { kAlignment = 64 }; /* a cache line: more than any scalar type needs */

/* Records may be made and released on any thread. */
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static uint8_t* arena;
static size_t arena_size, used;
static int32_t thread_count = 1;
static OwnCoreCounts counts;

void OwnCoreSetUp(void* memory, size_t size, int32_t threads) {
  pthread_mutex_lock(&mutex);
  arena = memory;
  arena_size = memory == NULL ? 0 : size;
  used = 0;
  thread_count = threads;
  counts.live = 0;
  pthread_mutex_unlock(&mutex);
}

OwnCoreCounts OwnCoreGetCounts(void) {
  OwnCoreCounts copy;
  pthread_mutex_lock(&mutex);
  copy = counts;
  pthread_mutex_unlock(&mutex);
  return copy;
}

void* zelMalloc(int32_t len) {
  void* record = NULL;
  size_t start;
  pthread_mutex_lock(&mutex);
  /* The first multiple of the alignment: the arena may be anywhere. */
  start = used + (kAlignment - ((uintptr_t)arena + used) % kAlignment) % kAlignment;
  if (len > 0 && start <= arena_size && (size_t)len <= arena_size - start) {
    record = arena + start;
    used = start + (size_t)len;
    ++counts.allocations;
    ++counts.live;
    counts.bytes += (size_t)len;
  } else {
    ++counts.refusals;
  }
  pthread_mutex_unlock(&mutex);
  return record;
}

void zelFree(void* ptr) {
  if (ptr == NULL) return;
  pthread_mutex_lock(&mutex);
  if (--counts.live == 0) used = 0;
  pthread_mutex_unlock(&mutex);
}

/* A parallel function of the library asks at each call, on the thread that called it. */
int32_t ownGetNumThreads(void) {
  int32_t threads;
  pthread_mutex_lock(&mutex);
  ++counts.thread_counts;
  threads = thread_count;
  pthread_mutex_unlock(&mutex);
  return threads;
}
