// SPDX-License-Identifier: Apache-2.0
#include "python/file_calls.h"

#include "rigsync/exports/file_target.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/usage_error.h"

#include <filesystem>

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

void Set_Capture(const File_Arguments& Arguments, File_Request& Request) {
  if (Arguments.Capture) {
    Request.Capture = fs::absolute(*Arguments.Capture);
    Request.Image_Root = Request.Capture.parent_path();
  }
  if (Arguments.Image_Root) Request.Image_Root = fs::absolute(*Arguments.Image_Root);
}

File_Request Request_Of(const File_Arguments& Arguments, const File_Target& Target,
                        const Calibration_Result& Result) {
  File_Request Request{Arguments.Result_File,        Result,       std::nullopt,
                       Result.Inputs.Sensor_Size_Mm, std::nullopt, Result.Inputs.Csv,
                       Result.Inputs.Image_Root};
  if (Arguments.Tracker_Axes) {
    if (!Target.Has_Tracker) {
      throw Usage_Error("tracker_axes",
                        "tracker_axes: the export to " + Target.Title + " has no use for it");
    }
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
  Calibration_Result Result = Read_Result(Arguments.Result_File);
  if (const auto Choice = Solution_Named(Arguments.Solution)) Result.Inputs.Solution = *Choice;
  const File_Text Written = Target.Write(Request_Of(Arguments, Target, Result));
  return {Written.Text, Written.Warnings};
}

}  // namespace rigsync
