// SPDX-License-Identifier: Apache-2.0
//
// The outlier filter. Its poses turn by 1.5 radians, a float, so that the length of a rotation
// vector is exact in single precision and the dot product of two directions is their cosine.
#include "core/solver/rt_filt_outlier.h"

#include "tests/core/solver/derived_numbers.h"
#include "tests/core/solver/solver_test_support.h"

#include <array>
#include <cmath>
#include <limits>
#include <set>

namespace {

constexpr double Turn_Rad = 1.5;

// A mount whose axis has an angle with this cosine to the x axis.
Eigen::Matrix4d Mount_Off_Axis(double Cosine, const Eigen::Vector3d& Translation = {0, 0, 0}) {
  const double Sine = std::sqrt((1.0 - Cosine) * (1.0 + Cosine));
  return Turned({Cosine, Sine, 0.0}, Turn_Rad, Translation);
}

// A mount on the mean's axis.
Eigen::Matrix4d Mount(const Eigen::Vector3d& Translation = {0, 0, 0}) {
  return Turned({1, 0, 0}, Turn_Rad, Translation);
}

// A quarter turn off: an outlier by its rotation alone. acosf(0) is the float above pi / 2, and by
// the short pi that is 90.0000025 degrees, nearest to the float 90.
Eigen::Matrix4d Outlier() {
  return Turned({0, 1, 0}, Turn_Rad);
}

// Six parallel lists. Entry i of each carries i, so that a list that loses another entry shows.
struct Filtered {
  std::vector<Eigen::Matrix4d> Transform_Cam_Tc_all;
  Eigen::Matrix4d Mean_Transform_Cam_Tc = Mount();
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  std::vector<std::string> Image_name;
  std::vector<Eigen::Matrix4d> Transform_Tr_Base_all, Transform_Base_Tc_all,
      Transform_Cam_Chart_all;
  Stage_Log Log;

  explicit Filtered(const std::vector<Eigen::Matrix4d>& Mounts) : Transform_Cam_Tc_all(Mounts) {
    for (std::size_t i = 0; i < Mounts.size(); ++i) {
      const double Tag = static_cast<double>(i);
      ImageCoordinate.push_back({{static_cast<float>(i), 0.5f}, {1.0f, 2.0f}});
      Image_name.push_back("C:\\cap\\image_" + std::to_string(i) + ".png");
      Transform_Tr_Base_all.push_back(Shifted({Tag, 0, 1}));
      Transform_Base_Tc_all.push_back(Shifted({Tag, 0, 2}));
      Transform_Cam_Chart_all.push_back(Shifted({Tag, 0, 3}));
    }
    Before = Transform_Cam_Tc_all;
  }

  int Run() {
    const Stage_Log::Listener Quiet = Log.Listen();
    return RT_Filt_Outlier(Log.Path(), Transform_Cam_Tc_all, Mean_Transform_Cam_Tc, ImageCoordinate,
                           Image_name, Transform_Tr_Base_all, Transform_Base_Tc_all,
                           Transform_Cam_Chart_all);
  }

  // Which images are left. Fails where two lists disagree.
  std::vector<int> Left() const {
    std::vector<int> Indices;
    for (const auto& Corners : ImageCoordinate) Indices.push_back(static_cast<int>(Corners[0].x));
    EXPECT_EQ(Transform_Cam_Tc_all.size(), Indices.size());
    EXPECT_EQ(Image_name.size(), Indices.size());
    EXPECT_EQ(Transform_Tr_Base_all.size(), Indices.size());
    EXPECT_EQ(Transform_Base_Tc_all.size(), Indices.size());
    EXPECT_EQ(Transform_Cam_Chart_all.size(), Indices.size());
    for (std::size_t k = 0; k < Indices.size(); ++k) {
      const double Tag = Indices[k];
      EXPECT_EQ(Hex(Transform_Cam_Tc_all.at(k)),
                Hex(Before.at(static_cast<std::size_t>(Indices[k]))));
      EXPECT_EQ(ImageCoordinate[k].size(), 2u);
      EXPECT_EQ(Image_name.at(k), "C:\\cap\\image_" + std::to_string(Indices[k]) + ".png");
      EXPECT_EQ(Transform_Tr_Base_all.at(k), Shifted({Tag, 0, 1}));
      EXPECT_EQ(Transform_Base_Tc_all.at(k), Shifted({Tag, 0, 2}));
      EXPECT_EQ(Transform_Cam_Chart_all.at(k), Shifted({Tag, 0, 3}));
    }
    return Indices;
  }

