# SPDX-License-Identifier: MIT
"""Processes that do the same work side by side. They need no semaphores, which a bare root without /dev/shm lacks."""

import contextlib
import multiprocessing
import multiprocessing.connection
import os
import traceback

AHEAD = 2  # tasks that wait at a worker, so that it never waits for the next


def in_order(jobs, start, work, count):
    """Yields work(0), work(1) and so on, `count` results. Each of the `jobs` processes calls start() first."""
    workers = {}  # connection -> process
    try:
        for _ in range(jobs):
            ours, theirs = multiprocessing.Pipe()
            process = os.fork()
            if process == 0:
                for other in (ours, *workers):
                    other.close()
                serve(theirs, start, work)
            theirs.close()
            workers[ours] = process
        tasks = iter(range(count))
        for connection in [*workers] * AHEAD:
            give(connection, tasks)
        done, shown = {}, 0
        while shown < count:
            for connection in multiprocessing.connection.wait(workers):
                number, result = connection.recv()
                done[number] = result
                give(connection, tasks)
            while shown in done:
                yield done.pop(shown)
                shown += 1
    except EOFError as error:
        raise RuntimeError("a worker has ended before its work") from error
    finally:
        for connection in workers:
            connection.close()
        for process in workers.values():
            os.waitpid(process, 0)


def give(connection, tasks):
    with contextlib.suppress(StopIteration):
        connection.send(next(tasks))


def serve(connection, start, work):
    """A worker's life: ends with the connection."""
    status = 1
    try:
        start()
        while True:
            number = connection.recv()
            connection.send((number, work(number)))
    except (EOFError, ConnectionError, KeyboardInterrupt):
        status = 0
    except BaseException:
        traceback.print_exc()
    finally:
        os._exit(status)
