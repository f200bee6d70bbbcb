/* A block's symbols to the bits of the bzip2 format, description of their codes included, and back. */
#include <string.h>
#include <zeldc.h>

enum { kCount = 5000, kAlphabet = 40, kEnd = kAlphabet - 1 };

int main(void) {
  static uint16_t symbols[kCount], back[kCount];
  static uint8_t bits[3 * kCount];
  uint32_t counts[kAlphabet] = {0};
  for (int i = 0; i < kCount; ++i) symbols[i] = (uint16_t)(i % 7 * (i % 5) + i / 1000 * 3);
  symbols[kCount - 1] = kEnd; /* the end of the block, the largest symbol */
  for (int i = 0; i < kCount; ++i) ++counts[symbols[i]];

  zelBZ2HuffEncodeState* encoder = NULL;
  uint32_t code = 0; /* bits that are no whole byte yet */
  int32_t waiting = 0, described = sizeof bits, left = kCount;
  const uint16_t* symbol = symbols;
  if (zelsEncodeHuffInitAlloc_BZ2_16u8u(kCount, kAlphabet, counts, symbols, kCount, &encoder) != zelOk) return 1;
  if (zelsPackHuffContext_BZ2_16u8u(&code, &waiting, bits, &described, encoder) != zelOk) return 1;
  int32_t coded = (int32_t)sizeof bits - described;
  if (zelsEncodeHuff_BZ2_16u8u(&code, &waiting, &symbol, &left, bits + described, &coded, encoder) != zelOk) return 1;
  zelsEncodeHuffFree_BZ2_16u8u(encoder);
  uint8_t* end = bits + described + coded;
  for (int i = 0; i < 4; ++i, code <<= 8) *end++ = (uint8_t)(code >> 24); /* the bits that wait, and zeros behind */

  zelBZ2HuffDecodeState* decoder = NULL;
  const uint8_t* src = bits;
  int32_t size = (int32_t)(end - bits) + 3, decoded = kCount; /* the decoder looks 20 bits ahead */
  code = 0, waiting = 0;
  if (zelsDecodeHuffInitAlloc_BZ2_8u16u(kCount, kAlphabet, &decoder) != zelOk) return 1;
  if (zelsUnpackHuffContext_BZ2_8u16u(&code, &waiting, &src, &size, decoder) != zelOk) return 1;
  if (zelsDecodeHuff_BZ2_8u16u(&code, &waiting, &src, &size, back, &decoded, decoder) != zelOk) return 1;
  zelsDecodeHuffFree_BZ2_8u16u(decoder);
  return decoded != kCount - 1 || memcmp(back, symbols, sizeof symbols) != 0;
}
