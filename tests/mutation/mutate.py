# SPDX-License-Identifier: MIT
"""The run behind script/mutate: which mutants, what became of them, and whether that is good enough."""
import argparse
import collections
import glob
import json
import os
import queue
import random
import sys
import threading

import mutations
import trees
from areas import AREAS

REPOSITORY = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
FOLDER = os.path.join(REPOSITORY, "build", "mutate")
RESULTS = os.path.join(FOLDER, "results.json")
SLOW = 0.3  # seconds of a single test
FIELDS = ("file", "line", "mutation", "reason")


def parse(arguments):
    """script/mutate has the help."""
    parser = argparse.ArgumentParser(prog="script/mutate", add_help=False, usage="script/mutate --help")
    parser.add_argument("area", choices=AREAS)
    parser.add_argument("files", nargs="*")
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--list", default=os.path.join(REPOSITORY, "tests", "mutation", "equivalent.txt"))
    parser.add_argument("--check-list", action="store_true")
    parser.add_argument("--resume", action="store_true")
    return parser.parse_args(arguments)


def read_list(path):
    """Paragraphs of four lines, "file:", "line:", "mutation:" and "reason:"; the reason may go on. # is a comment."""
    entries = []
    text = "\n".join(line for line in trees.read(path).splitlines() if not line.startswith("#"))
    for paragraph in filter(str.strip, text.split("\n\n")):
        entry, last = {}, None
        for line in paragraph.strip().splitlines():
            name, _, value = line.partition(": ")
            if name in FIELDS and name not in entry:
                entry[name], last = value.strip(), name
            elif last is not None:
                entry[last] += " " + line.strip()
        if tuple(entry) != FIELDS:
            raise trees.Failure(f"{path}: expected lines {', '.join(FIELDS)} in this order; got\n{paragraph}")
        entries.append(entry)
    return entries


def place_of(mutation):
    return mutation.file, mutation.source_line, mutation.name


def sample(texts, seed):
    """All mutations, shuffled within each file, and one of each file in turn."""
    shuffled = {}
    for file, text in texts.items():
        shuffled[file] = mutations.mutations_of(file, text)
        random.Random(f"{seed} {file}").shuffle(shuffled[file])
    while any(shuffled.values()):
        for file in texts:
            if shuffled[file]:
                yield shuffled[file].pop()


class Run:
    """Mutants in the order of the sample, until enough of them have been compiled."""

    def __init__(self, options, area, texts):
        self.options = options
        self.area = area
        self.texts = texts
        self.lock = threading.Condition()
        self.counted, self.under_way = 0, 0
        self.outcomes = {}
        self.failures = queue.Queue()
        listed = {(entry["file"], entry["line"], entry["mutation"]) for entry in read_list(options.list)}
        self.listed = [mutation for mutation in sample(texts, options.seed) if place_of(mutation) in listed]
        found = {place_of(mutation) for mutation in self.listed}
        self.gone = sorted(place for place in listed - found if place[0] in texts)
        if options.check_list:
            self.pending = iter(self.listed)
            self.wanted = len(self.listed)
        else:
            self.pending = (mutation for mutation in sample(texts, options.seed) if place_of(mutation) not in listed)
            self.wanted = options.count
        self.known = json.loads(trees.read(RESULTS)) if os.path.exists(RESULTS) else {}

    def next_mutation(self):
        with self.lock:
            while self.counted + self.under_way >= self.wanted:
                if self.counted >= self.wanted:
                    return None
                self.lock.wait()
            mutation = next(self.pending, None)
            if mutation is None:
                # What is under way elsewhere needs nobody to wait for it.
                return None
            self.under_way += 1
            return mutation

    def remembered(self, mutation):
        outcome = self.known.get(mutation.key)
        if not self.options.resume or outcome is None or outcome["result"] == trees.SURVIVED:
            return None
        return trees.Outcome(outcome["result"], outcome["told"], outcome["seconds"])

    def keep(self, mutation, outcome):
        with self.lock:
            self.under_way -= 1
            self.outcomes[mutation] = outcome
            self.counted += outcome.result != trees.NOT_COMPILED
            self.known[mutation.key] = {"file": mutation.file, "line": mutation.line, "mutation": mutation.name,
                                        **outcome._asdict()}
            trees.write(RESULTS + ".new", json.dumps(self.known, indent=1))
            os.replace(RESULTS + ".new", RESULTS)
            print(f"{self.counted:4} {mutation.file}:{mutation.line} {mutation.name}: {outcome.result} "
                  f"{outcome.told} ({outcome.seconds} s)", flush=True)
            self.lock.notify_all()

    def work(self, tree, parts):
        try:
            while (mutation := self.next_mutation()) is not None:
                outcome = self.remembered(mutation)
                if outcome is None:
                    mutant = mutations.mutated(self.texts[mutation.file], mutation)
                    outcome = tree.attempt(mutation, mutant, parts)
                self.keep(mutation, outcome)
        except Exception as failure:  # pylint: disable=broad-except # said by the main thread
            self.failures.put(failure)
            self.stop()

    def stop(self):
        """What is under way is finished, and no other mutant begun."""
        with self.lock:
            self.wanted = 0
            self.lock.notify_all()


