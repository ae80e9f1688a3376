"""Documents, and the files that they are in, for the tests of what programs do at one file.

The first argument of the program is the library to test.
"""
import contextlib
import ctypes
import fcntl
import os
import struct
import sys

tarvik = ctypes.CDLL(sys.argv[1])
SUCCESS, NO_MEMORY, NO_FILE, FAILURE, UNREADABLE, TOO_LONG, OPEN_AT_ONCE = 0, 1, 5, 34, 42, 43, 0x80000000
OFD_SETLK, OFD_SETLKW = 37, 38


class Document:
    """An open document."""

    def __init__(self, name):
        self.list = ctypes.c_void_p()
        tarvik.InitXMLList(ctypes.byref(self.list))
        code, self.cookie = self.open(name)
        check(code == SUCCESS, f"opening {name} gave {code}")

    def open(self, name):
        cookie = ctypes.c_uint32()
        return tarvik.OpenXML(self.list, os.fsencode(name), OPEN_AT_ONCE, 0, ctypes.byref(cookie)), cookie

    def try_to_set(self, value, item="A"):
        return tarvik.SetXMLItem(self.list, self.cookie, b"", item.encode(), b"ELEMENT", str(value).encode())

    def set(self, value, what, expected=SUCCESS, item="A"):
        """Sets an item of the root, which must give the code."""
        code = self.try_to_set(value, item)
        check(code == expected, f"{what}: {code}")

    def close(self):
        tarvik.EndXMLList(ctypes.byref(self.list))


def check(holds, message):
    if not holds:
        sys.exit(f"failed: {message}")


def read(name):
    with open(name, encoding="utf-8") as file:
        return file.read()


def write(name, text):
    with open(name, "w", encoding="utf-8") as file:
        file.write(text)


def in_process(work):
    """Runs the work in a process of its own, which must not fail."""
    process = os.fork()
    if process == 0:
        try:
            work()
        except BaseException as error:  # a process must not run on into its parent's work
            print(error, file=sys.stderr)
            os._exit(1)
        os._exit(0)
    return process


def wait(*processes):
    for process in processes:
        check(os.waitpid(process, 0)[1] == 0, "a process failed")


@contextlib.contextmanager
def locked(name, command=OFD_SETLK):
    with open(name, "r+", encoding="utf-8") as file:
        fcntl.fcntl(file, command, struct.pack("hhqqi", fcntl.F_WRLCK, os.SEEK_SET, 0, 0, 0))
        yield file


def temporary_files(folder):
    return [file for file in os.listdir(folder) if file.startswith(".tarvik")]
