/* A block to a container of 256 interval streams, and back. */
#include <string.h>
#include <zeldc.h>

enum { kBlock = 65536, kContainer = kBlock + kBlock / 8 + 4096 };
static uint8_t text[kBlock], container[kContainer], back[kBlock];

int main(void) {
  uint32_t state = 1;
  for (int i = 0; i < kBlock; ++i) {
    state = state * 1103515245u + 12345u;
    text[i] = (uint8_t)("aaaaeeeeiiootttn"[state >> 28] + (state >> 12) % 3);
  }

  zelGITEncodeState* encoder = NULL;
  zelGITDecodeState* decoder = NULL;
  int32_t size = 0, back_size = 0;
  if (zelsEncodeGITInitAlloc_8u(kBlock, kContainer, &encoder) != zelOk) return 1;
  if (zelsEncodeGIT_8u(text, kBlock, container, &size, zelGITStatic, encoder) != zelOk) return 1;
  zelsGITFree_8u(encoder);

  /* The decoder reads the container where it stands, so a record for one byte serves; the strategy is the caller's. */
  if (zelsDecodeGITInitAlloc_8u(1, kBlock, &decoder) != zelOk) return 1;
  if (zelsDecodeGIT_8u(container, size, back, &back_size, zelGITStatic, decoder) != zelOk) return 1;
  zelsGITFree_8u(decoder);
  return size >= kBlock || back_size != kBlock || memcmp(back, text, kBlock) != 0;
}
