// The four exported checksums.

#include "zeldc/checksum.h"

#include "checksum/adler32.h"
#include "checksum/crc.h"

extern "C" {

zelStatus zelsAdler32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pChecksum) {
  if (!pChecksum) return zelErrNullPtr;
  if (!pSrc) {
    *pChecksum = 1;
    return zelOk;
  }
  *pChecksum = ownAdler32(*pChecksum, pSrc, len > 0 ? static_cast<size_t>(len) : 0);
  return zelOk;
}

zelStatus zelsCRC32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pChecksum) {
  if (!pSrc || !pChecksum) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  *pChecksum = ~ownCrc32(~*pChecksum, pSrc, static_cast<size_t>(len));
  return zelOk;
}

zelStatus zelsCRC32C_8u(const uint8_t* pSrc, uint32_t len, uint32_t* pChecksum) {
  if (!pSrc || !pChecksum) return zelErrNullPtr;
  if (len == 0) return zelErrSize;
  *pChecksum = ownCrc32c(*pChecksum, pSrc, len);
  return zelOk;
}

zelStatus zelsCRC32_BZ2_8u(const uint8_t* pSrc, int32_t len, uint32_t* pChecksum) {
  if (!pSrc || !pChecksum) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  *pChecksum = ~ownCrc32Bzip2(~*pChecksum, pSrc, static_cast<size_t>(len));
  return zelOk;
}

}  // extern "C"
