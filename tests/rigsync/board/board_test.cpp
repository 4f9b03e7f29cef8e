// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync board' as a print shop and a camera see it: the file is rendered by other programs, and
// the library's own detection looks for the board in the picture.
#include "rigsync/board/board_drawing.h"
#include "rigsync/capture/board_markers.h"
#include "rigsync/system/text.h"
#include "tests/core/capture/capture_stage.h"
#include "tests/rigsync/support/program.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <map>
#include <sstream>
#include <thread>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::DoubleNear;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

// 127 dots per inch are 5 pixels per millimetre: papers of whole millimetres are whole pixels.
constexpr double Pixels_Per_Mm = 5.0;
constexpr const char* Dots_Per_Inch = "127";

// Refinement stops at a step below 0.1 pixels, at either corner of a distance.
constexpr double Distance_Tolerance = 0.2;

Finished Draw(const std::string& Board, const std::string& Square, const std::string& Paper,
              const fs::path& Output, const std::vector<std::string>& More = {}) {
  std::vector<std::string> Words = {"board",   "--board", Board, "--square",     Square,
                                    "--paper", Paper,     "-o",  Output.string()};
  Words.insert(Words.end(), More.begin(), More.end());
  return Rigsync(Words);
}

void Require(const Finished& Done) {
  if (Done.Status != 0) throw std::runtime_error(Done.Error);
}

// The file as it prints, as a picture beside it. Of the two PDF renderers of their package this is
// the one that doesn't move edges to whole pixels.
std::string Rendered(const fs::path& Drawing) {
  fs::path Picture = Drawing;
  if (Drawing.extension() == ".svg") {
    Picture += ".png";
    Require(Run_Program(RIGSYNC_RSVG_CONVERT, {"-d", Dots_Per_Inch, "-p", Dots_Per_Inch, "-o",
                                               Picture.string(), Drawing.string()}));
    return Picture.string();
  }
  Require(Run_Program(RIGSYNC_PDFTOCAIRO, {"-r", Dots_Per_Inch, "-png", "-singlefile",
                                           Drawing.string(), Picture.string()}));
  return Picture.string() + ".png";
}

cv::Mat Grey_Picture(const fs::path& Drawing) {
  const cv::Mat Picture = cv::imread(Rendered(Drawing), cv::IMREAD_GRAYSCALE);
  if (Picture.empty()) throw std::runtime_error("nothing was rendered of " + Drawing.string());
  return Picture;
}

// What the library's detection finds, or nothing. One image is too few for a lens, so that the
// stage ends with its lists ready to be looked at.
std::vector<cv::Point2f> Found_In(const std::string& Picture, cv::Size Board) {
  Capture_Stage Stage({Picture});
  Stage.Board = Board;
  EXPECT_EQ(Stage.Run(), 4);
  return Stage.ImageCoordinate.empty() ? std::vector<cv::Point2f>() : Stage.ImageCoordinate.front();
}

double Distance(const cv::Point2f& A, const cv::Point2f& B) {
  return std::hypot(double(A.x) - B.x, double(A.y) - B.y);
}

// Between each corner and the next in its row, and the one below it.
std::vector<double> Neighbour_Distances(const std::vector<cv::Point2f>& Corners, cv::Size Board) {
  std::vector<double> Distances;
  const auto Width = static_cast<std::size_t>(Board.width);
  for (std::size_t i = 0; i < Corners.size(); ++i) {
    if (i % Width + 1 < Width) Distances.push_back(Distance(Corners[i], Corners[i + 1]));
    if (i + Width < Corners.size()) Distances.push_back(Distance(Corners[i], Corners[i + Width]));
  }
  return Distances;
}

std::string Counts(cv::Size Board) {
  return std::to_string(Board.width) + "x" + std::to_string(Board.height);
}

struct Drawn {
  cv::Size Board;
  const char* Square;
  double Square_Mm;
  const char* Paper;
  cv::Size Page_Mm;
};

// Wide and tall boards, strips below and beside, named and own papers, squares of broken length.
const Drawn Boards[] = {
    {{11, 8}, "30mm", 30.0, "a3", {420, 297}},      {{8, 11}, "17mm", 17.0, "a4", {210, 297}},
    {{7, 6}, "2.5cm", 25.0, "a4", {297, 210}},      {{11, 8}, "22.3mm", 22.3, "A3", {420, 297}},
    {{10, 4}, "0.02", 20.0, "300x120", {300, 120}},
};

