// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/label_words.h"

namespace rigsync {

const char* Labels_Name(Body_Labels Labels) {
  switch (Labels) {
    case Body_Labels::Right_Forward_Up:
      return "right_forward_up";
    case Body_Labels::Unknown:
      break;
  }
  return nullptr;
}

std::optional<Body_Labels> Labels_Named(const std::string& Name) {
  if (Name != Labels_Name(Body_Labels::Right_Forward_Up)) return std::nullopt;
  return Body_Labels::Right_Forward_Up;
}

}  // namespace rigsync
