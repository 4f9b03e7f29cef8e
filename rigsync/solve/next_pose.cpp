// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/next_pose.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/solve/mount_uncertainty.h"

#include <Eigen/Cholesky>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

using Lens_Pull = Eigen::Matrix<double, Unknowns, Lens_Parameters>;

// A mount that is known worse than this says nothing about where the trackers are.
constexpr double Usable_Mm = 300.0, Usable_Deg = 15.0;

// What trackers and corners usually scatter by. The noise that a few rows show is an estimate, and
// counts beside these as if they had been seen in so many rows.
constexpr double Usual_Position = 3e-4, Usual_Rotation_Deg = 0.03, Usual_Corner_Px = 0.1;
constexpr double Usual_Rows = 6.0;

// What is known of a lens before it is seen: standard deviations of the focal lengths and of the
// principal point, as parts of the width, and of both coefficients.
constexpr double Focal_Deviation = 0.3, Centre_Deviation = 0.03, Coefficient_Deviation = 0.3;

// Poses that are nearly as good as the best are told apart by the part of the frame that they are
// the first to cover: the inspection asks for corners everywhere.
constexpr double Nearly_Best = 1.03;

double Squared(double Value) {
  return Value * Value;
}

// About 53 degrees wide, without distortion.
Lens Usual_Lens(const Unfinished_Capture& Of) {
  const double Focal = std::max(Of.Width, Of.Height);
  return {Focal, Focal, 0.5 * Of.Width, 0.5 * Of.Height, 0, 0};
}

// Trackers a hand's breadth above the camera and behind the board.
Mounts Usual_Mounts(const Unfinished_Capture& Of) {
  constexpr double Hand = 0.1;
  Mounts At;
  At.Transform_Cam_Tc.translation() = Eigen::Vector3d(0, -Hand, 0);
  At.Transform_Tr_Chart.translation() =
      Eigen::Vector3d(-0.5 * (Of.Board.Cols - 1) * Of.Square_Size,
                      -0.5 * (Of.Board.Rows - 1) * Of.Square_Size, -Hand);
  return At;
}

Matrix6d Lens_Prior(const Board_View& View) {
  const double Width = std::max(View.Width, View.Height);
  Vector6d Deviations;
  Deviations << Vector6d::Constant(Coefficient_Deviation);
  Deviations.head<2>().setConstant(Focal_Deviation * Width);
  Deviations.segment<2>(2).setConstant(Centre_Deviation * Width);
  return Deviations.cwiseAbs2().cwiseInverse().asDiagonal();
}

bool Is_Known(const Unfinished_Capture& Of) {
  if (Of.Solution == nullptr || Of.Solution->Joint.Status != Solve_Status::Solved) return false;
  const Mount_Uncertainty& Mount = Of.Solution->Joint.Camera_Mount;
  return Mount.Widest_Mm.Half_Width < Usable_Mm && Mount.Widest_Deg.Half_Width < Usable_Deg;
}

// ---- What is known, and what a row adds ------------------------------------------------------

// The rows so far, at mounts and noise that are held.
struct Design {
  Board_View View;
  Mounts At;
  Fit_Settings Settings;
  Variances Noise = Variances::Ones();
  Unknown_Matrix Information = Unknown_Matrix::Zero();
  Lens_Pull By_Lens = Lens_Pull::Zero();  // what a change of the lens does to the normal equations
  Matrix6d Lens_Information = Matrix6d::Zero();
};

Variances Reckoned_Noise(const Unfinished_Capture& Of, bool Is_Solved) {
  const double Rotation = Squared(Usual_Rotation_Deg / Degrees_Per_Radian);
  const Variances Usual(1.0, Rotation, Squared(Usual_Position));
  if (!Is_Solved) return Usual;
  const auto Rows = static_cast<double>(Of.Solution->Joint.Settled.size());
  return (Rows * Of.Solution->Joint.Variance + Usual_Rows * Usual) / (Rows + Usual_Rows);
}

