// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/verdict_section.h"

#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/report/verdict_words.h"

#include <fmt/format.h>

#include <cstddef>
#include <string>

namespace rigsync {
namespace {

struct Tone_Look {
  const char* Class;
  const char* Outline;  // of the sign, in a square of 48 units
  const char* Mark;     // inside
};

// A tick in a disc, an exclamation mark in a triangle, a cross in an octagon: three shapes, so that
// the sign says the same without its colour.
Tone_Look Look_Of(Verdict Tone) {
  switch (Tone) {
    case Verdict::Agree:
      return {"agree", "M24 2a22 22 0 1 0 0.01 0z", "M13 25l8 8 15-17"};
    case Verdict::Look:
      return {"look", "M24 3L47 44H1z", "M24 16v12M24 36.5v0.1"};
    case Verdict::Dont_Use:
      break;
  }
  return {"dont_use", "M15 2h18l13 13v18l-13 13H15L2 33V15z", "M15 15l18 18M33 15L15 33"};
}

void Add_Sign(Element Parent, const Tone_Look& Look) {
  const Element Svg = Add(Parent, "svg", "sign");
  Set(Svg, "viewBox", "0 0 48 48");
  Set(Svg, "aria-hidden", "true");  // the heading beside it says the same
  Set(Add(Svg, "path", "sign-shape"), "d", Look.Outline);
  Set(Add(Svg, "path", "sign-mark"), "d", Look.Mark);
}

// "2022-11-17 09:05" of "2022-11-17T09:05:33+0100"
std::string Minute_Of(const std::string& Time) {
  return Time.size() < 16 ? Time : Time.substr(0, 10) + " " + Time.substr(11, 5);
}

std::string Capture_Text(const Run_View& View) {
  const std::string Name = View.Result.Inputs.Csv.filename().string();
  return fmt::format("Calibration of {}, {} images, {}", Name.empty() ? "a capture" : Name,
                     View.Rows.size(), Minute_Of(View.Result.Start_Time));
}

void Add_Steps(Element Parent, const Verdict_Words& Words) {
  const Element Block = Add(Parent, "div", "next");
  Add_Text(Block, "h2", "Next step");
  for (const Next_Step& Step : Words.Next_Steps) {
    if (Step.Is_Command) {
      Add_Text(Add(Block, "pre"), "code", Step.Text);
    } else {
      Add_Text(Block, "p", With_Plus_Minus(Step.Text));
    }
  }
}

void Add_Other_Reasons(Element Parent, const Verdict_Words& Words) {
  if (Words.Other_Reasons.empty()) return;
  const Element List = Add(Parent, "ul");
  for (const std::string& Reason : Words.Other_Reasons)
    Add_Text(List, "li", With_Plus_Minus(Reason));
}

}  // namespace

void Add_Verdict_Section(Element Main, const Run_View& View) {
  const Calibration_Result& Result = View.Result;
  const Verdict_Words Words = Words_Of(Result, Result.Run_Folder / "result.json");
  const Tone_Look Look = Look_Of(Words.Tone);
  Add_Text(Main, "p", Capture_Text(View), "quiet");
  const Element Section = Add(Main, "section", fmt::format("verdict {}", Look.Class));
  Set(Section, "id", "verdict");
  Set(Section, "aria-labelledby", "verdict-heading");
  Add_Sign(Section, Look);
  const Element Text = Add(Section, "div", "text");
  Set(Add_Text(Text, "h1", Words.Short), "id", "verdict-heading");
  Add_Text(Text, "p", With_Plus_Minus(Words.First_Reason), "reason");
  Add_Other_Reasons(Text, Words);
  const Element Pair = Add(Text, "div", "pair");
  if (!Words.Cause.empty()) {
    const Element Block = Add(Pair, "div", "cause");
    Add_Text(Block, "h2", Words.Cause_Title);
    Add_Text(Block, "p", With_Plus_Minus(Words.Cause));
  }
  Add_Steps(Pair, Words);
}

}  // namespace rigsync
