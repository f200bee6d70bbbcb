/* The inner steps of Deflate for callers that own the rest: matches, items to bits with a plain code, and back. */

#include "check.h"

enum { kWindow = 32768, kHash = 4096, kDictionary = 300, kItems = kTextLen, kLiterals = 286, kDistances = 30 };

PER_THREAD uint8_t window[kWindow], literals[kItems], stream[6 * kItems];
PER_THREAD uint16_t distances[kItems], code_lens[kLiterals + kDistances];
PER_THREAD zelDeflateHuffCode literal_codes[kLiterals], distance_codes[kDistances];
PER_THREAD int32_t head[kHash], chain[kWindow], literal_freq[kLiterals], distance_freq[kDistances];

/* Canonical codes (RFC 1951 section 3.2.2) of lengths that fill the code: the first symbols' are one bit shorter. */
static void MakeCodes(int32_t count, int32_t bits, zelDeflateHuffCode* codes, uint16_t* lens) {
  const int32_t shorter = (1 << bits) - count;
  int32_t i, k;
  for (i = 0; i < count; ++i) {
    const int32_t len = i < shorter ? bits - 1 : bits;
    int32_t code = i < shorter ? i : i + shorter, reversed = 0;
    for (k = 0; k < len; ++k, code >>= 1) reversed = reversed << 1 | (code & 1);
    codes[i].code = (uint16_t)reversed;
    codes[i].lenBits = (uint16_t)len;
    lens[i] = (uint16_t)len;
  }
}

void CallOneCallDeflate(void) {
  PER_THREAD uint8_t back[kTextLen];
  PER_THREAD zelInflateState state;
  uint8_t *src = sampleText + kDictionary, *dst = back;
  const uint8_t* in = stream;
  uint16_t code = 0;
  uint32_t bit_buffer = 0, bit_count = 0, in_len, room = sizeof(back);
  int32_t i, len = kTextLen - kDictionary, index = kDictionary, items_left = kItems, items, filled = 0, bits = 0;
  int32_t mode = zelInflateBlockEnd;
  for (i = 0; i < kHash; ++i) head[i] = -32768;
  for (i = 0; i < kWindow; ++i) chain[i] = -32768;

  CHECK(zelsDeflateDictionarySet_8u(sampleText, kDictionary, head, kHash, chain, window, kWindow, 6) == zelOk);
  CHECK(memcmp(window, sampleText, kDictionary) == 0);
  CHECK(zelsDeflateLZ77_8u(&src, &len, &index, window, kWindow, head, chain, kHash, literal_freq, distance_freq,
                           literals, distances, &items_left, 6, zelLZ77FlushFinal) == zelOk);
  CHECK(len == 0 && index == kTextLen);
  items = kItems - items_left;
  CHECK(items < kTextLen / 4);

  MakeCodes(kLiterals, 9, literal_codes, code_lens);
  MakeCodes(kDistances, 5, distance_codes, code_lens + kLiterals);
  CHECK(zelsDeflateHuff_8u(literals, distances, items, &code, &bits, literal_codes, distance_codes, stream, &filled) ==
        zelOk);
  /* The end of the block, symbol 256, and what is pending before it. */
  for (i = 0; i < literal_codes[256].lenBits; ++i) {
    code = (uint16_t)(code | (literal_codes[256].code >> i & 1) << bits);
    if (++bits == 8) {
      stream[filled++] = (uint8_t)code;
      code = 0;
      bits = 0;
    }
  }
  stream[filled++] = (uint8_t)code;

  memset(&state, 0xA5, sizeof(state));
  state.window = window;
  state.windowSize = kWindow;
  CHECK(zelsInflateBuildHuffTable(code_lens, kLiterals, kDistances, &state) == zelOk);
  in_len = (uint32_t)filled;
  CHECK(zelsInflate_8u(&in, &in_len, &bit_buffer, &bit_count, kDictionary, &dst, &room, 0, &mode, &state) == zelOk);
  CHECK(mode == zelInflateBlockEnd && in_len == 0);
  CHECK(dst - back == kTextLen - kDictionary && memcmp(back, sampleText + kDictionary, (size_t)(dst - back)) == 0);
}
