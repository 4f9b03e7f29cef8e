// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/rows.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/import/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace rigsync {
namespace {

using testing::HasSubstr;

// A camera at x = 1 from 0 to 2 s, at x = 2 from 3 to 5 s, and at x = 3 from 6 to 8 s.
constexpr double Offset = 100.0;  // the pictures' clock is that much behind

Body_Pose Steps(double Seconds) {
  const double Part = Seconds < 2.0 ? 0.0 : Seconds < 3.0 ? Seconds - 2.0 : 1.0;
  const double Second = Seconds < 5.0 ? 0.0 : Seconds < 6.0 ? Seconds - 5.0 : 1.0;
  return {{1.0 + Part + Second, 0.0, 0.0}, Eigen::Quaterniond::Identity()};
}

struct Rows : testing::Test {
  Rows() {
    Chance By(1);
    Camera = Track("cam", Steps, {100.0, 0.0, 8.0, 0.0, 0.0}, By);
    Stops.Holds = {{0.0, 2.0}, {3.0, 5.0}, {6.0, 8.0}};
  }

  Row_Source Source() const { return {&Camera, nullptr, &Stops, Offset}; }

  std::vector<Chosen_Row> Of_Times(const std::vector<double>& Take_Seconds,
                                   double Resolution = 0.0) const {
    Photographs From;
    From.Resolution_Seconds = Resolution;
    for (std::size_t i = 0; i < Take_Seconds.size(); ++i) {
      From.Pictures.push_back({"IMG_" + std::to_string(i) + ".jpg", Take_Seconds[i] - Offset});
    }
    return Rows_Of_Photographs(From, Source(), Options);
  }

