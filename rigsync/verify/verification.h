// SPDX-License-Identifier: Apache-2.0
//
// The proof of a result's exports: every target, its worst difference in pixels, and its bound.
#ifndef RIGSYNC_VERIFY_VERIFICATION_H
#define RIGSYNC_VERIFY_VERIFICATION_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/verify/pixel_proof.h"
#include "rigsync/verify/proof_points.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

struct Target_Proof {
  std::string Name, Title;  // of the target
  std::string Axes;         // of its tracker object, "z, -x, y"
  // Why it could not be exported, as a sentence; the rest is empty then.
  std::string Left_Out;
  Pixel_Proof Proof;
  std::vector<std::string> Notes;  // what the target's own lens can't have, in phrases
};

struct Verification {
  Proof_Samples Samples;
  Proof_Points Points;
  int Width = 0, Height = 0;  // of the image, pixels
  std::vector<Target_Proof> Targets;

  // Whether each target that was exported is within its bound.
  bool Holds() const;
};

struct Verification_Request {
  std::filesystem::path Result_File;  // as typed, for the files that name it
  const Calibration_Result& Result;   // one that can be exported
  Proof_Samples Samples;              // at least one
  std::string Axes;                   // the value of --tracker-axes; empty for each target's own
};

// Exports Result to every target, in memory, and proves each. Axes that no target can have throw a
// Usage_Error; a target that alone can't have them is left out.
Verification Verify_Exports(const Verification_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_VERIFICATION_H
