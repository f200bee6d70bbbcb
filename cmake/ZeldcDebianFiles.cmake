# Run by cpack on the files of each package before it is made: what Debian packages need besides.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

# The change log's own time, so that packages of both architectures hold the same bytes.
file(TIMESTAMP "${CPACK_ZELDC_SOURCE_DIR}/CHANGELOG.md" time "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(READ "${CPACK_ZELDC_SOURCE_DIR}/LICENSE" licence)
string(REGEX MATCH "Copyright[^\n]*" copyright "${licence}")
string(REGEX REPLACE "\\(c\\) " "" holder "${copyright}")
string(REGEX REPLACE "^Copyright " "" holder "${holder}")
string(REGEX REPLACE "^.*${copyright}|^[^\n]*\n\n[^\n]*\n" "" terms "${licence}")
string(REGEX REPLACE "\n\n" "\n.\n" terms "${terms}")
string(STRIP "${terms}" terms)
string(REGEX REPLACE "\n" "\n " terms "${terms}")

# zelcore has no version on purpose: whatever library of this name a program brings is taken.
set(package "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}")
file(WRITE "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/runtime/usr/share/lintian/overrides/${package}"
     "${package}: shared-library-lacks-version *libzelcore.so*\n"
     "${package}: lacks-unversioned-link-to-shared-library *libzelcore.so*\n")

foreach(component runtime development)
  string(TOUPPER "${component}" upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  set(folder "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/doc/${package}")
  file(WRITE "${folder}/copyright"
       "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
       "Upstream-Name: zeldc\n\nFiles: *\nCopyright: ${holder}\nLicense: Expat\n ${terms}\n")
  file(WRITE "${folder}/changelog"
       "zeldc (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n  * See CHANGELOG.md in libzeldc-dev.\n\n"
       " -- ${CPACK_PACKAGE_CONTACT}  ${time}\n")
  execute_process(COMMAND gzip -9nf "${folder}/changelog" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
