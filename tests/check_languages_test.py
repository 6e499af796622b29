#!/usr/bin/env python3
"""Tests of check_languages.py, of the table of English texts and of the language files that come with the program."""

import contextlib
import io
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent))

import check_languages  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent
GERMAN = ROOT / "languages" / "kvl_DE.txt"
BOM = "\ufeff"

# A table as small as the rules allow, in every notation the parser knows.
TABLE = r"""
#include "default_texts.h"
// defaultTexts[9] = { L"not this" }; it's a comment
const wchar_t emptyText[] = L"";
extern const wchar_t *const defaultTexts[textCount];
const wchar_t *const defaultTexts[textCount] = {
    /* 0 */ L"OK",
    L"Cancel", // "1"
    emptyText,
    L"Alarm in %d min",
    L"%s: %02d of %S for %.2f (%d %%)",
    L"Backlight %",
    L"two " /* joined, with a brace } */ L"parts",
    L"tab\tline\nquote\"back\\slash\x41\u00e4\101",
};
static_assert(defaultTexts[textCount - 1] != nullptr, "no row");
"""
ENGLISH = [
    "OK", "Cancel", "", "Alarm in %d min", "%s: %02d of %S for %.2f (%d %%)", "Backlight %", "two parts",
    'tab\tline\nquote"back\\slashAäA',
]


def read_entry(content, identifier):
    """The program's own way of finding a text, unit by unit; "" where it would show English."""
    content = content.partition("\0")[0]
    key = f"\n{identifier}="
    match = content.find(key)
    end = content.find("\r", match + 2) if match >= 0 else -1
    if end < 0 or (end - match) * 2 >= 520:
        return ""
    return content[match + len(key) : end][:259]


class CheckedFiles(unittest.TestCase):
    """Runs the tool on files made up for one test each."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.texts = self.folder / "texts.cpp"
        self.texts.write_text(TABLE, encoding="utf-8")

    def write(self, data, name="kvl_DE.txt"):
        path = self.folder / name
        path.write_bytes(data.encode("utf-16-le", "surrogatepass") if isinstance(data, str) else data)
        return path

    def run_tool(self, *arguments):
        """Returns (exit code, printed lines)."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            code = check_languages.main(["--texts", str(self.texts), *map(str, arguments)])
        return code, output.getvalue().splitlines()

    def assert_clean(self, data, *options, name="kvl_DE.txt"):
        self.assertEqual(self.run_tool(*options, self.write(data, name)), (0, []))

    def assert_problem(self, data, line, message, *options, name="kvl_DE.txt"):
        """The file has one problem, on that line, and the message says so."""
        path = self.write(data, name)
        code, printed = self.run_tool(*options, path)
        self.assertEqual(code, 1)
        self.assertEqual(len(printed), 1, printed)
        self.assertTrue(printed[0].startswith(f"{path}:{line}: "), printed[0])
        self.assertIn(message, printed[0])


class CleanFilesTest(CheckedFiles):
    def test_a_title_and_entries_pass(self):
        self.assert_clean(BOM + "Title\r\n0=OK\r\n1=Abbrechen\r\n")

    def test_the_byte_order_mark_may_be_missing(self):
        self.assert_clean("Title\r\n0=OK\r\n")
        self.assert_clean("\r\n0=中文中文中文中文中文中文中文中文中文中文中文中文\r\n")

    def test_lines_that_are_no_entries_are_comments(self):
        self.assert_clean(BOM + "Title\r\n\r\n; buttons = short\r\n0=OK\r\n=\r\nx1=\r\n" + "-" * 300 + "\r\n")

    def test_a_text_may_hold_equals_signs_blanks_and_characters_beyond_16_bits(self):
        self.assert_clean(BOM + "Title\r\n0= a = b \r\n1=\U0001f514\r\n6=\t\r\n")

    def test_every_language_file_name_passes(self):
        for code in "DE IT FR CZ HB RU SP PT SW NO HL DN PL GR HU CHS CHT JP".split():
            self.assert_clean("Title\r\n0=OK\r\n", name=f"kvl_{code}.txt")

    def test_complete_asks_for_every_identifier_with_an_english_text(self):
        full = BOM + "Title\r\n0=a\r\n1=b\r\n3=%d\r\n4=%s%02d%S%.2f%d%%\r\n5=e\r\n6=f\r\n7=g\r\n"
        self.assert_clean(full, "--complete")
        partial = full.replace("1=b\r\n", "").replace("7=g\r\n", "")
        self.assert_problem(partial, 6, "missing identifiers: 1, 7", "--complete")
        self.assert_clean(full.replace("1=b\r\n", ""))

    def test_an_entry_that_is_never_found_counts_as_missing(self):
        full = BOM + "Title\r\n0=a\r\n1=b\r\n3=%d\r\n4=%s%02d%S%.2f%d%%\r\n5=e\r\n6=f\r\n7=g\r\n"
        code, printed = self.run_tool("--complete", self.write(full.replace("Title\r\n", "")))
        self.assertEqual(code, 1)
        self.assertTrue(any("missing identifiers: 0" in line for line in printed), printed)


