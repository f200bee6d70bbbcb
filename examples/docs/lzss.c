/* Pieces of data to one stream and back; the stream's length and the data's are the caller's to keep. */
#include <string.h>
#include <zeldc.h>

enum { kSize = 50000, kPiece = 8000 };
static uint8_t text[kSize], stream[(kSize * 9 + 7) / 8 + 1], back[kSize];

int main(void) {
  for (int i = 0; i < kSize; ++i) text[i] = (uint8_t)("to and fro, to and fro. "[i % 24] + i / 5000);

  zelLZSSState *encoder = NULL, *decoder = NULL;
  uint8_t* dst = stream;
  int32_t room = sizeof stream;
  if (zelsEncodeLZSSInitAlloc_8u(&encoder) != zelOk) return 1;
  for (int32_t at = 0; at < kSize; at += kPiece) {
    uint8_t* src = text + at;
    int32_t left = kSize - at < kPiece ? kSize - at : kPiece;
    if (zelsEncodeLZSS_8u(&src, &left, &dst, &room, encoder) != zelOk) return 1;
  }
  if (zelsEncodeLZSSFlush_8u(&dst, &room, encoder) != zelOk) return 1;
  zelsLZSSFree_8u(encoder);

  uint8_t *src = stream, *to = back;
  int32_t left = (int32_t)(dst - stream), back_left = kSize;
  if (zelsDecodeLZSSInitAlloc_8u(&decoder) != zelOk) return 1;
  if (zelsDecodeLZSS_8u(&src, &left, &to, &back_left, decoder) != zelWarnDstFull)
    return 1; /* all of the room is used */
  zelsLZSSFree_8u(decoder);
  return back_left != 0 || memcmp(back, text, kSize) != 0;
}
