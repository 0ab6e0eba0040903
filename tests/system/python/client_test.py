# SPDX-License-Identifier: MIT
"""A Python application: Debian's python3-sane on this build's backend and virtual scanner.

The loader's path is given by whoever runs the tests.
"""
import unittest

from private_sane import use_private_sane

use_private_sane()

import _sane  # noqa: E402: SANE's library reads the environment
import sane  # noqa: E402

DEVICE = "pelsane:virtual:duplex-feeder"

# They are there to be set only: what was set shows in "page" and "paper".
WRITE_ONLY = ("duplex", "page_width", "page_height")

BUTTONS = ("clear_rollers", "restore_defaults")

# What has to be set before an option can be.
MASTERS = {
    "scan_count": [("scan_mode", "Given number of pages")],
    "blank_sensitivity": [("discardblank", 1)],
    "gamma": [("is_custom_gamma", 1)],
    "threshold": [("mode", "Lineart")],
    "reverse_bw": [("mode", "Lineart")],
    "filter": [("mode", "Gray")],
    "bkg_color_range": [("is_erase_bkg", 1)],
    "is_noise_optimize": [("mode", "Lineart")],
    "noise_size": [("mode", "Lineart"), ("is_noise_optimize", 1)],
    "anti_noise_level": [("mode", "Lineart"), ("is_noise_optimize", 1)],
    "is_rid_grid": [("resolution", 75)],
    "is_err_extension": [("mode", "Lineart")],
    "multiout_type": [("is_multiout", 1)],
    "permeate_level": [("is_anti_permeate", 1)],
    "margin": [("bkg_fill_mode", "Concave")],
    "is_fill_color": [("bkg_fill_mode", "Concave")],
    "search_hole_range": [("is_rid_hole", 1)],
    "dog_ear_size": [("is_check_dog_ear", 1)],
    "askew_range": [("is_check_askew", 1)],
    "feed_strength_value": [("is_auto_strength", 1)],
}

DEFAULTS = {
    "option_count": 75, "language": "English", "scan_mode": "Until the feeder is empty", "page": "Both sides",
    "discardblank": 0, "paper": "A4", "is_custom_area": 1, "tl_x": 0.0, "tl_y": 0.0, "br_x": 210.0, "br_y": 297.0,
    "fold_type": "Separate", "mode": "Color", "resolution": 200, "image_quality": "Custom", "brightness": 0,
    "contrast": 0, "sharpen": "None", "bkg_fill_mode": "Convex", "search_hole_range_l": 10, "is_ultrosonic": 1,
    "double_feed": "Stop", "feed_strength": "Normal", "time_to_sleep": "Never", "is_lens_dirty": 0, "token": "",
}


def setUpModule():
    sane.init()


def tearDownModule():
    sane.exit()


def as_the_module_has_it(text):
    """It takes each byte of a text for a character."""
    return text.encode("utf-8").decode("latin-1")