  std::vector<std::string> Lines() const { return Unsigned_Nans(Log.Lines()); }

 private:
  std::vector<Eigen::Matrix4d> Before;
};

// All indices from 0 to Count - 1 but these.
std::vector<int> All_But(int Count, const std::set<int>& Removed = {}) {
  std::vector<int> Indices;
  for (int i = 0; i < Count; ++i) {
    if (Removed.count(i) == 0) Indices.push_back(i);
  }
  return Indices;
}

// Mounts that differ from the mean by these amounts on one axis. The difference is mean less
// sample, so the sample is the negative; the signs are mixed further.
std::vector<Eigen::Matrix4d> Mounts_Off_By(const std::vector<float>& Differences, int Axis,
                                           double First_Sign = 1.0) {
  std::vector<Eigen::Matrix4d> Mounts;
  for (std::size_t i = 0; i < Differences.size(); ++i) {
    const double Sign = (i % 2 == 0 ? 1.0 : -1.0) * First_Sign;
    Eigen::Vector3d Translation = Eigen::Vector3d::Zero();
    Translation(Axis) = Sign * static_cast<double>(Differences[i]);
    Mounts.push_back(Mount(Translation));
  }
  return Mounts;
}

std::string Diff_R_Line(std::size_t i, const std::string& Degrees) {
  return "Diff R in image " + std::to_string(i) + " : " + Degrees + " degree.";
}

// --- rotation -------------------------------------------------------------------------------

TEST(RTFiltOutlier, DeviationsAndTheirSpreadHaveTheBitsOfTheFloatSteps) {
  std::vector<Eigen::Matrix4d> Mounts;
  std::vector<std::string> Expected;
  for (const float Cosine : derived::Axis_Cosines) {
    Expected.push_back(
        Diff_R_Line(Mounts.size(), std::to_string(derived::Axis_Deviations_Deg[Mounts.size()])));
    Mounts.push_back(Mount_Off_Axis(static_cast<double>(Cosine)));
  }
  Expected.push_back("STD_R : " + std::to_string(derived::Axis_STD_R_Deg) + " degree.");
  Expected.insert(Expected.end(),
                  {"STD_T : 0.000000, 0.000000, 0.000000 meter.", "Remove outlier data number : 7",
                   "Size list : (init) 7", "Filtered data number not enough : 0 <= 5",
                   "Error code 13: Filtered data not enough (<5)"});
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 13);
  EXPECT_EQ(Stage.Lines(), Expected);
  EXPECT_EQ(Stage.Left(), All_But(7));
}

TEST(RTFiltOutlier, HalfADegreeBetweenAxesIsTheLimit) {
  // Two neighbouring floats: no cosine between them, so no deviation of exactly 0.5 can come out,
  // and these two are the nearest under and over.
  constexpr float Under = 0x1.fffb04p-1f, Over = 0x1.fffb02p-1f;
  static_assert(Under - Over == 0x1p-24f, "neighbours");
  std::vector<Eigen::Matrix4d> Mounts(7, Mount());
  Mounts[1] = Mount_Off_Axis(static_cast<double>(Under));
  Mounts[5] = Mount_Off_Axis(static_cast<double>(Over));
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(7, {5}));
  const std::vector<std::string> Lines = Stage.Lines();
  EXPECT_EQ(Lines.at(1), Diff_R_Line(1, "0.499677"));  // acos(0.99996197) = 0.00872102
  EXPECT_EQ(Lines.at(5), Diff_R_Line(5, "0.500068"));  // acos(0.99996191) = 0.00872784
}

TEST(RTFiltOutlier, TheAmountOfTurnDoesNotCount) {
  std::vector<Eigen::Matrix4d> Mounts;
  for (const double Amount : {0.25, 0.5, 1.0, 1.5, 2.0, 2.5, 3.0}) {
    Mounts.push_back(Turned({1, 0, 0}, Amount));
  }
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(7));
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(Stage.Lines().at(i), Diff_R_Line(i, "0.000000"));
  }
}

