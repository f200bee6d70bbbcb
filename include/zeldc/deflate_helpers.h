/*
 * The inner steps of a Deflate encoder (RFC 1951) for callers that own everything else: window, tables, block
 * structure, codes. Nothing is kept between calls but what stands in the caller's buffers.
 *
 * What the caller has:
 *
 *   window       winSize bytes, 256..32768: the bytes that precede the input of the next call
 *   head table   hashSize entries, 256..65536, a power of two: the newest position with each hash. 32768 are best: at
 *                levels of 4 and more the hash has no more values, below 4 more are slower and on the whole find no
 *                better matches.
 *   chain table  winSize entries: entry p mod winSize is the position with the same hash before position p
 *
 * Positions are counted through the whole stream: its first byte (with a dictionary, the dictionary's) is position 0,
 * the first byte of a call's input is position *pSrcIdx. Both tables start with every entry -32768, which lies too far
 * back to be taken for a position. The window may hold anything at first; of its bytes only those that the positions
 * before *pSrcIdx stand for are read.
 *
 * One stream, step by step:
 *
 *   fill both tables with -32768; index = 0
 *   perhaps zelsDeflateDictionarySet_8u; then index = the dictionary's bytes, at most winSize
 *   for each block
 *     zero the frequency tables
 *     for each piece of input, until it is spent or there are enough items for a block
 *       zelsDeflateLZ77_8u, which consumes n bytes and moves *pSrcIdx from `before` to before + n
 *       move the window: the last min(*pSrcIdx, winSize) bytes of the stream so far go to its start:
 *         if n >= winSize  copy the last winSize bytes consumed to the window's start
 *         else             have = min(before, winSize); keep = min(have, winSize - n)
 *                          move the window's bytes have - keep .. have - 1 to its start
 *                          copy the n bytes consumed behind them
 *     count the end of block: literal/length frequency 256 becomes 1
 *     make code lengths and codes; write the block's header into the bit stream
 *     zelsDeflateHuff_8u; write the code of symbol 256
 *
 * The bits that stand before and behind what zelsDeflateHuff_8u writes go through *pCode and *pCodeLenBits: up to 7
 * bits that do not fill a byte.
 *
 * A stream may be longer than positions can count: before *pSrcIdx passes 2^31 - 1, fill both tables with -32768 and go
 * on with *pSrcIdx = winSize and the same window (filled by then). All that is lost is matches into the window.
 */
#ifndef ZELDC_DEFLATE_HELPERS_H
#define ZELDC_DEFLATE_HELPERS_H

#include "lz77.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The code of a symbol. */
typedef struct zelDeflateHuffCode {
  uint16_t code;    /* its bits, the first one lowest: a canonical code in reversed order of bits */
  uint16_t lenBits; /* how many, at most 15; 0 for a symbol without a code */
} zelDeflateHuffCode;

/*
 * Makes a preset dictionary (RFC 1950 section 2.2) the history of a stream that is about to begin.
 *
 * The dictionary's last n = min(dictLen, winSize) bytes become positions 0 .. n-1: they are copied to the window's
 * start, and positions 0 .. n-258 are entered into the tables, none of a dictionary of fewer than 258 bytes. The first
 * zelsDeflateLZ77_8u call starts at *pSrcIdx = n with the same level. A decoder must be given the same n bytes.
 *
 * At levels of 4 and more all positions are entered under the hash of the dictionary's first three bytes, in one chain.
 * Calls of 2048 bytes and more find their matches all the same, shorter ones few.
 *
 * pDict        [in]     bytes, of which the last winSize count
 * dictLen               bytes in pDict; below 3 nothing happens
 * pHashHeadTbl [in,out] hashSize entries, filled with -32768
 * hashSize              a power of two, 256..65536
 * pHashPrevTbl [in,out] winSize entries, filled with -32768; written at levels of 4 and more only
 * pWindow      [out]    winSize bytes, of which the first n are written
 * winSize               256..32768
 * comprLevel            the level of the stream
 *
 * zelOk          done, or dictLen is below 3: then no other argument is looked at
 * zelErrNullPtr  a pointer is null; nothing changed
 * zelErrSize     winSize or hashSize is out of range; nothing changed
 */
ZELDC_API zelStatus zelsDeflateDictionarySet_8u(const uint8_t* pDict, int32_t dictLen, int32_t* pHashHeadTbl,
                                                int32_t hashSize, int32_t* pHashPrevTbl, uint8_t* pWindow,
                                                int32_t winSize, int32_t comprLevel);

