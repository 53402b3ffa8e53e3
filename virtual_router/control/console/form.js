// SPDX-License-Identifier: MIT
// Forms made from the contract. A field is {element, get, set, faults}: get() is the value, set(value) puts one in, faults() counts what is beyond
// the limits. A value of any kind can be put in, wrong ones too: what is wrong is said, and not prevented.

import { h, newId } from "./dom.js";
import { fault, limits, types } from "./limits.js";

const ANOTHER = "another value";

/** A text of an input as a value of the key's type where it is one, else as the text it is. */
function parsed(text, facts, wasText) {
  const kinds = types(facts);
  if (kinds.includes("any")) {
    try {
      return JSON.parse(text);
    } catch {
      return text;
    }
  }
  const isNumber = /^-?\d+(\.\d+)?$/.test(text.trim());
  return kinds.includes("number") && isNumber && !(wasText && kinds.includes("string")) ? Number(text) : text;
}

const shownText = (value) => (value === undefined ? "" : typeof value === "string" ? value : JSON.stringify(value));

function scalar(name, facts, changed) {
  const id = newId("value");
  let wasText = false;
  const input = h("input", { type: "text", id, autocomplete: "off", spellcheck: false, inputmode: types(facts).includes("number") ? "numeric" : "text" });
  const place = h("p", { class: "fault", id: `${id}-fault`, hidden: true });
  input.setAttribute("aria-describedby", `${id}-hint ${id}-fault`);
  const check = () => {
    const wrong = fault(field.get(), facts);
    place.textContent = wrong;
    place.hidden = !wrong;
    input.setAttribute("aria-invalid", String(Boolean(wrong)));
    choice?.setAttribute("aria-invalid", String(Boolean(wrong)));
  };
  const heard = () => {
    check();
    changed();
  };
  input.addEventListener("input", heard);
  let choice = null;
  if (facts.values) {
    const options = Object.entries(facts.values).map(([value, meaning]) => h("option", { value }, `${value} – ${meaning}`));
    choice = h("select", { id: `${id}-choice`, "aria-label": name }, options, h("option", { value: ANOTHER }, ANOTHER));
    choice.addEventListener("change", () => {
      input.hidden = choice.value !== ANOTHER;
      if (choice.value !== ANOTHER) input.value = choice.value;
      heard();
    });
  }
  const field = {
    id: choice ? `${id}-choice` : id,
    element: [choice, input, place],
    hintId: `${id}-hint`,
    get: () => parsed(input.value, facts, wasText),
    set(value) {
      wasText = typeof value === "string";
      input.value = shownText(value);
      if (choice) {
        choice.value = input.value in facts.values ? input.value : ANOTHER;
        input.hidden = choice.value !== ANOTHER;
      }
      check();
    },
    faults: () => (fault(field.get(), facts) ? 1 : 0),
    check,
  };
  if (choice) input.setAttribute("aria-label", `${name}, ${ANOTHER}`);
  field.set(choice ? Object.keys(facts.values)[0] : types(facts).includes("number") ? 0 : "");
  return field;
}

/** A key: it can be left out, and is sent as soon as it is changed. */
function key(name, facts, changed, level) {
  const id = newId("key");
  const box = h("input", { type: "checkbox", id, "aria-label": `send ${name}`, checked: facts.needed === true });
  const heard = () => {
    box.checked = true;
    row.classList.remove("absent");
    changed();
  };
  const field = make(name, facts, heard, level);
  const label = h(field.id ? "label" : "span", { class: "key-name", for: field.id || undefined }, name, facts.needed === true && h("span", { class: "badge accent" }, "needed"));
  const hint = h("p", { class: "hint", id: field.hintId || undefined }, [facts.is, limits(facts), typeof facts.needed === "string" && `needed ${facts.needed}`].filter(Boolean).join(" · "));
  const row = h("div", { class: "key" }, box, h("div", { class: "key-body" }, label, hint, field.element));
  row.classList.toggle("absent", !box.checked);
  box.addEventListener("change", () => {
    row.classList.toggle("absent", !box.checked);
    changed();
  });
  return {
    name,
    element: row,
    isSent: () => box.checked,
    get: () => field.get(),
    set(value, sent = true) {
      box.checked = sent;
      row.classList.toggle("absent", !sent);
      if (value !== undefined) field.set(value);
    },
    faults: () => (box.checked ? field.faults() : 0),
  };
}