TEST(RTFiltOutlier, TheAxisIsComparedWhateverTheMeanAxisIs) {
  // Small turns of the whole pose about another axis tilt its own axis by as much.
  const Eigen::Matrix4d Mean = Turned({0.5, -0.7, 0.3}, 1.1);
  std::vector<Eigen::Matrix4d> Mounts(8, Mean);
  const Eigen::Vector3d Across = Eigen::Vector3d(0.5, -0.7, 0.3).cross(Eigen::Vector3d(0, 0, 1));
  for (const auto& [Image, Tilt_Deg] : {std::pair(2, 0.3), {4, 0.7}, {6, -45.0}}) {
    const Eigen::Matrix4d Tilt = Turned(Across, Tilt_Deg * static_cast<double>(EIGEN_PI) / 180.0);
    Mounts[static_cast<std::size_t>(Image)] = Tilt * Mean * Rigid_Inverse(Tilt);
  }
  Filtered Stage(Mounts);
  Stage.Mean_Transform_Cam_Tc = Mean;
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(8, {4, 6}));
  // "Diff R in image 6 : 45.000000 degree.", within what a float cosine resolves there, 5e-6, and
  // the unit lengths that are floats.
  EXPECT_NEAR(std::stod(Stage.Lines().at(6).substr(20)), 45.0, 2e-5);
}

TEST(RTFiltOutlier, SmallDeviationsComeInCoarseSteps) {
  // 0.005 degree has a cosine that is nearest to the float 1. 0.015 degree is nearest to the float
  // below it, 1 - 2^-24, whose angle is sqrt(2^-23) radians or 0.019782 degree.
  const double Degree = static_cast<double>(EIGEN_PI) / 180.0;
  std::vector<Eigen::Matrix4d> Mounts(6, Mount());
  Mounts[0] = Mount_Off_Axis(std::cos(0.005 * Degree));
  Mounts[1] = Mount_Off_Axis(std::cos(0.015 * Degree));
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Lines().at(0), Diff_R_Line(0, "0.000000"));
  EXPECT_EQ(Stage.Lines().at(1), Diff_R_Line(1, "0.019782"));
  EXPECT_EQ(Stage.Left(), All_But(6));
}

TEST(RTFiltOutlier, ADotProductAboveOneIsNanAndMarksNothing) {
  // A turn by 1 + 5.5e-8: its square narrows to 1 + 2^-23, the root of that to 1. So its direction
  // is longer than 1, and its product with itself narrows to 1 + 2^-23.
  const Eigen::Matrix4d Long = Turned({1, 0, 0}, 1.0 + 5.5e-8);
  std::vector<Eigen::Matrix4d> Mounts(7, Mount());
  Mounts[2] = Long;
  Mounts[4] = Outlier();
  Mounts[5](0, 3) = 3.0;  // the only translation, 3 over 1.3 * 3 / sqrt(7)
  Filtered Stage(Mounts);
  Stage.Mean_Transform_Cam_Tc = Long;
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(7, {4, 5}));
  const std::vector<std::string> Lines = Stage.Lines();
  EXPECT_EQ(Lines.at(2), Diff_R_Line(2, "nan"));
  EXPECT_EQ(Lines.at(0), Diff_R_Line(0, "0.000000"));
  EXPECT_EQ(Lines.at(7), "STD_R : nan degree.");
  EXPECT_EQ(Lines.at(8), "STD_T : 1.133893, 0.000000, 0.000000 meter.");
}

TEST(RTFiltOutlier, AMeanWithoutRotationHasNoAxisAndMarksNothingByRotation) {
  std::vector<Eigen::Matrix4d> Mounts(7, Mount());
  Mounts[1] = Outlier();
  Mounts[2] = Eigen::Matrix4d::Identity();
  Mounts[3](1, 3) = -4.0;
  Filtered Stage(Mounts);
  Stage.Mean_Transform_Cam_Tc = Eigen::Matrix4d::Identity();
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(7, {3}));
  const std::vector<std::string> Lines = Stage.Lines();
  for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(Lines.at(i), Diff_R_Line(i, "nan"));
  EXPECT_EQ(Lines.at(7), "STD_R : nan degree.");
}

