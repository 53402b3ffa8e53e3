// SPDX-License-Identifier: MIT
// The screen of the phones: who asks from where, who holds the one session that there is, and which requests are under way.

import * as command from "./command.js";
import { button, h, regularly, replace } from "./dom.js";
import { get, logIn, post, session } from "./port.js";

const LOOK_MILLISECONDS = 2000;
const SESSION_FILE = "/var/app_sessionid";
const numberOf = (port) => /^phone(?: (\d+))?$/.exec(port)?.[1] ?? (port === "phone" ? "1" : null);

/** Whose login is in force: the id in the router's session file, and the port of the last login that went well. */
async function holder(requests) {
  const { output } = await post("/api/run", { command: ["cat", SESSION_FILE] });
  const id = /sessionid=(Us[0-9a-f]+)/.exec(output)?.[1] ?? null;
  return { id, by: id ? requests.findLast((line) => line.session === "given")?.port ?? null : null };
}

function open(main) {
  const place = h("div", { class: "phone-cards" });
  const flight = h("section", { class: "card", "aria-label": "Requests under way" });
  const state = h("p", {}, "…");

  async function look() {
    const [status, journal] = await Promise.all([get("/api/status"), get("/api/journal?last=500")]);
    const held = await holder(journal.requests).catch(() => ({ id: null, by: null }));
    state.textContent = !held.id ? "Nobody holds the session." : held.id === session.id ? "The console holds the session." : held.by ? `${held.by === "phone" ? "Phone 1" : held.by} holds the session.` : "Somebody holds the session whose login is no longer in the journal.";
    const ports = Object.entries(status.ports).map(([port, about]) => ({ port, number: numberOf(about.of), ...about }));
    replace(place, ports.filter(({ number }) => number).map(({ port, of, number, open: answers }) => {
      const last = journal.requests.findLast((line) => line.port === of);
      const holds = held.id && held.by === of;
      const request = JSON.stringify({ action: "login", info: { user: "admin", pwd: "admin" } });
      return h("section", { class: `card phone-card ${holds ? "holds" : ""}`, "aria-label": `Phone ${number}` },
        h("div", { class: "card-head row" }, h("h2", {}, `Phone ${number}`), holds && h("span", { class: "badge good" }, "holds the session"), !answers && h("span", { class: "badge warn" }, "the router is away")),
        h("dl", { class: "facts" }, [["Address", status.phones[number] ?? "–"], ["Asks at", `127.0.0.1:${port}`], ["Last asked", last ? `${[last.action ?? last.asks, ...last.objects].join(" ")}: ${last.verdict.trimEnd()}` : "nothing yet"]].map(([term, value]) => h("div", {}, h("dt", {}, term), h("dd", {}, value)))),
        h("div", { class: "row" },
          button("Log in as admin", command.api(`/api/phones/${number}/app/app.cgi`, request), async () => {
            session.choose(number);
            await logIn("admin", "admin");
            await look();
          }, { "aria-label": `Log in as admin from phone ${number}`, "data-key": `login-${number}` })));
    }));
    replace(flight, h("h2", {}, "Under way"), status.requests.length === 0 ? h("p", { class: "empty" }, "No request is under way.") : h("ul", {}, status.requests.map((request) => h("li", {}, h("code", {}, `${request.request}`), ` at ${request.port}, for ${request.seconds.toFixed(1)} s`))));
  }

  replace(main, h("div", { class: "stack" }, h("div", { class: "head" }, h("div", {}, h("h1", {}, "Phones"), state)), place, flight, h("p", { class: "hint" }, "The router has one session: who logs in takes it from whoever had it. script/server --phones N starts with more phones.")));
  return regularly(LOOK_MILLISECONDS, look, (error) => {
    state.textContent = error.message;
  });
}

export const screen = { name: "phones", title: "Phones", open };
