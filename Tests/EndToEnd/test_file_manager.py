"""The button that shows a saved clip among its neighbours."""

from gi.repository import Gio, GLib

from case import Case
from desktop.processes import wait_for

_INTERFACE = """
<node><interface name="org.freedesktop.FileManager1">
  <method name="ShowItems"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
</interface></node>"""


class FileManager:
    """A file manager on the session bus that notes what it was asked to show."""

    def __init__(self, address):
        self.shown = []
        self._bus = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._bus.set_exit_on_close(False)
        interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0]
        self._bus.register_object("/org/freedesktop/FileManager1", interface, self._called, None, None)
        owned = []
        Gio.bus_own_name_on_connection(self._bus, "org.freedesktop.FileManager1", Gio.BusNameOwnerFlags.NONE, lambda *_: owned.append(True), None)
        wait_for("the name of the file manager", lambda: self.dispatch() or owned)

    def _called(self, _bus, _sender, _path, _interface, _method, parameters, invocation):
        self.shown.append(parameters.unpack()[0])
        invocation.return_value(None)

    @staticmethod
    def dispatch():
        while GLib.MainContext.default().iteration(False):
            pass


class ShowingAClip(Case):
    def testTheSecondButtonAsksTheFileManagerForTheClip(self):
        manager = FileManager(self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        program = self.pellaro().start()
        self.show_clock()
        program.start_recording()
        self.let_time_pass(1)
        program.left_click()
        program.alert(self.texts.saved).press("Show in Finder")
        wait_for("the request", lambda: manager.dispatch() or manager.shown)
        [clip] = program.clips()
        self.assertEqual(manager.shown, [[clip.as_uri()]])
