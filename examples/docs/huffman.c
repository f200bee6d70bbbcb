/* Bytes to a Huffman code of their own and back; the decoder knows the packed table, the bits and the number. */
#include <string.h>
#include <zeldc.h>

int main(void) {
  static uint8_t text[30000], table[384], coded[60000], back[30000];
  int32_t counts[256] = {0}, lengths[256];
  for (int i = 0; i < 30000; ++i) ++counts[text[i] = (uint8_t)(i * i % 255 & i % 251)];

  zelHuffState* encoder = NULL;
  int32_t table_size = sizeof table, room = 0, size = 0, last = 0;
  if (zelsEncodeHuffInitAlloc_8u(counts, &encoder) != zelOk) return 1;
  if (zelsHuffGetLenCodeTable_8u(encoder, lengths) != zelOk) return 1;
  if (zelsHuffLenCodeTablePack_8u(lengths, table, &table_size) != zelOk) return 1;
  if (zelsHuffGetDstBuffSize_8u(lengths, sizeof text, &room, NULL) != zelOk || room > (int32_t)sizeof coded) return 1;
  if (zelsEncodeHuff_8u(text, sizeof text, coded, &size, encoder) != zelOk) return 1;
  if (zelsEncodeHuffFinal_8u(coded + size, &last, encoder) != zelOk) return 1;
  zelsHuffFree_8u(encoder);

  zelHuffState* decoder = NULL;
  int32_t back_size = sizeof back;
  if (zelsHuffLenCodeTableUnpack_8u(table, &table_size, lengths) != zelOk) return 1;
  if (zelsDecodeHuffInitAlloc_8u(lengths, &decoder) != zelOk) return 1;
  if (zelsDecodeHuff_8u(coded, size + last, back, &back_size, decoder) != zelOk) return 1;
  zelsHuffFree_8u(decoder);
  return back_size != sizeof back || memcmp(back, text, sizeof text) != 0;
}
