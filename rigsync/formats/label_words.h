// SPDX-License-Identifier: Apache-2.0
//
// The words for the labels of a tracked body's axes in files. Programs rely on them, so they stay
// the same from version to version.
#ifndef RIGSYNC_FORMATS_LABEL_WORDS_H
#define RIGSYNC_FORMATS_LABEL_WORDS_H

#include "rigsync/capture/body_labels.h"

#include <optional>
#include <string>

namespace rigsync {

// "right_forward_up"; nullptr for labels that are unknown, which are null in a file.
const char* Labels_Name(Body_Labels Labels);
std::optional<Body_Labels> Labels_Named(const std::string& Name);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_LABEL_WORDS_H
