#include "fuzz_support.h"

#include <stdio.h>
#include <stdlib.h>
#include <zlib.h>

#include <algorithm>

#include "support/data.h"

namespace zeldc_fuzz {

using zeldc_test::Decoded;
using zeldc_test::DecodeOptions;
using zeldc_test::Path;

void Check(bool holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "check failed: %s\n", what);
  abort();
}

uint8_t Input::Byte() {
  if (left_ == 0) return 0;
  --left_;
  return *data_++;
}

uint16_t Input::Word() {
  const unsigned low = Byte();
  return static_cast<uint16_t>(low | static_cast<unsigned>(Byte()) << 8);
}

size_t Input::Piece() {
  const size_t byte = Byte();
  return byte == 0 ? SIZE_MAX : byte < 128 ? byte : (byte - 127) * 100;
}

Bytes Input::Take(size_t size) {
  size = std::min(size, left_);
  const Bytes taken(data_, data_ + size);
  data_ += size;
  left_ -= size;
  return taken;
}

Bytes ReadRepeatedData(Input& input) {
  const size_t repeats = input.Byte() % 8;
  const size_t distance = input.Word();
  Bytes data = input.Rest();
  const Bytes once = data;
  for (size_t i = 0; i < repeats && !once.empty(); ++i) {
    data.resize(data.size() + distance % (i % 2 ? 40000 : 7), static_cast<uint8_t>(i));
    data.insert(data.end(), once.begin() + static_cast<ptrdiff_t>(i % once.size()), once.end());
  }
  return data;
}

Bytes Dictionary(uint8_t kind) {
  if (kind == 0) return {};
  // Small ones and ones around the window's size.
  const size_t size = kind < 128 ? kind : 32768 - 64 + (kind - 128u);
  return kind % 2 ? zeldc_test::Text(size, 1) : zeldc_test::SmallAlphabet(size, 4, 2);
}

DecodeOptions ReadSplit(Input& input, Path path) {
  DecodeOptions options;
  options.path = path;
  options.max_output = size_t{1} << 17;
  options.source_piece = input.Piece();
  options.room = input.Piece();
  options.pairs_room = input.Piece();
  options.split_seed = input.Byte();
  options.dictionary = Dictionary(input.Byte());
  return options;
}

void CheckAlike(const Decoded& a, const Decoded& b) {
  Check(a.status == b.status, "two splits, two statuses");
  Check(a.data == b.data, "two splits, two outputs");
  if (a.status == zelWarnStreamEnd) {
    Check(a.consumed == b.consumed, "two splits, two ends of the stream");
    Check(a.block_ends == b.block_ends, "two splits, two ends of a block");
  }
}

namespace {

Oracle Inflate(int window_bits, const Bytes& stream, size_t max_size, const Bytes& dictionary) {
  Oracle result;
  z_stream z{};
  Check(inflateInit2(&z, window_bits) == Z_OK, "inflateInit2");
  if (!dictionary.empty()) {
    Check(inflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size())) == Z_OK,
          "inflateSetDictionary");
  }
  Bytes input = stream;  // zlib's interface wants it writable
  result.data.resize(max_size + 1);
  z.next_in = input.data();
  z.avail_in = static_cast<uInt>(input.size());
  z.next_out = result.data.data();
  z.avail_out = static_cast<uInt>(result.data.size());
  const int status = inflate(&z, Z_FINISH);
  result.data.resize(result.data.size() - z.avail_out);
  result.consumed = input.size() - z.avail_in;
  result.complete = status == Z_STREAM_END && result.data.size() <= max_size;
  inflateEnd(&z);
  return result;
}

}  // namespace

Oracle InflateRaw(const Bytes& stream, size_t max_size, const Bytes& dictionary) {
  return Inflate(-15, stream, max_size, dictionary);
}

Oracle InflateFile(const Bytes& file, size_t max_size) { return Inflate(15 + 32, file, max_size, {}); }

}  // namespace zeldc_fuzz
