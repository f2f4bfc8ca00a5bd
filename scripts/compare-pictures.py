#!/usr/bin/python3
"""Compares the plug-in's pictures with what a browser draws for the same CSS.

A prototype's layout comes from data-* attributes that a browser ignores, so
the comparison is element by element: each picture that the converter made
from a sample prototype is set beside headless Chromium's rendering of the
same CSS on an element of the same size, over the same background.

For each picture it prints the mean absolute difference per channel (R, G, B,
0 to 255), the largest difference, and the share of pixels that differ by
more than 16; for glyphs and emoji also the best match within two pixels of
shift, which separates placement from drawing. It writes side-by-side images
(ours | Chromium | difference x4), enlarged, into the output directory.

Needs a built tree (build/pagefold and its plug-in), Debian's chromium and
python3-pil (scripts/setup.sh --picture-check installs both).

Usage: scripts/compare-pictures.py [--build build] [--out build/picture-check]
"""

import argparse
import glob
import math
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from PIL import Image, ImageChops

ROOT = Path(__file__).resolve().parent.parent
SAMPLES = ROOT.parent / "shared" / "samples"
ICON_FONT = "/usr/share/fonts/truetype/material-design-icons-iconfont/MaterialIcons-Regular.ttf"
EMOJI_FONT = "/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf"

# The emoji font's bitmaps are 136 by 128 pixels at 109 pixels per em: the
# plug-in fits the bitmap to the box, so the browser gets the font size that
# draws the bitmap at the same scale.
EMOJI_STRIKE_W, EMOJI_STRIKE_H, EMOJI_PPEM = 136, 128, 109


def spinner_dots(size, frame=0, frames=12):
    """The spinner's twelve dots (centre x, centre y, radius), as the plug-in
    places them."""
    head = size * 0.09
    orbit = size / 2.0 - head - 0.5
    turn = 2 * math.pi * frame / frames
    dots = []
    for k in range(12):
        a = -math.pi / 2 + turn - 2 * math.pi * k / 12
        r = head * (1 - 0.055 * k)
        dots.append((size / 2 + orbit * math.cos(a), size / 2 + orbit * math.sin(a), r))
    return dots


def items(pics):
    """What to compare: (label, our file, width, height, background, inner HTML
    of an element box of that size, compare with shift search)."""
    one = pics
    out = []
    # A horizontal gradient with rounded corners (login, #btnLogin).
    out.append(("gradient", one("login/grad_btnLogin_*.png"), "#FFFFFF",
                '<div style="width:336px;height:56px;border-radius:10px;'
                'background:linear-gradient(to right, #2563EB, #7C3AED)"></div>', False, None))
    # A vertical gradient (pictures_rich, promo).
    out.append(("gradient-vertical", one("pictures_rich/grad_promo_*.png"), "#0F172A",
                '<div style="width:120px;height:40px;border-radius:8px;'
                'background:linear-gradient(#F59E0B,#EF4444)"></div>', False, None))
    # A shadow card (login, .form): the card sits at its pad inside the
    # picture, which is grown by max(2, blur + max(|ox|, |oy|)) = 60.
    out.append(("shadow-card", one("login/shadow_loginForm_*.png"), "#D0D4DC",
                '<div style="position:absolute;left:60px;top:60px;width:400px;height:456px;'
                'background:#FFFFFF;border-radius:16px;box-shadow:0 20px 40px rgba(0,0,0,0.45)">'
                '</div>', False, None))
    # A smaller shadow card (pictures_rich, card).
    out.append(("shadow-card-small", one("pictures_rich/shadow_card_*.png"), "#D0D4DC",
                '<div style="position:absolute;left:18px;top:18px;width:160px;height:80px;'
                'background:#FFFFFF;border-radius:12px;box-shadow:0 6px 12px rgba(0,0,0,0.4)">'
                '</div>', False, None))
    # A rounded card (thermostat, .card): the nine-patch without its border.
    out.append(("rounded-card", one("thermostat/card_cardHumidity.9.png"), "#0F141C",
                '<div style="width:192px;height:84px;background:#1A2230;border-radius:16px"></div>',
                False, (1, 1, 193, 85)))
    # A glyph icon (thermostat, btnSettings): the font's ligature at 48px.
    out.append(("icon", one("thermostat/icon_settings_48x48_9FB0C8.png"), "#0F141C",
                '<div style="width:48px;height:48px;font:48px/48px Icons;color:#9FB0C8;'
                'text-align:center;font-feature-settings:\'liga\'">settings</div>', True, None))
    # An emoji (pictures_rich, smile), fitted to its 48 by 48 box.
    size = 48 * EMOJI_PPEM / EMOJI_STRIKE_W
    out.append(("emoji", one("pictures_rich/emoji_smile_*.png"), "#0F172A",
                '<div style="width:48px;height:48px;display:flex;align-items:center;'
                f'justify-content:center;font:{size:.3f}px/1 Emoji">&#x1F600;</div>', True, None))
    # A spinner frame (wifi_setup, wifiSpin): the same twelve dots, drawn as
    # SVG circles, since a browser snaps the boxes of CSS dots to whole pixels.
    dots = ('<svg width="96" height="96">' + "".join(
        f'<circle cx="{x:.4f}" cy="{y:.4f}" r="{r:.4f}" fill="#2563EB"/>'
        for x, y, r in spinner_dots(96)) + "</svg>")
    out.append(("spinner-frame", one("wifi_setup/loading_wifiSpin_00.png"), "#FFFFFF", dots,
                False, None))
    return out


