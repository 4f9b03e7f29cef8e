// SPDX-License-Identifier: Apache-2.0
//
// The tracker's own sample in a file of OpenTrackIO: proven with the first row that the result
// keeps, whatever the file says.
#include "rigsync/verify/opentrackio_reader.h"

#include "rigsync/exports/opentrackio_sample.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/verify/pixel_proof.h"
#include "tests/rigsync/verify/random_rig.h"
#include "tests/support/scratch_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;
using rigsync::Image_Fate;
using rigsync::Tracker_Axes;
using rigsync::Tracker_Sample;
using testing::AllOf;
using testing::HasSubstr;

constexpr std::array<double, 2> Sensor_Mm = {24.0, 14.0};

// A rig whose result was made from four rows of a CSV, lines 2 to 5. The first is an outlier.
class Sampled_Rig {
 public:
  explicit Sampled_Rig(Dice& Thrown) : Rig(Make_Random_Rig(Rig_Kind::Any, Thrown)) {
    Rig.Result.Code = 0;
    for (int k = 0; k < 4; ++k) {
      const Eigen::Vector3d At = Thrown.Point(5.0);
      const Eigen::Quaterniond Q = Thrown.Rotation();
      Rows.push_back({{At.x(), At.y(), At.z()}, {Q.w(), Q.x(), Q.y(), Q.z()}});
    }
  }

  void Write() {
    std::string Text = "Time,Image\n";
    Rig.Result.Images.clear();
    Rig.Result.Report.Images.clear();
    for (std::size_t k = 0; k < Rows.size(); ++k) {
      const auto& P = Rows[k].Position;
      const auto& Q = Rows[k].Quaternion;
      const std::string Name = fmt::format("{}.png", k);
      Text += fmt::format("{},{},{},{},{},{},{},{},{},0,0,0,1,0,0,0\n", k, Name, P[0], P[1], P[2],
                          Q[0], Q[1], Q[2], Q[3]);
      Rig.Result.Images.push_back({k + 2, Name});
      rigsync::Image_Report Report;
      Report.Name = Name;
      Report.Fate = k == 0 ? Image_Fate::Outlier : Image_Fate::Kept;
      Rig.Result.Report.Images.push_back(Report);
    }
    Rig.Result.Inputs.Csv = Scratch.Write("capture.csv", Text);
    Rig.Result.Hashes.Csv = rigsync::File_Sha256(Rig.Result.Inputs.Csv);
  }

  std::string Exported(const std::optional<Tracker_Axes>& Axes = std::nullopt) const {
    return rigsync::Write_Opentrackio({"result.json", Rig.Result, Axes, Sensor_Mm, std::nullopt,
                                       Rig.Result.Inputs.Csv, "", false, ""})
        .Text;
  }

  rigsync::Exported_Camera Read(const std::string& Text,
                                const Tracker_Axes& Axes = Tracker_Axes::Identity()) const {
    return rigsync::Read_Opentrackio_Sample(Text, {Rig.Result, Axes, Sensor_Mm});
  }

  // Of the file's own sample alone.
  bool Holds(const std::string& Text, const Tracker_Axes& Axes = Tracker_Axes::Identity()) const {
    const rigsync::Solved_Camera Solved = rigsync::Solved_Camera_Of(Rig.Result);
    const auto Points =
        rigsync::Points_Over_Frame(Solved.Lens_Px, Solved.Width, Solved.Height, 5, 3, {0.5, 10.0});
    return rigsync::Prove_Pixels(
               {rigsync::Matrix_From_List(Rig.Result.Transform_Cam_Tc), Solved.Lens_Px},
               Read(Text, Axes), {}, Points.Points_Cam)
        .Holds();
  }

  Random_Rig Rig;
  std::vector<Tracker_Sample> Rows;

 private:
  Scratch_Folder Scratch;
};

void Set_Identity(json& Transform) {
  for (const char* Group : {"translation", "rotation"}) {
    for (json& Number : Transform[Group]) Number = 0.0;
  }
}

// The file with its first transform changed.
std::string Changed(const std::string& Text, const std::function<void(json&)>& Change) {
  json Root = json::parse(Text);
  Change(Root["transforms"][0]);
  return Root.dump();
}

void Negate(json& Number) {
  Number = -Number.get<double>();
}

TEST(OpentrackioReader, TheSampleIsProvenWithTheFirstRowThatTheResultKeeps) {
  Dice Thrown(31);
  for (int Number = 0; Number < 100; ++Number) {
    Sampled_Rig Rig(Thrown);
    Rig.Write();
    const Tracker_Axes Axes = Random_Axes(rigsync::Engine_Space::Right_Handed_Z_Up, Thrown);
    const rigsync::Exported_Camera Camera = Rig.Read(Rig.Exported(Axes), Axes);
    ASSERT_TRUE(Camera.Own_Sample);
    EXPECT_EQ(Camera.Own_Sample->Position, Rig.Rows[1].Position);
    ASSERT_TRUE(Rig.Holds(Rig.Exported(Axes), Axes)) << Number;
  }
}

// A tracker that reports a rotation alone, or a rig on a nodal head.
TEST(OpentrackioReader, PositionsThatRepeatDoNotChangeTheRow) {
  Dice Thrown(32);
  for (int Number = 0; Number < 20; ++Number) {
    Sampled_Rig Rig(Thrown);
    for (Tracker_Sample& Row : Rig.Rows) Row.Position = {0, 0, 0};
    Rig.Write();
    EXPECT_TRUE(Rig.Holds(Rig.Exported())) << Number;
  }
}

