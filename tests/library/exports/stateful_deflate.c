/* The stateful Deflate encoder and decoder: a stream of each kind of blocks, and both ways back. */

#include "check.h"

enum { kStreamRoom = 2 * kTextLen, kDictionary = 100 };

typedef struct Stream {
  uint8_t bytes[kStreamRoom];
  int32_t len;
} Stream;

PER_THREAD Stream fixed_stream, dynamic_stream, stored_stream;

/* The text behind its first kDictionary bytes as one block, with its CRC-32 and size behind it. */
static void Encode(zelLZ77HuffMode mode, zelLZ77State* state, Stream* stream) {
  zelLZ77Pair *pairs = NULL, *next;
  zelLZ77DeflateStatus status = -1;
  zelLZ77HuffMode best = -1;
  uint8_t *src = sampleText + kDictionary, *dst = stream->bytes;
  int32_t len = kTextLen - kDictionary, room = kStreamRoom, pos = -1, count = 0;
  CHECK(zelsEncodeLZ77SetDictionary_8u(sampleText, kDictionary, state) == zelOk);
  CHECK(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state) == zelOk);
  CHECK(zelsEncodeLZ77GetStatus_8u(&status, state) == zelOk && status == zelLZ77StatusMatching);
  CHECK(zelsEncodeLZ77GetPairs_8u(&pairs, &pos, &count, state) == zelOk && pairs != NULL && pos == 0);
  next = pairs;
  CHECK(zelsEncodeLZ77_8u(&src, &len, &next, &count, zelLZ77FlushFinal, state) == zelOk && len == 0);
  count = (int32_t)(next - pairs);
  CHECK(zelsEncodeLZ77SetPairs_8u(pairs, count, zelLZ77MaxPairs, state) == zelOk);
  CHECK(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state) == zelOk);
  CHECK(zelsEncodeLZ77SelectHuffMode_8u(pairs, count, &best, state) == zelOk && best == zelLZ77HuffDynamic);
  if (mode == zelLZ77HuffFixed) {
    CHECK(zelsEncodeLZ77FixedHuff_8u(&pairs, &count, &dst, &room, zelLZ77FlushFinal, state) == zelWarnStreamEnd);
  } else if (mode == zelLZ77HuffDynamic) {
    CHECK(zelsEncodeLZ77DynamicHuff_8u(&pairs, &count, &dst, &room, zelLZ77FlushFinal, state) == zelWarnStreamEnd);
  } else {
    src = sampleText + kDictionary;
    len = kTextLen - kDictionary;
    CHECK(zelsEncodeLZ77StoredBlock_8u(&src, &len, &dst, &room, zelLZ77FlushFinal, state) == zelWarnStreamEnd);
  }
  CHECK(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, state) == zelOk);
  CHECK(zelsEncodeLZ77Flush_8u(&dst, &room, state) == zelOk);
  stream->len = (int32_t)(dst - stream->bytes);
}

void CallEncoder(void) {
  zelLZ77State *mine, *theirs = NULL;
  int32_t size = 0;
  CHECK(zelsEncodeLZ77GetSize_8u(&size) == zelOk);
  mine = DirtyMemory(size);
  CHECK(zelsEncodeLZ77Init_8u(zelLZ77LevelNormal, zelLZ77CheckCrc32, mine) == zelOk);
  CHECK(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelBest, zelLZ77CheckCrc32, &theirs) == zelOk);
  Encode(zelLZ77HuffFixed, mine, &fixed_stream);
  Encode(zelLZ77HuffDynamic, theirs, &dynamic_stream);
  CHECK(zelsEncodeLZ77Reset_8u(mine) == zelOk);
  CHECK(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusInit, mine) == zelOk);
  Encode(zelLZ77HuffStored, mine, &stored_stream);
  CHECK(dynamic_stream.len < fixed_stream.len && fixed_stream.len < stored_stream.len);
  free(mine);
  CHECK(zelsLZ77Free_8u(theirs) == zelOk);
}

/* Checks the result, and the CRC-32 and size behind the last block. */
static void CheckBack(const uint8_t* back, int32_t len, const Stream* stream, const uint8_t* src) {
  uint32_t crc = 0, value = 0;
  int i;
  CHECK(len == kTextLen - kDictionary && memcmp(back, sampleText + kDictionary, (size_t)len) == 0);
  CHECK(stream->bytes + stream->len - src == 8);
  CHECK(zelsCRC32_8u(back, len, &crc) == zelOk);
  for (i = 3; i >= 0; --i) value = value << 8 | src[i];
  CHECK(value == crc);
  for (i = 7; i >= 4; --i) value = value << 8 | src[i];
  CHECK(value == (uint32_t)len);
}

