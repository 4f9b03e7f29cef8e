// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/float_rounding.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/verify/single_precision.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

// The factor 57.29578 in single precision, against 180 / pi.
constexpr double Factor_Excess = 57.295780181884765625 / Degrees_Per_Radian - 1.0;

// A pi of 3.1415926535 makes angles in degrees too large by this part.
constexpr double Short_Pi_Excess = 2.9e-11;

// Beyond it the export to Aximmetry takes a rotation for a gimbal lock.
constexpr double Aximmetry_Lock = 0.9999987;

constexpr double Pi = 180.0 / Degrees_Per_Radian;

// How far the angle of (Along, Across) may be off, radians.
double Direction_Error(Rounded Across, Rounded Along) {
  const double Length = std::hypot(Across.Value, Along.Value);
  if (!(Length > 0.0)) return Pi;
  const double Sideways =
      (std::abs(Along.Value) * Across.Error + std::abs(Across.Value) * Along.Error) / Length;
  const double Shortening =
      (std::abs(Across.Value) * Across.Error + std::abs(Along.Value) * Along.Error) / Length;
  return Shortening < Length ? std::atan2(Sideways, Length - Shortening) : Pi;
}

// How far the arcsine may be off, radians. Its slope is endless at 1, so both ends are taken.
double Arcsine_Error(Rounded Sine) {
  const auto Arcsine = [](double Of) { return std::asin(std::clamp(Of, -1.0, 1.0)); };
  const double At = Arcsine(Sine.Value);
  return std::max(Arcsine(Sine.Value + Sine.Error) - At, At - Arcsine(Sine.Value - Sine.Error));
}

// An arc in single precision, from mathematics libraries that are right to a step of the last
// digit.
Rounded Single_Arc(double Angle_Rad, double Error_Rad) {
  return {Angle_Rad, Error_Rad + Single_Step(std::abs(Angle_Rad) + Error_Rad)};
}

// Of an arc that is multiplied by the factor to degrees in single precision, degrees.
double Single_Degrees_Error(double Angle_Rad, double Error_Rad) {
  const Rounded Factor = {Degrees_Per_Radian, Factor_Excess * Degrees_Per_Radian};
  return Single_Product(Single_Arc(Angle_Rad, Error_Rad), Factor).Error;
}

double Arc(Rounded Across, Rounded Along) {
  return std::atan2(Across.Value, Along.Value);
}

struct Narrowed_Quaternion {
  Rounded X, Y, Z, W;
};

Narrowed_Quaternion Narrowed(const Eigen::Quaterniond& Q, double Error) {
  return {In_Single({Q.x(), Error}), In_Single({Q.y(), Error}), In_Single({Q.z(), Error}),
          In_Single({Q.w(), Error})};
}

constexpr Rounded One = {1.0, 0.0};

// 1 - 2 * (A^2 + B^2) in double precision.
Rounded Double_Denominator(Rounded A, Rounded B) {
  return One - Doubled(A * A + B * B);
}

// The same in single precision.
Rounded Single_Denominator(Rounded A, Rounded B) {
  return Single_Difference(One, Doubled(Single_Sum(Single_Product(A, A), Single_Product(B, B))));
}

// 2 * (A * B + C * D), each step in single precision.
Rounded Single_Numerator(Rounded A, Rounded B, Rounded C, Rounded D) {
  return Doubled(Single_Sum(Single_Product(A, B), Single_Product(C, D)));
}

Rounded Negative(Rounded A) {
  return {-A.Value, A.Error};
}

}  // namespace

