// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_log_rows.h"

#include "rigsync/calibrate/run_report.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using rigsync::Logged_Run;

using Messages = std::vector<std::string>;

std::string Log_Of(const Messages& Lines) {
  std::string Text;
  for (const std::string& Line : Lines) Text += "2022-11-17 09:05:33\t" + Line + "\n";
  return Text;
}

Logged_Run Read(const Messages& Lines) {
  const Scratch_Folder Scratch;
  return rigsync::Read_Logged_Run(Scratch.Write("log.txt", Log_Of(Lines)));
}

// The third image shows no board. Two are named like lines of the log.
const Messages Search = {
    "Process : a.png",       "Process : RAW DATA END",      "Process : wall.png",
    "Read wall.png Failed!", "Process : 4.000000 5.000000", "RAW DATA START",
};
const std::string Samples =
    " 0.100000 0.200000 0.300000 1.000000 0.000000 0.000000 0.000000"
    " -0.400000 0.500000 nan 0.000000 0.600000 0.800000 0.000000";
const Messages Dump = {"a.png",
                       "7.000000" + Samples,
                       "1.500000 2.500000",
                       "3.000000 4.000000",
                       "RAW DATA END",
                       "8.000000" + Samples,
                       "5.000000 6.000000",
                       "4.000000 5.000000",
                       "9.000000" + Samples,
                       "8.000000 9.000000",
                       "RAW DATA END"};

Messages operator+(Messages Left, const Messages& Right) {
  Left.insert(Left.end(), Right.begin(), Right.end());
  return Left;
}

TEST(RunLogRows, EachRowHasItsImageSamplesAndCorners) {
  const Logged_Run Run = Read(Search + Dump);
  ASSERT_EQ(Run.Rows.size(), 3u);
  EXPECT_EQ(Run.Rows[0].Image, 0u);
  EXPECT_EQ(Run.Rows[1].Image, 1u);
  EXPECT_EQ(Run.Rows[2].Image, 3u);
  EXPECT_EQ(Run.Rows[0].Camera.Position, (std::array<double, 3>{0.1, 0.2, 0.3}));
  EXPECT_EQ(Run.Rows[0].Camera.Quaternion, (std::array<double, 4>{1, 0, 0, 0}));
  EXPECT_EQ(Run.Rows[0].Board.Position[1], 0.5);
  EXPECT_TRUE(std::isnan(Run.Rows[0].Board.Position[2]));
  EXPECT_EQ(Run.Rows[0].Board.Quaternion, (std::array<double, 4>{0, 0.6, 0.8, 0}));
  EXPECT_EQ(Run.Rows[0].Corners, (rigsync::Corner_List{{1.5f, 2.5f}, {3, 4}}));
  EXPECT_EQ(Run.Rows[1].Corners, (rigsync::Corner_List{{5, 6}}));
  EXPECT_EQ(Run.Rows[2].Corners, (rigsync::Corner_List{{8, 9}}));
}

TEST(RunLogRows, ALogThatWasCutShortGivesWhatItHas) {
  for (std::size_t Kept = 0; Kept <= Dump.size(); ++Kept) {
    const Logged_Run Run =
        Read(Search + Messages(Dump.begin(), Dump.begin() + static_cast<std::ptrdiff_t>(Kept)));
    EXPECT_EQ(Run.Rows.size(), Kept < 2 ? 0u : Kept < 6 ? 1u : Kept < 9 ? 2u : 3u) << Kept;
  }
}

const Messages Identity = {
    "[[1.000000, 0.000000, 0.000000, 0.100000],", " [0.000000, 1.000000, 0.000000, 0.200000],",
    " [0.000000, 0.000000, 1.000000, 0.300000],", " [0.000000, 0.000000, 0.000000, 1.000000]]"};
const Messages Quarter_Turn = {
    "[[0.000000, -1.000000, 0.000000, 1.000000],", " [1.000000, 0.000000, 0.000000, 2.000000],",
    " [0.000000, 0.000000, 1.000000, 3.000000],", " [0.000000, 0.000000, 0.000000, 1.000000]]"};
const Messages Camera_Label = {"Mean_Transform_Cam_Tc : "};
const Messages Board_Label = {"Mean_Transform_Chart_Tr : "};

TEST(RunLogRows, MountsOfBothPassesAreToldApart) {
  const Logged_Run Run = Read(Search + Dump + Camera_Label + Identity + Board_Label + Quarter_Turn +
                              Camera_Label + Quarter_Turn);
  ASSERT_TRUE(Run.First_Transform_Cam_Tc && Run.Transform_Cam_Tc && Run.Transform_Tr_Chart);
  EXPECT_EQ(Run.First_Transform_Cam_Tc->translation(), Eigen::Vector3d(0.1, 0.2, 0.3));
  EXPECT_TRUE(Run.Transform_Cam_Tc->translation().isApprox(Eigen::Vector3d(1, 2, 3)));
  // (x, y, z) goes to (-y + 1, x + 2, z + 3); back from there, (1, 2, 3) goes to 0.
  EXPECT_TRUE((*Run.Transform_Tr_Chart * Eigen::Vector3d(1, 2, 3)).isZero(1e-12));
  EXPECT_TRUE((*Run.Transform_Tr_Chart * Eigen::Vector3d(1, 3, 3))
                  .isApprox(Eigen::Vector3d(1, 0, 0), 1e-12));
}

TEST(RunLogRows, ARunThatEndedBeforeTheLastPassHasNoMountOfIt) {
  const Logged_Run Run = Read(Search + Dump + Camera_Label + Identity);
  EXPECT_TRUE(Run.First_Transform_Cam_Tc);
  EXPECT_FALSE(Run.Transform_Cam_Tc);
  EXPECT_FALSE(Run.Transform_Tr_Chart);
}

TEST(RunLogRows, AMatrixThatIsNoPoseCountsAsNone) {
  const Messages NaN = {"[[nan, nan, nan, nan],", " [nan, nan, nan, nan],",
                        " [nan, nan, nan, nan],", " [0.000000, 0.000000, 0.000000, 1.000000]]"};
  const Messages Cut(Identity.begin(), Identity.begin() + 3);
  EXPECT_FALSE(Read(Camera_Label + NaN).First_Transform_Cam_Tc);
  EXPECT_FALSE(Read(Camera_Label + Cut).First_Transform_Cam_Tc);
  EXPECT_FALSE(Read(Camera_Label + Cut + Messages{"x"} + Cut).First_Transform_Cam_Tc);
}

TEST(RunLogRows, AMissingLogHasNothing) {
  EXPECT_TRUE(rigsync::Read_Logged_Run("/no/such/log").Rows.empty());
}

// A result.json that somebody changed may name these as its log.
TEST(RunLogRows, ALogWithoutAnEndThatIsNearHasNothing) {
  const Scratch_Folder Scratch;
  const std::string Pipe = (Scratch.Path() / "pipe").string();
  ASSERT_EQ(mkfifo(Pipe.c_str(), 0600), 0);
  const std::string Sparse = Scratch.Write("sparse", "");
  std::filesystem::resize_file(Sparse, std::uintmax_t{1} << 40);
  for (const std::string& Log : {Pipe, std::string("/dev/zero"), Sparse}) {
    EXPECT_TRUE(rigsync::Read_Logged_Run(Log).Rows.empty());
    EXPECT_TRUE(rigsync::Read_Run_Report(Log).Images.empty());
  }
}

}  // namespace
