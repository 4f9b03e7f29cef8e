# SPDX-License-Identifier: Apache-2.0
"""Drawings as plain SVG text, the same bytes each time, and what keeps them honest.

Everything in space is drawn as seen by one onlooker, who stands behind the camera, above it and to
its right. A drawing is refused when a text leaves it or covers another text or a line, and when an
axis on the paper doesn't run where its direction leads.
"""

import math
import xml.etree.ElementTree as ElementTree
from xml.sax.saxutils import escape

from geometry import cross, determinant

# Distinct for colour-blind readers; a letter stands at every axis besides.
AXIS_COLOURS = {"x": "#d55e00", "y": "#009e73", "z": "#0072b2"}
INK, QUIET, FAINT, PAPER = "#222222", "#595959", "#b8b8b8", "#ffffff"
PANEL = "#f4f4f1"

# The onlooker's axes in Cam's: right and down on the paper, and away from the eye.
YAW, PITCH = math.radians(-50), math.radians(25)
AWAY = [math.sin(YAW) * math.cos(PITCH), math.sin(PITCH), math.cos(YAW) * math.cos(PITCH)]
RIGHT = [math.cos(YAW), 0.0, -math.sin(YAW)]
DOWN = cross(AWAY, RIGHT)
if abs(determinant([RIGHT, DOWN, AWAY]) - 1) > 1e-12:
    raise ValueError("the onlooker sees a mirror image")


def on_paper(direction):
    """A direction or place in Cam's axes, on the paper: right and down."""
    return [sum(a * b for a, b in zip(side, direction)) for side in (RIGHT, DOWN)]


def number(value):
    text = f"{value:.2f}".rstrip("0").rstrip(".")
    return "0" if text in ("-0", "") else text


def width_of(text, size, bold=False):
    """About how wide a text becomes in a wide sans-serif font."""
    narrow = sum(letter in "iljtfr.,:;|'()[] -/I" for letter in text)
    wide = sum(letter in "mwMW_=+<>*" for letter in text)
    return size * (0.62 * (len(text) - narrow - wide) + 0.40 * narrow + 0.86 * wide) * (
        1.06 if bold else 1.0)


