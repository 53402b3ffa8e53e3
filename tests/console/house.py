# SPDX-License-Identifier: MIT
"""The screen of the house, used as a person would: by hand and by keyboard."""

import json

import looks
from costs import Costs
from hands import click, fill, go, send_key, text_of, wait_text
from router import look_until

HOSTILE = "<img src=x onerror=broken=1><b>"
MOST_DEVICES = 256
MOST_COST = 5  # yardsticks
CROWD = f"""
(() => {{
  const ask = window.fetch;
  window.turn = 1;
  window.fetch = async (path, words) => {{
    const answer = await ask(path, words);
    if (path !== "/api/home") return answer;
    const home = await answer.json();
    const devices = Array.from({{length: {MOST_DEVICES}}}, (_, at) => ({{...home.devices[at % home.devices.length], name: `device ${{at}}`, down: window.turn * 1024, mac: `02:00:00:00:${{(at >> 8).toString(16).padStart(2, "0")}}:${{(at & 255).toString(16).padStart(2, "0")}}`}}));
    return new Response(JSON.stringify({{...home, devices}}), {{headers: {{"Content-Type": "application/json"}}}});
  }};
  window.uncrowd = () => {{ window.fetch = ask; }};
}})()
"""
OVERLAPS = """
(() => {
  const boxes = [...document.querySelectorAll(".device .disc")].map((disc) => new DOMPoint().matrixTransform(new DOMMatrix(getComputedStyle(disc.closest(".spotted")).transform))).map(({x, y}) => [x, y]);
  const radius = Number(document.querySelector(".device .disc").getAttribute("r"));
  return boxes.filter(([x, y], at) => boxes.slice(at + 1).some(([ox, oy]) => Math.hypot(x - ox, y - oy) < 2 * radius)).length;
})()
"""
PLACE = "(name => { const box = [...document.querySelectorAll('.device')].find(e => e.getAttribute('aria-label').startsWith(name + ',')).querySelector('.disc').getBoundingClientRect(); return [box.x + box.width / 2, box.y + box.height / 2]; })"
ROOM = "(spot => { const box = document.querySelector(`.room[data-spot='${spot}'] rect`).getBoundingClientRect(); return [box.x + box.width - 30, box.y + box.height - 20]; })"


def device_of(control, name):
    return next(device for device in control.get("/api/home").json()["devices"] if device["name"] == name)


def comes_to(control, name, spot):
    return look_until(lambda seen: seen == spot, lambda: device_of(control, name)["at"]) == spot


STRANGER = "another name or key"


async def all_at_home(results, page, control):
    """Whoever lost the Wi-Fi, since its name was changed, gets its key; and everybody in the picture is at rest."""
    for device in control.get("/api/home").json()["devices"]:
        if device["why"] == STRANGER:
            radio = device["at"].upper().replace("-", "_")
            key = control.post("/api/run", {"command": ["flash", "get", f"{radio}_WPA_PSK"]}).json()["output"].strip().partition("=")[2]
            control.post("/api/home/join", {"words": [device["name"], key]})
    waiting = look_until(lambda seen: not seen, lambda: [device["name"] for device in control.get("/api/home").json()["devices"] if not device["connected"] and device["at"] != "away"])
    results.check("everybody knows the Wi-Fi again", not waiting, waiting)
    away = sum(not device["connected"] for device in control.get("/api/home").json()["devices"])
    told = await page.wait("document.activeElement.closest('section')?.querySelector('.badge')?.textContent === 'connected'")
    results.check("what is told of a device goes with the time, also while somebody is at its buttons", told, await text_of(page, "section[aria-label=Device]"))
    await page.wait(f"document.querySelectorAll('.device.lost').length === {away} && !document.getAnimations().some(a => a instanceof CSSTransition)")


