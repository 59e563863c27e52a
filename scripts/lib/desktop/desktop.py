"""The virtual desktop: everything that a session of a person has, in a folder of its own."""

import os
import re
import secrets
import struct
import subprocess
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

from .accessibility import Accessibility
from .processes import Children, Failed, wait_for

# What the session of whoever runs this must not lend to the virtual one.
_FOREIGN = ("XDG_", "DBUS_", "QT_", "GTK_", "LC_", "WAYLAND_", "SESSION_MANAGER", "DESKTOP_STARTUP_ID", "LANGUAGE", "DISPLAY", "XAUTHORITY")


@dataclass(frozen=True)
class Window:
    """A window as the X server knows it, in pixels from the top-left corner of the screen."""

    id: int
    name: str
    window_class: str
    x: int
    y: int
    width: int
    height: int
    depth: int  # in the tree, children of the root window have 1

    @property
    def centre(self):
        return self.x + self.width // 2, self.y + self.height // 2


class Desktop:
    """X server, window manager, tray host (unless `tray` is false), session bus with accessibility, and an empty home folder. Use it in
    a `with`."""

    def __init__(self, width=1280, height=720, language="en_US.UTF-8", tray=True):
        self.width, self.height = width, height
        self._language, self._tray = language, tray
        self.children = Children()

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory(prefix="pellaro-desktop-", ignore_cleanup_errors=True)
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        try:
            self.children.stop()
        finally:
            self._folder.cleanup()

    def _start(self):
        self.folder = Path(self._folder.name)
        self.home = self.folder / "home"
        self.home.mkdir()
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        authority = self.folder / "Xauthority"
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith(_FOREIGN)}
        self.environment.update(HOME=str(self.home), XDG_RUNTIME_DIR=str(runtime), XAUTHORITY=str(authority), LANG=self._language,
                                QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        self._start_x_server(authority)
        self._start_bus()
        self.start("openbox", "--sm-disable")
        # A status area that comes up together with the window manager may never be shown.
        wait_for("the window manager", lambda: b"window id" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))
        if self._tray:
            self.start_tray()

    def start_tray(self):
        self.start("trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request", "--height", "32", "--SetDockType", "true")
        # Small and hidden as long as there is no icon in it.
        wait_for("the status area", lambda: any(window.window_class == "trayer" for window in self.tree()))

    def _start_x_server(self, authority):
        # One entry that is good for every display: the number is known only when the server runs.
        name, cookie = b"MIT-MAGIC-COOKIE-1", secrets.token_bytes(16)
        authority.touch(mode=0o600)
        authority.write_bytes(struct.pack(">HHHH", 0xFFFF, 0, 0, len(name)) + name + struct.pack(">H", len(cookie)) + cookie)
        read, write = os.pipe()
        with os.fdopen(read) as number:
            self.x_server = self.start("Xvfb", "-displayfd", str(write), "-screen", "0", f"{self.width}x{self.height}x24", "-nolisten", "tcp",
                                       "-noreset", "-auth", str(authority), pass_fds=(write,))
            os.close(write)
            display = number.readline().strip()
        if not display:
            raise Failed(f"the X server did not start:\n{self.output('Xvfb')}")
        self.environment["DISPLAY"] = f":{display}"

    def _start_bus(self):
        read, write = os.pipe()
        with os.fdopen(read) as address:
            self.start("dbus-daemon", "--session", "--nofork", "--nopidfile", f"--print-address={write}", pass_fds=(write,))
            os.close(write)
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = address.readline().strip()
        if not self.environment["DBUS_SESSION_BUS_ADDRESS"]:
            raise Failed(f"the session bus did not start:\n{self.output('dbus-daemon')}")
        self.accessibility = Accessibility(self.environment["DBUS_SESSION_BUS_ADDRESS"])

    def start(self, *arguments, **options):
        """Starts a program on this desktop; what it prints goes to a file, see `output`."""
        with open(self.folder / f"{Path(arguments[0]).name}.output", "ab") as output:
            return self.children.start(list(map(str, arguments)), **{"env": self.environment, "stdout": output, "stderr": output, **options})

    def output(self, program):
        """What the program of this name has printed so far."""
        return (self.folder / f"{program}.output").read_text(encoding="utf-8", errors="replace")

    def run(self, *arguments):
        """Runs a command to its end and returns what it printed, in bytes."""
        done = subprocess.run(list(map(str, arguments)), env=self.environment, stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
        if done.returncode != 0:
            raise Failed(f"{' '.join(map(str, arguments))}: {done.stderr.decode(errors='replace').strip()}")
        return done.stdout

    # One line of the window tree: id, quoted name or none, class, size and offset in the parent, offset on the screen.
    _WINDOW = re.compile(r'^( *)(0x[0-9a-f]+) (?:"(.*)"|\(has no name\)): \((?:"[^"]*" "([^"]*)"|[^)]*)\) +'
                         r"(\d+)x(\d+)\+-?\d+\+-?\d+ +\+(-?\d+)\+(-?\d+)$")

    def tree(self):
        """Every window of the screen, children after their parents."""
        found = []
        for line in wait_for("a list of the windows", self._tree_lines):
            if match := self._WINDOW.match(line):
                indent, identifier, name, window_class, width, height, x, y = match.groups()
                found.append(Window(int(identifier, 16), name or "", window_class or "", int(x), int(y), int(width), int(height),
                                    (len(indent) - 2) // 3))
        return found

    def _tree_lines(self):
        try:
            return self.run("xwininfo", "-root", "-tree").decode(errors="replace").splitlines()
        except Failed:
            return None  # a window went away while the tree was walked

    def windows(self, window_class):
        """The windows of a program that are large enough to be seen."""
        return [window for window in self.tree() if window.window_class == window_class and window.width > 1 and window.height > 1]

    def shows_window_at(self, point, tolerance=0):
        """Whether a window of a size to be seen has its top-left corner there, or at most `tolerance` pixels off."""
        return any(window.width > 1 and abs(window.x - point[0]) <= tolerance and abs(window.y - point[1]) <= tolerance
                   for window in self.tree())

    def is_shown(self, window):
        """Whether the window is on the screen and not only made."""
        try:
            return b"Map State: IsViewable" in self.run("xwininfo", "-id", window.id)
        except Failed:
            return False  # it has gone

    def tray_icons(self):
        """What programs have put into the status area, from left to right."""
        icons, panel = [], None
        for window in self.tree():
            if panel and window.depth <= panel.depth:
                panel = None
            if window.window_class == "trayer":
                panel = window
            # The panel holds a socket for each icon, and the socket the program's own window.
            elif panel and window.depth == panel.depth + 2 and window.width > 1:
                icons.append(window)
        return sorted(icons, key=lambda icon: icon.x)

    def click(self, point, button=1, key=None):
        """Clicks as a person would, with `key` held down if given. Returns the host clock in seconds just before and just after the
        moment that counts: the release of the left button, the press of another."""
        self.run("xdotool", "mousemove", *point)
        if key:
            self.run("xdotool", "keydown", key)
        if button == 1:
            self.run("xdotool", "mousedown", 1)
        before = time.monotonic()
        self.run("xdotool", "mouseup" if button == 1 else "mousedown", button)
        after = time.monotonic()
        if button != 1:
            self.run("xdotool", "mouseup", button)
        if key:
            self.run("xdotool", "keyup", key)
        return before, after

    def drag(self, begin, end):
        """Drags from one point to another with the left button, then takes the pointer out of the way, to the lower left corner of the
        screen. Returns the host clock in seconds just before the release."""
        self.run("xdotool", "mousemove", *begin, "mousedown", 1)
        self.run("xdotool", "mousemove", (begin[0] + end[0]) // 2, (begin[1] + end[1]) // 2, "mousemove", *end)
        before = time.monotonic()
        self.run("xdotool", "mouseup", 1, "mousemove", 2, self.height - 2)
        return before

    def move_pointer(self, x, y):
        self.run("xdotool", "mousemove", x, y)

    def keys(self, *names):
        self.run("xdotool", "key", *names)

    def type(self, text):
        self.run("xdotool", "type", text)

    def has_keyboard(self, title):
        """Whether the window with this title, which the program's name may follow, has the keyboard."""
        try:
            return self.run("xdotool", "getwindowfocus", "getwindowname").decode().startswith(title)
        except Failed:
            return False  # nobody has it

    def window(self, title):
        """Waits for the window with this title to be on the screen."""
        return wait_for(f"the window {title!r}", lambda: next((window for window in self.tree() if window.name == title), None))

    def pixels(self, window):
        """What the screen shows where the window is: red, green and blue bytes, line by line."""
        return self.run("import", "-silent", "-window", "root", "-crop", f"{window.width}x{window.height}+{window.x}+{window.y}",
                        "-depth", "8", "rgb:-")

    def screenshot(self, path):
        self.run("import", "-silent", "-window", "root", path)
        return path
