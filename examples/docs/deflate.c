/* A buffer of any size to a raw Deflate stream (RFC 1951), block by block through a small output buffer. */
#include <stdio.h>
#include <zeldc.h>

/* Appends to `file`; zelWarnStreamEnd when all is written. */
static zelStatus deflate(uint8_t* src, int32_t size, FILE* file) {
  uint8_t out[1000], *dst;
  int32_t room, pos, count;
  zelLZ77Pair *pairs, *next;
  zelLZ77State* state = NULL;
  zelStatus status = zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelNormal, zelLZ77CheckNone, &state);
  if (status != zelOk) return status;
  do { /* a block: as many pairs as the record's array holds, then their codes */
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state);
    zelsEncodeLZ77GetPairs_8u(&pairs, &pos, &room, state);
    next = pairs;
    status = zelsEncodeLZ77_8u(&src, &size, &next, &room, zelLZ77FlushFinal, state);
    if (status < 0) break;
    count = (int32_t)(next - pairs);
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state);
    do {
      dst = out;
      room = sizeof out;
      status = zelsEncodeLZ77DynamicHuff_8u(&pairs, &count, &dst, &room, zelLZ77FlushFinal, state);
      fwrite(out, 1, (size_t)(dst - out), file);
    } while (status == zelWarnDstFull);
  } while (status == zelOk); /* the last block answers zelWarnStreamEnd */
  zelsLZ77Free_8u(state);
  return status;
}

int main(int argc, char** argv) {
  static uint8_t text[300000];
  for (int i = 0; i < 300000; ++i) text[i] = (uint8_t)("tick, tock, "[i % 12] + i / 7919 % 3);
  FILE* file = argc > 1 ? fopen(argv[1], "wb") : stdout;
  if (file == NULL || deflate(text, sizeof text, file) != zelWarnStreamEnd) return 1;
  return fflush(file) != 0 || ferror(file);
}
