// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate' on the simulated capture, from CSV to result.json.
#include "simulate/simulate.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <regex>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::size_t Terminal_Width = 80;

std::size_t Png_Count(const fs::path& Folder) {
  std::size_t Count = 0;
  for (const auto& Entry : fs::directory_iterator(Folder)) {
    if (Entry.path().extension() == ".png") ++Count;
  }
  return Count;
}

// The folder of the one run.
fs::path Run_Folder(const fs::path& Out) {
  const std::vector<fs::path> Folders = Run_Folders(Out);
  if (Folders.size() != 1) throw std::runtime_error("not one run in " + Out.string());
  return Folders.front();
}

// How many images the run log says were left after the outlier filter.
std::size_t Kept_Images(const fs::path& Run_Log) {
  const std::string Text = Read_Text(Run_Log);
  const std::regex Size(R"(Size list : \(init\) (\d+))");
  std::size_t Kept = 0;
  for (std::sregex_iterator At(Text.begin(), Text.end(), Size), End; At != End; ++At) {
    Kept = std::stoul((*At)[1].str());  // the last line counts
  }
  return Kept;
}

// Makes the image paths in the CSV absolute, so that the CSV can be anywhere.
void Use_Absolute_Images(std::size_t /*Line*/, std::vector<std::string>& Fields) {
  Fields[1] = (Capture_File("images").parent_path() / Fields[1]).string();
}

TEST(Calibrate, RecoversTheTruthAndSaysSo) {
  const Scratch_Folder Scratch;
  const Finished Result =
      Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out"));
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_THAT(Result.Output,
              AllOf(HasSubstr("Code 0. Calibrated: the result is within every limit."),
                    HasSubstr("Lens, at 640 x 480 pixels"), HasSubstr("Transform_Cam_Tc"),
                    HasSubstr((Scratch.Path() / "out/result.json").string())));

  const nlohmann::json File = Read_Json(Scratch.Path() / "out/result.json");
  EXPECT_EQ(File["code"], 0);
  EXPECT_EQ(File["lens"]["image_size"], (std::vector<double>{640, 480}));
  EXPECT_TRUE(File["lens"]["fov_deg"].is_null());
  EXPECT_EQ(File["inputs"]["board"], (std::vector<int>{7, 5}));
  // The capture has no tracker noise, so what is left is how well corners of 640 pixel images are
  // found: a twentieth of a pixel, at a focal length of 704 pixels and a distance below 1.5 m, is
  // 0.1 mm across and, over a board of 0.2 m, some ten times that along the view.
  constexpr double Translation_Tolerance = 0.002;  // metres
  constexpr double Rotation_Tolerance = 0.005;     // of a matrix element: 0.3 degrees
  const simulate::Truth Truth = simulate::Read_Truth(Capture_File("truth.json"));
  const std::vector<double> Solved = File["transform_cam_tc"];
  ASSERT_EQ(Solved.size(), 16u);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      EXPECT_NEAR(Solved[static_cast<std::size_t>(4 * r + c)], Truth.Transform_Cam_Tc(r, c),
                  c == 3 ? Translation_Tolerance : Rotation_Tolerance);
    }
  }
}

TEST(Calibrate, KeepsTheRunLogOffTheTerminalUnlessAskedForIt) {
  const Scratch_Folder Scratch;
  std::vector<std::string> Arguments =
      Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
  const Finished Short = Rigsync(Arguments);
  EXPECT_LE(Line_Count(Short.Output), 60u);
  EXPECT_THAT(Short.Output, Not(HasSubstr("CALIBRATION BOARD INDEX START")));
  Arguments.push_back("--verbose");
  const Finished Long = Rigsync(Arguments);
  EXPECT_THAT(Long.Output, HasSubstr("CALIBRATION BOARD INDEX START"));
  // The result follows the log.
  EXPECT_LT(Long.Output.find("Calibration successful."), Long.Output.find("Code 0."));
}

