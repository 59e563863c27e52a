"""Reads what the windows say and where their buttons are, the way a screen reader does."""

import time
from dataclasses import dataclass

from gi.repository import Gio, GLib

from .processes import wait_for

_ACCESSIBLE = "org.a11y.atspi.Accessible"
_COMPONENT = "org.a11y.atspi.Component"
_TEXT = "org.a11y.atspi.Text"
_REGISTRY = "org.a11y.atspi.Registry"
_ROOT = "/org/a11y/atspi/accessible/root"
_SCREEN_COORDINATES = 0
_STATE_CHECKED, _STATE_SHOWING = 1 << 4, 1 << 25


@dataclass(frozen=True)
class Element:
    """A widget as it was when it was read. `text` is what a text widget or a label says, `children` are the widgets inside it."""

    role: str
    name: str
    text: str
    x: int
    y: int
    width: int
    height: int
    children: tuple
    showing: bool = True  # whether it can be seen, or could if nothing were in front of it
    checked: bool = False  # of a radio button or a check box

    @property
    def centre(self):
        return self.x + self.width // 2, self.y + self.height // 2

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()

    def names(self, role):
        """The names of all widgets of a role inside, without the empty ones."""
        return [element.name for element in self.walk() if element.role == role and element.name]

    def texts(self):
        """What all text widgets and labels inside say, without the empty ones."""
        return [element.text for element in self.walk() if element.text]

    def named(self, role, name):
        """The widget of this role and name inside; nothing when there is none."""
        return next((element for element in self.walk() if (element.role, element.name) == (role, name)), None)


class Accessibility:
    """The accessibility bus of one session. Create it before the programs start: they look for the bus when they do."""

    def __init__(self, session_address):
        session = self._connect(session_address)
        address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None, Gio.DBusCallFlags.NONE, -1,
                                    None).unpack()[0]
        session.close_sync(None)
        self._bus = self._connect(address)
        self._focused = []
        self._bus.signal_subscribe(None, "org.a11y.atspi.Event.Object", "StateChanged", None, "focused", Gio.DBusSignalFlags.NONE,
                                   self._focus_changed)
        self._call(_REGISTRY, "/org/a11y/atspi/registry", _REGISTRY, "RegisterEvent", GLib.Variant("(s)", ("object:state-changed:focused",)))

    @staticmethod
    def _connect(address):
        connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        connection.set_exit_on_close(False)
        return connection

    def _call(self, name, path, interface, method, arguments=None):
        return self._bus.call_sync(name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 5000, None).unpack()

    def _property(self, name, path, interface, key):
        return self._call(name, path, "org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (interface, key)))[0]

    def _focus_changed(self, _bus, sender, path, _interface, _signal, parameters):
        if parameters.unpack()[1] == 1:
            self._focused.append((sender, path))

    def _read(self, name, path):
        role = self._call(name, path, _ACCESSIBLE, "GetRoleName")[0]
        extents = (0, 0, 0, 0)
        if role != "application":
            extents = self._call(name, path, _COMPONENT, "GetExtents", GLib.Variant("(u)", (_SCREEN_COORDINATES,)))[0]
        children = self._call(name, path, _ACCESSIBLE, "GetChildren")[0]
        label = self._property(name, path, _ACCESSIBLE, "Name")
        text = label if role == "label" else ""
        if role == "text":
            text = self._call(name, path, _TEXT, "GetText", GLib.Variant("(ii)", (0, -1)))[0]
        states = self._call(name, path, _ACCESSIBLE, "GetState")[0][0]
        return Element(role, label, text, *extents, tuple(self._read(*child) for child in children), bool(states & _STATE_SHOWING),
                       bool(states & _STATE_CHECKED))

    def windows(self):
        """The windows of all programs as they are now, popup menus excepted: those do not count as windows."""
        found = []
        for application in self._call(_REGISTRY, _ROOT, _ACCESSIBLE, "GetChildren")[0]:
            try:
                found += self._read(*application).children
            except GLib.Error:
                continue  # it ended or changed while it was read; the caller looks again
        return found

    def forget_menus(self):
        """Before a menu is opened: what had the focus until now does not count."""
        self._dispatch()
        self._focused.clear()

    def wait_for_menu(self, press_down):
        """The popup menu that has come up since `forget_menus`. Menus are found through the focus: they do not count as windows. So
        `press_down` is called now and then, as a person would walk through the items; the first menu of a program may come up before
        the program has told the bus of itself, and only its later changes of focus are seen."""

        def look():
            press_down()
            end = time.monotonic() + 0.1
            while time.monotonic() < end:
                if menu := self._focused_menu():
                    return menu
                time.sleep(0.005)
            return None

        return wait_for("the menu", look)

    def _focused_menu(self):
        self._dispatch()
        for name, path in self._focused:
            try:
                if self._call(name, path, _ACCESSIBLE, "GetRoleName")[0] == "menu item":
                    return self._read(*self._property(name, path, _ACCESSIBLE, "Parent"))
            except GLib.Error:
                continue  # the widget is gone
        return None

    @staticmethod
    def _dispatch():
        context = GLib.MainContext.default()
        while context.iteration(False):
            pass
