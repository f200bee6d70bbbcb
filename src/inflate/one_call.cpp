// The body of one Huffman block, resumable within any symbol.
//
// Three loops take a symbol each way. With plenty of input and room it is the fast loop of the stateful decoder, on
// tables that are made for it out of the record's: about two nanoseconds a symbol. Where those would cost more than
// they save, whole symbols are decoded from the record's own tables, five nanoseconds each, for the judgement of every
// entry. At the ends of input and room symbols are taken piece by piece, as far as the bits reach.

#include "inflate/record_tables.h"
#include "inflate/symbol_loop.h"

namespace zeldc {

namespace {

// What comes next in the stream, or is to be written.
enum Piece : uint32_t {
  kBlockDone = 0,
  kNextSymbol = 1,
  kNextLengthExtra = 2,
  kNextDistance = 3,
  kNextDistanceExtra = 4,
  kNextCopy = 5,
  kNextLiteral = 6,
};

// A symbol on its way.
struct Progress {
  uint32_t piece;
  uint32_t value;      // the literal, or the match's length so far
  uint32_t extraBits;  // that are due
  uint32_t distance;   // so far
};

bool CanGoOn(const Progress& p) {
  switch (p.piece) {
    case kNextSymbol:
      return true;
    case kNextLengthExtra:
    case kNextDistance:
      return p.value <= kMaxMatch && p.extraBits <= kMostLengthExtra;
    case kNextDistanceExtra:
    case kNextCopy:
      return p.value <= kMaxMatch && p.extraBits <= kMostDistanceExtra && p.distance - 1 < kMaxDistance;
    case kNextLiteral:
      return p.value < kLiteralSymbols;
    default:
      return false;
  }
}

// The fixed code.
struct FixedTables {
  DecodeEntry LitLen(uint64_t next) const { return kFixedTables.litLen[next & ((1u << kFixedTables.litLenBits) - 1)]; }
  DecodeEntry Distance(uint64_t next) const {
    return kFixedTables.distance[next & ((1u << kFixedTables.distanceBits) - 1)];
  }
};

// How much there must be to do before tables are made for it.
constexpr ptrdiff_t kWorthSource = 150;
constexpr ptrdiff_t kWorthRoom = 400;

// The fast loop, on tables that the first call with enough to do makes. False when it is not for what is left. True
// also when bits of an earlier call are still held, of which the fast loop takes less than a byte: a symbol later they
// are fewer.
template <typename Tables>
class FastLoop {
 public:
  explicit FastLoop(Tables tables) : tables_(tables) {}

  ZELDC_ALWAYS_INLINE bool Decode(BitReader* in, WindowSink* sink) {
    if (in->srcEnd - in->src <= minSource_ || sink->outEnd - sink->out <= minRoom_) return false;
    return Run(in, sink);
  }

 private:
  ZELDC_NOINLINE bool Run(BitReader* in, WindowSink* sink) {
    if (minSource_ == kWorthSource) {
      minSource_ = tables_.Expand(&expanded_) ? kFastSource : PTRDIFF_MAX;
      minRoom_ = kFastRoom<WindowSink>;
      if (minSource_ == PTRDIFF_MAX) return false;
    }
    in->Settle();
    if (in->count < 8) DecodeFastBytes(expanded_.View(), in, sink);
    return true;
  }

  Tables tables_;
  ptrdiff_t minSource_ = kWorthSource;
  ptrdiff_t minRoom_ = kWorthRoom;
  ExpandedTables expanded_;
};

template <>
class FastLoop<FixedTables> {
 public:
  explicit FastLoop(FixedTables) {}

