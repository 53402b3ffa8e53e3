// SPDX-License-Identifier: MIT
// The frame around the screens: which one is shown, the router's state, the phone and its session, dark and light.

import * as command from "./command.js";
import { button, h, notice, replace } from "./dom.js";
import * as house from "./house.js";
import * as objects from "./objects.js";
import { Refused, get, logIn, loginRequest, post, session } from "./port.js";
import { screens as more } from "./screens.js";

const SCREENS = [objects.screen, house.screen, ...more];
const STATUS_SECONDS = 2;
const element = (id) => document.getElementById(id);

// ---- screens

let shown = null;
let leave = null;

function show() {
  const [name, ...path] = location.hash.slice(2).split("/").map(decodeURIComponent);
  const screen = SCREENS.find((each) => each.name === name) ?? SCREENS[0];
  for (const link of element("screens").querySelectorAll("a")) {
    if (link.dataset.name === screen.name) link.setAttribute("aria-current", "page");
    else link.removeAttribute("aria-current");
  }
  document.title = `${screen.title} – Virtual router`;
  if (shown === screen && screen.go) {
    screen.go(path);
    return;
  }
  leave?.();
  command.show("");
  shown = screen;
  element("main").replaceChildren();
  leave = screen.open(element("main"), path) ?? null;
}

function listScreens() {
  element("screens").replaceChildren(
    ...SCREENS.map((screen) => h("li", {}, h("a", { href: `#/${screen.name}`, "data-name": screen.name }, h("span", { class: `glyph glyph-${screen.name}`, "aria-hidden": "true" }), screen.title))),
  );
}

// ---- the router

const STATES = { up: "running", starting: "starting", off: "off", booting: "booting", gone: "not there" };

/** A banner on every screen while requests meet faults. */
function showFaults(faults) {
  const said = faults.join("; ");
  const banner = element("banner");
  if (banner.dataset.said === said) return;
  banner.dataset.said = said;
  banner.hidden = faults.length === 0;
  replace(banner, faults.length > 0 && ["Requests meet faults: ", h("code", {}, said), h("a", { href: "#/faults" }, "Faults")]);
}

async function watch() {
  let state = "gone";
  try {
    const status = await get("/api/status");
    state = status.router;
    command.setStateFolder(status.state);
    showFaults(status.faults);
    const phones = Object.values(status.ports).map((port) => /^phone(?: (\d+))?$/.exec(port.of)).filter(Boolean).map((match) => match[1] ?? "1");
    if (phones.join() !== known.phones.join()) {
      known.phones = phones;
      showSession();
    }
  } catch (error) {
    if (!(error instanceof Refused)) throw error;
    if (error.status === 401) state = "gone";
  } finally {
    element("state").textContent = STATES[state] ?? state;
    element("state").dataset.state = state;
    setTimeout(watch, STATUS_SECONDS * 1000);
  }
}

// ---- phone and session

// The sidebar is on each picture of the page; whoever has the whole id is let in.
const SHOWN_OF_ID = 8;
const known = { phones: ["1"], user: "admin", pwd: "admin" };

function showSession() {
  const place = element("session");
  const choice = h("select", { id: "phone", onchange: (event) => session.choose(event.target.value) }, known.phones.map((phone) => h("option", { value: phone, selected: phone === session.phone }, `Phone ${phone}`)));
  const field = (name, label, type) => h("label", { class: "field" }, label, h("input", { type, value: known[name], autocomplete: "off", "data-key": `session-${name}`, oninput: (event) => (known[name] = event.target.value) }));
  const login = button("Log in", () => command.api(session.path(), loginRequest(known.user, known.pwd)), async () => {
    if (await logIn(known.user, known.pwd)) notice("Logged in.");
  }, { class: "primary", "data-key": "session-login" });
  const out = button("Log out", () => command.api(session.path(), logoutRequest()), async () => {
    await post(session.path(), logoutRequest());
    session.keep(null, "Logged out.");
  }, { "data-key": "session-login" });
  replace(
    place,
    h("label", { class: "field" }, "Asks as", choice),
    session.id
      ? h("p", { class: "session held" }, h("span", { class: "dot good", "aria-hidden": "true" }), "Logged in", h("small", { title: "The id of the session, in part; the line of Log out has all of it" }, `${session.id.slice(0, SHOWN_OF_ID)}…`))
      : [h("p", { class: "session" }, h("span", { class: "dot", "aria-hidden": "true" }), session.why || "Not logged in"), field("user", "User", "text"), field("pwd", "Password", "password")],
    session.id ? out : login,
  );
}

const logoutRequest = () => JSON.stringify({ action: "set", logout: 1, sessionid: session.id });

// ---- dark and light

const THEMES = ["auto", "light", "dark"];
function applyTheme(theme) {
  if (theme === "auto") delete document.documentElement.dataset.theme;
  else document.documentElement.dataset.theme = theme;
  element("theme").textContent = { auto: "Colours: as the system", light: "Colours: light", dark: "Colours: dark" }[theme];
}
function turnTheme() {
  const next = THEMES[(THEMES.indexOf(localStorage.getItem("theme") ?? "auto") + 1) % THEMES.length];
  localStorage.setItem("theme", next);
  applyTheme(next);
}

async function showName() {
  try {
    const { output } = await post("/api/run", { command: ["flash", "get", "MIB_DUT_NAME"] });
    element("device-name").textContent = /^MIB_DUT_NAME=(.+)$/m.exec(output)?.[1] ?? "Virtual router";
  } catch {
    // It has none while it is away.
  }
}

applyTheme(localStorage.getItem("theme") ?? "auto");
element("theme").addEventListener("click", turnTheme);
command.begin();
listScreens();
session.listeners.add(showSession);
showSession();
addEventListener("hashchange", () => {
  show();
  element("main").focus({ preventScroll: true });
});
show();
watch();
showName();
