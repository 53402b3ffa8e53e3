# SPDX-License-Identifier: MIT
"""A guest on this PC: what an app makes the router run, by the address that "netDig" puts into a shell, stays in the router."""

import json
import os
import pathlib
import socket
import stat
import threading

import router as routers
from story import Teller, left_nothing

# What each attack tries, and the commands; "BROKEN" in what they print says that it worked. CANARY is a file of the PC that its owner
# alone may read, PORT a port on which something of the PC listens.
ATTACKS = (
    ("a set-user-id file in the flash memory", "cp /bin/busybox /flash/mib/x && chmod 4755 /flash/mib/x; cp /bin/busybox /flash/x; chmod 6755 /flash/x"),
    ("any file in the flash memory", "echo x > /flash/planted; echo x > /flash/mib/planted; mkdir /flash/folder"),
    ("a link in the flash memory's place of the store", "ln -sf /etc/passwd /flash/mib/settings.mdb.new; ln -s / /flash/mib/root"),
    ("a pipe in the flash memory", "mkfifo /flash/mib/pipe"),
    ("a device node", "mknod /tmp/disk b 254 0 && echo BROKEN; mknod /flash/kmem c 1 2 && echo BROKEN"),
    ("the PC's random numbers", "chmod 600 /dev/random; chmod 600 /dev/urandom; chmod 600 /dev/null; true"),
    ("interrupts", "echo 1 > /proc/irq/default_smp_affinity && echo BROKEN"),
    ("the kernel's settings", "for f in kernel/core_pattern kernel/panic vm/drop_caches kernel/modprobe fs/file-max; do echo 1 > /proc/sys/$f && echo BROKEN; done"),
    ("the system request key", "echo b > /proc/sysrq-trigger && echo BROKEN"),
    ("/sys", "ls /sys/kernel && echo BROKEN; mkdir -p /tmp/s; mount -t sysfs s /tmp/s && echo BROKEN"),
    ("a mount", "mount -t tmpfs x /mnt && echo BROKEN; mkdir -p /tmp/m; mount -t tmpfs x /tmp/m && echo BROKEN; mount -t proc p /tmp/m && echo BROKEN"),
    ("a mount over /usr", "mount -o remount,rw /usr && echo BROKEN; mount --bind /tmp /usr && echo BROKEN"),
    ("the end of a mount", "umount /usr && echo BROKEN; umount -l /proc && echo BROKEN"),
    ("/usr", "touch /usr/planted && echo BROKEN; echo x >> /usr/bin/curl && echo BROKEN; rm /usr/bin/curl && echo BROKEN"),
    ("a way out of the root", "for d in /.. /../../../.. /proc/1/root /proc/1/cwd/../..; do cat $d/CANARY && echo BROKEN; done; chroot /proc/1/root cat CANARY && echo BROKEN"),
    ("another root inside", "mkdir -p /tmp/c/bin; cp /bin/busybox /tmp/c/bin; chroot /tmp/c /bin/busybox true && echo BROKEN"),
    ("a name space of its own", "/usr/bin/unshare -U true && echo BROKEN; /usr/bin/unshare -n true && echo BROKEN; /usr/bin/unshare -m true && echo BROKEN"),
    ("another's name space", "/usr/bin/nsenter -t 1 -n true && echo BROKEN; /usr/bin/nsenter -t 1 -m true && echo BROKEN"),
    ("the PC's files", "cat CANARY && echo BROKEN; cat /etc/shadow && echo BROKEN; ls /root /home /work && echo BROKEN"),
    ("the PC's processes", "for p in PIDS; do kill -0 $p && echo BROKEN; kill -9 $p && echo BROKEN; done"),
    ("the processes that /proc tells", "grep -l script/server /proc/[0-9]*/cmdline && echo BROKEN; grep -l keeper /proc/[0-9]*/cmdline && echo BROKEN"),
    ("memory of another process", "cat /proc/1/mem > /dev/null && echo BROKEN; head -c 1 /dev/mem && echo BROKEN; head -c 1 /proc/kcore && echo BROKEN"),
    ("the kernel's log", "dmesg | grep -q . && echo BROKEN"),
    ("the host name and the clock", "hostname planted && echo BROKEN; date -s 2001-01-01; [ $(date +%Y) -gt 2001 ] || echo BROKEN"),
    ("a kernel module", "insmod /tmp/x.ko 2>&1 | grep -qi 'exec format\\|invalid module' && echo BROKEN; modprobe dummy && echo BROKEN"),
    ("more rights", "grep -q 'NoNewPrivs:.1' /proc/self/status || echo BROKEN; grep -q 'Seccomp:.2' /proc/self/status || echo BROKEN"),
    ("rights over the PC", "grep CapEff /proc/self/status | grep -q '0000000000[0-9a-f]\\{6\\}$' || echo BROKEN"),
    ("what listens on the PC's loopback", "for a in 127.0.0.1 192.168.1.100 203.0.113.1; do nc -w 1 $a PORT </dev/null | grep -q secret && echo BROKEN; done"),
    ("the PC's network interfaces", "ifconfig -a | grep -q '^e[tn][hsp]0' && echo BROKEN"),
    ("descriptors of the PC", "for d in /proc/self/fd/*; do readlink $d; done | grep -v '^/dev\\|pipe:\\|^/proc\\|socket:' | grep . && echo BROKEN"),
    ("variables of the PC", "env | grep -v '^PATH=\\|^PWD=\\|^SHLVL=\\|^CONTENT_\\|^REMOTE_\\|^HTTP\\|^SERVER_\\|^REQUEST_\\|^GATEWAY\\|^SCRIPT_\\|^DOCUMENT\\|^QUERY\\|^REDIRECT\\|^_=' | grep . && echo BROKEN"),
    ("the terminal", "[ -c /dev/tty ] && echo BROKEN; [ -e /dev/pts ] && echo BROKEN; [ -t 0 ] && echo BROKEN; [ -t 2 ] && echo BROKEN"),
    ("limits of its own making", "ulimit -n 1000000 && echo BROKEN; ulimit -v unlimited && echo BROKEN"),
    ("a full /tmp", "dd if=/dev/zero of=/tmp/big bs=1M count=1000 2>/dev/null && echo BROKEN; rm -f /tmp/big"),
    ("files without end", "mkdir /tmp/many; i=0; while [ $i -lt 20000 ]; do : > /tmp/many/$i || break; i=$((i+1)); done; [ $i -lt 20000 ] || echo BROKEN; rm -r /tmp/many"),
    ("memory without end", "head -c 600000000 /dev/zero | tail -c 600000000 | wc -c | grep -q 600000000 && echo BROKEN"),
    ("the board's reset line by nonsense", "for w in 'keep ../../etc/passwd' 'keep /etc/passwd' 'keep mib/../x' 'keep planted' 'mount x'; do echo \"$w\"; done | while read w; do board $w && echo BROKEN; done"),
    ("the store's file as something else", "rm -rf /flash/leds-off /flash/mib/x /flash/x /flash/planted /flash/folder; ln -s /etc/passwd /flash/leds-off || echo BROKEN; board keep leds-off && echo BROKEN; rm -f /flash/leds-off"),
    ("a store's file without bounds", "cp /flash/mib/settings.mdb /tmp/kept; dd if=/dev/zero of=/flash/mib/settings.mdb bs=1M count=6 2>/dev/null; board keep mib/settings.mdb && echo BROKEN; cp /tmp/kept /flash/mib/settings.mdb"),
    ("rights that were given up", "/usr/bin/setpriv --bounding-set +sys_admin grep CapBnd /proc/self/status | grep -q '0000000000[0-9a-f]\\{6\\}$' || echo BROKEN"),
    ("the web server's own programs", "echo '#!/bin/sh' > /web/app/app.cgi.new; ls -la /web/app | grep -q '^-rws' && echo BROKEN"),
)  # fmt: skip

