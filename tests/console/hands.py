# SPDX-License-Identifier: MIT
"""What a person does to a page: looks for words, clicks on them, writes, presses keys."""

import asyncio
import json
import time

from chromium import SECONDS

KEYS = {"Enter": (13, "\r"), "Escape": (27, ""), "Tab": (9, ""), " ": (32, " "), "ArrowDown": (40, ""), "ArrowUp": (38, ""), "ArrowRight": (39, ""), "ArrowLeft": (37, ""), "Home": (36, ""), "End": (35, "")}


async def go(page, path):
    await page.value(f"void (location.hash = '#/{path}')")


async def text_of(page, selector):
    return await page.value(f"[...document.querySelectorAll({json.dumps(selector)})].map(e => e.textContent).join(' / ')")


async def wait_text(page, selector, text, seconds=SECONDS):
    """Whether the text comes to stand in one of those elements."""
    script = f"[...document.querySelectorAll({json.dumps(selector)})].some(e => e.textContent.includes({json.dumps(text)}))"
    return bool(await page.wait(script, seconds))


async def forgive(page, text):
    """Waits for the browser's complaint of a refusal that was wanted, and forgets it. Returns whether that alone was complained of."""
    deadline = time.monotonic() + SECONDS
    while not any(text in line for line in page.complaints) and time.monotonic() < deadline:
        await page.value("0")  # complaints come with what is answered
        await asyncio.sleep(0.05)
    alone = len(page.complaints) == 1 and text in page.complaints[0]
    page.complaints[:] = [line for line in page.complaints if text not in line]
    return alone


async def click(page, label, within="body"):
    """On the button of that label, as soon as it is there and can be used. Raises LookupError."""
    found = f"""[...document.querySelector({json.dumps(within)})?.querySelectorAll("button, a") ?? []].find(e =>
        (e.getAttribute("aria-label") ?? e.textContent).trim() === {json.dumps(label)} && e.getClientRects().length > 0 && e.getAttribute("aria-disabled") !== "true")"""
    if not await page.wait(f"(() => {{ const e = {found}; e?.click(); return Boolean(e); }})()"):
        raise LookupError(f"there is no button '{label}'")


FIELD = """
(label => {
  const own = [...document.querySelectorAll("input, select, textarea")].find(e => e.getAttribute("aria-label") === label && e.getClientRects().length);
  return own ?? [...document.querySelectorAll("label")].filter(e => e.textContent.trim().startsWith(label)).map(e => e.control).find(e => e?.getClientRects().length);
})
"""


async def fill(page, label, value):
    """Writes into the field of that label. Raises LookupError."""
    script = f"""(() => {{
      const e = {FIELD}({json.dumps(label)});
      if (!e) return false;
      e.focus();
      e.value = {json.dumps(value)};
      e.dispatchEvent(new Event("input", {{bubbles: true}}));
      e.dispatchEvent(new Event("change", {{bubbles: true}}));
      return true;
    }})()"""
    if not await page.wait(script):
        raise LookupError(f"there is no field '{label}'")


async def tick(page, label):
    if not await page.wait(f"(() => {{ const e = {FIELD}({json.dumps(label)}); e?.click(); return Boolean(e); }})()"):
        raise LookupError(f"there is no box '{label}'")


async def send_key(page, key):
    code, text = KEYS[key]
    await page.key(key, code, text)
