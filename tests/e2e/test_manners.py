"""How the tool behaves: help, mistakes on the command line, terminals and pipes."""
import os
import pty
import re
import subprocess
import tempfile
import time
import unittest

from harness import SAMPLE, TOOL, commands, dcap, run


def read_terminal(leader):
    text = b""
    try:
        while piece := os.read(leader, 65536):
            text += piece
    except OSError:  # the other side is closed
        pass
    os.close(leader)
    return text


def on_terminal(*arguments, **environment):
    """What the tool writes to a terminal."""
    leader, follower = pty.openpty()
    variables = {key: value for key, value in os.environ.items() if key not in ("NO_COLOR", "TERM")}
    with subprocess.Popen([TOOL, *map(str, arguments)], stdout=follower, stderr=follower,
                          env={**variables, **environment}) as process:
        os.close(follower)
        text = read_terminal(leader)
    return process.returncode, text.replace(b"\r\n", b"\n")


class Manners(unittest.TestCase):
    def test_every_command_has_help_with_examples_that_it_understands(self):
        for command in commands():
            with self.subTest(command):
                text = dcap(command, "--help").decode()
                self.assertIn(f"Usage: dcap {command} [OPTION...] FILE", text)
                examples = text.split("\nExamples:\n")[1].splitlines()
                self.assertGreater(len(examples), 0)
                for example in examples:
                    self.assertRegex(example, rf"\bdcap {command}\b")
                    for option in re.findall(r" (--[a-z-]+)", example.split("|")[0]):
                        self.assertIn(option, text.split("\nExamples:\n")[0])

    def test_a_near_miss_is_suggested(self):
        for arguments, error in (
                (["dmup", SAMPLE], "unknown command 'dmup': did you mean 'dump'?"),
                (["xyzzy"], "unknown command 'xyzzy'"),
                (["dump", SAMPLE, "--fromat=text"],
                 "unknown option '--fromat': did you mean '--format'?"),
                (["dump", "--frame", "3", SAMPLE],
                 "unknown option '--frame': did you mean '--frames'?"),
                (["stats", "--verbos", SAMPLE],
                 "unknown option '--verbos': did you mean '--verbose'?"),
                (["dump", "--sort", SAMPLE], "unknown option '--sort'"),
                (["dump", "--frames"], "--frames: a value is missing"),
                (["dump"], "FILE is required"),
                ([], "a command is required")):
            with self.subTest(error):
                lines = run(*arguments, status=2).stderr.decode().splitlines()
                self.assertEqual(lines[0], "dcap: " + error)
                self.assertRegex(lines[1], "^Run 'dcap( (dump|stats))? --help' for more information.$")

    def test_a_file_may_bear_the_name_of_a_command(self):
        self.assertIn(b"dcap: stats: Cannot read", run("dump", "stats", status=1, cwd="/").stderr)

    def test_colours_are_for_terminals_only(self):
        plain = dcap("dump", SAMPLE)
        self.assertNotIn(b"\033", plain)
        status, coloured = on_terminal("dump", SAMPLE, TERM="xterm")
        self.assertEqual(status, 0)
        self.assertIn(b"\033[1mglDrawArrays\033[0m(mode=", coloured)
        self.assertEqual(re.sub(rb"\033\[\dm", b"", coloured), plain)
        for environment in ({"TERM": "xterm", "NO_COLOR": "1"}, {"TERM": "dumb"}, {}):
            self.assertEqual(on_terminal("dump", SAMPLE, **environment), (0, plain))

    def test_a_reader_that_has_had_enough_is_no_error(self):
        for arguments in (["dump"], ["dump", "--format", "jsonl"], ["stats", "--json"], ["info"],
                          ["trim", "-o", "/dev/stdout"], ["finalize", "-o", "/dev/stdout"]):
            with self.subTest(arguments):
                reader, writer = os.pipe()
                os.close(reader)
                done = subprocess.run([TOOL, *arguments, SAMPLE], stdout=writer, stderr=subprocess.PIPE, check=False)
                os.close(writer)
                self.assertEqual((done.returncode, done.stderr), (0, b""))

    def long_work(self, *arguments, stderr):
        """Runs a command whose output, of more than a pipe holds, nobody reads for a second."""
        with subprocess.Popen([TOOL, *arguments], stdout=subprocess.PIPE, stderr=stderr) as process:
            process.stdout.read(1)  # it has begun
            time.sleep(1.1)
            process.stdout.read()
        return process.returncode

    def test_long_work_shows_a_bar_on_a_terminal_and_takes_it_back(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "x" * 100 + ".dcap")
            dcap("cat", "-o", path, *[SAMPLE] * 400)
            for arguments in (["dump"], ["finalize", "-o", "/dev/stdout"]):
                with self.subTest(arguments):
                    leader, follower = pty.openpty()
                    self.assertEqual(self.long_work(*arguments, path, stderr=follower), 0)
                    os.close(follower)
                    self.assertRegex(read_terminal(leader), rb"^(\r\033\[Kx{20,40} \[#*\.*\] +\d+ %)+\r\033\[K$")
                    reader, writer = os.pipe()
                    self.long_work(*arguments, path, stderr=writer)
                    os.close(writer)
                    self.assertEqual(os.read(reader, 65536), b"")
                    os.close(reader)

    def test_output_that_cannot_be_written_is_an_error(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TOOL, "dump", SAMPLE], stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual((done.returncode, done.stderr),
                         (1, b"dcap: standard output: No space left on device\n"))
        error = run("dump", "--blobs", "/dev/null/folder", SAMPLE, status=1).stderr
        self.assertEqual(error, b"dcap: /dev/null/folder: Not a directory\n")
