#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws docs/conventions-*.svg and writes the tables of docs/conventions.md that tell of axes and
orders, from what the library does.

    draw_conventions.py LIBRARY_ANSWERS RIGSYNC DOCS            draws and writes
    draw_conventions.py --check LIBRARY_ANSWERS RIGSYNC DOCS    exit status 1 when DOCS has others
"""

import math
import os
import re
import sys
import tempfile

from convention_facts import (ESTIMATE_DEG, SENSE_DEG, SPACES, TRACKER_AXES, WORDS, Wrong,
                              camera_words, gather)
from drawing import AWAY, AXIS_COLOURS, INK, PANEL, PAPER, QUIET, Drawing, on_paper
from geometry import (IDENTITY, LETTERS, axis_name, column, from_quaternion, product, scaled,
                      times, transposed, turn)

TITLES = {"ue4": "Unreal Engine 4", "ue5": "Unreal Engine 5",
          "ue5-xn": "Unreal Engine 5, ExportxN", "aximmetry": "Aximmetry"}

# --- things ---------------------------------------------------------------------------------------

BODY, EDGE = ("#ececea", "#dcdcd9", "#cbcbc7"), "#8a8a86"


def place(origin, axes, point, scale):
    """A point given in a frame, on the paper."""
    right, down = on_paper(times(axes, point))
    return origin[0] + scale * right, origin[1] + scale * down


def box(drawing, origin, axes, low, high, scale):
    """The sides of a box that the onlooker sees."""
    for k in range(3):
        for bound, sign in ((low, -1), (high, 1)):
            normal = [0, 0, 0]
            normal[k] = sign
            if sum(a * b for a, b in zip(AWAY, times(axes, normal))) >= -1e-9:
                continue
            i, j = (k + 1) % 3, (k + 2) % 3
            corners = []
            for at_i, at_j in ((low, low), (high, low), (high, high), (low, high)):
                point = [0, 0, 0]
                point[k], point[i], point[j] = bound[k], at_i[i], at_j[j]
                corners.append(place(origin, axes, point, scale))
            drawing.polygon(corners, BODY[k], EDGE, 1)


def camera(drawing, origin, scale):
    """A camera whose optical centre is the origin of Cam."""
    box(drawing, origin, IDENTITY, [-0.3, -0.3, -0.45], [0.3, 0.3, 0.0], scale)
    box(drawing, origin, IDENTITY, [-0.5, -0.5, -1.55], [0.5, 0.5, -0.45], scale)


def tracker(drawing, origin, axes, scale):
    """A tracked body about its origin; axes are those of Tc or Tr, in Cam's."""
    box(drawing, origin, axes, [-0.5, -0.16, -0.5], [0.5, 0.16, 0.5], scale)


def squares(drawing, corner, across, down, board):
    """A board from its outer top left corner; across and down are a square's sides."""
    def at(column_, row):
        return (corner[0] + column_ * across[0] + row * down[0],
                corner[1] + column_ * across[1] + row * down[1])
    cols, rows = board.along_x + 1, board.along_y + 1
    drawing.polygon([at(-0.6, -0.6), at(cols + 0.6, -0.6), at(cols + 0.6, rows + 0.6),
                     at(-0.6, rows + 0.6)], PAPER, "#a0a0a0", 1)
    for row in range(rows):
        for column_ in range(cols):
            if (row + column_) % 2 == 0:
                drawing.polygon([at(column_, row), at(column_ + 1, row), at(column_ + 1, row + 1),
                                 at(column_, row + 1)], "#6e6e6e")
    return at


# --- the drawings ---------------------------------------------------------------------------------


