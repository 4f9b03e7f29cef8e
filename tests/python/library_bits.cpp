// SPDX-License-Identifier: Apache-2.0
//
// What the library's four exports give for the transforms on standard input, to the last bit: the
// other side of the comparison with the Python modules, which has nothing in common with them.
//
// A line of input has 20 numbers: Norm_Fxy, Norm_Cxy and Transform_Cam_Tc. A line of output, in the
// file of the argument, has the code of CamAxisToUE4 and 29 hexadecimal numbers: ue4's location and
// angles (NaN after code 3), ue5's and ue5-xn's location and quaternion, and aximmetry's position,
// angles, field of view and centre shift.
#include "rigsync_core.h"

#include <cstdio>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

namespace {

using Numbers = std::vector<double>;

// No folder can be below a file, so no run log is written.
const char* const No_Folder = "/dev/null/none";

// strtod reads hexadecimal numbers; operator>> does not.
bool Read_Numbers(Numbers& Read) {
  std::string Word;
  for (double& Number : Read) {
    if (!(std::cin >> Word)) return false;
    Number = std::stod(Word);
  }
  return true;
}

void Write(std::FILE* File, Numbers Values, std::size_t Size) {
  Values.resize(Size, std::numeric_limits<double>::quiet_NaN());
  for (const double Value : Values) std::fprintf(File, " %a", Value);
}

void Export(std::FILE* File, const Numbers& Norm_Fxy, const Numbers& Norm_Cxy,
            const Numbers& Transform_Cam_Tc) {
  Numbers Rotation, Place;
  std::fprintf(File, "%d", CamAxisToUE4(Transform_Cam_Tc, Rotation, Place, No_Folder));
  Write(File, Place, 3);
  Write(File, Rotation, 3);
  for (const auto Call : {CamAxisToUE5, CamAxisToUE5_ExportxN}) {
    Numbers Quaternion, Location;
    Call(Transform_Cam_Tc, Quaternion, Location, No_Folder);
    Write(File, Location, 3);
    Write(File, Quaternion, 4);
  }
  Numbers View, Shift, Angles, Position;
  CamAxisToAximmetry(Norm_Fxy, Norm_Cxy, Transform_Cam_Tc, View, Shift, Angles, Position,
                     No_Folder);
  Write(File, Position, 3);
  Write(File, Angles, 3);
  Write(File, View, 1);
  Write(File, Shift, 2);
  std::fputc('\n', File);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::FILE* const File = std::fopen(argv[1], "w");
  if (File == nullptr) return 2;
  std::cout.setstate(std::ios::failbit);  // the library's lines
  Numbers Norm_Fxy(2), Norm_Cxy(2), Transform_Cam_Tc(16);
  while (Read_Numbers(Norm_Fxy) && Read_Numbers(Norm_Cxy) && Read_Numbers(Transform_Cam_Tc)) {
    Export(File, Norm_Fxy, Norm_Cxy, Transform_Cam_Tc);
  }
  return std::fclose(File) == 0 ? 0 : 1;
}
