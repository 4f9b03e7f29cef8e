// SPDX-License-Identifier: Apache-2.0
//
// The readers of the formats, which Read_Take (take_file.h) chooses from. Each is given a file
// before its first line, and fills a take: its format, facts, rate, bodies and warnings.
#ifndef RIGSYNC_TAKE_TAKE_READER_H
#define RIGSYNC_TAKE_TAKE_READER_H

#include "rigsync/take/table_file.h"
#include "rigsync/take/table_layout.h"
#include "rigsync/take/take.h"
#include "rigsync/take/take_file.h"

#include <string>

namespace rigsync {

void Read_Motive(Table_File& File, const Take_Options& Options, Take& Into);
void Read_Vicon(Table_File& File, const Take_Options& Options, Take& Into);
void Read_Qualisys(Table_File& File, const Take_Options& Options, Take& Into);
// Format is Tum, Eth or Euroc.
void Read_Pose_File(Table_File& File, Take_Format Format, const Take_Options& Options, Take& Into);
void Read_Mapped(Table_File& File, const Take_Options& Options, Take& Into);

// The unit of length that a header or a map names ("mm", "Millimeters"), or nullptr.
struct Length_Unit {
  const char* Name;  // as in messages: "millimetres"
  double Metres;
};
const Length_Unit* Find_Length_Unit(std::string_view Text);

// Sets the axes of Layout as --axes says, or to Of_File without it, and the fact about them.
void Set_Axes(const Take_Options& Options, const Base_Axes& Of_File, Table_Layout& Layout,
              Take& Into);

// Warns that --rotation has no use for a file that says how its rotations are meant.
void Warn_Of_Unused_Rotation(const Take_Options& Options, const std::string& Said, Take& Into);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TAKE_READER_H
