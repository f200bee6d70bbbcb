// How the library obtains and releases the memory of records. Only InitAlloc and Free functions come here.
#pragma once

#include <stdint.h>

// `len` bytes from zelMalloc, neither cleared nor aligned beyond what zelMalloc does; null for sizes below 1, without
// asking.
void* zelAllocState(int32_t len);

// Hands the pointer, null included, to zelFree.
void zelFreeState(void* state);
