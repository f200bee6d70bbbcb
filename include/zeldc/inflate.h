/*
 * The stateful Deflate decoder (RFC 1951), one block at a time.
 *
 * A stream takes one of two ways from start to end:
 *
 *   Byte path: zelsDecodeLZ77GetBlockType_8u, then by the type it tells zelsDecodeLZ77StoredBlock_8u,
 *   zelsDecodeLZ77FixedHuffFull_8u or zelsDecodeLZ77DynamicHuffFull_8u, which write the bytes.
 *
 *   Pair path: zelsDecodeLZ77StoredHuff_8u (which reads the block's header itself: do not call GetBlockType before
 *   it), zelsDecodeLZ77FixedHuff_8u or zelsDecodeLZ77DynamicHuff_8u write pairs, and zelsDecodeLZ77_8u makes bytes of
 *   them. A decoder whose block type is not the next one answers zelErr and leaves the stream where it is, so a caller
 *   may try the three in turn.
 *
 * A decoder is called again with more input or room while it answers zelWarnSrcShort or zelWarnDstFull; at a block's
 * end it answers zelOk, at the end of the last block zelWarnStreamEnd, and then *ppSrc stands on the first byte behind
 * the Deflate data. zlib and gzip wrappers and checksums are the caller's business. No call writes more than its room,
 * so a limit on output is the caller's to set.
 *
 * Input is taken as far as it is needed. After zelWarnSrcShort all of it has been taken, and the bits of an unfinished
 * symbol wait in the record until a call goes on with it; otherwise at most 7 bits do. Bytes of the destination that
 * are not counted as written may hold scratch data.
 *
 * Malformed block data is zelErrSize. After an error the stream can't be resumed.
 */
#ifndef ZELDC_INFLATE_H
#define ZELDC_INFLATE_H

#include "lz77.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The size of a decoder's record.
 *
 * pSize [out] bytes: 112896 on every build
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 */
ZELDC_API zelStatus zelsDecodeLZ77GetSize_8u(int32_t* pSize);

/*
 * Makes a decoder's record in memory of the caller's.
 *
 * mode        kept in the record; no function reads it
 * pLZ77State  [out] GetSize bytes at an address that is a multiple of 4, of any content
 *
 * zelOk          done: no history, a block header is expected, the record's own array of 8192 pairs
 * zelErrNullPtr  pLZ77State is null
 */
ZELDC_API zelStatus zelsDecodeLZ77Init_8u(int32_t mode, zelLZ77State* pLZ77State);

/*
 * Allocates a decoder's record and makes it as zelsDecodeLZ77Init_8u does.
 *
 * mode         as there
 * ppLZ77State  [out] the record, to be released by zelsLZ77Free_8u; left as it was unless the result is zelOk
 *
 * zelOk          done
 * zelErrNullPtr  ppLZ77State is null
 * zelErrNoMem    no memory
 */
ZELDC_API zelStatus zelsDecodeLZ77InitAlloc_8u(int32_t mode, zelLZ77State** ppLZ77State);

/*
 * Starts a new stream: as Init, but mode is kept. The pairs array is the record's own again, its position 0.
 *
 * pLZ77State  [in,out] the record
 *
 * zelOk          done
 * zelErrNullPtr  pLZ77State is null
 */
ZELDC_API zelStatus zelsDecodeLZ77Reset_8u(zelLZ77State* pLZ77State);

/*
 * Gives the decoder the bytes that stand before the stream (the preset dictionary of RFC 1950), before its first block.
 *
 * pDict       [in]     bytes, of which the last 32768 count; fewer are preceded by zeros
 * dictLen              bytes in pDict, at least 1
 * pLZ77State  [in,out] a record that has not decoded anything yet
 *
 * zelOk          done: the history counts as 32768 bytes
 * zelErrNullPtr  a pointer is null; nothing changed
 * zelErrSize     dictLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsDecodeLZ77SetDictionary_8u(const uint8_t* pDict, int32_t dictLen, zelLZ77State* pLZ77State);

/*
 * Stores the status word; decoding neither reads nor changes it.
 *
 * status               any value
 * pLZ77State  [in,out] the record
 *
 * zelOk          done
 * zelErrNullPtr  pLZ77State is null
 */
