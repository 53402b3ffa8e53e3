// SPDX-License-Identifier: MIT
// The screen of the house: who is where, what is switched on, which sources of the router's knowledge are whole. It is looked at anew every
// two seconds while somebody sees it.

import * as command from "./command.js";
import { button, h, notice, regularly, replace } from "./dom.js";
import { Picture } from "./picture.js";
import { Refused, askRouter, get, post, session } from "./port.js";

const LOOK_MILLISECONDS = 2000;
const SOURCES = ["leases", "traffic", "speed", "port-status", "switch-arp", "topology", "internet", "uptime"];
const HOW = ["missing", "empty", "half", "long", "noise"];
const TABLE_REFUSES = "refuses";

const verb = (name, ...words) => post(`/api/home/${name}`, { words });
const line = (name, ...words) => command.line("home", name, ...words);
const rate = (bytes) => (bytes >= 1 << 20 ? `${(bytes / (1 << 20)).toFixed(1)} MiB/s` : `${Math.round(bytes / 1024)} KiB/s`);

// ---- switches

/** What is switched in the router's settings, and then put in force. */
const setting = (names, on) => ["sh", "-c", `${names.map((name) => `flash set ${name} ${on ? 0 : 1}`).join("; ")}; restart`];
const radio = (names) => ({
  act: (on) => post("/api/run", { command: setting(names, on) }),
  line: (on) => command.line("run", ...setting(names, on)),
});
const order = (name) => ({ act: (on) => verb(name, on ? "up" : "down"), line: (on) => line(name, on ? "up" : "down") });
const SWITCHES = [
  { key: "wan", label: "WAN cable", is: (home) => home.wan, ...order("wan") },
  { key: "internet", label: "Internet", is: (home) => home.internet, ...order("internet") },
  { key: "wlan0", label: "5 GHz", is: (home) => home.networks.wlan0?.on, ...radio(["WLAN0_DISABLED"]) },
  { key: "wlan1", label: "2.4 GHz", is: (home) => home.networks.wlan1?.on, ...radio(["WLAN1_DISABLED"]) },
  { key: "guests", label: "Guests", is: (home) => home.networks["wlan0-va1"]?.on || home.networks["wlan1-va1"]?.on, ...radio(["WLAN0_VA1_DISABLED", "WLAN1_VA1_DISABLED"]) },
  { key: "moving", label: "Moves by itself", is: (home) => home.moving, act: (on) => verb(on ? "move" : "still"), line: (on) => line(on ? "move" : "still") },
];

function switches(home, look) {
  return SWITCHES.map((each) => {
    const on = Boolean(each.is(home));
    return button(each.label, () => each.line(!on), async () => {
      await each.act(!on);
      await look();
    }, { role: "switch", "aria-checked": String(on), class: "switch", "data-key": `switch-${each.key}` });
  });
}

// ---- sources

function sources(home, look) {
  const names = [...Object.keys(home.networks), ...SOURCES];
  const broken = names.filter((name) => name in home.broken);
  return [
    h("div", { class: "card-head row" }, h("h2", {}, "What the router learns from"),
      h("span", { class: `badge ${broken.length ? "bad" : "good"}` }, broken.length ? `${broken.length} broken` : "all whole"),
      button("Mend all", line("mend"), async () => {
        await verb("mend");
        await look();
      }, { "data-key": "mend-all" })),
    h("div", { class: "sources" }, names.map((name) => {
      const how = home.broken[name] ?? "";
      const choice = h("select", { "aria-label": `source ${name}`, "data-key": `source-${name}`, class: how ? "broken" : "" },
        ["", ...HOW, ...(name in home.networks ? [TABLE_REFUSES] : [])].map((each) => h("option", { value: each, selected: each === how }, each || "whole")));
      choice.terminalLine = () => (choice.value ? line("break", name, choice.value) : line("mend", name));
      choice.addEventListener("change", async () => {
        try {
          await (choice.value ? verb("break", name, choice.value) : verb("mend", name));
        } catch (error) {
          notice(error.message, true);
        }
        await look();
      });
      return h("label", { class: "source" }, h("span", {}, name), choice);
    })),
  ];
}

// ---- a device

const blockRequest = (device, on) => {
  const mac = device.mac.replaceAll(":", "").toUpperCase();
  const change = on ? { addMaclist: [[mac, device.name.slice(0, 20), "", "1111111"]] } : { delMaclist: [mac] };
  return JSON.stringify({ action: "set", Sec: { macFiltering: 1, ...change }, ...(session.id ? { sessionid: session.id } : {}) });
};

async function block(device, on) {
  const { reply, text } = await askRouter(blockRequest(device, on));
  if (reply?.result?.error === 6) throw new Refused("Log in first: only an app with a session may change the filter.", "session", 200);
  if (reply?.result?.error !== 0) throw new Refused(reply?.result?.msg || text || "no reply", "router", 200);
  notice(on ? `${device.name} is blocked from the Internet.` : `${device.name} is let in again.`);
}

/** What is told of a device: two elements. */
function details(device) {
  const facts = [
    ["Address", device.address ?? "none"],
    ["MAC", device.mac],
    ["Is at", device.at],
    ["State", device.denied ? "blocked: what it sends to the WAN is dropped" : device.connected ? "connected" : `not connected${device.why ? `: ${device.why}` : ""}`],
    ["Signal", device.signal],
    ["Traffic", `${rate(device.down)} down, ${rate(device.up)} up`],
  ];
  return [
    h("div", { class: "card-head row" }, h("h2", {}, device.name), device.denied ? h("span", { class: "badge bad" }, "blocked") : h("span", { class: `badge ${device.connected ? "good" : "warn"}` }, device.connected ? "connected" : "not connected")),
    h("dl", { class: "facts" }, facts.filter(([, value]) => value !== null && value !== undefined).map(([term, value]) => h("div", {}, h("dt", {}, term), h("dd", {}, String(value))))),
  ];
}

