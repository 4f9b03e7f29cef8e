// SPDX-License-Identifier: Apache-2.0
//
// The files of 'rigsync export', read back on random rigs: every pixel within its bound, and every
// slip in a file beyond it.
#include "rigsync/verify/file_reader.h"

#include "rigsync/exports/file_target.h"
#include "rigsync/verify/numbers_read.h"
#include "rigsync/verify/pixel_proof.h"
#include "rigsync/verify/proof_points.h"
#include "tests/rigsync/verify/random_rig.h"
#include "tests/support/largest.h"
#include "tests/support/sanitized.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using rigsync::Exported_Camera;
using rigsync::File_Reader;
using rigsync::File_Target;
using rigsync::Tracker_Axes;

const File_Target* Target_Named(const std::string& Name) {
  for (const File_Target& Target : rigsync::File_Targets()) {
    if (Target.Name == Name) return &Target;
  }
  return nullptr;
}

const File_Reader& Reader_Named(const std::string& Name) {
  for (const File_Reader& Reader : rigsync::File_Readers()) {
    if (Reader.Name == Name) return Reader;
  }
  throw std::invalid_argument(Name);
}

constexpr std::array<double, 2> Sensor_Mm = {24.0, 14.0};

std::string Written(const File_Target& Target, const Random_Rig& Rig,
                    const std::optional<Tracker_Axes>& Axes) {
  rigsync::File_Request Request = rigsync::Request_From("result.json", Rig.Result);
  Request.Axes = Axes;
  Request.Sensor_Mm = Sensor_Mm;
  Request.Capture = "/dev/null/none.csv";
  return Target.Write(Request).Text;
}

bool Holds(const File_Reader& Reader, const std::string& Text, const Random_Rig& Rig,
           const std::optional<Tracker_Axes>& Axes, rigsync::Pixel_Proof* Proof = nullptr) {
  const rigsync::Solved_Camera Solved = rigsync::Solved_Camera_Of(Rig.Result);
  const auto Points =
      rigsync::Points_Over_Frame(Solved.Lens_Px, Solved.Width, Solved.Height, 5, 3, {0.5, 10.0});
  const Exported_Camera Camera =
      Reader.Read(Text, {Rig.Result, Axes.value_or(Reader.Own_Axes(Rig.Result)), Sensor_Mm});
  const rigsync::Pixel_Proof Made = rigsync::Prove_Pixels(
      {rigsync::Matrix_From_List(Rig.Result.Transform_Cam_Tc), Solved.Lens_Px}, Camera, Rig.Samples,
      Points.Points_Cam);
  if (Proof != nullptr) *Proof = Made;
  return Made.Holds();
}

Random_Rig Make_Rig(Rig_Kind Kind, Dice& Thrown) {
  Random_Rig Rig = Make_Random_Rig(Kind, Thrown);
  Rig.Result.Code = 0;
  Rig.Result.Inputs.Csv = "/dev/null/none.csv";
  return Rig;
}

TEST(FileReaders, EveryFileWithAPoseHasAReader) {
  for (const File_Target& Target : rigsync::File_Targets()) {
    if (Target.Name == "corners") continue;  // what the images show, without a camera
    EXPECT_EQ(Reader_Named(Target.Name).Name, Target.Name);
  }
}

// The sanitizers look for other faults, and need minutes for so many.
constexpr int Rig_Count = Is_Sanitized ? 200 : 2000;

TEST(FileReaders, ThousandsOfRigsShowTheirPixelsWithinTheBound) {
  for (const File_Target& Target : rigsync::File_Targets()) {
    if (Target.Name == "corners") continue;
    SCOPED_TRACE(Target.Name);
    const File_Reader& Reader = Reader_Named(Target.Name);
    Dice Thrown(11);
    double Px = 0.0, Allowed_Px = 0.0;
    for (int Number = 0; Number < Rig_Count; ++Number) {
      const Random_Rig Rig = Make_Rig(Kind_Of(Number), Thrown);
      std::optional<Tracker_Axes> Axes;
      const Tracker_Axes Other = Random_Axes(Target.Space, Thrown);
      if (rigsync::Has_Use(Target, rigsync::File_Option::Axes) && Number % 2 == 0) Axes = Other;
      rigsync::Pixel_Proof Proof;
      ASSERT_TRUE(Holds(Reader, Written(Target, Rig, Axes), Rig, Axes, &Proof)) << Number;
      if (Proof.Mount.Worst.Px > Px) {
        Px = Proof.Mount.Worst.Px;
        Allowed_Px = Proof.Mount.Worst.Allowed_Px;
      }
      ASSERT_TRUE(Proof.Own_Lens);
    }
    std::printf("%-12s worst %.2g px where %.2g are allowed\n", Target.Name.c_str(), Px,
                Allowed_Px);
    EXPECT_GT(Px, 0.0);
  }
}

