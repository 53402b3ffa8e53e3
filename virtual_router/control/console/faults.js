// SPDX-License-Identifier: MIT
// The screen of the faults: which requests meet what. A fault is a line; the buttons put lines together that are often wanted.

import * as command from "./command.js";
import { button, field, h, regularly, replace } from "./dom.js";
import { ask, get, post } from "./port.js";

const LOOK_MILLISECONDS = 2000;

// What is often wanted: group, name, line.
const WANTED = [
  ["The reply", [["two seconds late", "delay=2000000 reply"], ["late by chance", "delay=100000..3000000 seed=7 reply"], ["never comes", "failed=none reply"], ["ends behind 40 bytes", "failed=cut:40 reply"], ["is garbage", "failed=garbage reply"], ["is a 503", "failed=503 reply"]]],
  ["The router", [["refuses connections", "connect"], ["is off", "failed=off router"], ["starts anew, for 10 seconds", "failed=booting:10 router"], ["loses its power in a commit", "cut-power"]]],
  ["The session", [["is lost", "failed=lost session"], ["is another phone's", "failed=taken session"]]],
  ["The store", [["does not open", "init"], ["is full", "set"], ["fails to commit", "commit"], ["fails to save its file", "save"]]],
  ["The daemon and commands", [["the queue is full", "failed=EAGAIN msgsnd"], ["there is no queue", "failed=ENOENT msgget"], ["killall fails", "failed=1 run killall"], ["ping hangs", "delay=60000000 run ping"]]],
  ["Files", [["no topology", "failed=ENOENT open /tmp/topology_json"], ["half a topology", "failed=cut content /tmp/topology_json"], ["a noisy topology", "failed=noise content /tmp/topology_json"]]],
];

const armLine = (fault) => command.line("faults", "add", fault);

function open(main) {
  let objects = [];
  const armed = h("section", { class: "card", "aria-label": "Armed faults" });
  const count = h("input", { type: "number", min: "1", placeholder: "always" });
  const phone = h("input", { type: "number", min: "1", placeholder: "every" });
  const action = h("select", {}, ["", "get", "set", "login", "scan"].map((value) => h("option", { value }, value || "every")));
  const object = h("select", {}, h("option", { value: "" }, "every"));
  const own = h("input", { type: "text", spellcheck: false, placeholder: "delay=2000000 reply", autocomplete: "off" });

  const conditions = () => [count.value && `requests=${count.value}`, action.value && `action=${action.value}`, object.value && `object=${object.value}`, phone.value && `phone=${phone.value}`].filter(Boolean);
  const whole = (fault) => [...conditions(), fault].join(" ");

  async function arm(fault) {
    show((await post("/api/faults", { faults: [whole(fault)] })).faults);
  }

  async function clear(number) {
    await ask("DELETE", number === undefined ? "/api/faults" : `/api/faults/${number}`);
    await look();
  }

  function show(faults) {
    replace(armed,
      h("div", { class: "card-head row" }, h("h2", {}, "Armed"), h("span", { class: `badge ${faults.length ? "bad" : "good"}` }, faults.length ? `${faults.length}` : "none"),
        faults.length > 0 && button("Clear all", command.line("faults", "clear"), () => clear(), { "data-key": "clear-all" })),
      faults.length === 0 ? h("p", { class: "empty" }, "Every request meets the router as it is.") : h("ul", { class: "armed" }, faults.map((fault) => h("li", { class: "row" },
        h("code", {}, fault.fault), h("span", { class: "hint" }, `struck ${fault.struck}${fault.left === null ? "" : `, ${fault.left} left`}`),
        button("Clear", command.line("faults", "clear", fault.number), () => clear(fault.number), { "aria-label": `Clear ${fault.fault}`, "data-key": `clear-${fault.number}` })))));
  }

  async function look() {
    show((await get("/api/faults")).faults);
    if (objects.length > 0) return;
    objects = (await get("/api/contract")).order;
    object.append(...objects.map((value) => h("option", { value }, value)));
  }

  replace(main, h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Faults"), h("p", {}, "What requests at the router's ports meet until it is cleared; the router's program is unmodified."))),
    armed,
    h("section", { class: "card", "aria-label": "Which requests" }, h("h2", {}, "Which requests"),
      h("div", { class: "fields" }, field("The next so many", count), field("Action", action), field("Object", object), field("Phone", phone))),
    h("div", { class: "fault-groups" }, WANTED.map(([title, faults]) => h("section", { class: "card", "aria-label": title }, h("h2", {}, title), h("div", { class: "row" }, faults.map(([name, fault]) => button(name, () => armLine(whole(fault)), () => arm(fault))))))),
    h("section", { class: "card", "aria-label": "In your own words" }, h("h2", {}, "In your own words"),
      h("div", { class: "row grow" }, field("Fault, as docs/faults.md tells them", own), button("Arm it", () => armLine(whole(own.value)), () => arm(own.value), { class: "primary" })))));

  return regularly(LOOK_MILLISECONDS, look, (error) => replace(armed, h("p", { class: "fault" }, error.message)));
}

export const screen = { name: "faults", title: "Faults", open };
