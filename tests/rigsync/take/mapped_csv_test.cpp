// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/take/take_text.h"

namespace rigsync {
namespace {

using testing::HasSubstr;

// The camera with a quaternion, the board with angles; a column says whether the camera was seen.
const char* const Map =
    "separator = \"semicolon\"\n"
    "header-lines = 2\n"
    "[time]\n"
    "column = \"t\"\n"
    "unit = \"ms\"\n"
    "[[body]]\n"
    "name = \"camera\"\n"
    "position = [\"cx\", \"cy\", \"cz\"]\n"
    "length-unit = \"mm\"\n"
    "quaternion = { w = \"cqw\", x = \"cqx\", y = \"cqy\", z = \"cqz\" }\n"
    "direction = \"body-to-base\"\n"
    "tracked = { column = \"state\", value = \"ok\" }\n"
    "[[body]]\n"
    "name = \"board\"\n"
    "position = [9, 10, 11]\n"
    "length-unit = \"m\"\n"
    "angles = [\"pan\", \"tilt\", \"roll\"]\n"
    "rotation = \"euler-zxy-body\"\n"
    "angle-unit = \"deg\"\n"
    "direction = \"body-to-base\"\n";

// A quarter about z and then one about the turned x (y of Base): x goes to y, y to z, z to x.
const char* const Table =
    "recorded on stage 2\n"
    "t;cqw;cqx;cqy;cqz;cx;cy;cz;bx;by;bz;tilt;pan;roll;state\n"
    "500;0.70710678118654752;0;0;0.70710678118654752;1500;2250;-125;0.1;0.2;0.3;90;90;0;ok\n"
    "510;0.70710678118654752;0;0;0.70710678118654752;1500;2250;-125;0.1;0.2;0.3;90;90;0;lost\n";

Take Mapped(const std::string& Map_Text, const std::string& Table_Text, Take_Options Options = {}) {
  const Scratch_Folder Folder;
  Options.Map = Folder.Write("map.toml", Map_Text);
  return Read_Take(Folder.Write("take.csv", Table_Text), Options);
}

// What is said of a map, behind its name, or of the take.
std::string Refusal_Of_Map(const std::string& Map_Text, const std::string& Table_Text = Table) {
  const Scratch_Folder Folder;
  Take_Options Options;
  Options.Map = Folder.Write("map.toml", Map_Text);
  const std::string Start = "--map: " + Options.Map.string() + ": ";
  try {
    Read_Take(Folder.Write("take.csv", Table_Text), Options);
  } catch (const Usage_Error& Refusal) {
    const std::string Said = Refusal.what();
    if (Said.rfind(Start, 0) != 0) return Said;
    EXPECT_EQ(Refusal.Option_Name(), "--map");
    return Said.substr(Start.size());
  }
  return "not refused";
}

std::string Refusal_Of_Change(const std::string& Old, const std::string& New) {
  return Refusal_Of_Map(Changed(Map, Old, New));
}

TEST(MappedCsv, HasThePosesOfTheColumnsThatTheMapNames) {
  const Take Read = Mapped(Map, Table);
  EXPECT_EQ(Read.Format, "table with a map");
  ASSERT_EQ(Read.Bodies.size(), 2U);
  Expect_Pose(Read.Bodies[0].Samples.at(0), {1.5, 2.25, -0.125}, {Half_Root, 0, 0, -Half_Root});
  Expect_Pose(Read.Bodies[1].Samples.at(0), {0.1, 0.2, 0.3}, {0.5, -0.5, -0.5, -0.5});
  EXPECT_DOUBLE_EQ(Read.Bodies[0].Samples[0].Seconds, 0.5);
  EXPECT_EQ(Fact(Read, "rotation of board"), "euler-zxy-body in degrees, body to base, by the map");
}

TEST(MappedCsv, HasALostSampleWhereTheMapsColumnSaysSo) {
  const Take Read = Mapped(Map, Table);
  EXPECT_FALSE(Read.Bodies[0].Samples.at(1).Is_Tracked);
  EXPECT_TRUE(Read.Bodies[1].Samples.at(1).Is_Tracked);
}

TEST(MappedCsv, TakesEveryUnitOfTime) {
  const auto First_Seconds = [](const std::string& Unit) {
    return Mapped(Changed(Map, "unit = \"ms\"", Unit), Table).Bodies[0].Samples[0].Seconds;
  };
  EXPECT_DOUBLE_EQ(First_Seconds("unit = \"s\""), 500.0);
  EXPECT_DOUBLE_EQ(First_Seconds("unit = \"us\""), 5e-4);
  EXPECT_DOUBLE_EQ(First_Seconds("unit = \"ns\""), 5e-7);
  EXPECT_DOUBLE_EQ(First_Seconds("unit = \"frames\"\nrate = 50"), 10.0);
}

TEST(MappedCsv, ReversesTheRotationOfTheOtherDirection) {
  const Take Read = Mapped(Changed(Map, "direction = \"body-to-base\"\ntracked",
                                   "direction = \"base-to-body\"\ntracked"),
                           Table);
  Expect_Pose(Read.Bodies[0].Samples[0], {1.5, 2.25, -0.125}, {Half_Root, 0, 0, Half_Root});
  Expect_Pose(Read.Bodies[1].Samples[0], {0.1, 0.2, 0.3}, {0.5, -0.5, -0.5, -0.5});
}

// A pan that is positive to the right turns by minus a quarter about z: x goes to -y; the tilt
// then turns y to z: x to -y, y to z, z to -x.
TEST(MappedCsv, ReversesAColumnWithAMinus) {
  const Take Read =
      Mapped(Changed(Changed(Map, "\"pan\"", "\"-pan\""), "[9, 10", "[-9, 10"), Table);
  Expect_Pose(Read.Bodies[1].Samples[0], {-0.1, 0.2, 0.3}, {0.5, -0.5, 0.5, 0.5});
}

// y up to z up: Base's y is the reverse of the file's z, its z the file's y. The camera's turn
// about the file's z becomes one about Base's -y, which its inverse reverses.
TEST(MappedCsv, RenamesTheAxesOfBase) {
  const std::string With_Axes = Changed(Map, "[time]", "axes = [\"x\", \"-z\", \"y\"]\n[time]");
  const Take Read = Mapped(With_Axes, Table);
  Expect_Pose(Read.Bodies[0].Samples[0], {1.5, 0.125, 2.25}, {Half_Root, 0, Half_Root, 0});
  EXPECT_EQ(Fact(Read, "axes of Base"), "x, -z, y of the file, by the map");
}

// With y reversed a turn from x to y becomes one from x to -y: about -z.
TEST(MappedCsv, MirrorsALeftHandedFile) {
  const std::string With_Axes = Changed(Map, "[time]", "axes = [\"x\", \"-y\", \"z\"]\n[time]");
  const Take Read = Mapped(With_Axes, Table);
  Expect_Pose(Read.Bodies[0].Samples[0], {1.5, -2.25, -0.125}, {Half_Root, 0, 0, Half_Root});
  // x goes to y, y to z, z to x; mirrored: x to -y, -y to z, z to x. Its inverse is y to -x, z to
  // -y, x to z.
  Expect_Pose(Read.Bodies[1].Samples[0], {0.1, -0.2, 0.3}, {0.5, 0.5, -0.5, 0.5});
  EXPECT_EQ(Fact(Read, "axes of Base"),
            "x, -y, z of the file, by the map (the file is left-handed)");
}

TEST(MappedCsv, PrefersTheAxesOfTheFlag) {
  Take_Options Options;
  Options.Axes = Parse_Axes("--axes", "x,y,z");
  const std::string With_Axes = Changed(Map, "[time]", "axes = [\"x\", \"-y\", \"z\"]\n[time]");
  Expect_Pose(Mapped(With_Axes, Table, Options).Bodies[0].Samples[0], {1.5, 2.25, -0.125},
              {Half_Root, 0, 0, -Half_Root});
}

TEST(MappedCsv, NeedsNoHeaderWithNumbersOfColumns) {
  const std::string Numbers =
      "separator = \"blanks\"\nheader-lines = 0\n[time]\ncolumn = 1\nunit = \"s\"\n[[body]]\n"
      "name = \"camera\"\nposition = [2, 3, 4]\nlength-unit = \"m\"\n"
      "angles = [5, 6, 7]\nrotation = \"helical\"\nangle-unit = \"rad\"\n"
      "direction = \"body-to-base\"\n";
  const Take Read = Mapped(Numbers, "0.5 1.5 2.25 -0.125 0 0 1.5707963267948966 more cells\n");
  Expect_Pose(Read.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {Half_Root, 0, 0, -Half_Root});
}

TEST(MappedCsv, RefusesColumnsThatTheTableHasNot) {
  EXPECT_THAT(Refusal_Of_Change("\"cqw\"", "\"qw\""), HasSubstr("'w': "));
  EXPECT_THAT(Refusal_Of_Change("\"cqw\"", "\"qw\""),
              HasSubstr("has no column 'qw'; expected a name in the last of its header lines, or a "
                        "column's number"));
  EXPECT_THAT(Refusal_Of_Map(Map, Changed(Table, "cx;cy", "cy;cy")),
              HasSubstr("has no column 'cx'"));
  EXPECT_THAT(Refusal_Of_Map(Map, Changed(Table, "cx;cy;cz", "cx;cy;cy")),
              HasSubstr("has two columns 'cy'"));
  EXPECT_THAT(Refusal_Of_Change("[9, 10, 11]", "[9, 10, 99]"),
              HasSubstr("line 3: has 15 cells; expected 99"));
}

TEST(MappedCsv, RefusesMapsThatLeaveSomethingOpen) {
  EXPECT_EQ(Refusal_Of_Change("direction = \"body-to-base\"\ntracked", "tracked"),
            "body 1: 'direction' is missing; expected body-to-base, base-to-body");
  EXPECT_EQ(Refusal_Of_Change("length-unit = \"mm\"\n", ""),
            "body 1: 'length-unit' is missing; expected m, cm, mm, in or ft");
  EXPECT_EQ(Refusal_Of_Change("angle-unit = \"deg\"\n", ""),
            "body 2: 'angle-unit' is missing; expected deg, rad");
  EXPECT_EQ(Refusal_Of_Change("rotation = \"euler-zxy-body\"\n", ""),
            "body 2: 'rotation' is missing; expected helical, or such as euler-xyz-body or "
            "euler-xyz-fixed");
  EXPECT_EQ(Refusal_Of_Change("header-lines = 2\n", ""),
            "'header-lines' is missing; expected how many lines stand above the samples");
}

TEST(MappedCsv, RefusesWrongValuesOfAMap) {
  EXPECT_EQ(Refusal_Of_Change("header-lines", "headers"),
            "unknown key 'headers'; expected one of separator, header-lines, axes, time, body");
  EXPECT_EQ(Refusal_Of_Change("\"semicolon\"", "\";\""),
            "'separator' is ';'; expected one of comma, semicolon, tab, blanks");
  EXPECT_EQ(Refusal_Of_Change("\"euler-zxy-body\"", "\"zxy\""),
            "body 2: 'rotation' is 'zxy'; expected helical, euler-xyz-body or euler-xyz-fixed, or "
            "another order of x, y and z");
  EXPECT_EQ(Refusal_Of_Change("\"ms\"", "\"frames\""),
            "time: 'rate' belongs to the unit 'frames'; expected both or none, the rate in frames "
            "a second");
  EXPECT_EQ(Refusal_Of_Change("\"board\"", "\"camera\""),
            "body 2: 'name' is 'camera' as for body 1; expected each name once");
  EXPECT_EQ(Refusal_Of_Change("angles = [\"pan\",", "angles = ["),
            "body 2: 'angles' is not a list of three; expected three columns in the order of the "
            "turns");
  EXPECT_EQ(Refusal_Of_Change("[9, 10", "[0, 10"),
            "body 2: 'position' names no column; expected its name in the header of the table, or "
            "its number, counted from 1");
  EXPECT_EQ(Refusal_Of_Change("[time]", "axes = [\"x\", \"y\", \"y\"]\n[time]"),
            "'axes' is wrong; expected each of x, y and z once, with or without a '-', such as "
            "[\"x\", \"-z\", \"y\"]");
  EXPECT_THAT(Refusal_Of_Change("[time]", "[time"), HasSubstr("not valid TOML: line 3, column"));
}

TEST(MappedCsv, RefusesAMapThatIsNotThere) {
  const Scratch_Folder Folder;
  Take_Options Options;
  Options.Map = Folder.Path() / "none.toml";
  try {
    Read_Take(Folder.Write("take.csv", Table), Options);
    FAIL() << "not refused";
  } catch (const Usage_Error& Refusal) {
    EXPECT_THAT(Refusal.what(), HasSubstr("none.toml: can't be opened (No such file"));
  }
}

}  // namespace
}  // namespace rigsync
