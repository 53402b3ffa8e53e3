// SPDX-License-Identifier: MIT
// A request of the journal as a step of a scenario, which is TOML.

/** A value as TOML has it within a line; it has no null, so what is null stays out. */
function toml(value) {
  if (Array.isArray(value)) return `[${value.filter((each) => each !== null).map(toml).join(", ")}]`;
  if (typeof value === "object") return `{ ${Object.entries(value).filter(([, each]) => each !== null).map(([key, each]) => `${/^[\w-]+$/.test(key) ? key : JSON.stringify(key)} = ${toml(each)}`).join(", ")} }`;
  return JSON.stringify(value).replaceAll("\x7f", "\\u007f");
}

/** The player of scenarios has a session of its own. Throws where a step cannot ask what was asked. */
export function step(found) {
  let body;
  try {
    body = JSON.parse(found.request.body);
  } catch {
    throw Object.assign(new Error("A step of a scenario asks what is JSON."), { refused: true });
  }
  const request = Object.fromEntries(Object.entries(body).filter(([key]) => key.toLowerCase() !== "sessionid"));
  const phone = /^phone (\d+)$/.exec(found.port ?? "");
  return [
    "[[step]]",
    `title = ${toml([found.action, ...found.objects].filter(Boolean).join(" ") || "a request")}`,
    ...(found.action === "login" && found.error === 0 ? ["login = true"] : [`ask = ${toml(request)}`]),
    ...(phone ? [`phone = ${phone[1]}`] : []),
    ...(found.error ? [`error = ${found.error}`] : []),
  ].join("\n") + "\n";
}
