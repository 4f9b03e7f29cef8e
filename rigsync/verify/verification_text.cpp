// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/verification_text.h"

#include "rigsync/formats/opinion_words.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

// Two digits of what may be a millionth or a hundred pixels.
std::string Px_Text(double Px) {
  return fmt::format("{:.2g}", Px);
}

std::string Column_Text(const Compared_Pixels& Column) {
  const Compared_Pixel& Shown = Column.Beyond ? *Column.Beyond : Column.Worst;
  return fmt::format("{:>10}{:>10}", Px_Text(Shown.Px), Px_Text(Shown.Allowed_Px));
}

std::string Depths_Text(const std::vector<double>& Depths) {
  std::string Text;
  for (std::size_t i = 0; i < Depths.size(); ++i) {
    const char* Before = i == 0 ? "" : i + 1 == Depths.size() ? " and " : ", ";
    Text += fmt::format("{}{:g}", Before, Depths[i]);
  }
  return Text;
}

std::string Ground_Text(const Verification& Of) {
  const Proof_Points& Points = Of.Points;
  std::string Text = fmt::format(
      "  samples   {}\n  points    {} x {} over {} x {} px, edges "
      "included, at {} m\n",
      Of.Samples.Source, Points.Columns, Points.Rows, Of.Width, Of.Height,
      Depths_Text(Points.Depths));
  if (Points.Unseen != 0) {
    Text +=
        fmt::format("            ({} of them beyond the end of the lens model)\n", Points.Unseen);
  }
  return Text;
}

// What was not exported, and what a target can't have.
std::string Remarks_Text(const Verification& Of) {
  std::string Text;
  for (const Target_Proof& Target : Of.Targets) {
    if (Target.Outcome == Target_Outcome::Not_Exported) {
      Text += Folded(fmt::format("{} was not exported: {}", Target.Name, Target.Reason), 2);
    }
    if (Target.Outcome == Target_Outcome::No_Camera) {
      Text += Folded(fmt::format("{}: {}", Target.Name, Target.Reason), 2);
    }
    if (!Target.Notes.empty()) {
      Text += Folded(fmt::format("{}: {}.", Target.Name, fmt::join(Target.Notes, "; ")), 2);
    }
  }
  return Text.empty() ? "" : "\n" + Text;
}

std::string Beyond_Text(const std::string& Name, const char* Column, const Proof_Samples& Samples,
                        const Compared_Pixel& At) {
  const std::size_t Count = Samples.Samples.size();
  const std::string Sample = At.Sample < Count
                                 ? fmt::format("sample {} of {}", At.Sample + 1, Count)
                                 : std::string("the sample in the file");
  return fmt::format("{}, {}: {} px where {} are allowed, at pixel {:.0f}, {:.0f} of {}.", Name,
                     Column, Px_Text(At.Px), Px_Text(At.Allowed_Px), At.Pixel.x(), At.Pixel.y(),
                     Sample);
}

std::string Verdict_Text(const Verification& Of, bool In_Colour) {
  if (Of.Holds()) {
    const char* Sentence =
        "Every exported target shows the solved camera's pixels, within the rounding of its "
        "numbers. That proves the exports; how good the calibration is, its verdict says.";
    return Painted_Lines(Style::Good, Folded(Sentence, 2), In_Colour);
  }
  std::string Text, Unproven;
  for (const Target_Proof& Target : Of.Targets) {
    const Pixel_Proof& Proof = Target.Proof;
    if (Target.Outcome == Target_Outcome::Not_Proven) {
      Unproven += Folded(fmt::format("NOT PROVEN: {}: {}", Target.Name, Target.Reason), 2);
    }
    if (Proof.Mount.Beyond) {
      Text += Folded(Beyond_Text(Target.Name, "mount", Of.Samples, *Proof.Mount.Beyond), 2);
    }
    if (Proof.Own_Lens && Proof.Own_Lens->Beyond) {
      Text += Folded(Beyond_Text(Target.Name, "own lens", Of.Samples, *Proof.Own_Lens->Beyond), 2);
    }
  }
  if (!Text.empty()) Text = Folded("BEYOND the rounding of the exported numbers:", 2) + Text;
  return Painted_Lines(Style::Bad, Text + Unproven, In_Colour);
}

