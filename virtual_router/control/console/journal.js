// SPDX-License-Identifier: MIT
// The screen of the journal: a line for each request, as it comes, and one of them whole. Of the lines only those in sight are elements.

import * as command from "./command.js";
import { button, h, notice, replace } from "./dom.js";
import { Refused, ask, get } from "./port.js";

const ROW_PIXELS = 34;
const BEYOND = 8; // rows that are there above and below what is in sight
const MOST_LINES = 10000;
const FIRST_LINES = 200;
const TYPING_MILLISECONDS = 200;
const DEED_MILLISECONDS = 10000; // a restart's, on a busy machine
const AGAIN_MILLISECONDS = 1500;
// Events that only look, and what the request and the reply show anyway.
const LOOKS = new Set(["get", "entry", "read", "holds", "driver", "station", "arp", "neighbour", "address", "init"]);
const SHOWN_ELSEWHERE = new Set(["asked", "input", "reply"]);
const KINDS = {
  set: "change", add: "change", delete: "change", "delete-all": "change", commit: "change", save: "change", write: "change", remove: "change", queue: "tell", run: "run", begins: "run",
  output: "run", error: "bad", fault: "bad", exit: "end", debug: "debug",
};
const SHORT_DEED = 3; // lines that need no folding
const COPIES = { curl: "curl", typescript: "TypeScript", python: "Python", case: "case", step: "scenario step" };

const clock = (microseconds) => {
  const time = new Date(microseconds / 1000);
  return `${[time.getUTCHours(), time.getUTCMinutes(), time.getUTCSeconds()].map((part) => String(part).padStart(2, "0")).join(":")}.${String(time.getUTCMilliseconds()).padStart(3, "0")}`;
};
const duration = (microseconds) => (microseconds === null ? "–" : microseconds < 1e6 ? `${(microseconds / 1000).toFixed(1)} ms` : `${(microseconds / 1e6).toFixed(2)} s`);
const asked = (line) => line.action ?? line.asks ?? "?";
const phone = (line) => (line.port === "phone" ? "phone 1" : line.port ?? `${line.address ?? "?"} in ${line.router}`);
const isGood = (line) => line.verdict === "ok";
const badge = (line) => h("span", { class: `badge ${isGood(line) ? "good" : line.verdict === "under way" ? "" : "bad"}` }, line.verdict.trimEnd());

// ---- the list

const COLUMNS = ["No.", "Time (UTC)", "Phone", "Action", "Objects", "Duration", "Verdict"];
const cells = (line) => [String(line.number), clock(line.time), phone(line), asked(line), line.objects.join(", "), duration(line.duration), badge(line)];

class Lines {
  constructor(choose) {
    this.choose = choose;
    this.lines = [];
    this.at = 0; // the line that Tab leads to
    this.chosen = null;
    this.room = h("div", { class: "lines-room", role: "rowgroup" });
    this.box = h("div", { class: "lines-box" }, this.room);
    this.head = h("div", { role: "rowgroup" }, h("div", { class: "line line-head", role: "row", "aria-rowindex": "1" }, COLUMNS.map((name) => h("span", { role: "columnheader" }, name))));
    this.element = h("div", { class: "lines", role: "grid", "aria-label": "Requests, the last first", "aria-colcount": String(COLUMNS.length) }, this.head, this.box);
    this.box.addEventListener("scroll", () => this.draw(), { passive: true });
    this.element.addEventListener("keydown", (event) => this.key(event));
    new ResizeObserver(() => this.draw()).observe(this.box);
  }

  show(lines) {
    const number = this.lines[this.at]?.number;
    const before = this.lines.length;
    this.lines = lines;
    const found = number === undefined ? 0 : lines.findIndex((line) => line.number === number);
    this.at = Math.max(0, found);
    // Who reads further down is not moved by what comes on top.
    if (this.box.scrollTop > ROW_PIXELS && lines.length > before && before > 0) this.box.scrollTop += (lines.length - before) * ROW_PIXELS;
    this.drawn = null;
    this.draw();
  }

  draw() {
    const first = Math.max(0, Math.floor(this.box.scrollTop / ROW_PIXELS) - BEYOND);
    const last = Math.min(this.lines.length, Math.ceil((this.box.scrollTop + this.box.clientHeight) / ROW_PIXELS) + BEYOND);
    const drawn = `${first} ${last} ${this.chosen} ${this.at}`;
    if (drawn === this.drawn) return;
    this.drawn = drawn;
    const hadFocus = this.room.contains(document.activeElement);
    this.element.setAttribute("aria-rowcount", String(this.lines.length + 1));
    this.room.style.height = `${this.lines.length * ROW_PIXELS}px`;
    this.room.replaceChildren(...this.lines.slice(first, last).map((line, index) => this.row(line, first + index)));
    if (!this.room.querySelector("[tabindex='0']")) this.room.firstElementChild?.setAttribute("tabindex", "0");
    if (hadFocus) this.room.querySelector("[tabindex='0']")?.focus({ preventScroll: true });
  }

