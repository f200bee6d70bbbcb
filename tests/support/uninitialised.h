/* Memory that counts as uninitialised for the memory sanitizer, whatever it holds; for C and C++. */
#ifndef ZELDC_TESTS_SUPPORT_UNINITIALISED_H
#define ZELDC_TESTS_SUPPORT_UNINITIALISED_H

#include <stddef.h>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define ZELDC_MEMORY_SANITIZER 1
#include <sanitizer/msan_interface.h>
#endif
#endif

static inline void MakeUninitialised(void* memory, size_t size) {
#ifdef ZELDC_MEMORY_SANITIZER
  __msan_poison(memory, size);
#else
  (void)memory;
  (void)size;
#endif
}

#endif
