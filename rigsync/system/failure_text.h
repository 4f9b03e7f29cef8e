// SPDX-License-Identifier: Apache-2.0
//
// What the system refused, for the user: its reason and the way out.
#ifndef RIGSYNC_SYSTEM_FAILURE_TEXT_H
#define RIGSYNC_SYSTEM_FAILURE_TEXT_H

#include <exception>
#include <string>
#include <system_error>

namespace rigsync {

// "No space left on device; make room there, or choose another disk". An error that has no known
// way out is its reason alone.
std::string Failure_Text(const std::error_code& Error);

// What() of an exception that nobody expected, on one line. Where the machine lacks memory, threads
// or the working directory, it says so and what to do.
std::string Failure_Text(const std::exception& Thrown);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_FAILURE_TEXT_H
