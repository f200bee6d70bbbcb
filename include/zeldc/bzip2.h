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

/* State of the run-length encoder of the bzip2 format: 264 bytes. */
typedef struct zelRLEState_BZ2 {
  uint8_t inUse[256]; /* inUse[v] = 1 once the encoder has written the byte v, counts included; else 0 */
  int32_t lastByte;   /* the last byte copied to the output, -1 at first */
  int32_t runLen;     /* length of the run that ends the output so far; 4 to 259: its count is still to be written */
} zelRLEState_BZ2;

ZELDC_API zelStatus zelsRLEGetSize_BZ2_8u(int32_t* pSize);
ZELDC_API zelStatus zelsEncodeRLEInit_BZ2_8u(zelRLEState_BZ2* pRLEState);
ZELDC_API zelStatus zelsEncodeRLEInitAlloc_BZ2_8u(zelRLEState_BZ2** ppRLEState);
ZELDC_API zelStatus zelsEncodeRLE_BZ2_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                         zelRLEState_BZ2* pRLEState);
ZELDC_API zelStatus zelsEncodeRLEFlush_BZ2_8u(uint8_t* pDst, int32_t* pDstLen, zelRLEState_BZ2* pRLEState);
ZELDC_API zelStatus zelsRLEGetInUseTable_8u(uint8_t* pInUse, zelRLEState_BZ2* pRLEState);
ZELDC_API zelStatus zelsDecodeRLE_BZ2_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen);
ZELDC_API zelStatus zelsEncodeRLE_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen);
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
