// SPDX-License-Identifier: Apache-2.0
//
// The search in several threads. Its corners are those of the library's own run and of a single
// image, to the last bit, whatever the number of threads.
#include "rigsync/capture/board_search.h"

#include "rigsync/capture/board_detection.h"
#include "tests/core/capture/capture_stage.h"
#include "tests/support/counting_allocator.h"

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cstring>
#include <numeric>

// gcc has a macro for the thread sanitizer, clang a feature test.
#if defined(__SANITIZE_THREAD__)
#define RIGSYNC_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define RIGSYNC_THREAD_SANITIZER
#endif
#endif

namespace {

using rigsync::Board_Search;
using rigsync::Image_State;

const rigsync::Board_Size Board = {Photograph_Board.width, Photograph_Board.height};
constexpr std::size_t Thread_Counts[] = {1, 2, 3, 8};

// Images of the first one's size are searched in a copy that is 562.5 pixels high, with a window of
// 6.4; those of the other size would have 480 and 6.5 (board_detection_test.cpp).
const cv::Size First_Size(1536, 1200), Other_Size(1560, 1040);

// A capture whose first rows do not open. The first image that does is the slowest to read: it is
// compressed and shows no board.
class BoardSearch : public testing::Test {
 protected:
  BoardSearch() {
#if defined(RIGSYNC_THREAD_SANITIZER)
    // The sanitizer cannot see how OpenCV's thread pool synchronises, because OpenCV is not
    // instrumented. Only the threads of the search are tested.
    cv::setNumThreads(1);
#endif
    Add("", Image_State::Not_An_Image).Is_Image = false;
    Add("nowhere.bmp", Image_State::Missing);
    Add(Folder.Write("text.bmp", "no image"), Image_State::Unreadable);
    Add(Folder.Write("huge.bmp", Oversized_Bmp()), Image_State::Refused);
    cv::Mat Noise(First_Size, CV_8UC3);
    cv::RNG(1).fill(Noise, cv::RNG::UNIFORM, 0, 255);
    Add(Write_Image(Folder, "noise.png", Noise), Image_State::No_Board);
    Add_Board(0, Other_Size, Image_State::Other_Size);
    for (int i = 1; i < 8; ++i) Add_Board(i, First_Size, Image_State::Board_Found);
    Add(Folder.Write("more.bmp", "no image"), Image_State::Unreadable);
  }

  rigsync::Capture_Row& Add(const std::string& Path, Image_State State) {
    Rows.emplace_back();
    Rows.back().Image = Path;
    Readable.push_back(State != Image_State::Not_An_Image && State != Image_State::Missing);
    Expected.push_back(State);
    return Rows.back();
  }
  void Add_Board(int Index, cv::Size Size, Image_State State) {
    Add(Write_Image(Folder, std::to_string(Index) + ".bmp",
                    Draw_Board(Make_Pinhole(Size), Make_Pose(Index))),
        State);
  }

  Board_Search Search(std::size_t Threads, const rigsync::Search_Progress& Progress = {}) const {
    return rigsync::Search_Boards(Rows, Readable, "", Board, Progress, Threads);
  }

  Scratch_Folder Folder;
  std::vector<rigsync::Capture_Row> Rows;
  std::vector<bool> Readable;
  std::vector<Image_State> Expected;
};

bool Same_Bits(const std::vector<std::array<float, 2>>& Left,
               const std::vector<cv::Point2f>& Right) {
  static_assert(sizeof(std::array<float, 2>) == sizeof(cv::Point2f));
  if (Left.size() != Right.size()) return false;
  return Left.empty() ||  // empty lists may have no data at all
         std::memcmp(Left.data(), Right.data(), Left.size() * sizeof(cv::Point2f)) == 0;
}

TEST_F(BoardSearch, StatesSizesAndCornersAreTheSameWithAnyNumberOfThreads) {
  for (const std::size_t Threads : Thread_Counts) {
    SCOPED_TRACE(Threads);
    const Board_Search Found = Search(Threads);
    EXPECT_EQ(cv::Size(Found.Width, Found.Height), First_Size);
    ASSERT_EQ(Found.Images.size(), Rows.size());
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(Found.Images[i].State, Expected[i]);
      const cv::Mat Image = cv::imread(
          Readable[i] && Expected[i] != Image_State::Refused ? Rows[i].Image : std::string(),
          cv::IMREAD_COLOR);
      EXPECT_EQ(cv::Size(Found.Images[i].Width, Found.Images[i].Height), Image.size());
      const std::vector<cv::Point2f> Corners = Expected[i] == Image_State::Board_Found
                                                   ? rigsync::Detect_Board(Image, First_Size, Board)
                                                   : std::vector<cv::Point2f>();
      EXPECT_TRUE(Same_Bits(Found.Images[i].Corners, Corners));
    }
  }
}

