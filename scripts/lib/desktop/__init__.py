"""A virtual desktop to run Pellaro on: X server, window manager, status area and session bus of its own, driven like a person would.

Used by scripts/demo and by the tests in Tests/EndToEnd. Needs nothing beyond Debian's packages of the group `test` in
scripts/lib/packages.sh.
"""
