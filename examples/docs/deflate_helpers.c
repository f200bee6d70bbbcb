/* One block with the fixed code of RFC 1951, section 3.2.6, whose header and end the caller writes. */
#include <string.h>
#include <zeldc.h>

static zelDeflateHuffCode Reversed(int code, int bits) { /* codes are given first bit lowest */
  zelDeflateHuffCode made = {0, (uint16_t)bits};
  for (int i = 0; i < bits; ++i) made.code = (uint16_t)(made.code | (code >> (bits - 1 - i) & 1) << i);
  return made;
}

int main(void) {
  static int32_t heads[32768], chain[32768], counts[286], distance_counts[30];
  static uint8_t window[32768], text[2000], items[2000], stream[3000], back[2000];
  static uint16_t distances[2000];
  zelDeflateHuffCode codes[286], distance_codes[30];
  for (int i = 0; i < 2000; ++i) text[i] = (uint8_t) "she sells sea shells by the sea shore; "[i % 39];
  for (int i = 0; i < 286; ++i) {
    codes[i] = i < 144   ? Reversed(0x30 + i, 8)
               : i < 256 ? Reversed(0x190 + i - 144, 9)
               : i < 280 ? Reversed(i - 256, 7)
                         : Reversed(0xC0 + i - 280, 8);
  }
  for (int i = 0; i < 30; ++i) distance_codes[i] = Reversed(i, 5);
  for (int i = 0; i < 32768; ++i) heads[i] = chain[i] = -32768;

  uint8_t* src = text;
  int32_t left = sizeof text, index = 0, room = 2000, size = 0, bits = 3;
  uint16_t code = 1 | 1 << 1; /* the last block, with the fixed code */
  if (zelsDeflateLZ77_8u(&src, &left, &index, window, 32768, heads, chain, 32768, counts, distance_counts, items,
                         distances, &room, 6, zelLZ77FlushFinal) != zelOk ||
      left != 0)
    return 1;
  if (zelsDeflateHuff_8u(items, distances, 2000 - room, &code, &bits, codes, distance_codes, stream, &size) != zelOk)
    return 1;
  for (bits += codes[256].lenBits; bits > 0; bits -= 8, code >>= 8) stream[size++] = (uint8_t)code; /* its end: zeros */

  zelInflateState state = {.window = NULL, .tableForm = zelInflateFixed};
  const uint8_t* in = stream;
  uint8_t* dst = back;
  uint32_t in_left = (uint32_t)size - 1, buffer = stream[0] >> 3, count = 5, space = sizeof back;
  int32_t mode = zelInflateBetween;
  ++in; /* the header's three bits are read, the other five wait */
  if (zelsInflate_8u(&in, &in_left, &buffer, &count, 0, &dst, &space, 0, &mode, &state) != zelOk) return 1;
  return mode != zelInflateBlockEnd || space != 0 || memcmp(back, text, sizeof text) != 0;
}
