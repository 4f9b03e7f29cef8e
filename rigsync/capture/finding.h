// SPDX-License-Identifier: Apache-2.0
//
// What an inspection has to tell: one finding for each kind of trouble, with all the lines of the
// CSV file that it concerns.
#ifndef RIGSYNC_CAPTURE_FINDING_H
#define RIGSYNC_CAPTURE_FINDING_H

#include <cstddef>
#include <string>
#include <vector>

namespace rigsync {

enum class Level {
  Note,     // good to know; the result doesn't suffer
  Warning,  // costs images or precision, or may be a mistake
  Error     // with this, no calibration or none to be trusted
};

struct Finding {
  std::string Id;  // the same for every capture, for programs that read the report
  Level Severity = Level::Note;
  std::string What;                // what is so and what comes of it, for all lines
  std::string Example;             // what the first of the lines holds; may be empty
  std::string Advice;              // what to do
  std::vector<std::size_t> Lines;  // counted from 1, ascending; none: the capture as a whole
};

// Findings in the order in which they came. One that has the id of an earlier one lends it its
// lines; texts and severity stay the earlier one's.
class Findings {
 public:
  void Add(Finding New);

  // By first line; those about the whole capture come last.
  std::vector<Finding> Sorted() const;

  // The gravest of all; Note when there is none.
  Level Gravest() const;

  std::size_t Count(Level Severity) const;

 private:
  std::vector<Finding> All;
};

// "line 4", "lines 4-18, 22"; of more than Most_Runs runs of lines only the first, and how many
// lines follow. Empty for no lines.
std::string Lines_Text(const std::vector<std::size_t>& Lines);

// Text from a file as it is quoted in a sentence: in one line, without control characters, cut off
// where it gets long.
std::string Quoted(const std::string& Text);

// "note", "warning", "error"
const char* Level_Name(Level Severity);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_FINDING_H
