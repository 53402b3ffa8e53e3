# SPDX-License-Identifier: MIT
"""The premises: the process beneath which everything virtual stands, and the keeper's hand in there.

The keeper stays outside, where the state, the PC's ports and the terminal are. What it wants done beside or inside a router it
asks of the premises, over a socket that no program of a router has: an order is a verb and its words, perhaps with
descriptors; so is the answer. The end of every program that was started is told without being asked for.

The premises end with the keeper, and everything in them with the premises. Modes (namespaces.py, proot.py) are what they are
made of.
"""

import asyncio
import errno
import os
import select
import signal
import socket
import stat
import subprocess
import sys
import traceback

import kernel
import layout
import messages

ENDED = "ended"
CHANGED = "changed"
MOST_FILES_TOLD = 256  # of one change
MOST_NAME_TOLD = 64  # characters; the files that somebody waits for have short names
ROOT = "root/"  # the folder that holds a router's root, below that of the router
NO_FILE = (errno.ENOENT, errno.ELOOP, errno.ENOTDIR, errno.ENXIO, errno.EXDEV)


class Refused(Exception):
    """An order could not be carried out; the text says why."""


def reset_signals():
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGPIPE, signal.SIGCHLD):
        signal.signal(number, signal.SIG_DFL)


def become(argv, environment, fds, *, terminal=False):
    """Becomes a program that has these three descriptors and no other."""
    os.setsid()
    for number, fd in enumerate(fds):  # they are all above 2
        os.dup2(fd, number)
    os.closerange(3, 1 << 16)
    if terminal:
        import fcntl
        import termios

        fcntl.ioctl(0, termios.TIOCSCTTY, 0)
    reset_signals()
    os.execvpe(argv[0], argv, environment)


