#!/usr/bin/env python3
"""Runs a program of the device build on emulated processors, loaded at two addresses on each, and checks what comes out.

Needs an interpreter with the Unicorn emulator: on Debian /usr/bin/python3 with the package python3-unicorn.
"""

import argparse
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent.parent / "ce" / "device")]

from elf_to_pe import ElfFile          # noqa: E402
from emulator import Fault, Machine, PROCESSORS, STACK_TOP   # noqa: E402
from pe_image import PeImage           # noqa: E402
from phone_windows import Phone        # noqa: E402

# Loaded where the file says it belongs, and somewhere else: (processor, base, whether every access is looked at).
HERE_AND_THERE = (0x10000, 0x2010000)
EVERYWHERE = [(processor, base, True) for processor in PROCESSORS for base in HERE_AND_THERE]


def function_symbols(elf_path):
    """(address, name) of the functions, to say where something went wrong; none without the ELF file."""
    if not elf_path.exists():
        return []
    symbols = ElfFile(elf_path.read_bytes()).symbols
    return [(symbol.value, symbol.name) for symbol in symbols if symbol.section and symbol.name[:1] not in ("", "$")]


def run_on(runs, program, make_phone, judge):
    """Calls judge(where, machine, exit code) after each run; returns how many of them failed."""
    image, symbols, failed = PeImage(program.read_bytes()), function_symbols(program.with_suffix(".elf")), 0
    for processor, base, watch_accesses in runs:
        where = f"{processor} at {base:#x}"
        try:
            machine = Machine(image, processor, base, make_phone(), symbols, watch_accesses)
            judge(where, machine, machine.run())
        except (Fault, AssertionError) as problem:
            failed += 1
            print(f"{where}: {problem}", file=sys.stderr)
    return failed


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", type=Path)
    parser.add_argument("--phones", type=Path, default=HERE.parent.parent / "phones")
    parser.add_argument("--expect", action="append", default=[], help="something the program must do with windows")
    arguments = parser.parse_args()

    def judge(where, machine, exit_code):
        print(f"{where}: exit code {exit_code}, {STACK_TOP - machine.lowest_stack} bytes of stack")
        assert exit_code == 0, f"exit code {exit_code}"
        for wanted in arguments.expect:
            assert wanted in machine.phone.seen, f"not seen: {wanted}; seen: {machine.phone.seen}"

    sys.exit(1 if run_on(EVERYWHERE, arguments.program, lambda: Phone(arguments.phones), judge) else 0)


if __name__ == "__main__":
    main()
