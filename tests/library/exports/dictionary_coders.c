/* LZSS, LZO, and dictionary reduction. */

#include "check.h"

static void CallLzss(void) {
  PER_THREAD uint8_t stream[2 * kTextLen], back[kTextLen];
  zelLZSSState *encoder, *decoder, *allocated_encoder = NULL, *allocated_decoder = NULL;
  uint8_t *src = sampleText, *dst = stream;
  int32_t size = 0, len = kTextLen, room = sizeof(stream);
  CHECK(zelsLZSSGetSize_8u(&size) == zelOk);
  encoder = DirtyMemory(size);
  decoder = DirtyMemory(size);
  CHECK(zelsEncodeLZSSInit_8u(encoder) == zelOk);
  CHECK(zelsDecodeLZSSInit_8u(decoder) == zelOk);
  CHECK(zelsEncodeLZSSInitAlloc_8u(&allocated_encoder) == zelOk);
  CHECK(zelsDecodeLZSSInitAlloc_8u(&allocated_decoder) == zelOk);
  CHECK(zelsEncodeLZSS_8u(&src, &len, &dst, &room, encoder) == zelOk && len == 0);
  CHECK(zelsEncodeLZSSFlush_8u(&dst, &room, encoder) == zelOk);
  CHECK(dst - stream < kTextLen / 2);
  src = stream;
  len = (int32_t)(dst - stream);
  dst = back;
  room = kTextLen;
  CHECK(zelsDecodeLZSS_8u(&src, &len, &dst, &room, decoder) == zelWarnDstFull);
  CHECK(memcmp(back, sampleText, kTextLen) == 0);
  free(encoder);
  free(decoder);
  CHECK(zelsLZSSFree_8u(allocated_encoder) == zelOk);
  CHECK(zelsLZSSFree_8u(allocated_decoder) == zelOk);
}

static void CallLzo(void) {
  PER_THREAD uint8_t stream[2 * kTextLen], back[kTextLen];
  zelLZOState* state;
  uint32_t len = 0, room = kTextLen;
  int32_t size = 0;
  CHECK(zelsEncodeLZOGetSize(zelLZOMethodSingle, kTextLen, &size) == zelOk);
  state = DirtyMemory(size);
  CHECK(zelsEncodeLZOInit_8u(zelLZOMethodSingle, kTextLen, state) == zelOk);
  CHECK(zelsEncodeLZO_8u(sampleText, kTextLen, stream, &len, state) == zelOk && len < kTextLen / 2);
  CHECK(zelsDecodeLZOSafe_8u(stream, len, back, &room) == zelOk);
  CHECK(room == kTextLen && memcmp(back, sampleText, kTextLen) == 0);
  memset(back, 0, sizeof(back));
  CHECK(zelsDecodeLZO_8u(stream, len, back, &room) == zelOk);
  CHECK(room == kTextLen && memcmp(back, sampleText, kTextLen) == 0);
  free(state);
}

static void CallReduction(void) {
  PER_THREAD uint8_t bytes[kTextLen];
  uint8_t in_use[256] = {0};
  int32_t i, values = 0, count = 0;
  for (i = 0; i < kTextLen; ++i) in_use[sampleText[i]] = 1;
  for (i = 0; i < 256; ++i) count += in_use[i];
  memcpy(bytes, sampleText, kTextLen);
  CHECK(zelsReduceDictionary_8u_I(in_use, bytes, kTextLen, &values) == zelOk && values == count);
  for (i = 0; i < kTextLen; ++i) CHECK(bytes[i] < values);
  CHECK(zelsExpandDictionary_8u_I(in_use, bytes, kTextLen, values) == zelOk);
  CHECK(memcmp(bytes, sampleText, kTextLen) == 0);
}

void CallDictionaryCoders(void) {
  CallLzss();
  CallLzo();
  CallReduction();
}
