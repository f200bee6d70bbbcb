/* A block through the stages of bzip2 and back, without the header that a file puts around it. */
#include <string.h>
#include <zeldc.h>

enum { kSize = 20000, kBlock = kSize + kSize / 4 + 1 }; /* run lengths add a quarter at most */
static uint8_t text[kSize], block[kBlock], column[kBlock], buffer[6 * kBlock + 70145];
static uint16_t symbols[kBlock + 2];
static uint8_t bits[2 * kBlock + 30000];

int main(void) {
  for (int i = 0; i < kSize; ++i) text[i] = (uint8_t)("round and round it goes; "[i % 25] + (i % 97 == 0));

  uint8_t* src = text;
  int32_t left = kSize, n = kBlock, last = 1, index = 0;
  zelRLEState_BZ2 runs;
  zelMTFState ranks;
  if (zelsEncodeRLEInit_BZ2_8u(&runs) != zelOk) return 1;
  if (zelsEncodeRLE_BZ2_8u(&src, &left, block, &n, &runs) != zelOk) return 1;
  if (zelsEncodeRLEFlush_BZ2_8u(block + n, &last, &runs) != zelOk) return 1;
  n += last;
  if (zelsBWTFwd_8u(block, column, n, &index, buffer) != zelOk) return 1;
  if (zelsMTFInit_8u(&ranks) != zelOk || zelsMTFFwd_8u(column, column, n, &ranks) != zelOk) return 1;
  int32_t counts[258] = {0}, count = kBlock, ranked = n;
  src = column;
  if (zelsEncodeZ1Z2_BZ2_8u16u(&src, &ranked, symbols, &count, counts) != zelOk) return 1;
  symbols[count++] = 257; /* the end of the block, one beyond the ranks */
  counts[257] = 1;

  zelBZ2HuffEncodeState* encoder = NULL;
  uint32_t code = 0, table[258];
  int32_t waiting = 0, described = sizeof bits, coded, todo = count;
  const uint16_t* symbol = symbols;
  for (int i = 0; i < 258; ++i) table[i] = (uint32_t)counts[i];
  if (zelsEncodeHuffInitAlloc_BZ2_16u8u(count, 258, table, symbols, count, &encoder) != zelOk) return 1;
  if (zelsPackHuffContext_BZ2_16u8u(&code, &waiting, bits, &described, encoder) != zelOk) return 1;
  coded = (int32_t)sizeof bits - described;
  if (zelsEncodeHuff_BZ2_16u8u(&code, &waiting, &symbol, &todo, bits + described, &coded, encoder) != zelOk) return 1;
  zelsEncodeHuffFree_BZ2_16u8u(encoder);
  uint8_t* end = bits + described + coded;
  for (int i = 0; i < 4; ++i, code <<= 8) *end++ = (uint8_t)(code >> 24); /* the bits that wait, and zeros behind */

  zelBZ2HuffDecodeState* decoder = NULL;
  const uint8_t* in = bits;
  int32_t size = (int32_t)(end - bits) + 3; /* the decoder looks 20 bits ahead */
  code = 0, waiting = 0, n = kBlock, todo = kBlock + 2;
  if (zelsDecodeHuffInitAlloc_BZ2_8u16u(kBlock + 2, 258, &decoder) != zelOk) return 1;
  if (zelsUnpackHuffContext_BZ2_8u16u(&code, &waiting, &in, &size, decoder) != zelOk) return 1;
  if (zelsDecodeHuff_BZ2_8u16u(&code, &waiting, &in, &size, symbols, &todo, decoder) != zelOk) return 1;
  zelsDecodeHuffFree_BZ2_8u16u(decoder);
  uint16_t* run = symbols;
  if (zelsDecodeZ1Z2_BZ2_16u8u(&run, &todo, column, &n) != zelOk) return 1;
  if (zelsMTFInit_8u(&ranks) != zelOk || zelsMTFInv_8u(column, column, n, &ranks) != zelOk) return 1;
  if (zelsBWTInv_8u(column, block, n, index, buffer) != zelOk) return 1;
  static uint8_t back[kSize + 1];
  src = block, left = sizeof back;
  if (zelsDecodeRLE_BZ2_8u(&src, &n, back, &left) != zelOk) return 1;
  return left != kSize || memcmp(back, text, kSize) != 0;
}
