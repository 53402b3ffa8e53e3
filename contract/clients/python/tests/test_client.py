# SPDX-License-Identifier: MIT
"""The clients against servers that do what a router seldom does, and against a router: ROUTER_URL names one."""

import asyncio
import http.server
import json
import os
import pathlib
import sys
import threading
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from kt7094hzm import AsyncRouter, LoginRefused, NoReply, Refused, Router, SessionLost, TimedOut  # noqa: E402


class Fake:
    """A server with one session at a time; `answer` gives the objects of a reply, a whole text, or None for none at all."""

    def __init__(self, answer):
        fake, self.answer = self, answer
        self.session, self.logins, self.requests, self.user = None, 0, [], "admin"
        self.slow_login, self.stolen, self.same_id, self.lock = 0, False, False, threading.Lock()
        self.over, self.login_may_end = threading.Event(), threading.Event()
        self.login_may_end.set()

        class Handler(http.server.BaseHTTPRequestHandler):
            def log_message(self, *_):
                pass

            def do_POST(self):
                asked = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                reply = fake.reply(asked)
                if reply is None:
                    fake.over.wait()
                    return
                text = (reply if isinstance(reply, str) else json.dumps(reply)).encode()
                self.send_response(200)
                self.end_headers()
                self.wfile.write(text)

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.url = f"http://127.0.0.1:{self.server.server_address[1]}/app/app.cgi"

    def reply(self, asked):
        with self.lock:
            self.requests.append(asked)
            if asked["action"] != "login":
                if asked["sessionid"] != self.session or self.session is None:
                    return {"action": "loginRsp", "result": {"error": 6, "msg": "need login"}}
                made = self.answer(asked)
                return made if made is None or isinstance(made, str) else {"action": asked["action"] + "Rsp", "result": {"error": 0}, **made}
            self.logins += 1
        time.sleep(self.slow_login)
        self.login_may_end.wait()
        with self.lock:
            if asked["info"]["user"] != self.user:
                return {"info": {}, "action": "loginRsp", "result": {"error": 7, "msg": "login fail"}}
            session = "Us" if self.same_id else f"Us{self.logins}"
            self.session = "stolen" if self.stolen else session
            return {"info": {"sessionid": session}, "action": "loginRsp", "result": {"error": 0, "msg": "login success"}}

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, args=(0.01,), daemon=True).start()
        return self

    def __exit__(self, *_):
        self.over.set()
        self.server.shutdown()
        self.server.server_close()


def app(_):
    return {"app": {"port": 1, "ticktime": 2}}


class Waiting:
    """An AsyncRouter that is used like a Router, so that both have the same tests."""

    def __init__(self, *arguments, **options):
        self.loop = asyncio.new_event_loop()
        self.router = AsyncRouter(*arguments, **options)

    def __getattr__(self, name):
        return lambda *arguments, **options: self.loop.run_until_complete(getattr(self.router, name)(*arguments, **options))

    def watch_devices(self, interval):
        changes = self.router.watch_devices(interval)
        while True:
            yield self.loop.run_until_complete(changes.__anext__())

    def many(self, count):
        async def ask():
            return await asyncio.gather(*(self.router.get("app") for _ in range(count)))

        return self.loop.run_until_complete(ask())


