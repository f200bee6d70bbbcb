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

#include "inflate/decoder_state.h"
#include "shared/bits_lsb.h"

#if ZELDC_BMI2
#include <immintrin.h>
#endif

namespace zeldc {

// Where decoded bytes go and where matches come from. historySlack bytes behind the history can be read, too.
template <int historySlack>
struct ByteSinkOf {
  using Unit = uint8_t;
  static constexpr bool kPairs = false;
  static constexpr int kHistorySlack = historySlack;

  uint8_t* out;
  uint8_t* outStart;  // matches may copy from here on
  uint8_t* outEnd;
  const uint8_t* historyEnd;  // what lies before outStart ends here
  size_t historySize;         // of it, at most kWindowSize

  // Bytes that a match may reach back.
  size_t Reach() const { return static_cast<size_t>(out - outStart) + historySize; }
};

using ByteSink = ByteSinkOf<kCopySlack>;
using WindowSink = ByteSinkOf<0>;

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

// The lowest bits of v, as many as the low byte of n says.
ZELDC_ALWAYS_INLINE BitWord LowBits(BitWord v, uint32_t n) {
#if ZELDC_BMI2 && UINTPTR_MAX > 0xFFFFFFFF
  return _bzhi_u64(v, n);
#elif ZELDC_BMI2
  return _bzhi_u32(v, n);
#else
  return v & ((BitWord{1} << (n & (kWordBits - 1))) - 1);
#endif
}

// The fast loop runs while this much is left: the bytes that the refills of a round may load, and what a round may
// write.
inline constexpr ptrdiff_t kFastSource = 40;
template <typename Sink>
inline constexpr ptrdiff_t kFastRoom = Sink::kPairs ? 8 : kMaxMatch + kCopySlack + 8;

// kHistory: matches may start before this call's output; it ends when they can't any more.
template <bool kHistory, typename Sink>
ZELDC_NOINLINE void DecodeFast(const SymbolTables& tables, BitReader* in, Sink* sink) {
  const DecodeEntry* const litLen = tables.litLen;
  const DecodeEntry* const distances = tables.distance;
  const BitWord litLenMask = (BitWord{1} << tables.litLenBits) - 1;
  const BitWord distanceMask = (BitWord{1} << tables.distanceBits) - 1;
  const uint8_t* const srcFastEnd = in->srcEnd - kFastSource;
  typename Sink::Unit* outFastEnd = sink->outEnd - kFastRoom<Sink>;
  [[maybe_unused]] const uint8_t* outStart = nullptr;
  [[maybe_unused]] uintptr_t outAddress = 0;
  [[maybe_unused]] uintptr_t historyAddress = 0;  // of its end, combined with outAddress
  [[maybe_unused]] ptrdiff_t historyStart = 0;
  if constexpr (kHistory) {
    outStart = sink->outStart;
    outAddress = reinterpret_cast<uintptr_t>(outStart);
    historyAddress = reinterpret_cast<uintptr_t>(sink->historyEnd) ^ outAddress;
    historyStart = -static_cast<ptrdiff_t>(sink->historySize);
    if (outFastEnd - outStart > kWindowSize) outFastEnd = sink->outStart + kWindowSize;
  }

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
  // The next entry, looked up before the refill, which then is not in the way of its latency: at every such place there
  // are bits left for an index.
  auto lookUpAndRefill = [&](const DecodeEntry* table, BitWord mask) ZELDC_LAMBDA_INLINE {
    const DecodeEntry next = table[bits & mask];
    refill();
    return next;
  };
  // Takes a literal or length off the bits and looks up what follows it, in either table, before it is known which of
  // the two it is: when that branch is mispredicted, the entry for the other way is there already.
  DecodeEntry nextLitLen = 0;
  DecodeEntry nextDistance = 0;
  auto step = [&](DecodeEntry e) ZELDC_LAMBDA_INLINE {
    consume(e);
    nextLitLen = litLen[bits & litLenMask];
    nextDistance = distances[bits & distanceMask];
    __asm__ volatile("" : "+r"(nextLitLen), "+r"(nextDistance));  // here, and not where they are needed
    // With 32 bits each symbol needs a refill. The look-ups come before it: they may use all bits of the word, of which
    // the longest symbol, 15 + 5 bits, leaves 12, whatever the count says.
    if constexpr (kWordBits == 32) refill();
  };

  unsigned unread = 0;  // bits of the last symbol that are to be taken back
  refill();
  DecodeEntry e = litLen[bits & litLenMask];
  while (src < srcFastEnd && out < outFastEnd) {
    // Of 56 bits, two literals (2 x 11) and a length (15 + 5) leave 14 for an index (11 or 8), and so do a third
    // literal, and a distance (15 + 13) after its own refill.
    BitWord before = bits;
    step(e);
    if (e & kEntryLiteral) {
      putLiteral(e);
      e = nextLitLen;
      before = bits;
      step(e);
      if (e & kEntryLiteral) {
        putLiteral(e);
        e = nextLitLen;
        before = bits;
        step(e);
        if (e & kEntryLiteral) {
          putLiteral(e);
          e = nextLitLen;
          if constexpr (kWordBits == 64) refill();
          continue;
        }
      }
    }
    unsigned linkBits = 0;
    if (ZELDC_UNLIKELY(e & kEntrySpecial)) {
      // The step has taken the bits of the link, or of what can't be decoded here.
      linkBits = EntryBits(e);
      unread = linkBits;
      if (!(e & kEntryLink)) break;
      before = bits;
      e = litLen[EntryValue(e) + LowBits(bits, EntryCodeBits(e))];
      if (e & kEntrySpecial) break;
      unread = 0;
      step(e);
      if (e & kEntryLiteral) {
        putLiteral(e);
        e = nextLitLen;
        if constexpr (kWordBits == 64) refill();
        continue;
      }
    }
    const DecodeEntry lengthEntry = e;
    const size_t length = (e >> 16) + static_cast<size_t>(LowBits(before, e) >> ((e >> 8) & (kWordBits - 1)));

    e = nextDistance;
    if constexpr (kWordBits == 64) refill();
    if (ZELDC_UNLIKELY(e & kEntrySpecial)) {
      const DecodeEntry link = e;
      if (link & kEntryLink) e = distances[EntryValue(e) + LowBits(bits >> EntryBits(e), EntryCodeBits(e))];
      if (e & kEntrySpecial) {
        unread = linkBits + EntryBits(lengthEntry);
        break;
      }
      consume(link);
      linkBits += EntryBits(link);
    }
    size_t distance;
    if constexpr (kWordBits == 64) {
      distance = (e >> 16) + static_cast<size_t>(LowBits(bits, e) >> ((e >> 8) & (kWordBits - 1)));
      consume(e);
    } else {
      const unsigned codeBits = EntryCodeBits(e);
      const unsigned extraBits = EntryBits(e) - codeBits;
      bits >>= codeBits;
      count -= codeBits;
      refill();
      distance = (e >> 16) + LowBits(bits, extraBits);
      bits >>= extraBits;
      count -= extraBits;
    }

    if constexpr (Sink::kPairs) {
      e = lookUpAndRefill(litLen, litLenMask);
      *out++ = {static_cast<uint16_t>(length), static_cast<uint16_t>(distance)};
    } else if constexpr (kHistory) {
      // Where the match starts as if the history stood right before this call's output.
      const ptrdiff_t start = (out - outStart) - static_cast<ptrdiff_t>(distance);
      if (ZELDC_UNLIKELY(start < historyStart)) {
        unread = linkBits + EntryBits(lengthEntry) + EntryBits(e);
        break;
      }
      e = lookUpAndRefill(litLen, litLenMask);
      // Selected without a branch, which would be a coin toss: one wide copy serves a match that lies wholly in the
      // history, and one that starts at least 16 bytes back in the output.
      const ptrdiff_t inHistory = start >> (8 * sizeof(start) - 1);  // all ones, or 0
      const ptrdiff_t near = (out - outStart) - 16;
      constexpr size_t kOverread = kCopySlack - Sink::kHistorySlack;
      const ptrdiff_t wideStart = near ^ (inHistory & (near ^ -static_cast<ptrdiff_t>(length + kOverread)));
      if (ZELDC_LIKELY(start <= wideStart)) {
        const uintptr_t origin = outAddress ^ (static_cast<uintptr_t>(inHistory) & historyAddress);
        CopyWide(out, reinterpret_cast<const uint8_t*>(origin + static_cast<uintptr_t>(start)), length);
      } else if (start < 0) {
        CopyMatchThroughHistory(sink->historyEnd, outStart, out, distance, length);
      } else {
        CopyNear(out, distance, length);
      }
      out += length;
    } else {
      e = lookUpAndRefill(litLen, litLenMask);
      CopyMatchWide(out, distance, length);
      out += length;
    }
  }

  // Back to the first bit of the symbol that was not decoded, as a position behind in->src.
  sink->out = out;
  const int64_t position = 8 * int64_t{src - in->src} - static_cast<int64_t>((count & (kWordBits - 1)) + unread);
  if (position < 0) {
    in->count = static_cast<uint32_t>(-position);
    in->bits = heldBits >> (heldCount - in->count);
  } else {
    in->src += static_cast<ptrdiff_t>((position + 7) >> 3);
    in->count = static_cast<uint32_t>(-position & 7);
    in->bits = in->count ? static_cast<uint64_t>(in->src[-1] >> (8 - in->count)) : 0;
  }
}

// Bytes as fast as can be, as long as there is plenty of input and room.
template <typename Sink>
inline void DecodeFastBytes(const SymbolTables& tables, BitReader* in, Sink* sink) {
  // Distances reach before outStart until that is a window back.
  if (sink->out - sink->outStart < kWindowSize) DecodeFast<true>(tables, in, sink);
  if (sink->out - sink->outStart >= kWindowSize) DecodeFast<false>(tables, in, sink);
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
inline Symbol DecodeOne(DecoderState* s, const SymbolTables& tables, BitReader* in, Sink* sink) {
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
    if (distance > sink->Reach()) return Symbol::kInvalid;
    in->Consume(lengthBits + allBits);
    const size_t room = static_cast<size_t>(sink->outEnd - sink->out);
    const size_t n = length < room ? length : room;
    CopyMatchThroughHistory(sink->historyEnd, sink->outStart, sink->out, distance, n);
    sink->out += n;
    s->pendingLen = static_cast<int32_t>(length - n);
    s->pendingDist = static_cast<int32_t>(distance);
  }
  return Symbol::kDecoded;
}

}  // namespace zeldc
