// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/tracker_rest.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace rigsync {
namespace {

// Four times the noise of trackers that are worth calibrating with, and a fraction of what a
// capture moves.
constexpr double Still_Rad = 0.5 / Degrees_Per_Radian;
constexpr double Still_Distance = 0.005;

// Samples further from the middle than this many times half of them are, jumped.
constexpr double Jumped_Factor = 4.0;

// A tripod that was pushed: the squared distance of the middles before and after, in units of its
// variance. Three numbers of noise pass this at one of 60 rows in less than a thousandth of
// captures, with a variance that is half of what it should be.
constexpr double Pushed = 60.0;
constexpr std::size_t Rows_Beside_Push = 3;

// The variance of a median in units of that of a mean.
constexpr double Median_Variance = 1.571;

// Each sample is compared with all others; a few dozen of them hold one near the middle.
constexpr std::size_t Most_Compared = 50;

using Pose_List = std::vector<Eigen::Isometry3d>;

struct Distances {
  std::vector<double> Angles_Rad, Lengths;
  double Median_Rad = 0, Median_Length = 0;
};

Distances Measure_From(const Eigen::Isometry3d& Middle, const Pose_List& Poses) {
  Distances All;
  for (const Eigen::Isometry3d& Pose : Poses) {
    const Vector6d Motion = Motion_Between(Middle, Pose);
    All.Angles_Rad.push_back(Motion.head<3>().norm());
    All.Lengths.push_back(Motion.tail<3>().norm());
  }
  All.Median_Rad = Median(All.Angles_Rad);
  All.Median_Length = Median(All.Lengths);
  return All;
}

// The sample that half of the others are nearest to, in both respects.
Eigen::Isometry3d Middle_Pose(const Pose_List& Poses) {
  Eigen::Isometry3d Best = Poses.front();
  double Least = INFINITY;
  for (const Eigen::Isometry3d& Pose : Evenly_Chosen(Poses, Most_Compared)) {
    const Distances All = Measure_From(Pose, Poses);
    const double Sum = All.Median_Rad / Still_Rad + All.Median_Length / Still_Distance;
    if (Sum < Least) {
      Least = Sum;
      Best = Pose;
    }
  }
  return Best;
}

Pose_List Unjumped(const Pose_List& Poses, const Distances& All) {
  Pose_List Near;
  for (std::size_t i = 0; i < Poses.size(); ++i) {
    if (All.Angles_Rad[i] <= Jumped_Factor * All.Median_Rad &&
        All.Lengths[i] <= Jumped_Factor * All.Median_Length) {
      Near.push_back(Poses[i]);
    }
  }
  return Near;
}

Eigen::Isometry3d Mean_Pose(const Pose_List& Poses) {
  std::vector<Eigen::Matrix3d> Rotations;
  Eigen::Vector3d Sum = Eigen::Vector3d::Zero();
  for (const Eigen::Isometry3d& Pose : Poses) {
    Rotations.push_back(Pose.linear());
    Sum += Pose.translation();
  }
  Eigen::Isometry3d Mean = Eigen::Isometry3d::Identity();
  Mean.linear() = Mean_Rotation(Rotations);
  Mean.translation() = Sum / static_cast<double>(Poses.size());
  return Mean;
}

void Measure_Scatter(const Pose_List& Poses, Tracker_Rest& Rest) {
  double Turns = 0, Shifts = 0;
  for (const Eigen::Isometry3d& Pose : Poses) {
    const Vector6d Motion = Motion_Between(Rest.Mean, Pose);
    Turns += Motion.head<3>().squaredNorm();
    Shifts += Motion.tail<3>().squaredNorm();
  }
  const auto Count = static_cast<double>(Poses.size());
  const double Freedom = 3.0 * std::max(Count - 1.0, 1.0);
  Rest.Rotation_Variance = Turns / Freedom / Count;
  Rest.Position_Variance = Shifts / Freedom / Count;
}

using Value_List = std::vector<Eigen::Vector3d>;

Eigen::Vector3d Median_Of_Each(Value_List::const_iterator First, Value_List::const_iterator Last) {
  Eigen::Vector3d Middle;
  for (int k = 0; k < 3; ++k) {
    std::vector<double> Values;
    std::transform(First, Last, std::back_inserter(Values),
                   [k](const Eigen::Vector3d& Value) { return Value[k]; });
    Middle[k] = Median(Values);
  }
  return Middle;
}

// The noise comes from what one value differs from the next, which a single push leaves alone.
bool Has_A_Step(const Value_List& Values) {
  if (Values.size() < 2 * Rows_Beside_Push) return false;
  std::vector<double> Squares;
  for (std::size_t i = 1; i < Values.size(); ++i) {
    Squares.push_back((Values[i] - Values[i - 1]).squaredNorm());
  }
  const double Variance = Median(Squares) / Median_Of_Three_Squares / 2;
  for (std::size_t k = Rows_Beside_Push; k + Rows_Beside_Push <= Values.size(); ++k) {
    const auto Push = Values.begin() + static_cast<std::ptrdiff_t>(k);
    const Eigen::Vector3d Step =
        Median_Of_Each(Push, Values.end()) - Median_Of_Each(Values.begin(), Push);
    const double Rows =
        1.0 / (1.0 / static_cast<double>(k) + 1.0 / static_cast<double>(Values.size() - k));
    if (Rows * Step.squaredNorm() > Pushed * Median_Variance * Variance) return true;
  }
  return false;
}

bool Was_Pushed(const Eigen::Isometry3d& Middle, const Pose_List& Poses) {
  Value_List Turns, Shifts;
  for (const Eigen::Isometry3d& Pose : Poses) {
    const Vector6d Motion = Motion_Between(Middle, Pose);
    Turns.emplace_back(Motion.head<3>());
    Shifts.emplace_back(Motion.tail<3>());
  }
  return Has_A_Step(Turns) || Has_A_Step(Shifts);
}

}  // namespace

Tracker_Rest Measure_Rest(const Pose_List& Transform_Base_Tracker_All) {
  Tracker_Rest Rest;
  const Eigen::Isometry3d Middle = Middle_Pose(Transform_Base_Tracker_All);
  const Distances All = Measure_From(Middle, Transform_Base_Tracker_All);
  Rest.Is_Still = All.Median_Rad <= Still_Rad && All.Median_Length <= Still_Distance &&
                  !Was_Pushed(Middle, Transform_Base_Tracker_All);
  const Pose_List Near = Unjumped(Transform_Base_Tracker_All, All);
  Rest.Mean = Mean_Pose(Near);
  Measure_Scatter(Near, Rest);
  return Rest;
}

Capture_Rest Settle_Still_Trackers(std::vector<Observation>& Rows) {
  Capture_Rest Rest;
  if (Rows.empty()) return Rest;
  Pose_List Camera, Board;
  for (const Observation& Seen : Rows) {
    Camera.push_back(Seen.Transform_Tc_Base.inverse());
    Board.push_back(Seen.Transform_Base_Tr);
  }
  Rest.Camera = Measure_Rest(Camera);
  Rest.Board = Measure_Rest(Board);
  if (Rest.Camera.Is_Still == Rest.Board.Is_Still) return Rest;
  Rest.Moving.Camera = !Rest.Camera.Is_Still;
  Rest.Moving.Board = !Rest.Board.Is_Still;
  for (Observation& Seen : Rows) {
    if (Rest.Camera.Is_Still) Seen.Transform_Tc_Base = Rest.Camera.Mean.inverse();
    if (Rest.Board.Is_Still) Seen.Transform_Base_Tr = Rest.Board.Mean;
  }
  return Rest;
}

}  // namespace rigsync
