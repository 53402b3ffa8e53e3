// SPDX-License-Identifier: MIT
// What can go wrong, as types.

import { causes } from "./types.js";

/** Of all errors that a Router throws. Those that the router's reply tells have `code`, its "error", `text`, its "msg", and `cause`. */
export class RouterError extends Error {
  override readonly name: string = "RouterError";
}

/** An object refused. `code` and `text` are the reply's "error" and "msg"; `cause` says why, where the message tells. */
export class Refused extends RouterError {
  override readonly name = "Refused";
  constructor(
    readonly action: "get" | "set",
    readonly code: number,
    readonly text: string,
    /** The object that refused; "" where the reply does not tell. */
    readonly object: string,
    readonly cause: string,
  ) {
    super(`${action}${object && ` ${object}`}: ${text.trim() || "refused without a message"}${cause && ` (${cause})`}`);
  }
}

/** Name or password is wrong. */
export class LoginRefused extends RouterError {
  override readonly name = "LoginRefused";
  readonly code = 7;
  readonly text = "login fail";
  readonly cause = causes["login  login fail"] ?? "";
  constructor() {
    super("login fail: name or password is wrong");
  }
}

/** The session is gone, and a new one did not last either, or was not to be made. */
export class SessionLost extends RouterError {
  override readonly name = "SessionLost";
  readonly code = 6;
  readonly text = "need login";
  readonly cause = causes["login  need login"] ?? "";
  constructor() {
    super("need login: the session has ended, and somebody else may have one");
  }
}

/** No reply came in time. The router may have done what it was asked for. */
export class TimedOut extends RouterError {
  override readonly name = "TimedOut";
  constructor(readonly milliseconds: number) {
    super(`no reply within ${milliseconds} ms`);
  }
}

/** The app cancelled. The router may have done what it was asked for. */
export class Cancelled extends RouterError {
  override readonly name = "Cancelled";
  constructor() {
    super("cancelled");
  }
}

/** The router could not be reached, or what came is no reply of it. */
export class NoReply extends RouterError {
  override readonly name = "NoReply";
  constructor(message: string, readonly cause?: unknown) {
    super(message);
  }
}
