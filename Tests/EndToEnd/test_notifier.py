"""The icon where the status area is reached over the session bus."""

from case import Case
from desktop.notifier import NotifierHost
from desktop.processes import wait_for
from desktop.program import STARTED

PAUSED = "Pellaro – Paused  (Right-click: Menu)"
RECORDING = "Pellaro – Recording  (Left: Save  |  Right: Menu)"


class Notifier(Case):
    """A desktop without an X11 tray."""

    tray = False

    def wait_for_tool_tip(self, host, text):
        wait_for(f"the tooltip {text!r}", lambda: host.tool_tip() == text)

    def testTheMenuStartsTheRecordingAndALeftClickSavesIt(self):
        host = NotifierHost(self.desktop)
        program = self.pellaro().launch()
        self.assertEqual(list(host.menu()), [self.texts.save_last, self.texts.start, self.texts.settings, self.texts.quit])
        self.wait_for_tool_tip(host, PAUSED)
        idle = host.property("IconPixmap")
        self.show_clock()
        host.choose(self.texts.start)
        wait_for("the recording to start", lambda: STARTED in program.output_of_this_run())
        self.wait_for_tool_tip(host, RECORDING)
        self.assertNotEqual(host.property("IconPixmap"), idle)
        self.assertIn(self.texts.stop, host.menu())
        self.let_time_pass(2)
        before, after = host.activate()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)
        host.choose(self.texts.stop)
        self.wait_for_tool_tip(host, PAUSED)
        host.choose(self.texts.quit)
        self.assertEqual(program.wait_for_end(5)[0], 0)
        wait_for("the item to leave the host", lambda: not host.items())

    def testAHostThatComesLateOrAgainShowsTheIcon(self):
        program = self.pellaro().launch()
        wait_for("the program's name on the bus", lambda: b"com.pellaro.Pellaro" in self.desktop.run(
            "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
            "org.freedesktop.DBus.ListNames"), 20)
        host = NotifierHost(self.desktop)
        wait_for("the icon in the late host", host.items, 3)
        host.stop()
        host.start()
        wait_for("the icon in the restarted host", host.items, 3)
        self.assertIsNone(program.process.poll())

    def testTheIconMovesBetweenTheTrayAndTheHostAndIsNeverInBoth(self):
        self.desktop.start_tray()
        self.pellaro().start()
        host = NotifierHost(self.desktop)
        wait_for("the icon in the host", host.items, 3)
        self.assertEqual(self.desktop.tray_icons(), [])
        host.stop()
        wait_for("the icon in the tray", self.desktop.tray_icons, 3)

    def testWithNeitherAnotherStartOpensTheSettings(self):
        program = self.pellaro().launch()
        wait_for("the program's name on the bus", lambda: b"com.pellaro.Pellaro" in self.desktop.run(
            "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
            "org.freedesktop.DBus.ListNames"), 20)
        self.assertEqual(program.start_again().wait(10), 0)
        wait_for("the settings window", lambda: [window for window in self.desktop.accessibility.windows()
                                                 if window.name == "Pellaro Settings"])
