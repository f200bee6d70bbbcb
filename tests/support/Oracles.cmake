# zlib, libdeflate, libbz2 and liblzo2 as imported targets zeldc_zlib, zeldc_libdeflate, zeldc_libbz2, zeldc_liblzo2.
#
# The headers are those of the -dev packages. A 32-bit build on a 64-bit machine links the run-time libraries of the
# i386 architecture by path, because their -dev packages can't stand beside the 64-bit ones.

function(zeldc_find_oracle target header library dev_package runtime_package)
  find_path(${target}_INCLUDE_DIR ${header})
  if(NOT ${target}_INCLUDE_DIR)
    message(FATAL_ERROR "ZELDC_BUILD_TESTS needs ${header}: install package ${dev_package}")
  endif()
  if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL "x86_64")
    file(GLOB candidates "/usr/lib/i386-linux-gnu/lib${library}.so*")
    list(SORT candidates)
    if(NOT candidates)
      message(FATAL_ERROR "32-bit tests need the 32-bit lib${library}: install package ${runtime_package}:i386 "
                          "(after: dpkg --add-architecture i386 && apt-get update)")
    endif()
    list(GET candidates 0 path)
  else()
    find_library(${target}_LIBRARY ${library})
    if(NOT ${target}_LIBRARY)
      message(FATAL_ERROR "ZELDC_BUILD_TESTS needs lib${library}: install package ${dev_package}")
    endif()
    set(path "${${target}_LIBRARY}")
  endif()
  add_library(${target} UNKNOWN IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION "${path}"
                                             INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE_DIR}")
endfunction()

zeldc_find_oracle(zeldc_zlib zlib.h z zlib1g-dev zlib1g)
zeldc_find_oracle(zeldc_libdeflate libdeflate.h deflate libdeflate-dev libdeflate0)
zeldc_find_oracle(zeldc_libbz2 bzlib.h bz2 libbz2-dev libbz2-1.0)
zeldc_find_oracle(zeldc_liblzo2 lzo/lzo1x.h lzo2 liblzo2-dev liblzo2-2)
