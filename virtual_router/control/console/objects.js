// SPDX-License-Identifier: MIT
// The screen of the objects: what the router has beside what is to be set, and what a request would do before it is sent.

import * as command from "./command.js";
import { button, h, newId, notice, replace } from "./dom.js";
import { make } from "./form.js";
import { askRouter, get, logIn, post, session } from "./port.js";
import { values } from "./shape.js";

const DRY_RUN_MILLISECONDS = 150;
const RESTARTED = { all: "all services", wifi: "Wi-Fi", lan: "the LAN", wan: "the WAN", firewall: "the firewall" };
const COMMITTED = { yes: "everything, after the reply", "at once": "everything, before the reply" };

let contract = null;
const same = (one, other) => JSON.stringify(one) === JSON.stringify(other);
const failed = (end) => !end || !end.reply || (end.error !== 0 && end.error !== "0");
const shown = (value) => JSON.stringify(value);

/** The request as it goes out: with the session, where it is JSON and has none. */
function withSession(text) {
  try {
    const request = JSON.parse(text);
    if (!session.id || "sessionid" in request || typeof request !== "object" || request === null) return text;
    return JSON.stringify({ ...request, sessionid: session.id });
  } catch {
    return text;
  }
}

const commandOf = (text) => command.api(session.path(), withSession(text()));

// ---- get

/** What the router has of an object. `heard` is called with it. */
function getCard(name, facts, heard) {
  const asked = facts.get.ask ? make(name, { type: "object", keys: facts.get.ask }, () => {}) : null;
  if (asked && facts.get.example) asked.set(facts.get.example);
  const place = h("div", { class: "reply-values" });
  const badge = h("span", { class: "badge", hidden: true });
  const request = () => JSON.stringify({ action: "get", [name]: asked ? asked.get() : {} });
  const look = async () => {
    const { reply, text, milliseconds } = await askRouter(withSession(request()));
    const good = reply?.result?.error === 0;
    badge.hidden = false;
    badge.className = `badge ${good ? "good" : "bad"}`;
    badge.textContent = good ? `${milliseconds.toFixed(0)} ms` : `error ${reply?.result?.error ?? "–"}`;
    const own = reply?.[name];
    if (good && own !== undefined) replace(place, typeof own === "object" ? values(own, facts.get.reply) : h("pre", {}, shown(own)));
    else replace(place, !session.id && reply?.result?.error === 6 ? loginOffer(look) : h("pre", { class: "wire", tabindex: "0" }, text || "no reply"));
    heard(good ? own : null);
  };
  const element = h("section", { class: "card", "aria-label": "What the router has" },
    h("div", { class: "card-head row" }, h("h2", {}, "Get"), badge, button("Get", () => commandOf(request), look)),
    asked && h("details", { class: "quirks" }, h("summary", {}, "What is asked for"), asked.element),
    place,
  );
  return { element, look };
}

function loginOffer(then) {
  const request = JSON.stringify({ action: "login", info: { user: "admin", pwd: "admin" } });
  return h("div", { class: "empty" }, h("p", {}, "This needs a session."), h("p", { class: "row" }, button("Log in as admin", () => command.api(session.path(), request), async () => {
    if (await logIn("admin", "admin")) await then();
    else notice(session.why, true);
  }, { class: "primary" })));
}

// ---- what it would do

function changes(value, now) {
  if (value === null || typeof value !== "object" || Array.isArray(value)) return [];
  return Object.entries(value).filter(([key, wanted]) => !same(wanted, now?.[key])).map(([key, wanted]) =>
    h("span", { class: "change" }, `${key}: `, now && key in now && [h("del", {}, h("span", { class: "visually-hidden" }, "from "), shown(now[key])), " → "], h("ins", {}, h("span", { class: "visually-hidden" }, "to "), shown(wanted))));
}

const withState = (rows, name) => [...new Set(rows.map((row) => (row.state ? `${row[name]} (if ${row.state})` : row[name])))].map((row) => h("span", { class: "change" }, row));

