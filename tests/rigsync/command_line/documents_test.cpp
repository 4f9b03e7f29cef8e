// SPDX-License-Identifier: Apache-2.0
//
// The man page as groff sets it, and the completion as bash runs it.
#include "rigsync/command_line/documents.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/help_form.h"
#include "rigsync/program.h"
#include "rigsync/system/text.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

std::vector<const CLI::App*> Commands_Of(const rigsync::Command_Line& Line) {
  return Line.Program.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<std::string> Flags_Of(const CLI::App& Command) {
  std::vector<std::string> Flags;
  for (const CLI::Option* Option : Command.get_options()) {
    for (const std::string& Name : Option->get_lnames()) Flags.push_back("--" + Name);
    for (const std::string& Name : Option->get_snames()) Flags.push_back("-" + Name);
  }
  return Flags;
}

Finished Groff(const std::string& Page, const std::vector<std::string>& More) {
  std::vector<std::string> Arguments = {"-man", "-ww", "-Tascii", "-P-cbou"};
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  Arguments.push_back(Page);
  return Run_Program(RIGSYNC_GROFF, Arguments);
}

// The page as text, wide enough that no line is folded.
std::string Man_Text() {
  return Groff(RIGSYNC_MAN_PAGE, {"-rLL=2000n"}).Output;
}

// What the tests below read is what is installed.
TEST(Documents, AreWrittenFromTheCommandsAsTheyAre) {
  const auto Line = rigsync::Make_Command_Line();
  EXPECT_EQ(Read_Text(RIGSYNC_MAN_PAGE), rigsync::Man_Page(Line->Program));
  EXPECT_THAT(Read_Text(RIGSYNC_COMPLETION), testing::EndsWith(rigsync::Completion_Tables(*Line)));
}

TEST(ManPage, IsSetWithoutAWarning) {
  for (const std::vector<std::string>& Width :
       {std::vector<std::string>{"-rLL=80n"}, {"-rLL=40n"}}) {
    const Finished Set = Groff(RIGSYNC_MAN_PAGE, Width);
    EXPECT_EQ(Set.Status, 0);
    EXPECT_EQ(Set.Error, "");
    EXPECT_THAT(Set.Output, AllOf(HasSubstr("NAME"), HasSubstr("SEE ALSO")));
  }
  // Examples are not folded, and have to fit as they are.
  EXPECT_LE(Widest_Line(Groff(RIGSYNC_MAN_PAGE, {"-rLL=80n"}).Output), rigsync::Terminal_Width);
  // An error in a page gives a warning.
  const Scratch_Folder Scratch;
  EXPECT_NE(Groff(Scratch.Write("wrong.1", ".TH A 1\n.SH B\n.NOSUCH\n"), {}).Error, "");
}

TEST(ManPage, HoldsEveryCommandAndEveryFlagInTheHelpsWords) {
  const std::string Page = rigsync::One_Line(Man_Text());
  const rigsync::Help_Form Form;
  const auto Known = rigsync::Make_Command_Line();
  std::vector<const CLI::App*> Apps = Commands_Of(*Known);
  ASSERT_GE(Apps.size(), 6u);
  for (const CLI::App* Command : Apps) {
    EXPECT_THAT(Page, HasSubstr("rigsync " + Command->get_name() + " "));
    EXPECT_THAT(Page, HasSubstr(Command->get_description()));
  }
  Apps.push_back(&Known->Program);
  for (const CLI::App* Command : Apps) {
    for (const CLI::Option* Option : Command->get_options()) {
      const bool Is_Positional = Option->get_positional();
      SCOPED_TRACE(Command->get_name() + " " + Option->get_name());
      EXPECT_THAT(Page, HasSubstr(rigsync::One_Line(Form.Left_Text(Option, Is_Positional) + " " +
                                                    Form.Right_Text(Option, Is_Positional))));
    }
  }
}

TEST(ManPage, HoldsEveryLineOfTheFootersExceptTheHeadingsThatBecameSections) {
  const std::string Page = rigsync::One_Line(Man_Text());
  const auto Known = rigsync::Make_Command_Line();
  std::size_t Lines = 0;
  for (const CLI::App* Command : Commands_Of(*Known)) {
    std::istringstream Footer(Command->get_footer());
    for (std::string Line; std::getline(Footer, Line); ++Lines) {
      const std::size_t Text = Line.rfind("Exit status:", 0) == 0 ? 12 : 0;
      if (Line.rfind("Example", 0) == 0) continue;
      EXPECT_THAT(Page, HasSubstr(rigsync::One_Line(Line.substr(Text)))) << Command->get_name();
    }
  }
  EXPECT_GT(Lines, 50u);
}

TEST(ManPage, HasTheSectionsThatPeopleLookFor) {
  const std::string Page = Man_Text();
  for (const char* Section : {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "COMMANDS",
                              "EXIT STATUS", "ENVIRONMENT", "FILES", "EXAMPLES", "SEE ALSO"}) {
    EXPECT_THAT(Page, HasSubstr(std::string("\n") + Section + "\n"));
  }
  EXPECT_THAT(
      rigsync::One_Line(Page),
      HasSubstr("NAME rigsync - measures where a tracker is mounted on a film camera SYNOPSIS"));
}

// Nobody finds a word that is split over two lines.
TEST(ManPage, BreaksNoWord) {
  const std::string Page = Groff(RIGSYNC_MAN_PAGE, {"-rLL=60n"}).Output;
  ASSERT_THAT(Page, HasSubstr("SEE ALSO"));
  std::istringstream Lines(Page);
  for (std::string Line; std::getline(Lines, Line);) {
    EXPECT_FALSE(!Line.empty() && Line.back() == '-') << Line;
  }
}

// The picture of the board.
TEST(ManPage, KeepsIndentedLinesAsTheyAre) {
  EXPECT_THAT(Man_Text(), HasSubstr("####      ####      ####\n"));
}

// What bash offers for the last of these words, in a folder.
std::vector<std::string> Offered(const std::vector<std::string>& Words, const fs::path& Folder) {
  // An error ends the script, so that it doesn't pass as an empty list.
  const std::string Script =
      "set -u; source \"$0\"; COMP_WORDS=(rigsync \"$@\"); COMP_CWORD=$#; _rigsync; "
      "for reply in \"${COMPREPLY[@]}\"; do printf '%s\\n' \"$reply\"; done";
  std::vector<std::string> Arguments = {"--noprofile", "--norc", "-c", Script, RIGSYNC_COMPLETION};
  Arguments.insert(Arguments.end(), Words.begin(), Words.end());
  const Finished Done = Run_Program("/bin/bash", Arguments, Folder);
  EXPECT_EQ(Done.Error, "");
  std::vector<std::string> Replies;
  std::istringstream Lines(Done.Output);
  for (std::string Line; std::getline(Lines, Line);) Replies.push_back(Line);
  return Replies;
}

TEST(Completion, OffersEveryCommandAndEveryFlag) {
  const Scratch_Folder Scratch;
  const auto Known = rigsync::Make_Command_Line();
  std::vector<std::string> Names;
  for (const CLI::App* Command : Commands_Of(*Known)) {
    Names.push_back(Command->get_name());
    const std::vector<std::string> Flags = Offered({Command->get_name(), "-"}, Scratch.Path());
    EXPECT_THAT(Flags, testing::UnorderedElementsAreArray(Flags_Of(*Command)));
  }
  EXPECT_THAT(Offered({""}, Scratch.Path()), IsSupersetOf(Names));
  EXPECT_THAT(Offered({"--"}, Scratch.Path()), UnorderedElementsAre("--help", "--version"));
  EXPECT_THAT(Offered({"cal"}, Scratch.Path()), ElementsAre("calibrate"));
  EXPECT_THAT(Offered({"calibrate", "x.csv", "--board-o"}, Scratch.Path()),
              ElementsAre("--board-offset"));
}

TEST(Completion, OffersTheWordsThatAFlagTakes) {
  const Scratch_Folder Scratch;
  Scratch.Write("ue6", "a file is no engine");
  const fs::path Here = Scratch.Path();
  const std::vector<std::string> Targets = Offered({"export", "r.json", "--to", ""}, Here);
  EXPECT_THAT(Targets, IsSupersetOf({"ue4", "ue5", "ue5-xn", "aximmetry", "blender"}));
  EXPECT_THAT(Offered({"export", "r.json", "--to", "ue5"}, Here), ElementsAre("ue5", "ue5-xn"));
  EXPECT_THAT(Offered({"export", "r.json", "--to", "=", "a"}, Here), ElementsAre("aximmetry"));
  EXPECT_EQ(Offered({"export", "r.json", "--to", "="}, Here), Targets);
  EXPECT_THAT(Offered({"board", "--paper", "a"}, Here), ElementsAre("a4", "a3", "a2", "a1", "a0"));
  EXPECT_THAT(Offered({"simulate", "out", "--spread", "same"}, Here), ElementsAre("same-pose"));
  EXPECT_THAT(Offered({"codes", "1"}, Here), IsSupersetOf({"1", "14", "100"}));
  EXPECT_THAT(Offered({"calibrate", "c.csv", "--board", ""}, Here), IsEmpty());
}

TEST(Completion, OffersFilesAndFoldersAsTheArgumentRequires) {
  const Scratch_Folder Scratch;
  Scratch.Write("my take 3.csv", "");
  Scratch.Write("my$take.csv", "");
  fs::create_directory(Scratch.Path() / "my takes");
  const fs::path Here = Scratch.Path();
  const auto Everything = UnorderedElementsAre("my take 3.csv", "my$take.csv", "my takes");
  EXPECT_THAT(Offered({"calibrate", "my take 3"}, Here), ElementsAre("my take 3.csv"));
  EXPECT_THAT(Offered({"calibrate", ""}, Here), Everything);
  EXPECT_THAT(Offered({"calibrate", "x.csv", "--config", "my"}, Here), Everything);
  EXPECT_THAT(Offered({"board", "-o", "my t"}, Here),
              UnorderedElementsAre("my take 3.csv", "my takes"));
  EXPECT_THAT(Offered({"calibrate", "x.csv", "--out", "my"}, Here), ElementsAre("my takes"));
  EXPECT_THAT(Offered({"simulate", "m"}, Here), ElementsAre("my takes"));
  // The word after a flag without a value is an argument.
  EXPECT_THAT(Offered({"export", "--json", ""}, Here), Everything);
  // The second argument of compare, after a flag with its value.
  EXPECT_THAT(Offered({"compare", "--max-angle", "0.3", "r.json", ""}, Here), Everything);
  EXPECT_THAT(Offered({"compare", "--max-angle", "=", "0.3", "r.json", ""}, Here), Everything);
  EXPECT_THAT(Offered({"compare", "r.json", "t.json", ""}, Here), IsEmpty());
  // As many results as there are.
  EXPECT_THAT(Offered({"lens-table", "my"}, Here), Everything);
  EXPECT_THAT(Offered({"lens-table", "r.json", "s.json", "t.json", "my"}, Here), Everything);
  EXPECT_THAT(Offered({"nosuch", ""}, Here), IsEmpty());
}

}  // namespace
