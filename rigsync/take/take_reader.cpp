// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/take_reader.h"

#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <array>

namespace rigsync {

const Length_Unit* Find_Length_Unit(std::string_view Text) {
  static constexpr Length_Unit Metres{"metres", 1.0}, Centimetres{"centimetres", 0.01},
      Millimetres{"millimetres", 0.001}, Inches{"inches", 0.0254}, Feet{"feet", 0.3048};
  struct Word {
    const char* Text;
    const Length_Unit* Unit;
  };
  static constexpr std::array<Word, 17> Words = {{{"m", &Metres},
                                                  {"meter", &Metres},
                                                  {"meters", &Metres},
                                                  {"metres", &Metres},
                                                  {"cm", &Centimetres},
                                                  {"centimeter", &Centimetres},
                                                  {"centimeters", &Centimetres},
                                                  {"centimetres", &Centimetres},
                                                  {"mm", &Millimetres},
                                                  {"millimeter", &Millimetres},
                                                  {"millimeters", &Millimetres},
                                                  {"millimetres", &Millimetres},
                                                  {"in", &Inches},
                                                  {"inch", &Inches},
                                                  {"inches", &Inches},
                                                  {"ft", &Feet},
                                                  {"feet", &Feet}}};
  const std::string Lower = Lower_Case(std::string(Text));
  for (const Word& Known : Words) {
    if (Lower == Known.Text) return Known.Unit;
  }
  return nullptr;
}

void Set_Axes(const Take_Options& Options, const Base_Axes& Of_File, Table_Layout& Layout,
              Take& Into) {
  Layout.Axes = Options.Axes.value_or(Of_File);
  const bool Are_As_In_File = Layout.Axes.isIdentity(0.0);
  const char* const Source = Options.Axes ? "by --axes" : "by the map";
  Into.Facts.emplace_back(
      "axes of Base",
      Are_As_In_File
          ? "as in the file"
          : fmt::format("{} of the file, {}{}", Axes_Text(Layout.Axes), Source,
                        Layout.Axes.determinant() < 0.0 ? " (the file is left-handed)" : ""));
}

void Warn_Of_Unused_Rotation(const Take_Options& Options, const std::string& Said, Take& Into) {
  if (!Options.Rotation) return;
  Into.Warnings.push_back(
      fmt::format("--rotation {} has no use here: {}", Rotation_Word(*Options.Rotation), Said));
}

}  // namespace rigsync
