# SPDX-License-Identifier: Apache-2.0
#
# cpack runs this on the packages that it made. It lets the library's package call ldconfig when it
# is installed and removed; Debian wants it to declare a trigger, by which ldconfig runs once for
# all packages that are installed together.
foreach(Package IN LISTS CPACK_PACKAGE_FILES)
  set(Folder ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
  file(REMOVE_RECURSE ${Folder})
  execute_process(COMMAND dpkg-deb --raw-extract ${Package} ${Folder} COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${Folder}/DEBIAN/postinst)
    file(REMOVE ${Folder}/DEBIAN/postinst ${Folder}/DEBIAN/postrm)
    file(WRITE ${Folder}/DEBIAN/triggers "activate-noawait ldconfig\n")
    execute_process(COMMAND dpkg-deb --build --root-owner-group ${Folder} ${Package}
                    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endif()
  file(REMOVE_RECURSE ${Folder})
endforeach()
