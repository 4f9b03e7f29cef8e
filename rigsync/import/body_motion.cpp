// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/body_motion.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

using Quaternion_List = std::vector<Eigen::Quaterniond>;

constexpr double Mm_Per_Metre = 1000.0;

// Standard deviations in the median of absolute deviations of normal values.
constexpr double Deviation_Per_Median = 1.4826;

// A noise of variance 1 in second differences, x[i-1] - 2 x[i] + x[i+1].
constexpr double Second_Difference_Variance = 6.0;

// The variance of a median in units of that of a mean.
constexpr double Median_Variance = 1.571;

// The vector along whose direction the rotation turns, by its length.
Eigen::Vector3d Turn_Of(Eigen::Quaterniond Rotation) {
  if (Rotation.w() < 0.0) Rotation.coeffs() = -Rotation.coeffs();
  const double Sine = Rotation.vec().norm();
  if (Sine == 0.0) return Eigen::Vector3d::Zero();
  return 2.0 * std::atan2(Sine, Rotation.w()) / Sine * Rotation.vec();
}

Eigen::Quaterniond Rotation_By(const Eigen::Vector3d& Turn) {
  const double Angle = Turn.norm();
  if (Angle == 0.0) return Eigen::Quaterniond::Identity();
  return Eigen::Quaterniond(Eigen::AngleAxisd(Angle, Turn / Angle));
}

Eigen::Vector3d Position_Of(const Tracker_Sample& Sample) {
  return {Sample.Position[0], Sample.Position[1], Sample.Position[2]};
}

Eigen::Quaterniond Quaternion_Of(const Tracker_Sample& Sample) {
  return Sample_Rotation_Body_Base(Sample);
}

// The middle value, or the mean of both in the middle, so that the median of a steady motion is
// its middle.
double Even_Median(std::vector<double>& Values) {
  const auto Middle = Values.begin() + static_cast<std::ptrdiff_t>(Values.size() / 2);
  std::nth_element(Values.begin(), Middle, Values.end());
  if (Values.size() % 2 == 1) return *Middle;
  return 0.5 * (*Middle + *std::max_element(Values.begin(), Middle));
}

// A quaternion of the list that few others are far from, so one that did not jump.
const Eigen::Quaterniond& Middle_One(const Quaternion_List& List) {
  constexpr std::size_t Most_Compared = 7;
  const std::size_t Step = std::max<std::size_t>(1, List.size() / Most_Compared);
  std::size_t Best = 0;
  double Most = -1.0;
  for (std::size_t i = 0; i < List.size(); i += Step) {
    double Sum = 0;
    for (std::size_t k = 0; k < List.size(); k += Step) Sum += std::abs(List[i].dot(List[k]));
    if (Sum > Most) {
      Most = Sum;
      Best = i;
    }
  }
  return List[Best];
}

// Component by component, with the signs of one of them. For rotations within some degrees of each
// other, which is what most of the list is.
Eigen::Quaterniond Median_Rotation(const Quaternion_List& List) {
  const Eigen::Quaterniond& Reference = Middle_One(List);
  std::vector<double> Values(List.size());
  Eigen::Vector4d Middle;
  for (Eigen::Index c = 0; c < 4; ++c) {
    for (std::size_t i = 0; i < List.size(); ++i) {
      const double Sign = List[i].dot(Reference) < 0.0 ? -1.0 : 1.0;
      Values[i] = Sign * List[i].coeffs()[c];
    }
    Middle[c] = Even_Median(Values);
  }
  return Eigen::Quaterniond(Middle.normalized());
}

// Samples as one, and the time in their middle.
struct Median_Pose {
  double Seconds = 0;
  Eigen::Vector3d Position = Eigen::Vector3d::Zero();
  Eigen::Quaterniond Rotation_Body_Base = Eigen::Quaterniond::Identity();
};

using Sample_List = std::vector<const Timed_Sample*>;

// Of the samples with the indices [First, Last) of the list, at least one.
Median_Pose Median_Of(const Sample_List& List, std::size_t First, std::size_t Last) {
  Median_Pose Pose;
  std::vector<double> Values(Last - First);
  for (std::size_t i = First; i < Last; ++i) Values[i - First] = List[i]->Seconds;
  Pose.Seconds = Even_Median(Values);
  for (std::size_t Axis = 0; Axis < 3; ++Axis) {
    for (std::size_t i = First; i < Last; ++i) Values[i - First] = List[i]->Sample.Position[Axis];
    Pose.Position[static_cast<Eigen::Index>(Axis)] = Even_Median(Values);
  }
  Quaternion_List Rotations;
  for (std::size_t i = First; i < Last; ++i) Rotations.push_back(Quaternion_Of(List[i]->Sample));
  Pose.Rotation_Body_Base = Median_Rotation(Rotations);
  return Pose;
}

