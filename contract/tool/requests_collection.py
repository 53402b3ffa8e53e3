# SPDX-License-Identifier: MIT
"""A collection of requests for HTTP clients: a file for each object, in the form of .http files that httpYac and the IDEs of
JetBrains read. Both hand the session on by a script behind the login, and by no other form that both know."""

import json

HEAD = """# {about}
# Made from contract/objects/{name}.yaml by contract/make: do not edit.

@router = http://127.0.0.1:8080

### login
POST {{{{router}}}}/app/app.cgi
Content-Type: application/json

{{"action": "login", "info": {{"user": "admin", "pwd": "admin"}}}}

> {{% client.global.set("session", response.body.info.sessionid); %}}
"""


def files(contract):
    found = {}
    for name, facts in contract.objects.items():
        parts = [HEAD.format(about=facts["about"], name=name)]
        for action in ("get", "set"):
            if action in facts:
                parts.append(request(f"{action} {name}", {"action": action, "sessionid": "{{session}}", name: facts[action].get("example", {})}))
        found[f"{name}.http"] = "\n".join(parts)
    return found


def request(title, body):
    return f"### {title}\nPOST {{{{router}}}}/app/app.cgi\nContent-Type: application/json\n\n{json.dumps(body, indent=2, ensure_ascii=False)}\n"
