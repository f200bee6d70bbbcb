#include "dictionary/lzo_decompress.h"

#include <string.h>

#include "dictionary/lzo_format.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

// One stream after the other, with every byte checked. The members say what is left.
struct Decoder {
  const uint8_t* in;
  const uint8_t* const in_end;
  uint8_t* out;
  uint8_t* const out_start;
  uint8_t* const out_end;

  size_t InputLeft() const { return static_cast<size_t>(in_end - in); }
  size_t Room() const { return static_cast<size_t>(out_end - out); }

  // What a length field of 0 stands for, beyond its greatest value. Zeros are counted, so nothing can wrap.
  bool ReadExtension(size_t* len) {
    const uint8_t* const zeros = in;
    while (in != in_end && *in == 0) ++in;
    if (in == in_end) return false;
    // A length beyond all rooms saturates.
    const uint64_t sum = uint64_t{static_cast<size_t>(in - zeros)} * 255 + *in + *len;
    *len = sum > SIZE_MAX / 2 ? SIZE_MAX / 2 : static_cast<size_t>(sum);
    ++in;
    return true;
  }

  bool CopyLiterals(size_t len) {
    if (len > Room() || len > InputLeft()) return false;
    memcpy(out, in, len);
    in += len;
    out += len;
    return true;
  }

  // A token below 16 behind a match, or at the start of a stream.
  bool CopyRun(uint32_t token) {
    size_t len = token + 3;
    if (token == 0) {
      len = kRunMaxLength;
      if (!ReadExtension(&len)) return false;
    }
    return CopyLiterals(len);
  }

  // The match of a token of 16 and more, with the literals behind it. `end`: it was the end marker.
  bool CopyMatch(uint32_t token, bool* end) {
    size_t len;
    size_t distance;
    size_t trailing;
    if (token >= 64) {
      if (in == in_end) return false;
      len = (token >> 5) + 1;
      distance = (token >> 2 & 7) + (size_t{*in++} << 3) + 1;
      trailing = token & 3;
    } else {
      const bool middle = token >= kMiddleMatch;
      const uint32_t field = token & (middle ? 31 : 7);
      len = field + 2;
      if (field == 0) {
        len = middle ? kMiddleMaxLength : kFarMaxLength;
        if (!ReadExtension(&len)) return false;
      }
      if (InputLeft() < 2) return false;
      const size_t word = LoadLE<uint16_t>(in);
      in += 2;
      distance = (word >> 2) + (middle ? 1 : kMiddleMaxDistance + (size_t{token & 8} << 11));
      trailing = word & 3;
      if (!middle && field != 0 && (token & 8) == 0 && word < 4) {
        *end = true;
        return true;
      }
    }
    if (len > Room() || distance > static_cast<size_t>(out - out_start)) return false;
    for (; len > 0; --len, ++out) *out = *(out - distance);
    return CopyLiterals(trailing);
  }

  // One stream to its end marker.
  bool DecodeStream() {
    uint32_t token = *in++;
    if (token < 16 || token > kFirstRun) {
      if (!(token < 16 ? CopyRun(token) : CopyLiterals(token - kFirstRun))) return false;
      if (in == in_end || *in < 16) return false;
      token = *in++;
    }
    for (;;) {
      bool end = false;
      if (!CopyMatch(token, &end)) return false;
      if (end) return true;
      if (in == in_end) return false;
      token = *in++;
      if (token < 16) {
        if (!CopyRun(token) || in == in_end || *in < 16) return false;
        token = *in++;
      }
    }
  }
};

}  // namespace

size_t LzoDecompress(const uint8_t* in, size_t size, uint8_t* out, size_t room) {
  Decoder decoder{in, in + size, out, out, out + room};
  while (decoder.in != decoder.in_end) {
    if (!decoder.DecodeStream()) return kLzoBroken;
  }
  return static_cast<size_t>(decoder.out - out);
}

}  // namespace zeldc
