#!/usr/bin/env python3
"""Differential check of the tokeniser against Python's html.parser.

Generates random markup (tags, attributes in every quoting style, entities
with and without semicolons, comments, declarations, raw text, stray "<" and
"&", CJK text and Unicode whitespace) and markup-like noise, runs every input through
html.parser.HTMLParser(convert_charrefs=True) (feed once, then close) and
through the tokdump tool, and compares the event streams.

What is compared: the exact sequence of events: start tags (name and the
ordered attribute list, absent values kept apart from empty ones), self-closed
tags, end tags, and every character-data piece exactly as delivered. Pieces
are NOT coalesced: the tokeniser reproduces the reference's piece boundaries.

What is left out, on purpose:
  * inputs on which the reference raises (a marked section "<![" with an
    unknown keyword or no keyword); the tokeniser treats those as bogus
    comments up to the next ">". They are counted and reported.
  * the characters U+017F, U+0131 and U+212A (which the reference's
    case-insensitive search would accept inside "</script>"), and Greek
    capital sigma (whose lower case depends on its position in the reference)
    are never generated: the tokeniser folds case one character at a time and
    recognises the closing tags of raw text by ASCII letters only.

Files named on the command line (real prototypes) are compared as well.

Usage: scripts/tokenizer_diff.py [--count N] [--seed S] [--tokdump PATH] [FILE...]
Exit status 0 when every compared input agrees.
"""

import argparse
import html.parser
import random
import subprocess
import sys
from pathlib import Path

TAGS = ["div", "span", "p", "a", "img", "br", "input", "style", "script", "DIV", "Span",
        "x-y", "a:b", "h1", "meta", "td", "screen", "svg", "path", "b", "I", "title"]
ATTR_NAMES = ["class", "id", "style", "data-x", "CLASS", "Id", "disabled", "a", "b",
              "data-pic", "href", "value", "x:y", "_z", "data-charset"]
ENTITIES = ["&amp;", "&amp", "&AMP", "&lt", "&lt;", "&gt;", "&nbsp;", "&nbsp", "&copy",
            "&copy2024", "&notit;", "&notin;", "&not", "&amp;lt;", "&#0;", "&#x110000;",
            "&#128;", "&#xD800;", "&#13;", "&#1;", "&#65", "&#x41", "&#X4a;", "&#",
            "&#x;", "&;", "&", "&&", "&frac12", "&frac12;", "&fjlig;", "&NotEqualTilde;",
            "&ThisIsNotAnEntityButAVeryLongNameHereX;", "&abcdefghijklmnopqrstuvwxyz0123456789;",
            "&#99999999999999999999;", "&#x7f;", "&#xFDD0;", "&#x1FFFF;", "&#9;", "&#32;",
            "&quot", "&apos;", "&Eacute", "&eacutex", "&amp=", "&copy=", "&x", "&#38;amp;",
            "&#12354;", "&nbsp;&nbsp;", "&lt;div&gt;", "&ycirc", "&zwj;", "&#x1F600;"]
WORDS = ["hello", "world", "a", "b", "x", "电池", "设置", "登录", "温度 25°C", "Wi-Fi",
         "123", "1 < 2", "a>b", "=", "\"", "'", "/", "-", "--", "]", "]]", ";", "#", ":",
         "\u3000", "\xa0", "\t", "\n", "  ", "\x0b", "\x1c", "\u2028", "\u0085", "\r",
         "\x00", "é", "ß", "İ", "😀"]
SPACES = [" ", "  ", "\t", "\n", "\u3000", "\xa0", "\x0b", "\x0c", "\r", ""]


def rnd_name(r, pool):
    name = r.choice(pool)
    if r.random() < 0.1:
        name = "".join(ch.upper() if r.random() < 0.5 else ch for ch in name)
    if r.random() < 0.04:
        name += r.choice(["é", "电", "\"", "'", "=", "<", "\x00", "\x0b", "İ", "#", "&amp;"])
    return name


