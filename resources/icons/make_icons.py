#!/usr/bin/env python3
"""Draws the program's icons: make_icons.py --out DIR writes NAME.ico into DIR for each drawing NAME.svg.

The sources are the SVG drawings beside this script; no icon is kept as a binary. The 16 pixel
images have drawings of their own, NAME-16.svg, because a larger one scaled down blurs.

Every image is an uncompressed bitmap with a palette and a 1-bit AND mask, the form that every
system from Pocket PC 2003 to Windows Mobile 6 draws:

 - Windows CE knows nothing of PNG-compressed icon images, so none is written at any size.
 - Pocket PC 2003 has no alpha channel. A pixel is either opaque or left out; the smooth edges
   are blended beforehand against EDGE_COLOUR, the background of the pages. A pixel that the
   drawing covers by less than half is left out. Its colour is black, so that drawing it
   through the mask leaves what is behind it unchanged.
 - 16 colours of its own choice are enough for each image of a small icon. The program's icon has
   256, which are as good as true colour on these screens (16 bits a pixel) at half the size.

The same sources and tools give the same bytes: nothing written depends on time or place.

Needs rsvg-convert, pngquant and icotool (Debian: librsvg2-bin, pngquant, icoutils).
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile

SOURCES = pathlib.Path(__file__).resolve().parent

# The program's own icon is also shown large, by the system, and has more images and colours than the others.
PROGRAM = "program"
PROGRAM_SIZES, PROGRAM_BITS = (16, 32, 48, 64), 8
OTHER_SIZES, OTHER_BITS = (16, 32), 4

EDGE_COLOUR = "rgb(220,220,230)"

# pngquant shares its sums among threads; with one, they do not depend on the number of cores.
ENVIRONMENT = {**os.environ, "OMP_NUM_THREADS": "1"}

# Lays the drawing on EDGE_COLOUR, then cuts the result out along the half-covered line.
HARD_EDGES = """<svg xmlns="http://www.w3.org/2000/svg" width="{size}" height="{size}">
<filter id="hard-edges" filterUnits="userSpaceOnUse" x="0" y="0" width="{size}" height="{size}"
        color-interpolation-filters="sRGB">
  <feComponentTransfer in="SourceGraphic" result="mask">
    <feFuncA type="discrete" tableValues="0 1"/>
  </feComponentTransfer>
  <feFlood flood-color="{edge}" result="ground"/>
  <feComposite in="SourceGraphic" in2="ground" operator="over" result="blended"/>
  <feComposite in="blended" in2="mask" operator="in"/>
</filter>
<g filter="url(#hard-edges)">{drawing}</g>
</svg>
"""


def run_filter(command, data):
    """Passes data through a command and returns what it writes."""
    return subprocess.run(command, input=data, stdout=subprocess.PIPE, check=True, env=ENVIRONMENT).stdout


def hard_edged_svg(drawing, size):
    """The drawing at a size, wrapped so that each of its pixels is opaque or left out."""
    text = (SOURCES / drawing).read_text(encoding="utf-8")
    inner = re.sub(r"<\?xml.*?\?>", "", text)  # a declaration is allowed at the start only
    return HARD_EDGES.format(size=size, edge=EDGE_COLOUR, drawing=inner).encode("utf-8")


def render(drawing, size, bits):
    """The PNG file, with a palette for so many bits a pixel, of a drawing at a size."""
    colours = 2 ** bits - 1  # icotool puts black into the palette by itself
    png = run_filter(["rsvg-convert"], hard_edged_svg(drawing, size))
    return run_filter(["pngquant", "--nofs", "--speed", "1", str(colours), "-"], png)


def icon_names():
    """The names of all icons, those of the drawings that are not for 16 pixels only."""
    return sorted(drawing.stem for drawing in SOURCES.glob("*.svg") if not drawing.stem.endswith("-16"))


def make_icon(path, name):
    """Writes one icon file."""
    sizes, bits = (PROGRAM_SIZES, PROGRAM_BITS) if name == PROGRAM else (OTHER_SIZES, OTHER_BITS)
    with tempfile.TemporaryDirectory() as scratch:
        pngs = []
        for size in sizes:
            png = pathlib.Path(scratch, f"{size}.png")
            png.write_bytes(render(f"{name}-16.svg" if size == 16 else f"{name}.svg", size, bits))
            pngs.append(png)
        subprocess.run(["icotool", "--create", f"--bit-depth={bits}", f"--output={path}", *pngs], check=True)


def main():
    parser = argparse.ArgumentParser(description="Draws the program's icons.")
    parser.add_argument("--out", type=pathlib.Path, required=True, help="directory for the .ico files")
    out = parser.parse_args().out
    out.mkdir(parents=True, exist_ok=True)
    for name in icon_names():
        make_icon(out / f"{name}.ico", name)


if __name__ == "__main__":
    try:
        main()
    except (OSError, subprocess.CalledProcessError) as error:
        sys.exit(f"make_icons.py: {error}")
