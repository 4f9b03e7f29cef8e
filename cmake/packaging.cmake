# SPDX-License-Identifier: Apache-2.0
#
# What cpack makes of the installation: three Debian packages.
#
#   librigsync-core0     the library, named after its SONAME: what a program needs to run
#   librigsync-core-dev  header, CMake package, pkg-config file, example: what a host developer adds
#   rigsync              the command, its man page and completion, and the documents
#
# The preset "package" configures a build for them: with the prefix /usr the library goes to
# Debian's folder for it, /usr/lib/ARCHITECTURE, and the command searches no folder of its own.
# Packages of another build work too, with the library in /usr/lib.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME rigsync-core)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Each package has a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "rigsync_core developers")
# The domain is reserved for examples: nobody gets what is sent there.
set(CPACK_PACKAGE_CONTACT "rigsync_core developers <rigsync-core@example.org>")
set(CPACK_OUTPUT_FILE_PREFIX packages)
set(CPACK_COMPONENTS_ALL library development tools docs)
# Whatever the umask of the one who makes them.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
                                                GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Older than the "1" of a package that Debian itself would make of the same version.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0upstream1)
set(Package_Version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SOURCE rigsync-core)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Dependencies on other libraries follow from what is linked. The command's own library is found in
# the build; that it depends on its package stands below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME librigsync-core0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "camera-to-tracker calibration - shared library
rigsync_core measures where a tracker sits on a film camera, from photographs
of a chessboard and the tracker samples that belong to them, and writes the
result as render engines take it.

This package has the library that programs need to run.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME librigsync-core-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "librigsync-core0 (= ${Package_Version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS rigsync)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "camera-to-tracker calibration - development files
rigsync_core measures where a tracker sits on a film camera, from photographs
of a chessboard and the tracker samples that belong to them, and writes the
result as render engines take it.

This package has what it takes to build programs with the library: header,
CMake package, pkg-config file and an example. The documents come with the
package rigsync.")

# The command reads the library's run log, so the two are of one version.
set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME rigsync)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "librigsync-core0 (= ${Package_Version})")
set(CPACK_DEBIAN_COMMAND_PACKAGE_SUGGESTS bash-completion)
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "camera-to-tracker calibration for virtual production
rigsync measures where a tracker sits on a film camera, from photographs of a
chessboard and the tracker samples that belong to them. It prints the board,
simulates captures, inspects and calibrates them, and exports the result in
the form that render engines take.

This package has the command and the documents, those of the library too.")

# Who links the library depends on its package, in this version or a newer one.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# What Debian wants beyond what "cmake --install" lays down and cpack packs.
configure_file(cmake/debian_files.cmake.in debian_files.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/debian_files.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian_trigger.cmake)

include(CPack)
cpack_add_component_group(library)
cpack_add_component_group(development)
cpack_add_component_group(command)
cpack_add_component(library GROUP library)
cpack_add_component(development GROUP development)
cpack_add_component(tools GROUP command)
cpack_add_component(docs GROUP command)