// The library leaves a rotation in single precision. A file has the transpose of it where the
// inverse would be exact, which moves the camera by what is allowed for, and hardly more is.
TEST(FileReaders, TheInverseOfARotationThatIsNotExactIsAllowedFor) {
  Dice Thrown(12);
  double Largest_Share = 0.0;
  for (int Number = 0; Number < 200; ++Number) {
    const Random_Rig Rig = Make_Rig(Rig_Kind::Any, Thrown);
    const Tracker_Axes Axes = Tracker_Axes::Identity();
    const rigsync::True_Pose True = rigsync::True_Pose_Of(Rig.Result, Axes);
    const double Allowed_M = rigsync::Empty_Camera(True, Axes).Shift_M;
    const double Moved_M =
        (True.Solved.Transform_Body_Cam.translation() - True.Position_Object).norm();
    EXPECT_LE(Moved_M, Allowed_M + 1e-15);
    EXPECT_DOUBLE_EQ(Allowed_M, True.Defect * True.Position_Object.norm());
    if (Allowed_M > 1e-12) Largest_Share = Larger(Largest_Share, Moved_M / Allowed_M);
  }
  EXPECT_GT(Largest_Share, 0.2);
}

// The text with its JSON changed, which in a script stands between two lines.
std::string Changed(const std::string& Text, const std::function<void(json&)>& Change) {
  const std::string Begin = "# ---- begin of the numbers (JSON)\n", End = "# ---- end";
  const std::size_t Mark = Text.find(Begin);
  const std::size_t From = Mark == std::string::npos ? 0 : Mark + Begin.size();
  const std::size_t To = Mark == std::string::npos ? Text.size() : Text.find(End);
  json Numbers = json::parse(Text.substr(From, To - From));
  Change(Numbers);
  return Text.substr(0, From) + Numbers.dump(2) + "\n" + Text.substr(To);
}

struct Slip {
  const char* What;
  std::function<void(json&)> Change;
};

void Expect_Seen(const std::string& Name, const std::vector<Slip>& Slips) {
  const File_Target* Target = Target_Named(Name);
  ASSERT_NE(Target, nullptr);
  Dice Thrown(5);
  for (int Number = 0; Number < 10; ++Number) {
    const Random_Rig Rig = Make_Rig(Rig_Kind::Any, Thrown);
    const std::string Text = Written(*Target, Rig, std::nullopt);
    const File_Reader& Reader = Reader_Named(Name);
    ASSERT_TRUE(Holds(Reader, Changed(Text, [](json&) {}), Rig, std::nullopt));
    for (const Slip& Made : Slips) {
      EXPECT_FALSE(Holds(Reader, Changed(Text, Made.Change), Rig, std::nullopt)) << Made.What;
    }
  }
}

void Negate(json& Number) {
  Number = -Number.get<double>();
}

void Scale(json& Number, double By) {
  Number = By * Number.get<double>();
}

void Move(json& Number, double By) {
  Number = By + Number.get<double>();
}

TEST(FileReaders, SlipsInTheNumbersForBlenderAreSeen) {
  Expect_Seen(
      "blender",
      {{"centimetres",
        [](json& N) {
          for (json& X : N["location_m"]) Scale(X, 100.0);
        }},
       {"x of the location reversed", [](json& N) { Negate(N["location_m"][0]); }},
       {"w last",
        [](json& N) {
          std::rotate(N["rotation_wxyz"].begin(), N["rotation_wxyz"].begin() + 1,
                      N["rotation_wxyz"].end());
        }},
       {"the inverse rotation", [](json& N) { Negate(N["rotation_wxyz"][0]); }},
       {"lens", [](json& N) { Scale(N["lens_mm"], 1.0 + 1e-5); }},
       {"shift the other way", [](json& N) { Negate(N["shift_x"]); }},
       {"shift the other way", [](json& N) { Negate(N["shift_y"]); }},
       {"half a pixel", [](json& N) { Move(N["shift_x"], 0.5 / N["width_px"].get<double>()); }},
       {"aspect", [](json& N) { std::swap(N["pixel_aspect_x"], N["pixel_aspect_y"]); }},
       {"k1", [](json& N) { Scale(N["k1"], 1.001); }},
       {"k1 for k2", [](json& N) { std::swap(N["k1"], N["k2"]); }}});
}

