// SPDX-License-Identifier: MIT
// Asking the control port, and by way of it the router as a phone does.

/** The port, or the router, has refused: the text is for people. */
export class Refused extends Error {
  constructor(message, code, status) {
    super(message);
    this.refused = true;
    this.code = code;
    this.status = status;
  }
}

/** What the port answers. A body that is a text is sent as it is. */
export async function ask(method, path, body, signal) {
  const request = { method, signal, headers: {} };
  if (body !== undefined) {
    request.headers["Content-Type"] = "application/json";
    request.body = typeof body === "string" ? body : JSON.stringify(body);
  }
  let answer;
  try {
    answer = await fetch(path, request);
  } catch (error) {
    if (error.name === "AbortError") throw error;
    throw new Refused("The control port does not answer: has script/server ended?", "gone", 0);
  }
  const text = await answer.text();
  let found = null;
  try {
    found = JSON.parse(text);
  } catch {
    if (answer.ok && answer.headers.get("Content-Type")?.startsWith("application/json")) throw new Refused("The reply is no JSON.", "reply", answer.status);
  }
  if (!answer.ok) throw new Refused(found?.error?.message ?? text.slice(0, 300), found?.error?.code ?? "http", answer.status);
  return found ?? text;
}

export const get = (path, signal) => ask("GET", path, undefined, signal);
export const post = (path, body = {}) => ask("POST", path, body);

/** Has `heed(event, what it says)` hear what comes of a request that takes its time, until the last of it. */
export async function follow(path, body, heed, signal) {
  const answer = await fetch(path, { method: "POST", signal, headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) });
  if (!answer.ok) {
    const { error } = await answer.json();
    throw new Refused(error.message, error.code, answer.status);
  }
  const reader = answer.body.pipeThrough(new TextDecoderStream()).getReader();
  let rest = "";
  for (let part = await reader.read(); !part.done; part = await reader.read()) {
    const blocks = (rest + part.value).split("\n\n");
    rest = blocks.pop();
    for (const block of blocks) {
      const [, event, data] = /^event: (.*)\ndata: (.*)$/s.exec(block) ?? [];
      if (event) heed(event, JSON.parse(data));
    }
  }
}

const NEED_LOGIN = 6;

/** The phone that asks and its session. Listeners hear of changes. */
export const session = {
  phone: sessionStorage.getItem("phone") ?? "1",
  id: sessionStorage.getItem("session"),
  why: "",
  listeners: new Set(),
  keep(id, why = "") {
    this.id = id;
    this.why = why;
    if (id) sessionStorage.setItem("session", id);
    else sessionStorage.removeItem("session");
    for (const listener of this.listeners) listener();
  },
  choose(phone) {
    this.phone = phone;
    sessionStorage.setItem("phone", phone);
    for (const listener of this.listeners) listener();
  },
  path() {
    return `/api/phones/${this.phone}/app/app.cgi`;
  },
};

/** What the router says to the phone's request, a text: {text, reply (null: no JSON), milliseconds}. */
export async function askRouter(body) {
  const begun = performance.now();
  const answer = await fetch(session.path(), { method: "POST", headers: { "Content-Type": "application/json" }, body });
  const text = await answer.text();
  const milliseconds = performance.now() - begun;
  let reply = null;
  try {
    reply = JSON.parse(text);
  } catch {
    // It is shown as it is.
  }
  if (reply?.error?.code && !answer.ok) throw new Refused(reply.error.message, reply.error.code, answer.status);
  if (session.id && reply?.result?.error === NEED_LOGIN) session.keep(null, "The session is over: somebody else has logged in, or the router has started anew.");
  return { text, reply, milliseconds, status: answer.status };
}

export const loginRequest = (user, pwd) => JSON.stringify({ action: "login", info: { user, pwd } });

export async function logIn(user, pwd) {
  const { reply, text } = await askRouter(loginRequest(user, pwd));
  const id = reply?.info?.sessionid ?? null;
  session.keep(id, id ? "" : `Not logged in: ${reply?.result?.msg ?? (text.slice(0, 80) || "no reply")}`);
  return id;
}
