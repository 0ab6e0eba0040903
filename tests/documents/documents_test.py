# SPDX-License-Identifier: MIT
"""What the documents say to type works as it stands, and what they point at is there.

Above each block of commands ("sh", and "console", which has answers too) stands a note. With "run", the blocks of a
document are run here, one after the other in one shell, in a folder like a fresh checkout with its build, and then what
its sentences name; "run: statuses 0 6" has one for each line of a block that is to end with other ones than 0. "not run:
REASON" is for what takes hours or changes the machine; of that, options and names are still compared with what the
commands know.
"""
import ctypes
import glob
import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest

import documents

BUILD = os.environ["PELSANE_BUILD"]
LEFT_OUT = {".git", "build", "out"}  # not of a checkout
PICTURE_BYTES = 150_000
EXAMPLES_THAT_FAIL = {"PELVIRTUAL_FAULTS='jam after 100 lines' scanimage -d pelsane -o page.png": 6}
DESKTOP_APPLICATIONS = ("simple-scan", "xsane")  # script/test --gui has the first of them


def all_documents():
    found = glob.glob(os.path.join(documents.ROOT, "*.md"))
    for folder in ("bench", "debian", "doc", "examples", "fuzz", "tools", "virtual"):
        found += glob.glob(os.path.join(documents.ROOT, folder, "**", "*.md"), recursive=True)
    return sorted(os.path.relpath(path, documents.ROOT) for path in found)


def manuals():
    found = glob.glob(os.path.join(documents.ROOT, "doc", "*.[1-8]"))
    return [os.path.relpath(path, documents.ROOT) for path in sorted(found)]


def command_blocks(document):
    return [block for block in documents.blocks(document) if block.kind in ("sh", "console")]


def is_run(block):
    return re.fullmatch(r"run(: statuses( \d+)+)?", block.note) is not None


def commands_of(block):
    lines = block.text.splitlines()
    return [line[2:] for line in lines if line.startswith("$ ")] if block.kind == "console" else lines


def script_of(block):
    """The block's part of its document's script. What it writes goes to a file of its own."""
    commands = commands_of(block)
    if block.note == "run":
        checked = ["set -e", *commands, "set +e"]
    else:
        statuses = block.note.split()[2:]
        if len(statuses) != len(commands):
            raise ValueError("%s, line %d: a status for each line" % (block.document, block.line))
        checked = []
        for command, status in zip(commands, statuses):
            checked += [command, "status=$?; [ $status -eq %s ] || { echo %d: $status >&2; exit 99; }"
                        % (status, block.line)]
    return "\n".join(["exec 3>&1 >'answers-%d'" % block.line, *checked, "exec >&3", ""])


def commands_in_sentences(document):
    """Those that can be run as they are: nothing in capitals stands for something else."""
    named = re.findall(r"`((?:script/scan|scanimage|pelsane-inspect) [^`]+)`", documents.read(document))
    return [command for command in named if not re.search(r"\b[A-Z]{2,}\b", command)]


def examples(manual):
    """What stands after "$ " in a manual, or in a sentence without a placeholder, with the status that it ends with."""
    text = documents.read(manual)
    commands = re.findall(r"^(?:\.Dl )?\$ (.+)$", text, re.M)
    commands += re.findall(r"^\.Ql ((?:\w+=\S+ )?(?:scanimage|pelsane-inspect) (?!.* Ar ).+)$", text, re.M)
    return [(EXAMPLES_THAT_FAIL.get(command, 0), command) for command in commands
            if not command.endswith(DESKTOP_APPLICATIONS)]


def help_of(command):
    environment = {**os.environ, "SANE_CONFIG_DIR": "/nonexistent"}  # scanimage would ask its devices
    return subprocess.run([command, "--help"], env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, check=False).stdout


def driver_text(name):
    """What the virtual scanner says of an option, in English."""
    os.environ["PELLANG"] = "en"
    *_, driver = [ctypes.CDLL(os.path.join(BUILD, "lib", "lib%s.so" % library))
                  for library in ("commonlog", "langkit", "peldriver")]
    handle, number = ctypes.c_void_p(), ctypes.c_int()
    text = ctypes.create_string_buffer(65536)
    length = ctypes.c_long(len(text))
    driver.kx_scanner_initialize(None, None)
    driver.kx_scanner_open(ctypes.byref(handle), b"virtual:duplex-feeder", 0, None, None, None, None)
    driver.kx_scanner_get_parameter(handle, name.encode(), text, ctypes.byref(length), ctypes.byref(number))
    driver.kx_scanner_close(handle, 0)
    driver.kx_scanner_uninitialize()
    return text.value.decode()