  row(line, at) {
    const row = h("div", {
      class: `line ${isGood(line) ? "" : "failed"} ${line.faults.length ? "faulty" : ""}`, role: "row", "aria-rowindex": String(at + 2), "aria-selected": String(line.number === this.chosen),
      tabindex: at === this.at ? "0" : "-1", onclick: () => this.open(at), onfocus: () => (this.at = at),
    }, cells(line).map((cell) => h("span", { role: "gridcell" }, cell)));
    row.style.top = `${at * ROW_PIXELS}px`;
    row.terminalLine = command.line("journal", line.number);
    return row;
  }

  open(at) {
    this.at = at;
    this.chosen = this.lines[at].number;
    this.draw();
    this.choose(this.chosen);
  }

  key(event) {
    if (this.lines.length === 0 || !this.room.contains(event.target)) return;
    const page = Math.max(1, Math.floor(this.box.clientHeight / ROW_PIXELS) - 1);
    const next = { ArrowDown: this.at + 1, ArrowUp: this.at - 1, PageDown: this.at + page, PageUp: this.at - page, Home: 0, End: this.lines.length - 1 }[event.key];
    if (next !== undefined) this.goTo(Math.max(0, Math.min(this.lines.length - 1, next)));
    else if (event.key === "Enter" || event.key === " ") this.open(this.at);
    else return;
    event.preventDefault();
  }

  goTo(at) {
    this.at = at;
    const top = at * ROW_PIXELS;
    if (top < this.box.scrollTop) this.box.scrollTop = top;
    else if (top + ROW_PIXELS > this.box.scrollTop + this.box.clientHeight) this.box.scrollTop = top + ROW_PIXELS - this.box.clientHeight;
    this.drawn = null;
    this.draw();
    this.room.querySelector("[tabindex='0']")?.focus({ preventScroll: true });
  }
}

// ---- one request whole

function pretty(text) {
  try {
    return JSON.stringify(JSON.parse(text), null, 2);
  } catch {
    return text || "(nothing)";
  }
}

/** Events in order; those that only look are folded where several follow each other, and so are lines of the debug log. */
function effects(events) {
  const groups = [];
  for (const event of events.filter((each) => !SHOWN_ELSEWHERE.has(each.word))) {
    const fold = event.word === "debug" ? "lines of the debug log" : LOOKS.has(event.word) && !("failed" in event.marks) ? "reads" : "";
    if (fold && groups.at(-1)?.fold === fold) groups.at(-1).events.push(event);
    else groups.push({ fold, events: [event] });
  }
  const line = (event) => h("li", { class: `event ${"failed" in event.marks ? "bad" : KINDS[event.word] ?? ""}` }, h("span", { class: "at" }, `${(event.at / 1000).toFixed(3)}`), change(event));
  return h("ol", { class: "event-list" }, groups.map(({ fold, events: inside }) =>
    fold && inside.length > 1 ? h("li", {}, h("details", {}, h("summary", {}, h("span", { class: "at" }, (inside[0].at / 1000).toFixed(3)), `${inside.length} ${fold}`), h("ol", { class: "event-list" }, inside.map(line)))) : inside.map(line)));
}

/** A write as from and to. */
function change(event) {
  if (event.word === "set" && "was" in event.marks && !("failed" in event.marks)) {
    return h("span", { class: "change" }, `set ${event.fields[0]}: `, h("del", {}, h("span", { class: "visually-hidden" }, "from "), event.marks.was.replaceAll("\\x20", " ")), " → ", h("ins", {}, h("span", { class: "visually-hidden" }, "to "), event.fields[1]));
  }
  const took = event.marks.took ? ` (${duration(Number(event.marks.took))})` : "";
  return h("span", { class: "change" }, event.text.replace(/^took=\d+ /, "") + took);
}

/** What the system daemon did for a record, folded: of a restart there are 40 lines. */
function deed({ title, lines, untold }) {
  const count = lines.length + untold;
  return [
    h("h3", {}, `What the system daemon did for ${title}`),
    count === 0 ? h("p", { class: "hint" }, "It printed nothing.") : h("details", { class: "deed", open: count <= SHORT_DEED }, h("summary", {}, `${count} ${count === 1 ? "line" : "lines"}`), h("pre", { class: "wire", tabindex: "0", "aria-label": title }, lines.join("\n"), untold > 0 && `\n(${untold} more)`)),
  ];
}

