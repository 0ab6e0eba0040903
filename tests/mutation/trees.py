# SPDX-License-Identifier: MIT
"""Copies of the checkout in which mutants are built and tested, away from it.

One tree is configured, built and run as it is. Each worker has a copy of that one: its path has the same length, so
that it can be put for the other in all that was built, and nothing needs building again. There a mutant costs what it
has to: its source is compiled, what holds the object is linked, and the tests run, the quickest first, until one fails.
"""
import collections
import json
import os
import shlex
import shutil
import signal
import subprocess
import time

Outcome = collections.namedtuple("Outcome", "result told seconds")
# Some tests of a program, by googletest's filter, or all of them.
Part = collections.namedtuple("Part", "target filter")
KILLED, TIMED_OUT, CRASHED, SURVIVED, NOT_COMPILED = "killed", "timed out", "crashed", "survived", "not compiled"
PRISTINE = "tree0"
# No core, and no more memory than 4 GB: a mutant may want all there is.
LIMITED = 'ulimit -c 0; ulimit -v 4194304; exec "$0" "$@"'
CONFIGURATION = (
    "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1 -g0 -Werror=return-type",
    "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DPELSANE_TOOLS=OFF", "-DPELSANE_WERROR=OFF",
)


class Failure(Exception):
    """What keeps a run from starting."""


