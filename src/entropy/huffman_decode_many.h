// The inner loop of the byte Huffman decoder, for complete codes, with plenty of source and room.
//
// What bounds it is the wait for one look-up after another: the bits of an entry's codes must be known before the next
// entry can be found. So an entry should give as many bytes as it can. A call with much to do makes a table on its
// stack whose entries hold up to three whole codes; others take the record's, whose entries hold one. The length stands
// in an entry's lowest bits, where it serves as the shift as it is, so that from entry to entry there are two shifts
// and a load.
#pragma once

#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "core/target.h"
#include "entropy/huffman_state.h"

namespace zeldc {

struct HuffSymbol {
  uint8_t value;
  uint32_t length;
};

// The code at the front of 32 bits, of `length` bits or more. Bits that are no code count as the last one of a length.
// The longest codes begin with 0: there the search ends.
ZELDC_ALWAYS_INLINE HuffSymbol FindSymbol(const HuffDecodeTables& t, uint32_t bits, uint32_t length) {
  while (bits < t.firstCode[length]) ++length;
  const uint32_t place = t.firstPlace[length] + ((bits - t.firstCode[length]) >> (32 - length));
  return {t.symbols[std::min<uint32_t>(place, t.lastPlace[length])], length};
}

// The record's table: one code an entry.
class SingleCodes {
 public:
  static constexpr uint32_t kBits = HuffDecodeTables::kFastBits;
  static constexpr ptrdiff_t kMost = 1;  // bytes that a look-up stores
  using Entry = uint16_t;

  explicit SingleCodes(const HuffDecodeTables& tables) : entries_(tables.fast) {}
  Entry At(size_t index) const { return entries_[index]; }
  static ZELDC_ALWAYS_INLINE uint8_t* Store(Entry entry, uint8_t* dst) {
    *dst = static_cast<uint8_t>(entry >> 8);
    return dst + 1;
  }

 private:
  const uint16_t* entries_;
};

// Up to three codes an entry: the bits of all of them in bits 0 to 5, their number in bits 6 and 7, their bytes above.
// An entry of zero is that of a code which is too long.
//
// The codes that begin with a symbol stand side by side, and what follows the symbol's own code is the whole table
// again for as many bits less: with one code less an entry, and with that code's bits. So a table for three is made of
// tables for two, those of tables for one, by adding the same to each entry of a row.
class TripleCodes {
 public:
  static constexpr uint32_t kBits = 12;
  static constexpr ptrdiff_t kMost = 4;
  using Entry = uint32_t;

  explicit TripleCodes(const zelHuffState* s) {
    Entry one[1 << kBits], two[1 << kBits];
    const Rows ones = {one}, twos = {two};
    const uint32_t shortest = static_cast<uint32_t>(s->minLen);
    for (uint32_t bits = 0; bits + 2 * shortest <= kBits; ++bits) MakeRow(s, bits, nullptr, ones.Row(bits));
    for (uint32_t bits = 0; bits + shortest <= kBits; ++bits) MakeRow(s, bits, &ones, twos.Row(bits));
    MakeRow(s, kBits, &twos, entries_);
  }
  Entry At(size_t index) const { return entries_[index]; }
  static ZELDC_ALWAYS_INLINE uint8_t* Store(Entry entry, uint8_t* dst) {
    StoreLE(dst, entry >> 8);
    return dst + (entry >> 6 & 3);
  }

 private:
  // Tables for 0, 1, ... bits, one behind another.
  struct Rows {
    Entry* entries;
    Entry* Row(uint32_t bits) const { return entries + (size_t{1} << bits) - 1; }
  };

  // The table for so many bits, of codes with those of `rest` behind them.
  static void MakeRow(const zelHuffState* s, uint32_t bits, const Rows* rest, Entry* row) {
    Entry* const end = row + (size_t{1} << bits);
    Entry* at = end;
    // From the shortest codes, which stand last, to those that are too long.
    const HuffDecodeTables& t = s->tables;
    for (uint32_t length = static_cast<uint32_t>(s->minLen); length <= bits && at > row; ++length) {
      if (length > static_cast<uint32_t>(s->maxLen)) break;
      for (int place = t.lastPlace[length]; place >= t.firstPlace[length]; --place) {
        if (LengthOf(s->codes[t.symbols[place]]) != length) break;
        const size_t n = size_t{1} << (bits - length);
        if (static_cast<size_t>(at - row) < n) break;
        at -= n;
        const Entry first = Entry{t.symbols[place]} << 8 | 1u << 6 | length;
        if (!rest) {
          std::fill_n(at, n, first);
          continue;
        }
        const Entry* const behind = rest->Row(bits - length);
        for (size_t i = 0; i < n; ++i) at[i] = ((behind[i] & ~Entry{0xFF}) << 8) + (behind[i] & 0xFF) + first;
      }
    }
    std::fill(row, at, Entry{0});
  }

