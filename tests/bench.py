#!/usr/bin/env python3
"""Measures the program side by side with programs of the desktop, and prints a table. It judges nothing.

The subjects take turns, so that whatever else the machine does meets all of them alike; each figure is a median over the
rounds. Compare the ratios: the figures themselves are those of this machine.
"""
import contextlib
import re
import statistics
import subprocess
import tempfile
import uuid
from dataclasses import dataclass
from pathlib import Path

import bench_exchange
from phone_copy import RUN_WINE, SIMULATOR, TREE, PhoneCopy

ROUNDS = 15
WARM_UP_ROUNDS = 1  # the first start reads everything from the disk
TIME_LIMIT = 60  # seconds, for one run of one subject
PHONE = "wm6"
WINE_PROGRAMS = Path("/usr/lib/x86_64-linux-gnu/wine/x86_64-windows")
PROFILES_PAGE = 3  # of the sheet, from 0
SOUND_FILES = (20, 5000)  # on the storage card; the second is beyond what the catalogue takes
STRIP = "x86_64-w64-mingw32-strip"


@dataclass(frozen=True)
class Subject:
    name: str
    window_class: str
    program: str
    file: Path


@dataclass(frozen=True)
class Row:
    title: str
    measure: str
    other: str  # the subject compared with
    unit: str
    per_unit: float  # what the figures are divided by
    goal: str


SETTINGS = Subject("kvsettings", "#32770", "kvsettings.exe", SIMULATOR / "kvsettings.exe")
SUBJECTS = [
    SETTINGS,
    Subject("winecfg", "#32770", "winecfg.exe", WINE_PROGRAMS / "winecfg.exe"),
    Subject("bare window", "BareWindow", "bench_window.exe", SIMULATOR / "bench_window.exe"),
]

ROWS = [
    Row("start to first page", "visible", "winecfg", "ms", 1, "at most 1"),
    Row("start to first page", "visible", "bare window", "ms", 1, ""),
    Row("page, first visit", "visit", "winecfg", "ms", 1, ""),
    Row("page, shown again", "revisit", "winecfg", "ms", 1, ""),
    Row("commit", "commit", "winecfg", "MB", 1024 * 1024, "below 7 MB"),
    Row("commit", "commit", "bare window", "MB", 1024 * 1024, ""),
    Row("size, stripped", "size", "winecfg", "KB", 1024, "below 450 KB"),
]


def process_of(subject: Subject, mark: bytes):
    """The process of a subject among those with the mark in their environment."""
    for process in Path("/proc").glob("[0-9]*"):
        try:
            # The kernel keeps 15 characters of a name.
            if (process / "comm").read_text().strip() == subject.program[:15] and mark in (process / "environ").read_bytes():
                return process
        except OSError:  # has ended meanwhile, or is somebody else's
            pass
    raise LookupError(f"{subject.program} does not run")


def commit(process: Path):
    """Bytes only this process has and that no file holds, in memory or swapped out. Wine's own figure is no use: it
    answers 0 for other processes."""
    kilobytes = re.findall(r"^(?:Private_Dirty|Swap):\s+(\d+) kB", (process / "smaps_rollup").read_text(), re.MULTILINE)
    return sum(map(int, kilobytes)) * 1024


def run(subject: Subject, phone: PhoneCopy):
    """{measure: figure} of one run."""
    mark = str(uuid.uuid4())
    with subprocess.Popen([RUN_WINE, "bench_watch.exe", subject.window_class, subject.program], cwd=SIMULATOR,
                          env=dict(phone.environment, KV_BENCH=mark), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True) as watch:
        lines = [watch.stdout.readline()]
        memory = commit(process_of(subject, mark.encode())) if lines[0] else 0
        rest, _ = watch.communicate("\n", timeout=TIME_LIMIT)
    if watch.returncode != 0:
        raise RuntimeError(f"{subject.program} did not show its window, or did not end")
    figures = {name: float(figure) for name, figure in map(str.split, lines + rest.splitlines())}
    return dict(figures, commit=memory)


def stripped_size(file: Path, folder: Path):
    stripped = folder / file.name
    subprocess.run([STRIP, "-o", stripped, file], check=True)
    return stripped.stat().st_size


def measure_all(folder: Path):
    """{subject's name: {measure: median}}"""
    runs = {subject.name: [] for subject in SUBJECTS}
    with PhoneCopy(TREE / "phones" / PHONE, folder, "bench") as phone:
        for number in range(WARM_UP_ROUNDS + ROUNDS):
            for subject in SUBJECTS:
                figures = run(subject, phone)
                if number >= WARM_UP_ROUNDS:
                    runs[subject.name].append(figures)
    medians = {name: {measure: statistics.median(each[measure] for each in taken) for measure in taken[0]}
               for name, taken in runs.items()}
    for subject in SUBJECTS:
        medians[subject.name]["size"] = stripped_size(subject.file, folder)
    return medians


def with_sounds(phone: PhoneCopy, count: int):
    """The phone with that many sound files on its storage card."""
    card = phone.folder / "root" / "Storage Card"
    for number in range(count):
        (card / f"tone {number:04}.wav").touch()
    return phone


def measure_profiles_page(folder: Path):
    """{number of sound files on the card: milliseconds to show the Profiles page for the first time}, medians."""
    runs = {count: [] for count in SOUND_FILES}
    with contextlib.ExitStack() as stack:
        phones = {count: with_sounds(stack.enter_context(PhoneCopy(TREE / "phones" / PHONE, folder, f"bench-{count}")), count)
                  for count in SOUND_FILES}
        for number in range(WARM_UP_ROUNDS + ROUNDS):
            for count, phone in phones.items():
                figure = run(SETTINGS, phone)[f"visit{PROFILES_PAGE}"]
                if number >= WARM_UP_ROUNDS:
                    runs[count].append(figure)
    return {count: statistics.median(taken) for count, taken in runs.items()}


def print_profiles_page(medians):
    few, many = (f"{figure:.1f} ms" for figure in medians.values())
    names = [f"{count} sounds" for count in medians]
    ratio = medians[SOUND_FILES[1]] / medians[SOUND_FILES[0]]
    print(f"{'Profiles page, ' + names[1]:26}{many:>10}  {names[0]:<14}{few:>12}  {ratio:>6.2f}")


def print_table(medians):
    print(f"{'':22}{SETTINGS.name:>14}  {'compared with':<28}{'ratio':>6}  goal")
    for row in ROWS:
        own, other = medians[SETTINGS.name][row.measure], medians[row.other][row.measure]
        figures = [f"{figure / row.per_unit:.1f} {row.unit}" for figure in (own, other)]
        print(f"{row.title:22}{figures[0]:>14}  {row.other:<14}{figures[1]:>12}  {own / other:>6.2f}  {row.goal}".rstrip())


def print_exchange(folder: Path):
    with PhoneCopy(TREE / "phones" / PHONE, folder, "bench-exchange") as phone:
        for title, own, other_name, other in bench_exchange.measure(phone, ROUNDS, WARM_UP_ROUNDS):
            print(f"{title:22}{own * 1000:>11.1f} ms  {other_name:<14}{other * 1000:>9.1f} ms  {own / other:>6.2f}  at most 1")


def main():
    with tempfile.TemporaryDirectory(prefix="bench-", dir=TREE / "build") as folder:
        print_table(measure_all(Path(folder)))
        print_profiles_page(measure_profiles_page(Path(folder)))
        print_exchange(Path(folder))
    print(f"\nMedians of {ROUNDS} rounds. Commit: private dirty pages and swapped ones.")


if __name__ == "__main__":
    main()
