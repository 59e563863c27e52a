"""Films for the screen whose pictures carry their number, and what a recording has made of them."""

import json
import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

# The number stands in the upper left corner: one cell for each bit, the highest first, white for 1.
CELL, BITS = 16, 8
LINE = 17  # pixels from one line of text to the next


def run_ffmpeg(*arguments, **options):
    """Runs it to its end; fails when it does."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", *map(str, arguments)], capture_output=True, timeout=300, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"ffmpeg: {done.stderr.decode(errors='replace').strip()}")
    return done


@dataclass(frozen=True)
class Film:
    """A file for film_window, and where on the screen it is shown."""

    path: Path
    width: int
    height: int
    x: int
    y: int
    pictures: int

    @property
    def picture_bytes(self):
        return self.width * self.height * 4


def make_film(folder, width, height, x, y, pictures=60):
    """A moving test pattern, numbered from 0 on."""
    path = folder / f"film-{width}x{height}.bgr0"
    run_ffmpeg("-f", "lavfi", "-i", f"testsrc2=size={width}x{height}:rate=30", "-frames:v", pictures, "-pix_fmt", "bgr0", "-f", "rawvideo", path)
    film = Film(path, width, height, x, y, pictures)
    with open(path, "r+b") as file:
        for number in range(pictures):
            bits = ((number >> (BITS - 1 - place)) & 1 for place in range(BITS))
            line = b"".join((b"\xff\xff\xff\0" if bit else b"\0\0\0\0") * CELL for bit in bits)
            for row in range(CELL):
                file.seek(number * film.picture_bytes + row * width * 4)
                file.write(line)
    return film


def make_page(folder, width, height):
    """A page of small dense text that fills the screen."""
    path = folder / f"page-{width}x{height}.bgr0"
    words = "the quick brown fox jumps over the lazy dog while 0123456789 sphinxes of black quartz judge { my == vow; } ".split()
    lines = [" ".join(words[(7 * line + word) % len(words)] for word in range(36)) for line in range(-(-height // LINE))]
    subprocess.run(["convert", "-size", f"{width}x{height}", "xc:white", "-font", "DejaVu-Sans-Mono", "-pointsize", "14", "-fill", "#202020",
                    "-annotate", "+8+20", "\n".join(lines), "-depth", "8", f"bgra:{path}"], check=True, timeout=60)
    return Film(path, width, height, 0, 0, 1)


@dataclass(frozen=True)
class Packet:
    at: float
    size: int
    is_key: bool


def packets(clip):
    """The compressed pictures of a recording."""
    done = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "packet=pts_time,size,flags", "-of", "json",
                           str(clip)], capture_output=True, check=True, timeout=60)
    return [Packet(float(each["pts_time"]), int(each["size"]), "K" in each["flags"]) for each in json.loads(done.stdout)["packets"]]


def numbers(clip, film, corner):
    """The number that each picture of the recording shows of the film, whose upper left corner is at `corner` there."""
    width = BITS * CELL
    area = f"crop={width}:{CELL}:{corner[0]}:{corner[1]}:exact=1,format=gray"
    data = run_ffmpeg("-i", clip, "-vf", area, "-fps_mode", "passthrough", "-f", "rawvideo", "-").stdout
    found = []
    for begin in range(0, len(data), width * CELL):
        middle = data[begin + width * (CELL // 2):][:width]
        number = sum((middle[CELL * place + CELL // 2] >= 128) << (BITS - 1 - place) for place in range(BITS))
        if number >= film.pictures:
            raise AssertionError(f"a picture of {clip} shows the number {number}, which the film does not have")
        found.append(number)
    return found


@dataclass(frozen=True)
class Kept:
    """What a recording has kept of a film: different pictures a second, and how many of the film's are missing between them."""

    per_second: float
    missing: int


def kept(clip, film, corner, begin):
    """Looks at the recording from `begin` seconds on."""
    shown = [(packet.at, number) for packet, number in zip(packets(clip), numbers(clip, film, corner)) if packet.at >= begin]
    steps = [(later - earlier) % film.pictures for (_, earlier), (_, later) in zip(shown, shown[1:])]
    different = sum(1 for step in steps if step)
    return Kept(different / (shown[-1][0] - shown[0][0]), sum(step - 1 for step in steps if step))


def bytes_per_second(clip, begin):
    """Of the pictures from the first key frame after `begin` seconds to the last key frame."""
    all_packets = packets(clip)
    keys = [packet.at for packet in all_packets if packet.is_key and packet.at >= begin]
    if len(keys) < 2:
        raise AssertionError(f"{clip} is too short: a key frame and the next one are needed after {begin} s")
    return sum(packet.size for packet in all_packets if keys[0] <= packet.at < keys[-1]) / (keys[-1] - keys[0])


def ssim(clip, film, corner, begin, height, count=60):
    """How like the film's own pictures `count` pictures of the recording are from `begin` seconds on: the brightness of the upper
    `height` lines, each picture compared with that of the same number."""
    shown = numbers(clip, film, corner)
    first = next(index for index, packet in enumerate(packets(clip)) if packet.at >= begin)
    wanted = shown[first:first + count]
    area = f"crop={film.width}:{height}"
    graph = (f"[0:v]{area}:0:0:exact=1,scale=out_color_matrix=bt709:out_range=tv,format=gray,settb=1/30,setpts=N[source];"
             f"[1:v]trim=start_frame={first}:end_frame={first + len(wanted)},{area}:{corner[0]}:{corner[1]}:exact=1,format=yuv420p,"
             "extractplanes=y,settb=1/30,setpts=N[seen];[seen][source]ssim")
    with subprocess.Popen(["ffmpeg", "-v", "info", "-nostats", "-f", "rawvideo", "-pix_fmt", "bgr0", "-video_size", f"{film.width}x{film.height}",
                           "-framerate", "30", "-i", "-", "-i", str(clip), "-lavfi", graph, "-f", "null", "-"],
                          stdin=subprocess.PIPE, stderr=subprocess.PIPE) as ffmpeg, open(film.path, "rb") as source:
        for number in wanted:
            source.seek(number * film.picture_bytes)
            ffmpeg.stdin.write(source.read(film.picture_bytes))
        ffmpeg.stdin.close()
        said = ffmpeg.stderr.read().decode(errors="replace")
    found = re.search(r"SSIM .*All:([0-9.]+)", said)
    if ffmpeg.returncode != 0 or not found:
        raise AssertionError(f"ffmpeg does not compare {clip}: {said}")
    return float(found[1])
