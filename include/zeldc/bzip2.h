/*
 * Stages of the bzip2 format around the Burrows-Wheeler transform: run-length coding before it, move-to-front and the
 * coding of zero runs behind it.
 */
#ifndef ZELDC_BZIP2_H
#define ZELDC_BZIP2_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Run-length coding of the bzip2 format: behind four equal bytes in a row stands the number of further ones, 0 to 255.
 * A longer run goes on as a new one, and behind a count the counting starts afresh.
 *
 * The encoder's state: 264 bytes, at any address.
 */
typedef struct zelRLEState_BZ2 {
  uint8_t inUse[256]; /* inUse[v] = 1 once the encoder has written the byte v, counts included; else 0 */
  int32_t lastByte;   /* the last byte copied to the output, -1 at first */
  int32_t runLen;     /* length of the run that ends the output so far; 4 to 259: its count is still to be written */
} zelRLEState_BZ2;

/*
 * The size of the encoder's state: 264 bytes.
 *
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 */
ZELDC_API zelStatus zelsRLEGetSize_BZ2_8u(int32_t* pSize);

/*
 * Makes a state fresh.
 *
 * pRLEState  [out]  264 bytes; what they held does not matter
 *
 * zelOk          done
 * zelErrNullPtr  pRLEState is null
 */
ZELDC_API zelStatus zelsEncodeRLEInit_BZ2_8u(zelRLEState_BZ2* pRLEState);

/*
 * Allocates a fresh state. Release it by zelsRLEFree_BZ2_8u.
 *
 * ppRLEState  [out]  the state; null when there is no memory
 *
 * zelOk          done
 * zelErrNullPtr  ppRLEState is null
 * zelErrNoMem    there is no memory
 */
ZELDC_API zelStatus zelsEncodeRLEInitAlloc_BZ2_8u(zelRLEState_BZ2** ppRLEState);

/*
 * Encodes a piece of the data; runs go on from piece to piece. The output grows by at most a quarter.
 *
 * ppSrc      [in,out]  the bytes; on return those that are left
 * pSrcLen    [in,out]  their count, at least 1; on return that of those left
 * pDst       [out]     *pDstLen bytes; must not overlap the source
 * pDstLen    [in,out]  room in bytes, at least 1; on return the number of bytes written
 * pRLEState  [in,out]  the state. When it ends with 4 or more equal bytes their count is still to be written, by the
 *                      next call, or by zelsEncodeRLEFlush_BZ2_8u at the end.
 *
 * zelOk           all bytes are consumed
 * zelWarnDstFull  the room is filled, and bytes are left
 * zelErrNullPtr   an argument, or *ppSrc, is null; nothing changed
 * zelErrSize      *pSrcLen or *pDstLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsEncodeRLE_BZ2_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                         zelRLEState_BZ2* pRLEState);

/*
 * Writes the count that is still to be written, if any: the end of the data, or of a block.
 *
 * pDst       [out]     1 byte
 * pDstLen    [in,out]  room in bytes, at least 1; on return 1 if a count was written, else 0
 * pRLEState  [in,out]  the state. A run ends here; the last byte remains the last, so for a new block make it fresh.
 *
 * zelOk          done
 * zelErrNullPtr  an argument is null; nothing changed
 * zelErrSize     *pDstLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsEncodeRLEFlush_BZ2_8u(uint8_t* pDst, int32_t* pDstLen, zelRLEState_BZ2* pRLEState);

/*
 * Which byte values the output so far holds, counts included.
 *
 * pInUse     [out]  256 bytes: 1 for a value that occurs, else 0
 * pRLEState  [in]   the state
 *
 * zelOk          done
 * zelErrNullPtr  an argument is null; nothing changed
 */
ZELDC_API zelStatus zelsRLEGetInUseTable_8u(uint8_t* pInUse, zelRLEState_BZ2* pRLEState);