TEST(Calibrate, ReprojectionImagesOfRelativePathsWithSlashesAppear) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  const Finished Result = Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out));
  ASSERT_EQ(Result.Status, 0);
  ASSERT_EQ(Run_Logs(Run_Folder(Out)).size(), 1u);
  const std::size_t Kept = Kept_Images(Run_Logs(Run_Folder(Out)).front());
  EXPECT_GE(Kept, 5u);
  EXPECT_EQ(Png_Count(Run_Folder(Out) / "Reproject_images"), Kept);
  EXPECT_THAT(Result.Output,
              HasSubstr("14 searched, 14 show the board, " + std::to_string(Kept) + " kept"));
}

TEST(Calibrate, ReprojectionImagesOfAbsolutePathsAppear) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  Rewrite_Csv(Csv, Use_Absolute_Images);
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Csv, Out)).Status, 0);
  const fs::path Images = Capture_File("images");
  EXPECT_EQ(Png_Count(Run_Folder(Out) / ("Reproject_" + Images.string())),
            Kept_Images(Run_Logs(Run_Folder(Out)).front()));
}

TEST(Calibrate, ReprojectionImagesOfPathsWithABackslashLandBesideTheResult) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  // Here the backslash is a part of the file's name.
  Rewrite_Csv(Csv, [&](std::size_t, std::vector<std::string>& Fields) {
    const fs::path Image = Capture_File("images").parent_path() / Fields[1];
    const fs::path Link = Scratch.Path() / ("photos\\" + Image.filename().string());
    fs::create_symlink(Image, Link);
    Fields[1] = Link.string();
  });
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Csv, Out)).Status, 0);
  EXPECT_EQ(Png_Count(Run_Folder(Out)), Kept_Images(Run_Logs(Run_Folder(Out)).front()));
  const fs::path Folder = Run_Folder(Out);
  EXPECT_TRUE(fs::exists(Folder / "Reproject_0001.png") ||
              fs::exists(Folder / "Reproject_0002.png"));
}

TEST(Calibrate, WorksFromAnyFolderWithRelativeArguments) {
  const Scratch_Folder Scratch;
  fs::create_directories(Scratch.Path() / "deep/down");
  const fs::path Csv =
      fs::relative(Capture_File("capture.csv"), fs::canonical(Scratch.Path() / "deep/down"));
  const Finished Result = Rigsync(Calibrate_Arguments(Csv, "../out"), Scratch.Path() / "deep/down");
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  const nlohmann::json Written = Read_Json(Scratch.Path() / "deep/out/result.json");
  EXPECT_EQ(Written["code"], 0);
  // The dots of the typed paths are gone.
  EXPECT_EQ(Written["inputs"]["csv"], fs::canonical(Capture_File("capture.csv")).string());
  EXPECT_EQ(Written["inputs"]["image_root"],
            fs::canonical(Capture_File("capture.csv").parent_path()).string());
  EXPECT_TRUE(fs::is_empty(Scratch.Path() / "deep/down"));
}

TEST(Calibrate, RelativePathsStartInTheImageRoot) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "elsewhere.csv";
  Rewrite_Csv(Csv, [](std::size_t, std::vector<std::string>&) {});
  std::vector<std::string> Arguments = Calibrate_Arguments(Csv, Scratch.Path() / "out");
  EXPECT_EQ(Rigsync(Arguments).Status, 4);
  Arguments.push_back("--image-root");
  Arguments.push_back(Capture_File("images").parent_path().string());
  EXPECT_EQ(Rigsync(Arguments).Status, 0);
}

