#include "zellzop/blocks.h"

#include <unistd.h>

#include <algorithm>
#include <bit>

#include "common/messages.h"
#include "zeldc.h"

namespace zellzop {

namespace {

using example::Failure;
using example::Input;
using example::InputCursor;
using example::Output;

// What a file may claim for one block.
constexpr uint32_t kLargestBlock = 64 << 20;
constexpr uint32_t kMostFilter = 16;

// Room for whatever data of that size is compressed to.
constexpr size_t CompressedBound(size_t size) { return size + size / 16 + 64 + 3; }

class BlockEncoder {
 public:
  BlockEncoder() : compressed_(CompressedBound(kBlockBytes)) {
    int32_t size = 0;
    zelsEncodeLZOGetSize(zelLZOMethodSingle, kBlockBytes, &size);
    record_.resize((static_cast<size_t>(size) + 3) / 4);
    zelsEncodeLZOInit_8u(zelLZOMethodSingle, kBlockBytes, record());
  }

  void Put(const std::vector<uint8_t>& data, size_t size, uint32_t flags, Output& output) {
    uint32_t compressedSize = static_cast<uint32_t>(compressed_.size());
    if (zelsEncodeLZO_8u(data.data(), static_cast<uint32_t>(size), compressed_.data(), &compressedSize, record()) !=
        zelOk) {
      throw Failure("the LZO encoder fails");
    }
    const bool stored = compressedSize >= size;
    if (stored) compressedSize = static_cast<uint32_t>(size);
    std::vector<uint8_t> head;
    PutWord(head, static_cast<uint32_t>(size));
    PutWord(head, compressedSize);
    if (flags & kAdlerOfData) PutWord(head, Adler32(data.data(), size));
    if (flags & kCrcOfData) PutWord(head, Crc32(data.data(), size));
    output.Put(head.data(), head.size());
    output.Put(stored ? data.data() : compressed_.data(), compressedSize);
  }

 private:
  zelLZOState* record() { return reinterpret_cast<zelLZOState*>(record_.data()); }

  std::vector<uint32_t> record_;
  std::vector<uint8_t> compressed_;
};

class BlockReader {
 public:
  BlockReader(InputCursor& input, const MemberHeader& header, Blocks what)
      : input_(input), header_(header), what_(what) {}

  // The next block, in data(). False at the member's end.
  bool Next() {
    dataSize_ = Word();
    if (dataSize_ == 0) return false;
    compressedSize_ = Word();
    if (dataSize_ > kLargestBlock || compressedSize_ > dataSize_ || compressedSize_ == 0) Fail("lzop file corrupted");
    const bool stored = compressedSize_ == dataSize_;
    const uint32_t flags = header_.flags;
    const uint32_t adler = flags & kAdlerOfData ? Word() : 0;
    const uint32_t crc = flags & kCrcOfData ? Word() : 0;
    const uint32_t compressedAdler = flags & kAdlerOfCompressed && !stored ? Word() : 0;
    const uint32_t compressedCrc = flags & kCrcOfCompressed && !stored ? Word() : 0;
    Take();
    if (what_ == Blocks::kSkip) return true;
    if (!stored) {
      Verify(kAdlerOfCompressed, compressedAdler, taken_, Adler32);
      Verify(kCrcOfCompressed, compressedCrc, taken_, Crc32);
    }
    Decode(stored);
    RemoveFilter();
    Verify(kAdlerOfData, adler, data_, Adler32);
    Verify(kCrcOfData, crc, data_, Crc32);
    return true;
  }

  const std::vector<uint8_t>& data() const { return data_; }
  uint32_t dataSize() const { return dataSize_; }
  uint32_t compressedSize() const { return compressedSize_; }

 private:
  [[noreturn]] void Fail(const std::string& what) const { throw Failure(input_.name() + ": " + what); }

  uint32_t Word() {
    if (!input_.Have(4)) throw Failure("unexpected end of file: " + input_.name());
    const uint32_t word = WordAt(input_.next);
    input_.next += 4;
    input_.left -= 4;
    return word;
  }

