/*
 * Variable-length codes of the caller's own, for signed 16-bit values.
 *
 * A table lists for each value its code, as media coders do. The encoder's record finds a code by its value; the
 * decoder's finds a value by as many bits as the caller wants to look up at once, level by level.
 *
 * A stream of bits is a byte pointer and a bit offset from 0 to 7: *ppBitStream points at the byte that holds the next
 * bit, *pBitOffset counts the bits of that byte that are done, 0 meaning that the next one is its most significant.
 * Codes follow each other without gaps, their most significant bit first. Memory is accessed in words of 32 bits at
 * addresses that are multiples of 4, so the words that a call touches have to be accessible as a whole, even if the
 * stream begins or ends inside of one.
 *
 * A record stands at the first multiple of 32 of the memory that is given for it, whose size allows for that; the
 * memory may be at any address. It belongs there: it must not be copied or moved. Coding only reads it, so any number
 * of threads may use one record at once.
 *
 * No coding function allocates.
 */
#ifndef ZELDC_VLC_H
#define ZELDC_VLC_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* An entry of a table. */
typedef struct zelVLCCode {
  int32_t value;
  int32_t code;   /* the code's bits, the last one lowest; what stands above them does not matter */
  int32_t length; /* their number: 1 to 31 for an encoder, 1 to 32 for a decoder */
} zelVLCCode;

/* The encoder's record. Its size comes from zelsVLCEncodeGetSize_32s. */
typedef struct zelVLCEncodeState zelVLCEncodeState;

/* The decoder's record, with or without tuples. Its size comes from zelsVLCDecodeGetSize_32s or
   zelsVLCDecodeUTupleGetSize_32s. */
typedef struct zelVLCDecodeState zelVLCDecodeState;

/*
 * The size of an encoder's record: 4 * (largest - smallest + 2^k) + 68 bytes, where k is the number of bits of
 * largest - smallest + 1.
 *
 * pInputTable     [in]  inputTableSize entries, in any order
 * inputTableSize        entries, at least 1
 * pSize           [out] bytes
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable or pSize is null
 * zelErrVlcInput  inputTableSize is below 1, or the values are so far apart that the size would not fit 31 bits
 */
ZELDC_API zelStatus zelsVLCEncodeGetSize_32s(const zelVLCCode* pInputTable, int32_t inputTableSize, int32_t* pSize);

/*
 * Makes an encoder's record from a table.
 *
 * Of a value that is listed twice the first entry counts. A length outside 1..32 means that the value has no code; with
 * length 32, which only zeros are long enough for, the code is 0.
 *
 * pInputTable     [in]  inputTableSize entries, in any order; not needed afterwards
 * inputTableSize        entries, at least 1
 * pVLCSpec        [out] as many bytes as zelsVLCEncodeGetSize_32s says for the same table, at any address
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable or pVLCSpec is null
 * zelErrVlcInput  as for zelsVLCEncodeGetSize_32s. The record has not been written.
 */
ZELDC_API zelStatus zelsVLCEncodeInit_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                          zelVLCEncodeState* pVLCSpec);

/*
 * Allocates an encoder's record and makes it as zelsVLCEncodeInit_32s does. Release it with zelsVLCEncodeFree_32s.
 *
 * pInputTable     [in]  inputTableSize entries, in any order; not needed afterwards
 * inputTableSize        entries, at least 1
 * ppVLCSpec       [out] the record, null without memory; left alone with the other errors
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable or ppVLCSpec is null
 * zelErrVlcInput  as for zelsVLCEncodeGetSize_32s
 * zelErrNoMem     there is no memory
 */
ZELDC_API zelStatus zelsVLCEncodeInitAlloc_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                               zelVLCEncodeState** ppVLCSpec);

/*
 * Makes a record unusable, and releases its memory if zelsVLCEncodeInitAlloc_32s allocated it.
 *
 * pVLCSpec  [in,out]  an encoder's record; null, and anything else that is none, stays as it is
 */
ZELDC_API void zelsVLCEncodeFree_32s(zelVLCEncodeState* pVLCSpec);

