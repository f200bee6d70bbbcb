// LZSS in its plainest form: bits as text, the whole history, a byte and a token at a time.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "bzip2/bit_string.h"
#include "dictionary/lzss_calls.h"
#include "support/bytes.h"
#include "zeldc.h"

namespace zeldc_test {

inline void PutLzssLiteral(BitString& bits, uint8_t byte) { bits.Put(1, 1).Put(byte, 8); }
inline void PutLzssMatch(BitString& bits, uint32_t distance, uint32_t length) {
  bits.Put(0, 1).Put(distance, 15).Put(length - 3, 8);
}

// The decoder. The library's must answer every call the same.
class PlainLzssDecoder {
 public:
  LzssResult Call(const Bytes& stream, size_t room) {
    LzssResult r;
    while (pending_ > 0 && r.bytes.size() < room) Copy(r);
    if (r.bytes.size() == room) return Answer(r, zelWarnDstFull);
    for (;;) {
      if (!Fill(9, stream, r)) return Answer(r, zelOk);
      if (bits_[0] == '1') {
        Write(r, static_cast<uint8_t>(Number(1, 8)));
        bits_.erase(0, 9);
      } else {
        if (!Fill(24, stream, r)) return Answer(r, zelOk);
        distance_ = Number(1, 15);
        if (distance_ == 0 || distance_ > all_.size()) return Answer(r, zelErrBadData);
        pending_ = Number(16, 8) + 3;
        bits_.erase(0, 24);
        while (pending_ > 0 && r.bytes.size() < room) Copy(r);
      }
      if (r.bytes.size() == room) return Answer(r, zelWarnDstFull);
    }
  }

 private:
  bool Fill(size_t count, const Bytes& stream, LzssResult& r) {
    while (bits_.size() < count && r.consumed < stream.size()) {
      for (int bit = 7; bit >= 0; --bit) bits_ += (stream[r.consumed] >> bit & 1) != 0 ? '1' : '0';
      ++r.consumed;
    }
    return bits_.size() >= count;
  }
  size_t Number(size_t from, size_t count) const { return std::stoul(bits_.substr(from, count), nullptr, 2); }
  void Write(LzssResult& r, uint8_t byte) {
    all_.push_back(byte);
    r.bytes.push_back(byte);
  }
  void Copy(LzssResult& r) {
    Write(r, all_[all_.size() - distance_]);
    --pending_;
  }
  static LzssResult Answer(LzssResult& r, zelStatus status) {
    r.status = status;
    return r;
  }

  Bytes all_;
  std::string bits_;
  size_t distance_ = 0;
  size_t pending_ = 0;
};

// Random tokens, valid ones, with distances near and far and matches of every length.
inline Bytes RandomLzssStream(size_t tokens, uint64_t seed, size_t* size = nullptr) {
  Random random(seed);
  BitString bits;
  size_t made = 0;
  for (size_t i = 0; i < tokens; ++i) {
    if (made == 0 || random() % 2 == 0) {
      PutLzssLiteral(bits, static_cast<uint8_t>(random()));
      ++made;
      continue;
    }
    const size_t farthest = std::min<size_t>(made, 32767);
    const size_t distance = random() % 3 == 0   ? Uniform(random, 1, std::min<size_t>(farthest, 40))
                            : random() % 8 == 0 ? farthest
                                                : Uniform(random, 1, farthest);
    const size_t length = random() % 4 == 0 ? Uniform(random, 3, 258) : Uniform(random, 3, 20);
    PutLzssMatch(bits, static_cast<uint32_t>(distance), static_cast<uint32_t>(length));
    made += length;
  }
  if (size) *size = made;
  return bits.ToBytes();
}

}  // namespace zeldc_test
