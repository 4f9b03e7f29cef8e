// SPDX-License-Identifier: Apache-2.0
//
// A file's SHA-256, by which a result tells later whether it was made from the same file; and that
// of a text, from which a name follows that is the same for the same text.
#ifndef RIGSYNC_SYSTEM_FILE_HASH_H
#define RIGSYNC_SYSTEM_FILE_HASH_H

#include <filesystem>
#include <string>
#include <string_view>

namespace rigsync {

// 64 lower-case hexadecimal digits. Empty for what is no regular file, a pipe for example, and for
// a file that can't be read. May be called from several threads at once.
std::string File_Sha256(const std::filesystem::path& File);

// The same of the bytes of a text.
std::string Text_Sha256(std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_FILE_HASH_H
