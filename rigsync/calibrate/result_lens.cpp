// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/result_lens.h"

#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <string>

namespace rigsync {
namespace {

// The numbers of one key, and what each of them can be.
struct Lens_Key {
  const char* Name;
  const std::vector<double>& Values;
  std::size_t Count;
  double Least, Most;
  const char* Expected;
};

[[noreturn]] void Refuse_Key(const std::filesystem::path& File, const Lens_Key& Key,
                             const std::string& Why) {
  throw Usage_Error(fmt::format("{}: 'lens.{}' {}; expected {}, as 'rigsync calibrate' writes it",
                                File.string(), Key.Name, Why, Key.Expected));
}

void Require(const std::filesystem::path& File, const Lens_Key& Key) {
  if (Key.Values.size() != Key.Count) Refuse_Key(File, Key, "is null");
  for (const double Value : Key.Values) {
    // Compared so that NaN is refused.
    if (!(Value >= Key.Least && Value <= Key.Most)) {
      Refuse_Key(File, Key, fmt::format("holds {:g}", Value));
    }
  }
}

void Require_Whole(const std::filesystem::path& File, const Lens_Key& Key) {
  Require(File, Key);
  for (const double Value : Key.Values) {
    if (Value != std::floor(Value)) Refuse_Key(File, Key, fmt::format("holds {:g}", Value));
  }
}

}  // namespace

// The bounds are far beyond every lens: a focal length of a thousandth of the frame sees 179.9
// degrees, one of a million frames 0.2 arc seconds. The coefficients grow with the fourth power of
// the focal length.
Result_Lens Lens_Of_Result(const Calibration_Result& Result, const std::filesystem::path& File) {
  Require_Whole(File, {"image_size", Result.Image_Size, 2, 1.0, 1e6,
                       "width and height, whole numbers of pixels from 1 to 1000000"});
  Require(File, {"norm_fxy", Result.Norm_Fxy, 2, 1e-3, 1e6,
                 "two focal lengths from 0.001 to 1000000 times the frame"});
  Require(File, {"norm_cxy", Result.Norm_Cxy, 2, -1e6, 1e6,
                 "a principal point within 1000000 times the frame"});
  Require(File, {"distortion", Result.Distortion, 5, -1e24, 1e24, "five finite coefficients"});
  Result_Lens Lens;
  Lens.Width = static_cast<int>(Result.Image_Size[0]);
  Lens.Height = static_cast<int>(Result.Image_Size[1]);
  Lens.Px = {Result.Norm_Fxy[0] * Lens.Width,
             Result.Norm_Fxy[1] * Lens.Height,
             Result.Norm_Cxy[0] * Lens.Width,
             Result.Norm_Cxy[1] * Lens.Height,
             Result.Distortion[0],
             Result.Distortion[1]};
  return Lens;
}

}  // namespace rigsync
