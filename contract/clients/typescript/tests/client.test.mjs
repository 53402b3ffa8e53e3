// SPDX-License-Identifier: MIT
// The client against servers that do what a router seldom does, and against a router: ROUTER_URL names one.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createServer } from "node:http";
import { test } from "node:test";
import { Cancelled, LoginRefused, NoReply, Refused, Router, SessionLost, TimedOut } from "../dist/index.js";

/** A server with one session at a time; `answer` gives the objects of a reply, or a whole text. */
async function fake(answer, work) {
  const state = { session: undefined, logins: 0, requests: [], user: "admin" };
  const server = createServer(async (request, response) => {
    let body = "";
    for await (const part of request) body += part;
    const asked = JSON.parse(body);
    state.requests.push(asked);
    const reply = (document) => response.end(JSON.stringify(document));
    if (asked.action === "login") {
      state.logins += 1;
      await state.beforeLogin?.();
      if (asked.info.user !== state.user) return reply({ info: {}, action: "loginRsp", result: { error: 7, msg: "login fail" } });
      state.session = state.nextSession ?? `Us${String(state.logins).padStart(32, "0")}`;
      reply({ info: { sessionid: state.session }, action: "loginRsp", result: { error: 0, msg: "login success" } });
      if (state.stolen) state.session = "stolen";
    } else if (asked.sessionid !== state.session || state.session === undefined) {
      reply({ action: "loginRsp", result: { error: 6, msg: "need login" } });
    } else {
      const made = answer(asked, state, response);
      if (typeof made === "string") response.end(made);
      else if (made) reply({ action: `${asked.action}Rsp`, result: { error: 0 }, ...made });
    }
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  try {
    await work(`http://127.0.0.1:${server.address().port}/app/app.cgi`, state);
  } finally {
    server.closeAllConnections?.();
    server.close();
  }
}

const app = () => ({ app: { port: 1, ticktime: 2 } });

test("logs in by itself, once for many", () =>
  fake(app, async (url, state) => {
    const router = new Router({ url });
    const replies = await Promise.all(Array.from({ length: 10 }, () => router.get("app")));
    assert.deepEqual(replies.map((reply) => reply.app.port), Array(10).fill(1));
    assert.equal(state.logins, 1);
  }));

test("replaces a lost session once, and tells so once", () =>
  fake(app, async (url, state) => {
    let told = 0;
    const kept = [];
    const router = new Router({ url, onSessionLost: () => (told += 1), onSession: (session) => kept.push(session) });
    await router.get("app");
    state.session = "somebody else's";
    state.beforeLogin = () => new Promise((resolve) => setTimeout(resolve, 50));
    await Promise.all(Array.from({ length: 10 }, () => router.get("app")));
    assert.equal(state.logins, 2);
    assert.equal(told, 1);
    assert.equal(kept.length, 2);
  }));

test("tells a new session from the old one when both have one id", () =>
  fake(app, async (url, state) => {
    state.nextSession = "Us" + "0".repeat(32);
    const router = new Router({ url });
    await router.get("app");
    state.session = undefined;
    assert.equal((await router.get("app")).app.port, 1);
    assert.equal(state.logins, 2);
  }));

test("gives up when the new session is lost, too", () =>
  fake(app, async (url, state) => {
    state.stolen = true;
    const error = await new Router({ url }).get("app").catch((e) => e);
    assert(error instanceof SessionLost);
    assert.deepEqual([error.code, error.text, error.cause !== ""], [6, "need login", true]);
    assert.equal(state.logins, 2);
  }));

test("leaves a lost session alone when it is told to", () =>
  fake(app, async (url, state) => {
    await assert.rejects(new Router({ url, session: "Us1", relogin: false }).get("app"), SessionLost);
    assert.equal(state.logins, 0);
  }));

test("a wrong password is an error of its own, and can be tried again", () =>
  fake(app, async (url, state) => {
    state.user = "other";
    const router = new Router({ url });
    const error = await router.get("app").catch((e) => e);
    assert(error instanceof LoginRefused);
    assert.deepEqual([error.code, error.text, error.cause], [7, "login fail", "name or password is wrong, missing or no string"]);
    state.user = "admin";
    assert.equal((await router.get("app")).app.port, 1);
  }));

test("a refusal has code, message, object and cause", () =>
  fake(
    () => ({ result: { error: 2, msg: "ERROR: the ip is conflict" }, app: "1", qos: "1" }),
    async (url) => {
      const router = new Router({ url });
      const error = await router.set({ app: { port: 1 }, qos: { ipRuleMod: { Act: "add", ip: "1.1.1.1-1.1.1.2", ulimit: 1 } } }).catch((e) => e);
      assert(error instanceof Refused);
      assert.deepEqual([error.code, error.text, error.object, error.cause], [2, "ERROR: the ip is conflict", "qos", "a rule has some of the addresses"]);
    },
  ));

test("time-outs and cancellation", () =>
  fake(
    () => undefined,
    async (url) => {
      const router = new Router({ url, timeout: 100 });
      const begin = Date.now();
      await assert.rejects(router.get("app"), TimedOut);
      const abort = new AbortController();
      setTimeout(() => abort.abort(), 50);
      await assert.rejects(router.read({ app: {} }, { signal: abort.signal, timeout: 600_000 }), Cancelled);
      await assert.rejects(router.read({ app: {} }, { signal: abort.signal }), Cancelled);
      assert(Date.now() - begin < 60_000);
    },
  ));

test("a cancelled request leaves the login to the others", () =>
  fake(app, async (url, state) => {
    state.beforeLogin = () => new Promise((resolve) => setTimeout(resolve, 100));
    const router = new Router({ url });
    const abort = new AbortController();
    const cancelled = router.read({ app: {} }, { signal: abort.signal });
    const other = router.get("app");
    abort.abort();
    await assert.rejects(cancelled, Cancelled);
    assert.equal((await other).app.port, 1);
    assert.equal(state.logins, 1);
  }));

test("what is no reply", async () => {
  for (const text of ["", "<html>", "[]", "null", "{}", '{"result":1}']) {
    await fake(
      () => text || " ",
      async (url) => {
        await assert.rejects(new Router({ url }).get("app"), NoReply);
      },
    );
  }
  await assert.rejects(new Router({ url: "http://127.0.0.1:9/app/app.cgi" }).scan(), NoReply);
});

test("watches devices come and go", () => {
  const lists = [["a"], ["a", "b"], ["b"]];
  return fake(
    () => ({ lanStatus: { devlist: (lists.shift() ?? []).map((mac) => ({ mac })) } }),
    async (url) => {
      const seen = [];
      for await (const { devices, joined, left } of new Router({ url }).watchDevices({ interval: 1 })) {
        seen.push([devices.length, joined.map((device) => device.mac).join(), left.map((device) => device.mac).join()]);
        if (seen.length === 3) break;
      }
      assert.deepEqual(seen, [[1, "a", ""], [2, "b", ""], [1, "", "a"]]);
    },
  );
});

test("pairing waits for an end, and cancels without one", () => {
  const states = [2, 2, 1, 1, 2];
  return fake(
    (asked) => (asked.action === "set" ? { wps: "1" } : { wps: { status: states.length > 1 ? states.shift() : states[0] } }),
    async (url, state) => {
      const router = new Router({ url });
      assert.equal(await router.pair({ interval: 1 }), 2);
      states[0] = 1;
      await assert.rejects(router.pair({ interval: 1, patience: 30 }), TimedOut);
      assert.deepEqual(state.requests.at(-1).wps, { wpsbutton: 0 });
    },
  );
});

test("pairing begins before the daemon has reported anything", () => {
  const states = [undefined, undefined, 1, 2];
  return fake(
    (asked) => {
      if (asked.action === "set") return { wps: "1" };
      const status = states.shift();
      return status === undefined ? { result: { error: -1, msg: "" }, wps: {} } : { wps: { status } };
    },
    async (url) => assert.equal(await new Router({ url }).pair({ interval: 1 }), 2),
  );
});

test("what went wrong with a pairing is told, though the router is gone", () =>
  fake(
    (asked) => (asked.wps.wpsbutton === 0 ? " " : asked.action === "set" ? { wps: "1" } : { wps: { status: 1 } }),
    async (url) => {
      await assert.rejects(new Router({ url }).pair({ interval: 1, patience: 30 }), TimedOut);
    },
  ));

test("a fixture takes the place of the network", async () => {
  const text = await readFile(new URL("../../../fixtures/family/lanStatus.json", import.meta.url), "utf8");
  const router = new Router({ url: "http://router/app/app.cgi", session: "any", fetch: async () => new Response(text) });
  const { devlist } = (await router.get("lanStatus")).lanStatus;
  assert.deepEqual(devlist, JSON.parse(text).lanStatus.devlist);
  assert(devlist.length > 10);
});

test("a set of what can only be read tells the cause", () =>
  fake(
    () => ({ result: { error: -1, msg: "ERROR:not support set" }, netDig: "1" }),
    async (url) => {
      const error = await new Router({ url }).set({ netDig: {} }).catch((e) => e);
      assert.deepEqual([error.object, error.cause], ["netDig", "a set of an object that can only be read"]);
    },
  ));

const url = process.env.ROUTER_URL;
test("a router", { skip: url === undefined }, async () => {
  const router = new Router({ url });
  assert.equal((await router.scan()).model, "KT7094HZM");
  const objects = await router.get("lan", "wifi", "lanStatus", "sys", "Sec", "netAcc", "urlfilter", "qos", "mesh", "opMode", "timeZone");
  assert.equal(objects.lan.ip, "192.168.1.1");
  assert(objects.lanStatus.devlist.length > 0);
  await router.set({ app: { port: 8443 } });
  assert.equal((await router.get("app")).app.port, 8443);
  const { netDig } = await router.read({ netDig: { ping: { dst: "192.168.1.1" } } });
  assert.match(netDig.ping ?? "", /1 packets transmitted/);
  const error = await router.set({ app: { port: 65536 } }).catch((e) => e);
  assert(error instanceof Refused);
  assert.deepEqual([error.object, error.text], ["app", "ERROR: port value is invalied"]);
  const wrong = await router.read({ wanStatus: { reportCount: 0 } }).catch((e) => e);
  assert.deepEqual([wrong.object, wrong.code], ["wanStatus", -1]);

  let told = 0;
  const first = new Router({ url, onSessionLost: () => (told += 1) });
  await first.get("app");
  await new Promise((resolve) => setTimeout(resolve, 1100)); // two logins within a second have one session
  await new Router({ url }).get("app");
  await Promise.all([first.get("app"), first.get("lan"), first.get("wifi")]);
  assert.equal(told, 1);
  assert.equal(await first.pair({ interval: 200 }), 2);
  await first.logout();
});
