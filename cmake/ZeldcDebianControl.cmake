# Run by cpack on the packages that it has made: what its own Debian packages lack.
#
# Packages of both architectures may be installed at once (Multi-Arch), and the loader's cache is renewed by a trigger,
# as Debian asks for, where cpack writes scripts that call ldconfig.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

set(folder "${CPACK_TEMPORARY_DIRECTORY}/control")
foreach(package ${CPACK_PACKAGE_FILES})
  file(REMOVE_RECURSE "${folder}")
  execute_process(COMMAND dpkg-deb -R "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  file(READ "${folder}/DEBIAN/control" control)
  string(REGEX REPLACE "\nMaintainer:" "\nMulti-Arch: same\nMaintainer:" control "${control}")
  file(WRITE "${folder}/DEBIAN/control" "${control}")
  if(EXISTS "${folder}/DEBIAN/shlibs")
    file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")
    file(WRITE "${folder}/DEBIAN/triggers" "activate-noawait ldconfig\n")
  endif()
  execute_process(COMMAND dpkg-deb --root-owner-group -b "${folder}" "${package}" OUTPUT_QUIET
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(REMOVE_RECURSE "${folder}")
