// SPDX-License-Identifier: Apache-2.0
#include "bench/next_pose.h"

#include "bench/columns.h"
#include "bench/compared_solvers.h"
#include "bench/corner_capture.h"
#include "bench/quick_lens.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/solve/next_pose.h"
#include "simulate/geometry.h"
#include "simulate/random.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace bench {
namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;

enum Stream : unsigned { Corners_Of_Image = 501, Hand };

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

constexpr int Most_Images = 48;

// Half-widths at 95 % that a capture is taken for.
constexpr rigsync::Mount_Widths Targets[] = {{3, 0.3}, {1, 0.1}, {0.7, 0.07}, {0.5, 0.05}};

// How roughly a person follows an advice: the turn about a random axis, and the standard deviations
// of the distance and, as a part of the frame's height, of the place.
constexpr double Hand_Turn_Deg = 10.0, Hand_Distance = 0.1, Hand_Place = 0.1;

enum class Way { Simulated, Advised_Exactly, Advised };

const char* Name_Of(Way How) {
  switch (How) {
    case Way::Simulated:
      return "simulated";
    case Way::Advised_Exactly:
      return "advised, followed exactly";
    case Way::Advised:
      break;
  }
  return "advised";
}

rigsync::Lens Two_Coefficients_Of(const simulate::Lens& Model) {
  return {Model.Fx, Model.Fy, Model.Cx, Model.Cy, Model.K1, Model.K2};
}

// ---- Taking a capture ------------------------------------------------------------------------

Vector3d Centre_Chart(const Photographed_Board& Board) {
  return 0.5 * Board.Square_Size * Vector3d(Board.Size.Cols - 1, Board.Size.Rows - 1, 0);
}

Isometry3d About_Centre(const Photographed_Board& Board, const Vector3d& Centre_Cam,
                        const Eigen::Matrix3d& Rotation) {
  Isometry3d Pose = Isometry3d::Identity();
  Pose.linear() = Rotation;
  Pose.translation() = Centre_Cam - Rotation * Centre_Chart(Board);
  return Pose;
}

Isometry3d Roughly(const Photographed_Board& Board, const rigsync::Board_View& View,
                   const Isometry3d& Asked, simulate::Random& Random) {
  const Vector3d Turn = simulate::Radians(Hand_Turn_Deg) * Random.Direction();
  Vector3d Centre_Cam = Asked * Centre_Chart(Board);
  const double Shift = Hand_Place * View.Height / View.Lens_Px.Fy * Centre_Cam.z();
  Centre_Cam += Shift * Vector3d(Random.Gaussian(), Random.Gaussian(), 0);
  Centre_Cam *= std::exp(Hand_Distance * Random.Gaussian());
  return About_Centre(Board, Centre_Cam, rigsync::Rotation_From_Turn(Turn) * Asked.linear());
}

// A person sees the picture and takes care that the whole board is in it: tries again, and goes
// further away where the advice itself, by a lens that few boards gave, doesn't fit.
Isometry3d Held(const Photographed_Board& Board, const rigsync::Board_View& View,
                const Isometry3d& Asked, Way How, simulate::Random& Random) {
  Isometry3d Pose = Asked;
  double Back = 1.0;
  for (int Try = 0; Try < 60; ++Try) {
    Pose = How == Way::Advised ? Roughly(Board, View, Asked, Random) : Asked;
    Vector3d Centre_Cam = Pose * Centre_Chart(Board);
    Centre_Cam.z() *= Back;
    Pose = About_Centre(Board, Centre_Cam, Pose.linear());
    if (rigsync::Is_Seen_Well(View, Pose)) return Pose;
    if (Try % 5 == 4 || How == Way::Advised_Exactly) Back *= 1.05;
  }
  return Pose;
}

rigsync::Corner_List Photograph(const Views& Seen, const Isometry3d& Transform_Cam_Chart,
                                unsigned Seed, std::size_t Image) {
  simulate::Random Random(Seed, Corners_Of_Image + 1000U * static_cast<unsigned>(Image + 1));
  rigsync::Corner_List Corners;
  for (int r = 0; r < Seen.Board.Size.Rows; ++r) {
    for (int c = 0; c < Seen.Board.Size.Cols; ++c) {
      const Eigen::Vector2d Point =
          Project_Truly(Seen, Transform_Cam_Chart * (Seen.Board.Square_Size * Vector3d(c, r, 0)));
      const float X = static_cast<float>(Point.x() + Corner_Noise_Px * Random.Gaussian());
      const float Y = static_cast<float>(Point.y() + Corner_Noise_Px * Random.Gaussian());
      Corners.push_back({X, Y});
    }
  }
  return Corners;
}

