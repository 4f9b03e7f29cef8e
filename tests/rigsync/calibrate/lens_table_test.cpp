// SPDX-License-Identifier: Apache-2.0
//
// Tables of results that are made by hand, so that each limit can be stood on, and of captures of a
// simulated zoom lens whose tracker stayed or was moved.
//
// RIGSYNC_LENS_TABLES=200 makes that many simulated tables of each kind instead of a few, and
// prints how many were judged rightly: the figures of docs/lens-table.md.
#include "rigsync/calibrate/lens_table.h"

#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/solve/corner_rig.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using rigsync::Accuracy_Limits;
using rigsync::Calibration_Result;
using rigsync::Lens_Table;
using rigsync::Mount_Agreement;
using testing::ElementsAre;

constexpr double Rad = 3.14159265358979323846 / 180.0;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr Accuracy_Limits Limits = {3.0, 0.3};

// ---- Results made by hand ----------------------------------------------------------------------

// The tracker seen from the camera: right, down, ahead, millimetres, and panned.
Eigen::Isometry3d Mount(double Right, double Down, double Ahead, double Pan_Deg = 0.0) {
  Eigen::Isometry3d Transform_Cam_Tc = Eigen::Isometry3d::Identity();
  Transform_Cam_Tc.linear() = (Eigen::AngleAxisd(Pan_Deg * Rad, Eigen::Vector3d::UnitY()) *
                               Eigen::AngleAxisd(0.6, Eigen::Vector3d(1, 2, 2) / 3.0))
                                  .toRotationMatrix();
  Transform_Cam_Tc.translation() = 1e-3 * Eigen::Vector3d(Right, Down, Ahead);
  return Transform_Cam_Tc;
}

// Without an uncertainty.
Calibration_Result Result_Of(const Eigen::Isometry3d& Transform_Cam_Tc, double Focal = 1.0) {
  Calibration_Result Result;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {Focal, Focal * 16.0 / 9.0};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Distortion = {-0.1, 0.02, 0, 0, 0};
  Result.Transform_Cam_Tc = rigsync::List_From_Matrix(Transform_Cam_Tc.matrix());
  return Result;
}

// Known to these standard deviations on each axis.
Calibration_Result Known_To(double Deviation_Mm, double Deviation_Deg,
                            const Eigen::Isometry3d& Transform_Cam_Tc) {
  Calibration_Result Result = Result_Of(Transform_Cam_Tc);
  rigsync::Capture_Solution Solved;
  rigsync::Joint_Solution& Joint = Solved.Joint;
  rigsync::Vector6d Deviations;
  Deviations << rigsync::Vector6d::Constant(Deviation_Deg * Rad);
  Deviations.tail<3>().setConstant(1e-3 * Deviation_Mm);
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Transform_Cam_Tc = Transform_Cam_Tc;
  Joint.Camera_Mount.Covariance = rigsync::Matrix6d(Deviations.cwiseAbs2().asDiagonal());
  Joint.Camera_Mount.Freedom.setConstant(rigsync::Known_Freedom);
  Joint.Camera_Mount.Joint_Freedom = rigsync::Known_Freedom;
  Result.Solved = Solved;
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  return Result;
}

// At zoom 24, 35, 50 and so on, in this order.
Lens_Table Table_Of(const std::vector<Calibration_Result>& Results, double Sensor_Width_Mm = NaN) {
  constexpr double Zooms[] = {24, 35, 50, 70};
  std::vector<rigsync::Lens_Table_Input> Inputs;
  for (std::size_t i = 0; i < Results.size(); ++i) {
    Inputs.push_back({std::to_string(i) + ".json", &Results[i], {0.5, Zooms[i]}});
  }
  return rigsync::Make_Lens_Table(Inputs, Sensor_Width_Mm, Limits);
}

std::vector<Mount_Agreement> Agreements(const Lens_Table& Table) {
  std::vector<Mount_Agreement> All;
  for (const rigsync::Lens_Table_Row& Row : Table.Rows) All.push_back(Row.Agreement);
  return All;
}

