// SPDX-License-Identifier: Apache-2.0
#include "python/capture_calls.h"

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/formats/inspection_file.h"
#include "rigsync/formats/joint_json.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/inspect/inspection.h"

#include <filesystem>
#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

fs::path Image_Root_Of(const Capture_Request& Request) {
  if (!Request.Image_Root.empty()) return fs::absolute(Request.Image_Root);
  return fs::absolute(Request.Csv).parent_path();
}

Inspection_Inputs Inputs_Of(const Capture_Request& Request) {
  Inspection_Inputs Inputs;
  Inputs.Csv = Request.Csv;
  Inputs.Image_Root = Image_Root_Of(Request);
  Inputs.Opens_Images = Request.Board[0] > 0;
  Inputs.Board.Board = {Request.Board[0], Request.Board[1]};
  Inputs.Board.Square_Size = Request.Square_M;
  Inputs.Board.Euler = Request.Board_Euler_Deg;
  Inputs.Board.Offset = Request.Board_Offset_M;
  Inputs.Board.Accuracy = {Request.Board_Accuracy[1], Request.Board_Accuracy[0]};
  Inputs.First_Marker = Request.First_Marker;
  Inputs.Limits = {Request.Limits[0], Request.Limits[1]};
  return Inputs;
}

Inspection Inspect(const Capture_Request& Request) {
  return Inspect_Capture(Inputs_Of(Request), [](std::size_t, std::size_t) {});
}

// What the document of a joint solution is written from.
Calibration_Result Result_Of(const Capture_Request& Request, const Inspection& Inspected) {
  Calibration_Result Result;
  Result.Inputs.Talent_Distance = Request.Talent_Distance_M;
  for (const Capture_Row& Row : Inspected.File.Rows) {
    Result.Images.push_back({Row.Line, Row.Image});
  }
  Result.Solved = Inspected.Solution;
  if (Result.Solved && Result.Solved->Joint.Status == Solve_Status::Solved) {
    Result.Joint_Transform_Cam_Tc =
        List_From_Matrix(Result.Solved->Joint.At.Transform_Cam_Tc.matrix());
  }
  return Result;
}

}  // namespace

std::string Inspect_Json(const Capture_Request& Request) {
  return Inspection_Json(Inspect(Request));
}

Solve_Documents Solve_Json(const Capture_Request& Request) {
  using Json = nlohmann::ordered_json;
  const Inspection Inspected = Inspect(Request);
  return {Inspection_Json(Inspected),
          Joint_Json(Result_Of(Request, Inspected))
              .dump(-1, ' ', false, Json::error_handler_t::replace),
          Inspected.Are_Samples_Readable};
}

void Check_Result(const std::string& Path) {
  static_cast<void>(Read_Result(Result_File(Path)));
}

}  // namespace rigsync
