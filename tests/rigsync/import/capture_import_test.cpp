// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/capture_import.h"

#include "rigsync/import/body_motion.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/take/timecode.h"
#include "tests/rigsync/import/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rigsync {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

struct Staged {
  Session Of;
  Take Tracks;
};

Staged Make_Stage(const Session_Plan& Plan, unsigned Seed) {
  Chance By(Seed);
  Staged Made;
  Made.Of = Make_Session(Plan, By);
  const Tracker_Plan Tracker{100.0, -2.0, Made.Of.End_Seconds() + 2.0, 0.1, 0.01};
  Made.Tracks.Format = "a model";
  Made.Tracks.Bodies.push_back(Track(
      "cam", [&](double At) { return Made.Of.Camera_At(At); }, Tracker, By));
  Made.Tracks.Bodies.push_back(Track(
      "slate", [&](double At) { return Made.Of.Board_At(At); }, Tracker, By));
  return Made;
}

Import_Request Both_Bodies() {
  Import_Request Request;
  Request.Camera = "cam";
  Request.Board = "slate";
  return Request;
}

std::string Refusal(const std::function<void()>& Call) {
  try {
    Call();
  } catch (const Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

// 0.1 mm of noise on each axis, the median of a hundred samples and more.
constexpr double Noise_Left = 0.0001;

void Expect_Poses(const Staged& On, const Capture_Import& Made) {
  for (const Imported_Row& Row : Made.Record.Rows) {
    if (!Row.Refusal.empty()) continue;
    const double Middle = 0.5 * (Row.Begin_Seconds + Row.End_Seconds);
    EXPECT_LT(Distance_Between(Row.Camera.Sample, Sample_Of(On.Of.Camera_At(Middle))), Noise_Left);
    EXPECT_LT(Distance_Between(Row.Board.Sample, Sample_Of(On.Of.Board_At(Middle))), Noise_Left);
  }
}

TEST(CaptureImport, GivesEachHoldOfAClipItsPoseWithoutAStatedOffset) {
  const Staged On = Make_Stage({20, 1.2, 4.0, 0.7, 3.0}, 1);
  Chance By(2);
  const Clip From = Film(On.Of, {25.0, -3.0, On.Of.End_Seconds() + 1.0}, By);
  const Capture_Import Made = Import_Clip(On.Tracks, From, Both_Bodies());
  EXPECT_NEAR(Made.Record.Clock.Offset_Seconds, -3.0, 0.040);
  EXPECT_EQ(Made.Record.Hold_Count, 20U);
  EXPECT_EQ(Refusal_Reasons(Made.Record.Rows).size(), 0U);
  Expect_Poses(On, Made);
}

TEST(CaptureImport, GivesEachPhotographItsHoldWithoutAStatedOffset) {
  const Staged On = Make_Stage({25, 1.2, 4.0, 0.7, 3.0}, 3);
  Chance By(4);
  const Capture_Import Made =
      Import_Photographs(On.Tracks, Photograph_Holds(On.Of, 777.0, By), Both_Bodies());
  EXPECT_EQ(Made.Record.Rows.size(), 25U);
  EXPECT_EQ(Refusal_Reasons(Made.Record.Rows).size(), 0U);
  Expect_Poses(On, Made);
}

TEST(CaptureImport, RecordsTheAxesOfTheBodyOnTheCamera) {
  Staged On = Make_Stage({25, 1.2, 4.0, 0.7, 3.0}, 3);
  const auto Labels_Of = [&] {
    Chance By(4);
    return Import_Photographs(On.Tracks, Photograph_Holds(On.Of, 777.0, By), Both_Bodies())
        .Record.Camera_Labels;
  };
  EXPECT_EQ(Labels_Of(), Body_Labels::Unknown);
  On.Tracks.Bodies[1].Labels = Body_Labels::Right_Forward_Up;  // the board's
  EXPECT_EQ(Labels_Of(), Body_Labels::Unknown);
  On.Tracks.Bodies[0].Labels = Body_Labels::Right_Forward_Up;
  EXPECT_EQ(Labels_Of(), Body_Labels::Right_Forward_Up);
}

TEST(CaptureImport, RefusesAnOffsetThatIsNotCertainAndSaysWhatToDo) {
  const Staged On = Make_Stage({10, 3.0, 3.0, 2.0, 2.0}, 5);
  Chance By(6);
  const Photographs From = Photograph_Holds(On.Of, 50.0, By);
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, From, Both_Bodies()); }),
              AllOf(HasSubstr("--offset: "), HasSubstr("next best"), HasSubstr("hold irregularly"),
                    HasSubstr("has 10 holds, and photographs tell less than a clip")));
  Photographs Copied = From;
  Copied.Source = Time_Source::File_Time;
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, Copied, Both_Bodies()); }),
              HasSubstr("which a copy may have changed: see --times"));
  Copied.Source = Time_Source::Exif;
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, Copied, Both_Bodies()); }),
              Not(HasSubstr("a copy")));
  Import_Request Stated = Both_Bodies();
  Stated.Offset_Seconds = 50.0;
  Expect_Poses(On, Import_Photographs(On.Tracks, From, Stated));
}