// Of the second of two.
Mount_Agreement Agreement_Of(const Calibration_Result& First, const Calibration_Result& Second) {
  const std::vector<Calibration_Result> Results = {First, Second};
  const Lens_Table Table = Table_Of(Results);
  EXPECT_EQ(Table.Reference, 0U);
  EXPECT_EQ(Table.Rows[0].Agreement, Mount_Agreement::Agrees);
  EXPECT_EQ(rigsync::Agrees(Table), Table.Rows[1].Agreement == Mount_Agreement::Agrees);
  return Table.Rows[1].Agreement;
}

TEST(LensTable, RowsAreByFocusAndThenByZoom) {
  const Calibration_Result Result = Result_Of(Mount(0, 0, 0));
  const Lens_Table Table = rigsync::Make_Lens_Table({{"a", &Result, {0.5, 70}},
                                                     {"b", &Result, {0.0, 70}},
                                                     {"c", &Result, {0.5, 24}},
                                                     {"d", &Result, {0.0, 24}}},
                                                    NaN, Limits);
  std::string Order;
  for (const rigsync::Lens_Table_Row& Row : Table.Rows) Order += Row.Of.File.string();
  EXPECT_EQ(Order, "dbca");
}

TEST(LensTable, ARowHasTheLensInPixelsAndMillimetres) {
  const std::vector<Calibration_Result> Results = {Result_Of(Mount(0, 0, 0), 0.75),
                                                   Result_Of(Mount(0, 0, 0), 1.5)};
  const Lens_Table Table = Table_Of(Results, /*Sensor_Width_Mm=*/24.0);
  EXPECT_EQ(Table.Width, 1920);
  EXPECT_EQ(Table.Height, 1080);
  EXPECT_EQ(Table.Rows[0].Lens_Px.Fx, 1440.0);
  EXPECT_EQ(Table.Rows[0].Lens_Px.Cy, 540.0);
  EXPECT_EQ(Table.Rows[0].Lens_Px.K2, 0.02);
  EXPECT_EQ(Table.Rows[0].Focal_Length_Mm, 18.0);
  EXPECT_EQ(Table.Rows[1].Focal_Length_Mm, 36.0);
  EXPECT_TRUE(std::isnan(Table_Of(Results).Rows[0].Focal_Length_Mm));
}

// The tracker is seen 12 mm farther back and 1 mm farther to the left: the camera's point of view
// has gone 12 mm ahead and 1 mm to the right.
TEST(LensTable, TheCameraGoesTheOtherWayThanTheTrackerSeems) {
  const std::vector<Calibration_Result> Results = {Result_Of(Mount(60, -140, -80)),
                                                   Result_Of(Mount(59, -140, -92))};
  const Lens_Table Table = Table_Of(Results);
  const Eigen::Vector3d Way = rigsync::Camera_Way_Mm(Table.Rows[1]);
  EXPECT_NEAR(Way.x(), 1.0, 1e-9);
  EXPECT_NEAR(Way.y(), 0.0, 1e-9);
  EXPECT_NEAR(Way.z(), 12.0, 1e-9);
  EXPECT_NEAR(rigsync::Lateral_Mm(Table.Rows[1]), 1.0, 1e-9);
}

TEST(LensTable, ALensMayGoAnyWayAlongItsAxis) {
  for (const double Ahead : {-250.0, -81.0, 40.0}) {
    EXPECT_EQ(Agreement_Of(Known_To(0.1, 0.01, Mount(60, -140, -80)),
                           Known_To(0.1, 0.01, Mount(60, -140, Ahead))),
              Mount_Agreement::Agrees);
    EXPECT_EQ(Agreement_Of(Result_Of(Mount(60, -140, -80)), Result_Of(Mount(60, -140, Ahead))),
              Mount_Agreement::Agrees);
  }
}

