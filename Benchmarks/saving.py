"""What a save takes beside making the same clip with the command line."""

import os
import resource
import statistics
import subprocess
import time
from dataclasses import dataclass

from measuring import Figure

ROUNDS = 3


@dataclass
class Save:
    seconds: float
    processor: float


def _ours(build, length, clip, sound):
    done = subprocess.run([str(build / "Benchmarks/save_benchmark"), str(length), str(clip), str(sound)], capture_output=True, text=True, check=True,
                          timeout=300)
    took, processor, _ = done.stdout.split()
    return Save(float(took), float(processor))


def _theirs(clip, sound, output):
    before, begin = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", str(clip), "-f", "f32le", "-ar", "48000", "-ac", "2", "-i", str(sound),
                    "-map", "0:v", "-map", "1:a", "-c:v", "copy", "-c:a", "aac", "-b:a", "128k", str(output)], check=True, timeout=300)
    took, after = time.monotonic() - begin, resource.getrusage(resource.RUSAGE_CHILDREN)
    return Save(took, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)


def _save(build, folder, length, name):
    clip, sound, output = (folder / f"save-{length}.{kind}" for kind in ("mp4", "f32", "peer.mp4"))
    ours, theirs = [], []
    for _ in range(ROUNDS):
        ours.append(_ours(build, length, clip, sound))
        theirs.append(_theirs(clip, sound, output))
    ratios = tuple(mine.seconds / other.seconds for mine, other in zip(ours, theirs))
    processor = statistics.median(mine.processor / other.processor for mine, other in zip(ours, theirs))
    note = (f"{statistics.median(each.seconds for each in ours):.2f} to {statistics.median(each.seconds for each in theirs):.2f} s; processor "
            f"{processor:.2f} of the peer's; {os.path.getsize(clip) / 1e6:.0f} MB, flushed to the disk, which the peer's is not")
    return Figure(name, statistics.median(ratios), ratios, note)


def save(build, _seconds, folder):
    """Clips of one minute and of five, with sound."""
    return [_save(build, folder, 60, "save-60"), _save(build, folder, 300, "save-300")]
