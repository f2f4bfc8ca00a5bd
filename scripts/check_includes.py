#!/usr/bin/env python3
"""Keeps the dependencies between the stages of the converter pointing one way.

The driver uses every stage; controls use assets, front and util; assets use
front and util; finish uses util; front uses util. The public headers under
include/pagefold include only each other, and the plug-ins (plugins/) build on
those public headers alone, never on a stage's private ones. A quoted include of another folder
than those (a text that merely looks like an include, say) is not checked.
Prints each include that points the wrong way and exits with 1 if there is one.
"""
import pathlib
import re
import sys

ALLOWED = {
    "driver": {"driver", "controls", "assets", "finish", "front", "util"},
    "controls": {"controls", "assets", "front", "util"},
    "assets": {"assets", "front", "util"},
    "finish": {"finish", "util"},
    "front": {"front", "util"},
    "util": {"util"},
}
STAGES = set(ALLOWED)
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"/]+)/[^"]+"', re.M)


def main() -> int:
    top = pathlib.Path(__file__).resolve().parent.parent
    wrong = []
    for stage, allowed in ALLOWED.items():
        for path in sorted((top / "src" / stage).glob("*.[ch]pp")):
            for m in INCLUDE.finditer(path.read_text(encoding="utf-8")):
                folder = m.group(1)
                if folder in STAGES and folder not in allowed:
                    wrong.append(f"{path.relative_to(top)}: includes {folder}/ ({stage} may use "
                                 f"{', '.join(sorted(allowed - {stage}))})")
    for path in sorted((top / "include" / "pagefold").glob("*.hpp")):
        for m in INCLUDE.finditer(path.read_text(encoding="utf-8")):
            if m.group(1) != "pagefold":
                wrong.append(f"{path.relative_to(top)}: a public header includes {m.group(1)}/")
    for path in sorted((top / "plugins").rglob("*.[ch]pp")):
        for m in INCLUDE.finditer(path.read_text(encoding="utf-8")):
            if m.group(1) in STAGES:
                wrong.append(f"{path.relative_to(top)}: a plug-in includes the private {m.group(1)}/")
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
