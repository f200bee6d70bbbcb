/* The bytes of a text renumbered densely, and back. */
#include <string.h>
#include <zeldc.h>

int main(void) {
  const char text[] = "abracadabra";
  const int32_t size = (int32_t)strlen(text);
  uint8_t in_use[256] = {0}, bytes[16];
  memcpy(bytes, text, sizeof text);
  for (int32_t i = 0; i < size; ++i) in_use[bytes[i]] = 1;

  int32_t values = 0;
  if (zelsReduceDictionary_8u_I(in_use, bytes, size, &values) != zelOk || values != 5) return 1;
  const uint8_t numbers[] = {0, 1, 4, 0, 2, 0, 3, 0, 1, 4, 0}; /* a b r a c a d a b r a */
  if (memcmp(bytes, numbers, sizeof numbers) != 0) return 1;

  if (zelsExpandDictionary_8u_I(in_use, bytes, size, 4) != zelErr) return 1; /* of another table */
  if (zelsExpandDictionary_8u_I(in_use, bytes, size, values) != zelOk) return 1;
  return memcmp(bytes, text, sizeof text) != 0;
}
