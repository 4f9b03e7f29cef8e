// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/second_opinion.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/solve/mount_uncertainty.h"

#include <Eigen/LU>

#include <cmath>
#include <limits>

namespace rigsync {
namespace {

// A difference that is this unlikely isn't chance.
constexpr double Unlikely = 0.99;

// Below both of these nobody sees a difference, however unlikely it is.
constexpr double Negligible_Mm = 1.0;
constexpr double Negligible_Deg = 0.1;

// Coefficients that improve the fit by this much are not 0: chance does it in one capture of ten
// thousand where the errors of the corners are independent.
constexpr double Lens_Chance = 1e-4;
constexpr double Lens_Coefficients = 3.0, Most_Freedom = 1e5;

// The library's rotations are good to a millionth.
constexpr double Rotation_Tolerance = 1e-3;

bool Is_Pose(const Eigen::Matrix4d& Transform) {
  if (!Transform.allFinite()) return false;
  const Eigen::Matrix3d Rotation = Transform.topLeftCorner<3, 3>();
  const Eigen::Matrix3d Product = Rotation.transpose() * Rotation;
  return (Product - Eigen::Matrix3d::Identity()).norm() < Rotation_Tolerance &&
         Rotation.determinant() > 0.0;
}

void Measure_Difference(const Eigen::Matrix4d& Library_Transform_Cam_Tc,
                        const Joint_Solution& Joint, Second_Opinion& Opinion) {
  const Vector6d Motion =
      Motion_Between(Joint.At.Transform_Cam_Tc, Eigen::Isometry3d(Library_Transform_Cam_Tc));
  Opinion.Difference_Deg = Degrees_Per_Radian * Motion.head<3>().norm();
  Opinion.Difference_Mm = 1000.0 * Motion.tail<3>().norm();
  Opinion.Probability_Nearer = Joint.Camera_Mount.Probability_Nearer(Motion);
}

// "Within", so that NaN is not.
bool Are_Within(double Mm, double Deg, const Accuracy_Limits& Limits) {
  return Mm <= Limits.Mm && Deg <= Limits.Deg;
}

// Whether the last row contradicts the others. With a slip before the last one or two, too few rows
// are left to tell it from bad samples.
bool Are_Last_Left_Out(const Joint_Solution& Joint) {
  return !Joint.Rows.empty() && !Joint.Rows.back().Is_Kept;
}

bool Moves_Mount(const Lens_Model_Check& Check, const Second_Opinion& Opinion,
                 const Accuracy_Limits& Limits) {
  if (!(Check.F > F_Limit(Lens_Coefficients, Most_Freedom, Lens_Chance))) return false;
  const double Deg = Degrees_Per_Radian * Check.Mount_Motion.head<3>().norm();
  const double Mm = 1000.0 * Check.Mount_Motion.tail<3>().norm();
  return !Are_Within(Mm + Opinion.Half_Width_Mm, Deg + Opinion.Half_Width_Deg, Limits);
}

// Which of the reasons rule the chosen mount out, and which ask for a look.
struct Reason_Lists {
  std::vector<Verdict_Reason> Grave, Slight;
};

void Add_If(bool Holds, Verdict_Reason Reason, std::vector<Verdict_Reason>& Reasons) {
  if (Holds) Reasons.push_back(Reason);
}

// What the library's run is short of, or where it is against the joint solve.
std::vector<Verdict_Reason> Library_Reasons(const Second_Opinion& Opinion, bool Has_Transform,
                                            bool Is_Solved, const Accuracy_Limits& Limits,
                                            const Judged_Result& Result) {
  std::vector<Verdict_Reason> Reasons;
  Add_If(!Has_Transform, Verdict_Reason::No_Library_Transform, Reasons);
  Add_If(!Result.Has_Usable_Code, Verdict_Reason::Library_Code, Reasons);
  Add_If(Has_Transform && Is_Solved &&
             !Are_Within(Opinion.Difference_Mm, Opinion.Difference_Deg, Limits),
         Verdict_Reason::Difference_Beyond_Limit, Reasons);
  return Reasons;
}

std::vector<Verdict_Reason> Joint_Reasons(const Second_Opinion& Opinion, bool Is_Solved,
                                          Slip_Evidence Slip_Seen, const Accuracy_Limits& Limits) {
  std::vector<Verdict_Reason> Reasons;
  Add_If(!Is_Solved, Verdict_Reason::Not_Solved, Reasons);
  Add_If(Is_Solved && !Are_Within(Opinion.Half_Width_Mm, Opinion.Half_Width_Deg, Limits),
         Verdict_Reason::Width_Beyond_Limit, Reasons);
  Add_If(Slip_Seen == Slip_Evidence::Found, Verdict_Reason::Slip_Found, Reasons);
  return Reasons;
}

std::vector<Verdict_Reason> Slight_Reasons(const Second_Opinion& Opinion,
                                           const Joint_Solution& Joint, bool Are_Comparable,
                                           Slip_Evidence Slip_Seen, const Accuracy_Limits& Limits,
                                           const Judged_Result& Result) {
  std::vector<Verdict_Reason> Reasons;
  const bool Is_Visible =
      !(Opinion.Difference_Mm <= Negligible_Mm && Opinion.Difference_Deg <= Negligible_Deg);
  Add_If(Are_Comparable && Is_Visible && !(Opinion.Probability_Nearer <= Unlikely),
         Verdict_Reason::Difference_Unlikely, Reasons);
  Add_If(Are_Comparable &&
             !Are_Within(Opinion.Difference_Mm + Sure_Factor * Opinion.Half_Width_Mm,
                         Opinion.Difference_Deg + Sure_Factor * Opinion.Half_Width_Deg, Limits),
         Verdict_Reason::Difference_And_Width, Reasons);
  Add_If(Slip_Seen == Slip_Evidence::Look, Verdict_Reason::Slip_Suspected, Reasons);
  Add_If(Are_Last_Left_Out(Joint), Verdict_Reason::Last_Rows_Left_Out, Reasons);
  Add_If(Result.Lens_Check && Moves_Mount(*Result.Lens_Check, Opinion, Limits),
         Verdict_Reason::Lens_Does_Not_Fit, Reasons);
  Add_If(Result.Is_Capture_Faulty, Verdict_Reason::Capture_Faulty, Reasons);
  Add_If(Result.Is_Place_Contradicted, Verdict_Reason::Place_Contradicted, Reasons);
  return Reasons;
}

void Append(const std::vector<Verdict_Reason>& More, std::vector<Verdict_Reason>& Reasons) {
  Reasons.insert(Reasons.end(), More.begin(), More.end());
}

Verdict Judgement_Of(const Reason_Lists& Reasons) {
  if (!Reasons.Grave.empty()) return Verdict::Dont_Use;
  return Reasons.Slight.empty() ? Verdict::Agree : Verdict::Look;
}

}  // namespace

Second_Opinion Judge_Mount(const Eigen::Matrix4d& Library_Transform_Cam_Tc,
                           const Joint_Solution& Joint, const std::optional<Slip>& Likeliest_Slip,
                           const Accuracy_Limits& Limits, const Judged_Result& Result) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  Second_Opinion Opinion;
  Opinion.Difference_Mm = Opinion.Difference_Deg = Opinion.Probability_Nearer = NaN;
  Opinion.Half_Width_Mm = Joint.Camera_Mount.Widest_Mm.Half_Width;
  Opinion.Half_Width_Deg = Joint.Camera_Mount.Widest_Deg.Half_Width;
  const bool Has_Transform = Is_Pose(Library_Transform_Cam_Tc);
  const bool Is_Solved = Joint.Status == Solve_Status::Solved;
  if (Has_Transform && !Joint.Rows.empty()) {
    Measure_Difference(Library_Transform_Cam_Tc, Joint, Opinion);
  }
  const bool Is_Slip = Likeliest_Slip && Is_Noticeable(*Likeliest_Slip);
  const Slip_Evidence Slip_Seen = Is_Slip ? Likeliest_Slip->Evidence : Slip_Evidence::None;
  const std::vector<Verdict_Reason> Of_Library =
      Library_Reasons(Opinion, Has_Transform, Is_Solved, Limits, Result);
  Reason_Lists Reasons;
  Reasons.Grave = Joint_Reasons(Opinion, Is_Solved, Slip_Seen, Limits);
  if (Result.Choice == Solution_Choice::Library) {
    Reasons.Grave.insert(Reasons.Grave.begin(), Of_Library.begin(), Of_Library.end());
  } else {
    Reasons.Slight = Of_Library;
  }
  Append(Slight_Reasons(Opinion, Joint, Has_Transform && Is_Solved, Slip_Seen, Limits, Result),
         Reasons.Slight);
  Opinion.Judgement = Judgement_Of(Reasons);
  Opinion.Reasons = Reasons.Grave.empty() ? Reasons.Slight : Reasons.Grave;
  return Opinion;
}

}  // namespace rigsync