function whole(found) {
  const facts = [`from ${found.address ?? "?"}`, found.session && `session: ${found.session}`, found.http && `HTTP ${found.http}`, found.exit !== null && `exit status ${found.exit}`, found.replied !== null && `replied after ${duration(found.replied)}`, found.signal && `signal ${found.signal}`].filter(Boolean);
  const copies = h("div", { class: "copied", "aria-live": "polite" });
  const put = async (text) => {
    await command.copyText(text);
    replace(copies, h("p", { class: "hint" }, "Copied:"), h("pre", { class: "wire", tabindex: "0", "aria-label": "copied text" }, text));
  };
  return [
    h("div", { class: "card-head row" }, h("h2", {}, `${found.number}: ${asked(found)} ${found.objects.join(", ")}`), badge(found)),
    h("p", { class: "hint" }, `${clock(found.time)} · ${phone(found)} · ${duration(found.duration)} · ${facts.join(" · ")}`),
    found.faults.length > 0 && h("p", { class: "fault" }, `Faults meant for it: ${found.faults.join("; ")}`),
    h("div", { class: "row copies", role: "group", "aria-label": "Copy as" }, h("span", { class: "hint" }, "Copy as"),
      Object.entries(COPIES).map(([form, label]) => button(label, command.line("journal", found.number, "--as", form), async () => put((await get(`/api/journal/${found.number}/as/${form}`)).text), { "data-key": `copy-${form}` }))),
    copies,
    h("h3", {}, "Request"), h("pre", { class: "wire", tabindex: "0", "aria-label": "request" }, pretty(found.request.body), found.request.cut && "\n(cut)"),
    h("h3", {}, "What it did"), h("p", { class: "hint" }, "in milliseconds since it came"),
    found.events.length > 0 ? effects(found.events) : h("p", { class: "empty" }, "app.cgi told nothing: it was not asked."),
    found.untold && h("p", { class: "hint" }, "More was told than is kept."),
    found.deeds.map(deed),
    h("h3", {}, "Reply"), h("pre", { class: "wire", tabindex: "0", "aria-label": "reply" }, pretty(found.reply.body), found.reply.cut && "\n(cut)"),
  ];
}

// ---- the screen