class Guest(Teller):
    def attack(self, commands):
        """Has the endpoint run the commands as an app can: what became of them, by the reply."""
        script = f"out=$({{\n{commands}\n}} 2>/dev/null)\ncase $out in *BROKEN*) echo BROKEN \"$out\";; *) echo HELD;; esac"
        self.router.inside("run", "sh", "-c", f"cat > /tmp/attack <<'END'\n{script}\nEND")
        status, _, text = self.router.ask(json.dumps({"action": "get", "netDig": {"ping": {"dst": "-h >/dev/null 2>&1; sh /tmp/attack"}}}), loopback=True)
        return text if status == 200 else f"{status} {text}"

    def answers(self):
        return '"scanRsp"' in self.router.ask('{"action":"scan"}')[2]


def modes():
    return {path: os.stat(path).st_mode for path in ("/dev/null", "/dev/random", "/dev/urandom", "/usr/bin/curl", "/etc/passwd")}


def listen():
    """Something of the PC that listens on its loopback. Returns the socket and its port."""
    listener = socket.create_server(("127.0.0.1", 0))

    def answer():
        while True:
            try:
                client = listener.accept()[0]
            except OSError:
                return
            with client:
                client.sendall(b"secret\n")

    threading.Thread(target=answer, daemon=True).start()
    return listener, listener.getsockname()[1]


