#!/usr/bin/env python3
"""What a save does if any of its system calls fails, and what other programs do between two of its calls.

usage: system_calls_test.py LIBTARVIK (with a hook in its system calls)
"""
import contextlib
import ctypes
import fcntl
import itertools
import os
import signal
import stat
import tempfile
import time
from errno import (EACCES, EAGAIN, EEXIST, EINTR, EINVAL, EIO, ENODATA, ENOENT, ENOLCK, ENOMEM, ENOSPC, ENOSYS, EOPNOTSUPP, errorcode)

from documents import FAILURE, NO_FILE, NO_MEMORY, SUCCESS, TOO_LONG, UNREADABLE, Document, check, in_process, locked, read, temporary_files, wait, write
from hooks import hooked

system = ctypes.CDLL(None, use_errno=True)


def saved(folder, text="<R/>"):
    """A document whose file is as the document last wrote it."""
    name = folder + "/a.xml"
    write(name, text)
    os.chmod(name, 0o644)
    document = Document(name)
    document.set("0", "a new file", item="O")
    check(abs(os.stat(name).st_mtime - time.time()) < 60, "changed at another time than now")
    return name, document


def make(_calls, _arguments):
    """Lets the system do what it does."""


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


def set_moved(document, name):
    move_behind_link(name)
    os.chmod(name, 0o666)  # the owner would lose nothing with another one's file
    return document.try_to_set("v" * 80)


def set_private(document, name):
    os.chmod(name, 0o600)  # as the new file is created
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
    "lock temporary": ERRORS, "look at temporary": ERRORS, "who locks": ERRORS, "flock": ERRORS, "unlinkat": ERRORS, "unlock": ERRORS,
    "lock": {EAGAIN, EACCES, ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL}, "open folder": {EACCES}, "flush folder": {EINVAL},
    "flistxattr": UNSUPPORTED, "fgetxattr": UNSUPPORTED, "fremovexattr": UNSUPPORTED, "link name": {EEXIST},
}
# Those that are not always made for the same purpose.
UNCERTAIN = {"getentropy", "create by name", "rename"}
# What is done instead.
INSTEAD = {"create": "create by name", "open folder": "open folder", "link": "link by path", "rename": "link name",
           ("flock", EAGAIN): "open"}  # another thread holds it


def state(folder):
    """The names and content of all files."""
    return {name: read(f"{folder}/{name}") for name in sorted(os.listdir(folder))}


def promised(is_opening, is_there, call, reason):
    """The codes that may be given. Only for a lease on a file that is there is worth waiting."""
    if reason == EINTR or reason in HARMLESS.get(call, ()) or (call == "open" and reason == EAGAIN and is_there):
        return {SUCCESS}
    failure = UNREADABLE if is_opening else FAILURE
    if reason == ENOMEM and call not in ("getentropy", "rename"):
        failure = NO_MEMORY
    if reason == ENOENT and call in ("open", "look") and is_opening:
        failure = NO_FILE
    is_looked_for_again = call == "open" and reason == ENOENT and not is_opening
    return {SUCCESS} if is_looked_for_again else {failure, SUCCESS} if call in UNCERTAIN else {failure}


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
        wanted = promised(work is open_again, before is not os.unlink, call, reason) if failed else {SUCCESS}
        check(code in wanted, f"{case}: {code}")
        check(now == (right if code == SUCCESS or call == "flush folder" else old), f"{case}: {now}")
        check(os.listdir("/proc/self/fd") == open_files, f"{case}: a file stayed open")
        instead = INSTEAD.get((call, reason), INSTEAD.get(call))
        is_replaced = code == SUCCESS and reason != EINTR and instead
        check(not is_replaced or calls[number] == instead, f"{case}: {calls[number:]} instead")
        is_time_unset = call == "futimens" and calls.count("futimens") == 1
        with hooked(make) as calls:
            check(work(document, name) == SUCCESS, f"{case}: fails again")
        # What was saved is known, if its time was set.
        if work is not open_again and (is_time_unset or not failed):
            check(("read" in calls) == (before is edit or is_time_unset), f"{case}: then {calls}")
        check(state(folder) == right, f"{case}: {state(folder)} after that")
        document.close()
        for file in os.listdir(folder):
            os.unlink(f"{folder}/{file}")
        if number and not failed:
            return
        yield from failed


def failing_calls(folder):
    failed = [call for reason in sorted(ERRORS) for work in WORKS for call in failures_of(*work, reason, folder)]
    others = {"open", "look", "look at new file", "look at new owner", "readlinkat", "read", "write", "fsetxattr", "fchown", "fchmod", "flush", "replace"}
    check(set(failed) == {*HARMLESS, *UNCERTAIN, *others}, f"other calls: {sorted(set(failed))}")
    print(f"{len(failed)} failures of {len(set(failed))} system calls")


