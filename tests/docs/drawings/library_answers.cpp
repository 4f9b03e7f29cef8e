// SPDX-License-Identifier: Apache-2.0
//
// library_answers QUESTIONS.json ANSWERS.json: asks the library's stages what they make of a CSV,
// of board angles, of photographs and of points. It reports what comes out and knows no convention
// itself: convention_facts.py asks, and reads the conventions from the answers.
#include "core/calibration.h"
#include "core/capture/detect_corner_and_calibrate.h"
#include "core/capture/read_raw_data.h"
#include "core/solver/cal_reproj_error.h"
#include "core/solver/organize_rt.h"

#include <Eigen/LU>
#include <opencv2/core.hpp>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

Json Rows_Of(const Eigen::Matrix4d& Pose) {
  Json Rows = Json::array();
  for (int r = 0; r < 4; ++r) Rows.push_back({Pose(r, 0), Pose(r, 1), Pose(r, 2), Pose(r, 3)});
  return Rows;
}

void Require_Success(int Code, const std::string& Stage) {
  if (Code != 0) throw std::runtime_error(Stage + " returned " + std::to_string(Code));
}

struct Poses {
  std::vector<Eigen::Matrix4d> Base_Tc, Tr_Base, Cam_Chart;
  Eigen::Matrix4d Chart_Tr;
};

// The poses of tracker rows and of a board estimate. The board is at Cam in every image.
Poses Organize(const std::string& Log_Path, const std::vector<std::vector<double>>& Raw_Data_all,
               const std::vector<double>& Euler_Deg, const std::vector<double>& Translation) {
  const cv::Mat At_Cam = cv::Mat::zeros(static_cast<int>(Raw_Data_all.size()), 3, CV_64F);
  Poses Organized;
  Require_Success(
      OrganizeRT(Log_Path, Organized.Base_Tc, Organized.Tr_Base, Organized.Chart_Tr,
                 Organized.Cam_Chart, At_Cam, At_Cam, Euler_Deg, Translation, Raw_Data_all),
      "OrganizeRT");
  return Organized;
}

// Where the trackers of each line of the CSV are, in Base.
Json Ask_Rows(const std::string& Log_Path, const std::string& Csv_Path) {
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  Require_Success(Read_Raw_Data(Log_Path, Csv_Path, Image_name, Raw_Data_all), "Read_Raw_Data");
  const Poses Organized = Organize(Log_Path, Raw_Data_all, {0, 0, 0}, {0, 0, 0});
  Json Answer = Json::array();
  for (std::size_t i = 0; i < Organized.Base_Tc.size(); ++i) {
    const Eigen::Matrix4d Transform_Base_Tr = Organized.Tr_Base[i].inverse();
    Answer.push_back({{"image", Image_name[i]},
                      {"Transform_Base_Tc", Rows_Of(Organized.Base_Tc[i])},
                      {"Transform_Base_Tr", Rows_Of(Transform_Base_Tr)}});
  }
  return Answer;
}

// Transform_Tr_Chart of each estimate: three angles and three lengths.
Json Ask_Estimates(const std::string& Log_Path, const Json& Estimates) {
  Json Answer = Json::array();
  for (const Json& Estimate : Estimates) {
    const Poses Organized =
        Organize(Log_Path, {}, Estimate.at("euler_deg").get<std::vector<double>>(),
                 Estimate.at("translation").get<std::vector<double>>());
    Answer.push_back(Rows_Of(Organized.Chart_Tr.inverse()));
  }
  return Answer;
}

