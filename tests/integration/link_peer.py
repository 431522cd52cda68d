#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""One end of the link, written from docs/link.md alone, with nothing but the standard library.

    link_peer.py listen PORT COUNT            sends COUNT messages to the first unit that connects
    link_peer.py connect ADDRESS PORT COUNT   the same to the unit at the address

The other end has to answer every message with the same message. Exit code 0 when all answers came, in order and equal.
"""
import json
import select
import socket
import sys
import time

PATIENCE = 60  # seconds for all
RETRY_DELAY = 1  # second
PIECE = 65536  # bytes


class InvalidLength(Exception):
    pass


def frame(message):
    payload = json.dumps(message, ensure_ascii=False).encode("utf-8")
    return b"%d" % len(payload) + payload


class Frames:
    """Cuts a stream into payloads, however it comes."""

    def __init__(self):
        self._buffer = bytearray()

    def feed(self, data):
        self._buffer += data
        while (start := self._buffer.find(b"{")) >= 0:
            length = bytes(self._buffer[:start])
            if not length.isdigit():
                raise InvalidLength(length)
            end = start + int(length)
            if end > len(self._buffer):
                return
            payload = bytes(self._buffer[start:end])
            del self._buffer[:end]
            yield payload


def connect(address, port):
    deadline = time.monotonic() + PATIENCE
    while True:
        try:
            return socket.create_connection((address, port), timeout=3)
        except OSError:
            if time.monotonic() > deadline:
                raise
            time.sleep(RETRY_DELAY)


def listen(port):
    with socket.create_server(("", port)) as server:
        server.settimeout(PATIENCE)
        connection, _ = server.accept()
        return connection


def messages(count):
    for number in range(count):
        yield {"type": number % 7, "number": number, "name": "Größe {%d}" % number, "list": ["{", "}", None, 0.5]}


def converse(connection, count):
    """Sends all, reads meanwhile, and returns the messages that came back."""
    connection.setblocking(False)
    unsent = memoryview(b"".join(frame(message) for message in messages(count)))
    frames = Frames()
    answers = []
    deadline = time.monotonic() + PATIENCE
    while len(answers) < count:
        readable, writable, _ = select.select([connection], [connection] if unsent else [], [], 1)
        if readable:
            data = connection.recv(PIECE)
            if not data:
                break
            answers += (json.loads(payload) for payload in frames.feed(data))
        if writable:
            unsent = unsent[connection.send(unsent[:PIECE]):]
        if time.monotonic() > deadline:
            break
    return answers


def main(arguments):
    if arguments[:1] == ["listen"] and len(arguments) == 3:
        connection = listen(int(arguments[1]))
    elif arguments[:1] == ["connect"] and len(arguments) == 4:
        connection = connect(arguments[1], int(arguments[2]))
    else:
        sys.exit(__doc__)
    count = int(arguments[-1])
    with connection:
        answers = converse(connection, count)
    if answers != list(messages(count)):
        sys.exit("%d of %d answers, not all equal to what was sent" % (len(answers), count))


if __name__ == "__main__":
    main(sys.argv[1:])
