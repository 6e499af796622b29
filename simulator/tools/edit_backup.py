#!/usr/bin/env python3
"""Edits the backup of a phone's settings without the phone: `./kv edit` starts this.

    edit_backup.py FOLDER [--phone FOLDER] [--open PROGRAM...]

FOLDER holds what the program's own Backup copies: kv_Export.txt, kv_Location.dat, Kelvane_User.cfg and *.net. They go to
a new phone in a scratch folder, whose settings are restored by the program's own import; then the program is opened, and when it
has been closed its own export goes back into FOLDER. What was there before is kept in a dated folder beside it. Until
everything is ready to be put in place, nothing in FOLDER changes. --open names another program than Kelvane Settings, with its
arguments: whoever plays the user's part in a test.
"""
import argparse
import configparser
import contextlib
import datetime
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent.parent
SIMULATOR = TREE / "build" / "simulator"
RUN_WINE = TREE / "simulator" / "run-wine"
PHONES = SIMULATOR / "phones"

EXPORT = "kv_Export.txt"
NAMED_FILES = [EXPORT, "kv_Location.dat", "Kelvane_User.cfg"]
SNAPSHOT_MARK = ".net"  # anywhere in a name, as the program sees it
PROGRAM_KEY = r"Software\Tessaryn\Kelvane"
INSTALL_FOLDER = Path("root", "Program Files", "Kelvane")

TEXT, NUMBER = 1, 4  # the registry's types that an export carries whole
LONGEST_LIST = 20  # lines of a list that is printed

# A phone's registry: without settings, and with what tells the program where it lies.
EMPTY_SETTINGS = r"""
[-HKEY_CURRENT_USER\Software\Tessaryn\Kelvane]

[HKEY_LOCAL_MACHINE\Software\Apps\Tessaryn Kelvane]
"InstallDir"="\\Program Files\\Kelvane"
"""


class Refused(Exception):
    """The folder is not one to edit."""


class Failed(Exception):
    """Something went wrong on the way. The folder is as it was unless its files are in a kept copy now."""

    def __init__(self, reason, kept=None):
        super().__init__(reason)
        self.kept = kept


# ---- The export's text ------------------------------------------------------------------------------------------------


class Export:
    """The values of an export, and the lines in it that are none. Keys and names are compared without regard to case."""

    VALUE = re.compile(rb"(?P<name>[^=]*)=(?P<type>[^,]*),(?P<data>.*)", re.DOTALL)

    def __init__(self, content):
        self.values = {}  # (key, name), lower case: (type, data)
        self.names = {}  # (key, name), lower case: as a person reads it
        self.headers = []
        self.strange_lines = []
        key = None
        lines = [line[:-1] if line.endswith(b"\r") else line for line in content.split(b"\n")]
        for number, line in enumerate(lines):
            if not line:
                continue
            between_blanks = (number == 0 or not lines[number - 1]) and number + 1 < len(lines) and not lines[number + 1]
            match = self.VALUE.fullmatch(line)
            if not match and between_blanks:
                key = line
                self.headers.append(readable(line))
            elif match and key is not None:
                self._add(key, match)
            else:
                self.strange_lines.append((number + 1, readable(line)))

    def _add(self, key, match):
        place = key.lower(), match["name"].lower()
        # What is not a number counts as 0, as in the program.
        kind = re.match(rb"\s*([-+]?\d+)", match["type"])
        self.values[place] = (int(kind[1]) if kind else 0), match["data"]
        self.names[place] = readable(key) + "\\" + readable(match["name"])

    def keys_without_values(self):
        filled = {key for key, _ in self.values}
        return [header for header in self.headers if encoded(header).lower() not in filled]


def readable(text):
    return text.decode("cp1252", "replace")


def encoded(text):
    return text.encode("cp1252", "replace")


def shown(value):
    return "(nothing)" if value is None else readable(value[1]) or "(empty)"


def differences(before, after):
    """A line for every value that is not the same in two exports."""
    lines = []
    for place in sorted(before.values.keys() | after.values.keys()):
        old, new = before.values.get(place), after.values.get(place)
        if old != new:
            name = (after.names if place in after.names else before.names)[place]
            lines.append(f"{name}: {shown(old)} -> {shown(new)}")
    return lines


