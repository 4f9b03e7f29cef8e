// SPDX-License-Identifier: Apache-2.0
//
// rigsync._core: the calls as Python sees them. Each converts its arguments, gives up Python's lock
// while it works, and returns plain values, which the package's Python sources give their names.
#include "python/capture_calls.h"
#include "python/file_calls.h"
#include "python/library_calls.h"
#include "rigsync/calibrate/codes.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/version.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <utility>

namespace py = pybind11;

namespace {

using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;

rigsync::Numbers Numbers_Of(const Array& Given) {
  return {Given.data(), Given.data() + Given.size()};
}

// The code, then an array for each vector.
py::tuple Outputs(const rigsync::Call_Outputs& Filled) {
  py::tuple Values(Filled.Vectors.size() + 1);
  Values[0] = Filled.Code;
  for (std::size_t i = 0; i < Filled.Vectors.size(); ++i) {
    const rigsync::Numbers& Vector = Filled.Vectors[i];
    Values[i + 1] = Array(static_cast<py::ssize_t>(Vector.size()), Vector.data());
  }
  return Values;
}

template <typename Call>
auto Without_Lock(const Call& Work) {
  const py::gil_scoped_release Released;
  return Work();
}

py::tuple Calibrate(std::string Csv_Path, std::optional<std::array<double, 2>> Sensor_Size_Mm,
                    int Board_Cols, int Board_Rows, double Square_Size,
                    const Array& Chart_Euler_Deg, const Array& Chart_Translation,
                    std::string Output_Dir, bool Is_Verbose) {
  const rigsync::Calibration_Arguments Arguments{std::move(Csv_Path),
                                                 Sensor_Size_Mm,
                                                 Board_Cols,
                                                 Board_Rows,
                                                 Square_Size,
                                                 Numbers_Of(Chart_Euler_Deg),
                                                 Numbers_Of(Chart_Translation),
                                                 std::move(Output_Dir)};
  return Outputs(Without_Lock([&] { return rigsync::Call_Calibration(Arguments, Is_Verbose); }));
}

py::tuple Export(const std::string& Engine, const Array& Transform_Cam_Tc,
                 const std::string& Output_Dir, bool Is_Verbose) {
  const rigsync::Numbers Transform = Numbers_Of(Transform_Cam_Tc);
  return Outputs(Without_Lock(
      [&] { return rigsync::Call_Export(Engine, Transform, Output_Dir, Is_Verbose); }));
}

py::tuple Export_Aximmetry(const Array& Norm_Fxy, const Array& Norm_Cxy,
                           const Array& Transform_Cam_Tc, const std::string& Output_Dir,
                           bool Is_Verbose) {
  const rigsync::Numbers Fxy = Numbers_Of(Norm_Fxy), Cxy = Numbers_Of(Norm_Cxy);
  const rigsync::Numbers Transform = Numbers_Of(Transform_Cam_Tc);
  return Outputs(Without_Lock(
      [&] { return rigsync::Call_Aximmetry(Fxy, Cxy, Transform, Output_Dir, Is_Verbose); }));
}

using Place = std::optional<std::array<double, 3>>;

rigsync::Capture_Request Request_Of(std::string Csv, std::string Image_Root,
                                    std::array<int, 2> Board, double Square_M,
                                    Place Board_Euler_Deg, Place Board_Offset_M,
                                    std::array<double, 2> Board_Accuracy,
                                    std::array<double, 2> Limits, std::optional<int> First_Marker,
                                    double Talent_Distance_M) {
  return {std::move(Csv), std::move(Image_Root), Board,  Square_M,     Board_Euler_Deg,
          Board_Offset_M, Board_Accuracy,        Limits, First_Marker, Talent_Distance_M};
}

py::tuple Solve(const rigsync::Capture_Request& Request) {
  const rigsync::Solve_Documents Documents =
      Without_Lock([&] { return rigsync::Solve_Json(Request); });
  return py::make_tuple(Documents.Inspection, Documents.Joint, Documents.Are_Samples_Readable);
}

py::tuple Export_File(std::string Result_File, std::string Solution, std::string Target,
                      std::string Doubts, std::optional<std::string> Tracker_Axes,
                      std::optional<std::array<double, 2>> Sensor_Mm, std::optional<double> Focus,
                      std::optional<double> Zoom, std::optional<std::string> Capture,
                      std::optional<std::string> Image_Root) {
  const rigsync::File_Arguments Arguments{std::move(Result_File),
                                          std::move(Solution),
                                          std::move(Target),
                                          std::move(Doubts),
                                          std::move(Tracker_Axes),
                                          Sensor_Mm,
                                          Focus,
                                          Zoom,
                                          std::move(Capture),
                                          std::move(Image_Root)};
  const rigsync::Made_File Made = Without_Lock([&] { return rigsync::Make_File(Arguments); });
  return py::make_tuple(Made.Text, Made.Warnings);
}

// Code, meaning, what it says about the capture, causes, next step.
py::list Codes() {
  py::list Listed;
  for (const rigsync::Code_Advice& Each : rigsync::All_Codes()) {
    Listed.append(py::make_tuple(Each.Code, Each.Meaning, Each.On_Stage, py::cast(Each.Causes),
                                 Each.Next_Step));
  }
  return Listed;
}

}  // namespace

PYBIND11_MODULE(_core, Module) {
  // The host's other threads write to the same descriptors.
  rigsync::Leave_Output_Alone();
  py::register_exception<rigsync::Usage_Error>(Module, "UsageError", PyExc_ValueError);
  Module.attr("version") = rigsync::Command_Version;
  py::class_<rigsync::Capture_Request>(Module, "CaptureRequest").def(py::init(&Request_Of));
  Module.def("calibrate", &Calibrate);
  Module.def("export", &Export);
  Module.def("export_aximmetry", &Export_Aximmetry);
  Module.def("export_file", &Export_File);
  Module.def("inspect", [](const rigsync::Capture_Request& Request) {
    return Without_Lock([&] { return rigsync::Inspect_Json(Request); });
  });
  Module.def("solve", &Solve);
  Module.def("check_result", [](const std::string& Path) {
    Without_Lock([&] { return rigsync::Check_Result(Path); });
  });
  Module.def("codes", &Codes);
}
