// SPDX-License-Identifier: MIT
// What the contract says of a key, in words, and where a value does not keep to it. What the router makes of that tells the dry run.

const FORMS = {
  mac: ["12 hexadecimal digits", /^[0-9a-f]{12}$/i],
  "mac upper": ["12 hexadecimal digits, in upper case", /^[0-9A-F]{12}$/],
  "mac or empty": ["12 hexadecimal digits, or nothing", /^([0-9a-f]{12})?$/i],
  "mac with colons": ["a MAC address with colons", /^([0-9a-f]{2}:){5}[0-9a-f]{2}$/i],
  ipv4: ["an IPv4 address", /^(\d{1,3}\.){3}\d{1,3}$/],
  "ipv4 or empty": ["an IPv4 address, or nothing", /^((\d{1,3}\.){3}\d{1,3})?$/],
  range: ["two addresses, joined by “-”", /^[^-]{7,15}-.{6,14}$/],
  url: ["begins with http:, https: or ftp:", /^(http:|https:|ftp:)/],
  clock: ["HH:MM:SS", /^\d\d:\d\d:\d\d$/],
  week: ["seven digits 0 or 1, Sunday first", /^[01]{7}$/],
  number: ["a number as a text", /^\d+$/],
  decimal: ["a decimal number as a text", /^\d+(\.\d+)?$/],
  session: ["a session id", /^Us[0-9a-f]{32}$/],
};
const TYPES = { string: "text", number: "number", object: "object", array: "list", any: "anything" };

export const types = (facts) => [facts.type].flat();
const span = ([least, most], what) => (least === most ? `${least}${what}` : `${least} to ${most}${what}`);
const bytes = (text) => new TextEncoder().encode(text).length;
const plural = (count, what) => (count === 1 ? what.replace(/s$/, "") : what);

/** The limits in words: "text, 1 to 32 bytes". */
export function limits(facts) {
  return [
    types(facts).map((type) => TYPES[type]).join(" or "),
    facts.bytes && span(facts.bytes, plural(facts.bytes[1], " bytes")),
    facts.range && span(facts.range, ""),
    facts.least !== undefined && `from ${facts.least} on`,
    facts.form && FORMS[facts.form]?.[0],
    facts.entries && `at most ${facts.entries} entries`,
    facts.unit && `in ${facts.unit}`,
    facts.default !== undefined && `if missing: ${facts.default}`,
    facts.counts && `counts: ${facts.counts}`,
    facts.beyond && `beyond the limits: ${facts.beyond}`,
  ].filter(Boolean).join(", ");
}

const kindOf = (value) => (Array.isArray(value) ? "array" : value === null ? "null" : typeof value);

/** What is wrong with the value; "": nothing. */
export function fault(value, facts) {
  const kinds = types(facts);
  if (value === undefined || kinds.includes("any")) return "";
  if (!kinds.includes(kindOf(value))) return `This is ${{ null: "null", boolean: "true or false" }[kindOf(value)] ?? `a ${TYPES[kindOf(value)]}`}, not a ${kinds.map((kind) => TYPES[kind]).join(" or ")}.`;
  if (typeof value === "string") {
    if (facts.bytes && (bytes(value) < facts.bytes[0] || bytes(value) > facts.bytes[1])) return `It has ${bytes(value)} ${plural(bytes(value), "bytes")}; the limit is ${span(facts.bytes, "")}.`;
    if (facts.form && FORMS[facts.form] && !FORMS[facts.form][1].test(value)) return `It should be ${FORMS[facts.form][0]}.`;
  }
  if (typeof value === "number") {
    if (facts.range && (value < facts.range[0] || value > facts.range[1])) return `It should be ${span(facts.range, "")}.`;
    if (facts.least !== undefined && value < facts.least) return `It should be ${facts.least} or more.`;
  }
  if (facts.values && !facts.open && !(String(value) in facts.values)) return `It should be ${Object.keys(facts.values).join(" or ")}.`;
  if (Array.isArray(value) && facts.entries && value.length > facts.entries) return `It has ${value.length} entries; the limit is ${facts.entries}.`;
  return "";
}
