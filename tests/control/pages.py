# SPDX-License-Identifier: MIT
"""The pages of the control port: how they are served, and that what they ask of the router is answered."""

import json
import os
import pathlib
import re
import subprocess
import tempfile

import attacks

PROJECT = pathlib.Path(__file__).resolve().parents[2]
CONTROL = PROJECT / "virtual_router/control"
LOGIN = {"action": "login", "info": {"user": "admin", "pwd": "admin"}}
PHONE = "/api/phones/1/app/app.cgi"

# Done again and again in the page until it gives a text: logs in, opens the request, chooses an example, sends it.
TRY_IT = """
(() => {
  const operation = document.querySelector(".opblock");
  if (!operation) return null;
  if (!window.step) { window.step = 1; document.querySelector("#login button").click(); return null; }
  if (!document.getElementById("session").textContent.startsWith("Logged in")) return null;
  if (!operation.classList.contains("is-open")) { operation.querySelector(".opblock-summary-control").click(); return null; }
  const examples = [...operation.querySelectorAll("select")].find(list => [...list.options].some(option => option.value === "get_dutInfo"));
  if (!examples) return null;
  if (examples.value !== "get_dutInfo") { examples.value = "get_dutInfo"; examples.dispatchEvent(new Event("change", {bubbles: true})); return null; }
  if (window.step < 2) { window.step = 2; operation.querySelector("button.execute").click(); return null; }
  const reply = operation.querySelector(".live-responses-table .response-col_description pre");
  return reply && reply.textContent;
})()
"""


def served(results, control):
    kinds = {"html": "text/html", "js": "text/javascript", "css": "text/css", "json": "application/json"}
    for path, ending in (
        ("/", "html"), ("/docs", "html"), ("/docs/control", "html"), ("/docs/contract.json", "json"), ("/pages/docs.js", "js"),
        ("/pages/docs.css", "css"), ("/vendor/swagger-ui/swagger-ui-bundle.js", "js"), ("/vendor/swagger-ui/swagger-ui.css", "css"),
    ):  # fmt: skip
        answer = control.get(path)
        kind = answer.headers.get("content-type", "").partition(";")[0]
        results.check(f"{path} is served as {kinds[ending]}", answer.status == 200 and kind == kinds[ending], answer.headers)
        policy = answer.headers.get("content-security-policy", "")
        strict = "default-src 'none'" in policy and "frame-ancestors 'none'" in policy and "unsafe-eval" not in policy and "http" not in policy
        results.check(f"{path} may run and load only what is served here", strict and "script-src 'self' 'unsafe" not in policy, policy)
        results.check(f"{path} is taken for nothing else", answer.headers.get("x-content-type-options") == "nosniff")
    for path in ("/pages/../server.py", "/pages/%2e%2e/server.py", "/vendor/SHA256SUMS", "/pages/", "/docs/../api.json"):
        results.check(f"{path} is not served", control.get(path).status == 404)
    own = [path for path in (CONTROL / "pages").iterdir()]
    loaded = [f"{path.name}: {found}" for path in own for found in re.findall(r"(?:https?:)?//[\w.]+/\S*", re.sub(r"(?m)^\s*//.*", "", path.read_text()))]
    results.check("the pages name nothing on other hosts", not loaded, loaded)
    inline = [path.name for path in own if path.suffix == ".html" and re.search(r"<script>|<style>|\son\w+=|\sstyle=", path.read_text())]
    results.check("the pages have no scripts and styles of their own inside", not inline, inline)
    sums = subprocess.run(["sha256sum", "--check", "--strict", "--quiet", "SHA256SUMS"], cwd=CONTROL / "vendor", capture_output=True, text=True)
    listed = (CONTROL / "vendor/SHA256SUMS").read_text()
    missing = [path.name for path in (CONTROL / "vendor").rglob("*") if path.is_file() and path.parent != CONTROL / "vendor" and f"/{path.name}\n" not in listed]
    results.check("what others wrote is as it was published", sums.returncode == 0 and not missing, (sums.stdout, missing))


def asked(results, router, control):
    contract = control.get("/docs/contract.json").json()
    (server,), (path,) = contract["servers"], contract["paths"]
    results.check("the contract is tried at this port", server["url"] + path == PHONE, (server, path))
    answer = control.post(PHONE, {"action": "scan"})
    results.check("a page asks the router", answer.json()["action"] == "scanRsp", answer)
    session = control.post(PHONE, LOGIN).json()["info"]["sessionid"]
    answer = control.post(PHONE, {"action": "get", "dutInfo": {}, "sessionid": session})
    results.check("logs in, and uses the session", answer.json()["dutInfo"]["name"] == "Family", answer)
    results.check("without one it needs a login", control.post(PHONE, {"action": "get", "dutInfo": {}}).json()["result"]["error"] == 6)
    answer = control.ask("POST", PHONE, b"{no JSON", headers={"Content-Type": "application/json"})
    direct = router.ask("{no JSON")[2]
    results.check("what is no JSON reaches the router as it is", answer.body.decode() == direct, (answer, direct))
    results.check("a phone that there is not does not ask", control.post("/api/phones/2/app/app.cgi", {"action": "scan"}).code() == "phone")
    for number in ("0", "../1", "1%2f..", "router", "agent 1"):
        results.check(f"nor does the phone '{number}'", control.post(f"/api/phones/{number}/app/app.cgi".replace(" ", "%20"), {}).status == 404)


def hostile(results, router, control):
    """The router replies what it should not: its endpoint is another program now."""
    replies = {
        "a page": "Content-Type: text/html\\r\\nSet-Cookie: control-1=x; Path=/\\r\\nAccess-Control-Allow-Origin: *\\r\\n\\r\\n<script>alert(1)</script>",
        "a way elsewhere": "Status: 302 Found\\r\\nLocation: http://evil.example/\\r\\n\\r\\n",
        "no head": "no head at all",
    }
    for name, reply in replies.items():
        program = f"#!/bin/sh\ncat > /dev/null\nprintf '{reply}'\n"
        attacks.replace_endpoint(router, program)
        answer = control.post(PHONE, {"action": "scan"})
        leaked = {name for name in answer.headers if name in ("set-cookie", "location") or name.startswith("access-control")}
        kind = answer.headers["content-type"].partition(";")[0]
        results.check(f"{name} as a reply stays a text", kind in ("application/json", "text/plain") and not leaked, answer)
        results.check(f"{name} may run nothing", answer.headers["content-security-policy"].startswith("default-src 'none'"), answer.headers)
    attacks.restore_endpoint(router)
    results.check("the router is itself again", control.post(PHONE, {"action": "scan"}).json()["action"] == "scanRsp")


def in_browser(results, control):
    """What a person does on /docs, in a browser. Left out where there is none."""
    with tempfile.TemporaryDirectory() as folder:
        url = f"{control.origin}/docs?token={control.token}"
        run = subprocess.run([PROJECT / "tests/control/browser", url, f"{folder}/docs.png", TRY_IT], capture_output=True, text=True, env={**os.environ, "TMPDIR": folder})
    if run.returncode == 77:
        print(f"left out  {results.way}: the pages in a browser: {run.stdout.strip()}")
        return
    seen = json.loads(run.stdout) if run.returncode == 0 else {"found": None, "complaints": [run.stderr]}
    results.check("a request is tried on /docs in a browser", seen["found"] and '"name": "Family"' in seen["found"], seen)
    results.check("and the browser complains of nothing", not seen["complaints"], seen["complaints"])
