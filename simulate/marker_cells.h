// SPDX-License-Identifier: Apache-2.0
//
// The black and white cells of ArUco markers, from OpenCV's dictionary DICT_4X4_1000.
#ifndef RIGSYNC_SIMULATE_MARKER_CELLS_H
#define RIGSYNC_SIMULATE_MARKER_CELLS_H

#include <array>
#include <cstddef>

namespace simulate {

// Along a marker's edge: four cells with its code, and its black border on both sides.
constexpr std::size_t Cells_Across = 6;

// Whether a cell is white, by row and column of the upright marker.
using Marker_Cells = std::array<std::array<bool, Cells_Across>, Cells_Across>;

// The number of markers; 0 where OpenCV was built without its module aruco.
int Marker_Count();

// Id is at least 0 and below Marker_Count().
Marker_Cells Cells_Of_Marker(int Id);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_MARKER_CELLS_H
