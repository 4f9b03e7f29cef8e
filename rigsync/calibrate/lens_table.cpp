// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/lens_table.h"

#include "rigsync/calibrate/result_lens.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"
#include "rigsync/solve/solution_difference.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace rigsync {
namespace {

// A difference that is too small to be seen in a picture is none, however sure it is.
bool Is_Noticeable(const Vector6d& Motion) {
  return Degrees_Per_Radian * Motion.head<3>().norm() >= Least_Drift_Deg ||
         Mm_In_Metre * Motion.segment<2>(3).norm() >= Least_Drift_Mm;
}

bool Is_Relabelled(const Drift& Seen) {
  return std::find(Seen.Causes.begin(), Seen.Causes.end(), Drift_Cause::Axes_Redefined) !=
         Seen.Causes.end();
}

Mount_Agreement Agreement_Of(const Lens_Table_Row& Row, bool Is_Other_Axes,
                             const Lens_Table& Table) {
  if (Is_Other_Axes) return Mount_Agreement::Other_Axes;
  const Mount_Drift& Seen = Row.From_Reference;
  if (Seen.Joint_Motion && Row.Probability_Of_Less > Table.Sure_Part &&
      Is_Noticeable(*Seen.Joint_Motion)) {
    return Mount_Agreement::Unlikely;
  }
  // Compared with <= so that NaN is beyond.
  const bool Is_Within = Lateral_Mm(Row) <= Table.Limits.Mm && Seen.Deg() <= Table.Limits.Deg;
  return Is_Within ? Mount_Agreement::Agrees : Mount_Agreement::Beyond_Limits;
}

// Between the mounts that are the results; radians and metres.
Vector6d Result_Motion(const Mount_Drift& Of_Mount) {
  Vector6d Motion;
  Motion << Of_Mount.Turn_Deg / Degrees_Per_Radian, Of_Mount.Shift_Mm / Mm_In_Metre;
  return Motion;
}

Lens_Table_Row Row_Of(const Lens_Table_Input& Input, const Lens_Table_Input& Reference,
                      const Lens_Table& Table) {
  Lens_Table_Row Row;
  Row.Of = Input;
  Row.Lens_Px = Lens_Of_Result(*Input.Result, Input.File).Px;
  const Drift Seen = Compare_Results(*Input.Result, *Reference.Result);
  Row.From_Reference = Seen.Of_Mount;
  const Mount_Drift& Of_Mount = Seen.Of_Mount;
  if (Of_Mount.Joint_Motion) {
    Row.Probability_Of_Less =
        Probability_Of_Less_Beside_Axis(Of_Mount.Uncertainty, *Of_Mount.Joint_Motion);
    Row.Result_Probability_Of_Less =
        Probability_Of_Less_Beside_Axis(Of_Mount.Uncertainty, Result_Motion(Of_Mount));
  }
  Row.Agreement = Agreement_Of(Row, Is_Relabelled(Seen), Table);
  return Row;
}

std::vector<Lens_Table_Row> Rows_From(const std::vector<Lens_Table_Input>& Inputs,
                                      std::size_t Reference, const Lens_Table& Table) {
  std::vector<Lens_Table_Row> Rows;
  Rows.reserve(Inputs.size());
  for (const Lens_Table_Input& Input : Inputs) {
    Rows.push_back(Row_Of(Input, Inputs[Reference], Table));
  }
  return Rows;
}

std::ptrdiff_t Count_Agreeing(const std::vector<Lens_Table_Row>& Rows) {
  return std::count_if(Rows.begin(), Rows.end(), [](const Lens_Table_Row& Row) {
    return Row.Agreement == Mount_Agreement::Agrees;
  });
}

}  // namespace

Eigen::Vector3d Camera_Way_Mm(const Lens_Table_Row& Row) {
  // A zero without a sign.
  return Eigen::Vector3d::Zero() - Row.From_Reference.Shift_Mm;
}

double Lateral_Mm(const Lens_Table_Row& Row) {
  return Row.From_Reference.Shift_Mm.head<2>().norm();
}

Lens_Table Make_Lens_Table(const std::vector<Lens_Table_Input>& Inputs, double Sensor_Width_Mm,
                           const Accuracy_Limits& Limits) {
  std::vector<Lens_Table_Input> Sorted = Inputs;
  std::stable_sort(Sorted.begin(), Sorted.end(),
                   [](const Lens_Table_Input& Left, const Lens_Table_Input& Right) {
                     return std::tie(Left.At.Focus, Left.At.Zoom) <
                            std::tie(Right.At.Focus, Right.At.Zoom);
                   });
  Lens_Table Table;
  const Result_Lens First = Lens_Of_Result(*Sorted.front().Result, Sorted.front().File);
  Table.Width = First.Width;
  Table.Height = First.Height;
  Table.Limits = Limits;
  Table.Sure_Part = 1.0 - False_Table_Part / static_cast<double>(Sorted.size() - 1);
  Table.Rows = Rows_From(Sorted, 0, Table);
  for (std::size_t i = 1; i < Sorted.size(); ++i) {
    std::vector<Lens_Table_Row> Rows = Rows_From(Sorted, i, Table);
    if (Count_Agreeing(Rows) <= Count_Agreeing(Table.Rows)) continue;
    Table.Rows = std::move(Rows);
    Table.Reference = i;
  }
  for (Lens_Table_Row& Row : Table.Rows) {
    Row.Focal_Length_Mm = Row.Lens_Px.Fx / Table.Width * Sensor_Width_Mm;
  }
  return Table;
}

bool Agrees(const Lens_Table& Table) {
  return Count_Agreeing(Table.Rows) == static_cast<std::ptrdiff_t>(Table.Rows.size());
}

}  // namespace rigsync
