// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/dropped_images_text.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace rigsync {
namespace {

// More paths than this would push the rest off the terminal; result.json lists them all.
constexpr std::size_t Most_Paths = 2;

enum class Reason { Unreadable, No_Board, Axis, Position };
constexpr Reason All_Reasons[] = {Reason::Unreadable, Reason::No_Board, Reason::Axis,
                                  Reason::Position};

std::optional<Reason> Reason_Of(const Image_Report& Image) {
  switch (Image.Fate) {
    case Image_Fate::Unreadable:
      return Reason::Unreadable;
    case Image_Fate::No_Board:
      return Reason::No_Board;
    case Image_Fate::Outlier:
      return Is_Axis_Beyond_Limit(Image) ? Reason::Axis : Reason::Position;
    case Image_Fate::Kept:
    case Image_Fate::Unknown:
      break;
  }
  return std::nullopt;
}

std::vector<std::size_t> Images_With(const Run_Report& Report, Reason Wanted) {
  std::vector<std::size_t> Images;
  for (std::size_t i = 0; i < Report.Images.size(); ++i) {
    if (Reason_Of(Report.Images[i]) == Wanted) Images.push_back(i);
  }
  return Images;
}

std::string Axis_Text(const Run_Report& Report, const std::vector<std::size_t>& Images) {
  double Least = INFINITY, Most = 0;
  for (const std::size_t i : Images) {
    Least = std::min(Least, *Report.Images[i].Axis_Difference_Deg);
    Most = std::max(Most, *Report.Images[i].Axis_Difference_Deg);
  }
  const std::string Range = Images.size() == 1 ? fmt::format("{:.2f}", Most)
                                               : fmt::format("{:.2f} to {:.2f}", Least, Most);
  return fmt::format("outlier, rotation axis {} degrees from the mean axis (limit {:g})", Range,
                     library_limits::Axis_Deg);
}

std::string Text_Of(Reason Wanted, const Run_Report& Report,
                    const std::vector<std::size_t>& Images) {
  if (Wanted == Reason::Axis) return Axis_Text(Report, Images);
  const char* const Outlier = Wanted == Reason::Position ? "outlier, " : "";
  return Outlier + Drop_Reason(Report, Report.Images[Images.front()]);
}

// "lines 4-18, 22", or "3 images" when the lines are not known.
std::string Places_Text(const Calibration_Result& Result, const std::vector<std::size_t>& Images) {
  std::vector<std::size_t> Lines;
  for (const std::size_t i : Images) {
    if (const auto Line = Csv_Line(Result, i)) Lines.push_back(*Line);
  }
  if (Lines.size() == Images.size()) return Lines_Text(Lines);
  return Images.size() == 1 ? "1 image" : fmt::format("{} images", Images.size());
}

// Each path on a line of its own, because it can be of any length.
std::string Paths_Text(const Calibration_Result& Result, const std::vector<std::size_t>& Images) {
  if (Images.size() > Most_Paths) return {};
  std::string Text;
  for (const std::size_t i : Images) {
    Text += "    " + One_Line(Result.Report.Images[i].Name) + "\n";
  }
  return Text;
}

}  // namespace

std::string Dropped_Images_Text(const Calibration_Result& Result) {
  std::string Text;
  for (const Reason Each : All_Reasons) {
    const std::vector<std::size_t> Images = Images_With(Result.Report, Each);
    if (Images.empty()) continue;
    Text += Folded(Places_Text(Result, Images) + ": " + Text_Of(Each, Result.Report, Images), 2);
    Text += Paths_Text(Result, Images);
  }
  return Text;
}

}  // namespace rigsync
