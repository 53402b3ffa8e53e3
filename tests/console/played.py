# SPDX-License-Identifier: MIT
"""The screens of expectations, scenarios and recordings: what a test engineer waits for, plays and asks again."""

from chromium import SECONDS
from device import LOGIN, look_at
from hands import click, fill, forgive, go, text_of, wait_text

STORY = """about = "Somebody asks for a name"
[[step]]
title = "a phone logs in"
login = true
[[step]]
title = "the name is told"
ask = { action = "get", dutInfo = {} }
"""
TRIES = 10
FAILING = '[[step]]\ntitle = "it is Nobody"\nask = { action = "get", dutInfo = {} }\nreply = { dutInfo = { name = "Nobody" } }\n'


async def act(results, page, keep, router, control):
    for act_on in (expectations, scenarios, recordings):
        await act_on(results, page, keep, router, control)


async def line_of(page, label):
    return await page.value(f"[...document.querySelectorAll('main button')].find(e => e.textContent === '{label}').focus(), document.getElementById('terminal').textContent")


async def expectations(results, page, keep, router, control):
    session = control.post("/api/phones/1/app/app.cgi", LOGIN).json()["info"]["sessionid"]
    await go(page, "expect")
    await page.wait("document.querySelectorAll('.fields select')[1].options.length > 20 && document.querySelectorAll('.fields select')[2].options.length === 3")
    await fill(page, "Action", "set")
    await fill(page, "Object", "app")
    await fill(page, "From phone", "1")
    await fill(page, "Error of the reply", "0")
    await fill(page, "Within seconds", "60")
    await fill(page, "Effects, in this order", "set MIB_APP_PORT\ncommit")
    await fill(page, "In the request, as JSON", '{"app": {"port": 8123}}')
    await click(page, "Wait for it")
    results.check("it is waited for", await wait_text(page, "main .waiting", "up to 60 s"))

    async def meets():
        """The number of a request that meets it. Nothing tells when the router has begun to wait, so another is asked after a while."""
        for _ in range(TRIES):
            control.post("/api/phones/1/app/app.cgi", {"action": "set", "app": {"port": 8123}, "sessionid": session})
            number = control.get("/api/status").json()["journal"]
            if await wait_text(page, ".outcome.good", f"request {number}", SECONDS / TRIES):
                return number
        return None

    number = await meets()
    results.check("what comes meets it", number, await text_of(page, "main section"))
    await fill(page, "Since request", str(number - 1))
    line = await line_of(page, "Wait for it")
    results.check("the line of it waits for the same", "--request" in line and "--effect 'set MIB_APP_PORT'" in line and router.shell(line) == 0, (line, router.said))
    await fill(page, "Effects, in this order", "set MIB_WLAN_SSID")
    await fill(page, "Within seconds", "0")
    await click(page, "Wait for it")
    results.check("what does not come is told, with what came nearest", await wait_text(page, ".outcome.bad", "Not met") and await wait_text(page, "main h3", f"request {number}") and await wait_text(page, ".misses li", "set MIB_WLAN_SSID has not come"), await text_of(page, "main section"))
    await keep("expect")
    await look_at(results, page, "expect")
    await fill(page, "In the reply, as JSON", "[1]")
    await click(page, "Wait for it")
    results.check("what is no JSON is said to be none", await wait_text(page, ".notice.bad", "What is in the reply is no object of JSON") and await page.value("document.querySelectorAll('textarea[aria-invalid=true]').length") == 1)
    await fill(page, "In the reply, as JSON", "")
    await fill(page, "Within seconds", "60")
    await fill(page, "Since request", "")
    await click(page, "Wait for it")
    await click(page, "Stop")
    results.check("who waits can stop", await wait_text(page, "main .empty", "waited no longer"))


async def scenarios(results, page, keep, router, control):
    await go(page, "scenarios")
    results.check("the scenarios that come along are there", await page.wait("document.querySelectorAll('.stories li').length === 5"))
    await click(page, "Open evening")
    results.check("one is opened, and its steps are told", await wait_text(page, ".steps li", "a parent logs in"))
    line = await line_of(page, "Check it")
    results.check("the line of it names its file", line.endswith("scenario --check virtual_router/scenarios/evening.toml") and router.shell(line) == 0, (line, router.said))
    await fill(page, "A scenario", STORY)
    await click(page, "Play it")
    results.check("what I write is played", await wait_text(page, "main [role=status]", "2 of 2 steps came out"), await text_of(page, "main section"))
    line = await line_of(page, "Play it")
    results.check("the line of it plays the same", router.shell(line) == 0, (line, router.said))
    await fill(page, "A scenario", STORY + FAILING)
    results.check("one that fails does so by its line, too", router.shell(await line_of(page, "Play it")) == 1, router.said)
    await click(page, "Play it")
    results.check("a step that fails says by what", await wait_text(page, ".steps .failed .misses", 'not "Nobody"') and await wait_text(page, "main [role=status]", "2 of 3 steps came out; one did not"))
    await keep("scenarios")
    await look_at(results, page, "scenarios")
    await fill(page, "A scenario", "about = 1")
    await click(page, "Check it")
    results.check("what is wrong with one is told", await wait_text(page, "section .fault", "a text 'about'"))
    results.check("of which the browser complains, too", await forgive(page, "400 (Bad Request)"), page.complaints)


async def recordings(results, page, keep, router, control):
    before = control.get("/api/status").json()["journal"]
    await go(page, "recordings")
    await click(page, "Begin")
    await wait_text(page, "main [role=status]", "0 so far")
    session = control.post("/api/phones/1/app/app.cgi", LOGIN).json()["info"]["sessionid"]
    for request in ({"action": "get", "lan": {}, "lanStatus": {}}, {"action": "get", "dutInfo": {}}):
        control.post("/api/phones/1/app/app.cgi", {**request, "sessionid": session})
    control.settled()  # those that are over are kept
    results.check("what is asked is counted", await wait_text(page, "main [role=status]", "3 so far"))
    line = await line_of(page, "End, and keep it")
    results.check("its line writes the same down", line.endswith(f"record --since {before} talk.json") and router.shell(f"cd $(mktemp -d) && {router.project}/{line} && test -s talk.json && rm -r $PWD") == 0, (line, router.said))
    await click(page, "End, and keep it")
    results.check("it is kept, and shown", await page.wait("document.querySelectorAll('.steps li').length === 3") and await wait_text(page, ".steps li", "get lan, lanStatus"))
    await click(page, "Ask this router the same")
    results.check("where the replies differ is told", await wait_text(page, "main [role=status]", " differ") and await wait_text(page, ".steps .misses", "/dutInfo/name is"), await text_of(page, "main section"))
    await keep("recordings")
    await look_at(results, page, "recordings")
    await fill(page, "Keys that may differ", "name,sn,mac,devlist")
    await click(page, "Ask this router the same")
    results.check("what may differ is passed over", await wait_text(page, "main [role=status]", "3 replies are the same, 0 differ."), await text_of(page, "main section"))
    await click(page, "Make a home of it")
    results.check("it becomes a home", await wait_text(page, "main [role=status]", "devices: script/server --home"))
    await fill(page, "The router", "http://10.0.0.138")
    line = await line_of(page, "Copy the line")
    results.check("for any router there is the line", line.endswith("record --to http://10.0.0.138 talk.json"), line)
