#!/usr/bin/env python3
"""Checks that the program asks of the phone just what the lists in ce/ say.

    import_surface_test.py [BUILD_FOLDER] [--lists FOLDER]

Without a folder, the current one has to be that of the build.

Every function that kvsettings.exe imports must stand in the list of its DLL; what the compiler's own start-up takes from
the host is listed apart (ce/startup.def, and STARTUP_OF_MSVCRT below). Every function in a list must be used by the
program, and must be exported by the simulator's DLL of that name. Each breach is printed as a line of its own; the
answer is 1 if there is any.
"""

import argparse
import pathlib
import re
import struct
import subprocess
import sys

NM = "x86_64-w64-mingw32-nm"

# The compiler's start-up and exception runtime need these of the host's C library.
STARTUP_OF_MSVCRT = frozenset("""
    __C_specific_handler __iob_func __set_app_type __setusermatherr __wgetmainargs __winitenv _amsg_exit _cexit _commode
    _fmode _initterm _onexit _wcmdln abort calloc exit fprintf fwrite memset realloc signal strcmp strncmp vfprintf
""".split())

STARTUP_LIST = "startup"   # ce/startup.def; what it lists comes from kernel32.dll
HOSTS_OWN = {"ole32.dll", "oleaut32.dll"}   # not simulated: the host's DLLs have the phone's functions

# This compiler puts code in the place of the program's calls to these; another calls them, even unasked.
OFTEN_INLINED = frozenset(("memcpy", "memset"))

# The program's own part of the start-up uses the lists as well.
STARTUP_OBJECT = "CMakeFiles/kvsettings.dir/ce/start_simulator.cpp.obj"


class Broken(Exception):
    """A file that cannot be read for what it should be."""


# ---- Portable executables ---------------------------------------------------------------------------------------------


class Image:
    """The parts of a 64-bit executable or DLL that name functions."""

    IMPORTS, EXPORTS = 1, 0   # data directories

    def __init__(self, path):
        self.path = path
        self.data = pathlib.Path(path).read_bytes()
        try:
            self._read_headers()
        except struct.error:
            raise Broken(f"{path}: not a complete executable") from None

    def _read_headers(self):
        header, = struct.unpack_from("<I", self.data, 0x3C)
        if self.data[:2] != b"MZ" or self.data[header:header + 4] != b"PE\0\0":
            raise Broken(f"{self.path}: not an executable")
        section_count, = struct.unpack_from("<H", self.data, header + 6)
        optional_size, = struct.unpack_from("<H", self.data, header + 20)
        optional = header + 24
        magic, = struct.unpack_from("<H", self.data, optional)
        if magic != 0x20B:
            raise Broken(f"{self.path}: not a 64-bit executable")
        self.directories = [struct.unpack_from("<II", self.data, optional + 112 + 8 * i) for i in range(16)]
        self.sections = []
        for i in range(section_count):
            at = optional + optional_size + 40 * i
            self.sections.append(struct.unpack_from("<IIII", self.data, at + 8))   # size, address, raw size, raw offset

    def _offset(self, address):
        for size, start, raw_size, raw in self.sections:
            if start <= address < start + max(size, raw_size):
                return raw + address - start
        raise Broken(f"{self.path}: the address {address:#x} lies in no section")

    def _text(self, address):
        start = self._offset(address)
        return self.data[start:self.data.index(b"\0", start)].decode("ascii")

    def _imported_names(self, table):
        at = self._offset(table)
        while True:
            entry, = struct.unpack_from("<Q", self.data, at)
            if not entry:
                return
            yield f"number {entry & 0xFFFF}" if entry >> 63 else self._text(entry + 2)   # past the hint
            at += 8

    def imports(self):
        """{dll name in lower case: set of function names}"""
        address, _ = self.directories[self.IMPORTS]
        found = {}
        at = self._offset(address) if address else None
        while at is not None:
            names, _, _, dll, addresses = struct.unpack_from("<IIIII", self.data, at)
            if not dll:
                break
            found.setdefault(self._text(dll).lower(), set()).update(self._imported_names(names or addresses))
            at += 20
        return found

    def exports(self):
        """Set of exported function names."""
        address, _ = self.directories[self.EXPORTS]
        if not address:
            return set()
        at = self._offset(address)
        count, = struct.unpack_from("<I", self.data, at + 24)
        names, = struct.unpack_from("<I", self.data, at + 32)
        table = self._offset(names)
        return {self._text(each) for each in struct.unpack_from(f"<{count}I", self.data, table)}


# ---- Lists and objects --------------------------------------------------------------------------------------------------


