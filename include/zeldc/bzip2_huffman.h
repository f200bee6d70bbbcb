/*
 * The last stage of the bzip2 format: up to six Huffman codes, one of them chosen for each group of 50 symbols.
 *
 * A block's symbols are numbers below alphaSize, at most 258 of them: in bzip2 the two run symbols, the ranks 1 to 255
 * plus one, and as the largest the end of the block. What the block body holds, most significant bit first:
 *
 *   3 bits        number of tables, 2 to 6
 *   15 bits       number of selectors, one for each group of 50 symbols
 *   selectors     the table of each group, move-to-front coded, in unary: as many ones and a zero
 *   each table    5 bits: the first symbol's code length; then for each symbol steps, 10 for one bit more and 11 for
 *                 one bit less, and a 0
 *   symbols       each by its group's code. Codes are canonical: shorter ones first, and by symbol.
 *
 * Encoding: Init (or InitAlloc) with the whole block, Pack, EncodeHuff with the whole block. Decoding: Init once, then
 * Unpack and DecodeHuff for each block, each of them until it answers zelOk.
 *
 * Bits that are no whole byte yet wait between calls in a pair of variables of the caller's, which goes from call to
 * call: *pCode holds them left-aligned, the oldest in bit 31, and *pCodeLenBits says how many there are, from 0 to 32.
 * A count outside that range is taken for the nearest one, and bits below the counted ones do not matter. To start
 * with, both are 0, or hold bits of the caller's own: fields that go before the block, or what was read behind them.
 *
 * A record holds no pointers: it may be copied and moved between calls. No coding function allocates.
 */
#ifndef ZELDC_BZIP2_HUFFMAN_H
#define ZELDC_BZIP2_HUFFMAN_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The encoder's record. Its size comes from zelsEncodeHuffGetSize_BZ2_16u8u. */
typedef struct zelBZ2HuffEncodeState zelBZ2HuffEncodeState;

/*
 * The size of an encoder's record: 7764 bytes, and two for each group of 50 symbols or the rest of one.
 *
 * maxSrcLen      symbols that a block may have, at least 1
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrSize     maxSrcLen is below 1
 */
ZELDC_API zelStatus zelsEncodeHuffGetSize_BZ2_16u8u(int32_t maxSrcLen, int32_t* pSize);

/*
 * Allocates a record for blocks of up to maxSrcLen symbols and makes it ready for one: see
 * zelsEncodeHuffInit_BZ2_16u8u. Release it with zelsEncodeHuffFree_BZ2_16u8u.
 *
 * maxSrcLen       symbols that a block may have, at least 1
 * ppState  [out]  the record, null without memory. With an error that Init would find the record is allocated all the
 *                 same and the caller's to release; with a wrong maxSrcLen *ppState is left alone.
 *
 * zelOk          done
 * zelErrNullPtr  ppState, pFreqTable or pSrc is null, or there is no memory
 * zelErrSize     maxSrcLen is below 1; as for Init; or the block has more groups than maxSrcLen symbols have
 * zelErrBadArg   as for Init
 */
ZELDC_API zelStatus zelsEncodeHuffInitAlloc_BZ2_16u8u(int32_t maxSrcLen, int32_t alphaSize, const uint32_t* pFreqTable,
                                                      const uint16_t* pSrc, int32_t srcLen,
                                                      zelBZ2HuffEncodeState** ppState);

/*
 * Makes a block's codes and chooses one for each of its groups.
 *
 * There are 2 tables for blocks of less than 200 symbols, 3 below 600, 4 below 1200, 5 below 2400, and 6 from there on.
 * Each of five rounds takes for every group the table that codes it in the fewest bits, the first one of equals, and
 * then makes each table's code anew for its groups. Codes have at most 17 bits, and every symbol has one in each table.
 *
 * alphaSize          number of different symbols, 1 to 258
 * pFreqTable  [in]   alphaSize numbers: how often each symbol is in the block. They share out the symbols among the
 *                    tables for the first round; other numbers than the right ones may cost size, but not harm.
 * pSrc        [in]   srcLen symbols, each below alphaSize
 * srcLen             symbols in the block, 1 to 1638350, which 32767 selectors serve; no more than the record has room
 *                    for
 * pState      [out]  as many bytes as zelsEncodeHuffGetSize_BZ2_16u8u says, at any multiple of 4
 *
 * zelOk          done
 * zelErrNullPtr  pFreqTable, pSrc or pState is null
 * zelErrSize     alphaSize or srcLen is out of range
 * zelErrBadArg   a symbol is not below alphaSize, or the frequencies add up to so much more than srcLen that they would
 *                need more tables. The record has not been written.
 */
