// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/documents.h"
#include "rigsync/command_line/help_form.h"
#include "rigsync/system/text.h"
#include "rigsync/system/version.h"

#include <fmt/format.h>

#include <sstream>
#include <string_view>
#include <vector>

namespace rigsync {
namespace {

// Sections that the help doesn't have.
constexpr const char* Environment_And_Files = R"(.SH ENVIRONMENT
.TP
.B NO_COLOR
If set to a non-empty value, output has no colour. Output that doesn't go to a terminal never has.
.SH FILES
.TP
.I stage.toml, stage.json
Stage file: the settings that stay the same for every capture of a stage. Its keys are flags of
\fBrigsync calibrate\fR without the dashes.
.TP
.I OUT/result.json
The latest finished calibration: lens, transform, verdict and inputs.
.TP
.I OUT/report.html
The page of that result: verdict, mount and figures, for any browser.
.TP
.I OUT/run_DATE\-TIME/
One run: its run log, its reprojection images, and its own \fIresult.json\fR and \fIreport.html\fR.
.TP
.I capture.csv
One line per image: its path and the poses of both trackers.
)";

constexpr const char* See_Also = R"(.SH SEE ALSO
The documentation in the source, installed in \fI)" RIGSYNC_DOCDIR R"(\fR:
\fIdocs/codes.md\fR, \fIdocs/conventions.md\fR, \fIdocs/engines.md\fR,
\fIdocs/inspect.md\fR, \fIdocs/report.md\fR, \fIdocs/result\-file.md\fR, \fIdocs/run\-log.md\fR and
\fIdocs/stage\-file.md\fR.
)";

// Text that prints literally: it contains no request, and its quotes and dashes can be copied into
// a shell.
std::string Roff(std::string_view Text) {
  std::string Result;
  for (const char Letter : Text) {
    switch (Letter) {
      case '\\':
        Result += "\\e";
        break;
      case '-':
        Result += "\\-";
        break;
      case '\'':
        Result += "\\(aq";
        break;
      case '`':
        Result += "\\(ga";
        break;
      case '^':
        Result += "\\(ha";
        break;
      case '~':
        Result += "\\(ti";
        break;
      default:
        Result += Letter;
    }
  }
  return Result.rfind('.', 0) == 0 ? "\\&" + Result : Result;
}

// One argument of a request.
std::string Quoted(std::string_view Text) {
  std::string Result;
  for (const char Letter : Roff(Text))
    Result += Letter == '"' ? std::string("\\(dq") : std::string(1, Letter);
  return "\"" + Result + "\"";
}

using Lines = std::vector<std::string>;

std::vector<Lines> Split_Paragraphs(const std::string& Text) {
  std::vector<Lines> Paragraphs(1);
  std::istringstream Stream(Text);
  for (std::string Line; std::getline(Stream, Line);) {
    if (!Line.empty()) {
      Paragraphs.back().push_back(Line);
    } else if (!Paragraphs.back().empty()) {
      Paragraphs.emplace_back();
    }
  }
  if (Paragraphs.back().empty()) Paragraphs.pop_back();
  return Paragraphs;
}

bool Starts_With(const Lines& Paragraph, std::string_view Heading) {
  return Paragraph.front().compare(0, Heading.size(), Heading) == 0;
}

// Indented lines are kept as they are, others are filled.
std::string Roff_Lines(const Lines& Paragraph) {
  std::string Result;
  bool Is_Literal = false;
  for (const std::string& Line : Paragraph) {
    const bool Indented = Line.rfind("  ", 0) == 0;
    if (Indented != Is_Literal) Result += Indented ? ".RS 4n\n.EX\n" : ".EE\n.RE\n";
    Is_Literal = Indented;
    Result += Roff(Indented ? Line.substr(2) : Line) + "\n";
  }
  return Is_Literal ? Result + ".EE\n.RE\n" : Result;
}

std::vector<const CLI::App*> Commands_Of(const CLI::App& Program) {
  return Program.get_subcommands([](const CLI::App*) { return true; });
}

// "rigsync export RESULT [OPTIONS]"
std::string Usage_Line(const CLI::App& Command) {
  const std::string Usage =
      One_Line(Help_Form().make_usage(&Command, "rigsync " + Command.get_name()));
  return Usage.substr(Usage.find(' ') + 1);
}