static void DecodeToBytes(const Stream* stream, zelLZ77State* state) {
  PER_THREAD uint8_t back[kTextLen];
  const uint8_t* src = stream->bytes;
  uint8_t* dst = back;
  int32_t len = stream->len, room = kTextLen, type = -1;
  zelStatus status;
  CHECK(zelsDecodeLZ77GetBlockType_8u(&src, &len, &type, state) == zelOk);
  if (stream == &stored_stream) {
    CHECK(type == zelLZ77HuffStored);
    status = zelsDecodeLZ77StoredBlock_8u(&src, &len, &dst, &room, state);
  } else if (stream == &fixed_stream) {
    CHECK(type == zelLZ77HuffFixed);
    status = zelsDecodeLZ77FixedHuffFull_8u(&src, &len, &dst, &room, zelLZ77FlushNone, state);
  } else {
    CHECK(type == zelLZ77HuffDynamic);
    status = zelsDecodeLZ77DynamicHuffFull_8u(&src, &len, &dst, &room, zelLZ77FlushNone, state);
  }
  CHECK(status == zelWarnStreamEnd);
  CheckBack(back, (int32_t)(dst - back), stream, src);
}

static void DecodeToPairs(const Stream* stream, zelLZ77State* state) {
  PER_THREAD uint8_t back[kTextLen];
  zelLZ77Pair *pairs = NULL, *next;
  const uint8_t* src = stream->bytes;
  uint8_t* dst = back;
  int32_t len = stream->len, room = kTextLen, pos = -1, count = 0, type = -1;
  zelStatus status;
  CHECK(zelsDecodeLZ77GetPairs_8u(&pairs, &pos, &count, state) == zelOk && pairs != NULL);
  CHECK(zelsDecodeLZ77SetPairs_8u(pairs, pos, count, state) == zelOk);
  next = pairs;
  if (stream == &stored_stream) {
    status = zelsDecodeLZ77StoredHuff_8u(&src, &len, &next, &count, state);
  } else {
    CHECK(zelsDecodeLZ77GetBlockType_8u(&src, &len, &type, state) == zelOk);
    status = type == zelLZ77HuffFixed
                 ? zelsDecodeLZ77FixedHuff_8u(&src, &len, &next, &count, zelLZ77FlushNone, state)
                 : zelsDecodeLZ77DynamicHuff_8u(&src, &len, &next, &count, zelLZ77FlushNone, state);
  }
  CHECK(status == zelWarnStreamEnd);
  count = (int32_t)(next - pairs);
  status = zelsDecodeLZ77_8u(&pairs, &count, &dst, &room, zelLZ77FlushNone, state);
  CHECK(status >= zelOk && count == 0);
  CheckBack(back, (int32_t)(dst - back), stream, src);
}

void CallDecoder(void) {
  const Stream* const streams[] = {&fixed_stream, &dynamic_stream, &stored_stream};
  zelLZ77State *fresh, *work = NULL;
  zelLZ77DeflateStatus status = -1;
  int32_t i, size = 0;
  CHECK(zelsDecodeLZ77GetSize_8u(&size) == zelOk);
  fresh = DirtyMemory(size);
  CHECK(zelsDecodeLZ77Init_8u(0, fresh) == zelOk);
  CHECK(zelsDecodeLZ77SetDictionary_8u(sampleText, kDictionary, fresh) == zelOk);
  CHECK(zelsDecodeLZ77InitAlloc_8u(0, &work) == zelOk);
  for (i = 0; i < 3; ++i) {
    CHECK(zelsDecodeLZ77CopyState_8u(fresh, work) == zelOk);
    DecodeToBytes(streams[i], work);
    CHECK(zelsDecodeLZ77Reset_8u(work) == zelOk);
    CHECK(zelsDecodeLZ77SetDictionary_8u(sampleText, kDictionary, work) == zelOk);
    DecodeToPairs(streams[i], work);
  }
  CHECK(zelsDecodeLZ77SetStatus_8u(zelLZ77StatusFinal, work) == zelOk);
  CHECK(zelsDecodeLZ77GetStatus_8u(&status, work) == zelOk && status == zelLZ77StatusFinal);
  free(fresh);
  CHECK(zelsLZ77Free_8u(work) == zelOk);
}
