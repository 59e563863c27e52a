"""A machine of the test's own: the real one, but with an empty /Applications, names and certificate authorities of the test's making, and
no network beyond itself. It is made of namespaces, so nothing of it is seen outside this process and what it starts."""

import ctypes
import fcntl
import os
import socket
import struct
from pathlib import Path

_CLONE_NEWNS, _CLONE_NEWUSER, _CLONE_NEWNET = 0x00020000, 0x10000000, 0x40000000
_MS_RDONLY, _MS_REMOUNT, _MS_BIND, _MS_REC, _MS_PRIVATE = 1, 32, 4096, 16384, 1 << 18
_MNT_DETACH = 2
_SIOCGIFFLAGS, _SIOCSIFFLAGS, _IFF_UP = 0x8913, 0x8914, 1
_ROOT = Path("/mnt")  # what is there is not seen on the new machine
_libc = ctypes.CDLL(None, use_errno=True)


def _check(result, what):
    if result != 0:
        error = ctypes.get_errno()
        raise OSError(error, f"{what}: {os.strerror(error)}")


def mount(source, target, kind=None, flags=0, options=""):
    _check(_libc.mount(str(source).encode(), str(target).encode(), kind and kind.encode(), ctypes.c_ulong(flags), options.encode()),
           f"mount {target}")


def unmount(target):
    """Takes away what was mounted there, even if it is still in use."""
    _check(_libc.umount2(str(target).encode(), _MNT_DETACH), f"umount {target}")


def bind(source, target):
    """Shows a file, or a folder with all that is mounted in it, at the target as well."""
    mount(source, target, flags=_MS_BIND | _MS_REC)


def small_disk(folder, size):
    """Puts an empty disk in memory of so many bytes at the folder."""
    mount("tmpfs", folder, "tmpfs", options=f"size={size},mode=755")


def make_read_only(folder):
    """The disk that was put at the folder can only be read from now on."""
    mount("tmpfs", folder, "tmpfs", _MS_REMOUNT | _MS_RDONLY)


def enter():
    """Moves this process onto a machine of its own. Raises OSError where nobody may do that."""
    user, group = os.geteuid(), os.getegid()
    flags = _CLONE_NEWNS | _CLONE_NEWNET
    _check(_libc.unshare(flags if user == 0 else flags | _CLONE_NEWUSER), "unshare")
    if user != 0:
        Path("/proc/self/setgroups").write_text("deny", encoding="ascii")
        Path("/proc/self/uid_map").write_text(f"0 {user} 1", encoding="ascii")
        Path("/proc/self/gid_map").write_text(f"0 {group} 1", encoding="ascii")
    mount("none", "/", flags=_MS_REC | _MS_PRIVATE)
    mount("tmpfs", _ROOT, "tmpfs")
    for entry in Path("/").iterdir():
        if entry != _ROOT and entry.name != "Applications":
            _take_over(entry, _ROOT / entry.name)
    (_ROOT / "Applications").mkdir()
    os.chroot(_ROOT)
    os.chdir("/")
    _bring_up_loopback()


def _take_over(entry, target):
    if entry.is_symlink():
        target.symlink_to(os.readlink(entry))
    elif entry.is_dir():
        target.mkdir()
        bind(entry, target)
    else:
        target.touch()
        bind(entry, target)


def _bring_up_loopback():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
        request = struct.pack("16sH14s", b"lo", 0, b"")
        flags, = struct.unpack_from("H", fcntl.ioctl(control, _SIOCGIFFLAGS, request), 16)
        fcntl.ioctl(control, _SIOCSIFFLAGS, struct.pack("16sH14s", b"lo", flags | _IFF_UP, b""))


def name_hosts(folder, *names):
    """The names lead to this machine, and no others lead anywhere."""
    hosts = Path(folder) / "hosts"
    hosts.write_text(f"127.0.0.1 localhost {' '.join(names)}\n", encoding="ascii")
    bind(hosts, "/etc/hosts")


def trust(folder):
    """The certificates in the folder are those of the authorities that this machine trusts, and there are no others."""
    bind(folder, "/etc/ssl/certs")
