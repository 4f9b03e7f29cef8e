// SPDX-License-Identifier: Apache-2.0
//
// The lines of the codes that no capture can cause, compared with the rule "guard" of the page that
// describes run logs. No whole run has them, so each check is called directly.
#include "core/calibration.h"
#include "core/capture/read_raw_data.h"
#include "core/solver/cal_reproj_error.h"
#include "core/solver/calculate_transform_cam_tc.h"
#include "core/solver/calculate_transform_chart_tr.h"
#include "core/solver/rt_filt_outlier.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

using Poses = std::vector<Eigen::Matrix4d>;

// Two lists of poses of which one is longer.
const Poses One(1, Eigen::Matrix4d::Identity());
const Poses Two(2, Eigen::Matrix4d::Identity());

// Whether lines, with time and tab, follow the rule.
bool Follow_Guard(const std::string& Lines) {
  const Scratch_Folder Folder;
  const std::string Command = "python3 '" RIGSYNC_SOURCE_DIR
                              "/tests/whole/check_run_log.py' '" RIGSYNC_SOURCE_DIR
                              "/docs/run-log.md' guard '" +
                              Folder.Write("lines", Lines) + "' > /dev/null 2>&1";
  return std::system(Command.c_str()) == 0;
}

// The log text of a check, which must return this code.
std::string Lines_Of(int Code, const std::function<int(const std::string&)>& Check) {
  const Scratch_Folder Folder;
  const Quiet_Output Quiet;
  const std::string Log_Path = (Folder.Path() / "log").string();
  EXPECT_EQ(Check(Log_Path), Code);
  return Read_Text(Log_Path);
}

int Measure_Uneven(const std::string& Log_Path) {
  float Reproj_Error = 0.0f;
  return Cal_Reproj_Error(Log_Path, Reproj_Error, {}, {{}, {}}, cv::Mat(), cv::Mat(), One[0], One,
                          One, One[0], {"image"}, false, "");
}

int Solve_Mount_Uneven(const std::string& Log_Path) {
  Eigen::Matrix4d Mean;
  Poses Transform_Cam_Tc_all;
  std::vector<Eigen::Vector4f> Quaternion_Cam_Tc_all;
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
  return Calculate_Transform_Cam_Tc(Log_Path, Mean, Transform_Cam_Tc_all, Quaternion_Cam_Tc_all,
                                    Translation_Cam_Tc_all, One, One[0], Two, Two);
}

int Solve_Board_Uneven(const std::string& Log_Path) {
  Eigen::Matrix4d Mean;
  return Calculate_Transform_Chart_Tr(Log_Path, Mean, One, One[0], Two, Two);
}

// Six equal mounts, none of them an outlier, and one list that is longer.
int Filter_Uneven(const std::string& Log_Path) {
  Eigen::Matrix4d Mount = Eigen::Matrix4d::Identity();
  Mount.topLeftCorner<3, 3>() << 0, -1, 0, 1, 0, 0, 0, 0, 1;
  Poses Transform_Cam_Tc_all(6, Mount), Transform_Tr_Base_all(6, Mount),
      Transform_Base_Tc_all(6, Mount), Transform_Cam_Chart_all(7, Mount);
  std::vector<std::vector<cv::Point2f>> ImageCoordinate(6);
  std::vector<std::string> Image_name(6, "image");
  return RT_Filt_Outlier(Log_Path, Transform_Cam_Tc_all, Mount, ImageCoordinate, Image_name,
                         Transform_Tr_Base_all, Transform_Base_Tc_all, Transform_Cam_Chart_all);
}

TEST(GuardLines, FollowThePageThatDescribesRunLogs) {
  const cv::Mat Right = cv::Mat::ones(3, 1, CV_64F);
  const cv::Mat Wrong = cv::Mat::ones(2, 1, CV_64F);
  float Cosine = 0.0f;
  const struct {
    int Code;
    std::function<int(const std::string&)> Check;
  } Guards[] = {
      {2, [](const std::string& Log_Path) { return Compare_Amounts(Log_Path, 1, 2); }},
      {7, Measure_Uneven},
      {8, Solve_Mount_Uneven},
      {9,
       [&](const std::string& Log_Path) {
         cv::Mat Vector = Wrong.clone();
         return Norm_Vec(Log_Path, Vector);
       }},
      {10, [&](const std::string& Log_Path) { return Dot_Vec(Log_Path, Cosine, Wrong, Right); }},
      {10, [&](const std::string& Log_Path) { return Dot_Vec(Log_Path, Cosine, Right, Wrong); }},
      {12, Solve_Board_Uneven},
      {15,
       [](const std::string& Log_Path) {
         return Check_Row_Size(Log_Path, std::vector<double>(14, 0.0));
       }},
  };
  for (const auto& Guard : Guards) {
    SCOPED_TRACE(Guard.Code);
    const std::string Lines = Lines_Of(Guard.Code, Guard.Check);
    EXPECT_TRUE(Follow_Guard(Lines)) << Lines;
  }

  // The filter has written its own lines by then.
  const std::string Filter = Lines_Of(11, Filter_Uneven);
  const std::size_t Message = Filter.find("RT_Filt_Outlier output");
  ASSERT_NE(Message, std::string::npos);
  const std::string Lines = Filter.substr(Filter.rfind('\n', Message) + 1);
  EXPECT_TRUE(Follow_Guard(Lines)) << Lines;
  EXPECT_FALSE(Follow_Guard(Filter));
}

}  // namespace
