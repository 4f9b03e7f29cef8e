// SPDX-License-Identifier: Apache-2.0
//
// Clips: what their frames show, and the file that they are in.
#include "simulate/clip.h"

#include "simulate/avi.h"
#include "simulate/geometry.h"
#include "simulate/motion.h"
#include "simulate/render.h"

#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using simulate::Clip_Frames;
using simulate::Make_Plan;
using simulate::Options;
using simulate::Plan;

Options Short_Clip() {
  Options Settings;
  Settings.Seed = 8;
  Settings.Width = 320;
  Settings.Height = 240;
  Settings.Board_Cols = 6;
  Settings.Board_Rows = 5;
  Settings.Image_Count = 3;
  Settings.Recording.Clip = true;
  return Settings;
}

cv::Mat Rays_Of(const Plan& Capture) {
  return simulate::Make_Pixel_Rays(Capture.True_Lens, Capture.Settings.Width,
                                   Capture.Settings.Height);
}

double Mean_Difference(const cv::Mat& A, const cv::Mat& B) {
  return cv::norm(A, B, cv::NORM_L1) / static_cast<double>(A.total() * 3);
}

bool Are_Equal(const cv::Mat& A, const cv::Mat& B) {
  return cv::norm(A, B, cv::NORM_INF) == 0.0;
}

// The first frame at or after a time.
std::size_t Frame_After(double Seconds) {
  return static_cast<std::size_t>(std::ceil(Seconds * simulate::Clip_Rate_Hz));
}

TEST(ClipFrames, AreThePhotographsDuringHoldsButForTheSensorsNoise) {
  Options Settings = Short_Clip();
  Settings.Sensor_Noise = 0.0;
  Settings.Blank_Count = 1;
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  Clip_Frames Frames(Capture, Rays);
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    const simulate::Hold& Still = Capture.Images[i].Still;
    const cv::Mat Photograph = simulate::Render_Photograph(Capture, i, Rays);
    const std::size_t First = Frame_After(Still.Begin);
    EXPECT_TRUE(Are_Equal(Frames.Frame(First), Photograph)) << i;
    EXPECT_TRUE(Are_Equal(Frames.Frame(First + 5), Photograph)) << i;
    EXPECT_TRUE(Are_Equal(Frames.Frame(Frame_After(Still.End) - 1), Photograph)) << i;
  }
}

TEST(ClipFrames, DifferByNoiseOnlyInHoldsAndByMoreInMoves) {
  const Options Settings = Short_Clip();
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  Clip_Frames Frames(Capture, Rays);
  // The mean absolute difference of two normal numbers is 2 / sqrt(pi) standard deviations. 230000
  // of them are within half a percent; rounding to whole grey levels adds less than that again.
  const double Of_Noise = 2.0 * Settings.Sensor_Noise / std::sqrt(simulate::Pi);
  cv::Mat Before = Frames.Frame(0);
  std::vector<double> Largest(Capture.Images.size(), 0.0);
  for (std::size_t n = 1; n < simulate::Clip_Frame_Count(Capture); ++n) {
    const cv::Mat Now = Frames.Frame(n);
    const double Difference = Mean_Difference(Before, Now);
    Before = Now;
    const double Seconds = static_cast<double>(n) / simulate::Clip_Rate_Hz;
    const std::size_t Index = simulate::Image_At(Capture, Seconds);
    const simulate::Hold& Still = Capture.Images[Index].Still;
    const bool Both_Still =
        Seconds <= Still.End && Seconds - 1.0 / simulate::Clip_Rate_Hz >= Still.Begin;
    if (Both_Still) {
      EXPECT_NEAR(Difference / Of_Noise, 1.0, 0.02) << Seconds;
    }
    Largest[Index] = std::max(Largest[Index], Difference);
  }
  for (std::size_t i = 0; i + 1 < Largest.size(); ++i) EXPECT_GE(Largest[i], 2.0 * Of_Noise) << i;
}

TEST(ClipFrames, ShowTheBoardWhereItIsAtTheirTime) {
  Options Settings = Short_Clip();
  Settings.Sensor_Noise = 0.0;
  Settings.Recording.Drift_Mm_Per_Second = 20.0;
  Settings.Recording.Clock_Offset = 0.3;
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  Clip_Frames Frames(Capture, Rays);
  for (const simulate::Image_Truth& Image : Capture.Images) {
    const std::size_t Number = Frame_After(Image.Still.Picture - 0.3);
    // The same photograph, with the board where the motion has it at that time of the take's clock.
    Plan Moved = Capture;
    const std::size_t Index = static_cast<std::size_t>(&Image - Capture.Images.data());
    const double Seconds = static_cast<double>(Number) / simulate::Clip_Rate_Hz + 0.3;
    Moved.Images[Index].Transform_Cam_Chart =
        simulate::Transform_Cam_Chart_Of(Capture, simulate::Pose_At(Capture, Seconds));
    EXPECT_TRUE(Are_Equal(Frames.Frame(Number), simulate::Render_Photograph(Moved, Index, Rays)));
  }
}