// The board's points, and where its corners are found in photographs: entry i of a list is the
// image of point i.
Json Ask_Board(const std::string& Log_Path, const Json& Board) {
  const int Cols = Board.at("cols"), Rows = Board.at("rows");
  std::vector<cv::Point3f> Board_Index;
  Build_Board_Index(Log_Path, Board_Index, Cols, Rows, Board.at("square").get<double>());
  std::vector<std::string> Image_name = Board.at("photographs").get<std::vector<std::string>>();
  const std::size_t Image_Count = Image_name.size();
  std::vector<std::vector<double>> Raw_Data_all(Image_Count, std::vector<double>(15, 0.0));
  std::vector<std::vector<cv::Point3f>> Board_Index_all;
  std::vector<std::vector<cv::Point2f>> Found;
  double Camera_Rms = 0.0;
  cv::Size Image_Size(0, 0);
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
  cv::TermCriteria Term(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1);
  // Too few images to solve a lens on, which is code 4: the corners have been found before that.
  const int Code = Detect_Corner_And_Calibrate(
      Log_Path, Camera_Rms, Image_Size, Camera_Matrix, Distortion, Rvecs, Tvecs, Image_name,
      Raw_Data_all, Board_Index_all, Board_Index, Found, Cols, Rows, 11, Term, 1.5f, true);
  if (Code != 4 || Found.size() != Image_Count) {
    throw std::runtime_error("the board wasn't found in every photograph");
  }
  Json Answer;
  for (const cv::Point3f& Point : Board_Index) {
    Answer["points"].push_back({Point.x, Point.y, Point.z});
  }
  for (const std::vector<cv::Point2f>& Corners : Found) {
    Json In_Image = Json::array();
    for (const cv::Point2f& Corner : Corners) In_Image.push_back({Corner.x, Corner.y});
    Answer["corners"].push_back(std::move(In_Image));
  }
  return Answer;
}

// How far from each of the marks, pixels, the library predicts the image of a point that is given
// in Cam. Three marks that aren't on a line tell where that is.
Json Ask_Points(const std::string& Log_Path, const Json& Question) {
  const Json& Lens = Question.at("lens");
  const cv::Mat Camera_Matrix =
      (cv::Mat_<double>(3, 3) << Lens.at("fx").get<double>(), 0, Lens.at("cx").get<double>(), 0,
       Lens.at("fy").get<double>(), Lens.at("cy").get<double>(), 0, 0, 1);
  const cv::Mat Distortion = cv::Mat::zeros(1, 5, CV_64F);
  const Eigen::Matrix4d At_Cam = Eigen::Matrix4d::Identity();
  Json Answer = Json::array();
  for (const Json& Point : Question.at("points")) {
    Json Distances = Json::array();
    for (const Json& Mark : Question.at("marks")) {
      float Distance = -1.0f;
      Require_Success(
          Cal_Reproj_Error(Log_Path, Distance,
                           {cv::Point3f(Point.at(0).get<float>(), Point.at(1).get<float>(),
                                        Point.at(2).get<float>())},
                           {{cv::Point2f(Mark.at(0).get<float>(), Mark.at(1).get<float>())}},
                           Camera_Matrix, Distortion, At_Cam, {At_Cam}, {At_Cam}, At_Cam, {"point"},
                           false, ""),
          "Cal_Reproj_Error");
      Distances.push_back(Distance);
    }
    Answer.push_back(std::move(Distances));
  }
  return Answer;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: library_answers QUESTIONS.json ANSWERS.json\n");
    return 2;
  }
  try {
    Json Questions;
    std::ifstream(argv[1]) >> Questions;
    const std::string Log_Path = Questions.at("log");
    const Json Answers = {{"rows", Ask_Rows(Log_Path, Questions.at("csv"))},
                          {"estimates", Ask_Estimates(Log_Path, Questions.at("estimates"))},
                          {"board", Ask_Board(Log_Path, Questions.at("board"))},
                          {"distances", Ask_Points(Log_Path, Questions)}};
    std::ofstream Target(argv[2]);
    Target << Answers.dump() << "\n";
    Target.close();
    if (!Target) throw std::runtime_error(std::string(argv[2]) + " can't be written");
    return 0;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "library_answers: %s\n", Error.what());
    return 1;
  }
}
