// A second exported name for a function of the same translation unit, at the same address.
#pragma once

#include "zeldc/types.h"

// GCC wants to see that an alias does not throw, Clang takes that for another type.
#if defined(__clang__)
#define ZELDC_ALIAS_NOTHROW
#else
#define ZELDC_ALIAS_NOTHROW __attribute__((nothrow))
#endif

#define ZELDC_ALIAS(alias_name, function) \
  ZELDC_API decltype(function) alias_name ZELDC_ALIAS_NOTHROW __attribute__((alias(#function)))