TEST(CaptureImport, TakesTimecodesAndWarnsWhenMotionIsCertainOfAnotherOffset) {
  Staged On = Make_Stage({25, 1.2, 4.0, 0.7, 3.0}, 7);
  Chance By(8);
  Clip From = Film(On.Of, {25.0, 0.0, On.Of.End_Seconds()}, By);
  On.Tracks.Timecode_Start = 3600.0;
  From.Timecode_Start = 3600.0;
  const Capture_Import Right = Import_Clip(On.Tracks, From, Both_Bodies());
  EXPECT_EQ(Right.Record.Clock.Method, Clock_Method::Timecode);
  EXPECT_TRUE(Right.Warnings.empty());
  From.Timecode_Start = 3601.0;
  const Capture_Import Off = Import_Clip(On.Tracks, From, Both_Bodies());
  EXPECT_DOUBLE_EQ(Off.Record.Clock.Offset_Seconds, 1.0);
  ASSERT_EQ(Off.Warnings.size(), 1U);
  EXPECT_THAT(Off.Warnings[0], HasSubstr("The timecode says"));
}

// The clip begins 20 s after the take.
TEST(CaptureImport, WarnsOfMidnightWhereTheDayOfATimecodeMayNotHave24Hours) {
  Staged On = Make_Stage({25, 1.2, 4.0, 0.7, 3.0}, 19);
  const auto Warnings_At = [&](double Rate_Hz, double Take_Timecode, double Clip_Timecode) {
    Chance By(20);
    Clip From = Film(On.Of, {Rate_Hz, 20.0, On.Of.End_Seconds()}, By);
    On.Tracks.Timecode_Start = Take_Timecode;
    From.Timecode_Start = Clip_Timecode;
    const Capture_Import Made = Import_Clip(On.Tracks, From, Both_Bodies());
    EXPECT_NEAR(Made.Record.Clock.Offset_Seconds, 20.0, 1e-9);
    return Made.Warnings;
  };
  EXPECT_THAT(Warnings_At(30000.0 / 1001.0, 86395.0, 15.0),
              ElementsAre(AllOf(HasSubstr("29.97 frames a second"), HasSubstr("off by 86.4 s"),
                                HasSubstr("--offset"))));
  EXPECT_THAT(Warnings_At(24000.0 / 1001.0, 86395.0, 15.0), SizeIs(1));
  EXPECT_THAT(Warnings_At(30000.0 / 1001.0, 3600.0, 3620.0), IsEmpty());
  for (const double Whole : {24.0, 25.0, 30.0, 50.0, 60.0}) {
    EXPECT_THAT(Warnings_At(Whole, 86395.0, 15.0), IsEmpty()) << Whole;
  }
}

