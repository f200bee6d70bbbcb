/*
 * Dictionary reduction: the byte values that occur, renumbered densely, and back.
 *
 * pInUse says for each byte value whether it occurs: 256 entries, each 0 or 1. The values in use get the numbers 0, 1,
 * 2 and so on in their order. Any other entry than 0 and 1 counts as so many values, which shifts all later numbers.
 *
 * Both functions work in place. From 2048 bytes on they divide the bytes among as many threads as zelcore's
 * ownGetNumThreads says, which is asked at every call; within a parallel region of the caller's one thread does all.
 * Starting the threads takes some microseconds, so below some ten thousand bytes one thread alone would often be
 * faster.
 */
#ifndef ZELDC_DICTIONARY_H
#define ZELDC_DICTIONARY_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Replaces each byte by its value's number. A byte whose value is not in use, which is not looked for, becomes the
 * number of the next value in use, or, behind the last, the number of values.
 *
 * pInUse           [in]      256 entries
 * pSrcDst          [in,out]  len bytes
 * len                        bytes, at least 1
 * pSizeDictionary  [out]     the number of values in use: the sum of the entries
 *
 * zelOk          done
 * zelErrNullPtr  pInUse, pSrcDst or pSizeDictionary is null; nothing changed
 * zelErrSize     len is below 1; nothing changed
 */
ZELDC_API zelStatus zelsReduceDictionary_8u_I(const uint8_t* pInUse, uint8_t* pSrcDst, int32_t len,
                                              int32_t* pSizeDictionary);

/*
 * Replaces each number by the byte value that has it. What a number that no value has, which is not looked for, becomes
 * is not defined, but always the same.
 *
 * pInUse           [in]      256 entries
 * pSrcDst          [in,out]  len bytes
 * len                        bytes, at least 1
 * sizeDictionary             the number of values in use, as zelsReduceDictionary_8u_I told it; a check of the table
 *
 * zelOk          done
 * zelErrNullPtr  pInUse or pSrcDst is null; nothing changed
 * zelErrSize     len or sizeDictionary is below 1; nothing changed
 * zelErr         sizeDictionary is not the sum of the entries; nothing changed
 */
ZELDC_API zelStatus zelsExpandDictionary_8u_I(const uint8_t* pInUse, uint8_t* pSrcDst, int32_t len,
                                              int32_t sizeDictionary);

#ifdef __cplusplus
}
#endif

#endif
