/*
 * Generalized interval transformation: blocks of bytes by the intervals between occurrences of each value.
 *
 * The 256 byte values stand in a row, 255 leftmost and 0 rightmost at first. Each occurrence of a value is coded as its
 * interval: how many bytes that stand to its right in the row have occurred since its own last occurrence. The value at
 * the right end, which is always 0, is implied by the others: only the number of its occurrences is coded. Each value
 * has a bit stream of its own, in which its intervals stand in an adaptive Golomb-Rice code, and so adapts to how often
 * and how evenly it occurs.
 *
 * What a block becomes is a container: for each byte value from 255 down to 0 the length of its stream in bytes, 4
 * bytes of which the most significant comes first, and then the stream. So it has at least 1280 bytes. It says neither
 * the block's size nor the strategy: the decoder must be told the strategy that the encoder had.
 *
 * The strategy decides whether the row changes while the block is read. Its values:
 *
 *   zelGITMoveLeft   frequent values move to the left. 0 means the same.
 *   zelGITMoveRight  frequent values move to the right
 *   zelGITStatic     the row stays as it is
 *   any other        the row stays as it is, but is primed as with the first two
 *
 * Priming: the block counts as if all 256 values had occurred once before it. That costs some 500 bytes, and gives each
 * stream a first interval before it meets its first byte.
 *
 * Encoding and decoding take a whole block in one call. No coding function allocates, and a record keeps nothing from
 * one block to the next but its limits.
 */
#ifndef ZELDC_GIT_H
#define ZELDC_GIT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Strategies: see above. */
enum { zelGITMoveLeft = 1, zelGITMoveRight = 2, zelGITStatic = 3 };

/* The encoder's record. Its size comes from zelsEncodeGITGetSize_8u. */
typedef struct zelGITEncodeState zelGITEncodeState;

/*
 * The size of an encoder's record: 256 times maxSrcLen, and maxDstLen, each without its last three bits, and 33912
 * bytes. Of that much the encoder touches only what the streams really take.
 *
 * maxSrcLen      bytes that a block may have, at least 1. Below 4096 it counts as 4096, and maxDstLen as 8192, whatever
 *                it is.
 * maxDstLen      bytes that a container may have, at least 1. Random bytes take 6 % more than their size, and 1024
 *                bytes for the lengths; 4096 of them take 1700 more than their size.
 * pSize  [out]   bytes
 *
 * zelOk           done
 * zelWarnDstFull  done, with the limits raised to 4096 and 8192
 * zelErrNullPtr   pSize is null
 * zelErrSize      maxSrcLen or maxDstLen is below 1, or the size is beyond 31 bits
 */
ZELDC_API zelStatus zelsEncodeGITGetSize_8u(int32_t maxSrcLen, int32_t maxDstLen, int32_t* pSize);

/*
 * Makes a record ready for blocks and containers of up to the given sizes, which are raised as for
 * zelsEncodeGITGetSize_8u.
 *
 * maxSrcLen       bytes that a block may have, at least 1
 * maxDstLen       bytes that a container may have, at least 1
 * pState  [out]   as many bytes as zelsEncodeGITGetSize_8u says, at any multiple of 4
 *
 * zelOk           done
 * zelWarnDstFull  done, with the limits raised to 4096 and 8192
 * zelErrNullPtr   pState is null
 * zelErrSize      maxSrcLen or maxDstLen is below 1, or the size is beyond 31 bits
 */
ZELDC_API zelStatus zelsEncodeGITInit_8u(int32_t maxSrcLen, int32_t maxDstLen, zelGITEncodeState* pState);

/*
 * Allocates a record and makes it ready as zelsEncodeGITInit_8u does. Release it with zelsGITFree_8u.
 *
 * maxSrcLen        bytes that a block may have, at least 1
 * maxDstLen        bytes that a container may have, at least 1
 * ppState  [out]   the record, null without memory; left alone with wrong lengths
 *
 * zelOk           done
 * zelWarnDstFull  done, with the limits raised to 4096 and 8192: there is a record
 * zelErrSize      maxSrcLen or maxDstLen is below 1, or the size is beyond 31 bits
 * zelErrNullPtr   ppState is null, found after zelErrSize
 * zelErrNoMem     there is no memory
 */
