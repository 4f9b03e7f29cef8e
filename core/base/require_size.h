// SPDX-License-Identifier: Apache-2.0
//
// The size check of vectors that come from the host. It is called where a vector is first read and
// not earlier, so what a call logs and fills before that point does not depend on the size.
#ifndef RIGSYNC_CORE_BASE_REQUIRE_SIZE_H
#define RIGSYNC_CORE_BASE_REQUIRE_SIZE_H

#include <cstddef>
#include <stdexcept>
#include <string>

// Throws std::invalid_argument, naming the vector and both sizes, when Given is below Needed.
inline void Require_Size(const std::string& Name, std::size_t Needed, std::size_t Given) {
  if (Given < Needed) {
    throw std::invalid_argument(Name + " needs " + std::to_string(Needed) + " elements and has " +
                                std::to_string(Given));
  }
}

#endif  // RIGSYNC_CORE_BASE_REQUIRE_SIZE_H
