#!/usr/bin/env python3
"""Says how many test cases have run on emulated processors, from what run_tests.py has written into a folder."""

import sys
from pathlib import Path


def main():
    counts = [[int(number) for number in file.read_text().split()] for file in Path(sys.argv[1]).glob("*.cases")]
    if counts:
        passed, left_out = (sum(column) for column in zip(*counts))
        print(f"On the emulated phone: {passed} cases of {len(counts)} test images passed, {left_out} left out")


if __name__ == "__main__":
    main()