// What stands in the table in place of the columns.
const char* Outcome_Words(Target_Outcome Outcome) {
  switch (Outcome) {
    case Target_Outcome::Not_Exported:
      return "not exported";
    case Target_Outcome::No_Camera:
      return "no camera";
    case Target_Outcome::Not_Proven:
      return "not proven";
    case Target_Outcome::Compared:
      break;
  }
  return "";
}

// The same for programs, and which way a comparison came out.
const char* Outcome_Key(const Target_Proof& Target) {
  switch (Target.Outcome) {
    case Target_Outcome::Not_Exported:
      return "not_exported";
    case Target_Outcome::No_Camera:
      return "no_camera";
    case Target_Outcome::Not_Proven:
      return "not_proven";
    case Target_Outcome::Compared:
      break;
  }
  return Target.Holds() ? "within" : "beyond";
}

Json Column_Json(const Compared_Pixels& Column) {
  const Compared_Pixel& Shown = Column.Beyond ? *Column.Beyond : Column.Worst;
  return {{"px", Shown.Px},
          {"allowed_px", Shown.Allowed_Px},
          {"holds", !Column.Beyond},
          {"pixel", {Shown.Pixel.x(), Shown.Pixel.y()}},
          {"sample", Shown.Sample}};
}

Json Target_Json(const Target_Proof& Target) {
  const bool Is_Compared = Target.Outcome == Target_Outcome::Compared;
  return {{"target", Target.Name},
          {"outcome", Outcome_Key(Target)},
          {"reason", Is_Compared ? Json(nullptr) : Json(Target.Reason)},
          {"tracker_axes", Is_Compared ? Json(Target.Axes) : Json(nullptr)},
          {"mount", Is_Compared ? Column_Json(Target.Proof.Mount) : Json(nullptr)},
          {"own_lens", Target.Proof.Own_Lens ? Column_Json(*Target.Proof.Own_Lens) : Json(nullptr)},
          {"notes", Target.Notes}};
}

}  // namespace

std::string Verification_Text(const Verification& Of, const std::filesystem::path& Result_File,
                              Solution_Choice Solution, bool In_Colour) {
  std::string Text = fmt::format("{}: each export back to pixels\n  mount     {}\n{}\n",
                                 Result_File.string(), Solution_Name(Solution), Ground_Text(Of));
  Text += fmt::format("  {:<14}{:<14}{:>20}{:>20}\n", "", "", "mount, px", "own lens, px");
  Text += fmt::format("  {:<14}{:<14}{:>10}{:>10}{:>10}{:>10}\n", "Target", "Tracker axes", "worst",
                      "allowed", "worst", "allowed");
  for (const Target_Proof& Target : Of.Targets) {
    if (Target.Outcome != Target_Outcome::Compared) {
      Text += fmt::format("  {:<14}{}\n", Target.Name, Outcome_Words(Target.Outcome));
      continue;
    }
    const std::optional<Compared_Pixels>& Own_Lens = Target.Proof.Own_Lens;
    Text += fmt::format("  {:<14}{:<14}{}{}\n", Target.Name, Target.Axes,
                        Column_Text(Target.Proof.Mount),
                        Own_Lens ? Column_Text(*Own_Lens) : fmt::format("{:>10}{:>10}", "-", "-"));
  }
  return Text + Remarks_Text(Of) + "\n" + Verdict_Text(Of, In_Colour);
}

std::string Verification_Json(const Verification& Of, const std::filesystem::path& Result_File,
                              Solution_Choice Solution) {
  Json Root;
  Root["result"] = Plain_Path(Result_File).string();
  Root["solution"] = Solution_Name(Solution);
  Root["holds"] = Of.Holds();
  Root["samples"] = Of.Samples.Samples.size();
  Root["samples_from"] = Of.Samples.Source;
  Root["image_size"] = {Of.Width, Of.Height};
  Root["grid"] = {Of.Points.Columns, Of.Points.Rows};
  Root["pixels_unseen"] = Of.Points.Unseen;
  Root["depths_m"] = Of.Points.Depths;
  Root["targets"] = Json::array();
  for (const Target_Proof& Target : Of.Targets) Root["targets"].push_back(Target_Json(Target));
  return Root.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rigsync
