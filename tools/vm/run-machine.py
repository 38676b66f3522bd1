#!/usr/bin/env python3
"""run-machine.py OUT NAME QEMU...: runs an emulated machine, and answers what its script asks for.

The script in the machine talks through the console, a request a line:

  @@picture NAME [turned=DEGREES] [depth=16] [dithered=0] [sum=N]
                   compares what is on screen with OUT/NAME.ppm, pixel by pixel: turned clockwise, and dithered or cut
                   to 16 bits. The answer is a line: "same", or what differs. The screen is kept as
                   OUT/NAME-screen.ppm when it differs. With N, the checksum that a driver without a screen, vkms, has
                   for what it would show, it is the checksums that are compared.
  @@row TEXT       a row of the summary: appended to OUT/rows
  @@exit STATUS    the script has ended

All that the console prints goes to OUT/NAME.log, and to standard output if it is not the kernel's. Exits with the
script's status; with 1 when the machine ends without one, or is silent for too long.
"""
import json
import os
import pathlib
import re
import selectors
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import zlib

PATIENCE_S = 600


class Monitor:
    """QEMU's control connection."""

    def __init__(self, path):
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(path)
        self.stream = connection.makefile("rw", encoding="utf-8")
        self.stream.readline()  # the greeting
        self.call("qmp_capabilities")

    def call(self, command, **arguments):
        self.stream.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
        self.stream.flush()
        while True:
            answer = json.loads(self.stream.readline())
            if "error" in answer:
                raise RuntimeError(answer["error"]["desc"])
            if "return" in answer:
                return


def read_ppm(path):
    """Width, height and bytes of a picture."""
    data = path.read_bytes()
    header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    if header is None:
        raise ValueError(f"{path} is no picture")
    return int(header.group(1)), int(header.group(2)), data[header.end():]


def turn(width, height, pixels, degrees):
    """A picture turned clockwise by a quarter as often as need be."""
    rows = [[pixels[3 * (width * y + x):3 * (width * y + x) + 3] for x in range(width)] for y in range(height)]
    for _ in range(degrees // 90):
        rows = [list(column) for column in zip(*reversed(rows))]
    return len(rows[0]), len(rows), b"".join(b"".join(row) for row in rows)


PATTERN = ((0, 8, 2, 10), (12, 4, 14, 6), (3, 11, 1, 9), (15, 7, 13, 5))


def cut(width, pixels, dithered):
    """What the channels of a picture become on a screen of 16 bits, 5, 6 and 5 of them."""
    result = bytearray(pixels)
    for i, value in enumerate(pixels):
        y, x = divmod(i // 3, width)
        lost = 2 if i % 3 == 1 else 3
        if dithered:
            value += (PATTERN[y % 4][x % 4] >> 4 - lost) - (value >> 8 - lost)
        result[i] = value >> lost
    return bytes(result)


def checksum(pixels, depth):
    """The CRC of a picture's pixels as alpha, red, green, blue, of 16 bits each: of the kernel's kind, begun at 0."""
    most = (31, 63, 31) if depth == 16 else (255, 255, 255)
    words = [[struct.pack("<H", (2 * 65535 * value // m + 1) // 2) for value in range(m + 1)] for m in most]
    red, green, blue = words
    opaque = b"\xff\xff"
    data = b"".join(opaque + red[r] + green[g] + blue[b]
                    for r, g, b in zip(pixels[::3], pixels[1::3], pixels[2::3]))
    return zlib.crc32(data, 0xFFFFFFFF) ^ 0xFFFFFFFF


def compare(screen, drawn, turned=0, depth=32, dithered=1, sum=None):
    """ "same", or what differs."""
    if not drawn.exists():
        return f"{drawn} is missing"
    drawn_width, drawn_height, expected = turn(*read_ppm(drawn), turned) if turned else read_ppm(drawn)
    if depth == 16:
        expected = cut(drawn_width, expected, dithered)
    if sum is not None:
        return "same" if sum == checksum(expected, depth) else f"the driver shows the sum {sum:#x}, not that of {drawn}"
    width, height, shown = read_ppm(screen)
    if (width, height) != (drawn_width, drawn_height):
        return f"the screen is {width} x {height}"
    if depth == 16:  # of what is shown, the bits that the screen has
        shown = bytes(value >> (2 if i % 3 == 1 else 3) for i, value in enumerate(shown))
    if shown == expected:
        return "same"
    differing = [i for i in range(0, len(expected), 3) if shown[i:i + 3] != expected[i:i + 3]]
    y, x = divmod(differing[0] // 3, width)
    return f"{len(differing)} pixels differ, the first at {x}, {y}: see {screen}"


class Machine:
    def __init__(self, out, name, command):
        self.out, self.status = out, None
        self.folder = tempfile.TemporaryDirectory()
        self.monitor_path = os.path.join(self.folder.name, "monitor")
        self.log = open(out / f"{name}.log", "wb", buffering=0)
        self.process = subprocess.Popen(
            command + ["-display", "none", "-serial", "stdio", "-monitor", "none", "-no-reboot",
                       "-qmp", f"unix:{self.monitor_path},server=on,wait=off"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.log,
            env=os.environ | {"QEMU_AUDIO_DRV": "none"})
        self.monitor = None

    def run(self):
        """Serves the machine until it ends."""
        try:
            for line in self.lines():
                request = re.match(r"@@(picture|row|exit) (.*)", line)
                if request is not None:
                    getattr(self, request.group(1))(request.group(2))
                elif not re.match(r"\[ *\d+\.\d+\]", line):
                    print(f"  {line}", flush=True)
        finally:
            self.process.kill()
            self.process.wait()

    def lines(self):
        """What the console prints, until the machine ends or is silent for too long."""
        os.set_blocking(self.process.stdout.fileno(), False)
        selector = selectors.DefaultSelector()
        selector.register(self.process.stdout, selectors.EVENT_READ)
        rest = b""
        while selector.select(PATIENCE_S):
            piece = self.process.stdout.read()
            if not piece:
                return
            self.log.write(piece)
            *lines, rest = (rest + piece).split(b"\n")
            for line in lines:
                yield line.decode("utf-8", "replace").rstrip("\r")
        print(f"the machine has been silent for {PATIENCE_S} s", flush=True)

    def picture(self, request):
        name, *options = request.split()
        screen, drawn = self.out / f"{name}-screen.ppm", self.out / f"{name}.ppm"
        choices = {key: int(value, 0) for key, value in (o.split("=") for o in options)}
        if "sum" not in choices:
            if self.monitor is None:
                self.monitor = Monitor(self.monitor_path)
            self.monitor.call("screendump", filename=str(screen))
        answer = compare(screen, drawn, **choices)
        if answer == "same":
            screen.unlink(missing_ok=True)
            drawn.unlink()
        self.process.stdin.write(answer.encode() + b"\n")
        self.process.stdin.flush()

    def row(self, text):
        print(f"= {text}", flush=True)
        with open(self.out / "rows", "a", encoding="utf-8") as rows:
            rows.write(text + "\n")

    def exit(self, status):
        self.status = int(status)


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # the machine ends too
    start = time.monotonic()
    machine = Machine(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2], sys.argv[3:])
    machine.run()
    print(f"{sys.argv[2]}: {time.monotonic() - start:.0f} s, status {machine.status}, see {sys.argv[2]}.log")
    sys.exit(1 if machine.status is None else machine.status)


if __name__ == "__main__":
    main()