def allowed_values(option):
    """Every one, of a range both ends and one between."""
    if option.type == _sane.TYPE_BOOL:
        return [1, 0]
    if isinstance(option.constraint, list):
        return option.constraint
    if isinstance(option.constraint, tuple):
        low, high, _ = option.constraint
        if option.type == _sane.TYPE_INT:
            return [low, high, (low + high) // 2]
        return [low, high, (low + high) / 2]
    return ["", "a label", as_the_module_has_it("\u6807\u7b7e")]


class Client(unittest.TestCase):
    def setUp(self):
        self.scanner = sane.open(DEVICE)

    def tearDown(self):
        self.scanner.close()


class Options(Client):
    def test_are_found(self):
        names = self.scanner.optlist
        self.assertEqual(72, len(names))
        self.assertEqual("option_count", names[0])
        self.assertEqual(["duplex", "page_width", "page_height"], names[-3:])

    def test_are_read(self):
        read = {}
        for name in self.scanner.optlist:
            if self.scanner[name].is_active() and name not in WRITE_ONLY + BUTTONS:
                read[name] = getattr(self.scanner, name)
        self.assertEqual(47, len(read))
        self.assertEqual(DEFAULTS, {name: read[name] for name in DEFAULTS})

    def test_have_types_units_and_limits(self):
        self.assertEqual(["Color", "Gray", "Lineart"], self.scanner["mode"].constraint)
        self.assertEqual([75, 100, 150, 200, 300, 600], self.scanner["resolution"].constraint)
        self.assertEqual(_sane.UNIT_DPI, self.scanner["resolution"].unit)
        self.assertEqual((0.0, 297.0, 0.0), self.scanner["br_x"].constraint)
        self.assertEqual(_sane.UNIT_MM, self.scanner["br_x"].unit)
        self.assertEqual((-100, 100, 1), self.scanner["brightness"].constraint)
        self.assertEqual(_sane.TYPE_INT, self.scanner["page_width"].type)
        self.assertEqual(_sane.UNIT_MM, self.scanner["page_width"].unit)

    def test_that_cannot_be_set_refuse(self):
        for name in ("option_count", "is_lens_dirty"):
            with self.assertRaisesRegex(AttributeError, "can't be set"):
                setattr(self.scanner, name, 1)
        with self.assertRaisesRegex(AttributeError, "Inactive option"):
            self.scanner.threshold = 100
        with self.assertRaisesRegex(_sane.error, "Invalid argument"):
            self.scanner.mode = "Sepia"

    def test_speak_another_language_at_once(self):
        self.scanner.language = as_the_module_has_it("\u7b80\u4f53\u4e2d\u6587")
        self.assertEqual(as_the_module_has_it("\u53cc\u9762"), self.scanner.page)
        self.scanner.language = "English"
        self.assertEqual("Both sides", self.scanner.page)

    def test_choose_the_paper_by_its_size(self):
        for width, height, paper in ((297, 420, "A3"), (148, 210, "A5"), (500, 500, "Original size"), (210, 297, "A4")):
            self.scanner.page_width = width
            self.scanner.page_height = height
            self.assertEqual(paper, self.scanner.paper)
        self.scanner.duplex = 0
        self.assertEqual("Front side", self.scanner.page)


class Values(Client):
    def check(self, name, value):
        setattr(self.scanner, name, value)
        now = getattr(self.scanner, name)
        if isinstance(value, float):
            self.assertAlmostEqual(value, now, places=3, msg=name)
        else:
            self.assertEqual(value, now, name)

    def check_option(self, name):
        for master, value in MASTERS.get(name, []):
            setattr(self.scanner, master, value)
        before = getattr(self.scanner, name)
        values = allowed_values(self.scanner[name])
        self.assertGreaterEqual(len(values), 2, name)
        for value in values:
            self.check(name, value)
        self.check(name, before)
        self.scanner.close()
        self.scanner = sane.open(DEVICE)

    def test_are_all_taken_and_given_back(self):
        unsettable = ("option_count", "is_lens_dirty") + BUTTONS + WRITE_ONLY
        names = [name for name in self.scanner.optlist if name not in unsettable]
        self.assertEqual(65, len(names))
        for name in names:
            self.check_option(name)

    def test_of_a_float_option_may_be_whole(self):
        self.scanner.br_x = 100
        self.assertEqual(100.0, self.scanner.br_x)
        self.scanner.br_x = 100.5
        self.assertEqual(100.5, self.scanner.br_x)


class Pages(Client):
    def test_of_a_feeder_come_to_an_end(self):
        self.scanner.resolution = 75
        pages = list(self.scanner.multi_scan())
        self.assertEqual([((620, 877), "RGB")] * 6, [(page.size, page.mode) for page in pages])

    def test_of_another_job_follow(self):
        self.scanner.resolution = 75
        self.scanner.mode = "Gray"
        self.scanner.duplex = 0
        for _ in range(2):
            pages = list(self.scanner.multi_scan())
            self.assertEqual([((620, 877), "L")] * 3, [(page.size, page.mode) for page in pages])

    def test_have_the_parameters_that_were_told(self):
        self.scanner.resolution = 100
        self.scanner.mode = "Lineart"
        self.scanner.page_width = 148
        self.scanner.page_height = 210
        self.assertEqual(("gray", 1, (583, 827), 1, 73), self.scanner.get_parameters())
        page = self.scanner.scan()
        self.assertEqual((583, 827), page.size)

    def test_have_the_document_on_them(self):
        self.scanner.resolution = 100
        page = self.scanner.scan()
        self.assertEqual((255, 0, 0), page.getpixel((round(138.75 / 25.4 * 100), round(164 / 25.4 * 100))))
        self.assertEqual((0, 0, 0), page.getpixel((round(16 / 25.4 * 100), round(19 / 25.4 * 100))))

    def test_may_be_given_up(self):
        self.scanner.start()
        self.scanner.cancel()
        self.scanner.resolution = 75
        self.assertEqual((620, 877), self.scanner.scan().size)


if __name__ == "__main__":
    unittest.main()
