// Variable-length codes. Any table, as an encoder's and as a decoder's with and without tuples: sizes, records and
// calls agree with each other, and stay in their memory. Tables that are prefix codes: what is coded comes back.

#include <algorithm>

#include "fuzz_support.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using zeldc_test::Guard;
using zeldc_test::GuardedBuffer;

namespace {

using Codes = std::vector<zelVLCCode>;
using Values = std::vector<int16_t>;

constexpr int32_t kMostMemory = 1 << 17;
constexpr size_t kMostBytes = 5000;
constexpr int32_t kMostCodes = 10000;  // enough for the ways of long calls

int32_t SizeOf(const auto& elements) { return static_cast<int32_t>(elements.size()); }

// A record in memory of just its size.
class Memory {
 public:
  explicit Memory(int32_t size) : buffer_(static_cast<size_t>(size)) {
    std::fill(buffer_.data(), buffer_.end(), uint8_t{0xA5});
  }
  template <typename Record>
  Record* As() const {
    return reinterpret_cast<Record*>(buffer_.data());
  }

 private:
  GuardedBuffer buffer_;
};

struct Table {
  Codes codes;
  std::vector<int32_t> widths;
  int32_t tuple_size;  // 0: without tuples
  int32_t element_bits;
  int32_t longest = 0;
};

// Codes as the bytes have it, or by splitting: each byte splits a code in two, so that they are a prefix code.
Codes ReadCodes(Input& input) {
  const uint8_t kind = input.Byte();
  const size_t n = 1 + input.Word() % 400;
  Codes codes;
  if (kind % 4 == 0) {
    for (size_t i = 0; i < n; ++i) {
      const int32_t value = static_cast<int16_t>(input.Word()) * (kind & 4 ? 65537 : 1);
      const int32_t code = input.Word() << (kind & 8 ? 16 : 0) | input.Byte();
      codes.push_back({value, code, static_cast<int8_t>(input.Byte()) % 40});
    }
    return codes;
  }
  codes = {{0, 0, 1}, {0, 1, 1}};
  for (size_t i = 0; i < n; ++i) {
    zelVLCCode& split = codes[input.Byte() % 3 == 0 ? codes.size() - 1 : input.Word() % codes.size()];
    if (split.length == 31 + (kind & 4) / 4) continue;
    ++split.length;
    split.code = static_cast<int32_t>(static_cast<uint32_t>(split.code) << 1);
    const zelVLCCode other = {0, split.code | 1, split.length};
    codes.push_back(other);
  }
  const int32_t scale = 1 + input.Byte() % 160;
  for (size_t i = 0; i < codes.size(); ++i) {
    codes[i].value = (static_cast<int32_t>(i) - (kind & 8 ? 200 : 0)) * (kind & 32 ? scale * scale : scale);
  }
  if (kind & 16) codes.erase(codes.begin() + static_cast<ptrdiff_t>(input.Word() % codes.size()));
  return codes;
}

Table ReadTable(Input& input) {
  Table table;
  table.codes = ReadCodes(input);
  for (size_t n = 1 + input.Byte() % 7; n > 0; --n) table.widths.push_back(static_cast<int8_t>(input.Byte()) % 16);
  if (input.Byte() % 2 == 0) table.widths.insert(table.widths.end(), 32, 1 + input.Byte() % 12);
  table.tuple_size = std::max(0, static_cast<int8_t>(input.Byte()) % 33);
  table.element_bits = static_cast<int8_t>(input.Byte()) % 33;
  for (const zelVLCCode& code : table.codes) table.longest = std::max(table.longest, code.length);
  return table;
}

// ---- Decoding ----

zelStatus GetSize(const Table& t, int32_t* size) {
  return t.tuple_size == 0
             ? zelsVLCDecodeGetSize_32s(t.codes.data(), SizeOf(t.codes), t.widths.data(), SizeOf(t.widths), size)
             : zelsVLCDecodeUTupleGetSize_32s(t.codes.data(), SizeOf(t.codes), t.widths.data(), SizeOf(t.widths),
                                              t.tuple_size, t.element_bits, size);
}

zelStatus Init(const Table& t, zelVLCDecodeState* record) {
  return t.tuple_size == 0
             ? zelsVLCDecodeInit_32s(t.codes.data(), SizeOf(t.codes), t.widths.data(), SizeOf(t.widths), record)
             : zelsVLCDecodeUTupleInit_32s(t.codes.data(), SizeOf(t.codes), t.widths.data(), SizeOf(t.widths),
                                           t.tuple_size, t.element_bits, record);
}

struct Decoded {
  zelStatus status = zelOk;
  Values values;
  size_t end = 0;  // in bits
};

// Decodes n codes from the bit `start` on, or, one at a time, as many as lie before the end of the stream.
Decoded Decode(const Table& table, const zelVLCDecodeState* record, const GuardedBuffer& stream, size_t start,
               int32_t n, bool one_by_one) {
  const size_t per_code = static_cast<size_t>(std::max(table.tuple_size, 1));
  uint8_t* byte = stream.data() + start / 8;
  int32_t bit = static_cast<int32_t>(start % 8);
  Decoded decoded;
  decoded.end = start;
  Values values;
  const auto call = [&](auto one, auto block) {
    values.resize(per_code * static_cast<size_t>(one_by_one ? 1 : n));
    decoded.status =
        one_by_one ? one(&byte, &bit, values.data(), record) : block(&byte, &bit, values.data(), n, record);
    Check(bit >= 0 && bit < 8, "bit offset");
    decoded.end = 8 * static_cast<size_t>(byte - stream.data()) + static_cast<size_t>(bit);
    if (decoded.status == zelOk) decoded.values.insert(decoded.values.end(), values.begin(), values.end());
  };
  const size_t reach = static_cast<size_t>(table.longest + table.tuple_size);
  do {
    if (one_by_one && decoded.end + reach > 8 * stream.size()) break;
    if (table.tuple_size == 0) {
      call(zelsVLCDecodeOne_1u16s, zelsVLCDecodeBlock_1u16s);
    } else {
      call(zelsVLCDecodeUTupleOne_1u16s, zelsVLCDecodeUTupleBlock_1u16s);
    }
  } while (one_by_one && decoded.status == zelOk && decoded.values.size() < per_code * static_cast<size_t>(n));
  return decoded;
}

void CheckDecoding(const Table& table, Bytes stream, size_t start) {
  int32_t size = 0;
  const zelStatus status = GetSize(table, &size);
  Check(status == zelOk || status == zelErrVlcInput || status == zelErrVlcTable ||
            (status == zelErrBadArg && table.tuple_size > 0),
        "GetSize's status");
  if (status != zelOk) {
    const Memory memory(100);
    Check(Init(table, memory.As<zelVLCDecodeState>()) == status, "Init's status is not GetSize's");
    return;
  }
  if (size > kMostMemory) return;
  const Memory memory(size);
  auto* const record = memory.As<zelVLCDecodeState>();
  Check(Init(table, record) == zelOk, "Init's status is not GetSize's");

  stream.resize((stream.size() + 15) / 16 * 16 + 16, 0x5A);
  const GuardedBuffer words(stream);
  const Decoded ones = Decode(table, record, words, start, kMostCodes, true);
  const size_t n = ones.values.size() / static_cast<size_t>(std::max(table.tuple_size, 1));
  if (n > 0) {
    const Decoded block = Decode(table, record, words, start, static_cast<int32_t>(n), false);
    Check(block.status == zelOk && block.values == ones.values, "the block is not its codes one by one");
    Check(block.end == ones.end || ones.status != zelOk, "the block ends elsewhere");
  }
  if (ones.status != zelOk) {
    Check(ones.status == zelErrVlcInput, "a decoder's status");
    const Decoded block = Decode(table, record, words, start, static_cast<int32_t>(n) + 1, false);
    Check(block.status == zelErrVlcInput && block.end == ones.end, "the block does not end at what is no code");
  }
  zelsVLCDecodeFree_32s(record);
}

// ---- Encoding, and back ----

void CheckEncoding(const Table& table, const Values& values, size_t start) {
  int32_t size = 0;
  if (zelsVLCEncodeGetSize_32s(table.codes.data(), SizeOf(table.codes), &size) != zelOk || size > kMostMemory) return;
  const Memory memory(size);
  auto* const record = memory.As<zelVLCEncodeState>();
  Check(zelsVLCEncodeInit_32s(table.codes.data(), SizeOf(table.codes), record) == zelOk, "Init of the encoder");

  // One by one into plenty of room, up to a value without a code.
  const GuardedBuffer room(4 * values.size() + 16, Guard::kBefore);
  uint8_t* byte = room.data() + start / 8;
  int32_t bit = static_cast<int32_t>(start % 8);
  size_t n = 0;
  while (n < values.size() && zelsVLCEncodeOne_16s1u(values[n], &byte, &bit, record) == zelOk) ++n;
  const size_t end = 8 * static_cast<size_t>(byte - room.data()) + static_cast<size_t>(bit);
  if (values.empty()) return;

  // All at once into as many words as that took.
  const GuardedBuffer words((std::max<size_t>(end, 1) + 31) / 32 * 4);
  byte = words.data() + start / 8;
  bit = static_cast<int32_t>(start % 8);
  const zelStatus status = zelsVLCEncodeBlock_16s1u(values.data(), SizeOf(values), &byte, &bit, record);
  Check(status == (n == values.size() ? zelOk : zelErrVlcInput), "EncodeBlock's status");
  Check(8 * static_cast<size_t>(byte - words.data()) + static_cast<size_t>(bit) == end, "EncodeBlock's end");
  Check(std::equal(words.data(), words.end(), room.data()), "the block is not its values one by one");
  int32_t bits = 0;
  if (n > 0) {
    Check(zelsVLCCountBits_16s32s(values.data(), static_cast<int32_t>(n), &bits, record) == zelOk, "CountBits");
  }
  Check(static_cast<size_t>(bits) == end - start, "the number of bits");

  // A code of 32 bits is one of zeros for the encoder only.
  int32_t decoder_size = 0;
  if (n == 0 || table.tuple_size != 0 || table.longest > 31 || GetSize(table, &decoder_size) != zelOk) return;
  if (decoder_size > kMostMemory) return;
  const Memory decoder_memory(decoder_size);
  auto* const decoder = decoder_memory.As<zelVLCDecodeState>();
  Check(Init(table, decoder) == zelOk, "Init of the decoder");
  const Decoded decoded = Decode(table, decoder, room, start, static_cast<int32_t>(n), false);
  Check(decoded.status == zelOk && decoded.end == end, "the decoder ends elsewhere");
  Check(std::equal(decoded.values.begin(), decoded.values.end(), values.begin()), "other values come back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const Table table = ReadTable(input);
  const size_t start = input.Byte() % 32;
  const size_t repeats = 1 + input.Byte() % 64;
  const bool any_values = input.Byte() % 8 == 0;
  const Bytes rest = input.Rest();
  Bytes stream;
  for (size_t i = 0; i < repeats && stream.size() < kMostBytes; ++i)
    stream.insert(stream.end(), rest.begin(), rest.end());
  Values values;
  for (size_t i = 0; i < stream.size(); ++i) {
    const size_t pick = stream[i] * size_t{37} + i / 7;
    values.push_back(static_cast<int16_t>(any_values ? pick : table.codes[pick % table.codes.size()].value));
  }
  CheckDecoding(table, stream, start);
  CheckEncoding(table, values, start);
  return 0;
}