TEST(Calibrate, ASensorSizeGivesFieldOfViewAndFocalLength) {
  const Scratch_Folder Scratch;
  std::vector<std::string> Arguments =
      Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
  Arguments.insert(Arguments.end(), {"--sensor", "24x18"});
  const Finished Result = Rigsync(Arguments);
  EXPECT_EQ(Result.Status, 0);
  EXPECT_THAT(Result.Output, AllOf(HasSubstr("field of view"), HasSubstr(" mm\n")));
  const nlohmann::json Lens = Read_Json(Scratch.Path() / "out/result.json")["lens"];
  const double Norm_Fx = Lens["norm_fxy"][0];
  // The library's factor makes angles too large by a fraction of 1.2e-8.
  constexpr double Angle_Tolerance_Deg = 1e-6;
  EXPECT_NEAR(Lens["fov_deg"][0], 2.0 * std::atan(0.5 / Norm_Fx) * 180.0 / 3.14159265358979,
              Angle_Tolerance_Deg);
  // Both pitches are 24 / 640 mm, so the y axis is taken: fy / height * sensor height.
  const double Norm_Fy = Lens["norm_fxy"][1];
  EXPECT_NEAR(Lens["focal_length_mm"], Norm_Fy * 18.0, 1e-9);
}

TEST(Calibrate, AFlagOverridesTheStageFile) {
  const Scratch_Folder Scratch;
  std::vector<std::string> Arguments =
      Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
  // No image shows a board of these counts.
  Arguments.insert(Arguments.end(), {"--board", "9x8"});
  EXPECT_EQ(Rigsync(Arguments).Status, 4);
  EXPECT_EQ(Read_Json(Scratch.Path() / "out/result.json")["inputs"]["board"],
            (std::vector<int>{9, 8}));
}

TEST(Calibrate, AStageFileTakesTextsNumbersAndListsAndNothingElse) {
  const Scratch_Folder Scratch;
  const auto With = [&](const std::string& Stage) {
    std::vector<std::string> Arguments =
        Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
    Arguments[3] = Scratch.Write("stage.json", Stage);
    return Rigsync(Arguments);
  };
  const Finished Taken = With(R"({"board": "7x5", "square": 0.03, "board-euler": [12, -20, 8],
                                  "board-offset": "-170mm,50mm,40mm"})");
  EXPECT_EQ(Taken.Status, 0) << Taken.Error;
  const std::pair<const char*, const char*> Refused[] = {
      {"{\"boards\": \"7x5\"}", "unknown key 'boards'; expected one of board, square"},
      {"{\"board\": true}", "'board' must be a string, a number or a list"},
      {"{\"board-euler\": [1, \"2\", 3]}", "'board-euler' must be"},
      {"[1]", "expected a JSON object"},
      {"{", "not valid JSON: line 1"},
  };
  for (const auto& [Stage, Why] : Refused) {
    SCOPED_TRACE(Stage);
    const Finished Result = With(Stage);
    EXPECT_EQ(Result.Status, 2);
    EXPECT_THAT(Result.Said, AllOf(HasSubstr("--config"), HasSubstr(Why)));
  }
}

TEST(Calibrate, AWrongValueOfAStageFileIsNamedAsTheFilesAndATypedOneAsTheFlags) {
  const Scratch_Folder Scratch;
  std::vector<std::string> Arguments =
      Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
  const std::string Stage = Scratch.Write("stage.toml", "board = \"7x5\"\nsquare = 30\n");
  Arguments[3] = Stage;
  EXPECT_THAT(Rigsync(Arguments).Said, HasSubstr(Stage + ": 'square': '30' is wrong"));
  Arguments.insert(Arguments.end(), {"--square", "40"});
  EXPECT_THAT(Rigsync(Arguments).Said, HasSubstr("rigsync: --square: '40' is wrong"));
  Arguments[3] = Scratch.Write("offset.json", R"({"board": "7x5", "square": 0.03,
      "board-euler": [12, -20, 8], "board-offset": [170, 50, 40]})");
  Arguments.resize(6);
  EXPECT_THAT(Rigsync(Arguments).Said,
              AllOf(HasSubstr(Arguments[3] + ": 'board-offset': '170,50,40' is wrong"),
                    HasSubstr("for millimetres write 170mm,50mm,40mm")));
}

