// SPDX-License-Identifier: Apache-2.0
//
// What the scripts that engines run have in common: the numbers of the camera, once, as one literal
// that Python and a reader of JSON understand alike.
#ifndef RIGSYNC_EXPORTS_SCRIPT_TEXT_H
#define RIGSYNC_EXPORTS_SCRIPT_TEXT_H

#include "rigsync/engine/tracker_axes.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace rigsync {

// The lines before and after the literal. What is between them is one JSON object.
extern const char* const Numbers_Begin;
extern const char* const Numbers_End;

// The assignment of the literal to NUMBERS, with both lines. Numbers is an object of strings and
// finite numbers: null, true and false have other names in Python. A list of numbers or strings is
// on one line.
std::string Numbers_Assignment(const nlohmann::ordered_json& Numbers);

// ["z", "-x", "y"]
nlohmann::ordered_json Axes_Words(const Tracker_Axes& Axes);

// Text as a comment of Python or YAML, folded, every line with its "# ".
std::string Comment(const std::string& Text);

// Doubts as such a comment with an empty line below it; nothing without doubts.
std::string Doubts_Comment(const std::string& Doubts);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_SCRIPT_TEXT_H
