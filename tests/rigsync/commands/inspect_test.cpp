// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync inspect' as a user runs it: on a good capture, on copies with one fault each, and on
// captures that were taken badly.
#include "rigsync/system/text.h"
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/support/sanitized.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

constexpr std::size_t Terminal_Width = 80;

using Lines = std::vector<int>;
using Fields = std::vector<std::string>;
using Change = std::function<void(std::size_t Index, Fields& Row)>;

std::vector<std::string> Inspect_Arguments(const fs::path& Csv,
                                           const std::vector<std::string>& More = {}) {
  std::vector<std::string> Arguments = {"inspect", Csv.string(), "--config",
                                        Capture_File("stage.json").string()};
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Arguments;
}

struct Inspection_Report {
  int Status = -1;
  nlohmann::json Json;
  std::map<std::string, Lines> Found;  // by id

  std::string Text(const std::string& Id, const char* Part) const {
    for (const nlohmann::json& One : Json["findings"]) {
      if (One["id"] == Id) return One[Part];
    }
    return Id + " wasn't found";
  }
};

Inspection_Report Inspect_Json(std::vector<std::string> Arguments) {
  Arguments.push_back("--json");
  const Finished Result = Rigsync(Arguments);
  EXPECT_EQ(Result.Error, "");
  Inspection_Report Report;
  Report.Status = Result.Status;
  Report.Json = nlohmann::json::parse(Result.Output);
  for (const nlohmann::json& One : Report.Json["findings"]) {
    Report.Found[One["id"]] = One["lines"].get<Lines>();
  }
  return Report;
}

// The capture's CSV with absolute image paths and the changes that Changed makes to each row. It
// has no header line. Its 14 images of a symmetric board give few_boards and board_symmetric.
fs::path Changed_Csv(const Scratch_Folder& Scratch, const Change& Changed) {
  const fs::path Csv = Scratch.Path() / "changed.csv";
  Rewrite_Csv(Csv, [&](std::size_t Index, Fields& Row) {
    Row[1] = (Capture_File("images").parent_path() / Row[1]).string();
    Changed(Index, Row);
  });
  return Csv;
}

// The findings that the unchanged capture does not have.
std::map<std::string, Lines> News(const Inspection_Report& Report) {
  std::map<std::string, Lines> Found = Report.Found;
  EXPECT_EQ(Found.erase("few_boards"), 1u);
  EXPECT_EQ(Found.erase("board_symmetric"), 1u);
  return Found;
}

std::map<std::string, Lines> News_Of(const Change& Changed) {
  const Scratch_Folder Scratch;
  const Inspection_Report Report = Inspect_Json(Inspect_Arguments(Changed_Csv(Scratch, Changed)));
  EXPECT_EQ(Report.Status, 1);
  return News(Report);
}

// Captures that are simulated once for all tests of this file.
class Inspect : public testing::Test {
 protected:
  static void SetUpTestSuite() { Scratch = new Scratch_Folder; }
  static void TearDownTestSuite() {
    delete Scratch;
    Scratch = nullptr;
  }
  // The arguments that inspect a capture simulated with these options.
  static std::vector<std::string> Simulated(const std::string& Name, Fields Options) {
    const std::string Folder = (Scratch->Path() / Name).string();
    if (!fs::exists(Folder)) {
      Options.insert(Options.begin(), {"simulate", Folder});
      EXPECT_EQ(Rigsync(Options).Status, 0);
    }
    return {"inspect", Folder + "/capture.csv", "--config", Folder + "/stage.json"};
  }
  static std::vector<std::string> Good() {
    return Simulated("good", {"--images", "20", "--size", "960x540", "--position-noise", "0.3mm",
                              "--rotation-noise", "0.03"});
  }
  static Scratch_Folder* Scratch;
};
Scratch_Folder* Inspect::Scratch = nullptr;

TEST_F(Inspect, AGoodCaptureIsCleanAndShownWhole) {
  const Finished Result = Rigsync(Good());
  EXPECT_EQ(Result.Status, 0);
  EXPECT_EQ(Result.Error, "");
  EXPECT_THAT(Result.Output, AllOf(HasSubstr("lines             21: 1 header, 20 data lines\n"),
                                   HasSubstr("image size        960 x 540 pixels\n"),
                                   HasSubstr("boards            found in 20 of 20 data lines\n"),
                                   HasSubstr("Where corners were found: "),
                                   HasSubstr("board tilt  "), HasSubstr("board distance  "),
                                   HasSubstr("Solved from images and samples (+- at 95 percent)"),
                                   HasSubstr("camera tracker    "), HasSubstr("board's angles    "),
                                   HasSubstr("lines that agree  20 of 20\n"),
                                   HasSubstr("\nClean: the capture is ready to be calibrated.\n"),
                                   Not(HasSubstr("Findings")), Not(HasSubstr("\x1b"))));
}

