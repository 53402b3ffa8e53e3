# SPDX-License-Identifier: MIT
"""What script/server says when the router is up."""

import json
import re


def stored_text(text):
    """A text of the store, in which control characters are written as \\x0a, as a JSON string for a shell word in '...'."""
    quoted = json.dumps(text, ensure_ascii=False)[1:-1]
    return re.sub(r"\\\\x([0-9a-f]{2})", r"\\u00\1", quoted).replace("'", "'\\''")


def introduction(about, port, loopback_port, control_url, others):
    """`about`: the phone's address, user and password; `others`: (who, port, address) of further phones and the agents."""
    control = f"See and change everything at {control_url}\n"
    below = "Below is what the system daemon is told, what the console shows, and the web server's errors. Ctrl-C stops the router.\n"
    loopback = f"Requests to http://127.0.0.1:{loopback_port}/app/app.cgi come from the router itself and need no session.\n" if loopback_port else ""
    if not about["phone"]:
        return (
            f"\nThe router has a LAN in which no phone finds a place, so nothing answers at port {port}. Its settings can be changed with\n"
            f"script/router flash set, or forgotten with script/server --fresh.\n{loopback}{control}\n{below}"
        )
    url = f"http://127.0.0.1:{port}/app/app.cgi"
    login = f'{{"action":"login","info":{{"user":"{stored_text(about["user"])}","pwd":"{stored_text(about["password"])}"}}}}'
    more = "".join(f"It answers at http://127.0.0.1:{number}/app/app.cgi as to {who} {address}.\n" for who, number, address in others if who.startswith("phone"))
    more += "".join(f"At http://127.0.0.1:{number}/app/app.cgi answers {who} {address}.\n" for who, number, address in others if who.startswith("agent"))
    return f"""
The router answers at {url}, as to the phone {about["phone"]} on its LAN.
{loopback}{more}{control}Try, in another terminal:

  curl -sS -d '{{"action":"scan"}}' {url}
  curl -sS -d '{login}' {url}
  curl -sS -d '{{"action":"get","dutInfo":{{}},"sessionid":"'$(curl -sS -d '{login}' {url} | grep -o 'Us[0-9a-f]*')'"}}' {url}

{below}"""
