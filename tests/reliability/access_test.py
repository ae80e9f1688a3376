#!/usr/bin/env python3
"""Who may do what with a file after it was saved: owner, group, mode, access list and attributes.

usage: access_test.py LIBTARVIK (with a hook in its system calls)
"""
import contextlib
import ctypes
import os
import stat
import struct
import sys
import tempfile
from errno import EINTR, ENODATA, ENOMEM, EPERM

from documents import FAILURE, NO_MEMORY, SUCCESS, UNREADABLE, Document, check, in_process, read, temporary_files, wait, write
from hooks import hooked

NOBODY, DAEMON, SYNC, NOGROUP = 65534, 1, 4, 65534  # nobody and sync belong to nogroup, daemon to a group of the same number
OWNER, USER, GROUP, NAMED_GROUP, MASK, OTHERS, ANY = 1, 2, 4, 8, 16, 32, 0xFFFFFFFF


def access_list(*entries):
    """As the system keeps it: the version, then tag, permissions and ID of each entry."""
    return struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries)


def private_but(user, allowed=6, mask=6):
    """Only the owner and one user may read and write."""
    return access_list((OWNER, 6, ANY), (USER, allowed, user), (GROUP, 0, ANY), (MASK, mask, ANY), (OTHERS, 0, ANY))


def access_of(name):
    status, names = os.stat(name), os.listxattr(name)
    entries = os.getxattr(name, "system.posix_acl_access") if "system.posix_acl_access" in names else None
    return status.st_uid, status.st_gid, stat.S_IMODE(status.st_mode), entries


def rights(folder):
    name, is_root = folder + "/kept.xml", os.geteuid() == 0
    write(name, "<R/>")
    document = Document(name)
    values = {"system.posix_acl_access": private_but(1234, 7, 7), "user.of-mine": b"longer than most" * 20,
              "security.selinux": b"a label", "security.SMACK64": b"another"}
    for attribute, value in list(values.items()):  # what the file system can keep of them
        try:
            os.setxattr(name, attribute, value)
            os.removexattr(name, attribute)
        except OSError:
            del values[attribute]
    if "system.posix_acl_access" in values:  # what the folder gives its new files must not open up this one
        os.setxattr(folder, "system.posix_acl_default", values["system.posix_acl_access"])
    os.umask(0o077)
    for mode in (0o640, 0o600, 0o666, 0o751, 0o6755):
        if is_root:
            os.chown(name, 1234, 4321)
        os.chmod(name, mode)
        before, number = access_of(name), os.stat(name).st_ino
        document.set(mode, f"a file of mode {mode:o}")
        check(number != os.stat(name).st_ino, "the file was not replaced")
        check(access_of(name) == before, f"{before} became {access_of(name)}")
    os.unlink(name)
    document.set("anew", "a file that is gone")
    check(os.stat(name).st_mode & 0o777 == 0o755, "created anew with other permissions")
    for attribute, value in values.items():
        os.setxattr(name, attribute, value)
    with contextlib.suppress(OSError):
        os.setxattr(name, "trusted.of-the-system", b"")
    document.set("kept", "a file with attributes")
    check(all(os.getxattr(name, attribute) == value for attribute, value in values.items()), "attributes are gone")
    check("trusted.of-the-system" not in os.listxattr(name), "an attribute was kept that belongs to the system")

    def answer(calls, arguments):
        """Each new file gets a label, which no program may set, and another program removes it from the old one."""
        if calls[-1] == "fgetxattr" and ctypes.string_at(arguments[1]) == b"security.selinux":
            if labels:
                ctypes.memmove(arguments[2], b"label", 5)
            return labels.pop() if labels else -ENODATA
        return -EPERM if calls[-1] == "fsetxattr" and ctypes.string_at(arguments[1]) == b"security.selinux" else None

    for labels in ([5, 5], [5, -ENODATA]) if "security.selinux" in values else ():
        with hooked(answer):
            document.set("kept", f"labels {labels}")
        os.setxattr(name, "security.selinux", b"a label")

    # The group may write, the owner may not, and the folder lets both; nor is a pipe a file.
    os.chmod(folder, 0o777)
    for attribute in values:
        os.removexattr(name, attribute)
    os.chmod(name, 0o464)
    if is_root:
        os.chown(name, NOBODY, 0)
        os.setegid(NOBODY)
        os.seteuid(NOBODY)
    document.set("refused", "a file that the user may not write", FAILURE)
    check("kept" in read(name), "a file was replaced that the user may not write")
    if is_root:
        os.seteuid(0)
        os.setegid(0)
    os.unlink(name)
    os.mkfifo(name)
    document.set("refused", "a pipe", FAILURE)
    check(stat.S_ISFIFO(os.stat(name).st_mode), "a pipe was replaced")
    check(document.open(folder + "/./kept.xml")[0] == UNREADABLE, "a pipe was opened")
    print("owner, mode, access list and attributes taken over; what may not be written refused")


