#include "zelbzip2/bit_window.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "zelbzip2/format.h"

namespace zelbzip2 {

namespace {

constexpr size_t kPieceBytes = 256 << 10;

// A mark of 48 bits that begins at any bit of a byte ends within seven bytes.
constexpr uint64_t kMarkSpan = 7;

uint64_t BigEndian56(const uint8_t* bytes) {
  uint64_t value = 0;
  for (uint64_t i = 0; i < kMarkSpan; ++i) value = value << 8 | bytes[i];
  return value;
}

// Of the bytes 1 and 2 behind the one in which a mark begins each has eight values for each of the two marks, one for
// each bit to begin at. The tables have, for a byte's value, the bits where the mark may begin.
using Starts = std::array<uint8_t, 256>;

constexpr Starts StartsByByte(int byte) {
  Starts starts{};
  for (const uint64_t mark : {kBlockMark, kStreamEnd}) {
    for (int bit = 0; bit < 8; ++bit) {
      const auto value = static_cast<uint8_t>(mark << (8 - bit) >> (8 * (6 - byte)));
      starts[value] = static_cast<uint8_t>(starts[value] | 1u << bit);
    }
  }
  return starts;
}

constexpr Starts kStartsByByte1 = StartsByByte(1);
constexpr Starts kStartsByByte2 = StartsByByte(2);

}  // namespace

bool BitWindow::Reach(uint64_t end) {
  while (this->end() < end) {
    if (buffer_.size() - held_ < kPieceBytes) {
      // What is given up makes room when it is half of the buffer; so each byte is moved a few times at most.
      if (first_ > 0 && first_ >= held_ - first_) {
        std::memmove(buffer_.data(), buffer_.data() + first_, held_ - first_);
        held_ -= first_;
        first_ = 0;
      }
      buffer_.resize(std::max(buffer_.size(), held_ + kPieceBytes));
    }
    const size_t count = input_.ReadSome(buffer_.data() + held_, buffer_.size() - held_);
    if (count == 0) return false;
    held_ += count;
  }
  return true;
}

void BitWindow::Forget(uint64_t begin) {
  first_ += static_cast<size_t>(begin - begin_);
  begin_ = begin;
}

std::optional<uint64_t> BitWindow::Number(uint64_t bit, int bits) {
  const uint64_t last = (bit + static_cast<uint64_t>(bits) + 7) / 8;
  if (!Reach(last)) return std::nullopt;
  uint64_t value = 0;
  for (uint64_t byte = bit / 8; byte < last; ++byte) value = value << 8 | *At(byte);
  value >>= last * 8 - bit - static_cast<uint64_t>(bits);
  return value & ((uint64_t{1} << bits) - 1);
}

std::optional<Mark> MarkFinder::Next(uint64_t limit) {
  uint64_t byte = position_ / 8;
  unsigned wanted = 0xFFu << position_ % 8;  // of the first byte's bits
  while (byte < limit && window_.Reach(byte + kMarkSpan)) {
    const uint8_t* const bytes = window_.At(byte);
    const uint64_t count = std::min(limit, window_.end() - kMarkSpan + 1) - byte;
    for (uint64_t i = 0; i < count; ++i) {
      const unsigned starts = kStartsByByte1[bytes[i + 1]] & kStartsByByte2[bytes[i + 2]] & wanted;
      wanted = 0xFF;
      if (starts == 0) continue;
      for (unsigned bit = 0; bit < 8; ++bit) {
        const uint64_t mark = BigEndian56(bytes + i) >> (8 - bit) & ((uint64_t{1} << kMarkBits) - 1);
        if ((starts >> bit & 1) == 0 || (mark != kBlockMark && mark != kStreamEnd)) continue;
        const uint64_t found = (byte + i) * 8 + bit;
        position_ = found + 1;
        return Mark{found, mark == kBlockMark};
      }
    }
    byte += count;
    position_ = byte * 8;
  }
  return std::nullopt;
}

}  // namespace zelbzip2
