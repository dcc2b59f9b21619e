"""The decompressors of the independent reader; that of LZ77 as docs/format.md tells it."""
import lz4.block
import lz4.frame


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


def inflate_lz4_frame(data, size):
    decompressor = lz4.frame.LZ4FrameDecompressor()
    out = decompressor.decompress(data, max_length=size + 1)
    if not decompressor.eof or decompressor.unused_data:
        raise Damage
    return out


def inflate(algorithm, data, size):
    if size > 255 * len(data):
        raise Damage
    try:
        if algorithm == 2:
            out = inflate_lz77(data)
        elif data[:4] == b"\x04\x22\x4D\x18":
            out = inflate_lz4_frame(data, size)
        else:
            out = lz4.block.decompress(data, uncompressed_size=size)
    except (IndexError, RuntimeError, lz4.block.LZ4BlockError):
        raise Damage
    if len(out) != size:
        raise Damage
    return bytes(out)
