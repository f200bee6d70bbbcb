/* Variable-length codes: values to bits and back, and values in tuples. */

#include "check.h"

static const zelVLCCode kCodes[] = {{-3, 0, 1}, {0, 2, 2}, {5, 6, 3}, {9, 7, 3}}; /* 0, 10, 110, 111 */
static const int32_t kWidths[] = {2, 1};
static const int16_t kValues[] = {5, -3, 9, 0, 0, -3};
enum { kValueCount = 6, kBits = 3 + 1 + 3 + 2 + 2 + 1 };

static int32_t BitsBetween(const uint8_t* from, const uint8_t* to, int32_t offset) {
  return (int32_t)(to - from) * 8 + offset;
}

static void CallEncoderOfCodes(uint8_t* bits, uint8_t* bits_again) {
  zelVLCEncodeState *record, *allocated = NULL;
  uint8_t* at = bits;
  int32_t i, size = 0, offset = 0, count = 0;
  CHECK(zelsVLCEncodeGetSize_32s(kCodes, 4, &size) == zelOk);
  record = DirtyMemory(size);
  CHECK(zelsVLCEncodeInit_32s(kCodes, 4, record) == zelOk);
  CHECK(zelsVLCEncodeInitAlloc_32s(kCodes, 4, &allocated) == zelOk);
  CHECK(zelsVLCCountBits_16s32s(kValues, kValueCount, &count, record) == zelOk && count == kBits);
  CHECK(zelsVLCEncodeBlock_16s1u(kValues, kValueCount, &at, &offset, record) == zelOk);
  CHECK(BitsBetween(bits, at, offset) == kBits);
  CHECK(bits[0] == 0xCF && (bits[1] & 0xF0) == 0x40); /* 110 0 111 1 | 0 10 0 .... */
  at = bits_again;
  offset = 0;
  for (i = 0; i < kValueCount; ++i) CHECK(zelsVLCEncodeOne_16s1u(kValues[i], &at, &offset, allocated) == zelOk);
  CHECK(bits_again[0] == bits[0] && bits_again[1] == bits[1]);
  zelsVLCEncodeFree_32s(record);
  free(record);
  zelsVLCEncodeFree_32s(allocated);
}

static void CallDecoderOfCodes(uint8_t* bits) {
  zelVLCDecodeState *record, *allocated = NULL;
  int16_t values[kValueCount] = {0};
  uint8_t* at = bits;
  int32_t size = 0, offset = 0;
  CHECK(zelsVLCDecodeGetSize_32s(kCodes, 4, kWidths, 2, &size) == zelOk);
  record = DirtyMemory(size);
  CHECK(zelsVLCDecodeInit_32s(kCodes, 4, kWidths, 2, record) == zelOk);
  CHECK(zelsVLCDecodeInitAlloc_32s(kCodes, 4, kWidths, 2, &allocated) == zelOk);
  CHECK(zelsVLCDecodeOne_1u16s(&at, &offset, values, allocated) == zelOk);
  CHECK(values[0] == 5 && BitsBetween(bits, at, offset) == 3);
  CHECK(zelsVLCDecodeBlock_1u16s(&at, &offset, values + 1, kValueCount - 1, record) == zelOk);
  CHECK(memcmp(values, kValues, sizeof(values)) == 0 && BitsBetween(bits, at, offset) == kBits);
  zelsVLCDecodeFree_32s(record);
  free(record);
  zelsVLCDecodeFree_32s(allocated);
}

/* Pairs of elements of two bits: 5 is 01 01, 9 is 10 01, 0 is none. Signs follow the code of each that is not 0. */
static void CallDecoderOfTuples(uint8_t* words) {
  static const zelVLCCode kPairs[] = {{0, 0, 1}, {5, 2, 2}, {9, 3, 2}};
  static const int32_t kPairWidths[] = {2};
  static const int16_t kExpected[] = {1, -1, 0, 0, -2, 1};
  zelVLCDecodeState *record, *allocated = NULL;
  int16_t values[6] = {7, 7, 7, 7, 7, 7};
  uint8_t* at = words;
  int32_t size = 0, offset = 0;
  words[0] = 0x97; /* 10 0 1, then 0, then 11 1 and the sign in the next byte */
  words[1] = 0x00; /* 0 of the last sign */
  CHECK(zelsVLCDecodeUTupleGetSize_32s(kPairs, 3, kPairWidths, 1, 2, 2, &size) == zelOk);
  record = DirtyMemory(size);
  CHECK(zelsVLCDecodeUTupleInit_32s(kPairs, 3, kPairWidths, 1, 2, 2, record) == zelOk);
  CHECK(zelsVLCDecodeUTupleInitAlloc_32s(kPairs, 3, kPairWidths, 1, 2, 2, &allocated) == zelOk);
  CHECK(zelsVLCDecodeUTupleOne_1u16s(&at, &offset, values, allocated) == zelOk);
  CHECK(BitsBetween(words, at, offset) == 4);
  CHECK(zelsVLCDecodeUTupleBlock_1u16s(&at, &offset, values + 2, 2, record) == zelOk);
  CHECK(memcmp(values, kExpected, sizeof(values)) == 0 && BitsBetween(words, at, offset) == 9);
  zelsVLCDecodeUTupleFree_32s(record);
  free(record);
  zelsVLCDecodeUTupleFree_32s(allocated);
}

void CallVariableLengthCodes(void) {
  uint32_t words[4] = {0}, words_again[4] = {0};
  CallEncoderOfCodes((uint8_t*)words, (uint8_t*)words_again);
  CallDecoderOfCodes((uint8_t*)words);
  CallDecoderOfTuples((uint8_t*)words);
}
