/*
 * LZSS: flagged literals and matches over a window of 32 KiB, with no codes to build. Encoder and decoder go on from
 * call to call, with any split of input and output.
 *
 * The stream, most significant bit first:
 *
 *   literal  the bit 1, then the byte: 9 bits
 *   match    the bit 0, then the distance in 15 bits (1..32767), then the length less 3 in 8 bits (3..258): 24 bits
 *
 * It has no header and no end marker: where it ends, and how many bytes it stands for, is the caller's to know. The
 * last byte is padded with zero bits.
 *
 *   zelsEncodeLZSSInitAlloc_8u                       zelsDecodeLZSSInitAlloc_8u
 *   zelsEncodeLZSS_8u for each piece of the data     zelsDecodeLZSS_8u for each piece of the stream
 *   zelsEncodeLZSSFlush_8u                           zelsLZSSFree_8u
 *   zelsLZSSFree_8u
 *
 * After J. A. Storer and T. G. Szymanski, "Data compression via textual substitution", 1982.
 */
#ifndef ZELDC_LZSS_H
#define ZELDC_LZSS_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The record of an encoder or of a decoder: of one size, but not of one make. It may be copied as bytes. */
typedef struct zelLZSSState zelLZSSState;

/*
 * The size of a record, of either direction.
 *
 * pSize  [out]  bytes: 327724 on every build
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 */
ZELDC_API zelStatus zelsLZSSGetSize_8u(int32_t* pSize);

/*
 * Make a record for a new stream in memory of the caller's.
 *
 * pState  [out]  GetSize bytes at an address that is a multiple of 4, of any content
 *
 * zelOk          done
 * zelErrNullPtr  pState is null
 */
ZELDC_API zelStatus zelsEncodeLZSSInit_8u(zelLZSSState* pState);
ZELDC_API zelStatus zelsDecodeLZSSInit_8u(zelLZSSState* pState);

/*
 * Allocate a record and make it as Init does. Release it by zelsLZSSFree_8u.
 *
 * ppState  [out]  the record; null when there is no memory
 *
 * zelOk          done
 * zelErrNullPtr  ppState is null
 * zelErrNoMem    there is no memory
 */
ZELDC_API zelStatus zelsEncodeLZSSInitAlloc_8u(zelLZSSState** ppState);
ZELDC_API zelStatus zelsDecodeLZSSInitAlloc_8u(zelLZSSState** ppState);

/*
 * Encodes a piece of the data.
 *
 * The last two bytes of what a call gets are literals that no match covers, so few large calls compress better than
 * many small ones. A stream takes at most 9 bits for each byte of the data: (n * 9 + 7) / 8 + 1 bytes of room are
 * always enough for n bytes and zelsEncodeLZSSFlush_8u.
 *
 * ppSrc    [in,out] bytes; moved behind those consumed
 * pSrcLen  [in,out] bytes left, at least 0
 * ppDst    [in,out] output; moved behind the bytes written. What follows them, within the room, may be overwritten.
 * pDstLen  [in,out] room left, in bytes, at least 0
 * pState   [in,out] the encoder's record. Up to 31 bits wait in it: fewer than 8, unless the room is filled.
 *
 * zelOk           all bytes are consumed, and there is room left; or there were no bytes
 * zelWarnDstFull  the room is filled, even if all bytes are consumed: a literal or match whose first bits still found
 *                 room counts as written. With no room at entry nothing is done.
 * zelErrNullPtr   an argument or *ppDst is null, or *ppSrc is null with bytes to read; nothing changed
 * zelErrSize      *pSrcLen or *pDstLen is below 0; nothing changed
 * zelErr          the record is no encoder's; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZSS_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                      zelLZSSState* pState);

/*
 * Writes the bits that wait, as whole bytes, the last of them padded with zero bits: the end of the stream.
 *
 * ppDst    [in,out] output; moved behind the bytes written
 * pDstLen  [in,out] room left, in bytes, at least 1
 * pState   [in,out] the encoder's record
 *
 * zelOk           the stream is complete. The bits stay in the record all the same: Init starts a new stream.
 * zelWarnDstFull  the room is filled, perhaps by the very last byte; what is written has left the record. Call again
 *                 with more.
 * zelErrNullPtr   an argument is null, or *ppDst with room for a byte; nothing changed
 * zelErrSize      *pDstLen is below 1; nothing changed
 * zelErr          the record is no encoder's; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZSSFlush_8u(uint8_t** ppDst, int32_t* pDstLen, zelLZSSState* pState);

/*
 * Decodes a piece of the stream.
 *
 * ppSrc    [in,out] bytes of the stream; moved behind those of which a bit was needed
 * pSrcLen  [in,out] bytes left, at least 0
 * ppDst    [in,out] output; moved behind the bytes written. What follows them, within the room, may be overwritten.
 * pDstLen  [in,out] room left, in bytes, at least 1
 * pState   [in,out] the decoder's record. It keeps a match that did not fit and goes on with it, without input if need
 *                   be, and up to 23 bits of a literal or match of which the rest is to come.
 *
 * zelOk           all input is consumed, and there is room left
 * zelWarnDstFull  the room is filled: call again with more, until the answer is zelOk or all of the data is there. Of
 *                 the padding at the end of the stream nothing is decoded.
 * zelErrBadData   a distance is 0, or larger than the number of bytes decoded so far. Everything before is written. The
 *                 match stays the next one: only Init helps.
 * zelErrSize      *pDstLen is below 1, or *pSrcLen below 0; nothing changed. Found before the null pointers that
 *                 follow.
 * zelErrNullPtr   pSrcLen or pDstLen is null (found first); another argument or *ppDst is null, or *ppSrc is null with
 *                 bytes to read; nothing changed
 * zelErr          the record is no decoder's; nothing changed
 */
ZELDC_API zelStatus zelsDecodeLZSS_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                      zelLZSSState* pState);

#ifdef __cplusplus
}
#endif

#endif
