# SPDX-License-Identifier: MIT
"""The story of a parent once more, without a hand on the mouse: from the login to a tablet that is kept from the Internet. At each stop
of Tab it must be seen where one is, and a screen reader must have a name for it."""

import json

from hands import send_key, wait_text
from house import device_of
from router import look_until

MOST_STOPS = 120
# What is to be known of the element that has the focus.
STOP = """
(() => {
  const e = document.activeElement;
  const shown = e.matches(".device") ? e.querySelector(".disc") : e;
  const style = getComputedStyle(shown);
  const box = shown.getBoundingClientRect();
  const middle = document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2);
  return {
    what: e.tagName, name: (e.getAttribute("aria-label") ?? (e.labels?.length ? e.labels[0].textContent : e.getAttribute("aria-labelledby") ? document.getElementById(e.getAttribute("aria-labelledby")).textContent : e.textContent)).trim(),
    marked: e.matches(".device") ? parseFloat(style.strokeWidth) > 4 : style.outlineStyle !== "none" && parseFloat(style.outlineWidth) >= 2,
    inSight: box.width > 0 && box.bottom > 0 && box.top < innerHeight && box.right > 0 && box.left < innerWidth && Boolean(middle),
  };
})()
"""


class Walk:
    def __init__(self, page):
        self.page = page
        self.stops = []

    async def to(self, name, back=False):
        """Presses Tab until something of that name has the focus. False: that does not come."""
        for _ in range(MOST_STOPS):
            await self.page.key("Tab", 9, modifiers=8 if back else 0)
            stop = await self.page.value(STOP)
            self.stops.append(stop)
            if stop["name"].startswith(name):
                return True
        return False

    async def to_and_press(self, name, key="Enter", back=False):
        there = await self.to(name, back)
        await send_key(self.page, key)
        return there

    async def write(self, text):
        await self.page.order("Input.dispatchKeyEvent", type="rawKeyDown", key="a", windowsVirtualKeyCode=65, modifiers=2, commands=["selectAll"])
        await self.page.order("Input.insertText", text=text)


async def act(results, page, control):
    await page.value("sessionStorage.clear(), window.spoilt = true, location.hash = '#/objects/wifi'")
    await page.order("Page.reload")
    await page.wait("!window.spoilt && document.querySelector('#session input') !== null && document.querySelector('.outcome') !== null")
    await page.value("document.activeElement.blur()")
    walk = Walk(page)
    results.check("the first stop of Tab leads past what each screen has", await walk.to("Skip to the screen") and len(walk.stops) == 1, walk.stops)
    results.check("the login is reached by Tab", await walk.to("User"), walk.stops[-3:])
    await walk.write("admin")
    await walk.to("Password")
    await walk.write("admin")
    results.check("and done by Enter", await walk.to_and_press("Log in") and await wait_text(page, "#session", "Logged in"), walk.stops[-3:])
    results.check("the house is reached by Shift and Tab", await walk.to_and_press("House", back=True) and await page.wait("document.activeElement.id === 'main' && document.querySelector('.device') !== null"), walk.stops[-3:])
    before = len(walk.stops)
    results.check("its devices are one stop", await walk.to(await page.value("document.querySelector('.device[tabindex=\"0\"]').getAttribute('aria-label').slice(0, 6)")), walk.stops[before:])
    count = len(control.get("/api/home").json()["devices"])
    for _ in range(count):
        stop = await page.value(STOP)
        walk.stops.append(stop)
        if stop["name"].startswith("tablet,"):
            break
        await send_key(page, "ArrowRight")
    await send_key(page, "Enter")
    results.check("the tablet is found with the arrow keys, and opened", await wait_text(page, "section h2", "tablet") and await page.wait("document.activeElement.id === 'spot'"), stop)
    blocked = await walk.to_and_press("Block it")
    results.check("and blocked", blocked and look_until(bool, lambda: device_of(control, "tablet")["denied"]), walk.stops[-4:])
    results.check("which is said, and the focus is where it was", await wait_text(page, "#notices", "tablet is blocked") and await page.wait("document.activeElement.textContent === 'Let it in'"), await page.value(STOP))
    unmarked = [stop for stop in walk.stops if not (stop["marked"] and stop["inSight"])]
    results.check(f"at each of {len(walk.stops)} stops it is seen where one is", unmarked == [], json.dumps(unmarked))
    results.check("and each has a name", all(stop["name"] for stop in walk.stops), [stop for stop in walk.stops if not stop["name"]])
    await send_key(page, "Enter")
    results.check("by Enter it is let in again", not look_until(lambda seen: not seen, lambda: device_of(control, "tablet")["denied"]))
