#!/usr/bin/python3
"""Converts the benchmark prototypes as whole processes and reports time and memory.

  run.py --pagefold PATH --measure PATH [--runs N] [--only NAME,...] [--alone] [--before PATH]
         [--work DIR]
  run.py --pagefold PATH --measure PATH --check [--scale small|full] [--sums FILE]
  run.py --pagefold PATH --measure PATH --record [--scale small|full] [--sums FILE]

--measure names the helper built from bench/measure.cpp (pagefold_measure),
which runs each conversion and reports its wall time, CPU time and peak
resident memory.

Timing mode: each prototype (the generated ones and the four shared samples)
is converted N times (default 7), every run into a fresh output directory, and
the median wall time, the median CPU time (user + system) and the largest
peak resident memory are printed next to the targets, then the growth factor
per doubling of the input. Exit status 1 when a conversion fails. The first
line says which plug-ins were beside the command: the ones built beside it,
or none with --alone (a copy of the command in a directory of its own).
--before names an earlier build of the command (with its plug-ins beside it,
when they are to take part): each run converts with it and then with the
command, in turn, so that a machine whose speed drifts slows both alike, and
its median time and peak memory are printed before the command's.

--check converts every prototype of the scale once (the many-screen ones
also as merged windows) and compares a SHA-256 sum over all its output (page
files, pictures and the result record, with the output directory written as
"OUT") with the sums in FILE (default bench/expected-<scale>.sha256); exit
status 1 on any difference. --record writes FILE from the current build
instead. Both run a copy of the command alone in a directory, so that no
plug-in installed beside the command takes part.
"""
import argparse
import hashlib
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import gen_prototypes  # noqa: E402

SAMPLES = os.path.normpath(os.path.join(HERE, "..", "..", "shared", "samples"))

# Name: (target median milliseconds, target peak MB or None).
TARGETS = {
    "empty": (1.0, None),
    "sample_industrial_hmi": (1.5, None),
    "sample_login": (1.5, None),
    "sample_thermostat": (1.5, None),
    "sample_wifi_setup": (1.5, None),
    "mixed_20000": (60.0, 40.0),
    "screens_50x100": (15.0, None),
    "sheet_2000x2000": (40.0, None),
    "sheet_200x2000": (25.0, None),
}
# Series whose cost must grow linearly: (label, names in doubling order).
GROWTH = [
    ("controls on one screen", ["mixed_5000", "mixed_10000", "mixed_20000", "mixed_40000"]),
    ("nodes under 2,000 rules", ["sheet_2000x1000", "sheet_2000x2000", "sheet_2000x4000"]),
]
GROWTH_LIMIT = 2.2


def run_once(args, html, out_dir, extra=(), command=None):
    """One whole-process conversion into `out_dir`, through the measuring
    helper: (wall s, cpu s, peak KB, exit status, stdout bytes)."""
    proc = subprocess.run(
        [args.measure, command or args.pagefold, html, out_dir, *extra],
        capture_output=True,
        check=False,
    )
    err = proc.stderr.rstrip(b"\n")
    head, _, last = err.rpartition(b"\n")
    wall, user, system, rss, status = (int(x) for x in last.split())
    if status != 0:
        sys.stderr.write(head.decode("utf-8", "replace") + "\n")
    return wall / 1e6, (user + system) / 1e6, rss, status, proc.stdout


def output_digest(out_dir, stdout):
    """SHA-256 over every file below `out_dir` (sorted by path) and the
    record printed, with the directory's own path replaced by OUT."""
    h = hashlib.sha256()
    root = out_dir.encode()
    for base, dirs, files in os.walk(out_dir):
        dirs.sort()
        for name in sorted(files):
            path = os.path.join(base, name)
            h.update(os.path.relpath(path, out_dir).encode() + b"\0")
            with open(path, "rb") as f:
                h.update(f.read().replace(root, b"OUT") + b"\0")
    h.update(stdout.replace(root, b"OUT"))
    return h.hexdigest()


def write_prototypes(work, scale):
    protos = gen_prototypes.prototypes(scale)
    paths = {}
    for name, text in protos.items():
        path = os.path.join(work, name + ".html")
        with open(path, "w", encoding="utf-8") as f:
            f.write(text)
        paths[name] = path
    return paths


def sample_paths():
    paths = {}
    if os.path.isdir(SAMPLES):
        for name in sorted(os.listdir(SAMPLES)):
            if name.endswith(".html"):
                paths["sample_" + name[:-5]] = os.path.join(SAMPLES, name)
    return paths


def digests(args, paths, work):
    """Output sums of every prototype, and of the many-screen ones also as
    merged windows."""
    runs = [(name, path, ()) for name, path in paths.items()]
    runs += [
        (name + "_merged", path, ("--merge-windows",))
        for name, path in paths.items()
        if name.startswith("screens_")
    ]
    out = {}
    for name, path, extra in runs:
        out_dir = os.path.join(work, "out-" + name)
        os.mkdir(out_dir)
        *_, status, stdout = run_once(args, path, out_dir, extra)
        if status != 0:
            raise SystemExit(f"{name}: pagefold exited with status {status}")
        out[name] = output_digest(out_dir, stdout)
        shutil.rmtree(out_dir)
    return out


def check(args, work):
    sums = args.sums or os.path.join(HERE, f"expected-{args.scale}.sha256")
    # The sums are of conversions without plug-ins: a copy of the command in
    # a directory of its own finds none beside it.
    command_alone(args, work)
    got = digests(args, write_prototypes(work, args.scale), work)
    if args.record:
        with open(sums, "w") as f:
            for name, d in got.items():
                f.write(f"{d}  {name}\n")
        print(f"wrote {len(got)} sums to {sums}")
        return 0
    want = {}
    with open(sums) as f:
        for line in f:
            d, name = line.split()
            want[name] = d
    bad = 0
    for name in sorted(set(want) | set(got)):
        ok = want.get(name) == got.get(name)
        bad += not ok
        print(f"{'same' if ok else 'DIFFERENT':9s} {name}")
    print(f"{len(want) - bad} passed, {bad} failed")
    return 1 if bad else 0