  ZELDC_ALWAYS_INLINE bool Decode(BitReader* in, WindowSink* sink) {
    if (in->srcEnd - in->src <= kFastSource || sink->outEnd - sink->out <= kFastRoom<WindowSink>) return false;
    in->Settle();
    if (in->count < 8) DecodeFastBytes(View(kFixedTables), in, sink);
    return true;
  }
};

// Decodes symbols of which no piece can lack input or room; the others are left where they stand.
template <typename Tables>
ZELDC_ALWAYS_INLINE void DecodeWholeSymbols(Tables tables, BitReader* reader, WindowSink* sink) {
  BitReader in = *reader;
  uint8_t* out = sink->out;
  uint8_t* const outStart = sink->outStart;
  uint8_t* const outEnd = sink->outEnd;
  while (in.srcEnd - in.src >= 8 && out < outEnd) {
    in.Refill();
    DecodeEntry e = tables.LitLen(in.bits);
    if (e & kEntryLiteral) {
      in.Consume(EntryCodeBits(e));
      *out++ = static_cast<uint8_t>(EntryValue(e));
      continue;
    }
    if (e & kEntrySpecial) break;
    const unsigned lengthBits = EntryBits(e);
    const size_t length =
        EntryValue(e) + static_cast<size_t>((in.bits & BitReader::Mask(lengthBits)) >> EntryCodeBits(e));
    e = tables.Distance(in.bits >> lengthBits);
    const size_t distance =
        EntryValue(e) +
        static_cast<size_t>((in.bits >> lengthBits & BitReader::Mask(EntryBits(e))) >> EntryCodeBits(e));
    const size_t written = static_cast<size_t>(out - outStart);
    const size_t room = static_cast<size_t>(outEnd - out);
    if ((e & kEntrySpecial) || length > room || distance > written + sink->historySize) break;
    in.Consume(lengthBits + EntryBits(e));
    if (distance <= written && length + kCopySlack <= room) {
      CopyMatchWide(out, distance, length);
    } else {
      CopyMatchThroughHistory(sink->historyEnd, outStart, out, distance, length);
    }
    out += length;
  }
  *reader = in;
  sink->out = out;
}

// Decodes until the block ends (piece 0) or the next piece lacks its input or room. An error leaves everything as it
// stands at the piece in question.
template <typename Tables>
zelStatus DecodeBody(Tables tables, BitReader* in, WindowSink* sink, Progress* p) {
  FastLoop<Tables> fastLoop(tables);
  for (;;) {
    if (p->piece == kNextSymbol && !fastLoop.Decode(in, sink)) DecodeWholeSymbols(tables, in, sink);
    in->Refill();  // enough for all pieces of a symbol: 15 + 5 + 15 + 13 bits
    switch (p->piece) {
      case kNextSymbol: {
        const DecodeEntry e = tables.LitLen(in->bits);
        if (EntryCodeBits(e) > in->count) return zelOk;
        if ((e & kEntrySpecial) && !(e & kEntryEndOfBlock)) return zelErrBadData;
        in->Consume(EntryCodeBits(e));
        if (e & kEntrySpecial) {
          p->piece = kBlockDone;
          return zelOk;
        }
        p->value = EntryValue(e);
        if (e & kEntryLiteral) {
          if (sink->out < sink->outEnd) {
            *sink->out++ = static_cast<uint8_t>(p->value);
            continue;
          }
          p->piece = kNextLiteral;
          return zelOk;
        }
        p->extraBits = EntryBits(e) - EntryCodeBits(e);
        p->piece = kNextLengthExtra;
        [[fallthrough]];
      }
      case kNextLengthExtra:
        if (p->extraBits > in->count) return zelOk;
        p->value += in->Take(p->extraBits);
        p->piece = kNextDistance;
        [[fallthrough]];
      case kNextDistance: {
        const DecodeEntry e = tables.Distance(in->bits);
        if (EntryCodeBits(e) > in->count) return zelOk;
        if (e & kEntrySpecial) return zelErrBadData;
        in->Consume(EntryCodeBits(e));
        p->distance = EntryValue(e);
        p->extraBits = EntryBits(e) - EntryCodeBits(e);
        p->piece = kNextDistanceExtra;
        [[fallthrough]];
      }
      case kNextDistanceExtra:
        if (p->extraBits > in->count) return zelOk;
        p->distance += in->Take(p->extraBits);
        p->piece = kNextCopy;
        [[fallthrough]];
      case kNextCopy: {
        if (p->distance > sink->Reach()) return zelErrBadData;
        const size_t room = static_cast<size_t>(sink->outEnd - sink->out);
        const size_t n = p->value < room ? p->value : room;
        CopyMatchThroughHistory(sink->historyEnd, sink->outStart, sink->out, p->distance, n);
        sink->out += n;
        p->value -= static_cast<uint32_t>(n);
        if (p->value > 0) return zelOk;
        break;
      }
      case kNextLiteral:
        if (sink->out == sink->outEnd) return zelOk;
        *sink->out++ = static_cast<uint8_t>(p->value);
        break;
    }
    p->piece = kNextSymbol;
  }
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsInflate_8u(const uint8_t** ppSrc, uint32_t* pSrcLen, uint32_t* pBitBuffer, uint32_t* pBitCount,
                                    uint32_t windowFill, uint8_t** ppDst, uint32_t* pDstLen, uint32_t dstPos,
                                    int32_t* pMode, zelInflateState* pInflateState) {
  if (!ppSrc || !pSrcLen || !pBitBuffer || !pBitCount || !ppDst || !pDstLen || !pMode || !pInflateState) {
    return zelErrNullPtr;
  }
  if (!*ppSrc || !*ppDst) return zelErrNullPtr;
  if (*pBitCount > 32) return zelErrSize;
  if (windowFill > pInflateState->windowSize) return zelErrSize;

  zelInflateState* const s = pInflateState;
  Progress p{kNextSymbol, 0, 0, 0};
  if (*pMode == zelInflateInside) {
    p = {s->resumeState, s->resumeValue, s->resumeInfo, s->resumeDist};
    if (!CanGoOn(p)) return zelErrBadData;
  }

  // No distance is longer than a window, so no more than that counts of what lies before.
  constexpr uint32_t kFarthest = kMaxDistance;
  const uint32_t history = windowFill < kFarthest ? windowFill : kFarthest;
  const uint32_t outputBefore = dstPos < kFarthest ? dstPos : kFarthest;
  BitReader in(*pBitBuffer & BitReader::Mask(*pBitCount), static_cast<int32_t>(*pBitCount), *ppSrc, *pSrcLen);
  WindowSink sink{*ppDst, *ppDst - outputBefore, *ppDst + *pDstLen, nullptr, 0};
  if (history > 0 && s->window) {
    sink.historyEnd = s->window + windowFill;
    sink.historySize = history;
  }

  zelStatus status = zelErrBadData;
  if (s->tableForm == zelInflateShort) {
    if (s->maxLitBits > kShortLitLenBits || s->maxDistBits > kShortDistanceBits) return zelErrBadData;
    status = DecodeBody(ShortTables(s), &in, &sink, &p);
  } else if (s->tableForm == zelInflateFixed) {
    status = DecodeBody(FixedTables{}, &in, &sink, &p);
  } else if (s->tableForm == zelInflateGeneral) {
    status = DecodeBody(GeneralTables{s}, &in, &sink, &p);
  } else {
    return zelErrBadData;
  }

  // When the input ran out all of it is taken: at most 14 bits wait for more.
  const bool lacksInput = status == zelOk && p.piece >= kNextSymbol && p.piece <= kNextDistanceExtra;
  if (!lacksInput) in.Settle();
  *ppSrc = in.src;
  *pSrcLen = static_cast<uint32_t>(in.srcEnd - in.src);
  *pBitBuffer = static_cast<uint32_t>(in.bits & BitReader::Mask(in.count));
  *pBitCount = in.count;
  *pDstLen = static_cast<uint32_t>(sink.outEnd - sink.out);
  *ppDst = sink.out;
  if (status != zelOk) return status;
  if (p.piece == kBlockDone) {
    *pMode = zelInflateBlockEnd;
  } else if (p.piece == kNextSymbol) {
    *pMode = zelInflateBetween;
  } else {
    *pMode = zelInflateInside;
    s->resumeState = p.piece;
    s->resumeValue = p.value;
    s->resumeInfo = p.extraBits;
    s->resumeDist = p.distance;
  }
  return zelOk;
}