def nothing(_):
    pass


def replaced(text, owner, mode):
    def replace(name):
        os.unlink(name)
        write(name, text)
        with contextlib.suppress(OSError):  # not every file system has them
            os.setxattr(name, "user.theirs", b"")
        os.chmod(name, mode)
        os.chown(name, owner, owner)
    return replace


# Owner, group, mode and access list of the file; the user who sets an item and his groups; what happens to the file between
# opening and setting; the code, and owner, group, mode and access list afterwards (None: as before).
SHARED, DAEMONS = private_but(DAEMON), (DAEMON, [DAEMON])
BOTH = access_list((OWNER, 6, ANY), (USER, 6, DAEMON), (USER, 6, NOBODY), (GROUP, 0, ANY), (MASK, 6, ANY), (OTHERS, 0, ANY))
BOTH_READ = BOTH.replace(struct.pack("<HHI", USER, 6, NOBODY), struct.pack("<HHI", USER, 4, NOBODY))
GROUPS = access_list((OWNER, 6, ANY), (USER, 6, DAEMON), (GROUP, 0, ANY), (NAMED_GROUP, 6, NOGROUP), (MASK, 6, ANY), (OTHERS, 0, ANY))
UNEQUAL = access_list((OWNER, 6, ANY), (USER, 6, NOBODY), (GROUP, 0, ANY), (MASK, 6, ANY), (OTHERS, 4, ANY))
UNEQUAL_CUT = UNEQUAL.replace(struct.pack("<HHI", OTHERS, 4, ANY), struct.pack("<HHI", OTHERS, 0, ANY))
OPEN_GROUP = access_list((OWNER, 6, ANY), (USER, 6, NOBODY), (GROUP, 6, ANY), (MASK, 6, ANY), (OTHERS, 4, ANY))
OPEN_GROUP_CUT = OPEN_GROUP.replace(struct.pack("<HHI", GROUP, 6, ANY), struct.pack("<HHI", GROUP, 4, ANY))
FOR_ALL = access_list((OWNER, 6, ANY), (USER, 6, DAEMON), (GROUP, 0, ANY), (MASK, 6, ANY), (OTHERS, 6, ANY))
FOR_ALL_CUT = access_list((OWNER, 4, ANY), (USER, 6, DAEMON), (GROUP, 0, ANY), (MASK, 2, ANY), (OTHERS, 0, ANY))
MASKED = access_list((OWNER, 6, ANY), (USER, 6, NOBODY), (GROUP, 0, ANY), (MASK, 4, ANY), (OTHERS, 6, ANY))
BY_GROUP = access_list((OWNER, 6, ANY), (USER, 6, DAEMON), (GROUP, 6, ANY), (MASK, 6, ANY), (OTHERS, 0, ANY))
OTHER_GROUP = access_list((OWNER, 6, ANY), (USER, 6, DAEMON), (GROUP, 0, ANY), (NAMED_GROUP, 6, 4321), (MASK, 6, ANY), (OTHERS, 0, ANY))
ANY_GROUP = access_list((OWNER, 6, ANY), (USER, 6, DAEMON), (GROUP, 6, ANY), (NAMED_GROUP, 0, NOGROUP), (MASK, 6, ANY), (OTHERS, 0, ANY))
IN_NOGROUP = (DAEMON, [DAEMON, NOGROUP])
ACCESS = {
    "a stranger's empty file": (0, 0, 0o600, None, (0, [0]), replaced("", NOBODY, 0o666), SUCCESS, (0, 0, 0o600, None)),
    "a new file of the owner's": (0, 0, 0o640, None, (0, [0]), replaced("", 0, 0o604), SUCCESS, (0, 0, 0o600, None)),
    "a stranger's document": (0, 0, 0o600, None, (0, [0]), replaced("<R/>", NOBODY, 0o644), SUCCESS, (NOBODY, NOBODY, 0o644, None)),
    "only its group may write": (NOBODY, 0, 0o460, None, (0, [0]), nothing, SUCCESS, None),
    "gone, with a list": (NOBODY, 4321, 0o660, SHARED, (0, [0]), os.unlink, SUCCESS, None),
    "gone, of another user": (NOBODY, DAEMON, 0o660, None, DAEMONS, os.unlink, SUCCESS, (DAEMON, DAEMON, 0o660, None)),
    "gone, another's with a list": (NOBODY, NOGROUP, 0o660, SHARED, DAEMONS, os.unlink, SUCCESS, (DAEMON, DAEMON, 0o660, SHARED)),
    "a list lets another user write": (NOBODY, NOGROUP, 0o660, SHARED, DAEMONS, nothing, FAILURE, None),
    "the same, root's": (0, 0, 0o660, SHARED, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o660, SHARED)),
    "the owner has an entry, too": (NOBODY, NOGROUP, 0o660, BOTH, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o660, BOTH)),
    "an entry that allows less": (NOBODY, NOGROUP, 0o660, BOTH_READ, DAEMONS, nothing, FAILURE, None),
    "the owner's group has an entry": (NOBODY, 4321, 0o660, GROUPS, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o660, GROUPS)),
    "a user of the number of the owner's group": (SYNC, 4321, 0o660, BOTH, DAEMONS, nothing, FAILURE, None),
    "a common group": (NOBODY, NOGROUP, 0o664, None, (DAEMON, [DAEMON, NOGROUP]), nothing, SUCCESS, (DAEMON, NOGROUP, 0o664, None)),
    "a group without the owner": (NOBODY, 0, 0o664, None, (DAEMON, [DAEMON, 0]), nothing, FAILURE, None),
    "a file for all": (NOBODY, NOGROUP, 0o666, None, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o666, None)),
    "for all but its group": (NOBODY, NOGROUP, 0o606, None, DAEMONS, nothing, FAILURE, None),
    "a group that can't be given": (DAEMON, 4321, 0o664, None, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o644, None)),
    "a program of its group's": (NOBODY, NOGROUP, 0o4664, None, IN_NOGROUP, nothing, SUCCESS, (DAEMON, NOGROUP, 0o664, None)),
    "only others may write": (0, 0, 0o406, None, (0, [0]), nothing, SUCCESS, None),
    "a list, others more than the group": (DAEMON, 4321, 0o664, UNEQUAL, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o660, UNEQUAL_CUT)),
    "a list, the group more than others": (DAEMON, 4321, 0o664, OPEN_GROUP, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o664, OPEN_GROUP_CUT)),
    "a new file, less than its list": (0, 0, 0o666, FOR_ALL, (0, [0]), replaced("", 0, 0o420), SUCCESS, (0, 0, 0o420, FOR_ALL_CUT)),
    "an entry beyond the mask": (NOBODY, NOGROUP, 0o646, MASKED, DAEMONS, nothing, FAILURE, None),
    "the list lets the group do nothing": (NOBODY, NOGROUP, 0o660, SHARED, IN_NOGROUP, nothing, FAILURE, None),
    "the list lets the group write": (NOBODY, NOGROUP, 0o660, BY_GROUP, IN_NOGROUP, nothing, SUCCESS, (DAEMON, NOGROUP, 0o660, BY_GROUP)),
    "the list lets a group without the owner write": (NOBODY, DAEMON, 0o660, BY_GROUP, DAEMONS, nothing, FAILURE, None),
    "an entry of a group without the owner": (NOBODY, DAEMON, 0o660, OTHER_GROUP, DAEMONS, nothing, FAILURE, None),
    "the first of two groups": (NOBODY, NOGROUP, 0o660, ANY_GROUP, IN_NOGROUP, nothing, SUCCESS, (DAEMON, NOGROUP, 0o660, ANY_GROUP)),
    # What the system answers is below.
    "a list without a mask": (DAEMON, 4321, 0o664, None, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o644, None)),
    "owners that stay": (NOBODY, NOGROUP, 0o660, None, (0, [0]), nothing, FAILURE, None),
    "an interrupted search": (NOBODY, NOGROUP, 0o664, None, IN_NOGROUP, nothing, SUCCESS, (DAEMON, NOGROUP, 0o664, None)),
    "no memory for the search": (NOBODY, NOGROUP, 0o664, None, IN_NOGROUP, nothing, NO_MEMORY, None),
    "an unknown owner": (NOBODY, NOGROUP, 0o664, None, IN_NOGROUP, nothing, FAILURE, None),
    "more groups than fit": (NOBODY, 0, 0o664, None, (DAEMON, [DAEMON, 0]), nothing, FAILURE, None),
    "a secret group that can't be given": (DAEMON, 4321, 0o2660, None, DAEMONS, nothing, SUCCESS, (DAEMON, DAEMON, 0o600, None)),
}


