#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Times scanimage as a whole process: on the backend, with a solid-colour page of the virtual scanner, and on SANE's own
test backend, whose default picture is solid too, in turn. Both deliver a 600 dpi colour A4 page, the same number of bytes
(to a row of pixels or so). Writes the elapsed and the processor's seconds of every run as JSON."""

import json
import os
import resource
import subprocess
import sys
import tempfile
import time

BUFFER = "-B64"
PELSANE = ["--mode", "Color", "--resolution", "600", "--page", "单面", "--is-anti-skew=no", "--is-erase-black-frame=no"]
# As many pixels as 210 mm x 297 mm have at 600 dpi; the test backend's pages end at 200 mm.
TEST = ["--mode", "Color", "--depth", "8", "--resolution", "1024", "-x", "126", "-y", "170"]


def configure(folder, backend):
    os.makedirs(os.path.join(folder, "dll.d"))
    with open(os.path.join(folder, "dll.conf"), "w", encoding="ascii") as config:
        config.write(backend + "\n")


def solid_profile(profile, path):
    with open(profile, encoding="utf-8") as source:
        description = json.load(source)
    description["feeder"]["source"] = {"color": "#000000"}
    with open(path, "w", encoding="utf-8") as target:
        json.dump(description, target)


def cpu_seconds():
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def run(device, options, environment, output):
    command = ["scanimage", "-d", device, BUFFER, "--format=pnm", *options]
    elapsed, cpu = time.perf_counter(), cpu_seconds()
    subprocess.run(command, env=environment, stdout=output, stderr=subprocess.DEVNULL, check=True)
    return {"elapsed": time.perf_counter() - elapsed, "cpu": cpu_seconds() - cpu}


def size(*scan):
    with tempfile.TemporaryFile() as page:
        run(*scan, page)
        return page.tell()


def main():
    library_folder, preload, profile, rounds = sys.argv[1:5]
    with tempfile.TemporaryDirectory() as folder:
        environment = dict(os.environ, LC_ALL="C.UTF-8", PELLANG="zh")
        ours = dict(environment, SANE_CONFIG_DIR=folder + "/pelsane", LD_LIBRARY_PATH=library_folder,
                    LD_PRELOAD=preload, PELVIRTUAL_PROFILES=folder + "/solid.json")
        theirs = dict(environment, SANE_CONFIG_DIR=folder + "/test")
        configure(ours["SANE_CONFIG_DIR"], "pelsane")
        configure(theirs["SANE_CONFIG_DIR"], "test")
        solid_profile(profile, ours["PELVIRTUAL_PROFILES"])
        scans = {"pelsane": ("pelsane", PELSANE, ours), "test": ("test", TEST, theirs)}
        times = {name: [] for name in scans}
        sizes = {name: size(*scan) for name, scan in scans.items()}
        with open(os.devnull, "wb") as nowhere:
            for _ in range(int(rounds)):
                for name, scan in scans.items():
                    times[name].append(run(*scan, nowhere))
    json.dump({"seconds": times, "bytes": sizes}, sys.stdout)


main()
