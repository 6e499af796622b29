#!/usr/bin/env python3
"""Writes the import thunks and tables of the device build from the lists of imported functions (.def files).

A call to a system function goes to a thunk of that name, which jumps through the function's slot in the import address
table. Each thunk, slot and name is a section of its own: the linker throws out what nothing calls, and image.ld's sorting
puts the rest into the order the system expects. What only the tables need is tied to the slot by relocations of type NONE,
which change nothing but tell the linker that one section needs the other.
"""

import re
import sys
from pathlib import Path

THUNK = """
    .section .text.import.{name}, "ax"
    .global {name}
    .type {name}, %function
{name}:
    ldr     ip, 1f
    ldr     pc, [ip]
1:  .word   slot_{name}
    .size {name}, . - {name}

    .section .imports.address.{dll}.1.{name}, "aw"
    .balign 4
slot_{name}:
    .word   name_{name}
    .reloc  slot_{name}, R_ARM_NONE, lookup_{name}
    .reloc  slot_{name}, R_ARM_NONE, directory_{dll}

    .section .imports.lookup.{dll}.1.{name}, "aw"
    .balign 4
lookup_{name}:
    .word   name_{name}

    .section .imports.name.{dll}.{name}, "aw"
    .balign 2
name_{name}:
    .hword  0
    .asciz  "{name}"
"""

# The head of a list is empty: it is what the directory entry points at. The tail is the list's end.
DLL = """
    .section .imports.directory.{dll}, "aw"
    .balign 4
directory_{dll}:
    .word   lookup_head_{dll}, 0, 0, file_{dll}, address_head_{dll}
    .reloc  directory_{dll}, R_ARM_NONE, lookup_tail_{dll}
    .reloc  directory_{dll}, R_ARM_NONE, address_tail_{dll}

    .section .imports.name.{dll}, "aw"
file_{dll}:
    .asciz  "{file}"

    .section .imports.lookup.{dll}.0, "aw"
    .balign 4
lookup_head_{dll}:
    .section .imports.address.{dll}.0, "aw"
    .balign 4
address_head_{dll}:

    .section .imports.lookup.{dll}.2, "aw"
    .balign 4
lookup_tail_{dll}:
    .word   0
    .section .imports.address.{dll}.2, "aw"
    .balign 4
address_tail_{dll}:
    .word   0
"""


def read_list(path):
    """The DLL's file name and the functions of one .def file."""
    file, names = None, []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        line = line.split(";")[0].strip()
        if line.startswith("LIBRARY "):
            file = line.split()[1]
        elif re.fullmatch(r"\w+", line):
            if line != "EXPORTS":
                names.append(line)
        elif line:
            sys.exit(f"{path}:{number}: only plain names can be imported, not '{line}'")
    if not file:
        sys.exit(f"{path}: no LIBRARY line")
    return file, names


def assembly(paths):
    imports = {}
    for path in paths:
        file, names = read_list(Path(path))
        imports.setdefault(file, set()).update(names)
    parts = ["@ Written by make_imports.py.\n    .syntax unified\n    .arm\n"]
    for file in sorted(imports):
        dll = file.split(".")[0]
        parts.append(DLL.format(dll=dll, file=file))
        parts += [THUNK.format(dll=dll, name=name) for name in sorted(imports[file])]
    return "".join(parts)


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit("usage: make_imports.py OUTPUT.S LIST.def...")
    Path(sys.argv[1]).write_text(assembly(sys.argv[2:]))