TEST(Calibrate, AMissingCsvIsCode1WithItsAdviceAndAResultWithoutNumbers) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  const Finished Result = Rigsync(Calibrate_Arguments(Scratch.Path() / "none.csv", Out));
  EXPECT_EQ(Result.Status, 1);
  EXPECT_THAT(Result.Output, AllOf(HasSubstr("Code 1. The CSV file can't be opened."),
                                   Not(HasSubstr("Transform_Cam_Tc"))));
  const nlohmann::json File = Read_Json(Out / "result.json");
  EXPECT_EQ(File["code"], 1);
  EXPECT_TRUE(File["transform_cam_tc"].is_null());
  EXPECT_TRUE(File["lens"]["norm_fxy"].is_null());
  EXPECT_EQ(File["run_log"], Run_Logs(Run_Folder(fs::canonical(Out))).front().string());
}

TEST(Calibrate, TooFewImagesAreCode4AndBecomeTheNewestResult) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  Rewrite_Csv(Csv, Use_Absolute_Images);
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Csv, Out)).Status, 0);
  Rewrite_Csv(Csv, [](std::size_t Index, std::vector<std::string>& Fields) {
    Use_Absolute_Images(Index, Fields);
    if (Index >= 11) Fields.clear();  // the line is left out
  });
  const Finished Result = Rigsync(Calibrate_Arguments(Csv, Out));
  EXPECT_EQ(Result.Status, 4);
  EXPECT_THAT(Result.Output, HasSubstr("Code 4. The board was found in fewer than 12 images."));
  EXPECT_EQ(Read_Json(Out / "result.json")["code"], 4);
  EXPECT_TRUE(Read_Json(Out / "result.json")["transform_cam_tc"].is_null());
  // Each run keeps its own.
  const std::vector<fs::path> Runs = Run_Folders(Out);
  ASSERT_EQ(Runs.size(), 2u);
  EXPECT_EQ(Read_Json(Runs[0] / "result.json")["code"], 0);
  EXPECT_EQ(Read_Json(Runs[1] / "result.json")["code"], 4);
  for (const auto& Entry : fs::directory_iterator(Out)) {
    EXPECT_NE(Entry.path().filename().string().front(), '.') << Entry.path();
  }
}

TEST(Calibrate, AnExceptionIsOneSentenceStatus70AndThePathOfTheRunLog) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  // Images are recognised by their content when read and by their name when written: OpenCV writes
  // no reprojection images of whole numbers for these.
  Rewrite_Csv(Csv, [&](std::size_t, std::vector<std::string>& Fields) {
    const fs::path Image = Capture_File("images").parent_path() / Fields[1];
    const fs::path Link = Scratch.Path() / (Image.stem().string() + ".exr");
    fs::create_symlink(Image, Link);
    Fields[1] = Link.string();
  });
  const Finished Result = Rigsync(Calibrate_Arguments(Csv, Out));
  EXPECT_EQ(Result.Status, 70);
  EXPECT_EQ(Result.Output, "");
  EXPECT_THAT(Result.Said,
              AllOf(HasSubstr("rigsync: an exception ended the calibration: "),
                    HasSubstr("imwrite"), HasSubstr("run log"),
                    HasSubstr(Run_Logs(Run_Folder(fs::canonical(Out))).front().string()),
                    Not(HasSubstr("terminate called"))));
  const nlohmann::json File = Read_Json(Out / "result.json");
  EXPECT_TRUE(File["code"].is_null());
  EXPECT_TRUE(File["transform_cam_tc"].is_null());
  EXPECT_THAT(File["message"].get<std::string>(),
              AllOf(HasSubstr("An exception ended the run"), Not(HasSubstr("\n"))));
}

TEST(Calibrate, ACode0WithNumbersThatAreNotFiniteIsWarnedAbout) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  Rewrite_Csv(Csv, [](std::size_t Index, std::vector<std::string>& Fields) {
    Use_Absolute_Images(Index, Fields);
    if (Index == 3) Fields[2] = "nan";
  });
  const Finished Result = Rigsync(Calibrate_Arguments(Csv, Out));
  // Every comparison with NaN is false, so every limit is passed, and the library's code is 0.
  EXPECT_EQ(Result.Status, 21);
  EXPECT_THAT(Result.Output, StartsWith("Don't use it. The library's transform holds NaN"));
  const nlohmann::json File = Read_Json(Out / "result.json");
  EXPECT_TRUE(File["transform_cam_tc"][3].is_null());
  EXPECT_EQ(File["usable"], false);
  const Finished Export =
      Rigsync({"export", (Out / "result.json").string(), "--to", "ue5", "--json"});
  EXPECT_EQ(Export.Status, 2);
  EXPECT_EQ(Export.Output, "");
  EXPECT_THAT(Export.Said,
              AllOf(HasSubstr("the library's transform holds NaN or infinite numbers"),
                    HasSubstr("--solution joint"), Not(HasSubstr("expected a result.json"))));
}

