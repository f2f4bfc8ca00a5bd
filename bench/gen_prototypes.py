#!/usr/bin/python3
"""Writes the benchmark prototypes: shapes that stand for what users convert.

  gen_prototypes.py OUT_DIR [--scale small|full]

Every prototype is generated from a fixed seed, so the same command always
writes the same bytes. `full` writes the sizes the benchmark measures; `small`
writes reduced versions of the same shapes, for the output check that runs
with the tests.

Shapes:
  empty          one empty screen
  mixed_N        N mixed controls on one screen: every control family, inline
                 styles and classes, windows with children, lists, radio groups
  screens_SxC    S screens of C controls each (one page file per screen)
  sheet_RxN      N nodes under a style sheet of R rules (class, tag, id,
                 compound and descendant selectors, pseudo-elements)
"""
import os
import random
import sys

CLASSES = 150  # class names c0..c149 shared by sheets and nodes

TEXTS = [
    "温度 Temperature",
    "Living Room",
    "设置",
    "Start",
    "Pump P-201A",
    "湿度 Humidity 46%",
    "OK",
    "Cancel 取消",
    "Level 3.12 m",
    "报警 Alarms (3)",
]
COLORS = ["#FFFFFF", "#101820", "#1565C0", "#2E7D32", "#C62828", "#E8EEF5", "#7D8BA1"]


def box(rng, w_max=780, h_max=460):
    x, y = rng.randrange(0, w_max - 100), rng.randrange(0, h_max - 40)
    w, h = rng.randrange(20, 200), rng.randrange(16, 64)
    return x, y, w, h


def style_pos(rng, extra=""):
    x, y, w, h = box(rng)
    return f'style="left:{x}px;top:{y}px;width:{w}px;height:{h}px{extra}"'


def text_box(rng, text, fs, w_max=780, h_max=460):
    """A box for `text` at font size `fs` as a designer draws it: wide and
    tall enough nineteen times in twenty, too tight the twentieth."""
    units = sum(1.0 if ord(c) > 0x2E7F else 0.6 for c in text)
    w, h = int(units * fs * 1.1) + 24 + rng.randrange(40), int(fs * 1.25) + rng.randrange(12)
    if rng.randrange(20) == 0:
        w, h = rng.randrange(20, 100), rng.randrange(12, 30)
    x, y = rng.randrange(0, max(1, w_max - w)), rng.randrange(0, max(1, h_max - h))
    return f'style="left:{x}px;top:{y}px;width:{w}px;height:{h}px;font-size:{fs}px'


def data_pos(rng):
    x, y, w, h = box(rng)
    return f'data-x="{x}" data-y="{y}" data-w="{w}" data-h="{h}"'


def cls(rng):
    return f"c{rng.randrange(CLASSES)}"


def control(rng, i):
    """One control of a random family, as a designer writes it. Answers the
    markup and how many controls it holds."""
    t = rng.choice(TEXTS)
    col = rng.choice(COLORS)
    k = rng.randrange(20)
    if k < 6:
        t = f"{t} {i}"
        return (
            f'<div class="text {cls(rng)}" {text_box(rng, t, rng.randrange(12, 40))};'
            f'color:{col}">{t}</div>',
            1,
        )
    if k < 9:
        radius = ";border-radius:8px" if rng.randrange(40) == 0 else ""
        return (
            f'<div class="btn {cls(rng)}" data-caption="btn{i}" '
            f'{text_box(rng, t, rng.randrange(14, 30))};background:{col}{radius}">{t}</div>',
            1,
        )
    if k == 9:
        return (
            f'<div class="bar" data-caption="bar{i}" {data_pos(rng)} data-max="100" '
            f'data-value="{rng.randrange(100)}"></div>',
            1,
        )
    if k == 10:
        return (
            f'<div class="checkbox {cls(rng)}" {data_pos(rng)} data-checked="1">{t}</div>',
            1,
        )
    if k == 11:
        return (f'<input class="edit" {style_pos(rng)} placeholder="{t}" value="{i}">', 1)
    if k == 12:
        return (
            f'<div class="clock" {data_pos(rng)} data-format="HH:MM" data-fs="20">09:41</div>',
            1,
        )
    if k == 13:
        return (f'<img class="pic" src="symbols/p{i % 9}.png" {style_pos(rng)}>', 1)
    if k == 14:
        items = "".join(f"<li>{rng.choice(TEXTS)}</li>" for _ in range(3))
        return (f'<ul class="list" data-caption="list{i}" {data_pos(rng)}>{items}</ul>', 1)
    if k == 15:
        radios = "".join(
            f'<div class="radio" {data_pos(rng)}>{rng.choice(TEXTS)}</div>' for _ in range(2)
        )
        return (f'<div class="radiogroup" {data_pos(rng)}>{radios}</div>', 3)
    if k == 16:
        return (
            f'<div class="label hint" {data_pos(rng)} data-align="center">'
            f"{t}<br>{rng.choice(TEXTS)}</div>",
            1,
        )
    # A window with a few children, some with their own classes.
    kids = [control_leaf(rng, i, n) for n in range(3)]
    x, y = rng.randrange(0, 380), rng.randrange(0, 340)
    return (
        f'<div class="win {cls(rng)}" data-caption="win{i}" '
        f'style="left:{x}px;top:{y}px;width:400px;height:120px" data-bg="{col}">'
        + "".join(kids)
        + "</div>",
        4,
    )


