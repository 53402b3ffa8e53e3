// SPDX-License-Identifier: MIT
// The house as a picture: rooms are the spots where a device can be. Devices glide when they move, and are dragged from room to room.

import { svg } from "./dom.js";

// By how wide the window is: measures, and how many rooms stand beside each other.
const WIDE = { width: 1000, margin: 36, gap: 14, bend: 350, orb: [458, 60, 25], attic: 0.61, ports: 4, guests: 4, agents: 4, beside: true };
const NARROW = { width: 380, margin: 10, gap: 8, bend: 290, orb: [338, 46, 17], attic: 0.36, ports: 2, guests: 1, agents: 2, beside: false };
const NARROW_PIXELS = 640;
const HEAD = 34;
const SKY = 128;
const ROOF = 92;
const DRAG_PIXELS = 5;
const MOST_TITLE = 34;
// How wide a letter is at most, on average.
const TITLE_LETTER = 8;
const NOTE_LETTER = 6.6;
// How much room a device takes, by how many there are.
const SIZES = [
  { most: 20, width: 94, height: 68, radius: 20, label: 14 },
  { most: 44, width: 76, height: 64, radius: 19, label: 11 },
  { most: 110, width: 54, height: 52, radius: 15, label: 8 },
  { most: Infinity, width: 29, height: 29, radius: 12.5, label: 0 },
];
const PORTS = ["port2", "port3", "port4", "port5"];
const BANDS = { "5g": "5 GHz", "2g": "2.4 GHz" };

// What a device looks like, by a word in its name; drawn in a square of 24.
const GLYPHS = [
  [/phone|pixel|galaxy/i, "M8.5 4.5h7a1.5 1.5 0 0 1 1.5 1.5v12a1.5 1.5 0 0 1-1.5 1.5h-7A1.5 1.5 0 0 1 7 18V6a1.5 1.5 0 0 1 1.5-1.5zM11 17h2"],
  [/tablet|pad|reader/i, "M6.5 4.5h11A1.5 1.5 0 0 1 19 6v12a1.5 1.5 0 0 1-1.5 1.5h-11A1.5 1.5 0 0 1 5 18V6a1.5 1.5 0 0 1 1.5-1.5zM11 17h2"],
  [/tv|television|beamer|stick/i, "M4 6h16v10H4zM9 19.5h6M12 16v3.5"],
  [/note|laptop|book|pc|desk|work/i, "M6 6.5h12v8H6zM3.5 17.5h17"],
  [/print/i, "M7.5 9V5h9v4M5.5 9h13v6.5h-2M7.5 15.5h-2M7.5 13h9v6h-9z"],
  [/cam|bell|door/i, "M4.5 8.5h3l1.5-2h6l1.5 2h3v9h-15zM12 15.5a2.6 2.6 0 1 0 0-5.2 2.6 2.6 0 0 0 0 5.2z"],
  [/radio|speaker|sound|music/i, "M6 8.5h12v9H6zM8 8.5 16 5M15 13.2a1.7 1.7 0 1 0 0-.01M8.5 11.5h2.5M8.5 14.5h2.5"],
  [/game|console|play/i, "M7.5 8.5h9a4 4 0 0 1 3.8 5l-.6 2.6c-.5 1.8-2.3 1.8-3.2.4l-1-1.5h-7l-1 1.5c-.9 1.4-2.7 1.4-3.2-.4l-.6-2.6a4 4 0 0 1 3.8-5zM8.5 10.5v3M7 12h3"],
  [/light|lamp|plug|heat|thermo|sensor|fridge|wash|oven|robot|clock/i, "M12 4.5a5 5 0 0 1 3 9c-.7.6-1 1.2-1 2h-4c0-.8-.3-1.4-1-2a5 5 0 0 1 3-9zM10 18.5h4"],
  [/nas|server|disk|store/i, "M5.5 6h13v5h-13zM5.5 13h13v5h-13zM8 8.5h.01M8 15.5h.01"],
  [/./, "M6 6.5h12v11H6zM9.5 10h5M9.5 14h5"],
];
const glyph = (name) => GLYPHS.find(([words]) => words.test(name))[1];
const cut = (text, most) => (text.length > most ? `${text.slice(0, most - 1)}…` : text);
const rate = (bytes) => `${Math.round(bytes / 1024)} KiB/s`;

