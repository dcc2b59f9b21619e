"""Manual pages and completions: what is checked in is what the tool says, and it works."""
import filecmp
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from harness import SAMPLE, SOURCE, TOOL, commands, dcap

PACKAGING = SOURCE / "packaging"
PAGES = sorted((PACKAGING / "man").glob("*.1"))


def listed_options(*command):
    text = dcap(*command, "--help").decode().split("\nExamples:")[0].split("\nExit status:")[0]
    return sorted(set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", "\n".join(
        line[:30] for line in text.splitlines() if line.startswith("  -")))))


def complete(*words, before="", folder=SAMPLE.parent):
    """What bash offers for the last word."""
    script = f"""{before}
        source {PACKAGING}/completions/dcap
        COMP_WORDS=(dcap "$@") COMP_CWORD=$#
        _dcap && printf '%s\\n' "${{COMPREPLY[@]}}" """
    done = subprocess.run(["bash", "-c", script, "bash", *words], cwd=folder, check=True,
                          capture_output=True, text=True)
    assert done.stderr == "", done.stderr
    return sorted(done.stdout.split("\n")[:-1]) if done.stdout.strip() else []


class Reference(unittest.TestCase):
    def test_what_is_checked_in_is_what_the_tool_says(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([Path(TOOL).parent / "dcap_reference", folder], check=True)
            for kind in ("man", "completions"):
                made = sorted(os.listdir(os.path.join(folder, kind)))
                self.assertEqual(made, sorted(os.listdir(PACKAGING / kind)))
                _, differ, _ = filecmp.cmpfiles(os.path.join(folder, kind), PACKAGING / kind, made, shallow=False)
                self.assertEqual(differ, [], "make generate writes them")

    def test_every_command_and_option_is_in_the_document(self):
        text = (SOURCE / "docs/tool.md").read_text()
        for command in commands():
            section = text.split(f"\n## dcap {command}\n")[1].split("\n## ")[0]
            told = set(re.findall(r"`(--?[a-z-]+)[` ]", section))
            self.assertEqual(told, set(listed_options(command)) - {"-h", "--help"}, command)
        for option in listed_options():
            self.assertIn(f"{option}`", text)

    def test_mandoc_finds_nothing_wrong(self):
        for page in PAGES:
            subprocess.run(["mandoc", "-Tlint", "-Wwarning", page], check=True)

    def test_bash_completes_commands_and_options(self):
        self.assertEqual(complete(""), sorted(commands()))
        self.assertEqual(complete("fi"), ["finalize"])
        self.assertEqual(complete("-"), listed_options())
        self.assertEqual(complete("-v", "st"), ["stats"])
        for command in commands():
            with self.subTest(command):
                self.assertEqual(complete(command, "-"), listed_options(command))

    def test_bash_completes_values(self):
        for words, offered in ((["dump", "--format", ""], ["canonical", "jsonl", "text"]),
                               (["dump", "--format", "=", "j"], ["jsonl"]),
                               (["dump", "--format", "="], ["canonical", "jsonl", "text"]),
                               (["repack", "--compression", "lz"], ["lz4", "lz77"]),
                               (["stats", "--class", "draw,up"], ["draw,upload"]),
                               (["stats", "--class", "=", "s"], ["state", "sync"]),
                               (["dump", "--frames", ""], []),
                               (["unknown", ""], [])):
            with self.subTest(words):
                self.assertEqual(complete(*words), offered)

    def test_bash_completes_file_names(self):
        with tempfile.TemporaryDirectory() as folder:
            os.mkdir(os.path.join(folder, "my folder"))
            Path(folder, "my file.dcap").touch()
            for words in (["dump", "my"], ["cat", "-o", "my"], ["cat", "a", "b", "my"],
                          ["trim", "--output", "=", "my"]):
                self.assertEqual(complete(*words, folder=folder), ["my file.dcap", "my folder"])
            self.assertEqual(complete("dump", "--blobs", "my", folder=folder), ["my folder"])

    def test_zsh_is_told_of_every_option(self):
        # In place of zsh's own function, one that shows what it is given, and has found a command.
        script = f"""
            _arguments() {{
              print -rl -- "$@"
              state=arguments line=($command)
            }}
            command=$1
            source {PACKAGING}/completions/_dcap"""
        for command in ([], *([name] for name in commands())):
            with self.subTest(command):
                done = subprocess.run(["zsh", "-fc", script, "zsh", *command], check=True,
                                      capture_output=True, text=True)
                self.assertEqual(done.stderr, "")
                told = set(re.findall(r"^[*]?(?:\([^)]*\))?(--?[a-z-]+)[=+]?\[.*\]", done.stdout, re.M))
                self.assertEqual(told, {*listed_options(), *listed_options(*command)})

    def test_zsh_finds_the_completion(self):
        script = f"""fpath=({PACKAGING}/completions $fpath)
            autoload -Uz compinit && compinit -u -D && print $_comps[dcap]"""
        done = subprocess.run(["zsh", "-fc", script], check=True, capture_output=True, text=True)
        self.assertEqual((done.stdout, done.stderr), ("_dcap\n", ""))
