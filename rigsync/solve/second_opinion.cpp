// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/second_opinion.h"

#include "rigsync/geometry/angle.h"

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

void Add_If(bool Holds, Verdict_Reason Reason, std::vector<Verdict_Reason>& Reasons) {
  if (Holds) Reasons.push_back(Reason);
}

std::vector<Verdict_Reason> Grave_Reasons(const Second_Opinion& Opinion,
                                          const Joint_Solution& Joint, Slip_Evidence Slip_Seen,
                                          const Accuracy_Limits& Limits) {
  std::vector<Verdict_Reason> Reasons;
  const bool Is_Solved = Joint.Status == Solve_Status::Solved;
  Add_If(!Is_Solved, Verdict_Reason::Not_Solved, Reasons);
  Add_If(Is_Solved && !Are_Within(Opinion.Difference_Mm, Opinion.Difference_Deg, Limits),
         Verdict_Reason::Difference_Beyond_Limit, Reasons);
  Add_If(Is_Solved && !Are_Within(Opinion.Half_Width_Mm, Opinion.Half_Width_Deg, Limits),
         Verdict_Reason::Width_Beyond_Limit, Reasons);
  Add_If(Slip_Seen == Slip_Evidence::Found, Verdict_Reason::Slip_Found, Reasons);
  return Reasons;
}

std::vector<Verdict_Reason> Slight_Reasons(const Second_Opinion& Opinion, Slip_Evidence Slip_Seen,
                                           const Accuracy_Limits& Limits) {
  std::vector<Verdict_Reason> Reasons;
  const bool Is_Visible =
      !(Opinion.Difference_Mm <= Negligible_Mm && Opinion.Difference_Deg <= Negligible_Deg);
  Add_If(Is_Visible && !(Opinion.Probability_Nearer <= Unlikely),
         Verdict_Reason::Difference_Unlikely, Reasons);
  Add_If(!Are_Within(Opinion.Difference_Mm + Opinion.Half_Width_Mm,
                     Opinion.Difference_Deg + Opinion.Half_Width_Deg, Limits),
         Verdict_Reason::Difference_And_Width, Reasons);
  Add_If(Slip_Seen == Slip_Evidence::Look, Verdict_Reason::Slip_Suspected, Reasons);
  return Reasons;
}

}  // namespace

Second_Opinion Judge_Mount(const Eigen::Matrix4d& Library_Transform_Cam_Tc,
                           const Joint_Solution& Joint, const std::optional<Slip>& Likeliest_Slip,
                           const Accuracy_Limits& Limits) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  Second_Opinion Opinion;
  Opinion.Difference_Mm = Opinion.Difference_Deg = Opinion.Probability_Nearer = NaN;
  Opinion.Half_Width_Mm = Joint.Camera_Mount.Widest_Mm.Half_Width;
  Opinion.Half_Width_Deg = Joint.Camera_Mount.Widest_Deg.Half_Width;
  if (!Is_Pose(Library_Transform_Cam_Tc)) {
    Opinion.Reasons.push_back(Verdict_Reason::No_Library_Transform);
    return Opinion;
  }
  if (!Joint.Rows.empty()) Measure_Difference(Library_Transform_Cam_Tc, Joint, Opinion);
  const Slip_Evidence Slip_Seen = Likeliest_Slip ? Likeliest_Slip->Evidence : Slip_Evidence::None;
  Opinion.Reasons = Grave_Reasons(Opinion, Joint, Slip_Seen, Limits);
  if (!Opinion.Reasons.empty()) return Opinion;
  Opinion.Reasons = Slight_Reasons(Opinion, Slip_Seen, Limits);
  Opinion.Judgement = Opinion.Reasons.empty() ? Verdict::Agree : Verdict::Look;
  return Opinion;
}

}  // namespace rigsync