/** Rooms, row by row: {spot, title, kind, note}. */
function plan(home, form) {
  const taken = new Set(home.devices.map((device) => device.at));
  const network = (spot, title, kind) => ({ spot, title, kind, note: home.networks[spot] ? (home.networks[spot].on ? home.networks[spot].ssid : "off") : "", off: !home.networks[spot]?.on });
  const guests = Object.keys(home.networks).filter((spot) => spot.includes("-") && (home.networks[spot].on || taken.has(spot)));
  const bandOf = (spot) => (spot.startsWith("wlan0") ? "5 GHz" : "2.4 GHz");
  const agents = home.agents.flatMap((agent) => Object.entries(BANDS).map(([band, title]) => ({ spot: `${agent.name}/${band}`, title: `${agent.name}, ${title}`, kind: "roomm", note: agent.address ? `by ${agent.via}` : "not there", off: !agent.address })));
  const [fast, slow, router] = [network("wlan0", "5 GHz", "room5"), network("wlan1", "2.4 GHz", "room2"), { kind: "router" }];
  return [
    ...(form.beside ? [[fast, router, slow]] : [[router], [fast], [slow]]),
    ...rowsOf(PORTS.map((spot) => ({ spot, title: spot.replace("port", "Port "), kind: "roomw", note: "" })), form.ports),
    ...rowsOf(guests.map((spot) => network(spot, `Guests, ${bandOf(spot)}`, "roomg")), form.guests),
    ...rowsOf(agents, form.agents),
  ];
}

function rowsOf(rooms, beside) {
  const rows = [];
  for (let at = 0; at < rooms.length; at += beside) rows.push(rooms.slice(at, at + beside));
  return rows;
}

const OUTSIDE = { spot: "away", title: "Away", kind: "away" };
const CELLAR = { spot: "unseen", title: "Somewhere: no source tells where", kind: "unseen" };

export class Picture {
  /** `heed`: {choose(mac, byKey), bring(device, spot), line(device, spot), tell(device, spot)}: line is for a shell, tell shows it. */
  constructor(heed) {
    this.heed = heed;
    this.nodes = new Map(); // MAC -> {node, device, x, y}
    this.rooms = [];
    this.scene = svg("g", {});
    this.devices = svg("g", {});
    this.element = svg("svg", { class: "picture", role: "group", "aria-label": "The house with its devices; arrow keys go from one to the next" }, this.scene, this.devices);
    new ResizeObserver(() => this.formOf() !== this.form && this.home && this.show(this.home, this.chosen)).observe(this.element);
    this.element.addEventListener("keydown", (event) => this.key(event));
    this.element.addEventListener("pointermove", (event) => this.drag(event));
    this.element.addEventListener("pointerup", (event) => this.drop(event));
    this.element.addEventListener("pointercancel", () => this.release());
  }

  /** All spots where a device can be. */
  spots() {
    const guests = this.home.networks ? Object.keys(this.home.networks).filter((spot) => spot.includes("-")) : [];
    const shown = this.rooms.map(({ spot, title, note }) => ({ spot, title: note && note !== "off" ? `${title} (${note})` : title }));
    return [...shown, ...guests.filter((spot) => !this.rooms.some((room) => room.spot === spot)).map((spot) => ({ spot, title: spot }))];
  }

  formOf() {
    const { width } = this.element.getBoundingClientRect();
    return width > 0 && width < NARROW_PIXELS ? NARROW : WIDE;
  }

