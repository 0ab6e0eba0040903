# SPDX-License-Identifier: MIT
"""The recipe of doc/sharing.md: saned in one network namespace, clients in others, wires between them.

Files and commands are the document's. Where namespaces are refused, as in many containers, this is skipped and says why;
sharing over the loopback is tests/system/remote_test.cpp.
"""
import configparser
import os
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

import documents
import namespaces

DOCUMENT = "doc/sharing.md"
SERVER = "192.168.7.1"
DEVICE = "net:192.168.7.1:pelsane:virtual:duplex-feeder"
GRAY_PAGE = b"P5\n# SANE data follows\n620 877\n255\n"  # how its file begins
CONNECTED = ("01", "08")  # in both directions, or from here to the client alone
PATIENCE_S = 60


def wait_until(what, happened):
    limit = time.monotonic() + PATIENCE_S
    while not happened():
        if time.monotonic() > limit:
            raise TimeoutError(what)
        time.sleep(0.01)


def listens():
    with socket.socket() as connection:
        return connection.connect_ex((SERVER, 6566)) == 0


def page_connections():
    """How many connections stand on the ports that the document gives to pages."""
    lines = []
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        with open(table, encoding="ascii") as file:
            lines += file.readlines()[1:]
    places = [(int(local.rpartition(":")[2], 16), state) for _, local, _, state in (line.split()[:4] for line in lines)]
    return sum(10000 <= port <= 10100 and state in CONNECTED for port, state in places)


