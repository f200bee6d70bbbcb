// Decompressing: one stream or several, their blocks decoded side by side where they can be found, written in order.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "common/file_streams.h"
#include "common/ordered_work.h"
#include "zelbzip2/bit_window.h"
#include "zelbzip2/block_decoder.h"

namespace zelbzip2 {

// What stands where a stream may begin.
enum class Ahead {
  kStream,
  kEnd,     // nothing
  kCutOff,  // less than a header, as far as it goes
  kGarbage
};

class Decompressor {
 public:
  Decompressor(example::Input& input, unsigned threads);

  // Nothing is consumed.
  Ahead LookAhead();

  // Decompresses all streams, the first of which must be there, and flushes the output. Damage is a Failure that names
  // the file and the block and comes behind the bytes before it. Returns what follows the last stream: its end or
  // garbage.
  Ahead Decompress(example::Output& output);

  // Copies the input as it is.
  void Copy(example::Output& output);

 private:
  // The bits from one mark to the end of the next, which may be a block.
  struct Piece {
    uint64_t begin;              // where the first mark stands in the input
    std::vector<uint8_t> bytes;  // from that bit's byte on
    Verdict verdict = Verdict::kShort;
    DecodedBlock block;
  };

  class PieceDecoder {
   public:
    void Do(Piece& piece);

   private:
    BlockDecoder decoder_;
  };

  bool AtBlock();
  void DecodeBlock(example::Output& output);
  void FindBlock(DecodedBlock& block);
  void SubmitPieces();
  void SubmitPiece(uint64_t begin, uint64_t endByte);
  uint64_t Number(int bits);
  [[noreturn]] void Fail(const char* what) const;

  BitWindow window_;
  uint64_t position_ = 0;     // the bit up to which everything has been understood
  uint64_t blockNumber_ = 1;  // of the block that is there
  int32_t blockBytes_ = 0;
  uint32_t combinedCrc_ = 0;

  std::optional<BlockDecoder> ownDecoder_;

  // What other threads decode ahead of the position.
  bool parallel_;
  MarkFinder finder_;
  std::optional<uint64_t> pieceBegin_;  // the mark of the next piece, whose end is still looked for
  example::OrderedWork<Piece, PieceDecoder> work_;
};

}  // namespace zelbzip2
