// SPDX-License-Identifier: Apache-2.0
//
// What speaks against a result, in the file that is made from it: who opens the file has not seen
// what the command said.
#ifndef RIGSYNC_EXPORTS_DOUBTS_H
#define RIGSYNC_EXPORTS_DOUBTS_H

#include <string>

namespace rigsync {

// The text of a File_Target with Doubts, sentences as the command prints them: as a comment at the
// top of a script or of YAML, in "tracker.notes" of an OpenTrackIO sample. Corners are those of the
// images, whatever the result is, and stay as they are. So does any text without doubts.
std::string With_Doubts(const std::string& Target, const std::string& Text,
                        const std::string& Doubts);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_DOUBTS_H
