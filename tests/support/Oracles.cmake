# zlib, libdeflate, libbz2 and liblzo2 as imported targets zeldc_zlib, zeldc_libdeflate, zeldc_libbz2, zeldc_liblzo2.
#
# The headers are those of the -dev packages. A 32-bit build on a 64-bit machine and a build for another architecture
# link that architecture's run-time libraries by path, because their -dev packages can't stand beside the native ones.
set(zeldc_oracle_triplet "")
if(CMAKE_CROSSCOMPILING AND NOT WIN32)
  set(zeldc_oracle_triplet "${CMAKE_LIBRARY_ARCHITECTURE}")
elseif(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL "x86_64")
  set(zeldc_oracle_triplet i386-linux-gnu)
endif()

function(zeldc_find_oracle target header library dev_package runtime_package)
  find_path(${target}_INCLUDE_DIR ${header})
  if(NOT ${target}_INCLUDE_DIR)
    message(FATAL_ERROR "ZELDC_BUILD_TESTS needs ${header}: install package ${dev_package}")
  endif()
  if(zeldc_oracle_triplet)
    file(GLOB candidates "/usr/lib/${zeldc_oracle_triplet}/lib${library}.so*")
    list(SORT candidates)
    if(NOT candidates)
      message(FATAL_ERROR "Tests for ${zeldc_oracle_triplet} need its lib${library}: install that architecture's "
                          "package ${runtime_package} (for i386: dpkg --add-architecture i386 && apt-get update && "
                          "apt-get install ${runtime_package}:i386)")
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
if(WIN32)  # no package has the others
  return()
endif()
zeldc_find_oracle(zeldc_libdeflate libdeflate.h deflate libdeflate-dev libdeflate0)
zeldc_find_oracle(zeldc_libbz2 bzlib.h bz2 libbz2-dev libbz2-1.0)
zeldc_find_oracle(zeldc_liblzo2 lzo/lzo1x.h lzo2 liblzo2-dev liblzo2-2)