class FileNameTest(CheckedFiles):
    def test_other_names_are_reported(self):
        for name in ("kvl_EN.txt", "kvl_de.txt", "kvl_DE.TXT", "kvl_DE.txt.bak", "kvlDE.txt", "DE.txt", "kvl_.txt"):
            self.assert_problem("Title\r\n0=OK\r\n", 1, "is not the name of a language file", name=name)

    def test_a_missing_file_is_reported(self):
        path = self.folder / "kvl_IT.txt"
        self.assertEqual(self.run_tool(path), (1, [f"{path}:1: cannot be read: No such file or directory"]))

    def test_every_file_is_checked(self):
        clean, bad = self.write("Title\r\n0=OK\r\n"), self.write("Title\r\n2=x\r\n", "kvl_IT.txt")
        also_bad = self.write("Title\r\n9=x\r\n", "kvl_FR.txt")
        code, printed = self.run_tool(clean, bad, also_bad)
        self.assertEqual(code, 1)
        self.assertEqual([line.partition(":2: ")[0] for line in printed], [str(bad), str(also_bad)])

    def test_problems_come_in_the_order_of_their_lines(self):
        path = self.write("Title\r\n2=x\r\n0=O\rK\r\n1=\r\n")
        printed = self.run_tool(path)[1]
        self.assertEqual([int(line.removeprefix(f"{path}:").partition(":")[0]) for line in printed], [2, 3, 5])


class EncodingTest(CheckedFiles):
    TEXT = "Titel\r\n0=Schließen\r\n"

    def test_other_encodings_are_named(self):
        for data, looks_like in (
            (self.TEXT.encode("utf-8"), "looks like UTF-8"),
            ((BOM + self.TEXT).encode("utf-8"), "looks like UTF-8 with a byte-order mark"),
            (self.TEXT.encode("cp1252"), "looks like an 8-bit code page"),
            (b"Title\r\n0=OK\r\n", "looks like plain ASCII"),
            ((BOM + self.TEXT).encode("utf-16-be"), "looks like UTF-16 big-endian"),
            (self.TEXT.encode("utf-16-be"), "looks like UTF-16 big-endian without a byte-order mark"),
            ((BOM + self.TEXT).encode("utf-32-le"), "looks like UTF-32 little-endian"),
            ((BOM + self.TEXT).encode("utf-32-be"), "looks like UTF-32 big-endian"),
        ):
            with self.subTest(looks_like):
                path = self.write(data)
                self.assertEqual(
                    self.run_tool(path), (1, [f"{path}:1: not UTF-16 little-endian: {looks_like}"])
                )

    def test_an_empty_file_is_reported(self):
        self.assert_problem(b"", 1, "the file is empty")
        self.assert_problem(BOM, 1, "the file is empty")

    def test_half_a_character_at_the_end_is_reported_on_its_line(self):
        data = (BOM + "Title\r\n0=OK\r\n").encode("utf-16-le")
        self.assert_problem(data + b"x", 3, "half a character at the end")
        self.assert_problem(data[:-1], 2, "half a character at the end")

    def test_half_of_a_surrogate_pair_is_reported_on_its_line(self):
        self.assert_problem(BOM + "Title\r\n0=\ud83d\r\n1=b\r\n", 2, "half of a surrogate pair")
        self.assert_problem(BOM + "Title\r\n0=a\r\n1=\udd14\r\n", 3, "half of a surrogate pair")

    def test_a_nul_character_is_reported_on_its_line(self):
        self.assert_problem(BOM + "Title\r\n0=O\0K\r\n1=b\r\n", 2, "NUL character")
        self.assert_problem(BOM + "Title\r\n0=OK\r\n\0\r\n", 3, "NUL character")


