"""The screen as a program sees it that is connected to the X server all the time: quick enough to time what happens on it."""

import ctypes
import os
import time

_ALL_PLANES = 0xFFFFFFFF
_Z_PIXMAP = 2
_PAUSE = 1e-3  # seconds


class _Image(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("offset", ctypes.c_int), ("format", ctypes.c_int), ("data", ctypes.c_void_p)]


class Screen:
    """A connection to the desktop's X server. One thread."""

    def __init__(self, desktop):
        self._x, self._test = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
        self._x.XOpenDisplay.restype = self._x.XDefaultRootWindow.restype = ctypes.c_void_p
        self._x.XGetImage.restype = ctypes.POINTER(_Image)
        os.environ["XAUTHORITY"] = desktop.environment["XAUTHORITY"]  # the library looks for it there
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(desktop.environment["DISPLAY"].encode()))
        if not self._display:
            raise OSError("no connection to the X server")
        self._root = ctypes.c_void_p(self._x.XDefaultRootWindow(self._display))

    def close(self):
        self._x.XCloseDisplay(self._display)

    def pixels(self, x, y, width, height):
        image = self._x.XGetImage(self._display, self._root, x, y, width, height, ctypes.c_ulong(_ALL_PLANES), _Z_PIXMAP)
        if not image:
            raise OSError("the X server gives no picture of the screen")
        data = ctypes.c_void_p(image.contents.data)
        try:
            return ctypes.string_at(data, width * height * 4)
        finally:
            self._x.XFree(data)
            self._x.XFree(image)

    def point(self, x, y):
        self._test.XTestFakeMotionEvent(self._display, -1, x, y, ctypes.c_ulong(0))
        self._x.XSync(self._display, 0)

    def button(self, down, number=1):
        """Presses or releases a mouse button; returns the host clock in seconds just before."""
        now = time.monotonic()
        self._test.XTestFakeButtonEvent(self._display, number, int(down), ctypes.c_ulong(0))
        self._x.XSync(self._display, 0)
        return now

    def first_change(self, area, before, seconds=5, pause=0):
        """When the area first looks otherwise than `before`, in seconds of the host clock."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            if self.pixels(*area) != before:
                return time.monotonic()
            time.sleep(pause)
        raise AssertionError(f"nothing has changed on the screen in {seconds} s")

    def settled(self, area, before, quiet=0.4, seconds=5):
        """When the area has got the look that it then keeps for `quiet` seconds; it has to be another than `before`. Good to two
        milliseconds: the server is left alone between two looks, since it has to serve those who are looked at."""
        changed = self.first_change(area, before, seconds, _PAUSE)
        shown = self.pixels(*area)
        while time.monotonic() - changed < quiet:
            time.sleep(_PAUSE)
            now = self.pixels(*area)
            if now != shown:
                shown, changed = now, time.monotonic()
        return changed
