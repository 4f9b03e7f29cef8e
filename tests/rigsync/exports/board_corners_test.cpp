// SPDX-License-Identifier: Apache-2.0
//
// The table of corners: its form by hand, its order on the boards of the simulated capture.
#include "rigsync/exports/board_corners.h"

#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include <cmath>
#include <map>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

rigsync::Capture_Row Row(std::size_t Line, const std::string& Image, bool Is_Image = true) {
  rigsync::Capture_Row Made;
  Made.Line = Line;
  Made.Image = Image;
  Made.Is_Image = Is_Image;
  return Made;
}

TEST(BoardCorners, ATableHasALineForEachCornerAndDashesForAnImageWithout) {
  rigsync::Board_Search Search;
  Search.Images.resize(3);
  Search.Images[0].Corners = {{10.5f, 20.0f}, {11.25f, 20.0f}};
  EXPECT_EQ(rigsync::Corners_Table({Row(2, "a.png"), Row(3, "", false), Row(4, "b/c.png")}, Search,
                                   "A board."),
            "## A board.\n"
            "# filename x y level\n"
            "a.png 10.500000 20.000000 0\n"
            "a.png 11.250000 20.000000 0\n"
            "b/c.png - - -\n");
}

// A result of the simulated capture as far as the corners need it.
class Board_Corners : public testing::Test {
 protected:
  Board_Corners() {
    Result.Inputs.Csv = Capture_File("capture.csv");
    Result.Inputs.Image_Root = Result.Inputs.Csv.parent_path();
    Result.Inputs.Board = {7, 5};
    Result.Inputs.Square_Size = 0.03;
  }

  rigsync::File_Request Request() const { return rigsync::Request_From("result.json", Result); }

  std::string Refusal(const rigsync::File_Request& Asked) const {
    try {
      rigsync::Write_Corners(Asked);
    } catch (const rigsync::Usage_Error& Error) {
      return Error.what();
    }
    return "";
  }

  rigsync::Calibration_Result Result;
};

using Corner_List = std::vector<std::pair<double, double>>;

std::map<std::string, Corner_List> Corners_By_Image(const std::string& Text) {
  std::map<std::string, Corner_List> Found;
  std::istringstream Lines(Text);
  for (std::string Line; std::getline(Lines, Line);) {
    if (Line.rfind('#', 0) == 0) continue;
    std::istringstream Words(Line);
    std::string Image, Level;
    double X = 0, Y = 0;
    Words >> Image >> X >> Y >> Level;
    EXPECT_EQ(Level, "0") << Line;
    Found[Image].emplace_back(X, Y);
  }
  return Found;
}

// The mean direction of steps from one corner to the next along the board's rows, and from one row
// to the next.
std::pair<double, double> Step(const Corner_List& Corners, std::size_t Stride) {
  double X = 0, Y = 0;
  for (std::size_t i = 0; i + Stride < Corners.size(); i += Stride == 1 ? 7 : 1) {
    X += Corners[i + Stride].first - Corners[i].first;
    Y += Corners[i + Stride].second - Corners[i].second;
  }
  return {X, Y};
}

// A board seen from the front: turning from along a row to down a column is clockwise in the image,
// whose y is down. Corners in another order cross over.
TEST_F(Board_Corners, AreThoseOfEveryImageRowByRow) {
  const rigsync::File_Text Written = rigsync::Write_Corners(Request());
  EXPECT_THAT(Written.Text,
              StartsWith("## rigsync: the board of 7x5 inner corners in 14 of 14 images of 640 x "
                         "480 pixels, squares of 0.03 m\n# filename x y level\n"));
  const auto Found = Corners_By_Image(Written.Text);
  EXPECT_EQ(Found.size(), 14u);
  for (const auto& [Image, Corners] : Found) {
    ASSERT_EQ(Corners.size(), 35u) << Image;
    const auto [Row_X, Row_Y] = Step(Corners, 1);
    const auto [Column_X, Column_Y] = Step(Corners, 7);
    EXPECT_GT(Row_X * Column_Y - Row_Y * Column_X, 0.0) << Image;
    // Neighbours in a row are nearer to each other than the ends of two rows.
    for (std::size_t i = 1; i < Corners.size(); ++i) {
      const double Away = std::hypot(Corners[i].first - Corners[i - 1].first,
                                     Corners[i].second - Corners[i - 1].second);
      const double Whole_Row =
          std::hypot(Corners[6].first - Corners[0].first, Corners[6].second - Corners[0].second);
      if (i % 7 == 0) {
        EXPECT_GT(Away, 0.5 * Whole_Row) << Image << " " << i;
      } else {
        EXPECT_LT(Away, 0.35 * Whole_Row) << Image << " " << i;
      }
    }
  }
}

