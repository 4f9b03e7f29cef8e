// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/result_judgement.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/geometry/transform_list.h"

namespace rigsync {
namespace {

Second_Opinion Opinion_On(const Calibration_Result& Result, Solution_Choice Choice,
                          bool Is_Capture_Faulty) {
  static const Capture_Solution Nothing;
  const Capture_Solution& Solved = Result.Solved ? *Result.Solved : Nothing;
  Judged_Result Judged;
  Judged.Choice = Choice;
  Judged.Has_Usable_Code = Result.Code && Is_Usable_Code(*Result.Code);
  Judged.Is_Place_Contradicted = Solved.Place && !Solved.Place->Is_Prior;
  Judged.Is_Capture_Faulty = Is_Capture_Faulty;
  Judged.Lens_Check = Solved.Lens_Check;
  return Judge_Mount(Matrix_From_List(Result.Transform_Cam_Tc), Solved.Joint, Solved.Likeliest_Slip,
                     Result.Inputs.Limits, Judged);
}

bool Has_Lens(const Calibration_Result& Result) {
  return !Result.Norm_Fxy.empty() && !Result.Norm_Cxy.empty();
}

}  // namespace

void Judge_Result(const std::optional<Finding>& Likeliest, Calibration_Result& Result) {
  if (Result.Solved && Result.Solved->Joint.Status == Solve_Status::Solved) {
    Result.Joint_Transform_Cam_Tc =
        List_From_Matrix(Result.Solved->Joint.At.Transform_Cam_Tc.matrix());
  }
  const bool Is_Capture_Faulty = Likeliest && Likeliest->Severity == Level::Error;
  // Without a lens to export with it, the joint mount is no way around the library's answer.
  const Solution_Choice Choice =
      Has_Lens(Result) ? Result.Inputs.Solution : Solution_Choice::Library;
  Result.Opinion = Opinion_On(Result, Choice, Is_Capture_Faulty);
  if (Result.Opinion->Judgement != Verdict::Agree) Result.Cause = Likeliest;
}

bool Is_Joint_Offered(const Calibration_Result& Result) {
  return Result.Inputs.Solution == Solution_Choice::Library &&
         !Result.Joint_Transform_Cam_Tc.empty() && Has_Lens(Result) &&
         Opinion_On(Result, Solution_Choice::Joint, false).Judgement != Verdict::Dont_Use;
}

}  // namespace rigsync
