// A decoder that gives back zeros, to be loaded in front of the library's.

#include <string.h>

#include "zeldc.h"

zelStatus zelsDecodeHuff_8u(const uint8_t*, int32_t, uint8_t* pDst, int32_t* pDstLen, zelHuffState*) {
  memset(pDst, 0, static_cast<size_t>(*pDstLen));
  return zelOk;
}
