#include "dictionary/lzo_compress.h"

#include <string.h>

#include "dictionary/lzo_format.h"
#include "dictionary/lzo_hash.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

constexpr uint32_t kNeverLookedUp = 4;
constexpr uint32_t kLastLiterals = 13;

uint8_t* WriteExtension(uint8_t* out, size_t rest) {
  for (; rest > 255; rest -= 255) *out++ = 0;
  *out++ = static_cast<uint8_t>(rest);
  return out;
}

// A run of `len` literals, the last bytes of a match token in front of it if any.
uint8_t* WriteRun(uint8_t* out, const uint8_t* literals, size_t len, bool first, bool last) {
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

uint8_t* WriteMatch(uint8_t* out, size_t distance, size_t len) {
  if (len <= kNearMaxLength && distance <= kNearMaxDistance) {
    *out++ = static_cast<uint8_t>((len - 1) << 5 | ((distance - 1) & 7) << 2);
    *out++ = static_cast<uint8_t>((distance - 1) >> 3);
    return out;
  }
  size_t word = distance - 1;
  size_t token = kMiddleMatch;
  size_t most = kMiddleMaxLength;
  if (distance > kMiddleMaxDistance) {
    word = distance - kMiddleMaxDistance;
    token = kFarMatch | (word & 0x4000) >> 11;
    most = kFarMaxLength;
  }
  if (len <= most) {
    *out++ = static_cast<uint8_t>(token | (len - 2));
  } else {
    *out++ = static_cast<uint8_t>(token);
    out = WriteExtension(out, len - most);
  }
  StoreLE(out, static_cast<uint16_t>(word << 2));
  return out + 2;
}

}  // namespace

void LzoInitDictionary(LzoDictionary* dictionary) { memset(dictionary, 0, sizeof *dictionary); }

size_t LzoCompress(const uint8_t* in, uint32_t n, uint8_t* const start, LzoDictionary* dictionary) {
  uint8_t* out = start;
  uint32_t literals = 0;
  if (n > kNeverLookedUp + kLastLiterals) {
    memset(dictionary->entries, 0, sizeof dictionary->entries);
    for (uint32_t p = kNeverLookedUp; p < n - kLastLiterals;) {
      const uint32_t hash = (zelLZOHashSalt.row[0][in[p]] ^ zelLZOHashSalt.row[1][in[p + 1]] ^
                             zelLZOHashSalt.row[2][in[p + 2]] ^ zelLZOHashSalt.row[3][in[p + 3]]) &
                            kLzoHashMask;
      uint32_t* slot = &dictionary->entries[hash];
      uint32_t candidate = *slot;
      auto InReach = [&] { return candidate != 0 && p - candidate <= kFarMaxDistance; };
      auto FarAndDifferent = [&] { return p - candidate > kNearMaxDistance && in[candidate + 3] != in[p + 3]; };
      bool good = InReach();
      if (good && FarAndDifferent()) {
        slot = &dictionary->entries[SecondSlot(hash)];
        candidate = *slot;
        good = InReach() && !FarAndDifferent();
      }
      *slot = p;
      uint32_t len = 0;
      if (good) {
        while (p + len < n && in[candidate + len] == in[p + len]) ++len;
      }
      if (len < 3) {
        ++p;
        continue;
      }
      out = WriteRun(out, in + literals, p - literals, out == start, false);
      out = WriteMatch(out, p - candidate, len);
      p += len;
      literals = p;
    }
  }
  out = WriteRun(out, in + literals, n - literals, out == start, true);
  return static_cast<size_t>(out - start);
}

}  // namespace zeldc
