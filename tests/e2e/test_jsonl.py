"""JSON Lines: the documented shape, with the values of the canonical form."""
import itertools
import json
import re
import struct
import zlib

import fastjsonschema

from harness import SAMPLE, SOURCE, FileTest, captures, dcap, jsonl, write_capture

INPUTS = {**captures(finished=False), "sample": SAMPLE}


def checksum(data):
    return f"#{zlib.crc32(data):08x}"


def encoded(text):
    return text["latin1"].encode("latin-1") if isinstance(text, dict) else text.encode()


def packed(value, size, signed):
    """The bytes of a number of that size."""
    if isinstance(value, str):  # the floats that are no numbers
        bits = re.fullmatch(r"NaN\((.*)\)", value)
        return struct.pack("<I", int(bits[1], 16)) if bits else struct.pack("<f", float(value))
    if isinstance(value, float):
        return struct.pack("<f", value)
    return value.to_bytes(size, "little", signed=signed)


def is_listed_as(value, token):
    """Whether a JSON value of a --numeric line says what a value of the canonical form says."""
    if isinstance(value, dict) and "address" in value:
        address, _, rest = token.partition(":")
        return "@" + value["address"] == address and (is_listed_as(value["data"], rest) if rest
                                                      else "data" not in value)
    if value is None:
        return token == "-"
    if token == "-":
        return False
    kind, crc = token[0], token[-9:]
    if isinstance(value, dict) and value.get("content") is False:
        sizes = [int(size) for size in re.findall(r"\d+", token)]
        return token[-1] == "!" and value["bytes"] == (sizes + [1])[0] * (sizes + [1])[1]
    if isinstance(value, dict) and "crc32" in value:
        size = value["bytes"]
        shown = {"b": f"b{size}", "v": f"v{size}",
                 "a": f"a1x{size}" if token.startswith("a1x") else f"a0x{size}"}
        return token == shown.get(kind, "") + "#" + value["crc32"]
    if kind == "s":
        return token == f"s{len(encoded(value))}" + checksum(encoded(value))
    if kind == "S":
        entries = [entry for entry in token[2:-1].split(";") if entry]
        return len(value) == len(entries) and all(is_listed_as(one, "s" + entry if entry != "-" else "-")
            for one, entry in zip(value, entries))
    if kind in "av":
        size, count = re.match(r"[av](\d+)x?(\d*)", token).groups()
        values = value if kind == "a" else [value]
        signed = any(isinstance(value, int) and value < 0 for value in values)
        data = b"".join(packed(value, int(size), signed) for value in values)
        return len(values) == int(count or 1) and checksum(data) == crc
    if kind == "b":  # a text of a metadata record
        return token == f"b{len(encoded(value))}" + checksum(encoded(value))
    if token.startswith("0x"):
        return isinstance(value, (float, str)) and \
            packed(value, 4, False) == struct.pack("<I", int(token, 16))
    return not isinstance(value, bool) and token == str(value)


def tokens(text):
    return text.split(", ") if text else []


def record_tokens(fields):
    """The fields of a record, entries and lists of numbers one each, as the canonical form has them."""
    for name, value in fields.items():
        if isinstance(value, list) and name == "entries":
            yield from ([*record_tokens(entry)] for entry in value)
        else:
            yield value


def record_is_listed_as(value, token):
    if isinstance(value, list):
        parts = re.findall(r"\{[^{}]*\}|[^ {}]+", token[1:-1])
        return len(value) == len(parts) and all(map(record_is_listed_as, value, parts))
    return is_listed_as(value, "{}" if value is None and token == "{}" else token)


