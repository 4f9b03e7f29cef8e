// SPDX-License-Identifier: Apache-2.0
//
// The error of the rig in pixels. Most tests use a lens with a focal length of one pixel and a
// board at one metre, so that a board corner projects exactly to its own x and y. Distances are
// then easy to compute by hand, and points can be placed exactly on the image's border.
#include "core/solver/cal_reproj_error.h"

#include "tests/core/solver/derived_numbers.h"
#include "tests/core/solver/solver_test_support.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <filesystem>
#include <limits>
#include <utility>

namespace {

namespace fs = std::filesystem;

constexpr int Cols = 64, Rows = 48;

// A mean that places the board one metre in front of the camera if everything else is the identity.
Eigen::Matrix4d One_Metre() {
  return Shifted({0, 0, 1});
}

// Inputs, output and log of one call.
struct Measured {
  float Reproj_Error = 123.25f;
  std::vector<cv::Point3f> Board_Index;
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  cv::Mat Camera_Matrix = cv::Mat::eye(3, 3, CV_64F);
  cv::Mat Distortion = cv::Mat::zeros(1, 5, CV_64F);
  Eigen::Matrix4d Mean_Transform_Cam_Tc = One_Metre();
  std::vector<Eigen::Matrix4d> Transform_Base_Tc_all, Transform_Tr_Base_all;
  Eigen::Matrix4d Transform_Chart_Tr = Eigen::Matrix4d::Identity();
  std::vector<std::string> Image_name;
  bool Write_Images = false;
  std::string Output_Dir = "no such folder";
  Stage_Log Log;

  Measured() = default;
  // One image with these projected and found corners.
  Measured(const std::vector<cv::Point2f>& Projected, const std::vector<cv::Point2f>& Found) {
    for (const cv::Point2f& Point : Projected) Board_Index.emplace_back(Point.x, Point.y, 0.0f);
    Add_Image(Found, "no such image.png");
  }

  void Add_Image(const std::vector<cv::Point2f>& Found, const std::string& Name) {
    ImageCoordinate.push_back(Found);
    Transform_Base_Tc_all.push_back(Eigen::Matrix4d::Identity());
    Transform_Tr_Base_all.push_back(Eigen::Matrix4d::Identity());
    Image_name.push_back(Name);
  }

  int Run() {
    const Stage_Log::Listener Quiet = Log.Listen();
    return Cal_Reproj_Error(Log.Path(), Reproj_Error, Board_Index, ImageCoordinate, Camera_Matrix,
                            Distortion, Mean_Transform_Cam_Tc, Transform_Base_Tc_all,
                            Transform_Tr_Base_all, Transform_Chart_Tr, Image_name, Write_Images,
                            Output_Dir);
  }
};

// --- the error ------------------------------------------------------------------------------

TEST(CalReprojError, IsTheMeanOverImagesOfMeanEuclideanDistances) {
  Measured Stage({{10, 10}, {20, 30}}, {{13, 14}, {20, 30}});          // 5 and 0
  Stage.Add_Image({{10 - 6, 10 + 8}, {20 + 5, 30 - 12}}, "no image");  // 10 and 13
  Stage.Add_Image({{10, 10.5f}, {20.25f, 30}}, "no image");            // 0.5 and 0.25
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Reproj_Error, (2.5f + 11.5f + 0.375f) / 3.0f);
  EXPECT_EQ(Stage.Log.Lines(),
            (std::vector<std::string>{"Image 0 reprojection error : 2.500000 pixels.",
                                      "Image 1 reprojection error : 11.500000 pixels.",
                                      "Image 2 reprojection error : 0.375000 pixels.",
                                      "Average reprojection error : 4.791667 pixels."}));
}

TEST(CalReprojError, SumsHaveTheBitsOfFloatNarrowedAtEveryStep) {
  Measured Stage;
  for (const auto& Point : derived::Reproj_Projected) {
    Stage.Board_Index.emplace_back(Point[0], Point[1], 0.0f);
  }
  std::vector<std::string> Expected;
  for (const auto& Image : derived::Reproj_Found) {
    std::vector<cv::Point2f> Found;
    for (const auto& Point : Image) Found.emplace_back(Point[0], Point[1]);
    const std::size_t i = Stage.ImageCoordinate.size();
    Expected.push_back("Image " + std::to_string(i) + " reprojection error : " +
                       std::to_string(derived::Reproj_Image_Errors[i]) + " pixels.");
    Stage.Add_Image(Found, "no image");
  }
  Expected.push_back("Average reprojection error : " + std::to_string(derived::Reproj_Average) +
                     " pixels.");
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Hex(Stage.Reproj_Error), Hex(derived::Reproj_Average));
  EXPECT_EQ(Stage.Log.Lines(), Expected);
}

