// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/drift.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/geometry/units.h"
#include "rigsync/solve/lens_uncertainty.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// Stated lengths that differ by less are the same number in other units.
constexpr double Same_Length = 1e-6;

// ---- Lens --------------------------------------------------------------------------------------

bool Has_Lens(const Calibration_Result& Result) {
  return Result.Image_Size.size() == 2 && Result.Norm_Fxy.size() == 2 &&
         Result.Norm_Cxy.size() == 2 && Result.Distortion.size() == 5;
}

Lens Lens_In(const Calibration_Result& Result, const std::vector<double>& Image_Size) {
  const double Width = Image_Size[0], Height = Image_Size[1];
  return {Result.Norm_Fxy[0] * Width,  Result.Norm_Fxy[1] * Height, Result.Norm_Cxy[0] * Width,
          Result.Norm_Cxy[1] * Height, Result.Distortion[0],        Result.Distortion[1]};
}

// Centre and corners.
std::vector<Eigen::Vector2d> Frame_Pixels(const std::vector<double>& Image_Size) {
  const double Right = Image_Size[0] - 1.0, Bottom = Image_Size[1] - 1.0;
  return {{Right / 2.0, Bottom / 2.0}, {0, 0}, {Right, 0}, {0, Bottom}, {Right, Bottom}};
}

std::vector<Picture_Shift> Shifts_Over_Frame(const Drawing& Then, const Drawing& Now,
                                             const std::vector<double>& Image_Size,
                                             double Distance) {
  std::vector<Picture_Shift> Shifts;
  for (const Eigen::Vector2d& Pixel : Frame_Pixels(Image_Size)) {
    Shifts.push_back(Shift_In_Picture(Then, Now, Pixel, Distance));
  }
  return Shifts;
}

double Largest_Px(const std::vector<Picture_Shift>& Shifts) {
  double Largest = 0;
  for (const Picture_Shift& Shift : Shifts) {
    if (!Shift.Px.allFinite()) return NaN;
    Largest = std::max(Largest, Shift.Px.norm());
  }
  return Shifts.empty() ? NaN : Largest;
}

bool Knows_Lens(const Calibration_Result& Result) {
  return Has_Lens(Result) && Result.Solved &&
         Lens_Half_Widths(Result.Solved->Seen.Lens_Covariance).allFinite();
}

// Both in pixels of the later size, to which the earlier covariance is scaled.
void Add_Joint_Lenses(const Calibration_Result& Now, const Calibration_Result& Then,
                      Lens_Drift& Of_Lens) {
  const double By_Width = Now.Image_Size[0] / Then.Image_Size[0];
  const double By_Height = Now.Image_Size[1] / Then.Image_Size[1];
  Vector6d Scale;
  Scale << By_Width, By_Height, By_Width, By_Height, 1.0, 1.0;
  const Matrix6d Covariance =
      Now.Solved->Seen.Lens_Covariance +
      Matrix6d(Scale.asDiagonal() * Then.Solved->Seen.Lens_Covariance * Scale.asDiagonal());
  Of_Lens.Joint_Difference = Lens_Numbers(Now.Solved->Lens_Px) -
                             Lens_Numbers(Scaled(Then.Solved->Lens_Px, By_Width, By_Height));
  Of_Lens.Half_Width = Lens_Half_Widths(Covariance);
  Of_Lens.Probability_Of_Less = Probability_Of_Less_Lens(Covariance, *Of_Lens.Joint_Difference);
}

std::optional<Lens_Drift> Compare_Lenses(const Calibration_Result& Now,
                                         const Calibration_Result& Then) {
  if (!Has_Lens(Now) || !Has_Lens(Then)) return std::nullopt;
  Lens_Drift Of_Lens;
  Of_Lens.Then = Lens_In(Then, Now.Image_Size);
  Of_Lens.Now = Lens_In(Now, Now.Image_Size);
  Of_Lens.Shifts = Shifts_Over_Frame({Of_Lens.Then, Eigen::Isometry3d::Identity()},
                                     {Of_Lens.Now, Eigen::Isometry3d::Identity()}, Now.Image_Size,
                                     Now.Inputs.Talent_Distance);
  Of_Lens.Probability_Of_Less = NaN;
  if (Knows_Lens(Now) && Knows_Lens(Then)) Add_Joint_Lenses(Now, Then, Of_Lens);
  return Of_Lens;
}

// ---- Mount -------------------------------------------------------------------------------------

Eigen::Isometry3d Mount_Of(const Calibration_Result& Result) {
  return Eigen::Isometry3d(Matrix_From_List(Chosen_Transform_Cam_Tc(Result)));
}

