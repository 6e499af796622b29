#!/usr/bin/env python3
"""`kv edit` on a backup with everything in it; shots.exe plays the user who edits it."""
import os
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from full_backup import OTHER_FILES, PROGRAM_KEY, all_values, export_text, parse_export
from phone_copy import SIMULATOR, TREE, windows_path

sys.path.insert(0, str(TREE / "simulator" / "tools"))
import edit_backup  # noqa: E402

EDIT_BACKUP = TREE / "simulator" / "tools" / "edit_backup.py"
EDITED = TREE / "build" / "edited"
NOBODY = 65534

# What every save writes: the program's own numbers, and the counters of a day that is over.
EVERY_SAVE = {(PROGRAM_KEY, name) for name in ("ThisDay", "gprsInDaily", "gprsOutDaily", "Version")}

TONE_ANOTHER_TIME = ["page 1", "choose 1075 2"]
SYSTEM_VOLUME_TO_FULL = ["page 3", "choose 1289 7"]


def contents(folder):
    return {path.name: path.read_bytes() for path in sorted(folder.iterdir())}


def differences(before, after):
    """{(key, name): (data before, data after)} of two exports, None for what is missing."""
    old, new = ({(key, name): data for key, values in parse_export(content).items() for name, data in values.items()}
                for content in (before, after))
    return {place: (old.get(place), new.get(place)) for place in old.keys() | new.keys()
            if old.get(place) != new.get(place)}


class EditBackup(unittest.TestCase):
    def setUp(self):
        self.scratch = Path(tempfile.mkdtemp(prefix="edit-test-", dir=TREE / "build"))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)
        self.folder = self.scratch / "My backup"
        self.folder.mkdir()
        self.write(kv_Export=export_text(all_values()))
        self.kept_before = self.kept_phones()

    def write(self, kv_Export, other=OTHER_FILES):
        (self.folder / "kv_Export.txt").write_bytes(kv_Export)
        for name, content in other.items():
            (self.folder / name).write_bytes(content)
        self.original = contents(self.folder)

    def edit(self, steps=None, program=None, folder=None, **how):
        """Edits the folder with the user's steps, or with another program in the place of both."""
        if program is None:
            script = self.scratch / "user.steps"
            script.write_text("".join(f"{step}\n" for step in steps or []))
            program = ["shots.exe", os.path.relpath(script, SIMULATOR).replace("/", "\\"), "kvsettings.exe"]
        done = subprocess.run([sys.executable, EDIT_BACKUP, folder or self.folder, "--open", *program], text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=110,
                              check=False, **how)
        self.said = done.stdout
        return done.returncode

    def edit_by_batch(self, *commands):
        """The user is a batch file, which works on the phone's install directory and phone.ini."""
        batch = SIMULATOR / f"edit-test-{os.getpid()}.bat"
        self.addCleanup(batch.unlink, missing_ok=True)
        phone = ["@echo off", "set phone=Z:%PHONE:/=\\%", "set install=%phone%\\root\\Program Files\\Kelvane"]
        batch.write_text("\r\n".join([*phone, *commands, "exit 0", ""]))
        return self.edit(program=["cmd.exe", "/c", batch.name])

    def copies(self):
        """The dated copies beside the folder."""
        return sorted(path for path in self.scratch.iterdir() if path.name.startswith("My backup "))

    @staticmethod
    def kept_phones():
        return set(EDITED.iterdir()) if EDITED.exists() else set()

    def assert_untouched(self):
        self.assertEqual(contents(self.folder), self.original)
        self.assertEqual(self.copies(), [])

    def assert_refused(self, reason, **how):
        self.assertEqual(self.edit(program=["never.exe"], **how), 1, self.said_safely())
        self.assertIn("kv: not edited:", self.said)
        self.assertIn(reason, self.said)
        self.assertNotIn("opens now", self.said)
        self.assertNotIn("Traceback", self.said)
        self.assertEqual(self.kept_phones(), self.kept_before)

    def said_safely(self):
        return getattr(self, "said", "")


