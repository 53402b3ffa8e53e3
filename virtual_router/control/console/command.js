// SPDX-License-Identifier: MIT
// The script/router line that does what a button does: quoted for a shell, and shown for whatever has the focus or the pointer.

const quoted = (word) => (/^[\w@%+=:,./-]+$/.test(word) ? word : `'${word.replaceAll("'", `'\\''`)}'`);

/** A line for a shell; the state folder is named where it is not the usual one. */
export const line = (...words) => ["script/router", ...where, ...words.map(String).map(quoted)].join(" ");
export const api = (path, body) => line("api", path, ...(body === undefined ? [] : [typeof body === "string" ? body : JSON.stringify(body)]));

let where = [];
export function setStateFolder(path) {
  where = path && !path.endsWith("/.router") ? ["--state", path] : [];
}

const IDLE = "Point at a button, or reach it with Tab: here stands the line that does the same.";
let shown = "";

function commandOf(target) {
  for (let element = target; element; element = element.parentElement) {
    if (element.terminalLine) return typeof element.terminalLine === "function" ? element.terminalLine() : element.terminalLine;
  }
  return null;
}

/** Shows a line; "" for none. */
export function show(text) {
  shown = text;
  const place = document.getElementById("terminal");
  place.textContent = shown || IDLE;
  place.classList.toggle("idle", !shown);
  document.getElementById("terminal-copy").setAttribute("aria-disabled", String(!shown));
}

export function begin() {
  const copy = document.getElementById("terminal-copy");
  const look = (event) => {
    const found = commandOf(event.target);
    if (found) show(found);
  };
  for (const kind of ["focusin", "input", "change"]) document.addEventListener(kind, look);
  // What moves below a pointer that rests is not pointed at.
  let [x, y] = [-1, -1];
  document.addEventListener("pointerover", (event) => {
    if (event.clientX !== x || event.clientY !== y) look(event);
    [x, y] = [event.clientX, event.clientY];
  });
  copy.addEventListener("click", async () => {
    if (!shown) return;
    await copyText(shown);
    copy.textContent = "Copied";
    setTimeout(() => (copy.textContent = "Copy"), 1500);
  });
  show("");
}

export async function copyText(text) {
  try {
    await navigator.clipboard.writeText(text);
  } catch {
    // Without the right to the clipboard the old way is left.
    const area = document.createElement("textarea");
    area.value = text;
    document.body.append(area);
    area.select();
    document.execCommand("copy");
    area.remove();
  }
}
