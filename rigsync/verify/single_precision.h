// SPDX-License-Identifier: Apache-2.0
//
// Numbers with the error that rounding may have given them: the running error analysis of a
// calculation in single precision. Each operation takes the values without rounding and bounds how
// far the computed ones may be from them.
#ifndef RIGSYNC_VERIFY_SINGLE_PRECISION_H
#define RIGSYNC_VERIFY_SINGLE_PRECISION_H

#include <algorithm>
#include <cmath>

namespace rigsync {

// The step from a number of this size to the next in single precision, that of the smallest normal
// number for what is smaller.
inline double Single_Step(double Size) {
  constexpr int Digits = 24, Least_Exponent = -125;
  int Exponent = 0;
  std::frexp(Size, &Exponent);  // Size is at least half of 2^Exponent and below 2^Exponent
  return std::ldexp(1.0,
                    (Size > 0.0 ? std::max(Exponent, Least_Exponent) : Least_Exponent) - Digits);
}

struct Rounded {
  double Value = 0;  // without rounding
  double Error = 0;  // of the computed number, at most
};

// One more rounding to single precision.
inline Rounded In_Single(Rounded A) {
  return {A.Value, A.Error + 0.5 * Single_Step(std::abs(A.Value) + A.Error)};
}

// Exact operations on numbers that may be wrong, as in double precision.
inline Rounded operator+(Rounded A, Rounded B) {
  return {A.Value + B.Value, A.Error + B.Error};
}
inline Rounded operator-(Rounded A, Rounded B) {
  return {A.Value - B.Value, A.Error + B.Error};
}
inline Rounded operator*(Rounded A, Rounded B) {
  return {A.Value * B.Value,
          std::abs(A.Value) * B.Error + std::abs(B.Value) * A.Error + A.Error * B.Error};
}

// The same with the result rounded to single precision.
inline Rounded Single_Sum(Rounded A, Rounded B) {
  return In_Single(A + B);
}
inline Rounded Single_Difference(Rounded A, Rounded B) {
  return In_Single(A - B);
}
inline Rounded Single_Product(Rounded A, Rounded B) {
  return In_Single(A * B);
}

// Doubling and changing the sign round nothing.
inline Rounded Doubled(Rounded A) {
  return {2.0 * A.Value, 2.0 * A.Error};
}

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_SINGLE_PRECISION_H
