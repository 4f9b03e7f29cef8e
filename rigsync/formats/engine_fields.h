// SPDX-License-Identifier: Apache-2.0
//
// A solved mount as the fields of a render engine: which engines there are, the library's call for
// each, and the numbers under the names that the engine's fields have.
#ifndef RIGSYNC_FORMATS_ENGINE_FIELDS_H
#define RIGSYNC_FORMATS_ENGINE_FIELDS_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// Some of an engine's fields that belong together, in the engine's order.
struct Field_Group {
  std::string Label;  // on the terminal
  std::string Key;    // in JSON, with the unit in the name
  std::string Unit;
  std::vector<std::string> Names;
  std::vector<double> Values;
};

struct Exported {
  int Code = 0;
  std::vector<Field_Group> Groups;
};

struct Engine {
  std::string Name;
  std::string Title;
  std::string Axes;  // of the camera in the exported pose
  Exported (*Call)(const Calibration_Result& Result, const std::string& Out);
};

// All engines, in the order in which people are told of them.
const std::vector<Engine>& Engines();

bool All_Finite(const Exported& Result);

// Numbers with as many digits as it takes to read the same double back; null where one isn't
// finite, or where the library gave none. "code" is that of the export: Usable tells whether the
// calibration was good too.
std::string Export_Json(const Engine& To, const Exported& Result, bool Usable,
                        const std::filesystem::path& Run_Log);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_ENGINE_FIELDS_H
