// SPDX-License-Identifier: Apache-2.0
//
// The camera's frame as a drawing, into which pixels of the image are put.
#ifndef RIGSYNC_HTML_REPORT_FRAME_DRAWING_H
#define RIGSYNC_HTML_REPORT_FRAME_DRAWING_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/lens.h"
#include "rigsync/html_report/element.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

struct Frame_Drawing {
  Element Svg;
  double Left = 0, Top = 0;
  double Scale = 1;  // units of the drawing for a pixel
  int Width = 0, Height = 0;

  double X_At(double Pixel) const { return Left + Scale * Pixel; }
  double Y_At(double Pixel) const { return Top + Scale * Pixel; }
};

// With the frame's border. Width and Height are those of the image, above 0; the drawing has
// Legend_Height units of space above the frame.
Frame_Drawing Add_Frame_Drawing(Element Figure, int Width, int Height, std::string_view Title,
                                std::string_view Description, double Legend_Height = 0);

// A line with a head, in units of the drawing. One that is too short for a head is a dot.
Element Add_Arrow(Element Svg, double X1, double Y1, double X2, double Y2, std::string_view Class);

// A cross that marks what was left out, an upright cross, and a square; Radius is half of their
// width.
Element Add_Cross(Element Svg, double X, double Y, double Radius, std::string_view Class);
Element Add_Plus(Element Svg, double X, double Y, double Radius, std::string_view Class);
Element Add_Square(Element Svg, double X, double Y, double Radius, std::string_view Class);

enum class Mark_Shape { Circle, Cross, Plus, Square, Line, Arrow };

struct Legend_Entry {
  Mark_Shape Shape;
  std::string Class, Text;
};

// In one line that begins at X and whose middle is at Y. Texts are short.
void Add_Legend(Element Svg, double X, double Y, const std::vector<Legend_Entry>& Entries);

// A board as the camera sees it in this pose: its outline with one more square on each side, its
// squares, a heavier line on the side that is nearest, and a dot at its first corner. Into is a
// drawing of the frame that Lens_Px is of. Nothing where a part of it is not in front of the
// camera.
void Draw_Board_In_Frame(const Frame_Drawing& Into, const Eigen::Isometry3d& Transform_Cam_Chart,
                         const Board_Size& Board, double Square_Size, const Lens& Lens_Px);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_FRAME_DRAWING_H
