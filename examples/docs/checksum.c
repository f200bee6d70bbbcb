/* All four checksums of one text that arrives in two pieces, held against the published check values. */
#include <string.h>
#include <zeldc.h>

int main(void) {
  const uint8_t* text = (const uint8_t*)"123456789";
  const int32_t cut = 4, rest = 5;
  uint32_t adler = 1;             /* a fresh Adler-32 starts from 1, */
  uint32_t crc = 0, bz2 = 0;      /* the finished CRCs from 0, */
  uint32_t crc32c = ~(uint32_t)0; /* and the raw register of CRC-32C from ones */

  if (zelsAdler32_8u(text, cut, &adler) != zelOk || zelsAdler32_8u(text + cut, rest, &adler) != zelOk) return 1;
  if (zelsCRC32_8u(text, cut, &crc) != zelOk || zelsCRC32_8u(text + cut, rest, &crc) != zelOk) return 1;
  if (zelsCRC32C_8u(text, 4, &crc32c) != zelOk || zelsCRC32C_8u(text + cut, 5, &crc32c) != zelOk) return 1;
  if (zelsCRC32_BZ2_8u(text, cut, &bz2) != zelOk || zelsCRC32_BZ2_8u(text + cut, rest, &bz2) != zelOk) return 1;

  if (adler != 0x091E01DE) return 1;
  if (crc != 0xCBF43926) return 1;
  if (~crc32c != 0xE3069283) return 1; /* inverted at the very end */
  if (bz2 != 0xFC891918) return 1;

  /* No bytes at all: Adler-32 takes them, the CRCs say that there is nothing to do. */
  if (zelsAdler32_8u(text, 0, &adler) != zelOk || adler != 0x091E01DE) return 1;
  return zelsCRC32_8u(text, 0, &crc) != zelErrSize || crc != 0xCBF43926;
}