TEST(CalReprojError, StartsFromZeroEachTime) {
  Measured Stage({{0, 0}}, {{3, 4}});
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Reproj_Error, 5.0f);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Reproj_Error, 5.0f);
}

TEST(CalReprojError, APointFarOutsideTheImageCountsWithItsFullDistance) {
  Measured Stage({{3e6f, -4e6f}, {1, 1}}, {{0, 0}, {1, 1}});
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Reproj_Error, 2.5e6f);
}

TEST(CalReprojError, NoImagesGiveNan) {
  Measured Stage;
  Stage.Board_Index = {{1, 1, 0}};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_TRUE(std::isnan(Stage.Reproj_Error));
  EXPECT_EQ(Unsigned_Nans(Stage.Log.Lines()),
            std::vector<std::string>{"Average reprojection error : nan pixels."});
}

// --- the predicted pose ---------------------------------------------------------------------

// Where the pinhole model with two radial and two tangential terms and a third radial one puts a
// board corner, in double.
cv::Point2f Pinhole(const Eigen::Vector3d& Corner_Cam, const cv::Mat& Camera_Matrix,
                    const cv::Mat& Distortion) {
  const double X = Corner_Cam.x() / Corner_Cam.z(), Y = Corner_Cam.y() / Corner_Cam.z();
  const double K1 = Distortion.at<double>(0), K2 = Distortion.at<double>(1);
  const double P1 = Distortion.at<double>(2), P2 = Distortion.at<double>(3);
  const double K3 = Distortion.at<double>(4), R2 = X * X + Y * Y;
  const double Radial = 1.0 + K1 * R2 + K2 * R2 * R2 + K3 * R2 * R2 * R2;
  const double Xd = X * Radial + 2.0 * P1 * X * Y + P2 * (R2 + 2.0 * X * X);
  const double Yd = Y * Radial + P1 * (R2 + 2.0 * Y * Y) + 2.0 * P2 * X * Y;
  return {static_cast<float>(Camera_Matrix.at<double>(0, 0) * Xd + Camera_Matrix.at<double>(0, 2)),
          static_cast<float>(Camera_Matrix.at<double>(1, 1) * Yd + Camera_Matrix.at<double>(1, 2))};
}

// A rig's board corners projected by its lens, with different poses throughout the chain.
struct Rig_In_Pixels : Measured {
  explicit Rig_In_Pixels(const Rig& Known) {
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 4; ++c) {
        Board_Index.emplace_back(0.03f * static_cast<float>(c), 0.03f * static_cast<float>(r),
                                 0.0f);
      }
    }
    Camera_Matrix =
        (cv::Mat_<double>(3, 3) << 1500.0, 0.0, 940.0, 0.0, 1450.0, 530.0, 0.0, 0.0, 1.0);
    Distortion = (cv::Mat_<double>(1, 5) << -0.12, 0.3, 0.02, -0.03, 0.4);
    Mean_Transform_Cam_Tc = Known.Transform_Cam_Tc;
    Transform_Chart_Tr = Known.Transform_Chart_Tr;
    for (std::size_t i = 0; i < Known.Transform_Cam_Chart_all.size(); ++i) {
      std::vector<cv::Point2f> Found;
      for (const cv::Point3f& Corner : Board_Index) {
        const Eigen::Vector4d Corner_Chart(Corner.x, Corner.y, Corner.z, 1.0);
        const Eigen::Vector4d Corner_Cam = Known.Transform_Cam_Chart_all[i] * Corner_Chart;
        Found.push_back(Pinhole(Corner_Cam.head<3>(), Camera_Matrix, Distortion));
      }
      Add_Image(Found, "no image");
      Transform_Base_Tc_all.back() = Known.Transform_Base_Tc_all[i];
      Transform_Tr_Base_all.back() = Known.Transform_Tr_Base_all[i];
    }
  }
};

