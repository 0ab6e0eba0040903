# SPDX-License-Identifier: MIT
"""Networks of the test's own: this process leaves the machine's network, and machines are made that it is wired to.

It becomes root of a user namespace first, as even root may lack rights over networks. Everything is gone when the
process ends.
"""
import ctypes
import os
import subprocess

NEW_NAME = 0x04000000  # a UTS namespace
NEW_USER = 0x10000000
NEW_NETWORK = 0x40000000

libc = ctypes.CDLL(None, use_errno=True)


class Refused(Exception):
    """This machine, or the container that it is, gives no networks of one's own."""


def check(result, what):
    if result != 0:
        number = ctypes.get_errno()
        raise OSError(number, "%s: %s" % (what, os.strerror(number)))


def write(path, text):
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


def become_root_of_a_user_namespace():
    user, group = os.getuid(), os.getgid()
    check(libc.unshare(NEW_USER), "this machine gives its users no namespaces")
    write("/proc/self/setgroups", "deny")
    write("/proc/self/uid_map", "0 %d 1" % user)
    write("/proc/self/gid_map", "0 %d 1" % group)


def leave_the_network():
    """From here on this process has a network of its own, with nothing in it, and a host name of its own.

    Raises Refused where that is refused.
    """
    reason = "this machine makes no network namespaces"
    try:
        become_root_of_a_user_namespace()
    except OSError as error:
        reason = error.strerror  # which does not matter to a root who may do everything
    if libc.unshare(NEW_NETWORK | NEW_NAME) != 0:
        raise Refused(reason)


def run_ip(*arguments, **options):
    subprocess.run(["ip", *arguments], check=True, **options)


class Machine:
    """Another machine: a network namespace, and a wire from it to this process's."""

    def __init__(self, name, address, server):
        self.near = name
        here = os.open("/proc/self/ns/net", os.O_RDONLY)
        check(libc.unshare(NEW_NETWORK), "no network namespace")
        self.network = os.open("/proc/self/ns/net", os.O_RDONLY)
        check(libc.setns(here, NEW_NETWORK), "no way back")
        os.close(here)
        run_ip("link", "add", "name", "wire", "type", "veth", "peer", "name", name, "netns", str(os.getpid()),
               preexec_fn=self.enter)
        run_ip("address", "add", address, "dev", "wire", preexec_fn=self.enter)
        run_ip("link", "set", "wire", "up", preexec_fn=self.enter)
        run_ip("link", "set", name, "up")
        run_ip("route", "add", server, "dev", "wire", preexec_fn=self.enter)
        run_ip("route", "add", address, "dev", name, "src", server)

    def enter(self):
        """For a child of this process, before its program begins: it is on this machine."""
        check(libc.setns(self.network, NEW_NETWORK), "the machine cannot be entered")

    def cut_the_wire(self):
        run_ip("link", "set", self.near, "down")

    def remove(self):
        subprocess.run(["ip", "link", "delete", self.near], check=False)
        os.close(self.network)
