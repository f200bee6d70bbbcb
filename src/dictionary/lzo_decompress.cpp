// A stream is a chain of tokens, and where the next one stands is known only from this one: that latency bounds the
// decoder, and wrong guesses of branches on what the tokens are. So the fast loop takes all common tokens the same way,
// without a branch on their kind: a match of either form, the 0 to 3 literals behind it, and the run of up to 18
// literals that may follow, with copies of fixed size that may go too far. From token to token it is a load, a shift
// and some ten single steps. What is left are branches that text seldom takes: lengths that are extended, matches
// longer than 32 bytes or from less than 16 bytes back.
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

// What the first byte of a match token says about it. No length: it is none, or the length is extended.
struct MatchToken {
  uint8_t len;
  uint8_t shift;  // the distance is base + (the token's bytes as a number >> shift & mask)
  uint16_t mask;
  uint32_t base;
};

struct MatchTokens {
  MatchToken of[256];
};

constexpr MatchTokens kMatchTokens = [] {
  MatchTokens tokens{};
  for (uint32_t b = 16; b < 256; ++b) {
    const uint32_t field = b & (b < kMiddleMatch ? 7 : 31);
    const auto len = static_cast<uint8_t>(b >= 64 ? (b >> 5) + 1 : field == 0 ? 0 : field + 2);
    if (b >= 64) {
      tokens.of[b] = {len, 5, 0x7F8, (b >> 2 & 7) + 1};
    } else {
      tokens.of[b] = {len, 10, 0x3FFF, b < kMiddleMatch ? uint32_t{kMiddleMaxDistance} + ((b & 8) << 11) : 1};
    }
  }
  return tokens;
}();

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
      const MatchToken token = kMatchTokens.of[bytes & 0xFF];
      // 1 for a token of three bytes, 0 for one of two, which begins with 64 and more.
      const uint32_t third = (static_cast<uint32_t>(bytes & 0xFF) - 64) >> 31;
      const uint32_t trailing = static_cast<uint32_t>(bytes >> (8 * third)) & 3;
      const size_t size = 2 + third + trailing;
      const uint32_t next = static_cast<uint8_t>(bytes >> (8 * size));
      const size_t distance = token.base + (static_cast<uint32_t>(bytes) >> token.shift & token.mask);
      const size_t len = token.len;
      // Extensions, tokens that are none, and whatever may be the end marker.
      if (ZELDC_UNLIKELY(len == 0 || next == 0 || distance == kMiddleMaxDistance)) break;
      if (ZELDC_UNLIKELY(distance > static_cast<size_t>(op - out_start))) break;
      if (ZELDC_LIKELY(distance >= 16 && len <= 32)) {
        Copy16(op, op - distance);
        Copy16(op + 16, op - distance + 16);
      } else {
        CopyMatchWide(op, distance, len);
      }
      op += len;
      StoreNative(op, LoadNative<uint32_t>(ip + 2 + third));
      op += trailing;
      ip += size;
      if (next < 16) {
        Copy16(op, ip + 1);
        StoreNative(op + 16, LoadNative<uint32_t>(ip + 17));
        op += next + 3;
        ip += next + 4;
      }
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