function members(keys, changed, level) {
  const fields = Object.entries(keys).map(([name, facts]) => key(name, facts, changed, level));
  return {
    fields,
    element: h("div", { class: "keys" }, fields.map((field) => field.element)),
    get: () => Object.fromEntries(fields.filter((field) => field.isSent()).map((field) => [field.name, field.get()])),
    /** Keys that are not in the value are not sent; with `others` a value for those that are not. */
    set(value, others = {}) {
      for (const field of fields) {
        const own = value !== null && typeof value === "object" ? value[field.name] : undefined;
        field.set(own ?? others[field.name], own !== undefined);
      }
    },
    faults: () => fields.reduce((sum, field) => sum + field.faults(), 0),
  };
}

/** A list whose elements come and go. */
function list(name, of, changed, level) {
  const rows = h("div", {});
  let fields = [];
  const add = (value) => {
    const field = make(`${name} ${fields.length + 1}`, of, changed, level + 1);
    if (value !== undefined) field.set(value);
    const remove = h("button", { type: "button", class: "plain", "aria-label": `Take out ${name} ${fields.length + 1}`, onclick: () => {
      fields = fields.filter((other) => other !== field);
      box.remove();
      more.focus();
      changed();
    } }, "Take out");
    const box = h("div", { class: "element" }, h("div", { class: "row" }, h(field.id ? "label" : "span", { class: "hint", for: field.id || undefined }, of.is ?? name), remove), field.element);
    if (field.hintId) box.append(h("p", { class: "hint", id: field.hintId }, limits(of)));
    fields.push(field);
    rows.append(box);
    return box;
  };
  const more = h("button", { type: "button", class: "plain", onclick: () => {
    add().querySelector("input:not([type=checkbox]), select")?.focus();
    changed();
  } }, `Add to ${name}`);
  return {
    element: h("div", {}, rows, more),
    values: () => fields.map((field) => field.get()),
    fill(values) {
      fields = [];
      rows.replaceChildren();
      values.forEach(add);
    },
    faults: () => fields.reduce((sum, field) => sum + field.faults(), 0),
  };
}

function tuple(facts, changed, level) {
  const inner = members(Object.fromEntries(facts.each.map((each) => [each.name, each])), changed, level);
  return {
    ...inner,
    get() {
      const values = inner.fields.map((field) => (field.isSent() ? field.get() : null));
      while (values.length > 0 && values.at(-1) === null) values.pop();
      return values;
    },
    set: (value) => inner.fields.forEach((field, at) => field.set(value?.[at] ?? undefined, value?.[at] !== undefined)),
  };
}

/** A field for a value as `facts` of the contract describe it. */
export function make(name, facts, changed, level = 0) {
  const kinds = types(facts);
  if (facts.keys) return members(facts.keys, changed, level + 1);
  if (facts.each) return tuple(facts, changed, level + 1);
  if (facts.numbered) {
    const inner = list(name, facts.of, changed, level);
    return {
      ...inner,
      get: () => Object.fromEntries(inner.values().map((value, at) => [`${facts.numbered}${at + 1}`, value])),
      set: (value) => inner.fill(Object.values(value ?? {})),
    };
  }
  if (kinds.includes("array") && facts.of) {
    const inner = list(name, facts.of, changed, level);
    return { ...inner, get: inner.values, set: (value) => inner.fill(Array.isArray(value) ? value : []), faults: () => inner.faults() + (fault(inner.values(), facts) ? 1 : 0) };
  }
  return scalar(name, facts, changed);
}