TEST_F(BoardSearch, CornersAreThoseOfTheLibrarysRun) {
  std::vector<std::string> Paths;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (Readable[i] && Expected[i] != Image_State::Refused) Paths.push_back(Rows[i].Image);
  }
  Capture_Stage Stage(Paths);
  Stage.Run();
  // The library has the image of another size too; it stands first there.
  ASSERT_EQ(Stage.ImageCoordinate.size(), 8u);
  const Board_Search Found = Search(3);
  std::size_t k = 1;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (Expected[i] != Image_State::Board_Found) continue;
    EXPECT_TRUE(Same_Bits(Found.Images[i].Corners, Stage.ImageCoordinate[k++])) << i;
  }
  EXPECT_EQ(k, Stage.ImageCoordinate.size());
}

// The number of OpenCV's threads belongs to the process, and the library's run follows.
TEST_F(BoardSearch, OpenCVsOwnThreadsChangeNoCornerAndStayAsTheyAre) {
#if defined(RIGSYNC_THREAD_SANITIZER)
  GTEST_SKIP() << "the sanitizer cannot see how OpenCV's threads synchronise";
#endif
  const int Threads_Before = cv::getNumThreads();
  std::vector<Board_Search> Found;
  for (const int Own_Threads : {1, 2}) {
    cv::setNumThreads(Own_Threads);
    Found.push_back(Search(3));
    EXPECT_EQ(cv::getNumThreads(), Own_Threads);
  }
  cv::setNumThreads(Threads_Before);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    EXPECT_EQ(Found[0].Images[i].Corners, Found[1].Images[i].Corners) << i;
  }
}

TEST_F(BoardSearch, ProgressCountsEveryRow) {
  std::vector<std::size_t> Counted(Rows.size() + 1);
  std::iota(Counted.begin(), Counted.end(), std::size_t{0});
  for (const std::size_t Threads : Thread_Counts) {
    std::vector<std::size_t> Reported;
    Search(Threads, [&](std::size_t Done, std::size_t All) {
      Reported.push_back(Done);
      EXPECT_EQ(All, Rows.size());
    });
    EXPECT_EQ(Reported, Counted) << Threads;
  }
}

// OpenCV throws for a board of two by two corners.
TEST_F(BoardSearch, AnExceptionOfTheSearchReachesTheCaller) {
  for (const std::size_t Threads : Thread_Counts) {
    EXPECT_THROW(rigsync::Search_Boards(Rows, Readable, "", {2, 2}, {}, Threads), cv::Exception)
        << Threads;
  }
}

TEST_F(BoardSearch, EachThreadHoldsOneDecodedImage) {
  for (const cv::Size Size : {cv::Size(1200, 900), First_Size}) {  // as they are, and reduced
    Rows.clear(), Readable.clear(), Expected.clear();
    for (int i = 1; i < 8; ++i) Add_Board(i, Size, Image_State::Board_Found);
    for (const std::size_t Threads : Thread_Counts) {
      SCOPED_TRACE(testing::Message() << Size << ", " << Threads << " threads");
      // 3 bytes a pixel: grey copies and reduced ones stay below.
      Counting_Allocator Counter(static_cast<std::size_t>(3 * Size.area()));
      cv::MatAllocator* const Before = cv::Mat::getDefaultAllocator();
      cv::Mat::setDefaultAllocator(&Counter);
      const Board_Search Found = Search(Threads);
      cv::Mat::setDefaultAllocator(Before);
      EXPECT_EQ(Found.Usable_Count(), Rows.size());
      EXPECT_EQ(Counter.Total, static_cast<int>(Rows.size()));
      EXPECT_LE(Counter.Most, static_cast<int>(Threads));
      EXPECT_EQ(Counter.Alive, 0);
    }
  }
}

TEST(BoardSearchOfNothing, HasNoSizeAndNoImages) {
  const Board_Search Found = rigsync::Search_Boards({}, {}, "", Board, {}, 4);
  EXPECT_EQ(Found.Width, 0);
  EXPECT_TRUE(Found.Images.empty());
}

}  // namespace
