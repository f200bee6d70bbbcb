/* Dictionary reduction: the byte values that occur, renumbered densely, and back. */
#ifndef ZELDC_DICTIONARY_H
#define ZELDC_DICTIONARY_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

ZELDC_API zelStatus zelsReduceDictionary_8u_I(const uint8_t* pInUse, uint8_t* pSrcDst, int32_t len,
                                              int32_t* pSizeDictionary);
ZELDC_API zelStatus zelsExpandDictionary_8u_I(const uint8_t* pInUse, uint8_t* pSrcDst, int32_t len,
                                              int32_t sizeDictionary);

#ifdef __cplusplus
}
#endif

#endif
