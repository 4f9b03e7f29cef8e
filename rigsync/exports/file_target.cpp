// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/file_target.h"

namespace rigsync {

const std::vector<File_Target>& File_Targets() {
  static const std::vector<File_Target> All = {};
  return All;
}

}  // namespace rigsync
