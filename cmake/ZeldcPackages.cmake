# What cpack makes: Debian packages of the libraries (libzeldc6) and of what building against them needs (libzeldc-dev),
# and an archive of everything that is installed.

set(CPACK_PACKAGE_NAME zeldc)
set(CPACK_PACKAGE_VENDOR "The zeldc developers")
set(CPACK_PACKAGE_CONTACT "The zeldc developers <developers@zeldc.invalid>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 2)
set(CPACK_GENERATOR "DEB;TGZ")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/ZeldcPackageKind.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/ZeldcDebianFiles.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/ZeldcDebianControl.cmake")
set(CPACK_ZELDC_SOURCE_DIR "${PROJECT_SOURCE_DIR}")

# The architecture in a 32-bit build on a 64-bit machine is not the machine's.
set(machine "${CMAKE_SYSTEM_PROCESSOR}")
if(machine MATCHES "^(x86_64|amd64|i[3-6]86)$")
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(machine i686)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  else()
    set(machine x86_64)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
  endif()
endif()
set(CPACK_PACKAGE_FILE_NAME "zeldc-${PROJECT_VERSION}-linux-${machine}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE zeldc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(runtime_package "libzeldc${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${runtime_package}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"The stages that coders are made of, as C functions over buffers and records
that the caller owns: checksums, Deflate, the stages of bzip2, LZO, LZSS, and
entropy coders. A small library of its own, zelcore, hands out memory and the
number of threads. Built for the processor ${ZELDC_CPU}.
.
This package holds the two libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzeldc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION}), libc6-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"The stages that coders are made of, as C functions over buffers and records
that the caller owns.
.
This package holds headers, the link for the linker, a CMake package,
pkg-config files, and documents.")

include(CPack)
