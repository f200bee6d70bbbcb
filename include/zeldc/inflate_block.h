/*
 * One-call Deflate decoding (RFC 1951), for callers that read the block structure themselves.
 *
 * The caller owns everything: it reads the three header bits of each block, copies stored blocks, and reads the code
 * lengths of a dynamic block's header. For the costly rest there are two functions:
 *
 *   zelsInflateBuildHuffTable makes decoding tables of a dynamic block's code lengths (section 3.2.7);
 *   zelsInflate_8u decodes the body of a block with the fixed or a dynamic code up to its end.
 *
 * Between the two the caller keeps a zelInflateState, the bits that have been taken from the input but not used, and
 * the output so far:
 *
 *   zelInflateState state;
 *   state.window = window;                 // history that the output buffer does not hold: up to 32768 bytes
 *   state.windowSize = 32768;
 *   for each block:
 *     fixed code:   state.tableForm = 0
 *     dynamic code: zelsInflateBuildHuffTable(lengths, hlit, hdist, &state)
 *     mode = 1
 *     until mode is 0:
 *       zelsInflate_8u(&src, &srcLen, &bits, &bitCount, windowFill, &dst, &dstLen, dst - start, &mode, &state)
 *       then bring more input if srcLen is 0, and empty the output if dstLen is 0
 *
 * Who wants to start the output buffer anew puts the last 32768 bytes of the stream's output (the old window's end,
 * when the buffer held less) into the window before, and sets windowFill to how many there are. A buffer that takes the
 * whole output needs no window: windowFill is 0, and dstPos grows.
 */
#ifndef ZELDC_INFLATE_BLOCK_H
#define ZELDC_INFLATE_BLOCK_H

#include <stddef.h>

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What zelsInflateState.tableForm says. */
enum {
  zelInflateFixed = 0,   /* the fixed code: set by the caller; no tables are needed */
  zelInflateGeneral = 1, /* tables in two levels, for codes of up to 15 bits */
  zelInflateShort = 2    /* tables in one level, for literal/length codes of up to 11 bits and distances of up to 10 */
};

/* What zelsInflate_8u leaves in *pMode, and takes on entry: zelInflateInside goes on, all else starts at a symbol. */
enum {
  zelInflateBlockEnd = 0, /* the end of the block was decoded */
  zelInflateBetween = 1,  /* stopped between two symbols, for lack of input */
  zelInflateInside = 2    /* stopped inside a symbol or a match, for lack of input or room */
};

/*
 * The record, laid out by the caller. Between calls for one block only window may change, together with what windowFill
 * and dstPos say; for a new block tableForm or the tables. Whatever else it holds, no call leaves the buffers.
 *
 * Codes stand in the stream first bit first, so a table is indexed by the next bits of the stream, lowest bit first.
 *
 * Short form: at tables[0] the literal/length table, 2^maxLitBits entries of 16 bits: bits 0-3 the length of the code,
 * bits 4-7 0 for a literal, 15 for the end of the block, 8 + n for a length with n extra bits, bits 8-15 the literal or
 * the length minus 3. At tables[4096] the distance table, 2^maxDistBits entries of 32 bits: bits 0-3 the length of the
 * code, bits 4-7 the number of extra bits, bits 16-31 the first distance.
 *
 * General form: at tables[0] 1536 values and at tables[1536] 1536 bytes of information for literals and lengths, at
 * tables[3072] 1280 first distances of 16 bits and at tables[5632] 1280 bytes of information for them. A value is the
 * literal, or the length minus 3. Information is as bits 0-7 above, with 6 for the end of the block. The first 1024
 * entries of each are indexed by the next 10 bits; one that tells a length of L > 10 leads to the sub-table that starts
 * 2 x value entries behind them, indexed by the code's bits from the eleventh to the L-th, the first of them highest.
 *
 * Any other content of bits 4-7, or a distance with more than 13 extra bits, is an invalid symbol.
 */
typedef struct zelInflateState {
  const uint8_t* window; /* [windowSize], history before the output buffer; set by the caller. Not looked at when
                            windowFill is 0. It does not overlap the room for output. */
  uint32_t windowSize;   /* bytes that the window has room for; set by the caller */
  uint32_t tableForm;    /* zelInflateFixed, set by the caller, or what zelsInflateBuildHuffTable sets */
  uint32_t reserved;     /* neither read nor written */
  /* With zelInflateInside in *pMode, how to go on; without meaning otherwise. */
  uint32_t resumeState; /* what comes next: 1 a symbol, 2 the extra bits of a length, 3 the code of a distance, 4 its
                           extra bits, 5 the rest of a match, 6 a literal that lacked room */
  uint32_t resumeValue; /* before 6 the literal; else the length: before 2 without its extra bits, before 5 what is left
                           of it */
  uint32_t resumeInfo;  /* before 2 and 4 the number of extra bits: at most 5 of a length, 13 of a distance */
  uint32_t resumeDist;  /* before 4 the distance without its extra bits, before 5 the distance */
  uint32_t maxLitBits;  /* short form: longest literal/length code, at most 11 */
  uint32_t maxDistBits; /* short form: longest distance code, at most 10 */
  uint8_t tables[8192];
} zelInflateState;

