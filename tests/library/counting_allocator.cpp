#include "library/counting_allocator.h"

#include <stdlib.h>
#include <string.h>

#include "zelcore.h"

namespace zeldc_test {

AllocatorLog& Allocator() {
  static AllocatorLog log;
  return log;
}

}  // namespace zeldc_test

using zeldc_test::Allocator;

// In front of each block stands its malloc address.
constexpr size_t kHead = 64;

extern "C" void* zelMalloc(int32_t len) {
  zeldc_test::AllocatorLog& log = Allocator();
  ++log.mallocs;
  log.last_size = len;
  log.last_result = nullptr;
  if (log.fails) return nullptr;
  const size_t size = static_cast<size_t>(len);
  char* const block = static_cast<char*>(malloc(kHead + size));
  if (block == nullptr) return nullptr;
  char* const result = block + (log.only_4_aligned ? kHead - 4 : kHead);
  memset(block, 0xA5, kHead + size);
  memcpy(result - sizeof(block), &block, sizeof(block));
  log.last_result = result;
  return result;
}

extern "C" void zelFree(void* ptr) {
  ++Allocator().frees;
  Allocator().last_freed = ptr;
  if (ptr == nullptr) return;
  char* block = nullptr;
  memcpy(&block, static_cast<char*>(ptr) - sizeof(block), sizeof(block));
  free(block);
}
