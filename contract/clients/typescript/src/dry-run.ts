// SPDX-License-Identifier: MIT
// What a request would do, told without a router and from the contract alone. The same as the Python package's engine/dryrun.py, for
// requests that are objects of the app: an object has a key once, and a text is Unicode.

import { contract as document } from "./contract.js";

type Value = unknown;
interface Key {
  type: string | string[];
  bytes?: [number, number];
  range?: [number, number];
  least?: number;
  form?: string;
  loose?: true;
  counts?: string;
  keys?: Record<string, Key>;
  of?: Key;
  each?: Key[];
}
interface Step {
  when?: string;
  state?: string;
  sure?: string;
  unreachable?: string;
  refuse?: string;
  code?: number;
  cause?: string;
  done?: true;
  each?: string;
  steps?: Step[];
  write?: string | string[];
  commit?: true | "at once";
  restart?: string;
}
interface Side {
  keys: Record<string, Key>;
  value?: Key;
  steps: Step[];
}
interface Contract {
  order: string[];
  objects: Record<string, { get?: Side; set?: Side }>;
  request: Record<string, Key>;
  login: Record<string, Key>;
}
const contract = document as Contract;

/** One way in which a request can end. */
export interface Outcome {
  /** The reply's "action"; "error_request" for the reply without one, "" for no reply. */
  reply: string;
  code: number | string;
  text: string | undefined;
  /** The object that refused. */
  object: string;
  cause: string;
  /** What of the router's state leads to it; "" for the one without any. */
  state: string;
  writes: { item: string; state: string }[];
  committed: "" | "yes" | "at once";
  restarts: string[];
}

class Effects {
  constructor(
    readonly writes: { item: string; state: string }[] = [],
    public committed: Outcome["committed"] = "",
    readonly restart = new Set<string>(),
  ) {}
  copy(): Effects {
    return new Effects([...this.writes], this.committed, new Set(this.restart));
  }
  get restarts(): string[] {
    const first = ["all", "wifi", "lan", "wan"].find((each) => this.restart.has(each));
    return [...(first ? [first] : []), ...(this.restart.has("firewall") ? ["firewall"] : [])];
  }
}

function outcome(reply: string, parts: Partial<Outcome> = {}, effects = new Effects()): Outcome {
  const { writes, committed, restarts } = effects;
  return { reply, code: 0, text: undefined, object: "", cause: "", state: "", writes, committed, restarts, ...parts };
}

// ---- conditions

type Tree = ["and" | "or", Tree, Tree] | ["not", Tree] | ["test", string[], string, (string | number)[]];

const parsed = new Map<string, Tree>();

function parse(text: string): Tree {
  let tree = parsed.get(text);
  if (!tree) {
    const tokens: string[] = text.match(/[()]|"[^"]*"|[^\s()"]+/g) ?? [];
    let at = 0;
    const either = (): Tree => {
      let left = both();
      while (tokens[at] === "or") {
        ++at;
        left = ["or", left, both()];
      }
      return left;
    };
    const both = (): Tree => {
      let left = one();
      while (tokens[at] === "and") {
        ++at;
        left = ["and", left, one()];
      }
      return left;
    };
    const one = (): Tree => {
      const token = tokens[at++] ?? "";
      if (token === "not") return ["not", one()];
      if (token === "(") {
        const inner = either();
        ++at;
        return inner;
      }
      let paths = [token];
      if (tokens[at] === "(") {
        const end = tokens.indexOf(")", at);
        paths = tokens.slice(at + 1, end);
        at = end + 1;
      }
      const word = tokens[at++] ?? "";
      if (word === "=" || word === "!=") {
        const value = tokens[at++] ?? "";
        const test: Tree = ["test", paths, "=", [value.startsWith('"') ? value.slice(1, -1) : Number(value)]];
        return word === "=" ? test : ["not", test];
      }
      const count = { longer: 1, length: 1, outside: 2 }[word] ?? 0;
      at += count;
      return ["test", paths, word, tokens.slice(at - count, at).map(Number)];
    };
    tree = either();
    parsed.set(text, tree);
  }
  return tree;
}

// ---- values

const isObject = (value: Value): value is Record<string, Value> => typeof value === "object" && value !== null && !Array.isArray(value);
const lower = (text: string) => text.replace(/[A-Z]/g, (letter) => letter.toLowerCase());