def draw_rig(facts):
    page = Drawing(
        "conventions-rig", 800, 540, "The five frames and the chain",
        "A camera with the frame Cam at its lens and a tracker, Tc, on top. A board with the frame "
        "Chart at its first inner corner and a tracker, Tr, on its edge. The tracking system's "
        "frame Base between them. Arrows lead from Tc to Base, to Tr, to Chart and to Cam, and one "
        "from Tc to Cam directly.")
    cam, base, tc, tr = (205, 395), (378, 130), (165, 190), (640, 124)
    axes_tc = product(turn("y", 20), turn("x", -14), turn("z", 12))
    axes_chart = product(turn("y", 12), facts.camera.chart)
    axes_tr = product(axes_chart, turn("x", 8), turn("z", -10))
    # A usual Base: x to the right, y ahead, z up.
    axes_base = [[1, 0, 0], [0, 0, -1], [0, 1, 0]]

    # The board, and its tracker on a bracket.
    across, down = (scaled(on_paper(column(axes_chart, k)), 20) for k in range(2))
    at = squares(page, (548, 190), across, down, facts.board)
    page.line(at(7.5, -0.4), tr, EDGE, 5)
    chart = at(*facts.board.first_corner)
    # The camera, and its tracker on a post.
    page.line(tc, (cam[0] - 58, cam[1] - 22), EDGE, 5)
    camera(page, cam, 62)
    tracker(page, tc, axes_tc, 34)
    tracker(page, tr, axes_tr, 30)
    page.triad(cam, IDENTITY, "Cam", 62)
    page.triad(tc, axes_tc, "Tc", 52)
    page.triad(tr, axes_tr, "Tr", 46)
    page.triad(base, axes_base, "Base", 46)
    page.triad(chart, axes_chart, "Chart", 62, casing=True)

    page.curve((206, 142), (270, 82), (350, 108))
    page.curve((416, 92), (520, 30), (628, 88))
    page.curve((614, 128), (582, 140), (570, 190))
    page.curve((546, 226), (430, 330), (288, 396))
    page.curve((196, 232), (262, 300), (214, 376), width=3.2)
    page.text(190, 84, "Transform_Base_Tc", anchor="middle")
    page.text(526, 40, "Transform_Tr_Base", anchor="middle")
    page.text(572, 146, "Transform_Chart_Tr", anchor="end")
    page.text(386, 376, "Transform_Cam_Chart")
    page.text(252, 312, "Transform_Cam_Tc", bold=True)
    for x, y, name, what in ((72, 186, "Tc", "camera\u2019s tracker"), (60, 398, "Cam", "camera"),
                             (350, 178, "Base", "tracking system"), (728, 96, "Tr", "board\u2019s"),
                             (494, 206, "Chart", "board")):
        page.text(x, y, name, 15, "middle", bold=True)
        page.text(x, y + 18, what, 13, "middle", QUIET)
    page.text(728, 130, "tracker", 13, "middle", QUIET)
    page.text(400, 494, "Transform_Cam_Tc = Transform_Cam_Chart * Transform_Chart_Tr * "
              "Transform_Tr_Base * Transform_Base_Tc", 12.5, "middle")
    page.text(400, 520, "Each arrow leads from the frame whose coordinates go in to the frame "
              "whose coordinates come out.", 12.5, "middle", QUIET)
    return page


