// Reading of a block's codes: number of tables, selectors, code lengths; and the making of decoding tables.

#include <algorithm>
#include <bit>

#include "bzip2/huffman_decode_state.h"
#include "core/alloc.h"
#include "shared/bits_msb.h"

using namespace zeldc;

namespace zeldc {

bool MakeDecodeTable(const uint8_t* lengths, int n, DecodeTable* table) {
  constexpr int kFastBits = DecodeTable::kFastBits;
  constexpr uint32_t kAll = 1u << kMaxReadLength;
  uint32_t count[kMaxReadLength + 1] = {};
  for (int v = 0; v < n; ++v) ++count[lengths[v]];

  // Codes as numbers of 20 bits, filled up with zeros: those of a length begin where those of the length before end.
  uint32_t next[kMaxReadLength + 1];
  uint32_t place[kMaxReadLength + 1];  // in longSymbols
  uint32_t end = 0, places = 0;
  int longest = 0;
  for (int length = 1; length <= kMaxReadLength; ++length) {
    next[length] = end;
    place[length] = places;
    if (count[length] > 0) longest = length;
    end += count[length] << (kMaxReadLength - length);
    if (end > kAll) return false;
    if (length <= kFastBits) {
      table->fastEnd = static_cast<uint16_t>(end >> (kMaxReadLength - kFastBits));
    } else {
      const int level = length - kFastBits;
      table->ends[level] = end;
      table->bases[level] = places - (next[length] >> (kMaxReadLength - length));
      places += count[length];
    }
  }

  for (int v = 0; v < n; ++v) {
    const int length = lengths[v];
    if (length <= kFastBits) {
      uint16_t* const first = table->fast + (next[length] >> (kMaxReadLength - kFastBits));
      std::fill_n(first, 1u << (kFastBits - length), DecodeTable::FastEntry(v, length));
      next[length] += 1u << (kMaxReadLength - length);
    } else {
      table->longSymbols[place[length]++] = static_cast<uint16_t>(v);
    }
  }

  // What no code reaches counts as the last code, or as one beyond it.
  if (longest > kFastBits) {
    table->ends[longest - kFastBits] = kAll;
    table->lastLong = static_cast<uint16_t>(places - 1);
  } else {
    for (; table->fastEnd < 1 << kFastBits; ++table->fastEnd) table->fast[table->fastEnd] = table->fast[0];
  }
  return true;
}

}  // namespace zeldc

namespace {

bool IsLength(int32_t length) { return length >= 1 && length <= kMaxReadLength; }

// The selectors from the current one on.
zelStatus UnpackSelectors(MsbReader* reader, zelBZ2HuffDecodeState* s) {
  MsbReader in = *reader;
  TableOrder order = s->order;
  uint8_t* const selectors = s->Selectors();
  const uint32_t numTables = static_cast<uint32_t>(s->numTables);
  zelStatus status = zelOk;
  int32_t k = s->position;
  for (; k < s->numSelectors; ++k) {
    if (!in.Has(6)) {
      status = zelWarnSrcShort;
      break;
    }
    const uint32_t place = static_cast<uint32_t>(std::countl_one(in.bits));
    if (place >= numTables) {
      status = zelErrBadData;
      break;
    }
    in.Consume(place + 1);
    selectors[k] = static_cast<uint8_t>(order.TakeFrom(place));
  }
  s->position = k;
  s->order = order;
  *reader = in;
  return status;
}

// The lengths of the current table from the current symbol on.
zelStatus UnpackLengths(MsbReader* in, zelBZ2HuffDecodeState* s) {
  if (s->currentSymbol == 0) {
    if (!in->Has(6)) return zelWarnSrcShort;
    const int32_t length = static_cast<int32_t>(in->Peek(5));
    if (!IsLength(length)) return zelErrBadData;
    in->Consume(6);  // and the bit that ends the first symbol's steps, of which there are none
    s->currentLength = length;
    s->stepTaken = 0;
    s->lengths[0] = static_cast<uint8_t>(length);
    s->currentSymbol = 1;
  }
  while (s->currentSymbol < s->alphaSize) {
    if (!in->Has(2)) return zelWarnSrcShort;
    const int32_t step = static_cast<int32_t>(in->Peek(2));
    if (step < 2) {
      in->Consume(1);
      s->lengths[s->currentSymbol++] = static_cast<uint8_t>(s->currentLength);
      s->stepTaken = 0;
      continue;
    }
    const int32_t length = s->currentLength + (step == 2 ? 1 : -1);
    if (!IsLength(length) || (s->stepTaken != 0 && s->stepTaken != step)) return zelErrBadData;
    in->Consume(2);
    s->currentLength = length;
    s->stepTaken = step;
  }
  return zelOk;
}

zelStatus ownUnpack(MsbReader* in, zelBZ2HuffDecodeState* s) {
  if (s->stage == kUnpackHeader) {
    if (!in->Has(18)) return zelWarnSrcShort;
    const int32_t numTables = static_cast<int32_t>(in->Peek(3));
    const int32_t numSelectors = static_cast<int32_t>(in->Peek(18) & 0x7FFF);
    in->Consume(18);
    s->isReady = 0;
    if (numTables < kMinHuffTables || numTables > kMaxHuffTables) return zelErrBadData;
    if (numSelectors == 0 || numSelectors > s->capacity) return zelErrBadData;
    s->numTables = numTables;
    s->numSelectors = numSelectors;
    s->position = 0;
    s->order = TableOrder();
    s->stage = kUnpackSelectors;
  }
  if (s->stage == kUnpackSelectors) {
    const zelStatus status = UnpackSelectors(in, s);
    if (status != zelOk) return status;
    s->currentTable = 0;
    s->currentSymbol = 0;
    s->stage = kUnpackLengths;
  }
  for (; s->currentTable < s->numTables; ++s->currentTable) {
    const zelStatus status = UnpackLengths(in, s);
    if (status != zelOk) return status;
    if (!MakeDecodeTable(s->lengths, s->alphaSize, &s->tables[s->currentTable])) return zelErrBadData;
    s->currentSymbol = 0;
  }
  s->stage = kUnpackHeader;
  s->currentTable = 0;
  s->position = 0;
  s->positionInGroup = 0;
  s->currentLength = 0;
  s->isReady = 1;
  return zelOk;
}

zelStatus ownInitDecoder(int32_t alphaSize, int32_t capacity, zelBZ2HuffDecodeState* s) {
  if (!s) return zelErrNullPtr;
  if (alphaSize < 1 || alphaSize > kMaxHuffSymbols) return zelErrSize;
  s->stage = kUnpackHeader;
  s->numTables = 0;
  s->currentTable = 0;
  s->numSelectors = 0;
  s->position = 0;
  s->alphaSize = alphaSize;
  s->currentSymbol = 0;
  s->positionInGroup = 0;
  s->currentLength = 0;
  s->stepTaken = 0;
  s->capacity = capacity;
  s->isReady = 0;
  s->order = TableOrder();
  return zelOk;
}

}  // namespace

