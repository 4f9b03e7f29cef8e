// SPDX-License-Identifier: Apache-2.0
//
// One line of CSV whose columns have names.
#ifndef RIGSYNC_BENCH_COLUMNS_H
#define RIGSYNC_BENCH_COLUMNS_H

#include <cstdio>
#include <string>

namespace bench {

// Every line of a table adds the same columns in the same order.
class Columns {
 public:
  void Add(const std::string& Name, const std::string& Value) {
    Names += (Names.empty() ? "" : ",") + Name;
    Values += (Values.empty() ? "" : ",") + Value;
  }

  // Five digits, NaN as "nan".
  void Add(const std::string& Name, double Value) {
    char Text[40];
    std::snprintf(Text, sizeof Text, "%.5g", Value);
    Add(Name, std::string(Value != Value ? "nan" : Text));
  }

  const std::string& Header() const { return Names; }
  const std::string& Line() const { return Values; }

 private:
  std::string Names, Values;
};

}  // namespace bench

#endif  // RIGSYNC_BENCH_COLUMNS_H
