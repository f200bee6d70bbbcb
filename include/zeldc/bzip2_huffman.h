/*
 * The last stage of the bzip2 format: up to six Huffman codes, one of them chosen for each group of 50 symbols.
 */
#ifndef ZELDC_BZIP2_HUFFMAN_H
#define ZELDC_BZIP2_HUFFMAN_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The encoder's record. Its size comes from zelsEncodeHuffGetSize_BZ2_16u8u. */
typedef struct zelBZ2HuffEncodeState zelBZ2HuffEncodeState;

ZELDC_API zelStatus zelsEncodeHuffGetSize_BZ2_16u8u(int32_t maxSrcLen, int32_t* pSize);
ZELDC_API zelStatus zelsEncodeHuffInitAlloc_BZ2_16u8u(int32_t maxSrcLen, int32_t alphaSize, const uint32_t* pFreqTable,
                                                      const uint16_t* pSrc, int32_t srcLen,
                                                      zelBZ2HuffEncodeState** ppState);
ZELDC_API zelStatus zelsEncodeHuffInit_BZ2_16u8u(int32_t alphaSize, const uint32_t* pFreqTable, const uint16_t* pSrc,
                                                 int32_t srcLen, zelBZ2HuffEncodeState* pState);
ZELDC_API zelStatus zelsPackHuffContext_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, uint8_t* pDst,
                                                  int32_t* pDstLen, zelBZ2HuffEncodeState* pState);
ZELDC_API zelStatus zelsEncodeHuff_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, const uint16_t** ppSrc,
                                             int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                             zelBZ2HuffEncodeState* pState);

/* The decoder's record. Its size comes from zelsDecodeHuffGetSize_BZ2_8u16u. */
typedef struct zelBZ2HuffDecodeState zelBZ2HuffDecodeState;

ZELDC_API zelStatus zelsDecodeHuffGetSize_BZ2_8u16u(int32_t maxSrcLen, int32_t* pSize);
ZELDC_API zelStatus zelsDecodeHuffInitAlloc_BZ2_8u16u(int32_t maxSrcLen, int32_t alphaSize,
                                                      zelBZ2HuffDecodeState** ppState);
ZELDC_API zelStatus zelsDecodeHuffInit_BZ2_8u16u(int32_t alphaSize, zelBZ2HuffDecodeState* pState);
ZELDC_API zelStatus zelsUnpackHuffContext_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                                    int32_t* pSrcLen, zelBZ2HuffDecodeState* pState);
ZELDC_API zelStatus zelsDecodeHuff_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                             int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                             zelBZ2HuffDecodeState* pState);

#ifdef __cplusplus
}
#endif

#endif