// Two mounts known to 0.3 mm differ in one direction by more than sqrt(2 * 11.070) * 0.3 = 1.4116
// mm in one pair of twenty: chi-square with 5 degrees of freedom, by printed tables.
TEST(LensTable, TheUncertaintyOfBothDecides) {
  const Calibration_Result First = Known_To(0.3, 0.1, Mount(60, -140, -80));
  EXPECT_EQ(Agreement_Of(First, Known_To(0.3, 0.1, Mount(61.40, -140, -60))),
            Mount_Agreement::Agrees);
  EXPECT_EQ(Agreement_Of(First, Known_To(0.3, 0.1, Mount(61.42, -140, -60))),
            Mount_Agreement::Unlikely);
  EXPECT_EQ(Agreement_Of(First, Known_To(0.3, 0.1, Mount(60, -141.42, -60))),
            Mount_Agreement::Unlikely);
}

// With 0.03 degrees each, the same for 0.14116 degrees; the tracker turns about the camera here.
TEST(LensTable, ATurnIsNoLens) {
  const Calibration_Result First = Known_To(0.3, 0.03, Mount(60, -140, -80));
  EXPECT_EQ(Agreement_Of(First, Known_To(0.3, 0.03, Mount(60, -140, -60, 0.140))),
            Mount_Agreement::Agrees);
  EXPECT_EQ(Agreement_Of(First, Known_To(0.3, 0.03, Mount(60, -140, -60, 0.142))),
            Mount_Agreement::Unlikely);
}

// Of three results, one of two comparisons may be odd in one table of twenty: chi-square 12.833 for
// 0.975, so sqrt(2 * 12.833) * 0.3 = 1.5198 mm.
TEST(LensTable, MoreResultsAreGivenMoreRoom) {
  const Calibration_Result Same = Known_To(0.3, 0.1, Mount(60, -140, -80));
  const std::vector<Calibration_Result> Near = {Same, Same,
                                                Known_To(0.3, 0.1, Mount(61.51, -140, -60))};
  EXPECT_TRUE(rigsync::Agrees(Table_Of(Near)));
  const std::vector<Calibration_Result> Far = {Same, Same,
                                               Known_To(0.3, 0.1, Mount(61.53, -140, -60))};
  EXPECT_THAT(
      Agreements(Table_Of(Far)),
      ElementsAre(Mount_Agreement::Agrees, Mount_Agreement::Agrees, Mount_Agreement::Unlikely));
}

// Less than half a millimetre and a twentieth of a degree move no picture.
TEST(LensTable, WhatNobodySeesIsNoDifference) {
  const Calibration_Result First = Known_To(0.01, 0.001, Mount(60, -140, -80));
  const auto Known = [](const Eigen::Isometry3d& At) { return Known_To(0.01, 0.001, At); };
  EXPECT_EQ(Agreement_Of(First, Known(Mount(60.49, -140, -60))), Mount_Agreement::Agrees);
  EXPECT_EQ(Agreement_Of(First, Known(Mount(60.51, -140, -60))), Mount_Agreement::Unlikely);
  EXPECT_EQ(Agreement_Of(First, Known(Mount(60, -140, -60, 0.049))), Mount_Agreement::Agrees);
  EXPECT_EQ(Agreement_Of(First, Known(Mount(60, -140, -60, 0.051))), Mount_Agreement::Unlikely);
}

TEST(LensTable, WithoutAnUncertaintyTheLimitsDecide) {
  const Calibration_Result First = Result_Of(Mount(60, -140, -80));
  const auto Second = [&](const Eigen::Isometry3d& At) {
    return Agreement_Of(First, Result_Of(At));
  };
  EXPECT_EQ(Second(Mount(62.99, -140, -60)), Mount_Agreement::Agrees);
  EXPECT_EQ(Second(Mount(63.01, -140, -60)), Mount_Agreement::Beyond_Limits);
  EXPECT_EQ(Second(Mount(60, -140, -60, 0.299)), Mount_Agreement::Agrees);
  EXPECT_EQ(Second(Mount(60, -140, -60, 0.301)), Mount_Agreement::Beyond_Limits);
  // One of them has one, which is not enough.
  EXPECT_EQ(
      Agreement_Of(Known_To(0.1, 0.01, Mount(60, -140, -80)), Result_Of(Mount(62, -140, -60))),
      Mount_Agreement::Agrees);
}

