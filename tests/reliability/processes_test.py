#!/usr/bin/env python3
"""Programs that meet at one file: writers, an editor, killed ones, holders of locks, and who moves the file.

usage: processes_test.py LIBTARVIK
"""
import contextlib
import fcntl
import os
import random
import signal
import struct
import sys
import tempfile
import time

from documents import FAILURE, OFD_SETLK, OFD_SETLKW, SUCCESS, Document, check, in_process, locked, read, temporary_files, wait, write


def edit(name, change):
    """As an editor that takes part: keeps the file locked from reading it to replacing it."""
    is_replaced = False
    while not is_replaced:
        with locked(name, OFD_SETLKW) as file:
            if os.fstat(file.fileno()).st_ino == os.stat(name).st_ino:
                write(name + ".edited", change(file.read()))
                os.rename(name + ".edited", name)
                is_replaced = True


def writers_and_an_editor(folder):
    name, count, writers = folder + "/met.xml", 400, 3
    write(name, "<R>\n</R>\n")

    def set_often(writer):
        for number in range(count):
            if number % (count // 2) == 0:
                document = Document(name)
            document.set(number, "beside other writers", item=f"i{writer}.{number}")  # an item of its own each time

    def edit_often():
        for number in range(count):
            edit(name, lambda text, number=number: text.replace("</R>", f"<!--{number}-->\n</R>"))
            time.sleep(0.002)

    works = [lambda writer=writer: set_often(writer) for writer in range(writers)] + [edit_often]
    wait(*[in_process(work) for work in works])
    text = read(name)
    wanted = [f"<i{writer}.{number}>{number}</i{writer}.{number}>" for writer in range(writers) for number in range(count)]
    wanted += [f"<!--{number}-->" for number in range(count)]
    check(all(part in text for part in wanted), f"lost: {[part for part in wanted if part not in text]}")
    print(f"{writers * count} changes by {writers} processes and {count} edits: all there")


def killed_writers(folder):
    name, kills = folder + "/" + "k" * 200, 200  # so long a name that the temporary one is a hash
    ends = ("<R><A>", "</A></R>")
    write(name, "x".join(ends))
    document = Document(name)  # every process goes on with a copy of it

    def set_always():
        while True:
            document.set("y" * random.randrange(50000), "beside none")

    most_left = 0
    for _ in range(kills):
        process = in_process(set_always)
        time.sleep(random.uniform(0.001, 0.015))
        os.kill(process, signal.SIGKILL)
        os.waitpid(process, 0)
        text = read(name)
        check(text.startswith(ends[0]) and text.endswith(ends[1]), "a file that is not whole")
        most_left = max(most_left, len(temporary_files(folder)))
    check(most_left <= 1, f"{most_left} temporary files at a time")
    document.set("z", "after killed writers")
    check(not temporary_files(folder), "a leftover was not removed")
    print(f"{kills} writers killed: the file whole, at most {most_left} temporary file at a time, none at the end")


def leftovers(folder):
    """Only a file that no saver holds is removed, and never what has another's name."""
    path, left, long_name = folder + "/a.xml", folder + "/.tarvik-a.xml", folder + "/" + "n" * 250
    for name in (path, long_name):
        write(name, "<R/>")
    Document(long_name).set(1, "a file with a long name")
    document = Document(path)
    write(left, "left")
    document.set(1, "beside a leftover")
    check(not os.path.exists(left), "a leftover stayed")
    write(left, "held")
    with locked(left):
        document.set(2, "beside a temporary file in use")
        check(read(left) == "held", "a temporary file in use was removed")
    os.unlink(left)
    for create, remove in ((os.mkdir, os.rmdir), (os.mkfifo, os.unlink), (lambda left: os.symlink("a.xml", left), os.unlink)):
        create(left)
        document.set(3, "beside something else of that name")
        check(temporary_files(folder) == [".tarvik-a.xml"], "something else was removed")
        remove(left)
    check(not temporary_files(folder), "a temporary file stayed")
    print("leftovers removed, other files left alone")


def leases(folder):
    name = folder + "/leased.xml"
    write(name, "<R/>")

    def hold(leased):
        file = os.open(leased, os.O_RDWR)
        signal.signal(signal.SIGIO, lambda *_: fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_UNLCK))
        fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_WRLCK)
        time.sleep(0.6)  # until the signal is handled

    try:
        with open(name, "r+", encoding="utf-8") as file:
            fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_WRLCK)
            fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_UNLCK)
    except OSError:
        print("no leases here")
        return
    document, left = Document(name), folder + "/.tarvik-leased.xml"
    for leased, work in ((name, lambda: Document(name)), (name, lambda: document.set(1, "a leased file")),
                         (left, lambda: document.set(2, "beside a leased temporary file"))):
        write(left, "left")
        holder = in_process(lambda leased=leased: hold(leased))
        time.sleep(0.2)
        work()
        check(os.path.exists(left) or leased == name, "a temporary file in use was waited for")
        wait(holder)
    print("leases waited for")