/*
 * Decodes. There is no state: each call starts without a byte before it, so encoded data may be divided between calls
 * only where no run is open, best at its end.
 *
 * ppSrc    [in,out]  the encoded bytes; on return those that are left
 * pSrcLen  [in,out]  their count; on return that of those left. With 0 nothing is done.
 * pDst     [out]     *pDstLen bytes; must not overlap the source
 * pDstLen  [in,out]  room in bytes, at least 1; on return the number of bytes written
 *
 * A count whose copies do not fit is consumed, and none of them is written; it is read even when the fourth of the
 * equal bytes has filled the room. A count that is missing at the source's end means no copies. So give room for the
 * whole block, and a byte more to be told zelOk.
 *
 * zelOk           all bytes are decoded, and there is room left
 * zelWarnDstFull  the room is exactly full, or a count's copies did not fit
 * zelErrNullPtr   an argument, or *ppSrc, is null; nothing changed
 * zelErrSize      *pDstLen is below 1 or *pSrcLen below 0; nothing changed
 */
ZELDC_API zelStatus zelsDecodeRLE_BZ2_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen);

/*
 * Plain run-length coding, a code of this library's own: behind two equal bytes stands the number of further ones, 0 to
 * 255. A longer run goes on as a new one. There is no state. The encoded data grows by at most a half.
 *
 * ppSrc    [in,out]  the bytes; on return those that are left
 * pSrcLen  [in,out]  their count, at least 1; on return that of those left
 * pDst     [out]     *pDstLen bytes; must not overlap the source. What is in them behind the result is not defined.
 * pDstLen  [in,out]  room in bytes, at least 1; on return the number of bytes written
 *
 * Two equal bytes and their count are written together. If there is no room for the three, the bytes are left in the
 * source, so calls that go on with what is left make one stream, which may be decoded as one; with a room below 3 they
 * may not get on. But where the source is divided between two equal bytes their codes must be decoded in two calls,
 * too.
 *
 * zelOk           all bytes are encoded
 * zelWarnDstFull  bytes are left
 * zelErrNullPtr   an argument, or *ppSrc, is null; nothing changed
 * zelErrSize      *pSrcLen or *pDstLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsEncodeRLE_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen);

/*
 * Decodes what zelsEncodeRLE_8u writes.
 *
 * ppSrc    [in,out]  the encoded bytes; on return those that are left
 * pSrcLen  [in,out]  their count, at least 1; on return that of those left
 * pDst     [out]     *pDstLen bytes; must not overlap the source. What is in them behind the result is not defined.
 * pDstLen  [in,out]  room in bytes, at least 1; on return the number of bytes written
 *
 * Two equal bytes and their copies are written together: if they do not fit, the three bytes that stand for them are
 * left in the source; with a room of 257 any do. A count that is missing at the source's end means no copies.
 *
 * zelOk           all bytes are decoded
 * zelWarnDstFull  bytes are left
 * zelErrNullPtr   an argument, or *ppSrc, is null; nothing changed
 * zelErrSize      *pSrcLen or *pDstLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsDecodeRLE_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen);

/*
 * Move-to-front (J. L. Bentley, D. D. Sleator, R. E. Tarjan, V. K. Wei, A Locally Adaptive Data Compression Scheme,
 * CACM 29(4), 1986): each byte becomes its rank in a list of all byte values, of which it then becomes the first.
 *
 * The state keeps the list from call to call, so a block may be coded in pieces of any size. The two directions keep it
 * in two forms: forward, table[v] is the rank of the byte value v; inverse, table[r] is the byte value at rank r. After
 * Init either form is the identity. A state that one direction has used must not be given to the other: the one table
 * is the other's inverse.
 */
typedef struct zelMTFState {
  uint8_t table[256];
} zelMTFState;

/*
 * The size of the state: 256 bytes, at any address.
 *
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 */
ZELDC_API zelStatus zelsMTFGetSize_8u(int32_t* pSize);

/*
 * Makes a state fresh, for either direction.
 *
 * pMTFState  [out]  256 bytes; what they held does not matter
 *
 * zelOk          done
 * zelErrNullPtr  pMTFState is null
 */
ZELDC_API zelStatus zelsMTFInit_8u(zelMTFState* pMTFState);