class LineEndTest(CheckedFiles):
    def test_a_line_feed_alone_is_reported(self):
        self.assert_problem(BOM + "Title\r\n0=OK\n1=b\r\n", 2, "line feed without a carriage return")

    def test_line_feeds_alone_are_reported_once_for_the_whole_file(self):
        self.assert_problem(BOM + "Title\n0=OK\n1=b\n", 1, "line feed without a carriage return (and 2 more)")

    def test_a_line_feed_inside_a_text_is_reported(self):
        self.assert_problem(BOM + "Title\r\n7=two\nlines\r\n", 2, "line feed without a carriage return")

    def test_a_carriage_return_alone_is_reported(self):
        self.assert_problem(BOM + "Title\r\n0=O\rK\r\n1=b\r\n", 2, "carriage return without a line feed")

    def test_what_stands_behind_a_carriage_return_alone_is_no_entry(self):
        self.assert_problem(BOM + "Title\r\n0=OK\r0=OK\r\n", 2, "carriage return without a line feed")

    def test_an_unfinished_last_line_is_reported(self):
        message = "the last line does not end in carriage return and line feed"
        self.assert_problem(BOM + "Title\r\n0=OK\r\n1=b", 3, message)
        self.assert_problem(BOM + "Title", 1, message)

    def test_a_last_line_that_ends_in_half_a_line_end_is_reported(self):
        self.assert_problem(BOM + "Title\r\n0=OK\n", 2, "line feed without a carriage return")
        self.assert_problem(BOM + "Title\r\n0=OK\r", 2, "carriage return without a line feed")


class IdentifierTest(CheckedFiles):
    def test_an_entry_on_the_first_line_is_reported(self):
        self.assert_problem(BOM + "0=OK\r\n1=b\r\n", 1, "entry 0 on the first line is never found")
        self.assert_problem("0=OK\r\n1=b\r\n", 1, "entry 0 on the first line is never found")

    def test_identifiers_outside_the_table_are_reported(self):
        self.assert_clean("Title\r\n7=x\r\n")
        self.assert_problem("Title\r\n8=x\r\n", 2, "unknown identifier 8: identifiers go from 0 to 7")
        self.assert_problem("Title\r\n9=x\r\n", 2, "unknown identifier 9: identifiers go from 0 to 7")
        self.assert_problem("Title\r\n99999999999=x\r\n", 2, "unknown identifier 99999999999")

    def test_an_identifier_without_an_english_text_is_reported(self):
        self.assert_problem("Title\r\n0=OK\r\n2=x\r\n", 3, "identifier 2 has no English text")

    def test_a_repeated_identifier_is_reported_where_it_is_repeated(self):
        self.assert_problem("Title\r\n1=a\r\n0=b\r\n1=c\r\n", 4, "identifier 1 was already on line 2")

    def test_identifiers_that_are_not_plain_decimal_are_reported(self):
        for written in ("+1", "-1", "01", "00", " 1", "1 ", "\t1", "- 1", "１"):
            with self.subTest(written):
                self.assert_problem(f"Title\r\n{written}=x\r\n", 2, f'identifier "{written}" must be plain decimal')

    def test_an_absurdly_long_number_is_a_comment(self):
        self.assert_clean("Title\r\n" + "1" * 5000 + "=x\r\n")


