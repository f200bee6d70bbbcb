// An application's own zelMalloc and zelFree, in front of zelcore's: they count, and fail on demand.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zeldc_test {

struct AllocatorLog {
  int mallocs = 0;
  int frees = 0;
  int32_t last_size = 0;
  void* last_result = nullptr;
  void* last_freed = nullptr;
  bool fails = false;
  bool only_4_aligned = false;  // give addresses that are an odd multiple of 4
};

AllocatorLog& Allocator();

}  // namespace zeldc_test
