#!/usr/bin/env python3
"""What zunic_inspect top costs while it follows a full, quiet bus at one look a second.

usage: top_bench.py FULL_BUS ZUNIC_INSPECT [SECONDS]

Each table is shown for so long (30 s); told are its share of a core (user and system) and the bytes a second that it
sends to its terminal, once the first screen is drawn.
"""

import fcntl
import os
import pty
import select
import struct
import subprocess
import sys
import termios
import time

LINKS, SLOTS = "16", "65536"
TABLES = {"1": "processes", "2": "interfaces", "3": "memory", "4": "messages"}
DRAWN_AFTER = 3  # seconds


def drain(terminal, seconds):
    """Reads what is sent for so long, and returns how much that is."""
    count = 0
    end = time.monotonic() + seconds
    while (left := end - time.monotonic()) > 0:
        if select.select([terminal], [], [], left)[0]:
            count += len(os.read(terminal, 65536))
    return count


def spent(process):
    """The seconds of processor time that a process has used."""
    with open(f"/proc/{process}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def start(program, channel):
    """Starts top on a terminal of its own, of 100 columns and 30 lines."""
    process, terminal = pty.fork()
    if process == 0:
        os.environ["TERM"] = "xterm-256color"
        os.execv(program, [program, "top", "-c", channel])
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 30, 100, 0, 0))
    return process, terminal


def measure(program, channel, key, seconds):
    process, terminal = start(program, channel)
    drain(terminal, 1)
    os.write(terminal, key.encode())
    drain(terminal, DRAWN_AFTER)
    before = spent(process)
    begin = time.monotonic()
    count = drain(terminal, seconds)
    share = (spent(process) - before) / (time.monotonic() - begin)
    os.write(terminal, b"q")
    status = os.waitstatus_to_exitcode(os.waitpid(process, 0)[1])
    if status != 0:
        sys.exit(f"top ended with {status}")
    return share, count / seconds


def main():
    full_bus, program = sys.argv[1:3]
    seconds = float(sys.argv[3]) if len(sys.argv) > 3 else 30
    with subprocess.Popen([full_bus, LINKS, SLOTS], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as bus:
        channel = bus.stdout.readline().strip()
        for key, name in TABLES.items():
            share, rate = measure(program, channel, key, seconds)
            print(f"top, {name}: {100 * share:.2f} % of a core, {rate:.0f} bytes/s sent")
        bus.stdin.close()


main()
