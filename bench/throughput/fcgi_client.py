"""The smallest FastCGI client: one request on a unix socket, the raw reply.

Used once per run to capture the exact CGI reply (header lines and body)
the daemon writes for the benchmark envelope, so the bare responder answers
byte for byte the same without knowing anything about SOAP.
"""

import socket
import struct

VERSION = 1
BEGIN_REQUEST, END_REQUEST, PARAMS, STDIN, STDOUT = 1, 3, 4, 5, 6
RESPONDER = 1
REQUEST_ID = 1


def record(kind, content=b""):
    padding = -len(content) % 8
    return (struct.pack(">BBHHBx", VERSION, kind, REQUEST_ID, len(content),
                        padding) + content + b"\0" * padding)


def name_value(name, value):
    def length(n):
        return struct.pack(">B", n) if n < 128 else struct.pack(">I", n | 1 << 31)
    name, value = name.encode(), value.encode()
    return length(len(name)) + length(len(value)) + name + value


def chunks(data, size=65535):
    return [data[i:i + size] for i in range(0, len(data), size)]


def request(socket_path, params, body, timeout=20):
    """Sends one request; returns the bytes of its STDOUT stream."""
    pairs = b"".join(name_value(k, v) for k, v in params.items())
    message = record(BEGIN_REQUEST, struct.pack(">HB5x", RESPONDER, 0))
    message += b"".join(record(PARAMS, c) for c in chunks(pairs))
    message += record(PARAMS)
    message += b"".join(record(STDIN, c) for c in chunks(body))
    message += record(STDIN)
    out = b""
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as conn:
        conn.settimeout(timeout)
        conn.connect(socket_path)
        conn.sendall(message)
        stream = conn.makefile("rb")
        while True:
            header = stream.read(8)
            if len(header) < 8:
                raise EOFError("FastCGI reply ended without END_REQUEST")
            _, kind, _, length, padding = struct.unpack(">BBHHBx", header)
            content = stream.read(length + padding)[:length]
            if kind == STDOUT:
                out += content
            elif kind == END_REQUEST:
                return out
