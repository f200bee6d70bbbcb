/* Decompresses the first member of the gzip file on standard input, which has up to 16 MiB. */
#include <stdio.h>
#include <zeldc.h>

static uint8_t in[16 << 20], out[65536];
static const uint8_t* src = in;
static int32_t left;

static uint32_t number(int bytes) { /* little-endian */
  uint32_t value = 0;
  for (int i = 0; i < bytes && left > 0; ++i, --left) value |= (uint32_t)*src++ << 8 * i;
  return value;
}

static zelStatus decode(int32_t type, uint8_t** dst, int32_t* room, zelLZ77State* s) {
  if (type == zelLZ77HuffStored) return zelsDecodeLZ77StoredBlock_8u(&src, &left, dst, room, s);
  if (type == zelLZ77HuffFixed) return zelsDecodeLZ77FixedHuffFull_8u(&src, &left, dst, room, zelLZ77FlushNone, s);
  if (type == zelLZ77HuffDynamic) return zelsDecodeLZ77DynamicHuffFull_8u(&src, &left, dst, room, zelLZ77FlushNone, s);
  return zelErrBadData; /* the reserved type leaves the variable alone */
}

int main(void) {
  left = (int32_t)fread(in, 1, sizeof in, stdin);
  if (number(3) != 0x088B1F) return 1;
  const uint32_t flags = number(1);
  for (int i = 0; i < 6; ++i) number(1);                              /* time, extra flags, system */
  for (uint32_t n = flags & 4 ? number(2) : 0; n > 0; --n) number(1); /* extra field */
  while (flags & 8 && number(1)) continue;                            /* name */
  while (flags & 16 && number(1)) continue;                           /* comment */
  if (flags & 2) number(2);                                           /* checksum of the header */

  uint32_t crc = 0, size = 0;
  zelLZ77State* state = NULL;
  zelStatus status = zelsDecodeLZ77InitAlloc_8u(0, &state);
  for (int32_t type = -1; status == zelOk; type = -1) {
    status = zelsDecodeLZ77GetBlockType_8u(&src, &left, &type, state);
    for (int again = status == zelOk; again; again = status == zelWarnDstFull) {
      uint8_t* dst = out;
      int32_t room = sizeof out;
      status = decode(type, &dst, &room, state);
      size += (uint32_t)fwrite(out, 1, (size_t)(dst - out), stdout);
      if (dst > out) zelsCRC32_8u(out, (int32_t)(dst - out), &crc);
    }
  }
  zelsLZ77Free_8u(state);
  return status != zelWarnStreamEnd || left < 8 || number(4) != crc || number(4) != size || fflush(stdout) != 0;
}