// From the even grey of a picture without a board to the next background. The next board comes with
// the second half of the move.
TEST(ClipFrames, FadeFromOneBackgroundToTheNextAsFarAsTheMoveHasCome) {
  Options Settings = Short_Clip();
  Settings.Sensor_Noise = 0.0;
  Plan Capture = Make_Plan(Settings);
  Capture.Images[0].Kind = simulate::Row_Kind::Blank_Image;
  const cv::Mat Rays = Rays_Of(Capture);
  const cv::Mat From = simulate::Draw_Room(Capture, 0), To = simulate::Draw_Room(Capture, 1);
  ASSERT_GE(Mean_Difference(From, To), 2.0);
  Clip_Frames Frames(Capture, Rays);
  int Moving = 0;
  const std::size_t Last = Frame_After(Capture.Images[1].Still.Begin);
  for (std::size_t n = Frame_After(Capture.Images[0].Still.End); n < Last; ++n) {
    const double Part =
        simulate::Progress_At(Capture, static_cast<double>(n) / simulate::Clip_Rate_Hz);
    if (Part < 0.05 || Part >= 0.5) continue;
    ++Moving;
    const cv::Mat Mixed = From * (1.0 - Part) + To * Part;
    const cv::Mat Expected = simulate::Expose(Capture.Settings, 0, Mixed);
    // Both are rounded to whole grey levels, of sums in single precision.
    EXPECT_LE(cv::norm(Frames.Frame(n), Expected, cv::NORM_INF), 1.0) << Part;
  }
  EXPECT_GE(Moving, 3);
}

TEST(ClipFrames, AreTheSameInAnyOrder) {
  const Plan Capture = Make_Plan(Short_Clip());
  const cv::Mat Rays = Rays_Of(Capture);
  Clip_Frames Forward(Capture, Rays), Backward(Capture, Rays);
  const std::size_t Step = 20, Count = simulate::Clip_Frame_Count(Capture) / Step;
  std::vector<cv::Mat> Drawn;
  for (std::size_t k = 0; k < Count; ++k) Drawn.push_back(Forward.Frame(Step * k));
  for (std::size_t k = Count; k-- > 0;) {
    EXPECT_TRUE(Are_Equal(Backward.Frame(Step * k), Drawn[k])) << k;
  }
}

// ---- Boards where no photograph has one ------------------------------------------------------

// A grey picture with the board at a pose, in front of a lens without distortion.
cv::Mat Picture_Of(const Eigen::Matrix4d& Transform_Cam_Chart) {
  Options Settings = Short_Clip();
  Settings.K1 = Settings.K2 = 0.0;
  const Plan Capture = Make_Plan(Settings);
  cv::Mat Picture(Settings.Height, Settings.Width, CV_32FC3, cv::Scalar::all(100.0));
  simulate::Draw_Board_In(Capture, Transform_Cam_Chart, Rays_Of(Capture), Picture);
  return Picture;
}

double Darkest(const cv::Mat& Picture) {
  double Least = 0.0;
  cv::minMaxLoc(Picture.reshape(1), &Least);
  return Least;
}

double Share_Of_Board(const cv::Mat& Picture) {
  cv::Mat Plane;
  cv::extractChannel(Picture, Plane, 0);
  return cv::countNonZero(Plane != 100.0) / static_cast<double>(Plane.total());
}

// The centre of the board of 6 by 5 corners.
const Eigen::Vector3d Centre_Chart(0.075, 0.06, 0.0);

Eigen::Matrix4d Board_At(const Eigen::Matrix3d& Rotation, const Eigen::Vector3d& Centre_Cam) {
  return simulate::Pose_From(Rotation, Centre_Cam - Rotation * Centre_Chart);
}

