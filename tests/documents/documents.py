# SPDX-License-Identifier: MIT
"""The documents as tests read them: fenced blocks with what they are, and the note that may stand above one."""
import collections
import os
import re

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))

Block = collections.namedtuple("Block", "document line kind note text")


def read(name):
    with open(os.path.join(ROOT, name), encoding="utf-8") as file:
        return file.read()


def blocks(name):
    """All fenced blocks of a document; the note is what an HTML comment on the line above says."""
    found = []
    lines = read(name).split("\n")
    number = 0
    while number < len(lines):
        opening = re.fullmatch(r"```(.*)", lines[number])
        if opening:
            end = lines.index("```", number + 1)
            note = re.fullmatch(r"<!-- (.*) -->", lines[number - 1] if number > 0 else "")
            text = "\n".join(lines[number + 1:end]) + "\n"
            found.append(Block(name, number + 1, opening.group(1), note.group(1) if note else "", text))
            number = end
        number += 1
    return found


def texts(name, kind):
    return [block.text for block in blocks(name) if block.kind == kind]
