/* A block through the byte stages of bzip2, up to the symbols that are left to be coded, and back. */
#include <string.h>
#include <zeldc.h>

enum { kSize = 20000, kBlock = kSize + kSize / 4 + 1 }; /* run lengths add a quarter at most */
static uint8_t text[kSize], back[kSize + 1], block[kBlock], column[kBlock], buffer[6 * kBlock + 70145];
static uint16_t symbols[kBlock + 1];

int main(void) {
  for (int i = 0; i < kSize; ++i) text[i] = (uint8_t)("round and round it goes; "[i % 25] + (i % 97 == 0));

  uint8_t* src = text;
  int32_t left = kSize, n = kBlock, last = 1, index = 0;
  zelRLEState_BZ2 runs;
  if (zelsEncodeRLEInit_BZ2_8u(&runs) != zelOk) return 1;
  if (zelsEncodeRLE_BZ2_8u(&src, &left, block, &n, &runs) != zelOk) return 1;
  if (zelsEncodeRLEFlush_BZ2_8u(block + n, &last, &runs) != zelOk) return 1;
  n += last;
  if (zelsBWTFwd_8u(block, column, n, &index, buffer) != zelOk) return 1;
  zelMTFState ranks;
  if (zelsMTFInit_8u(&ranks) != zelOk || zelsMTFFwd_8u(column, column, n, &ranks) != zelOk) return 1;
  int32_t counts[257] = {0}, count = kBlock + 1;
  src = column;
  if (zelsEncodeZ1Z2_BZ2_8u16u(&src, &n, symbols, &count, counts) != zelOk) return 1;

  uint16_t* symbol = symbols;
  n = kBlock;
  if (zelsDecodeZ1Z2_BZ2_16u8u(&symbol, &count, column, &n) != zelOk) return 1;
  if (zelsMTFInit_8u(&ranks) != zelOk || zelsMTFInv_8u(column, column, n, &ranks) != zelOk) return 1;
  if (zelsBWTInv_8u(column, block, n, index, buffer) != zelOk) return 1;
  src = block, left = sizeof back;
  if (zelsDecodeRLE_BZ2_8u(&src, &n, back, &left) != zelOk) return 1;
  return left != kSize || memcmp(back, text, kSize) != 0;
}
