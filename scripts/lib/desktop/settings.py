"""Pellaro's settings window, used with the pointer and the keyboard and read like a screen reader does."""

import plistlib

from .processes import wait_for

TITLES = ("Pellaro Settings", "Pellaro Einstellungen")
ROLES = ("push button", "radio button", "check box", "page tab")


class SettingsWindow:
    """The open window of a program."""

    def __init__(self, program):
        self.program, self.desktop = program, program.desktop

    @classmethod
    def open(cls, program):
        """Opens the window through the menu, while the program does not record."""
        program.choose(program.texts.settings)
        window = cls(program)
        window.element()
        return window

    def element(self):
        """The window as it is now, once it stands where it says."""

        def look():
            found = next((element for element in self.desktop.accessibility.windows() if element.name in TITLES), None)
            return found if found and self.desktop.shows_window_at((found.x, found.y)) else None

        return wait_for("the settings window", look)

    def control(self, name, window=None):
        """The button, choice or tab of that name that can be seen; nothing when there is none."""
        found = (element for element in (window or self.element()).walk() if element.role in ROLES and element.name == name)
        return next((element for element in found if element.showing), None)

    def wait_for_control(self, name):
        return wait_for(f"{name!r} in the settings window", lambda: self.control(name))

    def click(self, name):
        self.desktop.click(self.wait_for_control(name).centre)

    def choose(self, name):
        """Clicks a choice or a check box and waits until it shows another state than before."""
        before = self.wait_for_control(name).checked
        self.click(name)
        wait_for(f"{name!r} to show that it was clicked", lambda: self.control(name).checked != before)

    def is_checked(self, name):
        return self.wait_for_control(name).checked

    def show_tab(self, name, content):
        """Chooses a tab, and waits until a control of it is there."""
        self.click(name)
        self.wait_for_control(content)

    def says(self, text):
        return any(element.showing and element.text == text for element in self.element().walk())

    def stored(self):
        """The settings in the file."""
        try:
            return plistlib.loads(self.program.defaults_file.read_bytes())
        except FileNotFoundError:
            return {}

    def wait_for_stored(self, **values):
        wait_for(f"{values} in the file", lambda: values.items() <= self.stored().items())

    def choose_folder(self, path):
        """Types the path into the folder dialog and accepts it. The dialog is Qt's own here, whose list of files cannot be read reliably
        by a screen reader: it is found by its window, and what it did by the settings."""
        before = {window.id for window in self._windows()}
        self.click("Choose Folder …")
        dialog = wait_for("the folder dialog", lambda: next((window for window in self._windows() if window.id not in before), None))
        wait_for("the folder dialog to get the keyboard", lambda: self.desktop.run("xdotool", "getwindowfocus").split() == [str(dialog.id).encode()])
        self.desktop.keys("ctrl+a")
        self.desktop.run("xdotool", "type", path)
        self.desktop.keys("Return")
        self.wait_for_stored(savePath=str(path))
        wait_for("the folder dialog to close", lambda: dialog.id not in {window.id for window in self._windows()})

    def _windows(self):
        return self.desktop.windows("pellaro")

    def copied(self):
        """What is on the clipboard."""
        return self.desktop.run("xclip", "-selection", "clipboard", "-out").decode()
