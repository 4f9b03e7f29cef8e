// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/usage_error.h"

namespace rigsync {

void Refuse(const std::string& Flag, const std::string& Value, const std::string& Expected) {
  throw Usage_Error(Flag + ": '" + Value + "' is wrong; expected " + Expected);
}

}  // namespace rigsync