Angle_Rounding Rounding_Of_UE4(const Eigen::Quaterniond& Quaternion, double Quaternion_Error) {
  const auto [X, Y, Z, W] = Narrowed(Quaternion, Quaternion_Error);
  const Rounded Sine = Single_Numerator(Z, X, Negative(W), Y);
  const Rounded Yaw_Across = Single_Numerator(W, Z, Y, X);
  const Rounded Yaw_Along = In_Single(Double_Denominator(Z, Y));
  const Rounded Roll_Across = Single_Numerator(Z, Y, W, X);
  const Rounded Roll_Along = Double_Denominator(X, Y);
  Angle_Rounding Bound;
  Bound.Deg = {
      Single_Degrees_Error(Arc(Roll_Across, Roll_Along), Direction_Error(Roll_Across, Roll_Along)),
      Single_Degrees_Error(std::asin(std::clamp(Sine.Value, -1.0, 1.0)), Arcsine_Error(Sine)),
      Single_Degrees_Error(Arc(Yaw_Across, Yaw_Along), Direction_Error(Yaw_Across, Yaw_Along))};
  return Bound;
}

Angle_Rounding Rounding_Of_Aximmetry(const Eigen::Quaterniond& Quaternion,
                                     double Quaternion_Error) {
  const auto [X, Y, Z, W] = Narrowed(Quaternion, Quaternion_Error);
  const Rounded Sine = Single_Numerator(W, X, Negative(Z), Y);
  Angle_Rounding Bound;
  if (std::abs(Sine.Value) - Sine.Error <= Aximmetry_Lock) {
    const Rounded Y_Across = Single_Numerator(W, Y, Z, X), Y_Along = Single_Denominator(X, Y);
    const Rounded Z_Across = Single_Numerator(W, Z, Y, X), Z_Along = Single_Denominator(X, Z);
    // This arc goes to degrees in double precision, with a short pi.
    const double X_Rad = std::asin(std::clamp(Sine.Value, -1.0, 1.0));
    const Rounded Factor = {Degrees_Per_Radian, Short_Pi_Excess * Degrees_Per_Radian};
    Bound.Deg[0] = In_Single(Single_Arc(X_Rad, Arcsine_Error(Sine)) * Factor).Error;
    Bound.Deg[1] = Single_Degrees_Error(Arc(Y_Across, Y_Along), Direction_Error(Y_Across, Y_Along));
    Bound.Deg[2] = Single_Degrees_Error(Arc(Z_Across, Z_Along), Direction_Error(Z_Across, Z_Along));
  }
  if (std::abs(Sine.Value) + Sine.Error > Aximmetry_Lock) {
    // x is taken for a right angle, which turns the camera by what is missing. What the angle about
    // z then holds of the other two is right but for the square of it.
    const double Missing_Rad = std::acos(std::clamp(std::abs(Sine.Value) - Sine.Error, -1.0, 1.0));
    const Rounded Across = Single_Numerator(Z, X, Negative(W), Y), Along = Single_Denominator(Y, Z);
    Bound.Turn_Rad = Missing_Rad + Missing_Rad * Missing_Rad;
    Bound.Deg[2] = std::max(
        Bound.Deg[2], Single_Degrees_Error(Arc(Across, Along), Direction_Error(Across, Along)));
  }
  return Bound;
}

Angle_Rounding Rounding_Of_Pan_Tilt_Roll(const Eigen::Matrix3d& Rotation, double Element_Error) {
  const auto Element = [&](int Row, int Column) {
    return Rounded{Rotation(Row, Column), Element_Error};
  };
  constexpr double Few_Roundings = 8.0 * std::numeric_limits<double>::epsilon();
  Angle_Rounding Bound;
  Bound.Deg = {Direction_Error(Element(0, 1), Element(1, 1)), Arcsine_Error(Element(2, 1)),
               Direction_Error(Element(2, 0), Element(2, 2))};
  for (double& Error : Bound.Deg) Error = Degrees_Per_Radian * (Error + Few_Roundings * Pi);
  const double Between = std::hypot(Rotation(2, 0), Rotation(2, 2));
  constexpr double Least_Between = 1e-6;
  if (Between < Least_Between) {
    Bound.Deg[0] = Degrees_Per_Radian * Element_Error + Bound.Deg[1];
    Bound.Deg[2] = 0.0;
    Bound.Turn_Rad = Between + Element_Error;
  }
  return Bound;
}

double Rounding_Of_Single_Cm(double Metres) {
  const Rounded Hundred = {100.0, 0.0};
  return Single_Product(In_Single({Metres, 0.0}), Hundred).Error;
}

}  // namespace rigsync
