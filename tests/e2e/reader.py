#!/usr/bin/python3
"""An independent reader of captures: writes the canonical form as the documents define it, slowly and simply.

    tests/e2e/reader.py CAPTURE

Made from docs/format.md, docs/canonical.md and the call tables alone, to be compared with the library. The exit status is
that of `dcap dump`.
"""
import functools
import re
import struct
import sys
import zlib
from pathlib import Path

from harness import SOURCE
from inflate import Damage, inflate

TRAILER = b"\xEE" * 8
FRAME, SET_UP = 1, 2
THREADS, NO_TRAILERS, SET_UP_FIRST = 0x40, 0x100, 0x1000
VALUE, ARRAY, STRING, STRINGS, KIND, ADDRESS, NO_CONTENT, SIZE_ONLY = 1, 2, 4, 6, 6, 8, 0x10, 0x20
MOST_CLAIMED, MOST_UNBACKED = 4 << 30, 256 << 20
COMPLETE, DAMAGED, CUT = 0, 1, 3
WIDTH = {"u8": 1, "u32": 4, "i32": 4, "f32": 4, "u64": 8, "i64": 8}
VERTEX, VERTEX_I = 0x908C, 0x90B5


class Zeros:
    """That many bytes that a payload claims and does not hold."""

    def __init__(self, size):
        self.size = size


@functools.lru_cache(maxsize=64)
def crc_of_zeros(size):
    crc, piece = 0, bytes(1 << 16)
    for at in range(0, size, len(piece)):
        crc = zlib.crc32(piece[:size - at], crc)
    return crc


def checksum(content):
    return f"#{crc_of_zeros(content.size) if isinstance(content, Zeros) else zlib.crc32(content):08x}"


def block_of(content):
    if content is None:
        return "-"
    return f"b{content.size if isinstance(content, Zeros) else len(content)}{checksum(content)}"


def read_tables():
    """The calls by identifier: name, values as (type, stored, default or element size), whether with result and by hand."""
    types = {}
    for line in (SOURCE / "calls/types").read_text().splitlines():
        if fields := line.split("#")[0].split():
            types[fields[0]] = (fields[0], fields[1], int(fields[2]))
    calls = {}
    for name in ("egl.calls", "gles.calls"):
        for line in (SOURCE / "calls" / name).read_text().splitlines():
            match = re.fullmatch(r"0x(\w+) +\w+ +(\w+)\((.*)\)(?: -> (\S+))?( manual)?", line.split("#")[0].strip())
            if match:
                values = re.findall(r"\w+: (\w+(?:\[\]|\(\w+\))?)", match[3]) + ([match[4]] if match[4] else [])
                values = [types[re.sub(r"\(\w+\)", "(*)", value)] for value in values]
                calls[int(match[1], 16)] = (match[2], values, bool(match[4]), bool(match[5]))
    return calls


CALLS = read_tables()


# Payloads -----------------------------------------------------------------------------------------

class Payload:
    """Reads values one after another. A read of what is not there whole leaves the offset where it is."""

    def __init__(self, data):
        self.data = data
        self.at = 0
        self.expect_claims(MOST_UNBACKED)

    def take(self, size):
        """The next bytes, or None."""
        if self.at + size > len(self.data):
            return None
        self.at += size
        return self.data[self.at - size:self.at]

    def number(self, default=0, stored="u32"):
        piece = self.take(WIDTH[stored])
        if piece is None:
            return default % (1 << 8 * WIDTH[stored]) if stored[0] == "u" else default
        return struct.unpack({"u32": "<I", "i32": "<i", "u64": "<Q", "f32": "<I"}[stored], piece)[0]

    def numbers(self, count):
        return [self.number() for _ in range(count)]

    def content(self, size, recorded=True):
        """Bytes that a size stands for; zeros where they are not there."""
        piece = self.take(size) if recorded else None
        return self.claim(size) if piece is None else piece

    def claim(self, size):
        self.claimed += size
        if self.claimed > self.most_claimed:
            raise Damage
        return Zeros(size)

    def expect_claims(self, most):
        """Claims from here on must not come to more."""
        self.claimed, self.most_claimed = 0, most


