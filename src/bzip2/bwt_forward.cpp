// The forward transform sorts the rotations of the block by induction (byte_induction.h), in linear time whatever the
// block holds: the LMS rotations by their LMS substrings first, then those of them that agree by what follows, and all
// other rotations from them. What follows an LMS rotation is a string of LMS substrings, each of which is given a
// number as its name: the same problem over again, at most half as long (symbol_induction.h). Everything is cyclic at
// every step. Where few LMS rotations agree, they are sorted on their own instead (rank_sort.h).
//
// Bound by the cache misses of the inductions.

#include "bzip2/bwt_forward.h"

#include <string.h>

#include "bzip2/byte_induction.h"
#include "bzip2/rank_sort.h"
#include "bzip2/rotation_types.h"
#include "bzip2/rotations.h"
#include "bzip2/symbol_induction.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

template <typename T>
bool IsOneSymbol(const T* symbols, uint32_t len) {
  return len == 1 || memcmp(symbols, symbols + 1, (len - 1) * sizeof(T)) == 0;
}

// Whether the strings of len symbols from a and from b on, which may go on at the start, are the same.
template <typename Symbol, typename Pos>
bool IsSame(const Rotations<Symbol, Pos>& r, uint32_t a, uint32_t b, uint32_t len) {
  for (; len > 0; --len) {
    if (r.symbols[a] != r.symbols[b]) return false;
    a = a + 1 == r.len ? 0 : a + 1;
    b = b + 1 == r.len ? 0 : b + 1;
  }
  return true;
}

// Of the first eight symbols from a and from b on, those up to len.
inline bool IsStartSame(const uint8_t* a, const uint8_t* b, uint32_t len) {
  const uint64_t differ = LoadLE<uint64_t>(a) ^ LoadLE<uint64_t>(b);
  return differ << (len < 8 ? 64 - 8 * len : 0) == 0;
}
template <typename Symbol>
bool IsStartSame(const Symbol* a, const Symbol* b, uint32_t /*len*/) {
  return *a == *b;
}

// Marks each LMS rotation in the order whose LMS substring is that of the one before; answers how many there are.
template <typename Symbol, typename Pos>
uint32_t MarkSame(const Rotations<Symbol, Pos>& r) {
  constexpr uint32_t kFetchAhead = 16;
  constexpr uint32_t kAtOnce = sizeof(Symbol) == 1 ? 8 : 1;
  uint32_t same = 0;
  uint32_t before = r.order[0], lengthBefore = r.lms.DistanceToNext(before) + 1;
  for (uint32_t k = 1; k < r.lms.count; ++k) {
    if (k + kFetchAhead < r.lms.count) ZELDC_PREFETCH(r.symbols + r.order[k + kFetchAhead]);
    const uint32_t pos = r.order[k];
    const uint32_t length = r.lms.DistanceToNext(pos) + 1;
    bool isSame = (length == lengthBefore) & IsStartSame(r.symbols + before, r.symbols + pos, length);
    if (isSame && length > kAtOnce) isSame = IsSame(r, before, pos, length);
    r.order[k] = static_cast<Pos>(pos | (isSame ? Marked<Pos>::kMark : 0));
    same += isSame;
    before = pos;
    lengthBefore = length;
  }
  return same;
}

template <typename Pos>
void SortRotations(Rotations<Pos, Pos> r, Arena arena);

// Sorts the LMS rotations that agree in their LMS substrings, `same` of which are marked. The symbols are not looked
// at, so their memory may be in the arena.
template <typename Symbol, typename Pos>
void SortSame(const Rotations<Symbol, Pos>& r, uint32_t same, Arena arena) {
  const uint32_t count = r.lms.count;
  if (same == 0) return;
  // Otherwise at most two thirds of the names differ: their buckets fit the arena, which has 1.8 times the string's
  // length here, and the string of names is at most half as long as that.
  if (same <= count / 3) {
    SortByRank(r.lms, r.order, arena);
    return;
  }
  // LMS rotations are two apart at least: their names go to half of the order, and then close ranks.
  Pos* const names = r.order + r.len / 2;
  for (uint32_t k = 0; k < r.len - r.len / 2; ++k) names[k] = Marked<Pos>::kNone;
  uint32_t alphabet = 0;
  for (uint32_t k = 0; k < count; ++k) {
    const Pos entry = r.order[k];
    alphabet += !(entry & Marked<Pos>::kMark);
    names[Marked<Pos>::Unmark(entry) >> 1] = static_cast<Pos>(alphabet - 1);
  }
  Pos* end = names;
  for (const Pos* name = names; name < r.order + r.len; ++name) {
    *end = *name;
    end += *name != Marked<Pos>::kNone;
  }
  SortRotations(Rotations<Pos, Pos>{names, count, alphabet, r.order, {}}, arena);
  // From numbers to positions. The names have done their duty.
  Pos* list = names;
  r.lms.ForEach([&](Pos pos) { *list++ = pos; });
  for (uint32_t k = 0; k < count; ++k) r.order[k] = names[r.order[k]];
}

template <typename Pos>
void SortRotations(Rotations<Pos, Pos> r, Arena arena) {
  if (IsOneSymbol(r.symbols, r.len)) {
    for (uint32_t k = 0; k < r.len; ++k) r.order[k] = static_cast<Pos>(k);
    return;
  }
  r.lms.Take(&arena, r.len);
  FindLarger(r.symbols, r.len, r.lms.bits);
  KeepLms(&r.lms);
  {
    SymbolInduction<Pos> induction(r, arena);
    induction.PlaceLms();
    induction.SortLmsSubstrings();
  }
  SortSame(r, MarkSame(r), arena);
  SymbolInduction<Pos> induction(r, arena);
  induction.MoveLms();
  induction.SortAll();
}

template <typename Pos>
uint32_t Transform(const uint8_t* src, uint8_t* dst, uint32_t len, Arena arena) {
  if (IsOneSymbol(src, len)) {
    memset(dst, src[0], len);
    return 0;
  }
  Rotations<uint8_t, Pos> r{};
  r.len = len;
  r.alphabet = 256;
  r.order = arena.Take<Pos>(len);
  r.lms.Take(&arena, len);
  // The text needs some bytes behind it as long as it is compared by words.
  const Arena scratch = arena;
  uint8_t* const text = arena.Take<uint8_t>(size_t{len} + kTextBehind);
  memcpy(text, src, len);
  for (uint32_t i = 0; i < kTextBehind; ++i) text[len + i] = text[i];
  r.symbols = text;
  FindLarger(text, len, r.lms.bits);
  ByteInduction<Pos> induction(r, r.lms.bits);
  KeepLms(&r.lms);
  induction.PlaceLms(r.lms);
  induction.SortLmsSubstrings();
  SortSame(r, MarkSame(r), scratch);
  return induction.Transform(src, dst);
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

uint32_t ownBWTFwd(const uint8_t* src, uint8_t* dst, uint32_t len, uint8_t* buffer) {
  return Transform<uint32_t>(src, dst, len, Arena{buffer, buffer + 6 * size_t{len} + 70145});
}

uint32_t ownBWTFwdSmallBlock(const uint8_t* src, uint8_t* dst, uint32_t len, uint8_t* buffer) {
  return Transform<uint16_t>(src, dst, len, Arena{buffer, buffer + 4 * size_t{len} + 2080});
}
