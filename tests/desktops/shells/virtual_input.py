"""A pointer and a keyboard for compositors that let a client make them (zwlr_virtual_pointer_manager_v1,
zwp_virtual_keyboard_manager_v1).

They live as long as the object: a keyboard that went after each key would take the focus along. The few
requests are written to the compositor's socket as they are defined; nothing is to be compiled.
"""

import array
import os
import socket
import struct
import time

from desktop import Failure

POINTERS, KEYBOARDS = "zwlr_virtual_pointer_manager_v1", "zwp_virtual_keyboard_manager_v1"
BUTTONS = {1: 0x110, 2: 0x112, 3: 0x111}  # the kernel's left, middle and right
KEYS = {"Escape": 1, "Tab": 15, "Return": 28, "Down": 108}  # the kernel's numbers; a keymap's are 8 more
KEYMAP = """xkb_keymap {
xkb_keycodes "table" { minimum = 8; maximum = 255; %s };
xkb_types "table" { include "complete" };
xkb_compatibility "table" { include "complete" };
xkb_symbols "table" { %s };
};
""" % (" ".join(f"<K{key}> = {key + 8};" for key in KEYS.values()),
       " ".join(f"key <K{key}> {{ [ {name} ] }};" for name, key in KEYS.items()))

DISPLAY = 1  # the number of the object that is there from the start; the others follow one by one


def text(value):
    data = value.encode() + b"\0"
    return struct.pack("=I", len(data)) + data + bytes(-len(data) % 4)


def now():
    return int(time.monotonic() * 1000) & 0xffffffff


class VirtualInput:
    def __init__(self, runtime, display, width, height):
        """For a screen of this logical size; (x, y) are counted in its pixels."""
        self.size = (width, height)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.socket.settimeout(5)
        self.socket.connect(os.path.join(runtime, display))
        self.last = DISPLAY
        self.unread = b""
        self.globals = {}
        self.registry = self.make(DISPLAY, 1)
        self.wait()
        seat = struct.pack("=I", self.bind("wl_seat"))
        self.pointer = self.make(self.bind(POINTERS), 0, seat)
        self.keyboard = self.make(self.bind(KEYBOARDS), 0, seat)
        self.send_keymap()
        self.wait()

    def make(self, number, opcode, arguments=b""):
        """A request whose last argument is the number of a new object, which is returned."""
        self.last += 1
        self.request(number, opcode, arguments + struct.pack("=I", self.last))
        return self.last

    def bind(self, interface):
        if interface not in self.globals:
            raise Failure(f"the compositor has no {interface}")
        return self.make(self.registry, 0, struct.pack("=I", self.globals[interface]) + text(interface) +
                         struct.pack("=I", 1))

    def request(self, number, opcode, arguments=b""):
        self.socket.sendall(struct.pack("=IHH", number, opcode, 8 + len(arguments)) + arguments)

    def send_keymap(self):
        data = KEYMAP.encode() + b"\0"
        with open(os.memfd_create("keymap"), "w+b") as file:
            file.write(data)
            file.flush()
            descriptor = array.array("i", [file.fileno()])
            message = struct.pack("=IHHII", self.keyboard, 0, 16, 1, len(data))
            self.socket.sendmsg([message], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, descriptor)])

    def wait(self):
        """Until the compositor has dealt with all that was asked."""
        waiting = self.make(DISPLAY, 0)
        while True:
            while len(self.unread) < 8 or len(self.unread) < struct.unpack_from("=H", self.unread, 6)[0]:
                data = self.socket.recv(65536)
                if not data:
                    raise Failure("the compositor has gone")
                self.unread += data
            number, opcode, size = struct.unpack_from("=IHH", self.unread)
            message, self.unread = self.unread[8:size], self.unread[size:]
            if number == waiting:
                return
            if (number, opcode) == (DISPLAY, 0):
                raise Failure(f"the compositor refused a request: {message!r}")
            if (number, opcode) == (self.registry, 0):
                name, length = struct.unpack_from("=II", message)
                self.globals[message[8:8 + length - 1].decode()] = name

    def move(self, x, y):
        self.request(self.pointer, 1, struct.pack("=IIIII", now(), int(x), int(y), *self.size))
        self.request(self.pointer, 4)
        self.wait()

    def press(self, button):
        for down in (1, 0):
            self.request(self.pointer, 2, struct.pack("=III", now(), BUTTONS[button], down))
            self.request(self.pointer, 4)
            self.wait()
            time.sleep(0.06)

    def key(self, name):
        for down in (1, 0):
            self.request(self.keyboard, 1, struct.pack("=III", now(), KEYS[name], down))
            self.wait()
            time.sleep(0.05)