class Pointer:
    """A pointer block."""

    def __init__(self, payload, width):
        self.flags = self.address = self.count = self.width = 0
        self.content = None
        self.text = ""
        if not payload.data:
            return
        payload.expect_claims(MOST_CLAIMED)
        self.flags = payload.number()
        if self.flags & ADDRESS:
            self.address = payload.number(stored="u64")
        recorded = not self.flags & NO_CONTENT
        kind = self.flags & KIND
        if kind == STRINGS:
            self.read_strings(payload)
        elif kind == STRING:
            self.width = 1
            self.count = payload.number()
            self.content = payload.content(self.count, recorded)
            self.text = f"s{self.count}"
        elif kind == ARRAY:
            self.width = width
            self.count = payload.number()
            unknown = self.count == 0
            self.count = self.count or 512
            if not self.flags & SIZE_ONLY:
                self.content = Zeros(512 * width) if unknown else payload.content(self.count * width, recorded)
            self.text = f"a{width}x{self.count}"
        elif self.flags & VALUE:
            self.width, self.count = width, 1
            self.content = payload.content(width, recorded)
            self.text = f"v{width}"
        if self.text and kind != STRINGS:
            self.text += checksum(self.content) if recorded and self.content is not None else "!"

    def read_strings(self, payload):
        self.count = payload.number()
        if self.count > len(payload.data):
            raise Damage
        entries = []
        for _ in range(self.count):
            flags = payload.number()
            if flags == 0:
                entries.append("-")
                continue
            if flags & ADDRESS:
                payload.number(stored="u64")
            length = payload.number()
            content = payload.content(length, not flags & NO_CONTENT)
            entries.append(f"{length}!" if flags & NO_CONTENT else f"{length}{checksum(content)}")
        self.text = f"S[{';'.join(entries)}]"

    def array(self):
        """The bytes, if it is an array."""
        return self.content if self.flags & KIND == ARRAY else None

    def __str__(self):
        address = f"@0x{self.address:x}" if self.flags & ADDRESS else ""
        return ":".join(part for part in (address, self.text) if part) or "-"


def value(payload, kind):
    name, stored, second = kind
    if name.endswith("[]") or name in ("bytes", "string", "strings", "attribs", "attribs64"):
        return str(Pointer(payload, second))
    number = payload.number(second, stored)
    return f"0x{number:08x}" if stored == "f32" else str(number)


def vertex_records(payload):
    """The lines of the vertex arrays that follow the parameters of a draw call."""
    count = payload.number()
    function = index = size = kind = normalized = stride = offset = flags = length = 0
    payload.expect_claims(MOST_UNBACKED)
    for _ in range(count):
        if count > len(payload.data) and payload.at + 4 > len(payload.data):
            break
        function = payload.number(function)
        index = payload.number(index)
        size = payload.number(size, "i32")
        kind = payload.number(kind)
        if function == VERTEX:
            normalized = payload.number(normalized)
        stride = payload.number(stride, "i32")
        offset = payload.number(offset)
        flags = payload.number(flags)
        if flags == 0:
            continue
        if flags & ADDRESS:
            payload.at += 8
        length = payload.number(length)
        data = None
        if length:
            payload.claim(offset)
            data = payload.content(length)
        tail = f"{stride}, {block_of(data)}, {length}, {offset})"
        if function == VERTEX:
            yield f"VertexAttribPointerData({index}, {size}, {kind}, {normalized}, {tail}"
        elif function == VERTEX_I:
            yield f"VertexAttribIPointerData({index}, {size}, {kind}, {tail}"


def flushed_range(payload, values):
    length = int(values[2])
    pointer = Pointer(payload, 1)
    data = pointer.array()
    if data is not None and pointer.count < length:
        if length > MOST_UNBACKED:
            raise Damage
        recorded = b"" if isinstance(data, Zeros) else data
        data = Zeros(length) if not recorded else recorded + bytes(length - len(recorded))
    elif isinstance(data, Zeros):
        data = Zeros(length)
    elif data is not None:
        data = data[:length]
    yield f"FlushMappedBufferRangeData({values[0]}, {values[1]}, {length}, {block_of(data)})"


def unmapped_range(payload, values):
    pointer = Pointer(payload, 1)
    yield f"UnmapBufferData({values[0]}, {pointer.count * pointer.width}, {block_of(pointer.array())})"


