# Flags that every target of the project shares. Within a larger project they end at this one's folders.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

add_library(zeldc_warnings INTERFACE)
target_compile_options(zeldc_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
                                                -Wundef -Wcast-qual -Wvla)
if(ZELDC_WERROR)
  target_compile_options(zeldc_warnings INTERFACE -Werror)
endif()

# An installed libzeldc finds the libzelcore beside it, wherever the two are moved.
set(zeldc_library_rpath "$ORIGIN")

if(ZELDC_SANITIZE)
  add_compile_options(-fsanitize=${ZELDC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${ZELDC_SANITIZE})
  add_compile_definitions(ZELDC_ASSERTIONS)  # src/core/assert.h
endif()