function find(parent: Value, key: string): Value {
  return isObject(parent) ? Object.entries(parent).find(([name]) => lower(name) === lower(key))?.[1] : undefined;
}

const bounded = (number: number) => Math.max(-2147483648, Math.min(2147483647, Math.trunc(number)));
const integer = (value: Value) => (value === true ? 1 : typeof value === "number" ? bounded(value) : 0);
const signedByte = (number: number) => (number << 24) >> 24;
const length = (text: string) => new TextEncoder().encode(text).length;
// On the router a text ends at a zero byte.
const ended = (value: Value): Value => (typeof value === "string" ? value.split("\0")[0] : value);

function worth(value: Value, facts: Key): number {
  const isText = typeof value === "string" && [facts.type].flat().includes("string");
  const number = isText ? bounded(Number(/^[ \t\n\v\f\r]*([+-]?[0-9]+)/.exec(value)?.[1] ?? 0)) : integer(value);
  return facts.counts === "low byte" || (facts.counts && isText) ? signedByte(number) : number;
}

export function ipv4(text: Value): number[] | undefined {
  const parts = typeof text === "string" ? text.split(/[ \t\n\v\f\r]/)[0]!.split(".") : [];
  const numbers = parts.map((part) =>
    /^0[xX][0-9a-fA-F]+$/.test(part) ? parseInt(part, 16) : /^0[0-7]*$/.test(part) ? parseInt(part, 8) : /^[1-9][0-9]*$/.test(part) ? Number(part) : NaN,
  );
  const last = numbers.pop();
  if (last === undefined || numbers.length > 3 || Number.isNaN(last) || numbers.some((number) => !(number <= 255)) || last >= 256 ** (4 - numbers.length)) {
    return undefined;
  }
  const rest = Array.from({ length: 4 - numbers.length }, (_, at) => Math.floor(last / 256 ** (3 - numbers.length - at)) % 256);
  return [...numbers, ...rest];
}

const forms: Record<string, (text: string) => boolean> = {
  mac: (text) => /^[0-9a-fA-F]{12}$/.test(text),
  ipv4: (text) => ipv4(text) !== undefined,
  url: (text) => /^(http:|https:|ftp:)/.test(text),
  range: (text) => {
    const start = length(text.split("-")[0]!);
    const end = length(text) - start;
    return text.includes("-") && start >= 7 && start <= 15 && end >= 7 && end <= 15;
  },
};

function breaks(value: Value, facts: Key): boolean {
  const kinds = [facts.type].flat();
  if (value === undefined || (kinds.includes("string") && !kinds.includes("number") && typeof value !== "string")) return false;
  const outside = (number: number, [low, high]: [number, number]) => number < low || number > high;
  if (typeof value === "string" && facts.bytes && outside(length(value), facts.bytes)) return true;
  if (facts.range && kinds.includes("number") && outside(integer(value), facts.range)) return true;
  if (facts.least !== undefined && integer(value) < facts.least) return true;
  return typeof value === "string" && facts.form !== undefined && !facts.loose && !(forms[facts.form]?.(value) ?? true);
}

function poolIsUnfit(ip?: number[], mask?: number[], start?: number[], end?: number[]): boolean {
  if (!ip || !mask || !start || !end) return true;
  const number = (bytes: number[]) => bytes.reduce((sum, byte) => sum * 256 + byte, 0);
  const span = number(end) - number(start);
  const room = 0xffffffff - number([...mask].reverse()); // the last octet counts most, on purpose
  const inside = [start, end].every((address) => address.every((byte, at) => ((byte ^ ip[at]!) & mask[at]!) === 0));
  return span < 1 || room < span || !inside;
}

// ---- the steps of one object

interface Spot {
  it?: Value;
  items?: Value[];
  at?: number;
  facts?: Key | undefined;
}

class Walk {
  readonly ends: { step: Step; effects: Effects; state: string }[] = [];
  constructor(
    private readonly side: Side,
    private readonly value: Value,
    private readonly effects: Effects,
  ) {}

