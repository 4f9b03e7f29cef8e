# SPDX-License-Identifier: Apache-2.0
#
# The compiler and linker options of each platform. Sets RIGSYNC_WARNINGS,
# RIGSYNC_WARNINGS_AS_ERRORS, RIGSYNC_NO_SHADOW_WARNINGS and RIGSYNC_ORIGIN, and defines
# rigsync_optimise_always and rigsync_show_exports_alone.

# Compilers must not form fused multiply-adds: these round once, where the logged digits require two
# roundings. For the same reason there is no fast-math and no -march here: Release, Debug and
# sanitizer builds of gcc and clang give the same bits.
if(MSVC)
  if(RIGSYNC_SANITIZE OR RIGSYNC_FUZZ OR RIGSYNC_MUTATION)
    message(FATAL_ERROR "RIGSYNC_SANITIZE, RIGSYNC_FUZZ and RIGSYNC_MUTATION are for gcc and clang")
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "MSVC" AND MSVC_VERSION LESS 1930)
    # /fp:strict would prevent it there, but also compile-time floating-point constants.
    message(FATAL_ERROR "Visual Studio 2022 is needed: under /fp:precise, earlier compilers may "
                        "form fused multiply-adds")
  endif()
  add_compile_options(/fp:precise /permissive- /Zc:__cplusplus /utf-8 /bigobj)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(/clang:-ffp-contract=off)
  endif()
  set(RIGSYNC_WARNINGS /W4)
  set(RIGSYNC_WARNINGS_AS_ERRORS /WX)
  set(RIGSYNC_NO_SHADOW_WARNINGS /wd4459)
else()
  add_compile_options(-ffp-contract=off)
  set(RIGSYNC_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  set(RIGSYNC_WARNINGS_AS_ERRORS -Werror)
  set(RIGSYNC_NO_SHADOW_WARNINGS -Wno-shadow)
endif()

if(WIN32)
  # Windows 10, no min and max macros, no warnings about standard functions.
  add_compile_definitions(_WIN32_WINNT=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN _CRT_SECURE_NO_WARNINGS)
  # In the build tree, a program finds only DLLs in its own folder.
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endif()

# The start of an installed program's library search path. Windows searches the program's folder.
if(APPLE)
  set(RIGSYNC_ORIGIN "@loader_path")
else()
  set(RIGSYNC_ORIGIN "$ORIGIN")
endif()

# Makes only the exported functions of a shared library visible and forbids undefined symbols.
# Hidden visibility is not enough: instantiated templates of the standard library stay visible, and
# another library's copy could replace them at load time. A DLL always exports only marked functions
# and cannot have undefined symbols.
function(rigsync_show_exports_alone Target)
  if(APPLE)
    set(List ${PROJECT_SOURCE_DIR}/core/rigsync_core.exports)
    target_link_options(${Target} PRIVATE -Wl,-exported_symbols_list,${List})
    if(NOT RIGSYNC_SANITIZE)
      target_link_options(${Target} PRIVATE -Wl,-undefined,error)
    endif()
  elseif(NOT WIN32)
    set(List ${PROJECT_SOURCE_DIR}/core/rigsync_core.map)
    # calib3d pulls in two modules that the library does not use. On Debian gcc leaves them out by
    # default, clang does not.
    target_link_options(${Target} PRIVATE -Wl,--version-script=${List} -Wl,--as-needed)
    if(NOT RIGSYNC_SANITIZE)
      # A sanitizer's functions are undefined in clang's libraries; the program provides them.
      target_link_options(${Target} PRIVATE -Wl,--no-undefined)
    endif()
  endif()
  if(List)
    set_target_properties(${Target} PROPERTIES LINK_DEPENDS ${List})
  endif()
endfunction()

# A debug build of the target is optimised too. MSVC's takes no optimisation beside its checks.
function(rigsync_optimise_always Target)
  if(NOT MSVC)
    target_compile_options(${Target} PRIVATE $<$<CONFIG:Debug>:-O2>)
  endif()
endfunction()
