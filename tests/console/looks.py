# SPDX-License-Identifier: MIT
"""What holds for each screen: nobody is shut out, the browser is content, long words fit, every button has its line for a terminal."""

import json
import pathlib

AXE = pathlib.Path(__file__).with_name("node_modules") / "axe-core/axe.min.js"
# All rules but those that are matters of taste; in the dark those of colours: nothing else is another there.
RULES = {"light": ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"], "dark": {"type": "rule", "values": ["color-contrast"]}}
RUN_AXE = """
(rules) => axe.run(document, {runOnly: rules})
  .then(found => found.violations.map(rule => rule.id + ": " + rule.nodes.map(node => node.html.slice(0, 160) + " " + (node.any[0]?.message ?? "")).slice(0, 3).join(" | ")))
"""
# German is longer than English by a third; every text becomes longer by a half, with words as long as German has them.
STRETCH = """
(() => {
  const walk = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  const texts = [];
  while (walk.nextNode()) if (walk.currentNode.data.trim() && !walk.currentNode.parentElement.closest("pre, textarea, script, noscript")) texts.push(walk.currentNode);
  for (const text of texts) text.data += " " + "Verschlüsselungseinstellungen".slice(0, Math.ceil(text.data.trim().length / 2));
  const wide = [...document.querySelectorAll("button, .card, .rail, h1, h2, main, body")].filter(e => e.scrollWidth > e.clientWidth + 1 && e.clientWidth > 0 && getComputedStyle(e).overflowX !== "auto");
  return [...wide.map(e => e.tagName + "." + e.className + " " + e.textContent.slice(0, 40)), ...(document.scrollingElement.scrollWidth > innerWidth ? ["the page is wider than the window"] : [])];
})()
"""
# A disclosure, a tab or what only looks at the page itself does nothing to the router.
LINELESS = """
[...document.querySelectorAll("main button:not(.plain)")].filter(button => {
  for (let element = button; element; element = element.parentElement) if (element.terminalLine) return false;
  return true;
}).map(button => button.textContent)
"""


async def accessible(results, page, what):
    if not await page.value("typeof axe === 'object'"):
        await page.value(AXE.read_text())
    for scheme, rules in RULES.items():
        await page.order("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        found = await page.value(f"({RUN_AXE})({json.dumps(rules)})")
        results.check(f"{what}, {scheme}: axe finds nothing", found == [], "\n".join(found or []))
    await page.order("Emulation.setEmulatedMedia", features=[])


async def told(results, page, what):
    found = await page.value(LINELESS)
    results.check(f"{what}: every button has its line for a terminal", found == [], found)


async def long_words(results, page, what):
    """Spoils the page, and has it loaded anew."""
    found = await page.value(STRETCH)
    results.check(f"{what}: long words fit", found == [], json.dumps(found))
    await page.value("window.spoilt = true")
    await page.order("Page.reload")
    await page.wait("!window.spoilt && document.querySelector('#screens a') !== null")


async def narrow(results, page, what):
    """A window as narrow as a page at 400 % is."""
    await page.resize(360, 800)
    found = await page.value("document.scrollingElement.scrollWidth > innerWidth && `${document.scrollingElement.scrollWidth}`")
    results.check(f"{what}: a narrow window is enough", not found, found)
    await page.resize(1280, 900)