extern "C" {

zelStatus zelsDecodeHuffGetSize_BZ2_8u16u(int32_t maxSrcLen, int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  if (maxSrcLen < 1) return zelErrSize;
  *pSize = kDecodeStateSize + GroupsOf(maxSrcLen);
  return zelOk;
}

zelStatus zelsDecodeHuffInitAlloc_BZ2_8u16u(int32_t maxSrcLen, int32_t alphaSize, zelBZ2HuffDecodeState** ppState) {
  if (!ppState) return zelErrNullPtr;
  int32_t size = 0;
  const zelStatus status = zelsDecodeHuffGetSize_BZ2_8u16u(maxSrcLen, &size);
  if (status != zelOk) return status;
  *ppState = static_cast<zelBZ2HuffDecodeState*>(zelAllocState(size));
  return ownInitDecoder(alphaSize, GroupsOf(maxSrcLen), *ppState);
}

zelStatus zelsDecodeHuffInit_BZ2_8u16u(int32_t alphaSize, zelBZ2HuffDecodeState* pState) {
  return ownInitDecoder(alphaSize, kMaxSelectors, pState);
}

zelStatus zelsUnpackHuffContext_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                          int32_t* pSrcLen, zelBZ2HuffDecodeState* pState) {
  if (!ppSrc || !pSrcLen || !pState || !*ppSrc) return zelErrNullPtr;
  if (*pSrcLen < 1) return zelErrSize;
  if (pState->stage < kUnpackHeader || pState->stage > kUnpackLengths) return zelErr;
  if (!pCode || !pCodeLenBits) return zelErrNullPtr;
  const RedzoneGuard guard(pState);
  MsbReader in(*pCode, *pCodeLenBits, *ppSrc, static_cast<size_t>(*pSrcLen));

  const zelStatus status = ownUnpack(&in, pState);
  if (status == zelErrBadData) pState->stage = kUnpackFailed;

  // Whoever loads byte by byte wants two bits for the last field and consumes one, or six and consumes all of them
  // where there is but one symbol. Short of source, all of it has been taken.
  if (status != zelWarnSrcShort) in.Settle(pState->alphaSize > 1 ? 1 : 0);
  *pSrcLen -= static_cast<int32_t>(in.src - *ppSrc);
  *ppSrc = in.src;
  *pCode = in.Waiting();
  *pCodeLenBits = static_cast<int32_t>(in.count);
  return status;
}

}  // extern "C"
