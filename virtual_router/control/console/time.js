// SPDX-License-Identifier: MIT
// The screen of the time: the router's clock, how fast it goes, and a new start.

import * as command from "./command.js";
import { button, h, notice, regularly, replace } from "./dom.js";
import { get, post } from "./port.js";

const LOOK_MILLISECONDS = 1000;
const STEPS = [["10 minutes", "10m"], ["an hour", "1h"], ["six hours", "6h"], ["a day", "1d"], ["a week", "7d"]];
const RATES = [["stands still", "0"], ["as it does", "1"], ["a minute a second", "60"], ["an hour a second", "3600"]];
const DAYS = ["", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"];

const act = (verb, ...words) => post(`/api/clock/${verb}`, { words });

function open(main) {
  const face = h("p", { class: "clock-face" }, "…");
  const day = h("p", { class: "hint" });
  const rates = h("div", { class: "row", role: "group", "aria-label": "How fast it goes" });
  const time = h("input", { type: "time", step: "1", value: "19:30:00" });
  const weekday = h("select", {}, DAYS.map((value) => h("option", { value }, value || "today")));
  const words = () => [...(weekday.value ? [weekday.value] : []), time.value];

  function show(clock) {
    const [, date, hours, rest] = /^(\w+ [\d-]+) ([\d:]+) UTC(?:, (.*))?$/.exec(clock.text.split("\n")[0]) ?? [null, "", clock.text, ""];
    face.textContent = hours;
    day.textContent = [date, "UTC", rest].filter(Boolean).join(" · ");
    replace(rates, RATES.map(([name, rate]) => button(name, command.line("clock", "rate", rate), async () => show(await act("rate", rate)), { "aria-pressed": String(clock.rate === Number(rate)), "data-key": `rate-${rate}` })));
  }

  replace(main, h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Time"), h("p", {}, "The router's clock; the PC's stays. What falls due when time passes is done once, and at once: schedules begin and end, leases run out."))),
    h("div", { class: "pair" },
      h("section", { class: "card", "aria-label": "Clock" }, face, day, h("h2", {}, "How fast it goes"), rates),
      h("div", { class: "stack" },
        h("section", { class: "card", "aria-label": "Let time pass" }, h("h2", {}, "Let time pass"), h("div", { class: "row" }, STEPS.map(([name, step]) => button(name, command.line("clock", "advance", step), async () => show(await act("advance", step)))))),
        h("section", { class: "card", "aria-label": "Set the clock" }, h("h2", {}, "Set it"), h("div", { class: "row grow" }, h("label", { class: "field" }, "Day", weekday), h("label", { class: "field" }, "Time, UTC", time),
          button("Set", () => command.line("clock", "set", ...words()), async () => show(await act("set", ...words())), { class: "primary" }))),
        h("section", { class: "card", "aria-label": "Start anew" }, h("h2", {}, "Start anew"), h("p", { class: "hint" }, "Connections are cut, and what was not committed is lost; so is the session."),
          h("div", { class: "row actions" }, button("Reboot", command.line("reboot", "--wait"), async () => {
            notice("The router starts anew …");
            await post("/api/reboot", { wait: true });
            notice("The router is back.");
          }, { class: "danger" })))))));

  return regularly(LOOK_MILLISECONDS, async () => show(await get("/api/clock")), (error) => {
    face.textContent = "–";
    day.textContent = error.message;
  });
}

export const screen = { name: "time", title: "Time", open };