TEST(FileReaders, SlipsInTheNumbersForALensFileAreSeen) {
  const auto Point = [](json& N) -> json& { return N["points"][0]; };
  Expect_Seen(
      "unreal-lens",
      {{"metres",
        [=](json& N) {
          for (json& X : Point(N)["location_cm"]) Scale(X, 0.01);
        }},
       {"z reversed", [=](json& N) { Negate(Point(N)["location_cm"][2]); }},
       {"the inverse rotation", [=](json& N) { Negate(Point(N)["rotation_xyzw"][3]); }},
       {"y of the rotation reversed", [=](json& N) { Negate(Point(N)["rotation_xyzw"][1]); }},
       {"fy by the width", [=](json& N) { Scale(Point(N)["fx_fy"][1], 0.5625); }},
       {"half a pixel",
        [=](json& N) {
          Move(Point(N)["principal_point"][1], -0.5 / N["image_dimensions_px"][1].get<double>());
        }},
       {"y from below",
        [=](json& N) {
          json& Y = Point(N)["principal_point"][1];
          Y = 1.0 - Y.get<double>();
        }},
       {"k1", [=](json& N) { Negate(Point(N)["k1_k2_k3_p1_p2"][0]); }}});
}

TEST(FileReaders, SlipsInASampleOfOpenTrackIOAreSeen) {
  Expect_Seen(
      "opentrackio",
      {{"pan the other way", [](json& N) { Negate(N["transforms"][1]["rotation"]["pan"]); }},
       {"tilt the other way", [](json& N) { Negate(N["transforms"][1]["rotation"]["tilt"]); }},
       {"roll the other way", [](json& N) { Negate(N["transforms"][1]["rotation"]["roll"]); }},
       {"pan for roll",
        [](json& N) {
          json& R = N["transforms"][1]["rotation"];
          std::swap(R["pan"], R["roll"]);
        }},
       {"millimetres",
        [](json& N) {
          for (json& X : N["transforms"][1]["translation"]) Scale(X, 1000.0);
        }},
       {"y for z",
        [](json& N) {
          json& T = N["transforms"][1]["translation"];
          std::swap(T["y"], T["z"]);
        }},
       {"focal length", [](json& N) { Scale(N["lens"]["pinholeFocalLength"], 1.0 + 1e-5); }},
       {"offset upwards", [](json& N) { Negate(N["lens"]["projectionOffset"]["y"]); }},
       {"half a pixel",
        [](json& N) {
          const json& C = N["static"]["camera"];
          Move(N["lens"]["projectionOffset"]["x"],
               0.5 * C["activeSensorPhysicalDimensions"]["width"].get<double>() /
                   C["activeSensorResolution"]["width"].get<double>());
        }},
       {"coefficients without millimetres",
        [](json& N) {
          const double F = N["lens"]["pinholeFocalLength"];
          Scale(N["lens"]["distortion"][0]["radial"][0], F * F);
        }},
       {"a wrong r^4", [](json& N) { Negate(N["lens"]["distortion"][0]["radial"][2]); }}});
}

// What another program would take for another camera is refused, not proven.
TEST(FileReaders, AFileThatSaysSomethingElseIsRefused) {
  const auto Expect_Refused = [](const std::string& Name,
                                 const std::function<void(json&)>& Change) {
    Dice Thrown(5);
    const Random_Rig Rig = Make_Rig(Rig_Kind::Any, Thrown);
    const std::string Text = Written(*Target_Named(Name), Rig, std::nullopt);
    EXPECT_THROW(Holds(Reader_Named(Name), Changed(Text, Change), Rig, std::nullopt),
                 std::runtime_error)
        << Name;
  };
  Expect_Refused("blender", [](json& N) { N["tracker_axes"] = {"x", "z", "-y"}; });
  Expect_Refused("blender", [](json& N) { N["width_px"] = 10; });
  Expect_Refused("unreal-lens", [](json& N) { N["points"][0]["k1_k2_k3_p1_p2"][2] = 0.1; });
  Expect_Refused("unreal-lens", [](json& N) { N["points"].push_back(N["points"][0]); });
  Expect_Refused("opentrackio", [](json& N) { N["lens"]["entrancePupilOffset"] = 0.01; });
  Expect_Refused("opentrackio",
                 [](json& N) { N["lens"]["distortion"][0]["model"] = "Brown-Conrady D-U"; });
  Expect_Refused("opentrackio", [](json& N) { N["lens"]["distortion"][0]["radial"][1] = 1e-6; });
  Expect_Refused("opentrackio", [](json& N) { N["transforms"].erase(0); });
}

