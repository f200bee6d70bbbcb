/* The version record, and the checksums of "123456789" from their published definitions. */

#include "check.h"

void CallVersionAndChecksums(void) {
  static const uint8_t kDigits[] = "123456789";
  uint32_t sum = 1;
  const zelLibraryVersion* version = zeldcGetLibVersion();
  CHECK(version != NULL && version->major == 6 && version->name != NULL && version->version != NULL);
  CHECK(zeldcGetLibVersion() == version);

  CHECK(zelsAdler32_8u(kDigits, 9, &sum) == zelOk && sum == 0x091E01DEu);
  sum = 0;
  CHECK(zelsCRC32_8u(kDigits, 9, &sum) == zelOk && sum == 0xCBF43926u);
  sum = 0xFFFFFFFFu; /* the raw register */
  CHECK(zelsCRC32C_8u(kDigits, 9, &sum) == zelOk && ~sum == 0xE3069283u);
  sum = 0;
  CHECK(zelsCRC32_BZ2_8u(kDigits, 9, &sum) == zelOk && sum == 0xFC891918u);
}
