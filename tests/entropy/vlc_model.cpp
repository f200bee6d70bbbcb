#include "entropy/vlc_model.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace zeldc_test {

namespace {

// Memory that held something else before.
void Dirty(const GuardedBuffer& memory) { std::fill(memory.data(), memory.end(), uint8_t{0xA5}); }

size_t SizeOf(zelStatus status, int32_t size) {
  if (status != zelOk) throw std::runtime_error("no size for a table: " + std::to_string(status));
  return static_cast<size_t>(size);
}

size_t EncoderSize(const Codes& codes) {
  int32_t size = 0;
  const zelStatus status = zelsVLCEncodeGetSize_32s(codes.data(), static_cast<int32_t>(codes.size()), &size);
  return SizeOf(status, size);
}

size_t DecoderSize(const Codes& codes, const std::vector<int32_t>& widths) {
  int32_t size = 0;
  const zelStatus status = zelsVLCDecodeGetSize_32s(codes.data(), static_cast<int32_t>(codes.size()), widths.data(),
                                                    static_cast<int32_t>(widths.size()), &size);
  return SizeOf(status, size);
}

size_t TupleDecoderSize(const Codes& codes, const std::vector<int32_t>& widths, int32_t tuple_size,
                        int32_t element_bits) {
  int32_t size = 0;
  const zelStatus status =
      zelsVLCDecodeUTupleGetSize_32s(codes.data(), static_cast<int32_t>(codes.size()), widths.data(),
                                     static_cast<int32_t>(widths.size()), tuple_size, element_bits, &size);
  return SizeOf(status, size);
}

bool IsDirtyAround(const GuardedBuffer& memory, const uint8_t* record, size_t size) {
  const auto dirty = [](uint8_t byte) { return byte == 0xA5; };
  return std::all_of<const uint8_t*>(memory.data(), record, dirty) &&
         std::all_of<const uint8_t*>(record + size, memory.end(), dirty);
}

// The size with enough behind it that the record, ending at the guard page, begins `offset` behind a multiple of 32.
uint8_t* RecordIn(const GuardedBuffer& memory, size_t size, size_t offset) {
  uint8_t* const last = memory.end() - size;
  const uintptr_t excess = (reinterpret_cast<uintptr_t>(last) - offset) % 32;
  return last - excess;
}

}  // namespace

Codes RandomCodes(const CodesShape& shape, Random& random) {
  // Splits of some code, beginning with the one of no bits. Taking the last one again and again makes long ones.
  std::vector<std::pair<uint32_t, int32_t>> leaves = {{0, 0}};
  const size_t wanted = shape.complete ? shape.n : shape.n + shape.n / 4 + 1;
  const size_t bias = Uniform(random, 0, 3);
  while (leaves.size() < std::max<size_t>(wanted, 2)) {
    size_t at = bias > 0 && Uniform(random, 0, 3) < bias ? leaves.size() - 1 : Uniform(random, 0, leaves.size() - 1);
    while (leaves[at].second == shape.max_length) at = Uniform(random, 0, leaves.size() - 1);
    const auto [code, length] = leaves[at];
    leaves[at] = {code << 1, length + 1};
    leaves.push_back({code << 1 | 1, length + 1});
  }
  std::shuffle(leaves.begin(), leaves.end(), random);
  leaves.resize(std::max<size_t>(shape.n, shape.complete ? 2 : 1));

  std::set<int32_t> used;
  Codes codes;
  for (const auto& [code, length] : leaves) {
    int32_t value = 0;
    do {
      value = shape.low + static_cast<int32_t>(Uniform(random, 0, static_cast<size_t>(shape.high - shape.low)));
    } while (!used.insert(value).second);
    // What stands above a code's bits must not matter.
    const uint32_t above = length < 32 ? static_cast<uint32_t>(random()) << length : 0;
    codes.push_back({value, static_cast<int32_t>(code | above), length});
  }
  return codes;
}

Values RandomValues(const Codes& codes, size_t n, Random& random) {
  Values values;
  while (values.size() < n) {
    const zelVLCCode& code = codes[Uniform(random, 0, codes.size() - 1)];
    const int32_t rarity = std::min(code.length, 10);
    if (random() % (uint64_t{1} << rarity) < 4) values.push_back(static_cast<int16_t>(code.value));
  }
  return values;
}