TEST(RTFiltOutlier, ASampleWithoutRotationIsNotMarkedByRotation) {
  std::vector<Eigen::Matrix4d> Mounts(6, Mount());
  Mounts[3] = Eigen::Matrix4d::Identity();
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(6));
  EXPECT_EQ(Stage.Lines().at(3), Diff_R_Line(3, "nan"));
  EXPECT_EQ(Stage.Lines().at(4), Diff_R_Line(4, "0.000000"));
  EXPECT_EQ(Stage.Lines().at(6), "STD_R : nan degree.");
}

TEST(RTFiltOutlier, NearAHalfTurnTheAxisFlipsAndTheImageGoes) {
  // 179.9 and 180.1 degrees are 0.2 degrees apart, and the second is 179.9 about the other way.
  const double Degree = static_cast<double>(EIGEN_PI) / 180.0;
  std::vector<Eigen::Matrix4d> Mounts(7, Turned({1, 0, 0}, 179.9 * Degree));
  Mounts[6] = Turned({1, 0, 0}, 180.1 * Degree);
  Filtered Stage(Mounts);
  Stage.Mean_Transform_Cam_Tc = Mounts[0];
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(7, {6}));
  EXPECT_GT(std::stod(Stage.Lines().at(6).substr(20)), 179.9);
}

// --- translation ----------------------------------------------------------------------------

TEST(RTFiltOutlier, SpreadsHaveTheBitsOfTheFloatSteps) {
  std::vector<Eigen::Matrix4d> Mounts;
  for (const auto& Sample : derived::Filter_Samples) {
    Mounts.push_back(Mount({Sample[0], Sample[1], Sample[2]}));
  }
  Filtered Stage(Mounts);
  for (int r = 0; r < 3; ++r) Stage.Mean_Transform_Cam_Tc(r, 3) = derived::Filter_Mean[r];
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Lines().at(8), "STD_T : " + std::to_string(derived::Filter_STD_T[0]) + ", " +
                                     std::to_string(derived::Filter_STD_T[1]) + ", " +
                                     std::to_string(derived::Filter_STD_T[2]) + " meter.");
  EXPECT_EQ(Stage.Left(), All_But(7));
}

TEST(RTFiltOutlier, ADifferenceOnTheTranslationLimitStaysAndTheNextFloatGoes) {
  for (int Axis = 0; Axis < 3; ++Axis) {
    for (const double Sign : {1.0, -1.0}) {
      for (int Case = 0; Case < 3; ++Case) {  // under, on, over
        SCOPED_TRACE(testing::Message() << "axis " << Axis << " sign " << Sign << " case " << Case);
        std::vector<float> Differences = {derived::Limit_First[Case]};
        Differences.insert(Differences.end(), std::begin(derived::Limit_Rest),
                           std::end(derived::Limit_Rest));
        Filtered Stage(Mounts_Off_By(Differences, Axis, Sign));
        EXPECT_EQ(Stage.Run(), 0);
        EXPECT_EQ(Stage.Left(), Case == 2 ? All_But(8, {0}) : All_But(8));
        std::array<std::string, 3> Spreads = {"0.000000", "0.000000", "0.000000"};
        Spreads[static_cast<std::size_t>(Axis)] = "1.000000";
        EXPECT_EQ(Stage.Lines().at(9),
                  "STD_T : " + Spreads[0] + ", " + Spreads[1] + ", " + Spreads[2] + " meter.");
      }
    }
  }
}

TEST(RTFiltOutlier, TheLimitIsTheSpreadTimesTheFloatOfOnePointThree) {
  const std::vector<float> Differences(std::begin(derived::Float_Limit),
                                       std::end(derived::Float_Limit));
  for (int Axis = 0; Axis < 3; ++Axis) {
    Filtered Stage(Mounts_Off_By(Differences, Axis));
    EXPECT_EQ(Stage.Run(), 0);
    EXPECT_EQ(Stage.Left(), All_But(8, {0}));
  }
}

TEST(RTFiltOutlier, TheLimitRestsOnTheSpreadThatWasSummedInFloat) {
  const std::vector<float> Differences(std::begin(derived::Float_Spread),
                                       std::end(derived::Float_Spread));
  for (int Axis = 0; Axis < 3; ++Axis) {
    Filtered Stage(Mounts_Off_By(Differences, Axis));
    EXPECT_EQ(Stage.Run(), 0);
    EXPECT_EQ(Stage.Left(), All_But(8, {0}));
  }
}