def draw_camera(facts):
    norms = facts.lens.norms
    page = Drawing(
        "conventions-camera", 800, 580, "The camera's axes, pixels and the normalised lens",
        f"Four pictures. The camera's x is right, y down, z along the view. In the image, pixel 0, "
        f"0 is at the top left, x runs right and y down; fx and cx are divided by the "
        f"{norms['fx']}, fy and cy by the {norms['fy']}. The field of view follows from the width "
        f"at the distance fx. Whole coordinates are the centres of pixels.")
    page.line((400, 24), (400, 566), "#dcdcdc", 1)
    page.line((24, 294), (776, 294), "#dcdcdc", 1)

    # The camera and what it sees.
    page.text(24, 34, "Axes of Cam", bold=True, size=15)
    cam, far = (112, 166), 235
    middle = place(cam, IDENTITY, [0, 0, 1], far)
    corners = [place(middle, IDENTITY, point, 1) for point in
               ([-68, -45, 0], [68, -45, 0], [68, 45, 0], [-68, 45, 0])]
    camera(page, cam, 52)
    page.polygon(corners, PANEL, EDGE, 1.2)
    page.line(place(cam, IDENTITY, [0, 0, 1], 96), middle, QUIET, 1.2, dash="5 4")
    page.circle(*middle, 3.4, fill=INK)
    page.triad(cam, IDENTITY, "Cam", 66)
    page.text(middle[0] - 6, middle[1] + 24, "cx, cy", 13, "middle")
    page.text(middle[0] - 60, 62, "image", 13, "end", QUIET)
    page.text(24, 276, f"{camera_axes_words()}: right-handed", 13, fill=QUIET)

    # The image.
    left, top, wide, high = 462, 78, 256, 128
    u, v = left + 144, top + 54
    page.text(424, 34, "The image", bold=True, size=15)
    page.rectangle(left, top, wide, high, PANEL, EDGE)
    page.plain_axis((left, top), (left + 52, top), "x", casing=True)
    page.plain_axis((left, top), (left, top + 52), "y", casing=True)
    page.circle(left, top, 3.6, fill=INK)
    page.text(left - 24, top - 10, "0, 0", 13)
    page.circle(u, v, 3.6, fill=INK)
    page.text(u + 8, v + 18, "cx, cy", 13)
    page.line((left, v), (u, v), QUIET, 1, "4 3")
    page.line((u, top), (u, v), QUIET, 1, "4 3")
    page.text(left + 96, v - 6, "cx", 13, "middle", QUIET)
    page.text(u + 7, top + 30, "cy", 13, fill=QUIET)
    dimension(page, (left, top + high + 12), (left + wide, top + high + 12))
    page.text(left + wide / 2, top + high + 29, "width", 13, "middle")
    dimension(page, (left + wide + 12, top), (left + wide + 12, top + high))
    page.text(left + wide + 17, top + high / 2 + 5, "height", 13)
    page.text(424, 258, f"Norm_Fxy = fx / {norms['fx']}, fy / {norms['fy']}", 13)
    page.text(424, 278, f"Norm_Cxy = cx / {norms['cx']}, cy / {norms['cy']}", 13)

    # The field of view.
    page.text(24, 324, "Seen from above", bold=True, size=15)
    eye, half, depth = (200, 510), 110, 128
    ends = [(eye[0] - half, eye[1] - depth), (eye[0] + half, eye[1] - depth)]
    page.polygon([eye, ends[0], ends[1]], PANEL)
    for end in ends:
        page.line(eye, end, EDGE, 1.2)
    page.line(ends[0], ends[1], INK, 2.4)
    page.line(eye, (eye[0], eye[1] - depth), QUIET, 1.2, "5 4")
    page.circle(*eye, 3.6, fill=INK)
    dimension(page, (ends[0][0], ends[0][1] - 12), (ends[1][0], ends[1][1] - 12))
    page.text(eye[0], ends[0][1] - 20, "width", 13, "middle")
    page.text(eye[0] + 7, eye[1] - 84, "fx", 13)
    page.text(eye[0] + 14, eye[1] + 5, "lens", 13, fill=QUIET)
    opening = math.degrees(math.atan2(half, depth))
    page.arc(eye, 44, 90 - opening, 90 + opening, QUIET, 1.4, head=False)
    page.text(eye[0] - 40, eye[1] - 26, "FoV", 13, "end")
    page.text(24, 544, "FoV = 2 * atan(1 / (2 * Norm_Fxy)), from the", 13, fill=QUIET)
    page.text(24, 562, "side with fy and height, whatever cx, cy are", 13, fill=QUIET)

    # Pixels.
    page.text(424, 324, "The pixels at the top left", bold=True, size=15)
    left, top, side = 476, 346, 58
    for row in range(3):
        for column_ in range(4):
            page.rectangle(left + side * column_, top + side * row, side, side, PANEL, EDGE)
    for column_, row in ((0, 0), (1, 0), (2, 0), (0, 1), (1, 1), (0, 2)):
        x, y = left + side * (column_ + 0.5), top + side * (row + 0.5)
        page.circle(x, y, 2.8, fill=INK)
        page.text(x, y + 20, f"{column_}, {row}", 13, "middle")
    page.text(424, 544, "A pixel\u2019s centre has whole coordinates:", 13, fill=QUIET)
    page.text(424, 562, "the image begins at -0.5, -0.5.", 13, fill=QUIET)
    return page


def camera_axes_words():
    return ", ".join(f"{letter} {WORDS[letter]}" for letter in LETTERS)


def dimension(page, start, end):
    """A length: a line with a head at each end."""
    middle = ((start[0] + end[0]) / 2, (start[1] + end[1]) / 2)
    page.line(page.head(middle, start, QUIET, 8, 3), page.head(middle, end, QUIET, 8, 3), QUIET, 1)