// A frame of the list is its resolution. Its clock is the time of day.
TEST(CaptureImport, WarnsOfMidnightForPhotographsWithTimecodesToo) {
  Staged On = Make_Stage({25, 1.2, 4.0, 0.7, 3.0}, 21);
  Chance By(22);
  Photographs From = Photograph_Holds(On.Of, 0.0, By);  // times of the take's clock
  From.Timecode_Start = 0.0;
  const auto Warnings_At = [&](double Rate_Hz) {
    From.Resolution_Seconds = 1.0 / Rate_Hz;
    return Import_Photographs(On.Tracks, From, Both_Bodies()).Warnings;
  };
  On.Tracks.Timecode_Start = Seconds_Per_Day;  // the list begins at midnight, the take just before
  EXPECT_THAT(Warnings_At(30000.0 / 1001.0), ElementsAre(HasSubstr("Midnight is between")));
  EXPECT_THAT(Warnings_At(25.0), IsEmpty());
}

TEST(CaptureImport, NamesTheBodiesThatThereAreWhenOneIsNot) {
  const Staged On = Make_Stage({3, 1.0, 2.0, 1.0, 2.0}, 9);
  Import_Request Request = Both_Bodies();
  Request.Board = "Slate";
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, {}, Request); }),
              AllOf(HasSubstr("--board: "), HasSubstr("'cam', 'slate'")));
  Request.Board = "cam";
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, {}, Request); }),
              HasSubstr("is the body of --camera"));
  EXPECT_THAT(Refusal([&] { Check_Bodies(On.Tracks, Request); }),
              HasSubstr("is the body of --camera"));
  Request.Board.clear();
  EXPECT_EQ(Refusal([&] { Check_Bodies(On.Tracks, Request); }), "");
}

TEST(CaptureImport, RefusesANameThatTwoBodiesHave) {
  Staged On = Make_Stage({3, 1.0, 2.0, 1.0, 2.0}, 16);
  for (Body_Track& Body : On.Tracks.Bodies) Body.Name = "poses";
  Import_Request Request;
  Request.Camera = Request.Board = "poses";
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, {}, Request); }),
              AllOf(HasSubstr("--camera: two bodies are called 'poses'"),
                    HasSubstr("rename the file"), Not(HasSubstr("leave --board out"))));
}

TEST(CaptureImport, WarnsOfOtherBodiesOfTheTakeWhenNoneIsNamedForTheBoard) {
  Staged On = Make_Stage({25, 1.2, 4.0, 0.7, 3.0}, 17);
  Chance By(18);
  const Photographs From = Photograph_Holds(On.Of, 0.0, By);
  Import_Request Request = Both_Bodies();
  Request.Offset_Seconds = 0.0;
  EXPECT_THAT(Import_Photographs(On.Tracks, From, Request).Warnings, IsEmpty());
  Request.Board.clear();
  EXPECT_THAT(Import_Photographs(On.Tracks, From, Request).Warnings,
              ElementsAre(AllOf(HasSubstr("'slate'"), HasSubstr("name it with --board"))));
  for (Timed_Sample& One : On.Tracks.Bodies[1].Samples) One.Is_Tracked = false;
  EXPECT_THAT(Import_Photographs(On.Tracks, From, Request).Warnings, IsEmpty());
}

TEST(CaptureImport, SaysThatATakeWithoutHoldsHasNone) {
  Staged On = Make_Stage({3, 1.0, 2.0, 1.0, 2.0}, 10);
  Import_Request Request = Both_Bodies();
  Request.Holds.Least_Seconds = 9.0;
  EXPECT_THAT(
      Refusal([&] { Import_Photographs(On.Tracks, {}, Request); }),
      AllOf(HasSubstr("--still: the take has no hold: both bodies never stand still together "
                      "for 9 s"),
            HasSubstr("3 shorter stops")));
  Request.Board.clear();
  Request.Holds.Least_Seconds = 100.0;
  EXPECT_THAT(Refusal([&] { Import_Photographs(On.Tracks, {}, Request); }),
              HasSubstr("no hold: the body never stands still for 100 s"));
}

