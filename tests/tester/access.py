#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What those who do not see the tester's pages are told of them, by the bus for assistive technology.

Usage: access.py PID
Each line of stdin names a place in that program. The answer is a line for each fault of what is shown there, and an
empty line; for a line that begins with "tree ", everything that is shown; for one that begins with "press ", all that
has the name behind it is pressed, and the answer is empty when there was one thing that could be.
"""
import re
import sys
import time

import pyatspi
from gi.repository import GLib

PATIENCE = 20  # seconds
FOCUS = {"push button", "toggle button", "check box", "radio button", "combo box", "text", "entry", "list",
         "list item", "menu item", "slider", "dial", "panel"}
CLICK = FOCUS - {"panel", "list", "dial", "slider"}
ROWS = {"list item", "menu item"}
SHELL = {"frame", "filler", "dialog", "popup menu", "layered pane", "scroll bar"}

STATE = "(open|passed|failed|accepted|no verdict|in doubt)"
POINT = "A\\d\\d, side A: " + STATE
FACT = "(points|doubtful|" + STATE + "): \\d+"

# Which role tells by which words what is told by a colour as well; and how often, at least.
TOLD = {
    "home": [("radio button", "English", 1)],
    "panel": [("list item", "A\\d\\d, side A: open", 12), ("label", "A01, side A: open", 1)],
    "panel with results": [("list item", POINT, 12), ("list item", "A01, side A: passed", 1),
                           ("list item", "A02, side A: accepted", 1)],
    "inspect": [("progress bar", "Focus", 1)],
    "inspect without a fibre": [("progress bar", "Focus", 1), ("(alert|notification)", "No fibre.*", 1)],
    "passed": [("(alert|notification)", "Passed", 1)],
    "failed": [("(alert|notification)", "Failed", 1)],
    "accepted": [("(alert|notification)", "Failed, accepted", 1)],
    "details": [("label", ".* found, .* allowed, failed", 1), ("label", ".* found, .* allowed, passed", 1),
                ("list item", "1  .*, failed", 1)],
    "before and after": [("(alert|notification)", "Failed", 1), ("(alert|notification)", "Passed", 1)],
    "report": [("label", FACT, 7)],
    "report with doubts": [("(alert|notification)", ".+", 1)],
    "statistics": [("label", ".*" + STATE + ".*: \\d+", 4)],
    "results": [("list item", ".*, " + STATE + ", .*", 4)],
    "results to compare": [("list item", ".*, " + STATE + ", .*chosen", 1)],
    "jobs": [("list item", ".+", 1)],
    "quick inspection": [("label", "Out of focus", 1)],
    "quick result": [("(alert|notification)", "Failed", 1), ("(alert|notification)", "Connector test failed", 1)],
    "rules": [("label", "Failed", 1), ("list item", ".* found, .* allowed, failed", 1)],
    "home without a scope": [("label", "No fibre scope", 1)],
    "notifications": [("list item", ".*Fibre scope disconnected", 1)],
    "message": [("push button", "OK", 1)],
}
DESCRIBED = {  # what changes while its name stays
    "inspect": [("Focus", r"[\d.]+, best [\d.]+, sharp")],
    "inspect without a fibre": [("Focus", "no fibre")],
    "new job": [("Name of the job", ".+"), ("Standard", ".+"), ("Side of the fibre", "Side A")],
    "panel with results": [("Points of the job", "A\\d\\d, side A: " + STATE)],
    "settings": [("Language", "English"), ("Standard of quick inspections", ".+")],
    "home": [("Notifications", ".+")],
}
CHECKED = {"home": ["English"], "inspect by itself": ["Stop"], "results to compare": ["Compare"]}
SELECTED = {"panel": ["A01, side A: open"], "details of a defect": ["1  .*"], "results to compare": [".*, chosen"]}


class Thing:
    """What is told of one object, asked for once."""

    def __init__(self, accessible):
        states = accessible.getState()
        self.accessible = accessible
        self.name = accessible.name
        self.description = accessible.description
        self.role = accessible.getRoleName()
        self.is_shown = states.contains(pyatspi.STATE_VISIBLE) and states.contains(pyatspi.STATE_SHOWING)
        self.is_focusable = states.contains(pyatspi.STATE_FOCUSABLE)
        self.is_checked = states.contains(pyatspi.STATE_CHECKED)
        self.is_selected = states.contains(pyatspi.STATE_SELECTED)
        self.actions = actions_of(accessible)

    def __str__(self):
        return '%s "%s" (%s)%s%s' % (self.role, self.name, self.description, " focusable" if self.is_focusable else "",
                                     " " + ",".join(self.actions) if self.actions else "")


def actions_of(accessible):
    try:
        action = accessible.queryAction()
    except NotImplementedError:
        return []
    return [action.getName(i) for i in range(action.nActions)]


def things_below(accessible):
    for i in range(accessible.childCount):
        child = accessible.getChildAtIndex(i)
        if child is None:
            continue
        thing = Thing(child)
        if thing.is_shown or thing.role in SHELL:
            yield thing
        if thing.is_shown or thing.role in SHELL or child.childCount:
            yield from things_below(child)


def find_program(pid):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        for program in pyatspi.Registry.getDesktop(0):
            if program is not None and program.get_process_id() == pid:
                return program
    sys.exit("the program is not on the bus")


def faults_of(thing):
    clicks = {"Press", "press", "SetFocus", "Toggle"} & set(thing.actions) - {"SetFocus"}
    if not thing.is_focusable and not clicks:
        return
    if thing.role in SHELL:
        return
    if not thing.name.strip():
        yield "no name: %s" % thing
    if thing.is_focusable and thing.role not in FOCUS or clicks and thing.role not in CLICK:
        yield "not the role of something to be used: %s" % thing


def doubled(things):
    seen = set()
    for thing in things:
        if not thing.is_focusable or thing.role in ROWS or thing.role in SHELL or not thing.name:
            continue
        if thing.name in seen:
            yield "the name is taken: %s" % thing
        seen.add(thing.name)


def untold(place, things):
    for role, words, least in TOLD.get(place, []):
        count = sum(1 for thing in things if re.fullmatch(role, thing.role) and re.fullmatch(words, thing.name))
        if count < least:
            yield "%d of %d told: %s \"%s\"" % (count, least, role, words)
    for name, words in DESCRIBED.get(place, []):
        if not any(thing.name == name and re.fullmatch(words, thing.description) for thing in things):
            yield "not described as \"%s\": %s" % (words, name)
    for name in CHECKED.get(place, []):
        if not any(thing.name == name and thing.is_checked for thing in things):
            yield "not told to be checked: %s" % name
    for words in SELECTED.get(place, []):
        if not any(re.fullmatch(words, thing.name) and thing.is_selected for thing in things):
            yield "not told to be selected: %s" % words


def things_of(program):
    """All at one moment: what goes while it is asked for is not there."""
    end = time.monotonic() + PATIENCE
    while True:
        try:
            return list(things_below(program))
        except GLib.GError as error:
            if time.monotonic() > end:
                sys.exit(str(error))


def press(things):
    pressed = 0
    for thing in things:
        for name in ("Toggle", "Press"):
            if name in thing.actions:
                pressed += thing.accessible.queryAction().doAction(thing.actions.index(name))
                break
    if pressed != 1:
        yield "%d things were pressed" % pressed


def answer(program, place):
    if place.startswith("tree "):
        yield from (str(thing) for thing in things_of(program))
        return
    things = [thing for thing in things_of(program) if thing.is_shown]
    if place.startswith("press "):
        yield from press([thing for thing in things if thing.name == place[len("press "):]])
        return
    for thing in things:
        yield from faults_of(thing)
    yield from doubled(things)
    yield from untold(place, things)


def main():
    program = find_program(int(sys.argv[1]))
    for line in sys.stdin:
        for fault in answer(program, line.rstrip("\n")):
            print(fault.replace("\n", " "))
        print(flush=True)


if __name__ == "__main__":
    main()
