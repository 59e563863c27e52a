"""A sound server for a virtual desktop, with one sink that leads nowhere."""

import shutil

from .processes import Failed, wait_for

PULSEAUDIO = "pulseaudio"
PIPEWIRE = "pipewire"
PROGRAMS = {PULSEAUDIO: ("pulseaudio", "pactl"), PIPEWIRE: ("pipewire", "wireplumber", "pipewire-pulse", "pactl")}


def missing(kind):
    """The programs that this kind of server needs and the machine lacks."""
    return [program for program in PROGRAMS[kind] if not shutil.which(program)]


class SoundServer:
    """Starts a server where the desktop's programs look for one. It ends with the desktop."""

    def __init__(self, desktop, kind):
        self.desktop = desktop
        folder = desktop.folder / "runtime/pulse"
        if kind == PULSEAUDIO:
            folder.mkdir(mode=0o700)
            protocol = f"module-native-protocol-unix auth-anonymous=1 socket={folder / 'native'}"
            desktop.start("pulseaudio", "--daemonize=no", "--exit-idle-time=-1", "-n", "-F", "/dev/null", "--use-pid-file=no",
                          "--disable-shm=yes", "--realtime=no", "--high-priority=no", "-L", protocol, "-L", "module-suspend-on-idle timeout=1")
        else:
            desktop.start("pipewire")
            wait_for("PipeWire", (desktop.folder / "runtime/pipewire-0").exists)
            desktop.start("wireplumber")
            desktop.start("pipewire-pulse")
        wait_for("the sound server", self._answers, 20)
        desktop.run("pactl", "load-module", "module-null-sink", "sink_name=speakers")
        wait_for("the sink to be the default one", lambda: b"speakers" in desktop.run("pactl", "get-default-sink"), 20)

    def _answers(self):
        try:
            return self.desktop.run("pactl", "info")
        except Failed:
            return None
