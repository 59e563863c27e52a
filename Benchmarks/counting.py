"""What single operations of the hot paths cost: by the clock, and in instructions, which do not depend on how busy the machine is."""

import json
import re
import subprocess

from measuring import Figure

PATHS = ("append-15", "append", "retrieve", "convert-screen", "convert-caret", "compress-still", "compress-scrolling", "screen-still",
         "screen-caret")
_NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6}


def micro(build, _seconds, _folder):
    """Appending to the buffer and looking at it, with Google Benchmark: by the clock, the median of five repetitions."""
    done = subprocess.run([str(build / "Benchmarks/ring_buffer_benchmark"), "--benchmark_format=json", "--benchmark_repetitions=5",
                           "--benchmark_min_time=0.2"], capture_output=True, check=True, timeout=300)
    took = {}
    for each in json.loads(done.stdout)["benchmarks"]:
        if each.get("aggregate_name") == "median":
            took[each["run_name"].removesuffix("/manual_time")] = each["real_time"] * _NANOSECONDS[each["time_unit"]]
    note = ", ".join(f"{seconds} s: {took[f'append/{seconds}']:.0f} ns" for seconds in (15, 60, 300))
    return [Figure("append", took["append/300"], note=note), Figure("append-flat", took["append/300"] / took["append/15"], note=note),
            Figure("retrieve", took["retrieve/300"] / 1e6)]


def instructions(build, _seconds, folder):
    """Of each hot path, once."""
    return [Figure(f"instructions-{path}", _count(build, folder, path)) for path in PATHS]


def _count(build, folder, path):
    done = subprocess.run(["valgrind", "--tool=callgrind", "--toggle-collect=measured", "--collect-atstart=no",
                           f"--callgrind-out-file={folder / f'callgrind.{path}'}", str(build / "Benchmarks/hot_paths"), path],
                          capture_output=True, text=True, timeout=300, check=False)
    collected = re.search(r"Collected : (\d+)", done.stderr)
    if done.returncode != 0 or not collected or int(collected[1]) == 0:
        raise AssertionError(f"callgrind counts nothing of {path}: {done.stderr}")
    return int(collected[1]) / int(done.stdout)
