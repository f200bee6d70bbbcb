/*
 * The Burrows-Wheeler transform: the last column of a block's sorted rotations, and back.
 *
 * M. Burrows and D. J. Wheeler, A Block-sorting Lossless Data Compression Algorithm, SRC Research Report 124, 1994.
 *
 * Rotation i of a block of len bytes is the block read from byte i to its end and on from its start to byte i - 1.
 * Rotations are compared as unsigned bytes. The transform is the last byte of each rotation in sorted order, and the
 * index is the row at which rotation 0 stands. In a periodic block rotations repeat; the index is then any of the
 * equal rows, and each gives the same block back.
 *
 * The small-block functions do the same for blocks of at most 32768 bytes in less memory. No function allocates.
 */
#ifndef ZELDC_BWT_H
#define ZELDC_BWT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The size of the working buffer of zelsBWTFwd_8u: 6 * len + 70145 bytes.
 *
 * len            bytes in the block, at least 1
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrSize     len is below 1, or the size does not fit 31 bits
 */
ZELDC_API zelStatus zelsBWTFwdGetSize_8u(int32_t len, int32_t* pSize);

/*
 * Transforms a block.
 *
 * pSrc     [in]   len bytes
 * pDst     [out]  len bytes; must overlap neither pSrc nor pBuffer
 * len             bytes in the block, at least 1
 * pIndex   [out]  the row of rotation 0, below len
 * pBuffer         as many bytes as zelsBWTFwdGetSize_8u says, at any address; what it held does not matter
 *
 * Takes time nearly linear in len, however repetitive the block is.
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst, pIndex or pBuffer is null
 * zelErrSize     len is below 1, or the size of its working buffer does not fit 31 bits
 */
ZELDC_API zelStatus zelsBWTFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t* pIndex, uint8_t* pBuffer);

/*
 * The size of the working buffer of zelsBWTFwd_SmallBlock_8u and zelsBWTInv_SmallBlock_8u: 4 * len + 2080 bytes.
 *
 * len            bytes in the block, 1 to 32768
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrSize     len is below 1 or above 32768
 */
ZELDC_API zelStatus zelsBWTGetSize_SmallBlock_8u(int32_t len, int32_t* pSize);

/*
 * Transforms a block of at most 32768 bytes. The output is that of zelsBWTFwd_8u.
 *
 * pSrc     [in]   len bytes
 * pDst     [out]  len bytes; must overlap neither pSrc nor pBuffer
 * len             bytes in the block, 1 to 32768
 * pIndex   [out]  the row of rotation 0, below len
 * pBuffer         as many bytes as zelsBWTGetSize_SmallBlock_8u says, at any address
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst, pIndex or pBuffer is null
 * zelErrSize     len is below 1 or above 32768
 */
ZELDC_API zelStatus zelsBWTFwd_SmallBlock_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t* pIndex,
                                             uint8_t* pBuffer);

/*
 * The size of the working buffer of zelsBWTInv_8u: 4 * len + 1024 bytes.
 *
 * len            bytes in the block, not checked but for the size's own sake
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrSize     the size does not fit 31 bits
 */
ZELDC_API zelStatus zelsBWTInvGetSize_8u(uint32_t len, int32_t* pSize);

/*
 * Rebuilds a block from its transform.
 *
 * pSrc     [in]   len bytes: the last column
 * pDst     [out]  len bytes; must overlap neither pSrc nor pBuffer
 * len             bytes in the block, at least 1
 * index           the row of rotation 0, from 0 to len - 1
 * pBuffer         as many bytes as zelsBWTInvGetSize_8u says, at any address; what it held does not matter
 *
 * A column that is no block's transform gives len bytes of it in some order, some of them repeated. A block of one byte
 * is copied, and a call with len below 1 is refused, without a look at index and pBuffer.
 *
 * zelOk          done
 * zelErrNullPtr  pSrc or pDst is null, or pBuffer is null with len at least 2
 * zelErrSize     len is below 1 or the size of its working buffer does not fit 31 bits, or index is not a row of the
 *                block
 */
ZELDC_API zelStatus zelsBWTInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t index, uint8_t* pBuffer);

/*
 * Rebuilds a block of at most 32768 bytes from its transform.
 *
 * pSrc     [in]   len bytes: the last column
 * pDst     [out]  len bytes; must overlap neither pSrc nor pBuffer
 * len             bytes in the block, 1 to 32768
 * index           the row of rotation 0, from 0 to len - 1
 * pBuffer         as many bytes as zelsBWTGetSize_SmallBlock_8u says, at any address
 *
 * Otherwise like zelsBWTInv_8u.
 *
 * zelOk          done
 * zelErrNullPtr  pSrc or pDst is null, or pBuffer is null with len at least 2
 * zelErrSize     len is below 1 or above 32768, or index is not a row of the block
 */
ZELDC_API zelStatus zelsBWTInv_SmallBlock_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t index,
                                             uint8_t* pBuffer);

#ifdef __cplusplus
}
#endif

#endif
