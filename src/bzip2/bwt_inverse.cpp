// The inverse transform follows links: row r of the sorted rotations leads to the row of the rotation that starts one
// byte later, and the bytes met on the way are the block.
//
// Bound by the misses of that walk, each of which has to wait for the one before. So the walk is cut into pieces that
// are walked side by side: every row with a round number is the start of a piece, which ends at the next such row that
// it meets. A first round measures all pieces, without which nobody knows where in the block they belong; a second one
// walks them again and writes. Two rounds of overlapping misses take far less time than one round of lonely ones.
//
// A link and the byte that belongs to it share a word while rows fit 24 bits.

#include "bzip2/bwt_inverse.h"

#include <string.h>

#include "core/target.h"

namespace zeldc {

namespace {

constexpr uint32_t kPackedRows = 1u << 24;
constexpr uint32_t kPieces = 1024;      // at most
constexpr uint32_t kSerialRows = 4096;  // blocks below stay in the first-level cache
constexpr int kLanes = 8;               // pieces walked side by side
constexpr uint32_t kLongestPiece = 1u << 30;

// The block's rows. kPacked: a word is link << 8 | byte; else the link alone.
template <bool kPacked>
struct Rows {
  const uint32_t* words;
  const uint8_t* column;

  ZELDC_ALWAYS_INLINE uint32_t Next(uint32_t row) const { return kPacked ? words[row] >> 8 : words[row]; }

  // Writes the row's byte and answers the next row.
  ZELDC_ALWAYS_INLINE uint32_t Emit(uint32_t row, uint8_t* out) const {
    const uint32_t word = words[row];
    *out = kPacked ? static_cast<uint8_t>(word) : column[word];
    return kPacked ? word >> 8 : word;
  }
};

template <bool kPacked>
void Link(const uint8_t* src, uint32_t len, uint32_t* words) {
  uint32_t next[256] = {};
  uint32_t odd[256] = {};  // neighbours are often equal, and an entry that was just written is slow to read
  uint32_t i = 0;
  for (; i + 1 < len; i += 2) {
    ++next[src[i]];
    ++odd[src[i + 1]];
  }
  if (i < len) ++next[src[i]];
  uint32_t sum = 0;
  for (int c = 0; c < 256; ++c) {
    const uint32_t count = next[c] + odd[c];
    next[c] = sum;
    sum += count;
  }
  for (i = 0; i < len; ++i) {
    const uint32_t c = src[i];
    words[next[c]++] = kPacked ? i << 8 | c : i;
  }
}

struct Piece {
  uint32_t length;
  uint32_t next;
};

// Measures the pieces that begin at the rows k << shift.
template <bool kPacked>
void Measure(Rows<kPacked> rows, uint32_t len, int shift, Piece* pieces) {
  const uint32_t count = ((len - 1) >> shift) + 1;
  const uint32_t mask = (1u << shift) - 1;
  uint32_t row[kLanes], piece[kLanes], begun[kLanes];
  uint32_t next = 0, step = 0;
  // Each row lies on one cycle of links, and each piece's start does; so every piece ends. Lanes without a piece of
  // their own walk the first one again, and change nothing by it.
  for (int l = 0; l < kLanes; ++l) {
    piece[l] = next < count ? next++ : 0;
    row[l] = piece[l] << shift;
    begun[l] = 0;
  }
  uint32_t open = count;
  while (open > 0) {
    ++step;
#pragma GCC unroll 8
    for (int l = 0; l < kLanes; ++l) {
      row[l] = rows.Next(row[l]);
      if (ZELDC_UNLIKELY((row[l] & mask) == 0)) {
        Piece* const done = &pieces[piece[l]];
        if (done->length == 0) {
          *done = {step - begun[l], row[l] >> shift};
          --open;
        }
        piece[l] = next < count ? next++ : 0;
        row[l] = piece[l] << shift;
        begun[l] = step;
      }
    }
  }
}

// What a lane writes: the bytes of the rows from `row` on.
struct Stretch {
  uint32_t row;
  uint32_t left;
  uint8_t* out;
};

// Hands out the pieces in the block's order.
struct Dealer {
  const Piece* pieces;
  int shift;
  uint32_t piece;
  uint8_t* out;
  uint8_t* outEnd;

  bool Deal(Stretch* s) {
    if (out == outEnd) return false;
    const size_t room = static_cast<size_t>(outEnd - out);
    const uint32_t length = pieces[piece].length;
    *s = {piece << shift, room < length ? static_cast<uint32_t>(room) : length, out};
    out += s->left;
    piece = pieces[piece].next;
    return true;
  }
};

template <bool kPacked>
void WriteOne(Rows<kPacked> rows, Stretch s) {
  for (uint32_t row = s.row; s.left > 0; --s.left) row = rows.Emit(row, s.out++);
}

template <bool kPacked>
void WritePieces(Rows<kPacked> rows, Dealer dealer) {
  Stretch lanes[kLanes];
  int busy = 0;
  while (busy < kLanes && dealer.Deal(&lanes[busy])) ++busy;
  if (busy == kLanes) {
    for (;;) {
      uint32_t steps = kLongestPiece;
      for (const Stretch& s : lanes) steps = s.left < steps ? s.left : steps;
      uint32_t row[kLanes];
      uint8_t* out[kLanes];
      for (int l = 0; l < kLanes; ++l) {
        row[l] = lanes[l].row;
        out[l] = lanes[l].out;
      }
      for (uint32_t k = 0; k < steps; ++k) {
#pragma GCC unroll 8
        for (int l = 0; l < kLanes; ++l) row[l] = rows.Emit(row[l], out[l] + k);
      }
      bool dealt = true;
      for (int l = 0; l < kLanes; ++l) {
        lanes[l] = {row[l], lanes[l].left - steps, out[l] + steps};
        if (lanes[l].left == 0 && dealt) dealt = dealer.Deal(&lanes[l]);
      }
      if (!dealt) break;
    }
  }
  for (int l = 0; l < busy; ++l) WriteOne(rows, lanes[l]);
}

template <bool kPacked>
void Walk(Rows<kPacked> rows, uint8_t* dst, uint32_t len, uint32_t index) {
  uint8_t* out = dst;
  uint8_t* const end = dst + len;
  uint32_t row = index;
  if (len < kSerialRows) {
    WriteOne(rows, {row, len, out});
    return;
  }
  int shift = 0;
  while ((len - 1) >> shift >= kPieces) ++shift;
  const uint32_t mask = (1u << shift) - 1;
  while ((row & mask) != 0 && out < end) row = rows.Emit(row, out++);
  if (out == end) return;
  Piece pieces[kPieces] = {};
  Measure(rows, len, shift, pieces);
  WritePieces(rows, Dealer{pieces, shift, row >> shift, out, end});
}

template <bool kPacked>
void Invert(const uint8_t* src, uint8_t* dst, uint32_t len, uint32_t index, uint32_t* words) {
  Link<kPacked>(src, len, words);
  Walk(Rows<kPacked>{words, src}, dst, len, index);
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

void ownBWTInv(const uint8_t* src, uint8_t* dst, uint32_t len, uint32_t index, uint8_t* buffer) {
  uint32_t* const words = reinterpret_cast<uint32_t*>(buffer + (-reinterpret_cast<uintptr_t>(buffer) & 3));
  if (len <= kPackedRows) {
    Invert<true>(src, dst, len, index, words);
  } else {
    Invert<false>(src, dst, len, index, words);
  }
}