async def drag(page, name, spot):
    x, y = await page.value(f"{PLACE}({json.dumps(name)})")
    to_x, to_y = await page.value(f"{ROOM}({json.dumps(spot)})")
    await page.mouse("mouseMoved", x, y)
    await page.mouse("mousePressed", x, y, 1)
    for part in (0.2, 0.6, 1):
        await page.mouse("mouseMoved", x + (to_x - x) * part, y + (to_y - y) * part, 1)
    target = await text_of(page, ".room.target text:first-of-type")
    line = await text_of(page, "#terminal")
    await page.mouse("mouseReleased", to_x, to_y)
    return target, line


async def act(results, page, keep, router, control):
    control.post("/api/home/still")
    await go(page, "house")
    count = len(control.get("/api/home").json()["devices"])
    results.check("every device is in the picture", await page.wait(f"document.querySelectorAll('.device').length === {count}"), count)
    control.post("/api/home/roam", {"words": ["tablet", "wlan0"]})
    results.check("what happens shows by itself", await page.wait("[...document.querySelectorAll('.device')].some(e => e.getAttribute('aria-label').startsWith('tablet, 5 GHz'))"))
    await page.wait("!document.getAnimations().some(a => a instanceof CSSTransition)")
    target, line = await drag(page, "tablet", "port5")
    results.check("the room under a held device lights up, and its line is shown", target == "Port 5" and line.endswith("home roam tablet port5"), (target, line))
    results.check("a device is dragged to another room", comes_to(control, "tablet", "port5"), device_of(control, "tablet"))
    await page.value("document.querySelector('.device[tabindex=\"0\"]').focus()")
    first = await page.value("document.activeElement.getAttribute('aria-label')")
    await send_key(page, "ArrowRight")
    second = await page.value("document.activeElement.getAttribute('aria-label')")
    results.check("arrow keys go from device to device", first != second and second, (first, second))
    while not (await page.value("document.activeElement.getAttribute('aria-label')")).startswith("tablet,"):
        await send_key(page, "ArrowRight")
    await send_key(page, "Enter")
    results.check("Enter opens it, and leads to its place", await wait_text(page, "section h2", "tablet") and await page.wait("document.activeElement.id === 'spot'"))
    await fill(page, "Bring to", "wlan1")
    await click(page, "Bring it there")
    results.check("it is brought there by keyboard, too", comes_to(control, "tablet", "wlan1"), device_of(control, "tablet"))
    await all_at_home(results, page, control)
    await keep("house")
    await switch(results, page, control, "WAN cable", lambda home: not home["wan"])
    results.check("a cut cable shows", await page.wait("document.querySelector('.cable.cut') !== null"))
    await switch(results, page, control, "WAN cable", lambda home: home["wan"])
    await switch(results, page, control, "Guests", lambda home: not home["networks"]["wlan0-va1"]["on"] and not home["networks"]["wlan1-va1"]["on"])
    await switch(results, page, control, "2.4 GHz", lambda home: not home["networks"]["wlan1"]["on"])
    await switch(results, page, control, "2.4 GHz", lambda home: home["networks"]["wlan1"]["on"])
    await fill(page, "source leases", "half")
    results.check("a source is broken", look_until(bool, lambda: control.get("/api/home").json()["broken"].get("leases") == "half"))
    results.check("and shown broken", await wait_text(page, ".badge.bad", "1 broken"))
    line = await text_of(page, "#terminal")
    results.check("with its line", line.endswith("home break leases half"), line)
    await click(page, "Mend all")
    results.check("it is mended", await wait_text(page, ".badge.good", "all whole"))
    control.post("/api/home/add", {"words": [HOSTILE, "wlan1"]})
    results.check("a name stays a text", await page.wait(f"[...document.querySelectorAll('.device')].some(e => e.getAttribute('aria-label').startsWith({json.dumps(HOSTILE)}))")
                  and not await page.value("document.querySelectorAll('.house img, .house b').length + (window.broken ?? 0)"))
    control.post("/api/home/remove", {"words": [HOSTILE]})
    await page.wait(f"document.querySelectorAll('.device').length === {count}")
    await page.value("document.querySelector('details.card summary').click()")
    results.check("all of it is a table, too", await page.wait(f"document.querySelectorAll('details.card tbody tr').length === {count}"))
    await looks.told(results, page, "house")
    await looks.accessible(results, page, "house")
    await block(results, page, keep, control)
    await crowd(results, page, control)
    await looks.narrow(results, page, "house")
    await looks.long_words(results, page, "house")


