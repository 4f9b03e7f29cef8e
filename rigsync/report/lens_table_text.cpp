// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/lens_table_text.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"
#include "rigsync/report/heading.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <cmath>

namespace rigsync {
namespace {

// ---- Verdict -----------------------------------------------------------------------------------

std::string Amounts_Text(double Deg, double Mm) {
  return fmt::format("{:.2f} degrees, and {:.1f} mm across the optical axis", Deg, Mm);
}

// Of the joint mounts.
std::string Joint_Amounts_Text(const Lens_Table_Row& Row) {
  const Vector6d& Motion = *Row.From_Reference.Joint_Motion;
  return Amounts_Text(Degrees_Per_Radian * Motion.head<3>().norm(),
                      Mm_In_Metre * Motion.segment<2>(3).norm());
}

std::string Unlikely_Text(const Lens_Table_Row& Row, const std::string& Reference) {
  return fmt::format(
      "{}: the mount differs from that of {} by {}: more than the uncertainty of both explains, "
      "and no lens does that. The tracker moved on the camera in between, or the camera on its "
      "plate. Fasten it, and calibrate all positions of the lens again.",
      Row.Of.File.string(), Reference, Joint_Amounts_Text(Row));
}

std::string Beyond_Text(const Lens_Table_Row& Row, const std::string& Reference,
                        const Lens_Table& Table) {
  const Accuracy_Limits& Limits = Table.Limits;
  const std::string Difference = fmt::format(
      "{}: the mount differs from that of {} by {}; the limits are {:g} degrees and {:g} mm. ",
      Row.Of.File.string(), Reference, Amounts_Text(Row.From_Reference.Deg(), Lateral_Mm(Row)),
      Limits.Deg, Limits.Mm);
  if (!Row.From_Reference.Joint_Motion) {
    return Difference +
           "No uncertainty says whether that is noise: calibrate without --library-only, or look "
           "whether the tracker moved on the camera.";
  }
  // Compared so that NaN is not explained.
  if (!(Row.Result_Probability_Of_Less <= Table.Sure_Part)) {
    return Difference +
           fmt::format(
               "The uncertainty of both does not explain that. Their joint mounts differ by "
               "{}: where these are less, a mount of the library is wrong, and --solution "
               "joint takes the joint ones.",
               Joint_Amounts_Text(Row));
  }
  return Difference +
         "The uncertainty of both would explain it, so nothing says that the tracker stayed: "
         "capture again with more images.";
}

std::string Disagreement_Text(const Lens_Table_Row& Row, const Lens_Table& Table) {
  const std::string Reference = Table.Rows[Table.Reference].Of.File.string();
  switch (Row.Agreement) {
    case Mount_Agreement::Agrees:
      return {};
    case Mount_Agreement::Other_Axes:
      return fmt::format(
          "{}: the axes of the camera's tracker are other ones than in {}, turned by {:.1f} "
          "degrees: they were redefined in the tracking system. Set them back, and calibrate "
          "again.",
          Row.Of.File.string(), Reference, Row.From_Reference.Deg());
    case Mount_Agreement::Unlikely:
      return Unlikely_Text(Row, Reference);
    case Mount_Agreement::Beyond_Limits:
      return Beyond_Text(Row, Reference, Table);
  }
  return {};
}

bool Has_Uncertainty(const Lens_Table& Table) {
  for (const Lens_Table_Row& Row : Table.Rows) {
    if (std::isnan(Row.Probability_Of_Less)) return false;
  }
  return true;
}

std::string Good_Text(const Lens_Table& Table) {
  const std::string Limits =
      fmt::format("within {:g} degrees and {:g} mm", Table.Limits.Deg, Table.Limits.Mm);
  return fmt::format(
      "One lens on one tracker: the mounts differ along the optical axis only, {}.",
      Has_Uncertainty(Table)
          ? "as far as their uncertainties can tell and " + Limits
          : Limits +
                ". Not all results have an uncertainty, so a smaller move of the tracker "
                "would not be seen");
}

std::string Verdict_Text(const Lens_Table& Table, bool Colour) {
  if (Agrees(Table)) return Painted_Lines(Style::Good, Folded(Good_Text(Table), 0), Colour);
  std::string Text =
      Painted_Lines(Style::Bad, Folded("These results don't make one table.", 0), Colour);
  for (const std::string& Sentence : Disagreement_Texts(Table)) Text += Folded(Sentence, 0);
  return Text;
}

// ---- Tables ------------------------------------------------------------------------------------

std::string At_Text(const Lens_Table_Row& Row) {
  return fmt::format("  {:>7.4g} {:>7.5g}", Row.Of.At.Focus, Row.Of.At.Zoom);
}

std::string Lens_Rows(const Lens_Table& Table, bool Colour) {
  std::string Text =
      Heading(fmt::format("Lens, pixels of {} x {}", Table.Width, Table.Height), Colour);
  Text += fmt::format("  {:>7} {:>7}{:>10}{:>10}{:>9}{:>9}{:>9}{:>9}{:>8}\n", "focus", "zoom", "fx",
                      "fy", "cx", "cy", "k1", "k2", "mm");
  for (const Lens_Table_Row& Row : Table.Rows) {
    const Lens& Px = Row.Lens_Px;
    const std::string Mm = std::isnan(Row.Focal_Length_Mm) ? "-" : Decimals(Row.Focal_Length_Mm, 2);
    Text +=
        At_Text(Row) + fmt::format("{:>10}{:>10}{:>9}{:>9}{:>9}{:>9}{:>8}\n", Decimals(Px.Fx, 2),
                                   Decimals(Px.Fy, 2), Decimals(Px.Cx, 2), Decimals(Px.Cy, 2),
                                   Decimals(Px.K1, 4), Decimals(Px.K2, 4), Mm);
  }
  return Text;
}

// That of the turn is the one about the axis that is known least.
std::string Widths_Row(const Lens_Table_Row& Row) {
  const Mount_Uncertainty& Uncertainty = Row.From_Reference.Uncertainty;
  return fmt::format(
      "  {:>15}{:>10}{:>10}{:>10}{:>10}\n", "+- 95 %", Decimals(Uncertainty.Half_Width_Mm.z(), 2),
      Decimals(Uncertainty.Half_Width_Mm.x(), 2), Decimals(Uncertainty.Half_Width_Mm.y(), 2),
      Decimals(Uncertainty.Widest_Deg.Half_Width, 3));
}

std::string Mount_Rows(const Lens_Table& Table, bool Colour) {
  std::string Text = Heading("The camera's point of view from that of the reference row", Colour);
  Text += fmt::format("  {:>7} {:>7}{:>10}{:>10}{:>10}{:>10}\n", "focus", "zoom", "ahead mm",
                      "right mm", "down mm", "turn deg");
  for (std::size_t i = 0; i < Table.Rows.size(); ++i) {
    const Lens_Table_Row& Row = Table.Rows[i];
    if (i == Table.Reference) {
      Text += At_Text(Row) + "   reference\n";
      continue;
    }
    const Eigen::Vector3d Way = Camera_Way_Mm(Row);
    Text += At_Text(Row) +
            fmt::format("{:>10}{:>10}{:>10}{:>10}{}\n", Decimals(Way.z(), 2), Decimals(Way.x(), 2),
                        Decimals(Way.y(), 2), Decimals(Row.From_Reference.Deg(), 3),
                        Row.Agreement == Mount_Agreement::Agrees ? "" : "   differs");
    if (Row.From_Reference.Joint_Motion) Text += Widths_Row(Row);
  }
  return Text;
}

std::string File_Rows(const Lens_Table& Table, bool Colour) {
  std::string Text = Heading("Results", Colour);
  for (const Lens_Table_Row& Row : Table.Rows) {
    Text += At_Text(Row) + "  " + Row.Of.File.string() + "\n";
  }
  return Text;
}

}  // namespace

std::vector<std::string> Disagreement_Texts(const Lens_Table& Table) {
  std::vector<std::string> Texts;
  for (const Lens_Table_Row& Row : Table.Rows) {
    if (Row.Agreement != Mount_Agreement::Agrees) Texts.push_back(Disagreement_Text(Row, Table));
  }
  return Texts;
}

std::string Lens_Table_Text(const Lens_Table& Table, bool Colour) {
  return Verdict_Text(Table, Colour) + Lens_Rows(Table, Colour) + Mount_Rows(Table, Colour) +
         File_Rows(Table, Colour);
}

}  // namespace rigsync
