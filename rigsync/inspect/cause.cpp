// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/cause.h"

#include <algorithm>
#include <string>
#include <vector>

namespace rigsync {
namespace {

// From a tenth of the rows on, and from three, bad rows are many. The library's filter often keeps
// one or two of them, without much harm.
constexpr std::size_t Least_Many = 3;
constexpr std::size_t Rows_Of_One_Bad = 10;

// A finding that can be a cause, and the least level at which it is one at this place in the order.
struct Candidate {
  const char* Id;
  Level Least = Level::Note;
  bool Needs_Many_Lines = false;
};

constexpr Candidate Candidates[] = {
    // Numbers, conventions and axes: no row can be right.
    {"not_finite"},
    {"camera_quaternion_zero"},
    {"board_quaternion_zero"},
    {"image_mirrored"},
    {"several_boards"},
    {"board_counts"},
    {"trackers_fixed"},
    {"trackers_disagree"},
    {"axis_mirrored"},
    {"left_handed"},
    {"tracker_slipped", Level::Error},
    {"wrong_unit"},
    {"scale"},
    {"no_majority"},
    // Turns are those of the rows that agree: without the bad ones they are the same.
    {"turns_too_small"},
    {"turns_about_one_axis"},
    {"board_half_turned"},
    {"sample_disagrees", Level::Note, true},
    {"lens_fits_badly"},
    {"board_turned"},
    {"mount_undetermined"},
    {"board_euler"},
    {"board_offset"},
    {"too_few_samples"},
    {"board_counts"},
    {"too_few_boards"},
    {"few_boards"},
    {"tracker_slipped"},
    {"sample_disagrees"},
};

bool Are_Many(std::size_t Line_Count, std::size_t Row_Count) {
  return Line_Count >= Least_Many && Rows_Of_One_Bad * Line_Count >= Row_Count;
}

// A stated place that is a prior of the solve makes no result worse.
bool Is_Place_Contradicted(const Inspection& Inspected) {
  const auto& Solution = Inspected.Solution;
  return !Solution || !Solution->Place || !Solution->Place->Is_Prior;
}

}  // namespace

std::optional<Finding> Likeliest_Cause(const Inspection& Inspected) {
  const std::vector<Finding> All = Inspected.All_Findings.Sorted();
  const std::size_t Row_Count = Inspected.File.Rows.size();
  for (const Candidate& Cause : Candidates) {
    const std::string Id = Cause.Id;
    const bool Is_Place = Id == "board_euler" || Id == "board_offset";
    const auto Is_It = [&](const Finding& One) {
      return One.Id == Cause.Id && One.Severity >= Cause.Least &&
             (!Is_Place || Is_Place_Contradicted(Inspected)) &&
             (!Cause.Needs_Many_Lines || Are_Many(One.Lines.size(), Row_Count));
    };
    const auto Found = std::find_if(All.begin(), All.end(), Is_It);
    if (Found != All.end()) return *Found;
  }
  return std::nullopt;
}

}  // namespace rigsync