TEST(Board, TheLibraryFindsThePrintedCornersASquareApartOnBothAxes) {
  const Scratch_Folder Scratch;
  for (const Drawn& Asked : Boards) {
    for (const char* Ending : {".svg", ".pdf"}) {
      SCOPED_TRACE(Counts(Asked.Board) + " on " + Asked.Paper + Ending);
      const fs::path Output = Scratch.Path() / (std::string("board") + Ending);
      const Finished Done = Draw(Counts(Asked.Board), Asked.Square, Asked.Paper, Output);
      ASSERT_EQ(Done.Status, 0) << Done.Error;
      const std::vector<cv::Point2f> Corners = Found_In(Rendered(Output), Asked.Board);
      ASSERT_EQ(Corners.size(), static_cast<std::size_t>(Asked.Board.area()));
      const double Square = Asked.Square_Mm * Pixels_Per_Mm;
      EXPECT_THAT(Neighbour_Distances(Corners, Asked.Board),
                  Each(DoubleNear(Square, Distance_Tolerance)));
      // The diagonal leaves no room for a scale of its own on either axis, nor for a lean.
      EXPECT_NEAR(Distance(Corners.front(), Corners.back()),
                  std::hypot(Asked.Board.width - 1, Asked.Board.height - 1) * Square,
                  Distance_Tolerance);
    }
  }
}

TEST(Board, ThePageHasThePapersSize) {
  const Scratch_Folder Scratch;
  for (const Drawn& Asked : Boards) {
    for (const char* Ending : {".svg", ".pdf"}) {
      SCOPED_TRACE(std::string(Asked.Paper) + Ending);
      const fs::path Output = Scratch.Path() / (std::string("board") + Ending);
      Draw(Counts(Asked.Board), Asked.Square, Asked.Paper, Output);
      const cv::Mat Picture = Grey_Picture(Output);
      // A renderer rounds a page up to whole pixels.
      EXPECT_NEAR(Picture.cols, Asked.Page_Mm.width * Pixels_Per_Mm, 1.0);
      EXPECT_NEAR(Picture.rows, Asked.Page_Mm.height * Pixels_Per_Mm, 1.0);
    }
  }
}

// However the board is held, detection's first corner is the one at the print's top left, and the
// second is the next one to the right: --board-offset and --board-euler rely on it.
TEST(Board, TheFirstCornerIsAtTheTopLeftWhereOneCountIsEvenAndOneOdd) {
  const Scratch_Folder Scratch;
  for (const cv::Size Board : {cv::Size(11, 8), cv::Size(8, 11), cv::Size(7, 6), cv::Size(6, 7),
                               cv::Size(4, 9), cv::Size(9, 4)}) {
    const fs::path Output = Scratch.Path() / "board.svg";
    Require(Draw(Counts(Board), "15mm", "a4", Output));
    const cv::Mat Upright = Grey_Picture(Output);
    const std::vector<cv::Point2f> Corners = Found_In(Rendered(Output), Board);
    ASSERT_EQ(Corners.size(), static_cast<std::size_t>(Board.area()));
    const double Square = 15.0 * Pixels_Per_Mm;
    EXPECT_NEAR(Corners[1].x - Corners[0].x, Square, Distance_Tolerance) << Board;
    EXPECT_NEAR(Corners[static_cast<std::size_t>(Board.width)].y - Corners[0].y, Square,
                Distance_Tolerance)
        << Board;
    for (const int Turn :
         {cv::ROTATE_90_CLOCKWISE, cv::ROTATE_180, cv::ROTATE_90_COUNTERCLOCKWISE}) {
      SCOPED_TRACE(Counts(Board) + " turned " + std::to_string(Turn));
      cv::Mat Turned;
      cv::rotate(Upright, Turned, Turn);
      const std::vector<cv::Point2f> Again =
          Found_In(Write_Image(Scratch, "turned.bmp", Turned), Board);
      ASSERT_EQ(Again.size(), Corners.size());
      const float W = static_cast<float>(Upright.cols - 1),
                  H = static_cast<float>(Upright.rows - 1);
      const cv::Point2f First = Corners[0];
      const cv::Point2f Expected = Turn == cv::ROTATE_180 ? cv::Point2f(W - First.x, H - First.y)
                                   : Turn == cv::ROTATE_90_CLOCKWISE
                                       ? cv::Point2f(H - First.y, First.x)
                                       : cv::Point2f(First.y, W - First.x);
      EXPECT_LE(Distance(Again[0], Expected), Distance_Tolerance);
    }
  }
}

