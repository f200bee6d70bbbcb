#include "zellzop/parallel_file.h"

#include <algorithm>

#include "common/messages.h"
#include "zeldc.h"

namespace zellzop {

namespace {

using example::Failure;
using example::Input;
using example::InputCursor;
using example::Output;

constexpr uint8_t kFormatVersion = 1;
constexpr size_t kFrameBytes = 16 << 20;

// The most chunks that a container has.
constexpr size_t kMostChunks = 32;

constexpr size_t CompressedBound(size_t size) { return size + size / 16 + 5 + kMostChunks * (4 + 64 + 3); }

uint32_t Word(InputCursor& input) {
  if (!input.Have(4)) throw Failure("unexpected end of file: " + input.name());
  const uint32_t word = WordAt(input.next);
  input.next += 4;
  input.left -= 4;
  return word;
}

// Takes so many bytes. Memory grows with what is there, not with what the file claims.
void Take(InputCursor& input, size_t count, std::vector<uint8_t>& bytes) {
  bytes.clear();
  while (count > 0) {
    if (!input.More()) throw Failure("unexpected end of file: " + input.name());
    const size_t part = std::min(count, static_cast<size_t>(input.left));
    bytes.insert(bytes.end(), input.next, input.next + part);
    input.next += part;
    input.left -= static_cast<int32_t>(part);
    count -= part;
  }
}

void ReadFrames(InputCursor& input, Blocks what, Output& output, BlockSums& sums) {
  std::vector<uint8_t> taken, data;
  while (const uint32_t size = Word(input)) {
    const uint32_t compressedSize = Word(input);
    const uint32_t crc = Word(input);
    if (size > kFrameBytes || compressedSize > size || compressedSize == 0) {
      throw Failure(input.name() + ": file corrupted");
    }
    Take(input, compressedSize, taken);
    sums.data += size;
    sums.compressed += compressedSize;
    if (what == Blocks::kSkip) continue;
    if (compressedSize == size) {
      data.swap(taken);
    } else {
      data.resize(size);
      uint32_t made = size;
      const zelStatus status = zelsDecodeLZOSafe_8u(taken.data(), compressedSize, data.data(), &made);
      if (status != zelOk || made != size) throw Failure(input.name() + ": file corrupted");
    }
    if (what == Blocks::kDecode && Crc32(data.data(), data.size()) != crc)
      throw Failure(input.name() + ": Checksum error");
    output.Put(data.data(), data.size());
  }
}

}  // namespace

const uint8_t kParallelMagic[kMagicBytes] = {0x89, 'Z', 'L', 'Z', 'O', '\r', '\n', 0x1A, '\n'};

void CompressParallel(Input& input, Output& output) {
  int32_t recordSize = 0;
  if (zelsEncodeLZOGetSize(zelLZOMethodParallel, kFrameBytes, &recordSize) != zelOk) {
    throw Failure("too many processors");
  }
  std::vector<uint32_t> record((static_cast<size_t>(recordSize) + 3) / 4);
  auto* const state = reinterpret_cast<zelLZOState*>(record.data());
  zelsEncodeLZOInit_8u(zelLZOMethodParallel, kFrameBytes, state);

  output.Put(kParallelMagic, kMagicBytes);
  output.Put(&kFormatVersion, 1);
  std::vector<uint8_t> data(kFrameBytes), compressed(CompressedBound(kFrameBytes));
  while (const size_t size = input.ReadFully(data.data(), data.size())) {
    uint32_t compressedSize = static_cast<uint32_t>(compressed.size());
    if (zelsEncodeLZO_8u(data.data(), static_cast<uint32_t>(size), compressed.data(), &compressedSize, state) !=
        zelOk) {
      throw Failure("the LZO encoder fails");
    }
    const bool stored = compressedSize >= size;
    if (stored) compressedSize = static_cast<uint32_t>(size);
    std::vector<uint8_t> head;
    PutWord(head, static_cast<uint32_t>(size));
    PutWord(head, compressedSize);
    PutWord(head, Crc32(data.data(), size));
    output.Put(head.data(), head.size());
    output.Put(stored ? data.data() : compressed.data(), compressedSize);
  }
  constexpr uint8_t kEnd[4] = {};
  output.Put(kEnd, sizeof kEnd);
}

BlockSums ReadParallel(InputCursor& input, Blocks what, Output& output) {
  if (!input.Have(1)) throw Failure("unexpected end of file: " + input.name());
  if (*input.next != kFormatVersion) throw Failure(input.name() + ": you need a newer version of zellzop");
  ++input.next;
  --input.left;
  BlockSums sums;
  try {
    ReadFrames(input, what, output, sums);
  } catch (const Failure&) {
    // Whoever reads from a pipe can use what comes before the damage.
    output.Flush();
    throw;
  }
  return sums;
}

}  // namespace zellzop
