# SPDX-License-Identifier: MIT
"""SANE's configuration for a test of its own, made before SANE's library reads the environment."""
import atexit
import os
import shutil
import tempfile

PROFILES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "virtual", "profiles")


def use_private_sane():
    """SANE finds this build's backend alone; answers a folder that is removed at the end."""
    folder = tempfile.mkdtemp(prefix="pelsane-python-")
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    os.makedirs(os.path.join(folder, "dll.d"))
    for name, text in (("dll.conf", ""), ("dll.d/pelsane", "pelsane\n")):
        with open(os.path.join(folder, name), "w", encoding="ascii") as file:
            file.write(text)
    os.environ["SANE_CONFIG_DIR"] = folder
    os.environ["PELLANG"] = "en"
    return folder
