// SPDX-License-Identifier: Apache-2.0
//
// The library's calls for Python: numbers in and out, no lines on standard output unless asked for.
// The functions know nothing of Python, so that they can run without its lock.
#ifndef RIGSYNC_PYTHON_LIBRARY_CALLS_H
#define RIGSYNC_PYTHON_LIBRARY_CALLS_H

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

using Numbers = std::vector<double>;

// The arguments of Calibration, under the names that they have in include/rigsync_core.h.
struct Calibration_Arguments {
  std::string Csv_Path;
  std::optional<std::array<double, 2>> Sensor_Size_Mm;  // of the second overload: width, height
  int Board_Cols = 0, Board_Rows = 0;
  double Square_Size = 0;
  Numbers Chart_Euler_Deg, Chart_Translation;
  std::string Output_Dir;
};

// A code and the vectors that came with it. One that the call did not fill is empty.
struct Call_Outputs {
  int Code = 0;
  std::vector<Numbers> Vectors;  // in the header's order
};

// Seven vectors; the last two, FoV and Focal_Length_mm, are those of the second overload.
// The exceptions of all calls are the library's.
Call_Outputs Call_Calibration(const Calibration_Arguments& Arguments, bool Is_Verbose);

// "ue4", "ue5", "ue5-xn"
Call_Outputs Call_Export(const std::string& Engine, const Numbers& Transform_Cam_Tc,
                         const std::string& Output_Dir, bool Is_Verbose);

Call_Outputs Call_Aximmetry(const Numbers& Norm_Fxy, const Numbers& Norm_Cxy,
                            const Numbers& Transform_Cam_Tc, const std::string& Output_Dir,
                            bool Is_Verbose);

}  // namespace rigsync

#endif  // RIGSYNC_PYTHON_LIBRARY_CALLS_H
