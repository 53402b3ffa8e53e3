// SPDX-License-Identifier: MIT
// The screen of the scenarios: stories of steps, played on the router that runs; of each step is told how it came out.

import * as command from "./command.js";
import { button, field, h, newId, replace, stoppable } from "./dom.js";
import { follow, get, post } from "./port.js";

const FOLDER = "virtual_router/scenarios";
const FIRST = 'about = "What the app does, in a sentence"\n\n[[step]]\nlogin = true\n\n[[step]]\ntitle = "and asks who is there"\nask = { action = "get", lanStatus = {} }\n';
const MARKS = { passed: "✓", failed: "✗", running: "…", waiting: "" };
const SAID = { passed: "came out", failed: "did not come out", running: "under way", waiting: "to come" };

function open(main) {
  const area = h("textarea", { class: "code", id: newId("scenario"), rows: 18, spellcheck: false });
  const stories = h("ul", { class: "stories" });
  const place = h("section", { class: "card", "aria-label": "Steps" });
  const state = h("p", { class: "hint", role: "status" });
  const file = h("input", { type: "file", accept: ".toml" });
  const stop = stoppable();
  let known = []; // {name, about, server, text}

  /** A file that has this text, or the text itself. */
  function line(...options) {
    const story = known.find((each) => each.text === area.value);
    const words = (name) => command.line("scenario", ...options, name);
    return story ? words(`${FOLDER}/${story.name}.toml`) : `${words("/dev/stdin")} <<'END_OF_SCENARIO'\n${area.value.replace(/\n?$/, "\n")}END_OF_SCENARIO`;
  }

  function show(found, came = [], playing = false) {
    replace(place, h("h2", {}, "Steps"), h("p", {}, found.about), found.server && h("p", { class: "hint" }, "Meant for ", h("code", {}, `script/server ${found.server}`)), state,
      h("ol", { class: "steps" }, found.steps.map((title, at) => {
        const step = came[at];
        const how = step ? (step.passed ? "passed" : "failed") : playing && at === came.length ? "running" : "waiting";
        return h("li", { class: how }, h("span", { class: "mark", "aria-hidden": "true" }, MARKS[how]), h("span", {}, step?.title ?? title, h("span", { class: "visually-hidden" }, `, ${SAID[how]}`)),
          step?.misses.length > 0 && h("ul", { class: "misses" }, step.misses.map((miss) => h("li", {}, miss))));
      })));
    place.querySelector(".failed, .running")?.scrollIntoView({ block: "nearest" });
  }

  async function check() {
    try {
      const found = await post("/api/scenarios/check", { text: area.value });
      state.textContent = `${found.steps.length} steps; nothing is wrong with them.`;
      show(found);
      area.setAttribute("aria-invalid", "false");
      return found;
    } catch (error) {
      area.setAttribute("aria-invalid", "true");
      replace(place, h("h2", {}, "Steps"), h("p", { class: "fault" }, error.message));
      throw error;
    }
  }

  async function play() {
    const found = await check();
    const came = [];
    state.textContent = "It is being played.";
    show(found, came, true);
    let end = null;
    await stop.run((signal) => follow("/api/scenarios/play", { text: area.value }, (event, what) => {
      if (event === "end") end = what;
      else came.push(what);
      show(found, came, event !== "end" && what.passed);
    }, signal));
    state.textContent = end ? `${end.passed} of ${found.steps.length} steps came out${end.failed ? "; one did not, and ended it" : ""}.` : "It was stopped.";
    show(found, came);
  }

  async function list() {
    known = (await get("/api/scenarios")).scenarios;
    replace(stories, known.map((story) => h("li", {}, h("div", {}, h("strong", {}, story.name), h("p", { class: "hint" }, story.about)), button("Open", `cat ${FOLDER}/${story.name}.toml`, async () => {
      area.value = story.text;
      await check();
    }, { "aria-label": `Open ${story.name}` }))));
  }

  file.addEventListener("change", async () => {
    area.value = (await file.files[0]?.text()) ?? area.value;
  });
  area.value = FIRST;
  area.terminalLine = () => line();
  replace(place, h("h2", {}, "Steps"), h("p", { class: "empty" }, "Check a scenario, or play it."));
  replace(main, h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Scenarios"), h("p", {}, "Stories of steps: what happens at home, what an app asks, what must be seen. They are played on this router, and change it; a snapshot takes that back."))),
    h("div", { class: "pair" },
      h("div", { class: "stack" },
        h("section", { class: "card", "aria-label": "A scenario" }, h("div", { class: "card-head row" }, h("h2", {}, h("label", { for: area.id }, "A scenario")), h("a", { href: "#/snapshots" }, "Snapshots")), area,
          h("div", { class: "sends" }, button("Play it", () => line(), play, { class: "primary" }), button("Check it", () => line("--check"), check), stop.element, field("From a file", file))),
        h("section", { class: "card", "aria-label": "Those that come along" }, h("h2", {}, "Those that come along"), stories)),
      place)));
  list().catch((error) => replace(stories, h("li", { class: "fault" }, error.message)));
  return stop.stop;
}

export const screen = { name: "scenarios", title: "Scenarios", open };