def convert(build, work):
    """Converts the samples and the picture-rich golden case; answers a finder
    of the pictures written."""
    inputs = {p.stem: p for p in SAMPLES.glob("*.html")}
    inputs["pictures_rich"] = ROOT / "tests" / "golden" / "pictures_rich" / "input.html"
    for name, html in inputs.items():
        out = work / "conv" / name
        out.mkdir(parents=True, exist_ok=True)
        subprocess.run([str(build / "pagefold"), str(html), str(out) + "/"], check=True,
                       stdout=subprocess.DEVNULL)

    def find(pattern):
        case, pat = pattern.split("/", 1)
        hits = sorted(glob.glob(str(work / "conv" / case / "images" / pat)))
        if not hits:
            sys.exit(f"compare-pictures: no picture {pattern}")
        return hits[0]
    return find


def render(entries, work):
    """One page with every element in a column; one screenshot; answers the
    screenshot and the top of each element."""
    tops, y, width = [], 0, 0
    body = []
    for label, path, bg, inner, _, crop in entries:
        w, h = Image.open(path).size
        if crop:
            w, h = crop[2] - crop[0], crop[3] - crop[1]
        tops.append(y)
        body.append(f'<div style="position:absolute;left:0;top:{y}px;width:{w}px;height:{h}px;'
                    f'background:{bg};overflow:hidden">{inner}</div>')
        y += h + 8
        width = max(width, w)
    page = work / "page.html"
    page.write_text(
        "<!DOCTYPE html><html><head><style>"
        f"@font-face{{font-family:Icons;src:url('file://{ICON_FONT}')}}"
        f"@font-face{{font-family:Emoji;src:url('file://{EMOJI_FONT}')}}"
        "body{margin:0;background:#808080}</style></head><body>"
        + "".join(body) + "</body></html>", encoding="utf-8")
    shot = work / "chromium.png"
    profile = work / "profile"  # a fresh profile for every run
    subprocess.run(["chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
                    "--hide-scrollbars", "--force-device-scale-factor=1", "--no-first-run",
                    "--disable-background-networking", "--disable-component-update",
                    "--disable-sync", f"--user-data-dir={profile}", "--virtual-time-budget=3000",
                    f"--window-size={width},{y}", f"--screenshot={shot}", page.as_uri()],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return Image.open(shot).convert("RGB"), tops


def stats(a, b):
    """Mean absolute difference per channel, largest difference, share of
    pixels off by more than 16."""
    diff = ImageChops.difference(a, b)
    px = list(diff.getdata())
    n = len(px)
    mean = [sum(p[c] for p in px) / n for c in range(3)]
    return mean, max(max(p) for p in px), sum(1 for p in px if max(p) > 16) / n, diff


def shifted(img, dx, dy, bg):
    out = Image.new("RGB", img.size, bg)
    out.paste(img, (dx, dy))
    return out


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--build", default=str(ROOT / "build"))
    ap.add_argument("--out", default=str(ROOT / "build" / "picture-check"))
    args = ap.parse_args()
    build, out = Path(args.build), Path(args.out)
    out.mkdir(parents=True, exist_ok=True)
    work = Path(tempfile.mkdtemp(prefix="pf-compare-"))
    entries = items(convert(build, work))
    shot, tops = render(entries, work)

    print(f"{'picture':18} {'size':>9}  {'mean R/G/B':>17}  {'max':>3}  {'>16':>6}  best shift")
    for (label, path, bg, _, search, crop), top in zip(entries, tops):
        ours = Image.open(path).convert("RGBA")
        if crop:
            ours = ours.crop(crop)
        w, h = ours.size
        flat = Image.new("RGBA", ours.size, bg)
        flat.alpha_composite(ours)
        flat = flat.convert("RGB")
        theirs = shot.crop((0, top, w, top + h))
        mean, mx, share, diff = stats(flat, theirs)
        best = ""
        if search:
            tries = [(stats(shifted(flat, dx, dy, bg), theirs)[0], dx, dy)
                     for dx in range(-2, 3) for dy in range(-2, 3)]
            m, dx, dy = min(tries, key=lambda t: sum(t[0]))
            best = f"({dx:+d},{dy:+d}) {m[0]:.1f}/{m[1]:.1f}/{m[2]:.1f}"
        print(f"{label:18} {w:>4}x{h:<4}  {mean[0]:5.1f}/{mean[1]:5.1f}/{mean[2]:5.1f}  "
              f"{mx:3d}  {share:6.1%}  {best}")
        scale = max(1, min(6, 480 // max(w, h)))
        amp = diff.point(lambda v: min(255, v * 4))
        side = Image.new("RGB", (3 * w * scale + 16, h * scale), "#FF00FF")
        for i, im in enumerate((flat, theirs, amp)):
            side.paste(im.resize((w * scale, h * scale), Image.NEAREST), (i * (w * scale + 8), 0))
        side.save(out / f"{label}.png")
    print(f"side by side (ours | Chromium | difference x4): {out}/")
    shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
