#!/usr/bin/env python3
"""Checks a program of the device build before it ever meets a phone. Run on every build; prints every problem it finds.

What it is given beside the program: the ELF file it was made from, the compiled resources, the list of names that phones
export, and the call graphs that the compiler wrote beside the object files (-fcallgraph-info=su).
"""

import argparse
import re
import subprocess
import sys
from pathlib import Path

import elf_to_pe
from elf_to_pe import CODE, EXECUTE, INITIALIZED, READ, SECTION_FLAGS, WRITE
from pe_image import DIRECTORY_IMPORT_ADDRESSES, DIRECTORY_IMPORTS, DIRECTORY_RELOCATIONS, PeImage

SIZE_LIMIT = 250 * 1024

# A phone gives a thread 64 KB of stack. A quarter is the system's, for what it puts there while it works for us and calls
# us back, and dialogs nest: main window, Options dialog, sheet, page, list. So no straight chain of our own calls takes more
# than half of it, and no single function more than an eighth.
FRAME_LIMIT = 8 * 1024
CHAIN_LIMIT = 32 * 1024

NEWEST_PROCESSOR = "v4T"
OLDER_PROCESSORS = {"Pre-v4", "v4", NEWEST_PROCESSOR}


# ---- The file --------------------------------------------------------------------------------------------------------

def check_headers(image):
    expected = [("signature", image.signature, b"PE\0\0"), ("machine", image.machine, 0x1C0),
                ("magic", image.magic, 0x10B), ("subsystem", image.subsystem, 9),
                ("subsystem version", image.subsystem_version, (4, 20)), ("image base", image.base, 0x10000),
                ("section alignment", image.section_alignment, 0x1000),
                ("file alignment", image.file_alignment, 0x200), ("stack reserve", image.stack_reserve, 0x10000),
                ("characteristics", image.characteristics, 0x0102), ("time stamp", image.time_stamp, 0)]
    for what, found, wanted in expected:
        if found != wanted:
            yield f"header: {what} is {found}, not {wanted}"


def check_sections(image):
    end = image.headers_size
    for section in image.sections:
        if section.flags != SECTION_FLAGS.get(section.name):
            yield f"section {section.name}: flags {section.flags:#x}"
        if section.address < end or section.address % image.section_alignment:
            yield f"section {section.name} lies at {section.address:#x}, over another one or not on a page"
        end = section.address + section.size
    if end > image.image_size:
        yield "the image's size does not cover its sections"
    code = image.section(".text")
    if not code.address <= image.entry < code.address + code.size:
        yield f"the entry point {image.entry:#x} is not in the code"
    for name, number in (("imports", DIRECTORY_IMPORTS), ("import addresses", DIRECTORY_IMPORT_ADDRESSES),
                         ("relocations", DIRECTORY_RELOCATIONS)):
        if not image.directories[number][1]:
            yield f"there is no directory of {name}"


def check_relocations(image, elf):
    """Every absolute word of the ELF file is relocated, nothing else is, and each points into the image."""
    wanted = {relocation.address for section in elf.sections if section.name != ".idata"
              for relocation in elf.relocations(section.name)
              if relocation.type in elf_to_pe.ABSOLUTE and elf_to_pe.moves_with_image(relocation.symbol)}
    found = dict(image.relocations())
    for address in sorted(wanted - found.keys()):
        yield f"the address word at {address:#x} is not relocated"
    for address in sorted(found.keys() - wanted):
        yield f"a relocation at {address:#x} is about no address word"
    for address, kind in found.items():
        if kind != elf_to_pe.BASE_RELOCATION_HIGHLOW or address % 4:
            yield f"the relocation at {address:#x} is of type {kind} or not aligned"
        elif not 0 < image.word(address) - image.base <= image.image_size:
            yield f"the address word at {address:#x} points out of the image: {image.word(address):#x}"


def check_size(image):
    if len(image.data) > SIZE_LIMIT:
        yield f"the program is {len(image.data)} bytes long; the limit is {SIZE_LIMIT}"


# ---- Imports ---------------------------------------------------------------------------------------------------------

def read_exports(path):
    """{(dll, name): first system version} from phone_exports.txt."""
    exports = {}
    for line in path.read_text().splitlines():
        if line and not line.startswith("#"):
            dll, version, name = line.split()
            exports[dll, name] = tuple(int(part) for part in version.split("."))
    return exports


def check_imports(image, exports):
    for dll, name, _ in image.imports():
        if name is None:
            yield f"{dll}: a function is imported by number"
        elif (dll, name) not in exports:
            yield f"{dll}: no phone is known to export {name}"
        elif exports[dll, name] > image.subsystem_version:
            version = "{}.{:02}".format(*exports[dll, name])
            yield f"{dll}: {name} came with system version {version}; look it up at run time"


# ---- Processor -------------------------------------------------------------------------------------------------------

