# SPDX-License-Identifier: MIT
"""The router's clock, with a PC's clock that stands still until it is told."""

import pathlib
import tempfile

import clock as clocks
import rootfs

SUNDAY_NOON = 1700395200  # 2023-11-19 12:00:00 UTC
DAY = 86400


class StillPc:
    """A PC's clock: seconds since the epoch, and since it was started an hour ago."""

    def __init__(self):
        self.seconds = SUNDAY_NOON

    def now(self):
        return self.seconds * clocks.SECOND

    def uptime(self):
        return (self.seconds - SUNDAY_NOON + 3600) * clocks.SECOND


def with_clock(test):
    def chapter(check):
        with tempfile.TemporaryDirectory() as folder:
            pc = StillPc()
            test(check, clocks.Clock(rootfs.Root(pathlib.Path(folder)), pc.now, pc.uptime), pc, pathlib.Path(folder))

    return chapter


def seconds_of(clock):
    now, uptime, rate = clock.read()
    return now // clocks.SECOND, uptime // clocks.SECOND, rate


@with_clock
def passing(check, clock, pc, _folder):
    check("it is the PC's", seconds_of(clock), (SUNDAY_NOON, 3600, 1000))
    pc.seconds += 10
    check("and goes with it", seconds_of(clock), (SUNDAY_NOON + 10, 3610, 1000))
    clock.set("22:29:50")
    check("it is set; the up-time stays", seconds_of(clock), (SUNDAY_NOON + 37790, 3610, 1000))
    pc.seconds += 10
    check("it goes on from there", seconds_of(clock), (SUNDAY_NOON + 37800, 3620, 1000))
    clock.advance("1d", "90")
    check("time passes at once, for the up-time too", seconds_of(clock), (SUNDAY_NOON + 37800 + DAY + 90, 3620 + DAY + 90, 1000))
    clock.hurry("60")
    pc.seconds += 2
    check("it hurries", seconds_of(clock), (SUNDAY_NOON + 37800 + DAY + 210, 3620 + DAY + 210, 60000))
    clock.hurry("0")
    pc.seconds += 1000
    check("it stands still", seconds_of(clock), (SUNDAY_NOON + 37800 + DAY + 210, 3620 + DAY + 210, 0))
    clock.hurry("1")
    clock.boot()
    pc.seconds += 5
    check("a router that starts anew is up for a moment", seconds_of(clock)[1], 5)


@with_clock
def damage(check, clock, _pc, folder):
    clock.advance("1h")
    for content in (b"", b"1 2 3\n", b"1 2 3 4", b"1 2 3 x\n", b"-1 2 3 4\n", b"1" * 400 + b" 1 1 1\n", b"\xff\n"):
        folder.joinpath("outside/clock").write_bytes(content)
        check(f"a line that is none: {content[:20]}", seconds_of(clock)[0], SUNDAY_NOON)
    folder.joinpath("outside/clock").unlink()
    folder.joinpath("elsewhere").write_bytes(b"1 2 3 4\n")
    folder.joinpath("outside/clock").symlink_to("../elsewhere")
    check("no link is followed", seconds_of(clock)[0], SUNDAY_NOON)
    folder.joinpath("outside/clock.new").symlink_to("../elsewhere")
    clock.advance("1h")
    check("nor written to", folder.joinpath("elsewhere").read_bytes(), b"1 2 3 4\n")
    check("it is replaced", seconds_of(clock)[0], SUNDAY_NOON + 3600)


@with_clock
def verbs(check, clock, _pc, _folder):
    for words, status, answer in (
        ([], 0, "Sunday 2023-11-19 12:00:00 UTC, up for 0 d 01:00:00"),
        (["set", "Saturday", "7:30"], 2,
         "'Saturday 7:30' is no time (there are: YYYY-MM-DD HH:MM:SS, WEEKDAY HH:MM:SS, HH:MM:SS; the seconds may be left out)"),
        (["set", "Someday", "07:30"], 2, f"there is no weekday 'Someday' (there are: {' '.join(clocks.WEEKDAYS)})"),
        (["set", "2023-02-30", "07:30"], 2, "there is no day '2023-02-30'"),
        (["set", "24:00"], 2, "'24:00' is no time of a day"),
        (["set", "9999-01-01", "00:00"], 2, "the clock goes from 1970 to 2106"),
        (["advance", "-5"], 2, "'-5' is no time to pass (such as 90s, 5m, 2h, 1d)"),
        (["advance", "999999999d"], 2, "the clock goes from 1970 to 2106"),
        (["rate", "nan"], 2, "a rate is a number from 0 to 3600, not 'nan'"),
        (["rate", "inf"], 2, "a rate is a number from 0 to 3600, not 'inf'"),
        (["rate", "3601"], 2, "a rate is a number from 0 to 3600, not '3601'"),
        (["rate"], 2, "usage: clock rate N"),
        (["stop"], 2, "there is no verb 'stop' (script/router clock help)"),
        ([], 0, "Sunday 2023-11-19 12:00:00 UTC, up for 0 d 01:00:00"),
        (["set", "saturday", "07:30"], 0, "Saturday 2023-11-25 07:30:00 UTC, up for 0 d 01:00:00"),
        (["set", "2024-02-29T23:59:58"], 0, "Thursday 2024-02-29 23:59:58 UTC, up for 0 d 01:00:00"),
        (["advance", "1d", "2s"], 0, "Saturday 2024-03-02 00:00:00 UTC, up for 1 d 01:00:02"),
        (["rate", "0.5"], 0, "Saturday 2024-03-02 00:00:00 UTC, up for 1 d 01:00:02, at 0.5 times the PC's pace"),
    ):  # fmt: skip
        check(f"clock {words}", clocks.act(clock, words), (status, answer))
    check("every verb has a line of help", [verb for verb in clocks.VERBS if f"\n  clock {verb}" not in clocks.help_text()], [])


CHAPTERS = (passing, damage, verbs)
