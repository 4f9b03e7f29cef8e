// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/footage.h"

namespace rigsync {

const char* Time_Source_Text(Time_Source Source) {
  switch (Source) {
    case Time_Source::List:
      return "a list of times";
    case Time_Source::Exif:
      return "EXIF";
    case Time_Source::File_Time:
      return "file times";
  }
  return "";
}

}  // namespace rigsync