ZELDC_API zelStatus zelsDecodeLZ77SetStatus_8u(zelLZ77DeflateStatus status, zelLZ77State* pLZ77State);

/*
 * Makes one initialised record the copy of another, so that a stream can be decoded on from the same place twice.
 *
 * pSrcState  [in]  a decoder's record
 * pDstState  [out] a decoder's record. Its pairs array is its own where the source's was its own, and the caller's
 *                  array where SetPairs gave one.
 *
 * zelOk          done
 * zelErrNullPtr  a pointer is null; nothing changed
 */
ZELDC_API zelStatus zelsDecodeLZ77CopyState_8u(zelLZ77State* pSrcState, zelLZ77State* pDstState);

/*
 * Reads a block's header: the first three bits (RFC 1951 section 3.2.3). Within a block it reads nothing and tells the
 * current block's type again.
 *
 * ppSrc       [in,out] compressed bytes; moved behind those taken (at most one)
 * pSrcLen     [in,out] bytes left
 * pBlockType  [out]    a zelLZ77HuffMode; left alone when the header has the reserved type 11, whose three bits are
 *                      consumed without any other effect
 * pLZ77State  [in,out] the record
 *
 * zelOk            done
 * zelWarnSrcShort  no input; nothing changed
 * zelErrNullPtr    a pointer or *ppSrc is null; nothing changed
 * zelErrSize       *pSrcLen is below 0; nothing changed
 */
ZELDC_API zelStatus zelsDecodeLZ77GetBlockType_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pBlockType,
                                                  zelLZ77State* pLZ77State);

/*
 * Byte path: decodes a stored block that GetBlockType announced.
 *
 * ppSrc       [in,out] compressed bytes; moved behind those taken
 * pSrcLen     [in,out] bytes left
 * ppDst       [in,out] output; moved behind the bytes written
 * pDstLen     [in,out] room left, in bytes
 * pLZ77State  [in,out] the record
 *
 * zelOk             the block is complete
 * zelWarnStreamEnd  the same, and it was the stream's last
 * zelWarnSrcShort   the input is spent
 * zelWarnDstFull    the room is filled
 * zelErrNullPtr     a pointer, *ppSrc or *ppDst is null; nothing changed
 * zelErrSize        a count is below 0, nothing changed; or the block's length does not match its complement
 * zelErr            no stored block was announced
 */
ZELDC_API zelStatus zelsDecodeLZ77StoredBlock_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst,
                                                 int32_t* pDstLen, zelLZ77State* pLZ77State);

/*
 * Pair path: decodes a stored block, its header included, into one literal a byte.
 *
 * ppSrc       [in,out] compressed bytes; moved behind those taken
 * pSrcLen     [in,out] bytes left
 * ppPairs     [in,out] room for pairs; moved behind those written
 * pPairsLen   [in,out] pairs that there is room for
 * pLZ77State  [in,out] the record
 *
 * zelOk             the block is complete
 * zelWarnStreamEnd  the same, and it was the stream's last
 * zelWarnSrcShort   the input is spent
 * zelWarnDstFull    the room is filled
 * zelErrNullPtr     a pointer, *ppSrc or *ppPairs is null; nothing changed
 * zelErrSize        a count is below 0, nothing changed; or the block's length does not match its complement
 * zelErr            the next block is not a stored one; its header has not been consumed
 */
ZELDC_API zelStatus zelsDecodeLZ77StoredHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                                                int32_t* pPairsLen, zelLZ77State* pLZ77State);

