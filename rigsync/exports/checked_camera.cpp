// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/checked_camera.h"

#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

[[noreturn]] void Refuse_Lens(const File_Request& Request, const char* Key, const char* Why) {
  throw Usage_Error(
      fmt::format("{}: '{}' {}; expected a result.json that 'rigsync calibrate' wrote",
                  Request.Result_File.string(), Key, Why));
}

void Require_Count(const File_Request& Request, const char* Key, const std::vector<double>& Values,
                   std::size_t Count) {
  if (Values.size() != Count) Refuse_Lens(Request, Key, "is null");
}

void Require_Positive(const File_Request& Request, const char* Key,
                      const std::vector<double>& Values, double Least) {
  Require_Count(Request, Key, Values, 2);
  for (const double Value : Values) {
    if (!(Value >= Least && Value > 0.0))
      Refuse_Lens(Request, Key, "holds a number that is too small");
  }
}

}  // namespace

Solved_Camera Checked_Camera(const File_Request& Request) {
  constexpr double Least_Pixels = 1.0, Largest_Pixels = 1e6;
  const Calibration_Result& Result = Request.Result;
  Require_Positive(Request, "image_size", Result.Image_Size, Least_Pixels);
  if (Result.Image_Size[0] > Largest_Pixels || Result.Image_Size[1] > Largest_Pixels) {
    Refuse_Lens(Request, "image_size", "holds a number that is too large");
  }
  Require_Positive(Request, "norm_fxy", Result.Norm_Fxy, 0.0);
  Require_Count(Request, "norm_cxy", Result.Norm_Cxy, 2);
  Require_Count(Request, "distortion", Result.Distortion, 5);
  return Solved_Camera_Of(Result);
}

void Refuse_Position(const File_Request& Request, const char* Title) {
  if (!Request.At) return;
  throw Usage_Error("--focus",
                    fmt::format("--focus, --zoom: the export to {} has no use for them", Title));
}

}  // namespace rigsync
