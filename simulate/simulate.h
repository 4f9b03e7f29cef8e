// SPDX-License-Identifier: Apache-2.0
//
// Simulated captures with known ground truth: chessboard photographs, tracker samples, CSV and
// truth.json generated from a seed. The simulator implements every frame convention itself and
// shares no code with the library, so that a convention misunderstood by one side shows up as a
// wrong result.
//
// Frames and directions. Transform_A_B takes coordinates in B to coordinates in A.
//   Cam    x right in the image, y down, z along the view.
//   Chart  origin at the first inner corner, x along a board row, y along a board column.
//   Tc, Tr trackers on camera and board, in relabelled axes: a tracked body's own axes are
//          body x = -x, body y = -z, body z = -y of Tc or Tr.
//   Base   the tracking system.
// A tracker sample is the tracked point's position in Base, metres, and a unit quaternion
// w, x, y, z that takes Base directions to body directions.
#ifndef RIGSYNC_SIMULATE_SIMULATE_H
#define RIGSYNC_SIMULATE_SIMULATE_H

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace simulate {

// A pinhole camera with two radial coefficients (Brown's model): focal lengths and principal point
// in pixels. As in OpenCV, pixel centres have whole coordinates.
struct Lens {
  double Fx = 0, Fy = 0, Cx = 0, Cy = 0;
  double K1 = 0, K2 = 0;
};

// How the operator moves.
enum class Spread {
  Good,       // tilts about both axes to about 45 degrees, every roll, all corners, near and far
  Frontal,    // the board always nearly parallel to the image plane
  Centred,    // the board always in the centre of the frame
  One_Axis,   // tilts about one axis only, no roll
  Same_Pose,  // every image nearly the same
};

// The form of the image paths in the CSV.
enum class Path_Form {
  Absolute,   // folder and name, the platform's own separators
  Relative,   // images/0001.png, relative to the CSV's folder
  Name_Only,  // 0001.png; the images then lie beside the CSV
  Backslash,  // an absolute path whose last separator is a backslash, as a Windows host writes it;
              // on Linux the backslash is part of the file's name
};

// The form of a take (README.md).
enum class Take_Format {
  None,
  Motive,
  Vicon,             // rotations as rotation vectors
  Vicon_Quaternion,  // rotations as quaternions
  Qualisys,
  Tum,
  Eth,
  Euroc,
  Csv,  // centimetres, other axes, and a map of its columns
};

enum class Length_Unit { Metres, Millimetres };

// The capture as it happens in time: the rig holds still for each photograph and moves on.
struct Recording_Options {
  Take_Format Format = Take_Format::None;
  bool Clip = false;                               // also write a clip, at 25 frames per second
  Length_Unit Unit = Length_Unit::Metres;          // of a Motive take
  double Rate_Hz = 100.0;                          // samples of the take per second
  double Shortest_Hold = 1.0, Longest_Hold = 4.0;  // seconds
  double Shortest_Move = 0.8, Longest_Move = 3.0;  // seconds
  bool Regular_Holds = false;  // every hold and every move takes the mean of its range
  // Time on the take's clock less time on the clock of the pictures, seconds.
  double Clock_Offset = 0.0;
  double Lost_Percent = 0.0;  // share of the samples of each body that the take has lost
  // How fast each tracked body moves and turns while the rig holds still, in a direction of its own
  // in each hold.
  double Drift_Mm_Per_Second = 0.0, Drift_Deg_Per_Second = 0.0;
  // A sample shows where the body was this much earlier.
  double Lag_Ms = 0.0;
  // The samples are sent as they come, so the files tell their times also without a take.
  bool Is_Streamed = false;
  // Only the camera is tracked. The board stands still, and its samples are those of a tracker in
  // the origin of Base whose body has the axes of Base.
  bool One_Body = false;
};

struct Options {
  unsigned Seed = 1;
  int Image_Count = 24;
  int Width = 1920, Height = 1080;      // pixels
  int Board_Cols = 11, Board_Rows = 8;  // inner corners
  double Square_Size = 0.03;            // metres
  // Lens. Focal lengths and principal point are fractions of width and height; a vertical focal
  // length of 0 means square pixels.
  double Norm_Fx = 1.1, Norm_Fy = 0.0, Norm_Cx = 0.503, Norm_Cy = 0.492;
  double K1 = -0.09, K2 = 0.03;
  // The mounts that a calibration solves for: Rx * Ry * Rz in degrees, offset in metres. The
  // default camera mount is rotated by some tens of degrees because the outlier filter compares
  // rotation axes, and a mount near 0 or 180 degrees has no stable axis.
  Eigen::Vector3d Camera_Mount_Euler_Deg{35.0, -25.0, 20.0};  // of Transform_Cam_Tc
  Eigen::Vector3d Camera_Mount_Offset{0.06, -0.14, -0.08};    // of Transform_Cam_Tc
  Eigen::Vector3d Board_Mount_Euler_Deg{12.0, -20.0, 8.0};    // of Transform_Tr_Chart
  Eigen::Vector3d Board_Mount_Offset{-0.17, 0.05, 0.04};      // of Transform_Tr_Chart
  // Tracker noise: standard deviation on each axis of the position and of the rotation vector.
  double Position_Noise_Mm = 0.0;
  double Rotation_Noise_Deg = 0.0;
  // Bad rows, drawn without overlap. In a stale row the camera's tracker repeats the sample of the
  // row before, although the camera has moved by Stale_Mm and rotated by Stale_Deg. A jumped sample
  // has an error of Jump_Mm and Jump_Deg.
  int Stale_Count = 0;
  double Stale_Mm = 30.0, Stale_Deg = 2.0;
  int Jump_Count = 0;
  double Jump_Mm = 80.0, Jump_Deg = 4.0;
  // Bad images: not written; a uniform grey image without a board; truncated after half its bytes.
  int Missing_Count = 0, Blank_Count = 0, Truncated_Count = 0;
  // Images in which an edge of the frame cuts off a part of the board, with a fifth to half of its
  // inner corners.
  int Cut_Count = 0;
  // ArUco markers in the board's white squares, row by row from the first corner's side, from this
  // id on; -1 for a board without markers. The edge of a marker is a fraction of a square's.
  int First_Marker = -1;
  double Marker_Size = 0.5;
  // Error of the host's board estimate on each of the three axes.
  double Estimate_Error_Deg = 0.0;
  double Estimate_Error_Mm = 0.0;
  // Photographs.
  Spread Pose_Spread = Spread::Good;
  double Blur_Pixels = 0.7;          // standard deviation of the optics' blur
  double Sensor_Noise = 2.0;         // standard deviation, grey levels of 255
  double Lighting_Gradient = 0.25;   // brightness lost from the lit corner to the far one
  std::string Image_Format = "png";  // "png" or "jpg"
  int Jpeg_Quality = 95;
  Path_Form Paths = Path_Form::Absolute;
  bool Header = true;  // a first line that names the columns
  Recording_Options Recording;
};

// Whether a capture's files tell when it happened: if it has a take, a clip or a stream, or bodies
// that drift or lag.
// The files of any other capture have a row every 2.5 seconds and nothing else about time.
bool Is_Timed(const Recording_Options& Recording);

enum class Row_Kind { Good, Stale, Jumped, Missing_Image, Blank_Image, Truncated_Image, Cut_Board };

// A tracker's sample as recorded in a row.
struct Sample {
  Eigen::Vector3d Position = Eigen::Vector3d::Zero();            // metres, in Base
  Eigen::Quaterniond Rotation = Eigen::Quaterniond::Identity();  // Base to body
};

// How a tracked body moves: its origin in metres per second, and its rotation as a vector in
// radians per second, both along the axes of Base.
struct Velocity {
  Eigen::Vector3d Linear = Eigen::Vector3d::Zero();
  Eigen::Vector3d Angular = Eigen::Vector3d::Zero();
};

// The time for which the rig holds still, seconds on the take's clock.
struct Hold {
  double Begin = 0, End = 0;
  double Picture = 0;      // when the photograph is taken
  Velocity Camera, Board;  // of the trackers, constant during the hold
};

struct Image_Truth {
  std::string Name;  // file name without a folder
  Row_Kind Kind = Row_Kind::Good;
  Eigen::Matrix4d Transform_Cam_Chart;  // true pose of the board
  Eigen::Matrix4d Transform_Base_Tc;    // true pose of the camera's tracker
  Eigen::Matrix4d Transform_Base_Tr;    // true pose of the board's tracker
  // The error of a jumped sample: in Base, metres, and in the body's axes, a rotation vector.
  Eigen::Vector3d Jump_Shift = Eigen::Vector3d::Zero(), Jump_Turn = Eigen::Vector3d::Zero();
  Hold Still;     // when, and how still
  Sample Tc, Tr;  // as recorded: with noise and lag, stale or jumped
};

// Everything about a capture except its pixels.
struct Plan {
  Options Settings;
  Lens True_Lens;
  Eigen::Matrix4d Transform_Cam_Tc;
  Eigen::Matrix4d Transform_Chart_Tr;
  // The host's estimate of Transform_Tr_Chart: the truth plus the error set in the options.
  Eigen::Vector3d Chart_Euler_Deg;    // degrees
  Eigen::Vector3d Chart_Translation;  // metres
  std::vector<Image_Truth> Images;
};

// Options that can't be met.
class Refused_Options : public std::invalid_argument {
 public:
  Refused_Options(std::vector<std::string> Option_Names, std::string Broken_Rule);

  // The members of Options that break the rule, at least one.
  std::vector<std::string> Names;

  // What they have to be, as the end of a sentence that begins with their names.
  std::string Rule;
};

// The names of the files that a take of this format has, in the capture's folder.
std::vector<std::string> Take_Names(const Recording_Options& Recording);

// When the last hold ends, seconds on the take's clock; 0 for a capture without images.
double Duration(const Plan& Capture);

// Draws the poses and samples of a capture. The same options give the same plan on every machine,
// except for the last bits of sines, cosines and logarithms.
//
// Throws Refused_Options for options that can't be met: counts below 0, more bad rows
// than images, a board of fewer than 2 corners a side, an unknown image format, a size below 16
// pixels, a lens that can't show the whole board, markers that there are not.
Plan Make_Plan(const Options& Settings);

// The true image positions of the board's inner corners, row by row, pixels.
std::vector<Eigen::Vector2d> Project_Board(const Plan& Capture, const Image_Truth& Image);

// Called after each photograph.
using Render_Progress = std::function<void(std::size_t Done, std::size_t All)>;

// Writes the capture to Directory, which is created if missing: the photographs (images/NNNN.png,
// or in the CSV's folder for Path_Form::Name_Only and Backslash), capture.csv and truth.json. A
// timed capture also has times.csv, the files of its take (take.h) and clip.avi (clip.h), and the
// file time of each photograph is that of its moment. Progress counts photographs and the clip's
// frames.
//
// Each file has its name when it is whole. truth.json is the first and capture.csv the last, and
// the capture.csv of an earlier capture is removed before anything else: where there is one, the
// capture is complete. Throws std::runtime_error when a file cannot be written.
void Write_Capture(const Plan& Capture, const std::filesystem::path& Directory,
                   const Render_Progress& Progress = {});

// What Write_Capture writes; of a missing image the file that it removes.
std::vector<std::filesystem::path> Files_Of(const Plan& Capture,
                                            const std::filesystem::path& Directory);

// Writes everything but the photographs, for tests with their own.
void Write_Tables(const Plan& Capture, const std::filesystem::path& Directory);

// The noise-free sample of a tracker whose pose with relabelled axes is Transform_Base_Tracker
// (Transform_Base_Tc or Transform_Base_Tr). w of the quaternion is at least 0.
Sample Make_Sample(const Eigen::Matrix4d& Transform_Base_Tracker);

// The entry of truth.json for a row of capture.csv.
struct Row_Truth {
  std::string Name;  // file name without a folder
  Row_Kind Kind = Row_Kind::Good;
  int Csv_Line = 0;  // counted from 1, including the header line
  Eigen::Matrix4d Transform_Cam_Chart;
  // When the photograph was taken, on the take's clock, and how the trackers moved then; 0 in a
  // capture that isn't timed.
  double Take_Seconds = 0;
  Velocity Camera, Board;
};

// The content of truth.json.
struct Truth {
  unsigned Seed = 0;
  int Width = 0, Height = 0;           // pixels
  int Board_Cols = 0, Board_Rows = 0;  // inner corners
  double Square_Size = 0;              // metres
  Lens True_Lens;
  Eigen::Matrix4d Transform_Cam_Tc;
  Eigen::Matrix4d Transform_Chart_Tr;
  Eigen::Vector3d Chart_Euler_Deg;    // the host's estimate, degrees
  Eigen::Vector3d Chart_Translation;  // the host's estimate, metres
  double Position_Noise_Mm = 0, Rotation_Noise_Deg = 0;
  double Lag_Seconds = 0, Clock_Offset = 0;
  std::vector<Row_Truth> Rows;
};

// Reads a truth.json. Throws std::runtime_error naming the file when it cannot be read or is not
// valid.
Truth Read_Truth(const std::filesystem::path& Path);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_SIMULATE_H
