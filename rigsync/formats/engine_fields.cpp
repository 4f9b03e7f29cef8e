// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/engine_fields.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"
#include "rigsync_core.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace rigsync {

namespace {

using Json = nlohmann::ordered_json;

// Each call hands the library fresh vectors: it appends to what it is given.
Exported Call_UE4(const Calibration_Result& Result, const std::string& Out) {
  std::vector<double> Rotation, Location;
  const int Code = CamAxisToUE4(Result.Transform_Cam_Tc, Rotation, Location, Out);
  return {Code,
          {{"Location", "location_cm", "cm", {"X", "Y", "Z"}, Location},
           {"Rotation", "rotation_deg", "deg", {"Roll", "Pitch", "Yaw"}, Rotation}}};
}

using UE5_Call = int (*)(std::vector<double>, std::vector<double>&, std::vector<double>&,
                         std::string);

Exported Call_UE5_Form(UE5_Call Call, const Calibration_Result& Result, const std::string& Out) {
  std::vector<double> Quaternion, Location;
  const int Code = Call(Result.Transform_Cam_Tc, Quaternion, Location, Out);
  return {Code,
          {{"Location", "location_cm", "cm", {"X", "Y", "Z"}, Location},
           {"Quaternion", "quaternion", "", {"X", "Y", "Z", "W"}, Quaternion}}};
}

Exported Call_UE5(const Calibration_Result& Result, const std::string& Out) {
  return Call_UE5_Form(CamAxisToUE5, Result, Out);
}

Exported Call_UE5_ExportxN(const Calibration_Result& Result, const std::string& Out) {
  return Call_UE5_Form(CamAxisToUE5_ExportxN, Result, Out);
}

Exported Call_Aximmetry(const Calibration_Result& Result, const std::string& Out) {
  std::vector<double> FoV, Centre_Shift, Rotation, Position;
  const int Code = CamAxisToAximmetry(Result.Norm_Fxy, Result.Norm_Cxy, Result.Transform_Cam_Tc,
                                      FoV, Centre_Shift, Rotation, Position, Out);
  return {Code,
          {{"Position", "position_cm", "cm", {"X", "Y", "Z"}, Position},
           {"Rotation", "rotation_deg", "deg", {"X", "Y", "Z"}, Rotation},
           {"Field of view", "field_of_view_deg", "deg", {"Horizontal"}, FoV},
           {"Centre shift", "centre_shift", "of the image side", {"X", "Y"}, Centre_Shift}}};
}

}  // namespace

const std::vector<Engine>& Engines() {
  static const std::vector<Engine> All = {
      {"ue4", "Unreal Engine 4", "camera axes: x along its view, y right, z up; left-handed",
       Call_UE4},
      {"ue5", "Unreal Engine 5", "camera axes: x right, y down, z along its view; right-handed",
       Call_UE5},
      {"ue5-xn", "Unreal Engine 5, ExportxN axes",
       "camera axes: x up, y along its view, z left; right-handed", Call_UE5_ExportxN},
      {"aximmetry", "Aximmetry", "camera axes: x right, y up, z along its view; left-handed",
       Call_Aximmetry},
  };
  return All;
}

bool All_Finite(const Exported& Result) {
  for (const Field_Group& Group : Result.Groups) {
    for (const double Value : Group.Values) {
      if (!std::isfinite(Value)) return false;
    }
  }
  return true;
}

std::string Export_Json(const Engine& To, const Exported& Result, bool Usable,
                        const std::filesystem::path& Run_Log) {
  Json Root;
  Root["engine"] = To.Name;
  Root["code"] = Result.Code;
  Root["usable"] = Usable;
  Root["message"] = Result.Code == 0 ? "Exported." : Advice_For(Result.Code).Meaning;
  for (const Field_Group& Group : Result.Groups) {
    Json& Values = Root[Group.Key];  // null until something is put in
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      Values[Lower_Case(Group.Names[i])] = Group.Values[i];
    }
  }
  Root["run_log"] = Run_Log.empty() ? Json(nullptr) : Json(Plain_Path(Run_Log).string());
  return Root.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rigsync
