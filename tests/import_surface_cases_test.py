#!/usr/bin/env python3
"""Tests import_surface_test.py on surfaces that are wrong, each in one way: it has to name the function.

Runs in the build folder, whose files are the ones spoilt (as copies).
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True   # nothing is left in the source tree

import import_surface_test as surface

TESTS = pathlib.Path(__file__).resolve().parent
LISTS = TESTS.parent / "ce"
NEEDED = ("kvsettings.exe", "coredll.dll", "commctrl.dll", "aygshell.dll", "libprogram.a", surface.STARTUP_OBJECT)


class Surface(unittest.TestCase):
    """A copy of the lists and of what the build made of them, to be spoilt."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.copy = pathlib.Path(folder.name) / "build"
        self.lists = pathlib.Path(folder.name) / "ce"
        self.lists.mkdir()
        for name in LISTS.glob("*.def"):
            shutil.copy(name, self.lists)
        for name in NEEDED:
            (self.copy / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(name, self.copy / name)

    def check(self):
        """(exit code, lines printed, lines complained)"""
        result = subprocess.run([sys.executable, TESTS / "import_surface_test.py", self.copy, "--lists", self.lists],
                                capture_output=True, text=True, check=False)
        return result.returncode, result.stdout.splitlines(), result.stderr.splitlines()

    def edit(self, name, change):
        path = self.lists / f"{name}.def"
        path.write_text(change(path.read_text(encoding="utf-8")), encoding="utf-8")

    def remove(self, name, function):
        self.edit(name, lambda text: text.replace(f"\n{function}\n", "\n"))

    def add(self, name, function):
        self.edit(name, lambda text: f"{text.rstrip()}\n{function}\n")

    def replace_bytes(self, name, old, new):
        path = self.copy / name
        data = path.read_bytes()
        self.assertTrue(old in data, f"{old} is not in {name}")
        self.assertEqual(len(old), len(new))
        path.write_bytes(data.replace(old, new))

    def assert_breaches(self, *expected):
        code, lines, complaints = self.check()
        self.assertEqual((code, lines, complaints), (1 if expected else 0, list(expected), []))

    def assert_broken(self, part):
        code, lines, complaints = self.check()
        self.assertEqual((code, lines), (2, []))
        self.assertEqual(len(complaints), 1, complaints)
        self.assertIn(part, complaints[0])


class Lists(Surface):
    def test_the_real_surface_is_right(self):
        self.assert_breaches()

    def test_an_imported_function_is_in_no_list(self):
        self.remove("coredll", "EndDialog")
        self.assert_breaches("the program imports EndDialog of coredll.dll, which is not in its list")

    def test_a_function_is_in_the_list_of_another_dll(self):
        self.remove("commctrl", "PropertySheetW")
        self.add("coredll", "PropertySheetW")
        self.assert_breaches("the program imports PropertySheetW of commctrl.dll, which is not in its list",
                             "PropertySheetW is in ce/coredll.def, but the simulator's coredll.dll does not export it")

    def test_a_whole_list_is_missing(self):
        (self.lists / "ole32.def").unlink()
        self.assert_breaches("the program imports from ole32.dll, which has no list: "
                             "CoCreateInstance, CoInitializeEx, CoUninitialize")

    def test_a_listed_function_is_not_used(self):
        self.add("coredll", "MessageBeep")
        self.assert_breaches("MessageBeep is in ce/coredll.def, but the program does not use it")

    def test_a_listed_function_is_neither_used_nor_there(self):
        self.add("aygshell", "SHNoSuchFunction")
        self.assert_breaches(
            "SHNoSuchFunction is in ce/aygshell.def, but the program does not use it",
            "SHNoSuchFunction is in ce/aygshell.def, but the simulator's aygshell.dll does not export it")

    def test_a_function_of_the_hosts_own_dll_need_not_be_simulated(self):
        self.add("ole32", "CoTaskMemFree")
        self.assert_breaches("CoTaskMemFree is in ce/ole32.def, but the program does not use it")

    def test_letter_case_counts(self):
        self.edit("coredll", lambda text: text.replace("\nEndDialog\n", "\nendDialog\n"))
        self.assert_breaches("the program imports EndDialog of coredll.dll, which is not in its list",
                             "endDialog is in ce/coredll.def, but the program does not use it",
                             "endDialog is in ce/coredll.def, but the simulator's coredll.dll does not export it")

    def test_a_function_stands_twice(self):
        self.add("commctrl", "PropertySheetW")
        self.assert_breaches("PropertySheetW stands twice in ce/commctrl.def")

    def test_a_list_is_of_another_dll_than_it_says(self):
        self.edit("ole32", lambda text: text.replace("ole32.dll", "oleaut32.dll"))
        code, lines, _ = self.check()
        self.assertEqual(code, 1)
        self.assertIn("ce/ole32.def is a list of oleaut32.dll", lines)

    def test_comments_and_empty_lines_are_no_functions(self):
        self.add("coredll", "; NotAFunction\n\n   ; nor this")
        self.assert_breaches()


class StartUp(Surface):
    def test_the_start_up_imports_more_than_is_listed(self):
        self.remove("startup", "TlsAlloc")
        self.assert_breaches("the program imports TlsAlloc of kernel32.dll, which is not in ce/startup.def")

    def test_the_start_up_imports_less_than_is_listed(self):
        self.add("startup", "CreateFileW")
        self.assert_breaches("CreateFileW of kernel32.dll is in ce/startup.def, but the program does not import it")

    def test_the_host_library_is_asked_for_something_new(self):
        self.replace_bytes("kvsettings.exe", b"vfprintf\0", b"vfprantf\0")
        self.assert_breaches(
            "the program imports vfprantf of msvcrt.dll, which is not in STARTUP_OF_MSVCRT of this test",
            "vfprintf of msvcrt.dll is in STARTUP_OF_MSVCRT of this test, but the program does not import it")


class Builds(Surface):
    def test_the_program_imports_a_function_of_another_name(self):
        self.replace_bytes("kvsettings.exe", b"PropertySheetW\0", b"PropertySheetA\0")
        self.assert_breaches("the program imports PropertySheetA of commctrl.dll, which is not in its list")

    def test_the_program_imports_from_a_dll_without_a_list(self):
        self.replace_bytes("kvsettings.exe", b"aygshell.dll\0", b"bygshell.dll\0")
        self.assert_breaches("the program imports from bygshell.dll, which has no list: SHCreateMenuBar, SHInitDialog, SHSipInfo")

    def test_the_simulator_does_not_export_a_function(self):
        self.replace_bytes("commctrl.dll", b"\0PropertySheetW\0", b"\0PropertySheetX\0")
        self.assert_breaches("PropertySheetW is in ce/commctrl.def, but the simulator's commctrl.dll does not export it")

    def test_the_simulator_lacks_a_dll(self):
        (self.copy / "commctrl.dll").unlink()
        self.assert_breaches("the simulator has no commctrl.dll")

    def test_there_is_no_program(self):
        (self.copy / "kvsettings.exe").unlink()
        self.assert_broken("kvsettings.exe")

    def test_the_program_is_no_program(self):
        (self.copy / "kvsettings.exe").write_bytes(b"no program" * 100)
        self.assert_broken("kvsettings.exe: not a")

    def test_the_program_is_cut_off(self):
        path = self.copy / "kvsettings.exe"
        path.write_bytes(path.read_bytes()[:200])
        self.assert_broken("kvsettings.exe: not a complete executable")

    def test_there_is_no_library(self):
        (self.copy / "libprogram.a").unlink()
        self.assert_broken("nm")

    def test_there_are_no_lists(self):
        for path in self.lists.glob("*.def"):
            path.unlink()
        self.assert_broken("here are not the lists")

    def test_a_list_names_no_dll(self):
        self.edit("commctrl", lambda text: text.replace("LIBRARY", ";"))
        self.assert_broken("commctrl.def: names no LIBRARY")


if __name__ == "__main__":
    unittest.main()
