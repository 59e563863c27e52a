"""Whether memory stays what it is, over an hour and over many recordings."""

import subprocess
import time

import film as films
from desktop.processes import wait_for
from desktop.program import STARTED
from desktop.sound import PULSEAUDIO, SoundServer
from measuring import Figure, picture_bytes, resident_bytes
from recording import FILM_AT, FILM_SIZE, MEGABYTE
from stage import Stage

MINUTES = 60
LOOKS = (20, 80, 140, 200)  # recordings, counted from 1, whose memory is looked at
RECORDED = 5  # seconds of a recording until its memory is looked at


def _simulated(build, film):
    """Bytes held and resident memory after each minute with a full buffer."""
    done = subprocess.run([build / "Benchmarks/memory_benchmark", film, str(MINUTES)], capture_output=True, text=True, check=True, timeout=600)
    return [tuple(int(number) / MEGABYTE for number in line.split()) for line in done.stdout.splitlines()]


def _starts(build, folder):
    """The program's memory in recordings of the same length, at each look: resident, and without the pictures that it shares
    with the X server, of which there are as many as a busy machine makes it need."""
    found = []
    with Stage(build) as stage:
        SoundServer(stage.desktop, PULSEAUDIO)
        stage.show(films.make_film(folder, *FILM_SIZE, *FILM_AT))
        with stage.pellaro(captureAudio=True) as program:
            for number in range(1, LOOKS[-1] + 1):
                stage.ask("toggle")
                wait_for(f"recording {number}", lambda: program.output_of_this_run().count(STARTED) == number)
                if number in LOOKS:
                    time.sleep(RECORDED)
                    resident = resident_bytes(program.process.pid) / MEGABYTE
                    found.append((resident, resident - picture_bytes(program.process.pid) / MEGABYTE))
                stage.ask("toggle")
                program.wait_until_idle()
    return found


def hour(build, _seconds, folder):
    """An hour that is simulated, and starts and stops that are not."""
    steady, varied = _simulated(build, "steady"), _simulated(build, "varied")
    resident = [each for _, each in steady]
    beyond = [each - held for held, each in varied]
    starts = _starts(build, folder)
    return [Figure("memory-hour", max(resident) - min(resident), tuple(resident), f"{min(resident):.1f} to {max(resident):.1f} MB, {steady[-1][0]:.0f} MB held"),
            Figure("memory-varied", max(beyond) - min(beyond), tuple(beyond),
                   f"{min(beyond):.1f} to {max(beyond):.1f} MB beyond the {min(held for held, _ in varied):.0f} to {max(held for held, _ in varied):.0f} MB held"),
            Figure("memory-starts", starts[-1][1] - starts[0][1], tuple(each for _, each in starts),
                   f"{', '.join(f'{each:.1f}' for _, each in starts)} MB; with shared pictures {', '.join(f'{each:.1f}' for each, _ in starts)} MB")]
