# SPDX-License-Identifier: MIT
"""Who is not let in at the control port, and what it does not choke on."""

import http.client
import os
import pathlib
import socket
import stat
import struct
import subprocess

from asking import SECONDS, status_of
from router import look_until

LISTENS = "0A"  # the state of a socket in the kernel's table


def strangers(results, control):
    """A page from elsewhere in a browser of this PC."""
    port = control.port
    for host in ("evil.example", f"evil.example:{port}", "127.0.0.1", f"127.0.0.1:{port + 1}", f"127.0.0.1.evil.example:{port}", f"[::1]:{port}", f"127.0.0.1:{port}@evil.example", ""):
        answer = control.raw(control.head(host=host))
        results.check(f"the host '{host}' is kept out, with the token", status_of(answer) == 403 and b'"stranger"' in answer, answer)
    answer = control.raw(control.head("Host: evil.example"))
    results.check("two hosts are kept out", status_of(answer) == 403, answer)
    answer = control.raw(control.head(first="GET http://evil.example/api/status HTTP/1.1"))
    results.check("a host in the target is kept out", status_of(answer) in (400, 403), answer)
    results.check("localhost is let in", status_of(control.raw(control.head(host=f"localhost:{port}"))) == 200)
    for origin in ("https://evil.example", "null", f"http://127.0.0.1:{port + 1}", f"https://127.0.0.1:{port}", "http://127.0.0.1", f"http://127.0.0.1:{port}.evil.example"):
        answer = control.ask("POST", "/api/reboot", {}, headers={"Origin": origin})
        results.check(f"the origin {origin} is kept out, with the token", answer.status == 403, answer)
    for site in ("cross-site", "same-site"):
        answer = control.get("/api/status", headers={"Sec-Fetch-Site": site})
        results.check(f"what a page {site} loads is kept out", answer.status == 403, answer)
    preflight = control.ask("OPTIONS", "/api/reboot", headers={"Origin": "https://evil.example", "Access-Control-Request-Method": "POST"})
    allowed = [name for name in preflight.headers if name.startswith("access-control")]
    results.check("a preflight allows nothing", preflight.status == 403 and not allowed, preflight)
    own = control.get("/api/status", headers={"Origin": control.origin, "Sec-Fetch-Site": "same-origin"})
    results.check("the port's own pages are let in", own.status == 200 and not [name for name in own.headers if name.startswith("access-control")], own)


def without_token(results, control):
    described = control.get("/api/openapi.json").json()
    for path, methods in described["paths"].items():
        for method in methods:
            answer = control.ask(method.upper(), path.replace("{", "").replace("}", ""), token=False)
            results.check(f"{method.upper()} {path} needs the token", answer.status == 401 and answer.code() == "token", answer)
    for path in ("/", "/docs", "/nothing", "/api/status"):
        results.check(f"{path} needs the token", control.get(path, token=False).status == 401)
    wrong = control.token[:-1] + ("A" if control.token[-1] != "A" else "B")
    cookie = f"control-{control.port}"
    for name, headers in (
        ("a wrong token", {"Authorization": f"Bearer {wrong}"}),
        ("a token that is cut", {"Authorization": f"Bearer {control.token[:-1]}"}),
        ("an empty token", {"Authorization": "Bearer "}),
        ("a token of another kind", {"Authorization": f"Basic {control.token}"}),
        ("a token in the Referer", {"Referer": f"{control.origin}/?token={control.token}"}),
        ("a token that is no ASCII", {"Authorization": "Bearer \xff\xfe"}),
        ("a wrong cookie", {"Cookie": f"{cookie}={wrong}"}),
        ("another port's cookie", {"Cookie": f"control-{control.port + 1}={control.token}"}),
        ("a cookie beside a wrong token", {"Cookie": f"{cookie}={control.token}", "Authorization": f"Bearer {wrong}"}),
    ):
        answer = control.get("/api/status", headers=headers, token=False)
        results.check(f"{name} is none", answer.status == 401, answer)
    answer = control.get(f"/api/status?token={control.token}", token=False)
    results.check("a token in the URL of the API is none", answer.status == 401, answer)
    answer = control.get(f"/?token={wrong}", token=False)
    results.check("a wrong token in the URL is not exchanged", answer.status == 401 and "set-cookie" not in answer.headers, answer)
    answer = control.get(f"/?token={control.token}", token=False)
    kept = answer.headers.get("set-cookie", "")
    good = answer.status == 303 and answer.headers["location"] == "/" and "SameSite=Strict" in kept and "HttpOnly" in kept
    results.check("the printed URL is exchanged for a cookie, and is left", good, answer)
    results.check("and tells nobody from where it is left", answer.headers.get("referrer-policy") == "no-referrer", answer)
    answer = control.get("/api/status", headers={"Cookie": kept.partition(";")[0]}, token=False)
    results.check("the cookie lets in", answer.status == 200, answer)
    for path in ("//evil.example/", "/\\evil.example/", "///evil.example"):
        answer = control.raw(control.head(first=f"GET {path}?token={control.token} HTTP/1.1", token=False)).decode("latin-1").lower()
        results.check(f"{path} leads nowhere else", "location: //" not in answer and "location: /\\" not in answer and "location: http" not in answer, answer)


