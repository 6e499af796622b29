#!/usr/bin/env python3
"""Checks language files (kvl_<code>.txt) the way the program reads them.

The program looks an entry up by searching the file for a line feed, the identifier and "=", and takes the text up to
the next carriage return. Whatever it cannot use it passes over in silence and shows English instead, so a slip in a
file is easily missed on the phone. This tool names each one as FILE:LINE: message and exits with 1 if there is any.

A line feed inside a text would reach the phone, but not survive most editors, so it counts as a broken line end: where
English breaks a line, a blank will do, as labels wrap by themselves.
"""

import argparse
import re
import sys
from pathlib import Path

LANGUAGE_CODES = (
    "DE", "IT", "FR", "CZ", "HB", "RU", "SP", "PT", "SW", "NO", "HL", "DN", "PL", "GR", "HU", "CHS", "CHT", "JP",
)
FILE_NAMES = {f"kvl_{code}.txt" for code in LANGUAGE_CODES}

DEFAULT_TEXTS = Path(__file__).resolve().parent.parent / "i18n" / "default_texts.cpp"

# The reader measures a line in bytes from its line feed to its carriage return and takes it only below this limit.
LINE_BYTES_LIMIT = 520
# The reader copies at most this many characters of a text.
TEXT_CHARACTERS = 259

COMMENT_OR_LITERAL = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)|(?:u8|[LuU])?"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*'""", re.DOTALL
)
TABLE_START = re.compile(r"\bdefaultTexts\s*\[[^\]]*\]\s*=?\s*\{")
TABLE_TOKEN = re.compile(r"""\s*(?:(?:u8|[LuU])?"(?P<literal>(?:\\.|[^"\\\n])*)"|(?P<name>\w+)|(?P<mark>[,}]))""")
ESCAPE = re.compile(r"\\(?:x([0-9A-Fa-f]+)|u([0-9A-Fa-f]{4})|U([0-9A-Fa-f]{8})|([0-7]{1,3})|(.))", re.DOTALL)
SIMPLE_ESCAPES = {"n": "\n", "r": "\r", "t": "\t", "a": "\a", "b": "\b", "f": "\f", "v": "\v"}

LINE = re.compile(r"([^\r\n]*)(\r\n|\r|\n|$)")
IDENTIFIER = re.compile(r"0|[1-9][0-9]*")
# What its author surely meant as an identifier, though the reader never asks for it in this form.
ODD_IDENTIFIER = re.compile(r"\s*[-+]?\s*\d{1,20}\s*")
# No blank among the flags: "Signal % low" speaks of per cent.
PLACEHOLDER = re.compile(r"%(?:%|[-+#0]*(?:\d+|\*)?(?:\.(?:\d+|\*)?)?(?:hh|h|ll|l|I64|w)?[diouxXcCsSeEfgGpn])")


class TableError(Exception):
    """The table of English texts cannot be understood."""


# --- English texts --------------------------------------------------------------------------------------------------


def unescape(literal):
    """Returns what a C string literal's inside stands for."""

    def character(match):
        hexadecimal, short, long, octal, simple = match.groups()
        if octal:
            return chr(int(octal, 8))
        if simple:
            return SIMPLE_ESCAPES.get(simple, simple)
        return chr(int(hexadecimal or short or long, 16))

    return ESCAPE.sub(character, literal)


def strip_comments(source):
    """Returns C++ source without comments and joined lines, its literals untouched."""
    return COMMENT_OR_LITERAL.sub(lambda m: " " if m["comment"] else m[0], source.replace("\\\n", ""))


