// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/watch_report.h"

#include "rigsync/report/pose_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using rigsync::Board_Distance;
using rigsync::Board_Roll;
using rigsync::Image_State;
using rigsync::Inspection;
using rigsync::Level;
using rigsync::Near_Part;
using rigsync::Next_Pose;
using rigsync::Pose_Parts;
using rigsync::Shortage;
using rigsync::Watched_Capture;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

// Twelve boards of 14 images, not certain yet.
Watched_Capture Unfinished() {
  Watched_Capture Capture;
  Capture.Inputs.Csv = "somewhere/capture.csv";
  Inspection Inspected;
  Inspected.File.Rows.resize(14);
  Inspected.Search.emplace();
  Inspected.Search->Width = 1600;
  Inspected.Search->Height = 900;
  Inspected.Search->Images.resize(14);
  for (int i = 0; i < 12; ++i) {
    Inspected.Search->Images[static_cast<std::size_t>(i)].State = Image_State::Board_Found;
  }
  Inspected.Frame_Coverage = rigsync::Coverage{16, 9, std::vector<int>(144, 1)};
  Inspected.Board_Poses = rigsync::Pose_Spread{0.5, 1.25, 3, 44, 20, 20};
  Capture.Inspected = Inspected;
  Capture.Advice.Short_Of = {Shortage::Certainty};
  Capture.Advice.Widths_Now = rigsync::Mount_Widths{2.2, 0.051};
  Next_Pose Pose;
  Pose.Parts.Roll = Board_Roll::Quarter_Right;
  Pose.Parts.Distance = Board_Distance::Near;
  Pose.Parts.Place = {-1, -1};
  Pose.Parts.Nearest = Near_Part::Lower_Right;
  Pose.Parts.Tilt_Deg = 40;
  Pose.After = rigsync::Mount_Widths{1.9, 0.044};
  Capture.Advice.Pose = Pose;
  return Capture;
}

std::string Joined(const std::vector<std::string>& Lines) {
  std::string Text;
  for (const std::string& Line : Lines) Text += Line + "\n";
  return Text;
}

// A line break may be anywhere in the advice.
std::string On_One_Line(const Watched_Capture& Capture) {
  std::string Text = Joined(rigsync::Watch_Lines(Capture, false));
  for (char& Letter : Text) {
    if (Letter == '\n') Letter = ' ';
  }
  return Text;
}

void Expect_To_Fit(const Watched_Capture& Capture) {
  const std::vector<std::string> Lines = rigsync::Watch_Lines(Capture, false);
  EXPECT_LE(Lines.size(), 23U) << Joined(Lines);
  for (const std::string& Line : Lines) EXPECT_LE(Line.size(), 80U) << Line;
}

TEST(PoseText, SaysRollDistancePlaceAndTilt) {
  Pose_Parts Parts = Unfinished().Advice.Pose->Parts;
  EXPECT_EQ(rigsync::Pose_Text(Parts, false),
            "roll the board a quarter turn to the right, near, upper left, lower right corner "
            "tilted 40 degrees towards the camera");
  Parts.Roll = Board_Roll::As_Before;
  Parts.Nearest = Near_Part::None;
  Parts.Place = {1, 0};
  Parts.Distance = Board_Distance::Far;
  EXPECT_EQ(rigsync::Pose_Text(Parts, false),
            "keep the board's roll, far, right, facing the camera");
  EXPECT_THAT(rigsync::Pose_Text(Parts, true), StartsWith("hold the board upright, far"));
}

TEST(WatchReport, HasTheFiguresAndTheNextPose) {
  const std::string Text = On_One_Line(Unfinished());
  EXPECT_THAT(Text, StartsWith("'capture.csv': board found in 12 of 14 data lines"));
  EXPECT_THAT(Text, HasSubstr("100 percent of the frame"));
  EXPECT_THAT(Text, HasSubstr("3 to 44 degrees"));
  EXPECT_THAT(Text, HasSubstr("0.50 to 1.25 m"));
  EXPECT_THAT(Text, HasSubstr("+- 2.2 mm, limit 3"));
  EXPECT_THAT(Text, HasSubstr("+- 0.051 degrees, limit 0.3"));
  EXPECT_THAT(Text, HasSubstr("+- 1.9 mm"));
  // Two thirds of the limits at 99 %: 2 / (2.576 / 1.960) = 1.52, and a tenth of it.
  EXPECT_THAT(Text, HasSubstr("known to +- 1.5 mm and 0.15 degrees"));
  EXPECT_THAT(Text,
              HasSubstr("Next: roll the board a quarter turn to the right, near, upper left"));
  Expect_To_Fit(Unfinished());
}