  show(home, chosen) {
    this.form = this.formOf();
    this.home = home;
    this.chosen = chosen;
    this.size = SIZES.find((size) => home.devices.length <= size.most);
    const height = this.layOut();
    this.element.setAttribute("viewBox", `0 0 ${this.form.width} ${height}`);
    this.paint(height);
    this.place();
  }

  // ---- where everything is

  layOut() {
    const { home, size, form } = this;
    const { width: all, margin, gap } = form;
    const at = group(home.devices);
    const across = (room) => Math.max(1, Math.floor((room.width - 16) / size.width));
    const tall = (room) => HEAD + Math.max(1, Math.ceil((at.get(room.spot)?.length ?? 0) / across(room))) * size.height + 8;
    this.rooms = [];
    const put = (room, x, y, width) => {
      const placed = { ...room, x, y, width };
      placed.devices = at.get(room.spot) ?? [];
      placed.across = across(placed);
      placed.height = tall(placed);
      if (room.spot) this.rooms.push(placed);
      return placed;
    };
    const away = form.beside && put(OUTSIDE, 560, 14, all - 560 - margin);
    const sky = away ? Math.max(SKY, away.y + away.height + 14) : SKY;
    this.roofTop = sky - 6;
    let y = this.roofTop + ROOF;
    this.wallTop = y;
    y += 16;
    const inner = all - 2 * margin - 2 * gap;
    for (const row of plan(home, form)) {
      const hasRouter = row.some((room) => room.kind === "router");
      const width = (inner - gap * (row.length - 1)) / row.length;
      const placed = row.map((room, index) => put(room, margin + gap + index * (width + gap), y, width));
      const height = Math.max(hasRouter ? 132 : 0, ...placed.filter((room) => room.spot).map((room) => room.height));
      for (const room of placed) {
        room.height = height;
        if (!room.spot) this.router = room;
      }
      y += height + gap;
    }
    this.wallEnd = y;
    y += 16;
    const below = [CELLAR, ...(form.beside ? [] : [OUTSIDE])];
    for (const room of below) y += put(room, margin + gap, y, inner).height + 16;
    return y;
  }

  // ---- what stands still

  paint(height) {
    const { home, form } = this;
    const { width: all, margin } = form;
    const signature = JSON.stringify([all, height, this.rooms.map(({ devices, ...room }) => [room, devices.length]), home.wan, home.internet, home.broken]);
    if (signature === this.signature) return;
    this.signature = signature;
    const middle = all / 2;
    const ridge = all * 0.21;
    const slope = (part) => (1 - part) * (middle - ridge * 0.89 - margin);
    const router = { x: this.router.x + this.router.width / 2, y: this.router.y + this.router.height / 2 + 8 };
    const wall = { x: margin, y: this.wallTop, width: all - 2 * margin, height: this.wallEnd - this.wallTop };
    this.scene.replaceChildren(
      svg("rect", { class: "sky", width: all, height }),
      this.heaven(),
      svg("path", { class: "hill", d: `M0 ${this.wallEnd} V${this.wallEnd - 60} Q ${all * 0.16} ${this.wallEnd - 150} ${all * 0.33} ${this.wallEnd - 40} T ${all * 0.7} ${this.wallEnd - 80} T ${all} ${this.wallEnd - 50} V${this.wallEnd} Z` }),
      svg("rect", { class: "earth", y: this.wallEnd, width: all, height: height - this.wallEnd }),
      this.internet(),
      svg("rect", { class: "chimney", x: all * 0.745, y: this.roofTop + 8, width: 44, height: ROOF - 14 }),
      svg("rect", { class: "wall", ...wall, rx: 4 }),
      svg("path", { class: "roof", d: `M${margin - 24} ${this.wallTop + 2} L${middle - ridge} ${this.roofTop + 6} H${middle + ridge} L${all - margin + 24} ${this.wallTop + 2} Z` }),
      svg("path", { class: "tiles", d: [0.35, 0.68].map((part) => `M${margin - 24 + slope(part)} ${this.roofTop + 6 + part * (ROOF - 6)} H${all - margin + 24 - slope(part)}`).join(" ") }),
      this.attic(form.attic * all),
      ...this.rooms.map((room) => this.room(room)),
      this.cable(router),
      this.routerItself(router),
    );
  }

