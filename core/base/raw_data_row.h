// SPDX-License-Identifier: Apache-2.0
//
// The form of a row of Raw_Data_all, which the reader of the CSV fills and later stages take apart.
#ifndef RIGSYNC_CORE_BASE_RAW_DATA_ROW_H
#define RIGSYNC_CORE_BASE_RAW_DATA_ROW_H

#include <cstddef>

// Numbers in a row: a value per line that nothing reads, then position and quaternion of the camera
// tracker and of the board's tracker, seven numbers each.
constexpr std::size_t Raw_Data_Row_Size = 15;

#endif  // RIGSYNC_CORE_BASE_RAW_DATA_ROW_H