TEST(FileReaders, ACamchainOfAnotherCameraIsRefusedWithTheReason) {
  Dice Thrown(5);
  const Random_Rig Rig = Make_Rig(Rig_Kind::Any, Thrown);
  const std::string Text = Written(*Target_Named("kalibr"), Rig, std::nullopt);
  const auto Refusal = [&](const std::string& Word, const std::string& Other) -> std::string {
    std::string Changed_Text = Text;
    Changed_Text.replace(Changed_Text.find(Word), Word.size(), Other);
    try {
      Holds(Reader_Named("kalibr"), Changed_Text, Rig, std::nullopt);
    } catch (const std::runtime_error& Thrown_Error) {
      return Thrown_Error.what();
    }
    return "read";
  };
  EXPECT_EQ(Refusal("resolution: [", "resolution: [1"),
            "a camchain has another frame than the solved camera");
  EXPECT_EQ(Refusal("camera_model: pinhole", "camera_model: omni"),
            "a camchain has another model than the solved lens");
  EXPECT_EQ(Refusal("distortion_model: radtan", "distortion_model: equidistant"),
            "a camchain has another model than the solved lens");
}

// Every number of Text between the two words, each of them wrong in its second decimal.
std::vector<std::string> Texts_With_A_Slip(const std::string& Text, const std::string& From,
                                           const std::string& To) {
  static const std::regex Long_Number("[0-9]+\\.[0-9]{6,}");
  const std::size_t Begin = Text.find(From), End = Text.find(To, Begin);
  std::vector<std::string> Wrong;
  const auto First = Text.begin() + static_cast<std::ptrdiff_t>(Begin);
  const auto Last = Text.begin() + static_cast<std::ptrdiff_t>(End);
  for (std::sregex_iterator At(First, Last, Long_Number), None; At != None; ++At) {
    Wrong.push_back(Text);
    char& Digit =
        Wrong.back()[Begin + static_cast<std::size_t>(At->position()) + At->str().find('.') + 2];
    Digit = Digit == '9' ? '8' : static_cast<char>(Digit + 1);
  }
  return Wrong;
}

TEST(FileReaders, SlipsInAMatrixAreSeen) {
  struct Part {
    const char *Name, *From, *To;
    std::size_t Numbers;
  };
  // The twelve of a mount, and a lens of four numbers with two coefficients.
  const Part Parts[] = {{"opencv", "camera_matrix", "board_width", 6},
                        {"opencv", "Transform_Cam_Tc", "rows: []", 12},
                        {"kalibr", "T_cam_imu", "cam_overlaps", 12},
                        {"kalibr", "distortion_coeffs", "resolution", 6}};
  for (const Part& Of : Parts) {
    Dice Thrown(8);
    // An exact rotation, whose bounds are those of the digits alone.
    Random_Rig Rig = Make_Rig(Rig_Kind::Any, Thrown);
    while (rigsync::Rotation_Defect(rigsync::Matrix_From_List(Rig.Result.Transform_Cam_Tc)) >
           1e-12) {
      Rig = Make_Rig(Rig_Kind::Any, Thrown);
    }
    const std::string Text = Written(*Target_Named(Of.Name), Rig, std::nullopt);
    const std::vector<std::string> Wrong = Texts_With_A_Slip(Text, Of.From, Of.To);
    EXPECT_EQ(Wrong.size(), Of.Numbers) << Of.From;
    for (const std::string& Slipped : Wrong) {
      EXPECT_FALSE(Holds(Reader_Named(Of.Name), Slipped, Rig, std::nullopt)) << Slipped;
    }
  }
}

}  // namespace
