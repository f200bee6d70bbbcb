// The LZSS decoder.
//
// Bound by the chain from one token to the next: where it starts depends on what the one before is. The inner loop
// takes a row of up to six literals and the match behind it at a time: the flags of the literals stand at fixed places
// up to the first one that is a match's, so one count of leading zeros tells how many there are, without a branch. The
// bit position is a plain number, and bits are loaded anew where it points: one load in the chain for each row, while
// the match's own load, and all copying, run beside it.

#include "core/alloc.h"
#include "dictionary/lzss_state.h"
#include "shared/bits_msb.h"

namespace zeldc {

namespace {

struct Output {
  uint8_t* start;  // this call's first byte
  uint8_t* out;
  uint8_t* end;
};

constexpr uint32_t kRow = 6;  // literals

constexpr uint64_t RowFlags() {
  uint64_t flags = 0;
  for (uint32_t k = 0; k < kRow; ++k) flags |= uint64_t{1} << (63 - kLzssLiteralBits * k);
  return flags;
}

// Bytes of six literals, the first one uppermost.
ZELDC_ALWAYS_INLINE uint64_t RowBytes(uint64_t bits) {
  uint64_t bytes = 0;
  for (uint32_t k = 0; k < kRow; ++k) bytes |= (bits << (k + 1)) & (uint64_t{0xFF} << (56 - 8 * k));
  return bytes;
}

// What a round of the inner loop may read and write: a row's 7 bytes and a look-up of 8; the longest match behind a
// row.
constexpr size_t kFastSource = 16;
constexpr size_t kFastRoom = kRow + kMaxMatch + kCopySlack;

// Decodes while there is plenty of input and room, up to a match that is broken. The reader holds only bits of its
// source, and ends so, too.
ZELDC_NOINLINE void DecodeFast(const History& history, MsbReader* in, Output* o) {
  // Bits count from a byte in the source. A stretch ends before that number could exceed 32 bits.
  constexpr size_t kLongestStretch = size_t{1} << 28;
  const size_t held = (in->count + 7) / 8;
  const uint8_t* const src = in->src - held;
  size_t pos = 8 * held - in->count;
  size_t stretch = static_cast<size_t>(in->srcEnd - src) - kFastSource;
  if (stretch > kLongestStretch) stretch = kLongestStretch;
  const uint8_t* const outStart = o->start;
  const uint8_t* const outFastEnd = o->end - kFastRoom;
  uint8_t* out = o->out;
  auto load = [&](size_t at) ZELDC_LAMBDA_INLINE { return LoadBE<uint64_t>(src + (at >> 3)) << (at & 7); };
  do {
    const uint64_t bits = load(pos);
    constexpr uint64_t kRowEnd = uint64_t{1} << (63 - kLzssLiteralBits * kRow);
    const uint32_t rowBits = static_cast<uint32_t>(__builtin_clzll((~bits & RowFlags()) | kRowEnd));
    StoreBE(out, RowBytes(bits));
    out += rowBits * 57 >> 9;  // rowBits / 9
    pos += rowBits;
    if (ZELDC_UNLIKELY(rowBits == kLzssLiteralBits * kRow)) continue;

    const uint64_t token = load(pos);
    const size_t distance = static_cast<size_t>(token >> 48);
    const size_t length = (static_cast<size_t>(token >> 40) & 0xFF) + kMinMatch;
    const size_t written = static_cast<size_t>(out - outStart);
    if (ZELDC_UNLIKELY(distance - 1 >= written)) {
      if (distance == 0 || distance > written + HistorySize(history)) break;
      const size_t before = distance - written;
      if (length <= before) {
        CopyWide(out, HistoryEnd(history) - before, length);
      } else {
        CopyMatchThroughHistory(HistoryEnd(history), outStart, out, distance, length);
      }
    } else {
      CopyMatchWide(out, distance, length);
    }
    pos += kLzssMatchBits;
    out += length;
  } while (out <= outFastEnd && pos >> 3 <= stretch);
  o->out = out;
  // The byte that holds the next bit is the reader's.
  const uint8_t* const next = src + (pos >> 3);
  const uint32_t used = pos & 7;
  in->src = next + 1;
  in->bits = uint64_t{*next} << (56 + used);
  in->count = 8 - used;
}

// Copies what fits of a match, and keeps the rest for the next call.
zelStatus PutMatch(LzssDecoder* s, Output* o, size_t distance, size_t length) {
  const size_t room = static_cast<size_t>(o->end - o->out);
  const size_t n = length < room ? length : room;
  CopyMatchThroughHistory(HistoryEnd(s->history), o->start, o->out, distance, n);
  o->out += n;
  s->pendingLen = static_cast<int32_t>(length - n);
  s->pendingDist = static_cast<int32_t>(distance);
  return n == room ? zelWarnDstFull : zelOk;
}

zelStatus Decode(LzssDecoder* s, MsbReader* in, Output* o) {
  if (s->pendingLen > 0) {
    const size_t distance = static_cast<size_t>(s->pendingDist);
    if (distance - 1 >= HistorySize(s->history)) return zelErrBadData;
    if (PutMatch(s, o, distance, static_cast<size_t>(s->pendingLen)) == zelWarnDstFull) return zelWarnDstFull;
  }
  for (;;) {
    const bool ownsBits = static_cast<size_t>(in->src - in->srcStart) >= (in->count + 7) / 8;
    if (ownsBits && in->srcEnd - in->src >= static_cast<ptrdiff_t>(kFastSource) &&
        o->end - o->out >= static_cast<ptrdiff_t>(kFastRoom)) {
      DecodeFast(s->history, in, o);
    }
    if (!in->Has(kLzssLiteralBits)) return zelOk;
    if (in->Peek(1)) {
      *o->out++ = static_cast<uint8_t>(in->Peek(kLzssLiteralBits));
      in->Consume(kLzssLiteralBits);
      if (o->out == o->end) return zelWarnDstFull;
      continue;
    }
    if (!in->Has(kLzssMatchBits)) return zelOk;
    const size_t distance = in->Peek(16);
    const size_t length = (in->Peek(kLzssMatchBits) & 0xFF) + kMinMatch;
    if (distance - 1 >= static_cast<size_t>(o->out - o->start) + HistorySize(s->history)) return zelErrBadData;
    in->Consume(kLzssMatchBits);
    if (PutMatch(s, o, distance, length) == zelWarnDstFull) return zelWarnDstFull;
  }
}

LzssDecoder* Decoder(zelLZSSState* state) { return static_cast<LzssDecoder*>(state); }

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsDecodeLZSSInit_8u(zelLZSSState* pState) {
  if (!pState) return zelErrNullPtr;
  LzssDecoder* const s = Decoder(pState);
  s->kind = kLzssDecoder;
  s->waiting = 0;
  s->waitingCount = 0;
  s->pendingLen = 0;
  s->pendingDist = 0;
  SetHistoryFill(&s->history, 0);
  return zelOk;
}

zelStatus zelsDecodeLZSSInitAlloc_8u(zelLZSSState** ppState) {
  if (!ppState) return zelErrNullPtr;
  *ppState = static_cast<zelLZSSState*>(zelAllocState(kLzssRecordSize));
  if (!*ppState) return zelErrNoMem;
  return zelsDecodeLZSSInit_8u(*ppState);
}

zelStatus zelsDecodeLZSS_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                            zelLZSSState* pState) {
  if (!pSrcLen || !pDstLen) return zelErrNullPtr;
  if (*pDstLen < 1 || *pSrcLen < 0) return zelErrSize;
  if (!ppSrc || !ppDst || !pState) return zelErrNullPtr;
  if (!*ppDst || (!*ppSrc && *pSrcLen > 0)) return zelErrNullPtr;
  if (pState->kind != kLzssDecoder || !IsSound(Decoder(pState)->history)) return zelErr;

  LzssDecoder* const s = Decoder(pState);
  const RedzoneGuard guard(s);
  MsbReader in(s->waiting, s->waitingCount, *ppSrc, static_cast<size_t>(*pSrcLen));
  Output o{*ppDst, *ppDst, *ppDst + *pDstLen};
  const zelStatus status = Decode(s, &in, &o);
  // A match that is broken stays the next one.
  in.Settle(status == zelErrBadData ? kLzssMatchBits : status == zelOk ? 32 : 0);
  s->waiting = in.Waiting();
  s->waitingCount = static_cast<int32_t>(in.count);
  AppendToHistory(&s->history, o.start, static_cast<size_t>(o.out - o.start));
  *ppSrc += in.src - *ppSrc;
  *pSrcLen = static_cast<int32_t>(in.srcEnd - in.src);
  *pDstLen = static_cast<int32_t>(o.end - o.out);
  *ppDst = o.out;
  return status;
}

}  // extern "C"