def draw_board(facts):
    board, chart = facts.board, facts.camera.chart
    last = board.along_x * board.along_y - 1
    page = Drawing(
        "conventions-board", 800, 462, "The board's corners and axes",
        f"A board of {board.along_x} by {board.along_y} inner corners, seen from the front and "
        f"from the side. The origin is the first inner corner, at the top left. x runs along the "
        f"row, y along the column, z away from the camera, into the board.")
    side = 29
    page.text(24, 34, "The printed side", bold=True, size=15)
    # As the photograph shows it: x and y of the board where the found corners run.
    at = squares(page, (82, 74), (side, 0), (0, side), board)
    first = at(*board.first_corner)
    x, y = board.x_in_image, board.y_in_image

    def corner_at(column_, row):
        return (first[0] + side * (column_ * x[0] + row * y[0]),
                first[1] + side * (column_ * x[1] + row * y[1]))

    for row in range(board.along_y):
        for column_ in range(board.along_x):
            page.circle(*corner_at(column_, row), 3.4, fill="#cc79a7", stroke=PAPER, stroke_width=1)
        start, end = corner_at(-2.0, row), corner_at(board.along_x + 1.0, row)
        page.text(start[0], start[1] + 5, f"{row * board.next_line}", 13, "middle", QUIET)
        page.text(end[0], end[1] + 5, f"{(row + 1) * board.next_line - 1}", 13, "middle", QUIET)
    page.plain_axis(first, corner_at(2.55, 0), "x", casing=True, letter_gap=13)
    page.plain_axis(first, corner_at(0, 2.55), "y", casing=True, letter_gap=13)
    page.out_of_paper(*first, "z", away=chart[2][2] > 0)
    page.circle(first[0] - 15, first[1] - 15, 9, fill=PAPER)
    page.text(first[0] - 15, first[1] - 10, "z", 15, "middle", AXIS_COLOURS["z"], bold=True)
    low, high = at(4, board.along_y + 2.1), at(5, board.along_y + 2.1)
    dimension(page, low, high)
    page.text(high[0] + 8, high[1] + 5, "one square: Square_Size", 13)
    page.text(24, 404, f"{board.along_x}x{board.along_y} counts inner corners, where four squares "
              f"meet: {board.along_x} along a row, {board.along_y} along a column.", 13, fill=QUIET)
    page.text(24, 424, f"Such a board has {board.along_x + 1} by {board.along_y + 1} squares. Its "
              f"corners come row by row, 0 to {last}.", 13, fill=QUIET)
    page.text(24, 444, "A cross in a circle points away from the reader, a dot at the reader.", 13,
              fill=QUIET)

    # From the camera's right: to the right on the paper is z of Cam, down is y, at the reader x.
    page.text(520, 34, "From the side", bold=True, size=15)
    top, bottom, face = 62, 336, 672
    page.rectangle(face, top, 12, bottom - top, BODY[0], EDGE)
    page.line((face, top), (face, bottom), INK, 3)
    cam, chart_at = (580, 200), (face, 92)
    page.rectangle(cam[0] - 52, cam[1] - 24, 38, 48, BODY[0], EDGE)
    page.rectangle(cam[0] - 14, cam[1] - 14, 14, 28, BODY[0], EDGE)
    for origin, axes in ((cam, IDENTITY), (chart_at, chart)):
        for k, letter in enumerate(LETTERS):
            direction = column(axes, k)
            if direction[0] == 0:
                end = (origin[0] + 56 * direction[2], origin[1] + 56 * direction[1])
                page.plain_axis(origin, end, letter, letter_gap=13, casing=True)
        for k, letter in enumerate(LETTERS):
            if axes[0][k] != 0:
                page.out_of_paper(*origin, letter, away=axes[0][k] < 0)
                page.text(origin[0] + 16, origin[1] - 11, letter, 15, "middle",
                          AXIS_COLOURS[letter], bold=True)
    page.text(cam[0] - 30, cam[1] + 48, "Cam", 13, "middle", QUIET)
    page.text(face + 22, 290, "Chart", 13, fill=QUIET)
    page.text(face - 10, 324, "printed side", 13, "end", QUIET)
    return page