Sample_List Tracked_Samples(const Body_Track& Body) {
  Sample_List List;
  for (const Timed_Sample& One : Body.Samples) {
    if (One.Is_Tracked) List.push_back(&One);
  }
  return List;
}

Sample_List Tracked_Within(const Body_Track& Body, double Begin_Seconds, double End_Seconds) {
  auto At = std::lower_bound(
      Body.Samples.begin(), Body.Samples.end(), Begin_Seconds,
      [](const Timed_Sample& One, double Seconds) { return One.Seconds < Seconds; });
  Sample_List List;
  for (; At != Body.Samples.end() && At->Seconds <= End_Seconds; ++At) {
    if (At->Is_Tracked) List.push_back(&*At);
  }
  return List;
}

Body_Velocity Velocity_Between(const Median_Pose& First, const Median_Pose& Last) {
  const double Duration = Last.Seconds - First.Seconds;
  Body_Velocity Velocity;
  if (!(Duration > 0.0)) return Velocity;
  Velocity.Linear = (Last.Position - First.Position) / Duration;
  // Body to Base, later after earlier: (Last^-1) (First^-1)^-1.
  Velocity.Angular =
      Turn_Of(Last.Rotation_Body_Base.conjugate() * First.Rotation_Body_Base) / Duration;
  return Velocity;
}

Tracker_Sample Sample_From(const Eigen::Vector3d& Position, const Eigen::Quaterniond& Body_Base) {
  return {{Position.x(), Position.y(), Position.z()},
          {Body_Base.w(), Body_Base.x(), Body_Base.y(), Body_Base.z()}};
}

// Root mean square, over the axes, of each axis's deviation from 0.
double Spread_Of(const std::vector<Eigen::Vector3d>& Deviations) {
  double Sum = 0;
  std::vector<double> Lengths(Deviations.size());
  for (Eigen::Index Axis = 0; Axis < 3; ++Axis) {
    for (std::size_t i = 0; i < Deviations.size(); ++i) Lengths[i] = std::abs(Deviations[i][Axis]);
    const double Deviation = Deviation_Per_Median * Even_Median(Lengths);
    Sum += Deviation * Deviation;
  }
  return std::sqrt(Sum / 3.0);
}

// ---- Noise -----------------------------------------------------------------------------------

// The absolute second differences of one second, all axes together.
struct Noise_Block {
  std::vector<double> Positions, Turns;
};

double Deviation_Of(std::vector<double>& Differences) {
  return Deviation_Per_Median * Even_Median(Differences) / std::sqrt(Second_Difference_Variance);
}

double Lowest_Quarter(std::vector<double> Values) {
  if (Values.empty()) return 0.0;
  const auto At = Values.begin() + static_cast<std::ptrdiff_t>(Values.size() / 4);
  std::nth_element(Values.begin(), At, Values.end());
  return *At;
}

void Add_Second_Difference(const Tracker_Sample& Before, const Tracker_Sample& At,
                           const Tracker_Sample& After, Noise_Block& Block) {
  const Eigen::Vector3d Bend = Position_Of(Before) - 2.0 * Position_Of(At) + Position_Of(After);
  const Eigen::Quaterniond Base_Body = Quaternion_Of(At).conjugate();
  const Eigen::Vector3d Turn =
      Turn_Of(Quaternion_Of(Before) * Base_Body) + Turn_Of(Quaternion_Of(After) * Base_Body);
  for (Eigen::Index Axis = 0; Axis < 3; ++Axis) {
    Block.Positions.push_back(std::abs(Bend[Axis]));
    Block.Turns.push_back(std::abs(Turn[Axis]));
  }
}

}  // namespace

Eigen::Quaterniond Rotation_Base_Body(const Tracker_Sample& Sample) {
  return Sample_Rotation_Body_Base(Sample).conjugate();
}

Speed_Limit Speed_Of(const Body_Velocity& Velocity) {
  return {Velocity.Linear.norm(), Velocity.Angular.norm()};
}