class Checkout(unittest.TestCase):
    """A folder like a fresh checkout, whose release build is this build."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="pelsane-documents-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.checkout = os.path.join(self.folder, "pelsane")
        os.makedirs(os.path.join(self.checkout, "build"))
        for name in set(os.listdir(documents.ROOT)) - LEFT_OUT:
            os.symlink(os.path.join(documents.ROOT, name), os.path.join(self.checkout, name))
        os.symlink(BUILD, os.path.join(self.checkout, "build", "release"))

    def environment(self, **more):
        return {"PATH": os.environ["PATH"], "HOME": self.folder, "LC_ALL": "C.UTF-8", **more}

    def shell(self, script, **more):
        return subprocess.run(["bash", "-c", script], cwd=self.checkout, env=self.environment(**more),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              errors="replace", check=False)

    def check_document(self, document):
        blocks = [block for block in command_blocks(document) if is_run(block)]
        self.assertTrue(blocks)
        script = [script_of(block) for block in blocks] + ["set -e"] + commands_in_sentences(document)
        done = self.shell("\n".join(script))
        self.assertEqual(0, done.returncode, done.stdout[-3000:])
        for block in blocks:
            if block.kind == "console":
                wanted = "".join(line + "\n" for line in block.text.splitlines() if not line.startswith("$ "))
                with open(os.path.join(self.checkout, "answers-%d" % block.line), encoding="utf-8") as file:
                    self.assertEqual(wanted, file.read(), "%s, line %d" % (document, block.line))

    def test_readme(self):
        self.check_document("README.md")
        pages = ["page-%03d.png" % number for number in range(1, 7)]
        for folder in ("out", "letters"):
            self.assertEqual(pages, sorted(os.listdir(os.path.join(self.checkout, folder))), folder)

    def test_contributing(self):
        self.check_document("CONTRIBUTING.md")

    def test_journey(self):
        self.check_document("doc/option_journey.md")

    def test_virtual_scanner(self):
        os.symlink(".", os.path.join(self.checkout, "pelsane"))  # where another application's job has it
        self.check_document("virtual/README.md")

    def test_examples_of_manuals(self):
        surroundings = ("script/scan --version >/dev/null || exit 99\n"
                        "export PATH=$PWD/build/release/bin:$PATH\n"
                        "export SANE_CONFIG_DIR=$PWD/build/release/sane.d LD_LIBRARY_PATH=$PWD/build/release/lib\n")
        found = 0
        for manual in manuals():
            for status, command in examples(manual):
                found += 1
                done = self.shell(surroundings + command)
                self.assertEqual(status, done.returncode, command + "\n" + done.stdout[-3000:])
        self.assertGreaterEqual(found, 10)


class Documents(unittest.TestCase):
    def test_have_a_note_above_every_block_of_commands(self):
        not_run = 0
        for document in all_documents():
            for block in command_blocks(document):
                self.assertTrue(is_run(block) or re.match("not run: .", block.note),
                                "%s, line %d: %r" % (document, block.line, block.note))
                not_run += 0 if is_run(block) else 1
                if not is_run(block):
                    print("not run: %s, line %d: %s" % (document, block.line, block.note[9:]))
        self.assertGreater(not_run, 0)

    def test_point_at_files_that_are_there(self):
        for document in all_documents():
            for target in re.findall(r"\]\(([^)#]+)\)", documents.read(document)):
                if not re.match("https?:", target):
                    path = os.path.join(documents.ROOT, os.path.dirname(document), target)
                    self.assertTrue(os.path.exists(path), "%s: %s" % (document, target))

    def test_name_sources_that_are_there(self):
        for document in ("CONTRIBUTING.md", "doc/architecture.md", "doc/option_journey.md", "doc/sharing.md"):
            text = documents.read(document)
            names = re.findall(r"`((?:bench|doc|fuzz|include|json|sane|script|tests|tools|virtual)/[A-Za-z_/.*-]*)`", text)
            self.assertTrue(names)
            for name in names:
                self.assertTrue(glob.glob(os.path.join(documents.ROOT, name)), "%s: %s" % (document, name))

    def test_journey_names_functions_where_they_are(self):
        steps = re.findall(r"^### \d+\. `([^`]+)`: `([^`]+)`$", documents.read("doc/option_journey.md"), re.M)
        self.assertEqual(9, len(steps))
        for file, function in steps:
            self.assertRegex(documents.read(file), r"\b%s\(" % function, file)

    def test_journey_shows_members_of_the_drivers_text(self):
        [block] = documents.texts("doc/option_journey.md", "option")
        [(name, shown)] = json.loads("{%s}" % block).items()
        said = json.loads("{%s}" % driver_text(name))[name]
        self.assertEqual(shown, {key: said.get(key) for key in shown})

    def test_name_options_that_the_commands_know(self):
        found = 0
        for document in all_documents():
            text = "\n".join([block.text for block in command_blocks(document)] +
                             re.findall(r"`(script/[^`]+)`", documents.read(document)))
            for command, arguments in re.findall(r"^\s*(script/[a-z-]+)(?![.a-z-])([^#\n]*)", text, re.M):
                found += 1
                knows = help_of(os.path.join(documents.ROOT, command))
                if command == "script/scan":
                    knows += help_of("scanimage")  # gets what is not the script's own
                for option in re.findall(r"(?<!\S)--[a-z-]+", arguments):
                    self.assertIn(option, knows, "%s: %s%s" % (document, command, arguments))
        self.assertGreater(found, 10)

    def test_name_presets_that_there_are(self):
        presets = json.loads(documents.read("CMakePresets.json"))
        text = "\n".join(documents.read(document) for document in all_documents())
        for command, kind in (("cmake --preset", "configure"), ("cmake --build --preset", "build"),
                              ("ctest --preset", "test"), ("script/test --preset", "configure")):
            named = set(re.findall(re.escape(command) + " ([a-z-]+)", text))
            self.assertTrue(named, command)
            self.assertLessEqual(named, {preset["name"] for preset in presets[kind + "Presets"]}, command)

    def test_have_small_pictures(self):
        for name in ("page.png", "simple_scan.png"):
            path = os.path.join(documents.ROOT, "doc", "pictures", name)
            with open(path, "rb") as file:
                self.assertEqual(b"\x89PNG\r\n\x1a\n", file.read(8), name)
            self.assertLess(os.path.getsize(path), PICTURE_BYTES, name)
            self.assertIn("](doc/pictures/" + name + ")", documents.read("README.md"))


if __name__ == "__main__":
    unittest.main()
