// SPDX-License-Identifier: MIT
// Elements. Texts go in as texts only, so nothing that a router or a device says becomes part of the page.

const SVG = "http://www.w3.org/2000/svg";

function fill(element, properties, children) {
  for (const [name, value] of Object.entries(properties ?? {})) {
    if (value === undefined || value === null || value === false) continue;
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (name === "command") element.terminalLine = value;
    else if (name in element && !(element instanceof SVGElement) && typeof value !== "string") element[name] = value;
    else element.setAttribute(name === "className" ? "class" : name, value === true ? "" : value);
  }
  element.append(...children.flat(Infinity).filter((child) => child !== undefined && child !== null && child !== false));
  return element;
}

/** h("p", {class: "note", onclick: f}, "text", h("b")) */
export const h = (tag, properties, ...children) => fill(document.createElement(tag), properties, children);
export const svg = (tag, properties, ...children) => fill(document.createElementNS(SVG, tag), properties, children);

/** A button, and the script/router line that does the same: a text, or a function that gives it at this moment. */
export const button = (label, command, onclick, properties = {}) =>
  h("button", { type: "button", ...properties, command, onclick: async (event) => {
    const pressed = event.currentTarget;
    if (pressed.getAttribute("aria-disabled") === "true" || pressed.getAttribute("aria-busy") === "true") return;
    pressed.setAttribute("aria-busy", "true");
    try {
      await onclick(event);
    } catch (error) {
      notice(error.message, true);
      if (!error.refused) throw error;
    } finally {
      pressed.removeAttribute("aria-busy");
    }
  } }, label);

let number = 0;
/** A new id with this beginning. */
export const newId = (beginning) => `${beginning}-${++number}`;

export function notice(text, bad = false) {
  const line = h("p", { class: bad ? "notice bad" : "notice" }, text);
  document.getElementById("notices").append(line);
  setTimeout(() => line.remove(), bad ? 9000 : 4500);
}

/** A label with its control. */
export const field = (label, control) => h("label", { class: "field" }, label, control);

/** Gives the browser's user a text as a file. */
export function save(name, text) {
  const url = URL.createObjectURL(new Blob([text], { type: "application/octet-stream" }));
  h("a", { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}

/**
 * What takes its time and can be stopped: run(work) has work(signal) done, and a button appears beside what is shown. A stop is no error.
 */
export function stoppable() {
  let running = null;
  const element = h("button", { type: "button", class: "plain", hidden: true, onclick: () => running?.abort() }, "Stop");
  return {
    element,
    async run(work) {
      running = new AbortController();
      element.hidden = false;
      try {
        return await work(running.signal);
      } catch (error) {
        if (error.name !== "AbortError") throw error;
        return null;
      } finally {
        element.hidden = true;
        running = null;
      }
    },
    stop: () => running?.abort(),
  };
}

/**
 * Looks at once, and again every so often while somebody sees the page, until the function that comes back is called. `refused` hears of
 * refusals.
 */
export function regularly(milliseconds, look, refused) {
  let over = false;
  let timer = 0;
  const again = async () => {
    try {
      if (!document.hidden) await look();
    } catch (error) {
      if (!error.refused) throw error;
      if (!over) refused(error);
    }
    if (!over) timer = setTimeout(again, milliseconds);
  };
  again();
  return () => {
    over = true;
    clearTimeout(timer);
  };
}

/** Takes the place of what is in it, and leaves the focus where it was, if what had it is there again under the same "data-key". */
export function replace(parent, ...children) {
  const key = parent.contains(document.activeElement) ? document.activeElement.closest("[data-key]")?.getAttribute("data-key") : null;
  parent.replaceChildren(...children.flat(Infinity).filter(Boolean));
  if (key) [...parent.querySelectorAll("[data-key]")].find((element) => element.getAttribute("data-key") === key)?.focus();
}