  Body_Track Camera;
  Hold_Search Stops;
  Row_Options Options;
};

TEST_F(Rows, OfAPhotographInAHoldHasTheHoldsPose) {
  const auto Found = Of_Times({1.0, 4.0, 7.0});
  ASSERT_EQ(Found.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(Found[i].Row.Refusal, "");
    EXPECT_DOUBLE_EQ(Found[i].Row.Camera.Sample.Position[0], static_cast<double>(i) + 1.0);
    EXPECT_EQ(Found[i].Row.Board.Sample, Still_Board().Sample);
    EXPECT_DOUBLE_EQ(Found[i].Row.End_Seconds, Stops.Holds[i].End_Seconds);
  }
}

TEST_F(Rows, AreRefusedWithTheReason) {
  Camera.Samples[250].Is_Tracked = false;
  for (std::size_t i = 520; i < 560; ++i) Camera.Samples[i].Is_Tracked = false;
  Stops.Short = {{2.6, 2.9}};
  const auto Found = Of_Times({-3.0, 2.2, 2.8, 5.4, 12.5});
  EXPECT_THAT(Found[0].Row.Refusal, HasSubstr("3.0 s before the take"));
  EXPECT_THAT(Found[1].Row.Refusal, HasSubstr("while something moved"));
  EXPECT_THAT(Found[2].Row.Refusal, HasSubstr("stop of 0.30 s"));
  EXPECT_THAT(Found[3].Row.Refusal, HasSubstr("'cam' was lost"));
  EXPECT_THAT(Found[4].Row.Refusal, HasSubstr("4.5 s after the take"));
}

TEST_F(Rows, OfSeveralPhotographsInOneHoldIsTheOneNearestToItsMiddle) {
  const auto Found = Of_Times({3.3, 4.1, 4.6});
  EXPECT_THAT(Found[0].Row.Refusal, HasSubstr("same hold as IMG_1.jpg"));
  EXPECT_EQ(Found[1].Row.Refusal, "");
  EXPECT_THAT(Found[2].Row.Refusal, HasSubstr("same hold as IMG_1.jpg"));
}

// The second from 1.8 s on has the end of the first hold alone; that from 4.5 s on ends with 5.5 s.
TEST_F(Rows, OfTimesToASecondBelongToTheOnlyHoldOfThatSecond) {
  const auto Found = Of_Times({1.8, 4.5}, 1.0);
  EXPECT_DOUBLE_EQ(Found[0].Row.Camera.Sample.Position[0], 1.0);
  EXPECT_DOUBLE_EQ(Found[1].Row.Camera.Sample.Position[0], 2.0);
  const auto Long = Of_Times({1.8}, 2.0);
  EXPECT_THAT(Long[0].Row.Refusal, HasSubstr("2 holds"));
}

TEST_F(Rows, AreRefusedAboveTheLimitOfSpeedAndKeptOnIt) {
  Chance By(1);
  Camera = Track(
      "cam",
      [](double Seconds) {
        return Body_Pose{{0.004 * Seconds, 0.0, 0.0}, Eigen::Quaterniond::Identity()};
      },
      {100.0, 0.0, 8.0, 0.0, 0.0}, By);
  Options.Largest_Speed = {0.0041, 0.01};
  EXPECT_EQ(Of_Times({1.0})[0].Row.Refusal, "");
  EXPECT_NEAR(Of_Times({1.0})[0].Row.Camera.Velocity.Linear.x(), 0.004, 1e-9);
  Options.Largest_Speed = {0.0039, 0.01};
  EXPECT_THAT(Of_Times({1.0})[0].Row.Refusal, HasSubstr("'cam' moved: 4.0 mm/s"));
}

TEST_F(Rows, OfMovingBodiesHaveThePoseAtThePicturesTime) {
  Options.Pose = Pose_Choice::Picture;
  Options.Largest_Speed = {2.0, 1.0};
  const auto Found = Of_Times({2.503, 1.0, 1.2});
  EXPECT_EQ(Found[0].Row.Refusal, "");
  EXPECT_NEAR(Found[0].Row.Camera.Sample.Position[0], 1.503, 1e-9);
  EXPECT_NEAR(Found[0].Row.Camera.Velocity.Linear.x(), 1.0, 1e-9);
  EXPECT_EQ(Found[1].Row.Refusal, "");
  EXPECT_EQ(Found[2].Row.Refusal, "");  // two of one hold
}

Clip Clip_Of(double Begin, double End) {
  Clip Made;
  Made.File = "clip.mp4";
  for (int i = 0; i * 0.04 < End - Begin; ++i) Made.Frames.push_back({i * 0.04, 1.0F, 1.0F});
  return Made;
}

TEST_F(Rows, OfAClipAreTheSharpestFramesAwayFromTheEndsOfHolds) {
  Clip From = Clip_Of(0.0, 8.0);
  // Take's time is the clip's plus 100 s in Source(); here both begin together.
  Row_Source At = Source();
  At.Offset_Seconds = 0.0;
  From.Frames[5].Sharpness = 9.0F;    // 0.2 s: too near to the hold's begin
  From.Frames[30].Sharpness = 5.0F;   // 1.2 s
  From.Frames[60].Sharpness = 9.0F;   // 2.4 s: moving
  From.Frames[100].Sharpness = 5.0F;  // 4.0 s
  const auto Found = Rows_Of_Clip(From, At, Options);
  ASSERT_EQ(Found.size(), 3U);
  EXPECT_EQ(Found[0].Frame, std::optional<std::size_t>(30));
  EXPECT_EQ(Found[1].Frame, std::optional<std::size_t>(100));
  EXPECT_DOUBLE_EQ(Found[1].Row.Camera.Sample.Position[0], 2.0);
  EXPECT_NEAR(Found[1].Row.Picture_Seconds, 4.0, 1e-12);
}

TEST_F(Rows, OfAClipAreRefusedForHoldsThatItDoesNotShow) {
  Row_Source At = Source();
  At.Offset_Seconds = 2.9;  // from 2.9 to 5.1 s of the take
  const auto Found = Rows_Of_Clip(Clip_Of(2.9, 5.1), At, Options);
  EXPECT_THAT(Found[0].Row.Refusal, HasSubstr("before the clip begins"));
  EXPECT_EQ(Found[1].Row.Refusal, "");
  EXPECT_THAT(Found[2].Row.Refusal, HasSubstr("after the end of the clip"));
}

Imported_Row Row_With(const std::string& Picture, double X) {
  Imported_Row Row;
  Row.Picture = Picture;
  Row.Camera.Sample = {{X, -1.0 / 3.0, 1e-7}, {0.1, -0.7, 2.0 / 3.0, 0.2}};
  Row.Board = Still_Board();
  return Row;
}

TEST(CaptureCsv, ReadsBackAsTheSameDoublesWithoutTheRefusedRows) {
  std::vector<Imported_Row> List = {Row_With("a.png", 0.1), Row_With("b.png", 0.2),
                                    Row_With("images/c.png", 1.0 / 7.0)};
  List[1].Refusal = "taken while something moved";
  const std::filesystem::path File =
      std::filesystem::path(testing::TempDir()) / "rigsync_import_rows_test.csv";
  std::ofstream(File) << Capture_Csv(List, 0.0);
  const Capture_File Read = Read_Capture_File(File);
  std::filesystem::remove(File);
  EXPECT_EQ(Read.Header_Count, 1U);
  ASSERT_EQ(Read.Rows.size(), 2U);
  EXPECT_TRUE(Read.Rows[0].Is_Sound);
  EXPECT_EQ(Read.Rows[0].Camera, List[0].Camera.Sample);
  EXPECT_EQ(Read.Rows[1].Camera, List[2].Camera.Sample);
  EXPECT_EQ(Read.Rows[1].Board, Still_Board().Sample);
  EXPECT_EQ(Read.Rows[1].Image, "images/c.png");
  EXPECT_EQ(List[0].Csv_Line, std::optional<std::size_t>(2));
  EXPECT_FALSE(List[1].Csv_Line);
  EXPECT_EQ(List[2].Csv_Line, std::optional<std::size_t>(3));
}

TEST(CaptureCsv, RefusesAPathThatItCannotHold) {
  for (const char* Path : {"a,b.png", "a\nb.png", "a\rb.png"}) {
    std::vector<Imported_Row> List = {Row_With(Path, 0.1)};
    EXPECT_THROW(Capture_Csv(List, 0.0), Usage_Error) << Path;
  }
}

}  // namespace
}  // namespace rigsync