def rnd_value(r):
    parts = [r.choice(WORDS + ENTITIES + ["", "a b", "x/y", "url(a.png)", "#fff",
                                          "rgba(0,0,0,.5)", ">", "/>", "=x"])
             for _ in range(r.randint(0, 3))]
    return "".join(parts)


def rnd_attr(r):
    name = rnd_name(r, ATTR_NAMES)
    if r.random() < 0.05:
        name = r.choice(["=", "\"q\"", "'", "=x", "/", "é"]) + name
    kind = r.random()
    sp1, sp2 = (r.choice(SPACES) if r.random() < 0.15 else "" for _ in range(2))
    eq = "=" * (2 if r.random() < 0.05 else 1)
    value = rnd_value(r)
    if kind < 0.15:
        return name
    if kind < 0.5:
        return name + sp1 + eq + sp2 + '"' + value.replace('"', "") + '"'
    if kind < 0.7:
        return name + sp1 + eq + sp2 + "'" + value.replace("'", "") + "'"
    if kind < 0.92:
        return name + sp1 + eq + sp2 + value.replace(" ", "").replace("\n", "")
    # broken: unterminated quote or empty
    return name + sp1 + eq + sp2 + r.choice(['"', "'", '"' + value, "", "''", '""'])


def rnd_starttag(r):
    tag = rnd_name(r, TAGS)
    out = "<" + tag
    for _ in range(r.choice([0, 0, 1, 1, 2, 3])):
        out += r.choice([" ", " ", "  ", "\n", "\t", "/", " /", "\u3000", ""]) + rnd_attr(r)
    out += r.choice(["", "", " ", "\n", "/", " /", "\u3000"])
    out += r.choice([">"] * 8 + ["/>", "/>", " />", "", "x>", "\"", "'>", "=>", "/ >", "<"])
    return out


def rnd_endtag(r):
    tag = rnd_name(r, TAGS)
    return r.choice(["</%s>", "</%s>", "</%s>", "</ %s>", "</%s >", "</%s foo>", "</%s\n>",
                     "</%s/>", "</%s", "</>", "</3>", "</ >", "</%s=x>", "</%s\"a>\">",
                     "</%s\u3000>", "</\t%s\t>"]).replace("%s", tag)


def rnd_raw(r):
    tag = r.choice(["script", "style", "SCRIPT", "Style"])
    body = "".join(r.choice(["a{color:red}", " ", "</scr", "</styl", "</stylex>",
                             "<b>", "&amp;", "&lt;", "电", "\n", "<!-- x -->", "</",
                             "if (a<b) {}", "</script", "</style", "<", "'", '"'])
                   for _ in range(r.randint(0, 6)))
    close = r.choice(["</%s>", "</%s>", "</%s >", "</ %s>", "</%s\n>", "</%s\u3000>",
                      "</%s>", "</%s x>", ""])
    close = close.replace("%s", r.choice([tag, tag.lower(), tag.upper()]))
    attrs = " type=\"text/css\"" if r.random() < 0.3 else ""
    return "<" + tag + attrs + r.choice([">", ">", "/>", " >"]) + body + close


def rnd_other(r):
    return r.choice([
        "<!-- c -->", "<!---->", "<!-- a -- >", "<!--x", "<!-->", "<!--->", "<!-- -- -->",
        "<!DOCTYPE html>", "<!doctype html", "<!DocType x>", "<?xml version=\"1.0\"?>", "<?pi",
        "<![CDATA[x<y]]>", "<![CDATA[x] ]>", "<![cdata[x", "<![if !IE]>", "<![endif]>",
        "<![if x", "<!>", "<!x>", "<!x", "<!", "<", "< ", "<3", "<<", "<=", "<\u3000",
        "<-", "<é", "<电", "&", "& ", "&#", "a < b", "a&b", "<a", "<a ", "<a b",
        "<a b=", "<a b='", "<a b=\"c", "<a/", "<a\x00>", "<a\x0bb>", "</", "<![", "<![x",
    ])


def rnd_text(r):
    return "".join(r.choice(WORDS + ENTITIES) if r.random() < 0.5 else r.choice(WORDS)
                   for _ in range(r.randint(1, 4)))


