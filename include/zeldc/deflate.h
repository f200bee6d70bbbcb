/*
 * The stateful Deflate encoder (RFC 1951): bytes to pairs, pairs to blocks, and the trailer.
 *
 * One stream, step by step:
 *
 *   zelsEncodeLZ77InitAlloc_8u, perhaps zelsEncodeLZ77SetDictionary_8u
 *   write the zlib or gzip header yourself
 *   for each block
 *     zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching)
 *     zelsEncodeLZ77_8u until the pairs array is full or the input is spent
 *     zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding)
 *     perhaps zelsEncodeLZ77SelectHuffMode_8u, then one of the block writers, again while it answers zelWarnDstFull
 *   zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal)
 *   zelsEncodeLZ77Flush_8u until it answers zelOk
 *   zelsLZ77Free_8u
 *
 * The last block is the one whose match search and block writer are called with zelLZ77FlushFinal and whose input
 * is spent.
 */
#ifndef ZELDC_DEFLATE_H
#define ZELDC_DEFLATE_H

#include "lz77.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The size of an encoder's record.
 *
 * pSize [out] bytes: 598948 on every build
 *
 * zelOk          done
 * zelErrNullPtr  pSize is null
 */
ZELDC_API zelStatus zelsEncodeLZ77GetSize_8u(int32_t* pSize);

/*
 * Makes an encoder's record in memory of the caller's.
 *
 * level    a zelLZ77Level; values other than 0, 1 and 2 act as 1
 * checksum a zelLZ77ChecksumKind, kept as given
 * pState   [out] GetSize bytes at an address that is a multiple of 4, of any content
 *
 * zelOk          done: an empty history, status zelLZ77StatusInit, the record's own pairs array
 * zelErrNullPtr  pState is null
 */
ZELDC_API zelStatus zelsEncodeLZ77Init_8u(zelLZ77Level level, zelLZ77ChecksumKind checksum, zelLZ77State* pState);

/*
 * Allocates an encoder's record and makes it as zelsEncodeLZ77Init_8u does.
 *
 * level, checksum as there
 * ppState  [out] the record, to be released by zelsLZ77Free_8u; null when there is no memory
 *
 * zelOk          done
 * zelErrNullPtr  ppState is null
 * zelErrNoMem    no memory
 */
ZELDC_API zelStatus zelsEncodeLZ77InitAlloc_8u(zelLZ77Level level, zelLZ77ChecksumKind checksum,
                                               zelLZ77State** ppState);

/*
 * Starts a new stream with the record's level and checksum kind.
 *
 * History, checksum, pending output and the chosen mode are dropped, and the pairs array is the record's own again,
 * with room for zelLZ77MaxPairs. Kept are the status word, the block writer's phase (call SetStatus next) and whether
 * a choice of SelectHuffMode is pending: while it is, SelectHuffMode answers zelLZ77HuffFixed until
 * zelsEncodeLZ77_8u or a block writer has run.
 *
 * pState [in,out] the record
 *
 * zelOk          done
 * zelErrNullPtr  pState is null
 */
ZELDC_API zelStatus zelsEncodeLZ77Reset_8u(zelLZ77State* pState);

/*
 * Gives the encoder bytes that the decoder will know, too, so that first matches can reach into them (the preset
 * dictionary of RFC 1950).
 *
 * pDict   [in]     bytes, of which the last 32768 count
 * dictLen          bytes in pDict, at least 0; fewer than 3 are accepted and ignored
 * pState  [in,out] a record in status zelLZ77StatusInit. What an earlier dictionary left behind is forgotten.
 *
 * zelOk          done, or dictLen is below 3 and nothing changed
 * zelErrNullPtr  a pointer is null; nothing changed
 * zelErrSize     dictLen is below 0; nothing changed
 * zelErr         the status is not zelLZ77StatusInit; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77SetDictionary_8u(const uint8_t* pDict, int32_t dictLen, zelLZ77State* pState);

/*
 * Moves the stream to its next step.
 *
 * status  zelLZ77StatusMatching: an empty pairs array with room for zelLZ77MaxPairs, also where SetPairs gave another
 *         zelLZ77StatusCoding: the pairs array holds as many pairs as its position says, its position is 0, and the
 *         block writer's next call begins a block
 *         any other value is stored and does nothing else
 * pState  [in,out] the record
 *
 * zelOk          done
 * zelErrNullPtr  pState is null
 */
