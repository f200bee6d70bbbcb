# The processor that the library is built for, fixed here: nothing is chosen at run time.

set(ZELDC_CPU "x86-64-v3" CACHE STRING
    "x86-64-v3 (AVX2, BMI2 and PCLMULQDQ), baseline (SSE2 on x86) or native (the building machine); ignored elsewhere")
set_property(CACHE ZELDC_CPU PROPERTY STRINGS x86-64-v3 baseline native)

string(TOLOWER "${CMAKE_SYSTEM_PROCESSOR}" processor)
set(zeldc_cpu_flags "")
if(processor MATCHES "^(x86_64|amd64|i[3-6]86|x86)$")
  if(ZELDC_CPU STREQUAL "x86-64-v3")
    set(zeldc_cpu_flags -march=x86-64-v3 -mpclmul)
  elseif(ZELDC_CPU STREQUAL "baseline")
    set(zeldc_cpu_flags -msse2)
  elseif(ZELDC_CPU STREQUAL "native")
    set(zeldc_cpu_flags -march=native)
  else()
    message(FATAL_ERROR "ZELDC_CPU is '${ZELDC_CPU}'; it must be x86-64-v3, baseline or native")
  endif()
endif()

if(MINGW)
  # Windows aligns the stack to 16 bytes, and 32-bit callers to 4: vectors are moved unaligned, and the stack is aligned
  # where that is not enough.
  list(APPEND zeldc_cpu_flags -Wa,-muse-unaligned-vector-move)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    list(APPEND zeldc_cpu_flags -mstackrealign)
  endif()
endif()