ZELDC_API zelStatus zelsEncodeHuffInit_BZ2_16u8u(int32_t alphaSize, const uint32_t* pFreqTable, const uint16_t* pSrc,
                                                 int32_t srcLen, zelBZ2HuffEncodeState* pState);

/*
 * Writes the description of a block's codes: number of tables, selectors, code lengths.
 *
 * Before each field whole bytes are written, after the last one none: up to 8 bits wait on return, with little room up
 * to 32.
 *
 * pCode         [in,out] bits that wait, see above; they go first
 * pCodeLenBits  [in,out] how many
 * pDst          [out]    room for *pDstLen bytes. The description takes less than
 *                        (18 + 6 * selectors + 39 * alphaSize * tables) / 8 + 8.
 * pDstLen       [in,out] bytes: room, at least 1; on return those written. Up to 7 bytes of the room behind them may
 *                        have been written, too.
 * pState        [in]     a record that Init made
 *
 * zelOk           done
 * zelWarnDstFull  more than 32 bits wait, of which *pCode holds the first 32: the output is not complete. Repeat it
 *                 with the bits that waited before and more room.
 * zelErrNullPtr   pCode, pCodeLenBits, pDst, pDstLen or pState is null
 * zelErrSize      *pDstLen is below 1
 */
ZELDC_API zelStatus zelsPackHuffContext_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, uint8_t* pDst,
                                                  int32_t* pDstLen, zelBZ2HuffEncodeState* pState);

/*
 * Writes a block's symbols, from its first group on: the whole block in one call.
 *
 * Before each symbol whole bytes are written, after the last one none: up to 24 bits wait on return, with little room
 * up to 32.
 *
 * pCode         [in,out] bits that wait, see above; they go first
 * pCodeLenBits  [in,out] how many
 * ppSrc         [in,out] *pSrcLen symbols, each below Init's alphaSize; on return behind them
 * pSrcLen       [in,out] symbols, 0 to as many as the block's groups hold; on return 0
 * pDst          [out]    room for *pDstLen bytes. No symbol takes more than 17 bits.
 * pDstLen       [in,out] bytes: room, at least 1; on return those written. Up to 7 bytes of the room behind them may
 *                        have been written, too.
 * pState        [in]     a record that Init made
 *
 * zelOk           done; with no symbols nothing has changed but *pDstLen, which is 0
 * zelWarnDstFull  more than 32 bits wait, of which *pCode holds the first 32: the output is not complete, though the
 *                 whole source counts as used. Repeat it with the bits that waited before and more room.
 * zelErrNullPtr   pCode, pCodeLenBits, ppSrc, pSrcLen, *ppSrc, pDst, pDstLen or pState is null
 * zelErrSize      *pDstLen is below 1, *pSrcLen is below 0, or it has more groups than Init's block
 * zelErrBadArg    a symbol is not below alphaSize. Nothing has been written.
 */
ZELDC_API zelStatus zelsEncodeHuff_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, const uint16_t** ppSrc,
                                             int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                             zelBZ2HuffEncodeState* pState);

/* The decoder's record. Its size comes from zelsDecodeHuffGetSize_BZ2_8u16u. */
typedef struct zelBZ2HuffDecodeState zelBZ2HuffDecodeState;

/*
 * The size of a decoder's record: 9300 bytes, and one for each group of 50 symbols or the rest of one.
 *
 * maxSrcLen      symbols that a block may have, at least 1. With 1638350 the record has room for as many selectors as
 *                the format can say.
 * pSize  [out]   bytes
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 * zelErrSize     maxSrcLen is below 1
 */
ZELDC_API zelStatus zelsDecodeHuffGetSize_BZ2_8u16u(int32_t maxSrcLen, int32_t* pSize);

/*
 * Allocates a record for blocks of up to maxSrcLen symbols and makes it ready. Release it with
 * zelsDecodeHuffFree_BZ2_8u16u.
 *
 * The record knows for how many selectors it has room: a block with more of them is bad data. That lasts until
 * zelsDecodeHuffInit_BZ2_8u16u makes it anew.
 *
 * maxSrcLen       symbols that a block may have, at least 1
 * alphaSize       number of different symbols, 1 to 258, with the end of the block
 * ppState  [out]  the record, null without memory. With a wrong alphaSize the record is allocated all the same and the
 *                 caller's to release; with a wrong maxSrcLen *ppState is left alone.
 *
 * zelOk          done
 * zelErrNullPtr  ppState is null, or there is no memory
 * zelErrSize     maxSrcLen or alphaSize is out of range
 */