TEST_F(Inspect, TheJsonReportHasTheSameContent) {
  const Inspection_Report Report = Inspect_Json(Good());
  EXPECT_EQ(Report.Status, 0);
  EXPECT_EQ(Report.Json["format"], "rigsync-inspection");
  EXPECT_EQ(Report.Json["status"], "clean");
  EXPECT_EQ(Report.Json["file"],
            (nlohmann::json{{"lines", 21}, {"headers", 1}, {"data_lines", 20}}));
  EXPECT_EQ(Report.Json["inputs"]["board"], (std::vector<int>{11, 8}));
  EXPECT_EQ(Report.Json["inputs"]["square_m"], 0.03);
  EXPECT_EQ(Report.Json["boards"]["found"], 20);
  EXPECT_EQ(Report.Json["boards"]["image_size"], (std::vector<int>{960, 540}));
  EXPECT_EQ(Report.Json["rows"].size(), 20u);
  EXPECT_EQ(Report.Json["rows"][0]["line"], 2);
  EXPECT_EQ(Report.Json["rows"][0]["state"], "board_found");
  // The fit is close to the simulator's lens and poses: half a pixel of the focal length.
  EXPECT_NEAR(Report.Json["boards"]["norm_fx"], 1.1, 0.5 / 960);
  EXPECT_GT(Report.Json["poses"]["tilt_deg"][1], 39.0);
  EXPECT_LT(Report.Json["poses"]["tilt_deg"][1], 46.0);
  EXPECT_NEAR(Report.Json["agreement"]["scale"], 1.0, 0.001);

  int Cells = 0, Seen = 0;
  for (const nlohmann::json& Row : Report.Json["coverage"]["images_by_cell"]) {
    for (const int Count : Row) {
      ++Cells;
      Seen += Count > 0 ? 1 : 0;
    }
  }
  EXPECT_EQ(Cells, 144);
  EXPECT_NEAR(Report.Json["coverage"]["share"], Seen / 144.0, 1e-12);
}

TEST_F(Inspect, TheSolvedMountsAreThoseOfTheSimulatorWithinTheirHalfWidths) {
  const Inspection_Report Report = Inspect_Json(Good());
  const nlohmann::json& Solution = Report.Json["solution"];
  ASSERT_EQ(Solution["status"], "solved");
  // Three half-widths at 95 percent are almost six standard deviations.
  constexpr double Sure = 3.0;
  const nlohmann::json& Camera = Solution["camera_mount"];
  const auto Solved = Camera["transform_cam_tc"].get<std::vector<double>>();
  ASSERT_EQ(Solved.size(), 16u);
  const std::vector<double> True_Position = {0.06, -0.14, -0.08};
  for (std::size_t r = 0; r < 3; ++r) {
    const double Half_Width_Mm = Camera["half_width_mm"][r];
    EXPECT_GT(Half_Width_Mm, 0.0);
    EXPECT_LT(Half_Width_Mm, 2.0);
    EXPECT_NEAR(Solved[4 * r + 3], True_Position[r], 1e-3 * Sure * Half_Width_Mm);
  }
  const nlohmann::json& Board = Solution["board_mount"];
  const std::vector<double> Euler = {12, -20, 8}, Offset = {-0.17, 0.05, 0.04};
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_NEAR(Board["euler_deg"][k], Euler[k], Sure * Board["widest_deg"].get<double>());
    EXPECT_NEAR(Board["offset_m"][k], Offset[k], 1e-3 * Sure * Board["widest_mm"].get<double>());
  }
  EXPECT_NEAR(Solution["square"]["scale"], 1.0, 0.002);
  // 0.3 mm of each tracker, and more than half of the rows agree on it.
  EXPECT_NEAR(Solution["noise"]["position_mm"], std::sqrt(2.0) * 0.3, 0.2);
  EXPECT_NEAR(Solution["noise"]["rotation_deg"], 0.03, 0.015);
  ASSERT_EQ(Solution["rows"].size(), 20u);
  EXPECT_EQ(Solution["rows"][0]["line"], 2);
  EXPECT_EQ(Solution["rows"][0]["agrees"], true);
}

TEST_F(Inspect, NothingIsSolvedFromSamplesThatAreNotReadAsTheyAreMeant) {
  std::vector<std::string> Arguments = Good();
  Arguments.insert(Arguments.end(), {"--square", "300mm"});
  const Inspection_Report Report = Inspect_Json(Arguments);
  EXPECT_EQ(Report.Status, 2);
  EXPECT_EQ(Report.Found, (std::map<std::string, Lines>{{"scale", {}}}));
  EXPECT_THAT(Report.Text("scale", "example"), HasSubstr("would fit, 0.1 times the current one"));
  EXPECT_TRUE(Report.Json["solution"]["camera_mount"].is_null());
  EXPECT_TRUE(Report.Json["solution"]["rows"].empty());
}

TEST_F(Inspect, StaleSamplesAreNamedAndAGoodEstimateIsNotBlamed) {
  for (const char* Seed : {"5", "6", "7"}) {
    const std::string Name = std::string("stale") + Seed;
    const Inspection_Report Report = Inspect_Json(
        Simulated(Name, {"--stale", "6", "--seed", Seed, "--size", "960x540", "--position-noise",
                         "0.3mm", "--rotation-noise", "0.03", "--estimate-error-offset", "1mm",
                         "--estimate-error-angle", "0.1"}));
    EXPECT_THAT(Report.Found, ElementsAre(Key("camera_stale"), Key("sample_disagrees")));
    EXPECT_EQ(Report.Found.at("camera_stale"), Report.Found.at("sample_disagrees"));
    EXPECT_EQ(Report.Found.at("sample_disagrees").size(), 6u);
  }
}