// Image points are floats: near 1000 pixels a step of 6e-5, half of it lost on each side and axis.
constexpr float Perfect_Error = 1e-4f;

TEST(CalReprojError, APerfectRigHasNoErrorAndAWrongFactorALargeOne) {
  const Rig Known = Make_Rig(5);
  Rig_In_Pixels Stage(Known);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_LE(Stage.Reproj_Error, Perfect_Error);

  // One more centimetre in any factor changes the result by some pixels, so no factor is left out.
  const Eigen::Matrix4d Bump = Shifted({0.01, 0.01, 0.0});
  for (int Factor = 0; Factor < 4; ++Factor) {
    SCOPED_TRACE(Factor);
    Rig_In_Pixels Moved(Known);
    if (Factor == 0) Moved.Mean_Transform_Cam_Tc = Moved.Mean_Transform_Cam_Tc * Bump;
    if (Factor == 1) Moved.Transform_Base_Tc_all[3] = Moved.Transform_Base_Tc_all[3] * Bump;
    if (Factor == 2) Moved.Transform_Tr_Base_all[3] = Moved.Transform_Tr_Base_all[3] * Bump;
    if (Factor == 3) Moved.Transform_Chart_Tr = Moved.Transform_Chart_Tr * Bump;
    EXPECT_EQ(Moved.Run(), 0);
    EXPECT_GE(Moved.Reproj_Error, 1.0f);
  }
  // Every coefficient of the lens is used, in the right place.
  for (int Term = 0; Term < 5; ++Term) {
    SCOPED_TRACE(Term);
    Rig_In_Pixels Other_Lens(Known);
    Other_Lens.Distortion.at<double>(Term) += 0.3;
    EXPECT_EQ(Other_Lens.Run(), 0);
    EXPECT_GE(Other_Lens.Reproj_Error, 10.0f * Perfect_Error);
  }
}

TEST(CalReprojError, EveryInverseIsTheGeneralOne) {
  // Doubled lengths in one factor and halved ones in its neighbour leave the prediction as it is.
  // Transposing the rotation block would not.
  const Rig Known = Make_Rig(4);
  for (int Factor = 0; Factor < 3; ++Factor) {
    SCOPED_TRACE(Factor);
    Rig_In_Pixels Stage(Known);
    if (Factor == 0) {
      for (Eigen::Matrix4d& Pose : Stage.Transform_Base_Tc_all) Pose = Pose * Scaled(2.0);
      Stage.Mean_Transform_Cam_Tc = Stage.Mean_Transform_Cam_Tc * Scaled(2.0);
    } else if (Factor == 1) {
      for (Eigen::Matrix4d& Pose : Stage.Transform_Tr_Base_all) Pose = Pose * Scaled(2.0);
      for (Eigen::Matrix4d& Pose : Stage.Transform_Base_Tc_all) Pose = Scaled(0.5) * Pose;
    } else {
      Stage.Transform_Chart_Tr = Stage.Transform_Chart_Tr * Scaled(2.0);
      for (Eigen::Matrix4d& Pose : Stage.Transform_Tr_Base_all) Pose = Scaled(0.5) * Pose;
    }
    EXPECT_EQ(Stage.Run(), 0);
    EXPECT_LE(Stage.Reproj_Error, Perfect_Error);
  }
}

// --- sizes ----------------------------------------------------------------------------------

TEST(CalReprojError, ReturnsCode7WithTheErrorUntouchedAndNoImageRead) {
  const std::size_t Cases[][2] = {{10, 9}, {9, 10}, {1, 0}, {0, 1}};
  for (const auto& Sizes : Cases) {
    SCOPED_TRACE(testing::PrintToString(Sizes));
    Measured Stage({{1, 1}}, {{1, 1}});
    Stage.Write_Images = true;  // reading or writing "no such image.png" would throw
    Stage.ImageCoordinate.assign(Sizes[0], {{1, 1}});
    Stage.Transform_Base_Tc_all.assign(Sizes[1], Eigen::Matrix4d::Identity());
    Stage.Transform_Tr_Base_all.assign(10, Eigen::Matrix4d::Identity());
    EXPECT_EQ(Stage.Run(), 7);
    EXPECT_EQ(Stage.Reproj_Error, 123.25f);
    EXPECT_EQ(Stage.Log.Lines(),
              std::vector<std::string>{"Error code 7: Data size is not same in Cal_Reproj_Error."});
  }
}