TEST(LensTable, WhatUncertaintyExplainsMayStillBeBeyondTheLimits) {
  const Calibration_Result First = Known_To(3.0, 0.1, Mount(60, -140, -80));
  EXPECT_EQ(Agreement_Of(First, Known_To(3.0, 0.1, Mount(64, -140, -60))),
            Mount_Agreement::Beyond_Limits);
}

TEST(LensTable, AxesThatWereRedefinedAreNamed) {
  Eigen::Isometry3d Relabelled = Mount(60, -140, -80);
  Relabelled.linear() = Relabelled.linear() *
                        Eigen::AngleAxisd(90.0 * Rad, Eigen::Vector3d::UnitZ()).toRotationMatrix();
  EXPECT_EQ(Agreement_Of(Result_Of(Mount(60, -140, -80)), Result_Of(Relabelled)),
            Mount_Agreement::Other_Axes);
}

// The first one is odd, and the others are not called so.
TEST(LensTable, TheReferenceIsWhatMostAgreeWith) {
  const Calibration_Result Same = Known_To(0.1, 0.01, Mount(60, -140, -80));
  const std::vector<Calibration_Result> Results = {Known_To(0.1, 0.01, Mount(65, -140, -80)), Same,
                                                   Same};
  const Lens_Table Table = Table_Of(Results);
  EXPECT_EQ(Table.Reference, 1U);
  EXPECT_THAT(Agreements(Table), ElementsAre(Mount_Agreement::Unlikely, Mount_Agreement::Agrees,
                                             Mount_Agreement::Agrees));
}

// ---- A simulated zoom lens ---------------------------------------------------------------------

Calibration_Result Solved(const corner_rig::Options& Options) {
  const corner_rig::Rig Rig = corner_rig::Make_Rig(Options);
  Calibration_Result Result;
  Result.Code = 0;
  Result.Inputs.Board = Rig.Board;
  Result.Inputs.Square_Size = 0.03;
  Result.Inputs.Solution = rigsync::Solution_Choice::Joint;
  Result.Image_Size = {960, 540};
  Result.Norm_Fxy = {Rig.Lens_Px.Fx / 960, Rig.Lens_Px.Fy / 540};
  Result.Norm_Cxy = {Rig.Lens_Px.Cx / 960, Rig.Lens_Px.Cy / 540};
  Result.Distortion = {Rig.Lens_Px.K1, Rig.Lens_Px.K2, 0, 0, 0};
  Result.Solved = rigsync::Solve_Capture(Rig.Facts, Rig.Board, 0.03, Rig.Lens_Px);
  Result.Joint_Transform_Cam_Tc =
      rigsync::List_From_Matrix(Result.Solved->Joint.At.Transform_Cam_Tc.matrix());
  return Result;
}

// Three positions of a lens whose point of view goes back by 35 mm. Before the last one the tracker
// is moved.
bool Is_One_Table(const Eigen::Vector3d& Moved_Mm, const Eigen::Vector3d& Moved_Deg,
                  unsigned Seed) {
  std::vector<Calibration_Result> Results;
  for (const auto& [Focal, Ahead_Mm] :
       {std::pair<double, double>{1.0, 0.0}, {1.6, 14.0}, {2.4, 35.0}}) {
    corner_rig::Options Options;
    Options.Seed = Seed++;
    Options.Focal_Factor = Focal;
    Options.Shift_Mm = {0, 0, Ahead_Mm};
    if (Results.size() == 2) {
      Options.Shift_Mm += Moved_Mm;
      Options.Tilt_Pan_Roll_Deg = Moved_Deg;
    }
    Results.push_back(Solved(Options));
  }
  return rigsync::Agrees(Table_Of(Results));
}

unsigned Count_Tables(const char* Name, const Eigen::Vector3d& Moved_Mm,
                      const Eigen::Vector3d& Moved_Deg, unsigned Tables) {
  unsigned Good = 0;
  for (unsigned i = 0; i < Tables; ++i) {
    Good += Is_One_Table(Moved_Mm, Moved_Deg, 5000 + 3 * i) ? 1 : 0;
  }
  if (std::getenv("RIGSYNC_LENS_TABLES") != nullptr) {
    std::printf("%-32s %u of %u are one table\n", Name, Good, Tables);
  }
  return Good;
}

