"""Runs the measurements of these names, all when none is given, and says which figures are met.

usage: run.py build-folder output-folder [--short] [--seconds N] [NAME...]

Prints a table and writes bench.json. Ends with 1 when a figure that is asked for is not met, and with 2 when something could not be
measured.
"""

import argparse
import json
import subprocess
import sys
import tempfile
import time
import traceback
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "scripts/lib")]

import counting
import memory
import presets
import recording
import response
import saving
import sound
import where
from desktop.processes import exit_on_signals
from expected import Expected
from measuring import load

MEASUREMENTS = {
    "still": recording.still, "still-bytes": recording.still_bytes, "caret": recording.caret, "film": recording.film,
    "screen": recording.screen, "idle": response.idle, "first": response.first, "append": counting.micro, "save": saving.save, "gap": response.gap,
    "icon": response.icon, "window": response.window, "instructions": counting.instructions,
}
# Minutes each: only when they are asked for.
LONG = {
    "long-gap": response.long_gap, "presets": presets.presets, "where": where.where, "memory-hour": memory.hour, "sound-loss": sound.loss,
}
# What can be judged on any machine, however busy.
SHORT = ("append", "instructions")


def measure(names, build, seconds):
    """Yields the figures one by one, and a name where there is none."""
    for name in names:
        begin = time.monotonic()
        print(f"measuring {name} …", file=sys.stderr, flush=True)
        with tempfile.TemporaryDirectory(prefix="pellaro-bench-") as folder:
            try:
                yield from (MEASUREMENTS | LONG)[name](build, seconds, Path(folder))
            except (AssertionError, OSError, ValueError, StopIteration, IndexError, subprocess.SubprocessError):
                traceback.print_exc()
                yield name
        print(f"  {time.monotonic() - begin:.0f} s, load {load():.1f}", file=sys.stderr, flush=True)


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench")
    parser.add_argument("build", type=Path)
    parser.add_argument("output", type=Path)
    parser.add_argument("names", nargs="*", metavar="NAME", help=", ".join(MEASUREMENTS | LONG))
    parser.add_argument("--short", action="store_true", help="only what a busy machine can judge; fails on a step back")
    parser.add_argument("--seconds", type=float, default=20, help="how long processor time is measured")
    options = parser.parse_intermixed_args()
    for name in options.names:
        if name not in MEASUREMENTS | LONG:
            parser.error(f"{name} is none of {', '.join(MEASUREMENTS | LONG)}")
    exit_on_signals()
    expected = Expected(HERE / "expected.json", gates_only=options.short)
    before, begin = load(), time.strftime("%Y-%m-%dT%H:%M:%S%z")
    rows, missing = [], []
    for found in measure(options.names or (SHORT if options.short else MEASUREMENTS), options.build.resolve(), options.seconds):
        if isinstance(found, str):
            missing.append(found)
        else:
            rows.append(expected.judge(found))
            print(rows[-1].line(), flush=True)
    options.output.mkdir(parents=True, exist_ok=True)
    results = {"begin": begin, "load": [before, load()], "seconds": options.seconds, "figures": [row.as_values() for row in rows], "missing": missing}
    (options.output / "bench.json").write_text(json.dumps(results, indent=2) + "\n", encoding="utf-8")
    unmet = [row.name for row in rows if row.met is False]
    print(f"\n{sum(row.met is True for row in rows)} met, {len(unmet)} not{': ' + ', '.join(unmet) if unmet else ''}; "
          f"load {before:.1f} to {load():.1f}; {options.output / 'bench.json'}")
    if missing:
        print(f"could not be measured: {', '.join(missing)}")
        return 2
    return 1 if unmet else 0


try:
    sys.exit(main())
except KeyboardInterrupt:
    sys.exit(130)
