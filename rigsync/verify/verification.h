// SPDX-License-Identifier: Apache-2.0
//
// The proof of a result's exports: every target, its worst difference in pixels, and its bound.
#ifndef RIGSYNC_VERIFY_VERIFICATION_H
#define RIGSYNC_VERIFY_VERIFICATION_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/exports/file_target.h"
#include "rigsync/verify/pixel_proof.h"
#include "rigsync/verify/proof_points.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

enum class Target_Outcome {
  Compared,      // Target_Proof::Proof says how it came out
  Not_Exported,  // it can't have the stated axes, or not this mount: code 3
  No_Camera,     // nothing of it is a camera
  Not_Proven,    // refused for another reason, or not read back
};

struct Target_Proof {
  std::string Name, Title;  // of the target
  std::string Axes;         // of its tracker object, "z, -x, y"
  Target_Outcome Outcome = Target_Outcome::Compared;
  std::string Reason;  // why it is not compared, as a sentence; Axes and Proof are empty then
  Pixel_Proof Proof;
  std::vector<std::string> Notes;  // what its lens can't have and what is not proven, in phrases

  // False for a difference beyond its bound, and for a target that is not proven.
  bool Holds() const;
};

struct Verification {
  Proof_Samples Samples;
  Proof_Points Points;
  int Width = 0, Height = 0;  // of the image, pixels
  std::vector<Target_Proof> Targets;

  // Whether each target holds.
  bool Holds() const;
};

struct Verification_Request {
  std::filesystem::path Result_File;  // as typed, for the files that name it
  const Calibration_Result& Result;   // one that can be exported
  Proof_Samples Samples;              // at least one
  std::string Axes;                   // the value of --tracker-axes; empty for each target's own
};

// Exports Result to every target, in memory, and proves each. A target that alone can't have the
// stated axes is left out. Throws Usage_Error for axes that no target can have, for a result
// without a whole camera, and for a lens that shows nothing anywhere in the image.
Verification Verify_Exports(const Verification_Request& Request,
                            const std::vector<File_Target>& Files = File_Targets());

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_VERIFICATION_H
