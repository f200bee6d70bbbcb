// A second exported name for a function of the same translation unit, at the same address.
#pragma once

#include "zeldc/types.h"

#define ZELDC_ALIAS(alias_name, function) \
  ZELDC_API decltype(function) alias_name __attribute__((nothrow, alias(#function)))
