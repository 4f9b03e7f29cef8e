// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/input_hashes.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(InputHashes, AreThoseOfTheCsvAndOfEachImageInItsOrder) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Inputs Inputs;
  Inputs.Csv = Scratch.Write("capture.csv", "abc");
  Inputs.Image_Root = Scratch.Path();
  std::filesystem::create_directories(Scratch.Path() / "images");
  Scratch.Write("images/b.png", "");
  const std::string Elsewhere = Scratch.Write("a.png", "abc");
  const rigsync::Input_Hashes Hashes =
      rigsync::Hash_Inputs(Inputs, {{2, "images/b.png"}, {3, "missing.png"}, {4, Elsewhere}});
  const std::string Abc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
  EXPECT_EQ(Hashes.Csv, Abc);
  ASSERT_EQ(Hashes.Images.size(), 3u);
  EXPECT_EQ(Hashes.Images[0], "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(Hashes.Images[1], "");
  EXPECT_EQ(Hashes.Images[2], Abc);
}

}  // namespace
