#!/usr/bin/env python3
"""What a save does if any of its system calls fails, and what other programs do between two of its calls.

usage: system_calls_test.py LIBTARVIK (with a hook in its system calls)
"""
import contextlib
import ctypes
import fcntl
import itertools
import os
import stat
import tempfile
from errno import (EACCES, EAGAIN, EEXIST, EINTR, EINVAL, EIO, ENODATA, ENOENT, ENOLCK, ENOMEM, ENOSPC, ENOSYS, EOPNOTSUPP, errorcode)

from documents import FAILURE, NO_FILE, NO_MEMORY, SUCCESS, UNREADABLE, Document, check, locked, read, temporary_files, write
from hooks import hooked

system = ctypes.CDLL(None)


def saved(folder, text="<R/>"):
    """A document whose file is as the document last wrote it."""
    name = folder + "/a.xml"
    write(name, text)
    os.chmod(name, 0o644)
    document = Document(name)
    document.set("0", "a new file", item="O")
    return name, document


def nothing(_):
    pass


def edit(name):
    write(name, "<R><B/></R>")


def date_far_ahead(name):
    """Later than 2262, which a count of nanoseconds does not reach."""
    os.utime(name, (10_500_000_000, 10_500_000_000))


def move_behind_link(name):
    """Makes it a link to another owner's file with attributes."""
    os.rename(name, name + ".target")
    os.symlink(name + ".target", name)
    with contextlib.suppress(OSError):  # not every file system has them
        os.setxattr(name + ".target", "user.of-mine", b"v")
    with contextlib.suppress(PermissionError):  # only root may
        os.chown(name + ".target", 1234, 4321)


def set_long(document, _):
    return document.try_to_set("v" * 80)


def set_while_locked(document, name):
    """While the host program has locked the file for its process."""
    with locked(name, fcntl.F_SETLK):
        return document.try_to_set("v" * 80)


def open_again(document, name):
    return document.open(os.path.dirname(name) + "/./a.xml")[0]


LINKS = ("link", "link by path", "link name")
# What is done, what happens before, and calls that the system lacks.
WORKS = (
    (open_again, nothing, ()),
    (set_long, nothing, ()),
    (set_while_locked, nothing, ()),
    (set_long, move_behind_link, ()),
    (set_long, edit, ()),
    (set_long, date_far_ahead, ()),
    (set_long, os.unlink, ()),
    (set_long, os.unlink, LINKS),
    (set_long, os.unlink, ("rename",)),
    (set_long, edit, LINKS),
)
ERRORS = {EINTR, EIO, EACCES, ENOENT, ENOSPC, EOPNOTSUPP, EEXIST, EAGAIN, ENOMEM, ENOSYS, EINVAL, ENOLCK, ENODATA}
UNSUPPORTED = {ENODATA, EOPNOTSUPP, ENOSYS}
# The failures without consequence: the work is done some other way, or what failed is not needed for it.
HARMLESS = {
    "create": ERRORS, "open leftover": ERRORS, "link": ERRORS, "link by path": ERRORS, "look at name": ERRORS, "futimens": ERRORS,
    "lock temporary": ERRORS, "who locks": ERRORS, "flock": ERRORS, "unlinkat": ERRORS, "unlock": ERRORS,
    "lock": {EAGAIN, EACCES, ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL}, "open folder": {EACCES}, "flush folder": {EINVAL},
    "flistxattr": UNSUPPORTED, "fgetxattr": UNSUPPORTED, "fremovexattr": UNSUPPORTED, "link name": {EEXIST},
}
# Those that are not always made for the same purpose.
UNCERTAIN = {"getentropy", "create by name", "rename", "look at temporary"}
# What is done instead.
INSTEAD = {"create": "create by name", "open folder": "open folder", "link": "link by path", "rename": "link name"}


def state(folder):
    """The names and content of all files."""
    return {name: read(f"{folder}/{name}") for name in sorted(os.listdir(folder))}


def promised(is_opening, call, reason):
    """The codes that may be given."""
    if reason == EINTR or reason in HARMLESS.get(call, ()):
        return {SUCCESS}
    failure = UNREADABLE if is_opening else FAILURE
    if reason == ENOMEM and call not in ("getentropy", "rename"):
        failure = NO_MEMORY
    if reason == ENOENT and call in ("open", "look") and is_opening:
        failure = NO_FILE
    is_uncertain = call in UNCERTAIN or (call == "open" and (reason == EAGAIN or (reason == ENOENT and not is_opening)))  # it is looked for again
    return {failure, SUCCESS} if is_uncertain else {failure}


