// SPDX-License-Identifier: MIT
// The screen of the snapshots: all as it was, to be gone back to, and what has changed since.

import * as command from "./command.js";
import { button, h, notice, replace } from "./dom.js";
import { Refused, ask, get, post } from "./port.js";

const NOW = "";
const path = (name, rest = "") => `/api/snapshots/${encodeURIComponent(name)}${rest}`;
const size = (bytes) => `${(bytes / 1024).toFixed(0)} KiB`;
const shown = (value) => (value === null ? "not there" : typeof value === "string" ? value : JSON.stringify(value));

function two(changes) {
  return Object.entries(changes).map(([name, [before, after]]) => h("span", { class: "change" }, `${name}: `, h("del", {}, h("span", { class: "visually-hidden" }, "from "), shown(before)), " → ", h("ins", {}, h("span", { class: "visually-hidden" }, "to "), shown(after))));
}

function changes(found) {
  const rows = Object.entries(found.routers).flatMap(([name, router]) => {
    const of = Object.keys(found.routers).length > 1 ? `${name}: ` : "";
    return [
      [`${of}Settings`, two(router.settings)],
      [`${of}Committed`, two(router.committed)],
      [`${of}Session`, router.session === "same" ? [] : [router.session]],
      [`${of}Files`, Object.entries(router.files).map(([file, how]) => h("span", { class: "change" }, `${file}: ${how}`))],
      [`${of}Network`, router.network ? ["addresses or routes differ"] : []],
      [`${of}Rules`, router.rules ? ["rules of the firewall differ"] : []],
    ];
  });
  const [before, after] = found.faults ?? [[], []];
  rows.push(["Devices", two(found.home?.devices ?? {})], ["Home", two(found.home?.state ?? {})], ["Faults", before.join() === after.join() ? [] : two({ armed: [before.join("; ") || "none", after.join("; ") || "none"] })]);
  const some = rows.filter(([, what]) => what.length > 0);
  return [
    h("p", { class: "hint" }, `By the router's clock ${Math.round(found.clock)} s lie between them.`),
    some.length === 0 ? h("p", { class: "empty" }, "Nothing else has changed.") : h("dl", { class: "effects" }, some.map(([term, what]) => h("div", {}, h("dt", {}, term), h("dd", {}, what)))),
  ];
}

function open(main) {
  const list = h("div", {});
  const diff = h("section", { class: "card", "aria-label": "What has changed" });
  const name = h("input", { type: "text", value: "before", autocomplete: "off", spellcheck: false });
  const file = h("input", { type: "file", "aria-label": "snapshot file" });

  async function look() {
    const found = await get("/api/snapshots");
    const others = (one) => h("select", { "aria-label": `compare ${one} with`, "data-key": `with-${one}` }, [NOW, ...found.map((each) => each.name).filter((each) => each !== one)].map((value) => h("option", { value }, value || "now")));
    replace(list, found.length === 0 ? h("p", { class: "empty" }, "None is saved yet.") : h("ul", { class: "snapshots" }, found.map((each) => {
      const other = others(each.name);
      return h("li", {},
        h("div", {}, h("strong", {}, each.name), h("p", { class: "hint" }, `${new Date(each.saved * 1000).toISOString().slice(0, 19).replace("T", " ")} UTC · ${size(each.bytes)}`)),
        h("div", { class: "row" },
          button("Restore", command.line("snapshot", "restore", each.name), async () => {
            const { milliseconds } = await post(path(each.name, "/restore"));
            notice(`All is what it was, after ${milliseconds} ms.`);
          }, { class: "primary", "aria-label": `Restore ${each.name}`, "data-key": `restore-${each.name}` }),
          button("Compare with", () => command.line("snapshot", "diff", each.name, ...(other.value ? [other.value] : [])), async () => {
            const found = await get(path(each.name, `/diff${other.value ? `?with=${encodeURIComponent(other.value)}` : ""}`));
            replace(diff, h("h2", {}, `From ${each.name} to ${other.value || "now"}`), changes(found));
          }, { "aria-label": `Compare with ${each.name}`, "data-key": `diff-${each.name}` }), other,
          h("a", { href: path(each.name, "/file"), download: `${each.name}.snapshot`, "aria-label": `Download ${each.name}` }, "Download"),
          button("Remove", command.line("snapshot", "remove", each.name), async () => {
            await ask("DELETE", path(each.name));
            await look();
          }, { class: "danger", "aria-label": `Remove ${each.name}`, "data-key": `remove-${each.name}` })));
    })));
    for (const link of list.querySelectorAll("a")) link.terminalLine = command.line("snapshot", "export", link.download.replace(/\.snapshot$/, ""), link.download);
  }

  async function take() {
    const [chosen] = file.files;
    if (!chosen) throw new Refused("Choose a file first.", "file", 0);
    const answer = await fetch(path(chosen.name.replace(/\.[^.]*$/, "") || "taken"), { method: "PUT", headers: { "Content-Type": "application/octet-stream" }, body: chosen });
    if (!answer.ok) throw new Refused((await answer.json()).error.message, "file", answer.status);
    await look();
  }

  replace(main, h("div", { class: "stack" },
    h("div", { class: "head" }, h("div", {}, h("h1", {}, "Snapshots"), h("p", {}, "All as it is: both copies of the store, session, files, addresses, rules, the home and its chances, the clock. The running router is made the same again."))),
    h("section", { class: "card", "aria-label": "Save" }, h("h2", {}, "Save"), h("div", { class: "row grow" }, h("label", { class: "field" }, "Name", name),
      button("Save all as it is", () => command.line("snapshot", "save", name.value, "--replace"), async () => {
        await post(path(name.value), { replace: true });
        notice(`Saved as ${name.value}.`);
        await look();
      }, { class: "primary" }),
      h("label", { class: "field" }, "From a file", file), button("Take it", () => command.line("snapshot", "import", file.files[0]?.name ?? "FILE"), take))),
    h("div", { class: "pair" }, h("section", { class: "card", "aria-label": "Saved" }, h("h2", {}, "Saved"), list), diff)));
  replace(diff, h("h2", {}, "What has changed"), h("p", { class: "empty" }, "Compare a snapshot with now, or with another."));
  look().catch((error) => replace(list, h("p", { class: "fault" }, error.message)));
}

export const screen = { name: "snapshots", title: "Snapshots", open };
