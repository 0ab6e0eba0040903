# SPDX-License-Identifier: MIT
"""Something goes wrong in the scanner, and a Python application scans again on the same device."""
import os
import unittest

from private_sane import use_private_sane

use_private_sane()

import _sane  # noqa: E402: SANE's library reads the environment
import sane  # noqa: E402

DEVICE = "pelsane:virtual:duplex-feeder"


class Faults(unittest.TestCase):
    def setUp(self):
        self.scanner = None

    def tearDown(self):
        if self.scanner is not None:
            self.scanner.close()
        sane.exit()

    def open_with(self, faults):
        os.environ["PELVIRTUAL_FAULTS"] = faults
        sane.init()
        self.scanner = sane.open(DEVICE)
        self.scanner.resolution = 75
        return self.scanner

    def scan_until(self, scanner, message):
        """Answers the number of pages that come before the failure."""
        count = 0
        with self.assertRaisesRegex(_sane.error, message):
            while count < 10:
                scanner.start()
                scanner.snap(no_cancel=True)
                count += 1
        return count

    def check_that_all_is_well(self, scanner):
        self.assertEqual([(620, 877)] * 6, [page.size for page in scanner.multi_scan()])

    def check_recovery(self, faults, message, pages_before, times=1):
        scanner = self.open_with(faults)
        for _ in range(times):
            self.assertEqual(pages_before, self.scan_until(scanner, message))
        self.check_that_all_is_well(scanner)

    def test_jam_is_told_and_passes(self):
        self.check_recovery("jam after 2000 lines 2 times", "Document feeder jammed", 2, times=2)

    def test_double_feed_is_told_and_passes(self):
        self.check_recovery("double feed after 2 sheets", "Document feeder jammed", 4)

    def test_empty_feeder_is_told_and_filled(self):
        self.check_recovery("empty 2 times", "Document feeder out of documents", 0, times=2)

    def test_open_cover_is_told_and_closed(self):
        self.check_recovery("cover open 3 times", "Scanner cover is open", 0, times=3)

    def test_cover_opened_between_pages_is_told_and_closed(self):
        self.check_recovery("cover open after 3 pages once", "Scanner cover is open", 3)

    def test_busy_scanner_is_told_and_free_again(self):
        self.check_recovery("start answers busy 2 times", "Device busy", 0, times=2)

    def test_failed_read_is_told_and_the_job_goes_on_after_its_page(self):
        scanner = self.open_with("read_img_data at page 2 answers io")
        self.assertEqual(1, self.scan_until(scanner, "Error during device I/O"))
        self.assertEqual(4, self.scan_until(scanner, "Document feeder out of documents"))
        self.check_that_all_is_well(scanner)

    def test_stall_takes_its_time(self):
        scanner = self.open_with("stall 200 ms after 500 lines")
        self.check_that_all_is_well(scanner)

    def test_vanished_scanner_fails_and_can_be_closed(self):
        scanner = self.open_with("vanish after 1000 lines")
        self.assertEqual(1, self.scan_until(scanner, "Error during device I/O"))
        with self.assertRaisesRegex(_sane.error, "Error during device I/O"):
            scanner.scan()
        self.assertEqual([], sane.get_devices())
        scanner.close()
        with self.assertRaisesRegex(_sane.error, "Unknown SANE status code 269"):
            sane.open(DEVICE)

    def test_refused_setting_is_told_and_passes(self):
        scanner = self.open_with("set_parameter(resolution) from 2 answers io; set_parameter(mode) answers denied")
        with self.assertRaisesRegex(_sane.error, "Error during device I/O"):
            scanner.resolution = 100
        with self.assertRaisesRegex(_sane.error, "Access to resource has been denied"):
            scanner.mode = "Gray"
        scanner.resolution = 150
        scanner.mode = "Gray"
        self.assertEqual((150, "Gray"), (scanner.resolution, scanner.mode))

    def test_lost_scanner_takes_no_settings(self):
        os.environ["PELVIRTUAL_FAULTS"] = "status gone 2 times"
        sane.init()
        self.scanner = sane.open(DEVICE)
        for _ in range(2):
            with self.assertRaisesRegex(_sane.error, "Unknown SANE status code 56832"):
                self.scanner.resolution = 100
        self.scanner.resolution = 75
        self.check_that_all_is_well(self.scanner)


if __name__ == "__main__":
    unittest.main()
