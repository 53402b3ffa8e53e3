# SPDX-License-Identifier: MIT
"""The files that a program needs beside it: libraries, the loader, symbols."""

import pathlib
import re
import subprocess


def shared_objects(binary, own):
    """The libraries that a program needs, its loader too, without those whose names are in `own`."""
    output = subprocess.run(["ldd", binary], check=True, capture_output=True, text=True).stdout
    found = re.findall(r"(\S+)(?: => (\S+))? \(0x", output)
    paths = [path or name for name, path in found]
    return [path for path in paths if path.startswith("/") and pathlib.Path(path).name not in own]


def target_objects(binary, own, folder):
    """The same for another processor: the build machine's loader cannot tell, so the C library's folder is searched."""
    found, pending = {}, [binary]
    while pending:
        output = subprocess.run(["readelf", "-lWd", pending.pop()], check=True, capture_output=True, text=True).stdout
        for name in re.findall(r"\(NEEDED\).*\[(.*)\]|program interpreter: .*/([^/]*)\]", output):
            name = "".join(name)
            if name not in own and name not in found:
                found[name] = pathlib.Path(folder) / name
                pending.append(found[name])
    return found


def debug_file(library):
    """Where Debian keeps the symbols of a stripped library."""
    notes = subprocess.run(["readelf", "-n", library], check=True, capture_output=True, text=True).stdout
    build_id = re.search(r"Build ID: ([0-9a-f]+)", notes)[1]
    return f"/usr/lib/debug/.build-id/{build_id[:2]}/{build_id[2:]}.debug"
