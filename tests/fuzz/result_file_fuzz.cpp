// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a result.json: refused with a sentence that names the file, or read with vectors
// that are empty or of their documented size, those of the lens with finite numbers. The writer
// writes it so that it is read back.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/usage_error.h"

#include "tests/fuzz/fuzz_support.h"

#include <nlohmann/json.hpp>

namespace {

// The code is the number in the file. One beyond the range of int must not be cut to another.
void Check_Code(const rigsync::Calibration_Result& Read, const std::string& Text) {
  const nlohmann::json Root = nlohmann::json::parse(Text, nullptr, /*allow_exceptions=*/false);
  const nlohmann::json Code = Root.value("code", nlohmann::json());
  Promise(Read.Code.has_value() == Code.is_number_integer(), "a code is read where there is one");
  if (Read.Code) Promise(Code == *Read.Code, "the code is the one in the file");
}

void Check_Size(const std::vector<double>& Values, std::size_t Size, const std::string& Name) {
  Promise(Values.empty() || Values.size() == Size, Name + " is empty or whole");
}

void Check_Vector(const std::vector<double>& Values, std::size_t Size, const std::string& Name) {
  Check_Size(Values, Size, Name);
  for (const double Value : Values) Promise(std::isfinite(Value), Name + " is finite");
}

void Check_Read(const rigsync::Calibration_Result& Read) {
  Check_Vector(Read.Image_Size, 2, "Image_Size");
  Check_Vector(Read.Norm_Fxy, 2, "Norm_Fxy");
  Check_Vector(Read.Norm_Cxy, 2, "Norm_Cxy");
  Check_Vector(Read.Distortion, 5, "Distortion");
  Check_Size(Read.Transform_Cam_Tc, 16, "Transform_Cam_Tc");
  Check_Size(Read.Joint_Transform_Cam_Tc, 16, "Joint_Transform_Cam_Tc");
  Promise(Read.Message.find('\n') == std::string::npos, "the message is one line");
}

// Whatever the covariance is, the probability is one, or NaN.
void Check_Joint_Mount(const rigsync::Calibration_Result& Read) {
  if (!Read.Solved) return;
  const rigsync::Joint_Solution& Joint = Read.Solved->Joint;
  Promise(Joint.At.Transform_Cam_Tc.matrix().allFinite(), "a joint mount is finite");
  Promise(Joint.At.Transform_Tr_Chart.matrix().allFinite(), "a board's place is finite");
  const double Part = Joint.Camera_Mount.Probability_Nearer(1e-3 * rigsync::Vector6d::Ones());
  Promise(std::isnan(Part) || (Part >= 0.0 && Part <= 1.0), "a probability is from 0 to 1");
}

void Check_Same(const rigsync::Calibration_Result& Read, const rigsync::Calibration_Result& Again) {
  Promise(Read.Code == Again.Code, "the code is read back");
  Promise(Read.Message == Again.Message, "the message is read back");
  Promise(Same(Read.Image_Size, Again.Image_Size), "the image size is read back");
  Promise(Same(Read.Norm_Fxy, Again.Norm_Fxy), "the focal lengths are read back");
  Promise(Same(Read.Norm_Cxy, Again.Norm_Cxy), "the principal point is read back");
  Promise(Same(Read.Distortion, Again.Distortion), "the distortion is read back");
  Promise(Same(Read.Transform_Cam_Tc, Again.Transform_Cam_Tc), "the transform is read back");
  Promise(Read.Inputs.Solution == Again.Inputs.Solution, "the choice is read back");
  Promise(Read.Solved.has_value() == Again.Solved.has_value(), "a joint solution is read back");
  if (Read.Solved && Read.Solved->Joint.Status == rigsync::Solve_Status::Solved) {
    Promise(Same(Read.Joint_Transform_Cam_Tc, Again.Joint_Transform_Cam_Tc), "with its mount");
  }
  Promise(Read.Opinion.has_value() == Again.Opinion.has_value(), "an opinion is read back");
  if (!Read.Opinion) return;
  Promise(Read.Opinion->Judgement == Again.Opinion->Judgement, "the verdict is read back");
  Promise(Read.Opinion->Reasons == Again.Opinion->Reasons, "the reasons are read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  Bytes Input(Data, Size);
  const std::string Text = Input.Take_Rest();
  const std::filesystem::path File = Folder.Write("input.json", Text);
  rigsync::Calibration_Result Read;
  try {
    Read = rigsync::Read_Result(File);
  } catch (const rigsync::Usage_Error& Refusal) {
    Promise(std::string(Refusal.what()).rfind(File.string() + ": ", 0) == 0,
            "a refusal names the file");
    return 0;
  }
  Check_Read(Read);
  Check_Code(Read, Text);
  Check_Joint_Mount(Read);
  rigsync::Write_Result(Folder.Path(), Read);
  Check_Same(Read, rigsync::Read_Result(Folder.Path() / "result.json"));
  return 0;
}
