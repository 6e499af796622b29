#!/usr/bin/env python3
"""Turns the desktop registry's export of a phone's branch into the phone's registry.reg, on standard output.

    phone_registry.py EXPORT NAME

The export names keys below HKEY_CURRENT_USER\\Software\\Phone Simulator\\NAME; on the phone they lie below the roots
themselves. Keys and values come out sorted, so that two exports can be compared line by line.
"""
import re
import sys

HEADING = "Windows Registry Editor Version 5.00"
ROOTS = {
    "HKCR": "HKEY_CLASSES_ROOT",
    "HKCU": "HKEY_CURRENT_USER",
    "HKLM": "HKEY_LOCAL_MACHINE",
    "HKU": "HKEY_USERS",
}
BYTES_PER_LINE = 25

QUOTED = r'"(?:[^"\\]|\\.)*"'
VALUE_LINE = re.compile(rf"(@|{QUOTED})=(.*)", re.DOTALL)
LINE_BREAKS = {"n": "\n", "r": "\r", "0": "\0"}


def logical_lines(text):
    """The lines of the export; a list of bytes that goes on over several lines is one of them."""
    return re.sub(r",\\\r?\n\s*", ",", text).splitlines()


def unescaped(quoted):
    return re.sub(r"\\(.)", lambda match: LINE_BREAKS.get(match[1], match[1]), quoted[1:-1])


def wrapped(kind, pairs):
    """A list of bytes, broken into lines as registry editors do."""
    lines = [pairs[first:first + BYTES_PER_LINE] for first in range(0, len(pairs), BYTES_PER_LINE)]
    return kind + ":" + ",\\\n  ".join(",".join(line) for line in lines)


def phone_data(data):
    """A value's data as registry.reg has it. Only the desktop's format knows line breaks within a string."""
    if data.startswith('"') and re.search(r"(?<!\\)(?:\\\\)*\\[nr0]", data):
        text = (unescaped(data) + "\0").encode("utf-16-le")
        return wrapped("hex(1)", [f"{byte:02x}" for byte in text])
    if data.startswith("hex"):
        kind, _, pairs = data.partition(":")
        return wrapped(kind, pairs.split(",") if pairs else [])
    return data


def phone_key(key, branch):
    """The key as the phone calls it; None for one outside the roots."""
    root, _, path = key[len(branch):].partition("\\") if key.lower().startswith(branch.lower()) else ("", "", "")
    if root not in ROOTS:
        return None
    return ROOTS[root] + ("\\" + path if path else "")


def read_keys(export, branch):
    """{key of the phone: {value name as written: data}}"""
    keys, values = {}, None
    for line in logical_lines(export):
        if line.startswith("["):
            key = phone_key(line.strip()[1:-1], branch)
            values = keys.setdefault(key, {}) if key else None
        elif values is not None and (match := VALUE_LINE.fullmatch(line)):
            values[match[1]] = phone_data(match[2])
    return keys


def is_needed(key, keys):
    """A key without values is written only when nothing below it brings it into being. Roots are always there."""
    below = key.lower() + "\\"
    return bool(keys[key]) or "\\" in key and not any(other.lower().startswith(below) for other in keys)


def registry_text(export, name):
    keys = read_keys(export, f"HKEY_CURRENT_USER\\Software\\Phone Simulator\\{name}\\")
    sections = [HEADING + "\n"]
    for key in sorted(filter(lambda key: is_needed(key, keys), keys), key=str.lower):
        values = sorted(keys[key].items(), key=lambda value: value[0].lower())
        sections.append("".join(f"{line}\n" for line in [f"[{key}]"] + [f"{name}={data}" for name, data in values]))
    return "\n".join(sections)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.split("\n\n")[1].strip())
    sys.stdout.reconfigure(encoding="utf-8", newline="\n")
    with open(sys.argv[1], encoding="utf-16") as export:
        sys.stdout.write(registry_text(export.read(), sys.argv[2]))


if __name__ == "__main__":
    main()