std::string Option_Entry(const CLI::Option& Option, bool Is_Positional) {
  return ".TP\n.B " + Quoted(Help_Form().Left_Text(&Option, Is_Positional)) + "\n" +
         Roff(Help_Form::Right_Text(&Option, Is_Positional)) + "\n";
}

std::string Option_Entries(const CLI::App& Command) {
  std::string Result;
  for (const CLI::Option* Option : Command.get_options()) {
    if (Option->get_positional()) Result += Option_Entry(*Option, true);
  }
  for (const std::string& Group : Command.get_groups()) {
    std::string Entries;
    for (const CLI::Option* Option : Command.get_options()) {
      if (!Option->nonpositional() || Option->get_group() != Group) continue;
      Entries += Option_Entry(*Option, false);
    }
    if (!Entries.empty() && Group != "Options") Result += ".PP\n" + Roff(Group) + ":\n";
    Result += Entries;
  }
  return Result;
}

std::string Command_Section(const CLI::App& Command) {
  std::string Result = ".SS " + Quoted(Usage_Line(Command)) + "\n" +
                       Roff(Command.get_description()) + "\n" + Option_Entries(Command);
  for (const Lines& Paragraph : Split_Paragraphs(Command.get_footer())) {
    if (Starts_With(Paragraph, "Exit status:") || Starts_With(Paragraph, "Example")) continue;
    Result += ".PP\n" + Roff_Lines(Paragraph);
  }
  return Result;
}

// The paragraphs of all footers that start with Heading, without the heading.
std::string Footer_Paragraphs(const CLI::App& Program, std::string_view Heading) {
  std::string Result;
  for (const CLI::App* Command : Commands_Of(Program)) {
    for (Lines& Paragraph : Split_Paragraphs(Command->get_footer())) {
      if (!Starts_With(Paragraph, Heading)) continue;
      const std::size_t Text =
          Paragraph.front().find_first_not_of(' ', Paragraph.front().find(':') + 1);
      if (Text == std::string::npos) {
        Paragraph.erase(Paragraph.begin());
      } else {
        Paragraph.front().erase(0, Text);
      }
      Result +=
          ".TP\n.B " + Quoted("rigsync " + Command->get_name()) + "\n" + Roff_Lines(Paragraph);
    }
  }
  return Result;
}

}  // namespace

std::string Man_Page(const CLI::App& Program) {
  const std::string& Name = Program.get_name();
  // "rigsync measures ..." without the name, as the index of pages has it.
  std::string Summary = Program.get_description();
  if (Summary.rfind(Name + " ", 0) == 0) Summary.erase(0, Name.size() + 1);
  if (!Summary.empty() && Summary.back() == '.') Summary.pop_back();

  // No hyphenation and no justified lines, so that a flag can be searched for.
  std::string Page = fmt::format(
      ".TH RIGSYNC 1 \"\" {} {}\n.nr HY 0\n.nh\n.ad l\n.SH NAME\n{} \\- {}\n",
      Quoted(Name + " " + Command_Version), Quoted("User commands"), Roff(Name), Roff(Summary));
  Page += ".SH SYNOPSIS\n.nf\n";
  for (const CLI::App* Command : Commands_Of(Program))
    Page += ".B " + Quoted(Usage_Line(*Command)) + "\n";
  Page += ".B " + Quoted(Name + " --help | --version") + "\n.fi\n";
  Page += ".SH DESCRIPTION\n" + Roff(Program.get_description()) + "\n";
  for (const Lines& Paragraph : Split_Paragraphs(Program.get_footer())) {
    Page += ".PP\n" + Roff_Lines(Paragraph);
  }
  Page += ".SH OPTIONS\n" + Option_Entries(Program) + ".SH COMMANDS\n";
  for (const CLI::App* Command : Commands_Of(Program)) Page += Command_Section(*Command);
  Page += ".SH EXIT STATUS\n" + Footer_Paragraphs(Program, "Exit status:") + Environment_And_Files;
  Page += ".SH EXAMPLES\n" + Footer_Paragraphs(Program, "Example") + See_Also;
  return Page;
}

}  // namespace rigsync
