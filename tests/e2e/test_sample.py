"""The sample capture: what its program makes, and what its listing shows."""
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from harness import SAMPLE, TOOL, dcap, events


class Sample(unittest.TestCase):
    def test_the_program_makes_the_capture_in_the_repository(self):
        maker = Path(TOOL).with_name("record_sample")
        with tempfile.TemporaryDirectory() as folder:
            made = os.path.join(folder, "sample.dcap")
            subprocess.run([maker, made], check=True)
            # Not byte for byte: another liblz4 may compress differently.
            self.assertEqual(events(made), events(SAMPLE))

    def test_the_listing_shows_values_as_people_want_them(self):
        lines = dcap("dump", SAMPLE).decode().splitlines()
        for line in (
                '4101 glGetString(name=GL_VERSION) = "OpenGL ES 2.0"',
                "4101 glBindAttribLocation(program=1, index=0, name=\"position\")",
                "4101 glClearColor(red=0.1, green=0.2, blue=0.3, alpha=1)",
                "4101 glClear(mask=GL_DEPTH_BUFFER_BIT|GL_COLOR_BUFFER_BIT)",
                "4102 glTexParameteri(target=GL_TEXTURE_2D, pname=GL_TEXTURE_MIN_FILTER, " "param=GL_LINEAR)",
                "4102 glTexImage2D(target=GL_TEXTURE_2D, level=0, internalformat=GL_RGBA, width=64, "
                "height=64, border=0, format=GL_RGBA, type=GL_UNSIGNED_BYTE, " "pixels=<16384 bytes, crc32 157e503b>)",
                "4102 glFenceSync(condition=GL_SYNC_GPU_COMMANDS_COMPLETE, flags=0x0000) = 1",
                "4101 glWaitSync(sync=1, flags=0x0000, timeout=18446744073709551615)",
                "4101 VertexAttribPointerData(index=0, size=2, type=GL_FLOAT, normalized=GL_FALSE, "
                "stride=8, buffer=<24 bytes, crc32 4505a648>, dataLength=24, dataOffset=0)",
                "4101 glDrawArrays(mode=GL_TRIANGLES, first=0, count=3)",
                "4101 eglSwapBuffers(dpy=1, surface=3) = EGL_TRUE"):
            self.assertIn(line, lines)
        draw = lines.index("4101 glDrawArrays(mode=GL_TRIANGLES, first=0, count=3)")
        self.assertTrue(lines[draw - 1].startswith("4101 VertexAttribPointerData("))
