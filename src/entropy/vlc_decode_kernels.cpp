// Decoding of variable-length codes: bits to values.
//
// The next bits stand uppermost in 64, so a look-up is a shift and a load, and what it found says how far to shift on:
// this chain, some ten cycles for a code of the first level, is what bounds decoding, together with what a wrong guess
// costs at a branch that depends on the data. So a long call makes a table of 2^11 entries on its stack that give two
// codes a look-up, with the bits to shift by in place.
//
// Words are loaded one by one, each no earlier than when a code could reach into it: the contract lets no other be
// touched, and bits that are no code may end a call anywhere. The branch whether to load is a bad one to guess. But
// where every pattern is a code there is no such end: then the codes still to come, of a bit at least, vouch for the
// words ahead, and eight bytes are loaded at a time without asking.

#include "entropy/vlc_decode_kernels.h"

#include <type_traits>

#include "core/target.h"
#include "shared/bits_msb.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

// The stream with its next bits, loaded by words.
struct WordReader {
  const uint8_t* next;  // the first byte that is not in `bits`, at a multiple of 4
  uint64_t bits;        // uppermost; zeros below
  uint32_t count;       // how many, below 64

  explicit WordReader(const VlcPosition& position) {
    const uint32_t byteInWord = reinterpret_cast<uintptr_t>(position.byte) % 4;
    const uint32_t used = 8 * byteInWord + position.bit;
    next = position.byte - byteInWord + 4;
    bits = uint64_t{LoadBE<uint32_t>(next - 4)} << (32 + used);
    count = 32 - used;
  }

  // Makes sure that there are n bits, n <= 32.
  ZELDC_ALWAYS_INLINE void Need(uint32_t n) {
    if (count >= n) return;
    bits |= uint64_t{LoadBE<uint32_t>(next)} << (32 - count);
    next += 4;
    count += 32;
  }

  ZELDC_ALWAYS_INLINE void Consume(uint32_t n) {
    bits <<= n;
    count -= n;
  }

  VlcPosition Position() const { return {next - (count + 7) / 8, (0 - count) % 8}; }
};

// A record's tables, of elements of one width.
template <typename Element>
struct Tables {
  const Element* first;
  uint32_t firstWidth;
  uint32_t lengthMask;
  uint32_t valueShift;

  explicit Tables(const zelVLCDecodeState* s)
      : first(static_cast<const Element*>(s->Table())),
        firstWidth(static_cast<uint32_t>(first[0])),
        lengthMask((1u << s->lengthBits) - 1),
        valueShift(static_cast<uint32_t>(s->lengthBits) + 1) {}

  static bool IsLeaf(int32_t entry) { return (entry & 1) != 0; }
  ZELDC_ALWAYS_INLINE uint32_t LengthOf(int32_t entry) const {
    return (static_cast<uint32_t>(entry) >> 1) & lengthMask;
  }
  ZELDC_ALWAYS_INLINE int32_t ValueOf(int32_t entry) const { return entry >> valueShift; }

  ZELDC_ALWAYS_INLINE int32_t FirstLevel(uint64_t bits) const { return first[1 + (bits >> (64 - firstWidth))]; }

  // The leaf for the next bits and the length of its code, or kVlcUnused.
  ZELDC_ALWAYS_INLINE int32_t LookUp(uint64_t bits, uint32_t* length) const {
    const int32_t entry = FirstLevel(bits);
    if (ZELDC_UNLIKELY(!IsLeaf(entry))) return Descend(bits, entry, length);
    *length = LengthOf(entry);
    return entry;
  }

  ZELDC_NOINLINE int32_t Descend(uint64_t bits, int32_t entry, uint32_t* length) const {
    const Element* table = first;
    uint32_t width = firstWidth, passed = 0;
    while (!IsLeaf(entry) && entry != kVlcUnused) {
      bits <<= width;
      passed += width;
      table += static_cast<std::make_unsigned_t<Element>>(entry) >> 1;
      width = static_cast<uint32_t>(table[0]);
      entry = table[1 + (bits >> (64 - width))];
    }
    *length = passed + LengthOf(entry);
    return entry;
  }
};

// Two codes a look-up, where they are short.
struct PairTable {
  static constexpr uint32_t kWidth = 11;
  // Of an entry: the bits of its codes in the lowest byte, their number in the next one, their values uppermost.
  static constexpr uint32_t kNone = 255;  // bits of an entry without codes

  uint64_t entries[1 << kWidth];

