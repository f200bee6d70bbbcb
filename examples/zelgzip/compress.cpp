#include "zelgzip/compress.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "common/messages.h"

namespace zelgzip {

namespace {

using example::Failure;
using example::Input;
using example::Output;

// No match covers the last bytes of a piece, and a block ends with it, so large pieces compress better.
constexpr size_t kPieceBytes = 1 << 20;

// A stored block's length has 16 bits.
constexpr int32_t kLongestStoredBlock = 65535;

struct FreeState {
  void operator()(zelLZ77State* state) const { zelsLZ77Free_8u(state); }
};

class Encoder {
 public:
  Encoder(zelLZ77Level level, Output& output) : output_(output) {
    zelLZ77State* state = nullptr;
    if (zelsEncodeLZ77InitAlloc_8u(level, zelLZ77CheckCrc32, &state) != zelOk) throw std::bad_alloc();
    state_.reset(state);
  }

  // Codes a piece of the input. The last one, and it alone, may be empty.
  void Encode(uint8_t* bytes, int32_t length, bool last) {
    do {
      uint8_t* const blockBegin = bytes;
      CollectPairs(bytes, length, last ? zelLZ77FlushFinal : zelLZ77FlushNone);
      WriteBlock(blockBegin, static_cast<int32_t>(bytes - blockBegin), last && length == 0);
    } while (length > 0);
  }

  // Writes the CRC and the size.
  void WriteTrailer() {
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, state_.get());
    Write([this] { return zelsEncodeLZ77Flush_8u(&output_.next, &output_.room, state_.get()); });
  }

 private:
  // Turns bytes into pairs until the record's array is full or the bytes are spent.
  void CollectPairs(uint8_t*& bytes, int32_t& length, zelLZ77FlushMode flush) {
    zelLZ77State* const state = state_.get();
    zelLZ77Pair* pairs;
    int32_t position;
    int32_t capacity;
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state);
    zelsEncodeLZ77GetPairs_8u(&pairs, &position, &capacity, state);
    zelLZ77Pair* next = pairs + position;
    int32_t room = capacity - position;
    const zelStatus status = zelsEncodeLZ77_8u(&bytes, &length, &next, &room, flush, state);
    if (status != zelOk && status != zelWarnDstFull) ThrowInternal(status);
    zelsEncodeLZ77SetPairs_8u(pairs, capacity - room, capacity, state);
  }

  // Writes the collected pairs as the kind of block that is the smallest. `bytes` is what they stand for.
  void WriteBlock(uint8_t* bytes, int32_t length, bool last) {
    zelLZ77State* const state = state_.get();
    zelLZ77Pair* pairs;
    int32_t position;
    int32_t count;
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state);
    zelsEncodeLZ77GetPairs_8u(&pairs, &position, &count, state);

    zelLZ77HuffMode mode;
    const zelStatus status = zelsEncodeLZ77SelectHuffMode_8u(pairs, count, &mode, state);
    if (status != zelOk) ThrowInternal(status);
    if (mode == zelLZ77HuffStored) {
      WriteStored(bytes, length, last);
      return;
    }
    const auto writer = mode == zelLZ77HuffFixed ? zelsEncodeLZ77FixedHuff_8u : zelsEncodeLZ77DynamicHuff_8u;
    const zelLZ77FlushMode flush = last ? zelLZ77FlushFinal : zelLZ77FlushNone;
    Write([&] { return writer(&pairs, &count, &output_.next, &output_.room, flush, state); });
  }

  // With zelLZ77FlushFinal every block of a call claims to be the stream's last, so such a call gets one block's bytes
  // and what is more goes before.
  void WriteStored(uint8_t* bytes, int32_t length, bool last) {
    int32_t lastPart = last ? std::min(length, kLongestStoredBlock) : 0;
    int32_t firstPart = length - lastPart;
    const auto writePart = [&](int32_t& part, zelLZ77FlushMode flush) {
      Write([&] {
        return zelsEncodeLZ77StoredBlock_8u(&bytes, &part, &output_.next, &output_.room, flush, state_.get());
      });
    };
    if (firstPart > 0) writePart(firstPart, zelLZ77FlushNone);
    if (last) writePart(lastPart, zelLZ77FlushFinal);
  }

  // Repeats a writer's call until everything is written.
  template <class Call>
  void Write(Call call) {
    zelStatus status;
    while ((status = call()) == zelWarnDstFull) output_.Flush();
    if (status != zelOk && status != zelWarnStreamEnd) ThrowInternal(status);
  }

  [[noreturn]] static void ThrowInternal(zelStatus status) {
    throw Failure("internal error: status " + std::to_string(status));
  }

  std::unique_ptr<zelLZ77State, FreeState> state_;
  Output& output_;
};

}  // namespace

uint64_t Compress(Input& input, const MemberHeader& header, zelLZ77Level level, Output& output) {
  const uint64_t headerBytes = WriteHeader(header, level, output);
  Encoder encoder(level, output);
  std::vector<uint8_t> piece(kPieceBytes);
  std::vector<uint8_t> following(kPieceBytes);
  size_t length = input.ReadFully(piece.data(), kPieceBytes);
  do {
    // The last block is marked as such, so it must be known whether another piece follows.
    const size_t followingLength = length == kPieceBytes ? input.ReadFully(following.data(), kPieceBytes) : 0;
    encoder.Encode(piece.data(), static_cast<int32_t>(length), followingLength == 0);
    piece.swap(following);
    length = followingLength;
  } while (length > 0);
  encoder.WriteTrailer();
  output.Flush();
  return headerBytes + kTrailerBytes;
}

}  // namespace zelgzip