class JsonLines(FileTest):
    def test_every_line_is_valid(self):
        validate = fastjsonschema.compile(json.loads((SOURCE / "docs/jsonl.schema.json").read_text()))
        for (name, path), options in itertools.product(INPUTS.items(), ([], ["--numeric"])):
            with self.subTest(name, options=options):
                for line in jsonl(path, *options):
                    validate(line)
        for wrong in ({"type": "call"}, {"type": "frame", "frame": 1, "number": 1, "bytes": 1, "x": 1},
                      {"type": "metadata", "frame": 1, "index": 0, "name": "N", "fields": {"a": 1.5}}):
            with self.assertRaises(fastjsonschema.JsonSchemaException):
                validate(wrong)

    def test_values_are_those_of_the_canonical_form(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                listed = dcap("dump", "--format", "canonical", path).decode().splitlines()
                lines = jsonl(path, "--numeric")
                self.assertEqual(len(lines), len(listed))
                for line, canonical in zip(lines, listed):
                    self.assertTrue(self.matches(line, canonical), (line, canonical))

    def matches(self, line, canonical):
        """Compares one line; keeps the frame and the index that the next one must have."""
        if line["type"] == "capture":
            self.ordinal = 0
            return canonical == "file {} 0x{:08x} {} {} {}".format(
                *(line[name] for name in ("version", "options", "reserved", "frames", "bytes")))
        if line["type"] == "frame":
            setUp = line.get("setup", False)
            self.ordinal += not setUp
            self.place, self.index = ("S" if setUp else "") + str(line["number"]), 0
            return line["frame"] == self.ordinal and \
                canonical == f"block {2 if setUp else 1} {line['number']} {line['bytes']}"
        place, thread, call = canonical.split(" ", 2)
        if (line["frame"], line["index"], str(line.get("thread", "-"))) != \
                (self.ordinal, self.index, thread) or place != self.place:
            return False
        self.index += line["type"] != "client-data"
        name, rest = call.split("(", 1)
        arguments, _, result = rest.rpartition(")")
        if line["type"] == "metadata":
            values = [*record_tokens(line["fields"])]
            listed = re.findall(r"\{(?:[^{}]|\{[^{}]*\})*\}|[^, ]+", arguments)
            return name == "meta." + line["name"] and len(values) == len(listed) and \
                all(map(record_is_listed_as, values, listed))
        values = [*line["args"].values()]
        listed = tokens(arguments)
        if result:
            values.append(line["result"])
            listed.append(result.removeprefix(" = "))
        return name == line["name"] and len(values) == len(listed) and \
            ("result" in line) == bool(result) and all(map(is_listed_as, values, listed))

    def test_names_are_those_of_the_text_form(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                named, numeric = ([line for line in jsonl(path, *options) if "args" in line]
                                  for options in ([], ["--numeric"]))
                listed = [line for line in dcap("dump", path).decode().splitlines()
                          if not line.startswith("#") and " meta." not in line]
                self.assertEqual(len(named), len(listed))
                for one, other, text in zip(named, numeric, listed):
                    for key, number in [*other["args"].items(), (") ", other.get("result"))]:
                        value = one.get("result") if key == ") " else one["args"][key]
                        if isinstance(value, bool):
                            value = ("EGL_" if one["api"] == "EGL" else "GL_") + str(value).upper()
                        if isinstance(number, int) and value != number:
                            self.assertRegex(text, re.escape(key) + "= ?&?" + re.escape(value))

    def test_values_out_of_the_ordinary_lose_nothing(self):
        floats = struct.pack("<8f", 0.1, -0.0, 1e-45, 3.4028235e38, 16777216, *map(float, (
            "inf", "-inf", "nan"))) + struct.pack("<I", 0xffc00001)
        latin = b"caf\xe9 \xed\xa0\x80"  # the second would be a surrogate
        utf8 = "\u4e2d\U0001f600 \\ \"\0\x1f\x7f".encode()
        path = self.folder / "odd.dcap"
        write_capture(path,
            (0x9070, struct.pack("<iiII", 3, 9, 2, 9) + floats),
            (0x9002, struct.pack("<4I", 7, 9, 4, len(latin)) + latin),
            (0x904C, struct.pack("<3I", 1, 4, len(utf8)) + utf8 + struct.pack("<i", -1)),
            (0x9062, struct.pack("<IiII", 1, 4, 6, 4) + struct.pack("<IQI3s", 4 | 8, 0x55, 3, b"abc") +
             struct.pack("<7I", 0, 4 | 0x10, 20, 4, 0, 0, 0)),
            (0x900C, struct.pack("<IIIQII", 0x8892, 64, 2 | 8 | 0x10, 2 ** 63, 64, 0x88E4)),
            (0x90A8, struct.pack("<IIIIIQ", 0x8892, 0, 64, 0x1001, 8, 0x7f00)),
            (0x900F, struct.pack("<I", 0x10)),
            (0x9023, struct.pack("<I", 2)),
            (0x906C, struct.pack("<IIi", 0x9999, 0x813D, 5)),)
        expected = {
            "glUniform1fv": [0.1, -0.0, 1e-45, 3.4028235e38, 16777216.0, "Infinity", "-Infinity",
                             "NaN", "NaN(0xffc00001)"],
            "glBindAttribLocation": {"latin1": latin.decode("latin-1")},
            "glGetUniformLocation": utf8.decode(),
            "glShaderSource": [{"address": "0x55", "data": "abc"}, None,
                               {"bytes": 20, "content": False}, ""],
            "glBufferData": {"address": "0x8000000000000000",
                             "data": {"bytes": 64, "content": False}},
            "glMapBufferRange": "GL_MAP_READ_BIT|0x1000",
            "glClear": 0x10,
            "glDepthMask": 2,
            "glTexParameteri": 0x9999,}
        parameters = {"glUniform1fv": "value", "glBindAttribLocation": "name",
                      "glGetUniformLocation": "name", "glShaderSource": "string",
                      "glBufferData": "data", "glMapBufferRange": "access", "glClear": "mask",
                      "glDepthMask": "flag", "glTexParameteri": "target"}
        lines = {line["name"]: line for line in jsonl(path) if line["type"] == "call"}
        self.assertEqual({name: repr(line["args"][parameters[name]]) for name, line in lines.items()},
                         {name: repr(value) for name, value in expected.items()})
        self.assertEqual(lines["glMapBufferRange"]["result"], {"address": "0x7f00"})
        self.assertEqual(lines["glTexParameteri"]["args"]["param"], 5)
        self.assertNotIn("thread", lines["glClear"])
        self.assertNotIn("result", lines["glClear"])

    def test_blobs_hold_the_byte_data(self):
        def byte_data(value):
            if isinstance(value, dict) and "crc32" in value:
                yield f"{value['crc32']}-{value['bytes']}.bin"
            elif isinstance(value, (dict, list)):
                for part in value.values() if isinstance(value, dict) else value:
                    yield from byte_data(part)
        for name, path in INPUTS.items():
            for form in ("text", "jsonl", "canonical"):
                with self.subTest(name, form=form):
                    folder = self.folder / "deep" / f"{name}-{form}"
                    listed = dcap("dump", "--format", form, path)
                    self.assertEqual(dcap("dump", "--format", form, "--blobs", folder, path), listed)
                    blobs = {blob.name for blob in folder.iterdir()}
                    self.assertEqual(blobs, {*byte_data(jsonl(path))})
                    for blob in folder.iterdir():
                        data = blob.read_bytes()
                        self.assertEqual(blob.name, f"{zlib.crc32(data):08x}-{len(data)}.bin")
