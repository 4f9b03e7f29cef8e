// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/verification.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/file_target.h"
#include "rigsync/formats/engine_fields.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/verify/file_reader.h"
#include "rigsync/verify/number_targets.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

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
  Reference_Camera Reference;
  const Proof_Points& Points;
};

void Prove(const Exported_Camera& Camera, const Proof_Ground& Ground, Target_Proof& Target) {
  Target.Axes = Tracker_Axes_Text(Camera.Axes);
  Target.Proof = Prove_Pixels(Ground.Reference, Camera, Ground.Request.Samples.Samples,
                              Ground.Points.Points_Cam);
  if (Camera.Lens_Of_Target) {
    Target.Notes =
        Lens_Notes(Ground.Reference.Lens_Px, *Camera.Lens_Of_Target, Ground.Points.Points_Cam);
  }
  Target.Notes.insert(Target.Notes.end(), Camera.Notes.begin(), Camera.Notes.end());
}

// The axes that were asked for; none for the target's own.
std::optional<Tracker_Axes> Asked_Axes(const Verification_Request& Request, Engine_Space Space) {
  if (Request.Axes.empty()) return std::nullopt;
  return Parse_Tracker_Axes("--tracker-axes", Request.Axes, Space,
                            Request.Result.Inputs.Camera_Labels);
}

Target_Proof Prove_Numbers(const Engine& Target, const Proof_Ground& Ground) {
  Target_Proof Made;
  Made.Name = Target.Name;
  Made.Title = Target.Title;
  const Calibration_Result& Result = Ground.Request.Result;
  const std::optional<Tracker_Axes> Asked = Asked_Axes(Ground.Request, Target.Space);
  Engine_Export Export;
  {
    const Quiet_Output Quiet(/*Quiet=*/true);
    Export = Export_With_Axes(Target, Result, Asked, No_Folder);
  }
  if (Export.Code != 0) {
    Made.Left_Out = fmt::format("code {}. {}", Export.Code, Advice_For(Export.Code).Meaning);
    return Made;
  }
  Prove(Camera_Of_Numbers(Target, Export, Asked.value_or(Target.Library_Axes), Result), Ground,
        Made);
  return Made;
}

// Those of the result; a sensor 36 mm wide where it has none. A size in millimetres is only the
// unit of the lens.
std::array<double, 2> Sensor_Of(const Verification_Request& Request, const Solved_Camera& Solved) {
  constexpr double Full_Frame_Mm = 36.0;
  return Request.Result.Inputs.Sensor_Size_Mm.value_or(
      std::array<double, 2>{Full_Frame_Mm, Full_Frame_Mm * Solved.Height / Solved.Width});
}

Target_Proof Prove_File(const File_Target& Target, const File_Reader& Reader,
                        const Proof_Ground& Ground) {
  const Verification_Request& Request = Ground.Request;
  std::optional<Tracker_Axes> Asked;
  if (Target.Has_Tracker) Asked = Asked_Axes(Request, Target.Space);
  const std::array<double, 2> Sensor_Mm =
      Sensor_Of(Request, Solved_Camera_Of(Request.Result, Request.Result_File));
  const Calibration_Inputs& Inputs = Request.Result.Inputs;
  const File_Text Written = Target.Write({Request.Result_File, Request.Result, Asked, Sensor_Mm,
                                          std::nullopt, Inputs.Csv, Inputs.Image_Root});
  Target_Proof Made;
  Made.Name = Target.Name;
  Made.Title = Target.Title;
  const Tracker_Axes Axes = Asked.value_or(Reader.Own_Axes(Request.Result));
  Prove(Reader.Read(Written.Text, {Request.Result, Axes, Sensor_Mm}), Ground, Made);
  return Made;
}

const File_Target* File_Target_Named(const std::string& Name) {
  for (const File_Target& Target : File_Targets()) {
    if (Target.Name == Name) return &Target;
  }
  return nullptr;
}

}  // namespace

bool Verification::Holds() const {
  return std::all_of(Targets.begin(), Targets.end(), [](const Target_Proof& Target) {
    return !Target.Left_Out.empty() || Target.Proof.Holds();
  });
}

Verification Verify_Exports(const Verification_Request& Request) {
  const Solved_Camera Solved = Solved_Camera_Of(Request.Result, Request.Result_File);
  Verification Made;
  Made.Samples = Request.Samples;
  Made.Width = Solved.Width;
  Made.Height = Solved.Height;
  Made.Points = Points_Over_Frame(Solved.Lens_Px, Solved.Width, Solved.Height, Grid_Columns,
                                  Grid_Rows, Depths_M);
  const Proof_Ground Ground = {
      Request,
      {Matrix_From_List(Chosen_Transform_Cam_Tc(Request.Result)), Solved.Lens_Px},
      Made.Points};
  // A refusal of the axes that holds for every target that can have others.
  std::optional<Usage_Error> Refusal;
  bool Has_Object = false;
  const auto Add = [&](const std::string& Name, const std::string& Title, const auto& Prove_It,
                       bool Can_Have_Axes) {
    try {
      Made.Targets.push_back(Prove_It());
      Has_Object = Has_Object || Can_Have_Axes;
    } catch (const Usage_Error& Error) {
      if (!Refusal) Refusal = Error;
      Made.Targets.push_back({Name, Title, "", Error.what(), {}, {}});
    }
  };
  for (const Engine& Target : Engines()) {
    Add(
        Target.Name, Target.Title, [&] { return Prove_Numbers(Target, Ground); }, true);
  }
  for (const File_Reader& Reader : File_Readers()) {
    const File_Target* Target = File_Target_Named(Reader.Name);
    if (Target == nullptr) continue;
    Add(
        Target->Name, Target->Title, [&] { return Prove_File(*Target, Reader, Ground); },
        Target->Has_Tracker);
  }
  if (!Has_Object && Refusal) throw *Refusal;
  return Made;
}

}  // namespace rigsync
