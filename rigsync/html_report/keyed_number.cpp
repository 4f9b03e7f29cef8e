// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/keyed_number.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

std::string Shown(const Keyed_Number& Number) {
  const double Value = Number.Value * Number.Factor;
  if (!std::isfinite(Value)) return "none";
  if (Number.Is_Short) return Short_Number(Value, Number.Digits);
  std::string Text = fmt::format("{:.{}f}", Value, Number.Digits);
  const bool Is_Zero = Text.find_first_not_of("-0.") == std::string::npos;
  return Is_Zero && Text.front() == '-' ? Text.substr(1) : Text;
}

}  // namespace

int Fewer_Digits(double Value, int Digits) {
  return std::abs(Value) < 100.0 ? Digits : std::max(Digits - 2, 0);
}

std::string Exact_Number(double Value) {
  return std::isfinite(Value) ? fmt::format("{}", Value) : "null";
}

void Mark_Number(Element At, std::string_view Key, double Value) {
  Set(At, "data-key", Key);
  Set(At, "data-value", Exact_Number(Value));
}

Element Add_Number(Element Parent, const char* Tag, const Keyed_Number& Number,
                   std::string_view Class) {
  Element New = Add_Text(Parent, Tag, Shown(Number), Class);
  Mark_Number(New, Number.Key, Number.Value);
  if (Number.Factor != 1.0) Set(New, "data-factor", Exact_Number(Number.Factor));
  return New;
}

Element Add_Number_Cell(Element Row, const Keyed_Number& Number) {
  return Add_Number(Row, "td", Number, "number");
}

Element Add_Keyed_Text(Element Parent, const char* Tag, const std::string& Key,
                       std::string_view Text) {
  Element New = Add_Text(Parent, Tag, Text);
  Set(New, "data-key", Key);
  Set(New, "data-value", Text);
  return New;
}

}  // namespace rigsync