TEST(DrawBoardIn, ShowsBlankPaperFromBehind) {
  const Eigen::Vector3d Ahead(0, 0, 0.6);
  const cv::Mat Front = Picture_Of(Board_At(Eigen::Matrix3d::Identity(), Ahead));
  const cv::Mat Back = Picture_Of(Board_At(simulate::Rotation_Y(simulate::Pi), Ahead));
  EXPECT_LT(Darkest(Front), 50.0);
  EXPECT_EQ(Darkest(Back), 100.0) << "the picture around it";
  // Both sides have the same outline, through which a pixel of the edge may fall otherwise.
  EXPECT_NEAR(Share_Of_Board(Back), Share_Of_Board(Front), 0.001);
}

TEST(DrawBoardIn, DrawsNothingOfABoardBehindTheCameraOrBesideTheFrame) {
  for (const Eigen::Vector3d& Centre_Cam :
       {Eigen::Vector3d(0, 0, -0.6), Eigen::Vector3d(5, 0, 0.6), Eigen::Vector3d(-5, 0, 0.6),
        Eigen::Vector3d(0, 5, 0.6), Eigen::Vector3d(0, -5, 0.6)}) {
    EXPECT_EQ(Share_Of_Board(Picture_Of(Board_At(Eigen::Matrix3d::Identity(), Centre_Cam))), 0.0)
        << Centre_Cam.transpose();
  }
}

TEST(DrawBoardIn, FillsTheFrameUpToTheHorizonOfABoardThatPassesBelowTheCamera) {
  // A board of metres, flat below the camera: it covers what is below the horizon, the middle row.
  Eigen::Matrix3d Flat = simulate::Rotation_X(0.5 * simulate::Pi);
  Options Settings = Short_Clip();
  Settings.K1 = Settings.K2 = 0.0;
  Settings.Norm_Cy = 0.5;
  Settings.Square_Size = 1.0;
  const Plan Capture = Make_Plan(Settings);
  cv::Mat Picture(Settings.Height, Settings.Width, CV_32FC3, cv::Scalar::all(100.0));
  // Half a metre below; the pose's z has to point away from the camera, down.
  if (Flat.col(2).y() < 0.0) Flat = simulate::Rotation_X(-0.5 * simulate::Pi);
  const Eigen::Matrix4d Pose =
      simulate::Pose_From(Flat, Eigen::Vector3d(0, 0.5, 0) - Flat * Eigen::Vector3d(2.5, 2, 0));
  simulate::Draw_Board_In(Capture, Pose, Rays_Of(Capture), Picture);
  cv::Mat Plane;
  cv::extractChannel(Picture, Plane, 0);
  const cv::Mat Upper = Plane.rowRange(0, Settings.Height / 2 - 5);
  // The far edge is 4 metres ahead: 0.5 / 4 of the focal length below the horizon.
  const int Edge = static_cast<int>(Settings.Height / 2 + 0.5 / 4.0 * 1.1 * Settings.Width);
  const cv::Mat Lower = Plane.rowRange(Edge + 5, Settings.Height);
  EXPECT_EQ(cv::countNonZero(Upper != 100.0), 0);
  EXPECT_EQ(cv::countNonZero(Lower == 100.0), 0);
}

TEST(DrawBoardIn, CoversTheFrameWithABoardThatPassesBesideTheCamera) {
  // A board of metres in the plane x + z = 0.05: every ray of the frame meets it within ten
  // centimetres, and the board goes on behind the camera. Of 16 points along its edge, the last one
  // before the camera is at (-0.2, 0.25), left of the frame, and the next one behind it.
  Options Settings = Short_Clip();
  Settings.K1 = Settings.K2 = 0.0;
  Settings.Square_Size = 1.0;
  const Plan Capture = Make_Plan(Settings);
  cv::Mat Picture(Settings.Height, Settings.Width, CV_32FC3, cv::Scalar::all(100.0));
  const Eigen::Matrix3d Rotation = simulate::Rotation_Y(0.25 * simulate::Pi);
  const double Along = -2.0 + 9.0 * 12 / 16;  // squares, from the corner at which the chart begins
  const Eigen::Matrix4d Pose = simulate::Pose_From(
      Rotation, Eigen::Vector3d(-0.2, 0.0, 0.25) - Rotation * Eigen::Vector3d(Along, 2.0, 0.0));
  simulate::Draw_Board_In(Capture, Pose, Rays_Of(Capture), Picture);
  EXPECT_EQ(Share_Of_Board(Picture), 1.0);
}

// ---- The file --------------------------------------------------------------------------------

std::uint32_t Word_At(const std::string& File, std::size_t Place) {
  std::uint32_t Word = 0;
  for (std::size_t k = 0; k < 4; ++k) {
    Word |= static_cast<std::uint32_t>(static_cast<unsigned char>(File.at(Place + k))) << (8 * k);
  }
  return Word;
}