  /** A sun by day; a moon and stars where it is dark. */
  heaven() {
    const [x, y, radius] = this.form.orb;
    const stars = [[0.04, 30], [0.27, 22], [0.33, 108], [0.4, 40], [0.42, 104], [0.52, 26], [0.53, 92]];
    return svg("g", { class: "heaven", "aria-hidden": "true" },
      ...stars.map(([part, top], at) => svg("circle", { class: "star", cx: part * this.form.width, cy: top, r: at % 2 ? 1.2 : 1.8 })),
      svg("circle", { class: "glow", cx: x, cy: y, r: radius * 1.55 }), svg("circle", { class: "orb", cx: x, cy: y, r: radius }),
      svg("circle", { class: "shade", cx: x + radius * 0.45, cy: y - radius * 0.3, r: radius * 0.88 }));
  }

  attic(x) {
    const y = this.roofTop + ROOF * 0.5;
    return svg("g", { class: "attic", "aria-hidden": "true" }, svg("circle", { cx: x, cy: y, r: 19 }), svg("path", { d: `M${x - 19} ${y}h38M${x} ${y - 19}v38` }));
  }

  internet() {
    const { wan, internet } = this.home;
    return svg("g", { class: `cloud ${internet && wan ? "" : "gone"}` },
      svg("path", { d: "M96 100a30 30 0 0 1-2-60 40 40 0 0 1 76-12 28 28 0 0 1 44 20 26 26 0 0 1 0 52z" }),
      svg("text", { x: 152, y: 76, "text-anchor": "middle" }, "Internet"),
      svg("text", { class: "note", x: 152, y: 92, "text-anchor": "middle" }, internet ? "reached" : "not reached"));
  }

  cable(router) {
    const { wan } = this.home;
    const top = this.router.y - 8;
    const bend = this.roofTop + ROOF / 2 - 14;
    const turn = this.form.bend;
    const side = Math.sign(router.x - turn);
    return svg("g", { class: wan ? "cable" : "cable cut" },
      svg("path", { d: `M232 72 H${turn - 20} Q${turn} 72 ${turn} 92 V${bend} Q${turn} ${bend + 20} ${turn + side * 20} ${bend + 20} H${router.x - side * 20} Q${router.x} ${bend + 20} ${router.x} ${bend + 40} V${Math.max(top, bend + 44)} V${router.y - 18}` }),
      !wan && svg("path", { class: "cross", d: `M${turn - 62} 62l20 20M${turn - 42} 62l-20 20` }),
      svg("text", { class: "note", x: 238, y: 60 }, wan ? "WAN" : "WAN cut"));
  }

  routerItself({ x, y }) {
    const { networks } = this.home;
    const waves = (side, spot) => networks[spot]?.on && [16, 26, 36].map((radius, at) => svg("path", { class: `wave wave-${at} ${spot}`, d: `M${x + side * (62 + at * 10)} ${y - radius * 0.7} Q${x + side * (62 + at * 10 + radius * 0.5)} ${y} ${x + side * (62 + at * 10)} ${y + radius * 0.7}` }));
    const plugged = (port) => this.home.devices.some((device) => device.at === port && device.connected);
    return svg("g", { class: "router" }, ...(waves(-1, "wlan0") || []), ...(waves(1, "wlan1") || []),
      svg("path", { class: "antenna", d: `M${x - 40} ${y - 16}v-30M${x + 40} ${y - 16}v-30` }),
      svg("rect", { class: "body", x: x - 54, y: y - 18, width: 108, height: 36, rx: 9 }),
      svg("circle", { class: this.home.wan ? "led on" : "led", cx: x - 36, cy: y, r: 5 }),
      ...PORTS.map((port, at) => svg("rect", { class: plugged(port) ? "socket on" : "socket", x: x - 20 + at * 17, y: y - 6, width: 12, height: 12, rx: 2.5 })),
      svg("text", { x, y: y + 40, "text-anchor": "middle" }, "Router"));
  }

