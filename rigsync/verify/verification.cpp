// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/verification.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/camera_numbers.h"
#include "rigsync/formats/engine_fields.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/verify/file_reader.h"
#include "rigsync/verify/number_targets.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace rigsync {
namespace {

// Odd counts have the middle of the image too.
constexpr int Grid_Columns = 13, Grid_Rows = 9;
const std::vector<double> Depths_M = {0.5, 2.0, 10.0};

// The library takes a folder for its run log, and goes on when it can't write there.
constexpr const char* No_Folder = "/dev/null/no run log";

// The largest distance between the pixels of two lenses, and the pixel of Exact there.
double Largest_Difference(const Lens& Exact, const Lens& Other,
                          const std::vector<Eigen::Vector3d>& Points_Cam) {
  double Largest = 0.0;
  for (const Eigen::Vector3d& Point : Points_Cam) {
    Largest = std::max(Largest, (Projected(Exact, Point) - Projected(Other, Point)).norm());
  }
  return Largest;
}

// What the target's lens leaves out, in pixels of the image.
std::vector<std::string> Lens_Notes(const Lens& Solved, const Lens& Of_Target,
                                    const std::vector<Eigen::Vector3d>& Points_Cam) {
  std::vector<std::string> Notes;
  Lens Square = Solved;
  Square.Fx = Of_Target.Fx;
  Square.Fy = Of_Target.Fy;
  const double One_Focal_Length = Largest_Difference(Solved, Square, Points_Cam);
  if (One_Focal_Length > 0.0) {
    Notes.push_back(
        fmt::format("it has one focal length for x and y, which is up to {:.3f} px "
                    "at the edge of the image",
                    One_Focal_Length));
  }
  Lens Straight = Square;
  Straight.K1 = Of_Target.K1;
  Straight.K2 = Of_Target.K2;
  const double Distortion = Largest_Difference(Square, Straight, Points_Cam);
  if (Distortion > 0.0) {
    Notes.push_back(fmt::format("it has no distortion, which is up to {:.2f} px", Distortion));
  }
  return Notes;
}

// Everything that the proofs of one result share.
struct Proof_Ground {
  const Verification_Request& Request;
  const Solved_Camera& Solved;
  Reference_Camera Reference;
  const Proof_Points& Points;
};

void Prove(const Exported_Camera& Camera, const Proof_Ground& Ground, Target_Proof& Target) {
  Target.Axes = Tracker_Axes_Text(Camera.Axes);
  Target.Proof = Prove_Pixels(Ground.Reference, Camera, Ground.Request.Samples.Samples,
                              Ground.Points.Points_Cam);
  const auto Note = [&](const std::vector<std::string>& Notes) {
    Target.Notes.insert(Target.Notes.end(), Notes.begin(), Notes.end());
  };
  if (Camera.Lens_Of_Target) {
    Note(Lens_Notes(Ground.Reference.Lens_Px, *Camera.Lens_Of_Target, Ground.Points.Points_Cam));
  }
  Note(Camera.Notes);
}

// The axes that were asked for; none for the target's own.
std::optional<Tracker_Axes> Asked_Axes(const Verification_Request& Request, Engine_Space Space) {
  if (Request.Axes.empty()) return std::nullopt;
  return Parse_Tracker_Axes("--tracker-axes", Request.Axes, Space,
                            Request.Result.Inputs.Camera_Labels);
}

// Axes that one target can't have are those of another hand. Throws what refuses them when no
// target has such a hand, because they are no axes.
void Require_Possible_Axes(const Verification_Request& Request) {
  std::optional<Usage_Error> Refusal;
  for (const Engine_Space Space : {Engine_Space::Right_Handed_Z_Up, Engine_Space::Left_Handed_Z_Up,
                                   Engine_Space::Left_Handed_Y_Up}) {
    try {
      Asked_Axes(Request, Space);
      return;
    } catch (const Usage_Error& Error) {
      if (!Refusal) Refusal = Error;
    }
  }
  throw *Refusal;
}

// Without a point, every target would hold.
void Require_Points(const Proof_Points& Points, const std::filesystem::path& File) {
  if (!Points.Points_Cam.empty()) return;
  throw Usage_Error(
      fmt::format("{}: 'lens' shows nothing at any pixel of the image, so there is nothing to "
                  "compare; calibrate again",
                  File.string()));
}

void Set_Outcome(Target_Proof& Target, Target_Outcome Outcome, const std::string& Reason) {
  Target.Outcome = Outcome;
  Target.Reason = Reason;
}

void Prove_Numbers(const Engine& Target, const std::optional<Tracker_Axes>& Asked,
                   const Proof_Ground& Ground, Target_Proof& Made) {
  constexpr int Gimbal_Lock = 3;
  const Calibration_Result& Result = Ground.Request.Result;
  Engine_Export Export;
  {
    const Quiet_Output Quiet(/*Quiet=*/true);
    Export = Export_With_Axes(Target, Result, Asked, No_Folder);
  }
  if (Export.Code != 0) {
    Set_Outcome(
        Made,
        Export.Code == Gimbal_Lock ? Target_Outcome::Not_Exported : Target_Outcome::Not_Proven,
        fmt::format("code {}. {}", Export.Code, Advice_For(Export.Code).Meaning));
    return;
  }
  Prove(Camera_Of_Numbers(Target, Export, Asked.value_or(Target.Library_Axes), Result), Ground,
        Made);
}

// The file as the result alone makes it; where that lacks a sensor, with this one and a note.
std::string Text_Of(const File_Target& Target, const std::optional<Tracker_Axes>& Asked,
                    const Verification_Request& Request, const std::array<double, 2>& Sensor_Mm,
                    std::vector<std::string>& Notes) {
  File_Request Wanted = Request_From(Request.Result_File, Request.Result);
  Wanted.Axes = Asked;
  try {
    return Target.Write(Wanted).Text;
  } catch (const Usage_Error& Refusal) {
    if (Wanted.Sensor_Mm || Refusal.Option_Name() != "--sensor") throw;
  }
  Notes.push_back(
      fmt::format("the result has no sensor size, so 'rigsync export' asks for --sensor; it is "
                  "proven with {:g} x {:g} mm",
                  Sensor_Mm[0], Sensor_Mm[1]));
  Wanted.Sensor_Mm = Sensor_Mm;
  return Target.Write(Wanted).Text;
}

Exported_Camera Read_Back(const File_Reader& Reader, const std::string& Text,
                          const Read_Request& Request) {
  try {
    return Reader.Read(Text, Request);
  } catch (const std::exception& Error) {
    throw std::runtime_error(std::string("its file can't be read back: ") + Error.what());
  }
}

void Prove_File(const File_Target& Target, const std::optional<Tracker_Axes>& Asked,
                const Proof_Ground& Ground, Target_Proof& Made) {
  const auto& Readers = File_Readers();
  const auto Reader = std::find_if(Readers.begin(), Readers.end(),
                                   [&](const File_Reader& One) { return One.Name == Target.Name; });
  if (Reader == Readers.end()) {
    Set_Outcome(Made, Target_Outcome::No_Camera, "it has no camera to prove.");
    return;
  }
  const Verification_Request& Request = Ground.Request;
  // A size in millimetres is only the unit of the lens.
  const std::array<double, 2> Sensor_Mm = Sensor_Or_Nominal(
      Request.Result.Inputs.Sensor_Size_Mm, Ground.Solved.Width, Ground.Solved.Height);
  const std::string Text = Text_Of(Target, Asked, Request, Sensor_Mm, Made.Notes);
  const Tracker_Axes Axes = Asked.value_or(Reader->Own_Axes(Request.Result));
  Prove(Read_Back(*Reader, Text, {Request.Result, Axes, Sensor_Mm}), Ground, Made);
}

// A target's proof by Prove_It(Asked, Made). Has_Axes is whether its axes can be stated. Whatever
// refuses it besides its axes leaves it unproven.
template <typename Prover>
Target_Proof Proof_Of(const std::string& Name, const std::string& Title, bool Has_Axes,
                      Engine_Space Space, const Verification_Request& Request,
                      const Prover& Prove_It) {
  Target_Proof Made;
  Made.Name = Name;
  Made.Title = Title;
  std::optional<Tracker_Axes> Asked;
  try {
    if (Has_Axes) Asked = Asked_Axes(Request, Space);
  } catch (const Usage_Error& Refusal) {
    Set_Outcome(Made, Target_Outcome::Not_Exported, Refusal.what());
    return Made;
  }
  try {
    Prove_It(Asked, Made);
  } catch (const std::exception& Error) {
    Set_Outcome(Made, Target_Outcome::Not_Proven, Error.what());
  }
  return Made;
}

}  // namespace