  template <typename Element>
  explicit PairTable(const Tables<Element>& tables) {
    for (uint32_t i = 0; i < 1 << kWidth; ++i) {
      const uint64_t bits = uint64_t{i} << (64 - kWidth);
      uint32_t length = 0, more = 0;
      const int32_t first = tables.LookUp(bits, &length);
      if (first == kVlcUnused || length > kWidth) {
        entries[i] = kNone;
        continue;
      }
      const uint64_t value = static_cast<uint16_t>(tables.ValueOf(first));
      const int32_t second = tables.LookUp(bits << length, &more);
      if (second == kVlcUnused || length + more > kWidth) {
        entries[i] = value << 32 | 1 << 8 | length;
      } else {
        const uint64_t moreValue = static_cast<uint16_t>(tables.ValueOf(second));
        entries[i] = moreValue << 48 | value << 32 | 2 << 8 | (length + more);
      }
    }
  }

  ZELDC_ALWAYS_INLINE uint64_t At(uint64_t bits) const { return entries[bits >> (64 - kWidth)]; }
  static uint32_t BitsOf(uint64_t entry) { return static_cast<uint8_t>(entry); }
  static int32_t CountOf(uint64_t entry) { return static_cast<uint8_t>(entry >> 8); }
  ZELDC_ALWAYS_INLINE static void Store(uint64_t entry, int16_t* dst) {
    dst[0] = static_cast<int16_t>(entry >> 32);
    dst[1] = static_cast<int16_t>(entry >> 48);
  }
};

// The loops return how many codes they have decoded, and move the position behind them.

// Code by code, until bits are no code.
template <typename Element>
int32_t DecodeOneByOne(int16_t* dst, int32_t n, VlcPosition* position, const Tables<Element>& tables, uint32_t maxLen) {
  WordReader in(*position);
  int32_t i = 0;
  for (; i < n; ++i) {
    in.Need(maxLen);
    uint32_t length;
    const int32_t entry = tables.LookUp(in.bits, &length);
    if (ZELDC_UNLIKELY(entry == kVlcUnused)) break;
    dst[i] = static_cast<int16_t>(tables.ValueOf(entry));
    in.Consume(length);
  }
  *position = in.Position();
  return i;
}

// By pairs, until bits are no code or a value is left.
template <typename Element>
int32_t DecodePairs(int16_t* dst, int32_t n, VlcPosition* position, const Tables<Element>& tables, uint32_t maxLen,
                    const PairTable& pairs) {
  WordReader in(*position);
  int32_t i = 0;
  uint64_t last = 0;   // the entry that was stored last: with one code it has overwritten the value behind,
  int16_t behind = 0;  // which was this
  while (n - i >= 2) {
    in.Need(maxLen);
    const uint64_t pair = pairs.At(in.bits);
    if (ZELDC_LIKELY(PairTable::BitsOf(pair) <= in.count)) {
      last = pair;
      behind = dst[i + 1];
      PairTable::Store(pair, dst + i);
      i += PairTable::CountOf(pair);
      in.Consume(PairTable::BitsOf(pair));
      continue;
    }
    uint32_t length;
    const int32_t entry = tables.LookUp(in.bits, &length);
    if (ZELDC_UNLIKELY(entry == kVlcUnused)) break;
    last = 0;
    dst[i++] = static_cast<int16_t>(tables.ValueOf(entry));
    in.Consume(length);
  }
  if (PairTable::CountOf(last) == 1) dst[i] = behind;
  *position = in.Position();
  return i;
}

// The loops below are for tables without gaps. They end while this many codes are still to come. A load reaches 127
// bits ahead at most, and a refill is followed by up to 56 codes.
constexpr int32_t kWideEnd = 128 + 56;

struct WideReader : MsbReader {
  explicit WideReader(const VlcPosition& position) : MsbReader(0, 0, position.byte, 0) {
    srcEnd = nullptr;  // the codes that are still to come tell
    RefillWide();
    Consume(position.bit);
  }
  VlcPosition Position() const { return {src - (count + 7) / 8, (0 - count) % 8}; }
};

// Any code: after a refill.
template <typename Element>
ZELDC_ALWAYS_INLINE int16_t DecodeWideOne(WideReader* in, const Tables<Element>& tables) {
  uint32_t length;
  const int32_t entry = tables.LookUp(in->bits, &length);
  in->Consume(length);
  return static_cast<int16_t>(tables.ValueOf(entry));
}

