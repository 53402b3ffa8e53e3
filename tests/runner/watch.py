# SPDX-License-Identifier: MIT
"""What watches the program in a mode: its files, its command line, its report."""

import os
import re

from libraries import debug_file

TIMEOUT = {"plain": 60, "sanitize": 60, "valgrind": 120, "target": 60}  # seconds, of a busy machine
VALGRIND = "/usr/libexec/valgrind"
VALGRIND_PARTS = ["memcheck-amd64-linux", "vgpreload_core-amd64-linux.so", "vgpreload_memcheck-amd64-linux.so",
                  "default.supp"]


class Watch:
    def __init__(self, mode):
        self.mode = mode
        self.timeout = TIMEOUT[mode]

    def files(self, libraries):
        """What must be in the root, beside the program's libraries."""
        if self.mode != "valgrind":
            return []
        loader = next(path for path in libraries if "ld-linux" in path)
        return [f"{VALGRIND}/{part}" for part in VALGRIND_PARTS] + [debug_file(os.path.realpath(loader))]

    def limits(self, memory):
        """The launcher's arguments for a limit of memory: those who watch take more than the program."""
        return ["-m", str(memory)] if memory and self.mode == "plain" else []

    def command(self):
        """What stands before the program on a command line."""
        if self.mode != "valgrind":
            return []
        return [f"{VALGRIND}/{VALGRIND_PARTS[0]}", "-q", "--vgdb=no", "--read-inline-info=no", "--leak-check=full",
                "--show-leak-kinds=all", "--errors-for-leak-kinds=all", "--error-exitcode=98",
                "--log-file=/.runner/valgrind.log"]

    def environment(self, memory, traced):
        """`traced`: beside proot's tracing the leak check cannot run."""
        if self.mode == "valgrind":
            return {"VALGRIND_LIB": VALGRIND, "VALGRIND_LAUNCHER": "/usr/bin/valgrind.bin"}
        if self.mode == "sanitize":
            return {"ASAN_OPTIONS": "allocator_may_return_null=1:exitcode=99:log_path=/.runner/sanitizer.log:"
                                    "detect_stack_use_after_return=1:strict_string_checks=1:verify_asan_link_order=0:"
                                    "detect_leaks=" + ("0" if traced else "1")
                                    + (f":max_allocation_size_mb={memory >> 20}" if memory else ""),
                    "UBSAN_OPTIONS": "print_stacktrace=1:log_path=/.runner/sanitizer.log"}
        return {}

    @staticmethod
    def report(folder, memory):
        """What was found, of the logs in `folder`; an allocation refused on a case's order is no finding."""
        report = ""
        for log in sorted(folder.glob("*.log*")):
            text = log.read_text(errors="replace")
            log.unlink()
            if memory:
                text = re.sub(r"==\d+==WARNING: AddressSanitizer failed to allocate.*\n", "", text)
            report += text
        return report
