// SPDX-License-Identifier: Apache-2.0
//
// The finding that explains why a result must not be used, or is worth a look.
#ifndef RIGSYNC_INSPECT_CAUSE_H
#define RIGSYNC_INSPECT_CAUSE_H

#include "rigsync/inspect/finding.h"
#include "rigsync/inspect/inspection.h"

#include <optional>

namespace rigsync {

// The likeliest of the findings that can move or blur a mount: what spoils every row comes before
// what spoils some, and what is certain before what is suspected. None when no finding can.
std::optional<Finding> Likeliest_Cause(const Inspection& Inspected);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_CAUSE_H
