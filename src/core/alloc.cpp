// Allocation of records, and the one release function under the names of all families.

#include "core/alloc.h"

#include "core/alias.h"
#include "zelcore.h"
#include "zeldc/types.h"

void* zelAllocState(int32_t len) { return len < 1 ? nullptr : zelMalloc(len); }

void zelFreeState(void* state) { zelFree(state); }

extern "C" {

zelStatus zelsLZ77Free_8u(void* pState) {
  zelFreeState(pState);
  return zelOk;
}

ZELDC_ALIAS(zelsDecodeHuffFree_BZ2_8u16u, zelsLZ77Free_8u);
ZELDC_ALIAS(zelsEncodeHuffFree_BZ2_16u8u, zelsLZ77Free_8u);
ZELDC_ALIAS(zelsGITFree_8u, zelsLZ77Free_8u);
ZELDC_ALIAS(zelsHuffFree_8u, zelsLZ77Free_8u);
ZELDC_ALIAS(zelsLZSSFree_8u, zelsLZ77Free_8u);
ZELDC_ALIAS(zelsMTFFree_8u, zelsLZ77Free_8u);
ZELDC_ALIAS(zelsRLEFree_BZ2_8u, zelsLZ77Free_8u);

}  // extern "C"