def draw_tracker(facts):
    relabelled = facts.rows.relabelled
    body = transposed(relabelled)  # the body's axes, as columns, in Tc's
    told = ", ".join(axis_name(column(relabelled, k)).translate(str.maketrans(LETTERS, "abc"))
                     for k in range(3))
    page = Drawing(
        "conventions-tracker", 800, 306, "A tracked body's own axes and those of Tc",
        f"The same tracked body twice. Left with its own axes, right with those of Tc or Tr: a "
        f"point a, b, c in the body's axes is {told} in Tc.")
    left, right = (150, 156), (610, 156)
    for origin, axes, frame in ((left, body, "body"), (right, IDENTITY, "Tc")):
        tracker(page, origin, IDENTITY, 70)
        page.triad(origin, axes, frame, 88)
    page.text(left[0], 34, "The body\u2019s own axes", 15, "middle", bold=True)
    page.text(right[0], 34, "The axes of Tc or Tr", 15, "middle", bold=True)
    for k, letter in enumerate(LETTERS):
        name = axis_name(column(relabelled, k))
        page.text(318, 136 + 26 * k, f"{letter} of Tc", 14, fill=AXIS_COLOURS[letter], bold=True)
        page.text(382, 136 + 26 * k, f"is {name} of the body", 14)
    page.text(390, 228, "a, b, c", 14, "end")
    page.arrow((402, 223), (436, 223), QUIET, 1.6)
    page.text(448, 228, told, 14)
    words = ", ".join(f"{letter} {WORDS[axis_name(column(body, k))].replace('its', 'the')}"
                      for k, letter in enumerate(LETTERS))
    page.text(400, 288, f"Drawn with Tc as Cam lies; the body\u2019s own axes then are {words}.",
              13, "middle", QUIET)
    return page


def draw_quaternion(facts):
    half = math.radians(SENSE_DEG / 2)
    sign = facts.rows.vector_sign
    attitude = [math.cos(half), 0, 0, math.sin(half)]
    sample = [math.cos(half), 0, 0, sign * math.sin(half)]
    seen = times(from_quaternion(*sample), [1, 0, 0])
    page = Drawing(
        "conventions-quaternion", 800, 360, "The sense of a sample's quaternion",
        f"Left, in Base: a body turned by {SENSE_DEG:g} degrees about z, and a direction d along "
        f"x. Right, in the body's axes: the same d, turned the other way. The sample's quaternion "
        f"turns d as it is in Base into d as it is in the body's axes.")
    page.line((400, 24), (400, 336), "#dcdcdc", 1)
    for middle, title, body_deg, d_deg in (
            ((170, 186), "In Base\u2019s axes", SENSE_DEG, 0.0),
            ((570, 186), "In the body\u2019s axes", 0.0,
             math.degrees(math.atan2(seen[1], seen[0])))):
        def at(degrees, radius, centre=middle):
            return (centre[0] + radius * math.cos(math.radians(degrees)),
                    centre[1] - radius * math.sin(math.radians(degrees)))
        page.text(middle[0] - 146, 34, title, 15, bold=True)
        page.polygon([at(body_deg + angle, 62) for angle in (30, 150, 210, 330)], BODY[0], EDGE, 1)
        page.plain_axis(middle, at(body_deg, 96), "x")
        page.plain_axis(middle, at(body_deg + 90, 96), "y")
        page.arrow(middle, at(d_deg, 150), INK, 2.4)
        tip = at(d_deg, 164)
        page.text(tip[0], tip[1] + 5, "d", 15, "middle", bold=True)
        page.arc(middle, 122, d_deg if body_deg else 0.0, body_deg if body_deg else d_deg, QUIET)
        page.text(*at((body_deg + d_deg) / 2, 146), f"{SENSE_DEG:g}\u00b0", 13, "middle", QUIET)
        page.out_of_paper(*middle, "z", away=False)
        page.text(middle[0] - 16, middle[1] + 22, "z", 15, "middle", AXIS_COLOURS["z"], bold=True)
    for x, said, numbers, d in ((24, "attitude w, x, y, z", attitude, [1, 0, 0]),
                                (424, "sample w, x, y, z", sample, seen)):
        page.text(x, 322, f"d: {', '.join(decimal(value) for value in d)}", 13)
        page.text(x, 342, f"{said}: "
                  f"{', '.join(decimal(value) for value in numbers)}", 13)
    return page