bool Knows_Mount(const Calibration_Result& Result) {
  return Result.Solved && Result.Solved->Joint.Status == Solve_Status::Solved &&
         Result.Solved->Joint.Camera_Mount.Covariance.allFinite();
}

Mount_Drift Compare_Mounts(const Calibration_Result& Now, const Calibration_Result& Then) {
  Mount_Drift Of_Mount;
  const Vector6d Motion = Motion_Between(Mount_Of(Then), Mount_Of(Now));
  Of_Mount.Turn_Deg = Degrees_Per_Radian * Motion.head<3>();
  Of_Mount.Shift_Mm = Mm_In_Metre * Motion.tail<3>();
  Of_Mount.Probability_Of_Less = Of_Mount.Result_Probability_Of_Less = NaN;
  if (!Knows_Mount(Now) || !Knows_Mount(Then)) return Of_Mount;
  const Joint_Solution &Joint = Now.Solved->Joint, &Earlier = Then.Solved->Joint;
  Of_Mount.Joint_Motion = Motion_Between(Earlier.At.Transform_Cam_Tc, Joint.At.Transform_Cam_Tc);
  Of_Mount.Uncertainty = Uncertainty_Of_Difference(Joint.Camera_Mount, Earlier.Camera_Mount);
  Of_Mount.Probability_Of_Less = Probability_Of_Less(Of_Mount.Uncertainty, *Of_Mount.Joint_Motion);
  Of_Mount.Result_Probability_Of_Less = Probability_Of_Less(Of_Mount.Uncertainty, Motion);
  return Of_Mount;
}

// ---- Causes ------------------------------------------------------------------------------------

// Of the inputs, and of what the capture shows of the squares.
void Add_Input_Causes(const Calibration_Result& Now, const Calibration_Result& Then, Drift& Seen) {
  const Calibration_Inputs &In = Now.Inputs, &Earlier = Then.Inputs;
  const auto Add_If = [&Seen](bool Applies, Drift_Cause Cause) {
    if (Applies) Seen.Causes.push_back(Cause);
  };
  Add_If(Now.Image_Size != Then.Image_Size, Drift_Cause::Resolution);
  Add_If(In.Sensor_Size_Mm && Earlier.Sensor_Size_Mm && In.Sensor_Size_Mm != Earlier.Sensor_Size_Mm,
         Drift_Cause::Sensor);
  Add_If(In.Board.Cols != Earlier.Board.Cols || In.Board.Rows != Earlier.Board.Rows,
         Drift_Cause::Board);
  Add_If(std::abs(In.Square_Size - Earlier.Square_Size) > Same_Length, Drift_Cause::Square_Typed);
}

bool Has(const Drift& Seen, Drift_Cause Cause) {
  return std::find(Seen.Causes.begin(), Seen.Causes.end(), Cause) != Seen.Causes.end();
}

// The scales are logarithms of numbers near 1, with normal distributions.
bool Has_Another_Scale(const Joint_Solution& Now, const Joint_Solution& Then) {
  constexpr double Sure_Deviations = 2.2414;  // Sure_Part of a normal distribution is inside
  constexpr double Least_Part = 0.002;        // smaller ones are errors of print and paper
  const double Change = std::log(Now.At.Square_Scale / Then.At.Square_Scale);
  const double Deviation = std::hypot(Now.Scale_Deviation, Then.Scale_Deviation);
  return std::abs(Change) > Least_Part && std::abs(Change) > Sure_Deviations * Deviation;
}

// Whether the turn is by 90, 120 or 180 degrees from axes to axes: to within what a mount turns by.
bool Is_Relabelling(const Eigen::Matrix3d& Rotation_Then_Now) {
  constexpr double Largest_Turn_Deg = 10.0;
  Eigen::Matrix3d Rounded = Rotation_Then_Now.array().round();
  const bool Is_Rotation =
      (Rounded * Rounded.transpose()).isIdentity(1e-9) && Rounded.determinant() > 0.0;
  if (!Is_Rotation || Rounded.isIdentity(1e-9)) return false;
  const double Rest = Turn_From_Rotation(Rounded.transpose() * Rotation_Then_Now).norm();
  return Degrees_Per_Radian * Rest <= Largest_Turn_Deg;
}

bool Is_Sure(double Probability_Of_Less) {
  return Probability_Of_Less > Sure_Part;
}

// Changes in units of their half-widths: the largest is the likeliest cause. 0 where nothing is
// known.
double Turn_Excess(const Mount_Drift& Of_Mount) {
  if (!Of_Mount.Joint_Motion) return 0.0;
  return Degrees_Per_Radian * Of_Mount.Joint_Motion->head<3>().norm() /
         Of_Mount.Uncertainty.Widest_Deg.Half_Width;
}

