/* A C program of somebody else's: bytes through the dictionary coder and back, and a checksum. */

#include <stdio.h>
#include <string.h>
#include <zelcore.h>
#include <zeldc.h>

int main(void) {
  uint8_t text[] = "tick, tock, tick, tock, tick, tock, tick, tock";
  uint8_t stream[200], back[sizeof(text)];
  zelLZSSState *encoder = NULL, *decoder = NULL;
  uint8_t *src = text, *dst = stream;
  int32_t len = sizeof(text), room = sizeof(stream);
  uint32_t crc = 0;
  if (zelsEncodeLZSSInitAlloc_8u(&encoder) != zelOk || zelsDecodeLZSSInitAlloc_8u(&decoder) != zelOk) return 1;
  if (zelsEncodeLZSS_8u(&src, &len, &dst, &room, encoder) != zelOk) return 2;
  if (zelsEncodeLZSSFlush_8u(&dst, &room, encoder) != zelOk) return 3;
  src = stream;
  len = (int32_t)(dst - stream);
  dst = back;
  room = sizeof(back);
  if (len >= (int32_t)sizeof(text)) return 4;
  if (zelsDecodeLZSS_8u(&src, &len, &dst, &room, decoder) != zelWarnDstFull) return 5;
  if (memcmp(back, text, sizeof(text)) != 0) return 6;
  zelsLZSSFree_8u(encoder);
  zelsLZSSFree_8u(decoder);
  if (zelsCRC32_8u((const uint8_t*)"123456789", 9, &crc) != zelOk || crc != 0xCBF43926u) return 7;
  if (ownGetNumThreads() < 1) return 8;
  printf("zeldc %d.%d, %d bit\n", (int)zeldcGetLibVersion()->major, (int)zeldcGetLibVersion()->minor,
         (int)sizeof(void*) * 8);
  return 0;
}
