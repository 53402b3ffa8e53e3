# SPDX-License-Identifier: MIT
"""The screens of faults, time, snapshots and phones: what a test engineer does to a router, and takes back."""

from time import sleep as pause

import looks
from hands import click, fill, forgive, go, text_of, wait_text
from router import look_until

LOGIN = {"action": "login", "info": {"user": "admin", "pwd": "admin"}}


async def act(results, page, keep, router, control):
    for act_on in (faults, time, snapshots, phones):
        await act_on(results, page, keep, router, control)


async def look_at(results, page, name):
    await looks.told(results, page, name)
    await looks.accessible(results, page, name)
    await looks.narrow(results, page, name)


def armed(control):
    return [found["fault"] for found in control.get("/api/faults").json()["faults"]]


async def faults(results, page, keep, router, control):
    await go(page, "faults")
    await wait_text(page, "section .empty", "as it is")
    await page.wait("document.querySelectorAll('.fields select')[1].options.length > 20")
    await fill(page, "The next so many", "1")
    await fill(page, "Action", "scan")
    await page.value("[...document.querySelectorAll('button')].find(e => e.textContent === 'is a 503').focus()")
    line = await text_of(page, "#terminal")
    results.check("a fault has its line, conditions and all", line.endswith("faults add 'requests=1 action=scan failed=503 reply'"), line)
    await click(page, "is a 503")
    results.check("it is armed", look_until(bool, lambda: armed(control) == ["requests=1 action=scan failed=503 reply"]), armed(control))
    results.check("which every screen says", await wait_text(page, "#banner", "failed=503 reply"))
    await fill(page, "The next so many", "")
    await fill(page, "Action", "")
    await fill(page, "Fault, as docs/faults.md tells them", "delay=1000 commit")
    await click(page, "Arm it")
    results.check("so is one in other words", await wait_text(page, ".armed code", "delay=1000 commit"))
    await keep("faults")
    await look_at(results, page, "faults")
    results.check("the request meets it, and only that one", router.ask('{"action":"scan"}')[0] == 503 and router.ask('{"action":"scan"}')[0] == 200)
    results.check("a fault that has struck is gone", await page.wait("document.querySelectorAll('.armed li').length === 1"))
    await fill(page, "Fault, as docs/faults.md tells them", "no such thing")
    await click(page, "Arm it")
    results.check("a fault that there is not is refused, and the page says so", await wait_text(page, ".notice.bad", "no"))
    results.check("so does the browser", await forgive(page, "400 (Bad Request)"), page.complaints)
    await click(page, "Clear all")
    results.check("all are cleared", await wait_text(page, "section .empty", "as it is") and armed(control) == [], armed(control))


async def time(results, page, keep, router, control):
    await go(page, "time")
    await wait_text(page, ".clock-face", ":")
    before = control.get("/api/clock").json()["seconds"]
    await click(page, "an hour")
    results.check("an hour passes", look_until(bool, lambda: control.get("/api/clock").json()["seconds"] - before >= 3600))
    await fill(page, "Day", "Monday")
    await fill(page, "Time, UTC", "19:30")
    await click(page, "Set")
    results.check("the clock is set", await wait_text(page, ".clock-face", "19:30:") and await wait_text(page, ".hint", "Monday"))
    await click(page, "stands still")
    results.check("it stands still", look_until(bool, lambda: control.get("/api/clock").json()["rate"] == 0))
    await keep("time")
    await look_at(results, page, "time")
    await click(page, "as it does")
    results.check("and goes on", look_until(bool, lambda: control.get("/api/clock").json()["rate"] == 1))


async def snapshots(results, page, keep, router, control):
    await go(page, "snapshots")
    await wait_text(page, ".empty", "None is saved yet")
    await click(page, "Save all as it is")
    results.check("a snapshot is saved", await wait_text(page, ".snapshots strong", "before"))
    control.post("/api/run", {"command": ["flash", "set", "MIB_DUT_NAME", "Changed"]})
    control.post("/api/home/roam", {"words": ["camera", "away"]})
    await click(page, "Compare with before")
    results.check("what has changed is shown, old and new", await wait_text(page, ".effects ins", "Changed") and await wait_text(page, ".effects .change", "camera: "))
    await keep("snapshots")
    await look_at(results, page, "snapshots")
    await click(page, "Restore before")
    results.check("all is what it was", await wait_text(page, ".notice", "All is what it was") and "Family" in control.post("/api/run", {"command": ["flash", "get", "MIB_DUT_NAME"]}).json()["output"])
    await click(page, "Remove before")
    results.check("it is removed", await wait_text(page, ".empty", "None is saved yet"))


async def phones(results, page, keep, router, control):
    await go(page, "phones")
    await wait_text(page, "section h2", "Phone 2")
    await click(page, "Log in as admin from phone 2")
    results.check("who holds the session is told", await wait_text(page, ".phone-card.holds h2", "Phone 2") and await wait_text(page, ".head p", "The console holds the session"))
    pause(1.1)  # two logins of one second make the same id
    control.post("/api/phones/1/app/app.cgi", LOGIN)
    results.check("and who has taken it", await wait_text(page, ".phone-card.holds h2", "Phone 1") and await wait_text(page, ".head p", "Phone 1 holds the session"))
    await keep("phones")
    await look_at(results, page, "phones")
    await looks.long_words(results, page, "phones")
