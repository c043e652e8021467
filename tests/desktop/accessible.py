"""The program as a screen reader sees it: the accessibility bus, without a toolkit in between."""

import re

import dbus
import dbus.bus

from desktop import Failure, wait_for

LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
ACCESSIBLE = "org.a11y.atspi.Accessible"
ROOT = "/org/a11y/atspi/accessible/root"
FOCUSED = 12  # a bit of the states


def start(place):
    """Starts the accessibility bus of a desktop, for somebody who has things read to him. Programs are on it,
    those that were there before too.
    """
    place.spawn([LAUNCHER, "--launch-immediately", "--a11y=1", "--screen-reader=1"])
    wait_for("the accessibility bus", lambda: place.owner("org.a11y.Bus"))
    return Tree(re.search("'(.*)'", place.call("org.a11y.Bus", "/org/a11y/bus",
                                               "org.a11y.Bus.GetAddress")).group(1))


class Node:
    """One thing that is seen: what it was when it was read. Position in device pixels."""

    def __init__(self, tree, reference):
        self.tree, self.reference = tree, reference
        self.name = str(tree.get(reference, ACCESSIBLE, "Name"))
        self.role = str(tree.call(reference, ACCESSIBLE, "GetRoleName"))
        low, high = tree.call(reference, ACCESSIBLE, "GetState")
        self.states = int(low) | int(high) << 32

    def has(self, state):
        return bool(self.states >> state & 1)

    def box(self):
        """Where it is on the screen: x, y, width, height."""
        return tuple(int(n) for n in self.tree.call(
            self.reference, "org.a11y.atspi.Component", "GetExtents", dbus.UInt32(0)))

    def description(self):
        return str(self.tree.get(self.reference, ACCESSIBLE, "Description"))

    def press(self):
        actions = self.tree.call(self.reference, "org.a11y.atspi.Action", "GetActions")
        names = [str(action[0]) for action in actions]
        if "Press" not in names:
            raise Failure(f"{self.name!r} cannot be pressed, only {names}")
        self.tree.call(self.reference, "org.a11y.atspi.Action", "DoAction",
                       dbus.Int32(names.index("Press")))

    def __repr__(self):
        return f"{self.role} {self.name!r}"


class Tree:
    """What the program shows at this moment."""

    def __init__(self, address):
        self.bus = dbus.bus.BusConnection(address)

    def call(self, reference, interface, method, *arguments):
        name, path = reference
        return self.bus.get_object(name, path, introspect=False).get_dbus_method(
            method, interface)(*arguments, timeout=5)

    def get(self, reference, interface, key):
        return self.call(reference, "org.freedesktop.DBus.Properties", "Get", interface, key)

    def applications(self):
        return self.children(("org.a11y.atspi.Registry", ROOT))

    def bring(self, pid):
        """Returns once that process has got all that programs have told on this bus until now.

        What one of them told before it answers is on the bus before its answer, and what the bus
        has for a connection it hands over in order."""
        for application in self.applications():
            self.get(application, ACCESSIBLE, "Name")
        bus = self.bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus", introspect=False)
        its = [name for name in self.bus.list_names()
               if name.startswith(":") and bus.GetConnectionUnixProcessID(name) == pid]
        if not its:
            raise Failure(f"process {pid} is not on the accessibility bus")
        for name in its:
            self.call((str(name), "/"), "org.freedesktop.DBus.Peer", "Ping")

    def children(self, reference):
        return [(str(name), str(path)) for name, path in
                self.call(reference, ACCESSIBLE, "GetChildren")]

    def read(self, kept, hidden):
        """The nodes of the program in the tree's order. What is hidden has no box; what is scrolled
        out of sight has one."""
        found = []

        def walk(reference):
            node = Node(self, reference)
            if kept(node) and (hidden or any(node.box())):
                found.append(node)
            for child in self.children(reference):
                walk(child)

        for application in self.applications():
            if str(self.get(application, ACCESSIBLE, "Name")).lower() == "korvel":
                for window in self.children(application):
                    walk(window)
        return found

    def nodes(self, kept=lambda node: True, hidden=False):
        """What is shown, and if asked for what is hidden. Read again when a line went meanwhile."""

        def read():
            try:
                return [self.read(kept, hidden)]
            except dbus.DBusException:
                return None

        return wait_for("what a screen reader sees", read)[0]

    def buttons(self):
        return self.nodes(lambda node: node.role in ("push button", "button"))

    def find(self, name, seconds=10):
        """The one node of that name, waited for; that of a line, where its group is called the same."""

        def look():
            found = self.nodes(lambda node: node.name == name)
            found = [node for node in found if node.role != "panel"] or found
            if len(found) > 1:
                raise Failure(f"{len(found)} things are called {name!r}")
            return found

        return wait_for(f"{name!r} for a screen reader", look, seconds)[0]

    def match(self, pattern, seconds=10):
        """The first node whose whole name matches, waited for."""
        return wait_for(f"{pattern!r} for a screen reader", lambda: self.nodes(
            lambda node: re.fullmatch(pattern, node.name)), seconds)[0]
