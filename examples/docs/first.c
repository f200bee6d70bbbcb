/* Compresses a buffer and decompresses it again. */
#include <stdio.h>
#include <string.h>
#include <zeldc.h>

int main(void) {
  uint8_t text[4000], packed[4000 + 4000 / 16 + 67], back[4000];
  uint32_t size, length = sizeof back;
  static uint32_t record[65560 / 4]; /* as many bytes as zelsEncodeLZOGetSize tells */
  zelLZOState* state = (zelLZOState*)record;
  for (int i = 0; i < 4000; ++i) text[i] = (uint8_t) "so far, so good, "[i % 17];

  if (zelsEncodeLZOInit_8u(zelLZOMethodSingle, 0, state) != zelOk) return 1;
  if (zelsEncodeLZO_8u(text, sizeof text, packed, &size, state) != zelOk) return 1;
  if (zelsDecodeLZOSafe_8u(packed, size, back, &length) != zelOk) return 1;
  printf("%d bytes, %u compressed\n", 4000, (unsigned)size);
  return length != sizeof text || memcmp(back, text, length) != 0;
}