TEST_F(Inspect, HalfOfTheRowsStaleLeavesNoMajority) {
  const Inspection_Report Report =
      Inspect_Json(Simulated("half", {"--stale", "12", "--seed", "3012", "--size", "960x540",
                                      "--position-noise", "0.3mm", "--rotation-noise", "0.03"}));
  EXPECT_EQ(Report.Status, 2);
  EXPECT_THAT(Report.Found, ElementsAre(Key("camera_stale"), Key("no_majority")));
  EXPECT_THAT(Report.Text("no_majority", "what"), HasSubstr("of 24 lines agree"));
}

TEST_F(Inspect, ASquareThatIsHalfAPercentOffComesWithTheOneThatFits) {
  std::vector<std::string> Arguments = Good();
  Arguments.insert(Arguments.end(), {"--square", "30.15mm"});
  const Inspection_Report Report = Inspect_Json(Arguments);
  EXPECT_EQ(Report.Status, 1);
  EXPECT_EQ(Report.Found, (std::map<std::string, Lines>{{"scale", {}}}));
  std::smatch Fitting;
  const std::string What = Report.Text("scale", "what");
  ASSERT_TRUE(std::regex_search(What, Fitting, std::regex("shorter than --square: (.*) mm \\+-")))
      << What;
  EXPECT_NEAR(std::stod(Fitting[1]), 30.0, 0.05);
}

TEST_F(Inspect, AnEstimateIsHeldAgainstTheAccuracyThatIsStated) {
  const auto With = [](const std::string& Accuracy) {
    return Inspect_Json({"inspect", Good()[1], "--config", Good()[3], "--board-euler", "12,-23,8",
                         "--board-accuracy", Accuracy});
  };
  EXPECT_THAT(With("5mm,0.5deg").Text("board_euler", "example"), HasSubstr("is not used"));
  EXPECT_EQ(With("5mm,3deg").Text("board_euler", "example"), "");
}

TEST_F(Inspect, EveryReportIsValidAgainstTheSchema) {
  const Scratch_Folder Folder;
  const auto Check = [&](std::vector<std::string> Arguments) {
    Arguments.push_back("--json");
    const std::string File = Folder.Write("report.json", Rigsync(Arguments).Output);
    const Finished Result = Run_Program(
        "/usr/bin/env", {"python3", RIGSYNC_SOURCE_DIR "/tests/rigsync/formats/check_schema.py",
                         RIGSYNC_SOURCE_DIR "/docs/inspection.schema.json", File});
    EXPECT_EQ(Result.Status, 0) << Result.Output << Result.Error;
  };
  Check(Good());
  Check(Inspect_Arguments(Folder.Write("empty.csv", "")));
  Check({"inspect", Capture_File("capture.csv").string(), "--no-images"});
  Check(Inspect_Arguments(Changed_Csv(Folder, [](std::size_t Index, Fields& Row) {
    if (Index == 2) Row[5] = "\xff\xfe lost";  // no UTF-8
    if (Index == 3) Row[1] = "/none.png";
  })));
}

TEST_F(Inspect, EachKindOfFaultIsFoundAtItsLine) {
  using Found = std::map<std::string, Lines>;
  EXPECT_EQ(News_Of([](std::size_t, Fields&) {}), Found{});
  EXPECT_EQ(News_Of([](std::size_t Index, Fields& Row) {
              if (Index == 3) Row.pop_back();
            }),
            (Found{{"too_few_fields", {4}}}));
  EXPECT_EQ(News_Of([](std::size_t Index, Fields& Row) {
              if (Index >= 5 && Index <= 7) Row.push_back("more");
            }),
            (Found{{"too_many_fields", {6, 7, 8}}}));
  EXPECT_EQ(News_Of([](std::size_t Index, Fields& Row) {
              if (Index == 8) Row[12] = "lost";
            }),
            (Found{{"not_a_number", {9}}}));
  EXPECT_EQ(News_Of([](std::size_t Index, Fields& Row) {
              if (Index == 13) Row[15] += "\r";
            }),
            (Found{{"carriage_return", {14}}}));
  EXPECT_EQ(News_Of([](std::size_t Index, Fields& Row) {
              if (Index == 9) Row[5] = Row[6] = Row[7] = Row[8] = "0";
            }),
            (Found{{"camera_quaternion_zero", {10}}}));
  EXPECT_EQ(News_Of([](std::size_t Index, Fields& Row) {
              for (std::size_t k = 12; Index == 10 && k < 16; ++k) Row[k] += "e1";
            }),
            (Found{{"board_quaternion_length", {11}}}));
}

TEST_F(Inspect, AStaleSampleIsFoundTwiceByItsRepetitionAndByItsImage) {
  Fields Before;
  const auto Found = News_Of([&](std::size_t Index, Fields& Row) {
    if (Index == 6) std::copy(Before.begin() + 9, Before.end(), Row.begin() + 9);
    Before = Row;
  });
  EXPECT_EQ(Found, (std::map<std::string, Lines>{{"board_stale", {7}}, {"sample_disagrees", {7}}}));
}