def without_mask(calls, arguments):
    if calls[-1] != "fgetxattr":
        return None
    entries = access_list((OWNER, 6, ANY), (GROUP, 6, ANY), (OTHERS, 4, ANY))
    ctypes.memmove(arguments[2], entries, len(entries))
    return len(entries)


def too_many_groups(calls, arguments):
    """None of them is root's."""
    if calls[-1] != "getgrouplist":
        return None
    count = ctypes.c_int.from_address(arguments[3])
    ctypes.memset(arguments[2], 1, 4 * count.value)
    count.value += 10
    return -1


# What the system answers in some of these cases, as it may elsewhere: None where it is asked.
ANSWERS = {
    "a list without a mask": without_mask,
    "owners that stay": lambda calls, _: 0 if calls[-1] == "fchown" else None,
    "an interrupted search": lambda calls, _: EINTR if calls[-1] == "getpwuid_r" and calls.count("getpwuid_r") < 3 else None,
    "no memory for the search": lambda calls, _: ENOMEM if calls[-1] == "getpwuid_r" else None,
    "an unknown owner": lambda calls, _: 0 if calls[-1] == "getpwuid_r" else None,
    "more groups than fit": too_many_groups,
}


def never_wider(calls, arguments):
    """At no time may others do more with the new file than in the end."""
    if calls[-1] == "fchmod":
        mode = os.fstat(arguments[0]).st_mode & 0o077
        check(mode & ~arguments[1] == 0, f"{mode:o} before {arguments[1]:o}")


