// SPDX-License-Identifier: Apache-2.0
//
// opencv_calls CAPTURE RECORD [REFERENCE]: makes the calls into OpenCV that a calibration makes, on
// the capture that bits_capture wrote, and writes every result to RECORD. With the RECORD of
// another machine as REFERENCE it compares call by call and continues with the reference's results,
// so that each call gets the same input on both machines and is compared separately. Prints, for
// each call, how many of its values differ and the largest difference.
//
// The mathematics functions that the library calls come last, evaluated on a grid.
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// The results of a call on both machines.
struct Tally {
  std::size_t Values = 0, Differing = 0;
  double Most = 0.0;
};

class Results {
 public:
  Results(const std::string& Record, const std::string& Reference)
      : Out(Record, std::ios::binary), Compares(!Reference.empty()) {
    if (Compares) In.open(Reference, std::ios::binary);
    if (!Out || (Compares && !In)) throw std::runtime_error("a record can't be opened");
  }

  // Records the values of a call and replaces them with the reference's.
  template <typename Number>
  void Hand_On(const std::string& Call, std::vector<Number>& Values) {
    const auto Count = static_cast<std::uint64_t>(Values.size());
    Out.write(reinterpret_cast<const char*>(&Count), sizeof Count);
    Out.write(reinterpret_cast<const char*>(Values.data()), Bytes_Of(Values));
    if (Order.empty() || Tallies.count(Call) == 0) Order.push_back(Call);
    Tally& Sum = Tallies[Call];
    Sum.Values += Values.size();
    if (!Compares) return;

    std::uint64_t There = 0;
    In.read(reinterpret_cast<char*>(&There), sizeof There);
    std::vector<Number> Reference(In ? There : 0);
    In.read(reinterpret_cast<char*>(Reference.data()), Bytes_Of(Reference));
    if (!In) throw std::runtime_error("the reference is of another capture");
    Compare(Values, Reference, Sum);
    Values = Reference;
  }

  void Report() const {
    for (const std::string& Call : Order) {
      const Tally& Sum = Tallies.at(Call);
      std::printf("  %-24s %9zu values", Call.c_str(), Sum.Values);
      if (!Compares) {
        std::printf("\n");
      } else if (Sum.Differing == 0) {
        std::printf(", the same\n");
      } else {
        std::printf(", %zu differ, by at most %.3g\n", Sum.Differing, Sum.Most);
      }
    }
  }

 private:
  template <typename Number>
  static std::streamsize Bytes_Of(const std::vector<Number>& Values) {
    return static_cast<std::streamsize>(Values.size() * sizeof(Number));
  }

  template <typename Number>
  static void Compare(const std::vector<Number>& Here, const std::vector<Number>& There,
                      Tally& Sum) {
    if (Here.size() != There.size()) {
      Sum.Differing += std::max(Here.size(), There.size());
      Sum.Most = std::numeric_limits<double>::infinity();
      return;
    }
    for (std::size_t i = 0; i < Here.size(); ++i) {
      const double Left = static_cast<double>(Here[i]), Right = static_cast<double>(There[i]);
      if (Left == Right || (std::isnan(Left) && std::isnan(Right))) continue;
      ++Sum.Differing;
      Sum.Most = std::max(Sum.Most, std::abs(Left - Right));
    }
  }

  std::ofstream Out;
  std::ifstream In;
  bool Compares;
  std::vector<std::string> Order;
  std::map<std::string, Tally> Tallies;
};

// Passes a matrix's elements on as a list and stores the result in the matrix.
template <typename Number>
void Hand_On_Matrix(Results& All, const std::string& Call, cv::Mat& Matrix) {
  Matrix = Matrix.clone();  // continuous in memory
  const std::size_t Count = Matrix.total() * static_cast<std::size_t>(Matrix.channels());
  std::vector<Number> Values(Matrix.ptr<Number>(), Matrix.ptr<Number>() + Count);
  All.Hand_On(Call, Values);
  if (Values.size() != Count) throw std::runtime_error(Call + " gives another size");
  std::copy(Values.begin(), Values.end(), Matrix.ptr<Number>());
}

template <typename Point, typename Number>
void Hand_On_Points(Results& All, const std::string& Call, std::vector<Point>& Points) {
  std::vector<Number> Values;
  for (const Point& Each : Points) Values.insert(Values.end(), {Each.x, Each.y});
  All.Hand_On(Call, Values);
  Points.clear();
  for (std::size_t i = 0; i + 1 < Values.size(); i += 2) {
    Points.emplace_back(Values[i], Values[i + 1]);
  }
}

