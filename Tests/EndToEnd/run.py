"""Runs the end-to-end case of a name; --list prints the names of all of them, each followed by its labels.

The cases are those of the folder PELLARO_CASES of the environment, and of this folder where it is not set.
"""

import os
import sys
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent.parent / "scripts/lib")]
SKIPPED = 77


def cases(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from cases(item)
        else:
            yield item


def name_of(case):
    """`Saving.ALeftClick…` for the method testALeftClick… of the class Saving; of what could not be loaded the error's own name."""
    return f"{type(case).__name__}.{case.id().rpartition('.')[2].removeprefix('test')}"


def main():
    found = {name_of(case): case for case in cases(unittest.TestLoader().discover(os.environ.get("PELLARO_CASES", str(HERE)), pattern="test_*.py"))}
    if sys.argv[1:] == ["--list"]:
        for name in sorted(found):
            print(name, *getattr(found[name], "LABELS", ()))
        return 0
    if len(sys.argv) != 2 or sys.argv[1] not in found:
        print(f"usage: {sys.argv[0]} --list | name of a case", file=sys.stderr)
        return 2
    from desktop.processes import exit_on_signals
    exit_on_signals()
    result = unittest.TextTestRunner(verbosity=2).run(found[sys.argv[1]])
    if result.skipped:
        return SKIPPED
    return 0 if result.wasSuccessful() else 1


sys.exit(main())