def losses(original, imported):
    """A line for everything of an export that its import does not bring back."""
    lines = [f"line {number} is neither a key nor a value: {line}" for number, line in original.strange_lines]
    lines += [f"{key} has no values: the format cannot carry such a key, nor reliably the one behind it"
              for key in original.keys_without_values()]
    for place, value in original.values.items():
        name = original.names[place]
        if value[0] not in (TEXT, NUMBER):
            lines.append(f"{name} is neither a text nor a number (type {value[0]}): the text file carries only a part of it")
        elif place not in imported.values:
            lines.append(f"{name} does not come back: {shown(value)}")
        elif imported.values[place] != value:
            lines.append(f"{name} comes back changed: {shown(value)} -> {shown(imported.values[place])}")
    return lines


# ---- The folder ---------------------------------------------------------------------------------------------------------


def backup_files(folder):
    """{name as the program has it: path} of the files that make up a backup."""
    entries = sorted(path for path in folder.iterdir() if path.is_file())
    found = {}
    for name in NAMED_FILES:
        # Copied by way of a card, a file may have come in other letters.
        same = [path for path in entries if path.name.lower() == name.lower()]
        if same:
            found[name] = next((path for path in same if path.name == name), same[0])
    for path in entries:
        if SNAPSHOT_MARK in path.name.lower() and path not in found.values():
            found[path.name] = path
    return found


def refuse_unusable(folder):
    if not folder.is_dir():
        raise Refused(f"there is no folder {folder}")
    try:
        files = backup_files(folder)
    except OSError as error:
        raise Refused(f"{folder} cannot be read: {error.strerror}") from None
    if EXPORT not in files:
        raise Refused(f"{folder} has no {EXPORT}: a backup has one, and without it there are no settings to edit")
    for path in files.values():
        if not os.access(path, os.R_OK):
            raise Refused(f"{path} cannot be read")
    for place, purpose in (folder, "the changes could not be written back"), (folder.parent, "no copy could be kept in it"):
        try:
            with tempfile.TemporaryFile(dir=place):
                pass
        except OSError as error:
            raise Refused(f"{place} cannot be written to ({error.strerror}): {purpose}") from None


def contents(files):
    return {name: path.read_bytes() for name, path in files.items()}


def keep_copy(folder, files):
    """Copies the files into a new folder beside theirs, named by the time; answers that folder."""
    wanted = f"{folder} {datetime.datetime.now():%Y-%m-%d %H.%M.%S}"
    target, count = Path(wanted), 1
    while True:
        try:
            target.mkdir()
            break
        except FileExistsError:
            count += 1
            target = Path(f"{wanted} ({count})")
    try:
        for path in files.values():
            shutil.copy2(path, target)
    except OSError:
        shutil.rmtree(target, ignore_errors=True)
        raise
    return target


def write_beside(path, content, like):
    """Writes what is to become that file, and answers where it is."""
    handle, name = tempfile.mkstemp(prefix=f".{path.name}.", dir=path.parent)
    draft = Path(name)
    try:
        with open(handle, "wb") as file:
            file.write(content)
            file.flush()
            os.fsync(file.fileno())
        if like:
            shutil.copymode(like, draft)
        else:
            draft.chmod(0o666 & ~current_umask())
    except OSError:
        draft.unlink(missing_ok=True)
        raise
    return draft


def current_umask():
    mask = os.umask(0)
    os.umask(mask)
    return mask


def put_in_place(folder, old_files, new_contents, kept):
    """Makes the folder's backup files these. Should that fail halfway, the former ones come back from the kept copy."""
    targets = {name: old_files.get(name, folder / name) for name in new_contents}
    drafts = {}
    try:
        for name, content in new_contents.items():
            drafts[name] = write_beside(targets[name], content, old_files.get(name))
        for name in new_contents:
            os.replace(drafts[name], targets[name])
        for name in old_files.keys() - new_contents.keys():
            old_files[name].unlink()
    except OSError:
        for name, path in old_files.items():
            with contextlib.suppress(OSError):
                if not path.exists() or path.read_bytes() != (kept / path.name).read_bytes():
                    shutil.copy2(kept / path.name, path)
        for name in new_contents.keys() - old_files.keys():
            targets[name].unlink(missing_ok=True)
        raise
    finally:
        for draft in drafts.values():
            with contextlib.suppress(OSError):
                draft.unlink(missing_ok=True)