  Entry entries_[1 << kBits];
};

struct BitPlace {
  const uint8_t* byte;
  uint32_t bit;  // 0 to 7
};

class HuffLoop {
 public:
  // A turn looks at less source than this, and leaves enough for at least two codes: so the bytes that stores of more
  // than one byte have touched too many are overwritten in the end.
  static constexpr ptrdiff_t kSourceMargin = 24;

  HuffLoop(BitPlace place, const uint8_t* srcEnd, uint8_t* dst, uint8_t* dstEnd)
      : srcEnd_(srcEnd), dst_(dst), dstEnd_(dstEnd), place_(place) {}

  // Decodes while there is source for a turn, and room for more than what one stores.
  template <typename Codes>
  ZELDC_ALWAYS_INLINE void Run(const zelHuffState* s, const Codes& codes) {
    const HuffDecodeTables& tables = s->tables;
    constexpr int kLookUps = kUsableBits / Codes::kBits;
    if (srcEnd_ - place_.byte < kSourceMargin) return;
    Reader in;
    in.Seek(place_);
    uint8_t* dst = dst_;
    while (srcEnd_ - in.src >= kSourceMargin && dstEnd_ - dst > kLookUps * Codes::kMost) {
      in.Refill();
      for (int i = 0; i < kLookUps; ++i) {
        const typename Codes::Entry entry = codes.At(in.bits >> (kWordBits - Codes::kBits));
        if (ZELDC_UNLIKELY(entry == 0)) {
          BitPlace place = PlaceOf(in);
          const uint32_t next = static_cast<uint32_t>(LoadBE<uint64_t>(place.byte) << place.bit >> 32);
          const HuffSymbol symbol =
              FindSymbol(tables, next, std::min(Codes::kBits + 1, static_cast<uint32_t>(s->maxLen)));
          *dst++ = symbol.value;
          place.bit += symbol.length;
          in.Seek({place.byte + place.bit / 8, place.bit % 8});
          break;
        }
        dst = Codes::Store(entry, dst);
        in.Consume(entry);
      }
    }
    dst_ = dst;
    place_ = PlaceOf(in);
  }

  uint8_t* dst() const { return dst_; }
  BitPlace place() const { return place_; }

 private:
  // The widest word whose shifts are single instructions.
  using Word = size_t;
  static constexpr uint32_t kWordBits = 8 * sizeof(Word);
  static constexpr uint32_t kUsableBits = kWordBits - 8;

  struct Reader {
    Word bits;       // the next bit uppermost; below the counted ones stand bits that the source holds next
    uint32_t count;  // modulo kWordBits; what stands above is of no meaning
    const uint8_t* src;

    void Seek(BitPlace place) {
      bits = LoadBE<Word>(place.byte) << place.bit;
      count = kUsableBits - place.bit;
      src = place.byte + sizeof(Word) - 1;
    }

    // Has kUsableBits or more afterwards.
    ZELDC_ALWAYS_INLINE void Refill() {
      count &= kWordBits - 1;
      bits |= LoadBE<Word>(src) >> count;
      src += (kWordBits - 1 - count) >> 3;
      count |= kUsableBits;
    }

    // Any word whose lowest bits are the number, which is below kWordBits.
    ZELDC_ALWAYS_INLINE void Consume(uint32_t n) {
      bits <<= n & (kWordBits - 1);
      count -= n;
    }

    BitPlace Place() const {
      const uint32_t n = count & (kWordBits - 1);
      return {src - (n + 7) / 8, (0 - n) & 7};
    }
  };

  // Codes of a damaged record may seem to end before they began: not before where this run did.
  BitPlace PlaceOf(const Reader& in) const {
    const BitPlace place = in.Place();
    return place.byte < place_.byte ? place_ : place;
  }

  const uint8_t* const srcEnd_;
  uint8_t* dst_;
  uint8_t* const dstEnd_;
  BitPlace place_;
};

}  // namespace zeldc