def read_list(path):
    """(DLL name in lower case, names in their order) of a .def file."""
    dll, names = None, []
    for line in pathlib.Path(path).read_text(encoding="utf-8").splitlines():
        line = line.split(";")[0].strip()
        library = re.fullmatch(r"LIBRARY\s+(\S+)", line)
        if library:
            dll = library[1].lower()
        elif line and line != "EXPORTS":
            names.append(line)
    if dll is None:
        raise Broken(f"{path}: names no LIBRARY")
    return dll, names


def read_lists(folder):
    """{name of the list: (DLL, names)} of all .def files of a folder."""
    return {path.stem: read_list(path) for path in sorted(pathlib.Path(folder).glob("*.def"))}


def used_names(objects):
    """Names that object files need of elsewhere, as calls to a DLL name them or as plain functions."""
    listing = subprocess.run([NM, "-u", *map(str, objects)], check=True, capture_output=True, text=True).stdout
    return {re.sub("^__imp_", "", name) for name in re.findall(r"^\s+U (\S+)$", listing, re.MULTILINE)}


# ---- The checks ---------------------------------------------------------------------------------------------------------


def check_lists(lists):
    """Each list names a DLL of its own name, in order and without repetition, so that nothing can hide in it."""
    for name, (dll, functions) in lists.items():
        if name != STARTUP_LIST and dll != f"{name}.dll":
            yield f"ce/{name}.def is a list of {dll}"
        for function in sorted({each for each in functions if functions.count(each) > 1}):
            yield f"{function} stands twice in ce/{name}.def"


def check_imports(imports, lists, startup):
    """What the program imports stands in the lists; what its start-up imports is exactly what is written down."""
    allowed = {dll: set(names) for name, (dll, names) in lists.items() if name != STARTUP_LIST}
    for dll in sorted(imports.keys() - allowed.keys() - startup.keys()):
        yield f"the program imports from {dll}, which has no list: {', '.join(sorted(imports[dll]))}"
    for dll, names in allowed.items():
        for function in sorted(imports.get(dll, set()) - names):
            yield f"the program imports {function} of {dll}, which is not in its list"
    for dll, (names, where) in startup.items():
        for function in sorted(imports.get(dll, set()) - names):
            yield f"the program imports {function} of {dll}, which is not in {where}"
        for function in sorted(names - imports.get(dll, set())):
            yield f"{function} of {dll} is in {where}, but the program does not import it"


def check_used(lists, used):
    """What is listed is used."""
    for name, (_, functions) in lists.items():
        if name != STARTUP_LIST:
            for function in functions:
                if function not in used and function not in OFTEN_INLINED:
                    yield f"{function} is in ce/{name}.def, but the program does not use it"


def check_exported(lists, exports):
    """What is listed is there on the simulated phone. exports: {dll: names} of the simulator's DLLs."""
    for name, (dll, functions) in lists.items():
        if name == STARTUP_LIST or dll in HOSTS_OWN:
            continue
        if dll not in exports:
            yield f"the simulator has no {dll}"
            continue
        for function in functions:
            if function not in exports[dll]:
                yield f"{function} is in ce/{name}.def, but the simulator's {dll} does not export it"


def breaches(build, list_folder):
    """All breaches, as lines."""
    lists = read_lists(list_folder)
    if STARTUP_LIST not in lists or len(lists) < 2:
        raise Broken(f"{list_folder}: here are not the lists")
    startup = {
        lists[STARTUP_LIST][0]: (set(lists[STARTUP_LIST][1]), f"ce/{STARTUP_LIST}.def"),
        "msvcrt.dll": (STARTUP_OF_MSVCRT, "STARTUP_OF_MSVCRT of this test"),
    }
    dlls = [dll for name, (dll, _) in lists.items() if name != STARTUP_LIST]
    exports = {dll: Image(build / dll).exports() for dll in dlls if (build / dll).exists()}
    yield from check_lists(lists)
    yield from check_imports(Image(build / "kvsettings.exe").imports(), lists, startup)
    yield from check_used(lists, used_names([build / "libprogram.a", build / STARTUP_OBJECT]))
    yield from check_exported(lists, exports)


def main():
    parser = argparse.ArgumentParser(description="Checks the program's imports against the lists in ce/.")
    parser.add_argument("build", type=pathlib.Path, nargs="?", default=pathlib.Path())
    parser.add_argument("--lists", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent / "ce")
    arguments = parser.parse_args()
    try:
        found = list(breaches(arguments.build, arguments.lists))
    except (Broken, OSError, subprocess.CalledProcessError) as problem:
        print(problem, file=sys.stderr)
        return 2
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
