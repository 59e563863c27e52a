"""Child processes that never outlive this one, and waits with a deadline."""

import ctypes
import os
import signal
import subprocess
import sys
import time

_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36
_libc = ctypes.CDLL(None, use_errno=True)

# How much longer than on an ordinary build everything may take; sanitizers slow the program down.
PATIENCE = float(os.environ.get("PELLARO_PATIENCE", "1"))


class Failed(AssertionError):
    """Something that had to happen did not."""


def wait_for(what, condition, seconds=10.0):
    """Returns the first true value of `condition`; raises Failed naming `what` when there is none in time."""
    end = time.monotonic() + seconds * PATIENCE
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= end:
            raise Failed(f"waited {seconds * PATIENCE:g} s in vain for {what}")
        time.sleep(0.01)


def adopt_orphans():
    """From now on the descendants of this process become its children when their parents end, so that it can end them too."""
    if _libc.prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def exit_on_signals():
    """Makes SIGTERM and SIGHUP end this process the way Ctrl+C does, so that everything started is ended."""
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda received, _frame: sys.exit(128 + received))


def descendants():
    """The process ids below this process, with their command names; ended ones that nobody waited for are not counted."""
    parents, names = {}, {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                stat = file.read()
        except OSError:
            continue
        name, _, rest = stat.partition("(")[2].rpartition(")")
        state, parent = rest.split()[:2]
        if state != "Z":
            parents[int(entry)] = int(parent)
            names[int(entry)] = name
    found, more = {}, {os.getpid()}
    while more:
        more = {child for child, parent in parents.items() if parent in more and child not in found}
        found.update({child: names[child] for child in more})
    return found


class Children:
    """Starts processes and ends them all, the last first."""

    def __init__(self):
        adopt_orphans()
        self._children = []

    def start(self, arguments, **options):
        """Like subprocess.Popen; standard input is empty, and the child dies with this process."""
        parent = os.getpid()

        def before_exec():
            _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)
            if os.getppid() != parent:
                os._exit(127)

        options.setdefault("stdin", subprocess.DEVNULL)
        child = subprocess.Popen(arguments, preexec_fn=before_exec, **options)
        self._children.append(child)
        return child

    def stop(self):
        while self._children:
            end_child(self._children.pop())
        end = time.monotonic() + 10
        # What a child left behind: helpers that the session bus started end by themselves when the bus is gone.
        asked = set()
        while left := descendants():
            for process in left:
                if process not in asked or time.monotonic() > end - 5:
                    _signal(process, signal.SIGKILL if process in asked else signal.SIGTERM)
                    asked.add(process)
            _reap()
            if time.monotonic() > end:
                raise Failed(f"processes that would not end: {left}")
            time.sleep(0.01)
        _reap()


def end_child(child, seconds=5.0):
    """Asks the child to end, and ends it when it does not in time."""
    if child.poll() is None:
        child.terminate()
        try:
            child.wait(seconds)
        except subprocess.TimeoutExpired:
            child.kill()
            child.wait()


def _signal(process, number):
    try:
        os.kill(process, number)
    except ProcessLookupError:
        pass


def _reap():
    while True:
        try:
            process, _ = os.waitpid(-1, os.WNOHANG)
        except ChildProcessError:
            return
        if process == 0:
            return
