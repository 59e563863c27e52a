"""Looks into a saved clip."""

import array
import json
import struct
import subprocess
import time
from pathlib import Path

from .processes import PATIENCE

# Where ClockWindow draws, and how: a grid of cells of this many pixels, one bit each, see Tests/EndToEnd/ClockWindow.cpp.
CLOCK_LEFT, CLOCK_TOP, CELL, COLUMNS, ROWS = 16, 16, 24, 8, 5
# The row of colour fields below the grid.
COLOURS = ((255, 0, 0), (0, 255, 0), (0, 0, 255), (255, 255, 255), (0, 0, 0), (255, 255, 0), (0, 255, 255), (255, 0, 255))
SOUND_RATE = 48000  # of what `sound` gives


def _run(*arguments):
    done = subprocess.run(list(map(str, arguments)), stdin=subprocess.DEVNULL, capture_output=True, timeout=120 * PATIENCE)
    return done.returncode, done.stdout, done.stderr.decode(errors="replace")


class Clip:
    def __init__(self, path, clock_at=(CLOCK_LEFT, CLOCK_TOP)):
        """`clock_at`: where in the pictures the clock window is."""
        self.path, self._clock_at = Path(path), clock_at

    def problems(self):
        """What the decoder complains about while it decodes every picture; empty for a sound clip."""
        # With the clip's own times: a recording that began anew may have two pictures closer to each other than its usual rate.
        code, _, errors = _run("ffmpeg", "-v", "warning", "-xerror", "-err_detect", "explode", "-i", self.path, "-fps_mode", "passthrough",
                               "-enc_time_base", "-1", "-f", "null", "-")
        return errors if errors or code == 0 else f"ffmpeg ended with {code}"

    def probe(self):
        code, output, errors = _run("ffprobe", "-v", "error", "-show_format", "-show_streams", "-of", "json", self.path)
        if code != 0:
            raise AssertionError(f"ffprobe cannot read {self.path}: {errors}")
        return json.loads(output)

    def packets(self):
        """Time and whether it is a key frame, for each video sample in the order of the file."""
        _, output, _ = _run("ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "packet=pts_time,flags", "-of", "json", self.path)
        return [(float(packet["pts_time"]), "K" in packet["flags"]) for packet in json.loads(output)["packets"]]

    def boxes(self, *path):
        """The types of the boxes of the file in their order; with a path of types those within that box, none when it is not there."""
        data = self.path.read_bytes()
        begin, end = 0, len(data)
        for step in path:
            found = next(((begin, end) for kind, begin, end in _boxes(data, begin, end) if kind == step), None)
            if not found:
                return []
            begin, end = found
            if step == "meta":
                begin += 4  # its version and flags come before the boxes
        return [kind for kind, _, _ in _boxes(data, begin, end)]

    def clock(self, begin=0, end=1e9):
        """What the clock window showed in each picture from `begin` to `end`, in seconds of the host clock. A picture that shows parts
        of two moments raises."""
        width, height = COLUMNS * CELL, ROWS * CELL
        left, top = self._clock_at
        data = self._raw(f"trim={begin}:{end},crop={width}:{height}:{left}:{top}:exact=1", "gray")
        return [_number(data[at:at + width * height], width, at // (width * height)) for at in range(0, len(data), width * height)]

    def colours(self):
        """The red, green and blue of each colour field in the last picture."""
        width = len(COLOURS) * CELL
        left, top = self._clock_at
        data = self._raw(f"crop={width}:{CELL}:{left}:{top + ROWS * CELL}:exact=1", "rgb24")
        line = data[-width * CELL * 3:][width * (CELL // 2) * 3:]
        return [tuple(line[(CELL * field + CELL // 2) * 3:][:3]) for field in range(len(COLOURS))]

    def brightest_beside_the_clock(self):
        """The brightest pixel outside the clock window in any picture, 0 to 255."""
        left, top = self._clock_at
        clock = f"drawbox={left}:{top}:{COLUMNS * CELL}:{(ROWS + 1) * CELL}:black:fill"
        return max(self._raw(clock, "gray"))

    def pictures(self):
        """Every picture's levels of grey, line by line."""
        width, height = self.size()
        data = self._raw("scale=in_color_matrix=bt709:in_range=tv:out_range=pc", "gray")
        return [data[at:at + width * height] for at in range(0, len(data), width * height)]

    def levels(self, x, y):
        """The level of grey of one pixel in each picture."""
        return self._raw(f"crop=1:1:{x}:{y}:exact=1,scale=in_range=tv:out_range=pc", "gray")

    def sound(self):
        """The left and the right channel as they are heard from the clip's beginning on, SOUND_RATE numbers a second."""
        code, output, errors = _run("ffmpeg", "-v", "error", "-i", self.path, "-vn", "-af", "aresample=async=1:first_pts=0", "-ac", "2",
                                    "-ar", SOUND_RATE, "-f", "f32le", "-")
        if code != 0:
            raise AssertionError(f"ffmpeg cannot decode the sound of {self.path}: {errors}")
        numbers = array.array("f", output)
        return numbers[0::2], numbers[1::2]

    def span(self, kind):
        """When a track begins and ends, in seconds. `kind` is that of ffprobe: v or a."""
        _, output, _ = _run("ffprobe", "-v", "error", "-select_streams", kind, "-show_entries", "packet=pts_time,duration_time",
                            "-of", "json", self.path)
        packets = [(float(packet["pts_time"]), float(packet["duration_time"])) for packet in json.loads(output)["packets"]]
        return packets[0][0], packets[-1][0] + packets[-1][1]

    def size(self):
        """Width and height of the pictures."""
        stream = next(stream for stream in self.probe()["streams"] if stream["codec_type"] == "video")
        return stream["width"], stream["height"]

    def colours_at(self, x, y):
        """The red, green and blue of that place in each picture."""
        size = 2  # chroma has one value for four pixels
        data = self._raw(f"crop={size}:{size}:{x // size * size}:{y // size * size}:exact=1", "rgb24")
        return [tuple(data[at:at + 3]) for at in range(0, len(data), size * size * 3)]

    def _raw(self, picture_filter, pixel_format):
        code, output, errors = _run("ffmpeg", "-v", "error", "-i", self.path, "-vf", picture_filter, "-fps_mode", "passthrough", "-f", "rawvideo",
                                    "-pix_fmt", pixel_format, "-")
        if code != 0:
            raise AssertionError(f"ffmpeg cannot decode {self.path}: {errors}")
        return output


def _boxes(data, at, end):
    while at < end:
        if at + 8 > end:
            raise AssertionError(f"{end - at} bytes behind the last box")
        size, kind = struct.unpack_from(">I4s", data, at)
        header = 8
        if size == 1:
            size, header = struct.unpack_from(">Q", data, at + 8)[0], 16
        if size < header or at + size > end:
            raise AssertionError(f"box {kind} reaches beyond the end")
        yield kind.decode("latin-1"), at + header, at + size
        at += size


def _number(picture, width, index):
    bits = 0
    for cell in range(COLUMNS * ROWS):
        x, y = cell % COLUMNS * CELL + CELL // 2, cell // COLUMNS * CELL + CELL // 2
        level = picture[y * width + x]
        if 80 < level < 175:
            raise AssertionError(f"picture {index}: cell {cell} is neither black nor white but {level}")
        bits = bits << 1 | (level >= 128)
    milliseconds, check = bits >> 8, bits & 0xFF
    if check != (sum(milliseconds.to_bytes(4, "big")) & 0xFF) ^ 0xA5:
        raise AssertionError(f"picture {index} shows parts of two moments")
    # The window shows the lower 32 bits; the moment meant is the last one with these.
    now = int(time.monotonic() * 1000)
    return (now - (now - milliseconds) % 2**32) / 1000