class Server:
    """In the premises' process. `mode` carries orders out."""

    def __init__(self, connection, mode):
        self.connection = connection
        self.mode = mode
        self.programs = {}  # process id -> the number that the keeper gave it
        self.watched = {}  # descriptor of a watch -> its name

    def serve(self):
        """Runs until the keeper has gone."""
        wake_read, wake_write = os.pipe2(os.O_NONBLOCK | os.O_CLOEXEC)
        signal.signal(signal.SIGCHLD, lambda *_: None)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, signal.SIG_IGN)
        signal.set_wakeup_fd(wake_write, warn_on_full_buffer=False)
        poll = select.poll()
        for fd in (self.connection.fileno(), wake_read):
            poll.register(fd, select.POLLIN)
        self.poll = poll
        while True:
            for fd, _ in poll.poll():
                if fd == wake_read:
                    os.read(wake_read, 4096)
                    self.tell_ends()
                elif fd == self.connection.fileno():
                    message, fds = messages.receive(self.connection)
                    if message is None:
                        return
                    self.obey(message, fds)
                elif fd in self.watched:
                    self.tell_change(self.watched[fd], kernel.read_watch(fd))

    def tell_change(self, name, files):
        """The router may have given its files any names, and any number of them."""
        short = sorted(file for file in files if len(file) <= MOST_NAME_TOLD)
        messages.send(self.connection, {"event": CHANGED, "name": name, "files": short if len(short) <= MOST_FILES_TOLD else [""]})

    def tell_ends(self):
        while self.tell_end(os.WNOHANG):
            pass

    def tell_end(self, options=0):
        """Waits for the end of a child, and tells it. Returns its process id; None or 0: there is none."""
        try:
            pid, status = os.waitpid(-1, options)
        except ChildProcessError:
            return None
        number = self.programs.pop(pid, None)
        self.mode.beside.discard(pid)
        if number is not None:
            messages.send(self.connection, {"event": ENDED, "number": number, "status": os.waitstatus_to_exitcode(status)})
        return pid

    def obey(self, message, fds):
        reply = {"id": message["id"]}
        given = []
        try:
            answer = getattr(self, "do_" + message["verb"])(fds, **message["words"])
            if isinstance(answer, list):
                given = answer
            else:
                reply["answer"] = answer
        except (OSError, subprocess.SubprocessError, Refused) as error:
            reply["refused"] = str(error)
        except Exception:  # what is wrong here must not look like a dead premises
            reply["refused"] = traceback.format_exc()
        for fd in fds:
            os.close(fd)
        try:
            messages.send(self.connection, reply, given)
        except OSError as error:
            if error.errno != errno.EMSGSIZE:
                raise
            messages.send(self.connection, {"id": message["id"], "refused": error.strerror})
        for fd in given:
            os.close(fd)

    # --- orders ---

    def do_run(self, fds, number, guest, argv, environment, terminal=False, network=None):
        """Runs a program: of a router, or of the PC beside it (guest None), perhaps in a network."""
        pid = self.mode.fork(guest)
        if pid == 0:
            try:
                kernel.die_with_parent(signal.SIGKILL)
                fds = [os.dup(fd) if fd > 2 else fd for fd in fds]
                self.mode.enter(guest, network)
                become(*self.mode.command(guest, argv, environment), fds, terminal=terminal)
            except BaseException as error:
                os.write(fds[2], f"{argv[0]}: {getattr(error, 'strerror', None) or error}\n".encode())
            finally:
                os._exit(127)
        self.programs[pid] = number
        if guest is None:
            self.mode.beside.add(pid)

    def do_kill(self, _fds, number, signal_number, group=False):
        for pid, found in self.programs.items():
            if found == number:
                (os.killpg if group else os.kill)(pid, signal_number)

    def do_power_on(self, fds, guest, flash, **about):
        """Makes a router's root and starts its first process. `flash`: the names of its flash memory's files, one for each descriptor.
        Answers with the listening socket of its board and its console."""
        return self.mode.power_on(guest, flash=dict(zip(flash, fds)), **about)

    def do_power_off(self, _fds, guest):
        self.mode.power_off(guest, self.tell_end)

    def do_use(self, _fds, guest):
        """How much of what is bounded a router has used: {what: (used, most)}."""
        return self.mode.use(guest)

    def do_network(self, _fds, name):
        self.mode.add_network(name)

    def do_drop_network(self, _fds, name):
        self.mode.drop_network(name)

    def do_ip(self, _fds, network, lines, force=False):
        return self.mode.ip(network, lines, force)

    def do_forward_packets(self, _fds, network):
        self.mode.forward_packets(network)

    def do_socket(self, _fds, network):
        """A TCP socket of a network."""
        return [self.mode.tcp_socket(network)]

    def do_connect(self, _fds, path):
        """A connection to a Unix socket of the run folder, of which no program of the router can make another."""
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(os.path.join(self.mode.run, path))
        return [connection.detach()]

    def do_watch(self, _fds, name, path):
        """Tells from now on which files are written in the folder. A watch takes the place of another of its name."""
        for fd in [fd for fd, other in self.watched.items() if other == name]:
            self.poll.unregister(fd)
            del self.watched[fd]
            os.close(fd)
        fd = kernel.watch_folder(os.path.join(self.mode.run, path))
        self.watched[fd] = name
        self.poll.register(fd, select.POLLIN)

    def folder_of(self, path):
        """A descriptor of the folder that holds a file of the run folder, and the file's name. On the way through a router's root
        nothing is followed that may lead out of it."""
        before, root, rest = path.partition(ROOT)
        base = os.open(os.path.join(self.mode.run, before + root if root else ""), os.O_PATH | os.O_DIRECTORY)
        rest = rest if root else path
        folder, _, name = rest.rpartition("/")
        if not folder:
            return base, name
        try:
            return kernel.open_beneath(base, folder, os.O_PATH | os.O_DIRECTORY), name
        finally:
            os.close(base)

    def do_read(self, fds, path):
        """A regular file of the run folder for reading; no descriptor: there is none."""
        try:
            found = self.do_open(fds, path)
        except OSError as error:
            if error.errno in NO_FILE:
                return None
            raise
        if found and not stat.S_ISREG(os.fstat(found[0]).st_mode):
            os.close(found[0])
            return None
        return found

    def do_open(self, _fds, path):
        """A file of the run folder for reading, whatever it is; no descriptor: there is none."""
        folder, name = self.folder_of(path)
        try:
            return [kernel.open_beneath(folder, name, os.O_RDONLY | os.O_NONBLOCK | os.O_NOFOLLOW)]
        except FileNotFoundError:
            return None
        finally:
            os.close(folder)

    def do_folder(self, _fds, path):
        os.makedirs(os.path.join(self.mode.run, path), 0o700, exist_ok=True)

    def do_write(self, _fds, path, content):
        """A file of the run folder, which is never seen half written."""
        folder, name = self.folder_of(path)
        try:
            fd = kernel.open_beneath(folder, name + ".new", os.O_WRONLY | os.O_CREAT | os.O_TRUNC | os.O_NOFOLLOW, 0o600)
            with os.fdopen(fd, "w") as file:
                file.write(content)
            os.replace(name + ".new", name, src_dir_fd=folder, dst_dir_fd=folder)
        finally:
            os.close(folder)

    def do_remove(self, _fds, path):
        try:
            os.unlink(os.path.join(self.mode.run, path))
        except FileNotFoundError:
            pass


