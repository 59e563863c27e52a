"""What tells the desktop of the program: its entry in the menus, and its description for software centres."""

import configparser
import re
import shlex
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path

from case import Case
from desktop.processes import wait_for

PROJECT = Path(__file__).resolve().parent.parent.parent
ENTRY = PROJECT / "Resources/package/com.pellaro.Pellaro.desktop"
METAINFO = PROJECT / "Resources/package/com.pellaro.Pellaro.metainfo.xml.in"


def entry():
    parser = configparser.ConfigParser(interpolation=None, delimiters="=")
    parser.optionxform = str
    parser.read(ENTRY, encoding="utf-8")
    return parser


class Describing(unittest.TestCase):
    """By the tools that software centres judge with."""

    def assert_accepted(self, *command):
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout + done.stderr

    def testTheEntryIsValid(self):
        self.assertEqual(self.assert_accepted("desktop-file-validate", str(ENTRY)), "")

    def testTheEntryNamesNothingInOneLanguageOnly(self):
        for name, section in entry().items():
            texts = {key for key in section if key in ("GenericName", "Comment", "Keywords") or (key == "Name" and "Action" in name)}
            self.assertEqual({key for key in texts if f"{key}[de]" not in section}, set())

    def testTheMetainfoIsValid(self):
        # As it is installed: the build fills in these two.
        text = METAINFO.read_text(encoding="utf-8").replace("@PELLARO_SHORT_VERSION@", "1.0").replace("@PELLARO_SITE_HOST@", "pellaro.example")
        self.assertNotIn("@", text)
        with tempfile.TemporaryDirectory() as folder:
            filled = Path(folder) / "com.pellaro.Pellaro.metainfo.xml"
            filled.write_text(text, encoding="utf-8")
            self.assert_accepted("appstreamcli", "validate", "--no-net", "--strict", str(filled))

    def testTheMetainfoHasEveryParagraphInBothLanguages(self):
        language = "{http://www.w3.org/XML/1998/namespace}lang"
        root = xml.etree.ElementTree.parse(METAINFO).getroot()
        texts = [element for element in root.iter() if element.tag in ("summary", "p", "li")]
        self.assertGreater(len(texts), 2)
        self.assertEqual([element.get(language) for element in texts], [None, "de"] * (len(texts) // 2))

    def testTheReleaseIsOfTheDayThatTheProgramNames(self):
        source = (PROJECT / "Sources/AppInfo.cpp").read_text(encoding="utf-8")
        day, month, year = re.search(r'"(\d\d)\.(\d\d)\.(\d{4}) \d\d:\d\d"', source).groups()
        release = xml.etree.ElementTree.parse(METAINFO).getroot().find("releases/release")
        self.assertEqual(release.get("date"), f"{year}-{month}-{day}")


class Actions(Case):
    """The entry's own commands, run as a desktop's menu runs them."""

    def choose_action(self, action):
        self.desktop.run(*shlex.split(entry()[f"Desktop Action {action}"]["Exec"]))

    def testEachReachesTheProgramThatRuns(self):
        self.assertEqual(entry()["Desktop Entry"]["Actions"], "save;toggle;settings;")
        program = self.pellaro().start()
        self.show_clock()
        self.choose_action("toggle")
        program.wait_until_recording()
        self.let_time_pass(1)
        self.choose_action("save")
        program.alert(self.texts.saved).press("OK")
        self.choose_action("settings")
        wait_for("the settings window",
                 lambda: any(window.name == "Pellaro Settings" for window in self.desktop.accessibility.windows()))

    def testWindowsBelongToTheEntry(self):
        self.pellaro().start()
        self.choose_action("settings")
        window = self.desktop.window("Pellaro Settings")
        names = self.desktop.run("xprop", "-id", window.id, "WM_CLASS").decode()
        self.assertIn(f'"{entry()["Desktop Entry"]["StartupWMClass"]}"', names)