class Drawing:
    """One SVG. Lengths are pixels, from the top left corner."""

    def __init__(self, name, width, height, title, description):
        self.name, self.width, self.height = name, width, height
        self.title, self.description = title, description
        self.parts, self.texts, self.lines = [], [], []
        self.rectangle(0.5, 0.5, width - 1, height - 1, fill=PAPER, stroke="#d0d0d0", radius=6)

    # --- shapes ---

    def add(self, tag, content=None, **attributes):
        text = " ".join(f'{key.replace("_", "-")}="'
                        f'{number(value) if isinstance(value, (int, float)) else escape(value)}"'
                        for key, value in attributes.items() if value is not None)
        self.parts.append(f"<{tag} {text}/>" if content is None
                          else f"<{tag} {text}>{escape(content)}</{tag}>")

    def rectangle(self, x, y, width, height, fill="none", stroke=None, radius=None,
                  stroke_width=None):
        self.add("rect", x=x, y=y, width=width, height=height, rx=radius, fill=fill, stroke=stroke,
                 stroke_width=stroke_width)

    def polygon(self, points, fill, stroke=None, stroke_width=None):
        self.add("polygon", points=" ".join(f"{number(x)},{number(y)}" for x, y in points),
                 fill=fill, stroke=stroke, stroke_width=stroke_width, stroke_linejoin="round")

    def circle(self, x, y, radius, fill="none", stroke=None, stroke_width=None):
        self.add("circle", cx=x, cy=y, r=radius, fill=fill, stroke=stroke,
                 stroke_width=stroke_width)

    def line(self, start, end, stroke=INK, width=1.5, dash=None, solid=True, **attributes):
        """A line that no text may cross, unless it isn't solid."""
        self.add("line", x1=start[0], y1=start[1], x2=end[0], y2=end[1], stroke=stroke,
                 stroke_width=width, stroke_dasharray=dash, stroke_linecap="round", **attributes)
        if solid:
            self.lines.append((tuple(start), tuple(end)))

    def head(self, start, end, fill, length=10.0, half=4.2):
        """An arrow's head, with its tip at 'end'."""
        dx, dy = end[0] - start[0], end[1] - start[1]
        size = math.hypot(dx, dy)
        dx, dy = dx / size, dy / size
        back = (end[0] - length * dx, end[1] - length * dy)
        self.polygon([end, (back[0] - half * dy, back[1] + half * dx),
                      (back[0] + half * dy, back[1] - half * dx)], fill)
        return (end[0] - 0.7 * length * dx, end[1] - 0.7 * length * dy)

    def arrow(self, start, end, stroke=INK, width=1.8, dash=None):
        stop = self.head(start, end, stroke)
        self.line(start, stop, stroke, width, dash)

    def curve(self, start, control, end, stroke=INK, width=2.0):
        """An arrow along a quadratic curve."""
        before = [end[k] - control[k] for k in range(2)]
        stop = self.head((end[0] - before[0], end[1] - before[1]), end, stroke, 12.0, 5.0)
        self.add("path", d=f"M {number(start[0])} {number(start[1])} Q {number(control[0])} "
                           f"{number(control[1])} {number(stop[0])} {number(stop[1])}",
                 fill="none", stroke=stroke, stroke_width=width)
        points = [tuple((1 - t) ** 2 * start[k] + 2 * t * (1 - t) * control[k] + t * t * stop[k]
                        for k in range(2)) for t in (i / 12 for i in range(13))]
        self.lines += list(zip(points, points[1:]))

    def arc(self, centre, radius, start_deg, end_deg, stroke=INK, width=1.8, head=True):
        """An arrow along a circle; degrees run from the right towards the top of the paper."""
        steps = max(2, int(abs(end_deg - start_deg) / 4))
        points = []
        for i in range(steps + 1):
            angle = math.radians(start_deg + (end_deg - start_deg) * i / steps)
            points.append((centre[0] + radius * math.cos(angle),
                           centre[1] - radius * math.sin(angle)))
        if head:
            self.head(points[-3], points[-1], stroke, 9.0, 3.8)
        self.add("polyline", points=" ".join(f"{number(x)},{number(y)}"
                                             for x, y in points[:-1 if head else None]),
                 fill="none", stroke=stroke, stroke_width=width)
        self.lines += list(zip(points, points[1:]))

    def text(self, x, y, text, size=14, anchor="start", fill=INK, bold=False, over=False):
        """One line of text; y is its base line. 'over' lets it stand on lines."""
        self.add("text", text, x=x, y=y, font_size=size, fill=fill,
                 text_anchor=None if anchor == "start" else anchor,
                 font_weight="bold" if bold else None)
        width = width_of(text, size, bold)
        left = x - {"start": 0, "middle": width / 2, "end": width}[anchor]
        self.texts.append((text, left, y - 0.78 * size, left + width, y + 0.22 * size, over))

    # --- axes ---

    def axis(self, origin, direction, letter, frame, length, casing=False, faint=False):
        """An axis of a frame, along a direction that is given in the axes of Cam."""
        dx, dy = on_paper(direction)
        end = (origin[0] + length * dx, origin[1] + length * dy)
        self.plain_axis(origin, end, letter, casing=casing, faint=faint, frame=frame,
                        direction=direction)

    def plain_axis(self, origin, end, letter, letter_gap=12, casing=False, faint=False, frame=None,
                   direction=None):
        """An axis whose place on the paper is given. A casing sets it off against squares; a faint
        one has no letter."""
        colour = FAINT if faint else AXIS_COLOURS[letter]
        size = math.hypot(end[0] - origin[0], end[1] - origin[1])
        unit = ((end[0] - origin[0]) / size, (end[1] - origin[1]) / size)
        if casing:
            self.line(origin, end, PAPER, 9, solid=False)
        stop = self.head(origin, end, colour, 8 if faint else 11, 3 if faint else 4.5)
        told = {} if direction is None else {
            "class": "axis", "data_frame": frame, "data_axis": letter,
            "data_direction": " ".join(f"{value:.6f}" for value in direction)}
        # The check of directions goes by the whole arrow, its tip included.
        if told:
            told["data_tip"] = f"{end[0]:.3f} {end[1]:.3f}"
        self.line(origin, stop, colour, 1.4 if faint else 2.6, solid=not faint, **told)
        if faint:
            return
        at = (end[0] + letter_gap * unit[0], end[1] + letter_gap * unit[1] + 5)
        if casing:
            self.circle(at[0], at[1] - 5, 9, fill=PAPER)
        self.text(at[0], at[1], letter, 15, "middle", colour, bold=True, over=casing)

    def triad(self, origin, axes, frame, length, hand=1, casing=False, faint=False):
        """The three axes of a frame: columns of the matrix, in the axes of Cam, right-handed for a
        hand of 1 and left-handed for -1. The farthest is drawn first."""
        if abs(determinant(axes) - hand) > 1e-6:
            raise ValueError(f"{self.name}: the axes of {frame} have the other hand")
        for k in sorted(range(3), key=lambda k: -sum(a * row[k] for a, row in zip(AWAY, axes))):
            self.axis(origin, [row[k] for row in axes], "xyz"[k], frame, length, casing=casing,
                      faint=faint)
        if not faint:
            self.circle(origin[0], origin[1], 3.6, fill=INK)

    def out_of_paper(self, x, y, letter, away, radius=8):
        """An axis that points at the reader, a dot, or away from the reader, a cross."""
        colour = AXIS_COLOURS[letter]
        self.circle(x, y, radius, fill=PAPER, stroke=colour, stroke_width=2.4)
        if away:
            d = radius * 0.62
            self.line((x - d, y - d), (x + d, y + d), colour, 2.2, solid=False)
            self.line((x - d, y + d), (x + d, y - d), colour, 2.2, solid=False)
        else:
            self.circle(x, y, radius * 0.36, fill=colour)

    # --- the file ---

    def file_text(self):
        head = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{self.width}" '
                f'height="{self.height}" viewBox="0 0 {self.width} {self.height}" role="img" '
                f'font-family="sans-serif">')
        text = "\n".join([head, f"<title>{escape(self.title)}</title>",
                          f"<desc>{escape(self.description)}</desc>", *self.parts, "</svg>", ""])
        self.check(text)
        return text

    def check(self, text):
        faults = list(self.text_faults())
        if faults:
            raise ValueError(f"{self.name}:\n  " + "\n  ".join(faults))
        if check_axes(text) != text.count('class="axis"'):
            raise ValueError(f"{self.name}: an axis has no direction")

    def text_faults(self):
        for i, (text, left, top, right, bottom, over) in enumerate(self.texts):
            if left < 4 or top < 4 or right > self.width - 4 or bottom > self.height - 4:
                yield f"'{text}' leaves the drawing: {left:.0f} to {right:.0f} across"
            for other in self.texts[i + 1:]:
                if left < other[3] and other[1] < right and top < other[4] and other[2] < bottom:
                    yield f"'{text}' covers '{other[0]}'"
            for start, end in () if over else self.lines:
                if crosses(start, end, left, top, right, bottom):
                    yield f"a line from {start} to {end} crosses '{text}'"


