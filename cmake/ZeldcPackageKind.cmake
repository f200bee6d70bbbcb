# Read by cpack before each kind of package.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_COMPONENTS_ALL runtime development)
  set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
  # A package of another architecture depends on that architecture's packages.
  if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
    set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
  endif()
endif()
