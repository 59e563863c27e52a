"""Where the processor time of a recording goes, and how little each step could take."""

import re
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

import film as films
import presets
from measuring import Figure, processor_seconds
from recording import FILM_AT, FILM_SIZE, MEGABYTE, WARM_UP
from stage import HEIGHT, KEY_FRAME_INTERVAL, PARTITIONS, WIDTH, Stage, encoder_options

SAMPLES_A_SECOND = 997  # no divisor of what the program does 30 times a second
COPIES = 200
# What each part is called by, in the order in which they are asked.
PARTS = ("fetch", "convert", "encode", "around", "rest")


@dataclass(frozen=True)
class Share:
    """A part of the samples that were taken of the program: of one thread, library and function."""

    percent: float
    thread: str
    library: str
    function: str

    @property
    def part(self):
        if self.thread == "x11-capture":
            return "fetch"
        if re.search(r"convert|EncoderPicture", self.function) and self.library.startswith("Pellaro"):
            return "convert"
        if self.library.startswith(("libx264", "libavcodec")):
            return "encode"
        # libx264's own threads have the name of the one that has made them, which is the one that hands pictures over.
        return "around" if self.thread in ("compressor", "capture-stream") else "rest"


def _profile(process, seconds, folder):
    """Looks at the program for so long; returns its processor time in seconds, and how that is divided."""
    data = folder / "perf.data"
    before = processor_seconds(process)
    subprocess.run(["perf", "record", "-q", "-e", "cpu-clock", "-F", str(SAMPLES_A_SECOND), "-p", str(process), "-o", str(data), "--", "sleep",
                    str(seconds)], check=True, capture_output=True, timeout=seconds + 60)
    used = processor_seconds(process) - before
    report = subprocess.run(["perf", "report", "-i", str(data), "--stdio", "-q", "-F", "overhead,comm,dso,sym", "-t", ";", "--percent-limit", "0"],
                            check=True, capture_output=True, text=True, timeout=120).stdout
    shares = []
    for line in report.splitlines():
        fields = [field.strip() for field in line.split(";", 3)]
        if len(fields) == 4 and fields[0].endswith("%"):
            shares.append(Share(float(fields[0][:-1]), *fields[1:]))
    if not 95 < sum(share.percent for share in shares) < 105:
        raise AssertionError(f"perf does not divide what it has seen: {report[:500]}")
    return used, shares


def _copy_milliseconds(size):
    """What it takes to read so many bytes and to write them elsewhere, in milliseconds: the least of many, memory that is not in the caches."""
    source, target = memoryview(bytearray(size * 20)), memoryview(bytearray(size * 20))
    took = []
    for turn in range(COPIES):
        begin = size * (turn % 20)
        before = time.perf_counter()
        target[begin:begin + size] = source[begin:begin + size]
        took.append(time.perf_counter() - before)
    return min(took) * 1000


def _encoder_milliseconds(folder, film, page):
    """What libx264 alone takes for the same pictures out of memory."""
    path = folder / "screen.yuv"
    films.run_ffmpeg("-stream_loop", -1, *presets.raw(page), *presets.raw(film), "-filter_complex",
                     f"[0:v][1:v]overlay={film.x}:{film.y}:format=rgb:shortest=1,{presets.AS_ON_THE_SCREEN}", "-frames:v", KEY_FRAME_INTERVAL,
                     "-f", "rawvideo", path)
    scene = presets.Scene("film on a page", path)
    took = []
    for _ in range(presets.ROUNDS):
        reading = presets.measure(scene, "-c:v", "wrapped_avframe", "-f", "null", "-").processor
        took.append(presets.measure(scene, *encoder_options(partitions=PARTITIONS), "-f", "null", "-").processor - reading)
    return sorted(took)[len(took) // 2]


def where(build, seconds, folder):
    """In the film: a picture of 960 by 540 that moves on a page that stays."""
    with Stage(build) as stage:
        film = films.make_film(folder, *FILM_SIZE, *FILM_AT)
        page = films.make_page(folder, WIDTH, HEIGHT)
        stage.show(film)
        stage.show(page)
        with stage.recording() as program:
            time.sleep(WARM_UP)
            used, shares = _profile(program.process.pid, seconds, folder)
            clip = stage.saved(program)
        packets = films.packets(clip)
    pictures = len(packets) / (packets[-1].at - packets[0].at) * seconds
    took = {part: used / pictures * 1000 * sum(share.percent for share in shares if share.part == part) / 100 for part in PARTS}
    read = film.picture_bytes
    copy, alone = _copy_milliseconds(read), _encoder_milliseconds(Path(folder), film, page)
    notes = {"fetch": f"copying {read / MEGABYTE:.2f} MB once: {copy:.2f} ms", "convert": f"copying {read / MEGABYTE:.2f} MB once: {copy:.2f} ms",
             "encode": f"libx264 alone, out of memory: {alone:.2f} ms"}
    return [Figure("where-all", used / pictures * 1000, note=f"{pictures / seconds:.1f} pictures a second"),
            *(Figure(f"where-{part}", took[part], note=notes.get(part, "")) for part in PARTS)]
