// SPDX-License-Identifier: Apache-2.0
//
// The raw data CSV: one line per image with its path and two tracker samples. Reads the numbers
// and doesn't interpret them; docs/conventions.md tells what the fields mean.
#ifndef RIGSYNC_CORE_CAPTURE_READ_RAW_DATA_H
#define RIGSYNC_CORE_CAPTURE_READ_RAW_DATA_H

#include <string>
#include <vector>

// Field 1 of every data line to Image_name, the other fifteen fields as numbers to a row of
// Raw_Data_all, in file order.
//
// A line whose first byte is a capital T is a header, wherever it stands. Every other line is a
// data line, the empty one too. Fields are cut at commas; numbers go through atof, so text counts
// as 0. A field beyond the end of its line repeats the last one that was there, and fields beyond
// the sixteenth are ignored: neither is an error.
//
// Reads      Csv_Path as it stands.
// Fills      both lists, appended; the caller passes them empty.
// Returns    0; 1 when the file can't be opened, lists untouched; 15 as Check_Row_Size, with the
//            lines before it in both lists and the bad line's name in Image_name.
// Logs       nothing on success; for code 1 its one line.
int Read_Raw_Data(std::string Log_Path, std::string Csv_Path, std::vector<std::string>& Image_name,
                  std::vector<std::vector<double>>& Raw_Data_all);

// Returns 0, or 15 when the row hasn't exactly 15 numbers. Read_Raw_Data always cuts 16 fields, so
// no file leads to 15; the check guards the reader against later changes.
// Logs       for code 15 its three lines.
int Check_Row_Size(const std::string& Log_Path, const std::vector<double>& Row);

#endif  // RIGSYNC_CORE_CAPTURE_READ_RAW_DATA_H
