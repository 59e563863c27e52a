"""Builds of the program to install and update between, and the product's web site to get them from."""

import json
import os
import plistlib
import shutil
import stat
import sys
import zipfile
from pathlib import Path

import machine

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "Support"))
from https_server import Authority, Server  # noqa: E402 (found on the path just set)

SITE = "pellaro.example"


def make_bundle(target, version, build, ballast=0):
    """A copy of the built bundle that says it is this version. `ballast` bytes make its copying take a moment."""
    shutil.copytree(os.environ["PELLARO_BUNDLE"], target, symlinks=True)
    info = Path(target) / "Contents/Info.plist"
    values = plistlib.loads(info.read_bytes())
    values.update(CFBundleShortVersionString=version, CFBundleVersion=str(build))
    info.write_bytes(plistlib.dumps(values))
    (Path(target) / f"Contents/Resources/of version {version}").write_bytes(b"\0" * ballast)
    return Path(target)


def build_of(bundle):
    """The build number of the bundle on the disk."""
    return int(plistlib.loads((Path(bundle) / "Contents/Info.plist").read_bytes())["CFBundleVersion"])


def pack(bundle, archive, below=""):
    """Writes the bundle into a ZIP archive, in the folder `below` if one is given."""
    bundle = Path(bundle)
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=1) as target:
        for path in sorted(bundle.rglob("*")):
            target.write(path, Path(below) / "Pellaro.app" / path.relative_to(bundle))


def is_whole(bundle):
    """Whether the bundle could be started: its program and description are there, and the program may be run."""
    program, info = (Path(bundle) / "Contents" / name for name in ("Linux/Pellaro", "Info.plist"))
    return program.is_file() and info.is_file() and bool(program.stat().st_mode & stat.S_IXUSR)


class Site:
    """The product's web site on this machine, over HTTPS with a certificate that the machine trusts."""

    def __init__(self, folder, **certificate):
        folder = Path(folder)
        self.files = folder / "site"
        self.files.mkdir()
        authority = Authority(folder)
        trusted = folder / "trusted"
        trusted.mkdir()
        shutil.copy(authority.certificate, trusted / "authority.pem")
        machine.name_hosts(folder, SITE)
        machine.trust(trusted)
        self._context = authority.context("site", hosts=f"DNS:{SITE}", **certificate)
        self.server = Server(self.files, self._context, port=443)

    @property
    def requests(self):
        """The paths that were asked for so far."""
        return list(self.server.requests)

    def announce(self, version, build, notes=None):
        feed = {"version": version, "build": build}
        if notes is not None:
            feed["notes"] = notes
        (self.files / "version.json").write_text(json.dumps(feed), encoding="utf-8")

    def offer(self, bundle, **how):
        pack(bundle, self.files / "Pellaro.zip", **how)

    def replace(self, path, answer):
        """From now on the path gives what the server gives for the path `answer`."""
        self.server.instead[path] = answer