def call_lines(call, data):
    if call not in CALLS:
        return
    name, kinds, has_result, by_hand = CALLS[call]
    payload = Payload(data)
    parameters = len(kinds) - (1 if has_result else 0)
    values = [value(payload, kind) for kind in kinds[:parameters]]
    if by_hand and name == "glFlushMappedBufferRange":
        yield from flushed_range(payload, values)
    elif by_hand and name == "glUnmapBuffer":
        yield from unmapped_range(payload, values)
    elif by_hand:
        yield from vertex_records(payload)
    result = f" = {value(payload, kinds[-1])}" if has_result else ""
    yield f"{name}({', '.join(values)}){result}"


# Metadata -----------------------------------------------------------------------------------------

class Record(Payload):
    def name(self):
        length = self.number(stored="i32")
        return "-" if length < 1 else block_of(self.content(length))

    def words(self, count):
        piece = self.take(4 * count) if count > 0 else None
        return "{" + " ".join(map(str, struct.unpack(f"<{count}I", piece))) + "}" if piece is not None else "{}"

    def bytes_at_once(self, size):
        piece = self.take(size) if size > 0 else None
        return block_of(piece)

    def counted(self, make):
        """A count and as many entries; no honest count is larger than the record."""
        count = self.number()
        if count > len(self.data):
            return None
        return [str(count)] + ["{" + " ".join(map(str, make())) + "}" for _ in range(count)]

    def array(self, arrays):
        count = self.number(stored="i32")
        return [count] + [self.words(count) for _ in range(arrays) if count > 0]


def plane(record):
    p0, size, p1 = record.number(), record.number(stored="u64"), record.number(stored="u64")
    piece = record.take(size)
    return p0, size, p1, block_of(piece)


def uniform_block(record):
    return [*record.numbers(2), record.name(), *record.numbers(4), *record.array(8)]


def storage_block(record):
    return [record.number(), record.name(), *record.numbers(5), *record.array(1)]


NONE = 0xFFFFFFFF


def attributes(record):
    head = [record.number(NONE), record.number(NONE), record.number()]
    count = head[2]
    if count > len(record.data):
        return None
    piece = record.take(4 * count)
    numbers = struct.unpack(f"<{count}I", piece) if piece is not None else (0,) * count
    return [*head, "{" + " ".join(map(str, numbers)) + "}"]


def limits(record):
    count = record.number()
    if count == 0 or count > len(record.data):
        return None
    return [count, "{" + " ".join(str(record.number()) for _ in range(2 * count)) + "}"]


def default_buffer(record):
    head, length = record.numbers(6), record.number()
    if length == 0:
        return None
    rest = record.data[record.at:]
    return [*head, len(record.data), block_of(rest if length <= len(rest) else None)]


def multi_sample_texture(record):
    head, a8, length = record.numbers(8), record.number(stored="i32"), record.number()
    if length == 0:
        return None
    signed = length - (1 << 32) if length >> 31 else length
    return [*head, a8, signed, block_of(record.take(length))]


def message(record):
    length = record.number()
    text = record.content(length) if length else b""
    return [block_of(b"" if isinstance(text, Zeros) else text.split(b"\0")[0])]


def table(make):
    def read(record):
        program = record.number(NONE)
        entries = record.counted(lambda: make(record))
        return None if entries is None else [program, *entries]
    return read


def image_content(record):
    head = [record.number(NONE), *record.numbers(4)]
    entries = record.counted(lambda: plane(record))
    return None if entries is None else head + entries