struct Read_Clip {
  std::uint32_t Rate = 0, Frame_Count = 0, Width = 0, Height = 0;
  std::vector<std::string> Frames;
};

// Follows the file's index, and the frames one after another, and expects the same of both.
Read_Clip Read_Avi(const std::string& File) {
  EXPECT_EQ(File.substr(0, 4), "RIFF");
  EXPECT_EQ(Word_At(File, 4) + 8, File.size());
  EXPECT_EQ(File.substr(8, 4), "AVI ");
  Read_Clip Clip;
  const std::size_t Main = File.find("avih") + 8, Stream = File.find("strh") + 8,
                    Movie = File.find("movi"), Index = File.rfind("idx1");
  EXPECT_EQ(Word_At(File, Main), 40000u) << "microseconds for a frame";
  Clip.Frame_Count = Word_At(File, Main + 16);
  Clip.Width = Word_At(File, Main + 32);
  Clip.Height = Word_At(File, Main + 36);
  EXPECT_EQ(File.substr(Stream, 8), "vidsMJPG");
  EXPECT_EQ(Word_At(File, Stream + 20), 1u);
  Clip.Rate = Word_At(File, Stream + 24);
  EXPECT_EQ(Word_At(File, Stream + 32), Clip.Frame_Count);
  EXPECT_EQ(Movie + Word_At(File, Movie - 4), Index);
  EXPECT_EQ(Word_At(File, Index + 4), 16 * Clip.Frame_Count);
  std::size_t Place = Movie + 4;
  for (std::size_t i = 0; i < Clip.Frame_Count; ++i) {
    const std::size_t Entry = Index + 8 + 16 * i;
    const std::uint32_t Size = Word_At(File, Entry + 12);
    EXPECT_EQ(File.substr(Entry, 4), "00dc");
    EXPECT_EQ(Movie + Word_At(File, Entry + 8), Place);
    EXPECT_EQ(File.substr(Place, 4), "00dc");
    EXPECT_EQ(Word_At(File, Place + 4), Size);
    Clip.Frames.push_back(File.substr(Place + 8, Size));
    Place += 8 + Size + Size % 2;
  }
  EXPECT_EQ(Place, Index);
  // The size of a player's buffer, and as many bytes in a second as the largest frames would take.
  std::size_t Largest = 0;
  for (const std::string& Frame : Clip.Frames) Largest = std::max(Largest, Frame.size());
  EXPECT_EQ(Word_At(File, Main + 28), Largest);
  EXPECT_EQ(Word_At(File, Main + 4), 25 * Largest);
  EXPECT_EQ(Word_At(File, Stream + 36), Largest);
  return Clip;
}

TEST(WriteClip, HoldsEveryFrameAsAJpeg) {
  const Scratch_Folder Folder;
  Options Settings = Short_Clip();
  Settings.Image_Count = 2;
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  std::size_t Last = 0;
  simulate::Write_Clip(Capture, Folder.Path() / "clip.avi", Rays,
                       [&](std::size_t Done, std::size_t /*All*/) { EXPECT_EQ(Done, ++Last); });
  const Read_Clip Clip = Read_Avi(Read_Text(Folder.Path() / "clip.avi"));
  EXPECT_EQ(Clip.Rate, 25u);
  EXPECT_EQ(Clip.Width, 320u);
  EXPECT_EQ(Clip.Height, 240u);
  // Frames at 0, 0.04, ... until the last hold ends.
  ASSERT_EQ(Clip.Frame_Count, static_cast<std::size_t>(simulate::Duration(Capture) * 25.0) + 1);
  EXPECT_EQ(Last, Clip.Frame_Count);
  Clip_Frames Frames(Capture, Rays);
  for (std::size_t i = 0; i < Clip.Frames.size(); i += 7) {
    std::vector<unsigned char> Expected;
    ASSERT_TRUE(cv::imencode(".jpg", Frames.Frame(i), Expected,
                             {cv::IMWRITE_JPEG_QUALITY, Settings.Jpeg_Quality}));
    EXPECT_EQ(Clip.Frames[i], std::string(Expected.begin(), Expected.end())) << i;
  }
}

