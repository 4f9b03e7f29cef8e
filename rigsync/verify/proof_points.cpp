// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/proof_points.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace rigsync {
namespace {

// The radius in the image, in focal lengths, of a ray whose tangent to the axis is Radius.
double Distorted(const Lens& Through, double Radius) {
  const double Square = Radius * Radius;
  return Radius * (1.0 + Square * (Through.K1 + Square * Through.K2));
}

// The largest radius up to which the image's grows: where 1 + 3 k1 s + 5 k2 s^2 is first 0, s being
// its square. Endless where it always grows.
double Rising_Limit(const Lens& Through) {
  const double A = 5.0 * Through.K2, B = 3.0 * Through.K1;
  const double Discriminant = B * B - 4.0 * A;
  // 2 / (-B + root) is the smaller of two positive solutions, and the only one for A <= 0.
  const double Below = -B + std::sqrt(std::max(Discriminant, 0.0));
  if (Discriminant < 0.0 || !(Below > 0.0)) return std::numeric_limits<double>::infinity();
  return std::sqrt(2.0 / Below);
}

// The tangent whose image has this radius; none beyond the largest.
std::optional<double> Undistorted(const Lens& Through, double Image_Radius) {
  const double Limit = Rising_Limit(Through);
  double Low = 0.0, High = std::isfinite(Limit) ? Limit : 1.0;
  while (!std::isfinite(Limit) && Distorted(Through, High) < Image_Radius) High *= 2.0;
  if (!(Distorted(Through, High) >= Image_Radius)) return std::nullopt;
  for (int Step = 0; Step < 100; ++Step) {
    const double Middle = 0.5 * (Low + High);
    (Distorted(Through, Middle) < Image_Radius ? Low : High) = Middle;
  }
  return 0.5 * (Low + High);
}

// The point at depth 1 behind a pixel.
std::optional<Eigen::Vector3d> Point_Behind(const Lens& Through, double X, double Y) {
  const Eigen::Vector2d In_Image((X - Through.Cx) / Through.Fx, (Y - Through.Cy) / Through.Fy);
  const double Image_Radius = In_Image.norm();
  if (Image_Radius == 0.0) return Eigen::Vector3d(0, 0, 1);
  const std::optional<double> Radius = Undistorted(Through, Image_Radius);
  if (!Radius) return std::nullopt;
  const Eigen::Vector2d Ray = In_Image * (*Radius / Image_Radius);
  return Eigen::Vector3d(Ray.x(), Ray.y(), 1.0);
}

}  // namespace

Eigen::Vector2d Projected(const Lens& Through, const Eigen::Vector3d& Point_Cam) {
  if (!(Point_Cam.z() > 0.0)) {
    return Eigen::Vector2d::Constant(std::numeric_limits<double>::quiet_NaN());
  }
  const double X = Point_Cam.x() / Point_Cam.z(), Y = Point_Cam.y() / Point_Cam.z();
  const double Square = X * X + Y * Y;
  const double Scale = 1.0 + Square * (Through.K1 + Square * Through.K2);
  return {Through.Fx * Scale * X + Through.Cx, Through.Fy * Scale * Y + Through.Cy};
}

Proof_Points Points_Over_Frame(const Lens& Through, int Width, int Height, int Columns, int Rows,
                               const std::vector<double>& Depths) {
  Proof_Points Chosen;
  Chosen.Columns = Columns;
  Chosen.Rows = Rows;
  Chosen.Depths = Depths;
  for (int Row = 0; Row < Rows; ++Row) {
    for (int Column = 0; Column < Columns; ++Column) {
      const auto Behind = Point_Behind(Through, -0.5 + Width * (Column / (Columns - 1.0)),
                                       -0.5 + Height * (Row / (Rows - 1.0)));
      if (!Behind) {
        ++Chosen.Unseen;
        continue;
      }
      for (const double Depth : Depths) Chosen.Points_Cam.push_back(Depth * *Behind);
    }
  }
  return Chosen;
}

Proof_Samples Samples_Of_Capture(const std::filesystem::path& Csv, std::size_t Limit) {
  std::vector<Tracker_Sample> Sound;
  for (const Capture_Row& Row : Read_Capture_File(Csv).Rows) {
    const auto& Q = Row.Camera.Quaternion;
    const bool Has_Length = Eigen::Vector4d(Q[0], Q[1], Q[2], Q[3]).norm() > 0.0;
    if (Row.Is_Sound && Has_Length) Sound.push_back(Row.Camera);
  }
  Proof_Samples Chosen{Evenly_Chosen(Sound, Limit), ""};
  const std::size_t Count = Chosen.Samples.size();
  Chosen.Source = fmt::format("{} row{} of {}", Count, Count == 1 ? "" : "s", Csv.string());
  return Chosen;
}

Proof_Samples Fixed_Samples() {
  Proof_Samples Chosen{{}, "12 fixed poses"};
  for (int k = 0; k < 12; ++k) {
    const double Angle = k * 150.0 / Degrees_Per_Radian;
    const Eigen::Vector3d Axis(std::cos(2.0 * k), std::sin(3.0 * k), std::cos(5.0 * k + 1.0));
    const Eigen::Quaterniond Q(Eigen::AngleAxisd(Angle, Axis.normalized()));
    Chosen.Samples.push_back({{3.0 * std::cos(1.0 * k), 3.0 * std::sin(1.0 * k), 0.2 * k},
                              {Q.w(), Q.x(), Q.y(), Q.z()}});
  }
  return Chosen;
}

}  // namespace rigsync
