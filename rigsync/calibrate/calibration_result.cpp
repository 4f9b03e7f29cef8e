// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/calibration_result.h"

#include "rigsync/calibrate/codes.h"

#include <fmt/format.h>

#include <cmath>

namespace rigsync {

namespace {

// The library's limit for an outlier's position (docs/codes.md), in spreads.
constexpr double Spread_Limit_Factor = 1.3;

}  // namespace

std::string Drop_Reason(const Run_Report& Report, const Image_Report& Image) {
  switch (Image.Fate) {
    case Image_Fate::Unreadable:
      return "can't be read";
    case Image_Fate::No_Board:
      return "no board found";
    case Image_Fate::Kept:
    case Image_Fate::Unknown:
      return "";
    case Image_Fate::Outlier:
      break;
  }
  if (Is_Axis_Off(Image)) {
    return fmt::format("rotation axis {:.2f} deg from the mean (limit {})",
                       *Image.Axis_Difference_Deg, Axis_Limit_Deg);
  }
  if (!Report.Filter_Spread_M) return "too far from the mean";
  const auto& Spread = *Report.Filter_Spread_M;
  const double To_Limit_Mm = Spread_Limit_Factor * 1000.0;
  return fmt::format("position beyond {:.1f}, {:.1f}, {:.1f} mm (x, y, z) from the mean",
                     Spread[0] * To_Limit_Mm, Spread[1] * To_Limit_Mm, Spread[2] * To_Limit_Mm);
}

std::optional<std::size_t> Csv_Line(const Calibration_Result& Result, std::size_t i) {
  if (i >= Result.Images.size() || i >= Result.Report.Images.size() ||
      Result.Images[i].Name != Result.Report.Images[i].Name) {
    return std::nullopt;
  }
  return Result.Images[i].Line;
}

bool All_Finite(const Calibration_Result& Result) {
  for (const std::vector<double>* Values :
       {&Result.Image_Size, &Result.Norm_Fxy, &Result.Norm_Cxy, &Result.Distortion,
        &Result.Transform_Cam_Tc, &Result.FoV, &Result.Focal_Length_mm}) {
    for (const double Value : *Values) {
      if (!std::isfinite(Value)) return false;
    }
  }
  return true;
}

bool Is_Usable(const Calibration_Result& Result) {
  return Result.Code && Is_Usable(*Result.Code) && All_Finite(Result);
}

}  // namespace rigsync