  // Takes the block's bytes out of the input. Memory grows with what is there, not with what the file claims.
  void Take() {
    taken_.clear();
    for (size_t left = compressedSize_; left > 0;) {
      if (!input_.More()) throw Failure("unexpected end of file: " + input_.name());
      const size_t part = std::min(left, static_cast<size_t>(input_.left));
      if (what_ != Blocks::kSkip) taken_.insert(taken_.end(), input_.next, input_.next + part);
      input_.next += part;
      input_.left -= static_cast<int32_t>(part);
      left -= part;
    }
  }

  void Decode(bool stored) {
    if (stored) {
      data_ = taken_;
      return;
    }
    data_.resize(dataSize_);
    uint32_t made = dataSize_;
    const zelStatus status = zelsDecodeLZOSafe_8u(taken_.data(), compressedSize_, data_.data(), &made);
    if (status == zelOk && made == dataSize_) return;
    FailToDecode("lzop file corrupted");
  }

  void Verify(uint32_t flag, uint32_t expected, const std::vector<uint8_t>& bytes,
              uint32_t (*sum)(const uint8_t*, size_t)) const {
    if (what_ == Blocks::kDecodeUnchecked || !(header_.flags & flag)) return;
    if (sum(bytes.data(), bytes.size()) != expected) FailToDecode("Checksum error");
  }

  // The slow levels of lzop use matches that the library's decoder takes for something else.
  [[noreturn]] void FailToDecode(const std::string& what) const {
    if (header_.method != kLzo1x999) Fail(what);
    Fail(what + ", or a block of LZO1X-999 with matches that zellzop does not read; try lzop");
  }

  // A filter has replaced each byte by the difference from the one that many bytes before it in the block.
  void RemoveFilter() {
    if (header_.filter == 0) return;
    if (header_.filter > kMostFilter) Fail("unknown filter");
    for (size_t i = header_.filter; i < data_.size(); ++i) {
      data_[i] = static_cast<uint8_t>(data_[i] + data_[i - header_.filter]);
    }
  }

  InputCursor& input_;
  const MemberHeader& header_;
  Blocks what_;
  uint32_t dataSize_ = 0;
  uint32_t compressedSize_ = 0;
  std::vector<uint8_t> taken_;
  std::vector<uint8_t> data_;
};

}  // namespace

void CompressBlocks(Input& input, uint32_t flags, Output& output) {
  BlockEncoder encoder;
  std::vector<uint8_t> data(kBlockBytes);
  while (const size_t size = input.ReadFully(data.data(), data.size())) encoder.Put(data, size, flags, output);
  constexpr uint8_t kEnd[4] = {};
  output.Put(kEnd, sizeof kEnd);
}

BlockSums ReadBlocks(InputCursor& input, const MemberHeader& header, Blocks what, Output& output) {
  BlockSums sums;
  BlockReader reader(input, header, what);
  try {
    while (reader.Next()) {
      sums.data += reader.dataSize();
      sums.compressed += reader.compressedSize();
      if (what != Blocks::kSkip) output.Put(reader.data().data(), reader.data().size());
    }
  } catch (const Failure&) {
    // Whoever reads from a pipe can use what comes before the damage.
    output.Flush();
    throw;
  }
  return sums;
}

bool HasSecondMember(int descriptor, const MemberHeader& header) {
  const auto read = [&](uint64_t offset, uint8_t* to, size_t size) {
    return pread(descriptor, to, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
  };
  const auto checks = [&](uint32_t flags) { return 4 * static_cast<uint64_t>(std::popcount(header.flags & flags)); };
  uint64_t offset = header.size;
  uint8_t head[kMagicBytes];
  while (read(offset, head, 4)) {
    if (WordAt(head) == 0) {
      return read(offset + 4, head, kMagicBytes) && std::equal(head, head + kMagicBytes, kMemberMagic);
    }
    if (!read(offset, head, 8)) break;
    const uint32_t size = WordAt(head), compressed = WordAt(head + 4);
    offset += 8 + checks(kAdlerOfData | kCrcOfData) + compressed;
    if (compressed < size) offset += checks(kAdlerOfCompressed | kCrcOfCompressed);
  }
  return false;
}

}  // namespace zellzop
