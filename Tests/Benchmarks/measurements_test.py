"""Whether the measurements see what is there: clips that lack something known, and processes that do something known."""

import json
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "Benchmarks"))

import film as films
from expected import Expected
from measuring import Figure, cores_used

SIZE = (320, 180)


class FilmTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.film = films.make_film(self.folder, *SIZE, 0, 0)

    def clip(self, picture_filter="null", quality=10):
        """Two seconds of the film as somebody records it, at 30 pictures a second, with a key frame each half second."""
        path = self.folder / "clip.mkv"
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "bgr0", "-video_size", "x".join(map(str, SIZE)), "-framerate",
                        "30", "-i", str(self.film.path), "-vf", f"{picture_filter},scale=out_color_matrix=bt709:out_range=tv", "-fps_mode",
                        "passthrough", "-pix_fmt", "yuv420p", "-c:v", "libx264", "-crf", str(quality), "-g", "15", "-bf", "0", str(path)], check=True)
        return path

    def testEveryPictureIsKnownByItsNumber(self):
        self.assertEqual(films.numbers(self.clip(), self.film, (0, 0)), list(range(60)))

    def testAWholeRecordingLacksNothing(self):
        kept = films.kept(self.clip(), self.film, (0, 0), 0)
        self.assertEqual(kept.missing, 0)
        self.assertAlmostEqual(kept.per_second, 30, delta=0.1)

    def testPicturesThatAreLeftOutAreMissed(self):
        kept = films.kept(self.clip("select='not(between(n,20,24)+eq(n,40))'"), self.film, (0, 0), 0)
        self.assertEqual(kept.missing, 6)
        self.assertAlmostEqual(kept.per_second, 53 / (59 / 30), delta=0.1)

    def testARepeatedPictureIsNotAnotherOne(self):
        kept = films.kept(self.clip("fps=60"), self.film, (0, 0), 0)
        self.assertEqual(kept.missing, 0)
        self.assertAlmostEqual(kept.per_second, 30, delta=0.5)

    def testPicturesAreComparedWithThoseOfTheSameNumber(self):
        # A clip that begins later, and one that lacks pictures, are as like their film as any other.
        for picture_filter in ("null", "select='gte(n,7)',setpts=N/30/TB", "select='not(eq(mod(n,5),1))'"):
            with self.subTest(picture_filter):
                self.assertGreater(films.ssim(self.clip(picture_filter), self.film, (0, 0), 0.2, SIZE[1], 20), 0.99)

    def testACoarserRecordingIsLessLikeItsFilm(self):
        fine, coarse = (films.ssim(self.clip(quality=quality), self.film, (0, 0), 0, SIZE[1], 30) for quality in (10, 45))
        self.assertLess(coarse, fine - 0.01)

    def testTheBytesOfAKnownStretchAreCounted(self):
        clip = self.clip()
        packets = films.packets(clip)
        self.assertEqual([packet.at for packet in packets if packet.is_key], [0, 0.5, 1, 1.5])
        self.assertAlmostEqual(films.bytes_per_second(clip, 0.5), sum(packet.size for packet in packets[15:45]), delta=1)

    def testARecordingWithoutASecondKeyFrameSaysNothingOfItsBytes(self):
        with self.assertRaises(AssertionError):
            films.bytes_per_second(self.clip(), 1.2)


class ProcessTest(unittest.TestCase):
    def cores_of(self, program):
        process = subprocess.Popen([sys.executable, "-c", program])
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        time.sleep(0.3)
        return cores_used(process.pid, 1)

    def testAProcessThatSleepsUsesNothing(self):
        self.assertLess(self.cores_of("import time; time.sleep(60)"), 0.03)

    def testAProcessThatIsBusyUsesWhatItGets(self):
        self.assertGreater(self.cores_of("while True: pass"), 0.1)


class ExpectedTest(unittest.TestCase):
    FIGURES = {"most": {"what": "", "unit": "", "at_most": 2}, "least": {"what": "", "unit": "", "at_least": 2}, "free": {"what": "", "unit": ""},
               "count": {"what": "", "unit": "", "count": 100, "tolerance": 0.1, "gate": True}}

    def judged(self, name, value, gates_only=False):
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            json.dump(self.FIGURES, file)
            file.flush()
            return Expected(Path(file.name), gates_only).judge(Figure(name, value)).met

    def testAFigureIsMetUpToItsLimit(self):
        self.assertEqual([self.judged("most", value) for value in (1, 2, 2.01)], [True, True, False])
        self.assertEqual([self.judged("least", value) for value in (1.99, 2, 3)], [False, True, True])

    def testACountMayGrowByItsToleranceAndNoMore(self):
        self.assertEqual([self.judged("count", value, True) for value in (50, 110, 111)], [True, True, False])

    def testTheShortFormJudgesOnlyWhatDoesNotDependOnTheMoment(self):
        self.assertIsNone(self.judged("most", 1000, gates_only=True))

    def testWhatNothingIsAskedOfIsNotJudged(self):
        self.assertIsNone(self.judged("free", 1))

    def testEveryFigureOfTheProjectCanBeJudged(self):
        figures = json.loads((Path(__file__).resolve().parents[2] / "Benchmarks/expected.json").read_text(encoding="utf-8"))
        for name, asked in figures.items():
            with self.subTest(name):
                self.assertLessEqual(asked.keys(), {"what", "unit", "at_most", "at_least", "count", "tolerance", "gate"})
                self.assertTrue({"what", "unit"} <= asked.keys())


if __name__ == "__main__":
    unittest.main()
