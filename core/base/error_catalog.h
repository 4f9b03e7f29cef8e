// SPDX-License-Identifier: Apache-2.0
//
// Every result code of the library with its text, and the version text. Both are built when the
// library is loaded and constant from then on; they are the only process-wide objects.
#ifndef RIGSYNC_CORE_BASE_ERROR_CATALOG_H
#define RIGSYNC_CORE_BASE_ERROR_CATALOG_H

#include <map>
#include <string>

// 19 codes in ascending order. Codes 16 and 100 have no user and code 0 is never looked up; they
// stay, so that hosts that list the catalog keep their rows.
extern const std::map<int, std::string> Error_Table;

// What every exported function logs first.
extern const std::string Program_Version;

// The catalog's text for exactly this code, or the empty text for a code that has no entry.
std::string Error_Text(const int& Code);

#endif  // RIGSYNC_CORE_BASE_ERROR_CATALOG_H