def lasting_failures(folder):
    """A call that answers so each time: the result, and how often which calls are made."""
    for work, call, answer, code, counts in (
            (set_long, "lock", -ENOLCK, SUCCESS, {"getentropy": 1}),  # without locks, no other saver must remove the temporary file
            (set_long, "lock", -EIO, FAILURE, {"lock": 1, "getentropy": 0}),
            (set_while_locked, "flock", -ENOSYS, SUCCESS, {"open": 1}),  # or closing it would end the lock of the process
            (set_private, "fchmod", -ENOSYS, SUCCESS, {"fchmod": 1}),
            (set_long, "write", 0, FAILURE, {"write": 1}),
            (set_moved, "look at new owner", -EIO, FAILURE, {"fchown": 1})):  # which is then not known
        name, document = saved(folder)
        case = f"{call} answers {answer}"

        def always(calls, _, call=call, answer=answer):
            check(calls.count(call) < 9, f"{call} again and again")
            return answer if calls[-1] == call else None

        with hooked(always) as calls:
            check(work(document, name) == code, f"{case}: not {code}")
        check(("<A>" in read(name)) == (code == SUCCESS), f"{case}: {read(name)}")
        made = {counted: calls.count(counted) for counted in counts}
        check(made == counts, f"{case}: {made}")
    print("saved without what a file system lacks")


def lasting_lease(folder):
    """Somebody else's lease is waited for as long as a save may take."""
    name, document = saved(folder)
    signal.alarm(20)
    begun = time.monotonic()
    with hooked(lambda calls, _: -EAGAIN if calls[-1] == "open" else None):
        code = open_again(document, name)
    check(code == UNREADABLE and 9.5 < time.monotonic() - begun < 15, f"a lease that lasts: {code}")


def looked_at(arguments, **fields):
    """Answers statx as the system does, but for these fields: a number at an offset of the result."""
    if system.statx(*[ctypes.c_void_p(word) for word in arguments[:5]]) != 0:
        return -ctypes.get_errno()
    for field, value in fields.items():
        place = arguments[4] + {"size": 40, "changed": 96, "modified": 112}[field]
        ctypes.c_int64.from_address(place).value = value
        if field != "size":
            ctypes.c_uint32.from_address(place + 8).value = 0  # nanoseconds
    return 0


# How many seconds ago a file was modified and changed, by the clock of a file server or one that was set back; whether it can be known
# that nobody changed it since, and whether somebody may be still writing it.
AGES = ((3, 3, True, False), (1, 3, False, True), (3, 1, False, True), (-100, 3, False, False), (3, -100, False, False),
        (-100, 1, False, True), (-100, -100, False, False))


def ages(folder):
    name = folder + "/aged.xml"
    for modified, changed, is_settled, is_young in AGES:
        now = int(time.time())

        def answer(calls, arguments, now=now, modified=modified, changed=changed):
            is_later = calls.count("open") > 1
            if calls[-1] not in ("look", "look at name"):
                return None
            return looked_at(arguments, modified=now - (9 if is_later else modified), changed=now - (9 if is_later else changed))

        case = f"modified {modified} and changed {changed} seconds ago"
        write(name, "<R/>")
        with hooked(answer) as calls:
            document = Document(name)
            calls.clear()
            document.set(1, case)
        check(("read" in calls) == (not is_settled), f"{case}: {calls}")
        for text, code in (("", SUCCESS), ("<?xml version='1.0' encoding='none'?><R/>", FAILURE)):
            write(name, text)
            with hooked(answer) as calls:
                document.set(2, case, code)
            check((calls.count("open") > 1) == is_young, f"{text}, {case}: {calls}")
    print(f"{len(AGES)} pairs of times")


def sizes_and_names(folder):
    # Large pages are asked for only where there is room for one: in the text, or in what is known of its elements.
    for size, content, code, advice in ((1, " " * 1000, SUCCESS, 0), (1 << 20, " " * 1000, SUCCESS, 0), (5 << 20, " " * 1000, SUCCESS, 1),
                                        (1 << 20, " " * 9_000_000, SUCCESS, 1), (3 << 30, "", TOO_LONG, 0)):
        name, document = saved(folder, f"<R>{content}</R>")
        with hooked(lambda calls, arguments, size=size: looked_at(arguments, size=size) if calls[-1] == "look" else None) as calls:
            found = open_again(document, name)
        check(found == code and ("read" in calls) == (code == SUCCESS), f"a size of {size} was told: {found}, {calls}")
        check(calls.count("madvise") == advice, f"a size of {size} was told, large pages asked for: {calls.count('madvise')}")
    check(document.open(name + "/below")[0] == NO_FILE, "a file below a file")
    long_name, number = "\u00e9" * 70, 0xcbf29ce484222325  # longer than some file systems allow with a prefix
    write(f"{folder}/{long_name}", "<R/>")
    for byte in os.fsencode(long_name):
        number = (number ^ byte) * 0x100000001b3 % (1 << 64)
    write(f"{folder}/.tarvik-{number:016x}", "left")
    Document(f"{folder}/{long_name}").set(1, "a long name")
    check(not temporary_files(folder), "a leftover with a long name stayed")
    print("files that grow, are too long or have long names")


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