def control_leaf(rng, i, n):
    t = f"{rng.choice(TEXTS)} {i}.{n}"
    return f'<div class="txt {cls(rng)}" {text_box(rng, t, 14, 400, 120)}">{t}</div>'


def controls(rng, count):
    out, n, i = [], 0, 0
    while n < count:
        markup, held = control(rng, i)
        out.append(markup)
        n += held
        i += 1
    return "\n".join(out)


def document(screens, css=""):
    head = (
        '<!DOCTYPE html>\n<html lang="zh-CN">\n<head>\n<meta charset="UTF-8">\n'
        "<title>bench</title>\n"
    )
    if css:
        head += "<style>\n" + css + "</style>\n"
    return head + "</head>\n<body>\n" + "\n".join(screens) + "\n</body>\n</html>\n"


def screen(name, body):
    return (
        f'<div class="screen" data-page="{name}" data-page-name="{name}" '
        f'data-res="800x480" data-bg="#0F141C">\n{body}\n</div>'
    )


def mixed(count, seed=1):
    rng = random.Random(seed)
    return document([screen("main", controls(rng, count))])


def screens(n_screens, per_screen, seed=2):
    rng = random.Random(seed)
    return document([screen(f"s{s}", controls(rng, per_screen)) for s in range(n_screens)])


def sheet(n_rules, n_nodes, seed=3):
    """Nested windows of classed leaves, about n_nodes elements, and a sheet
    of n_rules rules whose selectors hit them."""
    rng = random.Random(seed)
    tags = ["div", "span", "p", "li", "img", "input"]
    body, nodes, ids = [], 0, 0
    while nodes < n_nodes:
        leaves = []
        for _ in range(rng.randrange(4, 12)):
            extra = f" {cls(rng)}" if rng.randrange(2) else ""
            idattr = ""
            if rng.randrange(10) == 0:
                idattr = f' id="n{ids}"'
                ids += 1
            leaves.append(
                f'<div class="text {cls(rng)}{extra}"{idattr} {data_pos(rng)}>'
                f"{rng.choice(TEXTS)}</div>"
            )
        inner = "".join(leaves)
        body.append(
            f'<div class="win {cls(rng)}" {style_pos(rng)}>'
            f'<div class="panel {cls(rng)}" data-x="0" data-y="0" data-w="200" data-h="200">'
            f"{inner}</div></div>"
        )
        nodes += len(leaves) + 2
    rules = []
    for r in range(n_rules):
        k = rng.randrange(6)
        if k == 0:
            sel = "." + cls(rng)
        elif k == 1:
            sel = rng.choice(tags) + "." + cls(rng)
        elif k == 2:
            sel = f".{cls(rng)} .{cls(rng)}"
        elif k == 3:
            sel = f"#n{rng.randrange(max(ids, 1))}"
        elif k == 4:
            sel = f".{cls(rng)}.{cls(rng)}"
        else:
            sel = f".{cls(rng)}, .{cls(rng)}::before"
        rules.append(f"{sel} {{ color:#{100000 + r}; font-size:{12 + r % 20}px; }}\n")
    return document([screen("main", "\n".join(body))], "".join(rules))


EMPTY = document([screen("main", "")])


def prototypes(scale):
    """Name to text, in the order the benchmark runs them."""
    if scale == "small":
        return {
            "empty": EMPTY,
            "mixed_600": mixed(600),
            "screens_5x40": screens(5, 40),
            "sheet_300x400": sheet(300, 400),
        }
    out = {"empty": EMPTY}
    for n in (5000, 10000, 20000, 40000):
        out[f"mixed_{n}"] = mixed(n)
    out["screens_50x100"] = screens(50, 100)
    out["sheet_200x2000"] = sheet(200, 2000)
    for n in (1000, 2000, 4000):
        out[f"sheet_2000x{n}"] = sheet(2000, n)
    return out


def main(argv):
    if len(argv) < 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    out_dir = argv[1]
    scale = "full"
    if len(argv) > 2:
        if argv[2] != "--scale" or len(argv) != 4 or argv[3] not in ("small", "full"):
            print("usage: gen_prototypes.py OUT_DIR [--scale small|full]", file=sys.stderr)
            return 2
        scale = argv[3]
    os.makedirs(out_dir, exist_ok=True)
    for name, text in prototypes(scale).items():
        with open(os.path.join(out_dir, name + ".html"), "w", encoding="utf-8") as f:
            f.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
