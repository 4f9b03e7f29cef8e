// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/calibration_result.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/capture/library_limits.h"

#include <fmt/format.h>

#include <cmath>

namespace rigsync {

namespace {

std::string Outlier_Reason(const Run_Report& Report, const Image_Report& Image) {
  if (Is_Axis_Beyond_Limit(Image)) {
    return fmt::format("rotation axis {:.2f} deg from the mean axis (limit {:g} deg)",
                       *Image.Axis_Difference_Deg, library_limits::Axis_Deg);
  }
  if (!Report.Filter_Spread_M) return "position too far from the mean";
  const auto& Spread = *Report.Filter_Spread_M;
  constexpr double Limit_Mm_Per_Spread_M = library_limits::Position_Deviations * 1000.0;
  return fmt::format("position over {:.1f}, {:.1f} or {:.1f} mm (x, y, z) from the mean",
                     Spread[0] * Limit_Mm_Per_Spread_M, Spread[1] * Limit_Mm_Per_Spread_M,
                     Spread[2] * Limit_Mm_Per_Spread_M);
}

bool Has_Finite_Numbers(const Calibration_Result& Result) {
  for (const std::vector<double>* Values :
       {&Result.Image_Size, &Result.Norm_Fxy, &Result.Norm_Cxy, &Result.Distortion,
        &Result.Transform_Cam_Tc, &Result.FoV, &Result.Focal_Length_mm}) {
    for (const double Value : *Values) {
      if (!std::isfinite(Value)) return false;
    }
  }
  return true;
}

}  // namespace

std::string Drop_Reason(const Run_Report& Report, const Image_Report& Image) {
  switch (Image.Fate) {
    case Image_Fate::Unreadable:
      return "cannot be read";
    case Image_Fate::No_Board:
      return "no board found";
    case Image_Fate::Outlier:
      return Outlier_Reason(Report, Image);
    case Image_Fate::Kept:
    case Image_Fate::Unknown:
      break;
  }
  return "";
}

std::optional<std::size_t> Csv_Line(const Calibration_Result& Result, std::size_t i) {
  if (i >= Result.Images.size() || i >= Result.Report.Images.size() ||
      Result.Images[i].Name != Result.Report.Images[i].Name) {
    return std::nullopt;
  }
  return Result.Images[i].Line;
}

const std::vector<double>& Chosen_Transform_Cam_Tc(const Calibration_Result& Result) {
  return Result.Inputs.Solution == Solution_Choice::Joint ? Result.Joint_Transform_Cam_Tc
                                                          : Result.Transform_Cam_Tc;
}

bool Is_Usable(const Calibration_Result& Result) {
  const bool Agrees = !Result.Opinion || Result.Opinion->Judgement == Verdict::Agree;
  return Agrees && Result.Code && Is_Usable_Code(*Result.Code) && Has_Finite_Numbers(Result);
}

bool Has_Misleading_Code(const Calibration_Result& Result) {
  return Result.Code && Is_Usable_Code(*Result.Code) && !Has_Finite_Numbers(Result);
}

}  // namespace rigsync
