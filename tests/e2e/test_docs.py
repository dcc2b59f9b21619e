"""What the README and the documents show is what one gets."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from harness import SOURCE, TOOL, dcap


def blocks(document, language):
    return re.findall(rf"^```{language}\n(.*?)^```$", (SOURCE / document).read_text(), re.S | re.M)


class Documents(unittest.TestCase):
    def test_the_readme_shows_the_example_program_as_it_is(self):
        self.assertEqual(blocks("README.md", "cpp"),
                         [(SOURCE / "examples/draws_per_frame.cpp").read_text()])

    def test_links_lead_somewhere(self):
        for document in [SOURCE / "README.md", *(SOURCE / "docs").glob("*.md")]:
            for link in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
                self.assertTrue((document.parent / link).exists(), f"{document.name}: {link}")

    def test_code_in_documents_is_that_of_the_examples(self):
        examples = [file.read_text() for file in (SOURCE / "examples").glob("*.cpp")]
        for document in (SOURCE / "docs").glob("*.md"):
            for code in blocks(document, "cpp"):
                self.assertTrue(any(code in example for example in examples), code)

    @unittest.skipIf(os.environ.get("DCAPKIT_TEST_KIND"), "programs link with the plain build only")
    def test_commands_in_documents_print_what_these_show(self):
        build = Path(TOOL).parents[1]
        with tempfile.TemporaryDirectory() as folder:
            documents = ["README.md", *(SOURCE / "docs").glob("*.md")]
            for block in (block for one in documents for block in blocks(one, "console")):
                shown = [line for line in block.splitlines() if not line.startswith("$ ")]
                script = "\n".join(line[2:] for line in block.splitlines() if line.startswith("$ "))
                script = script.replace("build/draws", folder + "/draws").replace("build/", f"{build}/")
                done = subprocess.run(["bash", "-ec", script], cwd=SOURCE, capture_output=True, text=True, check=True)
                self.assertEqual(done.stdout.splitlines(), shown)

    def test_the_hex_example_of_the_format_is_the_capture_it_describes(self):
        text = (SOURCE / "docs/format.md").read_text()
        lines = re.findall(r"^    [0-9a-f]{8}: ((?:[0-9a-f]{2,4} )+)", text, re.M)
        capture = bytes.fromhex("".join(lines))
        described = re.findall(r"^\| ([0-9A-F]{2}) \| (`.*?) \|", text, re.M)
        self.assertGreater(len(described), 10)
        for offset, shown in described:
            shown = bytes.fromhex(re.sub("[`,]", "", shown))
            self.assertEqual(capture[int(offset, 16):][:len(shown)], shown, offset)
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "example.dcap")
            Path(path).write_bytes(capture)
            self.assertEqual(dcap("dump", path).decode().splitlines(),
                             ["# DCAP 1.2, 1 frames, 103 bytes",
                              "# frame 1, number 1, 65 bytes",
                              "4101 glBindBuffer(target=GL_ARRAY_BUFFER, buffer=3)",
                              "4101 glGetUniformLocation(program=7, name=\"angle\") = 2"])