/*
 * Allocates a fresh state. Release it by zelsMTFFree_8u.
 *
 * ppMTFState  [out]  the state; null when there is no memory
 *
 * zelOk          done
 * zelErrNullPtr  ppMTFState is null
 * zelErrNoMem    there is no memory
 */
ZELDC_API zelStatus zelsMTFInitAlloc_8u(zelMTFState** ppMTFState);

/*
 * Bytes to ranks.
 *
 * pSrc       [in]      len bytes
 * pDst       [out]     len ranks; may be pSrc, and must not overlap it otherwise
 * len                  bytes, at least 1
 * pMTFState  [in,out]  the rank of each byte value, before and after
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst or pMTFState is null; nothing changed
 * zelErrSize     len is below 1; nothing changed
 */
ZELDC_API zelStatus zelsMTFFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, zelMTFState* pMTFState);

/*
 * Ranks to bytes.
 *
 * pSrc       [in]      len ranks, of any values
 * pDst       [out]     len bytes; may be pSrc, and must not overlap it otherwise
 * len                  ranks, at least 1
 * pMTFState  [in,out]  the byte value at each rank, before and after
 *
 * zelOk          done
 * zelErrNullPtr  pSrc, pDst or pMTFState is null; nothing changed
 * zelErrSize     len is below 1; nothing changed
 */
ZELDC_API zelStatus zelsMTFInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, zelMTFState* pMTFState);

/*
 * Zero-run coding of the bzip2 format. A run of r zeros becomes r in bijective base 2, lowest digit first, with the
 * symbols RUNA (0) for the digit 1 and RUNB (1) for the digit 2; any other byte v becomes the symbol v + 1, from 2 to
 * 256. The symbol of the block's end is not written here, nor known.
 */

/*
 * Bytes to symbols.
 *
 * ppSrc    [in,out]  the bytes; on return those that are left
 * pSrcLen  [in,out]  their count, at least 1; on return that of those left
 * pDst     [out]     *pDstLen elements and one more: a literal behind a run whose code takes the last of the *pDstLen
 *                    elements is written there, too. What is in them behind the symbols is not defined.
 * pDstLen  [in,out]  room in elements, at least 1, without the spare one; on return the number of symbols written,
 *                    which may be one more than the room
 * pFreq    [in,out]  257 counts or more: pFreq[s] grows by the number of symbols s written. They are not cleared here.
 *
 * A run whose code does not fit is cut: the longest run that fits is coded, the other zeros are left. A run that ends
 * the source is coded as ended. So where a run is divided between two calls there are two codes; the symbols of the two
 * calls must not be joined there, for a decoder would take them for one code, of another run.
 *
 * zelOk           all bytes are coded
 * zelWarnDstFull  bytes are left
 * zelErrNullPtr   an argument, or *ppSrc, is null; nothing changed
 * zelErrSize      *pSrcLen or *pDstLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsEncodeZ1Z2_BZ2_8u16u(uint8_t** ppSrc, int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                             int32_t* pFreq);

/*
 * Symbols to bytes.
 *
 * ppSrc    [in,out]  the symbols; on return those that are left. Symbols above 256 give the low byte of s - 1.
 * pSrcLen  [in,out]  their count, at least 1; on return that of those left
 * pDst     [out]     *pDstLen bytes. What is in them behind the result is not defined.
 * pDstLen  [in,out]  room in bytes, at least 1; on return the number of bytes written
 *
 * A run is written only if there is room for all of it, and for the literal behind it where there is one. Its symbols
 * count as consumed all the same, so a call that ends in a run has lost it: give room for the whole block.
 *
 * zelOk           all symbols are decoded
 * zelWarnDstFull  symbols are left, or a run was lost
 * zelErrNullPtr   an argument, or *ppSrc, is null; nothing changed
 * zelErrSize      *pSrcLen or *pDstLen is below 1; nothing changed
 */
ZELDC_API zelStatus zelsDecodeZ1Z2_BZ2_16u8u(uint16_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen);

#ifdef __cplusplus
}
#endif

#endif
