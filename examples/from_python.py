#!/usr/bin/env python3
"""Tarvik from Python: prints the log, reads the folders and an attribute of a configuration file, and sets an item.

    from_python.py configuration.xml

On Windows, tarvik.dll and corekit.dll are in this script's folder, or in that which TARVIK_LIBRARIES names, and have
Python's architecture. Elsewhere, set LD_LIBRARY_PATH if the loader does not search the libraries' folder.
"""
import ctypes
import os
import sys
from ctypes import POINTER, byref, c_char_p, c_int, c_int32, c_uint32, c_void_p, c_wchar_p

SUCCESS, NOT_FOUND = 0, 3
OPEN_AT_ONCE = 0x80000000  # OpenXML waits a second without it
DETAIL, ERROR = 2, 3

if sys.platform == "win32":  # by full names: Python leaves PATH and the working folder out
    libraries = os.path.abspath(os.environ.get("TARVIK_LIBRARIES", os.path.dirname(__file__)))
    corekit = ctypes.CDLL(os.path.join(libraries, "corekit.dll"))
    tarvik = ctypes.WinDLL(os.path.join(libraries, "tarvik.dll"))  # __stdcall, where that differs
else:
    corekit, tarvik = ctypes.CDLL("libcorekit.so.1"), ctypes.CDLL("libtarvik.so.1")

LogSink = ctypes.CFUNCTYPE(None, c_void_p, c_int, c_wchar_p, c_wchar_p)


def declare(library, name, *arguments, result=c_uint32):
    function = getattr(library, name)
    function.argtypes, function.restype = arguments, result
    return function


set_utf8 = declare(corekit, "CorekitSetUtf8", c_int, result=None)
set_log_sink = declare(corekit, "CorekitSetLogSink", LogSink, c_void_p, result=None)
init_list = declare(tarvik, "InitXMLList", POINTER(c_void_p))
end_list = declare(tarvik, "EndXMLList", POINTER(c_void_p))
open_xml = declare(tarvik, "OpenXML", c_void_p, c_char_p, c_uint32, c_int32, POINTER(c_uint32))
open_group = declare(tarvik, "OpenXMLGroup", c_void_p, c_uint32, c_char_p, c_char_p, c_uint32)
get_item = declare(tarvik, "GetXMLItem", c_void_p, c_uint32, *[c_char_p] * 6, c_uint32)
enum_item = declare(tarvik, "EnumXMLItem", c_void_p, c_uint32, *[c_char_p] * 3, c_int32, *[c_char_p] * 3, c_uint32)
set_item = declare(tarvik, "SetXMLItem", c_void_p, c_uint32, *[c_char_p] * 4)


class Failed(Exception):
    pass


def encode(text):
    return None if text is None else text.encode()


def check(code, what):
    if code != SUCCESS:
        raise Failed(f"{what}: failed ({code})")


class Document:
    """One file in a list of its own."""

    def __init__(self, name):
        self.list, self.cookie = c_void_p(), c_uint32()
        check(init_list(byref(self.list)), "list")
        code = open_xml(self.list, encode(name), OPEN_AT_ONCE, 0, byref(self.cookie))
        if code != SUCCESS:
            self.close()
            check(code, name)

    def close(self):
        end_list(byref(self.list))

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def open_group(self, path):
        group = ctypes.create_string_buffer(260)  # empty: below the root
        check(open_group(self.list, self.cookie, encode(path), group, len(group)), path)
        return group.value.decode()

    def get(self, group, item, attribute=None):
        value = ctypes.create_string_buffer(4096)
        kind = "ATTRIBUTE" if attribute else "ELEMENT"
        arguments = [encode(text) for text in (group, item, kind, attribute, kind)]
        check(get_item(self.list, self.cookie, *arguments, value, len(value)), f"{group}\\{item}")
        return value.value.decode()

    def items(self, group, item):
        value, index = ctypes.create_string_buffer(4096), 1
        names = encode(group), encode(item), b"ELEMENT"
        result = None, b"ELEMENT", value, len(value)
        while (code := enum_item(self.list, self.cookie, *names, index, *result)) == SUCCESS:
            yield value.value.decode()
            index += 1
        if code != NOT_FOUND:
            check(code, f"{group}\\{item}")

    def set(self, path, item, value):
        arguments = [encode(text) for text in (path, item, "ELEMENT", value)]
        check(set_item(self.list, self.cookie, *arguments), f"{path}\\{item}")


@LogSink
def print_line(_context, kind, component, text):
    if kind in (DETAIL, ERROR):
        print(f"{component}: {text}", file=sys.stderr)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: from_python.py FILE")
    set_utf8(1)  # all strings are UTF-8, whatever the locale
    set_log_sink(print_line, None)  # a module-level function, so it stays alive while it is set
    try:
        with Document(sys.argv[1]) as document:
            for folder in document.items(document.open_group("Folders"), "Folder"):
                print("folder:", folder)
            network = document.open_group("Network")
            print("timeout:", document.get(network, "Timeout"), document.get(network, "Timeout", "unit"))
            document.set("Network", "Timeout", "30")  # saves the file
    except Failed as failure:
        sys.exit(str(failure))


if __name__ == "__main__":
    main()