# ---- The phone ------------------------------------------------------------------------------------------------------------


class ScratchPhone:
    """A copy of a phone with a name of its own, whose install directory holds the backup's files."""

    def __init__(self, original):
        scratch = TREE / "build" / "edited"
        scratch.mkdir(parents=True, exist_ok=True)
        # Nobody else's, also later: what is kept of an edit that failed must stay what it is.
        self.folder = Path(tempfile.mkdtemp(prefix=f"{original.name}-", dir=scratch))
        self.name = self.folder.name
        self.install = self.folder / INSTALL_FOLDER
        shutil.copytree(original, self.folder, dirs_exist_ok=True, ignore=shutil.ignore_patterns("journal.log"))
        self._set_up()

    def _set_up(self):
        facts = configparser.ConfigParser(strict=False, interpolation=None)
        facts.read(self.folder / "phone.ini", encoding="utf-8")
        facts["phone"]["name"] = self.name
        with open(self.folder / "phone.ini", "w", encoding="utf-8") as file:
            facts.write(file, space_around_delimiters=False)
        self.screen = "{}x{}".format(*(facts.get("screen", key, fallback=usual)
                                       for key, usual in (("width", "240"), ("height", "320"))))
        registry = self.folder / "registry.reg"
        text = registry.read_bytes()
        coding = "utf-16" if text.startswith((b"\xff\xfe", b"\xfe\xff")) else "utf-8-sig"
        registry.write_text(text.decode(coding) + EMPTY_SETTINGS, encoding="utf-8")
        self.install.mkdir(parents=True, exist_ok=True)
        for path in backup_files(self.install).values():
            path.unlink()

    def take(self, new_contents):
        for name, content in new_contents.items():
            (self.install / name).write_bytes(content)

    def files(self):
        return contents(backup_files(self.install))

    @property
    def environment(self):
        # File names are UTF-8, and the code page of the settings does not depend on who edits them.
        return dict(os.environ, PHONE=str(self.folder), LC_ALL="C.UTF-8")

    def exchange(self, command):
        """What exchange.exe says; a last line of its own is the count it answers."""
        done = subprocess.run([RUN_WINE, "exchange.exe", command], cwd=SIMULATOR, env=self.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        lines = done.stdout.decode(errors="replace").split("\n")
        count = re.search(r"^stored (\d+)", done.stdout.decode(errors="replace"), re.MULTILINE)
        if done.returncode != 0 or not count:
            said = " ".join(line.strip() for line in lines if not line.startswith("stored"))
            raise Failed(f"the program's {command} failed (exit code {done.returncode}): "
                         f"{said} {done.stderr.decode(errors='replace').strip()}".rstrip(": "))
        return int(count[1])

    def run(self, program):
        """Opens the program in a desktop window of the phone's size, without an engine, and waits for its end."""
        # Relative, because what follows the desktop is not quoted on its way.
        status = Path(f"session-{self.name}.status")
        try:
            subprocess.run([RUN_WINE, "explorer", f"/desktop=kv-{self.name},{self.screen}", "session.exe", "--without-engine",
                            status, *program], cwd=SIMULATOR, env=self.environment, stdin=subprocess.DEVNULL,
                           stdout=subprocess.DEVNULL, check=False)
            answer = (SIMULATOR / status).read_text().strip() if (SIMULATOR / status).exists() else "none"
        finally:
            (SIMULATOR / status).unlink(missing_ok=True)
        if answer != "0":
            raise Failed(f"the program did not end as it should (exit code {answer})")

    def remove(self):
        key = rf"HKEY_CURRENT_USER\Software\Phone Simulator\{self.name}"
        subprocess.run([RUN_WINE, "reg", "delete", key, "/f"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=False)
        shutil.rmtree(self.folder, ignore_errors=True)


# ---- Editing --------------------------------------------------------------------------------------------------------------


def say(*lines):
    for line in lines:
        print(line, flush=True)


def say_list(lines):
    say(*(f"  {line}" for line in lines[:LONGEST_LIST]))
    if len(lines) > LONGEST_LIST:
        say(f"  ... and {len(lines) - LONGEST_LIST} more")


def rehearse(phone, folder, original):
    """Imports the backup and takes it apart again before anyone sees it; answers what a save without changes makes of it."""
    phone.take(original)
    if phone.exchange("check") == 0:
        raise Refused(f"nothing in {folder / EXPORT} can be imported: it has no values of {PROGRAM_KEY}")
    imported, saved = phone.install / "imported.txt", phone.install / "saved.txt"
    before = Export(original[EXPORT])
    say(f"The backup has {len(before.values)} values and {len(original) - 1} other files.")
    lost = losses(before, Export(imported.read_bytes()))
    if lost:
        say("Warning: this does not come through an import and will be missing or different in the folder afterwards:")
        say_list(lost)
    baseline = Export(saved.read_bytes())
    imported.unlink()
    saved.unlink()
    return baseline


def write_back(phone, folder, original, baseline):
    phone.exchange("export")
    edited = phone.files()
    after = Export(edited[EXPORT])
    changes = differences(baseline, after)
    other = sorted(name for name in original.keys() | edited.keys()
                   if name != EXPORT and original.get(name) != edited.get(name))
    if not changes and not other:
        say(f"Nothing was changed. {folder} stays as it is.")
        return
    if not after.values:
        raise Failed("the program's export came out empty")
    files = backup_files(folder)
    if contents(files) != original:
        raise Failed(f"somebody else has changed {folder} meanwhile")
    kept = keep_copy(folder, files)
    say(f"The files as they were are kept in {kept}.")
    try:
        put_in_place(folder, files, edited, kept)
    except OSError as error:
        raise Failed(str(error), kept if contents(backup_files(folder)) != original else None) from None
    if changes:
        say("Settings changed:")
        say_list(changes)
    for name in other:
        say(f"{name} was {'changed' if name in original and name in edited else 'added' if name in edited else 'deleted'}.")
    say(f"The edited backup is in {folder}. To take it to the phone: copy its files there and use Restore.")


def edit(folder, original_phone, program):
    refuse_unusable(folder)
    original = contents(backup_files(folder))
    try:
        phone = ScratchPhone(original_phone)
    except OSError as error:
        raise Refused(f"there can be no phone to edit it on: {error}") from None
    try:
        say(f"Editing the backup in {folder} on a phone of its own, a copy of {original_phone.name}.")
        baseline = rehearse(phone, folder, original)
        phone.take(original)
        phone.exchange("import")
        say("Kelvane Settings opens now. Close it, and the backup is written back.")
        phone.run(program)
        write_back(phone, folder, original, baseline)
    except Refused:
        phone.remove()
        raise
    except (Failed, OSError, KeyboardInterrupt) as error:
        kept = getattr(error, "kept", None)
        say(f"{folder} could not be put back as it was; its files are in {kept}." if kept
            else f"Nothing in {folder} was changed.",
            f"The phone with the edited settings is kept in {phone.folder}; ./kv run --phone opens it.")
        raise Failed(str(error) or "interrupted") from None
    phone.remove()


def main():
    parser = argparse.ArgumentParser(prog="kv edit", description="Edits the backup of a phone's settings.")
    parser.add_argument("folder", metavar="FOLDER")
    parser.add_argument("--phone", type=Path, default=PHONES / "wm6", help="the phone to edit it on")
    parser.add_argument("--open", nargs=argparse.REMAINDER, default=["kvsettings.exe"], help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    signal.signal(signal.SIGTERM, signal.default_int_handler)   # kv ends us so
    try:
        edit(Path(arguments.folder).resolve(), arguments.phone.resolve(), arguments.open)
    except Refused as reason:
        sys.exit(f"kv: not edited: {reason}.")
    except Failed as reason:
        sys.exit(f"kv: {reason}")


if __name__ == "__main__":
    main()