/*
 * Pair path: decodes a block with the fixed code (RFC 1951 section 3.2.6) or a dynamic one (section 3.2.7). Its header
 * is read too unless GetBlockType has read it.
 *
 * ppSrc       [in,out] compressed bytes; moved behind those taken
 * pSrcLen     [in,out] bytes left
 * ppPairs     [in,out] room for pairs; moved behind those written. A literal is (byte, 0), a match (3..258, 1..32768).
 * pPairsLen   [in,out] pairs that there is room for
 * flush                zelLZ77FlushSync or zelLZ77FlushFull: decode nothing; skip input up to and including the next
 *                      marker 00 00 FF FF that starts at a byte. The block and a cut match stay as they were: to start
 *                      afresh behind the marker, Reset the record. Any other value decodes.
 * pLZ77State  [in,out] the record
 *
 * zelOk             the block is complete, or the marker was found
 * zelWarnStreamEnd  the block is complete, and it was the stream's last
 * zelWarnSrcShort   the input is spent
 * zelWarnDstFull    the room is filled, or there was none
 * zelErrNullPtr     a pointer, *ppSrc or *ppPairs is null; nothing changed
 * zelErrSize        a count is below 0, nothing changed; or a code that stands for no symbol
 * zelErr            the next block is of another type; its header has not been consumed. Behind GetBlockType, which has
 *                   consumed it, the caller sees to it that the decoder is the one for the type.
 */
ZELDC_API zelStatus zelsDecodeLZ77FixedHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                                               int32_t* pPairsLen, zelLZ77FlushMode flush, zelLZ77State* pLZ77State);
ZELDC_API zelStatus zelsDecodeLZ77DynamicHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                                                 int32_t* pPairsLen, zelLZ77FlushMode flush, zelLZ77State* pLZ77State);

/*
 * Byte path: as the two above, but to bytes. A match that the room cuts is finished by the next call.
 *
 * ppDst       [in,out] output; moved behind the bytes written
 * pDstLen     [in,out] room left, in bytes
 *
 * zelErrSize  also a match that starts before the stream's first byte (or the dictionary's)
 */
ZELDC_API zelStatus zelsDecodeLZ77FixedHuffFull_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst,
                                                   int32_t* pDstLen, zelLZ77FlushMode flush, zelLZ77State* pLZ77State);
ZELDC_API zelStatus zelsDecodeLZ77DynamicHuffFull_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst,
                                                     int32_t* pDstLen, zelLZ77FlushMode flush,
                                                     zelLZ77State* pLZ77State);

/*
 * Pair path: makes bytes of pairs, through a history of the last 32768 bytes that lasts from call to call.
 *
 * A match that the room cuts waits in the record, and only a call that brings at least one more pair goes on with it.
 * So keep the last pair back until there is room for what comes before it, or give room for all; and give the last
 * pairs of a stream in one call: a call that ends with zelWarnStreamEnd forgets the history.
 *
 * ppPairs     [in,out] pairs; moved behind those used. A pair of distance 0 is a literal by the low 8 bits of length.
 * pPairsLen   [in,out] pairs left; with 0 nothing happens
 * ppDst       [in,out] output; moved behind the bytes written
 * pDstLen     [in,out] room left, in bytes
 * flush                ignored
 * pLZ77State  [in,out] the record
 *
 * zelOk             all pairs are used
 * zelWarnStreamEnd  the same, and a Huffman block decoder has met the stream's end
 * zelWarnDstFull    the room is filled and pairs, or the rest of a match, are left
 * zelErrNullPtr     a pointer is null, or *ppPairs or *ppDst is with pairs and room; nothing changed
 * zelErrSize        a count is below 0; nothing changed
 * zelErrBadData     a match starts before the history: *ppPairs stands on it, and what precedes it is written
 */
ZELDC_API zelStatus zelsDecodeLZ77_8u(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst, int32_t* pDstLen,
                                      zelLZ77FlushMode flush, zelLZ77State* pLZ77State);

#ifdef __cplusplus
}
#endif

#endif
