"""Pellaro as a person meets it: an icon in the status area, a menu, alerts."""

import plistlib
import time
from dataclasses import dataclass
from pathlib import Path

from .accessibility import Element
from .processes import Failed, PATIENCE, wait_for

STARTED = "[Pellaro] Capture-Stream läuft!"


@dataclass(frozen=True)
class Texts:
    """The words of one language that a person clicks on or reads in a title."""

    start: str
    stop: str
    quit: str
    save_last: str
    settings: str
    welcome: str
    saved: str
    not_recording: str
    folder_unavailable: str
    export_error: str
    choose_window: str
    record_window: str
    cancel: str


ENGLISH = Texts("Start Recording", "Stop Recording", "Quit Pellaro", "Save last 1 Minute", "Settings …", "Pellaro is running", "Saved!",
                "Recording is not running", "Storage folder unavailable", "Error saving clip", "Choose a Window", "Record Window", "Cancel")
GERMAN = Texts("Aufnahme starten", "Aufnahme stoppen", "Pellaro beenden", "Letzte 1 Minute speichern", "Einstellungen …", "Pellaro läuft",
               "Gespeichert!", "Aufnahme läuft nicht", "Speicherordner nicht erreichbar", "Fehler beim Speichern", "Fenster auswählen",
               "Fenster aufnehmen", "Abbrechen")


class Alert:
    """An open alert."""

    def __init__(self, program, element):
        self._program, self._element = program, element

    @property
    def text(self):
        """Everything that it says, title first."""
        return "\n".join(self._element.texts())

    @property
    def buttons(self):
        return self._element.names("push button")

    def click(self, button):
        """Clicks a button."""
        if button not in self.buttons:
            raise Failed(f"the alert has no button {button!r}, only {self.buttons}")
        placed = wait_for("the alert to stand where the window manager puts it", self._placed)
        self._program.desktop.click(self._program.pixel(placed.named("push button", button).centre))

    def press(self, button):
        """Clicks a button and waits until the alert is gone."""
        self.click(button)
        wait_for(f"the alert to close after {button!r}", lambda: not self._program.is_open(self))

    def _placed(self):
        """The alert as it is now, if the X server has it where the program believes it to be."""
        now = next((element for element in self._program.alert_elements() if self.same_as(element)), None)
        return now if now and self._program.stands_where_it_says(now) else None

    def same_as(self, element: Element):
        return self.text == "\n".join(element.texts())