ZELDC_API zelStatus zelsDecodeHuffInitAlloc_BZ2_8u16u(int32_t maxSrcLen, int32_t alphaSize,
                                                      zelBZ2HuffDecodeState** ppState);

/*
 * Makes a record ready: a description comes next.
 *
 * The record cannot know its own size. A stream that is not trusted needs one of the size for maxSrcLen 1638350, or one
 * that InitAlloc made: with less room than a stream has selectors zelsUnpackHuffContext_BZ2_8u16u would write past it.
 *
 * alphaSize       number of different symbols, 1 to 258, with the end of the block, which is symbol alphaSize - 1
 * pState   [out]  as many bytes as zelsDecodeHuffGetSize_BZ2_8u16u says, at any multiple of 4
 *
 * zelOk          done
 * zelErrNullPtr  pState is null
 * zelErrSize     alphaSize is below 1 or above 258
 */
ZELDC_API zelStatus zelsDecodeHuffInit_BZ2_8u16u(int32_t alphaSize, zelBZ2HuffDecodeState* pState);

/*
 * Reads the description of a block's codes, in as many calls as it takes.
 *
 * Bytes are taken as they are needed: until 18 bits wait for the header, 6 for a selector or the length that starts a
 * table, 2 for a step. The input may be cut anywhere.
 *
 * pCode         [in,out] bits that wait, see above; they are read first
 * pCodeLenBits  [in,out] how many
 * ppSrc         [in,out] *pSrcLen bytes; on return behind those taken
 * pSrcLen       [in,out] bytes, at least 1; on return those left
 * pState        [in,out] a record that Init made, or that has decoded a block to its end
 *
 * Codes that leave room for more symbols than there are, as of an alphabet of one, are accepted.
 *
 * zelOk            the description is complete
 * zelWarnSrcShort  all bytes are taken, and more are needed
 * zelErrBadData    the number of tables is not 2 to 6; no selectors, or more than the record is known to have room for;
 *                  a selector beyond the tables; a length outside 1 to 20; steps of one symbol in both directions; or
 *                  lengths that no prefix code has. What has been taken means nothing; only Init helps the record.
 * zelErrNullPtr    ppSrc, pSrcLen, pState or *ppSrc is null; and after all other checks pCode or pCodeLenBits
 * zelErrSize       *pSrcLen is below 1
 * zelErr           bad data has been met before, and Init not called since
 */
ZELDC_API zelStatus zelsUnpackHuffContext_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                                    int32_t* pSrcLen, zelBZ2HuffDecodeState* pState);

/*
 * Decodes a block's symbols, in as many calls as it takes.
 *
 * Bytes are taken until 20 bits wait before each symbol, whatever its code's length. A stream that ends less than 20
 * bits behind the start of the last code must be followed by other bytes, such as zeros.
 *
 * The input may be cut anywhere. The destination may not: where it is full inside a group, the next call goes on with
 * the next group's code. Give it the room of the whole block, or a multiple of 50 symbols from the start of a group on.
 *
 * pCode         [in,out] bits that wait, see above; they are read first
 * pCodeLenBits  [in,out] how many
 * ppSrc         [in,out] *pSrcLen bytes; on return behind those taken
 * pSrcLen       [in,out] bytes, 0 or more; on return those left
 * pDst          [out]    room for *pDstLen symbols, all of them below alphaSize. The end of the block is written behind
 *                        the others, but not counted.
 * pDstLen       [in,out] symbols: room, at least 1; on return those decoded
 * pState        [in,out] a record that zelsUnpackHuffContext_BZ2_8u16u has answered zelOk for
 *
 * Nothing in the stream is an error here. Groups beyond the last selector are decoded with its table, and a code that
 * no symbol has stands for some symbol.
 *
 * zelOk            the end of the block has been decoded; a description comes next
 * zelWarnSrcShort  all bytes are taken, and more are needed; or all are taken, and the destination is full, too
 * zelWarnDstFull   the destination is full
 * zelErrNullPtr    pCode, pCodeLenBits, ppSrc, pSrcLen, *ppSrc, pDst, pDstLen or pState is null
 * zelErrSize       *pDstLen is below 1, or *pSrcLen is below 0
 * zelErr           no description has been read to its end
 */
ZELDC_API zelStatus zelsDecodeHuff_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                             int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                             zelBZ2HuffDecodeState* pState);

#ifdef __cplusplus
}
#endif

#endif
