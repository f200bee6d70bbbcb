// Stored blocks, resumable at any byte, and the stream's trailer.

#include <string.h>

#include "deflate/encoder_state.h"
#include "shared/bits_lsb.h"

namespace zeldc {

namespace {

struct StoredInput {
  uint8_t* next;
  int32_t left;
};

zelStatus WriteStored(EncoderState* s, StoredInput* in, BitWriter* out, zelLZ77FlushMode flush) {
  const bool final = flush == zelLZ77FlushFinal;
  for (;;) {
    if (s->storedStep == kStoredBegin) {
      if (!out->WriteBytes()) return zelWarnDstFull;
      out->Put(final ? 1 : 0, 3);
      out->PadToByte();
      s->storedStep = kStoredHeader;
    }
    if (s->storedStep == kStoredHeader) {
      if (!out->WriteBytes()) return zelWarnDstFull;
      const uint32_t len = static_cast<uint32_t>(in->left < 65535 ? in->left : 65535);
      out->Put(len | (len ^ 0xFFFF) << 16, 32);
      s->storedLeft = static_cast<int32_t>(len);
      s->storedStep = kStoredLength;
    }
    if (s->storedStep == kStoredLength) {
      if (!out->WriteBytes()) return zelWarnDstFull;
      s->storedStep = kStoredCopy;
    }
    int32_t n = s->storedLeft < in->left ? s->storedLeft : in->left;
    if (n > out->outEnd - out->out) n = static_cast<int32_t>(out->outEnd - out->out);
    if (n > 0) memcpy(out->out, in->next, static_cast<size_t>(n));
    in->next += n;
    in->left -= n;
    out->out += n;
    s->storedLeft -= n;
    if (s->storedLeft > 0) return zelWarnDstFull;
    s->storedStep = kStoredBegin;
    if (in->left == 0) break;
  }
  s->blockPhase = final ? kPhaseFinished : kPhaseClosed;
  return final ? zelWarnStreamEnd : zelOk;
}

// The trailer's bytes; their number, or 0 when the checksum kind has no trailer.
int32_t TrailerLength(const EncoderState* s) {
  switch (s->checksumKind) {
    case zelLZ77CheckAdler32:
      return 4;
    case zelLZ77CheckNone:
    case zelLZ77CheckCrc32:
      return 8;
    default:
      return 0;
  }
}

void LayTrailer(EncoderState* s) {
  if (s->checksumKind == zelLZ77CheckAdler32) {
    // The running value started from 0, Adler-32 starts from A = 1: then A is larger by 1, and B by 1 a byte.
    constexpr uint32_t kModulus = 65521;
    const uint32_t a = ((s->checksum & 0xFFFF) + 1) % kModulus;
    const uint32_t b = static_cast<uint32_t>(((s->checksum >> 16) + s->totalIn.Get()) % kModulus);
    StoreLE(s->trailer, ByteSwap(b << 16 | a));
  } else {
    StoreLE(s->trailer, s->checksum);
    StoreLE(s->trailer + 4, static_cast<uint32_t>(s->totalIn.Get()));
  }
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsEncodeLZ77StoredBlock_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                       zelLZ77FlushMode flush, zelLZ77State* pState) {
  if (!ppSrc || !ppDst || !pSrcLen || !pDstLen || !*ppSrc || !*ppDst || !pState) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pDstLen < 0) return zelErrSize;
  EncoderState* s = Encoder(pState);
  const RedzoneGuard guard(s);
  s->choicePending = 0;
  if (*pDstLen == 0) return zelWarnDstFull;
  StoredInput in{*ppSrc, *pSrcLen};
  BitWriter out(s->bitBuffer.Get(), s->bitCount, *ppDst, *ppDst + *pDstLen);
  const zelStatus status = WriteStored(s, &in, &out, flush);
  s->bitBuffer.Set(out.bits);
  s->bitCount = static_cast<int32_t>(out.count);
  *ppSrc = in.next;
  *pSrcLen = in.left;
  *pDstLen = static_cast<int32_t>(out.outEnd - out.out);
  *ppDst = out.out;
  return status;
}

zelStatus zelsEncodeLZ77Flush_8u(uint8_t** ppDst, int32_t* pDstLen, zelLZ77State* pState) {
  if (!ppDst || !pDstLen || !pState || !*ppDst) return zelErrNullPtr;
  EncoderState* s = Encoder(pState);
  if (s->deflateStatus != zelLZ77StatusFinal) return zelErr;
  if (*pDstLen < 0) return zelErrSize;
  const int32_t length = TrailerLength(s);
  if (length == 0) return zelErr;
  if (s->blockPhase == kPhaseFinished) LayTrailer(s);
  if (*pDstLen == 0) return zelWarnDstFull;
  while (s->trailerWritten < length) {
    *(*ppDst)++ = s->trailer[s->trailerWritten++];
    if (--*pDstLen == 0) {
      s->blockPhase = kPhaseOpen;
      return zelWarnDstFull;
    }
    **ppDst = 0;  // while there is room, the byte behind is cleared
  }
  s->trailerWritten = 0;
  s->blockPhase = kPhaseFinished;
  return zelOk;
}

}  // extern "C"
