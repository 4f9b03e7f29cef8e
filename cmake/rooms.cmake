# SPDX-License-Identifier: Apache-2.0
#
# Layers that the compiler holds. A room is a folder of sources that is one target, and it sees the
# headers of its own folder and of the rooms that it uses, nothing else: an include in the other
# direction finds no file.

# rigsync_add_room(TARGET KIND SOURCES FILE... [USES TARGET...])
#
# KIND is STATIC or OBJECT. SOURCES names the headers too. Each header can be included by its path
# from the top, "rigsync/system/text.h", because a file of that path in the room's own include
# folder, which forwards to it, comes with the target.
function(rigsync_add_room Target Kind)
  cmake_parse_arguments(PARSE_ARGV 2 Room "" "" "SOURCES;USES")
  add_library(${Target} ${Kind} ${Room_SOURCES})
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
