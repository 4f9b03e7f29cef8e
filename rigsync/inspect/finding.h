// SPDX-License-Identifier: Apache-2.0
//
// The findings of an inspection: one for each kind of problem, with all lines of the CSV file that
// it concerns.
#ifndef RIGSYNC_INSPECT_FINDING_H
#define RIGSYNC_INSPECT_FINDING_H

#include <cstddef>
#include <string>
#include <vector>

namespace rigsync {

enum class Level {
  Note,     // no effect on the result
  Warning,  // images or precision are lost, or something may be a mistake
  Error     // the capture can't be calibrated, or its result can't be trusted
};

struct Finding {
  std::string Id;  // for programs that read the report; stays the same from version to version
  Level Severity = Level::Note;
  std::string What;                // the problem and its effect, for all lines
  std::string Example;             // the content of the first line; may be empty
  std::string Advice;              // what to do
  std::vector<std::size_t> Lines;  // counted from 1, ascending; empty for the whole capture
};

// Findings in the order in which they were added. A finding with the id of an earlier one adds its
// lines to that one, which keeps its texts and severity.
class Findings {
 public:
  void Add(Finding New);

  // By first line. Findings about the whole capture come last.
  std::vector<Finding> Sorted() const;

  bool Has(const std::string& Id) const;

  // The highest severity; Note without findings.
  Level Gravest() const;

  std::size_t Count(Level Severity) const;

 private:
  std::vector<Finding> All;
};

// "line 4", "lines 4-18, 22". Of more than eight runs of lines, the first eight and the number of
// the remaining lines. Empty without lines.
std::string Lines_Text(const std::vector<std::size_t>& Lines);

// Text from a file, in quotation marks for use in a sentence: on one line, without control
// characters, and cut after 48.
std::string Quoted(const std::string& Text);

// "note", "warning", "error"
const char* Level_Name(Level Severity);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_FINDING_H
