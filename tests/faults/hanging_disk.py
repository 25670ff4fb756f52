# SPDX-License-Identifier: Apache-2.0
"""A file system in memory that can be made to hang: while the file named last exists, every request
stays unanswered. Speaks the kernel's FUSE protocol over descriptor 3, an open /dev/fuse.

    hanging_disk.py DIRECTORY HANG_FILE 3<> /dev/fuse
"""
import ctypes
import errno
import os
import stat
import struct
import sys
import time

FUSE = 3
HEADER = struct.Struct("<IIQQIIIHH")  # length, opcode, unique, node, uid, gid, pid, 2 x padding
ROOT = 1

(LOOKUP, FORGET, GETATTR, SETATTR, UNLINK, RENAME, OPEN, READ, WRITE, RELEASE, FSYNC, FLUSH, INIT,
 CREATE, BATCH_FORGET, RENAME2) = (1, 2, 3, 4, 10, 12, 14, 15, 16, 18, 20, 25, 26, 35, 42, 45)


class File:
    def __init__(self, mode):
        self.mode = mode
        self.data = bytearray()


class Disk:
    """One directory of files; node numbers are never used twice."""

    def __init__(self):
        self.files = {ROOT: File(stat.S_IFDIR | 0o755)}
        self.names = {}

    def attributes(self, node):
        file = self.files[node]
        now = int(time.time())
        return struct.pack("<QQQQQQIIIIIIIIII", node, len(file.data), 0, now, now, now, 0, 0, 0,
                           file.mode, 1, 0, 0, 0, 4096, 0)

    def entry(self, node):
        return struct.pack("<QQQQII", node, 0, 0, 0, 0, 0) + self.attributes(node)

    def lookup(self, node, body):
        name = body.split(b"\0")[0]
        return self.entry(self.names[name]) if name in self.names else errno.ENOENT

    def getattr(self, node, body):
        return struct.pack("<QII", 0, 0, 0) + self.attributes(node)

    def setattr(self, node, body):
        valid, _, _, size = struct.unpack_from("<IIQQ", body)
        if valid & 8:
            data = self.files[node].data
            del data[size:]
            data.extend(bytes(size - len(data)))
        return self.getattr(node, body)

    def create(self, node, body):
        _, mode, _, _ = struct.unpack_from("<IIII", body)
        name = body[16:].split(b"\0")[0]
        new = max(self.files) + 1
        self.files[new] = File(stat.S_IFREG | (mode & 0o7777))
        self.names[name] = new
        return self.entry(new) + self.open(new, body)

    def open(self, node, body):
        return struct.pack("<QII", 0, 0, 0)

    def read(self, node, body):
        _, offset, size = struct.unpack_from("<QQI", body)
        return bytes(self.files[node].data[offset:offset + size])

    def write(self, node, body):
        _, offset, size = struct.unpack_from("<QQI", body)
        data = self.files[node].data
        data.extend(bytes(max(offset - len(data), 0)))
        data[offset:offset + size] = body[40:40 + size]
        return struct.pack("<II", size, 0)

    def unlink(self, node, body):
        return b"" if self.names.pop(body.split(b"\0")[0], None) else errno.ENOENT

    def rename(self, body, head):
        old, new = body[head:].split(b"\0")[:2]
        if old not in self.names:
            return errno.ENOENT
        self.names[new] = self.names.pop(old)
        return b""

    def answer(self, opcode, node, body):
        plain = {LOOKUP: self.lookup, GETATTR: self.getattr, SETATTR: self.setattr, OPEN: self.open,
                 CREATE: self.create, READ: self.read, WRITE: self.write, UNLINK: self.unlink}
        if opcode == INIT:
            major, _, readahead = struct.unpack_from("<III", body)
            return struct.pack("<IIIIHHIIHHIIII", major, 31, readahead, 0, 0, 0, 1 << 16, 1, 0, 0, 0,
                               0, 0, 0) + bytes(12)
        if opcode in (RENAME, RENAME2):
            return self.rename(body, 8 if opcode == RENAME else 16)
        if opcode in (RELEASE, FSYNC, FLUSH):
            return b""
        return plain[opcode](node, body) if opcode in plain else errno.ENOSYS


def mount(directory):
    libc = ctypes.CDLL(None, use_errno=True)
    options = f"fd={FUSE},rootmode=40755,user_id=0,group_id=0".encode()
    if libc.mount(b"hanging", directory.encode(), b"fuse.hanging", 0, options) != 0:
        raise OSError(ctypes.get_errno(), "mount")


def main():
    directory, hang = sys.argv[1:]
    mount(directory)
    disk = Disk()
    while True:
        try:
            request = os.read(FUSE, 1 << 18)
        except InterruptedError:
            continue
        _, opcode, unique, node, *_ = HEADER.unpack_from(request)
        while os.path.exists(hang):
            time.sleep(0.05)
        if opcode in (FORGET, BATCH_FORGET):
            continue
        result = disk.answer(opcode, node, request[HEADER.size:])
        error, body = (result, b"") if isinstance(result, int) else (0, result)
        try:
            os.write(FUSE, struct.pack("<IiQ", 16 + len(body), -error, unique) + body)
        except FileNotFoundError:
            pass  # the one who asked was killed meanwhile


if __name__ == "__main__":
    main()
