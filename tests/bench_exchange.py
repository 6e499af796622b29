"""Export and import side by side with the desktop's registry editor, for bench.py.

Both read and write the same values of the same registry: the program's key of a phone. Both are timed from the start of their
process to its end.
"""
import statistics
import subprocess
import time
from dataclasses import dataclass

from phone_copy import RUN_WINE, SIMULATOR, windows_path

VALUE_COUNTS = [1000, 10000]
PROGRAM_KEY = r"Software\Tessaryn\Kelvane"
SECTION_VALUES = 250  # of a subkey
INSTALL_FOLDER = "root/Program Files/Kelvane"
TIME_LIMIT = 120  # seconds


@dataclass(frozen=True)
class Exchange:
    title: str
    own: list  # the command line of the program's side
    other: list  # and of the registry editor's
    other_name: str


def values(count):
    """{subkey: [(name, number or text)]}: half numbers, half texts, as records have them."""
    sections = {}
    for number in range(count):
        value = number * 7919 if number % 2 else f"\\Windows\\Rings\\tone {number}.wav"
        sections.setdefault(f"{number // SECTION_VALUES}", []).append((f"value{number:05}", value))
    return sections


def export_text(sections):
    parts = [f"{PROGRAM_KEY}\r\n\r\nlang=4,0\r\n"]
    for subkey, section in sections.items():
        lines = "".join(f"{name}={4 if isinstance(value, int) else 1},{value}\r\n" for name, value in section)
        parts.append(f"{PROGRAM_KEY}\\{subkey}\r\n\r\n{lines}")
    return "\r\n".join(parts) + "\r\n"


def editor_text(sections, key):
    parts = [f'Windows Registry Editor Version 5.00\r\n\r\n[{key}]\r\n"lang"=dword:00000000\r\n']
    for subkey, section in sections.items():
        lines = "".join(f'"{name}"=dword:{value:08x}\r\n' if isinstance(value, int) else
                        '"{}"="{}"\r\n'.format(name, value.replace("\\", "\\\\")) for name, value in section)
        parts.append(f"[{key}\\{subkey}]\r\n{lines}")
    return "\r\n".join(parts) + "\r\n"


def run(command, phone):
    """Seconds of one run."""
    start = time.perf_counter()
    subprocess.run([RUN_WINE, *command], cwd=SIMULATOR, env=phone.environment, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=TIME_LIMIT, check=True)
    return time.perf_counter() - start


def prepare(phone, count):
    """Files for both sides and a registry with the values; answers what is to be compared."""
    key = rf"HKEY_CURRENT_USER\Software\Phone Simulator\{phone.name}\HKCU\{PROGRAM_KEY}"
    source, target = phone.folder / "import.reg", phone.folder / "export.reg"
    exchange_file = phone.folder / INSTALL_FOLDER / "kv_Export.txt"
    exchange_file.parent.mkdir(parents=True, exist_ok=True)
    exchange_file.write_bytes(export_text(values(count)).encode("cp1252"))
    source.write_bytes(editor_text(values(count), key).encode("utf-16"))
    title = f"{count:,} values"
    return [
        Exchange(f"import, {title}", ["exchange.exe", "import"], ["regedit", "/S", windows_path(source)], "regedit /S"),
        Exchange(f"export, {title}", ["exchange.exe", "export"], ["regedit", "/E", windows_path(target), key], "regedit /E"),
    ]


def measure(phone, rounds, warm_up_rounds):
    """(title, own seconds, the other's name, its seconds) for each comparison, medians."""
    results = []
    for count in VALUE_COUNTS:
        for exchange in prepare(phone, count):
            taken = [(run(exchange.own, phone), run(exchange.other, phone)) for _ in range(warm_up_rounds + rounds)]
            own, other = (statistics.median(column) for column in zip(*taken[warm_up_rounds:]))
            results.append((exchange.title, own, exchange.other_name, other))
    return results
