// The symbol loop of Huffman blocks, for pairs and for bytes: one body each of
//
//   DecodeFast      while plenty of input and room remain: no check but the loop's own. What it does not know how to
//                   handle (the end of the block, codes without a symbol, distances beyond the history) it leaves
//                   where it stands.
//   DecodeOne       one symbol, every bit and byte checked.
//
// Both use the same tables. The fast loop is bound by the chain from one look-up to the next: shift, mask, load, about
// eight cycles a symbol. So the bit buffer is refilled without a branch, the next entry is loaded before the match of
// the last one is copied, and up to three literals follow one another without a refill.
#pragma once

#include "inflate/decode_tables.h"
#include "inflate/decoder_state.h"
#include "inflate/match_copy.h"
#include "shared/bits_lsb.h"

namespace zeldc {

// Where decoded bytes go and where matches come from.
struct ByteSink {
  using Unit = uint8_t;
  static constexpr bool kPairs = false;

  uint8_t* out;
  uint8_t* outStart;
  uint8_t* outEnd;
  DecoderState* state;  // its ring holds what precedes outStart

  size_t Written() const { return static_cast<size_t>(out - outStart); }
  bool Reaches(size_t distance) const { return distance <= Written() + static_cast<size_t>(state->ringFill); }
};

// Copies a match, whose distance is valid, exactly; what lies before outStart comes from the ring.
void CopyMatchThroughRing(const DecoderState* s, const uint8_t* outStart, uint8_t* out, size_t distance, size_t len);

struct PairSink {
  using Unit = zelLZ77Pair;
  static constexpr bool kPairs = true;

