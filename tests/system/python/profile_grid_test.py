# SPDX-License-Identifier: MIT
"""Every shipped profile in every mode, resolution and side setting, by python3-sane and by scanimage.

The table says how many points a page has. At low resolutions the whole job is scanned, at high ones its first page.
"""
import os
import subprocess
import unittest

from private_sane import PROFILES, use_private_sane

FOLDER = use_private_sane()
os.environ["PELVIRTUAL_PROFILES"] = PROFILES

import sane  # noqa: E402: its library reads the environment

MODES = ("Color", "Gray", "Lineart")
WHOLE_JOB_UP_TO_DPI = 100

A4 = {75: (620, 877), 100: (827, 1169), 150: (1240, 1754), 200: (1654, 2339), 300: (2480, 3508), 600: (4961, 7016)}
A3 = {100: (1169, 1654), 150: (1754, 2480), 200: (2339, 3307), 300: (3508, 4961), 400: (4677, 6614), 600: (7016, 9921)}

# By profile: the page's size at its default paper by resolution; the option of the sides, with the pages of a job by
# its values (None: one after the other without end).
PAGES = {
    "duplex-feeder": (A4, "page", {"Front side": 3, "Both sides": 6, "Both sides without blank pages": 6}),
    "simplex-feeder": (A4, None, {None: 3}),
    "flatbed-feeder": (A4, "source", {"Flatbed": None, "ADF Front": 3, "ADF Back": 3, "ADF Duplex": 6}),
    "large-format": (A3, "page", {"Front side": 3, "Both sides": 6, "Both sides without blank pages": 6}),
}

# Papers at 100 dpi.
PAPERS = {
    "duplex-feeder": {
        "A3": (1169, 1654), "8K": (1169, 1654), "A4": (827, 1169), "A4 landscape": (1169, 827), "A5": (583, 827),
        "A5 landscape": (827, 583), "A6": (413, 583), "A6 landscape": (583, 413), "B4": (1012, 1433), "B5": (693, 984),
        "B5 landscape": (984, 693), "B6": (492, 693), "B6 landscape": (693, 492), "16K": (827, 1122),
        "Original size": (827, 1169),
    },
    "simplex-feeder": {"A4": (827, 1169), "B5": (693, 984), "A5": (583, 827), "B6": (492, 693), "A6": (413, 583)},
    "large-format": {
        "A3": (1169, 1654), "8K": (1169, 1654), "B4": (1012, 1433), "A4": (827, 1169), "A4 landscape": (1169, 827),
        "16K": (827, 1122), "A5 landscape": (827, 583),
    },
}


def device_of(profile):
    return "pelsane:virtual:" + profile


def bytes_of(size, mode):
    width, height = size
    return {"Color": width * 3, "Gray": width, "Lineart": (width + 7) // 8}[mode] * height


class Grid(unittest.TestCase):
    """Goes through the table; scan_page and scan_job are the application's."""

    def check(self, profile):
        sizes, option, sides = PAGES[profile]
        for side, pages in sides.items():
            for mode in MODES:
                for dpi, size in sizes.items():
                    settings = {"mode": mode, "resolution": dpi, **({option: side} if option else {})}
                    with self.subTest(profile=profile, **settings):
                        self.check_pages(device_of(profile), settings, size, pages)
        for paper, size in PAPERS.get(profile, {}).items():
            with self.subTest(profile=profile, paper=paper):
                self.check_page(device_of(profile), {"mode": "Gray", "resolution": 100, "paper": paper}, size)

    def check_pages(self, device, settings, size, pages):
        if pages is None or settings["resolution"] > WHOLE_JOB_UP_TO_DPI:
            self.check_page(device, settings, size)
        else:
            found = self.scan_job(device, settings)
            self.assertEqual([(size, bytes_of(size, settings["mode"]))] * pages, found)

    def check_page(self, device, settings, size):
        self.assertEqual((size, bytes_of(size, settings["mode"])), self.scan_page(device, settings))


class PythonSane(Grid):
    @classmethod
    def setUpClass(cls):
        sane.init()

    @classmethod
    def tearDownClass(cls):
        sane.exit()

    def setUp(self):
        self.scanner = None

    def tearDown(self):
        self.scanner.close()

    def apply(self, device, settings):
        if self.scanner is None:
            self.scanner = sane.open(device)
        for name, value in settings.items():
            setattr(self.scanner, name.replace("-", "_"), value)

    def read_page(self):
        """The size of the image, and the bytes that were told before."""
        _, _, size, _, bytes_per_line = self.scanner.get_parameters()
        page = self.scanner.snap(True)
        self.assertEqual(size, page.size)
        return size, bytes_per_line * size[1]

    def scan_page(self, device, settings):
        self.apply(device, settings)
        self.scanner.start()
        page = self.read_page()
        self.scanner.cancel()
        return page

    def scan_job(self, device, settings):
        self.apply(device, settings)
        pages = []
        try:
            while True:
                self.scanner.start()
                pages.append(self.read_page())
        except sane._sane.error as error:
            self.assertEqual("Document feeder out of documents", str(error))
        return pages

    def test_duplex_feeder(self):
        self.check("duplex-feeder")

    def test_simplex_feeder(self):
        self.check("simplex-feeder")

    def test_flatbed_feeder(self):
        self.check("flatbed-feeder")

    def test_large_format(self):
        self.check("large-format")


class Scanimage(Grid):
    """Without the backend's pauses where their replacement is named, as there are hundreds of runs."""

    ENVIRONMENT = {**os.environ, "LD_PRELOAD": " ".join(
        os.environ.get(name, "") for name in ("LD_PRELOAD", "PELSANE_NO_PAUSES"))}

    @staticmethod
    def command(device, settings, *further):
        arguments = [part for name, value in settings.items() for part in ("--" + name, str(value))]
        return ["scanimage", "-d", device, "--format=pnm", *arguments, *further]

    @staticmethod
    def read_size(stream):
        """The points of a PNM image, whose bytes follow."""
        kind = stream.readline().strip()
        line = stream.readline()
        while line.startswith(b"#"):
            line = stream.readline()
        if kind in (b"P5", b"P6"):
            assert stream.readline() == b"255\n"
        return tuple(int(number) for number in line.split())

    @staticmethod
    def count_rest(stream):
        return sum(len(piece) for piece in iter(lambda: stream.read(1 << 20), b""))

    def read_page(self, stream):
        return self.read_size(stream), self.count_rest(stream)

    def scan_page(self, device, settings):
        with subprocess.Popen(self.command(device, settings), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env=self.ENVIRONMENT) as program:
            page = self.read_page(program.stdout)
            messages = program.stderr.read()
        self.assertEqual(0, program.returncode, messages)
        return page

    def scan_job(self, device, settings):
        folder = os.path.join(FOLDER, "pages")
        os.makedirs(folder, exist_ok=True)
        command = self.command(device, settings, "--batch=" + os.path.join(folder, "%d.pnm"))
        result = subprocess.run(command, stderr=subprocess.PIPE, check=True, env=self.ENVIRONMENT)
        self.assertIn(b"Document feeder out of documents", result.stderr)
        pages = []
        for name in sorted(os.listdir(folder)):
            path = os.path.join(folder, name)
            with open(path, "rb") as stream:
                pages.append(self.read_page(stream))
            os.remove(path)
        return pages

    def test_duplex_feeder(self):
        self.check("duplex-feeder")

    def test_simplex_feeder(self):
        self.check("simplex-feeder")

    def test_flatbed_feeder(self):
        self.check("flatbed-feeder")

    def test_large_format(self):
        self.check("large-format")


if __name__ == "__main__":
    unittest.main()