TEST(CalReprojError, NoOtherSizesAreCompared) {
  Measured Stage({{1, 1}}, {{1, 1}});
  Stage.Transform_Tr_Base_all.resize(4, Eigen::Matrix4d::Identity());
  Stage.Image_name.resize(3, "never read");
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Reproj_Error, 0.0f);
  Stage.Image_name.clear();  // no name is needed where no image is written
  EXPECT_EQ(Stage.Run(), 0);
}

// --- images ---------------------------------------------------------------------------------

// A grey ramp, so that a shifted or resized copy shows, in colour or as a single channel.
cv::Mat Ramp(int Type) {
  cv::Mat Grey(Rows, Cols, CV_8U);
  for (int y = 0; y < Rows; ++y) {
    for (int x = 0; x < Cols; ++x) {
      Grey.at<unsigned char>(y, x) = static_cast<unsigned char>(60 + 2 * x + y);
    }
  }
  if (Type == CV_8UC1) return Grey;
  cv::Mat Colour;
  cv::cvtColor(Grey, Colour, cv::COLOR_GRAY2BGR);
  return Colour;
}

const cv::Scalar Red(20, 20, 200), Blue(200, 20, 20);  // blue, green, red

struct Disc {
  int X, Y;
  cv::Scalar Colour;
};

// The ramp with these discs, one over the other.
cv::Mat Ramp_With(const std::vector<Disc>& Discs) {
  cv::Mat Image = Ramp(CV_8UC3);
  for (const Disc& Each : Discs) {
    cv::circle(Image, {Each.X, Each.Y}, 8, Each.Colour, cv::FILLED, cv::LINE_8, 0);
  }
  return Image;
}

bool Same_Pixels(const cv::Mat& Left, const cv::Mat& Right) {
  return Left.size() == Right.size() && Left.type() == Right.type() &&
         cv::norm(Left, Right, cv::NORM_INF) == 0.0;
}

// Runs one image through the writing pass and returns what came out.
cv::Mat Annotated(const std::vector<cv::Point2f>& Projected, const std::vector<cv::Point2f>& Found,
                  int Type = CV_8UC3) {
  Measured Stage(Projected, Found);
  const fs::path Folder = Stage.Log.Scratch().Path();
  Stage.Image_name = {(Folder / "in\\image.png").string()};
  EXPECT_TRUE(cv::imwrite(Stage.Image_name[0], Ramp(Type)));
  Stage.Write_Images = true;
  Stage.Output_Dir = Folder.string();
  EXPECT_EQ(Stage.Run(), 0);
  return cv::imread((Folder / "Reproject_image.png").string(), cv::IMREAD_UNCHANGED);
}

constexpr float Far_Outside = -1000.0f;

TEST(CalReprojError, FoundCornersAreFilledRedDiscsOfRadius8) {
  const cv::Mat Image = Annotated({{Far_Outside, 0}}, {{30, 20}});
  ASSERT_TRUE(Same_Pixels(Image, Ramp_With({{30, 20, Red}})));
  // The same in words: filled, 8 pixels to each side, in blue-green-red 20, 20, 200.
  const cv::Mat Before = Ramp(CV_8UC3);
  for (const cv::Point Inside : {cv::Point(30, 20), {22, 20}, {38, 20}, {30, 12}, {30, 28}}) {
    EXPECT_EQ(Image.at<cv::Vec3b>(Inside), cv::Vec3b(20, 20, 200)) << Inside;
  }
  for (const cv::Point Outside : {cv::Point(21, 20), {39, 20}, {30, 11}, {30, 29}, {36, 26}}) {
    EXPECT_EQ(Image.at<cv::Vec3b>(Outside), Before.at<cv::Vec3b>(Outside)) << Outside;
  }
}

TEST(CalReprojError, ProjectedCornersAreBlueDiscsOverTheRedOnes) {
  const cv::Mat Covered = Annotated({{30, 20}}, {{30, 20}});
  EXPECT_TRUE(Same_Pixels(Covered, Ramp_With({{30, 20, Blue}})));
  EXPECT_EQ(Covered.at<cv::Vec3b>(20, 30), cv::Vec3b(200, 20, 20));

  const cv::Mat Overlapping = Annotated({{34, 22}}, {{30, 20}});
  EXPECT_TRUE(Same_Pixels(Overlapping, Ramp_With({{30, 20, Red}, {34, 22, Blue}})));
}

