"""A region, drawn on the screen as a person would; what is in the clip is judged picture by picture."""

import os
import plistlib

from case import Case
from desktop.clip import CELL, CLOCK_LEFT, CLOCK_TOP, COLUMNS, ROWS
from desktop.desktop import Window
from desktop.processes import wait_for
from desktop.program import STARTED

REGION_MODE = 2
# The clock window's grid alone, without its row of colours.
CLOCK = (CLOCK_LEFT, CLOCK_TOP, COLUMNS * CELL, ROWS * CELL)


def display_identifier(connector):
    """The number by which the settings name a monitor."""
    number = 2166136261
    for letter in connector.encode():
        number = (number ^ letter) * 16777619 % 2**32
    return number


class RegionCase(Case):
    def in_region_mode(self, *, settings=None, **options):
        program = self.pellaro(**options)
        program.write_defaults(didShowFirstRunWelcome=True, captureMode=REGION_MODE, **(settings or {}))
        return program.start()

    def stored_region(self, program):
        values = plistlib.loads(program.defaults_file.read_bytes())
        return tuple(values.get(f"captureRect{key}", 0) for key in "XYWH")

    def show_picture(self, region, outside=0, levels=(40, 110, 160, 200)):
        """Fills the screen with one level of grey, and the quarters of the region with four others. Every edge lies on its pixel."""
        self.desktop.start(os.environ["PELLARO_QUARTERS_WINDOW"], *region, outside, *levels)
        left, top = region[:2]
        first = Window(0, "", "", left, top, 1, 1, 0)
        wait_for("the picture on the screen", lambda: self.desktop.pixels(first) == bytes([levels[0]] * 3))
        self.levels = levels

    def assert_shows_picture(self, clip, size, tolerance=6):
        """Every picture of the clip is the region's four quarters up to its very edges, and nothing else: no border, no handle, no
        dimming, nothing from beside the region."""
        width, height = size
        self.assertEqual(clip.size(), (width // 2 * 2, height // 2 * 2), "the compressor takes even sizes")
        width, height = clip.size()
        blurred = 8  # around the middle, where the quarters meet
        pictures = clip.pictures()
        self.assertGreater(len(pictures), 3)
        for number, picture in enumerate(pictures):
            for row, (begin, end) in enumerate(((0, height // 2 - blurred), (height // 2 + blurred, height))):
                for column, (left, right) in enumerate(((0, width // 2 - blurred), (width // 2 + blurred, width))):
                    wanted = self.levels[2 * row + column]
                    part = b"".join(picture[y * width + left:y * width + right] for y in range(begin, end))
                    seen = (min(part), max(part))
                    self.assertTrue(wanted - tolerance <= seen[0] and seen[1] <= wanted + tolerance,
                                    f"picture {number}, row {row}, column {column}: {seen} instead of {wanted}")


class Region(RegionCase):
    def testTheRegionThatWasDrawnIsRecorded(self):
        program = self.in_region_mode()
        self.show_clock()
        left, top, width, height = CLOCK
        accepted = program.start_with_region((left, top), (left + width, top + height))
        self.assertEqual(self.stored_region(program), CLOCK)
        self.let_time_pass(2)
        before, after = program.left_click()
        clip = self.saved_clip(program, clock_at=(0, 0))
        self.assert_sound(clip)
        self.assertEqual(clip.size(), (width, height))
        # A picture that is dimmed or has anything drawn over it cannot be read; one of the still under the dimming is of an earlier time.
        shown = clip.clock()
        self.assertEqual(len(shown), len(clip.packets()))
        self.assertGreater(shown[0], accepted, "the clip shows something from before the region was accepted")
        self.assert_ends_at(clip, before, after)
        self.assertIn(f"Encoder start: {width}×{height}", program.log())

    def testNothingOfTheOverlayIsInTheClip(self):
        region = (301, 203, 600, 390)
        self.show_picture(region)
        program = self.in_region_mode()
        left, top, width, height = region
        program.start_with_region((left, top), (left + width, top + height))
        self.let_time_pass(1.5)
        program.left_click()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_shows_picture(clip, (width, height))

    def testEscLeavesTheProgramIdleWithoutAWord(self):
        program = self.in_region_mode()
        program.choose(self.texts.start)
        wait_for("the overlay", program.overlays)
        self.desktop.keys("Escape")
        wait_for("the overlay to go", lambda: not program.overlays())
        program.wait_until_idle()
        self.assertEqual(program.alerts(), [])
        self.assertEqual(self.stored_region(program), (0, 0, 0, 0))
        # The next start asks again, and a click without a drag is no region either.
        program.choose(self.texts.start)
        wait_for("the overlay", program.overlays)
        self.desktop.click((400, 300))
        wait_for("the overlay to go", lambda: not program.overlays())
        program.wait_until_idle()
        self.assertNotIn(STARTED, program.output_of_this_run())
        program.choose(self.texts.save_last)
        program.alert(self.texts.not_recording).press("OK")

    def testAStoredRegionIsRecordedWithoutAsking(self):
        region = (100, 50, 320, 240)
        self.show_picture(region)
        keys = dict(zip(("captureRectX", "captureRectY", "captureRectW", "captureRectH"), map(float, region)))
        program = self.in_region_mode(settings=keys)
        program.start_recording()
        self.assertEqual(program.overlays(), [])
        self.let_time_pass(1)
        program.left_click()
        self.assert_shows_picture(self.saved_clip(program), region[2:])

    def testARegionThatNoLongerLiesOnTheDisplayIsRecordedAsFarAsItDoes(self):
        # Of 400 by 300 the lower right quarter is on the display; it is enlarged to the size that was asked for.
        self.show_picture((0, 0, 200, 150))
        keys = {"captureRectX": -200.0, "captureRectY": -150.0, "captureRectW": 400.0, "captureRectH": 300.0}
        program = self.in_region_mode(settings=keys)
        program.start_recording()
        self.let_time_pass(1)
        program.left_click()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_shows_picture(clip, (400, 300))

    def testASignalQuitsDuringASelection(self):
        program = self.in_region_mode()
        program.choose(self.texts.start)
        wait_for("the overlay", program.overlays)
        program.process.terminate()
        self.assertEqual(program.wait_for_end(2)[0], 0, program.output_of_this_run())


class Scaled(RegionCase):
    """Where a point is more than a pixel: what was drawn is recorded to the pixel, in a clip of as many pixels as it has points."""

    def assert_recorded(self, scale, region, size):
        self.show_picture(region)
        program = self.in_region_mode(QT_SCALE_FACTOR=str(scale))
        left, top, width, height = region
        program.start_with_region((left, top), (left + width, top + height))
        for stored, drawn in zip(self.stored_region(program), region):
            self.assertAlmostEqual(stored * scale, drawn, places=6)
        self.let_time_pass(1)
        program.left_click()
        self.assert_shows_picture(self.saved_clip(program), size)

    def testAtOneAndAQuarter(self):
        self.assert_recorded(1.25, (301, 203, 600, 300), (480, 240))

    def testAtOneAndAHalf(self):
        self.assert_recorded(1.5, (301, 203, 600, 300), (400, 200))

    def testAtTwo(self):
        self.assert_recorded(2, (301, 203, 600, 300), (300, 150))

    def testNoEdgeIsBlackWhereARegionIsNotWholePoints(self):
        self.assert_recorded(1.25, (301, 203, 643, 301), (514, 240))


class SecondMonitor(RegionCase):
    def setUp(self):
        super().setUp()
        # The server's only output gives way to two monitors, the right one lower.
        self.desktop.run("xrandr", "--output", "screen", "--off", "--fb", "1280x720")
        self.desktop.run("xrandr", "--setmonitor", "left", "640/170x720/190+0+0", "none")
        self.desktop.run("xrandr", "--setmonitor", "right", "640/170x500/132+640+100", "none")

    def testTheRegionCountsFromTheCornerOfItsMonitor(self):
        region = (701, 203, 400, 300)
        self.show_picture(region)
        program = self.in_region_mode(settings={"captureDisplayID": display_identifier("right")})
        program.choose(self.texts.start)
        [overlay] = wait_for("the overlay", lambda: program.overlays((640, 500)))
        self.assertEqual((overlay.x, overlay.y), (640, 100))
        left, top, width, height = region
        self.desktop.drag((left, top), (left + width, top + height))
        program.wait_until_recording()
        self.assertEqual(self.stored_region(program), (61, 103, width, height))
        self.let_time_pass(1)
        program.left_click()
        self.assert_shows_picture(self.saved_clip(program), (width, height))


class Composited(Region):
    """The same under a compositing manager that fades windows in and out: the overlay is transparent there."""

    def setUp(self):
        super().setUp()
        self.desktop.start("picom", "--config", "/dev/null", "--backend", "xrender", "--fading", "--fade-delta", "10")
        wait_for("the compositing manager", lambda: b"picom" in self.desktop.run("xwininfo", "-root", "-tree"))

    def testTheScreenGoesOnUnderTheOverlay(self):
        self.show_clock()
        program = self.in_region_mode()
        program.choose(self.texts.start)
        wait_for("the overlay", program.overlays)
        clock = Window(0, "", "", *CLOCK, 0)
        shown = self.desktop.pixels(clock)
        wait_for("the clock to go on", lambda: self.desktop.pixels(clock) != shown)
        self.desktop.keys("Escape")
        wait_for("the overlay to go", lambda: not program.overlays())
