// SPDX-License-Identifier: MIT
// The screen of the recordings: what an app and a router say to each other is written down, asked again, and made a home of.

import * as command from "./command.js";
import { button, field, h, notice, regularly, replace, save, stoppable } from "./dom.js";
import { Refused, follow, get, post, session } from "./port.js";

const LOOK_MILLISECONDS = 2000;
const BADGES = { same: "good", differs: "bad", "passed over": "warn" };
const what = ({ request }) => (request === null || typeof request !== "object" ? "what is no JSON" : [request.action, Object.keys(request).filter((key) => !["action", "sessionid", "info"].includes(key)).join(", ")].filter(Boolean).join(" "));

function open(main) {
  let since = null; // the number of the journal's last request when it began
  let name = "talk.json";
  let recording = null;
  const begun = h("p", { class: "hint", role: "status" });
  const buttons = h("div", { class: "row" });
  const place = h("div", { "aria-live": "off" });
  const told = h("p", { class: "hint", role: "status" });
  const file = h("input", { type: "file", accept: ".json" });
  const ignore = h("input", { type: "text", autocomplete: "off", spellcheck: false, placeholder: "name,sn" });
  const ignored = () => ignore.value.split(/[\s,]+/).filter(Boolean);
  const url = h("input", { type: "url", value: "http://192.168.1.1", autocomplete: "off", spellcheck: false });
  const port = h("input", { type: "number", value: "8081", min: "1024", max: "65535" });
  const stop = stoppable();

  // ---- this router

  function offer() {
    replace(buttons,
      since === null && button("Begin", command.line("journal", "--last", "1"), async () => {
        since = (await get("/api/status")).journal ?? 0;
        offer();
        await look();
      }, { class: "primary", "data-key": "record" }),
      since !== null && button("End, and keep it", () => command.line("record", "--since", since, "talk.json"), async () => {
        const found = await get(`/api/recording?since=${since}`);
        since = null;
        name = "talk.json";
        save(name, JSON.stringify(found, null, 1));
        offer();
        take(found);
        begun.textContent = `${found.exchanges.length} requests are written down.`;
      }, { class: "primary", "data-key": "record" }));
  }

  async function look() {
    if (since === null) return;
    const { journal } = await get("/api/status");
    begun.textContent = `Since request ${since}: ${(journal ?? since) - since} so far.`;
  }

  // ---- a recording

  function take(found) {
    recording = found;
    told.textContent = `${name}: ${found.exchanges.length} requests.`;
    list();
  }

  function list(verdicts = []) {
    replace(place, h("ol", { class: "steps" }, recording.exchanges.map((exchange, at) => {
      const verdict = verdicts[at];
      return h("li", {}, verdict ? h("span", { class: `badge ${BADGES[verdict.verdict]}` }, verdict.verdict) : h("span", { class: "badge" }, exchange.status ? `HTTP ${exchange.status}` : "no reply"), h("span", {}, what(exchange)),
        verdict?.differences.length > 0 && h("ul", { class: "misses" }, verdict.differences.map((each) => h("li", {}, each))));
    })));
  }

  function needed() {
    if (!recording) throw new Refused("Choose a recording first, or record this router.", "file", 0);
    return recording;
  }

  file.addEventListener("change", async () => {
    const [chosen] = file.files;
    if (!chosen) return;
    try {
      const found = JSON.parse(await chosen.text());
      if (!Array.isArray(found?.exchanges)) throw new SyntaxError("no exchanges");
      name = chosen.name;
      take(found);
    } catch {
      notice(`${chosen.name} is no recording.`, true);
    }
  });

  const replay = button("Ask this router the same", () => command.line("replay", "--phone", session.phone, ...(ignored().length ? ["--ignore", ignored().join(",")] : []), name), async () => {
    const verdicts = [];
    const body = { recording: needed(), phone: Number(session.phone), ignore: ignored() };
    let end = null;
    await stop.run((signal) => follow("/api/recording/replay", body, (event, each) => {
      if (event === "end") end = each;
      else verdicts.push(each);
      list(verdicts);
      told.textContent = `${verdicts.length} of ${recording.exchanges.length} asked`;
    }, signal));
    told.textContent = end ? `${end.passed} ${end.passed === 1 ? "reply is" : "replies are"} the same, ${end.failed} ${end.failed === 1 ? "differs" : "differ"}.` : "It was stopped.";
  }, { class: "primary" });
  const home = button("Make a home of it", () => `${command.line("recording", "home", name)} >home.json`, async () => {
    const { home: found, left_out: leftOut } = await post("/api/recording/home", { recording: needed() });
    save("home.json", JSON.stringify(found, null, 2));
    told.textContent = `A home of ${found.devices.length} devices: script/server --home ./home.json starts with it.`;
    replace(place, leftOut.length > 0 && h("h3", {}, "Not in it"), h("ul", { class: "misses" }, leftOut.map((each) => h("li", {}, each))));
  });

  // ---- any router

  const proxyLine = () => command.line("record", "--to", url.value, ...(port.value === "8081" ? [] : ["--port", port.value]), "talk.json");
  const copy = button("Copy the line", proxyLine, async () => {
    await command.copyText(proxyLine());
    notice("Copied: paste it into a terminal.");
  });

  offer();
  replace(place, h("p", { class: "empty" }, "None is here yet."));
  replace(main, h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Recordings"), h("p", {}, "What an app and a router say to each other, with names, keys, passwords, numbers and addresses masked."))),
    h("div", { class: "pair" },
      h("section", { class: "card", "aria-label": "This router" }, h("h2", {}, "Record this router"), h("p", {}, "Begin, use the app, and end."), h("div", { class: "sends" }, buttons, begun)),
      h("section", { class: "card", "aria-label": "Any router" }, h("h2", {}, "Record any router"), h("p", {}, "A proxy passes on what an app asks. It reaches your network, so it is started in a terminal, and not from a page."),
        h("div", { class: "fields" }, field("The router", url), field("The app asks at port", port)), h("div", { class: "sends" }, copy))),
    h("section", { class: "card", "aria-label": "A recording" }, h("h2", {}, "A recording"),
      h("div", { class: "row grow" }, field("From a file", file), field("Keys that may differ", ignore)), h("div", { class: "sends" }, replay, home, stop.element), told, place)));
  const rest = regularly(LOOK_MILLISECONDS, look, (error) => {
    begun.textContent = error.message;
  });
  return () => {
    rest();
    stop.stop();
  };
}

export const screen = { name: "recordings", title: "Recordings", open };
