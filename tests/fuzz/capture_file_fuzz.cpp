// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the CSV file that 'rigsync inspect' looks at. It promises to read the file as the
// library does, so both read it: they have to see the same images with the same samples, and what
// is told about lines has to be about lines that exist.
#include "core/capture/read_raw_data.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/tracker_sample.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

// A row of the library: field 0, then position and quaternion of either tracker.
std::vector<double> Samples_Of(const rigsync::Capture_Row& Row) {
  std::vector<double> Values;
  for (const rigsync::Tracker_Sample& Sample : {Row.Camera, Row.Board}) {
    Values.insert(Values.end(), Sample.Position.begin(), Sample.Position.end());
    Values.insert(Values.end(), Sample.Quaternion.begin(), Sample.Quaternion.end());
  }
  return Values;
}

// A byte-order mark is told, and not taken for a part of field 0 as the library takes it. Where
// field 0 is all that its line has, and so is repeated, the two differ.
bool Is_Marked_Field(const std::string& Text, std::size_t Line) {
  const bool Is_Marked = Text.compare(0, 3, "\xef\xbb\xbf") == 0;
  return Line == 1 && Is_Marked && Text.substr(0, Text.find('\n')).find(',') == std::string::npos;
}

void Check_Rows(const rigsync::Capture_File& Read, const std::string& Text,
                const std::filesystem::path& File) {
  std::vector<std::string> Names;
  std::vector<std::vector<double>> Rows;
  Promise(Read_Raw_Data("", File.string(), Names, Rows) == 0, "the library reads the file");
  Promise(Read.Rows.size() == Rows.size(), "the library takes as many lines for images");
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const rigsync::Capture_Row& Row = Read.Rows[i];
    Promise(i == 0 || Row.Line > Read.Rows[i - 1].Line, "rows come in the order of their lines");
    if (!Row.Is_Image || Is_Marked_Field(Text, Row.Line)) continue;
    Promise(Row.Image == Names[i], "an image has the name that the library reads");
    const std::vector<double> Samples(Rows[i].begin() + 1, Rows[i].end());
    Promise(Same(Samples_Of(Row), Samples), "an image has the samples that the library reads");
    for (const double Value : Samples) {
      Promise(!Row.Is_Sound || std::isfinite(Value), "a sound row is finite");
    }
  }
}

void Check_Findings(const rigsync::Findings& Told, std::size_t Line_Count) {
  for (const rigsync::Finding& Finding : Told.Sorted()) {
    Promise(!Finding.Id.empty() && !Finding.What.empty(), "a finding says what is so");
    Promise(Finding.Lines.empty() || Finding.Lines.back() <= Line_Count, "its lines exist");
    Promise(std::is_sorted(Finding.Lines.begin(), Finding.Lines.end()), "its lines ascend");
    const bool Has_Control = std::any_of(Finding.Example.begin(), Finding.Example.end(),
                                         [](unsigned char c) { return c < 0x20 || c == 0x7f; });
    Promise(!Has_Control, "what it quotes can't steer a terminal");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  const No_Output Silence;
  Bytes Input(Data, Size);
  const std::string Text = Input.Take_Rest();
  const std::filesystem::path File = Folder.Write("capture.csv", Text);
  rigsync::Findings Told;
  const rigsync::Capture_File Read = rigsync::Read_Capture_File(File, Told);
  Check_Findings(Told, Read.Line_Count);
  const std::string Head = Text.substr(0, 2);
  // UTF-16 is told, and no line of it is read.
  if (Head != "\xff\xfe" && Head != "\xfe\xff") Check_Rows(Read, Text, File);
  return 0;
}
