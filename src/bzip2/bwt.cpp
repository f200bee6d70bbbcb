// The exported functions of the Burrows-Wheeler transform.

#include "zeldc/bwt.h"

#include "bzip2/bwt_forward.h"
#include "bzip2/bwt_inverse.h"
#include "core/vector_primitives.h"

namespace {

constexpr int32_t kSmallBlock = 32768;
// Of which the working buffers' sizes fit 31 bits.
constexpr int32_t kMaxForward = (INT32_MAX - 70145) / 6;
constexpr int32_t kMaxInverse = (INT32_MAX - 1024) / 4;

}  // namespace

extern "C" {

zelStatus zelsBWTFwdGetSize_8u(int32_t len, int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  if (len < 1 || len > kMaxForward) return zelErrSize;
  *pSize = 6 * len + 70145;
  return zelOk;
}

zelStatus zelsBWTFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t* pIndex, uint8_t* pBuffer) {
  if (!pSrc || !pDst || !pIndex || !pBuffer) return zelErrNullPtr;
  if (len < 1 || len > kMaxForward) return zelErrSize;
  *pIndex = static_cast<int32_t>(ownBWTFwd(pSrc, pDst, static_cast<uint32_t>(len), pBuffer));
  return zelOk;
}

zelStatus zelsBWTGetSize_SmallBlock_8u(int32_t len, int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  if (len < 1 || len > kSmallBlock) return zelErrSize;
  *pSize = 4 * len + 2080;
  return zelOk;
}

zelStatus zelsBWTFwd_SmallBlock_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t* pIndex, uint8_t* pBuffer) {
  if (!pSrc || !pDst) return zelErrNullPtr;
  if (!pIndex || !pBuffer) return zelErrNullPtr;
  if (len < 1 || len > kSmallBlock) return zelErrSize;
  *pIndex = static_cast<int32_t>(ownBWTFwdSmallBlock(pSrc, pDst, static_cast<uint32_t>(len), pBuffer));
  return zelOk;
}

zelStatus zelsBWTInvGetSize_8u(uint32_t len, int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  if (len > kMaxInverse) return zelErrSize;
  *pSize = static_cast<int32_t>(4 * len + 1024);
  return zelOk;
}

zelStatus zelsBWTInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t index, uint8_t* pBuffer) {
  if (len < 2) return zelsCopy_8u(pSrc, pDst, len);
  if (!pSrc || !pDst || !pBuffer) return zelErrNullPtr;
  if (index < 0 || index >= len || len > kMaxInverse) return zelErrSize;
  ownBWTInv(pSrc, pDst, static_cast<uint32_t>(len), static_cast<uint32_t>(index), pBuffer);
  return zelOk;
}

zelStatus zelsBWTInv_SmallBlock_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t index, uint8_t* pBuffer) {
  if (len < 2) return zelsCopy_8u(pSrc, pDst, len);
  if (!pSrc || !pDst || !pBuffer) return zelErrNullPtr;
  if (index < 0 || index >= len || len > kSmallBlock) return zelErrSize;
  ownBWTInv(pSrc, pDst, static_cast<uint32_t>(len), static_cast<uint32_t>(index), pBuffer);
  return zelOk;
}

}  // extern "C"