  room(room) {
    const broken = this.home.broken[room.spot];
    const title = cut(room.title, Math.min(Math.floor((room.width - 20) / TITLE_LETTER), MOST_TITLE));
    const left = Math.floor((room.width - 36 - title.length * TITLE_LETTER) / NOTE_LETTER);
    return svg("g", { class: `room ${room.kind} ${room.off ? "off" : ""} ${broken ? "broken" : ""}`, "data-spot": room.spot },
      svg("rect", { x: room.x, y: room.y, width: room.width, height: room.height, rx: 12 }),
      svg("text", { x: room.x + 14, y: room.y + 23 }, title),
      left > 4 && svg("text", { class: "note", x: room.x + room.width - 14, y: room.y + 23, "text-anchor": "end" }, cut(broken ? `table ${broken}` : room.note ? room.note : room.devices.length ? String(room.devices.length) : "", left)));
  }

  // ---- who comes and goes

  place() {
    const seen = new Set();
    this.order = [];
    for (const room of this.rooms) {
      const cell = (room.width - 16) / room.across;
      room.devices.forEach((device, at) => {
        seen.add(device.mac);
        this.order.push(device.mac);
        const x = room.x + 8 + ((at % room.across) + 0.5) * cell;
        const y = room.y + HEAD + Math.floor(at / room.across) * this.size.height + this.size.radius + 4;
        this.put(device, room, x, y);
      });
    }
    for (const [mac, { node }] of this.nodes) {
      if (seen.has(mac)) continue;
      node.remove();
      this.nodes.delete(mac);
    }
    if (!this.nodes.has(this.stop)) this.stop = this.order[0];
    for (const [mac, { button }] of this.nodes) button.setAttribute("tabindex", mac === this.stop ? "0" : "-1");
  }

  put(device, room, x, y) {
    let known = this.nodes.get(device.mac);
    const radius = this.size.radius;
    const look = `${device.name} ${radius}`;
    if (!known || known.look !== look) {
      known?.node.remove();
      // The label is no part of the button: it may be cut.
      const button = svg("g", { role: "button" },
        svg("title", {}, device.name),
        svg("circle", { class: "flow", r: radius + 2.5 }),
        svg("circle", { class: "disc", r: radius }),
        svg("path", { class: "glyph-path", d: glyph(device.name), transform: `scale(${radius / 16}) translate(-12 -12)` }),
        svg("path", { class: "barred", d: `M${-radius * 0.72} ${radius * 0.72}L${radius * 0.72} ${-radius * 0.72}` }),
      );
      const node = svg("g", { class: "spotted" }, button, this.size.label > 0 && svg("text", { "aria-hidden": "true", y: radius + 14, "text-anchor": "middle" }, cut(device.name, this.size.label)));
      button.addEventListener("pointerdown", (event) => this.take(event, device.mac));
      button.addEventListener("click", () => this.heed.choose(device.mac, false));
      button.addEventListener("focus", () => this.walkTo(device.mac, false));
      known = { node, button, look };
      this.nodes.set(device.mac, known);
      this.devices.append(node);
    }
    const { node, button } = known;
    known.device = device;
    button.terminalLine = () => this.heed.line(device, null);
    const state = device.denied ? "blocked" : device.connected ? "connected" : device.why ?? "not connected";
    const signal = device.signal === null || device.signal === undefined ? "" : `, signal ${device.signal}`;
    button.setAttribute("aria-label", `${device.name}, ${room.title}, ${state}${signal}, ${rate(device.down)} down`);
    button.setAttribute("aria-pressed", String(device.mac === this.chosen));
    button.setAttribute("class", `device ${device.connected ? "" : "lost"} ${device.denied ? "denied" : ""} ${device.mac === this.chosen ? "chosen" : ""} ${device.down + device.up > 0 ? "busy" : ""} strength-${strength(device.signal)}`);
    button.querySelector(".flow").style.strokeWidth = `${Math.min(5, Math.log2(1 + (device.down + device.up) / 32768))}`;
    if (this.held?.mac !== device.mac) node.style.transform = `translate(${x}px, ${y}px)`;
    known.x = x;
    known.y = y;
  }