// The truth as a start, because the library's solve of every image of every capture takes hours.
std::optional<Library_Lens> Solve_Lens(const Views& Seen) {
  constexpr std::size_t Least_Images = 3;
  if (Seen.Corners.size() < Least_Images) return std::nullopt;
  const auto Refined =
      Refine_Lens(Seen.Corners, Seen.Board, True_Library_Lens(Seen, 1.0), Distortion_Model::Two);
  return Refined ? Refined : Solve_Library_Lens(Seen.Corners, Seen.Board);
}

// ---- One capture -----------------------------------------------------------------------------

// When a target was reached, and how far off the mount was then.
struct Reached {
  double Images = NaN, Mm = NaN, Deg = NaN, Is_Inside = NaN;
};

Reached Reached_Now(const Corner_Capture& Capture, const rigsync::Joint_Solution& Joint) {
  const Mount_Error Error = Error_Of(Capture.Transform_Cam_Tc, Joint_Mount(Joint));
  const rigsync::Vector6d Motion =
      rigsync::Motion_Between(Joint.At.Transform_Cam_Tc, Capture.Transform_Cam_Tc);
  const bool Is_Inside = Joint.Camera_Mount.Probability_Nearer(Motion) <= 0.95;
  return {static_cast<double>(Capture.Rows.size()), Error.Mm, Error.Deg, Is_Inside ? 1.0 : 0.0};
}

void Add_Reached(const std::string& Name, const Reached& Of, Columns& Line) {
  Line.Add(Name + "_images", Of.Images);
  Line.Add(Name + "_mm", Of.Mm);
  Line.Add(Name + "_deg", Of.Deg);
  Line.Add(Name + "_inside", Of.Is_Inside);
}

// Widths after so many images, whatever the target.
constexpr std::size_t Told_Images[] = {8, 12, 16, 24};

struct Run {
  Reached Targets_Reached[std::size(Targets)];
  Reached Enough;
  double Verdict_When_Enough = NaN;
  rigsync::Mount_Widths Widths[std::size(Told_Images)] = {
      {NaN, NaN}, {NaN, NaN}, {NaN, NaN}, {NaN, NaN}};
  double Slowest_Advice_Ms = 0;
};

bool Is_Done(const Run& Of) {
  for (const Reached& Target : Of.Targets_Reached) {
    if (std::isnan(Target.Images)) return false;
  }
  return !std::isnan(Of.Enough.Images);
}

void Note(const Views& Seen, const Corner_Capture& Capture,
          const rigsync::Capture_Solution& Solution, bool Is_Enough, Run& To) {
  const rigsync::Joint_Solution& Joint = Solution.Joint;
  const rigsync::Mount_Widths Widths{Joint.Camera_Mount.Widest_Mm.Half_Width,
                                     Joint.Camera_Mount.Widest_Deg.Half_Width};
  for (std::size_t k = 0; k < std::size(Told_Images); ++k) {
    if (Capture.Rows.size() == Told_Images[k]) To.Widths[k] = Widths;
  }
  for (std::size_t k = 0; k < std::size(Targets); ++k) {
    if (!std::isnan(To.Targets_Reached[k].Images)) continue;
    if (Widths.Mm <= Targets[k].Mm && Widths.Deg <= Targets[k].Deg) {
      To.Targets_Reached[k] = Reached_Now(Capture, Joint);
    }
  }
  if (Is_Enough && std::isnan(To.Enough.Images)) {
    To.Enough = Reached_Now(Capture, Joint);
    const Guided_Library Guided = Run_Guided_Library(Seen, Capture, Joint);
    To.Verdict_When_Enough =
        static_cast<double>(Judge(Guided, Solution, rigsync::Solution_Choice::Library).Judgement);
  }
}

