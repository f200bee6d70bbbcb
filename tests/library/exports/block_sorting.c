/* The stages of bzip2 around its Huffman codes. */

#include "check.h"

void CallTransform(void) {
  PER_THREAD uint8_t column[kTextLen], small[kTextLen], back[kTextLen];
  uint8_t* buffer;
  int32_t size = 0, index = -1, small_index = -1;
  CHECK(zelsBWTFwdGetSize_8u(kTextLen, &size) == zelOk);
  buffer = DirtyMemory(size);
  CHECK(zelsBWTFwd_8u(sampleText, column, kTextLen, &index, buffer) == zelOk);
  free(buffer);
  CHECK(zelsBWTInvGetSize_8u(kTextLen, &size) == zelOk);
  buffer = DirtyMemory(size);
  CHECK(zelsBWTInv_8u(column, back, kTextLen, index, buffer) == zelOk);
  CHECK(memcmp(back, sampleText, kTextLen) == 0);
  free(buffer);

  CHECK(zelsBWTGetSize_SmallBlock_8u(kTextLen, &size) == zelOk);
  buffer = DirtyMemory(size);
  CHECK(zelsBWTFwd_SmallBlock_8u(sampleText, small, kTextLen, &small_index, buffer) == zelOk);
  CHECK(small_index == index && memcmp(small, column, kTextLen) == 0);
  memset(back, 0, sizeof(back));
  CHECK(zelsBWTInv_SmallBlock_8u(small, back, kTextLen, small_index, buffer) == zelOk);
  CHECK(memcmp(back, sampleText, kTextLen) == 0);
  free(buffer);
}

static void CallMoveToFront(void) {
  PER_THREAD uint8_t ranks[kTextLen], back[kTextLen];
  zelMTFState *forward, *inverse = NULL;
  int32_t size = 0;
  CHECK(zelsMTFGetSize_8u(&size) == zelOk && size == (int32_t)sizeof(zelMTFState));
  forward = DirtyMemory(size);
  CHECK(zelsMTFInit_8u(forward) == zelOk);
  CHECK(zelsMTFInitAlloc_8u(&inverse) == zelOk && inverse != NULL);
  CHECK(zelsMTFFwd_8u(sampleText, ranks, kTextLen, forward) == zelOk);
  CHECK(ranks[0] == sampleText[0]);
  CHECK(zelsMTFInv_8u(ranks, back, kTextLen, inverse) == zelOk);
  CHECK(memcmp(back, sampleText, kTextLen) == 0);
  free(forward);
  CHECK(zelsMTFFree_8u(inverse) == zelOk);
}

static void CallZeroRuns(void) {
  uint8_t bytes[] = {0, 0, 0, 7, 0, 255}, back[6], *src = bytes;
  static const uint16_t kExpected[] = {0, 0, 8, 0, 256};
  uint16_t symbols[8], *symbol = symbols;
  int32_t freq[257] = {0}, len = 6, count = 7, room = 6;
  CHECK(zelsEncodeZ1Z2_BZ2_8u16u(&src, &len, symbols, &count, freq) == zelOk);
  CHECK(len == 0 && count == 5 && memcmp(symbols, kExpected, sizeof(kExpected)) == 0);
  CHECK(freq[0] == 3 && freq[1] == 0 && freq[8] == 1 && freq[256] == 1);
  CHECK(zelsDecodeZ1Z2_BZ2_16u8u(&symbol, &count, back, &room) == zelOk);
  CHECK(count == 0 && room == 6 && memcmp(back, bytes, 6) == 0);
}

void CallRunLengths(void) {
  uint8_t bytes[] = "abbbbbbbbbbc", coded[40], back[40], in_use[256], *src = bytes;
  zelRLEState_BZ2 *mine, *theirs = NULL;
  int32_t size = 0, len = 11, room = 40, flushed = 1;
  CHECK(zelsRLEGetSize_BZ2_8u(&size) == zelOk && size == (int32_t)sizeof(zelRLEState_BZ2));
  mine = DirtyMemory(size);
  CHECK(zelsEncodeRLEInit_BZ2_8u(mine) == zelOk);
  CHECK(zelsEncodeRLEInitAlloc_BZ2_8u(&theirs) == zelOk);
  CHECK(memcmp(mine, theirs, sizeof(*mine)) == 0);
  CHECK(zelsEncodeRLE_BZ2_8u(&src, &len, coded, &room, mine) == zelOk && len == 0);
  CHECK(zelsEncodeRLEFlush_BZ2_8u(coded + room, &flushed, mine) == zelOk && flushed == 1);
  CHECK(room + flushed == 6 && memcmp(coded, "abbbb\006", 6) == 0);
  CHECK(zelsRLEGetInUseTable_8u(in_use, mine) == zelOk);
  CHECK(in_use['a'] == 1 && in_use['b'] == 1 && in_use[6] == 1 && in_use['c'] == 0);
  src = coded;
  len = 6;
  room = 40;
  CHECK(zelsDecodeRLE_BZ2_8u(&src, &len, back, &room) == zelOk);
  CHECK(room == 11 && memcmp(back, bytes, 11) == 0);
  free(mine);
  CHECK(zelsRLEFree_BZ2_8u(theirs) == zelOk);

  src = bytes;
  len = 12;
  room = 40;
  CHECK(zelsEncodeRLE_8u(&src, &len, coded, &room) == zelOk && len == 0);
  CHECK(room == 5 && memcmp(coded, "abb\010c", 5) == 0);
  src = coded;
  len = room;
  room = 40;
  CHECK(zelsDecodeRLE_8u(&src, &len, back, &room) == zelOk);
  CHECK(room == 12 && memcmp(back, bytes, 12) == 0);

  CallMoveToFront();
  CallZeroRuns();
}
