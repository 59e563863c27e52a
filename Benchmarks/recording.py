"""What recording costs beside the peer: processor time, quality, bytes and memory, for still and moving screens."""

import statistics
import time
from dataclasses import dataclass

import film as films
from desktop.sound import PULSEAUDIO, SoundServer
from measuring import Figure, anonymous_bytes, cores_used, proportional_bytes, resident_bytes
from stage import HEIGHT, WIDTH, Stage

WARM_UP = 3  # seconds until everybody does what he then goes on doing
SETTLED = 8  # seconds until a page that stays looks as well as it will, and its key frames are repeats: three are made anew before
LEAST_GROWTH = 15  # seconds: memory comes in steps, which a shorter time would make large
ROUNDS = 2
REGION = (640, 360)
FILM_SIZE = (960, 540)
FILM_AT = (480, 240)
ABOVE_THE_PANEL = HEIGHT - 40  # lines of the screen that nothing but the film is in
BURST = 4  # seconds in which a recording may be more generous than later
MEGABYTE = 1e6


@dataclass
class Run:
    """One recording: cores kept busy, and what was recorded."""

    cores: float
    clip: str = ""
    memory: int = 0  # bytes beyond those held, at the end
    share: int = 0  # the same, of shared memory the process's share only


def _ratio(name, ours, theirs, note=""):
    ratios = tuple(mine.cores / other.cores for mine, other in zip(ours, theirs))
    cores = f"{statistics.median(run.cores for run in ours):.3f} to {statistics.median(run.cores for run in theirs):.3f} cores"
    return Figure(name, statistics.median(ratios), ratios, f"{cores}; {note}" if note else cores)


class Scene:
    """One kind of screen, on which recorders take turns."""

    def __init__(self, stage, seconds, folder):
        self.stage, self.seconds, self.folder = stage, seconds, folder

    def ours(self, save_as=None, **settings):
        with self.stage.recording(**settings) as program:
            time.sleep(WARM_UP)
            run = Run(cores_used(program.process.pid, self.seconds))
            resident, share = resident_bytes(program.process.pid), proportional_bytes(program.process.pid)
            if save_as:
                clip = self.stage.saved(program)
                held = clip.stat().st_size
                run.memory, run.share = resident - held, share - held
                run.clip = clip.rename(self.folder / save_as)
            return run

    def theirs(self, save_as=None):
        output = self.folder / save_as if save_as else None
        with self.stage.peer(output) as process:
            time.sleep(WARM_UP)
            cores = cores_used(process.pid, self.seconds)
            if process.poll() is not None:
                raise AssertionError(f"the peer has ended: {self.stage.desktop.output('ffmpeg')}")
        return Run(cores, output)


def still(build, seconds, folder):
    """A page of text that stays; sound belongs here, where little else costs."""
    with Stage(build) as stage:
        SoundServer(stage.desktop, PULSEAUDIO)
        stage.show(films.make_page(folder, WIDTH, HEIGHT))
        scene = Scene(stage, seconds, folder)
        ours, theirs, with_sound = [], [], []
        for _ in range(ROUNDS):
            ours.append(scene.ours())
            theirs.append(scene.theirs())
            with_sound.append(scene.ours(captureAudio=True))
        added = tuple(sound.cores - without.cores for sound, without in zip(with_sound, ours))
        return [_ratio("still-cpu", ours, theirs), Figure("sound-cpu", statistics.median(added), added)]


def still_bytes(build, seconds, folder):
    """What five minutes of the page take in memory. Key frames of an unchanged screen share theirs, so a clip's size does not tell."""
    seconds = max(seconds, LEAST_GROWTH)
    held, written, growth = [], [], []
    with Stage(build) as stage:
        stage.show(films.make_page(folder, WIDTH, HEIGHT))
        for _ in range(ROUNDS):
            with stage.recording(bufferDuration=300) as program:
                time.sleep(SETTLED)
                before, begin = anonymous_bytes(program.process.pid), time.monotonic()
                time.sleep(seconds)
                growth.append((anonymous_bytes(program.process.pid) - before) / (time.monotonic() - begin))
                clip = stage.saved(program)
            key_frame = max(packet.size for packet in films.packets(clip))
            held.append((max(growth[-1], 0) * 300 + key_frame) / MEGABYTE)
            written.append(films.bytes_per_second(clip, 0) * 300 / MEGABYTE)
    note = (f"from {seconds:g} s, extrapolated; growth {', '.join(f'{each / 1000:.1f}' for each in growth)} kB/s and a key frame of "
            f"{key_frame / 1000:.0f} kB; as a clip {statistics.median(written):.1f} MB")
    return [Figure("still-bytes", statistics.median(held), tuple(held), note)]