// The pieces of a RIFF file from Begin to End by their names, lists with what they hold:
// "LIST hdrl( avih ... )". Each has its name, the length of its content, and an even content.
std::string Pieces(const std::string& File, std::size_t Begin, std::size_t End) {
  std::string Names;
  std::size_t Place = Begin;
  while (Place + 8 <= End) {
    const std::string Name = File.substr(Place, 4);
    const std::size_t Content = Place + 8, Length = Word_At(File, Place + 4);
    Names += " " + Name;
    if (Name == "LIST" || Name == "RIFF") {
      Names +=
          " " + File.substr(Content, 4) + "(" + Pieces(File, Content + 4, Content + Length) + " )";
    } else {
      Names += ":" + std::to_string(Length);
    }
    Place = Content + Length + Length % 2;
  }
  return Place == End ? Names : Names + " and bytes that belong to none";
}

// A RIFF file is a tree whose pieces fill it without a gap. The header of an AVI file has one list
// for each stream; the lengths of the three headers are those of their structures.
TEST(AviWriter, WritesTheTreeOfAMovieWithOneStream) {
  const Scratch_Folder Folder;
  const std::filesystem::path Name = Folder.Path() / "clip.avi";
  simulate::Avi_Writer Writer(Name, 32, 24, 25);
  for (const std::size_t Bytes : {100U, 51U}) {
    Writer.Add(std::vector<unsigned char>(Bytes, 0xab));
  }
  Writer.Finish();
  const std::string File = Read_Text(Name);
  EXPECT_EQ(Pieces(File, 0, File.size()),
            " RIFF AVI ( LIST hdrl( avih:56 LIST strl( strh:56 strf:40 ) ) "
            "LIST movi( 00dc:100 00dc:51 ) idx1:32 )");
}

TEST(AviWriter, RefusesAFileThatCantBeWritten) {
  const Scratch_Folder Folder;
  EXPECT_THROW(simulate::Avi_Writer(Folder.Path() / "none" / "clip.avi", 32, 32, 25),
               std::runtime_error);
}

TEST(AviWriter, WritesUpToTheLargestSizeAndNotAByteMore) {
  const Scratch_Folder Folder;
  const auto Write = [&](const char* Name, std::uint64_t Most) {
    simulate::Avi_Writer Writer(Folder.Path() / Name, 32, 32, 25, Most);
    for (const std::size_t Bytes : {100U, 51U, 200U}) {
      Writer.Add(std::vector<unsigned char>(Bytes, 0xab));
    }
    Writer.Finish();
    return std::filesystem::file_size(Folder.Path() / Name);
  };
  const std::uint64_t Size = Write("any.avi", 1'000'000);
  EXPECT_EQ(Write("just.avi", Size), Size);
  EXPECT_THROW(Write("over.avi", Size - 1), std::runtime_error);
}

TEST(MakePlan, RefusesAClipThatDoesntFitInAFileOrBeginsTooLate) {
  const auto Refusal = [](const Options& Settings) -> std::vector<std::string> {
    try {
      Make_Plan(Settings);
    } catch (const simulate::Refused_Options& Refused) {
      return Refused.Names;
    }
    return {};
  };
  Options Settings = Short_Clip();
  Settings.Recording.Shortest_Hold = Settings.Recording.Longest_Hold = 10.0;
  Settings.Recording.Shortest_Move = Settings.Recording.Longest_Move = 1.0;
  // 32 seconds are 801 frames, which fit at a quarter of a byte for each of less than 1e7 pixels.
  Settings.Width = 3300;
  Settings.Height = 3000;
  EXPECT_THAT(Refusal(Settings), testing::IsEmpty());
  Settings.Width = 3400;
  EXPECT_THAT(Refusal(Settings), testing::Contains("Width"));
  Settings.Recording.Clip = false;
  EXPECT_THAT(Refusal(Settings), testing::IsEmpty());
  // 500 frames of 16 million pixels are just 2 GB.
  Settings.Recording.Clip = true;
  Settings.Recording.Shortest_Hold = Settings.Recording.Longest_Hold = 5.324;
  Settings.Recording.Shortest_Move = Settings.Recording.Longest_Move = 2.0;
  Settings.Width = Settings.Height = 4000;
  EXPECT_THAT(Refusal(Settings), testing::IsEmpty());
  Settings.Width = 4001;
  EXPECT_THAT(Refusal(Settings), testing::Contains("Width"));

  Settings = Short_Clip();
  const double Seconds = simulate::Duration(Make_Plan(Settings));
  Settings.Recording.Clock_Offset = Seconds - 0.01;
  EXPECT_THAT(Refusal(Settings), testing::IsEmpty());
  Settings.Recording.Clock_Offset = Seconds + 0.01;
  EXPECT_THAT(Refusal(Settings), testing::ElementsAre("Clock_Offset"));
}

}  // namespace
