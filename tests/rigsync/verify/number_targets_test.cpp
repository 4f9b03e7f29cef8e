// SPDX-License-Identifier: Apache-2.0
//
// The four exports of numbers on random rigs: every pixel within its bound, and every slip in a
// number or in its reading beyond it.
#include "rigsync/verify/number_targets.h"

#include "rigsync/system/quiet_output.h"
#include "rigsync/verify/pixel_proof.h"
#include "rigsync/verify/proof_points.h"
#include "rigsync/verify/single_precision.h"
#include "tests/rigsync/verify/random_rig.h"
#include "tests/support/largest.h"
#include "tests/support/sanitized.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using rigsync::Composed_Camera;
using rigsync::Engine;
using rigsync::Engine_Export;
using rigsync::Exported_Camera;
using rigsync::Tracker_Axes;

struct Ground {
  rigsync::Reference_Camera Reference;
  std::vector<Eigen::Vector3d> Points_Cam;
};

Ground Ground_Of(const Random_Rig& Rig) {
  const rigsync::Solved_Camera Solved = rigsync::Solved_Camera_Of(Rig.Result);
  return {{rigsync::Matrix_From_List(Rig.Result.Transform_Cam_Tc), Solved.Lens_Px},
          rigsync::Points_Over_Frame(Solved.Lens_Px, Solved.Width, Solved.Height, 5, 3, {0.5, 10.0})
              .Points_Cam};
}

// Nothing where the call returns code 3.
std::optional<Exported_Camera> Exported(const Engine& Target, const Random_Rig& Rig,
                                        const std::optional<Tracker_Axes>& Axes) {
  Engine_Export Export;
  {
    const rigsync::Quiet_Output Quiet(true);
    Export = rigsync::Export_With_Axes(Target, Rig.Result, Axes, "/dev/null/no folder");
  }
  if (Export.Code != 0) return std::nullopt;
  return rigsync::Camera_Of_Numbers(Target, Export, Axes.value_or(Target.Library_Axes), Rig.Result);
}

rigsync::Pixel_Proof Prove(const Random_Rig& Rig, const Exported_Camera& Camera) {
  const Ground At = Ground_Of(Rig);
  return rigsync::Prove_Pixels(At.Reference, Camera, Rig.Samples, At.Points_Cam);
}

// The worst of all rigs, for the line that is printed.
struct Record {
  double Px = 0, Allowed_Px = 0, Own_Lens_Px = 0, Share = 0;
  int Rigs = 0, Locks = 0;

  void Add(const rigsync::Compared_Pixels& Column) {
    if (Column.Worst.Px > Px) {
      Px = Column.Worst.Px;
      Allowed_Px = Column.Worst.Allowed_Px;
    }
    Share = Larger(Share, Column.Worst.Px / Column.Worst.Allowed_Px);
  }
};

// The sanitizers look for other faults, and need minutes for so many.
constexpr int Rig_Count = Is_Sanitized ? 600 : 10000;

