/* Values with a code of the caller's own, which begins at bit 3 of a stream. */
#include <string.h>
#include <zeldc.h>

int main(void) {
  const zelVLCCode table[] = {{0, 0, 1}, {1, 2, 2}, {-1, 6, 3}, {2, 14, 4}, {-2, 15, 4}}; /* 0 10 110 1110 1111 */
  const int32_t widths[] = {3, 1}; /* look up 3 bits, then one more */
  const int16_t values[] = {0, 1, -1, 2, -2, 0, 0, 0, 1, 1, -2, 2, 0, -1, 0, 1};
  int16_t back[16];
  uint32_t words[4] = {0}; /* coders take whole words, so the stream stands in some */

  zelVLCEncodeState* encoder = NULL;
  zelVLCDecodeState* decoder = NULL;
  int32_t bits = 0, offset = 3;
  uint8_t* stream = (uint8_t*)words;
  if (zelsVLCEncodeInitAlloc_32s(table, 5, &encoder) != zelOk) return 1;
  if (zelsVLCCountBits_16s32s(values, 16, &bits, encoder) != zelOk || bits > 96) return 1;
  if (zelsVLCEncodeBlock_16s1u(values, 16, &stream, &offset, encoder) != zelOk) return 1;
  if ((stream - (uint8_t*)words) * 8 + offset != 3 + bits) return 1;                    /* behind the last code */
  if (zelsVLCEncodeOne_16s1u(3, &stream, &offset, encoder) != zelErrVlcInput) return 1; /* has no code */
  zelsVLCEncodeFree_32s(encoder);

  if (zelsVLCDecodeInitAlloc_32s(table, 5, widths, 2, &decoder) != zelOk) return 1;
  stream = (uint8_t*)words, offset = 3;
  if (zelsVLCDecodeBlock_1u16s(&stream, &offset, back, 16, decoder) != zelOk) return 1;
  zelsVLCDecodeFree_32s(decoder);
  return memcmp(back, values, sizeof values) != 0;
}
