/* A raw Deflate stream (RFC 1951) to bytes, through small buffers: any length, in a fixed amount of memory. */
#include <stdio.h>
#include <zeldc.h>

static uint8_t in[500], out[700];

/* Hands what it decodes to `take`; zelWarnStreamEnd when the stream was whole. */
static zelStatus inflate(FILE* file, void (*take)(const uint8_t*, int32_t)) {
  const uint8_t* src = in;
  int32_t left = 0, type = -1;
  zelLZ77State* state = NULL;
  zelStatus status = zelsDecodeLZ77InitAlloc_8u(0, &state);
  for (int inside = 0; status >= 0 && status != zelWarnStreamEnd;) {
    if (left == 0) {
      src = in;
      left = (int32_t)fread(in, 1, sizeof in, file);
    }
    uint8_t* dst = out;
    int32_t room = sizeof out;
    const int32_t had = left;
    if (!inside) {
      type = -1; /* which the reserved type leaves alone */
      status = zelsDecodeLZ77GetBlockType_8u(&src, &left, &type, state);
    } else if (type == zelLZ77HuffStored) {
      status = zelsDecodeLZ77StoredBlock_8u(&src, &left, &dst, &room, state);
    } else if (type == zelLZ77HuffFixed) {
      status = zelsDecodeLZ77FixedHuffFull_8u(&src, &left, &dst, &room, zelLZ77FlushNone, state);
    } else if (type == zelLZ77HuffDynamic) {
      status = zelsDecodeLZ77DynamicHuffFull_8u(&src, &left, &dst, &room, zelLZ77FlushNone, state);
    } else {
      status = zelErrBadData;
    }
    take(out, (int32_t)(dst - out));
    if (status == zelOk) inside = !inside;            /* a header leads into a block, a block's end out of it */
    if (status == zelWarnSrcShort && had == 0) break; /* cut off */
  }
  zelsLZ77Free_8u(state);
  return status;
}

static int32_t count, wrong;
static void compare(const uint8_t* bytes, int32_t n) {
  for (; n > 0; --n, ++count) wrong |= *bytes++ != (uint8_t)("tick, tock, "[count % 12] + count / 7919 % 3);
}

int main(int argc, char** argv) {
  FILE* file = argc > 1 ? fopen(argv[1], "rb") : stdin;
  return file == NULL || inflate(file, compare) != zelWarnStreamEnd || wrong || count != 300000;
}
