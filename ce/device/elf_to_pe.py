#!/usr/bin/env python3
"""Turns a linked ELF file (layout: image.ld) and a compiled resource file into a program file for Windows CE on ARM.

The ELF file is linked at base 0, so its addresses are the offsets from the image's base that a program file speaks of. Two
things remain to be done: words that hold addresses get the base added and are listed as base relocations, and the
resources become the directory tree that the system searches. The output depends on nothing but the two inputs.
"""

import struct
import sys
from collections import namedtuple
from pathlib import Path

IMAGE_BASE = 0x10000
SECTION_ALIGNMENT = 0x1000
FILE_ALIGNMENT = 0x200
STACK_RESERVE = 0x10000   # what a phone gives a program; check_image.py holds the code to it

MACHINE_ARM = 0x1C0
SUBSYSTEM_WINDOWS_CE_GUI = 9
SYSTEM_VERSION = (4, 20)   # Pocket PC 2003; later systems run it too, earlier ones refuse it

CODE, INITIALIZED, UNINITIALIZED = 0x20, 0x40, 0x80
DISCARDABLE, EXECUTE, READ, WRITE = 0x02000000, 0x20000000, 0x40000000, 0x80000000

SECTION_FLAGS = {
    ".text": CODE | EXECUTE | READ,
    ".rdata": INITIALIZED | READ,
    ".idata": INITIALIZED | READ | WRITE,   # the system writes the imported addresses
    ".data": INITIALIZED | READ | WRITE,
    ".bss": UNINITIALIZED | READ | WRITE,
    ".rsrc": INITIALIZED | READ,
    ".reloc": INITIALIZED | READ | DISCARDABLE,
}

# ELF relocation types, by what they mean for the word they are about. TARGET1 and TARGET2 are what the link options
# --target1-abs and --target2=rel make of them.
ABSOLUTE = {2: "ABS32", 38: "TARGET1"}
RELATIVE = {0: "NONE", 3: "REL32", 28: "CALL", 29: "JUMP24", 40: "V4BX", 41: "TARGET2", 42: "PREL31"}
BASE_RELOCATION_HIGHLOW = 3

Symbol = namedtuple("Symbol", "name value section")
Relocation = namedtuple("Relocation", "address type symbol")
Section = namedtuple("Section", "name address size data")   # data is empty for .bss


class Unconvertible(Exception):
    """The input cannot become a program file; the text says why."""