// The board on a black table, a little out of focus, from above and from a slant.
std::vector<cv::Mat> On_Black_Ground(const cv::Mat& Page) {
  const cv::Size Frame(1280, 720);
  const auto W = static_cast<float>(Page.cols), H = static_cast<float>(Page.rows);
  const cv::Point2f From[] = {{0, 0}, {W, 0}, {W, H}, {0, H}};
  const float Scale = 600.0f / std::max(H, W * 0.6f);
  const float X = 640.0f - 0.5f * W * Scale, Y = 360.0f - 0.5f * H * Scale;
  const cv::Point2f Straight[] = {
      {X, Y}, {X + W * Scale, Y}, {X + W * Scale, Y + H * Scale}, {X, Y + H * Scale}};
  const cv::Point2f Slanted[] = {{X + 150, Y + 30},
                                 {X + W * Scale - 60, Y + 100},
                                 {X + W * Scale - 100, Y + H * Scale - 130},
                                 {X + 60, Y + H * Scale - 10}};
  std::vector<cv::Mat> Views;
  for (const auto& To : {Straight, Slanted}) {
    cv::Mat View;
    cv::warpPerspective(Page, View, cv::getPerspectiveTransform(From, To), Frame, cv::INTER_AREA,
                        cv::BORDER_CONSTANT, cv::Scalar(0));
    cv::GaussianBlur(View, View, cv::Size(), 1.0);
    Views.push_back(View);
  }
  return Views;
}

// The least margin that the command prints is enough even where nothing white continues it.
TEST(Board, DetectionFindsTheTightestBoardOnABlackGround) {
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.svg";
  // The largest squares for these papers, which the refusal names.
  for (const auto& [Board, Square, Paper] :
       {std::tuple{cv::Size(11, 8), "30.7mm", "a3"}, {cv::Size(6, 9), "26.3mm", "a4"}}) {
    SCOPED_TRACE(Counts(Board));
    Require(Draw(Counts(Board), Square, Paper, Output));
    for (const cv::Mat& View : On_Black_Ground(Grey_Picture(Output))) {
      EXPECT_EQ(Found_In(Write_Image(Scratch, "view.bmp", View), Board).size(),
                static_cast<std::size_t>(Board.area()));
    }
  }
}

// Where the dark marks along a line of the picture have their middles, in pixels. A renderer gives
// an edge between two pixels as a shade of grey, so that the middle is the darkness's centre.
std::vector<double> Mark_Middles(const cv::Mat& Line) {
  std::vector<double> Middles;
  double Weight = 0.0, Moment = 0.0;
  for (int x = 0; x < Line.cols; ++x) {
    const double Dark = 255.0 - Line.at<uchar>(0, x);
    if (Dark < 1.0 && Weight > 0.0) {
      Middles.push_back(Moment / Weight);
      Weight = Moment = 0.0;
    }
    Weight += Dark;
    Moment += Dark * (x + 0.5);
  }
  return Middles;
}

// The picture's line that runs along the strip, so far outwards from the strip's inner edge.
cv::Mat Line_Of_Strip(const cv::Mat& Picture, bool Beside, double Outwards_Mm) {
  const double From_Edge = (rigsync::Strip_Depth - Outwards_Mm) * Pixels_Per_Mm;
  if (!Beside) return Picture.row(static_cast<int>(Picture.rows - From_Edge)).clone();
  return Picture.col(static_cast<int>(Picture.cols - From_Edge)).t();
}