TEST(OpentrackioReader, SlipsInTheTrackersSampleAreSeen) {
  Dice Thrown(33);
  for (int Number = 0; Number < 10; ++Number) {
    Sampled_Rig Rig(Thrown);
    Rig.Write();
    const std::string Text = Rig.Exported();
    ASSERT_TRUE(Rig.Holds(Changed(Text, [](json&) {})));
    const std::vector<std::pair<const char*, std::function<void(json&)>>> Slips = {
        {"the identity", Set_Identity},
        {"pan the other way", [](json& T) { Negate(T["rotation"]["pan"]); }},
        {"tilt the other way", [](json& T) { Negate(T["rotation"]["tilt"]); }},
        {"roll the other way", [](json& T) { Negate(T["rotation"]["roll"]); }},
        {"pan for roll", [](json& T) { std::swap(T["rotation"]["pan"], T["rotation"]["roll"]); }},
        {"y reversed", [](json& T) { Negate(T["translation"]["y"]); }},
        {"x for y", [](json& T) { std::swap(T["translation"]["x"], T["translation"]["y"]); }}};
    for (const auto& [What, Change] : Slips) {
      EXPECT_FALSE(Rig.Holds(Changed(Text, Change))) << What;
    }
    // The row of the outlier, and the last one.
    for (const std::size_t Wrong : {std::size_t{0}, std::size_t{3}}) {
      const std::vector<Tracker_Sample> Rows = Rig.Rows;
      std::swap(Rig.Rows[1], Rig.Rows[Wrong]);
      Rig.Write();
      const std::string Other = Rig.Exported();
      Rig.Rows = Rows;
      Rig.Write();
      EXPECT_FALSE(Rig.Holds(Other)) << Wrong;
    }
  }
}

TEST(OpentrackioReader, ASampleThatIsTheIdentityIsToldToBeUnproven) {
  Dice Thrown(34);
  Sampled_Rig Rig(Thrown);
  Rig.Write();
  EXPECT_THAT(Rig.Read(Rig.Exported()).Notes, testing::IsEmpty());
  const std::string With_A_Row = Rig.Exported();
  Rig.Rig.Result.Hashes.Csv = std::string(64, '0');
  const rigsync::Exported_Camera Camera = Rig.Read(Rig.Exported());
  EXPECT_FALSE(Camera.Own_Sample);
  EXPECT_THAT(Camera.Notes,
              testing::ElementsAre(AllOf(HasSubstr("is the identity and is not proven"),
                                         HasSubstr("capture.csv is not the capture that the "
                                                   "result was made from"))));
  // A pose of a tracker needs a row that it is.
  EXPECT_THROW(Rig.Read(With_A_Row), std::runtime_error);
}

// The joint solve keeps rows of its own.
TEST(OpentrackioReader, TheRowIsTheChosenSolutions) {
  Dice Thrown(35);
  Sampled_Rig Rig(Thrown);
  Rig.Write();
  rigsync::Calibration_Result& Result = Rig.Rig.Result;
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  Result.Inputs.Solution = rigsync::Solution_Choice::Joint;
  Result.Solved.emplace();
  for (std::size_t k = 0; k < 4; ++k) {
    rigsync::Solved_Row Row;
    Row.Row = k;
    Row.Is_Kept = k != 1;
    Result.Solved->Joint.Rows.push_back(Row);
  }
  EXPECT_EQ(Rig.Read(Rig.Exported()).Own_Sample->Position, Rig.Rows[0].Position);
  EXPECT_TRUE(Rig.Holds(Rig.Exported()));
  Result.Solved->Joint.Rows[0].Is_Kept = false;
  EXPECT_EQ(Rig.Read(Rig.Exported()).Own_Sample->Position, Rig.Rows[2].Position);
  EXPECT_TRUE(Rig.Holds(Rig.Exported()));
}

// 16 roundings of a number of that size.
TEST(OpentrackioReader, ANumberOfTheLensMayBeRoundedByItsSize) {
  Dice Thrown(36);
  for (int Number = 0; Number < 10; ++Number) {
    Sampled_Rig Rig(Thrown);
    Rig.Write();
    const rigsync::Solved_Camera Solved = rigsync::Solved_Camera_Of(Rig.Rig.Result);
    const double F = Solved.Lens_Px.Fx * Sensor_Mm[0] / Solved.Width;
    const std::map<std::string, double> Sizes = {
        {"pinholeFocalLength", F},
        {"projectionOffset.x", Sensor_Mm[0]},
        {"projectionOffset.y", Sensor_Mm[1]},
        {"radial.0", std::abs(Solved.Lens_Px.K1) / std::pow(F, 2)},
        {"radial.2", std::abs(Solved.Lens_Px.K2) / std::pow(F, 4)}};
    std::size_t Found = 0;
    for (const rigsync::Exported_Field& Field : Rig.Read(Rig.Exported()).Fields) {
      const auto Size = Sizes.find(Field.Name);
      if (Size == Sizes.end()) continue;
      ++Found;
      const double Expected = 16.0 * std::numeric_limits<double>::epsilon() * Size->second;
      EXPECT_NEAR(Field.Rounding, Expected, 1e-12 * Expected) << Field.Name;
    }
    EXPECT_EQ(Found, Sizes.size());
  }
}

}  // namespace
