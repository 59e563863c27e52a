"""What other presets and numbers of threads of libx264 would cost, and what they would give."""

import re
import statistics
import tempfile
from dataclasses import dataclass
from pathlib import Path

import film as films
from chart import bar_charts
from measuring import Figure
from stage import HEIGHT, KEY_FRAME_INTERVAL, PARTITIONS, PRESET, THREADS, WIDTH, encoder_options

# What a choice is called, and its preset and partitions.
OWN = f"{PRESET}+p8x8"
CHOICES = {"ultrafast": ("ultrafast", None), "superfast": ("superfast", None), OWN: (PRESET, PARTITIONS), "veryfast": ("veryfast", None)}
AUTO = "auto"
THREAD_COUNTS = ("1", "2", AUTO)
PICTURES = 150
ROUNDS = 3
STEP = 12  # pixels that the text moves from picture to picture
NUMBERED = "settb=1/30,setpts=N"
AS_ON_THE_SCREEN = "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p"


@dataclass(frozen=True)
class Scene:
    """Pictures of the screen's size in 4:2:0. They begin anew where a key frame begins, so that the jump costs nothing."""

    name: str
    path: Path

    def as_input(self):
        return ("-stream_loop", -1, "-f", "rawvideo", "-pix_fmt", "yuv420p", "-video_size", f"{WIDTH}x{HEIGHT}", "-framerate", 30, "-i", self.path)


@dataclass(frozen=True)
class Run:
    """What one round of one choice took for each picture, in milliseconds."""

    processor: float
    clock: float


@dataclass(frozen=True)
class Result:
    scene: str
    choice: str
    threads: str
    processor: float
    clock: float
    ssim: float
    size: float  # bytes for each picture


def raw(film):
    """A film as an input of ffmpeg."""
    return ("-f", "rawvideo", "-pix_fmt", "bgr0", "-video_size", f"{film.width}x{film.height}", "-framerate", 30, "-i", film.path)


def _scenes(folder):
    still, text, video = (folder / f"{name}.yuv" for name in ("still", "text", "video"))
    page = films.make_page(folder, WIDTH, HEIGHT)
    films.run_ffmpeg(*raw(page), "-vf", AS_ON_THE_SCREEN, "-f", "rawvideo", still)
    long_page = films.make_page(folder, WIDTH, HEIGHT + STEP * KEY_FRAME_INTERVAL)
    films.run_ffmpeg("-stream_loop", -1, *raw(long_page), "-frames:v", KEY_FRAME_INTERVAL, "-vf",
                     f"crop={WIDTH}:{HEIGHT}:0:n*{STEP},{AS_ON_THE_SCREEN}", "-f", "rawvideo", text)
    film = films.make_film(folder, WIDTH, HEIGHT, 0, 0, KEY_FRAME_INTERVAL)
    films.run_ffmpeg(*raw(film), "-vf", AS_ON_THE_SCREEN, "-f", "rawvideo", video)
    film.path.unlink()
    return Scene("text that scrolls", text), Scene("video", video), Scene("still page", still)


def measure(scene, *output):
    """What ffmpeg needs for the scene with this output, reading it included."""
    done = films.run_ffmpeg("-v", "info", "-nostats", "-benchmark", *scene.as_input(), "-frames:v", PICTURES, *output)
    times = re.search(r"bench: utime=([0-9.]+)s stime=([0-9.]+)s rtime=([0-9.]+)s", done.stderr.decode(errors="replace"))
    user, system, clock = (float(each) * 1000 / PICTURES for each in times.groups())
    return Run(user + system, clock)


def _likeness(scene, clip):
    """SSIM of the brightness, picture by picture: the clip's times are rounded."""
    done = films.run_ffmpeg("-v", "info", "-nostats", "-i", clip, *scene.as_input(), "-lavfi",
                            f"[0:v]{NUMBERED}[seen];[1:v]{NUMBERED}[source];[seen][source]ssim=shortest=1", "-frames:v", PICTURES, "-f", "null", "-")
    return float(re.search(r"SSIM Y:([0-9.]+)", done.stderr.decode(errors="replace"))[1])


def _results(scene, folder):
    """Each choice in turn, several times; what the same takes without the encoder is subtracted."""
    choices = [(choice, threads) for choice in CHOICES for threads in THREAD_COUNTS]
    clips = {choice: folder / f"{'-'.join(choice)}.mkv" for choice in choices}
    runs = {choice: [] for choice in choices}
    for _ in range(ROUNDS):
        reading = measure(scene, "-c:v", "wrapped_avframe", "-f", "null", "-")
        for choice, threads in choices:
            preset, partitions = CHOICES[choice]
            options = encoder_options(preset, 0 if threads == AUTO else threads, partitions)
            run = measure(scene, *options, "-f", "matroska", clips[choice, threads])
            runs[choice, threads].append(Run(run.processor - reading.processor, run.clock - reading.clock))
    for choice in choices:
        packets = films.packets(clips[choice])
        if len(packets) != PICTURES:
            raise AssertionError(f"{len(packets)} pictures of {scene.name} have come out, not {PICTURES}")
        yield Result(scene.name, *choice, statistics.median(run.processor for run in runs[choice]), statistics.median(run.clock for run in runs[choice]),
                     _likeness(scene, clips[choice]), sum(packet.size for packet in packets) / PICTURES)


def _table(results):
    lines = ["| | choice | threads | processor time, ms a picture | by the clock, ms | SSIM | bytes a picture |", "| --- | --- | --- | --- | --- | --- | --- |"]
    for each in results:
        lines.append(f"| {each.scene} | {each.choice} | {each.threads} | {each.processor:.1f} | {each.clock:.1f} | {each.ssim:.5f} | {each.size:,.0f} |")
    return "\n".join(lines) + "\n"


def _picture(results):
    """For each scene the choices with as many threads as Pellaro takes, each beside its own choice."""
    groups = {}
    for each in results:
        if each.threads == str(THREADS):
            groups.setdefault(each.scene, []).append(each)
    charts = []
    for title, value, unit in (("processor time", lambda each: each.processor, " ms"), ("size", lambda each: each.size / 1000, " kB")):
        bars = {scene: [(each.choice, value(each), each.choice == OWN) for each in group] for scene, group in groups.items()}
        charts.append((f"{title} for each picture", bars, unit))
    return bar_charts(charts)


def presets(build, _seconds, _folder):
    """A table and a picture of it, beside bench.json."""
    with tempfile.TemporaryDirectory(prefix="pellaro-presets-", dir="/dev/shm") as memory:
        folder = Path(memory)
        results = [result for scene in _scenes(folder) for result in _results(scene, folder)]
    output = build.parent / "bench"
    output.mkdir(parents=True, exist_ok=True)
    (output / "presets.md").write_text(_table(results), encoding="utf-8")
    (output / "presets.svg").write_text(_picture(results), encoding="utf-8")
    found = {(each.scene, each.choice): each for each in results if each.threads == str(THREADS)}
    scenes = sorted({each.scene for each in results})

    def beside(choice, value):
        return tuple(value(found[scene, OWN]) / value(found[scene, choice]) for scene in scenes)

    faster, slower = beside("ultrafast", lambda each: each.size), beside("veryfast", lambda each: each.processor)
    note = ", ".join(scenes) + f"; {output / 'presets.md'}"
    return [Figure("preset-bytes", max(faster), faster, note), Figure("preset-cpu", max(slower), slower, note)]
