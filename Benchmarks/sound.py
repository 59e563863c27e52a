"""Whether sound is lost in long recordings beside other work."""

import contextlib
import os
import subprocess
import sys
from dataclasses import dataclass

from desktop.sound import PIPEWIRE, PULSEAUDIO
from measuring import Figure, load

SECONDS = 600
DUTY = 0.3
# Busy for its share of each 20 ms, on one processor.
BUSY = """
import os, sys, time
os.sched_setaffinity(0, {int(sys.argv[1])})
busy = 0.02 * float(sys.argv[2])
while True:
    begin = time.monotonic()
    while time.monotonic() - begin < busy:
        pass
    time.sleep(0.02 - busy)
"""


@dataclass(frozen=True)
class Count:
    """Frames of a recording, see SoundLoss.cpp; `jumps` are batches."""

    played: int
    missing: int
    repeated: int
    silent: int
    jumps: int


@contextlib.contextmanager
def _busy_processors():
    """Keeps each processor busy for a part of the time."""
    processes = []
    try:
        for processor in os.sched_getaffinity(0):
            processes.append(subprocess.Popen([sys.executable, "-c", BUSY, str(processor), str(DUTY)]))
        yield
        if any(process.poll() is not None for process in processes):
            raise AssertionError("a processor has not been kept busy")
    finally:
        for process in processes:
            process.kill()
            process.wait()


def loss(build, _seconds, _folder):
    """Ten minutes of numbered frames, on both kinds of servers at the same time."""
    counts, plain = {}, {}
    with _busy_processors():
        running = {kind: subprocess.Popen([build / "Benchmarks/sound_loss", kind, str(SECONDS)], stdout=subprocess.PIPE, text=True)
                   for kind in (PULSEAUDIO, PIPEWIRE)}
        try:
            for kind, process in running.items():
                said, _ = process.communicate(timeout=SECONDS + 120)
                if process.returncode != 0:
                    raise AssertionError(f"the recording from {kind} has failed")
                counts[kind], plain[kind] = (Count(*map(int, line.split())) for line in said.splitlines())
        finally:
            for process in running.values():
                process.kill()
                process.wait()
    if any(count.played < (SECONDS - 5) * 48000 for count in counts.values()):
        raise AssertionError(f"less has been played than the time: {counts}")
    wrong = tuple(count.missing + count.repeated for count in counts.values())
    note = "; ".join(f"{kind}: {count.missing} of {count.played:,} missing, {count.repeated} repeated; a plain recording: {plain[kind].missing} missing"
                     for kind, count in counts.items())
    return [Figure("sound-loss", sum(wrong), wrong, f"{note}; load {load():.1f}"),
            Figure("sound-jumps", sum(count.jumps for count in counts.values()), tuple(count.jumps for count in counts.values())),
            Figure("sound-silence", sum(count.silent for count in counts.values()), tuple(count.silent for count in counts.values()),
                   f"in a plain recording {[count.silent for count in plain.values()]}")]
