# SPDX-License-Identifier: MIT
"""The screen of the journal: what an app sent, found and opened; and as many requests as are kept."""

import json
import pathlib
import subprocess
import sys
import tempfile

import looks
from costs import Costs
from hands import click, fill, go, send_key, text_of, wait_text

PROJECT = pathlib.Path(__file__).resolve().parents[2]
ROWS = "document.querySelectorAll('.lines-room .line').length"
MOST = 10000
MOST_ELEMENTS = 120  # rows in the page at a time
MOST_COST = 5  # yardsticks
MOST_ANSWERS = 10  # in the time of which a line is there
LOGIN = {"action": "login", "info": {"user": "admin", "pwd": "admin"}}
# A shell, Python and TypeScript each have a meaning for something in it.
HARD = {"action": "scan", "guid": "it's \"quoted\" $HOME `ls` ${1} {} \\n %s K\u00fcche"}
PROGRAMS = (("curl", "curl ", ["bash"]), ("TypeScript", "JSON.stringify", ["node", "--input-type=module", "-"]), ("Python", "urllib", [sys.executable, "-"]))
LATENCY = """
(async () => {
  const first = () => document.querySelector(".lines-room .line")?.firstElementChild.textContent;
  const before = first();
  await (await fetch("/api/phones/1/app/app.cgi", {method: "POST", headers: {"Content-Type": "application/json"}, body: '{"action":"scan"}'})).text();
  const end = performance.now();
  while (first() === before) await new Promise(requestAnimationFrame);
  const seen = performance.now();
  await (await fetch("/api/status")).text();
  return [seen - end, performance.now() - seen];
})()
"""
# As many lines as the journal keeps, made in the page: the router would take minutes for them.
MAKE = f"""
(() => {{
  const ask = window.fetch;
  const objects = ["wifi", "lan", "lanStatus", "sys", "wanInfo"];
  const lines = Array.from({{length: {MOST}}}, (_, at) => ({{number: 100001 + at, time: 1.7e15 + at * 1e5, duration: 20000 + at % 977, router: "router", port: at % 3 ? "phone" : "phone 2", address: "192.168.1.100",
    asks: "POST /app/app.cgi", action: at % 7 ? "get" : "set", objects: [objects[at % 5]], session: "held", http: 200, error: at % 11 ? 0 : -1, verdict: at % 11 ? "ok" : "error -1: no", faults: []}}));
  window.fetch = (path, words) => {{
    const [, last] = /^\/api\/journal(?:\?last=(\d+))?$/.exec(path) ?? [null, null];
    if (last === null) return ask(path, words);
    const requests = last ? lines.slice(-Number(last)) : lines;
    return Promise.resolve(new Response(JSON.stringify({{requests, all: lines.length, gone: 5}}), {{headers: {{"Content-Type": "application/json"}}}}));
  }};
  window.unmake = () => {{ window.fetch = ask; }};
}})()
"""


def run_case(text):
    with tempfile.TemporaryDirectory() as folder:
        pathlib.Path(folder, "copied").mkdir()
        pathlib.Path(folder, "copied/request.toml").write_text(text)
        run = subprocess.run([PROJECT / "tests/run_cases", "--cases", folder, "-v"], capture_output=True, text=True)
    return run.stdout + run.stderr


async def act(results, page, keep, router, control):
    control.ask("DELETE", "/api/journal")
    session = control.post("/api/phones/1/app/app.cgi", LOGIN).json()["info"]["sessionid"]

    def ask(phone, **body):
        return control.post(f"/api/phones/{phone}/app/app.cgi", {**body, "sessionid": session})

    await go(page, "journal")
    results.check("the login is the first line", await wait_text(page, ".lines-room .line", "login"))
    ask(1, action="get", wifi={}, lan={})
    results.check("what comes shows by itself", await wait_text(page, ".lines-room .line", "wifi, lan"))
    ask(2, action="set", app={"port": 70000})
    results.check("with what became of it", await wait_text(page, ".lines-room .failed .badge.bad", "ERROR: port value is invalied"))
    ask(1, action="set", wifi={"combine": "1", "ssid": "Loft", "wifiPwd": "a long enough key"})
    await wait_text(page, ".lines-room .line", "set")
    await page.wait(f"{ROWS} === 4")
    await click(page, "Failed only")
    results.check("failed ones are chosen", await page.wait(f"{ROWS} === 1"))
    await click(page, "Failed only")
    await fill(page, "object", "wifi")
    results.check("those of an object are chosen", await page.wait(f"{ROWS} === 2"))
    await fill(page, "object", "")
    await fill(page, "in the request or the reply", "Loft")
    results.check("those with a text in the request are chosen", await page.wait(f"{ROWS} === 1"))
    await page.value("document.querySelector('.lines-room .line').focus()")
    line = await page.value("document.getElementById('terminal').textContent")
    results.check("a line has its line for a terminal", line.startswith("script/router") and " journal " in line, line)
    await send_key(page, "Enter")
    results.check("Enter opens it: the change, old and new", await wait_text(page, ".request .event ins", '"Loft"') and await wait_text(page, ".request .event del", "\""))
    results.check("the commit, and what the daemon is told, in order", await page.wait("""(texts => {
        const at = word => texts.findIndex(text => text.startsWith(word));
        return at("set MIB_WLAN_SSID") >= 0 && at("set MIB_WLAN_SSID") < at("commit") && at("commit") < at("queue MSG_CALL_SYSCONF") && at("queue") < at("exit 0"); })(
        [...document.querySelectorAll(".request .event .change")].map(e => e.textContent))"""))
    results.check("a session id is not shown", session not in await page.value("document.querySelector('.request').textContent"))
    await fill(page, "in the request or the reply", "")
    await page.wait(f"{ROWS} === 4")
    await keep("journal")
    await click(page, "scenario step")
    results.check("it is copied as a step of a scenario", await wait_text(page, ".copied pre", 'ask = { action = "set", wifi = { combine = "1", ssid = "Loft", wifiPwd = "secret'))
    await click(page, "case")
    results.check("it is copied as a case", await wait_text(page, ".copied pre", "[[case]]"))
    said = run_case(await page.value("document.querySelector('.copied pre').textContent"))
    results.check("which the case runner runs, and which passes", "1 passed, 0 failed" in said, said)
    await run_copies(results, page, router, control)
    await latency(results, page)
    await looks.told(results, page, "journal")
    await looks.accessible(results, page, "journal")
    await many(results, page)
    await looks.narrow(results, page, "journal")
    await looks.long_words(results, page, "journal")