  /** True: the object has ended for certain. */
  run(steps: Step[], spot: Spot = {}): boolean {
    for (const step of steps) {
      if ((step.when && !this.holds(parse(step.when), spot)) || step.unreachable) continue;
      const state = step.state && step.sure && this.holds(parse(step.sure), spot) ? "" : step.state ?? "";
      if (step.refuse !== undefined || step.done) {
        this.ends.push({ step, effects: this.effects.copy(), state });
        if (!state) return true;
      } else if (step.each) {
        const items = find(this.value, step.each);
        const facts = this.side.keys[step.each]?.of;
        for (const [at, it] of (Array.isArray(items) ? items : []).entries()) {
          if (this.run(step.steps ?? [], { it: ended(it), items: items as Value[], at, facts })) return true;
        }
      } else {
        this.apply(step, state);
      }
    }
    return false;
  }

  private apply(step: Step, state: string): void {
    for (const item of step.write === undefined ? [] : [step.write].flat()) this.effects.writes.push({ item, state });
    if (step.commit) this.effects.committed = step.commit === "at once" ? "at once" : this.effects.committed || "yes";
    if (step.restart === "none") this.effects.restart.delete("all");
    else if (step.restart) this.effects.restart.add(step.restart);
  }

  private lookUp(path: string, { it, facts }: Spot): [Value, Key] {
    let words = path.split(".");
    let value: Value = this.value;
    let key: Key = { type: "object", keys: this.side.keys };
    if (words[0] === "value") return [this.value, this.side.value!];
    if (words[0] === "it") {
      value = it;
      key = facts!;
      words = words.slice(1);
    }
    for (const word of words) {
      if (/^\d+$/.test(word)) {
        key = key.each![Number(word)]!;
        value = Array.isArray(value) ? (value as Value[])[Number(word)] : undefined;
      } else {
        key = key.keys![word]!;
        value = find(value, word);
      }
    }
    return [ended(value), key];
  }

  private holds(tree: Tree, spot: Spot): boolean {
    if (tree[0] === "and") return this.holds(tree[1], spot) && this.holds(tree[2], spot);
    if (tree[0] === "or") return this.holds(tree[1], spot) || this.holds(tree[2], spot);
    if (tree[0] === "not") return !this.holds((tree as ["not", Tree])[1], spot);
    const [, paths, word, numbers] = tree as ["test", string[], string, (string | number)[]];
    if (word === "unfit") {
      const [ip, mask, start, end] = paths.map((path) => ipv4(this.lookUp(path, spot)[0]));
      return poolIsUnfit(ip, mask, start, end);
    }
    const [value, facts] = this.lookUp(paths[0]!, spot);
    const [first = 0, second = 0] = numbers as number[];
    switch (word) {
      case "given":
        return value !== undefined;
      case "there":
        return value !== undefined && value !== null;
      case "missing":
        return value === undefined;
      case "null":
        return value === null;
      case "text":
        return typeof value === "string";
      case "breaks":
        return breaks(value, facts);
      case "longer":
        return typeof value === "string" ? length(value) > first : Array.isArray(value) && value.length > first;
      case "length":
        return typeof value === "string" && length(value) === first;
      case "outside":
        return value !== undefined && (integer(value) < first || integer(value) > second);
      case "repeated":
        return typeof value === "string" && (spot.items ?? []).slice(spot.at! + 1).some((item) => Array.isArray(item) && ended(item[0]) === value);
      case "=":
        return typeof numbers[0] === "string" ? value === numbers[0] : worth(value, facts) === numbers[0];
    }
    throw new Error(`a condition of the contract says ${word}`);
  }
}

// ---- keys that nobody reads

/** The keys of a request that the router does not look at, as in `wifi.ssidd`, each with the one that was perhaps meant. */
export function unknownKeys(request: Record<string, unknown>): { key: string; meant: string | undefined }[] {
  const action = ended(find(request, "action"));
  const known: Record<string, Key> = { ...contract.request, ...(action === "login" && contract.login) };
  if (action === "get" || action === "set") {
    for (const [name, sides] of Object.entries(contract.objects)) known[name] = { type: "object", keys: sides[action]?.keys ?? {} };
  }
  return strangers(request, { type: "object", keys: known }, "");
}

function strangers(value: Value, { keys, of }: Key, path: string): { key: string; meant: string | undefined }[] {
  if (Array.isArray(value)) return of ? value.flatMap((each, at) => strangers(each, of, `${path}[${at}]`)) : [];
  if (!isObject(value) || !keys) return [];
  const names = new Map(Object.keys(keys).map((name) => [lower(name), name]));
  return Object.entries(value).flatMap(([key, member]) => {
    const where = path ? `${path}.${key}` : key;
    const name = names.get(lower(key));
    return name === undefined ? [{ key: where, meant: names.get(nearest(lower(key), [...names.keys()]) ?? "") }] : strangers(member, keys[name]!, where);
  });
}