function open(main, path) {
  const known = new Map(); // number -> line
  const chosenBy = { text: "", failed: false, phone: "", action: "", object: "" };
  let inBodies = null; // numbers in whose request or reply the text is
  let stream = null;
  let over = false;
  let timer = 0;
  let again = 0;
  let coming = 0; // earlier requests whose lines are still to come
  let due = false;
  const count = h("p", { role: "status" }, "…");
  const panel = h("section", { class: "card request", "aria-label": "One request" }, h("p", { class: "empty" }, "Choose a request: what was sent and answered, and what it did in between."));
  const lines = new Lines((number) => showOne(number).catch((error) => replace(panel, h("p", { class: "fault" }, error.message))));

  async function showOne(number) {
    history.replaceState(null, "", `#/journal/${number}`);
    await read(number);
    panel.scrollTop = 0;
  }

  let readings = 0;

  async function read(number) {
    const reading = ++readings;
    const found = await get(`/api/journal/${number}`);
    if (reading !== readings) return; // another was chosen meanwhile
    replace(panel, whole(found));
    clearTimeout(again);
    // What the daemon does for it may take a while; nothing is taken away under the hand.
    if (found.events.some((event) => event.word === "queue") && Date.now() - found.time / 1000 < DEED_MILLISECONDS) {
      again = setTimeout(() => !over && lines.chosen === number && !panel.contains(document.activeElement) && read(number).catch(() => {}), AGAIN_MILLISECONDS);
    }
  }

  const admits = (line) => (!chosenBy.failed || (!isGood(line) && line.verdict !== "under way")) && (!chosenBy.phone || phone(line) === chosenBy.phone) && (!chosenBy.action || line.action === chosenBy.action)
    && (!chosenBy.object || line.objects.includes(chosenBy.object)) && (!inBodies || inBodies.has(line.number));

  function show() {
    const all = [...known.values()].sort((one, other) => one.number - other.number); // they come as they end
    const found = all.filter(admits).reverse();
    lines.show(found);
    const rest = coming ? `; ${coming} earlier ones are being read` : known.gone ? `; ${known.gone} older ones have gone` : "";
    count.textContent = `${found.length === all.length ? all.length : `${found.length} of ${all.length}`} requests${rest}`;
    offer(phoneChoice, "phone", [...new Set(all.map(phone))], "every phone");
    offer(actionChoice, "action", [...new Set(all.map((line) => line.action).filter(Boolean))].sort(), "every action");
    offer(objectChoice, "object", [...new Set(all.flatMap((line) => line.objects))].sort(), "every object");
  }

  function soon() {
    if (due) return;
    due = true;
    requestAnimationFrame(() => {
      due = false;
      if (!over) show();
    });
  }

  function offer(choice, key, values, every) {
    if (choice.offered === values.join()) return;
    choice.offered = values.join();
    choice.replaceChildren(...["", ...values].map((value) => h("option", { value, selected: value === chosenBy[key] }, value || every)));
  }

  const choice = (key, label) => h("select", { "aria-label": label, onchange: (event) => {
    chosenBy[key] = event.target.value;
    show();
  } });
  const phoneChoice = choice("phone", "phone");
  const actionChoice = choice("action", "action");
  const objectChoice = choice("object", "object");
  const words = () => [...(chosenBy.text ? ["--text", chosenBy.text] : []), ...(chosenBy.failed ? ["--failed"] : []), ...(chosenBy.action ? ["--action", chosenBy.action] : []), ...(chosenBy.object ? ["--object", chosenBy.object] : []), ...(/^phone \d/.test(chosenBy.phone) ? ["--phone", chosenBy.phone.slice(6)] : [])];
  const search = h("input", { type: "search", "aria-label": "in the request or the reply", placeholder: "in the request or the reply", oninput: (event) => {
    chosenBy.text = event.target.value;
    clearTimeout(timer);
    timer = setTimeout(look, TYPING_MILLISECONDS);
  } });
  const failed = button("Failed only", () => command.line("journal", ...words(), ...(chosenBy.failed ? [] : ["--failed"])), () => {
    chosenBy.failed = !chosenBy.failed;
    failed.setAttribute("aria-pressed", String(chosenBy.failed));
    show();
  }, { "aria-pressed": "false" });
  const clear = button("Forget all", command.line("journal", "clear"), async () => {
    await ask("DELETE", "/api/journal");
    known.clear();
    known.gone = 0;
    show();
  }, { class: "danger" });
  const bar = h("div", { class: "row filters", role: "group", "aria-label": "Choose requests" }, search, phoneChoice, actionChoice, objectChoice, failed, clear);
  bar.terminalLine = () => command.line("journal", ...words());

  async function look() {
    try {
      const wanted = chosenBy.text;
      if (wanted) {
        const { requests } = await get(`/api/journal?text=${encodeURIComponent(wanted)}`);
        if (wanted === chosenBy.text) inBodies = new Set(requests.map((line) => line.number));
      } else inBodies = null;
      show();
    } catch (error) {
      notice(error.message, true);
    }
  }

  function keep(line) {
    known.delete(line.number);
    known.set(line.number, line);
    while (known.size > MOST_LINES) known.delete(known.keys().next().value);
  }

  function take({ requests, gone }, others) {
    const came = [...known.values()];
    known.clear();
    for (const line of [...requests, ...came]) keep(line);
    known.gone = gone;
    coming = others;
    if (!over) show();
  }

  async function start() {
    stream = new EventSource("/api/journal/follow");
    stream.addEventListener("request", (event) => {
      const line = JSON.parse(event.data);
      keep(line);
      if (inBodies && chosenBy.text) {
        clearTimeout(timer);
        timer = setTimeout(look, TYPING_MILLISECONDS);
      }
      soon();
    });
    // A line that nobody has listed yet has still to be made: the first ones are there before the others.
    const first = await get(`/api/journal?last=${FIRST_LINES}`);
    take(first, first.all - first.requests.length);
    if (coming > 0) take(await get("/api/journal"), 0);
    if (/^\d+$/.test(path[0] ?? "")) {
      lines.chosen = Number(path[0]);
      await showOne(lines.chosen);
    }
  }

  replace(main, h("div", { class: "stack journal" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Journal"), count)), bar, h("div", { class: "journal-pair" }, h("div", { class: "card lines-card" }, lines.element), panel)));
  start().catch((error) => {
    if (!(error instanceof Refused)) throw error;
    replace(panel, h("p", { class: "fault" }, error.message));
  });
  return () => {
    over = true;
    stream?.close();
    clearTimeout(timer);
    clearTimeout(again);
  };
}

export const screen = { name: "journal", title: "Journal", open, go() {} };