function outcome(end) {
  const bad = failed(end);
  const said = !end.reply ? "no reply" : `${end.reply}, error ${end.error}${end.msg === null ? "" : `, “${end.msg.trimEnd()}”`}`;
  return h("div", { class: `outcome ${bad ? "bad" : "good"}` },
    h("strong", {}, bad ? "It is refused" : "It succeeds"),
    h("span", {}, said),
    end.cause && h("span", { class: "quiet" }, end.cause));
}

function effects(end, value, now) {
  const changed = changes(value, now);
  const rows = [
    [failed(end) ? "Would change" : "Changes", changed.length > 0 ? changed : now ? "nothing that a get shows" : null],
    [failed(end) ? "Stays written" : "Writes", end.writes.length > 0 && withState(end.writes, "item")],
    ["Commits", COMMITTED[end.committed] ?? end.committed],
    ["Restarts", end.restarts.map((each) => RESTARTED[each] ?? each).join(", ")],
    ["Tells", end.messages.length > 0 && withState(end.messages, "message")],
    ["Runs", end.commands.length > 0 && withState(end.commands, "command")],
  ];
  return h("dl", { class: "effects" }, rows.filter(([, what]) => what && what.length !== 0).map(([term, what]) => h("div", {}, h("dt", {}, term), h("dd", {}, what))));
}

function told(dry, value, now) {
  const last = dry.ends.at(-1);
  const others = dry.ends.slice(0, -1);
  return [
    outcome(last),
    dry.unknown.map(({ key, meant }) => h("p", { class: "fault" }, `Nobody reads “${key}”${meant ? `: is “${meant}” meant?` : "."}`)),
    effects(last, value, now),
    others.length > 0 && h("details", { class: "otherwise" }, h("summary", {}, `It can end otherwise: ${others.length}`), h("ul", {}, others.map((end) => h("li", {}, h("strong", {}, end.msg?.trimEnd() || (end.reply ? `error ${end.error}` : "no reply")), ` if ${end.state}`)))),
  ];
}

// ---- set

function setCard(name, facts, changed) {
  const field = facts.set.value ? make(name, facts.set.value, changed) : make(name, { type: "object", keys: facts.set.keys ?? {} }, changed);
  const example = () => {
    field.set(facts.set.example);
    changed();
  };
  const empty = Object.keys(facts.set.keys ?? {}).length === 0 && !facts.set.value;
  const hint = facts.set.value && h("p", { class: "hint", id: field.hintId || undefined }, facts.set.value.is);
  const element = h("section", { class: "card", "aria-label": "What is to be set" },
    h("div", { class: "card-head row" }, h("h2", {}, field.id ? h("label", { for: field.id }, "Set") : "Set"), button("Fill in the example", () => `script/dry-run - <<<'${JSON.stringify({ action: "set", [name]: facts.set.example })}'`, example)),
    hint, field.element, empty && h("p", { class: "empty" }, "It has no keys."));
  return { element, field, example };
}

