// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/stillness.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

using Coordinates = Eigen::Matrix<double, 6, 1>;  // metres, radians
using Series = Eigen::Matrix<double, 6, Eigen::Dynamic>;

Coordinates Limits() {
  constexpr double Limit_Metres = 0.0005, Limit_Deg = 0.05;
  Coordinates Result;
  Result << Eigen::Vector3d::Constant(Limit_Metres),
      Eigen::Vector3d::Constant(Limit_Deg / Degrees_Per_Radian);
  return Result;
}

// The samples from Begin on, turns as rotation vectors from the first of them.
Series Series_From(const std::vector<Timed_Sample>& Samples, std::size_t Begin) {
  Series All(6, static_cast<Eigen::Index>(Samples.size() - Begin));
  const Eigen::Quaterniond First = Sample_Rotation_Body_Base(Samples[Begin].Sample);
  for (std::size_t i = Begin; i < Samples.size(); ++i) {
    const Tracker_Sample& Sample = Samples[i].Sample;
    const Eigen::AngleAxisd Turn(Sample_Rotation_Body_Base(Sample) * First.conjugate());
    All.col(static_cast<Eigen::Index>(i - Begin)) << Sample.Position[0], Sample.Position[1],
        Sample.Position[2], Turn.angle() * Turn.axis();
  }
  return All;
}

// Second differences of white noise have sqrt(6) times its deviation, and the median of their size
// is 0.6745 of their own.
double Noise_Of(const Series& All, Eigen::Index Row) {
  constexpr double Median_Of_Normal = 0.6745;
  std::vector<double> Differences;
  for (Eigen::Index i = 1; i + 1 < All.cols(); ++i) {
    Differences.push_back(std::abs(All(Row, i + 1) - 2 * All(Row, i) + All(Row, i - 1)));
  }
  return Median(Differences) / (Median_Of_Normal * std::sqrt(6.0));
}

std::size_t Begin_Of_End(const std::vector<Timed_Sample>& Samples) {
  const double From = Samples.back().Seconds - Stillness_Seconds;
  const auto First =
      std::find_if(Samples.begin(), Samples.end(),
                   [From](const Timed_Sample& Sample) { return Sample.Seconds >= From; });
  return std::min(static_cast<std::size_t>(First - Samples.begin()),
                  Samples.size() - Stillness_Samples);
}

}  // namespace

Motion Motion_At_End(const std::vector<Timed_Sample>& Samples) {
  if (Samples.size() < Stillness_Samples) return Motion::Unknown;
  const Series All = Series_From(Samples, Begin_Of_End(Samples));
  const Eigen::Index Half = All.cols() / 2;
  const Coordinates Drift =
      (All.rightCols(Half).rowwise().mean() - All.leftCols(Half).rowwise().mean()).cwiseAbs();
  const Coordinates Mean = All.rowwise().mean();
  const Coordinates Shake = (All.colwise() - Mean).cwiseAbs().rowwise().maxCoeff();
  const Coordinates Limit = Limits();
  for (Eigen::Index Row = 0; Row < Limit.size(); ++Row) {
    const double Noise = Noise_Of(All, Row);
    const double Most_Drift = 3 * Noise * std::sqrt(4.0 / static_cast<double>(All.cols()));
    const bool Is_Still =
        Drift[Row] <= Most_Drift + Limit[Row] && Shake[Row] <= 5 * Noise + Limit[Row];
    if (!Is_Still) return Motion::Moving;
  }
  return Motion::Still;
}

}  // namespace rigsync
