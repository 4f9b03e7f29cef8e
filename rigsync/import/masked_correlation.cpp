// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/masked_correlation.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

// A signal with 0 in its gaps, its squares, and 1 where it is known: the transform of each.
struct Transforms {
  cv::Mat Values, Squares, Known;
};

double Mean_Of_Known(const Signal& Values) {
  double Sum = 0;
  std::size_t Count = 0;
  for (const double Value : Values) {
    if (std::isnan(Value)) continue;
    Sum += Value;
    ++Count;
  }
  return Count > 0 ? Sum / static_cast<double>(Count) : 0.0;
}

cv::Mat Transformed(cv::Mat Values) {
  cv::Mat Spectrum;
  cv::dft(Values, Spectrum);
  return Spectrum;
}

// The mean is taken off first: it changes no coefficient and keeps the sums exact.
Transforms Transform(const Signal& Values, int Length) {
  const double Mean = Mean_Of_Known(Values);
  cv::Mat Plain(1, Length, CV_64F, cv::Scalar(0)), Squares = Plain.clone(), Known = Plain.clone();
  for (std::size_t i = 0; i < Values.size(); ++i) {
    if (std::isnan(Values[i])) continue;
    const double Value = Values[i] - Mean;
    const auto At = static_cast<int>(i);
    Plain.at<double>(0, At) = Value;
    Squares.at<double>(0, At) = Value * Value;
    Known.at<double>(0, At) = 1.0;
  }
  return {Transformed(Plain), Transformed(Squares), Transformed(Known)};
}

// Sum over i of A[i + shift] B[i], cyclic: entry shift mod Length.
cv::Mat Products(const cv::Mat& A, const cv::Mat& B) {
  cv::Mat Spectrum, Sums;
  cv::mulSpectrums(A, B, Spectrum, 0, /*conjB=*/true);
  cv::dft(Spectrum, Sums, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
  return Sums;
}

}  // namespace

Shift_Correlations Correlate(const Signal& A, const Signal& B, std::size_t Least_Overlap) {
  const int Length = cv::getOptimalDFTSize(static_cast<int>(A.size() + B.size()));
  const Transforms Of_A = Transform(A, Length), Of_B = Transform(B, Length);
  const cv::Mat Count = Products(Of_A.Known, Of_B.Known);
  const cv::Mat Sum_A = Products(Of_A.Values, Of_B.Known);
  const cv::Mat Sum_B = Products(Of_A.Known, Of_B.Values);
  const cv::Mat Sum_AA = Products(Of_A.Squares, Of_B.Known);
  const cv::Mat Sum_BB = Products(Of_A.Known, Of_B.Squares);
  const cv::Mat Sum_AB = Products(Of_A.Values, Of_B.Values);
  // A variance below this is what the transforms round to; signals are of the order of 1.
  constexpr double Rounding = 1e-9;
  Shift_Correlations Result;
  Result.First_Shift = 1 - static_cast<std::ptrdiff_t>(B.size());
  const std::size_t Shifts = A.size() + B.size() - 1;
  Result.Coefficients.assign(Shifts, std::numeric_limits<double>::quiet_NaN());
  for (std::size_t k = 0; k < Shifts; ++k) {
    const std::ptrdiff_t Shift = Result.First_Shift + static_cast<std::ptrdiff_t>(k);
    const int At = static_cast<int>(Shift < 0 ? Shift + Length : Shift);
    const double N = std::round(Count.at<double>(0, At));
    if (N < static_cast<double>(std::max<std::size_t>(Least_Overlap, 2))) continue;
    const double A_Sum = Sum_A.at<double>(0, At), B_Sum = Sum_B.at<double>(0, At);
    const double Of_AA = Sum_AA.at<double>(0, At) - A_Sum * A_Sum / N;
    const double Of_BB = Sum_BB.at<double>(0, At) - B_Sum * B_Sum / N;
    const double Of_AB = Sum_AB.at<double>(0, At) - A_Sum * B_Sum / N;
    if (!(Of_AA > Rounding * N) || !(Of_BB > Rounding * N)) continue;
    Result.Coefficients[k] = std::clamp(Of_AB / std::sqrt(Of_AA * Of_BB), -1.0, 1.0);
  }
  return Result;
}

}  // namespace rigsync