TEST(CalReprojError, DiscsAreDrawnCornerAfterCorner) {
  // The second corner's red disc lies over the first one's blue one.
  const cv::Mat Image = Annotated({{24, 20}, {Far_Outside, 0}}, {{20, 20}, {30, 20}});
  EXPECT_TRUE(Same_Pixels(Image, Ramp_With({{20, 20, Red}, {24, 20, Blue}, {30, 20, Red}})));
}

TEST(CalReprojError, PointsAreCutTowardsZeroAndNotRounded) {
  const cv::Mat Found = Annotated({{Far_Outside, 0}}, {{20.99f, 30.5f}});
  EXPECT_TRUE(Same_Pixels(Found, Ramp_With({{20, 30, Red}})));
  const cv::Mat Projected = Annotated({{40.99f, 25.75f}}, {{20, 30}});
  EXPECT_TRUE(Same_Pixels(Projected, Ramp_With({{20, 30, Red}, {40, 25, Blue}})));
  // Towards zero from below too: -0.9 is 0, where rounding down would give -1.
  const cv::Mat Negative = Annotated({{Far_Outside, 0}}, {{-0.9f, 25.0f}});
  EXPECT_TRUE(Same_Pixels(Negative, Ramp_With({{0, 25, Red}})));
  EXPECT_FALSE(Same_Pixels(Negative, Ramp_With({{-1, 25, Red}})));
}

TEST(CalReprojError, FoundCornersOutsideTheImageAreDrawnAsFarAsTheyReachIn) {
  const cv::Mat Image = Annotated({{Far_Outside, 0}}, {{-4.0f, 20.0f}});
  EXPECT_TRUE(Same_Pixels(Image, Ramp_With({{-4, 20, Red}})));
  EXPECT_FALSE(Same_Pixels(Image, Ramp_With({})));
}

TEST(CalReprojError, AProjectedPointOnTheBorderGetsNoBlueDisc) {
  const float Width = Cols, Height = Rows;
  const float Far = std::numeric_limits<float>::infinity();
  struct Case {
    cv::Point2f Projected;
    bool Is_Drawn;
    int X, Y;
  };
  const Case Cases[] = {
      // Under, on and over each of the four borders, to the last bit.
      {{std::nextafterf(0.0f, -1.0f), 20}, false, 0, 0},
      {{0.0f, 20}, false, 0, 0},
      {{-0.0f, 20}, false, 0, 0},
      {{std::nextafterf(0.0f, 1.0f), 20}, true, 0, 20},
      {{std::nextafterf(Width, 0.0f), 20}, true, Cols - 1, 20},
      {{Width, 20}, false, 0, 0},
      {{std::nextafterf(Width, Far), 20}, false, 0, 0},
      {{20, std::nextafterf(0.0f, -1.0f)}, false, 0, 0},
      {{20, 0.0f}, false, 0, 0},
      {{20, std::nextafterf(0.0f, 1.0f)}, true, 20, 0},
      {{20, std::nextafterf(Height, 0.0f)}, true, 20, Rows - 1},
      {{20, Height}, false, 0, 0},
      {{20, std::nextafterf(Height, Far)}, false, 0, 0},
      // Columns limit x and rows limit y, not the other way round.
      {{55, 20}, true, 55, 20},
      {{20, 55}, false, 0, 0},
  };
  for (const Case& Each : Cases) {
    SCOPED_TRACE(testing::Message() << Each.Projected);
    const cv::Mat Image = Annotated({Each.Projected}, {{40, 30}});
    std::vector<Disc> Expected = {{40, 30, Red}};
    if (Each.Is_Drawn) Expected.push_back({Each.X, Each.Y, Blue});
    EXPECT_TRUE(Same_Pixels(Image, Ramp_With(Expected)));
  }
}

TEST(CalReprojError, ASingleChannelImageComesOutInColour) {
  const cv::Mat Image = Annotated({{40, 30}}, {{20, 20}}, CV_8UC1);
  EXPECT_TRUE(Same_Pixels(Image, Ramp_With({{20, 20, Red}, {40, 30, Blue}})));
}

