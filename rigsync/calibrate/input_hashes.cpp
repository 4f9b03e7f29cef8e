// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/input_hashes.h"

#include "rigsync/capture/parallel_rows.h"
#include "rigsync/system/file_hash.h"

namespace rigsync {

// Two threads: more of them wait for the disk.
Input_Hashes Hash_Inputs(const Calibration_Inputs& Inputs,
                         const std::vector<Capture_Image>& Images) {
  Input_Hashes Hashes;
  Hashes.Csv = File_Sha256(Inputs.Csv);
  Hashes.Images.resize(Images.size());
  const auto Hash_Image = [&](std::size_t i, std::size_t /*Thread*/) {
    Hashes.Images[i] = File_Sha256(Inputs.Image_Root / Images[i].Name);
  };
  Work_On_Rows(Images.size(), /*Threads=*/2, Hash_Image, {});
  return Hashes;
}

}  // namespace rigsync