async def crowd(results, page, control):
    """As many devices as a router knows, made in the page of those that there are."""
    await page.value(CROWD)
    await go(page, "time")
    await page.wait("document.querySelector('.clock-face') !== null")
    costs = await Costs.of(page)
    cost = await costs.until_painted("location.hash = '#/house'", f"document.querySelectorAll('.device').length === {MOST_DEVICES}")
    await page.value("void (window.turn += 1)")
    results.check("what is new is shown of all", await page.wait("[...document.querySelectorAll('.device')].every(e => e.getAttribute('aria-label').endsWith(`${window.turn} KiB/s down`))"))
    results.check(f"to show {MOST_DEVICES} devices costs little", cost < MOST_COST, cost)
    print(f"        {MOST_DEVICES} devices cost {cost:.1f} yardsticks of {costs.yardstick:.0f} ms until they are shown")
    overlaps = await page.value(OVERLAPS)
    results.check("none of them covers another", overlaps == 0, overlaps)
    await page.value("uncrowd()")
    await go(page, "time")
    await go(page, "house")
    await page.wait(f"document.querySelectorAll('.device').length === {len(control.get('/api/home').json()['devices'])}")


async def switch(results, page, control, label, good):
    before = await page.wait(f"[...document.querySelectorAll('[role=switch]')].find(e => e.textContent === {json.dumps(label)}).getAttribute('aria-checked')")
    await click(page, label)
    home = look_until(good, lambda: control.get("/api/home").json())
    results.check(f"{label} is switched", good(home), home["networks"])
    state = f"[...document.querySelectorAll('[role=switch]')].find(e => e.textContent === {json.dumps(label)}).getAttribute('aria-checked')"
    shown = await page.wait(f"{state} !== {json.dumps(before)} && {state}")
    results.check("and the page shows it", shown != before, shown)


async def block(results, page, keep, control):
    """The story of a parent: logs in, looks for the tablet, keeps it from the Internet."""
    if await page.value("[...document.querySelectorAll('button')].some(b => b.textContent === 'Log out')"):
        await click(page, "Log out")
    await wait_text(page, "#session", "Logged out")
    await click(page, "Block it")
    results.check("without a session nobody is blocked, and the page says why", await wait_text(page, ".notice.bad", "Log in first"))
    await fill(page, "User", "admin")
    await fill(page, "Password", "admin")
    await click(page, "Log in")
    results.check("the login is told", await wait_text(page, "#session", "Logged in"))
    told = await page.value("document.querySelector('#session .held small').textContent")
    whole = await page.value("sessionStorage.getItem('session')")
    results.check("with so much of the id that it is known again, and lets nobody in", told == whole[:8] + "…", (told, whole))
    await click(page, "Block it")
    results.check("the tablet is blocked", look_until(bool, lambda: device_of(control, "tablet")["denied"]), device_of(control, "tablet"))
    results.check("and barred in the picture", await page.wait("document.querySelector('.device.denied')?.getAttribute('aria-label').startsWith('tablet,')"))
    await go(page, "objects/Sec")
    mac = device_of(control, "tablet")["mac"].replace(":", "").upper()
    results.check("it stands in the router's list", await wait_text(page, ".values td", mac), mac)
    await go(page, "house")
    await page.wait("document.querySelector('.device.denied') !== null")
    await page.value("document.querySelector('.device.denied').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    await keep("blocked")
    await click(page, "Let it in")
    results.check("it is let in again", not look_until(lambda seen: not seen, lambda: device_of(control, "tablet")["denied"]))
