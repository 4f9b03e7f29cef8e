// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/quiet_output.h"

#include "rigsync/system/platform.h"

#include <cstdio>
#include <iostream>

// gcc has a macro for the address sanitizer, clang a feature test.
#if defined(__SANITIZE_ADDRESS__)
#define RIGSYNC_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIGSYNC_ADDRESS_SANITIZER
#endif
#endif

namespace rigsync {
namespace {

void Flush_All() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

// Redirects Descriptor to Nowhere and returns a copy of what it was, or -1 when it stays as it is.
int Silence(int Descriptor, int Nowhere) {
  const int Kept = Copy_Of(Descriptor);
  if (Kept >= 0) Redirect(Descriptor, Nowhere);
  return Kept;
}

void Restore(int Descriptor, int Kept) {
  if (Kept < 0) return;
  Redirect(Descriptor, Kept);
  Close(Kept);
}

}  // namespace

Quiet_Output::Quiet_Output(bool Quiet) {
  if (!Quiet) return;
  const int Nowhere = Open_Nowhere();
  if (Nowhere < 0) return;
  Flush_All();
  Kept_Output = Silence(Standard_Output, Nowhere);
  if (Quiets_Standard_Error()) Kept_Error = Silence(Standard_Error, Nowhere);
  // With a standard descriptor closed, open may have returned that very number.
  if (Nowhere > Standard_Error) Close(Nowhere);
}

Quiet_Output::~Quiet_Output() {
  Flush_All();
  Restore(Standard_Output, Kept_Output);
  Restore(Standard_Error, Kept_Error);
}

bool Quiets_Standard_Error() {
#if defined(RIGSYNC_ADDRESS_SANITIZER)
  return false;
#else
  return true;
#endif
}

}  // namespace rigsync
