// SPDX-License-Identifier: Apache-2.0
//
// Captures that grow in a folder while they are watched. Nothing here waits: the next files come
// where the command would wait for them.
#include "rigsync/inspect/watch.h"

#include "simulate/simulate.h"
#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

using rigsync::Capture_Watch;
using rigsync::Finding;
using rigsync::Image_State;
using rigsync::Inspection;
using rigsync::Watched_Capture;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int Images = 14;

// A capture with noise, photographed once for all tests.
const fs::path& Photographed() {
  static const Scratch_Folder Folder;
  static const fs::path Made = [] {
    simulate::Options Options;
    Options.Image_Count = Images;
    Options.Width = 640;
    Options.Height = 480;
    Options.Board_Cols = 7;
    Options.Board_Rows = 5;
    Options.Position_Noise_Mm = 0.1;
    Options.Rotation_Noise_Deg = 0.01;
    Options.Paths = simulate::Path_Form::Relative;
    simulate::Write_Capture(simulate::Make_Plan(Options), Folder.Path());
    return Folder.Path();
  }();
  return Made;
}

class Watching : public testing::Test {
 protected:
  Watching() {
    std::istringstream Stream(Read_Text(Photographed() / "capture.csv"));
    for (std::string Line; std::getline(Stream, Line);) Lines.push_back(Line + "\n");
    fs::create_directory(Folder.Path() / "images");
    Inputs.Csv = Folder.Path() / "capture.csv";
    Inputs.Image_Root = Folder.Path();
    Inputs.Board.Board = {7, 5};
    Inputs.Board.Square_Size = 0.03;
  }

  // Of the images, counted from 1.
  static std::string Name_Of(int Image) {
    return std::string(Image < 10 ? "000" : "00") + std::to_string(Image) + ".png";
  }
  void Add_Image(int Image) const {
    fs::copy_file(Photographed() / "images" / Name_Of(Image),
                  Folder.Path() / "images" / Name_Of(Image));
  }
  // The header and the lines of the first images.
  void Write_Lines(int Count, const std::string& Unfinished = "") const {
    std::string Text;
    for (int i = 0; i <= Count; ++i) Text += Lines[static_cast<std::size_t>(i)];
    Folder.Write("capture.csv", Text + Unfinished);
  }
  void Add_Whole(int Image) const {
    Add_Image(Image);
    Write_Lines(Image);
  }

  Scratch_Folder Folder;
  std::vector<std::string> Lines;  // of the CSV: the header, then one for each image
  rigsync::Inspection_Inputs Inputs;
};

std::vector<std::string> Told(const Inspection& Inspected) {
  std::vector<std::string> Texts;
  for (const Finding& One : Inspected.All_Findings.Sorted()) {
    Texts.push_back(One.Id + One.What + One.Example + rigsync::Lines_Text(One.Lines));
  }
  return Texts;
}

TEST_F(Watching, EndsWithWhatAFreshInspectionSaysAndOpensEveryImageOnce) {
  Capture_Watch Watch(Inputs);
  for (int i = 1; i <= Images; ++i) {
    Add_Whole(i);
    EXPECT_TRUE(Watch.Look({})) << i;
  }
  const Inspection Fresh = rigsync::Inspect_Capture(Inputs, rigsync::Search_Progress());
  const Inspection& Watched = Watch.Capture().Inspected.value();
  EXPECT_EQ(Told(Watched), Told(Fresh));
  EXPECT_EQ(Watched.File.Rows.size(), Fresh.File.Rows.size());
  EXPECT_EQ(Watched.Frame_Coverage->Images, Fresh.Frame_Coverage->Images);
  EXPECT_EQ(Watched.Search->Width, Fresh.Search->Width);
  for (std::size_t i = 0; i < Fresh.Search->Images.size(); ++i) {
    EXPECT_EQ(Watched.Search->Images[i].Corners, Fresh.Search->Images[i].Corners) << i;
  }
  const auto& Joint = Fresh.Solution->Joint;
  ASSERT_EQ(Joint.Status, rigsync::Solve_Status::Solved);
  EXPECT_EQ(Watched.Solution->Joint.At.Transform_Cam_Tc.matrix(),
            Joint.At.Transform_Cam_Tc.matrix());
  EXPECT_EQ(Watch.Opened(), static_cast<std::size_t>(Images));
  EXPECT_THAT(Watch.Capture().Unlisted, IsEmpty());
}

TEST_F(Watching, LooksOnlyWhenSomethingChanged) {
  Add_Whole(1);
  Capture_Watch Watch(Inputs);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_FALSE(Watch.Look({}));
  Add_Image(2);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_FALSE(Watch.Look({}));
  EXPECT_EQ(Watch.Opened(), 2U);
}

TEST_F(Watching, ALineThatIsBeingWrittenIsLeftAloneUntilItIsWholeOrRests) {
  Add_Whole(1);
  Add_Image(2);
  Capture_Watch Watch(Inputs);
  Watch.Look({});
  Write_Lines(1, Lines[2].substr(0, 40));
  EXPECT_FALSE(Watch.Look({}));
  EXPECT_THAT(Watch.Capture().Inspected->File.Rows, SizeIs(1));
  Write_Lines(1, Lines[2].substr(0, 60));
  EXPECT_FALSE(Watch.Look({}));
  Write_Lines(2);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_THAT(Watch.Capture().Inspected->File.Rows, SizeIs(2));
  EXPECT_TRUE(Watch.Capture().Inspected->File.Rows[1].Is_Sound);
  // A last line without an end that nobody goes on with is read as a calibration would read it.
  Write_Lines(2, Lines[3].substr(0, 40));
  EXPECT_FALSE(Watch.Look({}));
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_THAT(Watch.Capture().Inspected->File.Rows, SizeIs(3));
  EXPECT_FALSE(Watch.Look({}));
}