ZELDC_API zelStatus zelsEncodeGITInitAlloc_8u(int32_t maxSrcLen, int32_t maxDstLen, zelGITEncodeState** ppState);

/*
 * Encodes a block.
 *
 * pSrc     [in]      srcLen bytes
 * srcLen             bytes, 0 to the record's maxSrcLen
 * pDst     [out]     room for a container; as many bytes as the record's maxDstLen are always enough
 * pDstLen  [out]     bytes of the container. What it holds before the call does not matter: it is no limit.
 * strategy           see above
 * pState   [in,out]  a record that Init or InitAlloc made
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst, pDstLen or pState is null
 * zelErrSize     srcLen is below 0 or more than maxSrcLen; or the container has more than maxDstLen bytes. Nothing has
 *                been written, *pDstLen included.
 */
ZELDC_API zelStatus zelsEncodeGIT_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                                     int32_t strategy, zelGITEncodeState* pState);

/* The decoder's record. Its size comes from zelsDecodeGITGetSize_8u. */
typedef struct zelGITDecodeState zelGITDecodeState;

/*
 * The size of a decoder's record: 256 times maxLen without its last three bits, and 28824 bytes. The decoder reads
 * the streams where they stand, so a record for 1 byte decodes containers of any size.
 *
 * maxLen         bytes, at least 1
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrSize     maxLen is below 1, or the size is beyond 31 bits
 */
ZELDC_API zelStatus zelsDecodeGITGetSize_8u(int32_t maxLen, int32_t* pSize);

/*
 * Makes a record ready for blocks of up to maxDstLen bytes.
 *
 * maxDstLen       bytes that a decoded block may have, at least 1
 * pState  [out]   as many bytes as zelsDecodeGITGetSize_8u says, at any multiple of 4
 *
 * zelOk          done
 * zelErrNullPtr  pState is null
 * zelErrSize     maxDstLen is below 1
 */
ZELDC_API zelStatus zelsDecodeGITInit_8u(int32_t maxDstLen, zelGITDecodeState* pState);

/*
 * Allocates a record and makes it ready as zelsDecodeGITInit_8u does. Release it with zelsGITFree_8u.
 *
 * maxLen           as for zelsDecodeGITGetSize_8u
 * maxDstLen        bytes that a decoded block may have, at least 1
 * ppState  [out]   the record, null without memory; left alone with wrong lengths
 *
 * zelOk          done
 * zelErrNullPtr  ppState is null, or there is no memory
 * zelErrSize     maxLen or maxDstLen is below 1, or the size is beyond 31 bits
 */
ZELDC_API zelStatus zelsDecodeGITInitAlloc_8u(int32_t maxLen, int32_t maxDstLen, zelGITDecodeState** ppState);

/*
 * Decodes a container. Any bytes are one: a stream ends where it has no more complete interval, or where the source
 * ends, and the block ends when no stream goes on. What is damaged gives another block, or a longer or shorter one.
 *
 * pSrc     [in]      srcLen bytes
 * srcLen             bytes; below 1 the source is empty. What stands behind the last stream is not looked at.
 * pDst     [out]     room for the block: maxDstLen bytes are always enough
 * pDstLen  [out]     bytes of the block, 0 also for a container that does not even hold the 256 bytes of priming.
 *                    What it holds before the call does not matter.
 * strategy           the encoder's
 * pState   [in,out]  a record that Init or InitAlloc made
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst, pDstLen or pState is null
 * zelErrSize     the block has more than maxDstLen bytes. So many are in pDst; *pDstLen has been left alone.
 */
ZELDC_API zelStatus zelsDecodeGIT_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                                     int32_t strategy, zelGITDecodeState* pState);

#ifdef __cplusplus
}
#endif

#endif