class Client:
    """A command on another machine."""

    def __init__(self, machine, command, folder, environment):
        self.folder = folder
        self.process = subprocess.Popen(
            command, cwd=folder, env=environment, preexec_fn=machine.enter, start_new_session=True,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def end(self):
        output, messages = self.process.communicate(timeout=PATIENCE_S)
        return self.process.returncode, output, messages

    def kill(self):
        self.process.kill()
        self.end()


class Sharing(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        try:
            namespaces.leave_the_network()
        except namespaces.Refused as refused:
            print("Skipped without networks of its own:", refused, flush=True)  # ctest looks for it: CMakeLists.txt
            raise unittest.SkipTest(str(refused)) from refused
        socket.sethostname(SERVER)  # saned serves nobody where it cannot resolve its own name, and this takes no resolver
        namespaces.run_ip("address", "add", SERVER + "/32", "dev", "lo")
        namespaces.run_ip("link", "set", "lo", "up")

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="pelsane-sharing-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.write("server/dll.conf", "pelsane\n")
        self.write("server/saned.conf", documents.texts(DOCUMENT, "saned.conf")[0])
        self.write("client/dll.conf", "net\n")
        self.write("client/net.conf", documents.texts(DOCUMENT, "net.conf")[0])
        os.makedirs(os.path.join(self.folder, "run"))
        self.machines = 0

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def environment(self, side, **more):
        return {"PATH": os.environ["PATH"], "LD_LIBRARY_PATH": os.environ["LD_LIBRARY_PATH"], "HOME": self.folder,
                "SANE_CONFIG_DIR": os.path.join(self.folder, side), "PELLANG": "en", **more}

    def machine(self, address="192.168.7.11"):
        self.machines += 1
        made = namespaces.Machine("wire%d" % self.machines, address, SERVER)
        self.addCleanup(made.remove)
        return made

    def serve(self, command=None, **more):
        command = command or shlex.split(documents.texts(DOCUMENT, "server")[0])
        server = subprocess.Popen(
            command, env=self.environment("server", **more), start_new_session=True,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(os.killpg, server.pid, signal.SIGKILL)
        wait_until("nobody listens", listens)
        return server

    def serve_scans_that_wait(self):
        """Each first page waits after its first lines until its server process is told to go on."""
        self.write("log", "")
        self.serve(PELVIRTUAL_FAULTS="stall 1000 s after 100 lines", PELVIRTUAL_CONTROL="runtime",
                   XDG_RUNTIME_DIR=os.path.join(self.folder, "run"),
                   PELLOG_LEVEL="info", PELLOG_FILE=os.path.join(self.folder, "log"))

    def starts(self):
        with open(os.path.join(self.folder, "log"), encoding="utf-8") as file:
            return file.read().count("[ sane_start... ]")

    def scans_that_wait(self, *machines_and_modes):
        """Clients in mid-scan: their pages were started, are being fetched, and cannot end by themselves."""
        count = len(machines_and_modes)
        wanted = (self.starts() + count, page_connections() + count)
        clients = [self.scan(machine, mode) for machine, mode in machines_and_modes]
        wait_until("not every client began", lambda: (self.starts(), page_connections()) == wanted)
        return clients

    def scanning_processes(self):
        folder = os.path.join(self.folder, "run", "pelvirtual")
        return [os.path.join(folder, name) for name in os.listdir(folder)] if os.path.isdir(folder) else []

    def let_go_on(self):
        for path in self.scanning_processes():
            with socket.socket(socket.AF_UNIX) as control:
                control.connect(path)
                control.sendall(b"clear\n")
                self.assertEqual(b"ok\n", control.recv(100))

    def client(self, machine, command):
        folder = tempfile.mkdtemp(prefix="client-", dir=self.folder)
        begun = Client(machine, command, folder, self.environment("client"))
        self.addCleanup(begun.process.wait)
        self.addCleanup(begun.process.kill)
        self.addCleanup(begun.process.stdout.close)
        self.addCleanup(begun.process.stderr.close)
        return begun

    def scan(self, machine, mode):
        return self.client(machine, ["scanimage", "-d", DEVICE, "--resolution", "75", "--mode", mode, "--format=pnm",
                                     "--batch=page-%d.pnm", "--batch-count=2"])

    def check_pages(self, client, header):
        status, _, messages = client.end()
        self.assertEqual(0, status, messages)
        for number in (1, 2):
            with open(os.path.join(client.folder, "page-%d.pnm" % number), "rb") as file:
                self.assertEqual(header, file.read(len(header)))

    def local_pages(self, mode):
        folder = tempfile.mkdtemp(prefix="local-", dir=self.folder)
        subprocess.run(["scanimage", "-d", "pelsane", "--resolution", "75", "--mode", mode, "--format=pnm",
                        "--batch=page-%d.pnm", "--batch-count=2"], cwd=folder, env=self.environment("server"),
                       stderr=subprocess.DEVNULL, check=True)
        return self.pages_in(folder)

    def pages_in(self, folder):
        pages = []
        for name in sorted(os.listdir(folder)):
            with open(os.path.join(folder, name), "rb") as file:
                pages.append(file.read())
        return pages

    def test_recipe_lists_and_scans(self):
        self.serve()
        listing, scan = [shlex.split(text) for text in documents.texts(DOCUMENT, "client")]
        machine = self.machine()
        status, output, messages = self.client(machine, listing).end()
        self.assertEqual((0, documents.texts(DOCUMENT, "answer")[0]), (status, output.rstrip("\n") + "\n"), messages)
        client = self.client(machine, scan)
        self.assertEqual(0, client.end()[0])
        self.assertEqual(["page-%d.png" % number for number in range(1, 7)], sorted(os.listdir(client.folder)))

    def test_debians_socket_unit_serves(self):
        """What systemd does for the unit of Debian's package, without systemd as the first process."""
        unit, service = [configparser.ConfigParser(strict=False, interpolation=None) for _ in range(2)]
        for parser, name in ((unit, "saned.socket"), (service, "saned@.service")):
            self.assertTrue(parser.read("/lib/systemd/system/" + name), name + " is not there")
        self.assertEqual(("6566", "yes"), (unit["Socket"]["ListenStream"], unit["Socket"]["Accept"]))
        self.assertEqual("null", service["Service"]["StandardInput"])
        command = ["systemd-socket-activate", "--accept", "--listen", SERVER + ":" + unit["Socket"]["ListenStream"]]
        command += ["--setenv=" + name for name in ("SANE_CONFIG_DIR", "LD_LIBRARY_PATH", "PELLANG")]
        self.serve(command + shlex.split(service["Service"]["ExecStart"]))
        client = self.scan(self.machine(), "Gray")
        self.check_pages(client, GRAY_PAGE)
        self.assertEqual(self.local_pages("Gray"), self.pages_in(client.folder))

    def test_clients_scan_at_once(self):
        self.serve_scans_that_wait()
        first, second = self.machine("192.168.7.11"), self.machine("192.168.7.12")
        modes = ("Color", "Gray", "Lineart")
        clients = self.scans_that_wait(*zip((first, second, first), modes))
        self.assertEqual(3, len(self.scanning_processes()))
        self.let_go_on()
        for client, mode, header in zip(clients, modes, (b"P6", b"P5", b"P4")):
            self.check_pages(client, header)
            self.assertEqual(self.local_pages(mode), self.pages_in(client.folder))

    def test_client_that_goes_in_mid_scan_frees_the_scanner(self):
        self.serve_scans_that_wait()
        machine = self.machine()
        [client] = self.scans_that_wait((machine, "Gray"))
        client.kill()
        self.let_go_on()
        wait_until("the process of the client that went is still there", lambda: not self.scanning_processes())
        [other] = self.scans_that_wait((machine, "Gray"))
        self.let_go_on()
        self.check_pages(other, GRAY_PAGE)

    def test_others_are_served_when_a_wire_is_cut(self):
        self.serve_scans_that_wait()
        lost, other = self.machine("192.168.7.11"), self.machine("192.168.7.12")
        [client] = self.scans_that_wait((lost, "Color"))
        lost.cut_the_wire()
        self.let_go_on()
        [served] = self.scans_that_wait((other, "Gray"))
        self.let_go_on()
        self.check_pages(served, GRAY_PAGE)
        self.assertIsNone(client.process.poll())
        client.kill()

    def test_strangers_see_no_scanner(self):
        self.serve()
        stranger = self.machine("192.168.8.11")
        status, output, messages = self.client(stranger, ["scanimage", "-f", "%d%n"]).end()
        self.assertEqual((0, ""), (status, output), messages)
        status, output, messages = self.client(self.machine(), ["scanimage", "-f", "%d%n"]).end()
        self.assertEqual((0, DEVICE + "\n"), (status, output), messages)


if __name__ == "__main__":
    sys.exit(unittest.main())