def decimal(value):
    text = f"{value:.3f}".rstrip("0").rstrip(".")
    return "0" if text in ("-0", "") else text


def draw_estimate(facts):
    estimate = facts.estimate
    page = Drawing(
        "conventions-estimate", 800, 250, "The three angles of the board's place on its tracker",
        f"The board's axes against those of Tr, after no turn, one, two and three: the rotation of "
        f"Transform_Tr_Chart is {estimate.text}.")
    turns = [turn(estimate.axes[k], ESTIMATE_DEG[k]) for k in estimate.order]
    tr = turn("y", -32)  # so that the onlooker sees the board more from the front
    for step in range(4):
        axes = product(tr, *turns[:step])
        origin = (84 + 196 * step, 120)
        corners = [place(origin, axes, point, 56) for point in
                   ([0, 0, 0], [1.3, 0, 0], [1.3, 0.9, 0], [0, 0.9, 0])]
        page.polygon(corners, PANEL, EDGE, 1)
        if step:
            page.triad(origin, tr, f"Tr {step}", 76, faint=True)
        page.triad(origin, axes, f"Chart {step}", 76)
        if step == 0:
            text = "as Tr lies"
        else:
            k = estimate.order[step - 1]
            own = "" if step == 1 else "its "
            text = f"{'' if step == 1 else 'then '}about {own}{estimate.axes[k]} by a{k}"
        page.text(origin[0] + 8, 34, text, 14, "middle", bold=True)
    told = ", ".join(f"a{k} = {ESTIMATE_DEG[k]:g}" for k in range(3))
    page.text(400, 232, f"{estimate.text} with {told} degrees. Grey: the axes of Tr.", 13, "middle",
              QUIET)
    return page


