#include "inflate/block_model.h"

#include "inflate/stream_builder.h"

namespace zeldc_test {

namespace {

constexpr int kGeneralIndexBits = 10;

// A bit of the stream; zeros behind what there is.
unsigned BitAt(const Bytes& stream, size_t position, size_t end) {
  return position < end ? stream[position / 8] >> (position % 8) & 1u : 0u;
}

int LengthExtraBits(int symbol) { return symbol < 265 || symbol == 285 ? 0 : (symbol - 261) / 4; }
int DistanceExtraBits(int symbol) { return symbol < 4 ? 0 : symbol / 2 - 1; }

size_t LengthBase(int symbol) {
  if (symbol == 285) return 258;
  size_t base = 3;
  for (int s = 257; s < symbol; ++s) base += size_t{1} << LengthExtraBits(s);
  return base;
}

size_t DistanceBase(int symbol) {
  size_t base = 1;
  for (int s = 0; s < symbol; ++s) base += size_t{1} << DistanceExtraBits(s);
  return base;
}

std::vector<uint16_t> FixedLengths() {
  std::vector<uint16_t> lengths;
  for (int length : FixedLitLenLengths()) lengths.push_back(static_cast<uint16_t>(length));
  for (int length : FixedDistanceLengths()) lengths.push_back(static_cast<uint16_t>(length));
  return lengths;
}

}  // namespace

BlockModel::Alphabet BlockModel::MakeAlphabet(const uint16_t* lengths, size_t count) {
  Alphabet a;
  size_t space = 0;
  for (int length = 1; length <= 15; ++length) {
    for (size_t i = 0; i < count; ++i) {
      if (lengths[i] != length) continue;
      ++a.count[static_cast<size_t>(length)];
      a.symbols.push_back(static_cast<int>(i));
      a.longest = length;
      space += size_t{1} << (15 - length);
    }
  }
  a.over_subscribed = space > 1u << 15;
  return a;
}

BlockModel::BlockModel() {
  const std::vector<uint16_t> lengths = FixedLengths();
  lit_len_ = MakeAlphabet(lengths.data(), 288);
  distance_codes_ = MakeAlphabet(lengths.data() + 288, 32);
}

BlockModel::BlockModel(const std::vector<uint16_t>& lengths, size_t lit_lens)
    : lit_len_(MakeAlphabet(lengths.data(), lit_lens)),
      distance_codes_(MakeAlphabet(lengths.data() + lit_lens, lengths.size() - lit_lens)) {
  if (lit_len_.longest > 11 || distance_codes_.longest > 10) {
    lit_len_.index_bits = distance_codes_.index_bits = kGeneralIndexBits;
  }
}

// How many bits tell that no code matches: those of the first look-up, or of the longest code that it leads to.
size_t BlockModel::BitsBelow(const Alphabet& a, const Bytes& stream, size_t position, size_t end) {
  if (a.index_bits == 0) return static_cast<size_t>(a.longest);
  size_t bits = static_cast<size_t>(a.index_bits);
  if (a.over_subscribed) return bits;
  size_t prefix = 0;
  for (size_t i = 0; i < bits; ++i) prefix = prefix << 1 | BitAt(stream, position + i, end);
  size_t first = 0;
  for (size_t length = 1; length <= 15; ++length) {
    first <<= 1;
    if (length > bits && a.count[length] > 0) {
      const size_t shift = length - static_cast<size_t>(a.index_bits);
      if (first >> shift <= prefix && prefix <= (first + a.count[length] - 1) >> shift) bits = length;
    }
    first += a.count[length];
  }
  return bits;
}

int BlockModel::Find(const Alphabet& a, const Bytes& stream, size_t* position, size_t end) {
  const size_t available = end - *position;
  size_t code = 0, first = 0, index = 0;
  for (size_t length = 1; length <= 15 && !a.over_subscribed; ++length) {
    code = code << 1 | BitAt(stream, *position + length - 1, end);
    first <<= 1;
    if (code >= first && code - first < a.count[length]) {
      if (length > available) return kLacking;
      *position += length;
      return a.symbols[index + code - first];
    }
    first += a.count[length];
    index += a.count[length];
  }
  return available < BitsBelow(a, stream, *position, end) ? kLacking : kInvalid;
}

bool BlockModel::TakeExtra(const Bytes& stream, size_t* position, size_t end, size_t* value) {
  if (end - *position < static_cast<size_t>(extra_bits_)) return false;
  for (int i = 0; i < extra_bits_; ++i) *value += size_t{BitAt(stream, *position + static_cast<size_t>(i), end)} << i;
  *position += static_cast<size_t>(extra_bits_);
  return true;
}

BlockModel::Stop BlockModel::Run(const Bytes& stream, size_t* position, size_t end, size_t room, size_t reach,
                                 Bytes* output) {
  for (;;) {
    int symbol;
    const size_t before = *position;
    switch (state_) {
      case 1:
        symbol = Find(lit_len_, stream, position, end);
        if (symbol == kLacking) return {false, 1};
        if (symbol == kInvalid || symbol > 285) {
          *position = before;
          return {true, 1};
        }
        if (symbol == 256) return {false, 0};
        if (symbol < 256) {
          literal_ = static_cast<uint8_t>(symbol);
          state_ = 6;
        } else {
          length_ = LengthBase(symbol);
          extra_bits_ = LengthExtraBits(symbol);
          state_ = 2;
        }
        break;
      case 2:
        if (!TakeExtra(stream, position, end, &length_)) return {false, 2};
        state_ = 3;
        break;
      case 3:
        symbol = Find(distance_codes_, stream, position, end);
        if (symbol == kLacking) return {false, 2};
        if (symbol == kInvalid || symbol > 29) {
          *position = before;
          return {true, 2};
        }
        distance_ = DistanceBase(symbol);
        extra_bits_ = DistanceExtraBits(symbol);
        state_ = 4;
        break;
      case 4:
        if (!TakeExtra(stream, position, end, &distance_)) return {false, 2};
        state_ = 5;
        break;
      case 5:
        if (distance_ > reach) return {true, 2};
        for (; length_ > 0; --length_, --room, ++reach) {
          if (room == 0) return {false, 2};
          output->push_back((*output)[output->size() - distance_]);
        }
        state_ = 1;
        break;
      case 6:
        if (room == 0) return {false, 2};
        output->push_back(literal_);
        --room;
        ++reach;
        state_ = 1;
        break;
    }
  }
}

}  // namespace zeldc_test
