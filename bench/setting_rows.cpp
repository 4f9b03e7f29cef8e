// SPDX-License-Identifier: Apache-2.0
#include "bench/setting_rows.h"

#include "bench/columns.h"
#include "bench/compared_solvers.h"
#include "rigsync/geometry/angle.h"
#include "simulate/geometry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace bench {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

struct Row {
  std::string Group, Name;
  View_Setting View;
  Tracker_Setting Trackers;
};

using Change = std::function<void(Row&)>;

Change Noise(double Mm, double Deg) {
  return [Mm, Deg](Row& Of) {
    Of.Trackers.Position_Mm = Mm;
    Of.Trackers.Rotation_Deg = Deg;
  };
}

Change Mount(const Eigen::Vector3d& Euler_Deg) {
  return [Euler_Deg](Row& Of) {
    Of.Trackers.Mount_Rotation =
        simulate::Pose_From_Euler(Euler_Deg, Eigen::Vector3d::Zero()).topLeftCorner<3, 3>();
  };
}

// Names as they stand in the tables.
std::vector<Row> All_Rows() {
  std::vector<Row> All;
  const auto Add = [&All](const char* Group, const std::string& Name, const Change& Set) {
    Row New{Group, Name, {}, {}};
    Set(New);
    All.push_back(New);
  };
  Add("noise", "0.1 mm, 0.01°", Noise(0.1, 0.01));
  Add("noise", "0.3 mm, 0.03°", Noise(0.3, 0.03));
  Add("noise", "0.3 mm, 0.1°", Noise(0.3, 0.1));
  Add("noise", "1 mm, 0.1°", Noise(1, 0.1));
  Add("noise", "2 mm, 0.2°", Noise(2, 0.2));
  Add("kinds", "board's tracker three times as noisy",
      [](Row& Of) { Of.Trackers.Board_Factor = 3; });
  Add("kinds", "three times as noisy along z", [](Row& Of) { Of.Trackers.Depth_Factor = 3; });
  Add("kinds", "heavy tails", [](Row& Of) { Of.Trackers.Has_Heavy_Tails = true; });
  Add("kinds", "1 mm of field error", [](Row& Of) { Of.Trackers.Field_Mm = 1; });
  Add("kinds", "square 0.5 % larger than stated", [](Row& Of) { Of.View.Square_Factor = 1.005; });
  for (const int Stale : {0, 2, 6, 10}) {
    Add("stale", std::to_string(Stale), [Stale](Row& Of) { Of.Trackers.Stale_Rows = Stale; });
  }
  for (const auto& [Name, Part] :
       {std::pair("0.5", 0.5), std::pair("0.2", 0.2), std::pair("0.1", 0.1)}) {
    Add("motion", Name, [Part = Part](Row& Of) { Of.View.Turn_Part = Part; });
  }
  for (const int Images : {12, 16, 24, 36, 40, 60}) {
    Add("images", std::to_string(Images), [Images](Row& Of) { Of.View.Images = Images; });
  }
  Add("still", "camera's tracker", [](Row& Of) { Of.Trackers.Still = Standing::Camera; });
  Add("still", "board's tracker", [](Row& Of) { Of.Trackers.Still = Standing::Board; });
  Add("mount", "0, 0, 0", Mount({0, 0, 0}));
  Add("mount", "0, 180, 0", Mount({0, 180, 0}));
  for (const auto& [Mm, Deg] : {std::pair(5.0, 0.0), std::pair(20.0, 0.0), std::pair(0.0, 0.2),
                                std::pair(0.0, 0.5), std::pair(0.0, 1.0), std::pair(30.0, 5.0)}) {
    char Name[40];
    std::snprintf(Name, sizeof Name, "%g mm, %g°", Mm, Deg);
    Add("estimate", Name, [Mm = Mm, Deg = Deg](Row& Of) { Of.Trackers.Estimate = {Mm, Deg}; });
  }
  Add("slip", "3 mm, 0.3°", [](Row& Of) { Of.Trackers.Slip = {3, 0.3}; });
  Add("slip", "3 mm, 0.3° at 1 mm of noise", [](Row& Of) {
    Noise(1, 0.1)(Of);
    Of.Trackers.Slip = {3, 0.3};
  });
  return All;
}

// ---- One capture in one setting --------------------------------------------------------------

void Add_Error(const std::string& Name, const Eigen::Isometry3d& Truth,
               const std::optional<Eigen::Matrix4d>& Transform_Cam_Tc, Columns& Line) {
  const Mount_Error Error = Error_Of(Truth, Transform_Cam_Tc);
  Line.Add(Name + "_mm", Error.Mm);
  Line.Add(Name + "_deg", Error.Deg);
}

void Add_Library(const std::string& Name, const Eigen::Isometry3d& Truth,
                 const Library_Result& Result, Columns& Line) {
  Add_Error(Name, Truth, Result.Transform_Cam_Tc, Line);
  Line.Add(Name + "_code", Result.Code);
  Line.Add(Name + "_kept", static_cast<double>(Result.Kept));
}

