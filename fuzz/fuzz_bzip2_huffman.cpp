// The Huffman stage of bzip2, both ways. Any bytes as a description with symbols behind it: whole and split they come
// to the same, and to symbols of the alphabet. Any symbols through the encoder: the decoder gives them back.

#include <algorithm>

#include "fuzz_support.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using zeldc_test::GuardedBuffer;

namespace {

using Symbols = std::vector<uint16_t>;

constexpr size_t kMostSymbols = 40000;

struct Decoded {
  zelStatus status = zelOk;
  Symbols symbols;
  size_t left = 0;  // bytes and bits of the stream that are not taken, in bits
};

// Of a record with room for as many selectors as a stream can have.
size_t RecordSize() {
  int32_t size = 0;
  Check(zelsDecodeHuffGetSize_BZ2_8u16u(1638350, &size) == zelOk, "GetSize");
  return static_cast<size_t>(size + 3) / 4 * 4;
}

// Pieces of the source; the destination takes all.
Decoded Decode(int32_t alpha_size, const Bytes& stream, size_t piece) {
  // One record for all inputs: what an earlier one has left in it must not matter.
  static const GuardedBuffer memory(RecordSize());
  static const GuardedBuffer room(2 * kMostSymbols);
  auto* const record = reinterpret_cast<zelBZ2HuffDecodeState*>(memory.data());
  Check(zelsDecodeHuffInit_BZ2_8u16u(alpha_size, record) == zelOk, "Init");
  const GuardedBuffer source(stream);

  uint16_t* const symbols = reinterpret_cast<uint16_t*>(room.data());
  const uint8_t* next = source.data();
  uint32_t code = 0;
  int32_t code_bits = 0;
  Decoded decoded;
  size_t count = 0;
  bool unpacked = false;
  for (;;) {
    const size_t left = static_cast<size_t>(source.end() - next);
    const int32_t given = static_cast<int32_t>(std::min(left, piece));
    if (given == 0 && !unpacked) {
      decoded.status = zelWarnSrcShort;
      break;
    }
    int32_t len = given;
    if (!unpacked) {
      decoded.status = zelsUnpackHuffContext_BZ2_8u16u(&code, &code_bits, &next, &len, record);
      unpacked = decoded.status == zelOk;
      Check(unpacked || decoded.status == zelWarnSrcShort || decoded.status == zelErrBadData, "Unpack's status");
      if (decoded.status == zelErrBadData) return decoded;
    } else {
      if (count == kMostSymbols) {
        decoded.status = zelWarnDstFull;
        break;
      }
      int32_t decodes = static_cast<int32_t>(kMostSymbols - count);
      decoded.status = zelsDecodeHuff_BZ2_8u16u(&code, &code_bits, &next, &len, symbols + count, &decodes, record);
      Check(decoded.status == zelOk || decoded.status == zelWarnSrcShort || decoded.status == zelWarnDstFull,
            "DecodeHuff's status");
      count += static_cast<size_t>(decodes);
      if (decoded.status == zelOk) break;
    }
    Check(code_bits >= 0 && code_bits <= 32, "bits that wait");
    if (decoded.status == zelWarnSrcShort) Check(len == 0, "short of source, with source left");
    if (decoded.status == zelWarnSrcShort && next == source.end() && count < kMostSymbols) break;
  }
  decoded.symbols.assign(symbols, symbols + count);
  decoded.left = 8 * static_cast<size_t>(source.end() - next) + static_cast<size_t>(code_bits);
  for (uint16_t symbol : decoded.symbols) Check(symbol + 1 < alpha_size, "a symbol outside the alphabet, or its last");
  return decoded;
}

void CheckAnything(Input& input) {
  const int32_t alpha_size = 1 + input.Word() % 258;
  const size_t piece = input.Piece();
  const Bytes stream = input.Rest();
  const Decoded whole = Decode(alpha_size, stream, SIZE_MAX);
  const Decoded split = Decode(alpha_size, stream, piece);
  Check(whole.status == split.status || whole.symbols.size() == kMostSymbols, "two splits, two statuses");
  Check(whole.symbols == split.symbols, "two splits, two outputs");
  // Who is short of source may have taken all of it, and so may who is full.
  if (whole.status == zelOk) Check(whole.left == split.left, "two splits, two ends of the block");
}

void CheckRoundTrip(Input& input) {
  const int32_t alpha_size = 1 + input.Word() % 258;
  const size_t piece = input.Piece();
  const size_t repeats = 1 + input.Byte() % 64;
  const Bytes data = input.Rest();
  // Small pieces cost time: the smaller they are, the fewer symbols.
  const size_t most = piece < kMostSymbols / 100 ? 100 * piece : kMostSymbols;
  Symbols symbols;
  for (size_t i = 0; i < repeats && alpha_size > 1; ++i) {
    for (uint8_t byte : data) {
      if (symbols.size() + 1 < most) {
        symbols.push_back(static_cast<uint16_t>((byte + i / 8 * 31) % static_cast<size_t>(alpha_size - 1)));
      }
    }
  }
  symbols.push_back(static_cast<uint16_t>(alpha_size - 1));
  std::vector<uint32_t> frequencies(static_cast<size_t>(alpha_size), 0);
  for (uint16_t symbol : symbols) ++frequencies[symbol];

  const int32_t count = static_cast<int32_t>(symbols.size());
  zelBZ2HuffEncodeState* record = nullptr;
  Check(
      zelsEncodeHuffInitAlloc_BZ2_16u8u(count, alpha_size, frequencies.data(), symbols.data(), count, &record) == zelOk,
      "InitAlloc");
  uint32_t code = 0;
  int32_t code_bits = 0;
  Bytes stream(3 * symbols.size() + 100000);
  int32_t packed = static_cast<int32_t>(stream.size());
  Check(zelsPackHuffContext_BZ2_16u8u(&code, &code_bits, stream.data(), &packed, record) == zelOk, "Pack");
  int32_t coded = static_cast<int32_t>(stream.size()) - packed, left = count;
  const uint16_t* next = symbols.data();
  Check(zelsEncodeHuff_BZ2_16u8u(&code, &code_bits, &next, &left, stream.data() + packed, &coded, record) == zelOk,
        "EncodeHuff");
  zelsEncodeHuffFree_BZ2_16u8u(record);
  stream.resize(static_cast<size_t>(packed + coded));
  for (int32_t i = 0; i < code_bits; i += 8) stream.push_back(static_cast<uint8_t>(code >> (24 - i)));
  stream.insert(stream.end(), 3, 0);

  symbols.pop_back();
  for (size_t size : {SIZE_MAX, piece}) {
    const Decoded decoded = Decode(alpha_size, stream, size);
    Check(decoded.status == zelOk && decoded.symbols == symbols, "the decoder does not give the symbols back");
    Check(decoded.left < 48, "the block ends too early");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  if (input.Byte() % 2 == 0) {
    CheckAnything(input);
  } else {
    CheckRoundTrip(input);
  }
  return 0;
}
