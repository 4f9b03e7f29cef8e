// SPDX-License-Identifier: Apache-2.0
//
// Writes the results of all four exports for seeded random transforms, as hexadecimal floats, to
// the file named by the argument. Builds by different compilers and at different optimisation
// levels must write the same. The transforms are computed from the generator's numbers with basic
// arithmetic, so they are the same everywhere.
#include <cmath>
#include <cstdio>
#include <iostream>
#include <random>
#include <vector>

#include "rigsync_core.h"

namespace {

std::mt19937 Engine(20);

double Between(double Low, double High) {
  return Low + (High - Low) * (static_cast<double>(Engine()) / 4294967296.0);
}

// A rigid transform from a normalised quaternion, row-major.
std::vector<double> Rigid_Transform() {
  double X = 0, Y = 0, Z = 0, W = 0, Squares = 0;
  while (Squares < 0.01) {
    X = Between(-1, 1);
    Y = Between(-1, 1);
    Z = Between(-1, 1);
    W = Between(-1, 1);
    Squares = X * X + Y * Y + Z * Z + W * W;
  }
  const double S = 2.0 / Squares;
  const double TX = Between(-2, 2), TY = Between(-2, 2), TZ = Between(-2, 2);
  return {1 - S * (Y * Y + Z * Z),
          S * (X * Y - Z * W),
          S * (X * Z + Y * W),
          TX,
          S * (X * Y + Z * W),
          1 - S * (X * X + Z * Z),
          S * (Y * Z - X * W),
          TY,
          S * (X * Z - Y * W),
          S * (Y * Z + X * W),
          1 - S * (X * X + Y * Y),
          TZ,
          0,
          0,
          0,
          1};
}

// Any 16 numbers: the conversions do not require a rigid transform.
std::vector<double> Any_Transform() {
  std::vector<double> Transform(16);
  for (double& Element : Transform) Element = Between(-3, 3);
  return Transform;
}

// The sign and payload of a NaN value differ between compilers, so it is printed without them.
void Print(std::FILE* File, const std::vector<double>& Values) {
  for (const double Value : Values) {
    if (std::isnan(Value)) {
      std::fputs(" nan", File);
    } else {
      std::fprintf(File, " %a", Value);
    }
  }
}

void Print_Exports(std::FILE* File, const std::vector<double>& Transform) {
  // A folder that doesn't exist: no run log, and nothing on standard output either.
  const std::string Nowhere = "no such folder";
  std::vector<double> Rotation, Translation, FoVX, Shift;
  std::fprintf(File, "%d", CamAxisToUE4(Transform, Rotation, Translation, Nowhere));
  CamAxisToUE5(Transform, Rotation, Translation, Nowhere);
  CamAxisToUE5_ExportxN(Transform, Rotation, Translation, Nowhere);
  const double Fx = Between(0.3, 3), Cx = Between(0.4, 0.6), Cy = Between(0.4, 0.6);
  CamAxisToAximmetry({Fx, Fx}, {Cx, Cy}, Transform, FoVX, Shift, Rotation, Translation, Nowhere);
  Print(File, Rotation);
  Print(File, Translation);
  Print(File, FoVX);
  Print(File, Shift);
  std::fputc('\n', File);
}

}  // namespace

int main(int Count, char** Arguments) {
  std::FILE* File = Count == 2 ? std::fopen(Arguments[1], "w") : nullptr;
  if (File == nullptr) {
    std::fputs("usage: export_bits FILE\n", stderr);
    return 2;
  }
  std::cout.rdbuf(nullptr);
  for (int i = 0; i < 1500; ++i) Print_Exports(File, Rigid_Transform());
  for (int i = 0; i < 500; ++i) Print_Exports(File, Any_Transform());
  return std::fclose(File) == 0 ? 0 : 1;
}
