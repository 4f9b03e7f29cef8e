// SPDX-License-Identifier: Apache-2.0
#include "python/library_calls.h"

#include "python/quiet_lines.h"
#include "rigsync_core.h"

namespace rigsync {

Call_Outputs Call_Calibration(const Calibration_Arguments& Arguments, bool Is_Verbose) {
  const Quiet_Lines Quiet(!Is_Verbose);
  const Calibration_Arguments& In = Arguments;
  Numbers Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, FoV, Focal_Length_mm;
  int Code = 0;
  if (In.Sensor_Size_Mm) {
    Code = Calibration(In.Csv_Path, (*In.Sensor_Size_Mm)[0], (*In.Sensor_Size_Mm)[1], In.Board_Cols,
                       In.Board_Rows, In.Square_Size, In.Chart_Euler_Deg, In.Chart_Translation,
                       Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, FoV,
                       Focal_Length_mm, In.Output_Dir);
  } else {
    Code = Calibration(In.Csv_Path, In.Board_Cols, In.Board_Rows, In.Square_Size,
                       In.Chart_Euler_Deg, In.Chart_Translation, Image_Size, Norm_Fxy, Norm_Cxy,
                       Distortion, Transform_Cam_Tc, In.Output_Dir);
  }
  return {Code,
          {Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, FoV, Focal_Length_mm}};
}

Call_Outputs Call_Export(const std::string& Engine, const Numbers& Transform_Cam_Tc,
                         const std::string& Output_Dir, bool Is_Verbose) {
  const Quiet_Lines Quiet(!Is_Verbose);
  const auto Call = Engine == "ue4"   ? CamAxisToUE4
                    : Engine == "ue5" ? CamAxisToUE5
                                      : CamAxisToUE5_ExportxN;
  Numbers Rotation, Translation;
  const int Code = Call(Transform_Cam_Tc, Rotation, Translation, Output_Dir);
  return {Code, {Rotation, Translation}};
}

Call_Outputs Call_Aximmetry(const Numbers& Norm_Fxy, const Numbers& Norm_Cxy,
                            const Numbers& Transform_Cam_Tc, const std::string& Output_Dir,
                            bool Is_Verbose) {
  const Quiet_Lines Quiet(!Is_Verbose);
  Numbers FoVX, AximmetryCxy, Rotation, Translation;
  const int Code = CamAxisToAximmetry(Norm_Fxy, Norm_Cxy, Transform_Cam_Tc, FoVX, AximmetryCxy,
                                      Rotation, Translation, Output_Dir);
  return {Code, {FoVX, AximmetryCxy, Rotation, Translation}};
}

}  // namespace rigsync
