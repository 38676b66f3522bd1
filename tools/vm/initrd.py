#!/usr/bin/env python3
"""initrd.py OUT INIT BUSYBOX MODULES SET=NAME,NAME...: the root that a kernel starts from.

OUT is an archive with INIT as /init, BUSYBOX as /bin/busybox, and for each SET the named kernel modules and those that
they need, out of the tree MODULES, as /modules/SET/NN-NAME.ko: inserting them in this order works. What the kernel has
built in has no file and is left out.
"""
import gzip
import pathlib
import re
import sys


class Archive:
    """A cpio archive in the form that the kernel reads ("newc")."""

    DIRECTORY, PROGRAM, FILE = 0o40755, 0o100755, 0o100644

    def __init__(self):
        self.data = bytearray()
        self.count = 0

    def add(self, name, mode, content=b""):
        self.count += 1
        name = name.encode() + b"\0"
        links, owner, time, device = 1, 0, 0, 0
        numbers = (self.count, mode, owner, owner, links, time, len(content), device, device, device, device,
                   len(name), 0)
        self.data += b"070701" + b"".join(b"%08X" % n for n in numbers)
        for part in (name, content):
            self.data += part
            self.data += bytes(-len(self.data) % 4)


def plain(name):
    """A module's name; files may write it with dashes."""
    return name.replace("-", "_")


def in_order(names, tree):
    """The files of the named modules, each after those that it depends on."""
    files = {plain(path.stem): path for path in pathlib.Path(tree).rglob("*.ko")}
    order = []

    def add(name):
        path = files.get(plain(name))
        if path is None or path in order:
            return
        depends = re.search(rb"\0depends=([^\0]*)\0", path.read_bytes())
        for other in depends.group(1).decode().split(",") if depends else []:
            add(other)
        order.append(path)

    for name in names:
        add(name)
    return order


def main(out, init, busybox, tree, *sets):
    archive = Archive()
    for folder in ("bin", "dev", "lib", "modules", "proc", "sys", "tmp", "usr", "usr/bin", "usr/sbin", "sbin"):
        archive.add(folder, Archive.DIRECTORY)
    archive.add("init", Archive.PROGRAM, pathlib.Path(init).read_bytes())
    archive.add("bin/busybox", Archive.PROGRAM, pathlib.Path(busybox).read_bytes())
    for text in sets:
        label, _, names = text.partition("=")
        archive.add(f"modules/{label}", Archive.DIRECTORY)
        for n, path in enumerate(in_order(names.split(","), tree)):
            archive.add(f"modules/{label}/{n:02}-{path.name}", Archive.FILE, path.read_bytes())
    archive.add("TRAILER!!!", 0)
    pathlib.Path(out).write_bytes(gzip.compress(archive.data, 1))


if __name__ == "__main__":
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
