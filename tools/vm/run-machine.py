#!/usr/bin/env python3
"""run-machine.py OUT NAME QEMU...: runs an emulated machine, and answers what its script asks for.

The script in the machine talks through the console, a request a line:

  @@picture NAME   compares what is on screen with OUT/NAME.ppm, pixel by pixel. The answer is a line: "same", or what
                   differs. The screen is kept as OUT/NAME-screen.ppm when it differs.
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
import subprocess
import sys
import tempfile
import time

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


def compare(screen, drawn):
    """ "same", or what differs."""
    if not drawn.exists():
        return f"{drawn} is missing"
    width, height, shown = read_ppm(screen)
    if (width, height) != read_ppm(drawn)[:2]:
        return f"the screen is {width} x {height}"
    expected = read_ppm(drawn)[2]
    differing = [i for i in range(0, len(expected), 3) if shown[i:i + 3] != expected[i:i + 3]]
    if not differing:
        return "same"
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

    def picture(self, name):
        screen, drawn = self.out / f"{name}-screen.ppm", self.out / f"{name}.ppm"
        if self.monitor is None:
            self.monitor = Monitor(self.monitor_path)
        self.monitor.call("screendump", filename=str(screen))
        answer = compare(screen, drawn)
        if answer == "same":
            screen.unlink()
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