RECORDS = {
    (1, 1): ("ProcessTextMetadata1", lambda r: [block_of(r.data)]),
    (1, 2): ("ProcessTextMetadata2", lambda r: [block_of(r.data)]),
    (1, 3): ("ProcessTextMetadata3", lambda r: [block_of(r.data)]),
    (2, 1): ("DisplayMessage", message),
    (2, 2): ("SetWindowSize", lambda r: [r.number(NONE), r.number(NONE), *r.numbers(2)]),
    (2, 3): ("SetEglImageContent", image_content),
    (2, 4): ("DefaultColorBuffer", default_buffer),
    (2, 5): ("DefaultDepthBuffer", default_buffer),
    (2, 6): ("DefaultStencilBuffer", default_buffer),
    (2, 7): ("CreateEglImageBuffer", lambda r: [r.number(NONE), r.number(NONE), *r.numbers(4)]),
    (2, 8): ("MultiSampleTexture", multi_sample_texture),
    (3, 1): ("EGLConfigStateDesc", attributes),
    (3, 2): ("EGLSurfaceStateDesc", attributes),
    (3, 3): ("GLUniformsStateDesc", table(lambda r: [*r.numbers(4), r.name()])),
    (3, 4): ("GLUniformBlocksStateDesc", table(uniform_block)),
    (3, 5): ("GLAttributesStateDesc", table(lambda r: [*r.numbers(4), r.name()])),
    (3, 6): ("GLLimitsDesc", limits),
    (3, 7): ("GLAtomicCounterBufferStateDesc", table(lambda r: [*r.numbers(6), *r.array(1)])),
    (3, 8): ("GLBufferVariablesStateDesc", table(lambda r: [*r.numbers(13), r.name()])),
    (3, 9): ("GLStorageBlocksStateDesc", table(storage_block)),}


def record_line(kind, subtype, data):
    if kind == 4:
        return f"meta.ProcessRawMetadata({subtype}, {block_of(data)})"
    name, read = RECORDS.get((kind, subtype), (None, None))
    fields = read(Record(data)) if name else None
    return None if fields is None else f"meta.{name}({', '.join(map(str, fields))})"


# Blocks -------------------------------------------------------------------------------------------

def header_at(data, at):
    return struct.unpack_from("<HI", data, at)


class Recovery:
    """What finishing an unfinished capture makes of it."""

    def __init__(self, data):
        if data[:4] != b"DCAP" or len(data) < 32:
            raise Damage
        self.data = data
        self.options, = struct.unpack_from("<I", data, 8)
        self.frames, self.size = struct.unpack_from("<IQ", data, 20)
        self.trailers = not self.options & NO_TRAILERS
        self.end = len(data)
        self.last = None  # position, type and size of the last block
        self.appends = self.left_out = False
        self.last_size = None
        self.counted = 0
        self.status = COMPLETE
        self.run()

    def has_sub_blocks(self):
        return self.last is not None and self.last[1] in (FRAME, SET_UP)

    def run(self):
        at = self.walk_blocks()
        if at == self.end or self.has_sub_blocks() and self.is_trailer_part(at):
            self.keep_sub_blocks()
        else:
            broken = header_at(self.data, at) if at + 6 <= self.end else (0, 1)
            if broken[0] in (FRAME, SET_UP) and at + 10 <= self.end:
                self.last = (at, *broken)
                self.counted += broken[0] == FRAME
            else:
                self.left_out, self.end = True, at
            self.keep_sub_blocks()
            if self.left_out and self.size == len(self.data) and not (broken[0] in (FRAME, SET_UP) and broken[1] == 0):
                self.status = DAMAGED
                return
        size = self.end + (8 if self.appends else 0)
        if self.left_out or self.size > size or self.last and self.last[0] + 6 + self.last[2] > size:
            self.status = CUT
        if not (self.frames and self.size == size):
            self.frames = self.counted
        kept = bytearray(self.data[:self.end]) + (TRAILER if self.appends else b"")
        struct.pack_into("<IQ", kept, 20, self.frames, size)
        if self.last_size is not None:
            struct.pack_into("<I", kept, self.last[0] + 2, self.last_size)
        self.data = bytes(kept)

    def walk_blocks(self):
        at, doubt = 32, None
        while at + 6 <= self.end:
            kind, size = header_at(self.data, at)
            if kind in (FRAME, SET_UP):
                doubt = None
            if at + 6 + size > self.end or kind in (FRAME, SET_UP) and size == 0:
                break
            if size == 0 and doubt is None:
                doubt = (at, self.last)
            self.last = (at, kind, size)
            self.counted += kind == FRAME
            at += 6 + size
        if at != self.end and doubt is not None:
            at, self.last = doubt
        return at

    def is_trailer_part(self, at):
        return at == self.end or self.trailers and TRAILER.startswith(self.data[at:self.end])

    def keep_sub_blocks(self):
        if not self.has_sub_blocks():
            return
        at, _, size = self.last
        first = at + 10
        if first > self.end:
            return
        ended = self.trailers and at + 6 + size <= self.end and self.end - first >= 8 and \
            self.is_trailer_part(self.end - 8)
        limit = self.end - 8 if ended else self.end
        stop = self.walk_sub_blocks(first, limit)
        if ended and stop != limit and size == 0 and self.size != len(self.data):
            limit = self.end
            stop = self.walk_sub_blocks(stop, limit)
        whole = self.trailers and self.data[stop:self.end] == TRAILER
        self.appends = self.trailers and not whole
        self.last_size = stop - at - 6 + (8 if self.trailers else 0)
        if not self.is_trailer_part(stop):
            self.left_out = True
        self.end = self.end if whole else stop

    def walk_sub_blocks(self, at, limit):
        width = 10 if self.options & THREADS else 6
        while at + width <= limit:
            size = header_at(self.data, at)[1]
            if at + width + size > limit:
                break
            at += width + size
        return at