def tracked_files(repository):
    listed = subprocess.run(["git", "-C", repository, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            check=True, capture_output=True, text=True).stdout
    return sorted({name for name in listed.split("\0") if name and os.path.isfile(os.path.join(repository, name))})


def read(path, kind=""):
    with open(path, "r" + kind, encoding=None if kind else "utf-8") as file:
        return file.read()


def write(path, contents, kind=""):
    with open(path, "w" + kind, encoding=None if kind else "utf-8") as file:
        file.write(contents)


def synchronize(repository, tree):
    """The checkout as it is now; what has not changed keeps its time, and is not built again."""
    wanted = tracked_files(repository)
    for name in wanted:
        source, target = os.path.join(repository, name), os.path.join(tree, name)
        if os.path.exists(target) and read(source, "b") == read(target, "b"):
            continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy(source, target)
    for place, folders, names in os.walk(tree):
        if place == tree:
            folders[:] = [folder for folder in folders if folder != "build"]
        for name in names:
            if os.path.relpath(os.path.join(place, name), tree) not in wanted:
                os.remove(os.path.join(place, name))


def prepare(repository, folder, area):
    """Builds the tree that is copied, and returns its folder."""
    tree = os.path.join(folder, PRISTINE)
    os.makedirs(tree, exist_ok=True)
    synchronize(repository, tree)
    build = os.path.join(tree, "build")
    subprocess.run(["cmake", "-S", tree, "-B", build, *CONFIGURATION], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", build, "--target", *area.files], check=True)
    return tree


def copy_tree(pristine, number):
    """The tree of a worker, made anew: a run that was broken off leaves a mutant behind."""
    if not 0 < number < 10:
        raise Failure("there are one to nine workers")
    copy = pristine[:-1] + str(number)
    shutil.rmtree(copy, ignore_errors=True)
    shutil.copytree(pristine, copy, symlinks=True)
    for place, _, names in os.walk(os.path.join(copy, "build")):
        for name in names:
            path = os.path.join(place, name)
            contents = read(path, "b")
            if pristine.encode() in contents:
                mode = os.stat(path).st_mode
                write(path, contents.replace(pristine.encode(), copy.encode()), "b")
                os.chmod(path, mode)
    return copy


class Tree:
    def __init__(self, path, area):
        self.path = path
        self.area = area
        self.build = os.path.join(path, "build")
        self.links = {target: self.command_for(file) for target, file in area.files.items()}
        self.compiles = collections.defaultdict(list)
        for entry in json.loads(read(os.path.join(self.build, "compile_commands.json"))):
            file = os.path.relpath(entry["file"], path)
            self.compiles[file].append((self.output_of(entry["command"]), entry["command"]))

    def command_for(self, file):
        return subprocess.run(["ninja", "-C", self.build, "-t", "commands", "-s", file],
                              check=True, capture_output=True, text=True).stdout.splitlines()[-1]

    @staticmethod
    def output_of(command):
        words = shlex.split(command)
        return words[words.index("-o") + 1]

    def run(self, command):
        """A mutant is compiled once; no cache needs it."""
        environment = {**os.environ, "CCACHE_DISABLE": "1"}
        return subprocess.run(["sh", "-c", command], cwd=self.build, env=environment, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def holders(self, objects):
        """The targets that the objects are linked into."""
        return {target for target, command in self.links.items() if objects & set(command.split())}

    def test(self, part, limit, output_file=""):
        """Runs tests of a program; returns what came of it, and has googletest write down the times of each."""
        target = part.target
        program = os.path.join(self.build, self.area.files[target])
        arguments = [argument.format(tree=self.path) for argument in self.area.programs[target].arguments]
        private = os.path.join(self.build, "private")
        os.makedirs(private, mode=0o700, exist_ok=True)
        environment = {**os.environ, "GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1", "GTEST_COLOR": "no",
                       "GTEST_FILTER": part.filter or "*", "GTEST_OUTPUT": output_file,
                       "TMPDIR": private, "XDG_RUNTIME_DIR": private, "LC_ALL": "C.UTF-8"}
        began = time.monotonic()
        with subprocess.Popen(["sh", "-c", LIMITED, program, *arguments], cwd=os.path.dirname(program), env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              start_new_session=True) as process:
            try:
                output = process.communicate(timeout=limit)[0].decode(errors="replace")
            except subprocess.TimeoutExpired:
                output = None
            end_group(process)
        seconds = time.monotonic() - began
        if output is None:
            return Outcome(TIMED_OUT, target, seconds)
        failed = next((line.split()[3].rstrip(",") for line in output.splitlines() if line.startswith("[  FAILED  ] ")
                       and len(line.split()) > 3), "")
        if process.returncode < 0:
            return Outcome(CRASHED, f"{target}, signal {-process.returncode}", seconds)
        if process.returncode != 0:
            return Outcome(KILLED, f"{target} {failed}".strip(), seconds)
        return Outcome(SURVIVED, "", seconds)

    def attempt(self, mutation, text, parts):
        """Builds and tests one mutant, and takes it back. text: the mutated source."""
        began = time.monotonic()
        source = os.path.join(self.path, mutation.file)
        restored = [source]
        os.rename(source, source + ".clean")
        write(source, text)
        try:
            outcome = self.build_and_test(mutation.file, parts, restored)
        finally:
            for file in restored:
                os.replace(file + ".clean", file)
        return outcome._replace(seconds=round(time.monotonic() - began, 1))

    def build_and_test(self, file, parts, restored):
        def made_anew(output, command):
            output = os.path.join(self.build, output)
            os.rename(output, output + ".clean")
            restored.append(output)
            return self.run(command)

        used = {output: command for output, command in self.compiles[file] if self.holders({output})}
        if not used:
            raise Failure(f"no test program holds {file}")
        holders = self.holders(set(used))
        libraries = [target for target in holders if target in self.area.libraries]
        programs = holders - set(libraries)
        if not all(made_anew(output, command) for output, command in used.items()):
            return Outcome(NOT_COMPILED, "", 0)
        if not all(made_anew(self.area.files[target], self.links[target]) for target in libraries):
            return Outcome(NOT_COMPILED, "", 0)
        for part, limit in parts.items():
            if part.target in programs:
                programs.remove(part.target)
                if not made_anew(self.area.files[part.target], self.links[part.target]):
                    return Outcome(NOT_COMPILED, "", 0)
            elif part.target not in holders and not set(libraries) & set(self.area.programs[part.target].libraries):
                continue
            outcome = self.confirmed(part, limit)
            if outcome.result != SURVIVED:
                return outcome
        return Outcome(SURVIVED, "", 0)

    def confirmed(self, part, limit):
        """What comes of tests; a failure counts when the test that failed fails alone, or one of all does once more: on
        a machine with other work, a test that looks at the time may fail for nothing."""
        outcome = self.test(part, limit)
        target, _, failed = outcome.told.partition(" ")
        if outcome.result != KILLED or not failed or self.test(Part(target, failed), limit).result != SURVIVED:
            return outcome
        return self.test(part, limit)


def end_group(process):
    """What the program has started ends with it."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
