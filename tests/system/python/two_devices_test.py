# SPDX-License-Identifier: MIT
"""Two devices scan at once, in two processes and in one: every page is the device's own."""
import json
import os
import subprocess
import threading
import unittest

from private_sane import use_private_sane

FOLDER = use_private_sane()
PAGES = 5

# The pages' colours, by device; the devices' pages differ in green.
COLORS = {
    "left": [(40 * page, 100, 7) for page in range(1, PAGES + 1)],
    "right": [(40 * page, 200, 9) for page in range(1, PAGES + 1)],
}


def write_profile(name, colors):
    """A device with a folder of images, ten pages a second."""
    profile = {
        "device": {"name": name, "vendor": "Pelsane", "model": "Test", "type": "sheetfed scanner"},
        "pages_per_minute": 600,
        "feeder": {"source": {"folder": name}},
        "papers": {},
        "information": {},
        "options": [{"name": "resolution", "type": "int", "title": 1023, "desc": 2023, "range": [50, 100],
                     "default": 50, "means": "resolution", "image": True}],
    }
    os.makedirs(os.path.join(FOLDER, name))
    for page, color in enumerate(colors, 1):
        with open(os.path.join(FOLDER, name, f"{page}.ppm"), "wb") as file:
            file.write(b"P6 21 30 255\n" + bytes(color) * (21 * 30))
    with open(os.path.join(FOLDER, name + ".json"), "w", encoding="utf-8") as file:
        json.dump(profile, file)


for device, device_colors in COLORS.items():
    write_profile(device, device_colors)
os.environ["PELVIRTUAL_PROFILES"] = FOLDER

from PIL import Image  # noqa: E402
import sane  # noqa: E402: its library reads the environment


class TwoDevices(unittest.TestCase):
    def check_pages(self, name, pages):
        self.assertEqual([(413, 585)] * PAGES, [page.size for page in pages])
        for color, page in zip(COLORS[name], pages):
            self.assertEqual([(413 * 585, color)], page.getcolors(), name)

    def test_in_two_processes_write_their_own_pages(self):
        programs = []
        for name in COLORS:
            pattern = os.path.join(FOLDER, name + "-%d.ppm")
            command = ["scanimage", "-d", "pelsane:" + name, "--format=pnm", "--batch=" + pattern]
            programs.append(subprocess.Popen(command, stderr=subprocess.PIPE))
        messages = [program.communicate(timeout=60)[1] for program in programs]
        for name, text in zip(COLORS, messages):
            self.assertIn(b"Document feeder out of documents", text)
            pages = [Image.open(os.path.join(FOLDER, f"{name}-{page}.ppm")) for page in range(1, PAGES + 1)]
            self.check_pages(name, pages)

    def test_in_one_process_deliver_their_own_pages(self):
        pages = {}
        both_opened = threading.Barrier(len(COLORS), timeout=30)

        def scan(name, scanner):
            both_opened.wait()
            pages[name] = list(scanner.multi_scan())

        sane.init()
        scanners = {name: sane.open("pelsane:" + name) for name in COLORS}
        threads = [threading.Thread(target=scan, args=each) for each in scanners.items()]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for scanner in scanners.values():
            scanner.close()
        sane.exit()
        for name in COLORS:
            self.check_pages(name, pages[name])

    def test_in_one_process_may_be_read_by_turns(self):
        sane.init()
        scanners = {name: sane.open("pelsane:" + name) for name in COLORS}
        pages = {name: [] for name in COLORS}
        for _ in range(PAGES):
            for scanner in scanners.values():
                scanner.start()
            for name, scanner in scanners.items():
                pages[name].append(scanner.snap(True))
        for scanner in scanners.values():
            scanner.close()
        sane.exit()
        for name in COLORS:
            self.check_pages(name, pages[name])


if __name__ == "__main__":
    unittest.main()
