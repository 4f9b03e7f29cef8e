// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/pixel_scale_section.h"

#include "rigsync/geometry/transform_list.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/table.h"
#include "rigsync/review/pixel_scale.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace rigsync {
namespace {

// A distance at which errors are told.
struct Place {
  std::string Name;
  Pixel_Scale Scale;
};

struct Scales {
  std::vector<Place> Places;
  std::optional<Board_Distances> Boards;
  double Talent_Distance = 0;
  double Error_Px = Row_Error::Unknown;
  std::vector<Row_Error> Errors;
  std::function<Pixel_Scale(double)> At;
};

std::optional<Scales> Scales_Of(const Run_View& View) {
  const Eigen::Matrix4d Transform = Matrix_From_List(Chosen_Transform_Cam_Tc(View.Result));
  if (!Transform.allFinite() || !View.Lens_Px) return std::nullopt;
  const Eigen::Isometry3d Mount(Transform);
  Scales All;
  All.At = [Mount, Lens_Px = *View.Lens_Px](double Distance) {
    return Scale_At(Distance, Mount, Lens_Px);
  };
  All.Errors = Measure_Row_Errors(View);
  All.Boards = Find_Board_Distances(All.Errors);
  All.Error_Px = Mean_Error_Px(All.Errors);
  All.Talent_Distance = View.Result.Inputs.Talent_Distance;
  if (All.Boards) {
    All.Places = {{"nearest board", All.At(All.Boards->Nearest)},
                  {"median board", All.At(All.Boards->Median)},
                  {"farthest board", All.At(All.Boards->Farthest)}};
  }
  if (All.Talent_Distance > 0.0) All.Places.push_back({"talent", All.At(All.Talent_Distance)});
  return All;
}

using Number_Of = std::function<double(const Place&)>;

void Add_Scale_Row(Element Body, const std::string& Heading, const Scales& All,
                   const Number_Of& Number) {
  Element Row = Add_Row(Body, Heading);
  for (const Place& Each : All.Places) {
    Add_Text(Row, "td", fmt::format("{:.2f}", Number(Each)), "number");
  }
}

void Add_Scale_Table(Element Figure, const Scales& All) {
  std::vector<std::string> Columns = {""};
  for (const Place& Each : All.Places) Columns.push_back(Each.Name);
  Element Body = Add_Table(Figure, "Pixels and millimetres by distance", Columns);
  Add_Scale_Row(Body, "distance, m", All, [](const Place& Each) { return Each.Scale.Distance; });
  if (std::isfinite(All.Error_Px)) {
    Add_Scale_Row(Body, fmt::format("the error of {:.2f} px, mm", All.Error_Px), All,
                  [&All](const Place& Each) { return All.Error_Px * Each.Scale.Mm_Per_Px; });
  }
  Add_Scale_Row(Body, "one pixel, mm", All, [](const Place& Each) { return Each.Scale.Mm_Per_Px; });
  Add_Scale_Row(Body, "a mount 1 mm off, px", All,
                [](const Place& Each) { return Each.Scale.Px_Per_Mm; });
  Add_Scale_Row(Body, "a mount 0.1\xC2\xB0 off, px", All,
                [](const Place& Each) { return Each.Scale.Px_Per_Tenth_Deg; });
}

// One curve of the drawing, in millimetres across the view.
struct Curve {
  std::string Name, Class;
  std::function<double(double)> Mm_At;
};

std::vector<Curve> Curves_Of(const Scales& All) {
  std::vector<Curve> Curves;
  if (std::isfinite(All.Error_Px)) {
    Curves.push_back(
        {fmt::format("error of {:.2f} px", All.Error_Px), "predicted",
         [&All](double Distance) { return All.Error_Px * All.At(Distance).Mm_Per_Px; }});
  }
  Curves.push_back({"mount 0.1\xC2\xB0 off", "found",
                    [&All](double Distance) { return All.At(Distance).Mm_Per_Tenth_Deg; }});
  Curves.push_back({"mount 1 mm off", "camera", [](double) { return 1.0; }});
  return Curves;
}

double Farthest_Of(const Scales& All) {
  return std::max(All.Talent_Distance, All.Boards ? All.Boards->Farthest : 0.0);
}

// A polyline, because a turn's lever arm begins at the tracker and not at the camera.
void Draw_Curve(const Plot& Into, const Curve& Each, double Farthest) {
  constexpr int Steps = 24;
  std::string Points;
  for (int k = 0; k <= Steps; ++k) {
    const double Distance = std::max(Farthest * k / Steps, 1e-3);
    if (k > 0) Points += ' ';
    Points += Short_Number(Into.X_At(Distance), 1) + "," +
              Short_Number(Into.Y_At(Each.Mm_At(Distance)), 1);
  }
  Element Line = Add(Into.Svg, "polyline", Each.Class);
  Set(Line, "points", Points);
  Set(Line, "stroke-width", 2.0);
}

// The names at the curves' right ends, pushed apart where they would overlap.
void Draw_Names(const Plot& Into, const std::vector<Curve>& Curves, double Farthest) {
  constexpr double Least_Gap = 14.0;
  std::vector<std::pair<double, std::string>> Names;
  for (const Curve& Each : Curves) {
    Names.emplace_back(Into.Y_At(Each.Mm_At(Farthest)), Each.Name);
  }
  std::sort(Names.begin(), Names.end());
  for (std::size_t k = 1; k < Names.size(); ++k) {
    Names[k].first = std::max(Names[k].first, Names[k - 1].first + Least_Gap);
  }
  for (const auto& [Y, Name] : Names) {
    Add_Label(Into.Svg, Into.X_At(Farthest) + 6.0, Y + 4.0, Name);
  }
}

// A tick on the axis for each kept board, and a line for the talent.
void Draw_Places(const Plot& Into, const Scales& All) {
  const double Bottom = Into.Top + Into.Height;
  for (const Row_Error& Error : All.Errors) {
    if (!Error.Is_Kept || !std::isfinite(Error.Distance)) continue;
    const double X = Into.X_At(Error.Distance);
    Add_Line(Into.Svg, X, Bottom - 8.0, X, Bottom, "board");
  }
  if (!(All.Talent_Distance > 0.0)) return;
  const double X = Into.X_At(All.Talent_Distance);
  Add_Line(Into.Svg, X, Into.Top, X, Bottom, "reference");
  Add_Label(Into.Svg, X - 5.0, Into.Top + 12.0, "talent", "note", "end");
}

void Add_Scale_Plot(Element Figure, const Scales& All) {
  const double Farthest = Farthest_Of(All);
  const std::vector<Curve> Curves = Curves_Of(All);
  double Highest = 0;
  for (const Curve& Each : Curves) Highest = std::max(Highest, Each.Mm_At(Farthest));
  // Room for the names on the right.
  const Axis X = Round_Axis(0.0, 1.25 * Farthest, "distance from the camera, metres", 8);
  const Plot Into = Add_Plot(Figure, X, Round_Axis(0.0, Highest, "millimetres across the view"),
                             "Error over the distance",
                             "In millimetres, beside a mount that is 1 mm or a tenth of a degree "
                             "off. The table has the numbers.");
  Draw_Places(Into, All);
  for (const Curve& Each : Curves) Draw_Curve(Into, Each, Farthest);
  Draw_Names(Into, Curves, Farthest);
}

}  // namespace

void Add_Pixel_Scale_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "scale", "What a pixel is on the stage");
  const std::optional<Scales> All = Scales_Of(View);
  if (!All || All->Places.empty()) {
    Add_Text(Section, "p", "The result has no mount or no lens to reckon with.", "missing");
    return;
  }
  Element Figure = Add_Figure(
      Section,
      {"Pixels and millimetres",
       "The error of the kept images in millimetres at each distance, beside what a mount does "
       "that is a millimetre or a tenth of a degree off; short strokes are the boards. Good: at "
       "the talent's distance the error is no larger than a virtual object may be out of place."});
  Add_Scale_Table(Figure, *All);
  Add_Scale_Plot(Figure, *All);
}

}  // namespace rigsync