// Added to a design: information of the unknowns, and of the lens.
struct Row_Terms {
  Unknown_Matrix Information;
  Lens_Pull By_Lens;
  Matrix6d Lens_Information;
};

Row_Terms Terms_Of(const Observation& Seen, const Design& With) {
  const Row_Model Model = Linearise(Seen, With.At);
  const Noise_Shapes Shapes =
      Shape_Noise(Seen, With.At, With.Settings.Corner_Variance, With.Settings.Moving);
  Matrix6d Covariance = Matrix6d::Zero();
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    Covariance += With.Noise[static_cast<int>(k)] * Shapes[k];
  }
  const Row_Derivative Weighted = Covariance.ldlt().solve(Model.Derivative);
  const double Corner_Variance = With.Noise[Corner_Noise] * With.Settings.Corner_Variance;
  return {Model.Derivative.transpose() * Weighted,
          Weighted.transpose() * Seen.Board.Lens_Sensitivity,
          Seen.Board.Lens_Information / Corner_Variance};
}

void Add(const Row_Terms& Row, Design& To) {
  To.Information += Row.Information;
  To.By_Lens += Row.By_Lens;
  To.Lens_Information += Row.Lens_Information;
}

// The trackers' poses against each other that go with a pose of the board. Where both are in the
// room doesn't matter.
Observation Observation_At(const Eigen::Isometry3d& Transform_Cam_Chart, const Design& With) {
  Observation Seen;
  Seen.Board =
      Predict_Board(Transform_Cam_Chart, With.View.Board, With.View.Square_Size, With.View.Lens_Px);
  Seen.Transform_Base_Tr = With.At.Transform_Cam_Tc.inverse() * Transform_Cam_Chart *
                           With.At.Transform_Tr_Chart.inverse();
  return Seen;
}

Matrix6d Scaled_Inverse(const Matrix6d& Matrix) {
  const Vector6d Scale = Matrix.diagonal().cwiseSqrt().cwiseInverse();
  const Matrix6d Scaled = Scale.asDiagonal() * Matrix * Scale.asDiagonal();
  return Scale.asDiagonal() * Scaled.ldlt().solve(Matrix6d::Identity()) * Scale.asDiagonal();
}

// Of the camera's mount, with the row.
Matrix6d Covariance_With(const Design& Of, const Row_Terms& Row) {
  const Unknown_Matrix Covariance =
      (Of.Information + Row.Information).ldlt().solve(Unknown_Matrix::Identity());
  const Eigen::Matrix<double, 6, Lens_Parameters> Moved_By_Lens =
      Covariance.middleRows<6>(Camera_Mount) * (Of.By_Lens + Row.By_Lens);
  return Covariance.block<6, 6>(Camera_Mount, Camera_Mount) +
         Moved_By_Lens * Scaled_Inverse(Of.Lens_Information + Row.Lens_Information) *
             Moved_By_Lens.transpose();
}

// The criterion: the mount's variances in units of the limits.
double Cost_Of(const Matrix6d& Covariance, const Accuracy_Limits& Limits) {
  return Covariance.diagonal().head<3>().sum() / Squared(Limits.Deg / Degrees_Per_Radian) +
         Covariance.diagonal().tail<3>().sum() / Squared(Limits.Mm / 1000.0);
}

// A row with this board, whatever its samples, if the board has a pose by the lens.
void Add_Expected(const Corner_List& Corners, const Design& With, std::vector<Observation>& Rows) {
  const Board_View& View = With.View;
  const auto Seen = Solve_Board_Pose(Corners, View.Board, View.Square_Size, View.Lens_Px);
  if (Seen) Rows.push_back(Observation_At(Seen->Transform_Cam_Chart, With));
}