def caret(build, seconds, folder):
    """A text cursor that blinks on the page, and a pointer on its way."""
    with Stage(build) as stage:
        stage.show(films.make_page(folder, WIDTH, HEIGHT))
        stage.desktop.start(stage.tool("caret_and_pointer"), 400, 300)
        scene = Scene(stage, seconds, folder)
        ours, theirs = [], []
        for _ in range(ROUNDS):
            ours.append(scene.ours())
            theirs.append(scene.theirs())
        return [_ratio("caret-cpu", ours, theirs)]


def _moving(name, stage, seconds, folder, film, height, region=None):
    """Figures of a film on the screen; with a region, also what recording that costs beside recording the screen."""
    scene = Scene(stage, seconds, folder)
    ours, theirs, parts = [], [], []
    for number in range(ROUNDS):
        ours.append(scene.ours(f"{name}-{number}.mp4"))
        theirs.append(scene.theirs(f"{name}-{number}.mkv"))
        if region:
            rectangle = dict(zip(("captureRectX", "captureRectY", "captureRectW", "captureRectH"), map(float, region)))
            parts.append(scene.ours(captureMode=2, **rectangle))
    corner = (film.x, film.y)
    kept = [[films.kept(run.clip, film, corner, BURST) for run in runs] for runs in (ours, theirs)]
    likeness = [[films.ssim(run.clip, film, corner, BURST, height) for run in runs] for runs in (ours, theirs)]
    rates = [[films.bytes_per_second(run.clip, BURST) / each.per_second for run, each in zip(runs, seen)]
             for runs, seen in zip((ours, theirs), kept)]
    per_second = [each.per_second for each in kept[0]]
    seen_by_peer = statistics.median(each.per_second for each in kept[1])
    figures = [
        _ratio(f"{name}-cpu", ours, theirs),
        Figure(f"{name}-frames", statistics.median(per_second), tuple(per_second),
               f"peer {seen_by_peer:.2f}; missing {[each.missing for each in kept[0]]}, peer {[each.missing for each in kept[1]]}"),
        Figure(f"{name}-dropped", statistics.median(mine.missing - other.missing for mine, other in zip(*kept)),
               tuple(mine.missing - other.missing for mine, other in zip(*kept)), "missing pictures beyond the peer's"),
        Figure(f"{name}-ssim", statistics.median(mine - other for mine, other in zip(*likeness)),
               tuple(mine - other for mine, other in zip(*likeness)), f"{likeness[0][-1]:.5f} to {likeness[1][-1]:.5f}"),
        Figure(f"{name}-bytes", statistics.median(mine / other for mine, other in zip(*rates)),
               tuple(mine / other for mine, other in zip(*rates)), f"{rates[0][-1]:.0f} to {rates[1][-1]:.0f} for each different picture"),
        Figure(f"{name}-memory", max(run.memory for run in ours) / MEGABYTE, tuple(run.memory / MEGABYTE for run in ours),
               f"{max(run.share for run in ours) / MEGABYTE:.0f} MB where shared memory counts by its share"),
    ]
    if parts:
        figures.append(_ratio("region-cpu", parts, ours))
    return figures


def film(build, seconds, folder):
    """A picture of 960 by 540 that moves on a page that stays, as a video in a web page does."""
    with Stage(build) as stage:
        moving = films.make_film(folder, *FILM_SIZE, *FILM_AT)
        stage.show(moving)
        stage.show(films.make_page(folder, WIDTH, HEIGHT))
        return _moving("film", stage, seconds, folder, moving, moving.height, (*FILM_AT, *REGION))


def screen(build, seconds, folder):
    """A picture that fills the screen and moves."""
    with Stage(build) as stage:
        moving = films.make_film(folder, WIDTH, HEIGHT, 0, 0)
        stage.show(moving)
        return _moving("screen", stage, seconds, folder, moving, ABOVE_THE_PANEL)