TEST(NumberTargets, TenThousandRigsShowTheirPixelsWithinTheBound) {
  std::map<std::string, Record> Far, Near;
  Dice Thrown(20240917);
  for (int Number = 0; Number < Rig_Count; ++Number) {
    const Random_Rig Rig = Make_Random_Rig(Kind_Of(Number), Thrown);
    const bool Has_Own_Axes = Thrown.Below(2) == 0;
    for (const Engine& Target : rigsync::Engines()) {
      std::optional<Tracker_Axes> Axes;
      const Tracker_Axes Other = Random_Axes(Target.Space, Thrown);
      if (!Has_Own_Axes) Axes = Other;
      const bool Is_Near = Rig.Kind != Rig_Kind::Any;
      Record& Worst = (Is_Near ? Near : Far)[Target.Name];
      const std::optional<Exported_Camera> Camera = Exported(Target, Rig, Axes);
      ++Worst.Rigs;
      if (!Camera) {
        ++Worst.Locks;
        ASSERT_EQ(Target.Name, "ue4");
        continue;
      }
      const rigsync::Pixel_Proof Proof = Prove(Rig, *Camera);
      ASSERT_FALSE(Proof.Mount.Beyond)
          << Target.Name << " rig " << Number << ": " << Proof.Mount.Beyond->Px << " px, allowed "
          << Proof.Mount.Beyond->Allowed_Px;
      Worst.Add(Proof.Mount);
      ASSERT_EQ(Proof.Own_Lens.has_value(), Target.Name == "aximmetry");
      if (!Proof.Own_Lens) continue;
      ASSERT_FALSE(Proof.Own_Lens->Beyond) << Target.Name << " rig " << Number << ", own lens";
      Worst.Own_Lens_Px = Larger(Worst.Own_Lens_Px, Proof.Own_Lens->Worst.Px);
    }
  }
  for (const auto* Records : {&Far, &Near}) {
    for (const auto& [Name, Worst] : *Records) {
      std::printf(
          "%-10s %s: %5d rigs, %d at the lock; worst %.2g px where %.2g are allowed; own "
          "lens %.2g px; at most %.0f %% of a bound\n",
          Name.c_str(), Records == &Far ? "any attitude  " : "square or lock", Worst.Rigs,
          Worst.Locks, Worst.Px, Worst.Allowed_Px, Worst.Own_Lens_Px, 100.0 * Worst.Share);
      EXPECT_GT(Worst.Rigs - Worst.Locks, Rig_Count / 10) << Name;
    }
  }
  EXPECT_GT(Near["ue4"].Locks, Rig_Count / 100);
  // Where x of Aximmetry is taken for 90 degrees, and it shows.
  EXPECT_GT(Near["aximmetry"].Px, 100.0 * Far["aximmetry"].Px);
}

// Angles without rounding, from the rotation that they make up.
std::vector<double> Exact_Angles_Deg(const std::string& Name, const Eigen::Matrix3d& R) {
  const double D = rigsync::Degrees_Per_Radian;
  if (Name == "ue4") {
    return {-D * std::atan2(R(2, 1), R(2, 2)), D * std::asin(std::clamp(R(2, 0), -1.0, 1.0)),
            D * std::atan2(R(1, 0), R(0, 0))};
  }
  return {-D * std::asin(std::clamp(R(1, 2), -1.0, 1.0)), D * std::atan2(R(0, 2), R(2, 2)),
          D * std::atan2(R(1, 0), R(1, 1))};
}

double Around_Circle(double Difference_Deg) {
  return std::abs(std::remainder(Difference_Deg, 360.0));
}

// Sharper than pixels: each angle by itself.
TEST(NumberTargets, EveryAngleIsWithinItsOwnRounding) {
  Dice Thrown(7);
  double Largest_Share = 0.0;
  for (int Number = 0; Number < 6000; ++Number) {
    const Random_Rig Rig = Make_Random_Rig(Kind_Of(Number), Thrown);
    for (const Engine& Target : rigsync::Engines()) {
      if (Target.Name != "ue4" && Target.Name != "aximmetry") continue;
      const std::optional<Exported_Camera> Camera = Exported(Target, Rig, std::nullopt);
      if (!Camera || Camera->Turn_Rad > 1e-4) continue;  // x was taken for a right angle
      const Eigen::Matrix4d Tc_Cam =
          rigsync::Matrix_From_List(Rig.Result.Transform_Cam_Tc).inverse();
      const Eigen::Matrix3d Rotation =
          Target.Library_Axes * rigsync::Rotation_Tc_Body() * Tc_Cam.topLeftCorner<3, 3>() *
          Rows_Of_Axes(Target.Name == "ue4" ? "z,x,-y" : "x,-y,z").transpose();
      const std::vector<double> Exact = Exact_Angles_Deg(Target.Name, Rotation);
      for (std::size_t k = 0; k < 3; ++k) {
        const rigsync::Exported_Field& Field = Camera->Fields.at(3 + k);
        const double Off_Deg = Around_Circle(Field.Value - Exact[k]);
        ASSERT_LE(Off_Deg, Field.Rounding) << Target.Name << " " << Field.Name << " " << Number;
        Largest_Share = Larger(Largest_Share, Off_Deg / Field.Rounding);
      }
    }
  }
  // No bound of a chain of roundings is ever reached, and one that is never used to a tenth would
  // be too wide.
  EXPECT_GT(Largest_Share, 0.2);
}