TEST_F(Watching, AnImageThatIsBeingWrittenIsSearchedAgain) {
  Write_Lines(1);
  const std::string Whole = Read_Text(Photographed() / "images/0001.png");
  Folder.Write("images/0001.png", Whole.substr(0, Whole.size() / 2));
  Capture_Watch Watch(Inputs);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_EQ(Watch.Capture().Inspected->Search->Usable_Count(), 0U);
  Folder.Write("images/0001.png", Whole);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_EQ(Watch.Capture().Inspected->Search->Usable_Count(), 1U);
}

TEST_F(Watching, ImagesAreSearchedBeforeALineNamesThem) {
  Add_Image(1);
  Capture_Watch Watch(Inputs);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_FALSE(Watch.Capture().Inspected);
  EXPECT_NE(Watch.Capture().Why_Not, "");
  ASSERT_THAT(Watch.Capture().Unlisted, SizeIs(1));
  EXPECT_EQ(Watch.Capture().Unlisted[0].State, Image_State::Board_Found);
  const auto First = Watch.Capture().Advice.Pose.value().Transform_Cam_Chart;

  Add_Image(2);
  Folder.Write("images/0003.png", "nothing yet");
  EXPECT_TRUE(Watch.Look({}));
  ASSERT_THAT(Watch.Capture().Unlisted, SizeIs(3));
  EXPECT_EQ(Watch.Capture().Unlisted[2].State, Image_State::Unreadable);
  // What was photographed counts for the advice, although its samples are missing.
  EXPECT_FALSE(First.isApprox(Watch.Capture().Advice.Pose.value().Transform_Cam_Chart, 1e-3));

  Write_Lines(2);
  EXPECT_TRUE(Watch.Look({}));
  ASSERT_THAT(Watch.Capture().Unlisted, SizeIs(1));
  EXPECT_EQ(Watch.Capture().Unlisted[0].File.filename(), "0003.png");
  EXPECT_EQ(Watch.Capture().Inspected->Search->Usable_Count(), 2U);
  EXPECT_EQ(Watch.Opened(), 3U);
}

// Whoever mistypes the CSV's name must not see the images of another folder searched.
TEST_F(Watching, WithoutACsvTheImageRootItselfIsNotSearched) {
  fs::copy_file(Photographed() / "images" / Name_Of(1), Folder.Path() / "other.png");
  Add_Image(2);
  Capture_Watch Watch(Inputs);
  Watch.Look({});
  EXPECT_FALSE(Watch.Capture().Has_Csv);
  ASSERT_THAT(Watch.Capture().Unlisted, SizeIs(1));
  EXPECT_EQ(Watch.Capture().Unlisted[0].File.filename(), Name_Of(2));
  Write_Lines(0);
  Watch.Look({});
  EXPECT_TRUE(Watch.Capture().Has_Csv);
  EXPECT_THAT(Watch.Capture().Unlisted, SizeIs(2));
}

TEST_F(Watching, EndsByItselfOnlyWhenAskedToAndThereIsEnough) {
  int Image = 0, Looks = 0;
  const auto Take_Next = [&] {
    if (Image == Images) return false;
    Add_Whole(++Image);
    return true;
  };
  rigsync::Watch_Steps Steps;
  std::vector<bool> Enough;
  Steps.Show = [&](const Watched_Capture& Seen) {
    ++Looks;
    Enough.push_back(Seen.Advice.Is_Enough);
  };
  Steps.Wait = Take_Next;
  Capture_Watch Until(Inputs);
  rigsync::Watch(Until, /*Until_Enough=*/true, Steps);
  EXPECT_EQ(Image, 12);
  EXPECT_TRUE(Enough.back());
  EXPECT_EQ(std::count(Enough.begin(), Enough.end(), true), 1);

  Capture_Watch On(Inputs);
  rigsync::Watch(On, /*Until_Enough=*/false, Steps);
  EXPECT_EQ(Image, Images);
}

TEST_F(Watching, ACaptureThatHasOnlyBegunIsNotCalledFaulty) {
  for (int i = 1; i <= 7; ++i) Add_Whole(i);
  Capture_Watch Watch(Inputs);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_THAT(Watch.Capture().Advice.Doubts, IsEmpty());
}

TEST_F(Watching, AnErrorThatSpoilsTheCaptureIsNeverEnough) {
  for (int i = 1; i <= Images; ++i) Add_Image(i);
  // The camera's positions in millimetres.
  for (int i = 1; i <= Images; ++i) {
    std::string& Line = Lines[static_cast<std::size_t>(i)];
    std::istringstream Fields(Line.substr(0, Line.size() - 1));
    std::string Changed, Field;
    for (int k = 0; std::getline(Fields, Field, ','); ++k) {
      const bool Is_Position = (k >= 2 && k <= 4) || (k >= 9 && k <= 11);
      Changed +=
          (k > 0 ? "," : "") + (Is_Position ? std::to_string(1000 * std::stod(Field)) : Field);
    }
    Line = Changed + "\n";
  }
  Write_Lines(Images);
  Capture_Watch Watch(Inputs);
  EXPECT_TRUE(Watch.Look({}));
  EXPECT_FALSE(Watch.Capture().Advice.Is_Enough);
}

}  // namespace
