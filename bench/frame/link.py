# SPDX-License-Identifier: Apache-2.0
"""Taking a node's end of the cable down and up, at once and without a process."""

import fcntl
import struct

DEVICE = b"link0"
GET_FLAGS = 0x8913
SET_FLAGS = 0x8914
UP = 1


def set_up(node, up):
    with node.socket() as control:
        request = struct.pack("16sh14x", DEVICE, 0)
        flags = struct.unpack("16sh14x", fcntl.ioctl(control, GET_FLAGS, request))[1]
        flags = flags | UP if up else flags & ~UP
        fcntl.ioctl(control, SET_FLAGS, struct.pack("16sh14x", DEVICE, flags))
