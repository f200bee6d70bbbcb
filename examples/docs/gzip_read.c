/* Decompresses the first member of the gzip file on standard input. */
#include <stdio.h>
#include <zeldc.h>

static uint8_t in[65536];
static const uint8_t* src = in;
static int32_t left;
static int cut_off; /* more bytes were asked for than there are */

static int more(void) { /* reads on when nothing is left; 0 at the end of the input */
  if (left > 0) return 1;
  src = in;
  left = (int32_t)fread(in, 1, sizeof in, stdin);
  return left > 0;
}

static uint32_t number(int bytes) { /* little-endian */
  uint32_t value = 0;
  for (int i = 0; i < bytes; ++i, --left) {
    if (!more()) {
      cut_off = 1;
      return 0;
    }
    value |= (uint32_t)*src++ << 8 * i;
  }
  return value;
}

static int skip_header(void) {
  if (number(3) != 0x088B1F) return 0;
  const uint32_t flags = number(1);
  number(4);                                                          /* time */
  number(2);                                                          /* extra flags, system */
  for (uint32_t n = flags & 4 ? number(2) : 0; n > 0; --n) number(1); /* extra field */
  while (flags & 8 && number(1)) continue;                            /* name */
  while (flags & 16 && number(1)) continue;                           /* comment */
  if (flags & 2) number(2);                                           /* checksum of the header */
  return !cut_off;
}

/* Decodes one block. */
static zelStatus decode_block(zelLZ77State* state, uint32_t* crc, uint32_t* size) {
  static uint8_t out[65536];
  int32_t type = -1;
  zelStatus status;
  while ((status = zelsDecodeLZ77GetBlockType_8u(&src, &left, &type, state)) == zelWarnSrcShort && more()) continue;
  if (status != zelOk) return status;
  do {
    uint8_t* dst = out;
    int32_t room = sizeof out;
    if (type == zelLZ77HuffStored) {
      status = zelsDecodeLZ77StoredBlock_8u(&src, &left, &dst, &room, state);
    } else if (type == zelLZ77HuffFixed) {
      status = zelsDecodeLZ77FixedHuffFull_8u(&src, &left, &dst, &room, zelLZ77FlushNone, state);
    } else if (type == zelLZ77HuffDynamic) {
      status = zelsDecodeLZ77DynamicHuffFull_8u(&src, &left, &dst, &room, zelLZ77FlushNone, state);
    } else {
      return zelErrBadData; /* the reserved type leaves the variable alone */
    }
    fwrite(out, 1, (size_t)(dst - out), stdout);
    if (dst > out) zelsCRC32_8u(out, (int32_t)(dst - out), crc);
    *size += (uint32_t)(dst - out);
  } while (status == zelWarnDstFull || (status == zelWarnSrcShort && more()));
  return status;
}

static int fail(const char* why, zelStatus status) {
  fprintf(stderr, "%s (status %d)\n", why, (int)status);
  return 1;
}

int main(void) {
  zelLZ77State* state;
  uint32_t crc = 0, size = 0;
  if (!skip_header()) return fail("not a gzip file", zelOk);
  zelStatus status = zelsDecodeLZ77InitAlloc_8u(0, &state);
  if (status != zelOk) return fail("no memory", status);
  while ((status = decode_block(state, &crc, &size)) == zelOk) continue;
  zelsLZ77Free_8u(state);
  if (status != zelWarnStreamEnd) return fail("broken or cut off", status);
  if (number(4) != crc || number(4) != size || cut_off) return fail("wrong checksum or size", zelOk);
  return ferror(stdout) || fflush(stdout) ? 1 : 0;
}
