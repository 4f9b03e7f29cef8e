// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/plain_path.h"

#include <system_error>

namespace rigsync {

namespace fs = std::filesystem;

fs::path Plain_Path(const fs::path& Path) {
  const fs::path Name = Path.filename();
  const bool Is_Folder = Name.empty() || Name == "." || Name == "..";
  // Only the folder of a file is compared, so the file does not have to exist.
  const fs::path Folder = Is_Folder ? Path : Path.parent_path();
  fs::path Plain = Folder.lexically_normal();
  // "a/b/.." becomes "a/".
  if (!Plain.has_filename() && Plain.has_relative_path()) Plain = Plain.parent_path();
  std::error_code Error;
  if (Folder.empty() || !fs::equivalent(Folder, Plain, Error) || Error) return Path;
  return Is_Folder ? Plain : Plain / Name;
}

}  // namespace rigsync
