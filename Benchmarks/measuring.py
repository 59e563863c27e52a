"""What a process costs, and how numbers of several runs become one."""

import os
import time
from dataclasses import dataclass
from pathlib import Path

_TICKS = os.sysconf("SC_CLK_TCK")


def processor_seconds(process):
    """What all threads of the process have used so far, in the program and in the kernel for it."""
    fields = Path(f"/proc/{process}/stat").read_text(encoding="utf-8", errors="replace").rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / _TICKS


def cores_used(process, seconds):
    """How many cores the process keeps busy on average from now on."""
    before, begin = processor_seconds(process), time.monotonic()
    time.sleep(seconds)
    return (processor_seconds(process) - before) / (time.monotonic() - begin)


def resident_bytes(process):
    """The memory of the process that is in use now, memory that it shares with the X server included."""
    return _stated(process, "status", "VmRSS")


def anonymous_bytes(process):
    """Of resident memory, what the process has asked for itself: neither files nor what it shares with others."""
    return _stated(process, "status", "RssAnon")


def picture_bytes(process):
    """Of resident memory, what the process shares with the X server: the pictures of the screen."""
    return _stated(process, "status", "RssShmem")


def proportional_bytes(process):
    """All of it, but of what others have in use too only this process's share."""
    return _stated(process, "smaps_rollup", "Pss")


def _stated(process, file, name):
    for line in Path(f"/proc/{process}/{file}").read_text(encoding="utf-8").splitlines():
        if line.startswith(f"{name}:"):
            return int(line.split()[1]) * 1024
    raise ValueError(f"{name} is not stated for process {process}")


def load():
    """How many processes wanted a core on average during the last minute."""
    return os.getloadavg()[0]


@dataclass
class Figure:
    """One line of the table. `runs` are the numbers that `value` was made of, `note` is what a reader has to know."""

    name: str
    value: float
    runs: tuple = ()
    note: str = ""
