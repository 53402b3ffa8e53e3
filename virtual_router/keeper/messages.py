# SPDX-License-Identifier: MIT
"""Messages with descriptors: between the keeper and its premises, and between script/router and the keeper. Of the keeper's own
modules it needs none, and none that takes long to load: script/router is called a thousand times a day."""

import array
import errno
import json
import os
import socket

KEEPER_SOCKET = "keeper.sock"  # in the state folder
MOST_MESSAGE_BYTES = 1 << 17
MOST_DESCRIPTORS = 16


def socket_address(folder):
    """The address of the keeper's socket, and a descriptor that must stay open while it is used: folders may lie deep, and the path of
    a socket may not be long."""
    fd = os.open(folder, os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC)
    return f"/proc/self/fd/{fd}/{KEEPER_SOCKET}", fd


def receive(connection):
    """Returns a message and its descriptors; (None, []) at the end."""
    room = socket.CMSG_SPACE(MOST_DESCRIPTORS * array.array("i").itemsize)
    # socket.recv_fds() does not hand its flags on.
    data, rights, _, _ = connection.recvmsg(MOST_MESSAGE_BYTES, room, socket.MSG_CMSG_CLOEXEC)
    fds = array.array("i")
    for level, kind, content in rights:
        if (level, kind) == (socket.SOL_SOCKET, socket.SCM_RIGHTS):
            fds.frombytes(content[: len(content) - len(content) % fds.itemsize])
    return (json.loads(data) if data else None), list(fds)


def send(connection, message, fds=()):
    """Raises OSError where the message is too long: who receives it would take its beginning for all."""
    data = json.dumps(message).encode()
    if len(data) > MOST_MESSAGE_BYTES:
        raise OSError(errno.EMSGSIZE, os.strerror(errno.EMSGSIZE))
    connection.setblocking(True)
    rights = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", fds))] if fds else []
    connection.sendmsg([data], rights)