double Distance_Between(const Tracker_Sample& A, const Tracker_Sample& B) {
  return (Position_Of(A) - Position_Of(B)).norm();
}

double Angle_Between(const Tracker_Sample& A, const Tracker_Sample& B) {
  return Turn_Of(Quaternion_Of(A) * Quaternion_Of(B).conjugate()).norm();
}

Body_Noise Measure_Noise(const Body_Track& Body) {
  constexpr double Block_Seconds = 1.0;
  constexpr std::size_t Least_Differences = 5;
  const double Longest_Step = 1.5 * Sample_Interval(Body);
  std::vector<double> Positions, Turns;
  Noise_Block Block;
  const auto End_Block = [&] {
    if (Block.Positions.size() >= 3 * Least_Differences) {
      Positions.push_back(Deviation_Of(Block.Positions));
      Turns.push_back(Deviation_Of(Block.Turns));
    }
    Block.Positions.clear();
    Block.Turns.clear();
  };
  const std::vector<Timed_Sample>& All = Body.Samples;
  double Block_Begin = All.empty() ? 0.0 : All.front().Seconds;
  for (std::size_t i = 1; i + 1 < All.size(); ++i) {
    if (All[i].Seconds - Block_Begin >= Block_Seconds) {
      End_Block();
      Block_Begin = All[i].Seconds;
    }
    const bool Are_Tracked = All[i - 1].Is_Tracked && All[i].Is_Tracked && All[i + 1].Is_Tracked;
    const bool Are_Neighbours = All[i].Seconds - All[i - 1].Seconds < Longest_Step &&
                                All[i + 1].Seconds - All[i].Seconds < Longest_Step;
    if (!Are_Tracked || !Are_Neighbours) continue;
    Add_Second_Difference(All[i - 1].Sample, All[i].Sample, All[i + 1].Sample, Block);
  }
  End_Block();
  return {Mm_Per_Metre * Lowest_Quarter(Positions), Degrees_Per_Radian * Lowest_Quarter(Turns)};
}

std::vector<Speed_Sample> Measure_Speeds(const Body_Track& Body) {
  constexpr double Not_Known = std::numeric_limits<double>::quiet_NaN();
  constexpr double Quarter = Speed_Window_Seconds / 4.0;
  // A little more than half an interval of a tracker at 25 Hz.
  constexpr double Farthest = 0.051;
  constexpr double Rounding = 1e-6;
  const Sample_List Tracked = Tracked_Samples(Body);
  std::vector<Median_Pose> Medians(Tracked.size());
  std::size_t First = 0, Last = 0;
  for (std::size_t i = 0; i < Tracked.size(); ++i) {
    const double Seconds = Tracked[i]->Seconds;
    while (Tracked[First]->Seconds < Seconds - Quarter - Rounding) ++First;
    while (Last < Tracked.size() && Tracked[Last]->Seconds <= Seconds + Quarter + Rounding) ++Last;
    Medians[i] = Median_Of(Tracked, First, Last);
  }
  const auto Nearest = [&](std::size_t From, double Seconds) {
    while (From + 1 < Tracked.size() && std::abs(Tracked[From + 1]->Seconds - Seconds) <=
                                            std::abs(Tracked[From]->Seconds - Seconds)) {
      ++From;
    }
    return From;
  };
  std::vector<Speed_Sample> Speeds;
  Speeds.reserve(Tracked.size());
  std::size_t Before = 0, After = 0;
  for (const Timed_Sample* const One : Tracked) {
    Before = Nearest(Before, One->Seconds - Quarter);
    After = Nearest(After, One->Seconds + Quarter);
    const bool Are_There =
        std::abs(Tracked[Before]->Seconds - (One->Seconds - Quarter)) <= Farthest &&
        std::abs(Tracked[After]->Seconds - (One->Seconds + Quarter)) <= Farthest;
    Speed_Sample Speed{One->Seconds, Not_Known, Not_Known};
    if (Are_There && Medians[After].Seconds > Medians[Before].Seconds) {
      const Speed_Limit Measured = Speed_Of(Velocity_Between(Medians[Before], Medians[After]));
      Speed = {One->Seconds, Measured.Linear, Measured.Angular};
    }
    Speeds.push_back(Speed);
  }
  return Speeds;
}

