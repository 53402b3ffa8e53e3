# SPDX-License-Identifier: MIT
"""script/router record, replay and recording: a proxy that writes down what an app and any router of this protocol say to each other,
and what is made of that."""

import http.client
import http.server
import json
import os
import pathlib
import re
import signal
import sys
import threading
import time
import urllib.parse

sys.path[1:1] = [str(pathlib.Path(__file__).resolve().parents[1] / name) for name in ("keeper", "")]

import client  # noqa: E402

from control import recording, replaying  # noqa: E402
from facts import Facts  # noqa: E402
from gate import Gate, Refusal  # noqa: E402
from speech import ITEMS_BY_NAME  # noqa: E402

PROJECT = pathlib.Path(__file__).resolve().parents[2]
FACTS = Facts(PROJECT / "virtual_router/surroundings.sh")
USAGE = """\
Usage: script/router record --to URL [--port N] [--allow-host NAME] FILE
       script/router record --since N FILE
       script/router replay [--phone N] [--ignore KEY,KEY] [--cases FOLDER] FILE
       script/router recording home FILE

record     passes what an app asks at 127.0.0.1:N (8081) on to the router at URL, such as http://192.168.1.1, and writes it to FILE
           with names, keys, passwords, serial numbers, sessions, MAC addresses and public addresses masked; until Ctrl-C.
           With --since in place of --to: what phones have asked of the virtual router that runs, behind request N of its journal
replay     asks the running virtual router the same, with a session of its own, and says which replies differ and where; --cases writes
           those whose replies are the recorded ones as cases for tests/run_cases, with all that the router did
recording home  prints a home file for script/server --home, in which the replies are the recorded ones as far as can be; what is not
           in it is told on standard error"""
MOST_BODY_BYTES = 1 << 20
REPLY_SECONDS = 60
OF_CONNECTION = {"connection", "keep-alive", "proxy-connection", "te", "transfer-encoding", "upgrade", "host", "content-length", "accept-encoding", "cookie"}


def take_options(words, known, wrong_call):
    options, rest = {}, []
    words = list(words)
    while words:
        word = words.pop(0)
        name, equals, value = word.partition("=")
        if not word.startswith("--"):
            rest.append(word)
        elif name[2:] not in known or not (equals or words):
            raise wrong_call(f"there is no option '{name}', or it lacks a value (script/router record help)")
        else:
            options[name[2:]] = value if equals else words.pop(0)
    return options, rest


def known_macs(reply):
    macs = (FACTS[name].replace(":", "") for name in ("ROUTER_LAN_MAC", "PHONE_MAC"))
    return recording.known_macs(reply, *macs, FACTS["PHONE_PLACE"])


