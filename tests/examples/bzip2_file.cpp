#include "bzip2_file.h"

#include <bzlib.h>

#include <stdexcept>

namespace zeldc_test {

namespace {

constexpr uint64_t kBlockMark = 0x314159265359;
constexpr uint64_t kStreamEnd = 0x177245385090;

// Behind the stream's header and the block's mark; and behind the CRC.
constexpr size_t kFirstCrcByte = 10;
constexpr size_t kFirstRandomisedByte = 14;

// Bit by bit: the definition.
uint32_t Crc(const Bytes& data) {
  uint32_t crc = 0xFFFFFFFF;
  for (const uint8_t byte : data) {
    crc ^= uint32_t{byte} << 24;
    for (int i = 0; i < 8; ++i) crc = crc << 1 ^ (crc >> 31 ? 0x04C11DB7 : 0);
  }
  return ~crc;
}

class BitBuilder {
 public:
  void Put(uint64_t value, int bits) {
    for (int i = bits - 1; i >= 0; --i) {
      if (used_ == 0) bytes_.push_back(0);
      bytes_.back() = static_cast<uint8_t>(bytes_.back() | (value >> i & 1) << (7 - used_));
      used_ = (used_ + 1) % 8;
    }
  }
  const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  int used_ = 0;  // bits of the last byte; 0 when it is full
};

// All 256 bytes are in use, so there are 258 symbols: the first 254 have the codes of eight bits that are their
// numbers, the last four have nine bits.
constexpr int kSymbols = 258;
constexpr int kEndOfBlock = 257;
constexpr int kShortCodes = 254;

void PutBlock(const Bytes& symbols, uint32_t crc, BitBuilder& bits) {
  bits.Put(kBlockMark, 48);
  bits.Put(crc, 32);
  bits.Put(0, 1);        // not randomised
  bits.Put(0, 24);       // the first row
  bits.Put(0xFFFF, 16);  // all groups of bytes
  for (int group = 0; group < 16; ++group) bits.Put(0xFFFF, 16);
  const size_t selectors = (symbols.size() + 1 + 49) / 50;
  bits.Put(2, 3);  // tables, of which the first serves
  bits.Put(selectors, 15);
  for (size_t i = 0; i < selectors; ++i) bits.Put(0, 1);
  for (int table = 0; table < 2; ++table) {
    bits.Put(8, 5);
    for (int symbol = 0; symbol < kSymbols; ++symbol) {
      if (symbol == kShortCodes) bits.Put(0b10, 2);
      bits.Put(0, 1);
    }
  }
  for (const uint8_t symbol : symbols) {
    if (symbol < 2 || symbol >= kShortCodes) throw std::invalid_argument("FileOfSymbols");
    bits.Put(symbol, 8);
  }
  bits.Put(2 * kShortCodes + kEndOfBlock - kShortCodes, 9);
}

Bytes StreamOf(const std::vector<Bytes>& blocks, const std::vector<uint32_t>& crcs) {
  BitBuilder bits;
  for (const char c : {'B', 'Z', 'h', '9'}) bits.Put(static_cast<uint64_t>(c), 8);
  uint32_t combined = 0;
  for (size_t i = 0; i < blocks.size(); ++i) {
    PutBlock(blocks[i], crcs[i], bits);
    combined = (combined << 1 | combined >> 31) ^ crcs[i];
  }
  bits.Put(kStreamEnd, 48);
  bits.Put(combined, 32);
  return bits.bytes();
}

}  // namespace

Bytes Bzip2File(const Bytes& data, int level) {
  Bytes input = data;  // libbz2's interface wants it writable
  input.push_back(0);  // and not empty
  auto size = static_cast<unsigned>(data.size() + data.size() / 50 + 1000);
  Bytes file(size);
  if (BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(file.data()), &size, reinterpret_cast<char*>(input.data()),
                               static_cast<unsigned>(data.size()), level, 0, 0) != BZ_OK) {
    throw std::runtime_error("BZ2_bzBuffToBuffCompress");
  }
  file.resize(size);
  return file;
}

Bunzipped BunzipStream(const Bytes& file) {
  Bunzipped result;
  Bytes input = file;
  bz_stream stream{};
  if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) throw std::runtime_error("BZ2_bzDecompressInit");
  stream.next_in = reinterpret_cast<char*>(input.data());
  stream.avail_in = static_cast<unsigned>(input.size());
  int status = BZ_OK;
  while (status == BZ_OK) {
    const size_t filled = result.data.size();
    result.data.resize(filled + 65536);
    stream.next_out = reinterpret_cast<char*>(result.data.data() + filled);
    stream.avail_out = 65536;
    status = BZ2_bzDecompress(&stream);
    result.data.resize(result.data.size() - stream.avail_out);
    if (stream.avail_in == 0 && result.data.size() == filled) break;  // it wants more
  }
  result.complete = status == BZ_STREAM_END;
  result.consumed = file.size() - stream.avail_in;
  BZ2_bzDecompressEnd(&stream);
  return result;
}

testing::AssertionResult BunzipsTo(const Bytes& file, const Bytes& expected) {
  Bytes data;
  size_t at = 0;
  do {
    const Bunzipped stream = BunzipStream(Bytes(file.begin() + static_cast<ptrdiff_t>(at), file.end()));
    if (!stream.complete) return testing::AssertionFailure() << "libbz2 rejects the stream at byte " << at;
    Append(data, stream.data);
    at += stream.consumed;
  } while (at < file.size());
  if (data != expected) {
    return testing::AssertionFailure() << "libbz2 makes " << data.size() << " bytes instead of " << expected.size()
                                       << ", or others";
  }
  return testing::AssertionSuccess();
}

Bytes MarkedAsRandomised(Bytes file) {
  file.at(kFirstRandomisedByte) |= 0x80;
  return file;
}

Bytes RandomisedFile(const Bytes& data) {
  // libbz2 writes out the whole block before it finds that the CRC is not that of the randomised data. So it takes the
  // randomisation, which is its own reverse, to any data.
  const Bunzipped changed = BunzipStream(MarkedAsRandomised(Bzip2File(data)));
  if (changed.data.size() != data.size()) throw std::invalid_argument("RandomisedFile: more than a block");
  Bytes file = MarkedAsRandomised(Bzip2File(changed.data));
  const uint32_t wrong = Crc(changed.data);
  const uint32_t right = Crc(data);
  for (size_t i = 0; i < 4; ++i) file[kFirstCrcByte + i] = static_cast<uint8_t>(right >> (24 - 8 * i));

  // The stream's CRC is the block's. It is the last number of the file, at any bit.
  uint64_t end = 0;
  for (size_t i = file.size() - 5; i < file.size(); ++i) end = end << 8 | file[i];
  for (int shift = 0; shift < 8; ++shift) {
    if ((end >> shift & 0xFFFFFFFF) != wrong) continue;
    end ^= uint64_t{wrong ^ right} << shift;
    for (size_t i = 1; i <= 5; ++i, end >>= 8) file[file.size() - i] = static_cast<uint8_t>(end);
    return file;
  }
  throw std::logic_error("RandomisedFile: no CRC at the end");
}

Bytes FileOfSymbols(const std::vector<Bytes>& blocks) {
  // The column that the symbols stand for need not be the transform of anything: a decoder's walk over its links makes
  // some data of it, and what that is says libbz2.
  std::vector<uint32_t> crcs;
  for (const Bytes& block : blocks) crcs.push_back(Crc(BunzipStream(StreamOf({block}, {0})).data));
  return StreamOf(blocks, crcs);
}

}  // namespace zeldc_test