TEST_F(Inspect, FaultsOfImagesAreFoundAtTheirLine) {
  const Scratch_Folder Folder;
  const fs::path Broken = Folder.Write("broken.png", "no image at all");
  const fs::path Small = Folder.Path() / "small.png", Blank = Folder.Path() / "blank.png";
  cv::imwrite(Small.string(), cv::Mat(100, 100, CV_8UC3, cv::Scalar::all(128)));
  cv::imwrite(Blank.string(), cv::Mat(480, 640, CV_8UC3, cv::Scalar::all(128)));
  std::string Second;
  const fs::path Csv = Changed_Csv(Folder, [&](std::size_t Index, Fields& Row) {
    if (Index == 1) Second = Row[1];
    if (Index == 2) Row[1] = "none.png";
    if (Index == 3) Row[1] = Folder.String();
    if (Index == 4) Row[1] = Broken.string();
    if (Index == 5) Row[1] = Small.string();
    if (Index == 6) Row[1] = Blank.string();
    if (Index == 7) Row[1] = Second;
    if (Index == 8) Row[1] = "";
    if (Index == 9) Row[1] = " " + Row[1];
  });
  Inspection_Report Report = Inspect_Json(Inspect_Arguments(Csv));
  EXPECT_EQ(Report.Status, 2);
  EXPECT_THAT(Report.Found, AllOf(Contains(Pair("image_missing", Lines{3, 10})),
                                  Contains(Pair("image_not_a_file", Lines{4})),
                                  Contains(Pair("image_unreadable", Lines{5})),
                                  Contains(Pair("image_size", Lines{6})),
                                  Contains(Pair("board_not_found", Lines{6, 7})),
                                  Contains(Pair("image_repeated", Lines{8})),
                                  Contains(Pair("image_path_empty", Lines{9})),
                                  Contains(Pair("sample_disagrees", Lines{8})),
                                  Contains(Pair("too_few_boards", Lines{}))));
  EXPECT_EQ(Report.Json["status"], "unusable");
  EXPECT_EQ(Report.Json["boards"]["found"], 7);
  std::vector<std::string> States;
  for (const nlohmann::json& Row : Report.Json["rows"]) States.push_back(Row["state"]);
  EXPECT_THAT(States, ElementsAre("board_found", "board_found", "missing", "missing", "unreadable",
                                  "no_board", "no_board", "board_found", "missing", "missing",
                                  "board_found", "board_found", "board_found", "board_found"));
}

TEST_F(Inspect, AnImageOfAnotherSizeCountsAsTheLibraryCountsIt) {
  const Scratch_Folder Folder;
  const fs::path Wide = Folder.Path() / "wide.png";
  const fs::path Csv = Changed_Csv(Folder, [&](std::size_t Index, Fields& Row) {
    if (Index != 4) return;
    cv::Mat Larger;
    cv::copyMakeBorder(cv::imread(Row[1]), Larger, 0, 0, 0, 40, cv::BORDER_REPLICATE);
    cv::imwrite(Wide.string(), Larger);
    Row[1] = Wide.string();
  });
  const Inspection_Report Report = Inspect_Json(Inspect_Arguments(Csv));
  EXPECT_EQ(News(Report), (std::map<std::string, Lines>{{"image_size", {5}}}));
  EXPECT_EQ(Report.Json["boards"]["found"], 14);
  EXPECT_EQ(Report.Json["rows"][4]["state"], "other_size");
  EXPECT_THAT(Report.Text("image_size", "example"), HasSubstr("680 x 480"));
}