TEST(RTFiltOutlier, EachAxisHasALimitOfItsOwn) {
  // On x the images lie 10 m apart, on z 1 mm: a difference of 5 mm is nothing there and an
  // outlier here.
  std::vector<Eigen::Matrix4d> Mounts;
  for (int i = 0; i < 8; ++i) {
    const double Sign = i % 2 == 0 ? 1.0 : -1.0;
    Mounts.push_back(Mount({10.0 * Sign, 0.1 * Sign, 0.001 * Sign}));
  }
  Mounts[2](0, 3) = 10.005;
  Mounts[5](2, 3) = 0.006;
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(8, {5}));
}

TEST(RTFiltOutlier, SpreadIsMeasuredAgainstTheMeanThatIsPassed) {
  // All samples agree, 5 m from the mean passed. Their own mean would give no spread at all; with
  // this one they are all within 1.3 times 5 m.
  Filtered Stage(std::vector<Eigen::Matrix4d>(6, Mount({0, 5, 0})));
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Lines().at(7), "STD_T : 0.000000, 5.000000, 0.000000 meter.");
  EXPECT_EQ(Stage.Left(), All_But(6));
}

TEST(RTFiltOutlier, LimitsAreNotComputedAgainAfterTheRemoval) {
  // 30 m and 10 m make a spread of 10 m over ten images. Without the 30 m it would be 3.3 m, and
  // 10 m over its limit.
  std::vector<Eigen::Matrix4d> Mounts(10, Mount());
  Mounts[4](0, 3) = 30.0;
  Mounts[7](0, 3) = 10.0;
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(10, {4}));
  EXPECT_EQ(Stage.Lines().at(11), "STD_T : 10.000000, 0.000000, 0.000000 meter.");
}

TEST(RTFiltOutlier, ANanTranslationSwitchesItsOwnAxisOff) {
  for (int Axis = 0; Axis < 3; ++Axis) {
    SCOPED_TRACE(Axis);
    std::vector<Eigen::Matrix4d> Mounts(8, Mount());
    Mounts[0](Axis, 3) = std::nan("");
    Mounts[1](Axis, 3) = 50.0;
    Mounts[6]((Axis + 1) % 3, 3) = 2.0;
    Filtered Stage(Mounts);
    EXPECT_EQ(Stage.Run(), 0);
    EXPECT_EQ(Stage.Left(), All_But(8, {6}));
    std::array<std::string, 3> Spreads = {"0.000000", "0.000000", "0.000000"};
    Spreads[static_cast<std::size_t>(Axis)] = "nan";
    Spreads[static_cast<std::size_t>((Axis + 1) % 3)] = "0.707107";  // sqrt(4 / 8)
    EXPECT_EQ(Stage.Lines().at(9),
              "STD_T : " + Spreads[0] + ", " + Spreads[1] + ", " + Spreads[2] + " meter.");
  }
}

// --- removal and log ------------------------------------------------------------------------

TEST(RTFiltOutlier, RemovesFromTheLastIndexDownUnderTheOldNumbersAndNames) {
  std::vector<Eigen::Matrix4d> Mounts(8, Mount());
  Mounts[2] = Mounts[7] = Outlier();
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(8, {2, 7}));
  EXPECT_EQ(Stage.Lines(),
            (std::vector<std::string>{
                Diff_R_Line(0, "0.000000"), Diff_R_Line(1, "0.000000"), Diff_R_Line(2, "90.000000"),
                Diff_R_Line(3, "0.000000"), Diff_R_Line(4, "0.000000"), Diff_R_Line(5, "0.000000"),
                Diff_R_Line(6, "0.000000"), Diff_R_Line(7, "90.000000"),
                "STD_R : 45.000000 degree.",  // sqrt(2 * 8100 / 8)
                "STD_T : 0.000000, 0.000000, 0.000000 meter.", "Remove outlier data number : 2",
                "Size list : (init) 8", "Remove index : 7", "Remove name : C:\\cap\\image_7.png",
                "Remove index : 2", "Remove name : C:\\cap\\image_2.png", "Size list : (init) 6"}));
}

