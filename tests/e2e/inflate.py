"""The decompressors of the independent reader, as docs/format.md and the formats of LZ4 define them."""
import struct


class Damage(Exception):
    """What ends the reading."""


def more_length(data, at):
    """Further bytes of a length whose four bits are 15."""
    length = 0
    while True:
        length += data[at]
        at += 1
        if data[at - 1] != 255:
            return length, at


def repeat(out, distance, length):
    start = len(out) - distance
    while length > 0:
        step = out[start:start + length]
        out += step
        start += len(step)
        length -= len(step)


def inflate_lz4_block(data, out):
    """Appends what a raw block gives to `out`. The last five bytes must be literals, and no match begins in the last twelve."""
    at, first, last_start, last_end = 0, len(out), -12, -5
    while True:
        literals, length, at = data[at] >> 4, (data[at] & 15) + 4, at + 1
        if literals == 15:
            more, at = more_length(data, at)
            literals += more
        out += data[at:at + literals]
        at += literals
        if at >= len(data):
            size = len(out) - first
            if at > len(data) or last_start > size - 12 or last_end > size - 5:
                raise Damage
            return
        distance = data[at] | data[at + 1] << 8
        at += 2
        if length == 19:
            more, at = more_length(data, at)
            length += more
        if distance == 0 or distance > len(out):
            raise Damage
        last_start = len(out) - first
        repeat(out, distance, length)
        last_end = len(out) - first


def xxh32(data, rotate=lambda x, n: (x << n | x >> 32 - n) & 0xFFFFFFFF):
    p1, p2, p3, p4, p5 = 2654435761, 2246822519, 3266489917, 668265263, 374761393
    at, total = 0, p5
    if len(data) >= 16:
        lanes = [(p1 + p2) & 0xFFFFFFFF, p2, 0, -p1 & 0xFFFFFFFF]
        while at + 16 <= len(data):
            for i, word in enumerate(struct.unpack_from("<4I", data, at)):
                lanes[i] = rotate((lanes[i] + word * p2) & 0xFFFFFFFF, 13) * p1 & 0xFFFFFFFF
            at += 16
        total = sum(rotate(lane, n) for lane, n in zip(lanes, (1, 7, 12, 18)))
    total = (total + len(data)) & 0xFFFFFFFF
    while at + 4 <= len(data):
        word, = struct.unpack_from("<I", data, at)
        total = rotate((total + word * p3) & 0xFFFFFFFF, 17) * p4 & 0xFFFFFFFF
        at += 4
    for byte in data[at:]:
        total = rotate((total + byte * p5) & 0xFFFFFFFF, 11) * p1 & 0xFFFFFFFF
    total = (total ^ total >> 15) * p2 & 0xFFFFFFFF
    total = (total ^ total >> 13) * p3 & 0xFFFFFFFF
    return total ^ total >> 16


def inflate_lz4_frame(data):
    flags, size_code = data[4], data[5]
    content_size = struct.unpack_from("<Q", data, 6)[0] if flags & 8 else None
    at = 6 + (8 if flags & 8 else 0) + (4 if flags & 1 else 0)
    largest = {4: 1 << 16, 5: 1 << 18, 6: 1 << 20, 7: 1 << 22}.get(size_code >> 4)
    if flags >> 6 != 1 or flags & 2 or size_code & 0x8F or largest is None or \
            data[at] != xxh32(data[4:at]) >> 8 & 0xFF:
        raise Damage
    at += 1
    out = bytearray()
    while (size := struct.unpack_from("<I", data, at)[0]) != 0:
        block = data[at + 4:at + 4 + (size & 0x7FFFFFFF)]
        at += 4 + (size & 0x7FFFFFFF)
        if at > len(data) or len(block) > largest:
            raise Damage
        if flags & 0x10:
            if struct.unpack_from("<I", data, at)[0] != xxh32(block):
                raise Damage
            at += 4
        if size >> 31:
            out += block
        else:
            before = bytearray() if flags & 0x20 else out  # an independent block sees nothing of the others
            start = len(before)
            inflate_lz4_block(block, before)
            if len(before) - start > largest:
                raise Damage
            out += before if flags & 0x20 else b""
    at += 4
    if flags & 4:
        if struct.unpack_from("<I", data, at)[0] != xxh32(out):
            raise Damage
        at += 4
    if at != len(data) or content_size not in (None, len(out)):
        raise Damage
    return out


def inflate_lz77(data):
    out, at = bytearray(), 0
    while at < len(data):
        token = data[at]
        at += 1
        literals = token >> 4
        if literals == 15:
            more, at = more_length(data, at)
            literals += more
        if at + literals > len(data):
            raise Damage
        out += data[at:at + literals]
        at += literals
        if at == len(data):
            if token & 15:
                raise Damage
            break
        distance = data[at] + 1
        at += 1
        if distance > 128:
            distance = ((distance - 1 & 0x7F) << 8 | data[at]) + 1
            at += 1
        length = token & 15
        if length == 15:
            more, at = more_length(data, at)
            length += more
        if distance > len(out):
            raise Damage
        repeat(out, distance, length + 3)
    return out


def inflate(algorithm, data, size):
    if size > 255 * len(data):
        raise Damage
    try:
        if algorithm == 2:
            out = inflate_lz77(data)
        elif data[:4] == b"\x04\x22\x4D\x18":
            out = inflate_lz4_frame(data)
        else:
            out = bytearray()
            inflate_lz4_block(data, out)
    except (IndexError, struct.error):
        raise Damage
    if len(out) != size:
        raise Damage
    return bytes(out)