// A copy of the image with its columns shifted up and down in waves, as if the board were bent.
void Write_Wavy(const fs::path& From, const fs::path& To, double Amplitude, double Phase) {
  const cv::Mat Flat = cv::imread(From.string());
  cv::Mat X(Flat.size(), CV_32F), Y(Flat.size(), CV_32F), Wavy;
  for (int r = 0; r < Flat.rows; ++r) {
    for (int c = 0; c < Flat.cols; ++c) {
      X.at<float>(r, c) = static_cast<float>(c);
      Y.at<float>(r, c) = static_cast<float>(r + Amplitude * std::sin(0.04 * c + Phase));
    }
  }
  cv::remap(Flat, Wavy, X, Y, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
  cv::imwrite(To.string(), Wavy);
}

TEST_F(Inspect, ABentBoardIsReportedAndManyMakeTheCaptureUnusable) {
  const Scratch_Folder Folder;
  const auto With = [&](std::size_t Step) {
    return Inspect_Json(Inspect_Arguments(Changed_Csv(Folder, [&](std::size_t Index, Fields& Row) {
      if (Index % Step != 3 % Step) return;
      const fs::path Copy = Folder.Path() / fs::path(Row[1]).filename();
      Write_Wavy(Row[1], Copy, 6.0, 0.8 * static_cast<double>(Index));
      Row[1] = Copy.string();
    })));
  };
  const Inspection_Report One = With(14);
  EXPECT_THAT(One.Found, Contains(Pair("board_fits_badly", Lines{4})));
  EXPECT_THAT(One.Found, Not(Contains(Key("board_not_found"))));
  const Inspection_Report All = With(1);
  EXPECT_EQ(All.Status, 2);
  EXPECT_THAT(All.Found, Contains(Key("lens_fits_badly")));
  EXPECT_GT(All.Json["boards"]["lens_rms_px"], 1.5);
}

TEST_F(Inspect, AnImageForWhichTheDecoderThrowsIsAnError) {
  const Scratch_Folder Folder;
  const fs::path Large = Folder.Path() / "large.png";
  cv::imwrite(Large.string(), cv::Mat(500, 700, CV_8UC3, cv::Scalar::all(128)));
  std::vector<std::string> Words = {"OPENCV_IO_MAX_IMAGE_PIXELS=320000", RIGSYNC_PROGRAM};
  for (const std::string& Word :
       Inspect_Arguments(Changed_Csv(Folder, [&](std::size_t Index, Fields&Row) {
         if (Index == 5) Row[1] = Large.string();
       }))) {
    Words.push_back(Word);
  }
  const Finished Result = Run_Program("/usr/bin/env", Words);
  EXPECT_EQ(Result.Status, 2);
  EXPECT_THAT(Result.Output, AllOf(HasSubstr("  error, line 6\n    The image decoder throws"),
                                   HasSubstr("found in 13 of 14")));
}

TEST_F(Inspect, AMissingImageComesWithAHintWhereItCouldBe) {
  const Scratch_Folder Folder;
  const auto Example = [&](const std::function<std::string(const std::string&)>& Spoil) {
    const fs::path Csv = Changed_Csv(Folder, [&](std::size_t Index, Fields& Row) {
      if (Index == 0) Row[1] = Spoil(Row[1]);
    });
    return Inspect_Json(Inspect_Arguments(Csv, {"--no-images"})).Text("image_missing", "example");
  };
  EXPECT_THAT(Example([](const std::string& Path) { return Path + " "; }), HasSubstr("blanks"));
  EXPECT_THAT(Example([](const std::string& Path) { return '"' + Path + '"'; }),
              HasSubstr("quotes"));
  EXPECT_THAT(Example([](std::string Path) {
                std::replace(Path.begin(), Path.end(), '/', '\\');
                return Path;
              }),
              HasSubstr("forward slashes"));
  Folder.Write("0001.png", "");
  EXPECT_THAT(Example([](const std::string&) { return "C:\\capture\\0001.png"; }),
              HasSubstr("a file of this name in " + Folder.String()));
}

TEST_F(Inspect, ErrorsMakeTheCaptureUnusable) {
  const Scratch_Folder Folder;
  const auto Inspected = [&](const Change& Changed) {
    return Inspect_Json(Inspect_Arguments(Changed_Csv(Folder, Changed)));
  };
  const Inspection_Report Not_Finite = Inspected([](std::size_t Index, Fields& Row) {
    if (Index == 6) Row[3] = "inf";
  });
  EXPECT_EQ(Not_Finite.Status, 2);
  EXPECT_EQ(News(Not_Finite), (std::map<std::string, Lines>{{"not_finite", {7}}}));

  const Inspection_Report Millimetres = Inspected([](std::size_t, Fields& Row) {
    for (const std::size_t k : {2u, 3u, 4u, 9u, 10u, 11u}) {
      Row[k] = std::to_string(1000.0 * std::stod(Row[k]));
    }
  });
  EXPECT_EQ(Millimetres.Status, 2);
  EXPECT_THAT(News(Millimetres), ElementsAre(Key("scale"), Key("wrong_unit")));

  const Inspection_Report Attitudes = Inspected([](std::size_t, Fields& Row) {
    for (const std::size_t k : {6u, 7u, 8u, 13u, 14u, 15u}) {
      Row[k] = Row[k][0] == '-' ? Row[k].substr(1) : "-" + Row[k];
    }
  });
  EXPECT_EQ(Attitudes.Status, 2);
  EXPECT_THAT(News(Attitudes), ElementsAre(Key("trackers_disagree")));
  EXPECT_THAT(Attitudes.Text("trackers_disagree", "what"), HasSubstr("negate x, y and z"));

  // From a left-handed tracking system.
  const Inspection_Report Mirrored = Inspected([](std::size_t, Fields& Row) {
    for (const std::size_t k : {3u, 6u, 8u, 10u, 13u, 15u}) {
      Row[k] = std::to_string(-std::stod(Row[k]));
    }
  });
  EXPECT_EQ(Mirrored.Status, 2);
  EXPECT_THAT(News(Mirrored), ElementsAre(Key("left_handed")));
  EXPECT_THAT(Mirrored.Text("left_handed", "advice"), HasSubstr("right-handed"));
  EXPECT_NEAR(Mirrored.Json["agreement"]["scale"], -1.0, 0.001);
  const Inspection_Report Positions = Inspected([](std::size_t, Fields& Row) {
    for (const std::size_t k : {3u, 10u}) Row[k] = std::to_string(-std::stod(Row[k]));
  });
  EXPECT_EQ(Positions.Status, 2);
  EXPECT_THAT(News(Positions), ElementsAre(Key("axis_mirrored")));
  EXPECT_THAT(Positions.Text("axis_mirrored", "what"), HasSubstr("negate y in every position"));

  fs::create_directory(Folder.Path() / "up");
  fs::copy_file(Capture_File("images") / "0001.png", Folder.Path() / "0001.png");
  const Inspection_Report Climbing = Inspected([](std::size_t Index, Fields& Row) {
    if (Index == 0) Row[1] = "up/../0001.png";
  });
  EXPECT_EQ(Climbing.Status, 2);
  EXPECT_EQ(News(Climbing), (std::map<std::string, Lines>{{"image_path_climbs_out", {1}}}));
  EXPECT_EQ(Rigsync(Calibrate_Arguments(Folder.Path() / "changed.csv", Folder.Path() / "o")).Status,
            2);
}

TEST_F(Inspect, ElevenBoardsAreUnusableAndTwelveAreFew) {
  const Scratch_Folder Folder;
  const auto With = [&](std::size_t Count) {
    const fs::path Csv = Changed_Csv(Folder, [&](std::size_t Index, Fields& Row) {
      if (Index >= Count) Row.clear();  // the line is left out
    });
    return Inspect_Json(Inspect_Arguments(Csv));
  };
  EXPECT_EQ(With(11).Status, 2);
  EXPECT_THAT(With(11).Found, Contains(Key("too_few_boards")));
  EXPECT_EQ(With(12).Status, 1);
  EXPECT_THAT(With(12).Found, Contains(Key("few_boards")));
}

TEST_F(Inspect, WrongCountsComeWithThoseOfTheBoard) {
  const Inspection_Report Report = Inspect_Json(
      {"inspect", Capture_File("capture.csv").string(), "--board", "8x6", "--square", "30mm"});
  EXPECT_EQ(Report.Status, 2);
  EXPECT_EQ(Report.Json["boards"]["found"], 0);
  EXPECT_TRUE(Report.Json["coverage"].is_null());
  EXPECT_THAT(Report.Found, ElementsAre(Pair("board_counts", IsEmpty())));
  EXPECT_THAT(Report.Text("board_counts", "what"), HasSubstr("This looks like 7x5:"));
  EXPECT_THAT(Report.Text("board_counts", "advice"),
              AllOf(HasSubstr("and not squares"), HasSubstr("with --board 7x5.")));
}

TEST_F(Inspect, AMisprintedSquareShowsAgainstTheTrackers) {
  std::vector<std::string> Arguments = Good();
  Arguments.insert(Arguments.end(), {"--square", "31.5mm"});
  const Inspection_Report Report = Inspect_Json(Arguments);
  EXPECT_EQ(Report.Found, (std::map<std::string, Lines>{{"scale", {}}}));
  EXPECT_THAT(Report.Text("scale", "what"), HasSubstr("1.05 m of the board"));
}

TEST_F(Inspect, SwappedCountsShowOnlyAgainstAnEstimate) {
  std::vector<std::string> Swapped = Good();
  Swapped.insert(Swapped.end(), {"--board", "8x11"});
  const Inspection_Report Report = Inspect_Json(Swapped);
  EXPECT_EQ(Report.Status, 2);
  EXPECT_THAT(Report.Found, ElementsAre(Pair("board_turned", IsEmpty())));
  EXPECT_THAT(Report.Text("board_turned", "what"),
              HasSubstr("Swapped counts in --board, 8x11 for 11x8,"));
  const Inspection_Report Without =
      Inspect_Json({"inspect", Good()[1], "--board", "8x11", "--square", "30mm"});
  EXPECT_EQ(Without.Status, 0);
  EXPECT_TRUE(Without.Found.empty());
  EXPECT_TRUE(Without.Json["inputs"]["board_euler_deg"].is_null());
}

TEST_F(Inspect, AWrongEstimateIsReportedWithTheMeasuredValues) {
  const auto With = [](Fields Flags) {
    Flags.insert(Flags.begin(), {"inspect", Good()[1], "--config", Good()[3]});
    return Inspect_Json(Flags);
  };
  // The simulator's board sits at 12,-20,8 degrees and -170, 50, 40 mm.
  const Inspection_Report Turned = With({"--board-euler", "12,-23,8"});
  EXPECT_EQ(Turned.Status, 1);
  EXPECT_THAT(Turned.Found, ElementsAre(Pair("board_euler", IsEmpty())));
  EXPECT_EQ(Turned.Json["inputs"]["board_euler_deg"], (std::vector<double>{12, -23, 8}));
  const std::string Advice = Turned.Text("board_euler", "advice");
  std::smatch Angles;
  ASSERT_TRUE(std::regex_search(
      Advice, Angles, std::regex("angles of (.*),(.*),(.*) \\(\\+- (.*) degrees at 95 percent")))
      << Advice;
  const double Half_Width_Deg = std::stod(Angles[4]);
  EXPECT_LT(Half_Width_Deg, 0.1);  // noise of 0.03 degrees in 20 images
  // The half-width is that of one axis, and there are three.
  const double Tolerance_Deg = 2.0 * Half_Width_Deg;
  EXPECT_NEAR(std::stod(Angles[1]), 12.0, Tolerance_Deg);
  EXPECT_NEAR(std::stod(Angles[2]), -20.0, Tolerance_Deg);
  EXPECT_NEAR(std::stod(Angles[3]), 8.0, Tolerance_Deg);

  const Inspection_Report Moved = With({"--board-offset", "170mm,50mm,40mm"});
  EXPECT_EQ(Moved.Status, 1);
  EXPECT_THAT(Moved.Found, ElementsAre(Pair("board_offset", IsEmpty())));
  EXPECT_EQ(Moved.Json["inputs"]["board_offset_m"], (std::vector<double>{0.17, 0.05, 0.04}));
  EXPECT_THAT(Moved.Text("board_offset", "what"), HasSubstr("340 mm from --board-offset"));
}

TEST_F(Inspect, EachPoorSpreadOfPosesIsReported) {
  const auto Found = [](const std::string& Spread) {
    return Inspect_Json(
               Simulated(Spread, {"--spread", Spread, "--images", "20", "--size", "960x540"}))
        .Found;
  };
  EXPECT_THAT(Found("frontal"), ElementsAre(Key("tilt_too_small"), Key("turns_about_one_axis")));
  EXPECT_THAT(Found("one-axis"),
              ElementsAre(Key("tilt_about_one_axis"), Key("turns_about_one_axis")));
  EXPECT_THAT(Found("centred"), ElementsAre(Key("coverage")));
  EXPECT_THAT(Found("same-pose"), ElementsAre(Key("coverage"), Key("distance"),
                                              Key("tilt_about_one_axis"), Key("turns_too_small")));
}

TEST_F(Inspect, TheMapShowsWhichHalfOfTheFrameWasUsed) {
  const Scratch_Folder Folder;
  const fs::path Csv = Changed_Csv(Folder, [&](std::size_t, Fields& Row) {
    cv::Mat Wider;
    cv::copyMakeBorder(cv::imread(Row[1]), Wider, 0, 0, 0, 640, cv::BORDER_CONSTANT,
                       cv::Scalar::all(90));
    const fs::path Copy = Folder.Path() / fs::path(Row[1]).filename();
    cv::imwrite(Copy.string(), Wider);
    Row[1] = Copy.string();
  });
  const Finished Result = Rigsync(Inspect_Arguments(Csv));
  std::istringstream Text(Result.Output);
  std::string Left, Right;
  for (std::string Line; std::getline(Text, Line);) {
    if (!StartsWith("  |").operator testing::Matcher<std::string>().Matches(Line)) continue;
    ASSERT_EQ(Line.size(), 36u);
    Left += Line.substr(3, 16);
    Right += Line.substr(19, 16);
  }
  EXPECT_EQ(Left.size(), 9u * 16u);
  EXPECT_THAT(Left, AllOf(HasSubstr("#"), HasSubstr("o")));
  EXPECT_EQ(Right, std::string(std::size_t{9} * 16, ' '));
  EXPECT_THAT(rigsync::One_Line(Result.Output), HasSubstr("in: upper right, right, lower right."));
}

TEST_F(Inspect, WithoutImagesOnlyTheFileIsChecked) {
  const Inspection_Report Report =
      Inspect_Json({"inspect", Capture_File("capture.csv").string(), "--no-images"});
  EXPECT_EQ(Report.Status, 0);
  EXPECT_EQ(Report.Found, (std::map<std::string, Lines>{}));
  EXPECT_TRUE(Report.Json["boards"].is_null());
  EXPECT_TRUE(Report.Json["inputs"]["board"].is_null());
  EXPECT_TRUE(Report.Json["rows"][0]["state"].is_null());
  EXPECT_GT(Report.Json["turns"]["camera_deg"], 10.0);
  const Finished Text = Rigsync({"inspect", Capture_File("capture.csv").string(), "--no-images"});
  EXPECT_THAT(Text.Output, AllOf(HasSubstr("not searched for: no image was opened"),
                                 HasSubstr("The images were not checked."),
                                 Not(HasSubstr("ready to be calibrated"))));
}

TEST_F(Inspect, RelativePathsStartAtTheCsvsFolderOrAtImageRoot) {
  const Scratch_Folder Folder;
  const fs::path Csv = Folder.Path() / "elsewhere.csv";
  Rewrite_Csv(Csv, [](std::size_t, Fields&) {});
  EXPECT_EQ(Inspect_Json(Inspect_Arguments(Csv, {"--no-images"})).Found.count("image_missing"), 1u);
  const Inspection_Report Report =
      Inspect_Json(Inspect_Arguments(Csv, {"--image-root", Capture_File("images").parent_path()}));
  EXPECT_EQ(Report.Found.count("image_missing"), 0u);
  EXPECT_EQ(Report.Json["boards"]["found"], 14);
  // Printed without the dots that were typed.
  const fs::path Images = Capture_File("images");
  const Inspection_Report Dotted = Inspect_Json(
      Inspect_Arguments(Csv, {"--no-images", "--image-root", Images.string() + "/../images"}));
  EXPECT_EQ(Dotted.Json["inputs"]["image_root"], Images.string());
  EXPECT_THAT(Dotted.Text("image_missing", "advice"),
              HasSubstr("start at " + Images.string() + ";"));
  // From another folder, by a relative path.
  EXPECT_EQ(Rigsync({"inspect", "capture.csv", "--config", "stage.json"},
                    Capture_File("images").parent_path())
                .Status,
            1);
}

TEST_F(Inspect, FindingsAreSortedByLineAndCombined) {
  const Scratch_Folder Folder;
  const fs::path Csv = Changed_Csv(Folder, [](std::size_t Index, Fields& Row) {
    if (Index >= 3) Row[0] = "x";
    if (Index == 1 || Index == 12) Row[14] = "y";
  });
  const Finished Result = Rigsync(Inspect_Arguments(Csv));
  const std::string& Text = Result.Output;
  EXPECT_THAT(Text, AllOf(HasSubstr("\n  warning, lines 2, 13\n"),
                          HasSubstr("\n  note, lines 4-14\n"), HasSubstr("\n2 warnings: ")));
  EXPECT_LT(Text.find("lines 2, 13"), Text.find("lines 4-14"));
  EXPECT_LT(Text.find("lines 4-14"), Text.find("whole capture"));
}

TEST_F(Inspect, TwoThousandBadLinesStayAShortReport) {
  const Scratch_Folder Folder;
  std::string Bad;
  for (int i = 0; i < 2000; ++i) Bad += i % 2 == 0 ? "1,none.png,2\n" : "\n";
  const Finished Result = Rigsync(Inspect_Arguments(Folder.Write("bad.csv", Bad)));
  EXPECT_EQ(Result.Status, 2);
  EXPECT_LE(Line_Count(Result.Output), 40u);
  EXPECT_THAT(Result.Output, HasSubstr("lines 1, 3, 5, 7, 9, 11, 13, 15 and 992 more"));
}

TEST_F(Inspect, EverythingButPathsFitsATerminal) {
  const Scratch_Folder Folder;
  const fs::path Csv = Changed_Csv(Folder, [](std::size_t Index, Fields& Row) {
    if (Index % 2 == 0) Row[0] = "x";
    if (Index == 1) Row.pop_back();
    if (Index == 2) Row[9] = "90";
    if (Index == 3) Row[5] = "9";
    if (Index == 4) Row[1] = "none.png";
    if (Index == 5) Row[4] = "inf";
  });
  const Finished Result = Rigsync(Inspect_Arguments(Csv));
  ASSERT_GE(Line_Count(Result.Output), 20u) << Result.Error;
  std::istringstream Text(Result.Output);
  for (std::string Line; std::getline(Text, Line);) {
    if (Line.find('/') == std::string::npos) {
      EXPECT_LE(Line.size(), Terminal_Width) << Line;
    }
  }
}

TEST_F(Inspect, OnlyATerminalGetsProgressAndColours) {
  const Terminal_Run Shown = Rigsync_On_Terminal(Inspect_Arguments(Capture_File("capture.csv")));
  EXPECT_EQ(Shown.Status, 1);
  EXPECT_THAT(Shown.Shown,
              AllOf(HasSubstr("\rSearching for boards: 12 of 14"), HasSubstr("\x1b[33m")));
  // The progress is overwritten, so only the report remains.
  EXPECT_THAT(Shown.Lines(), Not(Contains(HasSubstr("Searching for boards"))));
  EXPECT_THAT(Shown.Lines(), Contains(HasSubstr("  warning, whole capture")));
  const Terminal_Run Plain =
      Rigsync_On_Terminal(Inspect_Arguments(Capture_File("capture.csv")), {"NO_COLOR=1"});
  EXPECT_THAT(Plain.Shown, Not(HasSubstr("\x1b[3")));
  EXPECT_EQ(Rigsync(Inspect_Arguments(Capture_File("capture.csv"))).Error, "");
}

TEST_F(Inspect, WarningsOfDecodersAreNotPrinted) {
  if (Is_Sanitized) GTEST_SKIP() << "a sanitizer reports on standard error";
  const Scratch_Folder Folder;
  const fs::path Cut = Folder.Path() / "cut.png";
  const fs::path Csv = Changed_Csv(Folder, [&](std::size_t Index, Fields& Row) {
    if (Index != 3) return;
    const std::string Whole = Read_Text(Row[1]);
    Folder.Write("cut.png", Whole.substr(0, Whole.size() / 2));
    Row[1] = Cut.string();
  });
  const Finished Result = Rigsync(Inspect_Arguments(Csv));
  EXPECT_EQ(Result.Error, "");
  EXPECT_THAT(Result.Output, HasSubstr("warning, line 4\n"));
}

TEST_F(Inspect, AnEmptyFileIsUnusable) {
  const Scratch_Folder Folder;
  const Inspection_Report Report = Inspect_Json(Inspect_Arguments(Folder.Write("empty.csv", "")));
  EXPECT_EQ(Report.Status, 2);
  EXPECT_THAT(Report.Found, ElementsAre(Key("no_images")));
}

}  // namespace
