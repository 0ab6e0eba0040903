# SPDX-License-Identifier: MIT
"""What packages are made of: the files that are installed, the versions that they say, licenses, the description."""
import email.utils
import glob
import json
import os
import re
import subprocess
import tempfile
import unittest

SOURCE = os.environ["PELSANE_SOURCE"]
BUILD = os.environ["PELSANE_BUILD"]


def text_of(*names):
    with open(os.path.join(*names), encoding="utf-8") as file:
        return file.read()


def cached(variable):
    """A variable of the build's configuration; empty when there is none."""
    found = re.search(rf"^{variable}:\w+=(.*)$", text_of(BUILD, "CMakeCache.txt"), re.M)
    return found.group(1) if found else ""


def files_below(folder):
    for place, _, names in os.walk(folder):
        for name in names:
            yield os.path.relpath(os.path.join(place, name), folder)


class Installation(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        subprocess.run(["cmake", "--install", BUILD], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "DESTDIR": self.folder.name})
        self.root = self.folder.name
        self.prefix = cached("CMAKE_INSTALL_PREFIX").strip("/")
        backend = glob.glob(f"{self.root}/{self.prefix}/**/libsane-pelsane.so.1", recursive=True)
        self.assertEqual(len(backend), 1)
        self.libraries = os.path.relpath(os.path.dirname(os.path.dirname(backend[0])), f"{self.root}/{self.prefix}")

    def test_files_are_where_they_are_looked_for(self):
        found = []
        for name in files_below(self.root):
            name = re.sub(r"zz-pelsane-virtual(-[\w-]+)?\.conf$", "zz-pelsane-virtual.conf", name)
            name = name.removeprefix(f"{self.prefix}/").replace(f"{self.libraries}/", "LIB/")
            found.append(name)
        wanted = [
            "LIB/pelsane-virtual/libcommonlog.so",
            "LIB/pelsane-virtual/liblangkit.so",
            "LIB/pelsane-virtual/libpeldriver.so",
            "LIB/pkgconfig/pelsane.pc",
            "LIB/sane/libsane-pelsane.so.1",
            "bin/pelsane-inspect",
            "etc/ld.so.conf.d/zz-pelsane-virtual.conf",
            "etc/sane.d/dll.d/pelsane",
            "include/sane/sane_ex.h",
            "include/sane/sane_pelsane.h",
            "share/doc/pelsane/examples/scan_with_access.c",
            "share/man/man1/pelsane-inspect.1",
            "share/man/man5/sane-pelsane.5",
            "share/man/man7/pelsane-virtual.7",
            "share/pelsane-virtual/catalogues/chinese.json",
            "share/pelsane-virtual/catalogues/english.json",
            "share/pelsane-virtual/profiles/duplex_feeder.json",
            "share/pelsane-virtual/profiles/flatbed_feeder.json",
            "share/pelsane-virtual/profiles/large_format.json",
            "share/pelsane-virtual/profiles/profile.schema.json",
            "share/pelsane-virtual/profiles/simplex_feeder.json",
            "share/pelsane-virtual/profiles/stress_profile.py",
        ]
        if cached("PELSANE_TOOLS") == "OFF":
            wanted = [name for name in wanted if "pelsane-inspect" not in name]
        self.assertEqual(sorted(found), wanted)

    def test_libraries_take_no_other_path_to_each_other_than_the_loaders(self):
        libraries = glob.glob(f"{self.root}/{self.prefix}/{self.libraries}/*/*.so*")
        self.assertEqual(len(libraries), 4)
        for library in libraries:
            dynamic = subprocess.run(["readelf", "-d", library], check=True, capture_output=True, text=True).stdout
            self.assertNotRegex(dynamic, r"\(R(UN)?PATH\)", library)
            self.assertIn(f"soname: [{os.path.basename(library)}]", dynamic)

    def test_loader_reads_the_system_folders_before_the_virtual_libraries(self):
        (conf,) = glob.glob(f"{self.root}/**/zz-pelsane-virtual*.conf", recursive=True)
        lines = [line for line in text_of(conf).splitlines() if not line.startswith("#")]
        self.assertEqual(lines, ["/lib", "/usr/lib", f"/{self.prefix}/{self.libraries}/pelsane-virtual"])


