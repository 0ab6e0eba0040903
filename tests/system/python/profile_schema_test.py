# SPDX-License-Identifier: MIT
"""The JSON Schema of profiles and the scanner's own reading of them.

Both have to take the shipped profiles, and both have to refuse each broken one; the scanner names file, place and
reason. What refers to another part of a profile is beyond the schema and left to the scanner.
"""
import copy
import ctypes
import glob
import json
import os
import subprocess
import sys
import tempfile
import unittest

import jsonschema

PROFILES = os.path.join(os.path.dirname(__file__), "..", "..", "..", "virtual", "profiles")
MISSING = object()  # takes a key away

BASE = {
    "device": {"name": "test:one", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
    "feeder": {"sheets": 3},
    "flatbed": {"source": "document"},
    "papers": {"A4": {"width": 210, "height": 297}},
    "information": {"drv-ver": {"value": "1.0"}, "total-cnt": {"value": 7, "writable": True}},
    "options": [
        {"name": "job", "type": "group", "title": 1, "desc": 2},
        {"name": "mode", "type": "string", "title": 1, "desc": 2, "range": ["Color", "Mono"], "default": "Color",
         "means": "mode", "meanings": {"Color": "color", "Mono": "lineart"}, "image": True},
        {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [75, 150], "default": 75,
         "means": "resolution", "answers": 278},
        {"name": "right", "type": "float", "title": 1, "desc": 2, "range": {"min": 0, "max": 210, "step": 0},
         "default": 210, "means": "right"},
        {"name": "quick", "type": "bool", "title": 1, "desc": 2, "default": False, "sets": {"true": {"resolution": 75}}},
        {"name": "paper", "type": "string", "title": 1, "desc": 2, "range": ["A4"], "default": "A4", "means": "paper",
         "size": 64, "depend_or": ["resolution>=100", "==[10,20]"]},
        {"name": "fresh", "type": "button", "title": 1, "desc": 2, "means": "restore", "fix-id": 34960},
    ],
}

# Where, what is put there, and what the scanner says of it. The place is said before the reason.
BROKEN = [
    ("/device", MISSING, ": \"device\" is missing"),
    ("/papers", MISSING, ": \"papers\" is missing"),
    ("/information", MISSING, ": \"information\" is missing"),
    ("/options", MISSING, ": \"options\" is missing"),
    ("/colour", 1, "/colour: unknown key"),
    ("/$schema", 1, "/$schema: a text is expected"),
    ("/device", "one", "/device: an object is expected"),
    ("/device/name", MISSING, "/device: \"name\" is missing"),
    ("/device/name", 5, "/device/name: a text is expected"),
    ("/device/name", "", "/device/name: 1 to 255 bytes are expected"),
    ("/device/name", "a b", "/device/name: a device name has no spaces"),
    ("/device/vendor", "v" * 256, "/device/vendor: 1 to 255 bytes are expected"),
    ("/device/serial", "1", "/device/serial: unknown key"),
    ("/access", "closed", "/access: \"open\", \"asks-once\" or \"denied\" is expected"),
    ("/access", True, "/access: a text is expected"),
    ("/pages_per_minute", 0, "/pages_per_minute: a speed is 0.01 to 100000 pages per minute"),
    ("/pages_per_minute", "fast", "/pages_per_minute: a number is expected"),
    ("/feeder/sheets", -1, "/feeder/sheets: the number is out of bounds"),
    ("/feeder/sheets", 1.5, "/feeder/sheets: an integer is expected"),
    ("/feeder/sheets", "3", "/feeder/sheets: an integer is expected"),
    ("/feeder/endless", 1, "/feeder/endless: true or false is expected"),
    ("/feeder/page_time_ms", 1, "/feeder/page_time_ms: unknown key"),
    ("/feeder/source", "paper", "/feeder/source: \"document\", a folder or a colour is expected"),
    ("/feeder/source", {"color": "red"}, "/feeder/source/color: a colour is written as \"#ffcc00\""),
    ("/feeder/source", {"color": "#ffcc0g"}, "/feeder/source/color: a colour is written as \"#ffcc00\""),
    ("/feeder/source", {"folder": ""}, "/feeder/source/folder: a folder is expected"),
    ("/feeder/source", {"folder": "f"}, "/feeder/sheets: a folder has as many sheets as images"),
    ("/feeder/source", {"folder": "f", "color": "#ffffff"},
     "/feeder/source: \"document\", a folder or a colour is expected"),
    ("/feeder/source", {"image": "f"}, "/feeder/source/image: unknown key"),
    ("/flatbed", {}, "/flatbed: \"source\" is missing"),
    ("/faults", "jam", "/faults: a list is expected"),
    ("/faults", [1], "/faults/0: a text is expected"),
    ("/pages", {"skew": 1}, "/pages/skew: unknown key"),
    ("/pages", {"skew_degrees": 6}, "/pages/skew_degrees: the number is out of bounds"),
    ("/pages", {"background": "grey"}, "/pages/background: a colour is written as \"#ffcc00\""),
    ("/pages", {"holes": {"count": 2, "side": "front"}},
     "/pages/holes/side: a sheet's sides are left, top, right and bottom"),
    ("/pages", {"dog_ear": {}}, "/pages/dog_ear: \"size_mm\" is missing"),
    ("/papers/A4/width", 9, "/papers/A4: a sheet measures 10 to 1000 mm each way"),
    ("/papers/A4/height", MISSING, "/papers/A4: \"height\" is missing"),
    ("/papers/A4/original", "no", "/papers/A4/original: true or false is expected"),
    ("/information/colour", {"value": 1}, "/information/colour: no such information item"),
    ("/information/drv-ver/value", 5, "/information/drv-ver/value: a text is expected"),
    ("/information/drv-ver/value", "1" * 255, "/information/drv-ver/value: the text is too long for its item"),
    ("/information/total-cnt/value", "7", "/information/total-cnt/value: an integer is expected"),
    ("/information/total-cnt/value", 2147483648, "/information/total-cnt/value: the number is out of bounds"),
    ("/information/original-image", {"value": 256}, "/information/original-image/value: the number is out of bounds"),
    ("/options", {}, "/options: a list is expected"),
    ("/options/0", "job", "/options/0: an object is expected"),
    ("/options/0/name", "Job", "/options/0/name: an option's name is [a-z][a-z0-9-]*, at most 63 characters"),
    ("/options/0/name", "j" * 64, "/options/0/name: an option's name is [a-z][a-z0-9-]*, at most 63 characters"),
    ("/options/0/type", "chapter", "/options/0/type: no such type"),
    ("/options/0/title", MISSING, "/options/0: \"title\" is missing"),
    ("/options/0/title", "Job", "/options/0/title: an integer is expected"),
    ("/options/0/default", 1, "/options/0/default: an option of this type has no value"),
    ("/options/0/answers", 0, "/options/0/answers: a group is not set"),
    ("/options/1/default", MISSING, "/options/1: \"default\" is missing"),
    ("/options/1/default", 1, "/options/1/default: a text is expected"),
    ("/options/1/range", [], "/options/1/range: an empty list allows nothing"),
    ("/options/1/range", {"min": 0, "max": 1, "step": 1}, "/options/1/range: only numbers have bounds"),
    ("/options/1/size", 3, "/options/1/size: the number is out of bounds"),
    ("/options/1/means", "colour", "/options/1/means: no such meaning"),
    ("/options/1/means", "resolution", "/options/1/means: an option of this type cannot mean that"),
    ("/options/1/meanings/Mono", "sepia", "/options/1/means: the word \"Mono\" means nothing that the scanner can do"),
    ("/options/1/meanings", MISSING, "/options/1/means: the word \"Color\" means nothing that the scanner can do"),
    ("/options/1/image", "yes", "/options/1/image: true or false is expected"),
    ("/options/2/size", 8, "/options/2/size: only texts have a size of their own"),
    ("/options/2/range", [75, "150"], "/options/2/range/1: an integer is expected"),
    ("/options/2/range", [24, 75], "/options/2/means: the range goes beyond what the scanner can do"),
    ("/options/2/range", MISSING, "/options/2/means: an option that means this needs a range"),
    ("/options/2/answers", 256, "/options/2/answers: 0, 262, 277 or 278 is expected"),
    ("/options/2/meanings", {"75": "low"}, "/options/2/meanings: only words have meanings"),
    ("/options/3/range/max", 1000.5, "/options/3/means: the range goes beyond what the scanner can do"),
    ("/options/3/range/step", -1, "/options/3/range: the bounds are out of order"),
    ("/options/3/range/step", MISSING, "/options/3/range: \"step\" is missing"),
    ("/options/3/range/unit", "mm", "/options/3/range/unit: unknown key"),
    ("/options/4/default", 0, "/options/4/default: true or false is expected"),
    ("/options/4/sets", [], "/options/4/sets: an object is expected"),
    ("/options/5/depend_or", ["resolution=100"], "/options/5/depend_or/0: a malformed condition"),
    ("/options/5/depend_or", ["resolution==[1,2"], "/options/5/depend_or/0: a malformed condition"),
    ("/options/5/depend_or", [">=100"], "/options/5/depend_or/0: the first condition names no option"),
    ("/options/5/depend_or", ">=100", "/options/5/depend_or: the first condition names no option"),
    ("/options/5/depend_or", 100, "/options/5/depend_or: a list is expected"),
    ("/options/5/depend_and", ["resolution>=100"], "/options/5: \"depend_or\" and \"depend_and\" exclude each other"),
    ("/options/6/fix-id", 34816, "/options/6/fix-id: the number is out of bounds"),
    ("/options/6/means", "invert", "/options/6/means: an option of this type cannot mean that"),
    ("/options/6/colour", 1, "/options/6/colour: unknown key"),
]

# What only the scanner can see.
BEYOND_THE_SCHEMA = [
    ("/options/2/default", 76, "/options/2/default: the default is not an allowed value"),
    ("/options/4/sets", {"maybe": {}}, "/options/4/sets/maybe: not an allowed value of the option"),
    ("/options/4/sets", {"true": {"speed": 1}}, "/options/4/sets/true/speed: no other option has this name"),
    ("/options/5/range", ["A4", "A9"], "/options/5/range: no size is given for the paper \"A9\""),
    ("/options/5/depend_or", ["speed==1"], "/options/5/depend_or: a condition names \"speed\", which is no option"),
    ("/options/6/name", "mode", "/options/6: the name \"mode\" is taken"),
    ("/options/3/range", {"min": 5, "max": 1, "step": 0}, "/options/3/range: the bounds are out of order"),
]

# Unusual, and right.
SOUND = [
    ("/$schema", "profile.schema.json"),
    ("/access", "asks-once"),
    ("/access", "denied"),
    ("/pages_per_minute", 0.01),
    ("/feeder", MISSING),
    ("/feeder", {}),
    ("/feeder/sheets", 0),
    ("/feeder/sheets", 3.0),
    ("/feeder", {"source": {"folder": "pages"}, "endless": True}),
    ("/feeder/source", {"color": "#FFcc00"}),
    ("/flatbed/source", {"folder": "/nowhere"}),
    ("/faults", ["jam after 100 lines once", "status 0xDE00"]),
    ("/pages", {"seed": 7, "skew_degrees": 1.5, "holes": {"count": 2, "side": "left"}, "blank_backs": 2}),
    ("/options", []),
    ("/options/2/answers", 0),
    ("/options/2/default", 75.0),
    ("/options/5/depend_or", "mode!=Color"),
    ("/options/6/answers", 262),
]


def changed(place, value):
    profile = copy.deepcopy(BASE)
    *path, last = place.split("/")[1:]
    parent = profile
    for step in path:
        parent = parent[int(step) if isinstance(parent, list) else step]
    key = int(last) if isinstance(parent, list) else last
    if value is MISSING:
        del parent[key]
    else:
        parent[key] = value
    return profile


class Scanner:
    """The driver library's answer to a profile."""

    def __init__(self, folder):
        self.folder = folder
        self.driver = ctypes.CDLL("libpeldriver.so")
        os.environ["PELLOG_LEVEL"] = "critical"

    def complaint(self, profile):
        """None when the profile can be used, else what is logged after the file's name."""
        path = os.path.join(self.folder, "profile.json")
        log = os.path.join(self.folder, "log")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(profile, file)
        open(log, "w", encoding="utf-8").close()
        os.environ["PELVIRTUAL_PROFILES"] = path
        os.environ["PELLOG_FILE"] = log
        return self.after_loading(path, log)

    def after_loading(self, path, log):
        count = ctypes.c_int(0)
        assert self.driver.kx_scanner_initialize(None, None) == 0
        answer = self.driver.kx_scanner_enum(None, ctypes.byref(count), 1)
        assert self.driver.kx_scanner_uninitialize() == 0
        with open(log, encoding="utf-8") as file:
            text = file.read()
        start = "The scanner's profile cannot be used: " + path + ": "
        if start not in text:
            assert (answer, count.value) == (258, 1), (answer, count.value, text)
            return None
        assert answer == 256, answer
        return text.split(start, 1)[1].split("\n", 1)[0]


class ProfileCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(os.path.join(PROFILES, "profile.schema.json"), encoding="utf-8") as file:
            schema = json.load(file)
        jsonschema.Draft7Validator.check_schema(schema)
        cls.schema = jsonschema.Draft7Validator(schema)
        cls.folder = tempfile.TemporaryDirectory(prefix="pelsane-profiles-")
        cls.scanner = Scanner(cls.folder.name)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def check_sound(self, profile):
        self.assertEqual([], [error.message for error in self.schema.iter_errors(profile)])
        self.assertIsNone(self.scanner.complaint(profile))


class ProfileSchema(ProfileCase):
    def test_takes_the_shipped_profiles_as_the_scanner_does(self):
        names = [name for name in glob.glob(os.path.join(PROFILES, "*.json")) if not name.endswith(".schema.json")]
        self.assertEqual({"duplex_feeder.json", "flatbed_feeder.json", "large_format.json", "simplex_feeder.json"},
                         {os.path.basename(name) for name in names})
        for name in names:
            with self.subTest(name), open(name, encoding="utf-8") as file:
                self.check_sound(json.load(file))

    def test_takes_unusual_profiles_as_the_scanner_does(self):
        self.check_sound(BASE)
        for place, value in SOUND:
            with self.subTest(place=place, value=value):
                self.check_sound(changed(place, value))

    def test_refuses_broken_profiles_as_the_scanner_does(self):
        for place, value, complaint in BROKEN:
            with self.subTest(place=place, value=value):
                profile = changed(place, value)
                self.assertFalse(self.schema.is_valid(profile))
                self.assertEqual(complaint, self.scanner.complaint(profile))

    def test_leaves_what_refers_to_other_parts_to_the_scanner(self):
        for place, value, complaint in BEYOND_THE_SCHEMA:
            with self.subTest(place=place, value=value):
                profile = changed(place, value)
                self.assertTrue(self.schema.is_valid(profile))
                self.assertEqual(complaint, self.scanner.complaint(profile))


class StressProfile(ProfileCase):
    def generate(self, *numbers):
        command = [sys.executable, os.path.join(PROFILES, "stress_profile.py"), *map(str, numbers)]
        return subprocess.run(command, check=True, capture_output=True).stdout

    def test_is_sound_with_as_many_options_and_conditions_as_asked_for(self):
        for options, dependencies in ((0, 0), (1, 0), (3, 1), (100, 300), (1000, 1500)):
            with self.subTest(options=options, dependencies=dependencies):
                profile = json.loads(self.generate(options, dependencies))
                self.check_sound(profile)
                self.assertEqual(options, len(profile["options"]))
                self.assertEqual(dependencies, sum(len(each.get("depend_and", [])) for each in profile["options"]))

    def test_is_the_same_for_the_same_arguments(self):
        self.assertEqual(self.generate(200, 150), self.generate(200, 150))


if __name__ == "__main__":
    unittest.main()