/*
 * Appends the code of one value.
 *
 * The code goes to the next bits of the stream. If it ends inside the word in which it began, the rest of that word is
 * filled with ones; if it goes on into the next word, what stands behind it there is kept. The words that hold bits of
 * the code, and the word of the first bit in any case, are read and written, no others.
 *
 * src                    the value
 * ppBitStream  [in,out]  the byte of the stream's next bit, on return that of the bit behind the code
 * pBitOffset   [in,out]  the bit inside the byte. It is not checked: another number than 0..7 counts bits from
 *                        *ppBitStream on. On return 0 to 7.
 * pVLCSpec     [in]      a record that zelsVLCEncodeInit_32s or ...InitAlloc_32s made
 *
 * zelOk           done
 * zelErrNullPtr   ppBitStream, pBitOffset, pVLCSpec or *ppBitStream is null
 * zelErrVlcInput  pVLCSpec is no such record, or src has no code. Nothing has been written.
 */
ZELDC_API zelStatus zelsVLCEncodeOne_16s1u(int16_t src, uint8_t** ppBitStream, int32_t* pBitOffset,
                                           const zelVLCEncodeState* pVLCSpec);

/*
 * Appends the codes of values: the same as zelsVLCEncodeOne_16s1u for each of them in order.
 *
 * pSrc         [in]      srcLen values
 * srcLen                 values, at least 1
 * ppBitStream  [in,out]  the byte of the stream's next bit, on return that of the bit behind the last code
 * pBitOffset   [in,out]  the bit inside the byte, 0 to 7
 * pVLCSpec     [in]      a record that zelsVLCEncodeInit_32s or ...InitAlloc_32s made
 *
 * zelOk           done
 * zelErrNullPtr   pSrc, ppBitStream, pBitOffset, pVLCSpec or *ppBitStream is null
 * zelErrVlcInput  srcLen is below 1, *pBitOffset outside 0..7, or pVLCSpec no such record: nothing has been written.
 *                 Or a value has no code: those before it have been written, and the stream stands behind them.
 */
ZELDC_API zelStatus zelsVLCEncodeBlock_16s1u(const int16_t* pSrc, int32_t srcLen, uint8_t** ppBitStream,
                                             int32_t* pBitOffset, const zelVLCEncodeState* pVLCSpec);

/*
 * Counts the bits that the codes of values take together.
 *
 * pSrc        [in]   srcLen values
 * srcLen             values, at least 1
 * pCountBits  [out]  bits; left alone with an error
 * pVLCSpec    [in]   a record that zelsVLCEncodeInit_32s or ...InitAlloc_32s made
 *
 * zelOk           done
 * zelErrNullPtr   pSrc, pCountBits or pVLCSpec is null
 * zelErrVlcInput  srcLen is below 1, pVLCSpec is no such record, a value has no code, or the bits are 2^31 or more
 */
ZELDC_API zelStatus zelsVLCCountBits_16s32s(const int16_t* pSrc, int32_t srcLen, int32_t* pCountBits,
                                            const zelVLCEncodeState* pVLCSpec);

/*
 * The size of a decoder's record.
 *
 * The first look-up takes pSubTablesSizes[0] bits, the next one, if the code is longer, pSubTablesSizes[1], and so on.
 * The last level is cut so that all levels together take as many bits as the longest code, and the rest of the list is
 * not looked at. A sub-table of w bits takes 2^w + 1 elements of 8, 16 or 32 bits, by what values and positions need;
 * there is one for the first level, and for each later one as many as there are beginnings of longer codes. The record
 * takes 88 bytes besides. First levels of 9 to 11 bits are fast where codes have up to some 20.
 *
 * pInputTable      [in]  inputTableSize entries, in any order. No code may be the beginning of another one, or equal
 *                        to it. Patterns without a code are allowed, and so are several codes of one value.
 * inputTableSize         entries, at least 1
 * pSubTablesSizes  [in]  numSubTables widths in bits, each at least 1
 * numSubTables           widths in the list
 * pSize            [out] bytes
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable, pSubTablesSizes or pSize is null
 * zelErrVlcInput  inputTableSize is below 1, or the size would not fit 31 bits
 * zelErrVlcTable  a length is outside 1..32; a width is below 1; the widths do not reach the longest code; or a code
 *                 begins with another one
 */
ZELDC_API zelStatus zelsVLCDecodeGetSize_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                             const int32_t* pSubTablesSizes, int32_t numSubTables, int32_t* pSize);

/*
 * Makes a decoder's record from a table.
 *
 * pInputTable      [in]  inputTableSize entries as for zelsVLCDecodeGetSize_32s; not needed afterwards. Of values
 *                        outside -32768..32767 the low 16 bits are what the decoder writes.
 * inputTableSize         entries, at least 1
 * pSubTablesSizes  [in]  numSubTables widths in bits, each at least 1
 * numSubTables           widths in the list
 * pVLCSpec         [out] as many bytes as zelsVLCDecodeGetSize_32s says for the same arguments, at any address
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable, pSubTablesSizes or pVLCSpec is null
 * zelErrVlcInput, zelErrVlcTable
 *                 as for zelsVLCDecodeGetSize_32s. The record has not been written.
 */
