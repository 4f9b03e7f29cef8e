// SPDX-License-Identifier: Apache-2.0
//
// The four exports over any doubles and any sizes of their vectors. Whatever comes in, the code is
// a documented one, the vectors are appended to by the documented counts, nothing but a short
// vector is refused, and the log begins with the version and shows the transform that came in.
//
// Input: the sizes of the three vectors, then their elements as eight bytes each.
#include "rigsync_core.h"
#include "tests/fuzz/fuzz_support.h"

#include <functional>

namespace {

using Vector = std::vector<double>;
using Lines = std::vector<std::string>;

struct Case {
  Vector Norm_Fxy, Norm_Cxy, Transform_Cam_Tc;
};

// One export: its name in the log, and what it fills, in the order of its arguments.
struct Engine {
  std::string Start;
  std::vector<std::size_t> Sizes;
  bool Takes_Lens = false;
  bool May_Lock = false;          // code 3, nothing filled
  bool Single_Precision = false;  // of the last two outputs
  std::function<int(const Case&, std::vector<Vector>&, const std::string&)> Export;
};

const std::vector<Engine>& Engines() {
  static const std::vector<Engine> All = {
      {"CamAxisToUE4",
       {3, 3},
       false,
       true,
       true,
       [](const Case& Given, std::vector<Vector>& Out, const std::string& Folder) {
         return CamAxisToUE4(Given.Transform_Cam_Tc, Out[0], Out[1], Folder);
       }},
      {"CamAxisToUE5",
       {4, 3},
       false,
       false,
       false,
       [](const Case& Given, std::vector<Vector>& Out, const std::string& Folder) {
         return CamAxisToUE5(Given.Transform_Cam_Tc, Out[0], Out[1], Folder);
       }},
      {"CamAxisToUE5_ExportxN",
       {4, 3},
       false,
       false,
       false,
       [](const Case& Given, std::vector<Vector>& Out, const std::string& Folder) {
         return CamAxisToUE5_ExportxN(Given.Transform_Cam_Tc, Out[0], Out[1], Folder);
       }},
      {"CamAxisToAximmetry",
       {1, 2, 3, 3},
       true,
       false,
       true,
       [](const Case& Given, std::vector<Vector>& Out, const std::string& Folder) {
         return CamAxisToAximmetry(Given.Norm_Fxy, Given.Norm_Cxy, Given.Transform_Cam_Tc, Out[0],
                                   Out[1], Out[2], Out[3], Folder);
       }}};
  return All;
}

bool Lens_Is_Short(const Engine& To, const Case& Given) {
  return To.Takes_Lens && (Given.Norm_Fxy.size() < 2 || Given.Norm_Cxy.size() < 2);
}

bool Is_Short(const Engine& To, const Case& Given) {
  return Lens_Is_Short(To, Given) || Given.Transform_Cam_Tc.size() < 16;
}

// What the call appends, by how far it comes.
std::vector<std::size_t> Expected_Sizes(const Engine& To, const Case& Given, int Code) {
  std::vector<std::size_t> Sizes = To.Sizes;
  if (Code == 0) return Sizes;
  for (std::size_t i = 0; i < Sizes.size(); ++i) {
    // A lens that is whole is delivered before the transform is read.
    const bool Delivered = To.Takes_Lens && i < 2 && !Lens_Is_Short(To, Given);
    if (!Delivered) Sizes[i] = 0;
  }
  return Sizes;
}

Lines Matrix_Rows(const Vector& Flat) {
  Lines Rows;
  for (std::size_t r = 0; r < 4; ++r) {
    std::string Row = r == 0 ? "[[" : " [";
    for (std::size_t c = 0; c < 4; ++c) {
      Row += (c > 0 ? ", " : "") + std::to_string(Flat[4 * r + c]);
    }
    Rows.push_back(Row + (r == 3 ? "]]" : "],"));
  }
  return Rows;
}

void Check_Log(const Engine& To, const Case& Given, const Lines& Log) {
  Promise(Log.size() >= 2 && Log[0] == "Version : v0.0.9", "the version comes first");
  Promise(Log[1] == To.Start + " start.", "then the start");
  Promise(std::count(Log.begin(), Log.end(), Log[0]) == 1, "one version line a call");
  if (Is_Short(To, Given)) return;
  const auto Label = std::find(Log.begin(), Log.end(), "Transform_Cam_Tc : ");
  const Lines Rows = Matrix_Rows(Given.Transform_Cam_Tc);
  Promise(Log.end() - Label >= 5 && std::equal(Rows.begin(), Rows.end(), Label + 1),
          "the transform that came in is logged");
}

// Calls the export with vectors that hold something already. Returns what it appended.
std::vector<Vector> Check_Export(const Engine& To, const Case& Given, const Fuzz_Folder& Folder) {
  const double Earlier = 0.25;
  std::vector<Vector> Out(To.Sizes.size(), Vector{Earlier});
  int Code = -1;
  try {
    Code = To.Export(Given, Out, Folder.Path().string());
    Promise(!Is_Short(To, Given), "a short vector is refused");
    Promise(Code == 0 || (Code == 3 && To.May_Lock), "the code is a documented one");
  } catch (const std::invalid_argument&) {
    Promise(Is_Short(To, Given), "nothing but a short vector is refused");
  }
  Check_Log(To, Given, Folder.Take_Log());
  const std::vector<std::size_t> Sizes = Expected_Sizes(To, Given, Code);
  for (std::size_t i = 0; i < Out.size(); ++i) {
    Promise(Out[i].size() == 1 + Sizes[i], "as many elements are appended as documented");
    Promise(Out[i].front() == Earlier, "what was there stays there");
    Out[i].erase(Out[i].begin());
    for (const double Value : Out[i]) {
      const bool Narrow = Same(Value, static_cast<double>(static_cast<float>(Value)));
      const bool Wide_Allowed = !To.Single_Precision || i + 2 < Out.size();
      Promise(Wide_Allowed || Narrow, "angles and centimetres are single-precision values");
    }
  }
  return Out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  const No_Output Silence;
  Bytes Input(Data, Size);
  const std::size_t Fxy = Input.Take<std::uint8_t>() % 4;
  const std::size_t Cxy = Input.Take<std::uint8_t>() % 4;
  const std::size_t Elements = Input.Take<std::uint8_t>() % 20;
  Case Given;
  Given.Transform_Cam_Tc = Input.Take_Doubles(Elements);
  Given.Norm_Fxy = Input.Take_Doubles(Fxy);
  Given.Norm_Cxy = Input.Take_Doubles(Cxy);
  Case Longer = Given;
  if (Elements >= 16) Longer.Transform_Cam_Tc.push_back(1e9);
  for (const Engine& To : Engines()) {
    const std::vector<Vector> First = Check_Export(To, Given, Folder);
    const std::vector<Vector> Again = Check_Export(To, Longer, Folder);
    for (std::size_t i = 0; i < First.size(); ++i) {
      Promise(Same(First[i], Again[i]), "the same again, whatever stands from element 16 on");
    }
  }
  return 0;
}