def parse_default_texts(source):
    """Returns the rows of the table defaultTexts in C++ source, "" for each emptyText."""
    source = strip_comments(source)
    start = TABLE_START.search(source)
    if not start:
        raise TableError("no table defaultTexts")
    rows, row, position = [], None, start.end()
    while True:
        token = TABLE_TOKEN.match(source, position)
        if not token:
            raise TableError(f"row {len(rows)} of defaultTexts is neither a string literal nor emptyText")
        position = token.end()
        if token["literal"] is not None:
            row = (row or "") + unescape(token["literal"])
        elif token["name"] == "emptyText" and row is None:
            row = ""
        elif token["name"]:
            raise TableError(f"unexpected {token['name']} in row {len(rows)} of defaultTexts")
        else:
            if row is not None:
                rows.append(row)
            elif token["mark"] == ",":
                raise TableError(f"row {len(rows)} of defaultTexts is missing")
            if token["mark"] == "}":
                return rows
            row = None


# --- Encoding -------------------------------------------------------------------------------------------------------


def eight_bit_kind(data):
    """Says what text without any zero byte looks like."""
    if data.isascii():
        return "plain ASCII"
    try:
        data.decode("utf-8")
        return "UTF-8"
    except UnicodeDecodeError:
        return "an 8-bit code page"


def other_encoding(data):
    """Names the encoding of data if it does not look like UTF-16 little-endian."""
    marks = (
        (b"\xef\xbb\xbf", "UTF-8 with a byte-order mark"),
        (b"\xff\xfe\0\0", "UTF-32 little-endian"),
        (b"\0\0\xfe\xff", "UTF-32 big-endian"),
        (b"\xfe\xff", "UTF-16 big-endian"),
        (b"\xff\xfe", None),
    )
    for mark, name in marks:
        if data.startswith(mark):
            return name
    if b"\0" not in data:
        return eight_bit_kind(data)
    # The upper byte of a line feed or a digit is zero; where the zeros lie tells the byte order.
    if data[0::2].count(0) > data[1::2].count(0):
        return "UTF-16 big-endian without a byte-order mark"
    return None


def encoding_problem(data):
    """Returns (line, message) if data is not proper UTF-16 little-endian, else None."""
    if data in (b"", b"\xff\xfe"):
        return 1, "the file is empty"
    name = other_encoding(data)
    if name:
        return 1, f"not UTF-16 little-endian: looks like {name}"
    try:
        data.decode("utf-16-le")
    except UnicodeDecodeError as error:
        line = 1 + data[: error.start].decode("utf-16-le", "replace").count("\n")
        what = "half a character at the end" if error.reason == "truncated data" else "half of a surrogate pair"
        return line, f"not UTF-16 little-endian: {what}"
    return None


def decode_units(data):
    """Returns the 16-bit units of data, less a byte-order mark, as one character each: the reader counts units."""
    units = "".join(chr(data[i] | data[i + 1] << 8) for i in range(0, len(data), 2))
    return units.removeprefix("\ufeff")


# --- Lines and entries ----------------------------------------------------------------------------------------------


def split_lines(content):
    """Returns (text, ending) of each line; the ending is CR LF, CR, LF or, on an unfinished last line, empty."""
    return [match.groups() for match in LINE.finditer(content) if match[0]]


def line_end_problems(lines):
    """Yields what is wrong with line ends. Line feeds on their own are named once, as they tend to come in hundreds."""
    alone = [number for number, (_, ending) in enumerate(lines, 1) if ending == "\n"]
    if alone:
        others = f" (and {len(alone) - 1} more)" if len(alone) > 1 else ""
        yield alone[0], f"line ends in a line feed without a carriage return{others}"
    for number, (_, ending) in enumerate(lines, 1):
        if ending == "\r":
            yield number, "carriage return without a line feed: the text stops here and the rest is never found"
    if not lines[-1][1]:
        yield len(lines), "the last line does not end in carriage return and line feed"


def identifier_problem(identifier, english):
    """Says why the program never asks for this identifier, or returns None."""
    if identifier >= len(english):
        return f"unknown identifier {identifier}: identifiers go from 0 to {len(english) - 1}"
    if not english[identifier]:
        return f"identifier {identifier} has no English text and is never shown"
    return None