TEST(Board, TheRulerMeasuresWhatItSaysInMillimetreTicks) {
  // Coverage is rounded to 8 bits, a thousandth of a pixel for a mark of one; ten times that.
  constexpr double Mark_Tolerance = 0.01;
  struct Case {
    const char *Board, *Square, *Paper;
    bool Beside;
    int Ruler;
  };
  // On the smallest paper the longest that fits is shorter than 100.
  const Case Cases[] = {{"8x3", "20mm", "a4", false, 100},
                        {"11x8", "30mm", "a3", true, 100},
                        {"4x3", "5mm", "60x50", false, 20}};
  const Scratch_Folder Scratch;
  for (const Case& Asked : Cases) {
    for (const char* Ending : {".svg", ".pdf"}) {
      SCOPED_TRACE(std::string(Asked.Paper) + Ending);
      const fs::path Output = Scratch.Path() / (std::string("board") + Ending);
      const Finished Done = Draw(Asked.Board, Asked.Square, Asked.Paper, Output);
      EXPECT_THAT(Done.Output,
                  HasSubstr("ruler            " + std::to_string(Asked.Ruler) + " mm"));
      const cv::Mat Picture = Grey_Picture(Output);
      const std::vector<double> All = Mark_Middles(Line_Of_Strip(Picture, Asked.Beside, 1.0));
      ASSERT_EQ(All.size(), static_cast<std::size_t>(Asked.Ruler + 1));
      for (std::size_t i = 0; i < All.size(); ++i) {
        EXPECT_NEAR(All[i] - All[0], static_cast<double>(i) * Pixels_Per_Mm, Mark_Tolerance);
      }
      const std::vector<double> Tens = Mark_Middles(Line_Of_Strip(Picture, Asked.Beside, 3.5));
      ASSERT_EQ(Tens.size(), static_cast<std::size_t>(Asked.Ruler / 10 + 1));
      EXPECT_NEAR(Tens.back() - Tens.front(), Asked.Ruler * Pixels_Per_Mm, Mark_Tolerance);
    }
  }
}

TEST(Board, NothingIsPrintedInTheWhiteMargin) {
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.svg";
  for (const Drawn& Asked : Boards) {
    SCOPED_TRACE(Counts(Asked.Board) + " on " + Asked.Paper);
    const Finished Done = Draw(Counts(Asked.Board), Asked.Square, Asked.Paper, Output);
    const std::string Label = "white margin     ";
    const double Printed_Margin =
        std::stod(Done.Output.substr(Done.Output.find(Label) + Label.size()));
    EXPECT_GE(Printed_Margin + 0.05, std::max(5.0, Asked.Square_Mm / 3.0));
    const std::string Picture = Rendered(Output);
    const std::vector<cv::Point2f> Corners = Found_In(Picture, Asked.Board);
    ASSERT_FALSE(Corners.empty());
    // The outer edge of the board lies a square beyond the outer inner corners.
    const double Square = Asked.Square_Mm * Pixels_Per_Mm, Margin = Printed_Margin * Pixels_Per_Mm;
    const auto Near = [](double Value) { return static_cast<int>(std::lround(Value)); };
    const cv::Rect Board(
        cv::Point(Near(Corners.front().x - Square), Near(Corners.front().y - Square)),
        cv::Point(Near(Corners.back().x + Square), Near(Corners.back().y + Square)));
    // A pixel less on both sides for rounding.
    const int Reach = static_cast<int>(Margin) - 1;
    const cv::Rect Around(Board.x - Reach, Board.y - Reach, Board.width + 2 * Reach,
                          Board.height + 2 * Reach);
    cv::Mat Page = cv::imread(Picture, cv::IMREAD_GRAYSCALE);
    EXPECT_EQ(Around & cv::Rect(cv::Point(), Page.size()), Around);
    cv::rectangle(Page, cv::Rect(Board.x - 1, Board.y - 1, Board.width + 3, Board.height + 3),
                  cv::Scalar(255), cv::FILLED);
    EXPECT_EQ(cv::countNonZero(Page(Around) != 255), 0);
  }
}

TEST(Board, TheTextTellsCountsSquareAndRuler) {
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.pdf";
  const auto Text_Of = [&](const char* Board) {
    Require(Draw(Board, "22.5mm", "a3", Output));
    return Run_Program(RIGSYNC_PDFTOTEXT, {Output.string(), "-"}).Output;
  };
  EXPECT_THAT(
      Text_Of("11x8"),
      HasSubstr("11 x 8 inner corners, squares of 22.5 mm. Print at 100 %: the ruler is 100 "
                "mm long. The first corner is at the top left."));
  EXPECT_THAT(Text_Of("11x9"), AllOf(HasSubstr("11 x 9"), Not(HasSubstr("first corner"))));
}

// ---- Markers ---------------------------------------------------------------------------------

// The markers' corners are those of the printed squares, to whole pixels.
constexpr double Marker_Tolerance_Px = 2.0;

