// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/holds.h"

#include <algorithm>
#include <utility>

namespace rigsync {
namespace {

// NaN is motion.
bool Is_At_Rest(const Speed_Sample& Speed, const Speed_Limit& Limit) {
  return Speed.Linear <= Limit.Linear && Speed.Angular <= Limit.Angular;
}

// Stretches of samples at rest that follow each other within Longest_Step.
std::vector<Hold> Still_Stretches(const std::vector<Speed_Sample>& Speeds, const Speed_Limit& Limit,
                                  double Longest_Step) {
  std::vector<Hold> List;
  bool Was_Still = false;
  for (const Speed_Sample& Speed : Speeds) {
    const bool Is_Still = Is_At_Rest(Speed, Limit);
    if (Is_Still && Was_Still && Speed.Seconds - List.back().End_Seconds <= Longest_Step) {
      List.back().End_Seconds = Speed.Seconds;
    } else if (Is_Still) {
      List.push_back({Speed.Seconds, Speed.Seconds});
    }
    Was_Still = Is_Still;
  }
  return List;
}

// Whether the body stands in Second where it stood in First: within what a speed at the limit
// reaches while it is measured.
bool Stands_As_Before(const Body_Track& Body, const Speed_Limit& Limit, const Hold& First,
                      const Hold& Second) {
  constexpr double Beside = 0.25;
  const auto Before = Read_Stretch(Body, std::max(First.Begin_Seconds, First.End_Seconds - Beside),
                                   First.End_Seconds);
  const auto After = Read_Stretch(Body, Second.Begin_Seconds,
                                  std::min(Second.End_Seconds, Second.Begin_Seconds + Beside));
  if (!Before || !After) return false;
  return Distance_Between(Before->Sample, After->Sample) <= Speed_Window_Seconds * Limit.Linear &&
         Angle_Between(Before->Sample, After->Sample) <= Speed_Window_Seconds * Limit.Angular;
}

// What comes between two stretches at the same place, such as a jump that lasts long enough to look
// still, is part of the interruption.
std::vector<Hold> Joined(const Body_Track& Body, const Speed_Limit& Limit,
                         const std::vector<Hold>& Stretches) {
  std::vector<Hold> List;
  for (const Hold& One : Stretches) {
    const auto Is_Continued = [&](const Hold& Earlier) {
      return One.Begin_Seconds - Earlier.End_Seconds <= Longest_Interruption_Seconds &&
             Stands_As_Before(Body, Limit, Earlier, One);
    };
    const auto Earlier = std::find_if(List.rbegin(), List.rend(), Is_Continued);
    if (Earlier == List.rend()) {
      List.push_back(One);
      continue;
    }
    List.erase(Earlier.base(), List.end());
    List.back().End_Seconds = One.End_Seconds;
  }
  return List;
}

std::vector<Hold> Common(const std::vector<Hold>& A, const std::vector<Hold>& B) {
  std::vector<Hold> List;
  for (std::size_t i = 0, k = 0; i < A.size() && k < B.size();) {
    const Hold Both{std::max(A[i].Begin_Seconds, B[k].Begin_Seconds),
                    std::min(A[i].End_Seconds, B[k].End_Seconds)};
    if (Both.Duration() > 0.0) List.push_back(Both);
    if (A[i].End_Seconds < B[k].End_Seconds) {
      ++i;
    } else {
      ++k;
    }
  }
  return List;
}

}  // namespace

Body_Rest Find_Rest(const Body_Track& Body, const Hold_Options& Options) {
  // Two samples that follow each other closely, or with one lost between them.
  constexpr double Least_Step = 0.1, Steps_Of_One_Lost = 2.5;
  const double Interval = Sample_Interval(Body);
  Body_Rest Rest;
  Rest.Speeds = Measure_Speeds(Body);
  Rest.Facts.Samples = Rest.Speeds.size();
  Rest.Facts.Lost = Body.Samples.size() - Rest.Speeds.size();
  Rest.Facts.Rate_Hz = Interval > 0.0 ? 1.0 / Interval : 0.0;
  Rest.Facts.Noise = Measure_Noise(Body);
  Rest.Facts.Rest =
      Options.Rest ? *Options.Rest : Rest_Limit(Rest.Facts.Noise, Interval, Least_Rest_Limit);
  Rest.Still = Joined(Body, Rest.Facts.Rest,
                      Still_Stretches(Rest.Speeds, Rest.Facts.Rest,
                                      std::max(Least_Step, Steps_Of_One_Lost * Interval)));
  return Rest;
}

Hold_Search Find_Holds(const Body_Track& Camera, const Body_Track* Board,
                       const Hold_Options& Options) {
  constexpr double Least_Told_Seconds = 0.1;
  Hold_Search Search;
  Body_Rest Rest = Find_Rest(Camera, Options);
  Search.Camera = Rest.Facts;
  Search.Camera_Speeds = std::move(Rest.Speeds);
  std::vector<Hold> Still = std::move(Rest.Still);
  if (Board != nullptr) {
    Body_Rest Board_Rest = Find_Rest(*Board, Options);
    Search.Board = Board_Rest.Facts;
    Search.Board_Speeds = std::move(Board_Rest.Speeds);
    Still = Common(Still, Board_Rest.Still);
  }
  for (const Hold& One : Still) {
    if (One.Duration() >= Options.Least_Seconds) {
      Search.Holds.push_back(One);
    } else if (One.Duration() >= Least_Told_Seconds) {
      Search.Short.push_back(One);
    }
  }
  return Search;
}

}  // namespace rigsync
