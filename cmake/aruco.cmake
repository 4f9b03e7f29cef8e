# SPDX-License-Identifier: Apache-2.0
#
# OpenCV's ArUco markers: the contrib module aruco up to 4.6, a part of objdetect from 4.7 on. The
# command is built without markers where neither is there, and says so when it is asked for them.
#
# Sets RIGSYNC_ARUCO to the target, empty where there is none, and RIGSYNC_ARUCO_DEFINITION to what
# the sources that use it are compiled with.
set(RIGSYNC_ARUCO "")
set(RIGSYNC_ARUCO_DEFINITION "")
if(TARGET opencv_objdetect AND OpenCV_VERSION VERSION_GREATER_EQUAL 4.7)
  set(RIGSYNC_ARUCO opencv_objdetect)
  set(RIGSYNC_ARUCO_DEFINITION RIGSYNC_ARUCO_IN_OBJDETECT)
elseif(TARGET opencv_aruco)
  set(RIGSYNC_ARUCO opencv_aruco)
  set(RIGSYNC_ARUCO_DEFINITION RIGSYNC_ARUCO_IN_CONTRIB)
else()
  message(STATUS "OpenCV has no ArUco module: rigsync is built without markers on boards")
endif()