def make_root(folder, entries, texts, flash):
    """Lays a root out. `texts` take the place of files among the entries; `flash`: name -> descriptor."""
    changed = {path: layout.text(path, content) for path, content in texts.items()}
    layout.lay_out(folder, {**entries, **changed})
    for name, fd in flash.items():
        path = os.path.join(folder, "flash", name)
        with open(fd, "rb", closefd=False) as source, open(path, "xb") as file:
            file.write(source.read())
        os.chmod(path, 0o600)


def open_board(root, tapped):
    """The listening socket of a board, the console's pipe, for reading, and, where somebody wants to hear it, the listening socket of
    the tap."""
    sockets = []
    folder = os.open(os.path.join(root, "dev"), os.O_PATH | os.O_DIRECTORY)
    for name, waiting in (("board", 64), *([("tap", 1024)] if tapped else [])):
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(f"/proc/self/fd/{folder}/{name}")  # a socket's path is short
        listener.listen(waiting)
        sockets.append(listener.detach())
    os.close(folder)
    # For reading and writing, so that it never ends.
    console = os.open(os.path.join(root, "dev/console"), os.O_RDWR | os.O_NONBLOCK | os.O_NOFOLLOW)
    return [sockets[0], console, *sockets[1:]]


async def read(order, path, most):
    """The text of a file of the run folder, up to so many bytes; "": there is none. It comes by its descriptor: who is in the router says
    what is in it, and a message is short."""
    found = await order("read", path=path)
    if not found:
        return ""
    with open(found[0], "rb", buffering=0) as file:
        return file.read(most).decode(errors="replace")


class Premises:
    """In the keeper's process: gives orders and hears of ends."""

    def __init__(self, mode, connection, told):
        self.mode = mode
        self.told = told  # is called with each event; None: the premises have ended
        self.connection = connection
        self.replies = {}
        self.last = 0
        self.loop = asyncio.get_running_loop()
        self.loop.add_reader(connection.fileno(), self.hear)

    def hear(self):
        try:
            message, fds = messages.receive(self.connection)
        except OSError:
            message = None
        if message is None:
            self.loop.remove_reader(self.connection.fileno())
            for reply in self.replies.values():
                if not reply.done():
                    reply.set_exception(Refused("the premises have ended"))
            self.told(None)
        elif "event" in message:
            self.told(message)
        else:
            reply = self.replies.pop(message["id"])
            if reply.done():
                pass
            elif "refused" in message:
                reply.set_exception(Refused(message["refused"]))
            else:
                reply.set_result(fds or message.get("answer"))

    async def order(self, verb, fds=(), **words):
        self.last += 1
        reply = self.replies[self.last] = self.loop.create_future()
        try:
            messages.send(self.connection, {"id": self.last, "verb": verb, "words": words}, fds)
        except OSError as error:
            self.replies.pop(self.last, None)
            raise Refused("the premises have ended") from error
        return await reply

    def close(self):
        self.loop.remove_reader(self.connection.fileno())
        self.connection.close()


def start_server(connection, mode):
    """Becomes the premises. Never returns."""
    try:
        kernel.set_process_name("premises")
        Server(connection, mode).serve()
    except BaseException:
        traceback.print_exc(file=sys.stderr)
    finally:
        mode.clear_away()
        os._exit(0)
