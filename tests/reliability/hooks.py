"""A hook in the library's system calls, which decides what each of them does."""
import contextlib
import ctypes
import fcntl
import os
import stat
import sys

from documents import OFD_SETLK, check, tarvik

MAKE_CALL = -sys.maxsize - 1
Hook = ctypes.CFUNCTYPE(ctypes.c_ssize_t, ctypes.c_char_p, ctypes.POINTER(ctypes.c_ssize_t))


def is_temporary(file):
    """Whether it is a file that is written, or was to be, or what another save left of one."""
    is_written = file < 0 or fcntl.fcntl(file, fcntl.F_GETFL) & os.O_ACCMODE == os.O_WRONLY
    return is_written or os.path.basename(os.readlink(f"/proc/self/fd/{file}")).startswith(".tarvik-")


def described(name, arguments, previous):
    """A call by what it is made for, or by its name if that says it."""
    first, second, third, _, fifth = [ctypes.c_int(word).value for word in arguments[:5]]
    if name == "openat":
        purposes = {os.O_TMPFILE: "create", os.O_CREAT: "create by name", os.O_DIRECTORY: "open folder", os.O_NOFOLLOW: "open leftover",
                    0: "open"}
        return next(purpose for flag, purpose in purposes.items() if third & flag == flag)
    if name == "fcntl":
        if ctypes.c_short.from_address(arguments[2]).value == fcntl.F_UNLCK:
            return "unlock"
        return ("lock" if second == OFD_SETLK else "who locks") + (" temporary" if is_temporary(first) else "")
    if name == "statx":
        if ctypes.string_at(arguments[1]):
            return "look at name"
        purposes = {"create": "look at new file", "create by name": "look at new file", "fchown": "look at new owner"}
        return purposes.get(previous, "look at temporary") if is_temporary(first) else "look"
    if name == "linkat":
        return {0x1000: "link", 0x400: "link by path", 0: "link name"}[fifth]
    if name == "renameat2":
        return "rename" if fifth else "replace"
    if name == "fsync":
        return "flush folder" if stat.S_ISDIR(os.fstat(first).st_mode) else "flush"
    return name


@contextlib.contextmanager
def hooked(answer):
    """answer(calls, arguments) decides what the last of these calls does: its result or a negative error number, or None to make it."""
    calls, failures = [], []

    def call(name, arguments):
        try:
            calls.append(described(name.decode(), arguments, calls[-1] if calls else ""))
            if name == b"openat":
                check(arguments[2] & os.O_CLOEXEC, "other programs that this one starts could use the file")
            result = answer(calls, arguments)
            if calls[-1].startswith("create"):
                check(arguments[3] & 0o077 == 0, "others could read what is not complete")
        except BaseException as failure:  # which ctypes would only print
            failures.append(failure)
            result = None
        return MAKE_CALL if result is None else result

    hook = ctypes.c_void_p.in_dll(tarvik, "systemCallHook")
    function = Hook(call)
    hook.value = ctypes.cast(function, ctypes.c_void_p).value
    yield calls
    hook.value = None
    check(not failures, failures)