  zelLZ77Pair* out;
  zelLZ77Pair* outEnd;
};

// What DecodeOne met.
enum class Symbol { kDecoded, kBlockEnd, kInvalid, kSourceShort, kRoomShort };

#if UINTPTR_MAX > 0xFFFFFFFF
using BitWord = uint64_t;
#else
using BitWord = uint32_t;
#endif
inline constexpr unsigned kWordBits = 8 * sizeof(BitWord);
// A refill brings the count to at least this.
inline constexpr unsigned kRefillBits = kWordBits - 8;

// The fast loop runs while this much is left: the bytes that the refills of a round may load, and what a round may
// write.
inline constexpr ptrdiff_t kFastSource = 40;
template <typename Sink>
inline constexpr ptrdiff_t kFastRoom = Sink::kPairs ? 8 : kMaxMatch + kCopySlack + 8;

template <typename Sink>
inline void DecodeFast(const BlockTables& tables, BitReader* in, Sink* sink) {
  const DecodeEntry* const litLen = tables.litLen;
  const DecodeEntry* const distances = tables.distance;
  const BitWord litLenMask = (BitWord{1} << tables.litLenBits) - 1;
  const BitWord distanceMask = (BitWord{1} << tables.distanceBits) - 1;
  const uint8_t* const srcFastEnd = in->srcEnd - kFastSource;
  typename Sink::Unit* const outFastEnd = sink->outEnd - kFastRoom<Sink>;

  const BitWord heldBits = static_cast<BitWord>(in->bits);
  const unsigned heldCount = in->count;  // at most 7
  const uint8_t* src = in->src;
  auto* out = sink->out;
  BitWord bits = heldBits;
  // Only the low bits of the count count: entries are subtracted whole.
  uint32_t count = heldCount;

  auto refill = [&]() ZELDC_LAMBDA_INLINE {
    bits |= LoadLE<BitWord>(src) << (count & (kWordBits - 1));
    src += ((kWordBits - 1) - (count & (kWordBits - 1))) >> 3;
    count |= kRefillBits;
  };
  auto consume = [&](DecodeEntry e) ZELDC_LAMBDA_INLINE {
    bits >>= e & (kWordBits - 1);
    count -= e;
  };
  auto putLiteral = [&](DecodeEntry e) ZELDC_LAMBDA_INLINE {
    if constexpr (Sink::kPairs) {
      *out++ = {static_cast<uint16_t>(EntryValue(e)), 0};
    } else {
      *out++ = static_cast<uint8_t>(e >> 16);
    }
  };
  // On 32-bit targets a refill is good for one code only.
  auto refillNarrow = [&]() ZELDC_LAMBDA_INLINE {
    if constexpr (kWordBits == 32) refill();
  };

  unsigned unread;  // bits of the last symbol that are taken back
  refill();
  DecodeEntry e = litLen[bits & litLenMask];
  for (;;) {
    unread = 0;
    if (src >= srcFastEnd || out >= outFastEnd) break;

    // At most 3 x 11 bits of literals leave 23 of the 56: enough for a length of 15 + 5.
    if (e & kEntryLiteral) {
      consume(e);
      putLiteral(e);
      refillNarrow();
      e = litLen[bits & litLenMask];
      if (e & kEntryLiteral) {
        consume(e);
        putLiteral(e);
        refillNarrow();
        e = litLen[bits & litLenMask];
        if (e & kEntryLiteral) {
          consume(e);
          putLiteral(e);
          refill();
          e = litLen[bits & litLenMask];
          continue;
        }
      }
    }
    if (ZELDC_UNLIKELY(e & kEntrySpecial)) {
      if (!(e & kEntryLink)) break;
      const DecodeEntry link = e;
      e = litLen[EntryValue(link) + ((bits >> EntryBits(link)) & ((1u << EntryCodeBits(link)) - 1))];
      if (e & kEntrySpecial) break;
      consume(link);
      unread = EntryBits(link);
      if (e & kEntryLiteral) {
        consume(e);
        putLiteral(e);
        refill();
        e = litLen[bits & litLenMask];
        continue;
      }
    }
    BitWord saved = bits;
    consume(e);
    unread += EntryBits(e);
    const unsigned length =
        EntryValue(e) + (static_cast<unsigned>(saved & ((BitWord{1} << EntryBits(e)) - 1)) >> EntryCodeBits(e));

    // The distance: 15 + 13 bits.
    refill();
    e = distances[bits & distanceMask];
    if (ZELDC_UNLIKELY(e & kEntrySpecial)) {
      if (!(e & kEntryLink)) break;
      const DecodeEntry link = e;
      e = distances[EntryValue(link) + ((bits >> EntryBits(link)) & ((1u << EntryCodeBits(link)) - 1))];
      if (e & kEntrySpecial) break;
      consume(link);
      unread += EntryBits(link);
    }
    unread += EntryBits(e);
    size_t distance;
    if constexpr (kWordBits == 64) {
      saved = bits;
      consume(e);
      distance = EntryValue(e) + static_cast<size_t>((saved & ((BitWord{1} << EntryBits(e)) - 1)) >> EntryCodeBits(e));
    } else {
      const unsigned codeBits = EntryCodeBits(e);
      const unsigned extraBits = EntryBits(e) - codeBits;
      bits >>= codeBits;
      count -= codeBits;
      refill();
      distance = EntryValue(e) + (bits & ((BitWord{1} << extraBits) - 1));
      bits >>= extraBits;
      count -= extraBits;
    }

    if constexpr (Sink::kPairs) {
      refill();
      e = litLen[bits & litLenMask];
      *out++ = {static_cast<uint16_t>(length), static_cast<uint16_t>(distance)};
    } else {
      const size_t written = static_cast<size_t>(out - sink->outStart);
      if (ZELDC_UNLIKELY(distance > written)) {
        if (distance > written + static_cast<size_t>(sink->state->ringFill)) break;
        CopyMatchThroughRing(sink->state, sink->outStart, out, distance, length);
        out += length;
        refill();
        e = litLen[bits & litLenMask];
        continue;
      }
      refill();
      e = litLen[bits & litLenMask];
      CopyMatchWide(out, distance, length);
      out += length;
    }
  }

  // Back to the first bit of the symbol that was not decoded, as a position behind in->src.
  sink->out = out;
  const ptrdiff_t position = 8 * (src - in->src) - static_cast<ptrdiff_t>((count & (kWordBits - 1)) + unread);
  if (position < 0) {
    in->count = static_cast<uint32_t>(-position);
    in->bits = heldBits >> (heldCount - in->count);
  } else {
    in->src += (position + 7) >> 3;
    in->count = static_cast<uint32_t>(-position & 7);
    in->bits = in->count ? static_cast<uint64_t>(in->src[-1] >> (8 - in->count)) : 0;
  }
}

// Looks up a code at the bottom of bits; answers its entry with the bits of link and code added up.
inline DecodeEntry LookUp(const DecodeEntry* table, int tableBits, uint64_t bits, unsigned* codeBits,
                          unsigned* allBits) {
  DecodeEntry e = table[bits & ((1u << tableBits) - 1)];
  unsigned linkBits = 0;
  if ((e & (kEntrySpecial | kEntryLink)) == (kEntrySpecial | kEntryLink)) {
    linkBits = EntryBits(e);
    e = table[EntryValue(e) + ((bits >> linkBits) & ((1u << EntryCodeBits(e)) - 1))];
  }
  *codeBits = linkBits + EntryCodeBits(e);
  *allBits = linkBits + EntryBits(e);
  return e;
}

// Decodes one symbol if all of its bits are there. A symbol that finds no room at all is not consumed; a match that
// finds too little is cut and waits in the record.
template <typename Sink>
inline Symbol DecodeOne(DecoderState* s, const BlockTables& tables, BitReader* in, Sink* sink) {
  in->Refill();
  unsigned codeBits, allBits;
  DecodeEntry e = LookUp(tables.litLen, tables.litLenBits, in->bits, &codeBits, &allBits);
  if (allBits > in->count) return Symbol::kSourceShort;
  if (e & kEntrySpecial) {
    if (!(e & kEntryEndOfBlock)) return Symbol::kInvalid;
    in->Consume(allBits);
    return Symbol::kBlockEnd;
  }
  if (sink->out == sink->outEnd) return Symbol::kRoomShort;
  if (e & kEntryLiteral) {
    in->Consume(allBits);
    if constexpr (Sink::kPairs) {
      *sink->out++ = {static_cast<uint16_t>(EntryValue(e)), 0};
    } else {
      *sink->out++ = static_cast<uint8_t>(EntryValue(e));
    }
    return Symbol::kDecoded;
  }
  const uint64_t lengthExtra = (in->bits & BitReader::Mask(allBits)) >> codeBits;
  const size_t length = EntryValue(e) + static_cast<size_t>(lengthExtra);
  const unsigned lengthBits = allBits;

  const uint64_t rest = in->bits >> lengthBits;
  e = LookUp(tables.distance, tables.distanceBits, rest, &codeBits, &allBits);
  if (lengthBits + allBits > in->count) return Symbol::kSourceShort;
  if (e & kEntrySpecial) return Symbol::kInvalid;
  const uint64_t distanceExtra = (rest & BitReader::Mask(allBits)) >> codeBits;
  const size_t distance = EntryValue(e) + static_cast<size_t>(distanceExtra);

  if constexpr (Sink::kPairs) {
    (void)s;
    in->Consume(lengthBits + allBits);
    *sink->out++ = {static_cast<uint16_t>(length), static_cast<uint16_t>(distance)};
  } else {
    if (!sink->Reaches(distance)) return Symbol::kInvalid;
    in->Consume(lengthBits + allBits);
    const size_t room = static_cast<size_t>(sink->outEnd - sink->out);
    const size_t n = length < room ? length : room;
    CopyMatchThroughRing(s, sink->outStart, sink->out, distance, n);
    sink->out += n;
    s->pendingLen = static_cast<int32_t>(length - n);
    s->pendingDist = static_cast<int32_t>(distance);
  }
  return Symbol::kDecoded;
}

}  // namespace zeldc
