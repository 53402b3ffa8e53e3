// SPDX-License-Identifier: MIT
// The page /docs: shows the description of the router's protocol or of the control port, and asks with the session of a login.
"use strict";

const NEED_LOGIN = 6;
const ofControl = location.pathname === "/docs/control";
const element = (id) => document.getElementById(id);
let session = null;

const tell = (text) => {
  element("session").textContent = text;
};

const router = () => `/api/phones/${element("phone").value}/app/app.cgi`;

async function logIn(event) {
  event.preventDefault();
  const info = { user: element("user").value, pwd: element("password").value };
  session = null;
  try {
    const reply = await fetch(router(), {
      method: "POST",
      headers: { "Content-Type": "application/json" },
      body: JSON.stringify({ action: "login", info }),
    });
    const answer = await reply.json();
    session = answer.info?.sessionid ?? null;
    tell(session ? `Logged in: ${session}` : `Not logged in: ${answer.result?.msg ?? answer.error?.message}`);
  } catch (error) {
    tell(`Not logged in: ${error.message}`);
  }
}

// The session that the page has takes the place of the one in an example.
function withSession(request) {
  if (ofControl || typeof request.body !== "string") {
    return request;
  }
  request.url = router();
  if (session) {
    try {
      const body = JSON.parse(request.body);
      if ("sessionid" in body || ["get", "set", "logout"].includes(body.action)) {
        request.body = JSON.stringify({ ...body, sessionid: session }, null, 2);
      }
    } catch {
      // What is no JSON goes out as it is: the router's answer to it is worth seeing.
    }
  }
  return request;
}

function heedEnd(response) {
  if (session && response.body?.result?.error === NEED_LOGIN) {
    session = null;
    tell("The session is over: somebody else has logged in, or the router has started anew.");
  }
  return response;
}

async function listPhones() {
  const status = await (await fetch("/api/status")).json();
  element("phone").replaceChildren(...Object.values(status.ports)
    .map((port) => /^phone(?: (\d+))?$/.exec(port.of))
    .filter(Boolean)
    .map((match) => new Option(match[1] ?? "1")));
}

document.querySelector(`nav a[href="${location.pathname}"]`)?.setAttribute("aria-current", "page");
element("login").hidden = ofControl;
element("login").addEventListener("submit", logIn);
listPhones();
SwaggerUIBundle({
  url: ofControl ? "/api/openapi.json" : "/docs/contract.json",
  domNode: element("viewer"),
  deepLinking: true,
  defaultModelsExpandDepth: 0,
  tryItOutEnabled: true,
  validatorUrl: null,
  requestInterceptor: withSession,
  responseInterceptor: heedEnd,
});
