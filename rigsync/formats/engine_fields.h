// SPDX-License-Identifier: Apache-2.0
//
// A solved mount as the fields of a render engine: the supported engines, the library's export call
// for each, and the exported numbers under the names of the engine's fields. docs/engines.md
// describes axes and units.
#ifndef RIGSYNC_FORMATS_ENGINE_FIELDS_H
#define RIGSYNC_FORMATS_ENGINE_FIELDS_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/engine/tracker_axes.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// Fields of an engine that belong together, such as the three of a location, in the engine's order.
struct Field_Group {
  std::string Label;               // on the terminal
  std::string Key;                 // in JSON, with the unit in its name
  std::string Unit;                // on the terminal; empty for numbers without one
  std::vector<std::string> Names;  // of the fields
  std::vector<double> Values;      // one for each name; empty when the export failed
};

// What one export call of the library returned.
struct Engine_Export {
  int Code = 0;  // the library's: 0, or 3 for gimbal lock
  std::vector<Field_Group> Groups;
};

struct Engine {
  std::string Name;   // the value of --to
  std::string Title;  // the full name
  std::string Axes;   // the camera's axes in the exported pose
  Engine_Space Space;
  Tracker_Axes Library_Axes;  // of the tracker object in what the library's call returns
  // Which axes of the tracker object the position fields run along: x, y, z but for an engine whose
  // fields run against some of them.
  Tracker_Axes Position_Axes;
  // Exports the lens and the chosen mount of Result. The library writes its run log into
  // Log_Folder.
  Engine_Export (*Export)(const Calibration_Result& Result, const std::string& Log_Folder);
};

// Exports with a tracker object that has these axes, which are of the handedness of Target.Space;
// without any, with Target.Library_Axes. The numbers are the library's in any case: other axes are
// those of a mount on another tracker.
Engine_Export Export_With_Axes(const Engine& Target, const Calibration_Result& Result,
                               const std::optional<Tracker_Axes>& Axes,
                               const std::string& Log_Folder);

// All engines, in the order in which they are listed for the user.
const std::vector<Engine>& Engines();

// Whether all exported numbers are finite. A singular transform gives NaN values with code 0.
bool Is_Finite(const Engine_Export& Export);

// The export as a JSON object. Numbers have as many digits as it takes to read the same double
// back, and are null where they are not finite; a group is null when the export failed. "code" is
// the code of the export, "usable" is Usable: whether the calibration was good too. "solution" says
// whose mount it is, "tracker_axes" which axes of the body the tracker object has, "position_axes"
// which axes of the object the position's fields run along.
std::string Export_Json(const Engine& Target, const Engine_Export& Export, const Tracker_Axes& Axes,
                        Solution_Choice Solution, bool Usable,
                        const std::filesystem::path& Run_Log);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_ENGINE_FIELDS_H