rigsync::Capture_Advice Timed_Advice(const rigsync::Unfinished_Capture& Of, Run& To) {
  const auto Start = std::chrono::steady_clock::now();
  rigsync::Capture_Advice Advice = rigsync::Advise(Of);
  const std::chrono::duration<double, std::milli> Taken = std::chrono::steady_clock::now() - Start;
  To.Slowest_Advice_Ms = std::max(To.Slowest_Advice_Ms, Taken.count());
  return Advice;
}

Run Take(Way How, const Views& Planned, unsigned Seed) {
  Run Done;
  Views Seen = Planned;
  Seen.Transform_Cam_Chart.clear();
  Seen.Transform_Base_Cam.clear();
  Seen.Corners.clear();
  const rigsync::Board_View View{Seen.Board.Size, Seen.Board.Square_Size,
                                 Seen.Board.Image_Size.width, Seen.Board.Image_Size.height,
                                 Two_Coefficients_Of(Seen.True_Lens)};
  simulate::Random Random(Seed, Hand);
  rigsync::Unfinished_Capture Unfinished;
  Unfinished.Board = View.Board;
  Unfinished.Square_Size = View.Square_Size;
  Unfinished.Width = View.Width;
  Unfinished.Height = View.Height;
  rigsync::Capture_Solution Solution;
  for (std::size_t i = 0; i < Most_Images && !Is_Done(Done); ++i) {
    Isometry3d Pose = Planned.Transform_Cam_Chart[i];
    if (How != Way::Simulated) {
      const rigsync::Capture_Advice Advice = Timed_Advice(Unfinished, Done);
      if (!Advice.Pose) break;
      Pose = Held(Seen.Board, View, Advice.Pose->Transform_Cam_Chart, How, Random);
    }
    Seen.Transform_Cam_Chart.push_back(Pose);
    Seen.Transform_Base_Cam.push_back(Planned.Transform_Base_Cam[i]);
    Seen.Corners.push_back(Photograph(Seen, Pose, Seed, i));
    Seen.Lens = Solve_Lens(Seen);
    const Corner_Capture Capture = Make_Capture(Seen, {}, Seed);
    Unfinished.Facts = Capture.Rows;
    Unfinished.Lens_Px.reset();
    Unfinished.Solution = nullptr;
    if (!Seen.Lens) continue;
    Unfinished.Lens_Px = As_Lens(*Seen.Lens);
    Solution = Run_Joint(Seen, Capture);
    Unfinished.Solution = &Solution;
    if (Solution.Joint.Status != rigsync::Solve_Status::Solved) continue;
    Note(Seen, Capture, Solution, rigsync::Advise(Unfinished).Is_Enough, Done);
  }
  return Done;
}

Columns Line_Of(Way How, const Views& Planned, unsigned Seed) {
  const Run Done = Take(How, Planned, Seed);
  Columns Line;
  Line.Add("way", "\"" + std::string(Name_Of(How)) + "\"");
  Line.Add("seed", Seed);
  for (std::size_t k = 0; k < std::size(Targets); ++k) {
    char Name[40];
    std::snprintf(Name, sizeof Name, "to_%gmm_%gdeg", Targets[k].Mm, Targets[k].Deg);
    Add_Reached(Name, Done.Targets_Reached[k], Line);
  }
  Add_Reached("enough", Done.Enough, Line);
  Line.Add("enough_verdict", Done.Verdict_When_Enough);
  for (std::size_t k = 0; k < std::size(Told_Images); ++k) {
    const std::string Name = "at_" + std::to_string(Told_Images[k]);
    Line.Add(Name + "_mm", Done.Widths[k].Mm);
    Line.Add(Name + "_deg", Done.Widths[k].Deg);
  }
  Line.Add("slowest_advice_ms", Done.Slowest_Advice_Ms);
  return Line;
}

Views Planned_Views(unsigned Seed) {
  View_Setting Setting;
  Setting.Images = Most_Images;
  return Make_Views(Setting, Seed);
}

}  // namespace

std::string Next_Pose_Header() {
  return Line_Of(Way::Simulated, Planned_Views(1), 1).Header() + "\n";
}

std::string Next_Pose_Lines(unsigned Seed) {
  const Views Planned = Planned_Views(Seed);
  std::string Lines;
  for (const Way How : {Way::Simulated, Way::Advised_Exactly, Way::Advised}) {
    Lines += Line_Of(How, Planned, Seed).Line() + "\n";
  }
  return Lines;
}

}  // namespace bench