VlcEncoder::VlcEncoder(const Codes& codes, size_t offset)
    : memory_(EncoderSize(codes) + 32), size_(EncoderSize(codes)), record_(RecordIn(memory_, size_, offset)) {
  Dirty(memory_);
  if (zelsVLCEncodeInit_32s(codes.data(), static_cast<int32_t>(codes.size()), get()) != zelOk) {
    throw std::runtime_error("Init of an encoder");
  }
}

VlcDecoder::VlcDecoder(const Codes& codes, const std::vector<int32_t>& widths, size_t offset)
    : memory_(DecoderSize(codes, widths) + 32),
      size_(DecoderSize(codes, widths)),
      record_(RecordIn(memory_, size_, offset)) {
  Dirty(memory_);
  if (zelsVLCDecodeInit_32s(codes.data(), static_cast<int32_t>(codes.size()), widths.data(),
                            static_cast<int32_t>(widths.size()), get()) != zelOk) {
    throw std::runtime_error("Init of a decoder");
  }
}

VlcDecoder::VlcDecoder(const Codes& codes, const std::vector<int32_t>& widths, int32_t tuple_size, int32_t element_bits,
                       size_t offset)
    : memory_(TupleDecoderSize(codes, widths, tuple_size, element_bits) + 32),
      size_(TupleDecoderSize(codes, widths, tuple_size, element_bits)),
      record_(RecordIn(memory_, size_, offset)) {
  Dirty(memory_);
  if (zelsVLCDecodeUTupleInit_32s(codes.data(), static_cast<int32_t>(codes.size()), widths.data(),
                                  static_cast<int32_t>(widths.size()), tuple_size, element_bits, get()) != zelOk) {
    throw std::runtime_error("Init of a decoder for tuples");
  }
}

bool VlcEncoder::IsInside() const { return IsDirtyAround(memory_, record_, size_); }

bool VlcDecoder::IsInside() const { return IsDirtyAround(memory_, record_, size_); }

Place PlaceOf(uint8_t* base, size_t bits) { return {base + bits / 8, static_cast<int32_t>(bits % 8)}; }

Words::Words(size_t bits, Guard guard, uint64_t seed) : buffer_((bits + 31) / 32 * 4, guard) {
  const Bytes bytes = RandomBytes(buffer_.size(), seed);
  std::copy(bytes.begin(), bytes.end(), buffer_.data());
}

bool BitOf(const Bytes& bytes, size_t at) { return at / 8 < bytes.size() && (bytes[at / 8] >> (7 - at % 8) & 1) != 0; }

void SetBit(Bytes& bytes, size_t at, bool bit) {
  const unsigned mask = 0x80u >> at % 8;
  uint8_t& byte = bytes.at(at / 8);
  byte = static_cast<uint8_t>(bit ? byte | mask : byte & ~mask);
}

size_t EncodeByModel(const Codes& codes, const Values& values, Bytes& words, size_t at, size_t* written) {
  size_t count = 0;
  for (int16_t value : values) {
    const auto entry = std::find_if(codes.begin(), codes.end(), [&](const zelVLCCode& c) { return c.value == value; });
    if (entry == codes.end() || entry->length < 1 || entry->length > 32) break;
    const size_t start = at;
    for (int32_t bit = entry->length; bit-- > 0;) {
      SetBit(words, at++, entry->length < 32 && (static_cast<uint32_t>(entry->code) >> bit & 1) != 0);
    }
    if (start / 32 == at / 32) {
      for (size_t rest = at; rest % 32 != 0; ++rest) SetBit(words, rest, true);
    }
    ++count;
  }
  if (written != nullptr) *written = count;
  return at;
}

const zelVLCCode* DecodeByModel(const Codes& codes, const Bytes& stream, size_t at) {
  uint64_t bits = 0;
  for (size_t i = 0; i < 32; ++i) bits = bits << 1 | (BitOf(stream, at + i) ? 1 : 0);
  for (const zelVLCCode& code : codes) {
    const uint64_t mask = (uint64_t{1} << code.length) - 1;
    if (bits >> (32 - code.length) == (static_cast<uint32_t>(code.code) & mask)) return &code;
  }
  return nullptr;
}

}  // namespace zeldc_test
