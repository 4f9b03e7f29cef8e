# SPDX-License-Identifier: Apache-2.0
#
# For scripts/checks/windows: provides packages as headers only, all in the folder RIGSYNC_HEADERS,
# with RIGSYNC_FOREIGN_NAMES in place of every library.

# The targets of each package that the build requires.
set(RIGSYNC_TARGETS_OpenCV opencv_core opencv_imgproc opencv_imgcodecs opencv_calib3d
                           opencv_aruco)
set(RIGSYNC_TARGETS_Eigen3 Eigen3::Eigen)
set(RIGSYNC_TARGETS_Boost Boost::headers)
set(RIGSYNC_TARGETS_CLI11 CLI11::CLI11)
set(RIGSYNC_TARGETS_nlohmann_json nlohmann_json::nlohmann_json)
set(RIGSYNC_TARGETS_fmt fmt::fmt)
set(RIGSYNC_TARGETS_OpenSSL OpenSSL::Crypto)
set(RIGSYNC_TARGETS_pugixml pugixml::pugixml)
set(RIGSYNC_TARGETS_GTest GTest::gtest GTest::gmock GTest::gtest_main)

macro(rigsync_headers_alone Targets)
  foreach(Target IN ITEMS ${Targets})
    if(NOT TARGET ${Target})
      add_library(${Target} UNKNOWN IMPORTED GLOBAL)
      set_target_properties(${Target} PROPERTIES IMPORTED_LOCATION ${RIGSYNC_FOREIGN_NAMES})
      target_include_directories(${Target} SYSTEM INTERFACE ${RIGSYNC_HEADERS})
    endif()
  endforeach()
endmacro()

macro(pkg_check_modules Prefix)
  rigsync_headers_alone(PkgConfig::${Prefix})
endmacro()

macro(rigsync_provide Method Package)
  if(DEFINED RIGSYNC_TARGETS_${Package})
    rigsync_headers_alone("${RIGSYNC_TARGETS_${Package}}")
    set(${Package}_FOUND TRUE)
  elseif("${Package}" STREQUAL "PkgConfig")
    set(PkgConfig_FOUND TRUE)
  endif()
endmacro()
cmake_language(SET_DEPENDENCY_PROVIDER rigsync_provide SUPPORTED_METHODS FIND_PACKAGE)
set(RIGSYNC_TOMLPLUSPLUS ${RIGSYNC_HEADERS} CACHE PATH "toml++" FORCE)