// --- what has to be seen ------------------------------------------------------------------------

// Rigs that no accident of symmetry hides anything on.
std::vector<Random_Rig> Plain_Rigs(int Count) {
  Dice Thrown(99);
  std::vector<Random_Rig> Rigs;
  while (static_cast<int>(Rigs.size()) < Count) {
    Random_Rig Rig = Make_Random_Rig(Rig_Kind::Any, Thrown);
    const std::vector<double>& T = Rig.Result.Transform_Cam_Tc;
    const auto Is_Small = [](double Value) { return std::abs(Value) < 0.05; };
    if (std::none_of(T.begin(), T.begin() + 12, Is_Small)) Rigs.push_back(std::move(Rig));
  }
  return Rigs;
}

// Whether the camera with these changes is still taken for right.
using Change = void (*)(Exported_Camera& Camera);

void Expect_Seen(const char* What, Change Made, const std::vector<std::string>& Targets = {}) {
  SCOPED_TRACE(What);
  for (const Random_Rig& Rig : Plain_Rigs(20)) {
    for (const Engine& Target : rigsync::Engines()) {
      if (!Targets.empty() && std::count(Targets.begin(), Targets.end(), Target.Name) == 0)
        continue;
      std::optional<Exported_Camera> Camera = Exported(Target, Rig, std::nullopt);
      ASSERT_TRUE(Camera);
      ASSERT_TRUE(Prove(Rig, *Camera).Holds()) << Target.Name;
      Made(*Camera);
      EXPECT_FALSE(Prove(Rig, *Camera).Holds()) << Target.Name;
    }
  }
}

TEST(NumberTargets, MetresInPlaceOfCentimetresAreSeen) {
  Expect_Seen("metres", [](Exported_Camera& Camera) {
    for (std::size_t k = 0; k < 3; ++k) Camera.Fields.at(k).Value /= 100.0;
  });
}

TEST(NumberTargets, ASwappedSignIsSeenInEveryField) {
  for (std::size_t Field = 0; Field < 9; ++Field) {
    SCOPED_TRACE(Field);
    for (const Random_Rig& Rig : Plain_Rigs(20)) {
      for (const Engine& Target : rigsync::Engines()) {
        std::optional<Exported_Camera> Camera = Exported(Target, Rig, std::nullopt);
        ASSERT_TRUE(Camera);
        // The middle of the image and the angle 0 have no sign.
        if (Field >= Camera->Fields.size() || std::abs(Camera->Fields[Field].Value) < 1e-3)
          continue;
        Camera->Fields[Field].Value *= -1.0;
        EXPECT_FALSE(Prove(Rig, *Camera).Holds()) << Target.Name;
      }
    }
  }
}

TEST(NumberTargets, ExchangedFieldsAreSeen) {
  const std::pair<std::size_t, std::size_t> Pairs[] = {{0, 1}, {1, 2}, {0, 2}, {3, 4},
                                                       {4, 5}, {3, 5}, {5, 6}};
  for (const auto& [First, Second] : Pairs) {
    SCOPED_TRACE(testing::Message() << First << " and " << Second);
    for (const Random_Rig& Rig : Plain_Rigs(20)) {
      for (const Engine& Target : rigsync::Engines()) {
        std::optional<Exported_Camera> Camera = Exported(Target, Rig, std::nullopt);
        ASSERT_TRUE(Camera);
        if (Second >= Camera->Fields.size()) continue;
        std::swap(Camera->Fields[First].Value, Camera->Fields[Second].Value);
        EXPECT_FALSE(Prove(Rig, *Camera).Holds()) << Target.Name;
      }
    }
  }
}

TEST(NumberTargets, RadiansInPlaceOfDegreesAreSeen) {
  Expect_Seen("radians",
              [](Exported_Camera& Camera) {
                for (std::size_t k = 3; k < 6; ++k)
                  Camera.Fields.at(k).Value /= rigsync::Degrees_Per_Radian;
              },
              {"ue4", "aximmetry"});
}

TEST(NumberTargets, AQuaternionWithWFirstIsSeen) {
  Expect_Seen("w first",
              [](Exported_Camera& Camera) {
                std::rotate(Camera.Fields.begin() + 3, Camera.Fields.begin() + 6,
                            Camera.Fields.begin() + 7);
              },
              {"ue5", "ue5-xn"});
}