bool Target_Proof::Holds() const {
  return Outcome != Target_Outcome::Not_Proven && Proof.Holds();
}

bool Verification::Holds() const {
  return std::all_of(Targets.begin(), Targets.end(),
                     [](const Target_Proof& Target) { return Target.Holds(); });
}

Verification Verify_Exports(const Verification_Request& Request,
                            const std::vector<File_Target>& Files) {
  const Solved_Camera Solved = Solved_Camera_Of(Request.Result, Request.Result_File);
  Require_Possible_Axes(Request);
  Verification Made;
  Made.Samples = Request.Samples;
  Made.Width = Solved.Width;
  Made.Height = Solved.Height;
  Made.Points = Points_Over_Frame(Solved.Lens_Px, Solved.Width, Solved.Height, Grid_Columns,
                                  Grid_Rows, Depths_M);
  Require_Points(Made.Points, Request.Result_File);
  const Proof_Ground Ground = {
      Request,
      Solved,
      {Matrix_From_List(Chosen_Transform_Cam_Tc(Request.Result)), Solved.Lens_Px},
      Made.Points};
  for (const Engine& Target : Engines()) {
    Made.Targets.push_back(
        Proof_Of(Target.Name, Target.Title, /*Has_Axes=*/true, Target.Space, Request,
                 [&](const std::optional<Tracker_Axes>& Asked, Target_Proof& Proof) {
                   Prove_Numbers(Target, Asked, Ground, Proof);
                 }));
  }
  for (const File_Target& Target : Files) {
    Made.Targets.push_back(
        Proof_Of(Target.Name, Target.Title, Has_Use(Target, File_Option::Axes), Target.Space,
                 Request, [&](const std::optional<Tracker_Axes>& Asked, Target_Proof& Proof) {
                   Prove_File(Target, Asked, Ground, Proof);
                 }));
  }
  return Made;
}

}  // namespace rigsync
