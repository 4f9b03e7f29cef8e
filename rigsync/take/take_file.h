// SPDX-License-Identifier: Apache-2.0
//
// Reads a take from the file of a tracking system, recognised by its content. docs/takes.md
// describes what is read of each format and what has to be said beside the file.
#ifndef RIGSYNC_TAKE_TAKE_FILE_H
#define RIGSYNC_TAKE_TAKE_FILE_H

#include "rigsync/take/base_axes.h"
#include "rigsync/take/rotation_form.h"
#include "rigsync/take/take.h"

#include <filesystem>
#include <optional>
#include <string>

namespace rigsync {

enum class Take_Format { Motive, Vicon, Qualisys, Tum, Eth, Euroc };

// From its word: motive, vicon, qualisys, tum, eth, euroc. Throws Usage_Error for any other.
Take_Format Parse_Take_Format(const std::string& Flag, const std::string& Word);

struct Take_Options {
  std::string Argument = "TAKE";          // refusals of the file begin with it
  std::optional<Take_Format> Format;      // none: by the file's content
  std::optional<Rotation_Form> Rotation;  // how rotations are meant for a file that doesn't say
  std::optional<Base_Axes> Axes;          // none: as in the file, or as the map says
  std::filesystem::path Map;              // a map of columns (docs/takes.md); empty: none
};

// The flags as refusals name them: --format, --rotation, --map, --axes.
//
// Reads line by line; what it holds is the samples. A sample is lost, with a warning but where the
// format has it so, if its cells are blank, not finite, or a rotation of length 0. A second sample
// at one time is left out with a warning. Throws Usage_Error that names file, line and field for
// anything else that is not as it should be: an unknown format, a rotation that the file leaves
// open, times that run backwards, a cell that is no number, a line with too few cells.
Take Read_Take(const std::filesystem::path& File, const Take_Options& Options);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TAKE_FILE_H