TEST(RTFiltOutlier, WithNothingToRemoveTheSizeIsLoggedTwice) {
  Filtered Stage(std::vector<Eigen::Matrix4d>(5, Mount()));
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Lines(),
            (std::vector<std::string>{
                Diff_R_Line(0, "0.000000"), Diff_R_Line(1, "0.000000"), Diff_R_Line(2, "0.000000"),
                Diff_R_Line(3, "0.000000"), Diff_R_Line(4, "0.000000"), "STD_R : 0.000000 degree.",
                "STD_T : 0.000000, 0.000000, 0.000000 meter.", "Remove outlier data number : 0",
                "Size list : (init) 5", "Size list : (init) 5"}));
  EXPECT_EQ(Stage.Left(), All_But(5));
}

TEST(RTFiltOutlier, AnyOfTheFourReasonsMarksAnImageOnce) {
  std::vector<Eigen::Matrix4d> Mounts(12, Mount());
  Mounts[0] = Outlier();
  for (int r = 0; r < 3; ++r) Mounts[0](r, 3) = 9.0;
  Mounts[3](0, 3) = -8.0;
  Mounts[8](1, 3) = 8.0;
  Mounts[11](2, 3) = -8.0;
  Filtered Stage(Mounts);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Left(), All_But(12, {0, 3, 8, 11}));
  EXPECT_EQ(Stage.Lines().at(14), "Remove outlier data number : 4");
}

// --- too few --------------------------------------------------------------------------------

TEST(RTFiltOutlier, FiveMustRemain) {
  struct Case {
    std::size_t Images, Outliers;
    bool Is_Enough;
  };
  const Case Cases[] = {{6, 1, true},  {5, 0, true},  {9, 4, true},  {5, 1, false}, {6, 2, false},
                        {4, 0, false}, {1, 0, false}, {9, 5, false}, {4, 4, false}};
  for (const Case& Each : Cases) {
    SCOPED_TRACE(testing::Message() << Each.Images << " images, " << Each.Outliers << " outliers");
    std::vector<Eigen::Matrix4d> Mounts(Each.Images, Mount());
    std::set<int> Removed;
    for (std::size_t i = 0; i < Each.Outliers; ++i) {
      Mounts[i] = Outlier();
      Removed.insert(static_cast<int>(i));
    }
    Filtered Stage(Mounts);
    const int Images = static_cast<int>(Each.Images);
    const std::string Remaining = std::to_string(Each.Images - Each.Outliers);
    std::vector<std::string> Expected_End;
    if (Each.Is_Enough) {
      EXPECT_EQ(Stage.Run(), 0);
      EXPECT_EQ(Stage.Left(), All_But(Images, Removed));
      Expected_End = {"Size list : (init) " + Remaining};
    } else {
      EXPECT_EQ(Stage.Run(), 13);
      EXPECT_EQ(Stage.Left(), All_But(Images));  // whole
      Expected_End = {"Remove outlier data number : " + std::to_string(Each.Outliers),
                      "Size list : (init) " + std::to_string(Each.Images),
                      "Filtered data number not enough : " + Remaining + " <= 5",
                      "Error code 13: Filtered data not enough (<5)"};
    }
    const std::vector<std::string> Lines = Stage.Lines();
    ASSERT_GE(Lines.size(), Expected_End.size());
    EXPECT_EQ(std::vector<std::string>(
                  Lines.end() - static_cast<std::ptrdiff_t>(Expected_End.size()), Lines.end()),
              Expected_End);
  }
}

TEST(RTFiltOutlier, AnEmptyListHasNanSpreadsAndEndsInCode13) {
  Filtered Stage({});
  EXPECT_EQ(Stage.Run(), 13);
  EXPECT_EQ(Stage.Lines(),
            (std::vector<std::string>{"STD_R : nan degree.", "STD_T : nan, nan, nan meter.",
                                      "Remove outlier data number : 0", "Size list : (init) 0",
                                      "Filtered data number not enough : 0 <= 5",
                                      "Error code 13: Filtered data not enough (<5)"}));
}

// --- lists that differ ----------------------------------------------------------------------

