#!/usr/bin/env python3
"""Writes a picture of every page and dialog, on every phone, in every language there is.

    shots.py DIR

The pictures are called <phone>-<language>-<view>.png. The program runs on copies of the phones with names of their own
and a clock that stands still, so that the pictures of two builds can be compared point by point.
"""
import itertools
import os
import shutil
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Optional, Tuple

from phone_copy import RUN_WINE, SIMULATOR, TREE, PhoneCopy, delivered_phones, windows_path

INSTALL_FOLDER = Path("root", "Program Files", "Kelvane")
SETTINGS_KEY = r"HKEY_CURRENT_USER\Software\Tessaryn\Kelvane"
CLOCK = "2008-03-07 14:05:00"
OPTION_FILE = b"; Kelvane, advanced options\r\nVibrateSetting=3short\r\nSignalAlarmDelay=60\r\nUseFastGraphics=1\r\n"
TIME_LIMIT = 120  # seconds, for one phone in one language


@dataclass(frozen=True)
class Language:
    name: str
    number: int  # the registry's value "lang"
    file: Optional[str]  # in languages/


@dataclass(frozen=True)
class View:
    name: str
    page: int  # of the property sheet, from 0
    control: Optional[int] = None  # on that page, opens the dialog in question
    inner: Optional[int] = None  # in that dialog, opens the dialog in question
    line: Optional[int] = None  # of the page's list, clicked before the picture
    presses: Tuple[int, ...] = ()  # controls of the dialog that are tapped before the picture is taken
    panel: bool = False  # with the input panel up


# What an alarm can be raised for.
WATCHED = ["SMS", "MMS", "Email", "emailCustomAlarms", "missedCalls", "voiceMail", "reminders"]

LANGUAGES = [
    Language("english", 0, None),
    Language("german", 1, "kvl_DE.txt"),
]

VIEWS = [
    View("display", 0),
    View("alarms", 1),
    View("advanced", 2),
    View("profiles", 3),
    View("addon", 4),
    View("about", 5),
    View("option-file", 5, control=1098),
    View("option-file-panel", 5, control=1098, panel=True),
    View("logging", 5, control=1193),
    View("display-panel", 0, panel=True),
    View("edit-profiles", 3, control=1280),
    View("schedule-time", 3, control=1268, presses=(1300, 1301, 1304)),
    View("schedule-event", 3, control=1268, presses=(1339,)),
    View("profiles-sound", 3, line=6),
    View("profiles-repeat", 3, line=7),
    View("profiles-heading", 3, line=20),
    View("profiles-ring-tone", 3, line=21),
    View("profiles-choice", 3, line=34),
    View("profiles-switch", 3, line=24),
    View("profiles-sim-code", 3, line=43),
    View("profiles-program", 3, line=44),
    View("find-file", 3, line=44, control=1325),
    View("profiles-panel", 3, line=9, panel=True),
    View("export-import", 3, control=1351),
    View("backup", 3, control=1351, inner=4),
    View("restore", 3, control=1351, inner=3),
    View("profile-copy", 3, control=1351, inner=1406),
]


SCHEDULE = "2,12345,07:30§3,<ActiveSync>,§0,67,22:00§4,<Busy>,§5,[Office],§"


def set_up(phone: PhoneCopy, language: Language):
    phone.set_facts("clock", now=CLOCK)
    phone.set_registry(SETTINGS_KEY, "lang", f"dword:{language.number:08x}")
    watch_everything(phone)
    phone.set_registry(SETTINGS_KEY, "backupPath", r'"\\Storage Card\\Backup"')
    phone.set_registry(SETTINGS_KEY, "timeData", f'"{SCHEDULE}"')
    (phone.folder / INSTALL_FOLDER).mkdir(parents=True, exist_ok=True)
    (phone.folder / INSTALL_FOLDER / "Kelvane_User.cfg").write_bytes(OPTION_FILE)
    if language.file:
        shutil.copy(TREE / "languages" / language.file, phone.folder / INSTALL_FOLDER)


def watch_everything(phone: PhoneCopy):
    """Lets the list of the Profiles page have all its rows, so that a line has the same number on every phone."""
    for name in WATCHED:
        phone.set_registry(SETTINGS_KEY, name, "dword:00000001")


def panel_button(phone: PhoneCopy):
    """Its middle: between the soft keys since Windows Mobile 5, at the right end before."""
    width, height = phone.screen
    return (width // 2 if phone.os_major >= 5 else width - int(20 * phone.scale)), height - int(13 * phone.scale)


def steps_of(view: View, phone: PhoneCopy, picture: Path):
    """The steps of shots.exe to one view and back to the plain sheet."""
    tap_panel = "tap {} {}".format(*panel_button(phone))
    yield f"page {view.page}"
    if view.line is not None:
        yield f"line {view.line}"
    if view.control is not None:
        yield f"command {view.control}"
    if view.inner is not None:
        yield f"command {view.inner}"
    for control in view.presses:
        yield f"press {control}"
    if view.panel:
        yield tap_panel
    yield f"shot {windows_path(picture)}"
    if view.panel:
        yield tap_panel
    if view.control is not None:
        yield "close"


def follow(steps, phone: PhoneCopy):
    """Lets shots.exe walk through the program on the phone, in a desktop window of the phone's size."""
    script, status = phone.folder / "shots.steps", phone.folder / "shots.status"
    script.write_text("\n".join(steps) + "\n", encoding="utf-8")
    # Relative paths, because what follows the desktop is not quoted on its way.
    script_path, status_path = (os.path.relpath(path, SIMULATOR).replace("/", "\\") for path in (script, status))
    desktop = "/desktop={},{}x{}".format(phone.name, *phone.screen)
    subprocess.run([RUN_WINE, "explorer", desktop, "session.exe", status_path, "shots.exe", script_path, "kvsettings.exe"],
                   cwd=SIMULATOR, env=phone.environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   timeout=TIME_LIMIT, check=True)
    if not status.exists() or status.read_text().strip() != "0":
        sys.exit(f"shots: no pictures of {phone.name}")


def take_pictures(original: Path, language: Language, folder: Path):
    """Bitmaps of every view of a phone in a language, in the folder."""
    with PhoneCopy(original, folder, f"shots-{language.name}") as phone:
        set_up(phone, language)
        pictures = [folder / f"{original.name}-{language.name}-{view.name}.bmp" for view in VIEWS]
        follow(itertools.chain.from_iterable(map(lambda view, picture: steps_of(view, phone, picture), VIEWS, pictures)),
               phone)
        return pictures


def write_pngs(bitmaps, target: Path):
    # Without the times that would make two files of the same picture differ.
    subprocess.run(["mogrify", "-format", "png", "-path", target, "-strip", "-define", "png:exclude-chunks=date,time",
                    *bitmaps], check=True)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: shots.py DIR")
    target = Path(sys.argv[1])
    target.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="shots-", dir=TREE / "build") as folder:
        bitmaps = []
        for original, language in itertools.product(delivered_phones(), LANGUAGES):
            bitmaps += take_pictures(original, language, Path(folder))
        write_pngs(bitmaps, target)
    print(f"{len(bitmaps)} pictures in {target}")


if __name__ == "__main__":
    main()
