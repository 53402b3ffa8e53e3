# SPDX-License-Identifier: MIT
"""What the page takes of the processor, which neither other programs nor a slow machine make more: it is told in the cost of a piece of work
that the same browser does just before."""

ROUNDS = 3
# Makes 2000 lines, lays them out, and takes them away.
YARDSTICK = """
(() => {
  const room = document.body.appendChild(document.createElement("div"));
  for (let at = 0; at < 2000; at += 1) {
    const line = room.appendChild(document.createElement("div"));
    for (const text of ["a", "few", "words"]) line.appendChild(document.createElement("span")).textContent = `${text} ${at}`;
  }
  const height = room.getBoundingClientRect().height;
  room.remove();
  return height;
})()
"""
PAINTED = "async (act, done) => { const frame = () => new Promise(requestAnimationFrame); await act(); while (!done()) await frame(); await frame(); }"


class Costs:
    """`await Costs.of(page)` measures the yardstick."""

    def __init__(self, page, yardstick):
        self.page = page
        self.yardstick = yardstick  # milliseconds

    @classmethod
    async def of(cls, page):
        return cls(page, min([await page.cost(YARDSTICK) for _ in range(ROUNDS)]))

    async def until_painted(self, act, done):
        """The cost of what an action does, until `done` is true and painted, in yardsticks."""
        return await self.page.cost(f"({PAINTED})(() => {{ {act}; }}, () => {done})") / self.yardstick
