"""Where recordings are measured: a virtual desktop with something to see on it, Pellaro, and what people would use instead."""

import contextlib
import time
from pathlib import Path

from gi.repository import Gio, GLib

from desktop.desktop import Desktop
from desktop.processes import end_child, wait_for
from desktop.program import Pellaro

WIDTH, HEIGHT = 1920, 1080
BIT_RATE, KEY_FRAME_INTERVAL, FINEST, PRESET, THREADS = 15_000_000, 60, 20, "superfast", 2


PARTITIONS = "p8x8,i8x8,i4x4"  # Pellaro asks for them beyond the preset


def encoder_options(preset=PRESET, threads=THREADS, partitions=None):
    """What the command line has to say for libx264 to do what Pellaro asks of it, but for these three. Without partitions it is those
    of the preset."""
    return ("-c:v", "libx264", "-preset", preset, "-tune", "zerolatency", "-profile:v", "high", "-threads", threads, "-b:v", BIT_RATE,
            "-maxrate", BIT_RATE, "-bufsize", 4 * BIT_RATE, "-qmin", FINEST, "-g", KEY_FRAME_INTERVAL, "-x264-params",
            "scenecut=0:force-cfr=1" + (f":partitions={partitions}" if partitions else ""),
            "-colorspace", "bt709", "-color_range", "tv")


class Stage:
    """Use it in a `with`. `build` is the folder of the release build."""

    def __init__(self, build):
        self.build = Path(build)
        self.desktop = Desktop(WIDTH, HEIGHT)

    def __enter__(self):
        self.desktop.__enter__()
        self.rest_pointer()
        # Nobody reads the windows here, and what a screen reader costs is not asked.
        self.desktop.environment.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")
        return self

    def __exit__(self, *reason):
        self.desktop.__exit__(*reason)

    def rest_pointer(self):
        """Takes the pointer to the lower left corner: in no film, and not on the icon, which would say what it is."""
        self.desktop.move_pointer(2, HEIGHT - 2)

    def tool(self, name):
        return self.build / "Benchmarks" / name

    def show(self, film):
        """Shows a film or a page below everything that is on the screen already."""
        window = self.desktop.start(self.tool("film_window"), film.path, film.width, film.height, film.x, film.y)
        shown = self.desktop.output("film_window").count("shown")
        wait_for("the picture on the screen", lambda: self.desktop.output("film_window").count("shown") > shown, 60)
        return window

    @contextlib.contextmanager
    def pellaro(self, environment=None, **settings):
        """The program, started and not recording; it is ended afterwards."""
        program = Pellaro(self.desktop, self.build / "Pellaro.app", **(environment or {}))
        program.write_defaults(didShowFirstRunWelcome=True, **settings)
        program.start()
        try:
            yield program
        finally:
            end_child(program.process)

    @contextlib.contextmanager
    def recording(self, environment=None, **settings):
        with self.pellaro(environment, **settings) as program:
            self.ask("toggle")
            program.wait_until_recording()
            yield program

    def ask(self, action):
        """Asks the program for one of its actions, as the desktop's key bindings do; returns the host clock in seconds just before."""
        bus = Gio.DBusConnection.new_for_address_sync(
            self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        arguments = GLib.Variant("(sava{sv})", (action, [], {}))
        now = time.monotonic()
        bus.call_sync("com.pellaro.Pellaro", "/com/pellaro/Pellaro", "org.freedesktop.Application", "ActivateAction", arguments, None,
                      Gio.DBusCallFlags.NONE, 5000, None)
        bus.close_sync(None)
        return now

    def saved(self, program):
        """Saves what the program holds and returns the clip."""
        before = set(program.clips())
        self.ask("save")
        return wait_for("the clip", lambda: next(iter(set(program.clips()) - before), None), 120)

    @contextlib.contextmanager
    def peer(self, output=None):
        """The recorder of the command line, with the encoder set as Pellaro sets it. What it records goes to `output` or nowhere."""
        process = self.desktop.start(
            "ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "x11grab", "-framerate", 30, "-draw_mouse", 1, "-video_size", f"{WIDTH}x{HEIGHT}",
            "-i", self.desktop.environment["DISPLAY"], "-vf", "scale=out_color_matrix=bt709:out_range=tv", "-pix_fmt", "yuv420p",
            *encoder_options(), *(("-f", "matroska", output) if output else ("-f", "null", "-")))
        try:
            yield process
        finally:
            end_child(process, 20)
