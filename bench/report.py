#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Turns the raw figures of script/bench into a table of ratios against their limits, doc/performance.md and its plots.

Verdicts rest on counts (instructions under callgrind, allocations, bytes), which repeat on a busy machine; where a limit
is one of time, on the least of the processor's times of repetitions that were interleaved at random: whatever else runs
can only raise them. A small read's few nanoseconds are told apart by turns of some microseconds that both took."""

import glob
import json
import math
import os
import re
import statistics
import subprocess
import sys

SIZES = (10, 30, 85, 300, 1000)
DEPENDENTS = (1, 10, 100, 1000)
LISTED = (1, 10, 100, 1000, 10000)


def repetitions(folder):
    """Of all cases, and of every process that measured times."""
    for path in glob.glob(os.path.join(folder, "times.*.json")):
        with open(path, encoding="utf-8") as source:
            yield from (run for run in json.load(source)["benchmarks"] if run["run_type"] == "iteration")


def read_times(folder):
    """Nanoseconds of processor time by case, one for each repetition."""
    times = {}
    for run in repetitions(folder):
        times.setdefault(run["run_name"], []).append(run["cpu_time"])
    return times


def read_turns(folder):
    """The least nanoseconds of the backend and of the driver, of cases that took turns."""
    turns = {}
    for run in repetitions(folder):
        if "driver" in run:
            backend, driver = turns.get(run["run_name"], (math.inf, math.inf))
            turns[run["run_name"]] = (min(backend, run["backend"]), min(driver, run["driver"]))
    return turns


def read_instructions(folder):
    with open(os.path.join(folder, "rounds"), encoding="utf-8") as source:
        rounds = {name: int(count) for name, count in map(str.split, source)}
    instructions = {}
    for path in glob.glob(os.path.join(folder, "callgrind.out.*")):
        with open(path, encoding="utf-8", errors="replace") as source:
            dump = source.read()
        name = re.search(r"Client Request: (\S+)", dump)
        if name and name[1] in rounds:
            total = int(re.search(r"^(?:summary|totals): (\d+)", dump, re.M)[1])
            instructions[name[1]] = total / rounds[name[1]]
    return instructions


def read_counts(path):
    with open(path, encoding="utf-8") as source:
        return {name: float(value) for name, value in map(str.split, source)}


class Figures:
    def __init__(self, folder):
        self.times = read_times(folder)
        self.turns = read_turns(folder)
        self.instructions = read_instructions(folder)
        self.counts = read_counts(os.path.join(folder, "memory"))
        with open(os.path.join(folder, "process.json"), encoding="utf-8") as source:
            self.process = json.load(source)

    def ns(self, case):
        return min(self.times[case])

    def spread(self, case):
        """How far the median of the repetitions is above the least, in per cent of that."""
        return 100 * (statistics.median(self.times[case]) / self.ns(case) - 1)

    def time_note(self, case, other):
        return (f"{self.ns(case):,.0f} ns +{self.spread(case):.0f} % against "
                f"{self.ns(other):,.0f} ns +{self.spread(other):.0f} %")


def read_rows(figures):
    for opened in (1, 32):
        backend, driver = figures.turns[f"read-512/{opened}/driver/in-turn"]
        added = backend - driver
        large = figures.ns(f"read-65536/{opened}/driver")
        devices = f"{opened} open"
        # The backend does the same for 64 KiB as for 512 bytes, and what it does shows better beside the latter.
        yield f"read of 64 KiB, {devices}", 1 + added / large, 1.01, f"{added:.1f} ns on {large:,.0f} ns"
        yield f"read of 512 bytes, {devices}", backend / driver, 1.10, f"{backend:.1f} ns against {driver:.1f} ns, in turn"
    for size in (512, 65536):
        case = f"read-{size}/1"
        yield (f"instructions added to a read of {size} bytes",
               figures.instructions[case + "/backend"] - figures.instructions[case + "/driver"], 100, "1 open, no log")


def option_rows(figures):
    counted = figures.instructions
    for work, limit in (("open", 1.8), ("reload", 1.6)):
        case, floor = f"{work}/85/backend", f"{work}/85/floor"
        yield (f"{work}, 85 options, instructions", counted[case] / counted[floor], limit,
               f"{counted[case]:,.0f} against {counted[floor]:,.0f}")
        yield (f"{work}, 85 options, time", figures.ns(case) / figures.ns(floor), limit, figures.time_note(case, floor))
    for size in (300, 1000):
        ratio = counted[f"open/{size}/backend"] / size / (counted["open/85/backend"] / 85)
        time = figures.ns(f"open/{size}/backend") / size / (figures.ns("open/85/backend") / 85)
        yield (f"open, {size} options, each, against 85", ratio, 1.3, f"instructions; time {time:.2f}")


