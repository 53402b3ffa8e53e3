# SPDX-License-Identifier: MIT
"""What script/router asks about requests, and the keeper's answers. A question is what words.py makes of a command's words; whoever asks
may ask otherwise, so all is checked here."""

import asyncio
import contextlib

import copies
import journal as journals


class Refused(Exception):
    """The question makes no sense here; the text says why."""


def wanted(question):
    try:
        return journals.Filter(**question.get("wanted", {}))
    except (TypeError, ValueError) as error:
        raise Refused(str(error)) from None


async def journal(journal, question, line):
    if journal is None:
        raise Refused("this router runs without a journal (script/server --no-journal)")
    match question.get("do"):
        case "list":
            last = question.get("last")
            found = await journal.chosen(wanted(question), last if isinstance(last, int) else None)
            for each in found:
                await line.send(each)
            await line.send({"gone": journal.gone, "shown": len(found), "all": len(journal.exchanges)})
        case "whole":
            try:
                exchange = journal.find(question["number"])
            except (KeyError, TypeError):
                raise Refused(f"the journal has no request {question.get('number')}") from None
            await line.send(exchange.read().whole(bool(question.get("secrets"))))
        case "copy":
            try:
                text = copies.make(journal.find(question["number"]), str(question.get("as")), bool(question.get("secrets")))
            except (KeyError, TypeError):
                raise Refused(f"the journal has no request {question.get('number')}") from None
            except copies.NoCopy as error:
                raise Refused(str(error)) from None
            await line.send({"text": text})
        case "follow":
            await follow(journal, wanted(question), line)
        case "clear":
            journal.clear()
        case _:
            raise Refused("the journal is not asked so")
    return {"status": 0}


async def faults(faults, question, line):
    match question.get("do"):
        case "list":
            for each in faults.list():
                await line.send(each)
        case "add":
            lines = question.get("faults")
            if not isinstance(lines, list) or not lines:
                raise Refused("a fault is a line")
            for each in lines:
                await line.send({"number": faults.add(str(each)).number, "fault": str(each)})
        case "clear":
            number = question.get("number")
            await line.send({"cleared": faults.clear(number if isinstance(number, int) else None)})
        case _:
            raise Refused("faults are not asked for so")
    return {"status": 0}


async def follow(journal, filtered, line):
    """Until whoever asked hangs up."""
    hung_up = asyncio.ensure_future(line.hung_up())
    try:
        with journal.follow() as follower:
            while not hung_up.done():
                taking = asyncio.ensure_future(follower.take())
                await asyncio.wait([taking, hung_up], return_when=asyncio.FIRST_COMPLETED)
                if not taking.done():
                    taking.cancel()
                    return
                lost, exchange = taking.result()
                if lost:
                    await line.send({"lost": lost})
                shown = exchange.line()
                if filtered.admits(shown, exchange):
                    await line.send(shown)
    finally:
        hung_up.cancel()
        with contextlib.suppress(asyncio.CancelledError, OSError):
            await hung_up
