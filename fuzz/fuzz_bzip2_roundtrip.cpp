// Any data through all stages of the bzip2 format and back, with any pieces where a stage can be called in pieces: the
// data comes back, and libbz2 gives it back, too.

#include <bzlib.h>
#include <zeldc.h>

#include <algorithm>
#include <array>

#include "fuzz_support.h"

using namespace zeldc_fuzz;

namespace {

constexpr size_t kMostData = 200000;
constexpr size_t kAlphabet = 258;

using InUse = std::array<uint8_t, 256>;
using Symbols = std::vector<uint16_t>;

int32_t Length(size_t size) { return static_cast<int32_t>(size); }

void Expect(zelStatus status, const char* what) { Check(status == zelOk, what); }

// Data of the input, with runs and repeats, so that short inputs make something of every stage.
Bytes ReadData(Input& input) {
  const size_t run = input.Word() % 1000;
  const size_t repeats = input.Byte() % 8;
  Bytes data;
  while (!input.IsEmpty() && data.size() < kMostData / 10) {
    const uint8_t byte = input.Byte();
    data.insert(data.end(), byte % 16 == 7 ? run : 1, byte);
  }
  const Bytes once = data;
  for (size_t i = 0; i < repeats; ++i) {
    data.push_back(static_cast<uint8_t>(i));
    data.insert(data.end(), once.begin(), once.end());
  }
  data.resize(std::min(data.size(), kMostData));
  return data;
}

struct Coded {
  Bytes data;
  InUse inUse;
};

Coded RunLengthEncode(Bytes data, size_t piece, size_t room) {
  zelRLEState_BZ2 state;
  Expect(zelsEncodeRLEInit_BZ2_8u(&state), "zelsEncodeRLEInit_BZ2_8u");
  Coded coded;
  for (size_t at = 0; at < data.size();) {
    const size_t given = std::min(piece, data.size() - at);
    uint8_t* from = data.data() + at;
    int32_t left = Length(given);
    Bytes out(std::min(room, 2 * data.size()));
    int32_t written = Length(out.size());
    const zelStatus status = zelsEncodeRLE_BZ2_8u(&from, &left, out.data(), &written, &state);
    Check(status == (left > 0 ? zelWarnDstFull : zelOk), "zelsEncodeRLE_BZ2_8u");
    Check(from == data.data() + at + given - left, "the run-length encoder's pointer and count differ");
    at += given - static_cast<size_t>(left);
    coded.data.insert(coded.data.end(), out.begin(), out.begin() + written);
  }
  uint8_t count;
  int32_t written = 1;
  Expect(zelsEncodeRLEFlush_BZ2_8u(&count, &written, &state), "zelsEncodeRLEFlush_BZ2_8u");
  if (written == 1) coded.data.push_back(count);
  Expect(zelsRLEGetInUseTable_8u(coded.inUse.data(), &state), "zelsRLEGetInUseTable_8u");
  return coded;
}

Bytes RunLengthDecode(Bytes coded, size_t size) {
  Bytes data(size + 1);
  uint8_t* from = coded.data();
  int32_t left = Length(coded.size()), written = Length(data.size());
  Expect(zelsDecodeRLE_BZ2_8u(&from, &left, data.data(), &written), "zelsDecodeRLE_BZ2_8u");
  data.resize(static_cast<size_t>(written));
  return data;
}

Bytes Transform(const Bytes& block, int32_t& index) {
  int32_t size = 0;
  Expect(zelsBWTFwdGetSize_8u(Length(block.size()), &size), "zelsBWTFwdGetSize_8u");
  Bytes column(block.size()), buffer(static_cast<size_t>(size));
  Expect(zelsBWTFwd_8u(block.data(), column.data(), Length(block.size()), &index, buffer.data()), "zelsBWTFwd_8u");
  if (zelsBWTGetSize_SmallBlock_8u(Length(block.size()), &size) == zelOk) {
    Bytes other(block.size()), back(block.size());
    buffer = Bytes(static_cast<size_t>(size));
    int32_t row = 0;
    Expect(zelsBWTFwd_SmallBlock_8u(block.data(), other.data(), Length(block.size()), &row, buffer.data()),
           "zelsBWTFwd_SmallBlock_8u");
    Check(other == column, "two transforms, two columns");
    Expect(zelsBWTInv_SmallBlock_8u(other.data(), back.data(), Length(block.size()), row, buffer.data()),
           "zelsBWTInv_SmallBlock_8u");
    Check(back == block, "the small inverse does not give the block back");
  }
  return column;
}

Bytes TransformBack(const Bytes& column, int32_t index) {
  int32_t size = 0;
  Expect(zelsBWTInvGetSize_8u(static_cast<uint32_t>(column.size()), &size), "zelsBWTInvGetSize_8u");
  Bytes block(column.size()), buffer(static_cast<size_t>(size));
  Expect(zelsBWTInv_8u(column.data(), block.data(), Length(column.size()), index, buffer.data()), "zelsBWTInv_8u");
  return block;
}

using MoveToFront = zelStatus (*)(const uint8_t*, uint8_t*, int32_t, zelMTFState*);

void Move(MoveToFront direction, Bytes& data, size_t piece) {
  zelMTFState state;
  Expect(zelsMTFInit_8u(&state), "zelsMTFInit_8u");
  for (size_t at = 0; at < data.size();) {
    const size_t part = std::min(piece, data.size() - at);
    Expect(direction(data.data() + at, data.data() + at, Length(part), &state), "move-to-front");
    at += part;
  }
}

Symbols CodeZeroRuns(Bytes ranks, std::array<int32_t, kAlphabet>& frequencies) {
  frequencies.fill(0);
  Symbols symbols(ranks.size() + 1);
  uint8_t* from = ranks.data();
  int32_t left = Length(ranks.size()), written = Length(ranks.size());
  Expect(zelsEncodeZ1Z2_BZ2_8u16u(&from, &left, symbols.data(), &written, frequencies.data()),
         "zelsEncodeZ1Z2_BZ2_8u16u");
  symbols.resize(static_cast<size_t>(written));
  return symbols;
}

Bytes DecodeZeroRuns(Symbols symbols, size_t size) {
  Bytes ranks(size);
  uint16_t* from = symbols.data();
  int32_t left = Length(symbols.size()), written = Length(size);
  Expect(zelsDecodeZ1Z2_BZ2_16u8u(&from, &left, ranks.data(), &written), "zelsDecodeZ1Z2_BZ2_16u8u");
  ranks.resize(static_cast<size_t>(written));
  return ranks;
}

// With little room, each call's symbols stand for what the call has consumed.
void CheckZeroRunsInPieces(Bytes ranks, size_t room) {
  uint8_t* from = ranks.data();
  int32_t left = Length(ranks.size());
  while (left > 0) {
    const uint8_t* const begin = from;
    Symbols symbols(room + 1);
    int32_t written = Length(room);
    int32_t frequencies[kAlphabet] = {};
    const zelStatus status = zelsEncodeZ1Z2_BZ2_8u16u(&from, &left, symbols.data(), &written, frequencies);
    Check(status == (left > 0 ? zelWarnDstFull : zelOk), "zelsEncodeZ1Z2_BZ2_8u16u in pieces");
    Check(from > begin && written <= Length(room + 1), "the zero-run encoder does nothing or too much");
    symbols.resize(static_cast<size_t>(written));
    Check(DecodeZeroRuns(symbols, static_cast<size_t>(from - begin)) == Bytes(begin, static_cast<const uint8_t*>(from)),
          "the zero runs of a piece do not come back");
  }
}

// Bits from the most significant on, in the form that the library's functions go on from.
struct BitWriter {
  void Put(uint32_t value, int32_t bits) {
    pending |= value << (32 - pendingBits - bits);
    pendingBits += bits;
    PutWholeBytes();
  }
  void PutWholeBytes() {
    for (; pendingBits >= 8; pendingBits -= 8, pending <<= 8) bytes.push_back(static_cast<uint8_t>(pending >> 24));
  }
  void PutWide(uint64_t value, int32_t bits) {
    for (bits -= 8; bits >= 0; bits -= 8) Put(static_cast<uint8_t>(value >> bits), 8);
  }

