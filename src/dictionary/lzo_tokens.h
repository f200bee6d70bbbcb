// Writing of tokens.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "core/target.h"
#include "dictionary/lzo_format.h"
#include "shared/match_copy.h"
#include "shared/unaligned.h"

namespace zeldc {

// All bits set if the number is negative, none otherwise.
ZELDC_ALWAYS_INLINE uint32_t MaskIfNegative(uint32_t v) { return static_cast<uint32_t>(static_cast<int32_t>(v) >> 31); }

inline uint8_t* WriteExtension(uint8_t* out, size_t rest) {
  for (; rest > 255; rest -= 255) *out++ = 0;
  *out++ = static_cast<uint8_t>(rest);
  return out;
}

// Any run of literals. first: nothing has been written yet; last: nothing but the end marker follows.
ZELDC_NOINLINE inline uint8_t* WriteAnyRun(uint8_t* out, const uint8_t* literals, size_t len, bool first, bool last) {
  if (len == 0) return out;
  if (first && (len <= kRunMaxLength || (last && len <= kFirstRunMax))) {
    *out++ = static_cast<uint8_t>(kFirstRun + len);
  } else if (len <= kTrailingMax) {
    out[-2] = static_cast<uint8_t>(out[-2] | len);
  } else if (len <= kRunMaxLength) {
    *out++ = static_cast<uint8_t>(len - 3);
  } else {
    *out++ = 0;
    out = WriteExtension(out, len - kRunMaxLength);
  }
  memcpy(out, literals, len);
  return out + len;
}

// A run behind which 14 bytes of input or more follow. May write 16 bytes too many.
ZELDC_ALWAYS_INLINE uint8_t* WriteRun(uint8_t* out, const uint8_t* literals, size_t len, bool first) {
  if (ZELDC_LIKELY(len <= kTrailingMax)) {  // never the first run
    out[-2] = static_cast<uint8_t>(out[-2] | len);
    StoreNative(out, LoadNative<uint32_t>(literals));
    return out + len;
  }
  if (ZELDC_LIKELY(len <= 16 && !first)) {
    *out = static_cast<uint8_t>(len - 3);
    Copy16(out + 1, literals);
    return out + 1 + len;
  }
  return WriteAnyRun(out, literals, len, first, false);
}

// A match longer than kFarMaxLength.
ZELDC_NOINLINE inline uint8_t* WriteLongMatch(uint8_t* out, uint32_t distance, size_t len) {
  const bool far = distance > kMiddleMaxDistance;
  const uint32_t word = far ? distance - kMiddleMaxDistance : distance - 1;
  const uint32_t token = far ? kFarMatch | (word & 0x4000) >> 11 : kMiddleMatch;
  const size_t most = far ? kFarMaxLength : kMiddleMaxLength;
  if (len <= most) {
    *out++ = static_cast<uint8_t>(token | (len - 2));
  } else {
    *out++ = static_cast<uint8_t>(token);
    out = WriteExtension(out, len - most);
  }
  StoreLE(out, static_cast<uint16_t>(word << 2));
  return out + 2;
}

// Any match. May write 2 bytes too many. The form of a short one depends on data that no branch would guess, so all
// forms are made, and one is taken by masks.
ZELDC_ALWAYS_INLINE uint8_t* WriteMatch(uint8_t* out, uint32_t distance, size_t len) {
  if (ZELDC_UNLIKELY(len > kFarMaxLength)) return WriteLongMatch(out, distance, len);
  const auto length = static_cast<uint32_t>(len);
  const uint32_t near =
      MaskIfNegative(length - (kNearMaxLength + 1)) & MaskIfNegative(distance - (kNearMaxDistance + 1));
  const uint32_t far = MaskIfNegative(kMiddleMaxDistance - distance);
  const uint32_t word = distance - 1 - (far & (kMiddleMaxDistance - 1));
  const uint32_t token = (far & (kFarMatch | (word & 0x4000) >> 11)) | (~far & kMiddleMatch);
  const uint32_t three = (token | (length - 2)) + ((word & 0x3FFF) << 10);
  const uint32_t two = (length - 1) << 5 | ((distance - 1) & 7) << 2 | (distance - 1) >> 3 << 8;
  StoreLE(out, three ^ ((three ^ two) & near));
  return out + 3 - (near & 1);
}

}  // namespace zeldc