// The same quaternion with the opposite sign is the same rotation.
TEST(NumberTargets, TheOtherSignOfAQuaternionIsNoSlip) {
  for (const Random_Rig& Rig : Plain_Rigs(20)) {
    for (const Engine& Target : rigsync::Engines()) {
      if (Target.Name != "ue5" && Target.Name != "ue5-xn") continue;
      std::optional<Exported_Camera> Camera = Exported(Target, Rig, std::nullopt);
      ASSERT_TRUE(Camera);
      for (std::size_t k = 3; k < 7; ++k) Camera->Fields.at(k).Value *= -1.0;
      EXPECT_TRUE(Prove(Rig, *Camera).Holds()) << Target.Name;
    }
  }
}

// A scene whose tracker object has other axes than those that the numbers are for.
TEST(NumberTargets, AnotherLabellingOfTheTrackerIsSeen) {
  Expect_Seen("two axes reversed", [](Exported_Camera& Camera) {
    Camera.Axes.row(0) *= -1.0;
    Camera.Axes.row(1) *= -1.0;
  });
  Expect_Seen("a quarter turn", [](Exported_Camera& Camera) {
    const Eigen::RowVector3d First = Camera.Axes.row(0);
    Camera.Axes.row(0) = Camera.Axes.row(1);
    Camera.Axes.row(1) = -First;
  });
}

// A scene of the other hand shows a mirrored stage.
TEST(NumberTargets, TheOtherHandIsSeen) {
  Expect_Seen("mirrored", [](Exported_Camera& Camera) { Camera.Axes.row(2) *= -1.0; });
}

TEST(NumberTargets, AFieldOfViewOfTheOtherSideIsSeen) {
  Expect_Seen("vertical",
              [](Exported_Camera& Camera) {
                const auto Exact = Camera.Compose;
                Camera.Compose = [Exact](const std::vector<double>& Values) {
                  Composed_Camera Made = Exact(Values);
                  Made.Own_Lens->Fy *= 1.001;
                  return Made;
                };
              },
              {"aximmetry"});
}

// How many steps of a single-precision number, as large as the largest of its group, a field has to
// be off by until it is seen; a power of two.
double Steps_Until_Seen(const Random_Rig& Rig, const Exported_Camera& Exact, std::size_t Field) {
  const std::size_t First = Field < 3 ? 0 : 3;
  double Largest = 0.0;
  for (std::size_t i = First; i < First + 3; ++i) {
    Largest = std::max(Largest, std::abs(Exact.Fields[i].Value));
  }
  Exported_Camera Off = Exact;
  for (double Steps = 1.0; Steps < 1e6; Steps *= 2.0) {
    Off.Fields[Field].Value = Exact.Fields[Field].Value + Steps * rigsync::Single_Step(Largest);
    if (!Prove(Rig, Off).Holds()) return Steps;
  }
  return 1e6;
}

// The bounds are not so wide that a number could be wrong in them. A field that pixels hardly tell,
// such as the roll of a long lens, hides behind the rounding of the others, yet 512 steps are seen
// in any, and 16 in most.
TEST(NumberTargets, AFewStepsOfASingleNumberAreSeen) {
  int Fields = 0, Sharp = 0;
  for (const Random_Rig& Rig : Plain_Rigs(Is_Sanitized ? 15 : 100)) {
    for (const Engine& Target : rigsync::Engines()) {
      const bool Is_Double = Target.Name == "ue5" || Target.Name == "ue5-xn";
      const std::optional<Exported_Camera> Exact = Exported(Target, Rig, std::nullopt);
      ASSERT_TRUE(Exact);
      for (std::size_t k = 0; k < 6; ++k) {
        const double Steps = Steps_Until_Seen(Rig, *Exact, k);
        EXPECT_LE(Steps, Is_Double ? 64 : 512) << Target.Name << " " << Exact->Fields[k].Name;
        ++Fields;
        if (Steps <= 16) ++Sharp;
      }
    }
  }
  EXPECT_GT(Sharp, Fields / 2);
}

}  // namespace
