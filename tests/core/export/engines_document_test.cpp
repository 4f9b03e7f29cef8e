// SPDX-License-Identifier: Apache-2.0
//
// docs/engines.md shows the results of the four exports for two transforms. This test compares the
// document's numbers with the results of the calls.
#include "tests/core/export/export_fixtures.h"

namespace {

std::string Fixed(double Value, int Decimals) {
  char Digits[64];
  std::snprintf(Digits, sizeof Digits, "%.*f", Decimals, Value);
  // A table shows -0.0 as 0; its sign does not matter to a reader.
  if (std::strtod(Digits, nullptr) == 0.0 && Digits[0] == '-') return Digits + 1;
  return Digits;
}

void Expect_Shown(const std::string& Document, const std::string& Field, const Numbers& Values,
                  int Decimals) {
  std::string Row = "| " + Field + " | ";
  for (std::size_t i = 0; i < Values.size(); ++i) {
    Row += (i == 0 ? "" : ", ") + Fixed(Values[i], Decimals);
  }
  Row += " |";
  EXPECT_NE(Document.find(Row), std::string::npos) << "docs/engines.md has no row\n" << Row;
}

// The text between this heading and the next.
std::string Section(const std::string& Document, const std::string& Heading) {
  const std::size_t Start = Document.find("\n## " + Heading + "\n");
  if (Start == std::string::npos) {
    ADD_FAILURE() << "docs/engines.md has no section " << Heading;
    return "";
  }
  return Document.substr(Start, Document.find("\n## ", Start + 1) - Start);
}

// Angles are floats: near 141 degrees they step by 0.000015, so a table shows four decimals.
constexpr int Angle_Decimals = 4;
constexpr int Other_Decimals = 6;
constexpr int Cm_Decimals = 4;

}  // namespace

TEST(EnginesDocument, ShowsWhatTheCallsGive) {
  const std::string Document = Read_Text(ENGINES_DOCUMENT);

  const std::string UE4 = Section(Document, "Unreal Engine 4");
  const Exported UE4_Reference = To_UE4(Reference_Flat);
  Expect_Shown(UE4, "Roll, Pitch, Yaw", UE4_Reference.Rotation, Angle_Decimals);
  Expect_Shown(UE4, "X, Y, Z", UE4_Reference.Translation, Cm_Decimals);
  EXPECT_EQ(To_UE4(Identity_Flat).Code, 3);
  EXPECT_NE(UE4.find("code 3"), std::string::npos);

  const struct {
    std::string Heading;
    Exported Identity, Reference;
  } Quaternions[] = {
      {"Unreal Engine 5", To_UE5(Identity_Flat), To_UE5(Reference_Flat)},
      {"Unreal Engine 5, ExportxN", To_UE5_ExportxN(Identity_Flat),
       To_UE5_ExportxN(Reference_Flat)},
  };
  for (const auto& Call : Quaternions) {
    SCOPED_TRACE(Call.Heading);
    const std::string Text = Section(Document, Call.Heading);
    for (const Exported* Result : {&Call.Identity, &Call.Reference}) {
      Expect_Shown(Text, "quaternion X, Y, Z, W", Result->Rotation, Other_Decimals);
      Expect_Shown(Text, "X, Y, Z", Result->Translation, Cm_Decimals);
    }
  }

  const std::string AX = Section(Document, "Aximmetry");
  const Exported Calls[] = {To_Aximmetry(Identity_Flat, {}, {1.0, 1.0}, {0.5, 0.5}),
                            To_Aximmetry(Reference_Flat)};
  for (const Exported& Result : Calls) {
    Expect_Shown(AX, "horizontal field of view", Result.Lens, Other_Decimals);
    Expect_Shown(AX, "centre shift x, y", Result.Shift, Other_Decimals);
    Expect_Shown(AX, "angles about x, y, z", Result.Rotation, Angle_Decimals);
    Expect_Shown(AX, "X, Y, Z", Result.Translation, Cm_Decimals);
  }
}