double Shift_Excess(const Mount_Drift& Of_Mount) {
  if (!Of_Mount.Joint_Motion) return 0.0;
  return Mm_In_Metre * Of_Mount.Joint_Motion->tail<3>().norm() /
         Of_Mount.Uncertainty.Widest_Mm.Half_Width;
}

double Lens_Excess(const std::optional<Lens_Drift>& Of_Lens) {
  if (!Of_Lens || !Of_Lens->Joint_Difference) return 0.0;
  return Of_Lens->Joint_Difference->cwiseAbs().cwiseQuotient(Of_Lens->Half_Width).maxCoeff();
}

// A square that was typed differently shifts the mount, mostly along the view, and doesn't turn it.
void Add_Mount_Causes(const Mount_Drift& Of_Mount, Drift& Seen) {
  if (!Of_Mount.Joint_Motion || !Is_Sure(Of_Mount.Probability_Of_Less)) return;
  const Vector6d& Motion = *Of_Mount.Joint_Motion;
  const double Turn_Deg = Degrees_Per_Radian * Motion.head<3>().norm();
  const double Shift_Mm = Mm_In_Metre * Motion.tail<3>().norm();
  const double Less_Turn = Probability_Of_Less_Turn(Of_Mount.Uncertainty, Motion);
  const double Less_Shift = Probability_Of_Less_Shift(Of_Mount.Uncertainty, Motion);
  const bool Is_Square =
      Has(Seen, Drift_Cause::Square_Typed) || Has(Seen, Drift_Cause::Square_Scale);
  const bool Is_Turned = Turn_Deg >= Least_Drift_Deg && Is_Sure(Less_Turn);
  const bool Is_Shifted = Shift_Mm >= Least_Drift_Mm && Is_Sure(Less_Shift) && !Is_Square;
  const bool Is_Turn_First = Turn_Excess(Of_Mount) >= Shift_Excess(Of_Mount);
  if (Is_Turned && Is_Turn_First) Seen.Causes.push_back(Drift_Cause::Mount_Turned);
  if (Is_Shifted) Seen.Causes.push_back(Drift_Cause::Mount_Shifted);
  if (Is_Turned && !Is_Turn_First) Seen.Causes.push_back(Drift_Cause::Mount_Turned);
  if (Is_Turned || Is_Shifted || Is_Square) return;
  // All six numbers together are beyond, and neither half is: the likelier one.
  const bool Is_Likelier_Turn = Less_Turn >= Less_Shift;
  if (Is_Likelier_Turn && Turn_Deg >= Least_Drift_Deg) {
    Seen.Causes.push_back(Drift_Cause::Mount_Turned);
  } else if (!Is_Likelier_Turn && Shift_Mm >= Least_Drift_Mm) {
    Seen.Causes.push_back(Drift_Cause::Mount_Shifted);
  }
}

void Add_Lens_Causes(const Lens_Drift& Of_Lens, Drift& Seen) {
  if (!Of_Lens.Joint_Difference || !Is_Sure(Of_Lens.Probability_Of_Less)) return;
  if (Largest_Px(Of_Lens.Shifts) < Least_Drift_Px) return;
  const Vector6d Parts = Of_Lens.Joint_Difference->cwiseAbs().cwiseQuotient(Of_Lens.Half_Width);
  const double Focal = Parts.head<2>().maxCoeff(), Centre = Parts.segment<2>(2).maxCoeff(),
               Distortion = Parts.tail<2>().maxCoeff();
  const bool Is_Centre_Alone = Centre > 1.0 && Focal <= 1.0 && Distortion <= 1.0;
  Seen.Causes.push_back(Is_Centre_Alone ? Drift_Cause::Lens_Displaced : Drift_Cause::Lens_Changed);
}

// Where the bounds ask for more than the results tell.
void Add_Unknown(const Drift_Bounds& Bounds, Drift& Seen) {
  if (!Seen.Of_Mount.Joint_Motion) return;
  const bool Is_Unexplained = Seen.Causes.empty() && !Is_Within_Bounds(Seen, Bounds);
  if (Is_Unexplained || Is_Shift_Open(Seen, Bounds) || Is_Turn_Open(Seen, Bounds)) {
    Seen.Causes.push_back(Drift_Cause::Unknown);
  }
}