// Rows that the solve kept, or all whose board has a pose by the lens.
std::vector<Observation> Rows_So_Far(const Unfinished_Capture& Of, bool Is_Solved,
                                     const Design& With) {
  std::vector<Observation> Rows;
  if (Is_Solved) {
    const Joint_Solution& Joint = Of.Solution->Joint;
    for (std::size_t i = 0; i < Joint.Rows.size(); ++i) {
      if (Joint.Rows[i].Is_Kept) Rows.push_back(Joint.Settled[i]);
    }
    return Rows;
  }
  for (const Row_Facts& Facts : Of.Facts) {
    const auto Board = Solve_Board_Pose(Facts, Of.Board, Of.Square_Size, With.View.Lens_Px);
    if (Board) Rows.push_back(Observation_At(Board->Transform_Cam_Chart, With));
  }
  return Rows;
}

Design Begin(const Unfinished_Capture& Of, bool Is_Solved) {
  Design New;
  New.View = {Of.Board, Of.Square_Size, Of.Width, Of.Height, Of.Lens_Px.value_or(Usual_Lens(Of))};
  New.At = Usual_Mounts(Of);
  New.Settings.Corner_Variance = Squared(Usual_Corner_Px);
  New.Settings.Scale_Deviation = Joint_Options().Scale_Deviation;
  if (Is_Solved) {
    New.At = Of.Solution->Joint.At;
    New.Settings = Of.Solution->Joint.Settings;
  }
  New.Noise = Reckoned_Noise(Of, Is_Solved);
  New.Information = Linearise_Prior(New.At, New.Settings).Information;
  New.Lens_Information = Lens_Prior(New.View);
  return New;
}

// ---- The best pose ---------------------------------------------------------------------------

// The frame in cells of a twelfth of its longer side, and which of them have corners.
class Frame_Cells {
 public:
  explicit Frame_Cells(const Unfinished_Capture& Of)
      : Side(std::max(Of.Width, Of.Height) / 12.0),
        Cols(static_cast<int>(std::ceil(Of.Width / Side))),
        Rows(static_cast<int>(std::ceil(Of.Height / Side))),
        Is_Covered(static_cast<std::size_t>(Cols * Rows), false) {
    for (const Row_Facts& Facts : Of.Facts) Cover(Facts.Corners);
    for (const Corner_List& Corners : Of.Without_Samples) Cover(Corners);
  }

  // How many cells the board would be the first to cover.
  int New_Cells(const Board_View& View, const Eigen::Isometry3d& Transform_Cam_Chart) const {
    Frame_Cells With = *this;
    Corner_List Corners;
    for (int r = 0; r < View.Board.Rows; ++r) {
      for (int c = 0; c < View.Board.Cols; ++c) {
        const Eigen::Vector3d At =
            Transform_Cam_Chart * (View.Square_Size * Eigen::Vector3d(c, r, 0));
        // Distortion moves a corner by less than a cell.
        Corners.push_back(
            {static_cast<float>(View.Lens_Px.Fx * At.x() / At.z() + View.Lens_Px.Cx),
             static_cast<float>(View.Lens_Px.Fy * At.y() / At.z() + View.Lens_Px.Cy)});
      }
    }
    With.Cover(Corners);
    return With.Count() - Count();
  }

 private:
  void Cover(const Corner_List& Corners) {
    for (const auto& [X, Y] : Corners) {
      const int Col = std::clamp(static_cast<int>(static_cast<double>(X) / Side), 0, Cols - 1);
      const int Row = std::clamp(static_cast<int>(static_cast<double>(Y) / Side), 0, Rows - 1);
      Is_Covered[static_cast<std::size_t>(Row * Cols + Col)] = true;
    }
  }

  int Count() const {
    return static_cast<int>(std::count(Is_Covered.begin(), Is_Covered.end(), true));
  }

  double Side;
  int Cols, Rows;
  std::vector<bool> Is_Covered;
};