/*
 * Finds matches: turns input bytes into items, each a literal or a match, and counts their symbols.
 *
 * Item k is pLitDst[k] and pDistDst[k]: a literal's byte and 0, or a match's length less 3 and its distance. Lengths
 * are 3..258, distances 1..winSize-1. Matches may start in the window and run on into the input.
 *
 * Scanning ends when there is no room for another item. Unless flush is 2 or more, it also ends when fewer than 260
 * bytes are left, so that what follows can make the last match longer: give the bytes that are left again, with more
 * behind them. With flush 2 or more all input is consumed, room permitting.
 *
 * Each position consumed, except the last two of the input, is entered into the tables: at levels of 4 and more
 * chain[p mod winSize] = head[h], head[h] = p with a hash of three bytes from fixed tables; below 4 only head[h] = p,
 * with the rolling hash h = ((h << 5) ^ byte) & (hashSize - 1), begun anew with each call. Table entries below 0, at or
 * past the position looked at, or winSize or more before it stand for none; whatever others the tables hold, the
 * matches found are true.
 *
 * Few large calls are faster than many small ones: at levels of 4 and more each makes tables of its own, which take
 * some 300 KiB of stack and, with a full window, the time of some thousand bytes.
 *
 * ppSrc         [in,out] input; moved behind the bytes consumed
 * pSrcLen       [in,out] bytes left; below 1 nothing happens
 * pSrcIdx       [in,out] position of **ppSrc; advanced by the bytes consumed
 * pWindow       [in]     winSize bytes, of which the first min(*pSrcIdx, winSize) are read: the last ones before
 *                        **ppSrc, byte 0 being position max(0, *pSrcIdx - winSize). Moving it on is the caller's duty.
 * winSize                256..32768, the same for all of a stream
 * pHashHeadTbl  [in,out] hashSize entries
 * pHashPrevTbl  [in,out] winSize entries; below level 4 neither read nor written, but not null
 * hashSize               256..65536, a power of two, the same for all of a stream
 * pLitFreqTable [in,out] 286 counts: those of the literals 0..255 and the length symbols 257..285 are increased; the
 *                        end of block, 256, is the caller's
 * pDistFreqTable[in,out] 30 counts of distance symbols, increased
 * pLitDst       [out]    room for *pDstLen bytes
 * pDistDst      [out]    room for *pDstLen values
 * pDstLen       [in,out] items that there is room for; reduced by those written. Below 1 nothing happens.
 * comprLevel             below 4: one candidate a position, the fastest search; 4 to 7: several; 8 and more: many, and
 *                        the smallest output. The same for all of a stream.
 * flush                  2 and more (zelLZ77FlushFull, zelLZ77FlushFinal): consume the input's end, too
 *
 * zelOk          done, also when input or room is left
 * zelErrNullPtr  a pointer, or *ppSrc, is null; nothing changed
 * zelErrSize     winSize or hashSize is out of range; nothing changed
 */
ZELDC_API zelStatus zelsDeflateLZ77_8u(uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                                       int32_t winSize, int32_t* pHashHeadTbl, int32_t* pHashPrevTbl, int32_t hashSize,
                                       int32_t* pLitFreqTable, int32_t* pDistFreqTable, uint8_t* pLitDst,
                                       uint16_t* pDistDst, int32_t* pDstLen, int32_t comprLevel,
                                       zelLZ77FlushMode flush);

/*
 * Writes items with a Huffman code: those of zelsDeflateLZ77_8u, or any others of the same form.
 *
 * A literal (distance 0) becomes its code; a match the code of its length's symbol, the length's extra bits, the code
 * of its distance's symbol, and the distance's extra bits (RFC 1951 section 3.2.5). A symbol of length 0 in the tables
 * writes no code. Header and end of the block are the caller's.
 *
 * The bits are written behind those that wait in *pCode, whole bytes into pDst, what is left into *pCode again. The
 * room in pDst is not checked: the bytes from *pDstIdx on that *pCodeLenBits and all codes and extra bits fill are
 * written, and no others. An item takes at most 48 bits.
 *
 * pLitSrc       [in]     a byte for each item: the literal, or a match's length less 3
 * pDistSrc      [in]     a value for each item: 0, or a match's distance, 1..32768
 * srcLen                 items; below 1 none
 * pCode         [in,out] bits that wait to be written, the first one lowest; on return fewer than 8
 * pCodeLenBits  [in,out] how many, 0..16; on return 0..7
 * pLitHuffCodes [in]     codes of the 286 literal/length symbols
 * pDistHuffCodes[in]     codes of the 30 distance symbols
 * pDst          [out]    output
 * pDstIdx       [in,out] index in pDst of the next byte to write; advanced by the bytes written
 *
 * zelOk          done
 * zelErrNullPtr  a pointer is null; nothing changed
 */
ZELDC_API zelStatus zelsDeflateHuff_8u(const uint8_t* pLitSrc, const uint16_t* pDistSrc, int32_t srcLen,
                                       uint16_t* pCode, int32_t* pCodeLenBits, const zelDeflateHuffCode* pLitHuffCodes,
                                       const zelDeflateHuffCode* pDistHuffCodes, uint8_t* pDst, int32_t* pDstIdx);

#ifdef __cplusplus
}
#endif

#endif
