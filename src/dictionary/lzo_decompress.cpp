// A stream is a chain of tokens, and where the next one stands is known only from this one: that latency bounds the
// decoder, and wrong guesses of branches on what the tokens are. So the fast loop takes all common tokens the same way,
// without a branch on their kind: a match of either form, the 0 to 3 literals behind it, and the run of up to 18
// literals that may follow, with copies of fixed size that may go too far. From token to token it is a load, a shift and
// some ten single steps. What is left are branches that text seldom takes: lengths that are extended, matches longer
// than 32 bytes or from less than 16 bytes back.
//
// Once a round it is checked that both ends are far enough away for whatever a round may touch. The careful step does
// the same with every byte checked: for the tokens that the fast loop passes over, and near the ends.

#include "dictionary/lzo_decompress.h"

#include <string.h>

#include "core/target.h"
#include "dictionary/lzo_format.h"
#include "shared/match_copy.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

// What a round of the fast loop may read: a token, 3 literals, the next token, and 20 literals of its run.
constexpr ptrdiff_t kInputMargin = 3 + 3 + 1 + 20;
// And write: a match of 33 bytes with the slack of its copy, or 3 literals and a run of 20 behind it.
constexpr ptrdiff_t kRoomMargin = 33 + kCopySlack;
static_assert(kRoomMargin >= 33 + 3 + 20);

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
    const uint64_t sum = uint64_t{static_cast<size_t>(in - zeros)} * 255 + *in + *len;
    *len = sum < SIZE_MAX ? static_cast<size_t>(sum) : SIZE_MAX;
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

  // A run by its token, which has been read: one below 16.
  bool CopyRun(uint32_t token) {
    size_t len = token + 3;
    if (token == 0) {
      len = kRunMaxLength;
      if (!ReadExtension(&len)) return false;
    }
    return CopyLiterals(len);
  }

  // Behind a run: whether a match follows.
  bool AtMatch() const { return in != in_end && *in >= 16; }

  // To the first match.
  bool StartStream() {
    const uint32_t token = *in;
    if (token == 16 || token == kFirstRun) return true;
    ++in;
    return (token < 16 ? CopyRun(token) : CopyLiterals(token - kFirstRun)) && AtMatch();
  }

  // Everything from a match, at whose token `in` stands, to the next. `end`: it was the end marker.
  ZELDC_NOINLINE bool CarefulStep(bool* end) {
    const uint32_t token = *in++;
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
    if (Room() - len >= kCopySlack) {
      CopyMatchWide(out, distance, len);
    } else {
      CopyMatchExact(out, distance, len);
    }
    out += len;
    if (!CopyLiterals(trailing) || in == in_end) return false;
    if (*in >= 16) return true;
    const uint32_t run = *in++;
    return CopyRun(run) && AtMatch();
  }

  // As many such steps as are common and far enough from the ends. Always stops at a match.
  void FastSteps() {
    const uint8_t* ip = in;
    uint8_t* op = out;
    const uint8_t* const ip_limit = in_end - kInputMargin;
    uint8_t* const op_limit = out_end - kRoomMargin;
    while (ip <= ip_limit && op <= op_limit) {
      const uint64_t bytes = LoadLE<uint64_t>(ip);
      const auto token = static_cast<uint32_t>(bytes & 0xFF);
      const bool near = token >= 64;
      const bool far = token < kMiddleMatch;
      const auto word = static_cast<uint32_t>(bytes >> 8 & 0xFFFF);
      const uint32_t field = token & (far ? 7 : 31);
      const size_t len = near ? (token >> 5) + 1 : field + 2;
      const uint32_t base = far ? kMiddleMaxDistance + ((token & 8) << 11) : 1;
      const size_t distance = near ? (token >> 2 & 7) + ((word & 0xFF) << 3) + 1 : base + (word >> 2);
      const size_t trailing = (near ? token : word) & 3;
      const size_t size = 3 - near + trailing;
      const auto next = static_cast<uint32_t>(bytes >> (8 * size) & 0xFF);
      const bool run = next < 16;
      // Extensions, tokens that are none, and whatever may be the end marker.
      if (ZELDC_UNLIKELY((!near && field == 0) || token < 16 || next == 0 || distance == kMiddleMaxDistance)) break;
      if (ZELDC_UNLIKELY(distance > static_cast<size_t>(op - out_start))) break;
      if (ZELDC_LIKELY(distance >= 16 && len <= 32)) {
        Copy16(op, op - distance);
        Copy16(op + 16, op - distance + 16);
      } else {
        CopyMatchWide(op, distance, len);
      }
      op += len;
      StoreNative(op, LoadNative<uint32_t>(ip + size - trailing));
      op += trailing;
      Copy16(op, ip + size + 1);
      StoreNative(op + 16, LoadNative<uint32_t>(ip + size + 17));
      op += run ? next + 3 : 0;
      ip += size + (run ? next + 4 : 0);
    }
    in = ip;
    out = op;
  }

  bool DecodeStream() {
    if (!StartStream()) return false;
    for (bool end = false; !end;) {
      if (in_end - in >= kInputMargin && out_end - out >= kRoomMargin) FastSteps();
      if (!AtMatch() || !CarefulStep(&end)) return false;
    }
    return true;
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