TEST(RTFiltOutlier, ListsOfDifferentSizesGiveCode11AfterTheRemovalWhereverTheyPart) {
  // The first Alike lists have eight entries and the others nine, so that just one of the five
  // comparisons sees it. One image goes before they are compared.
  for (int Alike = 1; Alike <= 5; ++Alike) {
    SCOPED_TRACE(Alike);
    std::vector<Eigen::Matrix4d> Mounts(8, Mount());
    Mounts[3] = Outlier();
    Filtered Stage(Mounts);
    if (Alike < 2) Stage.ImageCoordinate.push_back({});
    if (Alike < 3) Stage.Image_name.push_back("one more");
    if (Alike < 4) Stage.Transform_Tr_Base_all.push_back(Mount());
    if (Alike < 5) Stage.Transform_Base_Tc_all.push_back(Mount());
    Stage.Transform_Cam_Chart_all.push_back(Mount());
    EXPECT_EQ(Stage.Run(), 11);

    const auto Size = [&](int List) { return List <= Alike ? 7u : 8u; };
    EXPECT_EQ(Stage.Transform_Cam_Tc_all.size(), Size(1));
    EXPECT_EQ(Stage.ImageCoordinate.size(), Size(2));
    EXPECT_EQ(Stage.Image_name.size(), Size(3));
    EXPECT_EQ(Stage.Transform_Tr_Base_all.size(), Size(4));
    EXPECT_EQ(Stage.Transform_Base_Tc_all.size(), Size(5));
    EXPECT_EQ(Stage.Transform_Cam_Chart_all.size(), Size(6));

    const std::vector<std::string> Lines = Stage.Lines();
    ASSERT_GE(Lines.size(), 10u);
    EXPECT_EQ(std::vector<std::string>(Lines.begin() + 10, Lines.end()),
              (std::vector<std::string>{
                  "Remove outlier data number : 1", "Size list : (init) 8", "Remove index : 3",
                  "Remove name : C:\\cap\\image_3.png", "RT_Filt_Outlier output size is not same",
                  "Size list : (Filt)", "Transform_Cam_Tc_all : " + std::to_string(Size(1)),
                  "ImageCoordinate : " + std::to_string(Size(2)),
                  "Image_name : " + std::to_string(Size(3)),
                  "Transform_Tr_Base_all : " + std::to_string(Size(4)),
                  "Transform_Base_Tc_all : " + std::to_string(Size(5)),
                  "Transform_Cam_Chart_all : " + std::to_string(Size(6)),
                  "Error code 11: RT_Filt_Outlier output size is not same."}));
  }
}

TEST(RTFiltOutlier, ListsThatDifferAreNotNoticedWhereTooFewRemain) {
  Filtered Stage(std::vector<Eigen::Matrix4d>(4, Mount()));
  Stage.Image_name.push_back("one more");
  EXPECT_EQ(Stage.Run(), 13);
}

TEST(RTFiltOutlier, ListsThatDifferWithNothingRemovedGiveCode11Too) {
  Filtered Stage(std::vector<Eigen::Matrix4d>(5, Mount()));
  Stage.Transform_Base_Tc_all.push_back(Mount());
  EXPECT_EQ(Stage.Run(), 11);
}

// --- Norm_Vec -------------------------------------------------------------------------------

const cv::Mat Wrong_Shapes[] = {cv::Mat::ones(1, 3, CV_64F), cv::Mat::ones(3, 3, CV_64F),
                                cv::Mat::ones(2, 1, CV_64F), cv::Mat::ones(4, 1, CV_64F),
                                cv::Mat::ones(3, 2, CV_64F), cv::Mat()};

cv::Mat Vector(double X, double Y, double Z) {
  return (cv::Mat_<double>(3, 1) << X, Y, Z);
}

TEST(NormVec, DividesInDoubleByALengthInFloatToTheBit) {
  cv::Mat Direction =
      Vector(derived::Norm_Vector[0], derived::Norm_Vector[1], derived::Norm_Vector[2]);
  EXPECT_EQ(Norm_Vec("", Direction), 0);
  for (int r = 0; r < 3; ++r) {
    EXPECT_EQ(Hex(Direction.at<double>(r)), Hex(derived::Norm_Result[r]));
  }
}

TEST(NormVec, NormalisesInPlace) {
  cv::Mat Direction = Vector(2.0, -3.0, 6.0);  // of length 7
  const cv::Mat Same_Data = Direction;
  EXPECT_EQ(Norm_Vec("", Direction), 0);
  EXPECT_EQ(Same_Data.at<double>(0), 2.0 / 7.0);
  EXPECT_EQ(Same_Data.at<double>(1), -3.0 / 7.0);
  EXPECT_EQ(Same_Data.at<double>(2), 6.0 / 7.0);
}

