// SPDX-License-Identifier: Apache-2.0
//
// Numbers of a solved camera that several files need: its sensor, stated or nominal, and what its
// distortion does to the picture.
#ifndef RIGSYNC_EXPORTS_CAMERA_NUMBERS_H
#define RIGSYNC_EXPORTS_CAMERA_NUMBERS_H

#include "rigsync/engine/solved_camera.h"

#include <array>
#include <optional>
#include <string>

namespace rigsync {

// Where nobody has stated a sensor: 36 mm wide with square pixels. A focal length in millimetres
// then is that of a full-frame camera; the picture is the same.
std::array<double, 2> Sensor_Or_Nominal(const std::optional<std::array<double, 2>>& Sensor_Mm,
                                        int Width, int Height);

// What a file with the nominal sensor says about it.
std::string Nominal_Sensor_Text();

// By how many pixels k1 and k2 move the picture, where in the frame it is most. That need not be a
// corner: coefficients of opposite signs may make up for each other there.
double Largest_Distortion_Px(const Solved_Camera& Camera);

// Pixel coordinates, whose origin is the centre of the top left pixel, measured from the frame's
// top left corner instead: half a pixel more.
constexpr double From_Corner(double Pixel) {
  return Pixel + 0.5;
}

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_CAMERA_NUMBERS_H
