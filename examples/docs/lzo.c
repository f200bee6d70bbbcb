/* A buffer compressed by all threads that the library may use, and a decoder that trusts nothing. */
#include <stdlib.h>
#include <string.h>
#include <zelcore.h>
#include <zeldc.h>

enum { kSize = 1000000 };
static uint8_t text[kSize], back[kSize];

int main(void) {
  for (int i = 0; i < kSize; ++i) text[i] = (uint8_t)("step by step "[i % 13] + i % 1009 / 500);
  const uint32_t room = kSize + kSize / 16 + 67 + 4 * (uint32_t)ownGetNumThreads() + 1;
  uint8_t* packed = malloc(room);
  int32_t record_size = 0;
  uint32_t size = 0, back_size = kSize;
  if (packed == NULL || zelsEncodeLZOGetSize(zelLZOMethodParallel, kSize, &record_size) != zelOk) return 1;
  zelLZOState* state = malloc((size_t)record_size);
  if (state == NULL || zelsEncodeLZOInit_8u(zelLZOMethodParallel, kSize, state) != zelOk) return 1;
  if (zelsEncodeLZO_8u(text, kSize, packed, &size, state) != zelOk) return 1;

  if (zelsDecodeLZOSafe_8u(packed, size, back, &back_size) != zelOk) return 1;
  if (back_size != kSize || memcmp(back, text, kSize) != 0) return 1;

  /* A stream that is cut off, and room that does not suffice, are errors, and nothing is written behind the room. */
  if (zelsDecodeLZOSafe_8u(packed, size - 1, back, &back_size) != zelErrLzoBroken) return 1;
  back_size = kSize - 1;
  if (zelsDecodeLZOSafe_8u(packed, size, back, &back_size) != zelErrLzoBroken) return 1;
  free(state);
  free(packed);
  return 0;
}