class Tape:
    def __init__(self, file):
        self.file = pathlib.Path(file)
        self.exchanges = []
        self.begun = time.time()
        self.lock = threading.Lock()
        self.write()

    def add(self, **exchange):
        with self.lock:
            self.exchanges.append(exchange)

    def write(self):
        new = self.file.with_name(self.file.name + ".new")
        with self.lock:
            with open(os.open(new, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "w") as opened:
                json.dump(recording.masked(self.exchanges, known_macs), opened, indent=1, ensure_ascii=False)
            new.replace(self.file)


def proxy(to, port, tape, hosts):
    parts = urllib.parse.urlsplit(to)
    gate = Gate(port, hosts)

    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.0"
        timeout = REPLY_SECONDS

        def pass_on(self):
            try:
                gate.check_host([value.encode("latin-1") for value in self.headers.get_all("Host", [])], self.path.encode("latin-1", "replace"))
                gate.check_origin([value.encode("latin-1") for value in self.headers.get_all("Origin", [])], [])
            except Refusal as refusal:
                self.send_error(int(refusal.status[:3]), explain=str(refusal))
                return
            length = self.headers.get("Content-Length", "0")
            if not re.fullmatch("[0-9]{1,7}", length) or int(length) > MOST_BODY_BYTES or "Transfer-Encoding" in self.headers:
                self.send_error(413)
                return
            body = self.rfile.read(int(length))
            at = time.time()
            headers = {name: value for name, value in self.headers.items() if name.lower() not in OF_CONNECTION}
            connection = http.client.HTTPConnection(parts.hostname, parts.port or 80, timeout=REPLY_SECONDS)
            try:
                connection.request(self.command, self.path, body, {**headers, "Content-Length": str(len(body))})
                reply = connection.getresponse()
                data = reply.read()
            except (OSError, http.client.HTTPException) as error:
                self.send_error(502, explain=f"{to} has not answered: {error}")
                return
            finally:
                connection.close()
            # Before the app has its reply, since it may be the last thing that is recorded; the writing takes time, and comes behind it.
            tape.add(at=round(at - tape.begun, 3), took=round(time.time() - at, 4), path=self.path, request=body, status=reply.status, reply=data)
            self.send_response_only(reply.status, reply.reason)
            for name, value in reply.getheaders():
                if name.lower() not in OF_CONNECTION:
                    self.send_header(name, value)
            self.send_header("Content-Length", str(len(data)))
            self.end_headers()
            self.wfile.write(data)
            tape.write()

        do_GET = do_POST = do_OPTIONS = pass_on

        def log_message(self, form, *arguments):
            pass

    return http.server.ThreadingHTTPServer(("127.0.0.1", port), Handler)


def record(words, wrong_call, control):
    """`control` gives the way to the running router, which only --since needs."""
    options, rest = take_options(words, ("to", "port", "allow-host", "since"), wrong_call)
    if len(rest) == 1 and options.keys() == {"since"} and options["since"].isdigit():
        found = control().ask("GET", "/api/recording", since=options["since"])
        with open(os.open(rest[0], os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "w") as opened:
            json.dump(found, opened, indent=1, ensure_ascii=False)
        print(f"{len(found['exchanges'])} requests are written down")
        return 0
    to, port = options.get("to", ""), options.get("port", "8081")
    if len(rest) != 1 or not re.fullmatch(r"http://[^/?#]+/?", to) or not re.fullmatch("[0-9]{1,5}", port):
        raise wrong_call("script/router record --to http://ADDRESS [--port N] FILE, or script/router record --since N FILE")
    tape = Tape(rest[0])
    server = proxy(to, int(port), tape, [options["allow-host"]] if "allow-host" in options else [])
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: threading.Thread(target=server.shutdown).start())
    print(f"What is asked at http://127.0.0.1:{port} goes on to {to}, and is written to {rest[0]}. Ctrl-C ends it.", flush=True)
    server.serve_forever(0.1)
    server.server_close()
    tape.write()
    print(f"{len(tape.exchanges)} requests are written down", flush=True)
    return 0


def read(file, wrong_call):
    try:
        return recording.load(pathlib.Path(file).read_text())
    except (OSError, UnicodeDecodeError, recording.Wrong) as error:
        raise wrong_call(f"{file}: {error}") from None


def replay(control, words, wrong_call):
    options, rest = take_options(words, ("phone", "ignore", "cases"), wrong_call)
    if len(rest) != 1:
        raise wrong_call("script/router replay [--phone N] [--ignore KEY,KEY] [--cases FOLDER] FILE")
    count = {"same": 0, "differs": 0, "passed over": 0}
    ignored = options.get("ignore", "").split(",")
    phone = options.get("phone", "1")
    exchanges = read(rest[0], wrong_call)
    cases = Cases(control, options["cases"], phone) if "cases" in options else None
    for found in replaying.verdicts(exchanges, replaying.by_phone(control, phone), ignored):
        count[found["verdict"]] += 1
        print(f"{found['verdict']:<{11 if found['verdict'] == 'passed over' else 7}}  {found['number']:>3}  {found['what']}")
        for text in found["differences"]:
            print(f"              {text}")
        if cases and found["verdict"] != "passed over":
            cases.copy(found)
    if cases:
        print(f"{cases.count} cases are in {cases.folder}; tests/run_cases --cases runs them")
    print(f"{count['same']} passed, {count['differs']} failed")
    return int(count["differs"] > 0)


class Cases:
    """Copies what this phone has asked, and the router has done, into a folder, which is to be a new one."""

    def __init__(self, control, folder, phone):
        self.control, self.folder, self.phone, self.count = control, pathlib.Path(folder), phone, 0
        self.folder.mkdir(parents=True)
        self.last = control.ask("GET", "/api/status")["journal"]
        if self.last is None:
            raise client.Failed("this router notes no requests, of which cases could be made (script/server --no-journal)")

    def copy(self, found):
        """The last request, of which this is the verdict, when it is over: what is done behind the reply belongs to it."""
        line = self.find()
        if found["verdict"] != "same":
            print("              so there is no case of it")
            return
        try:
            text = self.control.ask("GET", f"/api/journal/{line['number']}/as/case")["text"]
        except client.Failed as error:
            print(f"              there is no case of it: {error}")
            return
        text = text.replace(f"request {line['number']} of the journal", f"request {found['number']} of the recording", 1)
        name = re.sub("[^A-Za-z0-9]+", "-", found["what"])[:40].strip("-")
        (self.folder / f"{found['number']:04}-{name}.toml").write_text(text)
        self.count += 1

    def find(self):
        deadline = time.monotonic() + REPLY_SECONDS
        while time.monotonic() < deadline:
            found = self.control.ask("GET", "/api/journal", since=self.last, phone=self.phone, last=1)["requests"]
            if found and found[0]["verdict"] != "under way":
                self.last = found[0]["number"]
                return found[0]
            time.sleep(0.02)
        raise client.Failed("the journal does not tell the end of a request")


def make_home(words, wrong_call):
    if len(words) != 2 or words[0] != "home":
        raise wrong_call("script/router recording home FILE")
    exchanges = read(words[1], wrong_call)
    objects = json.loads((PROJECT / "contract/contract.json").read_text())["objects"]
    found, left_out = recording.home(exchanges, objects, int(FACTS["PHONE_PLACE"]), ITEMS_BY_NAME)
    print(json.dumps(found, indent=2, ensure_ascii=False))
    for text in left_out:
        print(f"not in it: {text}", file=sys.stderr)
    return 0
