"""What all end-to-end cases share: a desktop, the program on it, and judging a clip."""

import os
import time
import unittest
from pathlib import Path

from desktop.clip import Clip
from desktop.desktop import Desktop
from desktop.processes import PATIENCE, wait_for
from desktop.program import ENGLISH, Pellaro

FRAME = 1 / 30


class Case(unittest.TestCase):
    """A case with a desktop of its own. Whatever it leaves running is ended, and a program still running must then quit properly."""

    language = "en_US.UTF-8"
    texts = ENGLISH
    screen = (1280, 720)
    tray = True  # whether the desktop has an X11 tray
    maxDiff = None

    def setUp(self):
        self.desktop = self.enterContext(Desktop(*self.screen, language=self.language, tray=self.tray))
        self._programs = []
        self.addCleanup(self._show_output)

    def tearDown(self):
        for program in self._programs:
            if program.process.poll() is None:
                program.process.terminate()
                code, _ = program.wait_for_end(5)
                self.assertEqual(code, 0, program.output_of_this_run())

    def _show_output(self):
        for program in self._programs:
            print(f"--- what Pellaro printed ---\n{program.output()}", flush=True)

    def pellaro(self, *, slow_disk=None, **options):
        """The program, not started yet. With `slow_disk` every flush to the disk takes that many seconds longer."""
        if slow_disk:
            options.update(LD_PRELOAD=os.environ["PELLARO_SLOW_DISK"], SLOW_DISK_MILLISECONDS=str(int(slow_disk * 1000)),
                           ASAN_OPTIONS=os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0")
        program = Pellaro(self.desktop, os.environ["PELLARO_BUNDLE"], texts=self.texts, **options)
        self._programs.append(program)
        return program

    def show_clock(self):
        """Puts the window on the screen that shows the host clock."""
        self.desktop.start(os.environ["PELLARO_CLOCK_WINDOW"])

    def open_clock(self, title, stopped=False):
        """Opens an ordinary window that shows the host clock, or just the moment at which it was opened; returns its process."""
        return self.desktop.start(os.environ["PELLARO_CLOCK_WINDOW"], 0 if stopped else 5, title)

    @staticmethod
    def let_time_pass(seconds):
        """Lets the recording grow; nothing is waited for but the clock itself."""
        end = time.monotonic() + seconds
        wait_for("the time to pass", lambda: time.monotonic() >= end, seconds + 1)

    def saved_clip(self, program, **where):
        """Answers the alert that a clip was saved, and returns the newest; for `where` see Clip."""
        alert = program.alert(self.texts.saved)
        path = program.clips()[-1]
        self.assertIn(str(path), alert.text)
        alert.press("OK")
        return Clip(path, **where)

    def assert_sound(self, clip):
        """The clip decodes without a complaint, begins with a key frame at zero, and its times rise."""
        self.assertEqual(clip.problems(), "")
        packets = clip.packets()
        self.assertEqual(packets[0], (0.0, True))
        times = [at for at, _ in packets]
        self.assertEqual(times, sorted(set(times)))

    def assert_no_broken_clip(self, program):
        for path in program.clips():
            self.assert_sound(Clip(path))

    def assert_ends_at(self, clip, before, after):
        """The last picture is of the moment between `before` and `after` (host clock), not of an earlier or a later one."""
        last = clip.clock(begin=clip.packets()[-1][0] - FRAME / 2)[-1]
        self.assertGreaterEqual(last, before - 2 * FRAME * PATIENCE, "the clip ends before the moment asked for")
        self.assertLessEqual(last, after + FRAME * PATIENCE, "the clip shows something from after the moment asked for")
