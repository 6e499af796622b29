"""Reads a program file of the device build: headers, sections, imports, base relocations, resources."""

import struct
from collections import namedtuple

Section = namedtuple("Section", "name address size flags data")
Import = namedtuple("Import", "dll name slot")   # slot: where the system writes the function's address

DIRECTORY_IMPORTS, DIRECTORY_RESOURCES, DIRECTORY_RELOCATIONS, DIRECTORY_IMPORT_ADDRESSES = 1, 2, 5, 12


class PeImage:
    """All addresses are relative to the image's base."""

    def __init__(self, data):
        self.data = data
        header, = struct.unpack_from("<I", data, 0x3C)
        (self.signature, self.machine, section_count, self.time_stamp, optional_size,
         self.characteristics) = struct.unpack_from("<4sHHI8xHH", data, header)
        optional = header + 24
        self.magic, = struct.unpack_from("<H", data, optional)
        self.entry, = struct.unpack_from("<I", data, optional + 16)
        self.base, self.section_alignment, self.file_alignment = struct.unpack_from("<III", data, optional + 28)
        self.subsystem_version = struct.unpack_from("<HH", data, optional + 48)
        self.image_size, self.headers_size = struct.unpack_from("<II", data, optional + 56)
        self.subsystem, = struct.unpack_from("<H", data, optional + 68)
        self.stack_reserve, = struct.unpack_from("<I", data, optional + 72)
        self.directories = [struct.unpack_from("<II", data, optional + 96 + 8 * number) for number in range(16)]
        self.sections = [self._section(optional + optional_size + 40 * number) for number in range(section_count)]
        self.memory = self._memory()

    def _section(self, offset):
        name, size, address, file_size, position, flags = struct.unpack_from("<8sIIII12xI", self.data, offset)
        return Section(name.rstrip(b"\0").decode(), address, size, flags, self.data[position:position + file_size])

    def _memory(self):
        memory = bytearray(self.image_size)
        memory[:self.headers_size] = self.data[:self.headers_size]
        for section in self.sections:
            content = section.data[:section.size]
            memory[section.address:section.address + len(content)] = content
        return memory

    def section(self, name):
        return next(section for section in self.sections if section.name == name)

    def word(self, address):
        return struct.unpack_from("<I", self.memory, address)[0]

    def text(self, address):
        return self.memory[address:self.memory.index(0, address)].decode()

    def imports(self):
        """All imported functions; name is None for one that is imported by number."""
        entry = self.directories[DIRECTORY_IMPORTS][0]
        while self.word(entry):
            lookup, dll, slot = self.word(entry), self.text(self.word(entry + 12)), self.word(entry + 16)
            while word := self.word(lookup):
                yield Import(dll, None if word & 0x80000000 else self.text(word + 2), slot)
                lookup, slot = lookup + 4, slot + 4
            entry += 20

    def relocations(self):
        """(address, type) of every base relocation, without the padding entries."""
        block, size = self.directories[DIRECTORY_RELOCATIONS]
        end = block + size
        while block < end:
            page, block_size = struct.unpack_from("<II", self.memory, block)
            for entry, in struct.iter_unpack("<H", self.memory[block + 8:block + block_size]):
                if entry:
                    yield page + (entry & 0xFFF), entry >> 12
            block += block_size

    def relocated(self, base):
        """The memory image as it lies when loaded at base."""
        memory = bytearray(self.memory)
        for address, _ in self.relocations():
            struct.pack_into("<I", memory, address, self.word(address) + base - self.base & 0xFFFFFFFF)
        return memory

    def find_resource(self, kind, name):
        """Where the description (address, size) of a resource lies, whatever its language; None when there is none."""
        root = found = self.directories[DIRECTORY_RESOURCES][0]
        for identifier in (kind, name, None):
            found = found and self._resource_entry(root, found, identifier)
        return found

    def resource(self, kind, name):
        found = self.find_resource(kind, name)
        if found is None:
            return None
        address, size = struct.unpack_from("<II", self.memory, found)
        return bytes(self.memory[address:address + size])

    def _resource_entry(self, root, directory, wanted):
        texts, numbers = struct.unpack_from("<12xHH", self.memory, directory)
        for index in range(texts + numbers):
            key, target = struct.unpack_from("<II", self.memory, directory + 16 + 8 * index)
            if wanted is None or self._resource_key(root, key) == wanted:
                return root + (target & 0x7FFFFFFF)
        return None

    def _resource_key(self, root, key):
        if not key & 0x80000000:
            return key
        text = root + (key & 0x7FFFFFFF)
        length, = struct.unpack_from("<H", self.memory, text)
        return self.memory[text + 2:text + 2 + 2 * length].decode("utf-16-le")
