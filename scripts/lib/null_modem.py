#!/usr/bin/env python3
"""Joins two pseudo-terminals: what enters one leaves the other.

    scripts/lib/null_modem.py LINK LINK    makes the links to their ends, then runs until killed
"""
import os
import selectors
import sys
import tty

CHUNK = 4096


def open_end(link):
    """The master of a raw pseudo-terminal. Its slave stays open: a port that is closed and opened
    again must not hang up the line."""
    master, slave = os.openpty()
    tty.setraw(slave)
    if os.path.lexists(link):
        os.remove(link)
    os.symlink(os.ttyname(slave), link)
    return master


def main(links):
    near, far = map(open_end, links)
    events = selectors.DefaultSelector()
    events.register(near, selectors.EVENT_READ, far)
    events.register(far, selectors.EVENT_READ, near)
    while True:
        for key, _ in events.select():
            os.write(key.data, os.read(key.fd, CHUNK))


if __name__ == "__main__":
    main(sys.argv[1:])