// Where a board of these squares has its markers: the first row of squares begins with a black one,
// the next with a white one, and so on.
void Expect_Markers(const std::vector<rigsync::Seen_Marker>& Found, cv::Size Board,
                    const cv::Point2f& First_Corner, double Square, int First_Id, double Size) {
  std::map<int, const rigsync::Seen_Marker*> By_Id;
  for (const rigsync::Seen_Marker& Marker : Found) By_Id[Marker.Id] = &Marker;
  EXPECT_EQ(By_Id.size(), Found.size()) << "each marker once";
  int Id = First_Id;
  for (int Row = 0; Row <= Board.height; ++Row) {
    for (int Col = Row % 2 == 0 ? 1 : 0; Col <= Board.width; Col += 2, ++Id) {
      ASSERT_EQ(By_Id.count(Id), 1u) << Id;
      const double Free = (1.0 - Size) / 2.0;
      const cv::Point2f Top_Left(static_cast<float>(First_Corner.x + (Col - 1 + Free) * Square),
                                 static_cast<float>(First_Corner.y + (Row - 1 + Free) * Square));
      const auto Edge = static_cast<float>(Size * Square);
      const cv::Point2f Corners[] = {Top_Left, Top_Left + cv::Point2f(Edge, 0),
                                     Top_Left + cv::Point2f(Edge, Edge),
                                     Top_Left + cv::Point2f(0, Edge)};
      for (std::size_t k = 0; k < 4; ++k) {
        const auto& [X, Y] = By_Id[Id]->Corners[k];
        EXPECT_LE(Distance({X, Y}, Corners[k]), Marker_Tolerance_Px) << Id << " corner " << k;
      }
    }
  }
  EXPECT_EQ(static_cast<std::size_t>(Id - First_Id), Found.size()) << "and no other";
}

TEST(Board, WithMarkersTheLibraryFindsEveryCornerAndEveryMarkerIsUprightInItsSquare) {
  if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  struct Case {
    cv::Size Board;
    const char* Square;
    double Square_Mm;
    const char *Paper, *Ending;
    std::vector<std::string> Flags;
    int First_Id;
    double Size;
  };
  const Case Cases[] = {
      {{11, 8}, "30mm", 30.0, "a3", ".svg", {"--markers"}, 0, 0.5},
      {{11, 8}, "30mm", 30.0, "a3", ".pdf", {"--markers", "946"}, 946, 0.5},
      {{8, 11}, "17mm", 17.0, "a4", ".svg", {"--markers=54", "--marker-size", "0.4"}, 54, 0.4},
      {{10, 4}, "20mm", 20.0, "300x120", ".pdf", {"--markers", "7"}, 7, 0.5},
  };
  const Scratch_Folder Scratch;
  for (const Case& Asked : Cases) {
    SCOPED_TRACE(Counts(Asked.Board) + Asked.Ending);
    const fs::path Output = Scratch.Path() / (std::string("board") + Asked.Ending);
    Require(Draw(Counts(Asked.Board), Asked.Square, Asked.Paper, Output, Asked.Flags));
    const std::string Picture = Rendered(Output);
    const std::vector<cv::Point2f> Corners = Found_In(Picture, Asked.Board);
    ASSERT_EQ(Corners.size(), static_cast<std::size_t>(Asked.Board.area()));
    const double Square = Asked.Square_Mm * Pixels_Per_Mm;
    EXPECT_THAT(Neighbour_Distances(Corners, Asked.Board),
                Each(DoubleNear(Square, Distance_Tolerance)));
    Expect_Markers(rigsync::Find_Markers(cv::imread(Picture)), Asked.Board, Corners[0], Square,
                   Asked.First_Id, Asked.Size);
  }
}

TEST(Board, TheStripTellsWhichMarkersTheBoardHas) {
  if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.pdf";
  Require(Draw("11x8", "30mm", "a3", Output, {"--markers", "54"}));
  EXPECT_THAT(Run_Program(RIGSYNC_PDFTOTEXT, {Output.string(), "-"}).Output,
              HasSubstr("11 x 8 inner corners, squares of 30 mm, ArUco markers 54 to 107 of "
                        "4x4_1000. Print at 100 %"));
}

