# SPDX-License-Identifier: MIT
"""The ways in which script/server is run by the tests."""

import os
import pwd
import subprocess

IS_ROOT = os.geteuid() == 0
NOBODY = pwd.getpwnam("nobody")

AS_NOBODY = [
    "setpriv",
    f"--reuid={NOBODY.pw_uid}",
    f"--regid={NOBODY.pw_gid}",
    "--clear-groups",
]

DROP_CAPABILITIES = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"]

# Root as a plain container has it: without capabilities, and with no way to get namespaces. The limit is that of a user
# namespace which is made for it, and ends with it.
WITHOUT_NAMESPACES = [
    "unshare",
    "--user",
    "--map-root-user",
    "sh",
    "-euc",
    'echo 0 >/proc/sys/user/max_user_namespaces; exec setpriv --bounding-set=-all --inh-caps=-all "$@"',
    "sh",
]

# A plain root is no mount point, whose propagation cannot be changed, nor need it be.
MAKE_NAMESPACES = ["unshare", "--mount", "--propagation", "unchanged", "--net", "--ipc", "--pid", "--fork", "true"]


def refusal(command):
    """Returns the last line with which a command fails, or None."""
    run = subprocess.run(command, capture_output=True, text=True)
    return (run.stderr.strip().splitlines() or [f"status {run.returncode}"])[-1] if run.returncode else None


class Way:
    """What stands before script/server on its command line, and what is expected of it."""

    def __init__(self, name, prefix, by_proot, user, obstacle):
        self.name = name
        self.prefix = prefix
        self.by_proot = by_proot  # the router cannot have namespaces, and must find that out by itself
        self.user = user  # who owns the state folder; None: who runs the test
        self.obstacle = obstacle  # returns why this machine cannot go this way, or None


def user_obstacle():
    """Of an ordinary user, who must be able to read the project too."""
    prefix = AS_NOBODY if IS_ROOT else []
    return refusal(prefix + ["test", "-r", __file__]) or refusal(
        prefix + MAKE_NAMESPACES[:1] + ["--user", "--map-root-user"] + MAKE_NAMESPACES[1:]
    )


def without_namespaces():
    """The first prefix that takes away namespaces and can be had. None can where there is nothing left to take away."""
    prefixes = (WITHOUT_NAMESPACES, DROP_CAPABILITIES, [])
    return next(prefix for prefix in prefixes if refusal(prefix + ["true"]) is None)


WAYS = {
    way.name: way
    for way in (
        Way("namespaces", [], False, None, lambda: refusal(MAKE_NAMESPACES) if IS_ROOT else "only root can"),
        Way("user-namespaces", AS_NOBODY if IS_ROOT else [], False, NOBODY if IS_ROOT else None, user_obstacle),
        Way("no-namespaces", without_namespaces(), True, None, lambda: None),
    )
}