#if defined(__cplusplus)
#define ZELDC_ASSERT_LAYOUT(condition) static_assert(condition, "the record's layout")
#elif !defined(__STDC_VERSION__) || __STDC_VERSION__ < 201112L
#define ZELDC_ASSERT_LAYOUT(condition) extern const char zeldcAssertLayout[(condition) ? 1 : -1]
#else
#define ZELDC_ASSERT_LAYOUT(condition) _Static_assert(condition, "the record's layout")
#endif
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, windowSize) == sizeof(void*));
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, tableForm) == sizeof(void*) + 4);
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, reserved) == sizeof(void*) + 8);
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, resumeState) == sizeof(void*) + 12);
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, resumeDist) == sizeof(void*) + 24);
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, maxLitBits) == sizeof(void*) + 28);
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, maxDistBits) == sizeof(void*) + 32);
ZELDC_ASSERT_LAYOUT(offsetof(zelInflateState, tables) == sizeof(void*) + 36);
ZELDC_ASSERT_LAYOUT(sizeof(zelInflateState) == (sizeof(void*) == 8 ? 8240 : 8232));
#undef ZELDC_ASSERT_LAYOUT

/*
 * Makes decoding tables of the code lengths of a dynamic block.
 *
 * Whether the codes are complete is not checked, nor, in the general form, whether the end of the block has one. Bits
 * that no code begins with, and any bits of an over-subscribed code, are an invalid symbol to zelsInflate_8u.
 *
 * pCodeLens      [in]  litLensNum lengths of literal/length codes, and at once behind them distLensNum of distance
 *                      codes: 0 (no code) to 15 bits
 * litLensNum           at most 286
 * distLensNum          at most 30
 * pInflateState  [out] tableForm and tables; in the short form maxLitBits and maxDistBits, too. The short form is taken
 *                      for literal/length codes of up to 11 bits with distances of up to 10, the general one otherwise.
 *
 * zelOk          done
 * zelErrNullPtr  a pointer is null; nothing changed
 * zelErrSize     litLensNum or distLensNum is too large; nothing changed
 * zelErrBadData  no literal/length code, no distance code, or a length above 15: nothing changed. In the short form
 *                also fewer than 257 literal/length codes, or no code for the end of the block: only maxLitBits and
 *                maxDistBits are set.
 */
ZELDC_API zelStatus zelsInflateBuildHuffTable(const uint16_t* pCodeLens, uint32_t litLensNum, uint32_t distLensNum,
                                              zelInflateState* pInflateState);

/*
 * Decodes the body of a block with the fixed or a dynamic code: from behind its header up to and including the code for
 * its end, or as far as input and room reach. Without room it still decodes the next symbol, so that the end of the
 * block is found with the room just filled.
 *
 * All pieces of a symbol for which the input holds the bits are used: the position in the stream is 8 bits for each
 * byte taken from *ppSrc, less *pBitCount. While it lacks input it takes all of it. At most 7 bits are left in the
 * buffer, or up to 14 that are not enough for what comes next, or those that were there and have not been used.
 *
 * ppSrc          [in,out] compressed bytes; moved behind those taken
 * pSrcLen        [in,out] bytes left
 * pBitBuffer     [in,out] bits that precede *ppSrc in the stream, the next one in bit 0; zeros above them on return
 * pBitCount      [in,out] their number, at most 32
 * windowFill              bytes of history in the window, the latest at window[windowFill - 1]
 * ppDst          [in,out] output; moved behind the bytes written. Bytes of the room that are not written may hold
 *                         scratch data.
 * pDstLen        [in,out] room left, in bytes
 * dstPos                  bytes of output before *ppDst in the same buffer, behind the window's; matches may copy them
 * pMode          [in,out] on entry zelInflateInside to go on where the last call stopped, else anything; on return
 *                         where this one did. Left alone by an error.
 * pInflateState  [in,out] the record; only the resume fields are written, with zelInflateInside
 *
 * zelOk          done, as far as *pMode tells
 * zelErrNullPtr  a pointer other than window, or *ppSrc or *ppDst, is null; nothing changed
 * zelErrSize     *pBitCount is above 32, or windowFill above windowSize; nothing changed
 * zelErrBadData  tableForm, the tables' widths or the resume fields are out of range: nothing changed. Or an invalid
 *                symbol, or a distance that reaches before the window's first byte: what precedes it has been decoded
 *                and written, and the stream can't be resumed.
 */
ZELDC_API zelStatus zelsInflate_8u(const uint8_t** ppSrc, uint32_t* pSrcLen, uint32_t* pBitBuffer, uint32_t* pBitCount,
                                   uint32_t windowFill, uint8_t** ppDst, uint32_t* pDstLen, uint32_t dstPos,
                                   int32_t* pMode, zelInflateState* pInflateState);

#ifdef __cplusplus
}
#endif

#endif