class Pellaro:
    """One run of the program on a desktop. `folder` is where its clips go; nothing keeps the program's own choice, ~/Movies."""

    def __init__(self, desktop, bundle, texts=ENGLISH, folder=None, welcomed=True, wrapper=(), **environment):
        self.desktop, self.texts = desktop, texts
        self.clips_folder = Path(folder) if folder else desktop.home / "Movies"
        self.defaults_file = desktop.home / ".config/pellaro/defaults.plist"
        self.log_file = desktop.home / "Library/Logs/Pellaro/pellaro.log"
        if welcomed and not self.defaults_file.exists():
            self.write_defaults(didShowFirstRunWelcome=True, **({"savePath": str(folder)} if folder else {}))
        elif folder and not self.defaults_file.exists():
            self.write_defaults(savePath=str(folder))
        self._arguments = [*wrapper, str(Path(bundle) / "Contents/Linux/Pellaro")]
        self._environment = environment
        self._scale = float(environment.get("QT_SCALE_FACTOR", 1))
        self._idle_icon = None
        self.process = None  # until it is launched

    def write_defaults(self, **values):
        self.defaults_file.parent.mkdir(parents=True, exist_ok=True)
        self.defaults_file.write_bytes(plistlib.dumps(values))

    def start(self):
        """Starts the program and waits for its icon in the tray."""
        self.launch()
        wait_for("the icon in the status area", self._icon_or_end, 20)
        self._idle_icon = self.stable_icon()
        return self

    def launch(self):
        """Starts the program, once an earlier run's icon is gone, and returns at once."""
        if "DISPLAY" in self.desktop.environment:
            wait_for("an empty status area", lambda: not self.desktop.tray_icons())
        self._begin = len(self.output())
        self.process = self.desktop.start(*self._arguments, env={**self.desktop.environment, **self._environment})
        return self

    def start_again(self):
        """Starts the program once more beside this run; returns that process."""
        return self.desktop.start(*self._arguments, env={**self.desktop.environment, **self._environment})

    def _icon_or_end(self):
        if self.process.poll() is not None:
            raise Failed(f"Pellaro ended with {self.process.returncode} instead of starting:\n{self.output()}")
        return self.desktop.tray_icons()

    def output(self):
        """What this program's runs on this desktop have printed."""
        try:
            return self.desktop.output(Path(self._arguments[0]).name)
        except FileNotFoundError:
            return ""

    def output_of_this_run(self):
        return self.output()[self._begin:]

    def log(self):
        return self.log_file.read_text(encoding="utf-8") if self.log_file.exists() else ""

    def clips(self):
        """The finished clips, oldest first."""
        return sorted(self.clips_folder.glob("Pellaro_*.mp4"))

    # Where things are: the program speaks in points

    def pixel(self, point):
        return tuple(round(number * self._scale) for number in point)

    def stands_where_it_says(self, element):
        return self.desktop.shows_window_at(self.pixel((element.x, element.y)), tolerance=0 if self._scale == 1 else 2)

    # The icon

    @property
    def icon(self):
        return wait_for("the icon in the status area", self.desktop.tray_icons)[0]

    def icon_picture(self):
        return self.desktop.pixels(self.icon)

    def stable_icon(self):
        """The picture of the icon once it is drawn: it has more than one colour and two looks in a row agree."""

        def look():
            picture = self.icon_picture()
            drawn = len({picture[i:i + 3] for i in range(0, len(picture), 3)}) > 1
            return picture if drawn and picture == self.icon_picture() else None

        return wait_for("the icon to be drawn", look)

    def wait_until_recording(self):
        wait_for("the recording to start", lambda: STARTED in self.output_of_this_run())
        wait_for("the icon to show the recording", lambda: self.icon_picture() != self._idle_icon)

    def wait_until_idle(self):
        wait_for("the icon to show that nothing is recorded", lambda: self.icon_picture() == self._idle_icon)

    def left_click(self):
        return self.desktop.click(self.icon.centre)

    def right_click(self):
        return self.desktop.click(self.icon.centre, button=3)

    def control_click(self):
        return self.desktop.click(self.icon.centre, key="ctrl")

    # The menu

    def open_menu(self, click=None):
        """Clicks the icon, while the program does not record, and returns the menu."""
        self.desktop.accessibility.forget_menus()
        (click or self.left_click)()
        return self.desktop.accessibility.wait_for_menu(lambda: self.desktop.keys("Down"))

    def choose(self, title, menu=None):
        """Chooses an item of the menu; opens it first when it is not open."""
        menu = menu or self.open_menu()
        item = menu.named("menu item", title)
        if not item:
            raise Failed(f"the menu has no item {title!r}, only {menu.names('menu item')}")
        wait_for("the menu to stand where it says", lambda: self.stands_where_it_says(menu))
        self.desktop.click(self.pixel(item.centre))

    # The selection of a region

    def overlays(self, size=None):
        """The windows on the screen that cover all of it, or a monitor of `size`, for a region to be drawn on."""
        size = size or (self.desktop.width, self.desktop.height)
        return [window for window in self.desktop.windows("pellaro")
                if (window.width, window.height) == size and self.desktop.is_shown(window)]

    def start_with_region(self, begin, end):
        """Starts a recording and draws the region it asks for. Returns the host clock in seconds just before the region was accepted."""
        self.choose(self.texts.start)
        wait_for("the overlay", self.overlays)
        accepted = self.desktop.drag(begin, end)
        self.wait_until_recording()
        return accepted

    def start_recording(self):
        self.choose(self.texts.start)
        self.wait_until_recording()

    # Alerts

    def alert_elements(self):
        """The windows that ask for an answer."""
        return [window for window in self.desktop.accessibility.windows() if window.names("push button") and window.texts()]

    def is_open(self, alert):
        return any(alert.same_as(element) for element in self.alert_elements())

    def alerts(self):
        return [Alert(self, element) for element in self.alert_elements()]

    def alert(self, title, seconds=10):
        """Waits for the alert with this title."""

        def look():
            return next((alert for alert in self.alerts() if alert.text.split("\n")[0] == title), None)

        return wait_for(f"the alert {title!r}", look, seconds)

    # The chooser of windows

    def chooser(self):
        """Waits for the chooser, with the keyboard and where the window manager puts it, and returns it as it is at this moment."""

        wait_for("the chooser of windows to have the keyboard", lambda: self.desktop.has_keyboard(self.texts.choose_window))

        def placed():
            chooser = self._open_chooser()
            return chooser if chooser and self.stands_where_it_says(chooser) else None

        return wait_for("the chooser of windows", placed)

    def _open_chooser(self):
        return next((window for window in self.desktop.accessibility.windows() if window.name == self.texts.choose_window), None)

    def wait_until_chooser_is_closed(self):
        wait_for("the chooser to close", lambda: not self._open_chooser())

    # The end

    def wait_for_end(self, seconds=2.0):
        """Returns the exit code and after how many seconds it came; fails when the program is still there by then."""
        begin = time.monotonic()
        try:
            code = self.process.wait(seconds * PATIENCE)
        except Exception as error:
            raise Failed(f"Pellaro was still running after {seconds * PATIENCE:g} s") from error
        return code, time.monotonic() - begin

    def quit(self):
        """Quits through the menu, while the program does not record."""
        self.choose(self.texts.quit)
        return self.wait_for_end()
