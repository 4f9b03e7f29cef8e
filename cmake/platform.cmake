# SPDX-License-Identifier: Apache-2.0
#
# What the compilers and linkers of each platform are told. Fills RIGSYNC_WARNINGS,
# RIGSYNC_WARNINGS_AS_ERRORS and RIGSYNC_ORIGIN, and defines rigsync_show_exports_alone.

# A fused multiply-add rounds once where the logged digits were settled with two roundings, so
# no compiler may form one. For the same reason there is no fast-math and no -march here:
# Release, Debug and sanitizer builds of gcc and clang give the same bits.
if(MSVC)
  if(RIGSYNC_SANITIZE OR RIGSYNC_FUZZ OR RIGSYNC_MUTATION)
    message(FATAL_ERROR "RIGSYNC_SANITIZE, RIGSYNC_FUZZ and RIGSYNC_MUTATION are for gcc and clang")
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "MSVC" AND MSVC_VERSION LESS 1930)
    # /fp:strict would hold it off there, and the compiler's constants of floating point with it.
    message(FATAL_ERROR "Visual Studio 2022 is needed: under /fp:precise, earlier compilers may "
                        "form fused multiply-adds")
  endif()
  add_compile_options(/fp:precise /permissive- /Zc:__cplusplus /utf-8 /bigobj)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(/clang:-ffp-contract=off)
  endif()
  set(RIGSYNC_WARNINGS /W4)
  set(RIGSYNC_WARNINGS_AS_ERRORS /WX)
else()
  add_compile_options(-ffp-contract=off)
  set(RIGSYNC_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  set(RIGSYNC_WARNINGS_AS_ERRORS -Werror)
endif()

if(WIN32)
  # Windows 10, no min and max as macros, no warnings about standard functions.
  add_compile_definitions(_WIN32_WINNT=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN _CRT_SECURE_NO_WARNINGS)
  # A program finds a DLL beside itself and nowhere else in the build.
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endif()

# Where an installed program begins to look for its library. Windows looks beside the program.
if(APPLE)
  set(RIGSYNC_ORIGIN "@loader_path")
else()
  set(RIGSYNC_ORIGIN "$ORIGIN")
endif()

# Lets a shared library show its exported functions and nothing else, and leave nothing undefined.
# Hidden visibility is not enough: standard library templates that are instantiated there stay
# visible, and another library's copy could replace them at load time. A DLL shows what is marked
# for export and no more, and can't leave anything undefined.
function(rigsync_show_exports_alone Target)
  if(APPLE)
    set(List ${PROJECT_SOURCE_DIR}/core/rigsync_core.exports)
    target_link_options(${Target} PRIVATE -Wl,-exported_symbols_list,${List})
    if(NOT RIGSYNC_SANITIZE)
      target_link_options(${Target} PRIVATE -Wl,-undefined,error)
    endif()
  elseif(NOT WIN32)
    set(List ${PROJECT_SOURCE_DIR}/core/rigsync_core.map)
    # calib3d brings two modules along that nothing here calls; gcc leaves them out by itself on
    # Debian, clang doesn't.
    target_link_options(${Target} PRIVATE -Wl,--version-script=${List} -Wl,--as-needed)
    if(NOT RIGSYNC_SANITIZE)
      # A sanitizer's own functions come with the program, and clang's libraries leave them open.
      target_link_options(${Target} PRIVATE -Wl,--no-undefined)
    endif()
  endif()
  if(List)
    set_target_properties(${Target} PROPERTIES LINK_DEPENDS ${List})
  endif()
endfunction()