class Editing(EditBackup):
    def test_an_alarm_setting_and_a_profile_setting_change_and_nothing_else(self):
        self.assertEqual(self.edit([*TONE_ANOTHER_TIME, *SYSTEM_VOLUME_TO_FULL, "ok"]), 0, self.said)
        now = contents(self.folder)
        changed = differences(self.original["kv_Export.txt"], now["kv_Export.txt"])
        self.assertEqual(changed.pop((PROGRAM_KEY, "soundRepeatTone")), ("4,1", "4,2"))
        self.assertEqual(changed.pop((PROGRAM_KEY + r"\0", "0")), ("4,60", "4,100"))
        self.assertLessEqual(changed.keys(), EVERY_SAVE)
        self.assertEqual(dict(now, **{"kv_Export.txt": 0}), dict(self.original, **{"kv_Export.txt": 0}))
        # What was there before is kept, and the phone it was edited on is gone.
        [copy] = self.copies()
        self.assertRegex(copy.name, r"^My backup \d{4}-\d\d-\d\d \d\d\.\d\d\.\d\d$")
        self.assertEqual(contents(copy), self.original)
        self.assertEqual(self.kept_phones(), self.kept_before)
        self.assertNotIn("Warning", self.said)
        self.assertIn(r"Software\Tessaryn\Kelvane\soundRepeatTone: 1 -> 2", self.said)
        self.assertIn(r"Software\Tessaryn\Kelvane\0\0: 60 -> 100", self.said)
        self.assertEqual(len(re.findall(" -> ", self.said)), 2, self.said)

    def test_cancelling_leaves_the_folder_alone_also_after_changes_on_a_page(self):
        self.assertEqual(self.edit(TONE_ANOTHER_TIME), 0, self.said)   # shots.exe cancels in the end
        self.assertIn("Nothing was changed.", self.said)
        self.assert_untouched()
        self.assertEqual(self.kept_phones(), self.kept_before)

    def test_confirming_without_a_change_leaves_the_folder_alone(self):
        self.assertEqual(self.edit(["page 1", "ok"]), 0, self.said)
        self.assertIn("Nothing was changed.", self.said)
        self.assert_untouched()

    def test_snapshots_come_and_go_and_names_keep_their_letters(self):
        (self.folder / "kv_Location.dat").rename(self.folder / "KV_LOCATION.DAT")
        self.original = contents(self.folder)
        self.assertEqual(self.edit_by_batch('del "%install%\\Home.net"', 'echo new>"%install%\\New.net"',
                                            'echo changed>"%install%\\kv_Location.dat"'), 0, self.said)
        expected = dict(self.original, **{"New.net": b"new\r\n", "KV_LOCATION.DAT": b"changed\r\n"})
        del expected["Home.net"]
        now = contents(self.folder)
        self.assertEqual({name: now[name] for name in now if name != "kv_Export.txt"},
                         {name: expected[name] for name in expected if name != "kv_Export.txt"})
        self.assertIn("Home.net was deleted.", self.said)
        self.assertIn("New.net was added.", self.said)
        self.assertIn("kv_Location.dat was changed.", self.said)
        [copy] = self.copies()
        self.assertEqual(contents(copy), self.original)

    def test_what_the_format_cannot_carry_is_named_before_the_program_opens(self):
        text = export_text(all_values()).replace(b"soundDelay=", b"picture=3,ab\r\nbootcount=4,9\r\nsoundDelay=")
        text += PROGRAM_KEY.encode() + b"\\Empty\r\n\r\n\r\n" + PROGRAM_KEY.encode() + b"\\Z\r\n\r\nlost=4,1\r\n\r\n"
        self.write(text.replace(b"Zuhause\r\n", b"Zu\r\nhause\r\n", 1))
        self.assertEqual(self.edit([]), 0, self.said)
        warning = self.said[self.said.index("Warning"):self.said.index("opens now")]
        for part in (r"Kelvane\picture is neither a text nor a number (type 3)", r"Kelvane\bootcount does not come back: 9",
                     r"Kelvane\Empty has no values", r"Kelvane\Z\lost does not come back: 1",
                     "is neither a key nor a value: hause"):
            self.assertIn(part, warning)
        self.assert_untouched()


class DatedCopies(unittest.TestCase):
    """The copy's name is a matter of a second, so the function is asked by itself."""

    def test_one_that_exists_is_never_written_over(self):
        with tempfile.TemporaryDirectory() as scratch:
            folder = Path(scratch, "b")
            folder.mkdir()
            (folder / "kv_Export.txt").write_bytes(b"x")
            files = edit_backup.backup_files(folder)
            copies = [edit_backup.keep_copy(folder, files) for _ in range(5)]
            self.assertEqual(len(set(copies)), 5)
            for copy in copies:
                self.assertEqual((copy / "kv_Export.txt").read_bytes(), b"x")