/** What is done with it. */
function deeds(device, look, spots) {
  const place = h("select", { id: "spot", "data-key": "spot" }, spots.map(({ spot, title }) => h("option", { value: spot, selected: spot === device.at }, title)));
  return [
    h("label", { class: "field" }, "Bring to", place),
    h("div", { class: "row actions" },
      button("Bring it there", () => line("roam", device.name, place.value), async () => {
        await verb("roam", device.name, place.value);
        await look();
      }, { class: "primary", "data-key": "roam" }),
      button(device.denied ? "Let it in" : "Block it", () => command.api(session.path(), blockRequest(device, !device.denied)), async () => {
        await block(device, !device.denied);
        await look();
      }, { class: device.denied ? "" : "danger", "data-key": "block" })),
  ];
}

function asTable(home) {
  return h("div", { class: "scroll", tabindex: "0", role: "region", "aria-label": "Devices as a table" }, h("table", { class: "plain" },
    h("thead", {}, h("tr", {}, ["Device", "Address", "At", "State", "Signal", "Down", "Up"].map((name) => h("th", { scope: "col" }, name)))),
    h("tbody", {}, home.devices.map((each) => h("tr", {},
      [each.name, each.address ?? "–", each.at, each.denied ? "blocked" : each.connected ? "connected" : each.why ?? "not connected", each.signal ?? "–", rate(each.down), rate(each.up)].map((text) => h("td", {}, String(text))))))));
}

// ---- the screen

function open(main) {
  let chosen = null;
  let home = null;
  let over = false;
  let turn = 0;
  let before = ""; // the home for which it is told what happened
  const bar = h("div", { class: "row switches", role: "group", "aria-label": "Switches" });
  const about = h("p", {}, "…");
  const panel = h("section", { class: "card", "aria-label": "Device" });
  let told = []; // in it, of the chosen device
  const learnt = h("section", { class: "card", "aria-label": "What the router learns from" });
  const events = h("ol", { class: "events", tabindex: "0", "aria-label": "What happened, the last first" });
  const table = h("div", {});
  const tableBox = h("details", { class: "card", ontoggle: () => show() }, h("summary", {}, "The same as a table"), table);
  const picture = new Picture({
    choose(mac, byKey) {
      chosen = mac;
      show();
      if (byKey) panel.querySelector("select")?.focus();
    },
    async bring(device, spot) {
      try {
        await verb("roam", device.name, spot);
        notice(`${device.name} is at ${spot}.`);
      } catch (error) {
        notice(error.message, true);
      }
      await look();
    },
    line: (device, spot) => line("roam", device.name, spot ?? "SPOT"),
    tell: (device, spot) => command.show(line("roam", device.name, spot ?? "SPOT")),
  });
  const steps = button("Let a moment pass", line("step"), async () => {
    await verb("step");
    await look();
  });

  function show() {
    if (!home) return;
    const device = home.devices.find((each) => each.mac === chosen) ?? null;
    about.textContent = `${home.description} · step ${home.step}`;
    replace(bar, switches(home, look));
    picture.show(home, chosen);
    // What somebody is choosing from is not taken away under the hand.
    const of = `${chosen} ${device?.at} ${device?.denied}`;
    const old = told;
    told = device ? details(device) : [h("p", { class: "empty" }, "Choose a device in the picture: by a click, or with the arrow keys and Enter. Drag it to another place, or bring it there here.")];
    if (!panel.contains(document.activeElement) || panel.dataset.of !== of) replace(panel, told, device && deeds(device, look, picture.spots()));
    else old.forEach((element, at) => element.replaceWith(told[at]));
    panel.dataset.of = of;
    if (!learnt.contains(document.activeElement) || learnt.dataset.of !== JSON.stringify(home.broken)) replace(learnt, sources(home, look));
    learnt.dataset.of = JSON.stringify(home.broken);
    if (tableBox.open) replace(table, asTable(home));
  }

  async function look() {
    const mine = ++turn;
    try {
      const found = await get("/api/home");
      if (over || mine !== turn) return;
      if (!main.contains(whole)) replace(main, whole);
      home = found;
      show();
      // To ask a home is to start a program beside it, so what happened is asked for only when something has.
      const seen = JSON.stringify(home);
      if (seen === before) return;
      const happened = await verb("events", "12");
      if (over || mine !== turn) return;
      before = seen;
      replace(events, happened.text.split("\n").filter(Boolean).reverse().map((text) => h("li", {}, text)));
    } catch (error) {
      if (!(error instanceof Refused)) throw error;
      if (over || mine !== turn) return;
      if (home === null) replace(main, h("div", { class: "head" }, h("div", {}, h("h1", {}, "House"), h("p", { class: "empty" }, `${error.message}.`), h("p", {}, "script/server --home family puts a home around the router."))));
      else about.textContent = `As it was: ${error.message}`;
    }
  }

  const whole = h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "House"), about)),
    bar,
    h("div", { class: "house" },
      h("div", { class: "card house-picture" }, picture.element),
      h("div", { class: "stack" }, panel, h("section", { class: "card", "aria-label": "What happened" }, h("div", { class: "card-head row" }, h("h2", {}, "What happened"), steps), events))),
    learnt, tableBox);

  const stop = regularly(LOOK_MILLISECONDS, look);
  return () => {
    over = true;
    stop();
  };
}

export const screen = { name: "house", title: "House", open };
