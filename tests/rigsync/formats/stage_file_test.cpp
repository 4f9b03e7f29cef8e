// SPDX-License-Identifier: Apache-2.0
//
// The stage file as TOML and as JSON: the same keys and values either way, and errors with their
// place in the file.
#include "rigsync/formats/stage_file.h"
#include "rigsync/system/usage_error.h"

#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

const std::vector<std::string> Known = {"board", "square", "board-euler", "board-offset"};

constexpr const char* As_Toml = R"(# the small board
board = "11x8"
square = 0.03
board-euler = [12, -20.25, 8]
board-offset = "-170mm,50mm,40mm"
)";

constexpr const char* As_Json = R"({"board": "11x8", "square": 0.03,
  "board-euler": [12, -20.25, 8], "board-offset": "-170mm,50mm,40mm"})";

// The message for a file that is refused; empty for one that is read.
std::string Refusal(const std::string& File) {
  try {
    rigsync::Read_Stage_File(File, Known);
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(StageFile, TomlAndJsonGiveTheSameValues) {
  const Scratch_Folder Scratch;
  for (const auto& [Name, Text] : {std::pair{"stage.toml", As_Toml}, {"stage.json", As_Json}}) {
    SCOPED_TRACE(Name);
    EXPECT_THAT(rigsync::Read_Stage_File(Scratch.Write(Name, Text), Known),
                UnorderedElementsAre(Pair("board", "11x8"), Pair("square", "0.03"),
                                     Pair("board-euler", "12,-20.25,8"),
                                     Pair("board-offset", "-170mm,50mm,40mm")));
  }
}

// As people write it, with a line for each key.
TEST(StageFile, IsWrittenToBeReadAndChanged) {
  const Scratch_Folder Scratch;
  const std::filesystem::path File = Scratch.Path() / "stage.json";
  rigsync::Write_Stage_File(File, {{"board", "11x8"}, {"square", "0.03"}});
  EXPECT_EQ(Read_Text(File), "{\n  \"board\": \"11x8\",\n  \"square\": \"0.03\"\n}\n");
}

TEST(StageFile, TheEndingOfTheNameDecidesOtherwiseTheContent) {
  const Scratch_Folder Scratch;
  const std::string Marked_Json = std::string("\xef\xbb\xbf\n") + As_Json;
  const std::string Marked_Toml = std::string("\xef\xbb\xbf") + As_Toml;
  const std::pair<const char*, std::string> Taken[] = {
      {"stage", As_Toml},      {"stage", As_Json},          {"stage.txt", As_Toml},
      {"stage.txt", As_Json},  {"stage.conf", Marked_Json}, {"stage.conf", Marked_Toml},
      {"STAGE.TOML", As_Toml}, {"Stage.Json", As_Json}};
  for (const auto& [Name, Text] : Taken) {
    SCOPED_TRACE(Name + (" holding " + Text));
    EXPECT_EQ(Refusal(Scratch.Write(Name, Text)), "");
  }
  EXPECT_THAT(Refusal(Scratch.Write("wrong.json", As_Toml)), HasSubstr("not valid JSON: line 1"));
  EXPECT_THAT(Refusal(Scratch.Write("wrong.toml", As_Json)), HasSubstr("not valid TOML: line 1"));
  EXPECT_THAT(Refusal(Scratch.Write("WRONG.JSON", As_Toml)), HasSubstr("not valid JSON: line 1"));
}

TEST(StageFile, AnErrorNamesFileLineAndReason) {
  const Scratch_Folder Scratch;
  const std::vector<std::string> Cases[] = {
      {"a.toml", "board = \"11x8\"\nsquare = 30mm\n", "not valid TOML: line 2, column"},
      {"b.toml", "board = \"11x8\"\n\nboard = \"7x5\"\n", "not valid TOML: line 3", "board"},
      {"c.toml", "board \"11x8\"\n", "not valid TOML: line 1"},
      {"d.json", "{\n  \"board\": \"11x8\",\n  \"square\" 3\n}", "not valid JSON: line 3, column",
       "syntax error"},
      {"e.json", "{", "not valid JSON: line 1"},
      {"f.json", "", "not valid JSON: line 1"},
      {"g.json", "{\"square\": 1e999}", "not valid JSON: number overflow"},
      {"h.json", "[1]", "expected a JSON object"},
      {"i.toml", "boards = \"7x5\"", "unknown key 'boards'; expected one of board, square"},
      {"j.toml", "[board]\ncols = 11\n", "'board' must be a string, a number or a list of numbers"},
      {"k.toml", "board = true\n", "'board' must be a string"},
      {"l.toml", "board-euler = [1, \"2\", 3]\n", "'board-euler' must be a string"},
      {"m.toml", "board = 2026-11-21\n", "'board' must be a string"},
      {"n.toml", "board-euler = [[1, 2, 3]]\n", "'board-euler' must be a string"},
  };
  for (const std::vector<std::string>& Case : Cases) {
    const std::string File = Scratch.Write(Case[0], Case[1]);
    const std::string Said = Refusal(File);
    EXPECT_EQ(Said.rfind("--config: " + File + ": ", 0), 0u) << Said;
    for (std::size_t i = 2; i < Case.size(); ++i) EXPECT_THAT(Said, HasSubstr(Case[i]));
    EXPECT_EQ(Said.find("json.exception"), std::string::npos) << Said;
    EXPECT_EQ(Said.find('\n'), std::string::npos) << Said;
  }
}

std::string Stage_File_Page() {
  return Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/stage-file.md");
}

// The page's code block of that language.
std::string Block_Of_The_Page(const std::string& Language) {
  const std::string Page = Stage_File_Page();
  const std::string Opening = "```" + Language + "\n";
  const std::size_t Start = Page.find(Opening) + Opening.size();
  return Page.substr(Start, Page.find("```", Start) - Start);
}

TEST(StageFile, AMalformedKeyIsAnErrorInDebugBuildsToo) {
  const Scratch_Folder Scratch;
  EXPECT_THAT(Refusal(Scratch.Write("key.toml", "[$x]\n")),
              HasSubstr("not valid TOML: line 1, column 2"));
}

TEST(StageFile, ThePageHasARowForEveryKeyInTheOrderOfMessages) {
  std::vector<std::string> Keys;
  std::istringstream Page(Stage_File_Page());
  for (std::string Line; std::getline(Page, Line);) {
    if (Line.rfind("| `", 0) == 0) Keys.push_back(Line.substr(3, Line.find('`', 3) - 3));
  }
  EXPECT_EQ(Keys, rigsync::Stage_Keys());
}

TEST(StageFile, BothExamplesOfThePageAreReadAlikeAndHaveEveryKey) {
  const Scratch_Folder Scratch;
  const std::vector<std::string>& Keys = rigsync::Stage_Keys();
  const rigsync::Stage_Settings Toml =
      rigsync::Read_Stage_File(Scratch.Write("a.toml", Block_Of_The_Page("toml")), Keys);
  EXPECT_EQ(Toml,
            rigsync::Read_Stage_File(Scratch.Write("a.json", Block_Of_The_Page("json")), Keys));
  EXPECT_EQ(Toml.size(), Keys.size());
}

TEST(StageFile, ADuplicateKeyIsRefusedWithBothLines) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("twice.json",
                                         "{\n  \"board\": \"11x8\",\n  \"square\": 0.03,\n\n"
                                         "  \"board\"\n: \"7x5\"\n}\n");
  EXPECT_EQ(Refusal(File),
            "--config: " + File + ": line 5: duplicate key 'board', first given on line 2");
  // The same letters, written another way; and all on one line after a byte-order mark.
  EXPECT_THAT(Refusal(Scratch.Write("escaped.json", R"({"board": "7x5", "bo\u0061rd": "7x5"})")),
              HasSubstr("line 1: duplicate key 'board', first given on line 1"));
  EXPECT_THAT(
      Refusal(Scratch.Write("marked.json", "\xef\xbb\xbf{\"square\": 1,\r\n\"square\": 1}")),
      HasSubstr("line 2: duplicate key 'square', first given on line 1"));
  // Keys of a nested object are not settings.
  EXPECT_THAT(Refusal(Scratch.Write("inside.json", R"({"board": {"board": 1, "square": 2}})")),
              HasSubstr("'board' must be a string"));
}

TEST(StageFile, ADeviceAndAFileThatIsNestedTooDeepAreRefused) {
  const Scratch_Folder Scratch;
  const std::string Deep = "{\"board\":\n" + std::string(1'000'000, '[');
  EXPECT_THAT(Refusal("/dev/zero"), HasSubstr("is a device"));
  EXPECT_THAT(Refusal(Scratch.Write("s.json", Deep + std::string(1'000'000, ']') + "}")),
              HasSubstr("line 2: values are nested more than 64 levels deep"));
  const auto Nested = [&](std::size_t Levels) {
    return Refusal(Scratch.Write(
        "s.json", "{\"board\":\n" + std::string(Levels, '[') + std::string(Levels, ']') + "}"));
  };
  EXPECT_THAT(Nested(64), testing::Not(HasSubstr("nested")));
  EXPECT_THAT(Nested(65), HasSubstr("nested more than 64 levels deep"));
}

TEST(StageFile, AFolderAndAMissingFileAreRefused) {
  const Scratch_Folder Scratch;
  EXPECT_THAT(Refusal(Scratch.String()), HasSubstr("can't be read"));
  EXPECT_THAT(Refusal(Scratch.String() + "/none.toml"),
              HasSubstr("can't be opened (No such file or directory)"));
}

TEST(StageFile, CalibrateReadsTomlAndAFlagTakesPrecedence) {
  const Scratch_Folder Scratch;
  // Without a capture the run ends at once, but result.json still has the inputs.
  const std::string File = Scratch.Write(
      "stage.toml",
      "board = \"9x8\"\nsquare = \"30mm\"\nboard-euler = [12, -20, 8]\nboard-offset = [0, 0, 1]\n");
  const auto Inputs_With = [&](const std::vector<std::string>& Flags) {
    std::vector<std::string> Arguments = {
        "calibrate", Scratch.String() + "/none.csv", "--config", File, "--out", Scratch.String()};
    Arguments.insert(Arguments.end(), Flags.begin(), Flags.end());
    Rigsync(Arguments);
    return Read_Json(Scratch.Path() / "result.json")["inputs"];
  };
  const nlohmann::json From_File = Inputs_With({});
  EXPECT_EQ(From_File["board"], (std::vector<int>{9, 8}));
  EXPECT_EQ(From_File["square_m"], 0.03);
  EXPECT_EQ(From_File["board_euler_deg"], (std::vector<double>{12, -20, 8}));
  EXPECT_EQ(From_File["board_offset_m"], (std::vector<double>{0, 0, 1}));
  const nlohmann::json With_Flags = Inputs_With({"--board", "7x5", "--square", "0.02"});
  EXPECT_EQ(With_Flags["board"], (std::vector<int>{7, 5}));
  EXPECT_EQ(With_Flags["square_m"], 0.02);
  EXPECT_EQ(With_Flags["board_euler_deg"], (std::vector<double>{12, -20, 8}));
}

}  // namespace
