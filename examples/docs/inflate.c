/* A raw Deflate stream (RFC 1951) to bytes, through small buffers: any length, in a fixed amount of memory. */
#include <stdio.h>
#include <zeldc.h>

static const uint8_t* src;
static int32_t left, count, wrong;

static zelStatus decode(int32_t type, uint8_t** dst, int32_t* room, zelLZ77State* s) {
  if (type == zelLZ77HuffStored) return zelsDecodeLZ77StoredBlock_8u(&src, &left, dst, room, s);
  if (type == zelLZ77HuffFixed) return zelsDecodeLZ77FixedHuffFull_8u(&src, &left, dst, room, zelLZ77FlushNone, s);
  if (type == zelLZ77HuffDynamic) return zelsDecodeLZ77DynamicHuffFull_8u(&src, &left, dst, room, zelLZ77FlushNone, s);
  return zelErrBadData; /* the reserved type leaves the variable alone */
}

static void take(const uint8_t* bytes, int32_t n) {
  for (; n > 0; --n, ++count) wrong |= *bytes++ != (uint8_t)("tick, tock, "[count % 12] + count / 7919 % 3);
}

int main(void) {
  static uint8_t in[500], out[700];
  zelLZ77State* state = NULL;
  zelStatus status = zelsDecodeLZ77InitAlloc_8u(0, &state);
  int32_t type = -1;
  int inside = 0; /* a block, or before the header of one */
  while (status >= 0 && status != zelWarnStreamEnd) {
    if (left == 0) {
      src = in;
      left = (int32_t)fread(in, 1, sizeof in, stdin);
    }
    const int cut_off = left == 0;
    uint8_t* dst = out;
    int32_t room = sizeof out;
    if (!inside) type = -1;
    status = inside ? decode(type, &dst, &room, state) : zelsDecodeLZ77GetBlockType_8u(&src, &left, &type, state);
    take(out, (int32_t)(dst - out));
    if (status == zelOk) inside = !inside;
    if (status == zelWarnSrcShort && cut_off) break;
  }
  zelsLZ77Free_8u(state);
  return status != zelWarnStreamEnd || wrong || count != 300000;
}