// Whatever a lens that few boards gave makes of the border, the board is somewhere in the frame.
std::vector<Held_Pose> Poses_To_Ask_For(Design& With, double Last_Roll_Deg) {
  std::vector<Held_Pose> Poses = Possible_Poses(With.View, Last_Roll_Deg);
  if (Poses.empty()) {
    With.View.Lens_Px.K1 = With.View.Lens_Px.K2 = 0;
    Poses = Possible_Poses(With.View, Last_Roll_Deg);
  }
  return Poses;
}

std::optional<Held_Pose> Best_Pose(const Unfinished_Capture& Of, Design& With,
                                   double Last_Roll_Deg) {
  const std::vector<Held_Pose> Poses = Poses_To_Ask_For(With, Last_Roll_Deg);
  std::vector<double> Costs;
  for (const Held_Pose& Pose : Poses) {
    const Row_Terms Row = Terms_Of(Observation_At(Pose.Transform_Cam_Chart, With), With);
    const double Cost = Cost_Of(Covariance_With(With, Row), Of.Limits);
    Costs.push_back(std::isfinite(Cost) ? Cost : std::numeric_limits<double>::max());
  }
  if (Costs.empty()) return std::nullopt;
  const double Least = *std::min_element(Costs.begin(), Costs.end());
  const Frame_Cells Cells(Of);
  std::size_t Best = 0;
  int Most_Cells = -1;
  for (std::size_t i = 0; i < Poses.size(); ++i) {
    if (!(Costs[i] <= Nearly_Best * Least)) continue;
    const int New_Cells = Cells.New_Cells(With.View, Poses[i].Transform_Cam_Chart);
    if (New_Cells < Most_Cells || (New_Cells == Most_Cells && Costs[i] >= Costs[Best])) continue;
    Best = i;
    Most_Cells = New_Cells;
  }
  return Poses[Best];
}

// ---- The widths after it ---------------------------------------------------------------------

Mount_Widths Widths_Of(const Mount_Uncertainty& Mount) {
  return {Mount.Widest_Mm.Half_Width, Mount.Widest_Deg.Half_Width};
}

// By the model alone, with the variances as solved and the freedom that the rows leave them.
Mount_Widths Modelled_Widths(const std::vector<Observation>& Rows, const Design& With,
                             const Variances& Noise) {
  std::vector<Linear_Row> Linear = Linearise_Rows(Rows, With.At, With.Settings);
  Linear_Prior Prior = Linearise_Prior(With.At, With.Settings);
  const Likelihood_Terms Terms = Evaluate_Likelihood(Linear, Prior, Noise);
  Lens_Pull By_Lens = Lens_Pull::Zero();
  Matrix6d Lens_Information = Lens_Prior(With.View);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    By_Lens +=
        Linear[i].Model.Derivative.transpose() * Terms.Weights[i] * Rows[i].Board.Lens_Sensitivity;
    Lens_Information +=
        Rows[i].Board.Lens_Information / (Noise[Corner_Noise] * With.Settings.Corner_Variance);
  }
  By_Lens = (Terms.Covariance * By_Lens).eval();
  return Widths_Of(Describe_Mount(
      Describe_Unknowns(Linear, Terms, Noise,
                        By_Lens * Scaled_Inverse(Lens_Information) * By_Lens.transpose()),
      Camera_Mount));
}

// What was solved allows for more than the model, so its own widths shrink by the model's ratio.
Mount_Widths Widths_After(const Unfinished_Capture& Of, std::vector<Observation> Rows,
                          const Design& With, const Eigen::Isometry3d& Transform_Cam_Chart) {
  const Variances& Noise = Of.Solution->Joint.Variance;
  const Mount_Widths Now = Modelled_Widths(Rows_So_Far(Of, true, With), With, Noise);
  Rows.push_back(Observation_At(Transform_Cam_Chart, With));
  const Mount_Widths After = Modelled_Widths(Rows, With, Noise);
  const Mount_Widths Stated = Widths_Of(Of.Solution->Joint.Camera_Mount);
  return {Stated.Mm * After.Mm / Now.Mm, Stated.Deg * After.Deg / Now.Deg};
}