SOUP = ["<", ">", "/", "=", "'", '"', " ", "\n", "\u3000", "a", "B", "x", "1", "!", "-", "?",
        "[", "]", "&", "#", ";", "amp", "lt", "x41", "style", "script", "CDATA", "if",
        "doctype", "电", "\x00", "\x0b"]


def rnd_soup(r):
    """Markup-like noise: short runs of the characters the scanner decides on."""
    return "".join(r.choice(SOUP) for _ in range(r.randint(1, 40)))


def rnd_input(r):
    if r.random() < 0.3:
        return rnd_soup(r)
    pieces = []
    for _ in range(r.randint(1, 14)):
        k = r.random()
        if k < 0.3:
            pieces.append(rnd_starttag(r))
        elif k < 0.45:
            pieces.append(rnd_endtag(r))
        elif k < 0.7:
            pieces.append(rnd_text(r))
        elif k < 0.8:
            pieces.append(rnd_raw(r))
        else:
            pieces.append(rnd_other(r))
    return "".join(pieces)


def hx(s):
    return s.encode("utf-8", "surrogatepass").hex() or "~"


class Recorder(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.lines = []

    def _tag(self, kind, tag, attrs):
        parts = [kind, hx(tag)]
        for name, value in attrs:
            parts.append(hx(name) if value is None else hx(name) + "=" + hx(value))
        self.lines.append(" ".join(parts))

    def handle_starttag(self, tag, attrs):
        self._tag("S", tag, attrs)

    def handle_startendtag(self, tag, attrs):
        self._tag("SE", tag, attrs)

    def handle_endtag(self, tag):
        self.lines.append("E " + hx(tag))

    def handle_data(self, data):
        self.lines.append("D " + hx(data))


def reference(text):
    p = Recorder()
    try:
        p.feed(text)
        p.close()
    except AssertionError:
        return None
    return p.lines


def readable(line):
    kind, *fields = line.split(" ")
    out = [kind]
    for f in fields:
        parts = f.split("=")
        dec = [bytes.fromhex(x if x != "~" else "").decode("utf-8", "replace") for x in parts]
        out.append("=".join(repr(d) for d in dec))
    return " ".join(out)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--count", type=int, default=5000)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--tokdump", default=str(Path(__file__).resolve().parent.parent /
                                             "build/tokdump"))
    ap.add_argument("--show", type=int, default=5, help="mismatches to print")
    ap.add_argument("files", nargs="*", help="prototype files to compare as well")
    args = ap.parse_args()

    r = random.Random(args.seed)
    inputs = [Path(f).read_text(encoding="utf-8-sig") for f in args.files]
    inputs += [rnd_input(r) for _ in range(args.count)]
    expected = [reference(t) for t in inputs]

    payload = b"".join(b"%d\n" % len(t.encode("utf-8")) + t.encode("utf-8") for t in inputs)
    run = subprocess.run([args.tokdump], input=payload, capture_output=True, check=True)
    actual, current = [], []
    for line in run.stdout.decode("ascii").splitlines():
        if line == "END":
            actual.append(current)
            current = []
        else:
            current.append(line)
    assert len(actual) == len(inputs), "tokdump returned %d records" % len(actual)

    skipped = sum(e is None for e in expected)
    bad = [(t, e, a) for t, e, a in zip(inputs, expected, actual) if e is not None and e != a]
    events = sum(len(e) for e in expected if e is not None)
    print("inputs: %d, compared: %d (%d events), skipped (reference raised): %d, mismatches: %d"
          % (len(inputs), len(inputs) - skipped, events, skipped, len(bad)))
    for t, e, a in sorted(bad, key=lambda b: len(b[0]))[: args.show]:
        print("\ninput:", repr(t))
        for i in range(max(len(e), len(a))):
            le = e[i] if i < len(e) else "-"
            la = a[i] if i < len(a) else "-"
            mark = "  " if le == la else "!="
            print(" ", mark, readable(le) if le != "-" else "-", "|",
                  readable(la) if la != "-" else "-")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
