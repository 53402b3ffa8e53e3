// SPDX-License-Identifier: MIT
// Values of a reply, shown with what the contract says they mean.

import { h } from "./dom.js";

const text = (value) => (typeof value === "string" ? JSON.stringify(value) : JSON.stringify(value));
const isObject = (value) => typeof value === "object" && value !== null && !Array.isArray(value);
const meaning = (value, facts) => facts?.values?.[String(value)];

function table(rows, columns, name) {
  return h("div", { class: "scroll", tabindex: "0", role: "region", "aria-label": name }, h("table", { class: "plain" },
    h("thead", {}, h("tr", {}, columns.map(({ name, facts }) => h("th", { scope: "col", title: facts?.is }, name)))),
    h("tbody", {}, rows.map((row) => h("tr", {}, columns.map(({ at }) => h("td", {}, isObject(row[at]) || Array.isArray(row[at]) ? h("code", {}, text(row[at])) : String(row[at] ?? ""))))))));
}

function shown(value, facts, name) {
  if (Array.isArray(value) && value.length > 0 && value.every(isObject)) {
    const names = [...new Set(value.flatMap(Object.keys))];
    return table(value, names.map((each) => ({ name: each, at: each, facts: facts?.of?.keys?.[each] })), name);
  }
  if (Array.isArray(value) && value.length > 0 && value.every(Array.isArray) && facts?.of?.each) {
    return table(value, facts.of.each.map((each, at) => ({ name: each.name, at, facts: each })), name);
  }
  if (Array.isArray(value)) return value.length === 0 ? h("span", { class: "quiet" }, "an empty list") : text(value).slice(1, -1).replaceAll(",", ", ");
  if (isObject(value)) return Object.keys(value).length === 0 ? h("span", { class: "quiet" }, "nothing") : values(value, facts?.keys ?? {});
  return text(value);
}

/** The members of an object as a list of terms. */
export function values(value, keys) {
  return h("dl", { class: "values" }, Object.entries(value).map(([name, each]) => {
    const facts = keys[name];
    const said = [meaning(each, facts), facts?.is, facts?.unit && `in ${facts.unit}`].filter(Boolean).join(" · ");
    return h("div", {}, h("dt", {}, name), h("dd", { class: "value" }, shown(each, facts, name)), said && h("dd", { class: "meaning" }, said));
  }));
}