Speed_Limit Rest_Limit(const Body_Noise& Noise, double Sample_Interval, const Speed_Limit& Least) {
  constexpr double Sure = 5.0;
  constexpr double Half = Speed_Window_Seconds / 2.0;
  if (!(Sample_Interval > 0.0)) return Least;
  const double Samples = std::max(1.0, Half / Sample_Interval);
  const double Factor = Sure * std::sqrt(2.0 * Median_Variance / Samples) / Half;
  return {std::max(Least.Linear, Factor * Noise.Position_Mm / Mm_Per_Metre),
          std::max(Least.Angular, Factor * Noise.Rotation_Deg / Degrees_Per_Radian)};
}

std::optional<Body_Reading> Read_Stretch(const Body_Track& Body, double Begin_Seconds,
                                         double End_Seconds) {
  const Sample_List List = Tracked_Within(Body, Begin_Seconds, End_Seconds);
  if (List.size() < 3) return std::nullopt;
  const Median_Pose Pose = Median_Of(List, 0, List.size());
  std::vector<Eigen::Vector3d> Shifts, Turns;
  for (const Timed_Sample* const One : List) {
    Shifts.push_back(Position_Of(One->Sample) - Pose.Position);
    Turns.push_back(Turn_Of(Quaternion_Of(One->Sample) * Pose.Rotation_Body_Base.conjugate()));
  }
  const std::size_t Third = List.size() / 3;
  Body_Reading Reading;
  Reading.Sample = Sample_From(Pose.Position, Pose.Rotation_Body_Base);
  Reading.Sample_Count = List.size();
  Reading.Spread_Mm = Mm_Per_Metre * Spread_Of(Shifts);
  Reading.Spread_Deg = Degrees_Per_Radian * Spread_Of(Turns);
  Reading.Velocity = Velocity_Between(Median_Of(List, 0, Third),
                                      Median_Of(List, List.size() - Third, List.size()));
  return Reading;
}

std::optional<Body_Reading> Read_Instant(const Body_Track& Body, double Seconds) {
  constexpr double Intervals_Beside = 2.1;  // where samples are rare
  const double Half = std::max(Fit_Seconds, Intervals_Beside * Sample_Interval(Body));
  const Sample_List List = Tracked_Within(Body, Seconds - Half, Seconds + Half);
  const auto Is_Before = [&](const Timed_Sample* One) { return One->Seconds <= Seconds; };
  const auto Before = std::count_if(List.begin(), List.end(), Is_Before);
  if (Before < 2 || static_cast<std::ptrdiff_t>(List.size()) - Before < 2) return std::nullopt;
  // Turns are small beside the middle sample, where they add like vectors.
  const Eigen::Quaterniond Middle = Quaternion_Of(List[List.size() / 2]->Sample);
  const auto Count = static_cast<double>(List.size());
  double Mean_Seconds = 0;
  for (const Timed_Sample* const One : List) Mean_Seconds += (One->Seconds - Seconds) / Count;
  using Vector6d = Eigen::Matrix<double, 6, 1>;
  std::vector<Vector6d> Values;
  Vector6d Mean = Vector6d::Zero(), Slope = Vector6d::Zero();
  double Squares = 0;
  for (const Timed_Sample* const One : List) {
    Vector6d Value;
    // In Base: Base_Body of the sample after that of the middle one, undone.
    Value << Position_Of(One->Sample), Turn_Of(Quaternion_Of(One->Sample).conjugate() * Middle);
    const double Time = One->Seconds - Seconds - Mean_Seconds;
    Mean += Value / Count;
    Slope += Time * Value;
    Squares += Time * Time;
    Values.push_back(Value);
  }
  Slope /= Squares;
  const Vector6d At = Mean - Slope * Mean_Seconds;
  std::vector<Eigen::Vector3d> Shifts, Turns;
  for (std::size_t i = 0; i < List.size(); ++i) {
    const Vector6d Left = Values[i] - At - Slope * (List[i]->Seconds - Seconds);
    Shifts.emplace_back(Left.head<3>());
    Turns.emplace_back(Left.tail<3>());
  }
  Body_Reading Reading;
  Reading.Sample = Sample_From(At.head<3>(), Middle * Rotation_By(At.tail<3>()).conjugate());
  Reading.Sample_Count = List.size();
  Reading.Spread_Mm = Mm_Per_Metre * Spread_Of(Shifts);
  Reading.Spread_Deg = Degrees_Per_Radian * Spread_Of(Turns);
  Reading.Velocity = {Slope.head<3>(), Slope.tail<3>()};
  return Reading;
}

}  // namespace rigsync