TEST(Calibrate, AnImagePathThatClimbsOutIsRefusedBeforeAnythingIsWritten) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv";
  // Joined to the output folder, this path would lead over the original photograph.
  fs::create_directory(Scratch.Path() / "images");
  Rewrite_Csv(Csv, [&](std::size_t, std::vector<std::string>& Fields) {
    const fs::path Image = Capture_File("images").parent_path() / Fields[1];
    fs::copy_file(Image, Scratch.Path() / Image.filename());
    Fields[1] = "images/../" + Image.filename().string();
  });
  const std::string Before = Read_Text(Scratch.Path() / "0001.png");
  const Finished Result = Rigsync(Calibrate_Arguments(Csv, Scratch.Path()));
  EXPECT_EQ(Result.Status, 2);
  EXPECT_THAT(Result.Said, AllOf(HasSubstr("line 1"), HasSubstr("images/../0001.png")));
  EXPECT_EQ(Read_Text(Scratch.Path() / "0001.png"), Before);
  EXPECT_TRUE(Run_Folders(Scratch.Path()).empty());
  EXPECT_FALSE(fs::exists(Scratch.Path() / "result.json"));
}

TEST(Calibrate, AReprojectionFolderThatCantBeMadeIsWarnedAbout) {
  const Scratch_Folder Scratch;
  // With "Reproject_" in front, the folder's name is longer than a name may be.
  const std::string Long_Name(250, 'f');
  fs::create_directory_symlink(Capture_File("images"), Scratch.Path() / Long_Name);
  const fs::path Csv = Scratch.Path() / "capture.csv";
  Rewrite_Csv(Csv, [&](std::size_t, std::vector<std::string>& Fields) {
    Fields[1] = Long_Name + "/" + fs::path(Fields[1]).filename().string();
  });
  const Finished Result = Rigsync(Calibrate_Arguments(Csv, Scratch.Path() / "out"));
  EXPECT_EQ(Result.Status, 0);
  EXPECT_THAT(Result.Said,
              AllOf(HasSubstr("warning"),
                    HasSubstr("f/0001.png' will be missing: its folder cannot be created")));
}

TEST(Calibrate, BinaryGarbageEndsInACodeAndMakesNoFolders) {
  const Scratch_Folder Scratch;
  std::string Garbage;
  for (unsigned i = 0, Value = 1; i < 20000; ++i) {
    Value = Value * 1103515245u + 12345u;
    Garbage += "/,\n\0x"[Value >> 16 & 3u];
    Garbage += static_cast<char>(Value >> 24);
  }
  const fs::path Out = Scratch.Path() / "out";
  const Finished Result = Rigsync(Calibrate_Arguments(Scratch.Write("garbage.csv", Garbage), Out));
  EXPECT_EQ(Result.Status, 4);
  for (const auto& Entry : fs::directory_iterator(Run_Folder(Out))) {
    EXPECT_FALSE(Entry.is_directory()) << Entry.path();
  }
}

TEST(Calibrate, LinesWithoutPathsFitATerminal) {
  const Scratch_Folder Scratch;
  const Finished Result =
      Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out"));
  ASSERT_EQ(Result.Status, 0) << Result.Error;
  std::istringstream Lines(Result.Output);
  for (std::string Line; std::getline(Lines, Line);) {
    if (Line.find('/') == std::string::npos) {
      EXPECT_LE(Line.size(), Terminal_Width) << Line;
    }
  }
}

