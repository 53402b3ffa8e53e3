# SPDX-License-Identifier: MIT
"""The files of the source, without what is made from it or fetched for it."""

import os
import pathlib

ROOT = pathlib.Path(__file__).resolve().parents[2]
MADE = {"build", ".router", ".git", "node_modules", "__pycache__"}  # folders, wherever they are


def files():
    """Yields the path of each file."""
    for folder, folders, names in os.walk(ROOT):
        folders[:] = sorted(set(folders) - MADE)
        for name in sorted(names):
            yield pathlib.Path(folder, name)
