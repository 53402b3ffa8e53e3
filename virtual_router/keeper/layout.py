# SPDX-License-Identifier: MIT
"""What the router's root is made of, apart from what a mode mounts there.

All of it is read when the router is laid out for the first time: a build that runs later does not disturb it, and what its
programs change does not outlive a reboot.
"""

import glob
import os
import pathlib
import stat
import subprocess
from typing import NamedTuple


class Entry(NamedTuple):
    path: str
    kind: int  # stat.S_IFDIR, S_IFREG, S_IFLNK or S_IFIFO
    content: bytes = b""  # of a file; where a link leads
    mode: int = 0o755


FOLDERS = "bin dev etc flash flash/mib lib outside proc tmp usr var var/mib var/run var/tmp web web/app web/pages"
SHARED_LIBRARIES = ("/usr/lib/ld-*", "/usr/lib/*-linux-gnu*")
PROGRAMS = ("flash", "system_daemon", "udhcpd", "speedtest", "board")
LIBRARIES = ("apmib", "arpcheck", "driver")
NETWORK_TOOLS = ("/usr/sbin/nft", "/usr/sbin/tc")  # of use only with a network of its own


def folder(path):
    return Entry(path, stat.S_IFDIR)


def link(path, target):
    return Entry(path, stat.S_IFLNK, target.encode())


def text(path, content):
    return Entry(path, stat.S_IFREG, content.encode(), 0o644)


def copy(source, path, mode=0o755):
    return Entry(path, stat.S_IFREG, pathlib.Path(source).read_bytes(), mode)


def applets():
    return subprocess.run(["busybox", "--list"], stdout=subprocess.PIPE, text=True, check=True).stdout.split()


STARTED_ENDPOINT = """\
cgi.assign = ( "" => "" )
setenv.add-environment = ( "PATH" => "/bin:/sbin" )
"""
RESIDENT_ENDPOINT = """\
scgi.server = ( "" => (( "socket" => "/var/run/app.scgi", "check-local" => "disable" )) )
"""


def root(project, build, facts, *, debug, home, own_network, resident=False, preload=()):
    """The entries of a router's root, as {path: Entry}. `facts` is the text of its surroundings."""
    here = project / "virtual_router"
    entries = [folder(path) for path in FOLDERS.split()]
    entries += [link(f"bin/{name}", "/usr/bin/busybox") for name in applets()]
    entries += [link("sbin", "bin"), link("bin/curl", "/usr/bin/curl")]
    if not own_network:
        entries.append(folder("proc/net"))
    else:
        entries += [link(f"bin/{os.path.basename(tool)}", tool) for tool in NETWORK_TOOLS]
    # /lib is the router's own: it holds what the firmware supplies, and leads the loader to the PC's libraries.
    entries += [link(f"lib/{os.path.basename(path)}", path) for pattern in SHARED_LIBRARIES for path in glob.glob(pattern)]
    if os.path.exists("/usr/lib64"):
        entries.append(link("lib64", "usr/lib64"))
    entries += [copy(build / f"lib{name}.so", f"lib/lib{name}.so") for name in (*LIBRARIES, *preload)]
    entries.append(text("etc/ld.so.preload", "".join(f"/lib/lib{name}.so\n" for name in ("driver", *preload))))
    # The router's own commands take the place of BusyBox's.
    entries += [copy(build / name, f"bin/{name}") for name in PROGRAMS]
    entries += [copy(path, f"bin/{path.name}") for path in sorted((here / "system/bin").iterdir())]
    entries += [copy(path, f"lib/{path.name}", 0o644) for path in sorted((here / "system/lib").iterdir())]
    if resident:
        entries.append(copy(build / "app.scgi", "bin/app.scgi"))
    entries.append(text("etc/lighttpd-endpoint.conf", RESIDENT_ENDPOINT if resident else STARTED_ENDPOINT))
    entries += [copy(build / "app.cgi", "web/app/app.cgi"), text("web/status-500.html", "")]
    entries += [copy(path, f"web/pages/{path.name}", 0o644) for path in sorted((here / "web").iterdir())]
    entries += [copy(here / "lighttpd.conf", "etc/lighttpd.conf", 0o644), *(copy(project / f"platform/{name}.conf", f"etc/{name}.conf", 0o644) for name in ("items", "records"))]
    entries += [
        text("etc/surroundings.conf", facts.text),
        text("etc/passwd", "root:x:0:0:root:/:/bin/sh\n"),
        text("etc/group", "root:x:0:\n"),
        text("etc/hosts", "127.0.0.1 localhost\n"),
        text("etc/fwInfo.file", f"Compile Date: {facts['FIRMWARE_DATE']}\n"),
        Entry("dev/console", stat.S_IFIFO, mode=0o600),
    ]
    if home:
        # There before anything runs: some files are a home's to write, and what starts first must not take them away.
        entries.append(text("etc/has-home", ""))
    if debug:
        entries.append(text("var/appdebug", "1\n"))
    return {entry.path: entry for entry in entries}


def lay_out(root_folder, entries):
    """Makes the entries, parents first, in an empty folder."""
    for entry in entries.values():
        path = os.path.join(root_folder, entry.path)
        if entry.kind == stat.S_IFDIR:
            os.mkdir(path, entry.mode)
        elif entry.kind == stat.S_IFLNK:
            os.symlink(entry.content, path)
        elif entry.kind == stat.S_IFIFO:
            os.mkfifo(path, entry.mode)
        else:
            with open(path, "xb") as file:
                file.write(entry.content)
        if entry.kind != stat.S_IFLNK:
            os.chmod(path, entry.mode)