// The boards of the capture's images, found as the library finds them.
std::vector<std::vector<cv::Point2f>> Find_All(Results& All, const std::string& Capture,
                                               cv::Size Board, cv::Size& Image_Size) {
  std::vector<std::vector<cv::Point2f>> Found;
  for (int i = 1; i <= 99; ++i) {
    char Name[16];
    std::snprintf(Name, sizeof Name, "/%04d.png", i);
    if (!std::ifstream(Capture + Name)) continue;
    cv::Mat Image = cv::imread(Capture + Name, cv::IMREAD_COLOR);
    Hand_On_Matrix<std::uint8_t>(All, "imread (PNG)", Image);
    Image_Size = Image.size();
    const float Scale = static_cast<float>(Image.cols / 720.0);
    cv::Mat Reduced, Reduced_Grey, Grey;
    const float Height = roundf(static_cast<float>(Image.rows) / Scale);
    cv::resize(Image, Reduced, cv::Size(720, static_cast<int>(Height)), 1.0, 0.0, cv::INTER_LINEAR);
    Hand_On_Matrix<std::uint8_t>(All, "resize", Reduced);
    cv::cvtColor(Reduced, Reduced_Grey, cv::COLOR_BGR2GRAY);
    Hand_On_Matrix<std::uint8_t>(All, "cvtColor", Reduced_Grey);
    cv::cvtColor(Image, Grey, cv::COLOR_BGR2GRAY);
    Hand_On_Matrix<std::uint8_t>(All, "cvtColor", Grey);
    std::vector<cv::Point2f> Corners;
    const bool Seen = cv::findChessboardCorners(
        Reduced_Grey, Board, Corners,
        cv::CALIB_CB_ADAPTIVE_THRESH + cv::CALIB_CB_NORMALIZE_IMAGE + cv::CALIB_CB_FAST_CHECK);
    if (!Seen) Corners.clear();
    Hand_On_Points<cv::Point2f, float>(All, "findChessboardCorners", Corners);
    if (Corners.empty()) continue;
    for (cv::Point2f& Corner : Corners) Corner *= Scale;
    const int Half = std::min(15, static_cast<int>(roundf(Scale * 3.0f)));
    cv::cornerSubPix(Grey, Corners, cv::Size(Half, Half), cv::Size(-1, -1),
                     cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1));
    Hand_On_Points<cv::Point2f, float>(All, "cornerSubPix", Corners);
    Found.push_back(Corners);
  }
  return Found;
}

void Solve_And_Project(Results& All, const std::vector<cv::Point3f>& Board,
                       const std::vector<std::vector<cv::Point2f>>& Corners, cv::Size Image_Size) {
  const std::vector<std::vector<cv::Point3f>> Boards(Corners.size(), Board);
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
  std::vector<double> Rms = {cv::calibrateCamera(
      Boards, Corners, Image_Size, Camera_Matrix, Distortion, Rvecs, Tvecs, cv::noArray(),
      cv::noArray(), cv::noArray(), cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
      cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                       std::numeric_limits<double>::epsilon()))};
  Hand_On_Matrix<double>(All, "calibrateCamera, lens", Camera_Matrix);
  Hand_On_Matrix<double>(All, "calibrateCamera, lens", Distortion);
  All.Hand_On("calibrateCamera, error", Rms);
  Hand_On_Matrix<double>(All, "calibrateCamera, poses", Rvecs);
  Hand_On_Matrix<double>(All, "calibrateCamera, poses", Tvecs);

  for (int i = 0; i < static_cast<int>(Corners.size()); ++i) {
    cv::Mat Rotation, Vector, Jacobian;
    cv::Rodrigues(Rvecs.row(i), Rotation, Jacobian);
    Hand_On_Matrix<double>(All, "Rodrigues, to matrix", Rotation);
    cv::Rodrigues(Rotation, Vector, Jacobian);
    Hand_On_Matrix<double>(All, "Rodrigues, to vector", Vector);
    std::vector<cv::Point2f> Projected;
    cv::projectPoints(Board, Vector, Tvecs.row(i), Camera_Matrix, Distortion, Projected);
    Hand_On_Points<cv::Point2f, float>(All, "projectPoints", Projected);
  }
}

// The functions of the C library's mathematics that the library calls.
void Mathematics(Results& All) {
  std::vector<double> Wide;
  std::vector<float> Narrow;
  for (int i = -20000; i <= 20000; ++i) {
    const double x = i / 20000.0;
    const float f = static_cast<float>(x);
    Wide.insert(Wide.end(), {std::sin(3.2 * x), std::cos(3.2 * x), std::atan(3.0 * x),
                             std::atan2(x, 0.7), std::asin(x), std::acos(x), std::pow(x, 2.0)});
    Narrow.insert(Narrow.end(), {asinf(f), acosf(f), atan2f(f, 0.7f), sqrtf(1.0f + f)});
  }
  All.Hand_On("mathematics, double", Wide);
  All.Hand_On("mathematics, float", Narrow);
}

void Make_All_Calls(const std::string& Capture, Results& All) {
  std::ifstream File(Capture + "/arguments.txt");
  int Cols = 0, Rows = 0;
  double Square = 0.0;
  if (!(File >> Cols >> Rows >> Square)) throw std::runtime_error("no arguments.txt");
  cv::Size Image_Size;
  const auto Corners = Find_All(All, Capture, cv::Size(Cols, Rows), Image_Size);
  std::vector<cv::Point3f> Board;
  for (int r = 0; r < Rows; ++r) {
    for (int c = 0; c < Cols; ++c) {
      Board.emplace_back(static_cast<float>(c * Square), static_cast<float>(r * Square), 0.0f);
    }
  }
  Solve_And_Project(All, Board, Corners, Image_Size);
  Mathematics(All);
}

}  // namespace

int main(int Count, char** Arguments) {
  if (Count != 3 && Count != 4) {
    std::fputs("usage: opencv_calls CAPTURE RECORD [REFERENCE]\n", stderr);
    return 2;
  }
  try {
    Results All(Arguments[2], Count == 4 ? Arguments[3] : "");
    Make_All_Calls(Arguments[1], All);
    All.Report();
    return 0;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "opencv_calls: %s\n", Error.what());
    return 1;
  }
}
