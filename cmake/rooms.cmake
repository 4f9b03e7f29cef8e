# SPDX-License-Identifier: Apache-2.0
#
# Layers enforced by the compiler. A room is a folder of sources with one target. Its sources can
# include only the headers of their own room and of the rooms that it uses: an include in the other
# direction does not find its file.

# rigsync_add_room(TARGET KIND SOURCES FILE... [USES TARGET...] [ALONE FILE...])
#
# KIND is STATIC or OBJECT. SOURCES includes the headers. ALONE are the sources that can't be
# compiled together with the others, as their local names are the same. Each header is included by
# its path from the project's root, "rigsync/system/text.h": the target has its own include folder,
# with a file at that path that includes the header.
function(rigsync_add_room Target Kind)
  cmake_parse_arguments(PARSE_ARGV 2 Room "" "" "SOURCES;USES;ALONE")
  if(RIGSYNC_SHARED_ROOMS AND Kind STREQUAL "STATIC")
    set(Kind SHARED)
  endif()
  add_library(${Target} ${Kind} ${Room_SOURCES})
  if(RIGSYNC_MUTATION AND Kind STREQUAL "SHARED")
    # As quick to compile as without optimisation, and the tests are several times as fast.
    target_compile_options(${Target} PRIVATE -O1)
  endif()
  if(NOT Kind STREQUAL "OBJECT")
    rigsync_compile_together(${Target} ${Room_ALONE})
  endif()
  set(Include_Folder ${PROJECT_BINARY_DIR}/rooms/${Target})
  file(RELATIVE_PATH Folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  foreach(Header IN LISTS Room_SOURCES)
    if(Header MATCHES "\\.h$")
      file(CONFIGURE OUTPUT ${Include_Folder}/${Folder}/${Header}
           CONTENT "#include \"${CMAKE_CURRENT_SOURCE_DIR}/${Header}\"\n" @ONLY)
    endif()
  endforeach()
  target_include_directories(${Target} PUBLIC ${Include_Folder})
  target_link_libraries(${Target} PUBLIC ${Room_USES} PRIVATE rigsync_warnings)
  set_property(GLOBAL APPEND PROPERTY RIGSYNC_ROOMS ${Target})
  set_target_properties(${Target} PROPERTIES RIGSYNC_FOLDER ${Folder})
endfunction()