TEST(CalReprojError, OneFilePerImageIsWrittenAndAnEarlierOneReplaced) {
  Measured Stage({{30, 20}}, {{30, 20}});
  const fs::path Folder = Stage.Log.Scratch().Path();
  Stage.Image_name.clear();
  for (const char* Name : {"in\\first.png", "in\\second.png"}) {
    Stage.Image_name.push_back((Folder / Name).string());
    ASSERT_TRUE(cv::imwrite(Stage.Image_name.back(), Ramp(CV_8UC3)));
  }
  Stage.ImageCoordinate = {{{10, 10}}, {{50, 40}}};
  Stage.Transform_Base_Tc_all.resize(2, Eigen::Matrix4d::Identity());
  Stage.Transform_Tr_Base_all.resize(2, Eigen::Matrix4d::Identity());
  Stage.Log.Scratch().Write("Reproject_second.png", "an earlier run's");
  Stage.Write_Images = true;
  Stage.Output_Dir = Folder.string();
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_TRUE(Same_Pixels(cv::imread((Folder / "Reproject_first.png").string()),
                          Ramp_With({{10, 10, Red}, {30, 20, Blue}})));
  EXPECT_TRUE(Same_Pixels(cv::imread((Folder / "Reproject_second.png").string()),
                          Ramp_With({{50, 40, Red}, {30, 20, Blue}})));
  // The source images are unchanged.
  EXPECT_TRUE(Same_Pixels(cv::imread(Stage.Image_name[0]), Ramp(CV_8UC3)));
}

TEST(CalReprojError, WithoutWritingNoImageIsReadOrWrittenAndTheResultIsTheSame) {
  Measured Writing({{30, 20}, {100, 20}}, {{33, 24}, {100, 30}});
  const fs::path Folder = Writing.Log.Scratch().Path();
  Writing.Image_name = {(Folder / "in\\image.png").string()};
  ASSERT_TRUE(cv::imwrite(Writing.Image_name[0], Ramp(CV_8UC3)));
  Writing.Write_Images = true;
  Writing.Output_Dir = Folder.string();
  EXPECT_EQ(Writing.Run(), 0);
  EXPECT_EQ(Writing.Reproj_Error, 7.5f);

  // The same corners, and a name that doesn't exist.
  Measured Silent({{30, 20}, {100, 20}}, {{33, 24}, {100, 30}});
  const fs::path Empty_Folder = Silent.Log.Scratch().Path();
  Silent.Output_Dir = Empty_Folder.string();
  EXPECT_EQ(Silent.Run(), 0);
  EXPECT_EQ(Silent.Reproj_Error, Writing.Reproj_Error);
  EXPECT_EQ(Silent.Log.Lines(), Writing.Log.Lines());
  std::vector<std::string> Files;
  for (const auto& Entry : fs::directory_iterator(Empty_Folder)) {
    Files.push_back(Entry.path().filename().string());
  }
  EXPECT_EQ(Files, std::vector<std::string>{"log"});

  // Nor is an image touched that exists.
  Silent.Image_name = {Writing.Image_name[0]};
  fs::remove(Folder / "Reproject_image.png");
  EXPECT_EQ(Silent.Run(), 0);
  EXPECT_FALSE(fs::exists(Folder / "Reproject_image.png"));
  EXPECT_FALSE(fs::exists(Empty_Folder / "Reproject_image.png"));
}

// --- file names -----------------------------------------------------------------------------

// The writing pass over one image that is stored under this name, relative to the scratch folder.
struct Written {
  Measured Stage{{{30, 20}}, {{30, 20}}};
  fs::path Folder = Stage.Log.Scratch().Path(), Output = Folder / "out";

  explicit Written(const std::string& Name) {
    const fs::path Image = Folder / Name;
    fs::create_directories(Image.parent_path());
    fs::create_directory(Output);
    std::vector<unsigned char> Png;
    cv::imencode(".png", Ramp(CV_8UC3), Png);
    Stage.Log.Scratch().Write(Name, std::string(Png.begin(), Png.end()));
    Stage.Image_name = {Image.string()};
    Stage.Write_Images = true;
    Stage.Output_Dir = Output.string();
  }

  std::vector<std::string> Files() const {
    std::vector<std::string> Found;
    for (const auto& Entry : fs::recursive_directory_iterator(Output)) {
      if (Entry.is_regular_file()) Found.push_back(fs::relative(Entry, Output).string());
    }
    return Found;
  }
};

