// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/image_paths.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <opencv2/imgcodecs.hpp>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using rigsync::Capture_Row;
using rigsync::Image_Path;
using rigsync::Path_Correction;
using rigsync::Path_State;

// Rows of lines 2, 3, ...
std::vector<Capture_Row> Rows(const std::vector<std::string>& Names) {
  std::vector<Capture_Row> Rows;
  for (const std::string& Name : Names) {
    Capture_Row Row;
    Row.Line = Rows.size() + 2;
    Row.Image = Name;
    Rows.push_back(Row);
  }
  return Rows;
}

TEST(ImagePaths, APathLeadsToAFileOrSomethingElseOrNothing) {
  const Scratch_Folder Scratch;
  const std::string Absolute = Scratch.Write("a.png", "x");
  std::vector<Capture_Row> All = Rows({"a.png", Absolute, "none.png", ".", "", " \t", "a.png"});
  All.back().Is_Image = false;
  std::vector<Path_State> States;
  for (const Image_Path& Path : rigsync::Find_Image_Paths(All, Scratch.Path())) {
    States.push_back(Path.State);
  }
  EXPECT_EQ(States,
            (std::vector<Path_State>{Path_State::File, Path_State::File, Path_State::Missing,
                                     Path_State::Not_A_File, Path_State::Empty, Path_State::Empty,
                                     Path_State::Not_An_Image}));
}

// A pipe was waited for, an image of 400 million pixels filled the memory, and an image whose name
// has no ending ended the library's run.
TEST(ImagePaths, WhatTheLibraryCannotBeGivenIsTold) {
  const Scratch_Folder Scratch;
  ASSERT_EQ(mkfifo((Scratch.Path() / "pipe.png").c_str(), 0600), 0);
  std::filesystem::create_symlink("pipe.png", Scratch.Path() / "link.png");
  std::vector<unsigned char> Png;
  cv::imencode(".png", cv::Mat::zeros(8, 8, CV_8U), Png);
  const std::string Small(Png.begin(), Png.end());
  std::string Huge = Small;
  Huge.replace(16, 8, std::string("\x00\x00\x4E\x20\x00\x00\x4E\x20", 8));  // 20000 by 20000
  Scratch.Write("small", Small);
  Scratch.Write("small.PNG", Small);
  Scratch.Write("huge.png", Huge);
  Scratch.Write("text", "no image");
  const auto State = [&](const char* Name) { return rigsync::Find_State(Scratch.Path(), Name); };
  EXPECT_EQ(State("pipe.png"), Path_State::Pipe_Or_Device);
  EXPECT_EQ(State("link.png"), Path_State::Pipe_Or_Device);
  EXPECT_EQ(State("/dev/zero"), Path_State::Pipe_Or_Device);
  EXPECT_EQ(State("huge.png"), Path_State::Too_Many_Pixels);
  EXPECT_EQ(State("small"), Path_State::Unknown_Ending);
  EXPECT_EQ(State("small.PNG"), Path_State::File);
  EXPECT_EQ(State("text"), Path_State::File);  // unreadable, so that the library drops it
}

TEST(ImagePaths, ARepeatedFileHasTheLineOfItsFirstPathHoweverItIsWritten) {
  const Scratch_Folder Scratch;
  std::vector<Capture_Row> All =
      Rows({"a.png", "a.png", "b.png", "b/../a.png", (Scratch.Path() / "a.png").string(), "", ""});
  std::vector<std::size_t> Earlier_Lines;
  for (const Image_Path& Path : rigsync::Find_Image_Paths(All, Scratch.Path())) {
    Earlier_Lines.push_back(Path.Earlier_Line);
  }
  EXPECT_EQ(Earlier_Lines, (std::vector<std::size_t>{0, 2, 0, 2, 2, 0, 0}));
  // What is not an image names no file.
  All[0].Is_Image = false;
  EXPECT_EQ(rigsync::Find_Image_Paths(All, Scratch.Path())[1].Earlier_Line, 0u);
}

TEST(ImagePaths, APathThatClimbsOutIsRecorded) {
  const Scratch_Folder Scratch;
  const auto Paths =
      rigsync::Find_Image_Paths(Rows({"a/../b.png", "a/b/../c.png"}), Scratch.Path());
  EXPECT_TRUE(Paths[0].Climbs_Out);
  EXPECT_FALSE(Paths[1].Climbs_Out);
}

TEST(ImagePaths, AMissingPathHasTheChangeThatLeadsToAFile) {
  const Scratch_Folder Scratch;
  fs::create_directory(Scratch.Path() / "images");
  fs::create_directory(Scratch.Path() / "other");
  Scratch.Write("here.png", "x");
  Scratch.Write("images/a.png", "x");
  Scratch.Write("other/b.png", "x");
  const std::pair<const char*, Path_Correction> Cases[] = {
      {" other/b.png", Path_Correction::Without_Blanks},
      {"\"other/b.png\"", Path_Correction::Without_Quotes},
      {"other\\b.png", Path_Correction::With_Forward_Slashes},
      {"C:\\capture\\here.png", Path_Correction::Other_Folder},
      {"a.png", Path_Correction::Other_Folder},
      {"b.png", Path_Correction::None},
      {"none/", Path_Correction::None}};
  for (const auto& [Name, Correction] : Cases) {
    SCOPED_TRACE(Name);
    const Image_Path Path = rigsync::Find_Image_Paths(Rows({Name}), Scratch.Path())[0];
    EXPECT_EQ(Path.State, Path_State::Missing);
    EXPECT_EQ(Path.Correction, Correction);
  }
  const auto Paths =
      rigsync::Find_Image_Paths(Rows({"x/here.png", "x/a.png", "here.png"}), Scratch.Path());
  EXPECT_EQ(Paths[0].Correction_Folder, Scratch.Path());
  EXPECT_EQ(Paths[1].Correction_Folder, Scratch.Path() / "images");
  EXPECT_EQ(Paths[2].Correction, Path_Correction::None);  // not missing
}

}  // namespace