  // ---- by keyboard

  walkTo(mac, focus = true) {
    const before = this.nodes.get(this.stop);
    before?.button.setAttribute("tabindex", "-1");
    this.stop = mac;
    const { button } = this.nodes.get(mac);
    button.setAttribute("tabindex", "0");
    if (focus) button.focus();
  }

  key(event) {
    const at = this.order.indexOf(this.stop);
    const next = { ArrowRight: at + 1, ArrowDown: at + 1, ArrowLeft: at - 1, ArrowUp: at - 1, Home: 0, End: this.order.length - 1 }[event.key];
    if (next !== undefined) this.walkTo(this.order[(next + this.order.length) % this.order.length]);
    else if (event.key === "Enter" || event.key === " ") this.heed.choose(this.stop, true);
    else return;
    event.preventDefault();
  }

  // ---- by hand

  point(event) {
    return new DOMPoint(event.clientX, event.clientY).matrixTransform(this.element.getScreenCTM().inverse());
  }

  roomAt({ x, y }) {
    return this.rooms.find((room) => x >= room.x && x <= room.x + room.width && y >= room.y && y <= room.y + room.height);
  }

  take(event, mac) {
    if (event.button !== 0) return;
    this.held = { mac, x: event.clientX, y: event.clientY, moved: false, id: event.pointerId };
  }

  drag(event) {
    if (!this.held) return;
    const { node, device } = this.nodes.get(this.held.mac) ?? {};
    if (!node) return this.release();
    if (!this.held.moved && Math.hypot(event.clientX - this.held.x, event.clientY - this.held.y) < DRAG_PIXELS) return;
    if (!this.held.moved) {
      this.held.moved = true;
      this.element.setPointerCapture(this.held.id);
      this.element.classList.add("dragging");
      node.classList.add("held");
      this.devices.append(node);
    }
    const at = this.point(event);
    node.style.transform = `translate(${at.x}px, ${at.y}px)`;
    const room = this.roomAt(at);
    for (const shown of this.scene.querySelectorAll(".room")) shown.classList.toggle("target", shown.dataset.spot === room?.spot && room.spot !== device.at);
    this.heed.tell(device, room?.spot);
  }

  drop(event) {
    if (!this.held) return;
    const { moved, mac } = this.held;
    const { device } = this.nodes.get(mac) ?? {};
    const room = this.roomAt(this.point(event));
    this.release();
    if (moved && device && room && room.spot !== device.at) this.heed.bring(device, room.spot);
  }

  release() {
    const known = this.nodes.get(this.held?.mac);
    this.held = null;
    this.element.classList.remove("dragging");
    for (const shown of this.scene.querySelectorAll(".target")) shown.classList.remove("target");
    known?.node.classList.remove("held");
    if (known) known.node.style.transform = `translate(${known.x}px, ${known.y}px)`;
  }
}

const strength = (signal) => (signal === null || signal === undefined ? 3 : signal >= 45 ? 3 : signal >= 28 ? 2 : 1);

function group(devices) {
  const found = new Map();
  for (const device of devices) found.set(device.at, [...(found.get(device.at) ?? []), device]);
  return found;
}