TEST(CalReprojError, WhatStandsBehindTheLastBackslashIsTheFileName) {
  const std::pair<const char*, const char*> Cases[] = {
      {"C:\\cap\\left\\img_1.png", "Reproject_img_1.png"},
      {"sub/folder\\img.2.png", "Reproject_img.2.png"},
      {"\\.png.png", "Reproject_.png.png"},
  };
  for (const auto& [Name, Expected] : Cases) {
    SCOPED_TRACE(Name);
    Written Case(Name);
    EXPECT_EQ(Case.Stage.Run(), 0);
    EXPECT_EQ(Case.Files(), std::vector<std::string>{Expected});
  }
}

TEST(CalReprojError, AForwardSlashCutsNothing) {
  // The part after the backslash includes the slash, so it names a folder that does not exist.
  Written Both("left\\half/img.png");
  EXPECT_EQ(Both.Stage.Run(), 0);
  EXPECT_TRUE(Both.Files().empty());
  fs::create_directory(Both.Output / "Reproject_half");
  EXPECT_EQ(Both.Stage.Run(), 0);
  EXPECT_EQ(Both.Files(), std::vector<std::string>{"Reproject_half/img.png"});

  // Without a backslash the whole path follows the prefix.
  Written Slashes("left/img.png");
  EXPECT_EQ(Slashes.Stage.Run(), 0);
  EXPECT_TRUE(Slashes.Files().empty());
  EXPECT_EQ(Slashes.Stage.Reproj_Error, 0.0f);
  const fs::path Folder(Slashes.Output.string() + "//Reproject_" + Slashes.Folder.string());
  fs::create_directories(Folder / "left");
  EXPECT_EQ(Slashes.Stage.Run(), 0);
  EXPECT_TRUE(fs::exists(Folder / "left" / "img.png"));
  EXPECT_EQ(Slashes.Files().size(), 1u);
}

TEST(CalReprojError, ThePrefixStandsBehindTheWholeFolderAndASeparator) {
  // A separator stands between folder and prefix, and nothing of the folder's name is cut. That it
  // is doubled can't be seen on a file system where two slashes are as good as one.
  Written Case("in\\img.png");
  Case.Stage.Output_Dir = Case.Output.string() + "/deeper";
  EXPECT_EQ(Case.Stage.Run(), 0);
  EXPECT_TRUE(Case.Files().empty());
  fs::create_directory(Case.Output / "deeper");
  EXPECT_EQ(Case.Stage.Run(), 0);
  EXPECT_EQ(Case.Files(), std::vector<std::string>{"deeper/Reproject_img.png"});
}

TEST(CalReprojError, AMissingOutputFolderGoesUnnoticed) {
  Written Case("in\\img.png");
  Case.Stage.Output_Dir = (Case.Folder / "missing").string();
  EXPECT_EQ(Case.Stage.Run(), 0);
  EXPECT_EQ(Case.Stage.Reproj_Error, 0.0f);
  EXPECT_FALSE(fs::exists(Case.Folder / "missing"));
  EXPECT_EQ(Case.Stage.Log.Lines(),
            (std::vector<std::string>{"Image 0 reprojection error : 0.000000 pixels.",
                                      "Average reprojection error : 0.000000 pixels."}));
}

TEST(CalReprojError, AnImageThatHasVanishedThrowsThroughWhereImagesAreWritten) {
  Measured Stage({{30, 20}}, {{33, 24}});
  const fs::path Folder = Stage.Log.Scratch().Path();
  Stage.Image_name = {(Folder / "in\\first.png").string()};
  ASSERT_TRUE(cv::imwrite(Stage.Image_name[0], Ramp(CV_8UC3)));
  Stage.Add_Image({{30, 20}}, (Folder / "in\\vanished.png").string());
  Stage.Add_Image({{30, 20}}, Stage.Image_name[0]);
  Stage.Write_Images = true;
  Stage.Output_Dir = Folder.string();
  EXPECT_THROW(Stage.Run(), cv::Exception);
  // The images before it are written and logged, and nothing after it.
  EXPECT_TRUE(fs::exists(Folder / "Reproject_first.png"));
  EXPECT_FALSE(fs::exists(Folder / "Reproject_vanished.png"));
  EXPECT_EQ(Stage.Log.Lines(),
            std::vector<std::string>{"Image 0 reprojection error : 5.000000 pixels."});
}

}  // namespace