class Refusing(EditBackup):
    def test_folders_that_hold_no_backup(self):
        self.assert_refused("there is no folder", folder=self.scratch / "elsewhere")
        self.assert_refused("there is no folder", folder=self.folder / "Home.net")
        (self.folder / "kv_Export.txt").unlink()
        self.original = contents(self.folder)
        self.assert_refused("has no kv_Export.txt")
        (self.folder / "kv_Export.txt").mkdir()
        self.assert_refused("has no kv_Export.txt")

    def test_a_folder_that_cannot_be_written_to_or_beside(self):
        for place, reason in (self.folder, "could not be written back"), (self.scratch, "no copy could be kept"):
            for path in (self.scratch, self.folder):
                path.chmod(0o777)
            place.chmod(0o555)
            self.assertIn(reason, self.refusal_to_nobody())
        self.scratch.chmod(0o777)
        self.folder.chmod(0o777)
        self.assertEqual(self.refusal_to_nobody(), "")
        self.assert_untouched()

    def refusal_to_nobody(self):
        """What the folder is refused for to a user without rights of his own; a root user could write anywhere."""
        reading, writing = os.pipe()
        child = os.fork()
        if child == 0:
            if os.geteuid() == 0:
                os.setgid(NOBODY)
                os.setuid(NOBODY)
            try:
                edit_backup.refuse_unusable(self.folder)
            except edit_backup.Refused as reason:
                os.write(writing, str(reason).encode())
            finally:
                os._exit(0)
        os.close(writing)
        os.waitpid(child, 0)
        with open(reading, encoding="utf-8") as answer:
            return answer.read()

    def test_files_from_which_nothing_can_be_imported(self):
        for text in (b"", b"hello", b"Software\\Tessaryn\\Kelvane\r\n\r\nno value\r\n\r\n",
                     b"Software\\Tessaryn\\Kelvane\r\n\r\na=4,1\r\n",   # the blank line behind the section is missing
                     b"Software\\Somebody\\Else\r\n\r\na=4,1\r\n\r\n"):
            self.write(text)
            self.assert_refused("can be imported")
            self.assert_untouched()


class Failing(EditBackup):
    def assert_kept(self):
        self.assertNotIn("Traceback", self.said)
        self.assertIn(f"Nothing in {self.folder} was changed.", self.said)
        [phone] = self.kept_phones() - self.kept_before
        self.addCleanup(shutil.rmtree, phone)
        self.assertIn(f"is kept in {phone};", self.said)
        self.assertEqual(contents(self.folder), self.original)
        return phone

    def test_a_program_that_breaks_off_changes_nothing(self):
        self.assertEqual(self.edit(["page 99"]), 1)
        self.assertIn("did not end as it should", self.said)
        self.assert_kept()
        self.assertEqual(self.copies(), [])

    def test_a_full_disk_of_the_phone_changes_nothing(self):
        # The edit succeeds; the export afterwards does not get its file written.
        self.assertEqual(self.edit_by_batch(r'echo file write:* fail>"%phone%\faults.txt"'), 1)
        self.assertIn("export failed (exit code 4)", self.said)
        self.assert_kept()
        self.assertEqual(self.copies(), [])

    def test_a_folder_that_changes_meanwhile_is_left_alone(self):
        theirs = windows_path(self.folder / "Home.net")
        self.original["Home.net"] = b"theirs\r\n"
        self.assertEqual(self.edit_by_batch(f'echo theirs>"{theirs}"', 'del "%install%\\Office.NET"'), 1, self.said)
        self.assertIn("somebody else has changed", self.said)
        self.assertEqual(contents(self.folder), self.original)
        for phone in self.kept_phones() - self.kept_before:
            shutil.rmtree(phone)


class PuttingInPlace(EditBackup):
    """The last step, with a disk that fails at its worst moments."""

    def setUp(self):
        super().setUp()
        self.files = edit_backup.backup_files(self.folder)
        self.kept = edit_backup.keep_copy(self.folder, self.files)
        self.new = {name: b"new " + name.encode() for name in ("kv_Export.txt", "Kelvane_User.cfg", "Added.net")}

    def test_files_are_replaced_added_and_deleted(self):
        (self.folder / "kv_Export.txt").chmod(0o640)
        edit_backup.put_in_place(self.folder, self.files, self.new, self.kept)
        self.assertEqual(contents(self.folder), self.new)
        self.assertEqual(stat.S_IMODE((self.folder / "kv_Export.txt").stat().st_mode), 0o640)

    def test_whatever_fails_the_former_files_are_there_afterwards(self):
        for name in ("replace", "fsync"):
            for failing in range(1, 4):
                with self.subTest(name=name, failing=failing):
                    self.fail_at(name, failing)
                    self.assertEqual(contents(self.folder), self.original)

    def fail_at(self, name, failing):
        real, calls = getattr(os, name), []

        def stand_in(*arguments):
            calls.append(arguments)
            if len(calls) == failing:
                raise OSError(28, "No space left on device")
            return real(*arguments)

        setattr(os, name, stand_in)
        try:
            with self.assertRaises(OSError):
                edit_backup.put_in_place(self.folder, self.files, self.new, self.kept)
        finally:
            setattr(os, name, real)


if __name__ == "__main__":
    unittest.main()
