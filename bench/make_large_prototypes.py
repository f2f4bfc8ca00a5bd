#!/usr/bin/python3
"""Writes the large prototypes that the memory measurements of the README use.

  make_large_prototypes.py deep N OUT.html   one screen holding N windows, each
                                             inside the one before
  make_large_prototypes.py wide MB OUT.html  screens cut from the industrial
                                             sample until the file holds MB
                                             megabytes (about 32 KB a screen)
"""
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLE = os.path.join(HERE, "..", "tests", "fuzz", "corpus", "sample_industrial_hmi.html")


def deep(n):
    opening = '<div class="win" data-caption="w%05d" style="left:1px;top:1px">'
    body = "".join(opening % i for i in range(n)) + "x" + "</div>" * n
    return ('<html><body><div class="screen" data-page="deep" data-bg="#000000">'
            + body + "</div></body></html>")


def wide(megabytes):
    with open(SAMPLE, encoding="utf-8") as f:
        text = f.read()
    head = text[: text.index("<body>")]
    screens = re.findall(r'<div class="screen".*?\n</div>\n', text, re.S)
    inner = "".join(s[s.index(">") + 1: s.rindex("</div>")] for s in screens)
    out = [head, "<body>\n"]
    size, k = 0, 0
    while size < megabytes * 1_000_000:
        k += 1
        screen = ('<div class="screen" data-page="p%d" data-bg="#C8CCD0">' % k
                  + inner * 4 + "</div>\n")
        out.append(screen)
        size += len(screen.encode("utf-8"))
    out.append("</body></html>\n")
    return "".join(out)


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("deep", "wide"):
        sys.exit(__doc__)
    text = deep(int(sys.argv[2])) if sys.argv[1] == "deep" else wide(float(sys.argv[3 - 1]))
    with open(sys.argv[3], "w", encoding="utf-8") as f:
        f.write(text)


if __name__ == "__main__":
    main()