TEST(NormVec, AZeroVectorBecomesNan) {
  cv::Mat Direction = Vector(0, 0, 0);
  EXPECT_EQ(Norm_Vec("", Direction), 0);
  for (int r = 0; r < 3; ++r) EXPECT_TRUE(std::isnan(Direction.at<double>(r)));
}

TEST(NormVec, ReturnsCode9ForAnotherShapeAndLeavesTheVector) {
  for (const cv::Mat& Shape : Wrong_Shapes) {
    SCOPED_TRACE(testing::Message() << Shape.rows << " by " << Shape.cols);
    Stage_Log Log;
    cv::Mat Vector = Shape.clone();
    {
      const Stage_Log::Listener Quiet = Log.Listen();
      EXPECT_EQ(Norm_Vec(Log.Path(), Vector), 9);
    }
    ASSERT_EQ(Vector.size(), Shape.size());
    EXPECT_TRUE(Shape.empty() || cv::norm(Vector, Shape, cv::NORM_INF) == 0.0);
    EXPECT_EQ(Log.Lines(), std::vector<std::string>{"Error code 9: Norm_Vec size is not correct."});
  }
}

// --- Dot_Vec --------------------------------------------------------------------------------

TEST(DotVec, SumsProductsInFloatToTheBit) {
  const auto& A = derived::Dot_Sample;
  const auto& B = derived::Dot_Mean;
  float Result = 55.0f;
  EXPECT_EQ(Dot_Vec("", Result, Vector(A[0], A[1], A[2]), Vector(B[0], B[1], B[2])), 0);
  EXPECT_EQ(Hex(Result), Hex(derived::Dot_Result));
}

TEST(DotVec, LeavesBothVectors) {
  const cv::Mat Sample = Vector(1, 2, 3), Mean = Vector(4, 5, 6);
  float Result = 0.0f;
  EXPECT_EQ(Dot_Vec("", Result, Sample, Mean), 0);
  EXPECT_EQ(Result, 32.0f);
  EXPECT_EQ(cv::norm(Sample, Vector(1, 2, 3), cv::NORM_INF), 0.0);
  EXPECT_EQ(cv::norm(Mean, Vector(4, 5, 6), cv::NORM_INF), 0.0);
}

TEST(DotVec, ReturnsCode10WithTheVectorsNameForAnotherShapeAndTheResult0) {
  const cv::Mat Good = Vector(1, 2, 3);
  for (const cv::Mat& Wrong : Wrong_Shapes) {
    SCOPED_TRACE(testing::Message() << Wrong.rows << " by " << Wrong.cols);
    Stage_Log Sample_Log, Mean_Log, Both_Log;
    float Sample_Result = 55.0f, Mean_Result = 55.0f, Both_Result = 55.0f;
    {
      const Stage_Log::Listener Quiet = Sample_Log.Listen();
      EXPECT_EQ(Dot_Vec(Sample_Log.Path(), Sample_Result, Wrong, Good), 10);
    }
    {
      const Stage_Log::Listener Quiet = Mean_Log.Listen();
      EXPECT_EQ(Dot_Vec(Mean_Log.Path(), Mean_Result, Good, Wrong), 10);
    }
    {
      const Stage_Log::Listener Quiet = Both_Log.Listen();
      EXPECT_EQ(Dot_Vec(Both_Log.Path(), Both_Result, Wrong, Wrong), 10);
    }
    EXPECT_EQ(Sample_Result, 0.0f);
    EXPECT_EQ(Mean_Result, 0.0f);
    EXPECT_EQ(Both_Result, 0.0f);
    const std::vector<std::string> At_Fault_Is_The_Sample = {
        "Error code 10: Dot_Vec size is not correct. Rot_Cam_Tc_vec"};
    EXPECT_EQ(Sample_Log.Lines(), At_Fault_Is_The_Sample);
    EXPECT_EQ(Both_Log.Lines(), At_Fault_Is_The_Sample);
    EXPECT_EQ(Mean_Log.Lines(),
              std::vector<std::string>{
                  "Error code 10: Dot_Vec size is not correct. Mean_Rot_Cam_Tc_vec"});
  }
}

}  // namespace
