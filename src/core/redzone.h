// Memory between the areas of a record that nobody may touch while a call runs: with the address sanitizer an overrun
// from one area into the next is an error then, as it is at the ends of the record. Between calls all of the record is
// the caller's. Without the sanitizer there is nothing of it, in records or in code.
#pragma once

#include <stdint.h>

#if defined(__SANITIZE_ADDRESS__)
#define ZELDC_REDZONES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZELDC_REDZONES 1
#endif
#endif
#ifndef ZELDC_REDZONES
#define ZELDC_REDZONES 0
#endif

#if ZELDC_REDZONES
#include <sanitizer/asan_interface.h>
#endif

namespace zeldc {

#if ZELDC_REDZONES

// A member between two areas.
#define ZELDC_REDZONE(name) zeldc::Redzone name;

struct Redzone {
  uint32_t words[8];
};

// From the check of a call's arguments to its end. The record hands its redzones to the function that it is given.
template <typename Record>
class RedzoneGuard {
 public:
  explicit RedzoneGuard(const Record* record) : record_(record) {
    record_->ForEachRedzone([](const auto&... zones) { (__asan_poison_memory_region(&zones, sizeof(zones)), ...); });
  }
  ~RedzoneGuard() {
    record_->ForEachRedzone([](const auto&... zones) { (__asan_unpoison_memory_region(&zones, sizeof(zones)), ...); });
  }
  RedzoneGuard(const RedzoneGuard&) = delete;
  RedzoneGuard& operator=(const RedzoneGuard&) = delete;

 private:
  const Record* const record_;
};

#else

#define ZELDC_REDZONE(name)

template <typename Record>
struct RedzoneGuard {
  explicit RedzoneGuard(const Record* /*record*/) {}
};

#endif

}  // namespace zeldc