def locks(folder):
    name = folder + "/locked.xml"
    write(name, "<R/>")
    document = Document(name)

    def time_to_set(value, expected=SUCCESS):
        start = time.monotonic()
        document.set(value, "with a lock in the way", expected)
        return time.monotonic() - start

    def while_held(command, seconds, expected=SUCCESS):
        def hold():
            with locked(name, command):
                time.sleep(seconds)

        holder = in_process(hold)
        time.sleep(0.2)
        taken = time_to_set(seconds, expected)
        wait(holder)
        return taken

    for command in (OFD_SETLK, fcntl.F_SETLK):
        check(0.3 < while_held(command, 1) < 2, "a lock of another process was not waited for")
    text = read(name)
    check(9.5 < while_held(OFD_SETLK, 11, FAILURE) < 11, "a lock was not waited for ten seconds")
    check(read(name) == text, "a file was changed under another's lock")
    with locked(name, fcntl.F_SETLK):  # the host's own
        check(time_to_set("own") < 1, "the process waited for itself")
    check("own" in read(name), "a change is missing")
    print("locks of others waited for, the process's own not")


def names(folder):
    deep = folder + "/" + "a" * 200 + "/" + "b" * 200  # longer than what a record holds of a name
    os.makedirs(deep)
    for place in (folder, deep):
        write(place + "/name.xml", "<R><A>1</A></R>")
    write(folder + "/other.xml", "<S><A>1</A></S>")
    os.symlink("name.xml", folder + "/inner.xml")
    os.symlink(folder + "/inner.xml", folder + "/link.xml")
    os.chdir(folder)
    relative, long, link = [Document(name) for name in ("name.xml", deep + "/name.xml", "link.xml")]
    os.chdir("/")
    check(long.open(deep + "/name.xml")[1].value != long.cookie.value, "a file was found by a name that was cut to what a record holds")
    for value, document in enumerate((relative, long, link)):
        document.set(value, f"document {value}")
    check(read(deep + "/name.xml") == "<R><A>1</A></R>", "the long name leads elsewhere")
    check(read(folder + "/name.xml") == "<R><A>2</A></R>", "a name leads elsewhere")
    os.unlink(folder + "/name.xml")
    link.set(3, "a file that is gone, behind links")
    check(read(folder + "/name.xml") == "<R><A>3</A></R>", "the links lead elsewhere")
    for target in ("other.xml", "link.xml"):
        os.unlink(folder + "/link.xml")
        os.symlink(target, folder + "/link.xml")
        link.set(4, f"a link to {target}", FAILURE)
        check(os.path.islink(folder + "/link.xml"), "a link was replaced")
    check(read(folder + "/other.xml") == "<S><A>1</A></S>", "another's document was written over")
    check(os.listdir(deep) == ["name.xml"] and os.path.islink(folder + "/inner.xml"), "something stayed or went")

    def without_working_folder():
        os.chdir(folder)
        os.chroot(deep)  # the working folder now has no name
        Document("other.xml").set(5, "a file of the working folder")

    if os.geteuid() == 0:
        wait(in_process(without_working_folder))
        check(read(folder + "/other.xml") == "<S><A>5</A></S>", "a file in a folder without a name was not saved")
    print("names are whole, absolute, and links followed")


def programs_that_write_slowly(folder):
    """As fopen("w") does: the file is empty, then incomplete, then whole."""
    def write_slowly(name, parts, pause):
        with open(name, "wb", buffering=0) as file:
            for part in parts:
                file.write(part)
                time.sleep(pause)

    def meet(name, parts, pause, wanted, least, most, code=SUCCESS):
        """Sets an item once the other program has begun, which must give the code and the bytes within these seconds."""
        path = f"{folder}/{name}"
        write(path, "<R><A>1</A></R>")
        document = Document(path)
        document.set(1, name)  # so that the document knows the file for sure
        writer = in_process(lambda: write_slowly(path, parts, pause))
        time.sleep(0.2)
        begun = time.monotonic()
        document.set("set", name, code)
        seconds = time.monotonic() - begun
        with open(path, "rb") as file:
            check(wanted(file.read()) and least < seconds < most, f"{name}, after {seconds} s")
        wait(writer)

    e_acute = "\u00e9".encode()
    for name, parts in {"empty": [b"", b"<R><A>2</A><B/></R>"], "half": [b"<R><A>2</A>", b"<B/></R>"],
                        "character": [b"<R><A>2</A><B/><!--" + e_acute[:1], e_acute[1:] + b"--></R>"]}.items():
        meet(name, parts, 0.6, lambda after, parts=parts: after == b"".join(parts).replace(b"2", b"set"), 0, 2)
    meet("gone", [b"<R>"], 0, lambda after: after == b"<R><A>set</A></R>", 1.5, 3)
    meet("endless", [b"<R>"] + [b"<B/>"] * 13, 1, lambda after: b"A" not in after, 9, 12, FAILURE)
    print("programs that write slowly were waited for")


for test in (writers_and_an_editor, killed_writers, leftovers, leases, locks, names, programs_that_write_slowly):
    with tempfile.TemporaryDirectory() as temporary:
        test(temporary)