ZELDC_API zelStatus zelsVLCDecodeInit_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                          const int32_t* pSubTablesSizes, int32_t numSubTables,
                                          zelVLCDecodeState* pVLCSpec);

/*
 * Allocates a decoder's record and makes it as zelsVLCDecodeInit_32s does. Release it with zelsVLCDecodeFree_32s.
 *
 * pInputTable, inputTableSize, pSubTablesSizes, numSubTables
 *                    as for zelsVLCDecodeInit_32s
 * ppVLCSpec  [out]   the record; left alone with an error
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable, pSubTablesSizes or ppVLCSpec is null
 * zelErrVlcInput, zelErrVlcTable
 *                 as for zelsVLCDecodeGetSize_32s
 * zelErrNoMem     there is no memory
 */
ZELDC_API zelStatus zelsVLCDecodeInitAlloc_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                               const int32_t* pSubTablesSizes, int32_t numSubTables,
                                               zelVLCDecodeState** ppVLCSpec);

/*
 * Decodes one code.
 *
 * At most the words that hold the next bits of the stream are read, as many bits as the table's longest code has.
 *
 * ppBitStream  [in,out]  the byte of the stream's next bit, on return that of the bit behind the code; only read
 * pBitOffset   [in,out]  the bit inside the byte, 0 to 7
 * pDst         [out]     the value
 * pVLCSpec     [in]      a decoder's record. One for tuples gives the low 16 bits of the table's value, and knows no
 *                        sign bits.
 *
 * zelOk           done
 * zelErrNullPtr   ppBitStream, pBitOffset, pDst, pVLCSpec or *ppBitStream is null
 * zelErrVlcInput  *pBitOffset is outside 0..7, pVLCSpec is no decoder's record, or no code stands here. The stream and
 *                 *pDst are as they were.
 */
ZELDC_API zelStatus zelsVLCDecodeOne_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                           const zelVLCDecodeState* pVLCSpec);

/*
 * Decodes codes in a row: the same as zelsVLCDecodeOne_1u16s for each of them.
 *
 * ppBitStream  [in,out]  the byte of the stream's next bit, on return that of the bit behind the last code; only read
 * pBitOffset   [in,out]  the bit inside the byte, 0 to 7
 * pDst         [out]     room for dstLen values
 * dstLen                 codes, at least 1
 * pVLCSpec     [in]      a decoder's record, see zelsVLCDecodeOne_1u16s
 *
 * zelOk           done
 * zelErrNullPtr   ppBitStream, pBitOffset, pDst, pVLCSpec or *ppBitStream is null
 * zelErrVlcInput  *pBitOffset is outside 0..7, dstLen below 1, or pVLCSpec no decoder's record: nothing has changed.
 *                 Or bits are no code: the stream stands at them, and the values before them have been written.
 */
ZELDC_API zelStatus zelsVLCDecodeBlock_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t dstLen,
                                             const zelVLCDecodeState* pVLCSpec);

/*
 * Makes a decoder's record, of either kind, unusable, and releases its memory if an InitAlloc function allocated it.
 *
 * pVLCSpec  [in,out]  a decoder's record; null, and anything else that is none, stays as it is
 */
ZELDC_API void zelsVLCDecodeFree_32s(zelVLCDecodeState* pVLCSpec);

/*
 * The size of a decoder's record for codes that stand for several numbers at once.
 *
 * The low tupleSize * elementBits bits of each value of the table are tupleSize unsigned elements of elementBits bits,
 * the first one highest. In the stream the code is followed by a sign bit, 1 for minus, for each element that is not 0,
 * in their order.
 *
 * pInputTable, inputTableSize, pSubTablesSizes, numSubTables
 *                     as for zelsVLCDecodeGetSize_32s
 * tupleSize           elements of a code, at least 1
 * elementBits         bits of an element, at least 1; tupleSize * elementBits is at most 31
 * pSize        [out]  bytes; the same as without tuples
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable, pSubTablesSizes or pSize is null
 * zelErrVlcInput  inputTableSize is below 1, or the size would not fit 31 bits
 * zelErrVlcTable  as for zelsVLCDecodeGetSize_32s; or a value does not fit an element of 32 bits beside a code's length
 *                 (up to 25 bits always do). zelErrBadArg comes before these, but behind wrong lengths in the table.
 * zelErrBadArg    tupleSize or elementBits is below 1, or their product is above 31
 */
