// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_log_rows.h"

#include "rigsync/calibrate/run_log_file.h"

#include <Eigen/SVD>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <string>
#include <string_view>

namespace rigsync {
namespace {

// The image's own number, and position and quaternion of both trackers.
constexpr std::size_t Row_Numbers = 15, First_Camera = 1, First_Board = 8;

// The numbers of a line, with any of these characters between and around them. Empty when anything
// else is in it.
std::vector<double> Numbers_In(std::string_view Text, std::string_view Between = " ") {
  std::vector<double> Numbers;
  while (true) {
    const std::size_t Begin = Text.find_first_not_of(Between);
    if (Begin == std::string_view::npos) return Numbers;
    Text.remove_prefix(Begin);
    double Value = 0;
    const auto [End, Error] = std::from_chars(Text.data(), Text.data() + Text.size(), Value);
    if (Error != std::errc()) return {};
    Text.remove_prefix(static_cast<std::size_t>(End - Text.data()));
    Numbers.push_back(Value);
  }
}

Tracker_Sample Sample_At(const std::vector<double>& Numbers, std::size_t First) {
  Tracker_Sample Sample;
  std::copy_n(Numbers.begin() + static_cast<std::ptrdiff_t>(First), 3, Sample.Position.begin());
  std::copy_n(Numbers.begin() + static_cast<std::ptrdiff_t>(First + 3), 4,
              Sample.Quaternion.begin());
  return Sample;
}

// The pose nearest to a matrix of rounded numbers; none when it is far from any.
std::optional<Eigen::Isometry3d> Pose_Of(const Eigen::Matrix4d& Rounded) {
  constexpr double Rounding = 1e-4;
  if (!Rounded.allFinite()) return std::nullopt;
  const Eigen::JacobiSVD<Eigen::Matrix3d> Parts(Rounded.topLeftCorner<3, 3>(),
                                                Eigen::ComputeFullU | Eigen::ComputeFullV);
  const Eigen::Matrix3d Rotation = Parts.matrixU() * Parts.matrixV().transpose();
  if (Rotation.determinant() < 0.0 ||
      !(Parts.singularValues() - Eigen::Vector3d::Ones()).isZero(Rounding)) {
    return std::nullopt;
  }
  Eigen::Isometry3d Pose = Eigen::Isometry3d::Identity();
  Pose.linear() = Rotation;
  Pose.translation() = Rounded.topRightCorner<3, 1>();
  return Pose;
}

// Reads a log line by line. Where the lines of the dump begin and end is the report's business.
class Logged_Run_Reader {
 public:
  void Take_Line(std::string_view Line) {
    const std::size_t Named = Report_Reader.Dumped_Count();
    const bool Was_In_Dump = Report_Reader.Is_In_Dump();
    Report_Reader.Take_Line(Line);
    const std::size_t Tab = Line.find('\t');
    if (Tab == std::string_view::npos) return;
    const std::string_view Message = Line.substr(Tab + 1);
    if (Report_Reader.Dumped_Count() > Named) {
      Dumped.emplace_back();
      Is_Row_Next = true;
    } else if (Was_In_Dump && Report_Reader.Is_In_Dump()) {
      Take_Dumped_Numbers(Numbers_In(Message));
    } else if (!Was_In_Dump) {
      Take_Message(Message);
    }
  }

  // The images that show a board are dumped in their order, so they are counted off here, where
  // the report is complete.
  Logged_Run Finish() {
    const std::vector<Image_Report>& Images = Report_Reader.Report().Images;
    std::size_t Next = 0;
    for (std::size_t i = 0; i < Images.size() && Next < Dumped.size(); ++i) {
      if (!Shows_A_Board(Images[i])) continue;
      if (Dumped[Next]) {
        Dumped[Next]->Image = i;
        Run.Rows.push_back(*Dumped[Next]);
      }
      ++Next;
    }
    return Run;
  }

 private:
  void Take_Dumped_Numbers(const std::vector<double>& Numbers) {
    if (Dumped.empty()) return;
    std::optional<Logged_Row>& Row = Dumped.back();
    if (Is_Row_Next && Numbers.size() == Row_Numbers) {
      Row = Logged_Row{0, Sample_At(Numbers, First_Camera), Sample_At(Numbers, First_Board), {}};
    } else if (!Is_Row_Next && Row && Numbers.size() == 2) {
      Row->Corners.push_back({static_cast<float>(Numbers[0]), static_cast<float>(Numbers[1])});
    }
    Is_Row_Next = false;
  }

  void Take_Message(std::string_view Message) {
    if (Message == "Mean_Transform_Cam_Tc : ") {
      Begin_Matrix(Has_Camera_Mount ? Run.Transform_Cam_Tc : Run.First_Transform_Cam_Tc);
      Has_Camera_Mount = true;
    } else if (Message == "Mean_Transform_Chart_Tr : ") {
      Begin_Matrix(Run.Transform_Tr_Chart);
      Is_Inverse = true;
    } else if (Target != nullptr) {
      Take_Matrix_Row(Numbers_In(Message, " ,[]"));
    }
  }

  void Begin_Matrix(std::optional<Eigen::Isometry3d>& Into) {
    Target = &Into;
    Is_Inverse = false;
    Matrix_Row = 0;
  }

  void Take_Matrix_Row(const std::vector<double>& Numbers) {
    if (Numbers.size() != 4) {
      Target = nullptr;
      return;
    }
    Matrix.row(Matrix_Row) = Eigen::Map<const Eigen::RowVector4d>(Numbers.data());
    if (++Matrix_Row < 4) return;
    *Target = Pose_Of(Matrix);
    if (*Target && Is_Inverse) *Target = Target->value().inverse();
    Target = nullptr;
  }

  Run_Log_Reader Report_Reader;
  Logged_Run Run;
  std::vector<std::optional<Logged_Row>> Dumped;  // one for each image that the dump named
  bool Is_Row_Next = false;                       // the line after an image's path
  bool Has_Camera_Mount = false;
  std::optional<Eigen::Isometry3d>* Target = nullptr;  // of the matrix whose rows follow
  bool Is_Inverse = false;
  Eigen::Matrix4d Matrix = Eigen::Matrix4d::Zero();
  Eigen::Index Matrix_Row = 0;
};

}  // namespace

Logged_Run Read_Logged_Run(const std::filesystem::path& Run_Log) {
  Logged_Run_Reader Reader;
  if (!May_Be_Run_Log(Run_Log)) return Reader.Finish();
  std::ifstream File(Run_Log);
  for (std::string Line; std::getline(File, Line);) Reader.Take_Line(Line);
  return Reader.Finish();
}

}  // namespace rigsync
