#!/usr/bin/env python3
"""Runs the test cases of a test image on emulated processors; see run_image.py."""

import argparse
import struct
import sys
from pathlib import Path

from run_image import HERE, HERE_AND_THERE, Phone, run_on
from emulator import Narrow, Wide
from phone_services import Order

# The oldest and the newest processor. Looking at every access takes longer than all the rest, and it finds the same at any
# base, so one run does it.
RUNS = [("SA-1110", HERE_AND_THERE[0], True), ("PXA270", HERE_AND_THERE[1], False)]

# Cases, by test image, that repeat very often what others do as well: they would take longer than all others together.
LEFT_OUT = {
    "device_user_settings": {
        "hundreds of loads and saves leave no key and no memory behind",
        "an exception at any value's reading is logged, ends the load there and leaves no key open",
        "an exception at any value's writing is logged, ends the save there and leaves no key open",
        "a value that fails to be written keeps what is stored and costs no other",
        "a value that fails to be read keeps its field and costs no other",
    },
    "device_option_file": {
        "a key at the end of ten megabytes is found",
        "a very long value is read to its end",
        "random bytes, line breaks among them, do no harm",
    },
    "device_extra_settings": {
        "a hundred loads and saves leave no key and no memory behind",
        "values are read in their order: an exception at any is logged, ends the load there and leaves no key open",
        "all numbers are written in their order, then the texts: an exception at any is logged and ends the save there",
        "a value that fails to be written keeps what is stored and costs no other",
        "a value that fails to be read keeps its field and costs no other",
    },
}

# Where the program is installed on the phone on which the simulator's tests find the translations as well.
TRANSLATED_PHONE, INSTALL_FOLDER = "wm6", "\\program files\\kelvane"
LANGUAGES = HERE.parent.parent / "languages"


class TestedPhone(Phone):
    """The stand-in phone with what tests ask of it (stand_in.def)."""

    def __init__(self, phones, unwanted):
        super().__init__(phones)
        self.unwanted, self.left_out = unwanted, set()
        self.passed, self.failures = 0, []

    def use(self, base):
        super().use(base)
        if base == TRANSLATED_PHONE:
            self.files |= {f"{INSTALL_FOLDER}\\{file.name.lower()}": bytearray(file.read_bytes())
                           for file in LANGUAGES.glob("*.txt")}

    # ---- Reports -----------------------------------------------------------------------------------------------------------

    def TestPrint(self, line: Narrow):
        if line.startswith("passed: "):
            self.passed += 1
        else:
            self.failures.append(line)

    def TestIsWanted(self, name: Narrow):
        if name in self.unwanted:
            self.left_out.add(name)
            return 0
        return 1

    # ---- Files -------------------------------------------------------------------------------------------------------------

    def _hand_out(self, content, buffer, size):
        if content is None:
            return -1
        if buffer and size >= len(content):
            self.machine.write(buffer, content)
        return len(content)

    def TestFile(self, path: Wide, buffer, size):
        return self._hand_out(self.files.get(path.lower()), buffer, size)

    def TestHostFile(self, path: Narrow, buffer, size):
        return self._hand_out(Path(path).read_bytes() if Path(path).exists() else None, buffer, size)

    def TestWriteFile(self, path: Wide, data, size):
        self.files.pop(path.lower(), None)
        if data:
            self.TestFolder(path.rpartition("\\")[0], 1)
            self.spelling[path.lower()] = path
            self.files[path.lower()] = bytearray(self.machine.read(data, size) if size else b"")

    def TestFolder(self, path: Wide, exists):
        self.spelling.setdefault(path.lower(), path)
        path = path.lower()
        if exists:
            parts = path.split("\\")
            self.folders |= {"\\".join(parts[:count]) for count in range(1, len(parts) + 1)}
            return
        self.folders = {folder for folder in self.folders if not (folder + "\\").startswith(path + "\\")}
        self.files = {file: data for file, data in self.files.items() if not file.startswith(path + "\\")}

    def TestJournal(self, buffer, size):
        text = "".join(line + "\n" for line in self.journal).encode()
        if buffer:
            self.machine.write(buffer, text[:size])
        return len(text)

    # ---- The simulator's functions for tests -------------------------------------------------------------------------------

    def TestThrows(self, function):
        self.thrower = function

    def SimUsePhone(self, base: Wide):
        """A phone that is in use already reads its facts anew; another one starts fresh."""
        if base != self.base:
            self.use(base)
        return 1

    def TestFreshPhone(self, base: Wide):
        self.use(base)
        return 1

    def SimSetSetting(self, section: Wide, key: Wide, value: Wide):
        self.settings[section.lower(), key.lower()] = value

    def WritePrivateProfileStringW(self, section: Wide, key: Wide, value: Wide, file):
        self.SimSetSetting(section, key, value)
        return 1

    def SimSetClock(self, time):
        self.clock = struct.unpack("<8H", self.machine.read(time, 16)) if time else None

    def SimOrderFault(self, kind: Wide, nth, call: Wide, throws):
        self.orders.append(Order(kind, nth, call or "", throws))
        return 1

    def SimClearFaults(self):
        self.orders = []

    def SimLiveAllocations(self):
        return len(self.heap.blocks)

    def SimLiveKeys(self):
        return len(self.open_keys)

    def SimLiveFiles(self):
        return len(self.open_files)

    def SimLiveSearches(self):
        return len(self.searches)

    def SimLiveGdi(self):
        return self.device_contexts

    def SimLiveProcesses(self):
        return sum(what in ("process", "thread") for what in self.handles.values())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program", type=Path)
    parser.add_argument("--phones", type=Path, required=True)
    parser.add_argument("--counts", type=Path, help="folder for the number of cases; see count_cases.py")
    arguments = parser.parse_args()

    program = arguments.program
    unwanted, counts = LEFT_OUT.get(program.stem, set()), []

    def judge(where, machine, exit_code):
        phone = machine.phone
        print(f"{where}: {phone.passed} cases passed, {len(phone.left_out)} left out")
        assert exit_code == 0 and not phone.failures, "\n".join(phone.failures) or f"exit code {exit_code}"
        assert phone.passed, "no case was run"
        assert phone.left_out == unwanted, f"there is no case to be left out: {', '.join(unwanted - phone.left_out)}"
        counts.append((phone.passed, len(phone.left_out)))

    if run_on(RUNS, program, lambda: TestedPhone(arguments.phones, unwanted), judge):
        sys.exit(1)
    if arguments.counts:
        arguments.counts.mkdir(parents=True, exist_ok=True)
        (arguments.counts / f"{program.stem}.cases").write_text("%d %d\n" % counts[0])


if __name__ == "__main__":
    main()