/** The word that has most in common with another, if that is enough for it to be meant. */
function nearest(word: string, among: string[]): string | undefined {
  const letters = [...word];
  const ENOUGH = 0.6; // as Python's difflib has it, which script/dry-run asks
  const scored = among.map((each) => ({ each, score: (2 * common([...each], letters)) / (each.length + letters.length) }));
  scored.sort((a, b) => b.score - a.score || (a.each < b.each ? 1 : -1));
  return scored[0] && scored[0].score >= ENOUGH ? scored[0].each : undefined;
}

/** How many letters two words share: their longest common part, and what is common before and behind it. */
function common(a: string[], b: string[]): number {
  let [longest, endA, endB] = [0, 0, 0];
  let before: number[] = [];
  for (let i = 0; i < a.length; ++i) {
    const here: number[] = [];
    for (let j = 0; j < b.length; ++j) {
      here[j] = a[i] === b[j] ? (before[j - 1] ?? 0) + 1 : 0;
      if (here[j]! > longest) [longest, endA, endB] = [here[j]!, i + 1, j + 1];
    }
    before = here;
  }
  return longest && longest + common(a.slice(0, endA - longest), b.slice(0, endB - longest)) + common(a.slice(endA), b.slice(endB));
}

// ---- a whole request

/** All ways in which a request can end: the last needs nothing of the router, the others name the state that leads to them. */
export function dryRun(request: Record<string, unknown>): Outcome[] {
  const action = ended(find(request, "action"));
  if (action === undefined) return [outcome("error_request", { code: "-1", text: "error_request", cause: '"action" is missing' })];
  const ends = action === "scan" || action === "login" ? [] : [outcome("loginRsp", { code: 6, text: "need login", state: "there is no such session" })];
  if (typeof find(request, "ip") === "string") return [...ends, outcome("", { cause: '"ip" names another device' })];
  if (action === "scan") return [outcome("", { state: "the firmware information file is missing" }), outcome("scanRsp", { code: "0" })];
  if (action === "login") return login(find(request, "info"));
  if (action !== "get" && action !== "set") return [...ends, outcome("error_request", { code: "-1", text: "error_request", cause: '"action" is unknown' })];
  return [...ends, ...dispatch(request, action, contract.order, new Effects(), false)];
}

function login(info: Value): Outcome[] {
  const whole = typeof find(info, "user") === "string" && typeof find(info, "pwd") === "string";
  const cause = "name or password is missing or no string";
  const refused = outcome("loginRsp", { code: 7, text: "login fail", cause, state: whole ? "name or password is wrong" : "" });
  return whole ? [refused, outcome("loginRsp", { text: "login success" })] : [refused];
}

function dispatch(request: Value, action: "get" | "set", order: string[], effects: Effects, begun: boolean): Outcome[] {
  const reply = `${action}Rsp`;
  const ends: Outcome[] = [];
  let reached = begun;
  for (const [at, name] of order.entries()) {
    const value = ended(find(request, name));
    const sides = contract.objects[name]!;
    const side = sides[action];
    if (value === undefined || (action === "get" && !side)) continue;
    reached = true;
    if (!side) return [...ends, outcome(reply, { code: -1, text: "ERROR:not support set", object: name, cause: "it can only be read" }, effects)];
    const walk = new Walk(side, value, effects);
    const over = walk.run(side.steps);
    for (const { step, effects: done, state } of walk.ends) {
      if (step.refuse !== undefined) {
        ends.push(outcome(reply, { code: step.code ?? -1, text: step.refuse, object: name, cause: step.cause ?? "", state }, done));
        if (over && !state) return ends;
      } else if (state) {
        // The object ends well early; what other objects do comes behind it all the same.
        const rest = dispatch(request, action, order.slice(at + 1), done.copy(), true);
        ends.push(...rest.map((end) => ({ ...end, state: state + (end.state && `; ${end.state}`) })));
      }
    }
  }
  if (!reached) return [outcome(reply, { code: -1, text: "", cause: "no object is named that the router knows" })];
  return [...ends, outcome(reply, {}, effects)];
}
