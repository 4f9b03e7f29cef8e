// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/engine_fields.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/engine/relabelled_result.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"
#include "rigsync/take/base_axes.h"
#include "rigsync_core.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace rigsync {

namespace {

using Json = nlohmann::ordered_json;

// The library appends to the vectors that it is passed, so each call passes new ones.
Engine_Export Export_To_UE4(const Calibration_Result& Result, const std::string& Log_Folder) {
  std::vector<double> Rotation, Location;
  const int Code = CamAxisToUE4(Chosen_Transform_Cam_Tc(Result), Rotation, Location, Log_Folder);
  return {Code,
          {{"Location", "location_cm", "cm", {"X", "Y", "Z"}, Location},
           {"Rotation", "rotation_deg", "deg", {"Roll", "Pitch", "Yaw"}, Rotation}}};
}

using UE5_Call = int (*)(std::vector<double>, std::vector<double>&, std::vector<double>&,
                         std::string);

// Both Unreal Engine 5 exports have the same fields.
Engine_Export Export_Quaternion(UE5_Call Call, const Calibration_Result& Result,
                                const std::string& Log_Folder) {
  std::vector<double> Quaternion, Location;
  const int Code = Call(Chosen_Transform_Cam_Tc(Result), Quaternion, Location, Log_Folder);
  return {Code,
          {{"Location", "location_cm", "cm", {"X", "Y", "Z"}, Location},
           {"Quaternion", "quaternion", "", {"X", "Y", "Z", "W"}, Quaternion}}};
}

Engine_Export Export_To_UE5(const Calibration_Result& Result, const std::string& Log_Folder) {
  return Export_Quaternion(CamAxisToUE5, Result, Log_Folder);
}

Engine_Export Export_To_UE5_ExportxN(const Calibration_Result& Result,
                                     const std::string& Log_Folder) {
  return Export_Quaternion(CamAxisToUE5_ExportxN, Result, Log_Folder);
}

Engine_Export Export_To_Aximmetry(const Calibration_Result& Result, const std::string& Log_Folder) {
  std::vector<double> FoV, Centre_Shift, Rotation, Position;
  const int Code =
      CamAxisToAximmetry(Result.Norm_Fxy, Result.Norm_Cxy, Chosen_Transform_Cam_Tc(Result), FoV,
                         Centre_Shift, Rotation, Position, Log_Folder);
  return {Code,
          {{"Position", "position_cm", "cm", {"X", "Y", "Z"}, Position},
           {"Rotation", "rotation_deg", "deg", {"X", "Y", "Z"}, Rotation},
           {"Field of view", "field_of_view_deg", "deg", {"Horizontal"}, FoV},
           {"Centre shift", "centre_shift", "of the image side", {"X", "Y"}, Centre_Shift}}};
}

}  // namespace

const std::vector<Engine>& Engines() {
  const auto Axes = [](const char* Text, Engine_Space Space) {
    return Parse_Tracker_Axes("", Text, Space, Body_Labels::Unknown);
  };
  const auto Fields = [](const char* Text) { return Parse_Axes("", Text); };
  constexpr auto Right = Engine_Space::Right_Handed_Z_Up;
  constexpr auto Left_Z_Up = Engine_Space::Left_Handed_Z_Up;
  constexpr auto Left_Y_Up = Engine_Space::Left_Handed_Y_Up;
  static const std::vector<Engine> All = {
      {"ue4", "Unreal Engine 4", "camera axes: x along its view, y right, z up; left-handed",
       Left_Z_Up, Axes("z,-x,y", Left_Z_Up), Fields("x,y,z"), Export_To_UE4},
      {"ue5", "Unreal Engine 5", "camera axes: x right, y down, z along its view; right-handed",
       Right, Axes("-x,-y,z", Right), Fields("x,y,z"), Export_To_UE5},
      {"ue5-xn", "Unreal Engine 5, ExportxN axes",
       "camera axes: x up, y along its view, z left; right-handed", Right, Axes("y,z,x", Right),
       Fields("x,y,z"), Export_To_UE5_ExportxN},
      {"aximmetry", "Aximmetry", "camera axes: x right, y up, z along its view; left-handed",
       Left_Y_Up, Axes("-x,y,z", Left_Y_Up), Fields("x,-y,-z"), Export_To_Aximmetry},
  };
  return All;
}

Engine_Export Export_With_Axes(const Engine& Target, const Calibration_Result& Result,
                               const std::optional<Tracker_Axes>& Axes,
                               const std::string& Log_Folder) {
  if (!Axes) return Target.Export(Result, Log_Folder);
  return Target.Export(With_Tracker_Axes(Result, Target.Library_Axes, *Axes), Log_Folder);
}

bool Is_Finite(const Engine_Export& Export) {
  for (const Field_Group& Group : Export.Groups) {
    for (const double Value : Group.Values) {
      if (!std::isfinite(Value)) return false;
    }
  }
  return true;
}

std::string Export_Json(const Engine& Target, const Engine_Export& Export, const Tracker_Axes& Axes,
                        Solution_Choice Solution, bool Usable,
                        const std::filesystem::path& Run_Log) {
  Json Root;
  Root["engine"] = Target.Name;
  Root["code"] = Export.Code;
  Root["usable"] = Usable;
  Root["solution"] = Solution_Name(Solution);
  Root["tracker_axes"] = Tracker_Axes_Text(Axes);
  Root["position_axes"] = Tracker_Axes_Text(Target.Position_Axes);
  Root["message"] = Export.Code == 0 ? "Exported." : Advice_For(Export.Code).Meaning;
  for (const Field_Group& Group : Export.Groups) {
    Json& Values = Root[Group.Key];  // null until a value is added
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      Values[Lower_Case(Group.Names[i])] = Group.Values[i];
    }
  }
  Root["run_log"] = Run_Log.empty() ? Json(nullptr) : Json(Plain_Path(Run_Log).string());
  return Root.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rigsync
