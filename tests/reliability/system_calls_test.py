#!/usr/bin/env python3
"""What a save does where system calls fail, and what other programs do between two of its calls.

usage: system_calls_test.py LIBTARVIK (with a hook in its system calls)
"""
import contextlib
import ctypes
import errno
import os
import stat
import sys
import tempfile

from documents import FAILURE, SUCCESS, Document, check, read, tarvik, temporary_files, write

MAKE_CALL = -sys.maxsize - 1
Hook = ctypes.CFUNCTYPE(ctypes.c_ssize_t, ctypes.c_char_p, ctypes.POINTER(ctypes.c_ssize_t))


@contextlib.contextmanager
def hooked(answer):
    """answer(calls, arguments) decides what the last of these calls does: its result or a negative error number, or None to make it."""
    calls, failures = [], []

    def call(name, arguments):
        calls.append(name.decode())
        try:
            result = answer(calls, arguments)
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


def saved(folder, text="<R/>"):
    """A document whose file is as the document last wrote it."""
    name = folder + "/a.xml"
    write(name, text)
    document = Document(name)
    document.set("0", "a new file", item="O")
    return name, document


def lasting_failures(folder):
    """A call that fails each time: the result, and how often which calls are made."""
    for call, reason, code, counts in (
            ("fcntl", errno.ENOLCK, SUCCESS, {"getentropy": 1}),  # without locks, no other saver must remove the temporary file
            ("fcntl", errno.EIO, FAILURE, {"fcntl": 1, "getentropy": 0})):
        name, document = saved(folder)
        case = f"{call}: {os.strerror(reason)}"
        with hooked(lambda calls, _, call=call, reason=reason: -reason if calls[-1] == call else None) as calls:
            document.set(1, case, code)
        check(("<A>" in read(name)) == (code == SUCCESS), f"{case}: {read(name)}")
        made = {counted: calls.count(counted) for counted in counts}
        check(made == counts, f"{case}: {made}")
    print("locks taken where there are any")


def young_file(folder):
    """A file that was young when it was read may have been changed since without a sign."""
    name = folder + "/a.xml"
    write(name, "<R/>")
    document = Document(name)
    for is_read_again in (True, False):  # the first save settles it
        with hooked(lambda *_: None) as calls:
            document.set(1, "a young file")
        check(("read" in calls) == is_read_again, f"read again: {not is_read_again}")
    print("a young file read again, once")


def nothing(_):
    pass


def edit(name):
    write(name, "<R><B/></R>")


def replace(name):
    os.rename(name, name + ".old")
    edit(name)
    os.unlink(name + ".old")


def link_to_itself(name):
    os.unlink(name)
    os.symlink(name, name)


def hide(name):
    os.chmod(name, 0o600)


def temporary(name):
    """The temporary file that is there, or else the name that it will have."""
    folder, file = os.path.split(name)
    return f"{folder}/{(temporary_files(folder) or ['.tarvik-' + file])[0]}"


def leave_temporary(name):
    write(temporary(name), "left")


def replace_temporary(name):
    write(name + ".theirs", "theirs")
    os.rename(name + ".theirs", temporary(name))


# The last calls of a save, whose order matters after a loss of power. Nothing stands between the last look at the old file and the
# rename.
REPLACES = "linkat fsync statx statx renameat2 statx fcntl fsync fcntl"
CREATES = "linkat fsync statx renameat2 statx fcntl fsync"
# What happens before the save; after which calls of it what happens; its last calls, and how many temporary files stay.
MEETINGS = (
    (nothing, "fsync", nothing, REPLACES, 0),
    (os.unlink, "fsync", nothing, CREATES, 0),
    (nothing, "fsync", edit, REPLACES, 0),
    (os.unlink, "fsync", edit, REPLACES, 0),
    (nothing, "fsync", hide, REPLACES, 0),
    (nothing, "openat statx fcntl", replace, REPLACES, 0),
    (nothing, "fsync", replace_temporary, REPLACES, 0),
    (os.unlink, "fsync", replace_temporary, CREATES, 1),
    (leave_temporary, "openat fcntl", replace_temporary, REPLACES, 1),
    (nothing, "openat statx fcntl", link_to_itself, "", 0),
)


def meetings(folder):
    for before, after_calls, meanwhile, last_calls, temporary_count in MEETINGS:
        case = f"{before.__name__}, {meanwhile.__name__} after {after_calls}"
        name, document = saved(folder)
        os.chmod(name, 0o644)
        before(name)
        is_met = []

        def meet(calls, arguments, name=name, after_calls=after_calls, meanwhile=meanwhile, is_met=is_met, case=case):
            if calls[-1] == "openat" and arguments[2] & (os.O_CREAT | os.O_TMPFILE & ~os.O_DIRECTORY):
                check(arguments[3] & 0o077 == 0, f"{case}: others could read what is not complete")
            if not is_met and " ".join(calls).endswith(after_calls):
                is_met.append(True)
                meanwhile(name)

        with hooked(meet) as calls:
            document.set(1, case, SUCCESS if last_calls else FAILURE)
        check(is_met, f"{case}: never after these calls")
        check(" ".join(calls).endswith(last_calls), f"{case}: {calls}")
        theirs = "<B/>" if meanwhile in (edit, replace) else "<O>0</O>"
        check(not last_calls or read(name) == f"<R>{theirs}<A>1</A></R>", f"{case}: another text")
        mode = stat.S_IMODE(os.lstat(name).st_mode)
        check(meanwhile is not hide or mode == 0o600, f"{case}: mode {mode:o}")
        check(len(temporary_files(folder)) == temporary_count, f"{case}: {os.listdir(folder)}")
        for file in os.listdir(folder):
            os.unlink(f"{folder}/{file}")
    print(f"{len(MEETINGS)} meetings between two calls: nobody's change lost, nobody's file removed")


for test in (lasting_failures, young_file, meetings):
    with tempfile.TemporaryDirectory() as scratch:
        test(scratch)
