// SPDX-License-Identifier: Apache-2.0
#include "python/quiet_lines.h"

#include <iostream>
#include <streambuf>

namespace rigsync {
namespace {

bool& Is_Quiet() {
  thread_local bool Thread_Is_Quiet = false;
  return Thread_Is_Quiet;
}

// Hands everything on at once, so it holds nothing that threads could mix up.
class Thread_Filter : public std::streambuf {
 public:
  explicit Thread_Filter(std::streambuf& Destination) : To(Destination) {}

 protected:
  int_type overflow(int_type Letter) override {
    if (Is_Quiet() || traits_type::eq_int_type(Letter, traits_type::eof())) {
      return traits_type::not_eof(Letter);
    }
    return To.sputc(traits_type::to_char_type(Letter));
  }
  std::streamsize xsputn(const char* Text, std::streamsize Size) override {
    return Is_Quiet() ? Size : To.sputn(Text, Size);
  }
  int sync() override { return Is_Quiet() ? 0 : To.pubsync(); }

 private:
  std::streambuf& To;
};

// Never removed and never destroyed: std::cout is flushed after everything else is gone.
void Filter_Standard_Output() {
  static const bool Is_Filtered = [] {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): belongs to std::cout from here on
    std::cout.rdbuf(new Thread_Filter(*std::cout.rdbuf()));
    return true;
  }();
  static_cast<void>(Is_Filtered);
}

}  // namespace

Quiet_Lines::Quiet_Lines(bool Quiet) : Was_Quiet(Is_Quiet()) {
  Filter_Standard_Output();
  Is_Quiet() = Was_Quiet || Quiet;
}

Quiet_Lines::~Quiet_Lines() {
  Is_Quiet() = Was_Quiet;
}

}  // namespace rigsync
