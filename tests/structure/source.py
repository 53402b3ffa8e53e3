# SPDX-License-Identifier: MIT
"""The files of the source, without what is made from it or fetched for it."""

import os
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
MADE = {"build", ".router", ".git", "node_modules", "__pycache__", "dist"}  # folders, wherever they are; see .gitignore


def files():
    """The path of each file, sorted. Where there is git, it says what is none of the source."""
    listed = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    if (ROOT / ".git").exists():
        try:
            names = subprocess.run(listed, cwd=ROOT, check=True, capture_output=True).stdout.decode().split("\0")
            return sorted(ROOT / name for name in set(names) if (ROOT / name).is_file())
        except (OSError, subprocess.CalledProcessError):
            pass  # no git, or a folder that is another's in its eyes: by the names of folders, then
    found = []
    for folder, folders, names in os.walk(ROOT):
        folders[:] = set(folders) - MADE
        found += [pathlib.Path(folder, name) for name in names]
    return sorted(found)