def crosses(start, end, left, top, right, bottom):
    """Whether a line enters a rectangle."""
    low, high = 0.0, 1.0
    for k, (least, most) in enumerate(((left, right), (top, bottom))):
        step = end[k] - start[k]
        if abs(step) < 1e-9:
            if not least < start[k] < most:
                return False
            continue
        ends = sorted(((least - start[k]) / step, (most - start[k]) / step))
        low, high = max(low, ends[0]), min(high, ends[1])
    return low < high


def check_axes(text):
    """Reads the axes back from the file: each runs on the paper where its direction leads, and
    those of a frame are at right angles."""
    seen, frames = 0, {}
    for line in ElementTree.fromstring(text).iter("{http://www.w3.org/2000/svg}line"):
        if line.get("class") != "axis":
            continue
        seen += 1
        direction = [float(value) for value in line.get("data-direction").split()]
        tip = [float(value) for value in line.get("data-tip").split()]
        start = [float(line.get("x1")), float(line.get("y1"))]
        near = [float(line.get("x2")) - start[0], float(line.get("y2")) - start[1]]
        drawn = [tip[k] - start[k] for k in range(2)]
        wanted = on_paper(direction)
        for along in (near, drawn):
            angle = math.degrees(abs(math.atan2(along[0] * wanted[1] - along[1] * wanted[0],
                                                along[0] * wanted[0] + along[1] * wanted[1])))
            if angle > 1.0:
                raise ValueError(f"axis {line.get('data-axis')} of {line.get('data-frame')} is "
                                 f"drawn {angle:.1f} degrees off")
        frames.setdefault(line.get("data-frame"), []).append(direction)
    for frame, axes in frames.items():
        for i, a in enumerate(axes):
            for b in axes[i + 1:]:
                if abs(sum(p * q for p, q in zip(a, b))) > 1e-4:
                    raise ValueError(f"the axes of {frame} aren't at right angles")
    return seen