def set_rows(figures):
    added = (figures.ns("set/85/backend") - figures.ns("set/85/driver")) / 1000
    yield ("microseconds added to a set", added, 2, f"+{figures.spread('set/85/backend'):.0f} %")
    allocations = figures.counts["allocations/set/85/backend"] - figures.counts["allocations/set/85/driver"]
    yield ("allocations added to a set", allocations, 12, "")

    def each(of, size):
        return (of(f"set-master/{size}/backend") - of(f"set-master/{size}/driver")) / size

    for size in (100, 1000):
        ratio = each(figures.instructions.get, size) / each(figures.instructions.get, 10)
        yield (f"set of a master, {size} dependents, each, against 10", ratio, 1.3,
               f"instructions; time {each(figures.ns, size) / each(figures.ns, 10):.2f}")


def other_rows(figures):
    case, copy = "get-devices/10000/backend", "get-devices/10000/copy"
    driver = figures.ns("get-devices/10000/driver")
    yield ("get_devices, 10,000 devices", (figures.ns(case) - driver) / figures.ns(copy), 3,
           f"{figures.time_note(case, copy)}; the driver's {driver:,.0f} ns are taken off")
    counts = figures.counts
    yield ("memory of an opened device, 85 options", counts["memory/opened"] / counts["memory/handed-out"], 3,
           f"{counts['memory/opened']:,.0f} bytes against {counts['memory/handed-out']:,.0f}")
    yield ("bytes grown over 1,000 reloads", counts["memory/grown"], 0, "each block with the room that its size needs")
    seconds = figures.process["seconds"]
    cpu = {name: statistics.median(run["cpu"] for run in runs) for name, runs in seconds.items()}
    elapsed = {name: statistics.median(run["elapsed"] for run in runs) for name, runs in seconds.items()}
    yield ("whole process against SANE's test backend", cpu["pelsane"] / cpu["test"], 1.0,
           f"processor time {cpu['pelsane']:.3f} s against {cpu['test']:.3f} s; elapsed "
           f"{elapsed['pelsane'] / elapsed['test']:.2f}")


def all_rows(figures):
    for part in (read_rows, option_rows, set_rows, other_rows):
        yield from part(figures)


def shown(value):
    return f"{value:.3f}" if value < 10 else f"{value:.0f}"


def verdict(value, limit):
    return "met" if value <= limit else "missed"


def plots(figures):
    """Name, title of the x axis, title of the y axis, and by line the points."""
    def line(case, who, sizes, unit):
        return [(size, figures.ns(f"{case}/{size}/{who}") / unit) for size in sizes]

    for work in ("open", "reload"):
        yield (work, "options", "microseconds",
               {"backend": line(work, "backend", SIZES, 1e3), "floor": line(work, "floor", SIZES, 1e3)})
    yield ("set_master", "dependents", "microseconds", {"backend": line("set-master", "backend", DEPENDENTS, 1e3)})
    yield ("get_devices", "devices", "microseconds",
           {"backend": line("get-devices", "backend", LISTED, 1e3), "copy": line("get-devices", "copy", LISTED, 1e3)})


def draw(folder, name, x_title, y_title, lines):
    script = [f"set terminal svg size 640,400 background rgb 'white'; set output '{folder}/{name}.svg'",
              f"set logscale xy; set grid; set key left; set xlabel '{x_title}'; set ylabel '{y_title}'"]
    script.append("plot " + ", ".join(f"'-' with linespoints linewidth 2 title '{title}'" for title in lines))
    for points in lines.values():
        script += [f"{x} {y}" for x, y in points] + ["e"]
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as source:
        model = re.search(r"model name\s*: (.*)", source.read())
    kernel = os.uname()
    return f"{model[1] if model else kernel.machine}, {os.cpu_count()} processors, {kernel.sysname}"


def document(rows, figures, findings):
    yield "# Speed and memory\n\nWritten by `script/bench`, which measures everything anew: times with Google Benchmark,"
    yield "instructions with callgrind, allocations by counting them. What is compared with what is said in"
    yield "`bench/cases.cpp` and `bench/process.py`, how it is judged in `bench/report.py`.\n"
    yield f"Machine: {machine()}. Times are the least of the repetitions; +n % is how far their median is above it.\n"
    yield "| Work | Value | Limit | | |\n|---|---|---|---|---|"
    for name, value, limit, note in rows:
        yield f"| {name} | {shown(value)} | {limit} | {verdict(value, limit)} | {note} |"
    yield "\n## By size\n"
    for name, *_ in plots(figures):
        yield f"![{name}](performance/{name}.svg)"
    with open(findings, encoding="utf-8") as source:
        yield "\n" + source.read().rstrip()


def main():
    raw, findings, target = sys.argv[1:4]
    figures = Figures(raw)
    rows = list(all_rows(figures))
    folder = os.path.join(target, "performance")
    os.makedirs(folder, exist_ok=True)
    for plot in plots(figures):
        draw(folder, *plot)
    with open(os.path.join(target, "performance.md"), "w", encoding="utf-8") as page:
        page.writelines(line + "\n" for line in document(rows, figures, findings))
    for name, value, limit, note in rows:
        print(f"{verdict(value, limit):7}{shown(value):>8} of {limit:<5} {name}" + (f" ({note})" if note else ""))


main()
