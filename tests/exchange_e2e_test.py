#!/usr/bin/env python3
"""A phone with everything set is exported and imported on an empty one; the stock registry tool compares the two whole."""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from full_backup import PROGRAM_KEY, all_values, export_text, registry_text
from phone_copy import RUN_WINE, SIMULATOR, TREE, PhoneCopy, windows_path

GOLDEN = TREE / "tests" / "golden" / "kv_Export.txt"
INSTALL_FOLDER = Path("root", "Program Files", "Kelvane")

# The day that ThisDay of the values is of: loading the records then stores nothing of its own.
CLOCK = "2008-03-07 14:05:00"

CLEAR_KEY = "\n[-HKEY_CURRENT_USER\\Software\\Tessaryn\\Kelvane]\n"


def registry_of(phone, folder):
    """{key: {value as the tool writes it: data}} below the phone's branch."""
    target = folder / f"{phone.name}.reg"
    subprocess.run([RUN_WINE, "reg", "export", rf"HKEY_CURRENT_USER\Software\Phone Simulator\{phone.name}",
                    windows_path(target), "/y"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)
    text = target.read_text(encoding="utf-16")
    text = re.sub(r",\\\n\s*", ",", text)
    keys, values = {}, None
    for line in text.splitlines()[1:]:
        if line.startswith("["):
            values = keys.setdefault(line[1:-1].partition(phone.name)[2], {})
        elif line:
            name, _, data = line.partition("=")
            values[name] = data
    return keys


def of_program(keys):
    main = "\\HKCU\\" + PROGRAM_KEY
    return {key: values for key, values in keys.items() if key == main or key.startswith(main + "\\")}


class RoundTrip(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="exchange-", dir=TREE / "build")
        self.addCleanup(scratch.cleanup)
        self.scratch = Path(scratch.name)

    def phone(self, purpose, registry=""):
        phone = PhoneCopy(TREE / "phones" / "wm6", self.scratch, purpose)
        self.addCleanup(phone.__exit__)
        phone.set_facts("clock", now=CLOCK)
        with open(phone.folder / "registry.reg", "a", encoding="utf-8") as file:
            file.write(CLEAR_KEY + registry)
        (phone.folder / INSTALL_FOLDER).mkdir(parents=True, exist_ok=True)
        return phone

    def exchange(self, phone, command):
        done = subprocess.run([RUN_WINE, "exchange.exe", command], cwd=SIMULATOR, env=phone.environment, text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=True)
        return done.stdout.splitlines()

    def export(self, phone):
        self.assertEqual(self.exchange(phone, "export")[0], "Export finished.")
        return (phone.folder / INSTALL_FOLDER / "kv_Export.txt").read_bytes()

    def import_text(self, phone, content):
        (phone.folder / INSTALL_FOLDER / "kv_Export.txt").write_bytes(content)
        said = self.exchange(phone, "import")
        self.assertEqual(said[:2], ["Import will overwrite current settings! Do you want to continue?",
                                    "Import finished. You need to exit Settings before changes will be applied!"])
        return said[2]

    def round_trip(self, registry):
        """The registries of the phone exported from and of the empty one imported into, and the file between them."""
        old, new = self.phone("old", registry), self.phone("new")
        self.phones = {"old": old, "new": new}
        content = self.export(old)
        self.import_text(new, content)
        return registry_of(old, self.scratch), registry_of(new, self.scratch), content

    def test_every_value_of_every_record_arrives(self):
        keys = all_values()
        old, new, content = self.round_trip(registry_text(keys, head=""))
        self.assertEqual(len(old["\\HKCU\\" + PROGRAM_KEY]), len(keys[PROGRAM_KEY]))
        self.assertEqual(of_program(new), of_program(old))
        # Loading the imported settings changes some of the phone's own, and does so where they have always been.
        self.import_text(self.phones["old"], content)
        self.assertEqual(new, registry_of(self.phones["old"], self.scratch))
        self.assertEqual(content, export_text(keys))
        self.assertEqual(content, GOLDEN.read_bytes())
        self.assertEqual(self.import_text(self.phone("count"), content), f"stored {sum(map(len, keys.values()))}")

    def test_what_the_format_cannot_carry_arrives_as_far_as_it_goes(self):
        old, new, content = self.round_trip(rf"""
[HKEY_CURRENT_USER\{PROGRAM_KEY}]
"a"=dword:00000001
"binary"=hex:31,00,32,00,00,00,33,00
"bootcount"=dword:00000009
"expand"=hex(2):37,00,00,00
"foreign"=hex(1):34,04,00,00
"InstallDir"="\\Somewhere\\Else"
"multi"=hex(7):61,00,00,00,62,00,00,00,00,00
"twolines"=hex(1):61,00,0d,00,0a,00,62,00,3d,00,34,00,2c,00,35,00,00,00
"z"="last"

[HKEY_CURRENT_USER\{PROGRAM_KEY}\1]
"kept"=dword:00000007

[HKEY_CURRENT_USER\{PROGRAM_KEY}\1\deeper]
"lost"=dword:00000001

[HKEY_CURRENT_USER\{PROGRAM_KEY}\2]

[HKEY_CURRENT_USER\{PROGRAM_KEY}\3]
"swallowed"=dword:00000003

[HKEY_CURRENT_USER\{PROGRAM_KEY}\4]
"kept"=dword:00000004
""")
        main = f"\\HKCU\\{PROGRAM_KEY}"
        self.assertEqual(content, (
            f"{PROGRAM_KEY}\r\n\r\na=4,1\r\nbinary=3,12\r\nbootcount=4,9\r\nexpand=2,7\r\nforeign=1,?\r\nmulti=7,a\r\n"
            f"twolines=1,a\r\nb=4,5\r\nz=1,last\r\n\r\n{PROGRAM_KEY}\\1\r\n\r\nkept=4,7\r\n\r\n{PROGRAM_KEY}\\2\r\n\r\n\r\n"
            f"{PROGRAM_KEY}\\3\r\n\r\nswallowed=4,3\r\n\r\n{PROGRAM_KEY}\\4\r\n\r\nkept=4,4\r\n\r\n").encode())
        self.assertEqual(new[main], {
            '"a"': "dword:00000001", '"binary"': "hex:0c,00,00,00", '"b"': "dword:00000005",
            '"expand"': "hex(2):07,00,00,00", '"foreign"': '"?"', '"multi"': "hex(7):00,00,00,00",
            '"twolines"': '"a"', '"z"': '"last"',
            # Loading the records afterwards makes a daily reset, for ThisDay is not among the values.
            '"ThisDay"': "dword:00000007", '"gprsInDaily"': "dword:00000000", '"gprsOutDaily"': "dword:00000000"})
        self.assertEqual(new[main + r"\1"], {'"kept"': "dword:00000007"})
        self.assertNotIn(main + r"\1\deeper", new)
        # The key without values swallows the header behind it. From there on values are taken for headers.
        taken_for_headers = [r"\HKCU\swallowed=4,3", r"\HKCU\kept=4,4"]
        for key in main + r"\2", *taken_for_headers:
            self.assertEqual(new.pop(key), {})
        for key in main + r"\3", main + r"\4":
            self.assertNotIn(key, new)
        # Nothing else has changed but what loading any settings changes.
        plain = self.phone("plain")
        self.import_text(plain, f"{PROGRAM_KEY}\r\n\r\na=4,1\r\n\r\n".encode())
        expected = registry_of(plain, self.scratch)
        for keys in new, expected:
            for key in of_program(keys):
                del keys[key]
        self.assertEqual(new, expected)


if __name__ == "__main__":
    if sys.argv[1:] == ["--write-golden"]:
        GOLDEN.write_bytes(export_text(all_values()))
    else:
        unittest.main()
