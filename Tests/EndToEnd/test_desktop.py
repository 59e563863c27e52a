"""The program among the others of the desktop: one instance, asked for things from outside."""

import time

from case import Case
from desktop.processes import wait_for

SETTINGS = {"en": "Pellaro Settings", "de": "Pellaro Einstellungen"}


class Asking(Case):
    """What the rest of the desktop asks over the session bus."""

    def call(self, method, *arguments):
        """Calls the program's interface; returns the host clock in seconds just before and just after."""
        before = time.monotonic()
        self.desktop.run("gdbus", "call", "--session", "--dest", "com.pellaro.Pellaro", "--object-path", "/com/pellaro/Pellaro",
                         "--method", f"org.freedesktop.Application.{method}", *arguments)
        return before, time.monotonic()

    def ask(self, action):
        return self.call("ActivateAction", action, "[]", "{}")

    def wait_for_settings(self, title=SETTINGS["en"]):
        return wait_for("the settings window", lambda: [window for window in self.desktop.accessibility.windows() if window.name == title])

    def testASecondStartBringsUpTheSettingsOfTheFirstAndEnds(self):
        program = self.pellaro().start()
        self.assertEqual(program.start_again().wait(10), 0)
        self.assertEqual(len(self.wait_for_settings()), 1)
        self.assertEqual(len(self.desktop.tray_icons()), 1)

    def testTheSettingsComeUpWhereTheDesktopAsksForThem(self):
        self.pellaro().start()
        self.ask("settings")
        self.wait_for_settings()

    def testTheDesktopStartsAndStopsTheRecording(self):
        program = self.pellaro().start()
        self.ask("toggle")
        program.wait_until_recording()
        self.ask("toggle")
        program.wait_until_idle()

    def testASaveThatTheDesktopAsksForEndsAtTheMomentOfTheCall(self):
        program = self.pellaro().start()
        self.show_clock()
        self.ask("toggle")
        program.wait_until_recording()
        self.let_time_pass(2)
        before, after = self.ask("save")
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)

    def testASaveWhileNothingIsRecordedSaysSo(self):
        program = self.pellaro().start()
        self.ask("save")
        program.alert(self.texts.not_recording).press("OK")

    def testAFirstStartThatIsAskedAtOnceServesTheRequest(self):
        program = self.pellaro()
        program.launch()
        wait_for("the program's name on the bus", lambda: "com.pellaro.Pellaro" in self.desktop.run(
            "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
            "org.freedesktop.DBus.ListNames").decode(), 20)
        self.ask("settings")
        self.wait_for_settings()

    def testItWorksWithoutASessionBusAndSaysSo(self):
        program = self.pellaro(DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent/bus").start()
        self.assertIn("There is no session bus", program.output_of_this_run())
        program.start_again()
        wait_for("both icons", lambda: len(self.desktop.tray_icons()) == 2)
