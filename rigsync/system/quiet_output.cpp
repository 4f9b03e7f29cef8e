// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/quiet_output.h"

#include "rigsync/system/platform.h"

#include <atomic>
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

std::atomic<bool> May_Redirect = true;

void Flush_All() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

// Redirects Descriptor to Nowhere and returns a duplicate of the original, or -1 if it is not
// redirected.
int Silence(int Descriptor, int Nowhere) {
  const int Saved = Copy_Of(Descriptor);
  if (Saved >= 0) Redirect(Descriptor, Nowhere);
  return Saved;
}

void Restore(int Descriptor, int Saved) {
  if (Saved < 0) return;
  Redirect(Descriptor, Saved);
  Close(Saved);
}

}  // namespace

Quiet_Output::Quiet_Output(bool Quiet) {
  if (!Quiet || !May_Redirect) return;
  const int Nowhere = Open_Nowhere();
  if (Nowhere < 0) return;
  Flush_All();
  Saved_Output = Silence(Standard_Output, Nowhere);
  if (Quiets_Standard_Error()) Saved_Error = Silence(Standard_Error, Nowhere);
  // If a standard descriptor was closed, open may have returned its number.
  if (Nowhere > Standard_Error) Close(Nowhere);
}

Quiet_Output::~Quiet_Output() {
  if (Saved_Output < 0 && Saved_Error < 0) return;
  Flush_All();
  Restore(Standard_Output, Saved_Output);
  Restore(Standard_Error, Saved_Error);
}

void Leave_Output_Alone() {
  May_Redirect = false;
}

bool Quiets_Standard_Error() {
#if defined(RIGSYNC_ADDRESS_SANITIZER)
  return false;
#else
  return true;
#endif
}

}  // namespace rigsync