// How many of the six intervals hold the truth, and whether the region does.
void Add_Coverage(const Eigen::Isometry3d& Truth, const rigsync::Joint_Solution& Joint,
                  Columns& Line) {
  const rigsync::Mount_Uncertainty& Stated = Joint.Camera_Mount;
  const rigsync::Vector6d Error = rigsync::Motion_Between(Joint.At.Transform_Cam_Tc, Truth);
  int Axes = 0;
  for (int k = 0; k < 3; ++k) {
    Axes += rigsync::Degrees_Per_Radian * std::abs(Error[k]) <= Stated.Half_Width_Deg[k] ? 1 : 0;
    Axes += 1000.0 * std::abs(Error[3 + k]) <= Stated.Half_Width_Mm[k] ? 1 : 0;
  }
  Line.Add("axes_inside", Axes);
  Line.Add("all_inside", Stated.Probability_Nearer(Error) <= 0.95 ? 1 : 0);
  Line.Add("half_mm", Stated.Widest_Mm.Half_Width);
  Line.Add("half_deg", Stated.Widest_Deg.Half_Width);
}

void Add_Slip(const Corner_Capture& Capture, const std::optional<rigsync::Slip>& Found,
              Columns& Line) {
  const bool Is_Right = Found && Capture.Slip;
  const bool Is_Camera = Found && Found->Tracker == rigsync::Slipped_Tracker::Camera;
  Line.Add("slip_gain", Found ? Found->Gain : NaN);
  Line.Add("slip_evidence", Found ? static_cast<double>(Found->Evidence) : 0);
  Line.Add("slip_tracker_right", Is_Right && Capture.Slip->Is_Camera == Is_Camera ? 1 : 0);
  Line.Add("slip_image_right", Is_Right && Capture.Slip->First_Row == Found->First_Row ? 1 : 0);
}

void Add_Named_Rows(const Corner_Capture& Capture, const rigsync::Joint_Solution& Joint,
                    Columns& Line) {
  int Stale_Kept = 0, Good_Dropped = 0;
  for (const rigsync::Solved_Row& Row : Joint.Rows) {
    const bool Is_Stale = Capture.Is_Stale[Row.Row];
    Stale_Kept += Is_Stale && Row.Is_Kept ? 1 : 0;
    Good_Dropped += !Is_Stale && !Row.Is_Kept ? 1 : 0;
  }
  Line.Add("stale_kept", Stale_Kept);
  Line.Add("good_dropped", Good_Dropped);
}

Columns Compare(const Row& Of, const Views& Seen, unsigned Seed) {
  const Corner_Capture Capture = Make_Capture(Seen, Of.Trackers, Seed);
  const Eigen::Isometry3d& Truth = Capture.Transform_Cam_Tc;
  const rigsync::Capture_Solution Solution = Run_Joint(Seen, Capture);
  const rigsync::Joint_Solution& Joint = Solution.Joint;
  const Guided_Library Guided = Run_Guided_Library(Seen, Capture, Joint);
  const rigsync::Second_Opinion Opinion =
      Judge(Guided, Solution, rigsync::Solution_Choice::Library);
  Columns Line;
  Line.Add("group", Of.Group);
  Line.Add("row", "\"" + Of.Name + "\"");
  Line.Add("seed", Seed);
  Add_Library("library_true", Truth, Run_Library(Seen, Capture, Capture.Estimate), Line);
  Add_Library("library_solved", Truth, Guided.Result, Line);
  Add_Library(
      "library_own_axes", Truth,
      Run_Library(Seen, Capture, rigsync::Place_From_Transform(Joint.At.Transform_Tr_Chart)), Line);
  Add_Error("joint", Truth, Joint_Mount(Joint), Line);
  Add_Error("park", Truth, Solve_By_Park(Solution.Seen), Line);
  Add_Error("shah", Truth, Solve_By_Shah(Solution.Seen), Line);
  Add_Coverage(Truth, Joint, Line);
  Line.Add("verdict", static_cast<double>(Opinion.Judgement));
  Line.Add("turned", Guided.Axes.Is_Turned ? 1 : 0);
  Add_Named_Rows(Capture, Joint, Line);
  Add_Slip(Capture, Solution.Likeliest_Slip, Line);
  return Line;
}

}  // namespace

std::string Setting_Rows_Header() {
  const Row First = All_Rows().front();
  return Compare(First, Make_Views(First.View, 1), 1).Header() + "\n";
}

std::string Setting_Rows_Lines(unsigned Seed) {
  std::string Lines;
  std::list<std::pair<View_Setting, Views>> Made;
  for (const Row& Of : All_Rows()) {
    auto Same = std::find_if(Made.begin(), Made.end(),
                             [&](const auto& Entry) { return Entry.first == Of.View; });
    if (Same == Made.end()) Same = Made.emplace(Made.end(), Of.View, Make_Views(Of.View, Seed));
    Lines += Compare(Of, Same->second, Seed).Line() + "\n";
  }
  return Lines;
}

}  // namespace bench
