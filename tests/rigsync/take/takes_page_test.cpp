// SPDX-License-Identifier: Apache-2.0
//
// docs/takes.md: its map reads its table, and its tables have the words that the readers know.
#include "tests/rigsync/take/take_text.h"

#include "tests/support/read_text.h"

#include <sstream>

namespace rigsync {
namespace {

std::string Page() {
  return Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/takes.md");
}

std::string Block_Of_The_Page(const std::string& Language) {
  const std::string Text = Page();
  const std::string Opening = "```" + Language + "\n";
  const std::size_t Start = Text.find(Opening) + Opening.size();
  return Text.substr(Start, Text.find("```", Start) - Start);
}

// The camera's x goes to y, y to z, z to x of the file; in Base, whose y is the file's -z and whose
// z is the file's y, that is a third of a turn about (1, -1, 1). A pan to the right is a turn about
// -z of Base. Samples are the inverses.
TEST(TakesPage, HasAMapThatReadsItsTable) {
  const Scratch_Folder Folder;
  Take_Options Options;
  Options.Map = Folder.Write("map.toml", Block_Of_The_Page("toml"));
  const Take Read = Read_Take(Folder.Write("take.csv", Block_Of_The_Page("text")), Options);
  ASSERT_EQ(Read.Bodies.size(), 2U);
  EXPECT_EQ(Read.Bodies[0].Name, "camera");
  EXPECT_EQ(Read.Bodies[1].Name, "board");
  Expect_Pose(Read.Bodies[0].Samples.at(0), {1.5, 0.125, 2.25}, {0.5, -0.5, 0.5, -0.5});
  EXPECT_FALSE(Read.Bodies[0].Samples.at(1).Is_Tracked);
  Expect_Pose(Read.Bodies[1].Samples.at(1), {0.1, -0.3, 0.2}, {Half_Root, 0, 0, Half_Root});
  EXPECT_DOUBLE_EQ(Read.Bodies[1].Samples[1].Seconds, 0.52);
  EXPECT_TRUE(Read.Warnings.empty());
}

// First cells of the page's tables, without their backticks.
std::vector<std::string> First_Cells(const std::string& Heading) {
  const std::string Text = Page();
  std::istringstream Section(Text.substr(Text.find("\n## " + Heading + "\n") + 1));
  std::vector<std::string> Cells;
  std::string Line;
  std::getline(Section, Line);
  while (std::getline(Section, Line) && Line.rfind("## ", 0) != 0) {
    if (Line.rfind("| `", 0) == 0) Cells.push_back(Line.substr(3, Line.find('`', 3) - 3));
  }
  return Cells;
}

TEST(TakesPage, NamesWordsThatTheFlagTakes) {
  const std::vector<std::string> Words = First_Cells("Words for a rotation");
  EXPECT_EQ(Words.size(), 5U);
  for (const std::string& Word : Words) EXPECT_TRUE(Find_Rotation(Word)) << Word;
}

TEST(TakesPage, NamesEveryFormatByItsWord) {
  const std::string Text = Page();
  for (const std::string Word : {"motive", "vicon", "qualisys", "tum", "eth", "euroc"}) {
    EXPECT_NO_THROW(Parse_Take_Format("--format", Word));
    EXPECT_NE(Text.find("| `" + Word + "` |"), std::string::npos) << Word;
  }
}

// A map with every key of the page is known; one with another key is refused with their list.
TEST(TakesPage, HasARowForEveryKeyOfAMap) {
  const std::vector<std::string> Keys = First_Cells("Any other table");
  const std::vector<std::string> Expected = {"separator",   "header-lines", "axes",     "[time]",
                                             "unit",        "rate",         "[[body]]", "position",
                                             "length-unit", "quaternion",   "angles",   "rotation",
                                             "angle-unit",  "direction",    "tracked"};
  EXPECT_EQ(Keys, Expected);
  const Scratch_Folder Folder;
  Take_Options Options;
  Options.Map = Folder.Write("map.toml", Changed(Block_Of_The_Page("toml"), "direction", "way"));
  try {
    Read_Take(Folder.Write("take.csv", Block_Of_The_Page("text")), Options);
    FAIL() << "not refused";
  } catch (const Usage_Error& Refusal) {
    const std::string Said = Refusal.what();
    for (std::size_t i = 7; i < Keys.size(); ++i) {
      EXPECT_NE(Said.find(Keys[i]), std::string::npos) << Keys[i] << ": " << Said;
    }
  }
}

}  // namespace
}  // namespace rigsync
