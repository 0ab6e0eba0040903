# SPDX-License-Identifier: MIT
"""`scanimage -A` as programs read it that have no SANE library of their own, such as scan servers with a web page: one
option a line, with its values and the current one, and numbers with decimal points in every locale."""
import os
import re
import subprocess
import unittest

from private_sane import PROFILES, use_private_sane

use_private_sane()

HEADING = re.compile(r"All options specific to device `(?P<device>[^']+)':")
GROUP = re.compile(r"  (?P<group>[A-Z][^:]*):")
OPTION = re.compile(
    r"    --?(?P<name>[a-z][a-z0-9-]*)"
    r"(?:(?: (?P<values>.+?)|\[=\((?P<words>[a-z|]+)\)\]) \[(?P<current>[^\]]*)\])?(?P<marks>(?: \[[a-z-]+\])*)")
DESCRIPTION = re.compile(r"        (?P<text>[^\s-].*)")
NUMBER = re.compile(r"-?[0-9]+(?:\.[0-9]+)?")
RANGE = re.compile(r"(?P<low>[^|]+?)\.\.(?P<high>[0-9.]+)(?P<unit>[a-z%]*)(?: \(in steps of (?P<step>[0-9.]+)\))?")

OPTIONS = {"duplex_feeder": 68, "simplex_feeder": 16, "flatbed_feeder": 16, "large_format": 26}


def listing(profile, **more):
    environment = {**os.environ, "PELVIRTUAL_PROFILES": os.path.join(PROFILES, profile + ".json"), **more}
    return subprocess.run(["scanimage", "-A"], env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, encoding="utf-8", check=True).stdout


class Listing(unittest.TestCase):
    maxDiff = None

    def parse(self, text):
        """The options by name. Every line that is not empty is of one of the four kinds."""
        found = {}
        groups = []
        for line in text.splitlines():
            option = OPTION.fullmatch(line)
            if option:
                self.assertNotIn(option["name"], found)
                self.assertTrue(groups, "outside of all groups: " + line)
                found[option["name"]] = option
            elif GROUP.fullmatch(line):
                groups.append(line)
            elif line and not DESCRIPTION.fullmatch(line):
                self.assertRegex(line, HEADING)
        return found

    def check_numbers(self, option):
        values = re.sub(r"^auto\|\|?", "", option["values"] or "")
        limits = RANGE.fullmatch(values)
        if not limits:
            return 0
        for number in (limits["low"], limits["high"], limits["step"] or "1"):
            self.assertRegex(number, "^" + NUMBER.pattern + "$", option.string)
        if option["current"] != "inactive":
            self.assertRegex(option["current"], "^" + NUMBER.pattern + "$", option.string)
        return 1

    def check_profile(self, profile):
        german = {"LOCPATH": os.environ["PELSANE_LOCALES"], "LC_ALL": "de_DE.UTF-8"}
        text = listing(profile, **german)
        options = self.parse(text)
        self.assertEqual(OPTIONS[profile], len(options))
        self.assertNotRegex(text, r"[0-9],[0-9]")
        self.assertGreaterEqual(sum(self.check_numbers(option) for option in options.values()), 5)
        self.assertEqual(text, listing(profile, LC_ALL="C.UTF-8"))

    def test_duplex_feeder(self):
        self.check_profile("duplex_feeder")

    def test_simplex_feeder(self):
        self.check_profile("simplex_feeder")

    def test_flatbed_with_feeder(self):
        self.check_profile("flatbed_feeder")

    def test_large_format(self):
        self.check_profile("large_format")

    def test_values_that_programs_look_for(self):
        options = self.parse(listing("flatbed_feeder", LC_ALL="C.UTF-8"))
        self.assertEqual(["auto", "Flatbed", "ADF Front", "ADF Back", "ADF Duplex"],
                         options["source"]["values"].split("|"))
        self.assertEqual(["auto", "Color", "Gray", "Lineart"], options["mode"]["values"].split("|"))
        for name in ("l", "t", "x", "y"):
            self.assertEqual("mm", RANGE.fullmatch(options[name]["values"].replace("auto|", ""))["unit"])


if __name__ == "__main__":
    unittest.main()
