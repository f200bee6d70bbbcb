#include "core.h"

#include <stdlib.h>
#include <string.h>

#include "zelcore.h"
#include "zeldc/lzo.h"

#if defined(_WIN32)
#include <omp.h>
#endif

namespace zeldc_digest {

namespace {

Conditions& Current() {
  static Conditions conditions = {0, true, 1};
  return conditions;
}

}  // namespace

bool SetConditions(const Conditions& conditions) {
  Current() = conditions;
#if defined(_WIN32)
  omp_set_num_threads(conditions.threads);
#endif
  // The record of the parallel method has so much for each thread, which tells how many the library counts.
  constexpr int64_t kInput = 16000;
  int32_t size = 0;
  if (zelsEncodeLZOGetSize(zelLZOMethodParallel, kInput, &size) != zelOk) return false;
  const int64_t threads = conditions.threads;
  return size == (threads == 1 ? 65560 : threads * (kInput + kInput / 16 + 65615) + 12);
}

}  // namespace zeldc_digest

#if !defined(_WIN32)

namespace {

// Before each allocation stands as much as keeps it aligned for every type.
constexpr size_t kHead = 64;

}  // namespace

extern "C" {

void* zelMalloc(int32_t len) {
  const zeldc_digest::Conditions& conditions = zeldc_digest::Current();
  char* const block = static_cast<char*>(malloc(kHead + static_cast<size_t>(len)));
  if (block == nullptr) return nullptr;
  // A multiple of 16 either way: that is what callers of zelMalloc may count on.
  const size_t head = conditions.aligned ? kHead : kHead / 2;
  memset(block, conditions.fill, kHead + static_cast<size_t>(len));
  MakeUninitialised(block, kHead + static_cast<size_t>(len));
  block[head - 1] = static_cast<char>(head);
  return block + head;
}

void zelFree(void* ptr) {
  if (ptr == nullptr) return;
  char* const data = static_cast<char*>(ptr);
  free(data - data[-1]);
}

int32_t ownGetNumThreads(void) { return zeldc_digest::Current().threads; }

}  // extern "C"

#endif
