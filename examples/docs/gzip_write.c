/* Writes a text to standard output as a gzip file (RFC 1952). */
#include <stdio.h>
#include <zeldc.h>

/* Writes the bytes as a gzip file. */
static zelStatus write_gzip(uint8_t* data, int32_t size, FILE* file) {
  static const uint8_t header[10] = {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 255};
  uint8_t out[16384], *dst;
  int32_t room, pos, count;
  zelLZ77Pair *pairs, *next;
  zelLZ77State* state;
  zelStatus status = zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelNormal, zelLZ77CheckCrc32, &state);
  if (status != zelOk) return status;

  fwrite(header, 1, sizeof header, file);
  do { /* a block: as many pairs as the record's array holds, then their codes */
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state);
    zelsEncodeLZ77GetPairs_8u(&pairs, &pos, &room, state);
    next = pairs;
    status = zelsEncodeLZ77_8u(&data, &size, &next, &room, zelLZ77FlushFinal, state);
    if (status < 0) break;
    count = (int32_t)(next - pairs);
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state);
    do {
      dst = out;
      room = sizeof out;
      status = zelsEncodeLZ77DynamicHuff_8u(&pairs, &count, &dst, &room, zelLZ77FlushFinal, state);
      fwrite(out, 1, (size_t)(dst - out), file);
    } while (status == zelWarnDstFull);
  } while (status == zelOk); /* zelWarnStreamEnd behind the last block */

  if (status == zelWarnStreamEnd) { /* CRC-32 and size */
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, state);
    dst = out;
    room = sizeof out;
    status = zelsEncodeLZ77Flush_8u(&dst, &room, state);
    fwrite(out, 1, (size_t)(dst - out), file);
  }
  zelsLZ77Free_8u(state);
  return status;
}

int main(void) {
  char text[] = "tick, tock, tick, tock, tick, tock\n";
  const zelStatus status = write_gzip((uint8_t*)text, sizeof text - 1, stdout);
  if (status != zelOk) fprintf(stderr, "status %d\n", (int)status);
  return status != zelOk || ferror(stdout) || fflush(stdout) ? 1 : 0;
}