function openObject(place, name) {
  const facts = contract.objects[name];
  let now = null;
  let byHand = false;
  let dry = null;
  let timer = 0;
  let turn = 0;
  const requestId = newId("request");
  const request = h("textarea", { class: "code", id: requestId, spellcheck: false, rows: 8 });
  const preview = h("div", { "aria-live": "off" });
  const reply = h("div", { class: "reply", "aria-live": "polite" });
  const back = h("button", { type: "button", class: "plain", hidden: true, onclick: () => {
    byHand = false;
    write();
  } }, "Back to what the form says");
  const put = facts.set ? setCard(name, facts, () => {
    byHand = false;
    write();
  }) : null;
  const seen = getCard(name, facts.get ? facts : { ...facts, get: { reply: {} } }, (found) => {
    if (now === null && found && put?.field.fields && !byHand) prefill(found);
    now = found;
    tell();
  });

  function prefill(found) {
    const sent = put.field.get();
    put.field.set(Object.fromEntries(Object.keys(sent).map((key) => [key, found[key] ?? facts.set.example[key]])), { ...facts.set.example, ...found });
    write();
  }

  function write() {
    request.value = JSON.stringify({ action: "set", [name]: put ? put.field.get() : {} }, null, 2);
    back.hidden = true;
    tell();
  }

  function tell() {
    clearTimeout(timer);
    timer = setTimeout(async () => {
      const mine = ++turn;
      try {
        dry = await post("/api/dry-run", request.value);
      } catch (error) {
        replace(preview, h("p", { class: "fault" }, error.message));
        return;
      }
      if (mine !== turn) return;
      let value = null;
      try {
        value = JSON.parse(request.value)[name];
      } catch {
        // It is no JSON, which the dry run tells.
      }
      replace(preview, told(dry, value, now));
      const wrong = failed(dry.ends.at(-1)) || dry.unknown.length > 0 || (!byHand && (put?.field.faults() ?? 0) > 0);
      send.setAttribute("aria-disabled", String(wrong));
      wrongly.hidden = !wrong;
    }, DRY_RUN_MILLISECONDS);
  }

  async function go() {
    const { text, reply: found, milliseconds } = await askRouter(withSession(request.value));
    const good = found?.result?.error === 0;
    const known = good ? null : dry?.ends.find((end) => end.msg !== null && end.msg === found?.result?.msg && end.cause);
    replace(reply,
      h("p", { class: "row" }, h("strong", {}, "Reply"), h("span", { class: `badge ${good ? "good" : "bad"}` }, good ? "ok" : found ? `error ${found.result?.error}` : text ? "no JSON" : "no reply"), h("small", {}, `${milliseconds.toFixed(0)} ms`)),
      known && h("p", { class: "fault" }, known.cause),
      h("pre", { class: "wire", tabindex: "0", "aria-label": "reply" }, text || "(nothing)"));
    if (facts.get && good && name !== "logout") await seen.look();
    if (name === "logout" && good) session.keep(null, "Logged out.");
  }

  request.addEventListener("input", () => {
    byHand = true;
    back.hidden = false;
    tell();
  });
  const line = () => commandOf(() => request.value);
  const send = button("Send", line, go, { class: "primary", id: "send" });
  const wrongly = button("Send it wrong anyway", line, go, { class: "danger", id: "send-wrong", hidden: true });
  const dryLine = () => command.api("/api/dry-run", request.value);

  replace(place,
    h("div", { class: "head" }, h("div", {}, h("h1", {}, name), h("p", {}, facts.about))),
    facts.quirks?.length > 0 && h("details", { class: "quirks" }, h("summary", {}, `Worth knowing (${facts.quirks.length})`), h("ul", {}, facts.quirks.map((quirk) => h("li", {}, quirk)))),
    h("div", { class: "stack" },
      h("div", { class: "pair" }, facts.get && seen.element, put?.element),
      h("section", { class: "card", "aria-label": "Before it is sent" },
        h("div", { class: "card-head row" }, h("h2", {}, "Before it is sent"), button("Try it without the router", dryLine, tell)),
        h("div", { class: "pair" },
          preview,
          h("div", {},
            h("div", { class: "row" }, h("label", { for: requestId }, h("strong", {}, "Request")), h("small", {}, "the session id is added"), back),
            request, h("div", { class: "sends" }, send, wrongly), reply)))));
  if (put && !facts.get) put.field.set(facts.set.example);
  if (!put) request.value = JSON.stringify({ action: "set", [name]: {} }, null, 2);
  else if (put.field.fields) put.field.set(Object.fromEntries(put.field.fields.filter((field) => field.isSent()).map((field) => [field.name, facts.set.example[field.name]])), facts.set.example);
  if (put) write();
  else tell();
  if (facts.get) seen.look().catch((error) => notice(error.message, true));
}

// ---- the screen

export const screen = {
  name: "objects",
  title: "Objects",
  open(main, path) {
    const list = h("nav", { class: "object-list", "aria-label": "Objects" });
    const place = h("div", {});
    main.append(h("div", { class: "objects" }, list, place));
    let wanted = path;
    this.go = (to) => {
      wanted = to; // somebody may go on before the contract is there
      if (!contract) return;
      const [name] = to;
      const chosen = contract.objects[name] ? name : contract.order[0];
      replace(list, contract.order.map((each) => h("a", { href: `#/objects/${each}`, "aria-current": each === chosen ? "page" : undefined }, each)));
      openObject(place, chosen);
    };
    const start = async () => {
      contract ??= await get("/api/contract");
      this.go(wanted);
    };
    start().catch((error) => replace(place, h("p", { class: "fault" }, error.message)));
  },
};
