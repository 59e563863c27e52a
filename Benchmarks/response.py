"""How soon the program answers, and what it takes when nothing is asked of it."""

import statistics
import time

import film as films
from desktop.processes import wait_for
from desktop.sound import PULSEAUDIO, SoundServer
from measuring import Figure, cores_used, resident_bytes
from recording import FILM_AT, FILM_SIZE, MEGABYTE
from screen import Screen
from stage import HEIGHT, WIDTH, Stage

AGAIN = 5
WINDOW_WIDTH, WINDOW_HEIGHT = 540, 520  # of the settings with their frame, and a little more: they come up in the middle
PICTURE = 1 / 30
MILLISECOND = 1e-3


def idle(build, seconds, _folder):
    """Started, and not recording."""
    with Stage(build) as stage, stage.pellaro() as program:
        time.sleep(2)
        cores = cores_used(program.process.pid, seconds)
        return [Figure("idle-cpu", cores, (cores,)), Figure("idle-memory", resident_bytes(program.process.pid) / MEGABYTE)]


def first(build, _seconds, folder):
    """From the request to record to the first compressed picture."""
    library = build / "Benchmarks/libpacket_times.so"
    took = []
    with Stage(build) as stage:
        stage.show(films.make_page(folder, WIDTH, HEIGHT))
        with stage.pellaro(environment={"LD_PRELOAD": str(library)}) as program:
            for _ in range(AGAIN):
                seen = program.output().count("packet ")
                asked = stage.ask("toggle")
                wait_for("the first picture", lambda: program.output().count("packet ") > seen)
                packet = program.output().split("packet ")[seen + 1].split()[0]
                took.append((int(packet) * 1e-9 - asked) / MILLISECOND)
                program.wait_until_recording()
                stage.ask("toggle")
                program.wait_until_idle()
    return [Figure("first-picture", statistics.median(took), tuple(took))]


def window(build, _seconds, _folder):
    """From the request for the settings to the window as it then stays."""
    area = ((WIDTH - WINDOW_WIDTH) // 2, (HEIGHT - WINDOW_HEIGHT) // 2, WINDOW_WIDTH, WINDOW_HEIGHT)
    first_times, again = [], []
    with Stage(build) as stage:
        screen = Screen(stage.desktop)
        for _ in range(3):
            with stage.pellaro() as program:
                for turn in range(AGAIN):
                    before = screen.pixels(*area)
                    asked = stage.ask("settings")
                    (again if turn else first_times).append((screen.settled(area, before) - asked) / MILLISECOND)
                    stage.desktop.keys("alt+F4")
                    wait_for("the settings to close", lambda: screen.pixels(*area) == before)
        screen.close()
    return [Figure("settings-first", statistics.median(first_times), tuple(first_times)),
            Figure("settings-again", statistics.median(again), tuple(again))]


def icon(build, _seconds, folder):
    """From the release of the button on the icon to the icon's next look."""
    took = []
    with Stage(build) as stage:
        stage.show(films.make_page(folder, WIDTH, HEIGHT))
        screen = Screen(stage.desktop)
        for _ in range(AGAIN):
            with stage.recording() as program:
                place = program.icon
                area = (place.x, place.y, place.width, place.height)
                screen.point(*place.centre)
                screen.button(True)
                before = screen.pixels(*area)
                released = screen.button(False)
                took.append((screen.first_change(area, before) - released) / MILLISECOND)
                wait_for("the clip", program.clips, 60)
                stage.rest_pointer()
        screen.close()
    return [Figure("click-to-icon", statistics.median(took), tuple(took))]


def gap(build, _seconds, folder, held=40):
    """The longest time without a picture while `held` seconds of film and sound are saved."""
    longest = []
    with Stage(build) as stage:
        SoundServer(stage.desktop, PULSEAUDIO)
        stage.show(films.make_film(folder, *FILM_SIZE, *FILM_AT))
        with stage.recording(captureAudio=True, bufferDuration=300) as program:
            time.sleep(held)
            begin = stage.ask("save")
            first_clip = wait_for("the clip", lambda: next(iter(program.clips()), None), 60)
            saved = time.monotonic() - begin
            wait_for("the icon to leave the saving state", lambda: "Export OK" in program.log(), 60)
            time.sleep(1)
            asked = stage.ask("save")
            clip = wait_for("the second clip", lambda: next((path for path in program.clips() if path != first_clip), None), 60)
            packets = films.packets(clip)
            offset = packets[-1].at - asked
            times = [packet.at for packet in packets if begin + offset - PICTURE <= packet.at <= begin + saved + offset + PICTURE]
            longest.append(max(later - earlier for earlier, later in zip(times, times[1:])) / MILLISECOND)
    return [Figure("save-gap", longest[0], note=f"{held} s held, save of {saved:.2f} s")]


def long_gap(build, seconds, folder):
    """The same with all five minutes."""
    return gap(build, seconds, folder, held=305)