def excess(results, control):
    """Bodies and heads that are too long, too slow or none."""
    json_head = "Content-Type: application/json"
    post = "POST /api/clock/rate HTTP/1.1"
    for name, data, wanted in (
        ("a body of a terabyte", control.head(json_head, "Content-Length: 1099511627776", first=post) + b"x" * 100000, (413,)),
        ("a body without end", control.head(json_head, "Transfer-Encoding: chunked", first=post) + b"FFFF\r\n" + b"x" * 65535 + b"\r\n", (411,)),
        ("a length that is none", control.head(json_head, "Content-Length: -1", first=post), (400,)),
        ("two lengths", control.head(json_head, "Content-Length: 1", "Content-Length: 2", first=post) + b"xx", (400,)),
        ("a body where there is none", control.head("Content-Length: 10") + b"0123456789", (413,)),
        ("a form", control.head("Content-Type: application/x-www-form-urlencoded", "Content-Length: 2", first=post) + b"{}", (415,)),
        ("a text", control.head("Content-Type: text/plain", "Content-Length: 2", first=post) + b"{}", (415,)),
        ("no JSON", control.head(json_head, "Content-Length: 2", first=post) + b"{]", (400,)),
        ("nested JSON", control.head(json_head, "Content-Length: 200000", first=post) + b"[" * 200000, (400,)),
        ("a head without end", control.head("X: " + "x" * 1000000), (400, 431, None)),
        ("no HTTP", b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" * 20 + b"\r\n\r\n", (400, None)),
        ("a line feed in a header", control.head("X: a\nAuthorization: Bearer x"), (200, 400, 401)),
    ):
        answer = control.raw(data)
        results.check(f"{name} is refused", status_of(answer) in wanted, answer[:300])
    for body in ([], "x", {"words": 1}, {"words": [1]}, {"words": ["x"] * 65}, {"other": 1}, None):
        answer = control.ask("POST", "/api/clock/rate", body if body is not None else b"null", headers={"Content-Type": "application/json"})
        results.check(f"the body {str(body)[:40]} is refused", answer.status == 400 and answer.code() == "body", answer)
    results.check("a query that there is not is refused", control.get("/api/status?x=1").code() == "query")
    for path in ("/api/home/..", "/api/home/%2e%2e", "/../../etc/passwd", "/api/../../etc/passwd", "/api/openapi.json/../../server.py", "/api/home/a%00b", "/api/status/"):
        answer = control.raw(control.head(first=f"GET {path} HTTP/1.1"))
        results.check(f"{path} leads nowhere", status_of(answer) in (400, 404, 405) and b"root:" not in answer, answer)
    results.check("another method is told which there are", control.ask("DELETE", "/api/status").status == 405)


def begin_slowly(control):
    """Opens connections that never come to an end. Returns them."""
    held = {}
    for name, data in (
        ("half a head", control.head()[:40]),
        ("nothing", b""),
        ("half a body", control.head("Content-Type: application/json", "Content-Length: 100", first="POST /api/clock/rate HTTP/1.1") + b"{"),
    ):
        held[name] = socket.create_connection(("127.0.0.1", control.port), timeout=SECONDS)
        held[name].sendall(data)
    return held


def end_slowly(results, control, held):
    for name, connection in held.items():
        try:
            while connection.recv(65536):
                pass
        except ConnectionResetError:
            pass
        except TimeoutError:
            results.check(f"who sends {name} is hung up on", False)
            continue
        finally:
            connection.close()
        results.check(f"who sends {name} is hung up on", True)
    results.check("and others are answered meanwhile", control.get("/api/status").status == 200)


def crowd(results, control):
    """More connections than there may be."""
    held = [socket.create_connection(("127.0.0.1", control.port), timeout=SECONDS) for _ in range(300)]
    for connection in held:
        connection.close()

    def answered():
        try:
            return control.get("/api/status").status == 200
        except OSError:  # the crowd is still there
            return False

    results.check("a crowd of connections passes", look_until(bool, answered))


def files(results, router, control):
    kept = router.state / "control.json"
    results.check("the token's file is its owner's alone", stat.S_IMODE(kept.stat().st_mode) == 0o600, oct(kept.stat().st_mode))
    results.check("the state folder is its owner's alone", stat.S_IMODE(router.state.stat().st_mode) & 0o077 == 0 or router.way.user is not None or os.geteuid() == 0)
    listening = listeners(control.port)
    results.check("it listens at the PC's loopback address alone", listening == {"127.0.0.1"}, listening)


def listeners(port):
    """The addresses at which somebody listens on the port; of IPv6 as the kernel writes them."""
    tables = [table for table in (pathlib.Path("/proc/net/tcp"), pathlib.Path("/proc/net/tcp6")) if table.exists()]
    lines = [line.split() for table in tables for line in table.read_text().splitlines()[1:]]
    ends = [line[1].split(":") for line in lines if line[3] == LISTENS]
    return {socket.inet_ntoa(struct.pack("=I", int(address, 16))) if len(address) == 8 else address for address, its_port in ends if int(its_port, 16) == port}


def replace_endpoint(router, program):
    """A hostile router: another program answers."""
    # A copy may be run, as what it is a copy of; with proot no mode can be changed.
    command = "[ -e /tmp/kept ] || cp /web/app/app.cgi /tmp/kept; cp /tmp/kept /web/app/new && xxd -r -p > /web/app/new && mv /web/app/new /web/app/app.cgi"
    router.inside("run", "sh", "-c", f"printf '%s' '{program.encode().hex()}' | ({command})")


def restore_endpoint(router):
    router.inside("run", "sh", "-c", "cp /tmp/kept /web/app/new && mv /web/app/new /web/app/app.cgi")


def cookie(results, router, control):
    """A browser shows a page of the router, which has the same host as the control port, and so its cookies."""
    replace_endpoint(router, "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\n%s' \"$HTTP_COOKIE\"\n")
    seen = {}
    for name, sent in (("alone", "control-{0}={1}"), ("among others", "a=b; control-{0}={1}; c=d"), ("twice", "control-{0}={1};control-1={1}")):
        connection = http.client.HTTPConnection("127.0.0.1", router.port, timeout=SECONDS)
        connection.request("GET", "/app/app.cgi", headers={"Cookie": sent.format(control.port, control.token)})
        seen[name] = connection.getresponse().read().decode()
        connection.close()
    restore_endpoint(router)
    good = seen == {"alone": "", "among others": "a=b; c=d", "twice": ""}
    results.check("the router never sees the control port's cookie, only others", good, seen)


def guest(results, router, control):
    """A hostile router asks for the control port, by every address that it could try."""
    script = (
        "for a in 127.0.0.1 localhost 192.168.1.1 192.168.1.100 203.0.113.1 0.0.0.0 $PC; do ("
        f"curl -sS --max-time 5 -H 'Authorization: Bearer {control.token}' http://$a:{control.port}/api/status && echo BROKEN; "
        f"nc -w 5 $a {control.port} </dev/null >/dev/null 2>&1 && echo BROKEN) & done; wait; "
        f"cat {router.state}/control.json /flash/control.json /../control.json && echo BROKEN; true"
    )
    lines = subprocess.run(["ip", "-4", "-oneline", "addr"], capture_output=True, text=True, check=True).stdout.splitlines()
    addresses = " ".join(sorted({line.split()[3].partition("/")[0] for line in lines}))
    status, said = router.inside("run", "sh", "-c", script.replace("$PC", addresses))
    results.check("a program of the router does not reach the control port, nor its token", status == 0 and "BROKEN" not in said, said)
    results.check("the attack has run", "curl" in said, said)
