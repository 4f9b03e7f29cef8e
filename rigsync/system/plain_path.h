// SPDX-License-Identifier: Apache-2.0
//
// Paths as a person or a file is told them. What is opened, and what the library is given, stays as
// it was typed.
#ifndef RIGSYNC_SYSTEM_PLAIN_PATH_H
#define RIGSYNC_SYSTEM_PLAIN_PATH_H

#include <filesystem>

namespace rigsync {

// Path without "." and "..", or as it is where that would lead elsewhere: behind a symbolic link,
// ".." is not the folder that the link stands in. That is asked of the file system, so a folder
// that isn't there keeps its dots. Links stay what they are called, and a relative path relative.
std::filesystem::path Plain_Path(const std::filesystem::path& Path);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_PLAIN_PATH_H
