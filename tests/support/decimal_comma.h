// SPDX-License-Identifier: Apache-2.0
//
// For tests of files that are the same in every locale.
#ifndef RIGSYNC_TESTS_SUPPORT_DECIMAL_COMMA_H
#define RIGSYNC_TESTS_SUPPORT_DECIMAL_COMMA_H

#include <locale>
#include <string>

// As long as it lives, what streams write and read by default has decimal commas and groups of
// three digits. A machine needs no such locale installed for it.
class Decimal_Commas {
 public:
  Decimal_Commas()
      : Before(std::locale::global(std::locale(std::locale::classic(), new Punctuation))) {}
  ~Decimal_Commas() { std::locale::global(Before); }
  Decimal_Commas(const Decimal_Commas&) = delete;
  Decimal_Commas& operator=(const Decimal_Commas&) = delete;

 private:
  class Punctuation : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale Before;
};

#endif  // RIGSYNC_TESTS_SUPPORT_DECIMAL_COMMA_H
