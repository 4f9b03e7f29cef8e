// SPDX-License-Identifier: Apache-2.0
//
// lens_solve_times COLSxROWS IMAGES...: time and memory of the library's lens solve,
// cv::calibrateCamera with its flags and steps, for each number of images. Prints a line for each:
//
//   images N corners C seconds S expected_s E grown_mib M expected_mib F
//
// S is the processor time, which other programs hardly change; M is by how much the solve increases
// the peak of resident memory; E and F are what Expected_Lens_Solve says. The corners are computed
// for boards in known poses, with noise of 0.2 pixels: where they are changes neither time nor
// memory. Each number has a process of its own, for which memory counts from nothing.
// docs/performance.md has the figures.
#include "rigsync/capture/lens_solve_cost.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const cv::Size Image_Size(1920, 1080);
constexpr double Square_Size = 0.03;  // metres
constexpr double Noise_Px = 0.2;

struct Usage {
  double Seconds = 0;
  double Peak_MiB = 0;
};

Usage Usage_Now() {
  rusage Now{};
  getrusage(RUSAGE_SELF, &Now);
  const auto Seconds = [](const timeval& Time) {
    return static_cast<double>(Time.tv_sec) + 1e-6 * static_cast<double>(Time.tv_usec);
  };
  return {Seconds(Now.ru_utime) + Seconds(Now.ru_stime),
          static_cast<double>(Now.ru_maxrss) / 1024.0};
}

std::vector<cv::Point3f> Board_Points(cv::Size Board) {
  std::vector<cv::Point3f> Points;
  for (int r = 0; r < Board.height; ++r) {
    for (int c = 0; c < Board.width; ++c) {
      Points.emplace_back(static_cast<float>((c - Board.width / 2) * Square_Size),
                          static_cast<float>((r - Board.height / 2) * Square_Size), 0.0f);
    }
  }
  return Points;
}

// Corners of boards about a metre away, tilted by up to 30 degrees about each axis.
std::vector<std::vector<cv::Point2f>> Make_Corners(const std::vector<cv::Point3f>& Points,
                                                   int Images) {
  const cv::Matx33d Camera(1400, 0, 970, 0, 1405, 530, 0, 0, 1);
  const std::vector<double> Distortion = {-0.12, 0.08, 0, 0, 0};
  cv::RNG Random(7);
  const auto Within = [&Random](double Reach) { return Random.uniform(-Reach, Reach); };
  std::vector<std::vector<cv::Point2f>> Corners(static_cast<std::size_t>(Images));
  for (std::vector<cv::Point2f>& Board : Corners) {
    const cv::Vec3d Rotation(Within(0.5), Within(0.5), Within(0.5));
    const cv::Vec3d Translation(Within(0.3), Within(0.15), 1.0 + Within(0.2));
    cv::projectPoints(Points, Rotation, Translation, Camera, Distortion, Board);
    for (cv::Point2f& Corner : Board) {
      Corner.x += static_cast<float>(Random.gaussian(Noise_Px));
      Corner.y += static_cast<float>(Random.gaussian(Noise_Px));
    }
  }
  return Corners;
}

void Measure(cv::Size Board, int Images) {
  const std::vector<cv::Point3f> Points = Board_Points(Board);
  const std::vector<std::vector<cv::Point2f>> Corners = Make_Corners(Points, Images);
  const std::vector<std::vector<cv::Point3f>> Boards(Corners.size(), Points);
  cv::Mat Camera, Distortion, Rotations, Translations;
  const Usage Before = Usage_Now();
  const double Rms = cv::calibrateCamera(
      Boards, Corners, Image_Size, Camera, Distortion, Rotations, Translations, cv::noArray(),
      cv::noArray(), cv::noArray(), cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
      cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                       std::numeric_limits<double>::epsilon()));
  const Usage After = Usage_Now();
  // Two coordinates have this noise; half as much again is a solve that did not converge.
  if (!(Rms < 1.5 * std::sqrt(2.0) * Noise_Px)) throw std::runtime_error("the lens was not found");
  const rigsync::Lens_Solve_Cost Expected =
      rigsync::Expected_Lens_Solve(Corners.size(), Points.size());
  std::printf(
      "images %d corners %d seconds %.4f expected_s %.4f grown_mib %.2f expected_mib %.2f\n",
      Images, Board.area(), After.Seconds - Before.Seconds, Expected.Seconds,
      After.Peak_MiB - Before.Peak_MiB, Expected.Bytes / (1024.0 * 1024.0));
}

void Measure_In_Child(cv::Size Board, int Images) {
  std::fflush(stdout);
  const pid_t Child = fork();
  if (Child == 0) {
    try {
      Measure(Board, Images);
      std::fflush(stdout);
      _exit(0);
    } catch (const std::exception& Error) {
      std::fprintf(stderr, "lens_solve_times: %s\n", Error.what());
      _exit(1);
    }
  }
  int Status = 0;
  if (Child < 0 || waitpid(Child, &Status, 0) != Child || Status != 0) {
    throw std::runtime_error("no time for " + std::to_string(Images) + " images");
  }
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  cv::Size Board;
  if (Argument_Count < 3 || std::sscanf(Arguments[1], "%dx%d", &Board.width, &Board.height) != 2 ||
      Board.width < 3 || Board.height < 3) {
    std::fprintf(stderr, "usage: lens_solve_times COLSxROWS IMAGES...\n");
    return 2;
  }
  try {
    for (int i = 2; i < Argument_Count; ++i) Measure_In_Child(Board, std::atoi(Arguments[i]));
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "lens_solve_times: %s\n", Error.what());
    return 1;
  }
  return 0;
}