// Text that was written to standard error while it led to a terminal.
template <typename Function>
std::string Shown_On_Terminal(const Function& Do) {
  int Screen = -1, Line = -1;
  if (openpty(&Screen, &Line, nullptr, nullptr, nullptr) != 0) return "no terminal";
  const int Usual = dup(STDERR_FILENO);
  dup2(Line, STDERR_FILENO);
  Do();
  dup2(Usual, STDERR_FILENO);
  close(Usual);
  close(Line);
  std::string Text;
  char Part[256];
  for (ssize_t Size; (Size = read(Screen, Part, sizeof Part)) > 0;) {
    Text.append(Part, static_cast<std::size_t>(Size));
  }
  close(Screen);
  return Text;
}

TEST_F(Board_Corners, ATerminalShowsHowFarTheSearchIs) {
  const std::string Text = Shown_On_Terminal([this] { rigsync::Write_Corners(Request()); });
  for (const char* Progress : {" 1 of 14", " 7 of 14", " 14 of 14"}) {
    EXPECT_THAT(Text, HasSubstr(std::string("Searching for boards:") + Progress));
  }
}

TEST_F(Board_Corners, AnotherCaptureAndFolderAreReadWhereTheyAreStated) {
  const Scratch_Folder Scratch;
  rigsync::File_Request Asked = Request();
  Asked.Capture = Scratch.Write("one.csv",
                                "1,images/0001.png,0,0,0,1,0,0,0,0,0,0,1,0,0,0\n"
                                "2,images/none.png,0,0,0,1,0,0,0,0,0,0,1,0,0,0\n");
  Result.Hashes.Csv = rigsync::File_Sha256(Result.Inputs.Csv);
  EXPECT_TRUE(rigsync::Write_Corners(Request()).Warnings.empty());
  const rigsync::File_Text Written = rigsync::Write_Corners(Asked);
  ASSERT_EQ(Written.Warnings.size(), 1u);
  EXPECT_THAT(Written.Warnings[0],
              HasSubstr("one.csv is not the file that the result was made from"));
  const std::string& Text = Written.Text;
  EXPECT_THAT(Text, HasSubstr("in 1 of 2 images"));
  EXPECT_THAT(Text, testing::EndsWith("\nimages/none.png - - -\n"));
}

// They are those of the images, whatever the mount is.
TEST_F(Board_Corners, OfADoubtfulResultAreTheSame) {
  rigsync::File_Request Asked = Request();
  Asked.Doubts = "this result must not be used.";
  EXPECT_EQ(rigsync::Write_Corners(Asked).Text, rigsync::Write_Corners(Request()).Text);
}

TEST_F(Board_Corners, RefuseWhatTheTableCannotHoldAndACaptureWithoutBoards) {
  const Scratch_Folder Scratch;
  rigsync::File_Request Asked = Request();
  Asked.Image_Root = Scratch.Path();
  EXPECT_THAT(Refusal(Asked), StartsWith("--image-root: no image of "));
  Asked.Capture = Scratch.Write("blank.csv", "1,a b.png,0,0,0,1,0,0,0,0,0,0,1,0,0,0\n");
  EXPECT_THAT(Refusal(Asked), HasSubstr("blank.csv: line 1: the image path 'a b.png' has a blank"));
  Asked.Capture = Scratch.Path() / "none.csv";
  EXPECT_THAT(Refusal(Asked), HasSubstr("none.csv: doesn't exist"));
  Asked.Capture.clear();
  EXPECT_THAT(Refusal(Asked), StartsWith("--capture: missing."));
  for (const rigsync::Board_Size& None : {rigsync::Board_Size{7, 0}, rigsync::Board_Size{0, 5}}) {
    Result.Inputs.Board = None;
    EXPECT_THAT(Refusal(Request()), HasSubstr("result.json: 'inputs.board' is missing"));
  }
}

}  // namespace