def draw_engines(facts):
    page = Drawing(
        "conventions-engines", 800, 702, "The axes of the exports beside those of Cam and Tc",
        "For each export the axes of the camera and of the tracker's object, drawn on a camera and "
        "on a tracker whose Tc lies as Cam does. " +
        " ".join(f"{engine.name}: {engine.hand}; camera {camera_words(engine)}; "
                 f"{tracker_words(engine)}." for engine in facts.engines))

    def pair(left, top, camera_axes, tracker_axes, frame, hand):
        at = (left + 106, top + 84), (left + 282, top + 84)
        camera(page, at[0], 42)
        page.triad(at[0], camera_axes, frame + " camera", 54, hand)
        tracker(page, at[1], IDENTITY, 40)
        page.triad(at[1], tracker_axes, frame + " tracker", 54, hand)

    page.rectangle(12, 12, 776, 176, PANEL, radius=4)
    page.text(28, 38, "Transform_Cam_Tc", 15, bold=True)
    page.text(28, 60, "right-handed", 13, fill=QUIET)
    pair(150, 22, IDENTITY, IDENTITY, "Cam, Tc", 1)
    page.text(212, 172, "Cam", 13, "middle", QUIET)
    page.text(396, 172, "Tc", 13, "middle", QUIET)
    for line, text in enumerate(("Below: the camera, and the object",
                                 "that moves with the tracker, in",
                                 "the axes of each export.")):
        page.text(534, 84 + 20 * line, text, 13, fill=QUIET)
    for number_, engine in enumerate(facts.engines):
        left, top = 12 + 392 * (number_ % 2), 198 + 250 * (number_ // 2)
        page.rectangle(left, top, 384, 242, "none", "#d0d0d0", 4)
        page.text(left + 14, top + 24, f"{engine.name}: {TITLES[engine.name]}", 14, bold=True)
        page.text(left + 14, top + 43, engine.hand + position_words(engine), 13, fill=QUIET)
        pair(left, top + 37, engine.camera, transposed(engine.tracker), engine.name,
             1 if engine.hand == "right-handed" else -1)
        page.text(left + 14, top + 214, f"camera: {camera_words(engine)}", 13)
        page.text(left + 14, top + 232, f"tracker: {tracker_words(engine)}", 13)
    return page


def tracker_words(engine):
    """The tracker's axes in the engine. Row k of the matrix is axis k in Tc."""
    return ", ".join(f"{letter} is {axis_name(row)}" + (" of Tc" if letter == "z" else "")
                     for letter, row in zip(LETTERS, engine.tracker))


def position_words(engine):
    """Told where the position's fields aren't along the tracker's axes."""
    if engine.position == engine.tracker:
        return ""
    return "; position X, Y, Z along " + ", ".join(map(axis_name, engine.position)) + " of Tc"


# What is known of the body, and how it is drawn: its own axes, as columns, in those of Cam, when
# the camera stands upright and the body with it.
AHEAD_UP = [[1, 0, 0], [0, 0, -1], [0, 1, 0]]  # x right, y ahead, z up
UP_BACK = [[1, 0, 0], [0, -1, 0], [0, 0, -1]]  # x right, y up, z back
BODIES = {"as-tracked": (AHEAD_UP, "known: x right,", "y ahead, z up"),
          "z-up": (AHEAD_UP, "the system\u2019s", "z is up"),
          "y-up": (UP_BACK, "the system\u2019s", "y is up")}


def draw_tracker_axes(facts):
    page = Drawing(
        "conventions-tracker-axes", 800, 640, "The axes of the tracker's object",
        "A tracked body with its own axes and, beside it, the object that moves with it in a scene "
        "of each space, for each name of --tracker-axes. " +
        " ".join(f"{name}, {space}: {object_words(facts.objects[name, engine])}."
                 for name in TRACKER_AXES for engine, space in SPACES.items()))
    left, wide, top, high = 204, 192, 56, 190
    page.text(108, 36, "The tracked body", 14, "middle", bold=True)
    for k, space in enumerate(SPACES.values()):
        page.text(left + wide * (k + 0.5), 36, space, 14, "middle", bold=True)
    for row, name in enumerate(TRACKER_AXES):
        y = top + high * row
        page.rectangle(12, y, 776, high - 8, PANEL if row % 2 == 0 else "none", "#dcdcdc", 4)
        own, *told = BODIES[name]
        middle = y + 86
        page.text(26, y + 24, name, 14, bold=True)
        for line, text in enumerate(told):
            page.text(26, y + 150 + 18 * line, text, 13, fill=QUIET)
        tracker(page, (118, middle), IDENTITY, 40)
        page.triad((118, middle), own, name + " body", 50)
        for k, (engine, space) in enumerate(SPACES.items()):
            axes = facts.objects[name, engine]
            at = (left + wide * (k + 0.5), middle)
            tracker(page, at, IDENTITY, 40)
            # Column k of the object's axes in Cam: the body's direction that it is.
            page.triad(at, product(own, transposed(axes)), f"{name} {engine}", 50,
                       1 if space.startswith("right") else -1)
            page.text(at[0], y + 168, object_words(axes), 13, "middle")
    return page


def object_words(axes):
    return "x is {}, y is {}, z is {}".format(*map(axis_name, axes))


# --- the tables -----------------------------------------------------------------------------------


def table(*rows):
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join([lines[0], "|" + " --- |" * len(rows[0]), *lines[1:]])


def csv_table(facts):
    rows, fields = [], facts.rows.fields
    for first, count in ((2, 3), (5, 4), (9, 3), (12, 4)):
        numbers = range(first, first + count)
        of, what, _ = fields[first]
        unit = ", metres" if what == "position" else ""
        rows.append((", ".join(map(str, numbers)), f"{of} tracker's {what} "
                     + ", ".join(fields[number][2] for number in numbers) + unit))
    return table(("Field", "Content"), ("0", "a number of your own; it is logged and not used"),
                 ("1", "path of the image"), *rows)


def relabelled_table(facts):
    columns = [column(facts.rows.relabelled, k) for k in range(3)]
    signed = [axis_name(axis).translate(str.maketrans(LETTERS, "abc")) for axis in columns]
    return table(("Axis of `Tc` or `Tr`", "is the body's"),
                 *((letter, axis_name(axis)) for letter, axis in zip(LETTERS, columns))) + (
        f"\n\nSo body coordinates (a, b, c) are ({', '.join(signed)}) in `Tc` or `Tr`.")


def quaternion_table(facts):
    order = ", ".join(facts.rows.fields[field][2] for field in range(5, 9))
    turns = ("of `Base` into those of the body" if facts.rows.vector_sign < 0
             else "of the body into those of `Base`")
    exports = [engine for engine in facts.engines if engine.quaternion]
    return table(("Where", "Order", "Rotates directions"), ("a sample in the CSV", order, turns),
                 *((f"`Quat_Tc_Cam`, export to `{engine.name}`", ", ".join(engine.quaternion),
                    "of the export's camera into those of its tracker") for engine in exports))


def angle_table(facts):
    return table(("Angles", "Rotation"),
                 ("`Chart_Euler_Deg`: a0, a1, a2",
                  f"of `Transform_Tr_Chart`: {facts.estimate.text}"),
                 *((f"export to `{engine.name}`: {', '.join(engine.angle_names)}",
                    f"of the export's camera into its tracker: {engine.angles}")
                   for engine in facts.engines if engine.angles))


def engine_table(facts):
    return table(("Export", "Handedness", "Camera's axes", "Tracker's x, y, z in `Tc`",
                  "Position's X, Y, Z run along"),
                 *((f"`{engine.name}`", engine.hand, camera_words(engine),
                    ", ".join(map(axis_name, engine.tracker)),
                    ", ".join(map(axis_name, engine.position)) + " of `Tc`")
                   for engine in facts.engines))


def object_table(facts):
    return table(("`--tracker-axes`", *SPACES.values()),
                 *((f"`{name}`", *(", ".join(map(axis_name, facts.objects[name, engine]))
                                   for engine in SPACES)) for name in TRACKER_AXES))


def own_object_table(facts):
    """The axes of each export that nobody has asked for others, in the body's own."""
    def in_body(engine):
        return product(engine.tracker, transposed(facts.rows.relabelled))
    return table(("Export", "Object's x, y, z in the tracked body"),
                 *((f"`{engine.name}`", ", ".join(map(axis_name, in_body(engine))))
                   for engine in facts.engines))


TABLES = {"csv": csv_table, "relabelled": relabelled_table, "quaternions": quaternion_table,
          "angles": angle_table, "engines": engine_table,
          "objects": object_table, "own objects": own_object_table}
DRAWINGS = [draw_rig, draw_camera, draw_board, draw_tracker, draw_quaternion, draw_estimate,
            draw_engines, draw_tracker_axes]


def with_tables(page, facts):
    """The page with each table between its marks."""
    for name, make in TABLES.items():
        start, end = f"<!-- from the library: {name} -->\n", f"<!-- end: {name} -->"
        form = re.compile(re.escape(start) + ".*?" + re.escape(end), re.S)
        if len(form.findall(page)) != 1:
            raise Wrong(f"conventions.md has no one place for the table '{name}'")
        text = start + make(facts) + "\n" + end
        page = form.sub(lambda _, text=text: text, page)
    return page


def read(path):
    try:
        with open(path, encoding="utf-8") as source:
            return source.read()
    except FileNotFoundError:
        return ""


def first_difference(there, made):
    there, made = there.split("\n"), made.split("\n")
    for number_, (old, new) in enumerate(zip(there, made), 1):
        if old != new:
            return f"line {number_}\n    has  {old}\n    not  {new}"
    return f"{len(there)} lines instead of {len(made)}"


def main():
    arguments = sys.argv[1:]
    check = arguments[:1] == ["--check"]
    if len(arguments) != 3 + check:
        sys.exit(__doc__)
    library_answers, rigsync, docs = arguments[check:]
    with tempfile.TemporaryDirectory() as folder:
        facts = gather(library_answers, rigsync, folder)
    files = {}
    for draw in DRAWINGS:
        page = draw(facts)
        files[os.path.join(docs, page.name + ".svg")] = page.file_text()
    conventions = os.path.join(docs, "conventions.md")
    files[conventions] = with_tables(read(conventions), facts)
    old = [path for path, text in files.items() if read(path) != text]
    if check:
        for path in old:
            print(f"{path} isn't what the library does: "
                  + first_difference(read(path), files[path]), file=sys.stderr)
        if old:
            sys.exit("scripts/draw-conventions draws it anew.")
        return
    for path in old:
        with open(path, "w", encoding="utf-8") as target:
            target.write(files[path])
        print(path)


if __name__ == "__main__":
    try:
        main()
    except (Wrong, ValueError) as error:
        sys.exit(f"draw_conventions: {error}")