def placeholder_problem(text, english):
    """Says how the placeholders of a text differ from the English ones, or returns None."""
    expected, found = PLACEHOLDER.findall(english), PLACEHOLDER.findall(text)
    if found != expected:
        return f"placeholders are {' '.join(found) or 'missing'}, in English {' '.join(expected) or 'there are none'}"
    # Only a text with placeholders goes through a formatter, which takes any other per cent sign for one more of them.
    if expected and "%" in PLACEHOLDER.sub("", text):
        return 'a "%" that is no placeholder must be written "%%" in this text'
    return None


def entry_problems(identifier, text, english):
    """Yields what is wrong with the text of a known identifier."""
    if not text:
        yield "the text is empty"
        return
    line_bytes = 2 * len(f"\n{identifier}={text}")
    if line_bytes >= LINE_BYTES_LIMIT:
        yield f"the line has {line_bytes} bytes with its line feed, the reader takes at most {LINE_BYTES_LIMIT - 2}"
    if len(text) > TEXT_CHARACTERS:
        yield f"the text has {len(text)} characters, the reader takes at most {TEXT_CHARACTERS}"
    problem = placeholder_problem(text, english[identifier])
    if problem:
        yield problem


def entries(lines):
    """Yields (line number, identifier as written, text) of each line that is meant to be an entry."""
    for number, (line, _) in enumerate(lines, 1):
        # Behind a carriage return on its own nothing is found; that it stands there is a problem of its own.
        if number > 1 and lines[number - 2][1] == "\r":
            continue
        identifier, equals, text = line.partition("=")
        if equals and ODD_IDENTIFIER.fullmatch(identifier):
            yield number, identifier, text


def content_problems(lines, english, complete):
    """Yields (line number, message) for each problem of the lines' contents."""
    for number, (line, _) in enumerate(lines, 1):
        if "\0" in line:
            yield number, "NUL character: the reader sees nothing behind it"
    first_lines = {}
    for number, written, text in entries(lines):
        if number == 1:
            yield number, f"entry {written} on the first line is never found: the first line is a title"
            continue
        if not IDENTIFIER.fullmatch(written):
            yield number, f'identifier "{written}" must be plain decimal, without sign, leading zeros or blanks'
            continue
        identifier = int(written)
        problem = identifier_problem(identifier, english)
        if problem:
            yield number, problem
        elif identifier in first_lines:
            yield number, f"identifier {identifier} was already on line {first_lines[identifier]}, which wins"
        else:
            first_lines[identifier] = number
            for problem in entry_problems(identifier, text, english):
                yield number, f"{identifier}: {problem}"
    missing = [str(i) for i, text in enumerate(english) if text and i not in first_lines]
    if complete and missing:
        yield len(lines), f"missing identifiers: {', '.join(missing)}"


def check_file(path, english, complete=False):
    """Returns the problems of one language file as a sorted list of (line number, message)."""
    problems = []
    if path.name not in FILE_NAMES:
        codes = " ".join(LANGUAGE_CODES)
        problems.append((1, f"{path.name} is not the name of a language file: kvl_<code>.txt, <code> one of {codes}"))
    try:
        data = path.read_bytes()
    except OSError as error:
        return problems + [(1, f"cannot be read: {error.strerror}")]
    problem = encoding_problem(data)
    if problem:
        return problems + [problem]
    lines = split_lines(decode_units(data))
    problems += line_end_problems(lines)
    problems += content_problems(lines, english, complete)
    return sorted(problems, key=lambda each: each[0])


def main(arguments=None):
    parser = argparse.ArgumentParser(description="Check language files the way the program reads them.")
    parser.add_argument("--texts", type=Path, default=DEFAULT_TEXTS, help="source file with the English texts")
    parser.add_argument("--complete", action="store_true", help="also report identifiers without a translation")
    parser.add_argument("files", nargs="+", type=Path, metavar="FILE", help="language file")
    options = parser.parse_args(arguments)
    try:
        english = parse_default_texts(options.texts.read_text(encoding="utf-8"))
    except (OSError, TableError) as error:
        parser.error(f"{options.texts}: {error}")
    found = False
    for path in options.files:
        for line, message in check_file(path, english, options.complete):
            print(f"{path}:{line}: {message}")
            found = True
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
