// SPDX-License-Identifier: Apache-2.0
//
// A drawing of things in space, seen along an axis of the camera and to scale in both directions.
#ifndef RIGSYNC_HTML_REPORT_SCALE_DRAWING_H
#define RIGSYNC_HTML_REPORT_SCALE_DRAWING_H

#include "rigsync/html_report/element.h"

#include <Eigen/Core>

#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

// Which directions of Cam run to the right and up in the drawing, and their names in words.
struct Viewpoint {
  std::string Name;  // "From above"
  Eigen::Vector3d Right_Cam = Eigen::Vector3d::UnitX(), Up_Cam = -Eigen::Vector3d::UnitY();
  std::string Right_Word, Up_Word;
};

Viewpoint From_The_Side();  // of the camera's right
Viewpoint From_Above();
Viewpoint From_Behind();

class Scale_Drawing {
 public:
  // Holds Points_Cam, metres, with room around them. Grid and scale bar have a round length. The
  // description is for a screen reader.
  Scale_Drawing(Element Parent, const Viewpoint& From,
                const std::vector<Eigen::Vector3d>& Points_Cam, std::string_view Description);

  Element Svg() const { return Drawn; }
  // In the drawing's units.
  Eigen::Vector2d At(const Eigen::Vector3d& Point_Cam) const;

  Element Add_Polygon(Element Parent, const std::vector<Eigen::Vector3d>& Corners_Cam,
                      std::string_view Class) const;
  Element Add_Segment(const Eigen::Vector3d& From_Cam, const Eigen::Vector3d& To_Cam,
                      std::string_view Class) const;
  // With a head at its end; nothing where it would be shorter than the head.
  void Add_Arrow(const Eigen::Vector3d& From_Cam, const Eigen::Vector3d& To_Cam,
                 std::string_view Class) const;
  // How far two points are apart in both directions: dimension lines at the upper and the right
  // edge, where nothing else is. One that would be too short for its number is left out.
  void Add_Dimensions(const Eigen::Vector3d& From_Cam, const Eigen::Vector3d& To_Cam) const;

 private:
  void Draw_Grid();
  void Draw_Words();
  void Add_Dimension_Line(const Eigen::Vector2d& Begin, const Eigen::Vector2d& End,
                          const Eigen::Vector2d& From, const Eigen::Vector2d& To) const;

  Viewpoint Seen_From;
  Element Drawn;
  double Scale = 1.0;  // units per metre
  Eigen::Vector2d Centre = Eigen::Vector2d::Zero();
};

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_SCALE_DRAWING_H
