# SPDX-License-Identifier: MIT
"""The screen of the objects, used as a person would."""

import json

import looks
from hands import click, fill, forgive, go, send_key, text_of, tick, wait_text

LIMIT = "ERROR:SSID len is null or too long"


async def all_forms(results, page, names):
    """Every object has its form, whose example is a request that the dry run lets pass."""
    await page.value("window.seen = []")
    for name in names:
        await go(page, f"objects/{name}")
        title = await page.wait(f"document.querySelector('h1')?.textContent === {json.dumps(name)} && document.querySelector('.outcome') && true")
        example = await page.value("(() => { const button = [...document.querySelectorAll('main button')].find(b => b.textContent === 'Fill in the example'); button?.click(); return Boolean(button); })()")
        if example:
            good = await page.wait("document.querySelector('.outcome.good strong')?.textContent === 'It succeeds'")
            results.check(f"the form of {name} makes its example, which succeeds", title and good, await text_of(page, ".outcome"))
        else:
            results.check(f"{name} can only be read", title and name in ("lanStatus", "meshStatus", "netDig", "wanStatus", "dutInfo"), name)


async def act(results, page, keep, router, control):
    names = control.get("/api/contract").json()["order"]
    ssid = json.dumps(control.get("/api/home").json()["networks"]["wlan1"]["ssid"])
    await go(page, "objects/wifi")
    await click(page, "Log in as admin")
    results.check("who logs in sees what the router has", await wait_text(page, ".values dd.value", ssid))
    await tick(page, "send ssid")
    await fill(page, "ssid", "Attic with a name that is by far too long for it")
    results.check("what breaks a limit is said at the key", await wait_text(page, ".key .fault", "the limit is 1 to 32"))
    results.check("the router's refusal is told before anything is sent", await wait_text(page, ".outcome.bad", LIMIT))
    results.check("what would change is shown, old and new", await wait_text(page, ".change del", ssid) and await wait_text(page, ".change ins", "Attic"))
    results.check("it is not sent by mistake", await page.wait("document.getElementById('send').getAttribute('aria-disabled') === 'true'"))
    await keep("objects")
    await click(page, "Send it wrong anyway")
    results.check("sent wrong anyway, the router says the same", await wait_text(page, ".reply pre", LIMIT))
    results.check("and the page says why", await wait_text(page, ".reply .fault", "more than 32 bytes"))
    await looks.told(results, page, "objects")
    await looks.accessible(results, page, "objects")
    await fill(page, "ssid", "Attic")
    results.check("within the limits it succeeds", await wait_text(page, ".outcome.good", "It succeeds"))
    line = await page.value("document.getElementById('send').focus(), document.getElementById('terminal').textContent")
    results.check("the line of the button is shown", line.startswith("script/router") and '"ssid":"Attic"' in line, line)
    await send_key(page, "Enter")
    results.check("Enter sends it, and the new value is read back", await wait_text(page, ".values dd.value", '"Attic"'))
    results.check("the line does the same", router.shell(line) == 0, (line, router.said))
    await page.value("(() => { const area = document.querySelector('textarea'); area.value = '{no JSON'; area.dispatchEvent(new Event('input', {bubbles: true})); })()")
    results.check("a request by hand may be anything", await wait_text(page, ".outcome.bad", "no reply"))
    await click(page, "Send it wrong anyway")
    results.check("and what the router makes of it is shown", await page.wait("document.querySelector('.reply .badge')?.textContent.startsWith('no ') || document.querySelector('.reply .badge.bad')"))
    results.check("of which the browser complains", await forgive(page, "status of 500"), page.complaints)
    await click(page, "Back to what the form says")
    results.check("the form takes over again", await wait_text(page, ".outcome.good", "It succeeds"))
    await all_forms(results, page, names)
    await go(page, "objects/Sec")
    await wait_text(page, "h1", "Sec")
    await click(page, "Fill in the example")
    await looks.accessible(results, page, "an object with lists")
    await looks.narrow(results, page, "objects")
    await looks.long_words(results, page, "objects")