TEST(LensTable, ASimulatedZoomLensIsOneTableUnlessItsTrackerMoved) {
  const char* const Asked = std::getenv("RIGSYNC_LENS_TABLES");
  const unsigned Tables = Asked == nullptr ? 2 : static_cast<unsigned>(std::atoi(Asked));
  // Of 200, 5 % are 10 with a deviation of 3.
  const unsigned Most_False = Tables / 10;
  EXPECT_GE(Count_Tables("tracker untouched", {0, 0, 0}, {0, 0, 0}, Tables) + Most_False, Tables);
  EXPECT_LE(Count_Tables("tracker 3 mm to the right", {3, 0, 0}, {0, 0, 0}, Tables), Most_False);
  EXPECT_LE(Count_Tables("tracker panned by 0.3 degrees", {0, 0, 0}, {0, 0.3, 0}, Tables),
            Most_False);
  if (Asked == nullptr) return;
  Count_Tables("tracker 1 mm to the right", {1, 0, 0}, {0, 0, 0}, Tables);
  Count_Tables("tracker panned by 0.1 degrees", {0, 0, 0}, {0, 0.1, 0}, Tables);
}

TEST(LensTable, ALensThatNoRunWritesIsRefusedByItsFile) {
  std::vector<Calibration_Result> Results(2, Result_Of(Mount(60, -140, -80)));
  Results[1].Distortion.clear();
  try {
    Table_Of(Results);
    FAIL();
  } catch (const rigsync::Usage_Error& Error) {
    EXPECT_THAT(Error.what(), testing::StartsWith("1.json: 'lens.distortion' is null"));
  }
}

// The joint mounts are known to 0.3 mm and 0.1 degrees and agree; the library's are 4 mm apart,
// which 0.3 mm do not explain, or 3.5 mm, which 3 mm do.
TEST(LensTable, TheMountsOfTheLibraryAreJudgedByTheUncertaintyOfTheJointOnes) {
  const auto Of_Library = [](double Deviation_Mm, double Right_Mm) {
    std::vector<Calibration_Result> Results(2, Known_To(Deviation_Mm, 0.1, Mount(60, -140, -80)));
    Results[1].Transform_Cam_Tc =
        rigsync::List_From_Matrix(Mount(60 + Right_Mm, -140, -80).matrix());
    return Table_Of(Results);
  };
  const Lens_Table Odd = Of_Library(0.3, 4.0), Wide = Of_Library(3.0, 3.5);
  EXPECT_EQ(Odd.Rows[1].Agreement, Mount_Agreement::Beyond_Limits);
  EXPECT_EQ(Odd.Rows[1].Probability_Of_Less, 0.0);
  EXPECT_GT(Odd.Rows[1].Result_Probability_Of_Less, Odd.Sure_Part);
  EXPECT_EQ(Wide.Rows[1].Agreement, Mount_Agreement::Beyond_Limits);
  EXPECT_LE(Wide.Rows[1].Result_Probability_Of_Less, Wide.Sure_Part);
}

// As of an export that states only one of them.
TEST(LensTable, APositionThatNobodyStatesIs0) {
  const rigsync::Lens_Position At;
  EXPECT_EQ(At.Focus, 0.0);
  EXPECT_EQ(At.Zoom, 0.0);
}

TEST(LensTable, WhereTheJointMountsAreTheResultsBothProbabilitiesAreTheSame) {
  const Lens_Table Table = Table_Of(
      {Known_To(1.0, 0.1, Mount(60, -140, -80)), Known_To(1.0, 0.1, Mount(62, -139, -80))});
  const rigsync::Lens_Table_Row& Row = Table.Rows[1];
  EXPECT_GT(Row.Probability_Of_Less, 0.1);
  EXPECT_LT(Row.Probability_Of_Less, 0.9);
  EXPECT_NEAR(Row.Result_Probability_Of_Less, Row.Probability_Of_Less, 1e-11);
}

}  // namespace
