// SPDX-License-Identifier: Apache-2.0
//
// Paths as they are printed or written to a file. Paths that are opened or passed to the library
// stay as the user typed them.
#ifndef RIGSYNC_SYSTEM_PLAIN_PATH_H
#define RIGSYNC_SYSTEM_PLAIN_PATH_H

#include <filesystem>

namespace rigsync {

// Path without "." and "..", or unchanged if the result would be another folder: after a symbolic
// link, ".." is not the folder that contains the link. The file system decides, so a folder that
// does not exist keeps its dots. Links are not resolved, and a relative path stays relative.
std::filesystem::path Plain_Path(const std::filesystem::path& Path);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_PLAIN_PATH_H