class TextTest(CheckedFiles):
    def test_an_empty_text_is_reported(self):
        self.assert_problem("Title\r\n0=OK\r\n1=\r\n", 3, "1: the text is empty")

    def test_a_line_may_have_518_bytes_from_its_line_feed_to_its_carriage_return(self):
        for length, fits in ((255, True), (256, True), (257, False), (258, False)):
            content = "Title\r\n1=" + "x" * length + "\r\n"
            with self.subTest(length):
                self.assertEqual(read_entry(content, 1), "x" * length if fits else "")
                if fits:
                    self.assert_clean(content)
                else:
                    self.assert_problem(content, 2, f"1: the line has {2 * length + 6} bytes")

    def test_a_character_beyond_16_bits_counts_twice(self):
        self.assert_clean("Title\r\n1=" + "\U0001f514" * 128 + "\r\n")
        self.assert_problem("Title\r\n1=" + "\U0001f514" * 128 + "x\r\n", 2, "1: the line has 520 bytes")

    def test_a_text_may_have_259_characters(self):
        for length, fits in ((258, True), (259, True), (260, False)):
            printed = self.run_tool(self.write("Title\r\n1=" + "x" * length + "\r\n"))[1]
            self.assertEqual(any(f"the text has {length} characters" in line for line in printed), not fits)

    def test_placeholders_must_be_those_of_the_english_text_in_its_order(self):
        self.assert_clean("Title\r\n3=In %d Minuten\r\n4=%s hat %02d von %S zu %.2f, %d%%\r\n")
        for text in ("In Minuten", "In %s Minuten", "In %02d Minuten", "In %d Minuten %d", "In %%d Minuten", "In % d"):
            with self.subTest(text):
                self.assert_problem(f"Title\r\n3={text}\r\n", 2, "3: placeholders are")
        for text in ("%02d %s %S %.2f %d %%", "%s %02d %s %.2f %d %%", "%s %02d %S %f %d %%", "%s %02d %S %.2f %d"):
            with self.subTest(text):
                self.assert_problem(f"Title\r\n4={text}\r\n", 2, "4: placeholders are")

    def test_the_message_names_both_sides(self):
        self.assert_problem("Title\r\n3=%s %d\r\n", 2, "placeholders are %s %d, in English %d")
        self.assert_problem("Title\r\n3=x\r\n", 2, "placeholders are missing, in English %d")
        self.assert_problem("Title\r\n0=%d\r\n", 2, "placeholders are %d, in English there are none")

    def test_a_per_cent_sign_alone_is_fine_where_english_has_no_placeholders(self):
        self.assert_clean("Title\r\n5=Licht % (Akku)\r\n0=100 %\r\n1=% des Akkus\r\n")
        self.assert_problem("Title\r\n5=Licht %%\r\n", 2, "5: placeholders are %%, in English there are none")

    def test_a_per_cent_sign_alone_is_reported_beside_placeholders(self):
        self.assert_problem("Title\r\n3=%d % Minuten\r\n", 2, '3: a "%" that is no placeholder')


class DefaultTextsParserTest(CheckedFiles):
    def test_every_notation_of_a_row_is_understood(self):
        self.assertEqual(check_languages.parse_default_texts(TABLE), ENGLISH)

    def test_a_table_without_a_trailing_comma_is_understood(self):
        self.assertEqual(check_languages.parse_default_texts('defaultTexts[2]{L"a", emptyText}'), ["a", ""])

    def test_a_table_it_cannot_understand_is_refused(self):
        for source in ("", 'texts[] = {L"a"};', "defaultTexts[1] = {otherText};", 'defaultTexts[1] = {L"a"',
                       'defaultTexts[2] = {L"a",, L"b"};', 'defaultTexts[1] = {L"a" emptyText};'):
            with self.subTest(source), self.assertRaises(check_languages.TableError):
                check_languages.parse_default_texts(source)

    def test_the_tool_says_which_source_file_it_cannot_use(self):
        self.texts.write_text("nothing here", encoding="utf-8")
        errors = io.StringIO()
        with contextlib.redirect_stderr(errors), self.assertRaises(SystemExit) as exit_code:
            self.run_tool(self.write("Title\r\n0=OK\r\n"))
        self.assertEqual(exit_code.exception.code, 2)
        self.assertIn("texts.cpp: no table defaultTexts", errors.getvalue())


class DefaultTextsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.english = check_languages.parse_default_texts(check_languages.DEFAULT_TEXTS.read_text(encoding="utf-8"))

    def test_the_table_has_530_rows_500_of_them_with_a_text(self):
        self.assertEqual(len(self.english), 530)
        self.assertEqual(sum(1 for text in self.english if text), 500)

    def test_each_row_carries_its_number(self):
        source = check_languages.DEFAULT_TEXTS.read_text(encoding="utf-8")
        numbers = re.findall(r"^ *(?:/\* *(\d+) \*/ )(?:L\"|emptyText)", source, re.MULTILINE)
        self.assertEqual([int(number) for number in numbers], list(range(530)))

    def test_some_rows_hold_what_users_know(self):
        for identifier, text in (
            (0, "OK"), (18, ""), (134, "Home"), (215, "Calculation\t(In/Out)"), (414, "Minumum cost"),
            (289, "Warning when battery charge less than  ? %"), (473, " conditional"), (529, "Reset count"),
            (439, "Do NOT forward to these numbers\nInsert full or partial number."),
        ):
            self.assertEqual(self.english[identifier], text)


class GermanTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        english = check_languages.parse_default_texts(check_languages.DEFAULT_TEXTS.read_text(encoding="utf-8"))
        cls.english = {identifier: text for identifier, text in enumerate(english) if text}
        content = check_languages.decode_units(GERMAN.read_bytes())
        cls.german = {identifier: read_entry(content, identifier) for identifier in cls.english}

    def test_the_file_passes_the_tool_as_translators_run_it(self):
        for options in ([], ["--complete"]):
            tool = [sys.executable, "-B", "tests/check_languages.py", *options, "languages/kvl_DE.txt"]
            result = subprocess.run(tool, cwd=ROOT, capture_output=True, text=True, check=False)
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_the_program_finds_every_text(self):
        self.assertEqual([identifier for identifier, text in self.german.items() if not text], [])

    def test_the_entries_are_in_ascending_order_behind_a_title(self):
        lines = GERMAN.read_bytes().decode("utf-16").split("\r\n")
        self.assertEqual([int(line.partition("=")[0]) for line in lines[1:-1]], sorted(self.english))
        self.assertEqual(lines[-1], "")

    def test_blanks_at_the_ends_and_tabs_are_those_of_english(self):
        for identifier, text in self.german.items():
            english = self.english[identifier]
            with self.subTest(identifier):
                self.assertEqual(text.startswith(" "), english.startswith(" "))
                self.assertEqual(text.endswith(" "), english.endswith(" "))
                self.assertEqual(text.count("\t"), english.count("\t"))

    def test_page_titles_are_shown_whole(self):
        for identifier in (5, 6, 7, 15, 91, 92, 237, 238, 239):
            self.assertLessEqual(len(self.german[identifier]), 20)

    def test_list_entries_that_are_read_back_as_words_do_not_begin_with_a_number(self):
        for identifier in (118, 149, 209, 241, 302, 447):
            self.assertNotRegex(self.german[identifier], r"^\s*[-+]?\d")

    def test_ring_types_differ_from_each_other(self):
        self.assertEqual(len({self.german[identifier] for identifier in range(112, 125)}), 13)

    def test_names_stored_in_settings_stay_as_they_are(self):
        # Profiles and schedules keep these words themselves, so they must not change with the language.
        for identifier in (61, 93, 94, 199, 200, 201, 202, 228):
            self.assertEqual(self.german[identifier], self.english[identifier])

    def test_the_low_battery_text_fits_the_24_bytes_written_of_it(self):
        self.assertLessEqual(len(self.german[255]), 11)

    def test_default_profile_names_fit_their_fields(self):
        for identifier in range(134, 141):
            self.assertLessEqual(len(self.german[identifier]), 39)


if __name__ == "__main__":
    unittest.main()