TEST(Board, MarkersThatThereAreNotOrThatSpoilTheBoardAreRefused) {
  if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.svg";
  struct Case {
    const char* Board;
    std::vector<std::string> Flags;
    const char* Why;
  };
  const Case Cases[] = {
      {"11x8", {"--markers", "947"}, "--markers: a board of 11x8 has 54 white squares"},
      {"11x8", {"--markers", "947"}, "so FIRST is at most 946"},
      {"60x60", {"--markers"}, "a board of 60x60 has 1860 white squares, but there are only 1000"},
      {"11x8", {"--markers", "first"}, "--markers: 'first' is wrong"},
      {"11x8", {"--markers", "--marker-size", "0.51"}, "--marker-size: '0.51' is wrong"},
      {"11x8", {"--markers", "--marker-size", "0.29"}, "--marker-size: '0.29' is wrong"},
      {"11x8", {"--marker-size", "0.4"}, "--marker-size requires --markers"},
  };
  for (const Case& Asked : Cases) {
    const Finished Refused = Draw(Asked.Board, "10mm", "a0", Output, Asked.Flags);
    EXPECT_EQ(Refused.Status, 2) << Asked.Why;
    EXPECT_THAT(Refused.Said, HasSubstr(Asked.Why));
  }
  EXPECT_FALSE(fs::exists(Output));
}

TEST(Board, ABoardThatJustFitsIsDrawnAndAMillimetreLessOfPaperIsRefused) {
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.svg";
  // 6 by 5 squares of 30 mm with 10 mm of margin and 16 mm of strip: 200 by 186 with the strip
  // below, 216 by 170 with it beside.
  for (const char* Paper : {"200x186", "186x200", "216x170"}) {
    EXPECT_EQ(Draw("5x4", "30mm", Paper, Output).Status, 0) << Paper;
  }
  fs::remove(Output);
  for (const char* Paper : {"199x186", "200x185", "215x170", "216x169"}) {
    EXPECT_EQ(Draw("5x4", "30mm", Paper, Output).Status, 2) << Paper;
  }
  EXPECT_FALSE(fs::exists(Output));
}

TEST(Board, ARefusalNamesTheLargestSquareAndTheSmallestPaperThatFit) {
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.pdf";
  const Finished Refused = Draw("11x8", "31mm", "a3", Output);
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, AllOf(HasSubstr("the board doesn't fit"), HasSubstr("372 x 279 mm"),
                                  HasSubstr("a3 measures 420 x 297 mm"),
                                  HasSubstr("largest square for a3 is 30.7 mm"),
                                  HasSubstr("smallest paper for squares of 31 mm is a2")));
  EXPECT_FALSE(fs::exists(Output));
  EXPECT_EQ(Draw("11x8", "30.7mm", "a3", Output).Status, 0);
  EXPECT_EQ(Draw("11x8", "30.8mm", "a3", Output).Status, 2);
  EXPECT_EQ(Draw("11x8", "31mm", "a2", Output).Status, 0);
  EXPECT_THAT(Draw("11x8", "28mm", "letter", Output).Said, HasSubstr("28 mm is tabloid."));
  EXPECT_THAT(Draw("11x8", "20cm", "a4", Output).Said, HasSubstr("any paper up to a0"));
}

TEST(Board, AWarningNamesWhatMakesABoardWorse) {
  const Scratch_Folder Scratch;
  const fs::path Output = Scratch.Path() / "board.svg";
  for (const char* Board : {"7x5", "8x6"}) {
    EXPECT_THAT(Draw(Board, "20mm", "a4", Output).Said,
                HasSubstr("looks the same after half a turn"));
  }
  EXPECT_EQ(Draw("8x5", "20mm", "a4", Output).Error, "");
  // A margin of exactly a square: 420 = 14 squares, and 297 less 16 leave more than 9.
  EXPECT_EQ(Draw("11x6", "30mm", "a3", Output).Error, "");
  EXPECT_THAT(Draw("11x8", "30mm", "a3", Output).Said,
              HasSubstr("white margin of 13.5 mm is narrower than a square (30 mm)"));
}

TEST(Board, TheSameBoardIsTheSameFile) {
  const Scratch_Folder Scratch;
  for (const char* Ending : {".svg", ".pdf"}) {
    const fs::path First = Scratch.Path() / (std::string("first") + Ending);
    const fs::path Second = Scratch.Path() / (std::string("second") + Ending);
    Require(Draw("8x5", "20mm", "a4", First));
    // A creation time in the file would differ by now.
    if (First.extension() == ".pdf") std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    Require(Draw("8x5", "20mm", "a4", Second));
    EXPECT_EQ(Read_Text(First), Read_Text(Second)) << Ending;
  }
}