ZELDC_API zelStatus zelsVLCDecodeUTupleGetSize_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                                   const int32_t* pSubTablesSizes, int32_t numSubTables,
                                                   int32_t tupleSize, int32_t elementBits, int32_t* pSize);

/*
 * Makes a decoder's record for tuples.
 *
 * pInputTable, inputTableSize, pSubTablesSizes, numSubTables, tupleSize, elementBits
 *                    as for zelsVLCDecodeUTupleGetSize_32s
 * pVLCSpec  [out]    as many bytes as zelsVLCDecodeUTupleGetSize_32s says for the same arguments, at any address
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable, pSubTablesSizes or pVLCSpec is null
 * zelErrVlcInput, zelErrVlcTable, zelErrBadArg
 *                 as for zelsVLCDecodeUTupleGetSize_32s. The record has not been written.
 */
ZELDC_API zelStatus zelsVLCDecodeUTupleInit_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                                const int32_t* pSubTablesSizes, int32_t numSubTables, int32_t tupleSize,
                                                int32_t elementBits, zelVLCDecodeState* pVLCSpec);

/*
 * Allocates a decoder's record for tuples and makes it as zelsVLCDecodeUTupleInit_32s does. Release it with
 * zelsVLCDecodeUTupleFree_32s.
 *
 * pInputTable, inputTableSize, pSubTablesSizes, numSubTables, tupleSize, elementBits
 *                    as for zelsVLCDecodeUTupleGetSize_32s
 * ppVLCSpec  [out]   the record; left alone with an error
 *
 * zelOk           done
 * zelErrNullPtr   pInputTable, pSubTablesSizes or ppVLCSpec is null
 * zelErrVlcInput, zelErrVlcTable, zelErrBadArg
 *                 as for zelsVLCDecodeUTupleGetSize_32s
 * zelErrNoMem     there is no memory
 */
ZELDC_API zelStatus zelsVLCDecodeUTupleInitAlloc_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                                     const int32_t* pSubTablesSizes, int32_t numSubTables,
                                                     int32_t tupleSize, int32_t elementBits,
                                                     zelVLCDecodeState** ppVLCSpec);

/*
 * Decodes one code and the signs behind it.
 *
 * At most the words that hold the next bits of the stream are read: as many as the table's longest code has, and
 * tupleSize.
 *
 * ppBitStream  [in,out]  the byte of the stream's next bit, on return that of the bit behind the last sign; only read
 * pBitOffset   [in,out]  the bit inside the byte, 0 to 7
 * pDst         [out]     room for tupleSize values. Of elements of more than 15 bits the low 16 bits are written.
 * pVLCSpec     [in]      a decoder's record for tuples
 *
 * zelOk           done
 * zelErrNullPtr   ppBitStream, pBitOffset, pDst, pVLCSpec or *ppBitStream is null
 * zelErrVlcInput  *pBitOffset is outside 0..7, pVLCSpec is no decoder's record for tuples, or no code stands here. The
 *                 stream and pDst are as they were.
 */
ZELDC_API zelStatus zelsVLCDecodeUTupleOne_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                                 const zelVLCDecodeState* pVLCSpec);

/*
 * Decodes codes with their signs in a row: the same as zelsVLCDecodeUTupleOne_1u16s for each of them.
 *
 * ppBitStream  [in,out]  the byte of the stream's next bit, on return that of the bit behind the last sign; only read
 * pBitOffset   [in,out]  the bit inside the byte, 0 to 7
 * pDst         [out]     room for dstLen * tupleSize values
 * dstLen                 codes, at least 1
 * pVLCSpec     [in]      a decoder's record for tuples
 *
 * zelOk           done
 * zelErrNullPtr   ppBitStream, pBitOffset, pDst, pVLCSpec or *ppBitStream is null
 * zelErrVlcInput  *pBitOffset is outside 0..7, dstLen below 1, or pVLCSpec no decoder's record for tuples: nothing has
 *                 changed. Or bits are no code: the stream stands at them, and the values before them have been
 *                 written.
 */
ZELDC_API zelStatus zelsVLCDecodeUTupleBlock_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                                   int32_t dstLen, const zelVLCDecodeState* pVLCSpec);

/* The function zelsVLCDecodeFree_32s under another name. */
ZELDC_API void zelsVLCDecodeUTupleFree_32s(zelVLCDecodeState* pVLCSpec);

#ifdef __cplusplus
}
#endif

#endif
