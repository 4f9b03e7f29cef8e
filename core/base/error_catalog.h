// SPDX-License-Identifier: Apache-2.0
//
// Every result code of the library with its text, and the version text. Both are built when the
// library is loaded and never change; they are the library's only global objects.
#ifndef RIGSYNC_CORE_BASE_ERROR_CATALOG_H
#define RIGSYNC_CORE_BASE_ERROR_CATALOG_H

#include <map>
#include <string>

// 19 codes in ascending order. Codes 16 and 100 are never returned and code 0 is never looked up.
// They stay for hosts that list the whole catalog.
extern const std::map<int, std::string> Error_Table;

// The version that every exported function logs in its first line.
extern const std::string Program_Version;

// The catalog's text for this code, or an empty text for a code that has no entry.
std::string Error_Text(const int& Code);

#endif  // RIGSYNC_CORE_BASE_ERROR_CATALOG_H
