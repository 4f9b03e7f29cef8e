// SPDX-License-Identifier: Apache-2.0
//
// The JSON of an inspection and of the codes, key by key.
#include "rigsync/formats/inspection_file.h"
#include "rigsync/formats/codes_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using rigsync::Image_State;
using rigsync::Inspection;
using rigsync::Level;

json Without(json Document, const char* Key) {
  Document.erase(Key);
  return Document;
}

TEST(InspectionFile, OfAFileAloneHasNoBoardsAndNoState) {
  Inspection Result;
  Result.Inputs.Csv = "capture.csv";
  Result.Inputs.Image_Root = "/stage";
  Result.Inputs.Opens_Images = false;
  Result.File.Line_Count = 3;
  Result.File.Header_Count = 1;
  Result.File.Rows.resize(2);
  Result.File.Rows[0].Line = 2;
  Result.File.Rows[0].Image = "1.png";
  Result.File.Rows[1].Line = 3;
  Result.All_Findings.Add({"a", Level::Warning, "What.", "Here.", "Do.", {3}});
  const json Read = json::parse(rigsync::Inspection_Json(Result));
  EXPECT_EQ(Without(Read, "version"), json::parse(R"({
    "format": "rigsync-inspection", "format_version": 1, "status": "warnings",
    "inputs": {"csv": "capture.csv", "image_root": "/stage", "board": null, "square_m": null,
               "board_euler_deg": null, "board_offset_m": null},
    "file": {"lines": 3, "headers": 1, "data_lines": 2},
    "findings": [{"id": "a", "level": "warning", "lines": [3], "what": "What.",
                  "example": "Here.", "advice": "Do."}],
    "rows": [{"line": 2, "image": "1.png", "state": null},
             {"line": 3, "image": "", "state": null}],
    "boards": null, "coverage": null, "poses": null, "turns": null, "agreement": null,
    "solution": null})"));
}

// One row for each state of an image.
Inspection Inspected() {
  Inspection Result;
  Result.Inputs.Image_Root = "/stage";
  Result.Inputs.Board.Board = {7, 5};
  Result.Inputs.Board.Square_Size = 0.03;
  Result.Inputs.Board.Euler = {1, 2, 3};
  Result.Inputs.Board.Offset = {0.25, 0.5, 0.75};
  Result.Search.emplace();
  Result.Search->Width = 640;
  Result.Search->Height = 480;
  for (const Image_State State :
       {Image_State::Not_An_Image, Image_State::Missing, Image_State::Unreadable,
        Image_State::Refused, Image_State::Not_Searched, Image_State::No_Board,
        Image_State::Other_Size, Image_State::Board_Cut_Off, Image_State::Board_Found}) {
    Result.Search->Images.push_back({State, 640, 480, {}});
    const std::size_t Line = Result.File.Rows.size() + 1;
    Result.File.Rows.emplace_back().Line = Line;
  }
  Result.Frame_Coverage = {3, 2, {1, 0, 2, 0, 3, 0}};
  Result.Lens.emplace();
  Result.Lens->Rms = 0.25;
  Result.Lens->Lens_Px.Fx = 704.0;
  Result.Board_Poses = {0.5, 1.25, 3.0, 41.0, 20.0, 15.0};
  Result.Rotations = {2, 50.0, 40.0, 60.0, 33.0};
  rigsync::Agreement& Measured = Result.Tracker_Agreement.emplace();
  Measured.Rows = {0, 4, 8};
  Measured.Median_Rotation_Residual_Deg = 0.125;
  Measured.Median_Axis_Residual_Deg = 0.375;
  Measured.Median_Position_Residual = 0.0625;
  Measured.Scale = 1.5;
  return Result;
}

TEST(InspectionFile, TellsBoardsStatesSpreadAndAgreement) {
  const json Read = json::parse(rigsync::Inspection_Json(Inspected()));
  EXPECT_EQ(Read.at("status"), "clean");
  EXPECT_EQ(Read.at("inputs"), json::parse(R"({
    "csv": "", "image_root": "/stage", "board": [7, 5], "square_m": 0.03,
    "board_euler_deg": [1.0, 2.0, 3.0], "board_offset_m": [0.25, 0.5, 0.75]})"));
  std::vector<std::string> States;
  for (const json& Row : Read.at("rows")) States.push_back(Row.at("state"));
  EXPECT_EQ(States, (std::vector<std::string>{"not_an_image", "missing", "unreadable", "unreadable",
                                              "not_searched", "no_board", "other_size",
                                              "board_cut_off", "board_found"}));
  EXPECT_EQ(Read.at("boards"), json::parse(R"({
    "image_size": [640, 480], "found": 2, "lens_rms_px": 0.25, "norm_fx": 1.1})"));
  EXPECT_EQ(Read.at("coverage"),
            json::parse(R"({"share": 0.5, "images_by_cell": [[1, 0, 2], [0, 3, 0]]})"));
  EXPECT_EQ(Read.at("poses"), json::parse(R"({
    "tilt_deg": [3.0, 41.0], "main_tilt_deg": 20.0, "cross_tilt_deg": 15.0,
    "distance_m": [0.5, 1.25]})"));
  EXPECT_EQ(Read.at("turns"), json::parse(R"({
    "camera_deg": 50.0, "board_deg": 40.0, "relative_deg": 60.0, "axes_apart_deg": 33.0})"));
  EXPECT_EQ(Read.at("agreement"), json::parse(R"({
    "rows": 3, "turns_deg": 0.125, "axes_deg": 0.375, "positions_m": 0.0625, "scale": 1.5})"));
}

