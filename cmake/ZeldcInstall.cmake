# What `cmake --install` puts where: headers, both libraries, the example programs if they are built, a CMake package,
# pkg-config files, licence and documents. Nothing of it names the prefix, so the tree may be moved.
#
# Components: runtime (the libraries), development (all that is needed to build against them), programs.

include(CMakePackageConfigHelpers)

install(TARGETS zeldc zelcore EXPORT zeldcTargets
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development
        FILES_MATCHING PATTERN "*.h")

# find_package(zeldc 6): the targets zeldc::zeldc and zeldc::zelcore, for the width that they were built for.
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/zeldc")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/zeldcConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(EXPORT zeldcTargets NAMESPACE zeldc:: DESTINATION "${package_dir}" COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/cmake/zeldcConfig.cmake" "${PROJECT_BINARY_DIR}/package/zeldcConfigVersion.cmake"
        DESTINATION "${package_dir}" COMPONENT development)

# pkg-config: paths relative to the file itself.
file(RELATIVE_PATH pc_to_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
foreach(kind LIBDIR INCLUDEDIR)
  set(pc_${kind} "${CMAKE_INSTALL_${kind}}")
  if(NOT IS_ABSOLUTE "${pc_${kind}}")
    set(pc_${kind} "\${prefix}/${pc_${kind}}")
  endif()
endforeach()
foreach(library zeldc zelcore)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${library}.pc.in" "${PROJECT_BINARY_DIR}/package/${library}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/package/${library}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT development)
endforeach()

install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT development
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "site" EXCLUDE)