class Plain(Router):
    def many(self, count):
        found = []
        threads = [threading.Thread(target=lambda: found.append(self.get("app"))) for _ in range(count)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return found


class PlainTest(unittest.TestCase):
    make = Plain

    def test_logs_in_once_for_many(self):
        with Fake(app) as fake:
            replies = self.make(fake.url).many(10)
            self.assertEqual([reply["app"]["port"] for reply in replies], [1] * 10)
            self.assertEqual(fake.logins, 1)

    def test_replaces_a_lost_session_once_and_tells_so_once(self):
        with Fake(app) as fake:
            lost, kept = [], []
            router = self.make(fake.url, on_session_lost=lambda: lost.append(1), on_session=kept.append)
            router.get("app")
            fake.session, fake.slow_login = "somebody else's", 0.1
            self.assertEqual(len(router.many(10)), 10)
            self.assertEqual((fake.logins, len(lost), len(kept)), (2, 1, 2))

    def test_tells_a_new_session_from_the_old_one_of_the_same_id(self):
        with Fake(app) as fake:
            fake.same_id = True
            router = self.make(fake.url)
            router.get("app")
            fake.session = None
            self.assertEqual(router.get("app")["app"]["port"], 1)
            self.assertEqual(fake.logins, 2)

    def test_gives_up_when_the_new_session_is_lost_too(self):
        with Fake(app) as fake:
            fake.stolen = True
            with self.assertRaises(SessionLost) as caught:
                self.make(fake.url).get("app")
            error = caught.exception
            self.assertEqual((error.code, error.text, bool(error.cause)), (6, "need login", True))
            self.assertEqual(fake.logins, 2)

    def test_leaves_a_lost_session_alone_when_told_to(self):
        with Fake(app) as fake:
            self.assertRaises(SessionLost, self.make(fake.url, session="Us1", relogin=False).get, "app")
            self.assertEqual(fake.logins, 0)

    def test_a_wrong_password_can_be_tried_again(self):
        with Fake(app) as fake:
            fake.user = "other"
            router = self.make(fake.url)
            with self.assertRaises(LoginRefused) as caught:
                router.get("app")
            error = caught.exception
            self.assertEqual((error.code, error.text, error.cause), (7, "login fail", "name or password is wrong, missing or no string"))
            fake.user = "admin"
            self.assertEqual(router.get("app")["app"]["port"], 1)

    def test_a_refusal_has_code_message_object_and_cause(self):
        with Fake(lambda _: {"result": {"error": 2, "msg": "ERROR: the ip is conflict"}, "app": "1", "qos": "1"}) as fake:
            with self.assertRaises(Refused) as caught:
                self.make(fake.url).set({"app": {"port": 1}, "qos": {"ipRuleMod": {"Act": "add", "ip": "1.1.1.1-1.1.1.2", "ulimit": 1}}})
            error = caught.exception
            self.assertEqual((error.code, error.text, error.object, error.cause), (2, "ERROR: the ip is conflict", "qos", "a rule has some of the addresses"))

    def test_times_out(self):
        with Fake(lambda _: None) as fake:
            begin = time.monotonic()
            self.assertRaises(TimedOut, self.make(fake.url, timeout=0.1).get, "app")
            self.assertRaises(TimedOut, self.make(fake.url, timeout=600).get, "app", timeout=0.1)
            self.assertLess(time.monotonic() - begin, 60)

    def test_what_is_no_reply(self):
        for text in ("", "<html>", "[]", "null", "{}", '{"result":1}'):
            with Fake(lambda _, text=text: text) as fake:
                self.assertRaises(NoReply, self.make(fake.url).get, "app")
        self.assertRaises(NoReply, self.make("http://127.0.0.1:9/app/app.cgi").scan)

    def test_watches_devices_come_and_go(self):
        lists = [["a"], ["a", "b"], ["b"]]
        with Fake(lambda _: {"lanStatus": {"devlist": [{"mac": mac} for mac in lists.pop(0)]}}) as fake:
            changes = self.make(fake.url).watch_devices(0.001)
            seen = []
            for _ in range(3):
                change = next(changes)
                seen.append((len(change.devices), [each["mac"] for each in change.joined], [each["mac"] for each in change.left]))
            self.assertEqual(seen, [(1, ["a"], []), (2, ["b"], []), (1, [], ["a"])])

    def test_pairing_waits_for_an_end_and_cancels_without_one(self):
        states = [2, 2, 1, 1, 2]
        with Fake(lambda asked: {"wps": "1"} if asked["action"] == "set" else {"wps": {"status": states.pop(0) if len(states) > 1 else states[0]}}) as fake:
            router = self.make(fake.url)
            self.assertEqual(router.pair(interval=0.001), 2)
            states[0] = 1
            self.assertRaises(TimedOut, router.pair, interval=0.001, patience=0.05)
            self.assertEqual(fake.requests[-1]["wps"], {"wpsbutton": 0})

    def test_pairing_begins_before_the_daemon_has_reported_anything(self):
        states = [None, None, 1, 2]

        def answer(asked):
            if asked["action"] == "set":
                return {"wps": "1"}
            status = states.pop(0)
            return {"result": {"error": -1, "msg": ""}, "wps": {}} if status is None else {"wps": {"status": status}}

        with Fake(answer) as fake:
            self.assertEqual(self.make(fake.url).pair(interval=0.001), 2)

    def test_what_went_wrong_with_a_pairing_is_told_though_the_router_is_gone(self):
        def answer(asked):
            if asked["action"] == "set":
                return " " if asked["wps"]["wpsbutton"] == 0 else {"wps": "1"}
            return {"wps": {"status": 1}}

        with Fake(answer) as fake:
            self.assertRaises(TimedOut, self.make(fake.url).pair, interval=0.001, patience=0.05)

    def test_a_scan_that_is_answered_otherwise_is_no_reply(self):
        with Fake(app) as fake:
            fake.reply = lambda asked: {"result": {"error": "-1", "msg": "error_request"}}
            self.assertRaises(NoReply, self.make(fake.url).scan)

    def test_a_set_of_what_can_only_be_read_tells_the_cause(self):
        with Fake(lambda _: {"result": {"error": -1, "msg": "ERROR:not support set"}, "netDig": "1"}) as fake:
            with self.assertRaises(Refused) as caught:
                self.make(fake.url).set({"netDig": {}})
            self.assertEqual((caught.exception.object, caught.exception.cause), ("netDig", "a set of an object that can only be read"))

    @unittest.skipUnless(os.environ.get("ROUTER_URL"), "no router")
    def test_a_router(self):
        url = os.environ["ROUTER_URL"]
        router = self.make(url)
        self.assertEqual(router.scan()["model"], "KT7094HZM")
        objects = router.get("lan", "wifi", "lanStatus", "sys", "mesh")
        self.assertEqual(objects["lan"]["ip"], "192.168.1.1")
        self.assertTrue(objects["lanStatus"]["devlist"])
        router.set({"app": {"port": 8443}})
        self.assertEqual(router.get("app")["app"]["port"], 8443)
        self.assertIn("1 packets transmitted", router.get(netDig={"ping": {"dst": "192.168.1.1"}})["netDig"]["ping"])
        with self.assertRaises(Refused) as caught:
            router.set({"app": {"port": 65536}})
        self.assertEqual((caught.exception.object, caught.exception.text), ("app", "ERROR: port value is invalied"))
        with self.assertRaises(Refused) as caught:
            router.get(wanStatus={"reportCount": 0})
        self.assertEqual((caught.exception.object, caught.exception.code), ("wanStatus", -1))
        lost = []
        first = self.make(url, on_session_lost=lambda: lost.append(1))
        first.get("app")
        time.sleep(1.1)  # two logins within a second have one session
        self.make(url).get("app")
        first.many(3)
        self.assertEqual(lost, [1])
        self.assertEqual(first.pair(interval=0.2), 2)
        first.logout()


class AsyncTest(PlainTest):
    make = Waiting

    def test_cancelling_a_task_leaves_the_login_to_the_others(self):
        async def run(url):
            router = AsyncRouter(url)
            cancelled = asyncio.ensure_future(router.get("app"))
            other = asyncio.ensure_future(router.get("app"))
            while not fake.logins:
                await asyncio.sleep(0.01)
            cancelled.cancel()
            with self.assertRaises(asyncio.CancelledError):
                await cancelled
            fake.login_may_end.set()
            self.assertEqual((await other)["app"]["port"], 1)

        with Fake(app) as fake:
            fake.login_may_end.clear()
            asyncio.run(run(fake.url))
            self.assertEqual(fake.logins, 1)


if __name__ == "__main__":
    unittest.main()
