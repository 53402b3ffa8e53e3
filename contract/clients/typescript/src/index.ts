// SPDX-License-Identifier: MIT
// A client of the router's configuration endpoint. It needs fetch(), AbortController and timers, and nothing else.

import { Cancelled, LoginRefused, NoReply, Refused, RouterError, SessionLost, TimedOut } from "./errors.js";
import { causes, order } from "./types.js";
import type { DutInfo, LanStatus, Objects, Requests, Settings } from "./types.js";

export * from "./errors.js";
export type * from "./types.js";

export type Device = LanStatus["devlist"][number];

export interface Options {
  /** Of the endpoint: "http://192.168.1.1/app/app.cgi". */
  url: string;
  user?: string;
  password?: string;
  /** A session id from before; without it the first request logs in. */
  session?: string;
  /** Milliseconds for one request; 10000 if left out. */
  timeout?: number;
  /** Whether a lost session is replaced by a new one, once for a request; true if left out. */
  relogin?: boolean;
  /** Called when the session turned out to be lost: the router has one at a time, so as a rule somebody else logged in. */
  onSessionLost?: () => void;
  /** Called with every new session id, for those who keep it. */
  onSession?: (session: string) => void;
  /** In place of the global fetch(). */
  fetch?: typeof fetch;
}

export interface Call {
  /** Cancels the request. */
  signal?: AbortSignal;
  /** Milliseconds, in place of those of the Router. */
  timeout?: number;
}

export interface Change {
  devices: Device[];
  joined: Device[];
  left: Device[];
}

interface Reply {
  action?: string;
  result: { error: number | string; msg?: string };
  info?: { sessionid?: string };
  dutInfo?: DutInfo;
  [object: string]: unknown;
}

const NEED_LOGIN = 6;
const LOGIN_FAIL = 7;

export class Router {
  private session: string | undefined;
  // Counts the sessions: an id alone does not tell a new one from the one before, for two logins within a second give the same.
  private generation = 0;
  private loggingIn: Promise<void> | undefined;

  constructor(private readonly options: Options) {
    this.session = options.session;
  }

  /** What device this is; needs no session. */
  async scan(call: Call = {}): Promise<DutInfo> {
    const reply = await this.send({ action: "scan" }, call);
    if (!reply.dutInfo) {
      throw new NoReply("what came is no reply to a scan");
    }
    return reply.dutInfo;
  }

  /** Starts a session, which ends the router's one before. Who calls while a login is under way gets that one. */
  login(call: Call = {}): Promise<void> {
    this.loggingIn ??= this.startSession(call).finally(() => {
      this.loggingIn = undefined;
    });
    return this.loggingIn;
  }

  async logout(call: Call = {}): Promise<void> {
    if (this.session !== undefined) {
      await this.ask("set", { logout: 1 }, { ...call }, false);
      this.session = undefined;
    }
  }

  /** Reads objects: get("lan", "wifi"). */
  get<Name extends keyof Objects>(...names: Name[]): Promise<Pick<Objects, Name>> {
    return this.read(Object.fromEntries(names.map((name) => [name, {}])));
  }

  /** Reads objects that are told what is wanted of them: read({ netDig: { ping: { dst: "192.168.1.1" } } }). */
  async read<Wanted extends { [Name in keyof Objects]?: Name extends keyof Requests ? Requests[Name] : object }>(
    wanted: Wanted,
    call: Call = {},
  ): Promise<Pick<Objects, keyof Wanted & keyof Objects>> {
    return (await this.ask("get", wanted, call)) as unknown as Pick<Objects, keyof Wanted & keyof Objects>;
  }

  /** Changes objects. The first that refuses ends the request; those before it, in the router's order, are changed. */
  async set(settings: Partial<Settings>, call: Call = {}): Promise<void> {
    await this.ask("set", settings, call);
  }

  /** The devices of the LAN, again and again, and which have come and gone. */
  async *watchDevices({ interval = 5000, signal, timeout }: Call & { interval?: number } = {}): AsyncGenerator<Change, void> {
    let known = new Map<string, Device>();
    const call = { ...(signal && { signal }), ...(timeout !== undefined && { timeout }) };
    while (!signal?.aborted) {
      const { devlist } = (await this.read({ lanStatus: {} }, call)).lanStatus;
      const now = new Map(devlist.map((device) => [device.mac, device]));
      yield {
        devices: devlist,
        joined: devlist.filter((device) => !known.has(device.mac)),
        left: [...known.values()].filter((device) => !now.has(device.mac)),
      };
      known = now;
      await pause(interval, signal).catch(() => undefined);
    }
  }

  /** Starts pairing by push button, and waits for a status that `until` accepts; cancels the pairing when none comes. */
  async pair({
    until = (status: number) => status > 1,
    interval = 1000,
    patience = 120000,
    signal,
  }: { until?: (status: number) => boolean; interval?: number; patience?: number; signal?: AbortSignal } = {}): Promise<number> {
    const call = signal ? { signal } : {};
    const before = await this.pairingStatus(call);
    await this.set({ wps: { wpsbutton: 1 } }, call);
    const deadline = Date.now() + patience;
    let changed = false;
    try {
      while (Date.now() < deadline) {
        const status = await this.pairingStatus(call);
        changed ||= status !== before; // until the daemon has seen the button, the status is that of the last pairing
        if (changed && status !== undefined && until(status)) {
          return status;
        }
        await pause(interval, signal);
      }
      throw new TimedOut(patience);
    } catch (error) {
      await this.set({ wps: { wpsbutton: 0 } }).catch(() => undefined);
      throw error;
    }
  }

