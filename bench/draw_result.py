#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# draw_result.py RESULT PICTURE: draws one reprojection image of a calibration. RESULT is the
# result.json of a run whose folder still exists. On the left is the kept image whose reprojection
# error is nearest the mean of the run, on the right a magnified part of it, which shows the dots at
# the corners separately (red: found, blue on top: predicted).
import json
import pathlib
import sys

import matplotlib.font_manager
import numpy
import PIL.Image
import PIL.ImageDraw
import PIL.ImageFont

PANEL_HEIGHT = 400  # of both panels, pixels of the picture
MARGIN = 10
CAPTION_HEIGHT = 34
MAGNIFICATION = 3
RED, BLUE = (220, 20, 20), (20, 20, 220)  # of the library's dots


def typical_image(result):
    """The kept image whose error is nearest the run's mean."""
    mean = result["quality"]["reprojection_px"]
    return min(result["images"]["kept"], key=lambda kept: abs(kept["reprojection_px"] - mean))


def middle_dot(image):
    """Where the dot nearest the middle of all dots is. Nothing else in a simulated photograph is a
    strong red or blue."""
    pixels = numpy.asarray(image).astype(int)
    dots = numpy.argwhere(numpy.abs(pixels[:, :, 0] - pixels[:, :, 2]) > 150)
    if not len(dots):
        sys.exit("draw_result.py: the image has no dots")
    distances = numpy.linalg.norm(dots - dots.mean(axis=0), axis=1)
    y, x = dots[distances.argmin()]
    return int(x), int(y)


def magnified_box(image):
    side = PANEL_HEIGHT // MAGNIFICATION
    x, y = middle_dot(image)
    left = min(max(x - side // 2, 0), image.width - side)
    top = min(max(y - side // 2, 0), image.height - side)
    return left, top, left + side, top + side


def main():
    result_path, target = pathlib.Path(sys.argv[1]), sys.argv[2]
    result = json.loads(result_path.read_text(encoding="utf-8"))
    kept = typical_image(result)
    path = pathlib.Path(result["run_folder"]) / f"Reproject_{kept['image']}"
    image = PIL.Image.open(path).convert("RGB")
    box = magnified_box(image)

    scale = PANEL_HEIGHT / image.height
    whole = image.resize((round(image.width * scale), PANEL_HEIGHT), PIL.Image.LANCZOS)
    part = image.crop(box).resize((PANEL_HEIGHT, PANEL_HEIGHT), PIL.Image.LANCZOS)
    picture = PIL.Image.new("RGB", (whole.width + MARGIN + PANEL_HEIGHT,
                                    PANEL_HEIGHT + CAPTION_HEIGHT), "white")
    part_left = whole.width + MARGIN
    picture.paste(whole, (0, 0))
    picture.paste(part, (part_left, 0))

    pen = PIL.ImageDraw.Draw(picture)
    inner = [round(value * scale) for value in box]
    pen.rectangle(inner, outline="yellow", width=2)
    for corner, side in (((inner[2], inner[1]), 0), ((inner[2], inner[3]), PANEL_HEIGHT - 1)):
        pen.line([corner, (part_left, side)], fill="yellow", width=2)
    pen.rectangle([part_left, 0, picture.width - 1, PANEL_HEIGHT - 1], outline="yellow", width=2)

    font = PIL.ImageFont.truetype(matplotlib.font_manager.findfont("DejaVu Sans"), size=16)
    baseline = PANEL_HEIGHT + CAPTION_HEIGHT - 10
    mean, count = result["quality"]["reprojection_px"], len(result["images"]["kept"])
    caption = ("Predicted to found corners, on average: "
               f"{kept['reprojection_px']:.1f} pixels here, {mean:.1f} in all {count} images")
    pen.text((0, baseline), caption, font=font, fill="black", anchor="ls")
    x = part_left
    for colour, text in ((RED, "corner found"), (BLUE, "corner predicted")):
        pen.ellipse([x, baseline - 12, x + 12, baseline], fill=colour)
        pen.text((x + 18, baseline), text, font=font, fill="black", anchor="ls")
        x += 18 + int(font.getlength(text)) + 22
    picture.save(target, quality=88, subsampling=0, optimize=True)


main()
