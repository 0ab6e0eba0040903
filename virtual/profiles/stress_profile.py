#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the profile of a scanner with very many options to standard output.

stress_profile.py OPTIONS DEPENDENCIES

The first two options are a mode and a resolution; the others go through the types, bounds and lists in turn. The
conditions are spread evenly over the options from the third on, each on an option before it, so that chains are long.
The same arguments give the same bytes.
"""
import argparse
import json

TYPES = ("bool", "int", "float", "string", "int-list", "button")
WORDS = ["One", "Two", "Three", "Four"]


def first_options():
    return [
        {"name": "mode", "type": "string", "range": ["Color", "Gray", "Lineart"], "default": "Gray", "image": True,
         "means": "mode", "meanings": {"Color": "color", "Gray": "gray", "Lineart": "lineart"}},
        {"name": "resolution", "type": "int", "range": [75, 150, 300], "default": 75, "image": True,
         "means": "resolution"},
    ]


def name_of(number):
    """In letters, as conditions name options without digits."""
    letters = ""
    while number > 0:
        number, letter = divmod(number - 1, 26)
        letters = chr(ord("a") + letter) + letters
    return "option-" + letters


def further_option(number):
    kind = TYPES[number % len(TYPES)]
    option = {"name": name_of(number), "type": kind.split("-")[0]}
    if kind == "bool":
        option["default"] = True
    elif kind == "int":
        option.update({"range": {"min": 0, "max": number, "step": 1}, "default": number})
    elif kind == "float":
        option.update({"range": {"min": 0.0, "max": float(number), "step": 0.0}, "default": number / 2})
    elif kind == "string":
        option.update({"range": WORDS, "default": "Two"})
    elif kind == "int-list":
        option.update({"range": [1, 2, 4, 8], "default": 2})
    return option


def condition(master):
    """Holds at the master's default."""
    if master["type"] == "bool":
        return f"{master['name']}==true"
    if master["type"] == "string":
        return f"{master['name']}=={master['default']}"
    return f"{master['name']}>=0"


def master_of(options, slave, turn):
    """An earlier option with a value: the one before, with every further condition one more step back."""
    masters = [option for option in options[:slave] if option["type"] != "button"]
    return masters[-1 - turn % len(masters)]


def make_options(count, dependencies):
    options = (first_options() + [further_option(number) for number in range(3, count + 1)])[:count]
    slaves = range(2, count)
    for index in range(dependencies):
        slave = slaves[index % len(slaves)]
        master = master_of(options, slave, index // len(slaves))
        options[slave].setdefault("depend_and", []).append(condition(master))
    return [{**option, "title": 1021, "desc": 2021} for option in options]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("options", type=int)
    parser.add_argument("dependencies", type=int)
    arguments = parser.parse_args()
    if arguments.options < 0 or arguments.dependencies < 0 or (arguments.dependencies > 0 and arguments.options < 3):
        parser.error("numbers are not negative, and conditions need at least 3 options")
    profile = {
        "device": {"name": "virtual:stress", "vendor": "Pelsane", "model": "Virtual Stress Profile",
                   "type": "sheetfed scanner"},
        "papers": {},
        "information": {},
        "options": make_options(arguments.options, arguments.dependencies),
    }
    print(json.dumps(profile, ensure_ascii=False, indent=1))


main()
