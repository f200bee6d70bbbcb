/* The byte Huffman coder and interval coding. */

#include "check.h"

void CallByteHuffman(void) {
  PER_THREAD uint8_t coded[2 * kTextLen + 8], back[kTextLen];
  zelHuffState *encoder, *decoder, *allocated = NULL;
  int32_t freq[256] = {0}, lens[256], lens_back[256];
  int32_t i, size = 0, coded_room = 0, decoded_room = 0, filled = 0, rest = 0, packed_len, room = kTextLen;
  uint8_t packed[384], one[8] = {0}, byte = 0;
  for (i = 0; i < kTextLen; ++i) ++freq[sampleText[i]];

  CHECK(zelsHuffGetSize_8u(&size) == zelOk);
  encoder = DirtyMemory(size);
  CHECK(zelsEncodeHuffInit_8u(freq, encoder) == zelOk);
  CHECK(zelsHuffGetLenCodeTable_8u(encoder, lens) == zelOk && lens['t'] > 0 && lens['x'] == 0);
  CHECK(zelsHuffGetDstBuffSize_8u(lens, kTextLen, &coded_room, &decoded_room) == zelOk);
  CHECK(coded_room <= (int32_t)sizeof(coded) && decoded_room >= kTextLen);
  CHECK(zelsEncodeHuff_8u(sampleText, kTextLen, coded, &filled, encoder) == zelOk);
  CHECK(zelsEncodeHuffFinal_8u(coded + filled, &rest, encoder) == zelOk);
  filled += rest;
  CHECK(filled < kTextLen / 2);
  packed_len = sizeof(packed);
  CHECK(zelsHuffLenCodeTablePack_8u(lens, packed, &packed_len) == zelOk);

  CHECK(zelsHuffLenCodeTableUnpack_8u(packed, &packed_len, lens_back) == zelOk);
  CHECK(memcmp(lens, lens_back, sizeof(lens)) == 0);
  decoder = DirtyMemory(size);
  CHECK(zelsDecodeHuffInit_8u(lens_back, decoder) == zelOk);
  CHECK(zelsDecodeHuff_8u(coded, filled, back, &room, decoder) == zelOk);
  CHECK(room == kTextLen && memcmp(back, sampleText, kTextLen) == 0);
  free(decoder);
  free(encoder);

  CHECK(zelsEncodeHuffInitAlloc_8u(freq, &allocated) == zelOk);
  CHECK(zelsEncodeHuffOne_8u('k', one, 3, allocated) == zelOk);
  CHECK(zelsHuffFree_8u(allocated) == zelOk);
  CHECK(zelsDecodeHuffInitAlloc_8u(lens, &allocated) == zelOk);
  CHECK(zelsDecodeHuffOne_8u(one, 3, &byte, allocated) == zelOk && byte == 'k');
  CHECK(zelsHuffFree_8u(allocated) == zelOk);
}

void CallIntervals(void) {
  enum { kBlock = 5000, kContainer = 20000 };
  PER_THREAD uint8_t container[kContainer], again[kContainer], back[kBlock];
  zelGITEncodeState *encoder, *allocated_encoder = NULL;
  zelGITDecodeState *decoder, *allocated_decoder = NULL;
  int32_t size = 0, len = 0, len_again = 0, len_back = 0;
  CHECK(zelsEncodeGITGetSize_8u(kBlock, kContainer, &size) == zelOk);
  encoder = DirtyMemory(size);
  CHECK(zelsEncodeGITInit_8u(kBlock, kContainer, encoder) == zelOk);
  CHECK(zelsEncodeGITInitAlloc_8u(kBlock, kContainer, &allocated_encoder) == zelOk);
  CHECK(zelsEncodeGIT_8u(sampleText, kTextLen, container, &len, zelGITMoveLeft, encoder) == zelOk && len >= 1280);
  CHECK(zelsEncodeGIT_8u(sampleText, kTextLen, again, &len_again, zelGITMoveLeft, allocated_encoder) == zelOk);
  CHECK(len_again == len && memcmp(again, container, (size_t)len) == 0);
  free(encoder);
  CHECK(zelsGITFree_8u(allocated_encoder) == zelOk);

  CHECK(zelsDecodeGITGetSize_8u(kBlock, &size) == zelOk);
  decoder = DirtyMemory(size);
  CHECK(zelsDecodeGITInit_8u(kBlock, decoder) == zelOk);
  CHECK(zelsDecodeGITInitAlloc_8u(kBlock, kBlock, &allocated_decoder) == zelOk);
  CHECK(zelsDecodeGIT_8u(container, len, back, &len_back, zelGITMoveLeft, decoder) == zelOk);
  CHECK(len_back == kTextLen && memcmp(back, sampleText, kTextLen) == 0);
  free(decoder);
  CHECK(zelsGITFree_8u(allocated_decoder) == zelOk);
}
