#!/usr/bin/env python3
"""Fetches one file from the site's web server in several ways, in turn, many rounds in one go.

  downloads_web.py FOLDER FILE ROUNDS NAME=PROGRAM...

One line per way: name, median time in microseconds, the median over the rounds of its time divided by the first way's of
the same round, bytes of the reply's body. The last way is the web server itself, without a program.
"""

import pathlib
import random
import socket
import statistics
import subprocess
import sys
import time

CONFIGURATION = """
Include /usr/kest/conf/httpd.conf
Alias /apache/ {folder}/
<Directory {folder}>
  Require all granted
  ForceType application/octet-stream
</Directory>
"""
PROGRAM = """
ScriptAlias /{name}/ {program}/
<Files {file}>
  Require all granted
  SetEnv ap_trust_cgilike_cl yes
  SetEnv nokeepalive yes
</Files>
"""
START_TIMEOUT_S = 10


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def start(folder, ways):
    port = free_port()
    text = CONFIGURATION.format(folder=folder) + f"DocumentRoot {folder}\n"
    for name, program in ways.items():
        text += PROGRAM.format(name=name, program=program, file=pathlib.Path(program).name)
    pathlib.Path("/tmp/httpd.conf").write_text(text)
    server = subprocess.Popen(["apache2", "-f", "/tmp/httpd.conf", "-DFOREGROUND"],
                              env={"PATH": "/usr/sbin:/usr/bin", "SITE_PORT": str(port)})
    end = time.monotonic() + START_TIMEOUT_S
    while time.monotonic() < end and server.poll() is None:
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return server, port
        except ConnectionRefusedError:
            time.sleep(0.05)
    server.terminate()
    sys.exit("downloads_web: the web server does not answer")


def fetch(port, path, buffer):
    """Time in seconds, and bytes of the body."""
    begin = time.monotonic()
    with socket.create_connection(("127.0.0.1", port)) as connection:
        connection.sendall(f"GET {path} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n".encode())
        got = connection.recv_into(buffer)
        head = bytes(buffer[:got])
        body = head.find(b"\r\n\r\n") + 4
        if not head.startswith(b"HTTP/1.1 200 ") or body < 4:
            sys.exit(f"downloads_web: {path}: {head[:200]}")
        total = 0
        while got > 0:
            total += got
            got = connection.recv_into(buffer)
    return time.monotonic() - begin, total - body


def main():
    folder, file, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
    ways = dict(way.split("=", 1) for way in sys.argv[4:])
    expected = (pathlib.Path(folder) / file).stat().st_size
    server, port = start(folder, ways)
    buffer = bytearray(1 << 18)
    names = [*ways, "apache"]
    times = {name: [] for name in names}
    try:
        for name in names:
            fetch(port, f"/{name}/{file}", buffer)
        shuffled = random.Random(1)
        for _ in range(rounds):
            for name in shuffled.sample(names, len(names)):
                seconds, size = fetch(port, f"/{name}/{file}", buffer)
                if size != expected:
                    sys.exit(f"downloads_web: {name}: {size} bytes instead of {expected}")
                times[name].append(seconds)
    finally:
        server.terminate()
        server.wait()
    for name in names:
        ratio = statistics.median(a / b for a, b in zip(times[name], times[names[0]]))
        print(f"{name}\t{statistics.median(times[name]) * 1e6:.0f}\t{ratio:.3f}\t{expected}")


main()