TEST(CaptureImport, SaysWhyNoPictureHasARow) {
  const Staged On = Make_Stage({20, 1.2, 4.0, 0.7, 3.0}, 11);
  Chance By(12);
  Import_Request Request = Both_Bodies();
  Request.Offset_Seconds = 1e6;
  EXPECT_THAT(
      Refusal([&] { Import_Photographs(On.Tracks, Photograph_Holds(On.Of, 0.0, By), Request); }),
      AllOf(HasSubstr("--images: "), HasSubstr("20 times taken"), HasSubstr("after the take"),
            Not(HasSubstr("--max-speed"))));
}

TEST(CaptureImport, TellsWhoTypesCountsForTheBoardsBodyWhichFlagHasThem) {
  const Staged On = Make_Stage({3, 1.0, 2.0, 1.0, 2.0}, 14);
  Import_Request Request = Both_Bodies();
  const auto Refused = [&] { return Refusal([&] { Import_Photographs(On.Tracks, {}, Request); }); };
  Request.Board = "11x8";
  EXPECT_THAT(Refused(), AllOf(HasSubstr("--board: "), HasSubstr("--corners has the counts")));
  for (const char* Name : {"x8", "11x", "11x8x", "boxx", "118"}) {
    Request.Board = Name;
    EXPECT_THAT(Refused(), AllOf(HasSubstr("no body"), Not(HasSubstr("--corners")))) << Name;
  }
}

// A hand that carries the camera along at 10 mm/s, and never stands still.
Take Slow_Take() {
  Chance By(15);
  const Pose_At Camera = [](double At) {
    Body_Pose Pose;
    Pose.Position.x() = 0.010 * At;
    return Pose;
  };
  Take Tracks;
  Tracks.Bodies.push_back(Track("cam", Camera, {100.0, 0.0, 20.0, 0.0, 0.0}, By));
  return Tracks;
}

TEST(CaptureImport, NamesTheFlagsForABoardInAHandWhereSomethingMovesSlowly) {
  const Take Tracks = Slow_Take();
  Photographs From;
  for (const double Seconds : {5.0, 10.0}) From.Pictures.push_back({"one.png", Seconds});
  Import_Request Request;
  Request.Camera = "cam";
  Request.Offset_Seconds = 0.0;
  const auto Refused = [&] { return Refusal([&] { Import_Photographs(Tracks, From, Request); }); };
  Request.Holds.Rest = Speed_Limit{0.005, 0.01};
  EXPECT_THAT(Refused(), AllOf(HasSubstr("--still: "), HasSubstr("--pose picture")));
  Request.Holds.Rest = Speed_Limit{0.020, 0.01};
  EXPECT_THAT(Refused(), AllOf(HasSubstr("--images: "), HasSubstr("'cam' moved: 10.0 mm/s"),
                               HasSubstr("--max-speed allows more"), HasSubstr("--pose picture")));
  Request.Rows.Pose = Pose_Choice::Picture;
  EXPECT_THAT(Refused(), AllOf(HasSubstr("--max-speed allows more"), Not(HasSubstr("--pose"))));
}

TEST(CaptureImport, JoinsTakesOnOneClock) {
  Staged On = Make_Stage({3, 1.0, 2.0, 1.0, 2.0}, 13);
  Take First = On.Tracks, Second = On.Tracks;
  First.Bodies.pop_back();
  Second.Bodies.erase(Second.Bodies.begin());
  EXPECT_EQ(Joined_Takes(First, Second).Bodies.size(), 2U);
  // By timecode, Second's clock began 5 s after that of First and shows 5 s less.
  First.Timecode_Start = 86398.0;
  Second.Timecode_Start = 3.0;
  const double Before = Second.Bodies[0].Samples[0].Seconds;
  const Take Both = Joined_Takes(First, Second);
  EXPECT_DOUBLE_EQ(Both.Bodies[1].Samples[0].Seconds, Before + 5.0);
  Second.Timecode_Start = 3600.0;
  EXPECT_THAT(Refusal([&] { Joined_Takes(First, Second); }),
              HasSubstr("TAKE2: it has no time in common"));
}

}  // namespace
}  // namespace rigsync
