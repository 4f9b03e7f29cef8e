// SPDX-License-Identifier: Apache-2.0
#include "python/file_calls.h"

#include "rigsync/exports/file_target.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/usage_error.h"

#include <filesystem>
#include <tuple>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

const File_Target& Target_Named(const std::string& Name) {
  std::string Names;
  for (const File_Target& Target : File_Targets()) {
    if (Target.Name == Name) return Target;
    Names += (Names.empty() ? "" : ", ") + Target.Name;
  }
  Refuse("target", Name, Names);
}

// Refuses an argument that was stated and means nothing for the target.
void Refuse_Useless(const File_Arguments& Arguments, const File_Target& Target) {
  const std::tuple<const char*, File_Option, bool> Stated[] = {
      {"tracker_axes", File_Option::Axes, Arguments.Tracker_Axes.has_value()},
      {"sensor_mm", File_Option::Sensor, Arguments.Sensor_Mm.has_value()},
      {"focus", File_Option::Position, Arguments.Focus.has_value()},
      {"zoom", File_Option::Position, Arguments.Zoom.has_value()},
      {"capture", File_Option::Capture, Arguments.Capture.has_value()},
      {"image_root", File_Option::Image_Root, Arguments.Image_Root.has_value()},
  };
  for (const auto& [Name, Option, Is_Stated] : Stated) {
    if (!Is_Stated || Has_Use(Target, Option)) continue;
    throw Usage_Error(Name, Name + (": the export to " + Target.Title + " has no use for it"));
  }
}

void Set_Capture(const File_Arguments& Arguments, File_Request& Request) {
  if (Arguments.Capture) {
    Request.Capture = fs::absolute(*Arguments.Capture);
    Request.Is_Capture_Stated = true;
    Request.Image_Root = Request.Capture.parent_path();
  }
  if (Arguments.Image_Root) Request.Image_Root = fs::absolute(*Arguments.Image_Root);
}

File_Request Request_Of(const File_Arguments& Arguments, const File_Target& Target,
                        const Calibration_Result& Result) {
  File_Request Request = Request_From(Arguments.Result_File, Result);
  Request.Doubts = Arguments.Doubts;
  if (Arguments.Tracker_Axes) {
    Request.Axes = Parse_Tracker_Axes("tracker_axes", *Arguments.Tracker_Axes, Target.Space,
                                      Result.Inputs.Camera_Labels);
  }
  if (Arguments.Sensor_Mm) Request.Sensor_Mm = Arguments.Sensor_Mm;
  if (Arguments.Focus || Arguments.Zoom) {
    Request.At = Lens_Position{Arguments.Focus.value_or(0.0), Arguments.Zoom.value_or(0.0)};
  }
  Set_Capture(Arguments, Request);
  return Request;
}

}  // namespace

Made_File Make_File(const File_Arguments& Arguments) {
  const File_Target& Target = Target_Named(Arguments.Target);
  Refuse_Useless(Arguments, Target);
  Calibration_Result Result = Read_Result(Arguments.Result_File);
  if (const auto Choice = Solution_Named(Arguments.Solution)) Result.Inputs.Solution = *Choice;
  const File_Text Written = Target.Write(Request_Of(Arguments, Target, Result));
  return {Written.Text, Written.Warnings};
}

}  // namespace rigsync
