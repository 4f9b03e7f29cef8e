// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a capture's CSV file. 'rigsync inspect' and 'rigsync calibrate' promise to read it
// as the library does: the same images in the same order, with the same names and samples. Findings
// have to name lines that exist.
#include "core/capture/read_raw_data.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/tracker_sample.h"
#include "rigsync/inspect/capture_file_findings.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

// Position and quaternion of both trackers, in the order of the fields.
std::vector<double> Samples(const rigsync::Capture_Row& Row) {
  std::vector<double> Values;
  for (const rigsync::Tracker_Sample& Sample : {Row.Camera, Row.Board}) {
    Values.insert(Values.end(), Sample.Position.begin(), Sample.Position.end());
    Values.insert(Values.end(), Sample.Quaternion.begin(), Sample.Quaternion.end());
  }
  return Values;
}

void Check_Rows(const rigsync::Capture_File& Read, const std::filesystem::path& File) {
  std::vector<std::string> Names;
  std::vector<std::vector<double>> Rows;
  Promise(Read_Raw_Data("", File.string(), Names, Rows) == 0, "the library reads the file");
  const std::vector<rigsync::Capture_Image> Images = rigsync::Read_Image_Names(File);
  Promise(Read.Rows.size() == Rows.size(), "the library takes as many lines for images");
  Promise(Images.size() == Names.size(), "a calibration counts as many images");
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const rigsync::Capture_Row& Row = Read.Rows[i];
    Promise(i == 0 || Row.Line > Read.Rows[i - 1].Line, "rows come in the order of their lines");
    Promise(Row.Image == Names[i], "an image has the name that the library reads");
    Promise(Images[i].Name == Names[i], "a calibration names the image as the library does");
    Promise(Images[i].Line == Row.Line, "a calibration and an inspection name the same line");
    const std::vector<double> Library_Samples(Rows[i].begin() + 1, Rows[i].end());
    Promise(Same(Samples(Row), Library_Samples), "an image has the samples that the library reads");
    for (const double Value : Library_Samples) {
      Promise(!Row.Is_Sound || std::isfinite(Value), "a sound row is finite");
    }
  }
}

void Check_Lines(const rigsync::Capture_File& Read) {
  Promise(Read.Lines.size() == Read.Line_Count, "every line has its facts");
  Promise(Read.Rows.size() + Read.Header_Count == Read.Line_Count, "a line is a row or a header");
  for (const rigsync::Capture_Line& Line : Read.Lines) {
    for (const rigsync::Faulty_Field& Field : Line.Faulty_Fields) {
      const std::size_t End = std::min(Line.Field_Count, rigsync::Complete_Field_Count);
      Promise(Field.Index < End, "a faulty field exists");
    }
  }
}

void Check_Findings(const rigsync::Capture_File& Read) {
  rigsync::Findings List;
  rigsync::Judge_Capture_File(Read, List);
  for (const rigsync::Finding& Finding : List.Sorted()) {
    Promise(!Finding.Id.empty() && !Finding.What.empty(), "a finding has an id and a text");
    Promise(Finding.Lines.empty() || Finding.Lines.back() <= Read.Line_Count, "its lines exist");
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
  const std::filesystem::path File = Folder.Write("capture.csv", Input.Take_Rest());
  const rigsync::Capture_File Read = rigsync::Read_Capture_File(File);
  Check_Lines(Read);
  Check_Rows(Read, File);
  Check_Findings(Read);
  return 0;
}
