/* The public interface from C: a few bytes through the encoder and the decoder. */

#include <stdio.h>
#include <string.h>

#include "zelcore.h"
#include "zeldc.h"

#define CHECK(condition)                                          \
  if (!(condition)) {                                             \
    fprintf(stderr, "line %d: %s fails\n", __LINE__, #condition); \
    return 1;                                                     \
  }

int main(void) {
  char text[] = "tick, tock, tick, tock, tick, tock, tick, tock";
  uint8_t stream[200], back[200];
  zelLZ77State* encoder = NULL;
  zelLZ77State* decoder = NULL;
  CHECK(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelBest, zelLZ77CheckNone, &encoder) == zelOk);
  CHECK(zelsDecodeLZ77InitAlloc_8u(0, &decoder) == zelOk);

  zelLZ77Pair* pairs = NULL;
  int32_t pairs_pos = 0, pairs_len = 0;
  CHECK(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, encoder) == zelOk);
  CHECK(zelsEncodeLZ77GetPairs_8u(&pairs, &pairs_pos, &pairs_len, encoder) == zelOk);
  zelLZ77Pair* next_pair = pairs;
  uint8_t* src = (uint8_t*)text;
  int32_t src_len = (int32_t)sizeof(text);
  CHECK(zelsEncodeLZ77_8u(&src, &src_len, &next_pair, &pairs_len, zelLZ77FlushFinal, encoder) == zelOk);
  int32_t count = (int32_t)(next_pair - pairs);
  CHECK(zelsEncodeLZ77SetPairs_8u(pairs, count, zelLZ77MaxPairs, encoder) == zelOk);
  CHECK(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, encoder) == zelOk);
  uint8_t* dst = stream;
  int32_t room = (int32_t)sizeof(stream);
  CHECK(zelsEncodeLZ77FixedHuff_8u(&pairs, &count, &dst, &room, zelLZ77FlushFinal, encoder) == zelWarnStreamEnd);
  const int32_t stream_len = (int32_t)(dst - stream);
  CHECK(stream_len < (int32_t)sizeof(text));

  const uint8_t* in = stream;
  int32_t in_len = stream_len, type = -1;
  dst = back;
  room = (int32_t)sizeof(back);
  CHECK(zelsDecodeLZ77GetBlockType_8u(&in, &in_len, &type, decoder) == zelOk);
  CHECK(type == zelLZ77HuffFixed);
  CHECK(zelsDecodeLZ77FixedHuffFull_8u(&in, &in_len, &dst, &room, zelLZ77FlushNone, decoder) == zelWarnStreamEnd);
  CHECK(dst - back == (int)sizeof(text) && memcmp(back, text, sizeof(text)) == 0);

  CHECK(zelsLZ77Free_8u(encoder) == zelOk);
  CHECK(zelsLZ77Free_8u(decoder) == zelOk);
  return 0;
}
