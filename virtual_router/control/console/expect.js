// SPDX-License-Identifier: MIT
// The screen of expectations: a request like this must come, with these effects; else the one that came nearest is told, and what it lacked.

import * as command from "./command.js";
import { button, field, h, replace, stoppable } from "./dom.js";
import { Refused, ask, get } from "./port.js";

const ACTIONS = ["", "get", "set", "login", "scan"];
const lines = (text) => text.split("\n").map((line) => line.trim()).filter(Boolean);

/** What is in a field as JSON; the field is marked where it is none. */
function tree(area, what) {
  const text = area.value.trim();
  let found = null;
  try {
    found = text ? JSON.parse(text) : undefined;
  } catch {
    // It is told below.
  }
  const wrong = Boolean(text) && (typeof found !== "object" || found === null || Array.isArray(found));
  area.setAttribute("aria-invalid", String(wrong));
  if (wrong) throw new Refused(`${what} is no object of JSON.`, "json", 0);
  return found;
}

/** The words of script/router expect for what the port is asked. */
function words(wanted) {
  const { effects = [], never = [], absent, request, reply, ...plain } = wanted;
  return [
    ...Object.entries(plain).flatMap(([name, value]) => [`--${name}`, value]),
    ...[["request", request], ["reply", reply]].flatMap(([name, value]) => (value ? [`--${name}`, JSON.stringify(value)] : [])),
    ...effects.flatMap((line) => ["--effect", line]), ...never.flatMap((line) => ["--never", line]), ...(absent ? ["--absent"] : []),
  ];
}

const link = (number) => h("a", { href: `#/journal/${number}` }, `request ${number}`);

function verdict(answer, absent) {
  const { met, number, near, seen, seconds } = answer;
  const looked = `${seen} ${seen === 1 ? "request was" : "requests were"} looked at in ${seconds.toFixed(1)} s.`;
  return [
    h("div", { class: `outcome ${met ? "good" : "bad"}` }, h("strong", {}, met ? "Met" : "Not met"),
      h("span", {}, number === null ? (absent ? "none came" : "no such request came") : ["by ", link(number)]), h("span", { class: "quiet" }, looked)),
    near && [h("h3", {}, "The nearest was ", link(near.number), `: ${[near.action, near.objects.join(", ")].filter(Boolean).join(" ")}, ${near.verdict.trimEnd()}`),
      h("ul", { class: "misses" }, near.misses.map((miss) => h("li", {}, miss)))],
  ].flat();
}

function open(main) {
  const option = (value, name) => h("option", { value }, name || value);
  const phone = h("select", {}, option("", "any"));
  const action = h("select", {}, ACTIONS.map((value) => option(value, value || "any")));
  const object = h("select", {}, option("", "any"));
  const error = h("input", { type: "number", placeholder: "any" });
  const seconds = h("input", { type: "number", min: "0", max: "600", value: "10" });
  const since = h("input", { type: "text", placeholder: "those from now on", inputmode: "numeric" });
  const absent = h("input", { type: "checkbox" });
  const area = (placeholder) => h("textarea", { class: "code", rows: 4, spellcheck: false, placeholder });
  const effects = area("set MIB_WLAN_SSID\ncommit");
  const never = area("set MIB_USER_PASSWORD");
  const request = area('{"wifi": {"ssid": "~Lo.*"}}');
  const reply = area('{"wifi": "1"}');
  const place = h("section", { class: "card", "aria-label": "Verdict", "aria-live": "polite" }, h("h2", {}, "Verdict"), h("p", { class: "empty" }, "Nothing is waited for."));
  const stop = stoppable();

  function wanted() {
    const whole = /^\d+$/.test(since.value.trim()) ? Number(since.value) : undefined;
    const found = {
      seconds: Number(seconds.value), since: whole, phone: phone.value && Number(phone.value), action: action.value, object: object.value, error: error.value === "" ? undefined : Number(error.value),
      request: tree(request, "What is in the request"), reply: tree(reply, "What is in the reply"), effects: lines(effects.value), never: lines(never.value), absent: absent.checked,
    };
    return Object.fromEntries(Object.entries(found).filter(([, value]) => value !== undefined && value !== "" && value !== false && !(Array.isArray(value) && value.length === 0)));
  }

  function line() {
    try {
      return command.line("expect", ...words(wanted()));
    } catch {
      return command.line("expect", "help");
    }
  }

  const wait = button("Wait for it", line, async () => {
    const asked = wanted();
    replace(place, h("h2", {}, "Verdict"), h("p", { class: "waiting" }, `Waiting for up to ${asked.seconds} s …`));
    const answer = await stop.run((signal) => ask("POST", "/api/expect", asked, signal)).catch((failure) => {
      replace(place, h("h2", {}, "Verdict"), h("p", { class: "fault" }, failure.message));
      throw failure;
    });
    replace(place, h("h2", {}, "Verdict"), answer ? verdict(answer, asked.absent) : h("p", { class: "empty" }, "It was waited no longer."));
  }, { class: "primary" });

  replace(main, h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Expect"), h("p", {}, "A request like this must come, with these effects, within so many seconds: what a test of an app waits for."))),
    h("section", { class: "card", "aria-label": "What must come", command: line }, h("h2", {}, "What must come"),
      h("div", { class: "fields" }, field("Action", action), field("Object", object), field("From phone", phone), field("Error of the reply", error), field("Within seconds", seconds), field("Since request", since)),
      h("div", { class: "pair areas" }, field("Effects, in this order", effects), field("What it must not do", never), field("In the request, as JSON", request), field("In the reply, as JSON", reply)),
      h("div", { class: "sends" }, wait, stop.element, h("label", { class: "row" }, absent, "No such request must come"))),
    place));
  const offer = async () => {
    const [contract, status] = await Promise.all([get("/api/contract"), get("/api/status")]);
    object.append(...contract.order.map((value) => option(value)));
    phone.append(...Object.keys(status.phones).map((value) => option(value, `phone ${value}`)));
  };
  offer().catch((failure) => replace(place, h("p", { class: "fault" }, failure.message)));
  return stop.stop;
}

export const screen = { name: "expect", title: "Expect", open };