TEST(Calibrate, WorksWithStandardOutputClosed) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  std::string Words = "exec " RIGSYNC_PROGRAM;
  for (const std::string& Word : Calibrate_Arguments(Capture_File("capture.csv"), Out)) {
    Words += " '" + Word + "'";
  }
  EXPECT_EQ(Run_Program("/bin/sh", {"-c", Words + " >&-"}).Status, 0);
  EXPECT_EQ(Read_Json(Out / "result.json")["code"], 0);
  EXPECT_THAT(Read_Text(Run_Logs(Run_Folder(Out)).front()), Not(HasSubstr("Code 0.")));
}

TEST(Calibrate, ACsvFromAPipeReachesTheLibraryWhole) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  Rewrite_Csv(Csv, Use_Absolute_Images);
  std::string Words = "cat '" + Csv.string() + "' | " RIGSYNC_PROGRAM;
  for (const std::string& Word : Calibrate_Arguments("/dev/stdin", Out)) Words += " '" + Word + "'";
  EXPECT_EQ(Run_Program("/bin/sh", {"-c", Words + " --library-only"}).Status, 0);
  // Without it the file would have to be read twice.
  const Finished Refused = Run_Program("/bin/sh", {"-c", Words});
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, HasSubstr("expected the capture's CSV file, or --library-only"));
}

TEST(Calibrate, TheExampleHostSolvesAndExportsToo) {
  const Scratch_Folder Scratch;
  // It expects a board of 11x8, which this capture does not show.
  const Finished Wrong_Board =
      Run_Program(RIGSYNC_MINIMAL_HOST, {Capture_File("capture.csv").string(), Scratch.String()},
                  Capture_File("images").parent_path());
  EXPECT_EQ(Wrong_Board.Status, 4);

  const std::string Capture = (Scratch.Path() / "capture").string();
  ASSERT_EQ(Rigsync({"simulate", Capture, "--images", "13", "--size", "800x600"}).Status, 0);
  const Finished Result =
      Run_Program(RIGSYNC_MINIMAL_HOST, {Capture + "/capture.csv", Scratch.String()});
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  for (const char* Engine :
       {"ue4 rotation", "ue5 quaternion", "ue5-xn quaternion", "aximmetry turns"}) {
    EXPECT_THAT(Result.Output, HasSubstr(std::string("\n") + Engine));
  }
}

TEST(Calibrate, TheExampleHostPrintsItsUsage) {
  const Finished Alone = Run_Program(RIGSYNC_MINIMAL_HOST, {});
  EXPECT_EQ(Alone.Status, 2);
  EXPECT_EQ(Alone.Error, "usage: " RIGSYNC_MINIMAL_HOST " CAPTURE.csv OUTPUT_FOLDER\n");
}

TEST(Calibrate, PrintsTheFieldsOfAnEngineAsExportDoes) {
  const Scratch_Folder Scratch;
  std::vector<std::string> Arguments =
      Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
  Arguments.insert(Arguments.end(), {"--to", "aximmetry"});
  const Finished Calibrated = Rigsync(Arguments);
  EXPECT_EQ(Calibrated.Status, 0) << Calibrated.Error;
  const Finished Exported =
      Rigsync({"export", (Scratch.Path() / "out/result.json").string(), "--to", "aximmetry"});
  ASSERT_THAT(Exported.Output, HasSubstr("Aximmetry"));
  EXPECT_THAT(Calibrated.Output, testing::EndsWith("\n\n" + Exported.Output));
}

TEST(Calibrate, SaysWhyThereAreNoFieldsOfAnEngine) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv", "Time,Image\n");
  std::vector<std::string> Arguments = Calibrate_Arguments(Csv, Scratch.Path() / "out");
  Arguments.insert(Arguments.end(), {"--to", "ue5"});
  const Finished Result = Rigsync(Arguments);
  EXPECT_EQ(Result.Status, 4) << Result.Output;  // the board in fewer than 12 images
  EXPECT_THAT(Result.Error, AllOf(HasSubstr("no fields of Unreal Engine 5"),
                                  HasSubstr("has no result to export")));
}

}  // namespace