  /** Undefined while the pairing daemon has reported nothing, as before the first pairing: the router refuses to tell then. */
  private async pairingStatus(call: Call): Promise<number | undefined> {
    try {
      return (await this.read({ wps: {} }, call)).wps.status;
    } catch (error) {
      if (error instanceof Refused) {
        return undefined;
      }
      throw error;
    }
  }

  // ---- one request

  /** Asks with a session; when it is lost, once more with a new one. */
  private async ask(action: "get" | "set", objects: object, call: Call, again = this.options.relogin ?? true): Promise<Reply> {
    if (this.session === undefined) {
      await abortable(this.login(), call.signal);
    }
    const generation = this.generation;
    let reply = await this.send({ action, ...objects, sessionid: this.session }, call);
    if (reply.action === "loginRsp") {
      if (!again) {
        throw new SessionLost();
      }
      if (generation === this.generation && this.loggingIn === undefined) {
        this.options.onSessionLost?.();
      }
      // Somebody else's request may have found out and logged in already.
      if (generation === this.generation) {
        await abortable(this.login(), call.signal);
      }
      reply = await this.send({ action, ...objects, sessionid: this.session }, call);
      if (reply.action === "loginRsp") {
        throw new SessionLost();
      }
    }
    const { error, msg = "" } = reply.result;
    if (error !== 0) {
      throw refusal(action, Number(error), msg, Object.keys(objects), reply);
    }
    return reply;
  }

  private async startSession(call: Call): Promise<void> {
    const { user = "admin", password = "admin" } = this.options;
    const reply = await this.send({ action: "login", info: { user, pwd: password } }, call);
    if (reply.result.error === LOGIN_FAIL) {
      throw new LoginRefused();
    }
    const session = reply.info?.sessionid;
    if (reply.result.error !== 0 || session === undefined) {
      throw new NoReply("the router made no session");
    }
    this.session = session;
    ++this.generation;
    this.options.onSession?.(session);
  }

  private async send(request: object, { signal, timeout = this.options.timeout ?? 10000 }: Call): Promise<Reply> {
    if (signal?.aborted) {
      throw new Cancelled();
    }
    const abort = new AbortController();
    const cancel = () => abort.abort();
    let late = false;
    const timer = setTimeout(() => {
      late = true;
      abort.abort();
    }, timeout);
    signal?.addEventListener("abort", cancel);
    try {
      const response = await (this.options.fetch ?? fetch)(this.options.url, {
        method: "POST",
        body: JSON.stringify(request),
        signal: abort.signal,
      });
      return understand(await response.text(), response.status);
    } catch (error) {
      if (error instanceof RouterError) {
        throw error;
      }
      throw late ? new TimedOut(timeout) : signal?.aborted ? new Cancelled() : new NoReply(`the router can't be reached: ${String(error)}`, error);
    } finally {
      clearTimeout(timer);
      signal?.removeEventListener("abort", cancel);
    }
  }
}

function understand(text: string, status: number): Reply {
  try {
    const reply = JSON.parse(text) as Reply;
    if (reply?.result?.error !== undefined) {
      return reply;
    }
  } catch {
    // said below
  }
  throw new NoReply(text === "" ? `an empty reply, HTTP status ${status}` : `what came is no reply of the router, HTTP status ${status}`);
}

/** Which object refused and why. A set marks the objects that it reached; of a get the message tells. */
function refusal(action: "get" | "set", code: number, text: string, names: string[], reply: Reply): Refused {
  const asked = order.filter((name) => names.includes(name));
  const reached = asked.filter((name) => name in reply);
  const last = reached[reached.length - 1] ?? "";
  const object = action === "set" ? last : [last, ...asked].find((name) => `get ${name} ${text}` in causes) ?? "";
  return new Refused(action, code, text, object, causes[`${action} ${object} ${text}`] ?? "");
}

function pause(milliseconds: number, signal?: AbortSignal): Promise<void> {
  let timer: ReturnType<typeof setTimeout>;
  const wait = new Promise<void>((resolve) => {
    timer = setTimeout(resolve, milliseconds);
  });
  return abortable(wait, signal).finally(() => clearTimeout(timer));
}

/** The promise's result, or Cancelled as soon as the signal says so; what the promise stands for goes on. */
function abortable<Value>(promise: Promise<Value>, signal?: AbortSignal): Promise<Value> {
  if (!signal) {
    return promise;
  }
  return new Promise((resolve, reject) => {
    const cancel = () => reject(new Cancelled());
    if (signal.aborted) {
      promise.catch(() => undefined);
      cancel();
      return;
    }
    signal.addEventListener("abort", cancel);
    promise.then(resolve, reject).finally(() => signal.removeEventListener("abort", cancel));
  });
}