def strange_files(state):
    """What in the state folder is no file of the router's store, or is not as it must be."""
    found = []
    for path in [state, *state.rglob("*")]:
        status = path.lstat()
        kind, mode = stat.S_IFMT(status.st_mode), stat.S_IMODE(status.st_mode)
        if kind == stat.S_IFDIR and mode & 0o077 and path != state:
            found.append(f"{path}: {mode:o}")
        elif kind == stat.S_IFREG and (mode & 0o7133 or "flash" in path.parts and path.name == "planted"):
            found.append(f"{path}: {mode:o}")
        elif kind not in (stat.S_IFDIR, stat.S_IFREG, stat.S_IFSOCK):
            found.append(f"{path}: type {kind:o}")
    flash = state / "flash"
    known = {"mib", "mib/committed.mdb", "mib/settings.mdb", "leds-off", "wan-taken", "home-taken"}
    found += [f"{path}: not of the store" for path in flash.rglob("*") if str(path.relative_to(flash)) not in known]
    return found


def invade(results, way, build):
    router = routers.Router(way, build)
    canary = pathlib.Path(router.state).parent / "canary"
    listener, port = listen()
    try:
        if not results.check("a router for a hostile app starts", router.start() is not None, router.output()):
            return
        if way.by_proot:
            # proot keeps less out, which docs/virtual-router.md tells.
            results.check("it says what it cannot keep out", "has the rights of whoever started it" in router.output(), router.output())
            return
        canary.write_text("secret\n")
        canary.chmod(0o600)
        t = Guest(router, results)
        before = modes()
        for name, commands in ATTACKS:
            for word, value in (("CANARY", canary), ("PORT", port), ("PIDS", f"{os.getpid()} {os.getppid()}")):
                commands = commands.replace(word, str(value))
            said = t.attack(commands)
            results.check(f"{name}: stays in the router", "HELD" in said and "BROKEN" not in said, said)
            results.check(f"{name}: the PC is as it was, and the router answers", modes() == before and t.answers(), modes())
        strange = strange_files(pathlib.Path(router.state))
        results.check("the state folder holds the store's own files only", not strange, "\n".join(strange))
        left_nothing(results, "Ctrl-C", router.stop(2), 130)
    finally:
        listener.close()
        canary.unlink(missing_ok=True)
        router.remove()