template <typename Element>
int32_t DecodeWide(int16_t* dst, int32_t n, VlcPosition* position, const Tables<Element>& tables) {
  const int32_t steps = static_cast<int32_t>(56 / tables.firstWidth);
  WideReader in(*position);
  int32_t i = 0;
  while (n - i >= kWideEnd) {
    in.RefillWide();
    int32_t step = 0;
    for (; step < steps; ++step) {
      const int32_t entry = tables.FirstLevel(in.bits);
      if (ZELDC_UNLIKELY(!Tables<Element>::IsLeaf(entry))) break;
      dst[i++] = static_cast<int16_t>(tables.ValueOf(entry));
      in.Consume(tables.LengthOf(entry));
    }
    if (step == steps) continue;
    in.RefillWide();
    dst[i++] = DecodeWideOne(&in, tables);
  }
  *position = in.Position();
  return i;
}

template <typename Element>
int32_t DecodeWidePairs(int16_t* dst, int32_t n, VlcPosition* position, const Tables<Element>& tables,
                        const PairTable& pairs) {
  WideReader in(*position);
  int32_t i = 0;
  while (n - i >= kWideEnd) {
    in.RefillWide();
    uint32_t step = 0;
    for (; step < 56 / PairTable::kWidth; ++step) {
      const uint64_t pair = pairs.At(in.bits);
      if (ZELDC_UNLIKELY(PairTable::BitsOf(pair) == PairTable::kNone)) break;
      PairTable::Store(pair, dst + i);
      i += PairTable::CountOf(pair);
      in.bits <<= pair & 63;
      in.count -= PairTable::BitsOf(pair);
    }
    if (step == 56 / PairTable::kWidth) continue;
    in.RefillWide();
    dst[i++] = DecodeWideOne(&in, tables);
  }
  *position = in.Position();
  return i;
}

constexpr int32_t kPairsFrom = 8192;

template <typename Element>
ZELDC_NOINLINE int32_t DecodeMany(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s) {
  const Tables<Element> tables(s);
  const PairTable pairs(tables);
  return s->isComplete ? DecodeWidePairs(dst, n, position, tables, pairs)
                       : DecodePairs(dst, n, position, tables, static_cast<uint32_t>(s->maxLen), pairs);
}

template <typename Element>
int32_t DecodeValues(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s) {
  const Tables<Element> tables(s);
  int32_t i = 0;
  if (n >= kPairsFrom) {
    i = DecodeMany<Element>(dst, n, position, s);
  } else if (n >= 2 * kWideEnd && s->isComplete) {
    i = DecodeWide(dst, n, position, tables);
  }
  // A code is left, or bits that are none: something to load in either case.
  return i + (i < n ? DecodeOneByOne(dst + i, n - i, position, tables, static_cast<uint32_t>(s->maxLen)) : 0);
}

template <typename Element>
int32_t DecodeTuples(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s) {
  const Tables<Element> tables(s);
  const uint32_t maxLen = static_cast<uint32_t>(s->maxLen);
  const uint32_t tupleSize = static_cast<uint32_t>(s->tupleSize);
  const uint32_t elementBits = static_cast<uint32_t>(s->elementBits);
  const uint32_t mask = ~uint32_t{0} >> (32 - elementBits);
  const uint32_t firstElement = static_cast<uint32_t>(s->packedBits) - elementBits;  // where it begins
  WordReader in(*position);
  int32_t i = 0;
  for (; i < n; ++i) {
    in.Need(maxLen);
    uint32_t length;
    const int32_t entry = tables.LookUp(in.bits, &length);
    if (ZELDC_UNLIKELY(entry == kVlcUnused)) break;
    in.Consume(length);
    in.Need(tupleSize);
    const uint32_t packed = static_cast<uint32_t>(tables.ValueOf(entry));
    for (uint32_t k = 0; k < tupleSize; ++k) {
      const uint32_t element = (packed >> (firstElement - k * elementBits)) & mask;
      const uint32_t minus = element != 0 ? static_cast<uint32_t>(in.bits >> 63) : 0;
      *dst++ = static_cast<int16_t>((element ^ (0 - minus)) + minus);
      in.Consume(element != 0);
    }
  }
  *position = in.Position();
  return i;
}

}  // namespace

int32_t ownDecodeValues(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s) {
  if (s->elementWidth == 8) return DecodeValues<int8_t>(dst, n, position, s);
  if (s->elementWidth == 16) return DecodeValues<int16_t>(dst, n, position, s);
  return DecodeValues<int32_t>(dst, n, position, s);
}

int32_t ownDecodeTuples(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s) {
  if (s->elementWidth == 8) return DecodeTuples<int8_t>(dst, n, position, s);
  if (s->elementWidth == 16) return DecodeTuples<int16_t>(dst, n, position, s);
  return DecodeTuples<int32_t>(dst, n, position, s);
}

}  // namespace zeldc
