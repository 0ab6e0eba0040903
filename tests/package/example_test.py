# SPDX-License-Identifier: MIT
"""The example of the extension interface, as a user starts it, on the virtual scanner."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = []


class Example(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def run_on(self, access, arguments, answers):
        with open(os.environ["PELSANE_PROFILE"], encoding="utf-8") as file:
            profile = json.load(file)
        profile["access"] = access
        path = os.path.join(self.folder.name, "profile.json")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(profile, file)
        environment = {**os.environ, "PELVIRTUAL_PROFILES": path, "PELLANG": "en",
                       "LD_LIBRARY_PATH": os.environ["PELSANE_LIBRARIES"]}
        return subprocess.run(PROGRAM + arguments, input=answers.encode(), capture_output=True, env=environment,
                              check=False)

    def expect_page(self, result, head, size):
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout[:len(head)], head)
        self.assertEqual(len(result.stdout), len(head) + size)

    def test_scans_a_device_that_asks_for_access(self):
        result = self.run_on("asks-once", ["pelsane:virtual:duplex-feeder", "75"], "somebody\nsecret\n")
        # A4 at 75 dpi: 620 by 877 points of three bytes.
        self.expect_page(result, b"P6\n620 877\n255\n", 620 * 877 * 3)
        self.assertEqual(result.stderr.decode(), "Driver 1.0.0.0\n"
                         "virtual:duplex-feeder asks for access.\nUser: Password: ")

    def test_takes_the_first_device_and_its_resolution(self):
        # A4 at 200 dpi.
        self.expect_page(self.run_on("open", [], ""), b"P6\n1654 2339\n255\n", 1654 * 2339 * 3)

    def test_gives_up_without_an_answer(self):
        result = self.run_on("asks-once", ["virtual:duplex-feeder", "75"], "")
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        self.assertTrue(result.stderr.decode().endswith(
            "User: The scanner could not be opened: The operation was cancelled.\n"), result.stderr)

    def test_is_told_that_nobody_may_open_the_device(self):
        result = self.run_on("denied", ["virtual:duplex-feeder"], "")
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        self.assertRegex(result.stderr.decode(), "The scanner could not be opened: .*denied")


if __name__ == "__main__":
    PROGRAM = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