def fmt_target(name):
    if name not in TARGETS:
        return ""
    ms, mb = TARGETS[name]
    return f"<= {ms:g} ms" + (f", <= {mb:g} MB" if mb else "")


PLUGIN_FILES = ["libpagefold_ui_emit.so", "libpagefold_gen_res.so", "libpagefold_gen_res_glyphs.so"]


def copy_alone(command, where):
    """A copy of `command` in the directory `where` of its own, where it
    finds no plug-in."""
    alone = os.path.join(where, "pagefold")
    os.makedirs(where)
    shutil.copy2(command, alone)
    return alone


def command_alone(args, work):
    """Points args.pagefold at a copy of the command alone."""
    args.pagefold = copy_alone(args.pagefold, os.path.join(work, "bin"))


def timing(args, work):
    if args.alone:
        command_alone(args, work)
        if args.before:
            args.before = copy_alone(args.before, os.path.join(work, "before"))
    for label, command in (("the command", args.pagefold), ("--before", args.before)):
        if command:
            here = os.path.dirname(command)
            found = [f for f in PLUGIN_FILES if os.path.exists(os.path.join(here, f))]
            print(f"plug-ins beside {label}: " + (", ".join(found) if found else "none"))
    paths = write_prototypes(work, "full")
    runs = [(name, path, ()) for name, path in paths.items()]
    # The many screens once more as merged windows: one root for all pages.
    runs.append(("screens_50x100_merged", paths["screens_50x100"], ("--merge-windows",)))
    runs += [(name, path, ()) for name, path in sample_paths().items()]
    if args.only:
        keep = set(args.only.split(","))
        runs = [run for run in runs if run[0] in keep]
    results = {}
    failed = False
    commands = ([args.before] if args.before else []) + [args.pagefold]
    before = f"{'before ms':>10s} {'cpu ms':>9s} {'MB':>6s} " if args.before else ""
    print(
        f"{'prototype':24s} {'input':>9s} {before}{'wall ms':>9s} {'cpu ms':>9s} {'peak MB':>8s}"
        "  target"
    )
    for name, path, extra in runs:
        walls = [[] for _ in commands]
        cpus = [[] for _ in commands]
        peaks = [0.0 for _ in commands]
        for r in range(args.runs):
            for c, command in enumerate(commands):
                out_dir = os.path.join(work, f"out-{name}-{r}-{c}")
                os.mkdir(out_dir)
                wall, cpu, rss, status, _ = run_once(args, path, out_dir, extra, command)
                shutil.rmtree(out_dir)
                if status != 0:
                    failed = True
                    continue
                walls[c].append(wall * 1000)
                cpus[c].append(cpu * 1000)
                peaks[c] = max(peaks[c], rss / 1024)
        if not all(walls):
            print(f"{name:24s} FAILED")
            continue
        size = os.path.getsize(path)
        wall, cpu, peak = statistics.median(walls[-1]), statistics.median(cpus[-1]), peaks[-1]
        results[name] = wall
        met = ""
        if name in TARGETS:
            ms, mb = TARGETS[name]
            met = " met" if wall <= ms and (mb is None or peak <= mb) else " MISSED"
        if args.before:
            before = (
                f"{statistics.median(walls[0]):10.2f} {statistics.median(cpus[0]):9.2f} "
                f"{peaks[0]:6.1f} "
            )
        print(
            f"{name:24s} {size / 1024:8.0f}K {before}{wall:9.2f} {cpu:9.2f} {peak:8.1f}  "
            f"{fmt_target(name)}{met}"
        )
    for label, names in GROWTH:
        if not all(n in results for n in names):
            continue
        factors = [results[b] / results[a] for a, b in zip(names, names[1:])]
        worst = max(factors)
        verdict = "met" if worst <= GROWTH_LIMIT else "MISSED"
        print(
            f"growth per doubling, {label}: "
            + ", ".join(f"{f:.2f}" for f in factors)
            + f"  (<= {GROWTH_LIMIT}) {verdict}"
        )
    return 1 if failed else 0


def main():
    ap = argparse.ArgumentParser(description="pagefold whole-process benchmark")
    ap.add_argument("--pagefold", required=True, help="the pagefold executable")
    ap.add_argument(
        "--measure", required=True, help="the pagefold_measure helper (bench/measure.cpp)"
    )
    ap.add_argument("--runs", type=int, default=7)
    ap.add_argument("--only", help="comma-separated prototype names")
    ap.add_argument("--alone", action="store_true", help="time the command without plug-ins")
    ap.add_argument("--before", help="an earlier build of the command, timed in turn with it")
    ap.add_argument("--check", action="store_true", help="compare output sums")
    ap.add_argument("--record", action="store_true", help="write output sums")
    ap.add_argument("--scale", choices=("small", "full"), default="small")
    ap.add_argument("--sums", help="file of expected sums")
    ap.add_argument("--work", help="directory for prototypes and output (default: temporary)")
    args = ap.parse_args()
    args.pagefold = os.path.abspath(args.pagefold)
    args.measure = os.path.abspath(args.measure)
    if args.before:
        args.before = os.path.abspath(args.before)
    work = args.work or tempfile.mkdtemp(prefix="pagefold-bench-")
    os.makedirs(work, exist_ok=True)
    try:
        if args.check or args.record:
            return check(args, work)
        return timing(args, work)
    finally:
        if not args.work:
            shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