def without(tests):
    return "-" + ":".join(tests) if tests else ""


def parts_of(program, left_out, times, seconds):
    """The quick tests of a program before its slow ones, and how long they take together."""
    slow = [name for name, used in times.items() if used > SLOW]
    if not slow or len(slow) == len(times):
        return {trees.Part(program, without(left_out)): seconds}
    slow_seconds = sum(times[name] for name in slow)
    return {trees.Part(program, without([*left_out, *slow])): seconds - slow_seconds,
            trees.Part(program, ":".join(slow)): slow_seconds}


def measured_parts(tree):
    """The tests, the quickest first, with how long they may take. They have to pass as things are."""
    seconds = {}
    for program, description in tree.area.programs.items():
        times = os.path.join(FOLDER, "times.json")
        if os.path.exists(times):
            os.remove(times)
        outcome = tree.test(trees.Part(program, without(description.left_out)), 600, "json:" + times)
        if outcome.result != trees.SURVIVED:
            raise trees.Failure(f"without any mutation, a test fails: {outcome.told or program}")
        suites = json.loads(trees.read(times))["testsuites"] if os.path.exists(times) else []
        of_tests = {f"{test['classname']}.{test['name']}": float(test["time"].rstrip("s"))
                    for suite in suites for test in suite["testsuite"]}
        seconds.update(parts_of(program, description.left_out, of_tests, outcome.seconds))
    for part in (ordered := sorted(seconds, key=seconds.get)):
        print(f"{seconds[part]:6.1f} s  {part.target} {mutations.shortened(part.filter)}")
    return {part: 10 + 10 * seconds[part] for part in ordered}


def table(outcomes):
    rows = collections.defaultdict(collections.Counter)
    for mutation, outcome in outcomes.items():
        if outcome.result != trees.NOT_COMPILED:
            for row in (mutation.file, "all"):
                rows[row]["mutants"] += 1
                rows[row][outcome.result] += 1
    print(f"\n{'file':<40} {'mutants':>8} {'killed':>8} {'survived':>9}")
    for file in [*sorted(row for row in rows if row != "all"), "all"]:
        row = rows[file]
        print(f"{file:<40} {row['mutants']:8} {row['mutants'] - row[trees.SURVIVED]:8} {row[trees.SURVIVED]:9}")
    return rows["all"]


def report(run):
    """Prints what became of the mutants; returns the exit status."""
    for mutation, outcome in sorted(run.outcomes.items()):
        if outcome.result == trees.TIMED_OUT:
            print(f"timed out: {mutation.file}:{mutation.line}: {mutation.name}: {outcome.told}")
    for place in run.gone:
        print(f"listed and no longer in the sources: {': '.join(place)}")
    total = table(run.outcomes)
    for mutation, outcome in sorted(run.outcomes.items()):
        if outcome.result == trees.SURVIVED and not run.options.check_list:
            print(f"\n{mutation.file}:{mutation.line}: {mutation.name}\n    {mutation.source_line}")
    if run.options.check_list:
        noticed = {mutation: outcome for mutation, outcome in run.outcomes.items()
                   if outcome.result not in (trees.SURVIVED, trees.NOT_COMPILED)}
        for mutation, outcome in noticed.items():
            print(f"\nlisted and noticed: {mutation.file}:{mutation.line}: {mutation.name}: {outcome.told}")
        return 1 if noticed or run.gone else 0
    survived, mutants = total[trees.SURVIVED], total["mutants"]
    print(f"\n{survived} of {mutants} survived, {100 * survived / max(mutants, 1):.1f} %; "
          f"{run.area.allowed_percent} % may. {len(run.listed)} more are listed as without effect.")
    return 1 if 100 * survived > run.area.allowed_percent * mutants or mutants == 0 else 0


def chosen_files(area, names):
    files = sorted(os.path.relpath(file, REPOSITORY) for pattern in area.patterns
                   for file in glob.glob(os.path.join(REPOSITORY, pattern)))
    unknown = sorted(set(names) - set(files))
    if unknown:
        raise trees.Failure(f"the area has no {', '.join(unknown)}")
    return [file for file in files if not names or file in names]


def main(arguments):
    options = parse(arguments)
    area = AREAS[options.area]
    files = chosen_files(area, options.files)
    pristine = trees.prepare(REPOSITORY, FOLDER, area)
    run = Run(options, area, {file: trees.read(os.path.join(pristine, file)) for file in files})
    parts = measured_parts(trees.Tree(pristine, area))
    workers = [trees.Tree(trees.copy_tree(pristine, number), area) for number in range(1, options.workers + 1)]
    threads = [threading.Thread(target=run.work, args=(tree, parts)) for tree in workers]
    for thread in threads:
        thread.start()
    try:
        for thread in threads:
            thread.join()
    finally:
        run.stop()
    if not run.failures.empty():
        raise run.failures.get()
    return report(run)


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except (trees.Failure, OSError, trees.subprocess.CalledProcessError) as problem:
        print(f"mutate: {problem}", file=sys.stderr)
        sys.exit(2)