def failures_of(work, before, missing, reason, folder):
    """Makes each call fail in turn; yields those that did."""
    right = None
    for number in itertools.count():  # nothing fails at first
        name, document = saved(folder, f"<R>{' ' * 100}</R>")
        before(name)
        old, open_files, failed = state(folder), os.listdir("/proc/self/fd"), []

        def answer(calls, arguments, number=number, failed=failed):
            if len(calls) == number:
                failed.append(calls[-1])
                return -reason
            if calls[-1] in missing:
                return -reason if reason in UNSUPPORTED else -EINVAL
            if calls[-1] in ("read", "write"):  # no more than a part at once
                return system[calls[-1]](arguments[0], ctypes.c_void_p(arguments[1]), min(arguments[2], 60))
            return None

        with hooked(answer) as calls:
            code = work(document, name)
        now = state(folder)
        right = right or now
        call = failed[0] if failed else ""
        case = f"{work.__name__} after {before.__name__} without {missing}, {call} fails by {errorcode[reason]}"
        wanted = promised(work is open_again, call, reason) if failed else {SUCCESS}
        check(code in wanted, f"{case}: {code}")
        check(now == (right if code == SUCCESS or call == "flush folder" else old), f"{case}: {now}")
        check(os.listdir("/proc/self/fd") == open_files, f"{case}: a file stayed open")
        is_replaced = code == SUCCESS and reason != EINTR and call in INSTEAD
        check(not is_replaced or calls[number] == INSTEAD[call], f"{case}: {calls[number:]} instead")
        check(work(document, name) == SUCCESS, f"{case}: fails again")
        check(state(folder) == right, f"{case}: {state(folder)} after that")
        document.close()
        for file in os.listdir(folder):
            os.unlink(f"{folder}/{file}")
        if number and not failed:
            return
        yield from failed


def failing_calls(folder):
    failed = [call for reason in sorted(ERRORS) for work in WORKS for call in failures_of(*work, reason, folder)]
    others = {"open", "look", "readlinkat", "read", "write", "fsetxattr", "fchown", "fchmod", "flush", "replace"}
    check(set(failed) == {*HARMLESS, *UNCERTAIN, *others}, f"other calls: {sorted(set(failed))}")
    print(f"{len(failed)} failures of {len(set(failed))} system calls")


def lasting_failures(folder):
    """A call that fails each time: the result, and how often which calls are made."""
    for call, reason, code, counts in (
            ("lock", ENOLCK, SUCCESS, {"getentropy": 1}),  # without locks, no other saver must remove the temporary file
            ("lock", EIO, FAILURE, {"lock": 1, "getentropy": 0})):
        name, document = saved(folder)
        case = f"{call} fails by {errorcode[reason]}"
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
REPLACES = "link, flush, look at name, look at name, replace, look at temporary, unlock, flush folder, unlock"
CREATES = "link, flush, look at name, rename, look at temporary, unlock, flush folder"
# What happens before the save; after which calls of it what happens; its last calls, and how many temporary files stay.
MEETINGS = (
    (nothing, "flush", nothing, REPLACES, 0),
    (os.unlink, "flush", nothing, CREATES, 0),
    (nothing, "flush", edit, REPLACES, 0),
    (os.unlink, "flush", edit, REPLACES, 0),
    (nothing, "flush", hide, REPLACES, 0),
    (nothing, "open, look, lock", replace, REPLACES, 0),
    (nothing, "flush", replace_temporary, REPLACES, 0),
    (os.unlink, "flush", replace_temporary, CREATES, 1),
    (leave_temporary, "open leftover, lock temporary", replace_temporary, REPLACES, 1),
    (nothing, "open, look, lock", link_to_itself, "", 0),
)


def meetings(folder):
    for before, after_calls, meanwhile, last_calls, temporary_count in MEETINGS:
        case = f"{before.__name__}, {meanwhile.__name__} after {after_calls}"
        name, document = saved(folder)
        before(name)
        is_met = []

        def meet(calls, _, name=name, after_calls=after_calls, meanwhile=meanwhile, is_met=is_met):
            if not is_met and ", ".join(calls).endswith(after_calls):
                is_met.append(True)
                meanwhile(name)

        with hooked(meet) as calls:
            document.set(1, case, SUCCESS if last_calls else FAILURE)
        check(is_met, f"{case}: never after these calls: {calls}")
        check(", ".join(calls).endswith(last_calls), f"{case}: {calls}")
        theirs = "<B/>" if meanwhile in (edit, replace) else "<O>0</O>"
        check(not last_calls or read(name) == f"<R>{theirs}<A>1</A></R>", f"{case}: another text")
        mode = stat.S_IMODE(os.lstat(name).st_mode)
        check(mode == 0o600 or meanwhile is not hide, f"{case}: mode {mode:o}")
        check(len(temporary_files(folder)) == temporary_count, f"{case}: {os.listdir(folder)}")
        for file in os.listdir(folder):
            os.unlink(f"{folder}/{file}")
    print(f"{len(MEETINGS)} meetings between two calls: nobody's change lost, nobody's file removed")


for test in (failing_calls, lasting_failures, young_file, meetings):
    # In memory if possible, since a disk would flush them thousands of times.
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as scratch:
        test(scratch)
