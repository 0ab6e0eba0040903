# SPDX-License-Identifier: MIT
"""What can be mutated, which test programs are to notice, and how much they may miss."""
import dataclasses
import fnmatch


@dataclasses.dataclass(frozen=True)
class Program:
    file: str
    libraries: tuple = ()
    arguments: tuple = ()
    left_out: tuple = ()  # tests


@dataclasses.dataclass(frozen=True)
class Area:
    patterns: tuple
    libraries: dict
    programs: dict
    allowed_percent: int

    @property
    def files(self):
        """What is linked, by target."""
        return {**self.libraries, **{name: program.file for name, program in self.programs.items()}}

    def has(self, file):
        return any(fnmatch.fnmatch(file, pattern) for pattern in self.patterns)


def replay(name):
    return Program(f"bin/fuzz_{name}", arguments=("{tree}/fuzz/corpus/" + name,))


BACKEND = ("sane-pelsane",)
DRIVER = ("peldriver",)
AREAS = {
    "sane": Area(
        patterns=("sane/*.cpp", "json/*.cpp"),
        libraries={"sane-pelsane": "lib/libsane-pelsane.so.1"},
        programs={
            "api_tests": Program("bin/api_tests", BACKEND),
            "unit_tests": Program("bin/unit_tests"),
            "load_tests": Program("bin/load_tests", BACKEND),
            "json_tests": Program("bin/json_tests"),
            "regression_tests": Program("bin/regression_tests", BACKEND),
            "injection_tests": Program("bin/injection_tests", BACKEND),
            "c_api_tests": Program("bin/c_api_tests", BACKEND),
            **{f"fuzz_{name}": replay(name)
               for name in ("option_text", "condition", "json_document", "paper_match", "call_sequence")},
            "ending_tests": Program("bin/ending_tests", BACKEND),
            "unload_tests": Program("bin/unload_tests", BACKEND),
            "reentrancy_tests": Program("bin/reentrancy_tests", BACKEND),
        },
        allowed_percent=2),
    # What a session with a scanner goes through: its profile, its options, values and pages. What comes from outside
    # meanwhile (devices, commands, the control socket) is left out: most mistakes there are waited for.
    "driver": Area(
        patterns=tuple(f"virtual/driver/{name}.cpp" for name in (
            "option*", "value_input", "dependency", "information", "delivery", "garbled_text", "words", "profile*",
            "session*", "feeder", "page*", "sheet*", "worn_page", "point_filters", "binarization", "image_file",
            "raw_pnm", "pix", "builtin_document")),
        libraries={"peldriver": "lib/libpeldriver.so"},
        programs={
            "driver_test": Program("bin/driver_test", DRIVER),
            "driver_fault_test": Program("bin/driver_fault_test", DRIVER),
            # No other user comes to the folder where the tests are.
            "driver_service_test": Program("bin/driver_service_test", DRIVER,
                                           left_out=("control_socket.answers_no_other_user",)),
            "driver_memory_test": Program("bin/driver_memory_test", DRIVER),
            "wear_numbers_test": Program("bin/wear_numbers_test"),
            "fuzz_driver_profile": replay("driver_profile"),
        },
        allowed_percent=10),
}