TEST(Board, AnEarlierFileIsReplacedAndNoOtherFileIsTouched) {
  const Scratch_Folder Scratch;
  Scratch.Write("board.svg", "an earlier board");
  Scratch.Write("notes.txt", "mine");
  Require(Draw("8x5", "20mm", "a4", Scratch.Path() / "board.svg"));
  EXPECT_EQ(Draw("8x5", "90mm", "a4", Scratch.Path() / "board.svg").Status, 2);
  EXPECT_THAT(Read_Text(Scratch.Path() / "board.svg"), HasSubstr("297mm"));
  EXPECT_EQ(Read_Text(Scratch.Path() / "notes.txt"), "mine");
  EXPECT_EQ(std::distance(fs::directory_iterator(Scratch.Path()), fs::directory_iterator()), 2);
}

TEST(Board, AnOutputThatCannotBecomeAFileIsRefused) {
  const Scratch_Folder Scratch;
  fs::create_directory(Scratch.Path() / "folder.svg");
  const std::pair<std::string, const char*> Cases[] = {
      {Scratch.String() + "/none/board.svg", "a file in an existing folder"},
      {Scratch.String() + "/board.png", "ends in .svg or .pdf"},
      {Scratch.String() + "/board", "ends in .svg or .pdf"},
      {Scratch.String() + "/.pdf", "ends in .svg or .pdf"},
      {Scratch.String() + "/folder.svg", "a regular file or a new name"},
      {"/proc/board.svg", "can't be written"}};
  for (const auto& [Output, Why] : Cases) {
    SCOPED_TRACE(Output);
    const Finished Refused = Draw("8x5", "20mm", "a4", Output);
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_EQ(Refused.Output, "");
    EXPECT_THAT(Refused.Said, AllOf(HasSubstr("--output"), HasSubstr(Why)));
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(Scratch.Path()), fs::directory_iterator()), 1);
}

TEST(Board, TheExamplesOfTheHelpWork) {
  const Scratch_Folder Scratch;
  std::istringstream Help(Rigsync({"board", "--help"}).Output);
  int Examples = 0;
  for (std::string Line; std::getline(Help, Line);) {
    std::istringstream Text(Line);
    std::vector<std::string> Words{std::istream_iterator<std::string>(Text), {}};
    if (Words.size() < 3 || Words[0] != "rigsync") continue;
    ++Examples;
    const bool Needs_Module = std::find(Words.begin(), Words.end(), "--markers") != Words.end();
    if (Needs_Module && !rigsync::Can_Find_Markers()) continue;
    EXPECT_EQ(Rigsync({Words.begin() + 1, Words.end()}, Scratch.Path()).Status, 0) << Line;
    EXPECT_TRUE(fs::exists(Scratch.Path() / Words.back())) << Line;
  }
  EXPECT_EQ(Examples, 3);
}

TEST(Board, APaperMayBeWrittenInCapitalsAndWithAnyMultiplicationSign) {
  const Scratch_Folder Scratch;
  const std::pair<const char*, const char*> Cases[] = {{"A3", "a3"},
                                                       {"Letter", "letter"},
                                                       {"297X420", "297X420"},
                                                       {"297 x 420", "297 x 420"},
                                                       {"297\xc3\x97"
                                                        "420",
                                                        "297\xc3\x97"
                                                        "420"}};
  for (const auto& [Paper, Name] : Cases) {
    SCOPED_TRACE(Paper);
    const Finished Drawn = Draw("11x8", "15mm", Paper, Scratch.Path() / "board.svg");
    EXPECT_EQ(Drawn.Status, 0) << Drawn.Error;
    const std::string Size =
        std::string(Name) == "letter" ? " (279.4 x 215.9 mm)" : " (420 x 297 mm)";
    EXPECT_THAT(rigsync::One_Line(Drawn.Output), testing::HasSubstr("on " + (Name + Size)));
  }
}

TEST(Board, APaperThatIsNoneIsRefusedWithThoseThereAre) {
  for (const char* Paper : {"a5", "420", "420x297x1", "49x100", "100x5001", "-1x100", ""}) {
    SCOPED_TRACE(Paper);
    const Finished Refused = Draw("8x5", "20mm", Paper, "board.svg");
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_THAT(Refused.Said, AllOf(HasSubstr("--paper: '" + std::string(Paper) + "'"),
                                    HasSubstr("a4, a3"), HasSubstr("50 to 5000")));
  }
}

}  // namespace
