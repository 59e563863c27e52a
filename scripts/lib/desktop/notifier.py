"""A notifier host with the watcher that keeps the list of items: the newer kind of status area, which is reached over the session bus.

As a program it runs until it is ended; `NotifierHost` starts it and does with its item what a person would."""

import sys
import time

from gi.repository import Gio, GLib

from .processes import wait_for

_WATCHER = "org.kde.StatusNotifierWatcher"
_WATCHER_PATH = "/StatusNotifierWatcher"
_ITEM = "org.kde.StatusNotifierItem"
_ITEM_PATH = "/StatusNotifierItem"
_MENU = "com.canonical.dbusmenu"
_INTERFACE = f"""<node><interface name="{_WATCHER}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="RegisteredStatusNotifierItems" type="as" access="read"/>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


def _serve():
    """Keeps the list until it is ended."""
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    items = []

    def called(_bus, _sender, _path, _interface, method, parameters, invocation):
        if method == "RegisterStatusNotifierItem":
            name = parameters.unpack()[0]
            items.append(name)
            Gio.bus_watch_name_on_connection(bus, name, Gio.BusNameWatcherFlags.NONE, None, lambda _bus, gone: gone in items and items.remove(gone))
        invocation.return_value(None)

    def read(_bus, _sender, _path, _interface, name):
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", items), "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    bus.register_object(_WATCHER_PATH, Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0], called, read, None)
    Gio.bus_own_name_on_connection(bus, _WATCHER, Gio.BusNameOwnerFlags.NONE, None, lambda *_: sys.exit("the name is taken"))
    GLib.MainLoop().run()


class NotifierHost:
    """The host on a desktop, and what a person does with the item that it shows."""

    def __init__(self, desktop):
        self._desktop = desktop
        self._bus = Gio.DBusConnection.new_for_address_sync(
            desktop.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._bus.set_exit_on_close(False)
        self.process = None
        self.start()

    def start(self):
        """Starts the host; it may be started again after its end."""
        library = __file__.rpartition("/desktop/")[0]
        self.process = self._desktop.start(sys.executable, "-B", "-m", "desktop.notifier",
                                           env={**self._desktop.environment, "PYTHONPATH": library})

    def stop(self):
        self.process.terminate()
        self.process.wait(5)

    def _call(self, name, path, interface, method, arguments=None):
        return self._bus.call_sync(name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 5000, None).unpack()

    def items(self):
        """The names of the items that are shown."""
        try:
            return self._call(_WATCHER, _WATCHER_PATH, "org.freedesktop.DBus.Properties", "Get",
                              GLib.Variant("(ss)", (_WATCHER, "RegisteredStatusNotifierItems")))[0]
        except GLib.Error:
            return []  # there is no host now

    @property
    def item(self):
        return wait_for("the item in the notifier host", self.items)[0]

    def property(self, name):
        return self._call(self.item, _ITEM_PATH, "org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (_ITEM, name)))[0]

    def tool_tip(self):
        return self.property("ToolTip")[2]

    def activate(self, x=0, y=0):
        """A left click. Returns the host clock in seconds just before and just after."""
        before = time.monotonic()
        self._call(self.item, _ITEM_PATH, _ITEM, "Activate", GLib.Variant("(ii)", (x, y)))
        return before, time.monotonic()

    def menu(self):
        """Opens the menu; the numbers of its items by what they say. Lines are left out."""
        self._call(self.item, "/MenuBar", _MENU, "AboutToShow", GLib.Variant("(i)", (0,)))
        _, (_, _, children) = self._call(self.item, "/MenuBar", _MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, [])))
        return {properties["label"]: number for number, properties, _ in children if "label" in properties}

    def choose(self, title):
        """Opens the menu and chooses an item."""
        event = GLib.Variant("(isvu)", (self.menu()[title], "clicked", GLib.Variant("i", 0), 0))
        self._call(self.item, "/MenuBar", _MENU, "Event", event)


if __name__ == "__main__":
    _serve()
