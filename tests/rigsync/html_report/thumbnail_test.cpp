// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/thumbnail.h"

#include "rigsync/system/file_hash.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace rigsync {
namespace {

constexpr std::string_view Head = "data:image/jpeg;base64,";

cv::Mat Decoded(const Thumbnail& Made) {
  const std::string Text = Made.Data_Url.substr(Head.size());
  std::vector<unsigned char> Bytes(Text.size());
  const int Length =
      EVP_DecodeBlock(Bytes.data(), reinterpret_cast<const unsigned char*>(Text.data()),
                      static_cast<int>(Text.size()));
  Bytes.resize(static_cast<std::size_t>(std::max(Length, 0)));
  return cv::imdecode(Bytes, cv::IMREAD_COLOR);
}

// Left half blue, right half red, with noise as of a sensor at night.
cv::Mat Photograph(int Width, int Height, double Noise) {
  cv::Mat Image(Height, Width, CV_8UC3, cv::Scalar(200, 40, 40));
  Image.colRange(Width / 2, Width).setTo(cv::Scalar(40, 40, 200));
  cv::Mat Grain(Height, Width, CV_8UC3);
  cv::RNG Random(1);
  Random.fill(Grain, cv::RNG::NORMAL, 0, Noise);
  return Image + Grain;
}

class Thumbnails : public testing::Test {
 protected:
  void Add(const std::string& Name, int Width, int Height, double Noise = 0) {
    const std::string File = (Scratch.Path() / Name).string();
    if (Width > 0) {
      ASSERT_TRUE(cv::imwrite(File, Photograph(Width, Height, Noise)));
    }
    Viewed_Row Row;
    Row.Image = {View.Rows.size() + 2, Name};
    Row.File = File;
    View.Rows.push_back(Row);
    if (View.Width == 0) View.Width = Width, View.Height = Height;
  }

  Scratch_Folder Scratch;
  Run_View View;
};

TEST_F(Thumbnails, AreJpegImagesThatShowThePhotograph) {
  Add("a.png", 1920, 1080);
  Add("b.jpg", 3840, 2160);
  Add("c.png", 320, 200);
  const std::vector<Thumbnail> Made = Make_Thumbnails(View);
  const int Widths[] = {480, 480, 320}, Heights[] = {270, 270, 200};
  for (std::size_t k = 0; k < 3; ++k) {
    SCOPED_TRACE(k);
    ASSERT_EQ(Made[k].Data_Url.rfind(Head, 0), 0u);
    const cv::Mat Small = Decoded(Made[k]);
    ASSERT_EQ(Small.size(), cv::Size(Widths[k], Heights[k]));
    const cv::Vec3b Left = Small.at<cv::Vec3b>(Heights[k] / 2, Widths[k] / 4);
    const cv::Vec3b Right = Small.at<cv::Vec3b>(Heights[k] / 2, 3 * Widths[k] / 4);
    EXPECT_GT(Left[0], 180);
    EXPECT_LT(Left[2], 60);
    EXPECT_GT(Right[2], 180);
    EXPECT_LT(Right[0], 60);
  }
  EXPECT_EQ(Made[0].Width, 1920);
  EXPECT_EQ(Made[1].Width, 3840);
  EXPECT_EQ(Made[2].Width, 320);
  EXPECT_EQ(Made[2].Height, 200);
}

TEST_F(Thumbnails, SixtyNoisyPhotographsKeepToTheirPartOfThePage) {
  Add("night.jpg", 1920, 1080, 60);
  while (View.Rows.size() < 60) View.Rows.push_back(View.Rows[0]);
  std::size_t Bytes = 0;
  for (const Thumbnail& Each : Make_Thumbnails(View)) Bytes += Each.Data_Url.size();
  EXPECT_LE(Bytes, Most_Thumbnail_Bytes);
  EXPECT_GE(Bytes, 60u * 2000u);  // they are there
}

TEST_F(Thumbnails, FourHundredPhotographsKeepToItToo) {
  Add("night.jpg", 320, 240, 60);
  while (View.Rows.size() < 400) View.Rows.push_back(View.Rows[0]);
  std::size_t Bytes = 0;
  for (const Thumbnail& Each : Make_Thumbnails(View)) Bytes += Each.Data_Url.size();
  EXPECT_LE(Bytes, Most_Thumbnail_Bytes);
}

TEST_F(Thumbnails, WhatIsNoPhotographOfTheRunHasNone) {
  Add("real.png", 640, 480);
  Add("gone.png", 0, 0);
  Add("../real.png", 0, 0);
  Add("folder", 0, 0);
  std::filesystem::create_directory(Scratch.Path() / "folder");
  Add("text.png", 0, 0);
  Scratch.Write("text.png", "no image");
  Add("empty.png", 0, 0);
  Scratch.Write("empty.png", "");
  const std::vector<Thumbnail> Made = Make_Thumbnails(View);
  EXPECT_FALSE(Made[0].Data_Url.empty());
  for (std::size_t k = 1; k < Made.size(); ++k) EXPECT_EQ(Made[k].Data_Url, "") << k;
}

// The file above its folder is there, and still isn't shown.
TEST_F(Thumbnails, APathThatClimbsLeadsNowhere) {
  Add("real.png", 640, 480);
  View.Rows[0].Image.Name = "images/../../real.png";
  EXPECT_EQ(Make_Thumbnails(View)[0].Data_Url, "");
}

TEST_F(Thumbnails, AnotherPhotographUnderTheSameNameIsNotShown) {
  Add("real.png", 640, 480);
  View.Result.Hashes.Images = {File_Sha256(View.Rows[0].File)};
  EXPECT_NE(Make_Thumbnails(View)[0].Data_Url, "");
  View.Result.Hashes.Images = {std::string(64, '0')};
  EXPECT_EQ(Make_Thumbnails(View)[0].Data_Url, "");
  View.Result.Hashes.Images = {""};
  EXPECT_NE(Make_Thumbnails(View)[0].Data_Url, "");
}

TEST_F(Thumbnails, ACaptureWithoutImagesHasNone) {
  EXPECT_TRUE(Make_Thumbnails(View).empty());
}

}  // namespace
}  // namespace rigsync
