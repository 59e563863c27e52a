"""Recording and saving with the clicks of a person; the clip is judged picture by picture."""

from case import Case, FRAME
from desktop.clip import COLOURS
from desktop.processes import PATIENCE, wait_for

SLOW = 1.5  # seconds that each flush takes on the slow disk; a save flushes more than once


class Saving(Case):
    def recording(self, **options):
        """The program with a recording of the clock under way."""
        program = self.pellaro(**options).start()
        self.show_clock()
        program.start_recording()
        return program

    def testALeftClickSavesEveryMomentUpToTheClick(self):
        program = self.recording()
        self.let_time_pass(4)
        before, after = program.left_click()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)

        shown = clip.clock()
        times = [at for at, _ in clip.packets()]
        self.assertEqual(len(shown), len(times))
        self.assertEqual(shown, sorted(shown), "the pictures are out of order")
        self.assertGreaterEqual(times[-1], 3.5)
        for at, moment in zip(times, shown):
            self.assertAlmostEqual(moment - shown[0], at, delta=2 * FRAME * PATIENCE, msg="a picture stands at the wrong time")

    def testAClipIsWhatEveryPlayerReads(self):
        program = self.recording()
        self.let_time_pass(1.5)
        program.left_click()
        clip = self.saved_clip(program)
        self.assertRegex(clip.path.name, r"^Pellaro_\d{4}-\d\d-\d\d_\d{6}\.mp4$")
        self.assertEqual(clip.path.parent, self.desktop.home / "Movies")

        probe = clip.probe()
        [stream] = probe["streams"]
        expected = {"codec_name": "h264", "profile": "High", "pix_fmt": "yuv420p", "color_range": "tv", "color_space": "bt709",
                    "color_transfer": "bt709", "color_primaries": "bt709", "width": 1280, "height": 720, "has_b_frames": 0}
        self.assertEqual({key: stream.get(key) for key in expected}, expected)
        boxes = clip.boxes()
        self.assertEqual(boxes[0], "ftyp")
        self.assertLess(boxes.index("moov"), boxes.index("mdat"))
        self.assertEqual(clip.boxes("moov", "udta", "meta", "ilst"), [], "the clip carries metadata")
        self.assertLessEqual(set(probe["format"].get("tags", {})), {"major_brand", "minor_version", "compatible_brands"})
        self.assertLessEqual(set(stream.get("tags", {})), {"language", "handler_name", "vendor_id"})

        for seen, drawn in zip(clip.colours(), COLOURS):
            for level, wanted in zip(seen, drawn):
                self.assertAlmostEqual(level, wanted, delta=12, msg=f"{drawn} became {seen}")

    def testTheSecondSaveCoversTheFirstAsWell(self):
        program = self.recording()
        self.let_time_pass(1)
        program.left_click()
        first = self.saved_clip(program)
        self.let_time_pass(1)
        before, after = program.left_click()
        second = self.saved_clip(program)
        self.assertNotEqual(first.path, second.path)
        self.assert_sound(second)
        self.assert_ends_at(second, before, after)
        self.assertLessEqual(second.clock()[0], first.clock()[0])

    def testTheRecordingGoesOnUnderAnOpenAlert(self):
        program = self.recording()
        self.let_time_pass(1)
        program.left_click()
        alert = program.alert(self.texts.saved)
        self.let_time_pass(1.5)
        alert.press("OK")
        before, after = program.left_click()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)
        self.assertGreater(clip.packets()[-1][0], 2)

    def testSaveLastFromTheMenuEndsAtTheClickThatOpenedTheMenu(self):
        # While recording a click opens the menu only as long as a save runs.
        program = self.recording(slow_disk=SLOW)
        self.let_time_pass(1)
        active = program.icon_picture()
        program.left_click()
        wait_for("the icon to show the save", lambda: program.icon_picture() != active)
        self.desktop.accessibility.forget_menus()
        opened = []
        menu = program.open_menu(lambda: opened.extend(program.left_click()))
        self.let_time_pass(2)
        wait_for("the icon to show the recording", lambda: program.icon_picture() == active)
        # The first save's alert waits for the menu to close.
        program.choose(self.texts.save_last, menu)
        program.alert(self.texts.saved).press("OK")
        clip = self.saved_clip(program)
        self.assertEqual(len(program.clips()), 2)
        self.assert_sound(clip)
        self.assert_ends_at(clip, *opened)

    def testAClickDuringASaveOpensTheMenuAndSavesNothing(self):
        program = self.recording(slow_disk=SLOW)
        self.let_time_pass(1)
        active = program.icon_picture()
        program.left_click()
        wait_for("the icon to show the save", lambda: program.icon_picture() != active)
        # What the menu offers is neither a second save nor a stop while the first one runs.
        program.choose(self.texts.start)
        self.saved_clip(program)
        wait_for("the icon to show the recording", lambda: program.icon_picture() == active)
        self.assertEqual(len(program.clips()), 1)
        before, after = program.left_click()
        self.assert_ends_at(self.saved_clip(program), before, after)


class Stopping(Case):
    def recording(self):
        program = self.pellaro().start()
        self.show_clock()
        program.start_recording()
        return program

    def testARightClickWhileRecordingStopsAtOnce(self):
        program = self.recording()
        program.right_click()
        program.wait_until_idle()
        self.assertEqual(program.alerts(), [])

    def testAControlClickWhileRecordingStopsAtOnce(self):
        program = self.recording()
        program.control_click()
        program.wait_until_idle()

    def testARightClickWhileIdleOpensTheMenu(self):
        program = self.pellaro().start()
        menu = program.open_menu(program.right_click)
        self.assertIn(self.texts.start, menu.names("menu item"))
        program.choose(self.texts.quit, menu)
        self.assertEqual(program.wait_for_end()[0], 0)

    def testASaveRightAfterAStopFindsNoRecording(self):
        program = self.recording()
        program.right_click()
        program.wait_until_idle()
        program.choose(self.texts.save_last)
        program.alert(self.texts.not_recording).press("OK")
        self.assertEqual(program.clips(), [])

    def testAStopForgetsWhatWasRecorded(self):
        program = self.recording()
        self.let_time_pass(2)
        stopped, _ = program.right_click()
        program.wait_until_idle()
        program.choose(self.texts.start)
        program.wait_until_recording()
        self.let_time_pass(1)
        program.left_click()
        clip = self.saved_clip(program)
        self.assertGreater(clip.clock()[0], stopped)