std::optional<Next_Pose> Choose_Pose(const Unfinished_Capture& Of) {
  const bool Is_Solved = Is_Known(Of);
  Design With = Begin(Of, Is_Solved);
  std::vector<Observation> Rows = Rows_So_Far(Of, Is_Solved, With);
  for (const Corner_List& Corners : Of.Without_Samples) Add_Expected(Corners, With, Rows);
  for (const Observation& Seen : Rows) Add(Terms_Of(Seen, With), With);
  const double Last_Roll_Deg =
      Rows.empty() ? 0.0 : Roll_Deg_Of(Rows.back().Board.Transform_Cam_Chart.linear());
  const auto Best = Best_Pose(Of, With, Last_Roll_Deg);
  if (!Best) return std::nullopt;
  Next_Pose Pose{Best->Parts, Best->Transform_Cam_Chart, {}};
  if (Is_Solved) Pose.After = Widths_After(Of, Rows, With, Best->Transform_Cam_Chart);
  return Pose;
}

// ---- Enough ----------------------------------------------------------------------------------

// What a verdict on the joint mount would object to beside its widths.
std::vector<Verdict_Reason> Doubts_About(const Unfinished_Capture& Of) {
  const Joint_Solution& Joint = Of.Solution->Joint;
  Judged_Result Result;
  Result.Choice = Solution_Choice::Joint;
  Result.Lens_Check = Of.Solution->Lens_Check;
  Result.Is_Capture_Faulty = Of.Is_Faulty;
  Result.Is_Place_Contradicted = Of.Solution->Place && !Of.Solution->Place->Is_Prior;
  const Second_Opinion Opinion = Judge_Mount(Joint.At.Transform_Cam_Tc.matrix(), Joint,
                                             Of.Solution->Likeliest_Slip, Of.Limits, Result);
  std::vector<Verdict_Reason> Doubts;
  for (const Verdict_Reason Reason : Opinion.Reasons) {
    const bool Is_Width = Reason == Verdict_Reason::Width_Beyond_Limit ||
                          Reason == Verdict_Reason::Difference_And_Width;
    if (!Is_Width) Doubts.push_back(Reason);
  }
  return Doubts;
}

// "Within", so that NaN is not.
bool Is_Certain(const Mount_Widths& Widths, const Accuracy_Limits& Limits) {
  const Mount_Widths Most = Enough_Widths(Limits);
  return Widths.Mm <= Most.Mm && Widths.Deg <= Most.Deg;
}

void Judge_Enough(const Unfinished_Capture& Of, Capture_Advice& Advice) {
  if (Of.Facts.size() < library_limits::Least_Boards) Advice.Short_Of.push_back(Shortage::Boards);
  if (Of.Solution == nullptr || Of.Solution->Joint.Status != Solve_Status::Solved) {
    Advice.Short_Of.push_back(Shortage::Mount);
    return;
  }
  Advice.Widths_Now = Widths_Of(Of.Solution->Joint.Camera_Mount);
  if (!Is_Certain(*Advice.Widths_Now, Of.Limits)) Advice.Short_Of.push_back(Shortage::Certainty);
  Advice.Doubts = Doubts_About(Of);
  if (!Advice.Doubts.empty()) Advice.Short_Of.push_back(Shortage::Soundness);
  Advice.Is_Enough = Advice.Short_Of.empty();
}

}  // namespace

Mount_Widths Enough_Widths(const Accuracy_Limits& Limits) {
  return {Enough_Part / Sure_Factor * Limits.Mm, Enough_Part / Sure_Factor * Limits.Deg};
}

Capture_Advice Advise(const Unfinished_Capture& Capture) {
  Capture_Advice Advice;
  Judge_Enough(Capture, Advice);
  Advice.Pose = Choose_Pose(Capture);
  return Advice;
}

}  // namespace rigsync