def link_temporary(name):
    """As somebody would who wants another file to be written over."""
    write(name + ".other", "other")
    os.symlink(name + ".other", temporary(name))


def replace_temporary(name):
    write(name + ".theirs", "theirs")
    os.rename(name + ".theirs", temporary(name))


# The last calls of a save, whose order matters after a loss of power. Nothing stands between the last look at the old file and the
# rename.
REPLACES = "link, flush, look at name, look at name, replace, look at temporary, unlock, flush folder, unlock"
CREATES = "link, flush, look at name, rename, look at temporary, unlock, flush folder"
# What happens before the save; after which calls of it what happens; its last calls, how many temporary files stay, and which calls the
# system lacks.
MEETINGS = (
    (nothing, "flush", nothing, REPLACES, 0, ()),
    (os.unlink, "flush", nothing, CREATES, 0, ()),
    (nothing, "flush", edit, REPLACES, 0, ()),
    (os.unlink, "flush", edit, REPLACES, 0, ()),
    (nothing, "flush", hide, REPLACES, 0, ()),
    (nothing, "open, look, lock", replace, REPLACES, 0, ()),
    (nothing, "flush", replace_temporary, REPLACES, 0, ()),
    (os.unlink, "flush", replace_temporary, CREATES, 1, ()),
    (leave_temporary, "open leftover, lock temporary", replace_temporary, REPLACES, 1, ()),
    (nothing, "open, look, lock", link_to_itself, "", 0, ()),
    (leave_temporary, "flush", nothing, REPLACES[len("link, "):], 0, ("create",)),
    (lambda name: os.mkfifo(temporary(name)), "flush", nothing, REPLACES, 1, ()),
    (link_temporary, "flush", nothing, REPLACES[len("link, "):], 1, LINKS),
)


def meetings(folder):
    for before, after_calls, meanwhile, last_calls, temporary_count, missing in MEETINGS:
        case = f"{before.__name__}, {meanwhile.__name__} after {after_calls}"
        name, document = saved(folder)
        before(name)
        is_met = []

        frozen = int(time.time())  # where the clock is coarse

        def meet(calls, arguments, name=name, after_calls=after_calls, meanwhile=meanwhile, is_met=is_met, missing=missing, frozen=frozen):
            if not is_met and ", ".join(calls).endswith(after_calls):
                is_met.append(True)
                meanwhile(name)
            if meanwhile is hide and calls[-1] in ("look", "look at name"):
                return looked_at(arguments, changed=frozen)
            return -EINVAL if calls[-1] in missing else None

        with hooked(meet) as calls:
            document.set(1, case, SUCCESS if last_calls else FAILURE)
        check(is_met, f"{case}: never after these calls: {calls}")
        check(", ".join(calls).endswith(last_calls), f"{case}: {calls}")
        theirs = "<B/>" if meanwhile in (edit, replace) else "<O>0</O>"
        check(not last_calls or read(name) == f"<R>{theirs}<A>1</A></R>", f"{case}: another text")
        check(before is not link_temporary or read(name + ".other") == "other", f"{case}: another file was written over")
        mode = stat.S_IMODE(os.lstat(name).st_mode)
        check(mode == 0o600 or meanwhile is not hide, f"{case}: mode {mode:o}")
        check(len(temporary_files(folder)) == temporary_count, f"{case}: {os.listdir(folder)}")
        for file in os.listdir(folder):
            os.unlink(f"{folder}/{file}")
    print(f"{len(MEETINGS)} meetings between two calls: nobody's change lost, nobody's file removed")


# In memory if possible, since a disk would flush them thousands of times.
with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as scratch:
    folders = {}
    for test in (lasting_lease, failing_calls, lasting_failures, ages, sizes_and_names, meetings):
        folders[test] = f"{scratch}/{test.__name__}"
        os.mkdir(folders[test])
    waiting = in_process(lambda: lasting_lease(folders.pop(lasting_lease)))
    del folders[lasting_lease]
    for test, folder_of_test in folders.items():
        test(folder_of_test)
    wait(waiting)