  Bytes bytes;
  uint32_t pending = 0;
  int32_t pendingBits = 0;
};

void PutInUse(const InUse& inUse, BitWriter& writer) {
  const auto bits = [&](size_t group) {
    uint32_t members = 0;
    for (size_t i = 0; i < 16; ++i) members = members << 1 | inUse[16 * group + i];
    return members;
  };
  uint32_t groups = 0;
  for (size_t group = 0; group < 16; ++group) groups = groups << 1 | (bits(group) != 0);
  writer.Put(groups, 16);
  for (size_t group = 0; group < 16; ++group) {
    if (bits(group) != 0) writer.Put(bits(group), 16);
  }
}

// Returns where the tables begin, in bits.
size_t WriteBlock(const InUse& inUse, uint32_t crc, int32_t index, const Symbols& symbols,
                  const std::array<int32_t, kAlphabet>& frequencies, int32_t alphabet, BitWriter& writer) {
  for (const char c : {'B', 'Z', 'h', '9'}) writer.Put(static_cast<uint8_t>(c), 8);
  writer.PutWide(0x314159265359, 48);
  writer.PutWide(crc, 32);
  writer.Put(0, 1);
  writer.Put(static_cast<uint32_t>(index), 24);
  PutInUse(inUse, writer);
  const size_t begin = 8 * writer.bytes.size() + static_cast<size_t>(writer.pendingBits);

  zelBZ2HuffEncodeState* state = nullptr;
  const std::vector<uint32_t> counts(frequencies.begin(), frequencies.end());
  const int32_t count = Length(symbols.size());
  Expect(zelsEncodeHuffInitAlloc_BZ2_16u8u(count, alphabet, counts.data(), symbols.data(), count, &state),
         "zelsEncodeHuffInitAlloc_BZ2_16u8u");
  Bytes out(symbols.size() * 3 + 40000);
  int32_t written = Length(out.size());
  Expect(zelsPackHuffContext_BZ2_16u8u(&writer.pending, &writer.pendingBits, out.data(), &written, state),
         "zelsPackHuffContext_BZ2_16u8u");
  writer.bytes.insert(writer.bytes.end(), out.begin(), out.begin() + written);
  const uint16_t* from = symbols.data();
  int32_t left = count;
  written = Length(out.size());
  Expect(zelsEncodeHuff_BZ2_16u8u(&writer.pending, &writer.pendingBits, &from, &left, out.data(), &written, state),
         "zelsEncodeHuff_BZ2_16u8u");
  writer.bytes.insert(writer.bytes.end(), out.begin(), out.begin() + written);
  zelsEncodeHuffFree_BZ2_16u8u(state);
  writer.PutWholeBytes();

  writer.PutWide(0x177245385090, 48);
  writer.PutWide(crc, 32);
  if (writer.pendingBits > 0) writer.Put(0, 8 - writer.pendingBits);
  return begin;
}

// The symbols from the tables on, without the end of the block.
Symbols ReadSymbols(const Bytes& stream, size_t begin, size_t count, int32_t alphabet, size_t piece) {
  zelBZ2HuffDecodeState* state = nullptr;
  Expect(zelsDecodeHuffInitAlloc_BZ2_8u16u(Length(count), alphabet, &state), "zelsDecodeHuffInitAlloc_BZ2_8u16u");
  size_t at = begin / 8 + 1;
  uint32_t pending = static_cast<uint32_t>(stream[begin / 8]) << (24 + begin % 8);
  int32_t pendingBits = 8 - Length(begin % 8);

  // Each piece has memory of its own, so that whoever reads behind it is seen.
  Bytes given;
  const uint8_t* next = nullptr;
  int32_t left = 0;
  const auto refill = [&] {
    Check(at < stream.size(), "the Huffman decoder wants more than the stream");
    const size_t size = std::min(piece, stream.size() - at);
    given.assign(stream.begin() + static_cast<ptrdiff_t>(at), stream.begin() + static_cast<ptrdiff_t>(at + size));
    given.shrink_to_fit();
    at += size;
    next = given.data();
    left = Length(size);
  };
  zelStatus status;
  do {
    if (left == 0) refill();
    status = zelsUnpackHuffContext_BZ2_8u16u(&pending, &pendingBits, &next, &left, state);
  } while (status == zelWarnSrcShort);
  Expect(status, "zelsUnpackHuffContext_BZ2_8u16u");

  Symbols symbols(count);
  size_t filled = 0;
  do {
    if (left == 0) refill();
    Check(filled < count, "there are more symbols than were coded");
    int32_t written = Length(count - filled);
    status = zelsDecodeHuff_BZ2_8u16u(&pending, &pendingBits, &next, &left, symbols.data() + filled, &written, state);
    filled += static_cast<size_t>(written);
  } while (status == zelWarnSrcShort);
  Expect(status, "zelsDecodeHuff_BZ2_8u16u");
  zelsDecodeHuffFree_BZ2_8u16u(state);
  symbols.resize(filled);
  return symbols;
}

void CheckLibbz2(Bytes stream, const Bytes& data) {
  Bytes out(data.size() + 1);
  unsigned size = static_cast<unsigned>(out.size());
  const int status =
      BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(out.data()), &size, reinterpret_cast<char*>(stream.data()),
                                 static_cast<unsigned>(stream.size()), 0, 0);
  out.resize(size);
  Check(status == BZ_OK && out == data, "libbz2 does not give the data back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  Input input(bytes, size);
  const size_t runPiece = input.Piece(), runRoom = input.Piece(), movePiece = input.Piece();
  const size_t zeroRoom = input.Piece(), codePiece = input.Piece();
  Bytes data = ReadData(input);
  if (data.empty()) return 0;
  // Small pieces cost time: the smaller they are, the less data.
  data.resize(std::min(data.size(), 2000 * std::min({runPiece, runRoom, movePiece, zeroRoom, codePiece, kMostData})));
  uint32_t crc = 0;
  Expect(zelsCRC32_BZ2_8u(data.data(), Length(data.size()), &crc), "zelsCRC32_BZ2_8u");

  const Coded coded = RunLengthEncode(data, runPiece, runRoom);
  int32_t index = 0;
  const Bytes column = Transform(coded.data, index);
  Bytes ranks = column;
  int32_t used = 0;
  Expect(zelsReduceDictionary_8u_I(coded.inUse.data(), ranks.data(), Length(ranks.size()), &used),
         "zelsReduceDictionary_8u_I");
  Move(zelsMTFFwd_8u, ranks, movePiece);
  std::array<int32_t, kAlphabet> frequencies;
  Symbols symbols = CodeZeroRuns(ranks, frequencies);
  CheckZeroRunsInPieces(ranks, std::min(zeroRoom, ranks.size()));
  const int32_t alphabet = used + 2;
  symbols.push_back(static_cast<uint16_t>(alphabet - 1));
  ++frequencies[static_cast<size_t>(alphabet - 1)];
  BitWriter writer;
  const size_t tables = WriteBlock(coded.inUse, crc, index, symbols, frequencies, alphabet, writer);
  CheckLibbz2(writer.bytes, data);

  Symbols read = ReadSymbols(writer.bytes, tables, symbols.size(), alphabet, codePiece);
  symbols.pop_back();
  Check(read == symbols, "the symbols do not come back");
  Bytes back = DecodeZeroRuns(read, ranks.size());
  Check(back == ranks, "the zero runs do not come back");
  Move(zelsMTFInv_8u, back, movePiece);
  Expect(zelsExpandDictionary_8u_I(coded.inUse.data(), back.data(), Length(back.size()), used),
         "zelsExpandDictionary_8u_I");
  Check(back == column, "the transform's column does not come back");
  Check(TransformBack(back, index) == coded.data, "the block does not come back");
  Check(RunLengthDecode(coded.data, data.size()) == data, "the data does not come back");
  return 0;
}
