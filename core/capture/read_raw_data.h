// SPDX-License-Identifier: Apache-2.0
//
// Reads the raw data CSV: one line per image with its path and two tracker samples. The numbers are
// not interpreted here; docs/conventions.md describes the fields.
#ifndef RIGSYNC_CORE_CAPTURE_READ_RAW_DATA_H
#define RIGSYNC_CORE_CAPTURE_READ_RAW_DATA_H

#include <string>
#include <vector>

// Appends field 1 of every data line to Image_name and the other fifteen fields as a row of numbers
// to Raw_Data_all, in file order.
//
// A line whose first byte is a capital T is a header line, wherever it appears. Every other line is
// a data line, including an empty one. Fields are separated by commas; numbers are converted with
// atof, so text counts as 0. A field missing at the end of a line repeats the line's last field,
// and fields after the sixteenth are ignored: neither is an error.
//
// Reads      Csv_Path as given.
// Fills      both lists, appended; the caller passes them empty.
// Returns    0; 1 when the file cannot be opened, with the lists untouched; 15 from Check_Row_Size,
//            with the earlier lines in both lists and the bad line's path in Image_name.
// Logs       nothing on success; for code 1 its one line.
int Read_Raw_Data(std::string Log_Path, std::string Csv_Path, std::vector<std::string>& Image_name,
                  std::vector<std::vector<double>>& Raw_Data_all);

// Returns 0, or 15 when the row does not have exactly 15 numbers. Read_Raw_Data always splits a
// line into 16 fields, so no file causes code 15; the check guards against later changes of the
// reader.
// Logs       for code 15 its three lines.
int Check_Row_Size(const std::string& Log_Path, const std::vector<double>& Row);

#endif  // RIGSYNC_CORE_CAPTURE_READ_RAW_DATA_H
