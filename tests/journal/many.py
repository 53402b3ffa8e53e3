# SPDX-License-Identifier: MIT
"""Many requests: the journal keeps the last ones, and says how many went, also over a reboot of the router in between."""

import concurrent.futures
import http.client
import json
import pathlib
import re
import time

import journal as journals
import router as routers
from requests_told import Reader
from story import STARTED_ANEW

AT_ONCE = 4
BODIES = ('{"action":"scan"}', '{"action":"get","wifi":{}}', '{"action":"set","app":{"port":%d}}', '{"action":"get","lanStatus":{}}')
SAMPLE = 400


def ask(port, number):
    """Whether the reply is one of the endpoint's."""
    body = BODIES[number % len(BODIES)].replace("%d", str(number % 65536))
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=routers.PATIENCE_SECONDS)
    try:
        connection.request("POST", "/app/app.cgi", body)
        return b'Rsp"' in connection.getresponse().read()
    except (OSError, http.client.HTTPException):
        return False
    finally:
        connection.close()


def memory(router):
    """Bytes that the keeper has in memory."""
    status = pathlib.Path(f"/proc/{keeper_of(router)}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1]) << 10


def keeper_of(router):
    """script/server becomes the keeper, or has it for a child."""
    for pid in [router.process.pid, *(pid for pid, (parent, _) in routers.processes().items() if parent == router.process.pid)]:
        if "keeper " in routers.command_line(pid):
            return pid
    raise RuntimeError("the keeper does not run")


def tell(results, way, build, count):
    router = routers.Router(way, build)
    try:
        if not results.check("a router starts", router.start("--home", "family", "--still") is not None, router.output()):
            return
        router.inside("run", "rm", "-f", "/var/appdebug")  # no debug lines, as in a router that is used
        before, began = memory(router), time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            good = list(pool.map(lambda number: ask(router.loopback_port, number), range(count // 2)))
            seconds = time.monotonic() - began
            Reader(router).settled()  # of a request that is still at work a reboot leaves half
            reboot(router)
            began = time.monotonic()
            good += pool.map(lambda number: ask(router.loopback_port, number), range(count // 2, count))
            seconds += time.monotonic() - began
        after = memory(router)
        results.check(f"{count} requests are answered", all(good), good.count(False))
        told(results, router, count)
        print(f"        {seconds / count * 1000:.1f} ms for a request, {AT_ONCE} at a time; the keeper had {before >> 10} KiB before, {after >> 10} KiB afterwards")
        most = journals.MOST_BYTES + (64 << 20)  # what is kept, and as much again for what Python makes of it
        results.check("what the keeper's memory holds of them is bounded", after - before < most, (before, after))
    finally:
        router.remove()


def reboot(router):
    mark = len(router.output())
    router.inside("reboot", "--wait")
    router.await_output(STARTED_ANEW, mark)


def told(results, router, count):
    status, text = router.inside("api", "/api/journal?last=1")
    found = json.loads(text)
    kept, gone = found["all"], found["gone"]
    results.check("each is noted, or told to have gone", kept + gone == count and kept <= journals.MOST_REQUESTS, (kept, gone))
    if count > journals.MOST_REQUESTS:
        results.check("the oldest went", gone >= count - journals.MOST_REQUESTS, (kept, gone))
    reader = Reader(router)
    reader.settled()
    lines = [line for line in reader.lines("--last", str(count)) if "number" in line]
    results.check("those that are kept are the last ones, of before and after the reboot", [line["number"] for line in lines] == [*range(gone + 1, count + 1)], lines[:2])
    results.check("and each went well", all(line["verdict"] == "ok" for line in lines), [line for line in lines if line["verdict"] != "ok"][:3])
    whole = reader.whole(lines[0]["number"])
    results.check("the oldest is whole", whole["exit"] == 0 and whole["events"] and not whole["untold"], whole)
    began = time.monotonic()
    reader.lines("--last", "20")
    print(f"        {kept} kept, {gone} gone; the last 20 are listed in {time.monotonic() - began:.2f} s")