def align(value, alignment):
    return -(-value // alignment) * alignment


def pad(data, alignment):
    return data + bytes(align(len(data), alignment) - len(data))


def text_at(data, offset):
    return data[offset:data.index(0, offset)].decode()


# ---- Reading the ELF file --------------------------------------------------------------------------------------------

class ElfFile:
    """Sections that are loaded, their relocations, the symbols and the entry point of a linked 32-bit ELF file."""

    ALLOCATED = 2
    TYPE_SYMBOLS, TYPE_NOBITS, TYPE_REL, TYPE_RELA = 2, 8, 9, 4

    def __init__(self, data):
        if data[:6] != b"\x7fELF\x01\x01":
            raise Unconvertible("not a 32-bit little-endian ELF file")
        self.data = data
        self.entry, table = struct.unpack_from("<24xI4xI", data)
        count, names = struct.unpack_from("<48xHH", data)
        self.headers = [struct.unpack_from("<10I", data, table + 40 * index) for index in range(count)]
        self.names = [text_at(data, self.headers[names][4] + header[0]) for header in self.headers]
        self.symbols = self.read_symbols()
        self.sections = [self.section(index) for index in range(count) if self.headers[index][2] & self.ALLOCATED]

    def section(self, index):
        _, kind, _, address, offset, size = self.headers[index][:6]
        data = b"" if kind == self.TYPE_NOBITS else self.data[offset:offset + size]
        return Section(self.names[index], address, size, data)

    def read_symbols(self):
        header = next((header for header in self.headers if header[1] == self.TYPE_SYMBOLS), None)
        if not header:
            raise Unconvertible("the ELF file has no symbols")
        names = self.headers[header[6]][4]
        symbols = []
        for offset in range(header[4], header[4] + header[5], 16):
            name, value, _, _, _, section = struct.unpack_from("<IIIBBH", self.data, offset)
            symbols.append(Symbol(text_at(self.data, names + name), value, section))
        return symbols

    def relocations(self, section_name):
        for header in self.headers:
            if header[1] == self.TYPE_RELA:
                raise Unconvertible("relocations with addends of their own are not expected on ARM")
            if header[1] != self.TYPE_REL or self.names[header[7]] != section_name:
                continue
            for address, info in struct.iter_unpack("<II", self.data[header[4]:header[4] + header[5]]):
                yield Relocation(address, info & 0xFF, self.symbols[info >> 8])

    def address_of(self, name):
        return next(symbol.value for symbol in self.symbols if symbol.name == name)


# ---- Addresses -------------------------------------------------------------------------------------------------------

UNDEFINED, ABSOLUTE_SYMBOL = 0, 0xFFF1


def moves_with_image(symbol):
    """Not so for a weak symbol that nothing defines, which stays null, and for a plain number."""
    return symbol.section not in (UNDEFINED, ABSOLUTE_SYMBOL)


def rebase(section, relocations):
    """The section with the image base in its address words, and the addresses of these words."""
    data, places = bytearray(section.data), []
    for relocation in relocations:
        if relocation.type in RELATIVE:
            continue
        where = f"{section.name} at {relocation.address:#x}, symbol '{relocation.symbol.name}'"
        if relocation.type not in ABSOLUTE:
            raise Unconvertible(f"unknown relocation type {relocation.type} in {where}")
        if relocation.address % 4:
            raise Unconvertible(f"address word not aligned in {where}")
        if section.name == ".idata" or not moves_with_image(relocation.symbol):
            continue
        offset = relocation.address - section.address
        word, = struct.unpack_from("<I", data, offset)
        struct.pack_into("<I", data, offset, word + IMAGE_BASE)
        places.append(relocation.address)
    return section._replace(data=bytes(data)), places


def base_relocations(places):
    """The relocation section: a block per 4 KB page, each padded to whole words."""
    blocks, places = b"", sorted(places)
    for page in sorted({place & ~0xFFF for place in places}):
        entries = [BASE_RELOCATION_HIGHLOW << 12 | place & 0xFFF for place in places if place & ~0xFFF == page]
        entries += [0] * (len(entries) % 2)
        blocks += struct.pack(f"<II{len(entries)}H", page, 8 + 2 * len(entries), *entries)
    return blocks


# ---- Resources -------------------------------------------------------------------------------------------------------

def read_identifier(data, offset):
    """A number or a text, and the offset behind it."""
    if data[offset:offset + 2] == b"\xff\xff":
        return struct.unpack_from("<H", data, offset + 2)[0], offset + 4
    end = offset
    while data[end:end + 2] != b"\0\0":
        end += 2
    return data[offset:end].decode("utf-16-le"), end + 2


def read_resources(data):
    """The resources of a .res file: {(type, name, language): bytes}."""
    resources, offset = {}, 0
    while offset + 8 <= len(data):
        size, header_size = struct.unpack_from("<II", data, offset)
        kind, position = read_identifier(data, offset + 8)
        name, position = read_identifier(data, position)
        language, = struct.unpack_from("<6xH", data, align(position, 4))
        content = offset + header_size
        if kind != 0:   # the file begins with an empty record of that type
            resources[kind, name, language] = data[content:content + size]
        offset = align(content + size, 4)
    return resources


def resource_tree(resources):
    """Three levels of directories: types, names, languages. A directory is a list of (identifier, child) in the order the
    system searches, texts before numbers; a leaf is a tuple of one bytes object."""
    tree = {}
    for kind, name, language in resources:
        tree.setdefault(kind, {}).setdefault(name, {})[language] = (resources[kind, name, language],)

    def in_order(node):
        if isinstance(node, tuple):
            return node
        return [(key, in_order(node[key])) for key in sorted(node, key=lambda key: (isinstance(key, int), key))]

    return in_order(tree)


def packed_text(text):
    return struct.pack("<H", len(text)) + text.encode("utf-16-le")


def packed_directory(directory, offset_of):
    texts = sum(isinstance(identifier, str) for identifier, _ in directory)
    packed = struct.pack("<12xHH", texts, len(directory) - texts)
    for identifier, child in directory:
        key = 0x80000000 | offset_of[identifier] if isinstance(identifier, str) else identifier
        subdirectory = 0x80000000 if isinstance(child, list) else 0
        packed += struct.pack("<II", key, subdirectory | offset_of[id(child)])
    return packed


def resource_section(resources, address):
    """The directories breadth first, then where and how long the data are, the texts, and the data."""
    directories = [resource_tree(resources)]
    for directory in directories:   # grows meanwhile
        directories += [child for _, child in directory if isinstance(child, list)]
    leaves = [child for directory in directories for _, child in directory if isinstance(child, tuple)]
    texts = {identifier: packed_text(identifier)
             for directory in directories for identifier, _ in directory if isinstance(identifier, str)}

    offset, offset_of = 0, {}
    for key, size in ([(id(directory), 16 + 8 * len(directory)) for directory in directories]
                      + [(id(leaf), 16) for leaf in leaves]
                      + [(text, len(packed)) for text, packed in texts.items()]):
        offset_of[key] = offset
        offset += size
    contents = align(offset, 4)

    packed = b"".join(packed_directory(directory, offset_of) for directory in directories)
    content = b""
    for data, in leaves:
        packed += struct.pack("<II8x", address + contents + len(content), len(data))
        content += pad(data, 4)
    return pad(packed + b"".join(texts.values()), 4) + content


# ---- Writing the program file ----------------------------------------------------------------------------------------

def program_file(sections, entry, directories):
    headers_size = align(0x40 + 24 + 224 + 40 * len(sections), FILE_ALIGNMENT)
    table, bodies, position = b"", b"", headers_size
    for section in sections:
        body = pad(section.data, FILE_ALIGNMENT)
        table += struct.pack("<8sIIIIIIHHI", section.name.encode(), section.size, section.address, len(body),
                             position if body else 0, 0, 0, 0, 0, SECTION_FLAGS[section.name])
        bodies += body
        position += len(body)

    def total(flag):
        return sum(align(s.size, FILE_ALIGNMENT) for s in sections if SECTION_FLAGS[s.name] & flag)

    image_size = align(max(s.address + s.size for s in sections), SECTION_ALIGNMENT)
    code, data = (next(s.address for s in sections if bool(SECTION_FLAGS[s.name] & CODE) == is_code)
                  for is_code in (True, False))
    dos_header = b"MZ".ljust(0x3C, b"\0") + struct.pack("<I", 0x40)
    file_header = struct.pack("<4sHHIIIHH", b"PE", MACHINE_ARM, len(sections), 0, 0, 0, 224, 0x0102)
    optional_header = struct.pack(
        "<HBBIIIIII" "IIIHHHHHHIIIIHH" "IIIIII",
        0x10B, 0, 0, total(CODE), total(INITIALIZED), total(UNINITIALIZED), entry, code, data,
        IMAGE_BASE, SECTION_ALIGNMENT, FILE_ALIGNMENT, *SYSTEM_VERSION, 0, 0, *SYSTEM_VERSION, 0, image_size,
        headers_size, 0, SUBSYSTEM_WINDOWS_CE_GUI, 0,
        STACK_RESERVE, 0x1000, 0x100000, 0x1000, 0, 16)
    for number in range(16):
        optional_header += struct.pack("<II", *directories.get(number, (0, 0)))
    return pad(dos_header + file_header + optional_header + table, FILE_ALIGNMENT) + bodies


def convert(elf_data, resource_data):
    elf = ElfFile(elf_data)
    sections, places = [], []
    for section in elf.sections:
        if section.name not in SECTION_FLAGS:
            raise Unconvertible(f"section {section.name} has no place in the program file")
        if section.size:
            section, found = rebase(section, elf.relocations(section.name))
            sections.append(section)
            places += found

    def append(name, make):
        """Adds a section behind the last one; returns its place for the list of directories."""
        address = align(sections[-1].address + sections[-1].size, SECTION_ALIGNMENT)
        data = make(address)
        sections.append(Section(name, address, len(data), data))
        return address, len(data)

    def between(begin, end):
        return elf.address_of(begin), elf.address_of(end) - elf.address_of(begin)

    directories = {1: between("importDirectoryBegin", "importDirectoryEnd"),
                   12: between("importAddressesBegin", "importAddressesEnd")}
    resources = read_resources(resource_data)
    if resources:
        directories[2] = append(".rsrc", lambda address: resource_section(resources, address))
    directories[5] = append(".reloc", lambda address: base_relocations(places))
    return program_file(sections, elf.entry, directories)


def main():
    if len(sys.argv) != 4:
        sys.exit("usage: elf_to_pe.py INPUT.elf INPUT.res OUTPUT.exe")
    elf_path, resource_path, program_path = map(Path, sys.argv[1:])
    try:
        program_path.write_bytes(convert(elf_path.read_bytes(), resource_path.read_bytes()))
    except Unconvertible as problem:
        sys.exit(f"{elf_path}: {problem}")


if __name__ == "__main__":
    main()