void Add_Causes(const Calibration_Result& Now, const Calibration_Result& Then, Drift& Seen) {
  Add_Input_Causes(Now, Then, Seen);
  const bool Are_Solved = Knows_Mount(Now) && Knows_Mount(Then);
  const bool Is_Same_Square = !Has(Seen, Drift_Cause::Square_Typed);
  if (Are_Solved && Is_Same_Square && Has_Another_Scale(Now.Solved->Joint, Then.Solved->Joint)) {
    Seen.Causes.push_back(Drift_Cause::Square_Scale);
  }
  const bool Is_Relabelled =
      Is_Relabelling(Mount_Of(Then).linear().transpose() * Mount_Of(Now).linear());
  if (Is_Relabelled) Seen.Causes.push_back(Drift_Cause::Axes_Redefined);
  const bool Is_Lens_First =
      Lens_Excess(Seen.Of_Lens) > std::max(Turn_Excess(Seen.Of_Mount), Shift_Excess(Seen.Of_Mount));
  if (Seen.Of_Lens && Is_Lens_First) Add_Lens_Causes(*Seen.Of_Lens, Seen);
  if (!Is_Relabelled) Add_Mount_Causes(Seen.Of_Mount, Seen);
  if (Seen.Of_Lens && !Is_Lens_First) Add_Lens_Causes(*Seen.Of_Lens, Seen);
}

// Compared with <= so that NaN is outside.
bool Is_Explained_By_Noise(const Drift& Seen, const Drift_Bounds& Bounds) {
  return Seen.Has_Uncertainty && Is_Within_Bounds(Seen, Bounds) && !Is_Shift_Open(Seen, Bounds) &&
         !Is_Turn_Open(Seen, Bounds) && Seen.Of_Mount.Probability_Of_Less <= Sure_Part &&
         Seen.Of_Mount.Result_Probability_Of_Less <= Sure_Part &&
         Seen.Of_Lens->Probability_Of_Less <= Sure_Part;
}

bool Has_Same_Files(const Input_Hashes& One, const Input_Hashes& Other) {
  return !One.Csv.empty() && One.Csv == Other.Csv && !One.Images.empty() &&
         One.Images == Other.Images;
}

}  // namespace

Drift Compare_Results(const Calibration_Result& Now, const Calibration_Result& Then,
                      const Drift_Bounds& Bounds) {
  Drift Seen;
  Seen.Of_Lens = Compare_Lenses(Now, Then);
  Seen.Of_Mount = Compare_Mounts(Now, Then);
  Seen.Talent_Distance = Now.Inputs.Talent_Distance;
  if (Seen.Of_Lens) {
    Seen.Image_Height = Now.Image_Size[1];
    Seen.Shifts =
        Shifts_Over_Frame({Seen.Of_Lens->Then, Mount_Of(Then)}, {Seen.Of_Lens->Now, Mount_Of(Now)},
                          Now.Image_Size, Seen.Talent_Distance);
  }
  if (Then.Solved) Seen.Lag_Then = Then.Solved->Joint.Lag;
  if (Now.Solved) Seen.Lag_Now = Now.Solved->Joint.Lag;
  Seen.Is_Same_Capture = Has_Same_Files(Now.Hashes, Then.Hashes);
  Seen.Has_Uncertainty =
      Seen.Of_Mount.Joint_Motion && Seen.Of_Lens && Seen.Of_Lens->Joint_Difference;
  Seen.Is_Within_Uncertainty = Is_Explained_By_Noise(Seen, Bounds);
  Add_Causes(Now, Then, Seen);
  Add_Unknown(Bounds, Seen);
  return Seen;
}

bool Is_Shift_Open(const Drift& Seen, const Drift_Bounds& Bounds) {
  return Seen.Of_Mount.Joint_Motion &&
         !(Seen.Of_Mount.Uncertainty.Widest_Mm.Half_Width <= Bounds.Mm);
}

bool Is_Turn_Open(const Drift& Seen, const Drift_Bounds& Bounds) {
  return Seen.Of_Mount.Joint_Motion &&
         !(Seen.Of_Mount.Uncertainty.Widest_Deg.Half_Width <= Bounds.Deg);
}

// Compared with <= so that NaN is beyond.
bool Is_Within_Bounds(const Drift& Seen, const Drift_Bounds& Bounds) {
  const bool Is_Picture_Within = !Seen.Of_Lens || Largest_Shift_1080p_Px(Seen) <= Bounds.Px_1080p;
  return Seen.Of_Mount.Mm() <= Bounds.Mm && Seen.Of_Mount.Deg() <= Bounds.Deg && Is_Picture_Within;
}

double Largest_Shift_1080p_Px(const Drift& Seen) {
  return Largest_Px(Seen.Shifts) * library_limits::Reference_Height_Px / Seen.Image_Height;
}

}  // namespace rigsync