async def open_line(page, number):
    """Clicks on the line of that request, as soon as it is there."""
    await page.wait(f"""(() => {{
        const line = [...document.querySelectorAll(".lines-room .line")].find(e => e.firstElementChild.textContent === "{number}");
        line?.click();
        return Boolean(line); }})()""")


async def run_copies(results, page, router, control):
    """Each of the copied texts is run, and asks the router the same."""
    router.ask(json.dumps(HARD))
    number = control.get("/api/status").json()["journal"]
    await open_line(page, number)
    results.check("a request with quotation marks is opened", await wait_text(page, ".request h2", f"{number}: scan"), await text_of(page, ".lines-room .line"))
    for form, begins, command in PROGRAMS:
        await click(page, form)
        await wait_text(page, ".copied pre", begins)
        text = await page.value("document.querySelector('.copied pre').textContent")
        run = subprocess.run(command, input=text, capture_output=True, text=True, timeout=60)
        number += 1
        asked = control.get(f"/api/journal/{number}").json()
        results.check(f"what is copied as {form} asks the same, and prints the reply", json.loads(asked["request"]["body"]) == HARD and "scanRsp" in run.stdout, (text, run.stdout, run.stderr, asked["request"]["body"]))
    await click(page, "scenario step")
    await wait_text(page, ".copied pre", "[[step]]")
    step = await page.value("document.querySelector('.copied pre').textContent")
    status = router.shell(f"script/router --state {router.state} scenario /dev/stdin <<'END'\nabout = 'It is asked again'\n{step}END")
    asked = control.get(f"/api/journal/{number + 1}").json()
    results.check("so does the step of a scenario", status == 0 and json.loads(asked["request"]["body"]) == HARD, (status, router.said, step, asked["request"]["body"]))
    await click(page, "case")
    await wait_text(page, ".copied pre", "[[case]]")
    results.check("and the case passes", "1 passed, 0 failed" in (said := run_case(await page.value("document.querySelector('.copied pre').textContent"))), said)


async def latency(results, page):
    """From a request's end until its line is in the page, beside what the control port takes to answer."""
    times, answers = (sorted(column) for column in zip(*[await page.value(LATENCY) for _ in range(9)]))
    results.check("a line is there soon after the request's end", times[4] < MOST_ANSWERS * answers[4], (times, answers))
    print(f"        milliseconds from a request's end to its line in the page: {times[4]:.1f} (median of 9), {times[-1]:.1f} at most; an answer takes {answers[4]:.1f}")


async def many(results, page):
    await go(page, "objects/app")
    await page.wait("document.querySelector('.outcome') !== null")
    await page.value(MAKE)
    costs, found = await Costs.of(page), {}
    found["open"] = await costs.until_painted("location.hash = '#/journal'", f"document.querySelector('[role=grid]')?.getAttribute('aria-rowcount') === '{MOST + 1}'")
    count = await page.value("document.querySelector('[role=grid]').getAttribute('aria-rowcount')")
    results.check("ten thousand requests are listed, and that older ones have gone", count == str(MOST + 1) and await wait_text(page, ".head p", "5 older ones have gone"), count)
    found["choose"] = await costs.until_painted(
        """[...document.querySelectorAll("button")].find(e => e.textContent === "Failed only").click()""",
        f"""document.querySelector("[role=grid]").getAttribute("aria-rowcount") !== "{MOST + 1}\"""")
    await click(page, "Failed only")
    found["scroll"] = await costs.until_painted(
        "document.querySelector('.lines-box').scrollTop = 1e9", "[...document.querySelectorAll('.lines-room .line')].some(e => e.textContent.startsWith('100001'))")
    rows = await page.value(ROWS)
    results.check("of which only those in sight are elements", 10 < rows < MOST_ELEMENTS, rows)
    await page.value("document.querySelector('.lines-room .line').focus()")
    await send_key(page, "Home")
    results.check("Home leads to the last one", await page.wait("document.activeElement.textContent.startsWith('110000')"))
    await send_key(page, "End")
    results.check("End to the first", await page.wait("document.activeElement.textContent.startsWith('100001')"))
    results.check("and none of it costs much", max(found.values()) < MOST_COST, found)
    print(f"        with 10,000 requests, in yardsticks of {costs.yardstick:.0f} ms: " + json.dumps({name: round(cost, 1) for name, cost in found.items()}))
    await page.value("unmake()")
    await go(page, "objects/app")
    await go(page, "journal")
    await page.wait(f"{ROWS} > 0")