ZELDC_API zelStatus zelsEncodeLZ77SetStatus_8u(zelLZ77DeflateStatus status, zelLZ77State* pState);

/*
 * Finds matches: turns input bytes into pairs, and keeps the history and the running checksum.
 *
 * A pair's distance is 1..32767. No match covers the last two (zelLZ77LevelBest: three) bytes of a call, and no
 * choice is carried from one call to the next, so few large calls compress better than many small ones.
 *
 * ppSrc     [in,out] bytes; moved behind those consumed
 * pSrcLen   [in,out] bytes left
 * ppPairs   [in,out] room for pairs, the record's array or any other; moved behind those written
 * pPairsLen [in,out] pairs that there is room for. The record's own position and count are not touched: the caller
 *                    hands them on with SetPairs.
 * flush              zelLZ77FlushFull: after a call with input the running position starts from 0 again, and
 *                    position 0 of a stream is no match source. Further calls find nothing before themselves; a record
 *                    that goes on should be Reset. Other modes only count for the block writers: the record remembers
 *                    the last one.
 * pState    [in,out] the record
 *
 * zelOk           all input is consumed
 * zelWarnDstFull  the pairs array is full and input is left: everything up to there is consumed. With no room for a
 *                 pair at entry nothing is consumed, but flush and the input's length are remembered.
 * zelErrNullPtr   a pointer, or *ppPairs, is null, or *ppSrc is null with bytes to read; nothing changed
 * zelErrSize      *pPairsLen or *pSrcLen is below 0; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77_8u(uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs, int32_t* pPairsLen,
                                      zelLZ77FlushMode flush, zelLZ77State* pState);

/*
 * Tells which kind of block takes the fewest bits for the pairs, and keeps the answer until a block writer or
 * zelsEncodeLZ77_8u has run: until then further calls answer the same without looking at the pairs.
 *
 * Ask before the block's first writer call: a code made in the midst of a block is not the block's.
 *
 * A stored block is chosen only when it is strictly smaller than both others, a fixed one only when it is strictly
 * smaller than a dynamic one.
 *
 * pPairs   [in]     the pairs of the block
 * pairsLen          pairs in pPairs, at least 0
 * pMode    [out]    a zelLZ77HuffMode
 * pState   [in,out] the record
 *
 * zelOk          done
 * zelErrNullPtr  a pointer is null; nothing changed
 * zelErrSize     pairsLen is below 0, or a pair is neither a literal nor a match of length 3..258 and distance
 *                1..32768; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77SelectHuffMode_8u(const zelLZ77Pair* pPairs, int32_t pairsLen, zelLZ77HuffMode* pMode,
                                                    zelLZ77State* pState);

/*
 * Writes a block with the fixed code (RFC 1951 section 3.2.6), or with a code made for the pairs (section 3.2.7).
 *
 * The first call after SetStatus(zelLZ77StatusCoding) begins the block, even without pairs, and makes the dynamic code
 * from the pairs of that call. While a call answers zelWarnDstFull, the next one goes on at the byte where it stopped,
 * with the pairs that are left, or with none. The block's end follows the last pair given, so a call gets all pairs
 * of its block.
 *
 * Literals count by the low 8 bits of their length field.
 *
 * ppPairs   [in,out] pairs; moved behind those coded
 * pPairsLen [in,out] pairs left
 * ppDst     [in,out] output; moved behind the bytes written
 * pDstLen   [in,out] room left, in bytes
 * flush     zelLZ77FlushNone: the block ends with its end-of-block code, its last bits stay in the record
 *           zelLZ77FlushSync, zelLZ77FlushFull: an empty stored block follows, so that the output ends at a byte with
 *           00 00 FF FF
 *           zelLZ77FlushFinal: if zelsEncodeLZ77_8u has no input left, the block is the stream's last (the dynamic
 *           writer takes its BFINAL bit from the flush mode of the last zelsEncodeLZ77_8u call instead) and the
 *           output ends at a byte
 * pState    [in,out] the record
 *
 * zelOk             the block is written. Up to 7 bits stay in the record for the next block.
 * zelWarnStreamEnd  the last block is written
 * zelWarnDstFull    all room is filled and something is left to write
 * zelErrNullPtr     a pointer or *ppDst is null, or *ppPairs is null with pairs to code; nothing changed
 * zelErrSize        *pDstLen or *pPairsLen is below 0, nothing changed; or a pair is neither a literal nor a match of
 *                   length 3..258 and distance 1..32768: the pairs before it may have been coded
 * zelErr            dynamic: a pair has no code, because it was not among the pairs that the block began with; the
 *                   pairs before it have been coded. Either: pairs while no block is open, before
 *                   SetStatus(zelLZ77StatusCoding) or behind the block's end; or a block that the other writer began
 */
