#!/usr/bin/env python3
"""Tarvik from Python: prints the log, reads the folders and an attribute of a configuration file, and sets an item.

    from_python.py configuration.xml

If the libraries are in a folder that the loader does not search, set LD_LIBRARY_PATH.
"""
import ctypes
import locale
import sys
from ctypes import POINTER, byref, c_char_p, c_int, c_int32, c_uint32, c_void_p, c_wchar_p

SUCCESS, NOT_FOUND = 0, 3
DETAIL, ERROR = 2, 3

if sys.platform == "win32":
    corekit, tarvik = ctypes.CDLL("corekit.dll"), ctypes.WinDLL("tarvik.dll")
else:
    corekit, tarvik = ctypes.CDLL("libcorekit.so.1"), ctypes.CDLL("libtarvik.so.1")

LogSink = ctypes.CFUNCTYPE(None, c_void_p, c_int, c_wchar_p, c_wchar_p)


def declare(library, name, *arguments, result=c_uint32):
    function = getattr(library, name)
    function.argtypes, function.restype = arguments, result
    return function


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


def check(code, what):
    if code != SUCCESS:
        raise Failed(f"{what}: failed ({code})")


class Document:
    """One file in a list of its own. Text is in the character set of the locale, which Python has set."""

    def __init__(self, name):
        self.encoding = locale.getpreferredencoding(False)
        self.list, self.cookie = c_void_p(), c_uint32()
        check(init_list(byref(self.list)), "list")
        code = open_xml(self.list, self.encode(name), 0, 0, byref(self.cookie))
        if code != SUCCESS:
            self.close()
            check(code, name)

    def close(self):
        end_list(byref(self.list))

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def encode(self, text):
        return None if text is None else text.encode(self.encoding)

    def open_group(self, path):
        group = ctypes.create_string_buffer(260)  # empty: below the root
        check(open_group(self.list, self.cookie, self.encode(path), group, len(group)), path)
        return group.value.decode(self.encoding)

    def get(self, group, item, attribute=None):
        value = ctypes.create_string_buffer(4096)
        kind = "ATTRIBUTE" if attribute else "ELEMENT"
        arguments = [self.encode(text) for text in (group, item, kind, attribute, kind)]
        check(get_item(self.list, self.cookie, *arguments, value, len(value)), f"{group}\\{item}")
        return value.value.decode(self.encoding)

    def items(self, group, item):
        value, index = ctypes.create_string_buffer(4096), 1
        names = self.encode(group), self.encode(item), b"ELEMENT"
        result = None, b"ELEMENT", value, len(value)
        while (code := enum_item(self.list, self.cookie, *names, index, *result)) == SUCCESS:
            yield value.value.decode(self.encoding)
            index += 1
        if code != NOT_FOUND:
            check(code, f"{group}\\{item}")

    def set(self, path, item, value):
        arguments = [self.encode(text) for text in (path, item, "ELEMENT", value)]
        check(set_item(self.list, self.cookie, *arguments), f"{path}\\{item}")


@LogSink
def print_line(_context, kind, component, text):
    if kind in (DETAIL, ERROR):
        print(f"{component}: {text}", file=sys.stderr)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: from_python.py FILE")
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
