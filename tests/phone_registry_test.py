#!/usr/bin/env python3
"""Tests of the script that turns an export of the desktop's registry into a phone's registry.reg."""
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "simulator" / "tools"))
from phone_registry import registry_text  # noqa: E402

HEADING = "Windows Registry Editor Version 5.00\n"
PHONE = r"HKEY_CURRENT_USER\Software\Phone Simulator\wm6"


def export(*lines):
    return "\r\n".join([HEADING.strip(), "", *lines, ""])


class PhoneRegistryTest(unittest.TestCase):
    def check(self, lines, expected):
        self.assertEqual(registry_text(export(*lines), "wm6"), HEADING + "".join(f"\n{each}" for each in expected))

    def test_every_root_is_put_back_into_its_place(self):
        self.check([rf"[{PHONE}\HKCU\A]", '"v"="1"', rf"[{PHONE}\HKLM\B]", '"v"="2"', rf"[{PHONE}\HKCR\C]", '"v"="3"',
                    rf"[{PHONE}\HKU\D]", '"v"="4"'],
                   ["[HKEY_CLASSES_ROOT\\C]\n\"v\"=\"3\"\n", "[HKEY_CURRENT_USER\\A]\n\"v\"=\"1\"\n",
                    "[HKEY_LOCAL_MACHINE\\B]\n\"v\"=\"2\"\n", "[HKEY_USERS\\D]\n\"v\"=\"4\"\n"])

    def test_values_directly_in_a_root_are_kept(self):
        self.check([rf"[{PHONE}\HKLM]", '"v"=dword:00000001'], ['[HKEY_LOCAL_MACHINE]\n"v"=dword:00000001\n'])

    def test_keys_and_values_are_sorted_without_regard_to_case(self):
        self.check([rf"[{PHONE}\HKCU\b]", '"z"="1"', '"Y"="2"', rf"[{PHONE}\HKCU\A]", '@="d"'],
                   ['[HKEY_CURRENT_USER\\A]\n@="d"\n', '[HKEY_CURRENT_USER\\b]\n"Y"="2"\n"z"="1"\n'])

    def test_a_key_without_values_is_kept_only_when_nothing_lies_below_it(self):
        self.check([f"[{PHONE}]", rf"[{PHONE}\HKCU]", rf"[{PHONE}\HKCU\A]", rf"[{PHONE}\HKCU\A\B]"],
                   ["[HKEY_CURRENT_USER\\A\\B]\n"])

    def test_a_key_that_only_begins_like_another_does_not_lie_below_it(self):
        self.check([rf"[{PHONE}\HKCU\A]", rf"[{PHONE}\HKCU\AB]"],
                   ["[HKEY_CURRENT_USER\\A]\n", "[HKEY_CURRENT_USER\\AB]\n"])

    def test_another_phone_is_left_out(self):
        self.check([rf"[{PHONE}2\HKCU\A]", '"v"="1"'], [])

    def test_a_long_list_of_bytes_stays_whole(self):
        first, second = ",".join(["01"] * 25), ",".join(["02"] * 3)
        self.check([rf"[{PHONE}\HKCU\A]", f'"v"=hex:{first},\\', f"  {second}"],
                   [f'[HKEY_CURRENT_USER\\A]\n"v"=hex:{first},\\\n  {second}\n'])

    def test_an_empty_list_of_bytes_stays_empty(self):
        self.check([rf"[{PHONE}\HKCU\A]", '"v"=hex:'], ['[HKEY_CURRENT_USER\\A]\n"v"=hex:\n'])

    def test_quotation_marks_and_backslashes_stay_as_they_are(self):
        line = r'"a \"b\" \\"="\\Windows\\new \"x\"\\"'
        self.check([rf"[{PHONE}\HKCU\A]", line], [f"[HKEY_CURRENT_USER\\A]\n{line}\n"])

    def test_a_string_with_a_line_break_becomes_bytes(self):
        self.check([rf"[{PHONE}\HKCU\A]", r'"v"="a\nb"'],
                   ['[HKEY_CURRENT_USER\\A]\n"v"=hex(1):61,00,0a,00,62,00,00,00\n'])

    def test_text_beyond_ascii_is_kept(self):
        self.check([rf"[{PHONE}\HKCU\Töne]", '"v"="Größe"'], ['[HKEY_CURRENT_USER\\Töne]\n"v"="Größe"\n'])


if __name__ == "__main__":
    unittest.main()
