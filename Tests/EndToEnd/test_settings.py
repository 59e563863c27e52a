"""The settings, changed in their window by a person; what counts is the next clip."""

import plistlib
import shutil
import time

from case import Case
from desktop.processes import wait_for
from desktop.settings import SettingsWindow
from test_hotkey import OtherProgram

RETURN, S = 36, 1  # key codes as they are stored
COMMAND_SHIFT = 0x120000


class Settings(Case):
    def testEachChangeWhileRecordingCountsForTheNextClip(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        self.show_clock()
        program.start_recording()
        self.let_time_pass(2)

        # A new length begins with an empty buffer.
        changed = time.monotonic()
        window.choose("15 Sek.")
        window.wait_for_stored(bufferDuration=15)
        self.let_time_pass(2)
        before, after = program.left_click()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)
        self.assertGreaterEqual(clip.clock()[0], changed - 0.1, "the clip begins before the change")

        # Another display is another stream; the recording and what is buffered go on.
        [display] = [name for name in window.element().names("radio button") if "(Main Display)" in name]
        self.assertTrue(display.endswith(" — 1280 × 720"), display)
        starts = program.output_of_this_run().count("Capture-Stream läuft!")
        window.choose(display)
        wait_for("the stream to start again", lambda: program.output_of_this_run().count("Capture-Stream läuft!") > starts)
        self.assertNotEqual(window.stored()["captureDisplayID"], 0)

        # Another folder is where the next clip goes. It is made again when it is gone by then.
        folder = self.desktop.home / "Clips of today"
        folder.mkdir()
        window.show_tab("Storage", "Choose Folder …")
        window.choose_folder(folder)
        wait_for("the folder in the window", lambda: window.says("~/Clips of today"))
        shutil.rmtree(folder)
        program.clips_folder = folder
        self.let_time_pass(1)
        before, after = program.left_click()
        clip = self.saved_clip(program)
        self.assertEqual(clip.path.parent, folder)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)

        # The log tells of it, whole.
        window.show_tab("Log", "Copy")
        window.click("Copy")
        self.assertEqual(window.copied(), program.log())
        self.assertIn(program.log().strip(), "\n".join(window.element().texts()))

    def testTheNextRunBeginsWithWhatWasChosen(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        self.assertFalse(window.is_checked("Record System Audio"))
        window.choose("Record System Audio")
        window.choose("5 Min.")
        window.choose("Selected Window")
        wait_for("the hint", lambda: window.says("A system dialog appears on launch."))
        window.wait_for_stored(captureAudio=True, bufferDuration=300, captureMode=1)
        program.process.terminate()
        program.wait_for_end(5)

        program.start()
        window = SettingsWindow.open(program)
        for name in ("Record System Audio", "5 Min.", "Selected Window"):
            self.assertTrue(window.is_checked(name), name)
        self.assertFalse(window.is_checked("1 Min."))
        window.choose("Entire Screen")
        window.wait_for_stored(captureMode=0)

    def testARegionIsDrawnResetAndRecorded(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        window.choose("Custom Region")
        window.click("Select Region …")
        wait_for("the overlay", program.overlays)
        self.desktop.drag((200, 150), (520, 390))
        wait_for("the region in the window", lambda: window.says("Region set"))
        stored = window.stored()
        rectangle = [stored[f"captureRect{key}"] for key in "XYWH"]
        self.assertEqual(rectangle, [200, 150, 320, 240])

        self.show_clock()
        program.start_recording()
        self.let_time_pass(1)
        program.left_click()
        clip = self.saved_clip(program)
        self.assertEqual(clip.size(), (320, 240))

        window.click("Reset")
        wait_for("the region to be forgotten", lambda: window.says("No region selected"))
        window.wait_for_stored(captureRectW=0, captureRectH=0)

    def testAHotkeyIsRecordedAndTheFileMayBeChangedMeanwhile(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        wait_for("the hotkey", lambda: window.says("⇧⌘↩"))
        window.click("Change")
        window.wait_for_control("Cancel")
        self.desktop.keys("super+shift+s")
        wait_for("the new hotkey", lambda: window.says("⇧⌘S"))
        window.wait_for_stored(hotkeyKeyCode=S, hotkeyModifiers=COMMAND_SHIFT)

        # Somebody else writes the file while the window is open: the hotkey is read afresh, and a change here leaves the rest alone.
        values = window.stored() | {"hotkeyKeyCode": RETURN, "somebodyElses": "text"}
        program.defaults_file.write_bytes(plistlib.dumps(values))
        window.show_tab("Info", "Open Guide")
        wait_for("the hotkey of the file", lambda: window.says("Hotkey: ⇧⌘↩"))
        window.show_tab("Recording", "Change")
        window.choose("30 Sek.")
        window.wait_for_stored(bufferDuration=30, hotkeyKeyCode=RETURN, somebodyElses="text")

    def testARecordedHotkeySavesFromAnotherProgram(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        window.click("Change")
        window.wait_for_control("Cancel")
        self.desktop.keys("ctrl+alt+d")
        wait_for("the new hotkey", lambda: window.says("⌃⌥D"))
        self.show_clock()
        program.start_recording()
        other = OtherProgram(self.desktop)
        self.let_time_pass(1)
        before = time.monotonic()
        self.desktop.keys("ctrl+alt+d")
        after = time.monotonic()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)
        self.assertTrue(other.has_focus())

    def testEveryControlHasAName(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        window.choose("Custom Region")
        for tab, content in (("Recording", "Change"), ("Storage", "Choose Folder …"), ("Log", "Copy"), ("Info", "Open Guide")):
            window.show_tab(tab, content)
            for element in window.element().walk():
                if element.role in ("push button", "radio button", "check box", "page tab", "text", "label") and element.showing:
                    self.assertTrue(element.name, f"a {element.role} on {tab} without a name")


class SettingsOnASmallScreen(Case):
    screen = (440, 360)

    def testTheWindowFitsAndEverythingCanBeReached(self):
        program = self.pellaro().start()
        window = SettingsWindow.open(program)
        frame = window.element()
        self.assertLessEqual(frame.width, 440)
        self.assertLessEqual(frame.height, 360)

        def change_is_on_the_screen():
            self.desktop.keys("Tab")
            control = window.wait_for_control("Change")
            return 0 <= control.x and control.x + control.width <= 440 and 0 <= control.y and control.y + control.height <= 360

        wait_for("the last control to be scrolled into view", change_is_on_the_screen)
        window.click("Change")
        window.wait_for_control("Cancel")
