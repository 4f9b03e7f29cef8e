// SPDX-License-Identifier: Apache-2.0
//
// Takes from texts of files, and how their samples are compared with poses that were worked out by
// hand.
#ifndef RIGSYNC_TESTS_TAKE_TAKE_TEXT_H
#define RIGSYNC_TESTS_TAKE_TAKE_TEXT_H

#include "rigsync/system/usage_error.h"
#include "rigsync/take/take_file.h"

#include "tests/support/largest.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace rigsync {

// Sine and cosine of 45 degrees: the quaternion of a quarter turn has both.
constexpr double Half_Root = 0.70710678118654752;

// Numbers of the test's files have nine digits at least where they are not exact.
constexpr double Pose_Tolerance = 2e-9;

inline Take Take_Of(const std::string& Text, const Take_Options& Options = {},
                    const std::string& Name = "take.csv") {
  const Scratch_Folder Folder;
  return Read_Take(Folder.Write(Name, Text), Options);
}

// What Read_Take says of a text that it refuses, behind the name of the file.
inline std::string Refusal_Of(const std::string& Text, const Take_Options& Options = {}) {
  const Scratch_Folder Folder;
  const std::string File = Folder.Write("take.csv", Text);
  const std::string Start = Options.Argument + ": " + File + ": ";
  try {
    Read_Take(File, Options);
  } catch (const Usage_Error& Refusal) {
    const std::string Said = Refusal.what();
    if (Said.rfind(Start, 0) != 0) return "doesn't begin with " + Start + ": " + Said;
    EXPECT_EQ(Refusal.Option_Name(), Options.Argument);
    return Said.substr(Start.size());
  }
  return "not refused";
}

inline Take_Options With_Rotation(const std::string& Word) {
  Take_Options Options;
  Options.Rotation = Parse_Rotation("--rotation", Word);
  return Options;
}

// A quaternion and its negative are the same rotation.
inline double Rotation_Difference(const std::array<double, 4>& Left,
                                  const std::array<double, 4>& Right) {
  double Minus = 0.0, Plus = 0.0;
  for (std::size_t i = 0; i < 4; ++i) {
    Minus = Larger(Minus, std::abs(Left[i] - Right[i]));
    Plus = Larger(Plus, std::abs(Left[i] + Right[i]));
  }
  return std::min(Minus, Plus);
}

inline void Expect_Pose(const Timed_Sample& Sample, const std::array<double, 3>& Position,
                        const std::array<double, 4>& Base_To_Body) {
  EXPECT_TRUE(Sample.Is_Tracked);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(Sample.Sample.Position[i], Position[i], Pose_Tolerance) << "axis " << i;
  }
  EXPECT_LE(Rotation_Difference(Sample.Sample.Quaternion, Base_To_Body), Pose_Tolerance)
      << testing::PrintToString(Sample.Sample.Quaternion);
}

// The text of a fact, or "none".
inline std::string Fact(const Take& In, const std::string& Topic) {
  for (const auto& [Key, Value] : In.Facts) {
    if (Key == Topic) return Value;
  }
  return "none";
}

// Text with Old, which is in it once, replaced.
inline std::string Changed(std::string Text, const std::string& Old, const std::string& New) {
  const std::size_t Place = Text.find(Old);
  if (Place == std::string::npos) throw std::logic_error("'" + Old + "' is not in the text");
  return Text.replace(Place, Old.size(), New);
}

}  // namespace rigsync

#endif  // RIGSYNC_TESTS_TAKE_TAKE_TEXT_H
