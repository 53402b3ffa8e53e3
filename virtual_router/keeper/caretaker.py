# SPDX-License-Identifier: MIT
"""Clears away what outlives processes, when the keeper and all that it started have ended, however they end: a keeper that is killed
cannot."""

import asyncio
import os
import signal

import kernel


class Caretaker:
    """A process beside the keeper, which does `clear()` in the end. What is started before it has no part in that. `kept`: descriptors
    that stay open until then; `ended` is called when it ends before."""

    def __init__(self, clear, kept, ended):
        watched, self.held = os.pipe2(os.O_CLOEXEC)
        self.alive, told = os.pipe2(os.O_CLOEXEC)
        if os.fork() == 0:
            try:
                become_caretaker(watched, told, kept)
                os.read(watched, 1)  # nobody writes; it ends with the last who holds the other end
                clear()
            finally:
                os._exit(0)
        os.close(watched)
        os.close(told)
        asyncio.get_running_loop().add_reader(self.alive, ended)

    def close(self):
        """The keeper is about to end, too."""
        asyncio.get_running_loop().remove_reader(self.alive)
        os.close(self.alive)
        os.close(self.held)


def become_caretaker(*kept):
    *single, more = kept
    os.setsid()
    os.chdir("/")
    kernel.set_process_name("caretaker")
    signal.set_wakeup_fd(-1)
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_IGN)
    kernel.close_others({*single, *more})
    null = os.open("/dev/null", os.O_RDWR)
    for number in range(3):
        os.dup2(null, number)