TEST(InspectionFile, TellsWhatWasSolvedWhereItIsSound) {
  Inspection Result = Inspected();
  Result.Solution.emplace();
  Result.Solution->Seen.Corner_Variance = 0.25;
  rigsync::Joint_Solution& Joint = Result.Solution->Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Transform_Cam_Tc.translation() = Eigen::Vector3d(0.25, 0.5, 0.75);
  Joint.At.Transform_Tr_Chart.translation() = Eigen::Vector3d(-0.25, -0.5, -0.75);
  Joint.At.Square_Scale = 1.25;
  Joint.Scale_Deviation = 0.125;
  Joint.Camera_Mount.Half_Width_Mm = {1, 2, 3};
  Joint.Camera_Mount.Half_Width_Deg = {4, 5, 6};
  Joint.Camera_Mount.Widest_Mm.Half_Width = 7;
  Joint.Camera_Mount.Widest_Deg.Half_Width = 8;
  Joint.Board_Mount.Half_Width_Mm = {9, 10, 11};
  Joint.Board_Mount.Half_Width_Deg = {12, 13, 14};
  Joint.Board_Mount.Widest_Mm.Half_Width = 15;
  Joint.Board_Mount.Widest_Deg.Half_Width = 16;
  Joint.Noise = {3.0, 0.0, 0.5};
  Joint.Rows.resize(1);
  Joint.Rows[0].Row = 8;
  Joint.Rows[0].Is_Kept = true;
  Joint.Rows[0].Residual << 0, 0, 0, 0.375, 0.5, 0;
  const json Unread = json::parse(R"({"status": "solved", "camera_mount": null, "board_mount": null,
                                "square": null, "noise": null, "rows": []})");
  EXPECT_EQ(json::parse(rigsync::Inspection_Json(Result)).at("solution"), Unread);
  Result.Are_Samples_Readable = true;
  EXPECT_EQ(json::parse(rigsync::Inspection_Json(Result)).at("solution"), json::parse(R"({
    "status": "solved",
    "camera_mount": {"transform_cam_tc": [1.0, 0.0, 0.0, 0.25, 0.0, 1.0, 0.0, 0.5,
                                          0.0, 0.0, 1.0, 0.75, 0.0, 0.0, 0.0, 1.0],
                     "half_width_mm": [1.0, 2.0, 3.0], "half_width_deg": [4.0, 5.0, 6.0],
                     "widest_mm": 7.0, "widest_deg": 8.0},
    "board_mount": {"euler_deg": [0.0, 0.0, 0.0], "offset_m": [-0.25, -0.5, -0.75],
                    "half_width_mm": [9.0, 10.0, 11.0], "half_width_deg": [12.0, 13.0, 14.0],
                    "widest_mm": 15.0, "widest_deg": 16.0},
    "square": {"scale": 1.25, "deviation": 0.125},
    "noise": {"position_mm": 500.0, "rotation_deg": 0.0, "corner_px": 1.5},
    "rows": [{"line": 9, "agrees": true, "off_mm": 625.0, "off_deg": 0.0}]})"));
}

TEST(CodesFile, AnEntryIsIndentedByTwoAndHasEveryKey) {
  const std::string All = rigsync::All_Codes_Json();
  EXPECT_EQ(All.substr(0, 21), "[\n  {\n    \"code\": 0,\n");
  EXPECT_EQ(All.substr(All.size() - 6), "  }\n]\n");
  const json Codes = json::parse(All);
  ASSERT_EQ(Codes.size(), rigsync::All_Codes().size());
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    const std::string One = rigsync::Code_Json(Advice);
    EXPECT_EQ(One.substr(0, 11), "{\n  \"code\":");
    const json Read = json::parse(One);
    EXPECT_EQ(Read, json({{"code", Advice.Code},
                          {"usable", Advice.Code == 0 || Advice.Code == 99},
                          {"meaning", Advice.Meaning},
                          {"on_stage", Advice.On_Stage},
                          {"causes", Advice.Causes},
                          {"next_step", Advice.Next_Step}}));
    EXPECT_EQ(std::count(Codes.begin(), Codes.end(), Read), 1);
  }
}

}  // namespace