def access(folder):
    if os.geteuid() != 0:
        print("access of other users: only root can test it")
        return
    os.chmod(folder, 0o733)  # others may search it, but not read it
    os.umask(0)
    for case, (owner, group, mode, entries, (user, groups), between, code, after) in ACCESS.items():
        name = f"{folder}/{case.replace(' ', '-')}.xml"
        write(name, "<R></R>")
        os.chown(name, owner, group)
        os.chmod(name, mode)
        try:
            if entries:
                os.setxattr(name, "system.posix_acl_access", entries)
        except OSError:
            continue  # no access lists here
        before = access_of(name)
        check(before == (owner, group, mode, entries), f"{case}: prepared as {before}")

        def set_as_user():
            os.close(0)  # as programs do that nobody talks to: the number is then a file's
            document = Document(name)
            become_root = os.getresuid()
            if user:
                os.setgroups(groups)
                os.setresgid(groups[0], groups[0], 0)
                os.setresuid(user, user, 0)
            if between is not nothing:
                os.seteuid(0)  # somebody else does this
                between(name)
                os.seteuid(user)
            ctypes.CDLL(None).prctl(4, 1, 0, 0, 0)  # the process may look at its own open files (PR_SET_DUMPABLE)
            with hooked(ANSWERS.get(case, never_wider)) as calls:
                document.set(1, case, code)
            check(case not in ANSWERS or {"fchown", "fgetxattr"} <= {*calls}, f"{case}: {calls}")
            os.setresuid(*become_root)

        wait(in_process(set_as_user))
        check(access_of(name) == (after or before), f"{case}: {access_of(name)}")
        check(("<A>1</A>" in read(name)) == (code == SUCCESS), f"{case}: {read(name)}")
        check(not temporary_files(folder), f"{case}: a temporary file stayed")
        check("user.theirs" not in os.listxattr(name) or case == "a stranger's document", f"{case}: attributes of another file")
    print(f"access kept and never widened in {len(ACCESS)} cases")


for test in (rights, access):
    with tempfile.TemporaryDirectory() as temporary:
        test(temporary)
