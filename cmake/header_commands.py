# SPDX-License-Identifier: MIT
"""Usage: header_commands.py <compile_commands.json

Prints the compile database with the headers added, and each file once, though several targets may compile it. A header
has the command line of a source that includes it, best of its own folder, so that it is read with the folders and
definitions that it is written for.
"""
import json
import pathlib
import re
import shlex
import sys

INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)


def folders_of(entry):
    return [pathlib.Path(entry["directory"], word[2:]) for word in shlex.split(entry["command"]) if word[:2] == "-I"]


def included_by(path, folders, seen):
    for name in INCLUDE.findall(path.read_text(encoding="utf-8")):
        for folder in [path.parent, *folders]:
            header = (folder / name).resolve()
            if header.is_file():
                if header not in seen:
                    seen.add(header)
                    included_by(header, folders, seen)
                break
    return seen


def header_entry(header, source):
    words = [word for word in shlex.split(source["command"]) if word != source["file"]]
    kind = "c-header" if source["file"].endswith(".c") else "c++-header"
    command = shlex.join([words[0], "-x", kind, *words[1:], str(header)])
    return {"directory": source["directory"], "command": command, "file": str(header)}


def main():
    sources = {source["file"]: source for source in json.load(sys.stdin)}.values()
    found = {}
    for source in sources:
        path = pathlib.Path(source["file"])
        if not path.is_file():  # still to be made by the build
            continue
        for header in included_by(path, folders_of(source), set()):
            if header not in found or (path.parent == header.parent != pathlib.Path(found[header]["file"]).parent):
                found[header] = source
    json.dump([*sources, *(header_entry(*each) for each in found.items())], sys.stdout, indent=1)


main()
