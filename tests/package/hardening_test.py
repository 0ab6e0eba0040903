# SPDX-License-Identifier: MIT
"""A mistake in memory ends in a crash and not in a way in: what hardens the shipped files is read from the files
themselves. PELSANE_SHIPPED names them, separated by colons; script/package-test names those that are installed."""
import functools
import os
import re
import subprocess
import unittest

SHIPPED = os.environ["PELSANE_SHIPPED"].split(":")

# What stands where a function may be entered, little-endian: endbr64; paciasp or bti c. The smallest of the files has
# some thirty of them; what a compiler links to each file of its own accord has fewer than ten. The linker's note of it
# in the file says less: it is missing wherever the C library's own objects lack it.
ENTRIES = {
    "Advanced Micro Devices X86-64": (b"\xf3\x0f\x1e\xfa",),
    "AArch64": (b"\x3f\x23\x03\xd5", b"\x5f\x24\x03\xd5"),
}
FEWEST_ENTRIES = 20


@functools.lru_cache(maxsize=None)
def told(file, *arguments):
    return subprocess.run(["readelf", "-W", *arguments, file], check=True, capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


def contents(file):
    with open(file, "rb") as opened:
        return opened.read()


def code(file):
    place, size = re.search(r" \.text +PROGBITS +\w+ (\w+) (\w+)", told(file, "--sections")).groups()
    return contents(file)[int(place, 16):int(place, 16) + int(size, 16)]


def functions_taken(file):
    return set(re.findall(r" UND (\w+)", told(file, "--dyn-syms")))


def is_program(file):
    return ".so" not in os.path.basename(file)


class Hardening(unittest.TestCase):
    def test_files_are_the_shipped_ones(self):
        self.assertLessEqual({"libcommonlog.so", "liblangkit.so", "libpeldriver.so", "libsane-pelsane.so.1"},
                             {os.path.basename(file) for file in SHIPPED})

    def test_programs_are_loaded_anywhere(self):
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                self.assertRegex(told(file, "--file-header"), r"Type: +DYN ")
                self.assertEqual(is_program(file), bool(re.search(r"\(FLAGS_1\).* PIE\b", told(file, "--dynamic"))))

    def test_addresses_of_functions_are_read_only_once_loaded(self):
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                self.assertRegex(told(file, "--segments"), r"\n +GNU_RELRO ")
                self.assertRegex(told(file, "--dynamic"), r"\(FLAGS_1\).* NOW\b")

    def test_code_is_never_written_to(self):
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                self.assertNotIn("TEXTREL", told(file, "--dynamic"))

    def test_stack_is_not_executable(self):
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                self.assertRegex(told(file, "--segments"), r"\n +GNU_STACK( +0x\w+){5} RW ")

    def test_overrun_on_the_stack_is_noticed(self):
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                self.assertIn("__stack_chk_fail", functions_taken(file))

    def test_functions_that_write_check_the_size(self):
        """Each file has at least one such call, as snprintf, of which the compiler knows the memory's size."""
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                self.assertNotEqual([name for name in functions_taken(file) if name.endswith("_chk")], [])

    def test_functions_are_entered_at_their_beginning(self):
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                machine = re.search(r"Machine: +(.*)", told(file, "--file-header")).group(1)
                if machine not in ENTRIES:
                    self.skipTest(f"nothing is known of {machine}")
                found = code(file)
                self.assertGreater(sum(found.count(entry) for entry in ENTRIES[machine]), FEWEST_ENTRIES)

    def test_no_page_of_the_stack_is_stepped_over(self):
        """Code without large arrays is the same without it; g++ notes its options beside its debug information."""
        for file in SHIPPED:
            with self.subTest(os.path.basename(file)):
                noted = re.findall(rb"GNU C\+\+\d\d [^\0]*", contents(file))
                if not noted:
                    self.skipTest("g++ has noted nothing")
                for options in noted:
                    self.assertIn(b" -fstack-clash-protection", options)


if __name__ == "__main__":
    unittest.main()
