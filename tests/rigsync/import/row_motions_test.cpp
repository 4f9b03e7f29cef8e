// SPDX-License-Identifier: Apache-2.0
//
// Which row of a capture has which velocities, and which captures are refused.
#include "rigsync/import/row_motions.h"

#include "rigsync/system/usage_error.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Capture_Row;
using rigsync::Import_Record;
using rigsync::Imported_Row;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

rigsync::Tracker_Sample Sample_At(double X) {
  rigsync::Tracker_Sample Sample;
  Sample.Position = {X, 0.25, -0.5};
  Sample.Quaternion = {1, 0, 0, 0};
  return Sample;
}

// Row k: the camera's tracker at k m and k mm/s, the board's at 10 + k m and 10 + k mm/s.
Imported_Row Imported(int k) {
  Imported_Row Row;
  Row.Picture = "images/" + std::to_string(k) + ".jpg";
  Row.Csv_Line = static_cast<std::size_t>(k) + 2;
  Row.Camera.Sample = Sample_At(k);
  Row.Board.Sample = Sample_At(10 + k);
  Row.Camera.Velocity.Linear = {1e-3 * k, 0, 0};
  Row.Board.Velocity.Linear = {1e-3 * (10 + k), 0, 0};
  Row.Board.Velocity.Angular = {0, 0.01 * k, 0};
  return Row;
}

Capture_Row Row_Of_Csv(int k) {
  Capture_Row Row;
  Row.Line = static_cast<std::size_t>(k) + 2;
  Row.Image = "images/" + std::to_string(k) + ".jpg";
  Row.Camera = Sample_At(k);
  Row.Board = Sample_At(10 + k);
  Row.Is_Sound = true;
  return Row;
}

Import_Record Three_Rows() {
  Import_Record Record;
  Record.Rows = {Imported(0), Imported(1), Imported(2)};
  return Record;
}

std::string Refusal(const Import_Record& Record, const std::vector<Capture_Row>& Rows) {
  try {
    rigsync::Motions_Of_Rows(Record, Rows, "take/capture.csv");
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(RowMotions, EachRowHasTheVelocitiesOfItsPicture) {
  const auto Motions = rigsync::Motions_Of_Rows(
      Three_Rows(), {Row_Of_Csv(0), Row_Of_Csv(1), Row_Of_Csv(2)}, "c.csv");
  ASSERT_EQ(Motions.size(), 3u);
  for (int k = 0; k < 3; ++k) {
    const auto& Motion = Motions[static_cast<std::size_t>(k)];
    ASSERT_TRUE(Motion);
    EXPECT_EQ(Motion->Camera.Linear, Eigen::Vector3d(1e-3 * k, 0, 0));
    EXPECT_EQ(Motion->Board.Linear, Eigen::Vector3d(1e-3 * (10 + k), 0, 0));
    EXPECT_EQ(Motion->Board.Angular, Eigen::Vector3d(0, 0.01 * k, 0));
  }
}

// The advice for bad rows is to remove their lines.
TEST(RowMotions, LinesMayHaveBeenRemovedAndMoved) {
  Capture_Row Last = Row_Of_Csv(2), First = Row_Of_Csv(0);
  Last.Line = 2;
  First.Line = 3;
  const auto Motions = rigsync::Motions_Of_Rows(Three_Rows(), {Last, First}, "c.csv");
  ASSERT_TRUE(Motions[0] && Motions[1]);
  EXPECT_EQ(Motions[0]->Camera.Linear.x(), 0.002);
  EXPECT_EQ(Motions[1]->Camera.Linear.x(), 0.0);
}

TEST(RowMotions, ALineThatIsNoImageHasNone) {
  Capture_Row Blank;
  Blank.Is_Image = false;
  const auto Motions = rigsync::Motions_Of_Rows(Three_Rows(), {Blank, Row_Of_Csv(1)}, "c.csv");
  EXPECT_FALSE(Motions[0]);
  EXPECT_TRUE(Motions[1]);
}

TEST(RowMotions, ARowThatWasNotImportedIsRefusedByItsLine) {
  EXPECT_THAT(Refusal(Three_Rows(), {Row_Of_Csv(0), Row_Of_Csv(7)}),
              AllOf(StartsWith("--lag: line 9 of take/capture.csv ('images/7.jpg')"),
                    HasSubstr("is not in import.json"), HasSubstr("Import the capture again")));
}

TEST(RowMotions, APictureThatGotNoRowIsNotOneThatWasImported) {
  Import_Record Record = Three_Rows();
  Record.Rows[1].Csv_Line.reset();
  EXPECT_THAT(Refusal(Record, {Row_Of_Csv(1)}), HasSubstr("is not in import.json"));
}

TEST(RowMotions, ARowWithOneOtherNumberIsRefused) {
  for (int Number = 0; Number < 4; ++Number) {
    Capture_Row Row = Row_Of_Csv(1);
    if (Number == 0) Row.Camera.Position[2] += 1e-6;
    if (Number == 1) Row.Camera.Quaternion[3] += 1e-6;
    if (Number == 2) Row.Board.Position[0] += 1e-6;
    if (Number == 3) Row.Board.Quaternion[0] += 1e-6;
    EXPECT_THAT(Refusal(Three_Rows(), {Row}),
                AllOf(StartsWith("--lag: line 3 of"), HasSubstr("has other samples")))
        << Number;
  }
}

}  // namespace
