// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/usage_error.h"

namespace rigsync {

void Refuse(const std::string& Option_Name, const std::string& Value, const std::string& Expected) {
  throw Usage_Error(Option_Name, Option_Name + ": '" + Value + "' is wrong; expected " + Expected);
}

}  // namespace rigsync