def check_processor(elf_path):
    """The linker notes the newest processor that any part of the program, libraries included, was compiled for."""
    attributes = subprocess.run(["arm-none-eabi-readelf", "-A", elf_path], check=True, capture_output=True, text=True)
    found = re.search(r"Tag_CPU_arch: (\S+)", attributes.stdout)
    processor = found.group(1) if found else "unknown"
    if processor not in OLDER_PROCESSORS:
        yield f"the code is for processor {processor}; the oldest phones have {NEWEST_PROCESSOR}"


# ---- Resources -------------------------------------------------------------------------------------------------------

def resource_by_stock_tool(program, kind, name):
    command = ["wrestool", "--extract", "--raw", f"--type={kind}", f"--name={name}", program]
    return subprocess.run(command, capture_output=True).stdout


def check_resources(image, program, resource_data):
    resources = elf_to_pe.read_resources(resource_data)
    for kind, name, language in resources:
        wanted = resources[kind, name, language]
        for reader, found in (("our reader", image.resource(kind, name)),
                              ("wrestool", resource_by_stock_tool(program, kind, name))):
            if found != wanted:
                yield f"resource {kind} {name}: {reader} does not find what was compiled"
    if image.resource("CEUX", "HI_RES_AWARE") != b"\x01\x00":
        yield "the mark for high-resolution screens is missing"


# ---- Stack -----------------------------------------------------------------------------------------------------------

class CallGraph:
    """Who calls whom with how much stack, from the compiler's .ci files. Calls through pointers are not in it."""

    NODE = re.compile(r'node: { title: "([^"]+)" label: "[^"]*\\n(\d+) bytes \(([^)]*)\)')
    EDGE = re.compile(r'edge: { sourcename: "([^"]+)" targetname: "([^"]+)"')

    def __init__(self, paths):
        self.frames, self.calls, self.unbounded = {}, {}, set()
        for path in paths:
            text = path.read_text()
            for name, size, kind in self.NODE.findall(text):
                self.frames[name] = max(int(size), self.frames.get(name, 0))
                if kind not in ("static", "dynamic,bounded"):
                    self.unbounded.add(name)
            for caller, callee in self.EDGE.findall(text):
                self.calls.setdefault(caller, set()).add(callee)
        self.recursions = set()
        self.chains = {}

    def deepest_chain(self, function, above=()):
        """(bytes, functions) of the deepest chain that begins here."""
        if function in above:
            self.recursions.add(above[above.index(function):])
            return 0, ()
        if function not in self.chains:
            below = [self.deepest_chain(callee, above + (function,)) for callee in sorted(self.calls.get(function, ()))]
            size, names = max(below, default=(0, ()))
            self.chains[function] = (size + self.frames.get(function, 0), (function,) + names)
        return self.chains[function]


def short_name(title):
    return title.split(":")[-1]


def check_stack(graph):
    for function, size in sorted(graph.frames.items()):
        if size > FRAME_LIMIT:
            yield f"{short_name(function)} takes {size} bytes of stack; the limit is {FRAME_LIMIT}"
    for function in sorted(graph.unbounded):
        yield f"{short_name(function)} takes stack as it runs, without a bound that is known"
    size, chain = max(graph.deepest_chain(function) for function in sorted(graph.frames))
    if size > CHAIN_LIMIT:
        yield f"a chain of calls takes {size} bytes of stack; the limit is {CHAIN_LIMIT}: {' > '.join(map(short_name, chain))}"
    for cycle in sorted(graph.recursions):
        yield f"recursion, whose depth nothing limits: {' > '.join(map(short_name, cycle))}"


# ---- All of it -------------------------------------------------------------------------------------------------------

def summary(image, graph):
    function, frame = max(graph.frames.items(), key=lambda item: item[1])
    chain, names = max(graph.deepest_chain(function) for function in graph.frames)
    return (f"{len(image.data)} bytes, {sum(1 for _ in image.imports())} imports, "
            f"{sum(1 for _ in image.relocations())} relocations; largest frame {frame} ({short_name(function)}), "
            f"deepest chain {chain} ({short_name(names[0])} ... {short_name(names[-1])})")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for argument in ("program", "elf", "resources", "exports"):
        parser.add_argument(f"--{argument}", type=Path, required=True)
    parser.add_argument("--call-graphs", type=Path, action="append", required=True, help="folder searched for .ci files")
    arguments = parser.parse_args()

    image = PeImage(arguments.program.read_bytes())
    elf = elf_to_pe.ElfFile(arguments.elf.read_bytes())
    graph = CallGraph(sorted(path for folder in arguments.call_graphs for path in folder.rglob("*.ci")))
    if not graph.frames:
        sys.exit("check_image: no call graphs found")
    problems = [*check_headers(image), *check_sections(image), *check_relocations(image, elf), *check_size(image),
                *check_imports(image, read_exports(arguments.exports)), *check_processor(arguments.elf),
                *check_resources(image, arguments.program, arguments.resources.read_bytes()), *check_stack(graph)]
    for problem in problems:
        print(f"{arguments.program.name}: {problem}", file=sys.stderr)
    if problems:
        sys.exit(1)
    print(f"{arguments.program.name}: {summary(image, graph)}")


if __name__ == "__main__":
    main()