class Versions(unittest.TestCase):
    project = re.search(r"^project\(pelsane VERSION (\S+) ", text_of(SOURCE, "CMakeLists.txt"), re.M).group(1)

    def test_debian_changelog_says_the_projects(self):
        first = text_of(SOURCE, "debian/changelog").splitlines()[0]
        self.assertRegex(first, rf"^pelsane \({re.escape(self.project)}\) ")

    def test_changelog_says_the_projects_and_debians_day(self):
        signed = re.search(r"^ -- .*  (.*)$", text_of(SOURCE, "debian/changelog"), re.M).group(1)
        day = email.utils.parsedate_to_datetime(signed).date().isoformat()
        released = re.findall(r"^## \[(\d.*)\] - (\S+)$", text_of(SOURCE, "CHANGELOG.md"), re.M)
        self.assertEqual((self.project, day), released[0])

    def test_pkg_config_says_the_projects(self):
        answer = subprocess.run(["pkg-config", "--modversion", f"{BUILD}/installed/pelsane.pc"],
                                check=True, capture_output=True, text=True).stdout
        self.assertEqual(answer, self.project + "\n")

    def test_description_says_the_backends(self):
        self.assertIn('\n:version "1.0.24289"\n', text_of(SOURCE, "doc/pelsane.desc"))


class Licenses(unittest.TestCase):
    def test_sources_say_theirs(self):
        missing = []
        count = 0
        for name in files_below(SOURCE):
            if not self.is_source(name):
                continue
            count += 1
            if "SPDX-License-Identifier: MIT" not in "".join(text_of(SOURCE, name).splitlines(True)[:4]):
                missing.append(name)
        self.assertEqual(missing, [])
        self.assertGreater(count, 300)

    @staticmethod
    def is_source(name):
        if name.split("/")[0] in (".git", "build", "out"):
            return False
        if re.search(r"\.(c|cpp|h|py|sh|cmake|desc|[1578])$", name) or os.path.basename(name) == "CMakeLists.txt":
            return True
        with open(os.path.join(SOURCE, name), "rb") as file:
            return file.read(2) == b"#!"

    def test_debian_has_the_same_text(self):
        def words(text):
            return text.split()
        license_text = words(text_of(SOURCE, "LICENSE").split("\n\n", 2)[2])
        debian = words(re.sub(r"^ \.?", "", text_of(SOURCE, "debian/copyright").split("\nLicense: MIT\n")[-1], flags=re.M))
        self.assertEqual(license_text[0:3], ["Permission", "is", "hereby"])
        self.assertEqual(debian, license_text)


class Description(unittest.TestCase):
    """doc/pelsane.desc, which SANE's documentation is made from."""

    def test_each_line_is_a_known_entry(self):
        kinds = {
            ":backend": r'"pelsane"', ":version": r'"[\d.]+"', ":manpage": r'"sane-pelsane"', ":comment": r'"[^"]+"',
            ":devicetype": ":scanner", ":mfg": r'"[^"]+"', ":model": r'"[^"]+"', ":interface": r'"[^"]+"',
            ":status": ":(complete|good|basic|minimal|untested|unsupported)",
        }
        for line in text_of(SOURCE, "doc/pelsane.desc").splitlines():
            if not line or line.startswith(";"):
                continue
            kind, value = line.split(" ", 1)
            self.assertIn(kind, kinds, line)
            self.assertRegex(value, f"^{kinds[kind]}$", line)

    def test_models_are_those_of_the_profiles(self):
        profiles = [json.loads(text_of(name)) for name in glob.glob(f"{SOURCE}/virtual/profiles/*.json")
                    if not name.endswith(".schema.json")]
        models = sorted(profile["device"]["model"] for profile in profiles)
        described = text_of(SOURCE, "doc/pelsane.desc").split(':mfg "Pelsane"')[1]
        self.assertEqual(len(models), 4)
        self.assertEqual(sorted(re.findall(r':model "(.*)"', described)), models)


if __name__ == "__main__":
    unittest.main()
