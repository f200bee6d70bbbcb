#include "zelbzip2/decompress.h"

#include <omp.h>

#include <algorithm>

#include "common/messages.h"
#include "zelbzip2/run_expansion.h"

namespace zelbzip2 {

namespace {

using example::Failure;
using example::Output;

// No block that can be decoded is longer in a file: 900,000 symbols of 20 bits, 32,767 selectors of 6 bits, six tables
// of 258 lengths with steps of 2 bits from one end of their range to the other, and some header.
constexpr uint64_t kLongestBlockBytes =
    (uint64_t{kLargestBlock} * 20 + 32767 * 6 + 6 * kLargestAlphabet * 40) / 8 + 1024;

constexpr uint64_t kHeaderBytes = 4;

}  // namespace

void Decompressor::PieceDecoder::Do(Piece& piece) {
  piece.verdict =
      decoder_.Decode(piece.bytes.data(), piece.bytes.size(), static_cast<int>(piece.begin % 8), piece.block);
}

Decompressor::Decompressor(example::Input& input, unsigned threads)
    : window_(input), parallel_(threads > 1), finder_(window_), work_(threads, [] {
        // Blocks are what the threads share: a function that would start more of them stays in this one.
        omp_set_num_threads(1);
        return std::make_unique<PieceDecoder>();
      }) {
  omp_set_num_threads(1);
}

Ahead Decompressor::LookAhead() {
  const uint64_t begin = position_ / 8;
  window_.Reach(begin + kHeaderBytes);
  const uint64_t size = std::min(window_.end() - begin, kHeaderBytes);
  if (size == 0) return Ahead::kEnd;
  const uint8_t* const bytes = window_.At(begin);
  for (uint64_t i = 0; i < size; ++i) {
    const bool fits = i < 3 ? bytes[i] == "BZh"[i] : bytes[i] >= '1' && bytes[i] <= '9';
    if (!fits) return Ahead::kGarbage;
  }
  return size < kHeaderBytes ? Ahead::kCutOff : Ahead::kStream;
}

Ahead Decompressor::Decompress(Output& output) {
  try {
    Ahead ahead;
    do {
      position_ += 24;
      blockBytes_ = BlockBytes(static_cast<int>(Number(8) - '0'));
      combinedCrc_ = 0;
      while (AtBlock()) DecodeBlock(output);
      if (Number(32) != combinedCrc_) Fail("data integrity (CRC) error in the blocks before it");
      position_ = (position_ + 7) / 8 * 8;
      ahead = LookAhead();
    } while (ahead == Ahead::kStream);
    if (ahead == Ahead::kCutOff) Fail("file ends unexpectedly");
    output.Flush();
    return ahead;
  } catch (const Failure&) {
    // Whoever reads from a pipe can use what comes before the damage.
    output.Flush();
    throw;
  }
}

// Whether the position is at a block. If not, it is then behind the stream's end mark.
bool Decompressor::AtBlock() {
  const uint64_t mark = Number(kMarkBits);
  if (mark == kStreamEnd) return false;
  if (mark != kBlockMark) Fail("data integrity error");
  position_ -= kMarkBits;
  return true;
}

void Decompressor::Copy(Output& output) {
  uint64_t byte = position_ / 8;
  while (window_.Reach(byte + 1)) {
    output.Put(window_.At(byte), static_cast<size_t>(window_.end() - byte));
    byte = window_.end();
    window_.Forget(byte);
  }
  output.Flush();
}

void Decompressor::DecodeBlock(Output& output) {
  window_.Forget(position_ / 8);
  if (parallel_) SubmitPieces();
  DecodedBlock block;
  FindBlock(block);
  position_ += block.bits;
  if (block.data.size() > static_cast<size_t>(blockBytes_)) Fail("data integrity error");
  if (ExpandRuns(block.data, output) != block.crc) Fail("data integrity (CRC) error in data");
  combinedCrc_ = CombinedCrc(combinedCrc_, block.crc);
  ++blockNumber_;
}

// The block at the position, by another thread or here.
void Decompressor::FindBlock(DecodedBlock& block) {
  // Of what looked like blocks, those before the position were none.
  while (!work_.IsEmpty() && work_.Oldest().begin <= position_) {
    const std::unique_ptr<Piece> piece = work_.Take();
    if (piece->begin == position_ && piece->verdict == Verdict::kGood) {
      block = std::move(piece->block);
      return;
    }
  }
  // The piece may have ended too early, at something that only looked like a mark.
  window_.Reach(position_ / 8 + kLongestBlockBytes);
  if (!ownDecoder_) ownDecoder_.emplace();
  const uint64_t begin = position_ / 8;
  const size_t size = static_cast<size_t>(std::min(window_.end() - begin, kLongestBlockBytes));
  const Verdict verdict = ownDecoder_->Decode(window_.At(begin), size, static_cast<int>(position_ % 8), block);
  if (verdict == Verdict::kDamaged) Fail("data integrity error");
  if (verdict == Verdict::kShort) Fail("file ends unexpectedly");
}

// Gives the threads what may be blocks, as long as they take more.
void Decompressor::SubmitPieces() {
  if (finder_.position() < position_) finder_.SkipTo(position_);
  if (pieceBegin_ && *pieceBegin_ < position_) pieceBegin_.reset();
  // What is no block for so long may as well be garbage without an end.
  const uint64_t farthest = position_ / 8 + work_.limit() * kLongestBlockBytes;
  while (!work_.IsFull()) {
    const uint64_t limit = pieceBegin_ ? *pieceBegin_ / 8 + kLongestBlockBytes : farthest;
    const std::optional<Mark> mark = finder_.Next(limit);
    if (pieceBegin_) {
      // Behind the last mark of a damaged file, or of one that is cut off, come the bytes up to its end.
      SubmitPiece(*pieceBegin_, mark ? (mark->bit + kMarkBits + 7) / 8 : std::min(limit, window_.end()));
    } else if (!mark) {
      break;
    }
    pieceBegin_.reset();
    if (mark && mark->isBlock) pieceBegin_ = mark->bit;
  }
}

void Decompressor::SubmitPiece(uint64_t begin, uint64_t endByte) {
  auto piece = std::make_unique<Piece>();
  piece->begin = begin;
  const uint8_t* const bytes = window_.At(begin / 8);
  piece->bytes.assign(bytes, bytes + (endByte - begin / 8));
  work_.Submit(std::move(piece));
}

// The next number, which the file must have.
uint64_t Decompressor::Number(int bits) {
  const std::optional<uint64_t> number = window_.Number(position_, bits);
  if (!number) Fail("file ends unexpectedly");
  position_ += static_cast<uint64_t>(bits);
  return *number;
}

void Decompressor::Fail(const char* what) const {
  throw Failure(window_.input().name() + ": block " + std::to_string(blockNumber_) + ": " + what, kExitDamaged);
}

}  // namespace zelbzip2