ZELDC_API zelStatus zelsEncodeLZ77FixedHuff_8u(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst,
                                               int32_t* pDstLen, zelLZ77FlushMode flush, zelLZ77State* pState);
ZELDC_API zelStatus zelsEncodeLZ77DynamicHuff_8u(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst,
                                                 int32_t* pDstLen, zelLZ77FlushMode flush, zelLZ77State* pState);

/*
 * Writes bytes as stored blocks of at most 65535 bytes (RFC 1951 section 3.2.4), as many as they need; without bytes
 * an empty one.
 *
 * The bytes are the ones that the pairs stand for; zelsEncodeLZ77_8u has counted and summed them. A call that answered
 * zelWarnDstFull is repeated with the bytes that are left.
 *
 * ppSrc   [in,out] bytes; moved behind those written
 * pSrcLen [in,out] bytes left
 * ppDst   [in,out] output; moved behind the bytes written
 * pDstLen [in,out] room left, in bytes
 * flush   zelLZ77FlushFinal sets BFINAL in every block of the call: give such a call at most 65535 bytes, and write
 *         what is more with zelLZ77FlushNone before. Other modes write plain blocks and no marker.
 * pState  [in,out] the record
 *
 * zelOk             the blocks are written
 * zelWarnStreamEnd  the same, with zelLZ77FlushFinal
 * zelWarnDstFull    all room is filled and something is left to write; or a block begun by an earlier call is longer
 *                   than what is left of the bytes
 * zelErrNullPtr     a pointer, *ppSrc or *ppDst is null; nothing changed
 * zelErrSize        *pSrcLen or *pDstLen is below 0; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77StoredBlock_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                                 zelLZ77FlushMode flush, zelLZ77State* pState);

/*
 * Writes the stream's trailer: for zelLZ77CheckAdler32 the Adler-32 of the input (4 bytes, RFC 1950 section 2.2), for
 * zelLZ77CheckCrc32 the CRC-32 and the input's size modulo 2^32 (8 bytes, RFC 1952 section 2.3.1), for
 * zelLZ77CheckNone a zero checksum and the size. The input is what zelsEncodeLZ77_8u consumed since Init or Reset.
 *
 * ppDst   [in,out] output; moved behind the bytes written. While room is left, the byte behind them is set to 0.
 * pDstLen [in,out] room left, in bytes
 * pState  [in,out] a record in status zelLZ77StatusFinal whose last block is written, with no writer call after its
 *                  zelWarnStreamEnd
 *
 * zelOk           the trailer is written
 * zelWarnDstFull  the room is used up, perhaps by the trailer's very last byte: call again with more
 * zelErr          the status is not zelLZ77StatusFinal, or the checksum kind is none of the three; nothing changed
 * zelErrNullPtr   a pointer or *ppDst is null; nothing changed
 * zelErrSize      *pDstLen is below 0; nothing changed
 */
ZELDC_API zelStatus zelsEncodeLZ77Flush_8u(uint8_t** ppDst, int32_t* pDstLen, zelLZ77State* pState);

#ifdef __cplusplus
}
#endif

#endif
