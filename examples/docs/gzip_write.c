/* Writes a text to standard output as a gzip file (RFC 1952) of one block. */
#include <stdio.h>
#include <zeldc.h>

int main(void) {
  char text[] = "tick, tock, tick, tock, tick, tock\n";
  uint8_t out[1000] = {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 255}; /* the header */
  uint8_t *src = (uint8_t*)text, *dst = out + 10;
  int32_t left = sizeof text - 1, room = sizeof out - 10, position, capacity;
  zelLZ77Pair* pairs;
  zelLZ77State* state;
  if (zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelNormal, zelLZ77CheckCrc32, &state) != zelOk) return 1;

  /* The search turns bytes into pairs, in the record's array, */
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state);
  zelsEncodeLZ77GetPairs_8u(&pairs, &position, &capacity, state);
  zelLZ77Pair* next = pairs;
  if (zelsEncodeLZ77_8u(&src, &left, &next, &capacity, zelLZ77FlushFinal, state) != zelOk) return 1;

  /* a writer the pairs into a block, here the stream's last, */
  int32_t count = (int32_t)(next - pairs);
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state);
  if (zelsEncodeLZ77DynamicHuff_8u(&pairs, &count, &dst, &room, zelLZ77FlushFinal, state) != zelWarnStreamEnd) return 1;

  /* behind which CRC-32 and size follow. */
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, state);
  if (zelsEncodeLZ77Flush_8u(&dst, &room, state) != zelOk) return 1;
  zelsLZ77Free_8u(state);
  return fwrite(out, 1, (size_t)(dst - out), stdout) != (size_t)(dst - out) || fflush(stdout) != 0;
}