TEST(WatchReport, SaysWhenThereIsEnough) {
  Watched_Capture Capture = Unfinished();
  Capture.Advice.Is_Enough = true;
  Capture.Advice.Short_Of.clear();
  const std::string Text = On_One_Line(Capture);
  EXPECT_THAT(Text, HasSubstr("Enough: the mount is known to +- 2.2 mm and 0.051 degrees."));
  EXPECT_THAT(Text, Not(HasSubstr("Next:")));
  EXPECT_THAT(Text, Not(HasSubstr("Missing:")));
}

TEST(WatchReport, NamesAnImageWithoutALine) {
  Watched_Capture Capture = Unfinished();
  Capture.Unlisted = {{"images/0015.png", Image_State::No_Board},
                      {"images/0016.png", Image_State::Board_Found}};
  EXPECT_THAT(rigsync::Watch_Lines(Capture, false),
              Contains("no line in the CSV yet: 0016.png (board found) and 1 more image"));
}

TEST(WatchReport, ALineThatStandsOutIsToldOnceThereAreTwelveBoards) {
  Watched_Capture Capture = Unfinished();
  Capture.Inspected->All_Findings.Add(
      {"sample_disagrees", Level::Warning, "The samples disagree.", "", "", {3}});
  EXPECT_THAT(On_One_Line(Capture), HasSubstr("warning, line 3: The samples disagree."));
  Capture.Advice.Short_Of = {Shortage::Boards};
  EXPECT_THAT(On_One_Line(Capture), Not(HasSubstr("disagree")));
}

// The most that may have to be told at once, with a frame that is higher than wide.
TEST(WatchReport, AlwaysFitsAScreenAndKeepsTheAdvice) {
  Watched_Capture Capture = Unfinished();
  Capture.Inputs.Csv = std::string(200, 'x') + ".csv";
  Capture.Inspected->Frame_Coverage = rigsync::Coverage{9, 16, std::vector<int>(144, 4)};
  Capture.Unlisted = {{std::string(300, 'y') + ".png", Image_State::No_Board}};
  for (int i = 0; i < 12; ++i) {
    const Level Severity = i < 6 ? Level::Warning : Level::Error;
    Capture.Inspected->All_Findings.Add(
        {"id" + std::to_string(i), Severity, "What is so: " + std::string(100, 'z'), "", "", {3}});
  }
  Capture.Advice.Short_Of = {Shortage::Boards, Shortage::Mount, Shortage::Certainty,
                             Shortage::Soundness};
  Capture.Advice.Doubts = {rigsync::Verdict_Reason::Slip_Suspected,
                           rigsync::Verdict_Reason::Last_Rows_Left_Out,
                           rigsync::Verdict_Reason::Lens_Does_Not_Fit};
  Expect_To_Fit(Capture);
  EXPECT_THAT(On_One_Line(Capture), HasSubstr("towards the camera."));
  Capture.Inspected->Frame_Coverage = rigsync::Coverage{16, 9, std::vector<int>(144, 4)};
  Expect_To_Fit(Capture);
  EXPECT_THAT(On_One_Line(Capture), HasSubstr("error, line 3: What is so"));
}

TEST(WatchReport, WaitsForACsvThatIsNotThereYet) {
  Watched_Capture Capture;
  Capture.Has_Csv = false;
  Capture.Inputs.Csv = "/stage/" + std::string(100, 'x') + "/monday/../capture.csv";
  Capture.Why_Not = "capture.csv: doesn't exist";
  Capture.Advice.Short_Of = {Shortage::Boards, Shortage::Mount};
  Capture.Advice.Pose = Next_Pose();
  const std::string Text = On_One_Line(Capture);
  std::string Unbroken = Joined(rigsync::Watch_Lines(Capture, false));
  Unbroken.erase(std::remove(Unbroken.begin(), Unbroken.end(), '\n'), Unbroken.end());
  EXPECT_THAT(Unbroken, StartsWith("'capture.csv' does not exist yet: /stage/" +
                                   std::string(100, 'x') + "/capture.csv"));
  EXPECT_THAT(Text, HasSubstr("Next: hold the board upright, at a middle distance, centre"));
  // The map of a frame of 16 by 9 cells without a corner.
  const std::string Border = "+" + std::string(32, '-') + "+";
  std::vector<std::string> Map = {Border};
  Map.resize(10, "|" + std::string(32, ' ') + "|");
  Map.push_back(Border);
  const std::vector<std::string> Lines = rigsync::Watch_Lines(Capture, false);
  const auto First = std::find_if(Lines.begin(), Lines.end(), [&](const std::string& Line) {
    return Line.substr(0, Border.size()) == Border;
  });
  ASSERT_GE(Lines.end() - First, 11);
  for (std::size_t i = 0; i < Map.size(); ++i) {
    EXPECT_EQ(First[static_cast<std::ptrdiff_t>(i)].substr(0, Border.size()), Map[i]);
  }
  Expect_To_Fit(Capture);
}

}  // namespace