class Reader:
    def __init__(self, data):
        self.lines = []
        try:
            recovery = Recovery(data)
            self.data = recovery.data
            self.options = recovery.options
            self.frames = recovery.frames
            self.status = recovery.status
            self.read()
        except Damage:
            self.status = DAMAGED

    def read(self):
        self.algorithm = self.options >> 13 & 7
        if self.algorithm > 2:
            raise Damage
        low, minor, major = struct.unpack_from("<HBB", self.data, 4)
        self.lines.append(f"file {major}.{minor}.{low} 0x{self.options:08x} {self.data[12:20].hex()} "
                          f"{self.frames} {struct.unpack_from('<Q', self.data, 24)[0]}")
        self.frame = 0
        at = 32
        while at + 6 <= len(self.data):
            kind, size = header_at(self.data, at)
            if kind == FRAME or kind == SET_UP and self.options & SET_UP_FIRST and self.frame == 0:
                at = self.read_block(at + 6, kind, size)
            else:
                at += 6 + size

    def piece(self, at, size):
        if at + size > len(self.data):
            raise Damage
        return self.data[at:at + size]

    def read_block(self, at, kind, size):
        """Returns where the block ends."""
        trailer = 0 if self.options & NO_TRAILERS else 8
        end = at + size - trailer
        if at + 4 > end:
            raise Damage
        number, = struct.unpack("<I", self.piece(at, 4))
        if kind == FRAME:
            self.frame = number
        self.lines.append(f"block {kind} {number} {size}")
        at += 4
        threads = self.options & THREADS
        width = 10 if threads else 6
        while at != end:
            if at + width > end:
                raise Damage
            header = self.piece(at, width)
            sub_kind, sub_size = header_at(header, 0)
            at += width
            if at + sub_size > end:
                if self.frame == self.frames:
                    return len(self.data)  # an incomplete last frame
                raise Damage
            thread = struct.unpack_from("<I", header, 6)[0] if threads else "-"
            self.place = f"{'S' if kind == SET_UP else ''}{number} {thread} "
            self.read_sub_block(at, sub_kind, sub_size)
            at += sub_size
        if trailer and self.piece(at, 8) != TRAILER:
            raise Damage
        return at + trailer

    def read_sub_block(self, at, kind, size):
        description = {1: 4, 2: 6, 3: 2, 4: 10, 5: 6}.get(kind)
        if description is None:
            return
        body = self.piece(at, size)
        if size < description:
            raise Damage
        payload = body[description:]
        if kind == 1:
            line = record_line(*struct.unpack_from("<HH", body), payload)
            if line is not None:
                self.lines.append(self.place + line)
            return
        if kind in (4, 5) and self.algorithm and payload:
            inflated, = struct.unpack_from("<I", body, description - 4)
            if inflated == 0:
                return
            payload = inflate(self.algorithm, payload, inflated)
        if kind in (3, 5):
            for line in call_lines(struct.unpack_from("<H", body)[0], payload):
                self.lines.append(self.place + line)


def read(data):
    """The canonical form and the exit status that the tool must give."""
    reader = Reader(data)
    return "".join(line + "\n" for line in reader.lines), reader.status


if __name__ == "__main__":
    text, exit_status = read(Path(sys.argv[1]).read_bytes())
    sys.stdout.write(text)
    sys.exit(exit_status)
