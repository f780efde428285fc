#!/usr/bin/python3
"""Reads the window of a running program over the accessibility bus, as a screen reader does.

    atspi_probe.py PROGRAM_NAME SECONDS NAME:ROLE[:focusable][:showing] ...

Waits up to SECONDS for the program to show on the bus, then for every wanted control: one
whose accessible name is NAME and whose role is ROLE (for example "push button" or "password
text"); with ":focusable", it can take the keyboard focus; with ":showing", it is on the screen
now (the bus also lists the controls of screens not shown). Prints what it found and what it
did not, and exits 0 only when every wanted control is there.
"""
import sys
import time

import pyatspi


def application(name):
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        app = desktop.getChildAtIndex(i)
        if app is not None and app.name == name:
            return app
    return None


def controls(node, depth=0):
    """Every accessible below `node` (the tree is small: one window and its dialogs)."""
    if node is None or depth > 40:
        return
    yield node
    for i in range(node.childCount):
        yield from controls(node.getChildAtIndex(i), depth + 1)


def main():
    program, seconds, wanted = sys.argv[1], float(sys.argv[2]), sys.argv[3:]
    deadline = time.monotonic() + seconds
    missing = wanted
    seen = []
    while time.monotonic() < deadline:
        app = application(program)
        if app is not None:
            seen = []
            for c in controls(app):
                state = c.getState()
                seen.append((c.name, c.getRoleName(), state.contains(pyatspi.STATE_FOCUSABLE),
                             state.contains(pyatspi.STATE_SHOWING)))
            missing = []
            for want in wanted:
                name, role, *rest = want.split(":")
                focusable, showing = "focusable" in rest, "showing" in rest
                if not any(n == name and r == role and (f or not focusable) and
                           (s or not showing) for n, r, f, s in seen):
                    missing.append(want)
            if not missing:
                break
        time.sleep(0.2)
    for want in wanted:
        print(("missing: " if want in missing else "found: ") + want)
    if missing:
        print("the bus showed %d controls of %s:" % (len(seen), program))
        for n, r, f, s in seen:
            if n:
                print("  %r %s%s%s" % (n, r, " focusable" if f else "", " showing" if s else ""))
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
