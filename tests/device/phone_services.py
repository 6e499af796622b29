"""The stand-in phone, first part: everything that is not a window. Each imported function is a method of its name.

The phone's facts, registry and files come from a folder of phones/, like the simulator's. Behaviour that a test relies on
is the simulator's as well: see simulator/README.md.
"""

import re
import struct
from pathlib import Path

from emulator import Blocked, Fault, Heap, Narrow, ProgramEnd, THREAD, ThrowOrdered, Wide

ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE = 2, 3, 5, 6
ERROR_INVALID_PARAMETER, ERROR_INSUFFICIENT_BUFFER, ERROR_MORE_DATA = 87, 122, 234
ERROR_REGISTRY_IO_FAILED, ERROR_IO_DEVICE = 1016, 1117
INVALID_HANDLE = 0xFFFFFFFF
GENERIC_READ, GENERIC_WRITE, FILE_SHARE_READ, FILE_SHARE_WRITE = 0x80000000, 0x40000000, 1, 2
WAIT_TIMEOUT, STILL_ACTIVE = 258, 259
TURN = 100             # microseconds that pass while the other threads have their turn
FOREVER = 1 << 50
LOOKED_UP = ("SndGetSoundDirectoriesList",)   # by the program while it runs

REG_SZ, REG_DWORD = 1, 4
HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE = 0x80000001, 0x80000002
ROOT_NAMES = {"HKEY_CURRENT_USER": HKEY_CURRENT_USER, "HKEY_LOCAL_MACHINE": HKEY_LOCAL_MACHINE}


# ---- A phone's folder ------------------------------------------------------------------------------------------------

class Settings(dict):
    """phone.ini: {(section, key): text}, letter case aside."""

    def __init__(self, text):
        super().__init__()
        section = ""
        for line in text.splitlines():
            line = line.strip()
            if line.startswith("[") and line.endswith("]"):
                section = line[1:-1].lower()
            elif "=" in line and line[0] not in ";#":
                key, value = line.split("=", 1)
                self[section, key.strip().lower()] = value.strip()

    def number(self, section, key, default):
        return int(self.get((section, key), str(default)), 0)

    def listed(self, section, key):
        return [entry.strip().lower() for entry in self.get((section, key), "").split(",") if entry.strip()]


class Key:
    def __init__(self):
        self.values = {}   # lower-case name: (name, type, data)


def parse_registry(text):
    """{(root, lower-case path): Key} of a registry file, with all keys on the way."""
    keys, key = {}, None
    for line in text.lstrip("\ufeff").replace("\\\n", "").splitlines():
        line = line.strip()
        if line.startswith("["):
            root, _, path = line[1:-1].partition("\\")
            key = add_key(keys, ROOT_NAMES[root], path)
        elif entry := re.fullmatch(r'(@|"(?:[^"\\]|\\.)*")=(.*)', line):
            name = "" if entry[1] == "@" else unescape(entry[1][1:-1])
            key.values[name.lower()] = (name, *parse_data(entry[2]))
    return keys


def add_key(keys, root, path):
    parts = path.split("\\") if path else []
    for count in range(len(parts) + 1):
        key = keys.setdefault((root, "\\".join(parts[:count]).lower()), Key())
    return key


def unescape(text):
    return re.sub(r"\\(.)", r"\1", text)


def parse_data(text):
    if text.startswith("dword:"):
        return REG_DWORD, struct.pack("<I", int(text[6:], 16))
    if text.startswith('"'):
        return REG_SZ, (unescape(text[1:-1]) + "\0").encode("utf-16-le")
    kind, data = re.fullmatch(r"hex(?:\((\w+)\))?:(.*)", text).groups()
    return int(kind or "3", 16), bytes(int(byte, 16) for byte in data.replace(" ", "").split(",") if byte)


class File:
    """One opening of a file; data are shared between all of them."""

    def __init__(self, path, data, access, sharing):
        self.path, self.data, self.writing, self.sharing = path, data, access & GENERIC_WRITE, sharing
        self.uses = uses_of(access)
        self.position = 0


def uses_of(access):
    """What others have to share: the bits of FILE_SHARE_... that go with the access."""
    return (FILE_SHARE_READ if access & GENERIC_READ else 0) | (FILE_SHARE_WRITE if access & GENERIC_WRITE else 0)


# ---- Ordered faults --------------------------------------------------------------------------------------------------

class Order:
    def __init__(self, kind, nth, call, throws):
        self.kind, self.nth, self.call, self.throws = kind, nth, call.lower(), throws

    def concerns(self, kind, call):
        if kind != self.kind:
            return False
        if self.call.endswith("*"):
            return call.lower().startswith(self.call[:-1])
        return not self.call or call.lower() == self.call


# ---- Texts, folders ---------------------------------------------------------------------------------------------------

def lower_case(text):
    """Character by character, as the system does it: a text keeps its length."""
    return "".join(each.lower() if len(each.lower()) == 1 else each for each in text)


def is_in(folder, path):
    """Whether a path lies directly in that folder, whose last part may be a name and a star."""
    place, _, wanted = folder.rpartition("\\")
    above, _, name = path.rpartition("\\")
    return above == place and path != "" and (wanted == "*" or name == wanted)


# ---- The C runtime ---------------------------------------------------------------------------------------------------

FORMAT = re.compile(r"%([-+ #0]*)(\*|\d*)(?:\.(\*|\d*))?(h|l|I64|)([a-zA-Z%])")


def format_text(machine, text, arguments, wide):
    """The phone's printf: %s is as wide as the format, %S the other width."""
    def argument():
        nonlocal arguments
        arguments += 4
        return machine.word(arguments - 4)

    def one(match):
        flags, width, precision, size, kind = match.groups()
        if kind == "%":
            return "%"
        if size == "I64":
            raise Fault("64-bit numbers are not passed to the phone's formatter")
        if width == "*":
            width = str(argument())
        value = argument()
        if kind in "di":
            return f"%{flags}{width}{'.' + precision if precision else ''}d" % (value - (value >> 31 << 32))
        if kind in "uxX":
            return f"%{flags}{width}{'.' + precision if precision else ''}{kind.replace('u', 'd')}" % value
        if kind in "cC":
            shown = chr(value & 0xFFFF)
        elif kind in "sS":
            is_wide = size == "l" or (size != "h" and (kind == "s") == wide)
            shown = (machine.wide(value) if is_wide else machine.narrow(value)) if value else "(null)"
        else:
            raise Fault(f"the phone's formatter is given %{kind}")
        return f"%{flags}{width}{'.' + precision if precision else ''}s" % shown

    return FORMAT.sub(one, text)


class Services:
    """Memory, C runtime, registry, files, clock, facts about the phone."""

    def __init__(self, phones, base="wm6"):
        self.phones = Path(phones)
        self.machine = None
        self.heap = Heap(lambda: self.machine)
        self.thrower = None    # function of a test image that throws an exception
        self.handle = 0x1000
        self.handles = {}      # what each is; they outlive a change of the phone
        self.elapsed = 0       # microseconds
        self.deadlines = {}    # of the threads that wait
        self.signalled = {}    # events that are set and threads that have ended: their exit codes
        self.use(base)

    def use(self, base):
        """Becomes another phone, fresh from its folder."""
        self.base = base
        folder = self.phones / base
        if not (folder / "phone.ini").exists():
            raise Fault(f"there is no phone '{base}'")
        self.settings = Settings((folder / "phone.ini").read_text("utf-8"))
        self.keys = parse_registry((folder / "registry.reg").read_text("utf-8"))
        for root in ROOT_NAMES.values():
            add_key(self.keys, root, "")
        self.files, self.folders = {}, {""}
        self.spelling = {}     # of files and folders that are not all lower case
        for path in sorted((folder / "root").rglob("*")):
            name = "\\" + str(path.relative_to(folder / "root")).replace("/", "\\")
            self.spelling[name.lower()] = name
            if path.is_dir():
                self.folders.add(name.lower())
            elif path.name != ".keep":
                self.files[name.lower()] = bytearray(path.read_bytes())
        self.open_keys, self.open_files, self.searches = {}, {}, {}
        self.libraries = 0     # loaded and not released yet
        self.orders, self.clock, self.last_error = [], None, 0
        self.journal = []

    def new_handle(self, what):
        self.handle += 4
        self.handles[self.handle] = what
        return self.handle

    def fail(self, error, result=0):
        self.last_error = error
        return result

    def fault_due(self, kind, call):
        """Whether an ordered fault concerns this call. One that is to throw raises ThrowOrdered."""
        for order in list(self.orders):
            if not order.concerns(kind, call):
                continue
            if order.nth > 1:
                order.nth -= 1
                continue
            if order.nth == 1:
                self.orders.remove(order)
            if order.throws:
                raise ThrowOrdered
            return True
        return False

    # ---- Memory --------------------------------------------------------------------------------------------------------

    def malloc(self, size):
        return 0 if self.fault_due("memory", "alloc:") else self.heap.allocate(size)

    def calloc(self, count, size):
        return 0 if self.fault_due("memory", "alloc:") else self.heap.allocate(count * size, b"\0")

    def realloc(self, old, size):
        new = self.malloc(size)
        if old and new:
            self.machine.write(new, self.machine.read(old, min(size, self.heap.blocks[old][0])))
            self.heap.release(old)
        return new

    def free(self, block):
        if block:
            self.heap.release(block)

    def memcpy(self, to, source, count):
        if to < source + count and source < to + count and to != source and count:
            raise Fault("memcpy of memory that overlaps")
        self.machine.write(to, self.machine.read(source, count))
        return to

    def memmove(self, to, source, count):
        self.machine.write(to, self.machine.read(source, count))
        return to

    def memset(self, to, value, count):
        self.machine.write(to, bytes([value & 0xFF]) * count)
        return to

    def memcmp(self, left, right, count):
        a, b = self.machine.read(left, count), self.machine.read(right, count)
        return (a > b) - (a < b)

    def memchr(self, block, value, count):
        found = self.machine.read(block, count).find(bytes([value & 0xFF]))
        return block + found if found >= 0 else 0

    # ---- Texts ---------------------------------------------------------------------------------------------------------

    def strlen(self, text: Narrow):
        return len(text)

    def strcmp(self, left: Narrow, right: Narrow):
        return (left > right) - (left < right)

    def strncmp(self, left: Narrow, right: Narrow, count):
        return (left[:count] > right[:count]) - (left[:count] < right[:count])

    def strchr(self, text, character):
        index = (self.machine.narrow(text) + "\0").find(chr(character & 0xFF))
        return text + index if index >= 0 else 0

    def strstr(self, text, part: Narrow):
        index = self.machine.narrow(text).find(part)
        return text + index if index >= 0 else 0

    def atoi(self, text: Narrow):
        return self._number(text)

    def wcslen(self, text: Wide):
        return len(text.encode("utf-16-le", "surrogatepass")) // 2

    def wcscmp(self, left: Wide, right: Wide):
        return (left > right) - (left < right)

    def wcsncmp(self, left: Wide, right: Wide, count):
        return (left[:count] > right[:count]) - (left[:count] < right[:count])

    def wcschr(self, text, character):
        content = self.machine.wide(text) + "\0"
        return self._place(text, content, content.find(chr(character)))

    def wcsstr(self, text, part: Wide):
        content = self.machine.wide(text)
        return self._place(text, content, content.find(part))

    def _place(self, text, content, index):
        """The address in a wide text of a character of its content, some of which take two wide characters."""
        return text + len(content[:index].encode("utf-16-le", "surrogatepass")) if index >= 0 else 0

    def wcscpy(self, to, text: Wide):
        self.machine.write_wide(to, text)
        return to

    def _wcsicmp(self, left: Wide, right: Wide):
        return self.wcscmp(lower_case(left), lower_case(right))

    def _wcslwr(self, text):
        self.machine.write_wide(text, lower_case(self.machine.wide(text)))
        return text

    def WideCharToMultiByte(self, code_page, flags, text, count: int, buffer, size: int, fallback, used_fallback):
        encoding = {0: "cp1252", 65001: "utf-8"}[code_page]
        wide = self.machine.wide(text) + "\0" if count < 0 else self.machine.read(text, 2 * count).decode("utf-16-le", "surrogatepass")
        encoded = wide.encode(encoding, "replace")
        if size and len(encoded) > size:
            return self.fail(ERROR_INSUFFICIENT_BUFFER)
        if size:
            self.machine.write(buffer, encoded)
        return len(encoded)

    def MultiByteToWideChar(self, code_page, flags, text, count: int, buffer, capacity: int):
        encoding = {0: "cp1252", 65001: "utf-8"}[code_page]
        narrow = self.machine.read(text, count) if count >= 0 else self.machine.narrow(text).encode("latin-1") + b"\0"
        encoded = narrow.decode(encoding, "replace").encode("utf-16-le")
        if capacity and len(encoded) > 2 * capacity:
            return self.fail(ERROR_INSUFFICIENT_BUFFER)
        if capacity:
            self.machine.write(buffer, encoded)
        return len(encoded) // 2

    def _wtol(self, text: Wide):
        return self._number(text)

    def _number(self, text):
        number = re.match(r"\s*([-+]?\d+)", text)
        return max(-0x80000000, min(int(number[1]), 0x7FFFFFFF)) if number else 0

    def _write_formatted(self, to, count, text, width):
        """Fills at most count characters; without room for the terminator there is none, and the result is negative."""
        encoded = text.encode("utf-16-le" if width == 2 else "latin-1", "replace")
        self.machine.write(to, (encoded + b"\0" * width)[:count * width])
        length = len(encoded) // width
        return length if length <= count else -1

    def _vsnwprintf(self, to, count, text: Wide, arguments):
        return self._write_formatted(to, count, format_text(self.machine, text, arguments, True), 2)

    def _vsnprintf(self, to, count, text: Narrow, arguments):
        return self._write_formatted(to, count, format_text(self.machine, text, arguments, False), 1)

    # ---- Threads and processes -----------------------------------------------------------------------------------------

    def InitializeCriticalSection(self, section):
        self.machine.write_words(section, 0, 0, self.new_handle("critical section"), 0, 0)

    def DeleteCriticalSection(self, section):
        self.machine.write_words(section, 0, 0, 0, 0, 0)

    def _take(self, section, by_force):
        handle = self.machine.word(section + 8)
        if self.handles.get(handle) != "critical section":
            raise Fault("a critical section is used before it is set up")
        def is_free():
            return not self.machine.word(section) or self.machine.word(section + 4) == self.machine.thread
        if not is_free() and not by_force:
            return 0
        if not self._wait(is_free, FOREVER):
            raise Fault("a critical section is never left")
        self.machine.write_words(section, self.machine.word(section) + 1, self.machine.thread)
        return 1

    def EnterCriticalSection(self, section):
        return self._take(section, True)

    def TryEnterCriticalSection(self, section):
        return self._take(section, False)

    def LeaveCriticalSection(self, section):
        count, owner = struct.unpack("<II", self.machine.read(section, 8))
        if not count or owner != self.machine.thread:
            raise Fault("a critical section is left that is not held")
        self.machine.write_words(section, count - 1, owner if count > 1 else 0)

    def InterlockedTestExchange(self, target, expected, desired):
        old = self.machine.word(target)
        if old == expected:
            self.machine.write_words(target, desired)
        return old

    def _wait(self, is_over, limit):
        """Lets other threads run until is_over() or until that many microseconds have passed; returns is_over()."""
        thread = self.machine.thread
        deadline = self.deadlines.setdefault(thread, self.elapsed + limit)
        while not is_over() and self.elapsed < deadline:
            if thread != THREAD:
                raise Blocked
            if self.machine.take_turns():
                self.elapsed += TURN
            else:
                self.elapsed = min(self.deadlines.values())   # everybody waits, so nothing happens until then
        del self.deadlines[thread]
        return is_over()

    def Sleep(self, milliseconds):
        if self.machine.thread not in self.deadlines:   # another thread is here at each of its turns
            self.journal.append(f"sleep {milliseconds}")
        self._wait(lambda: False, 1000 * milliseconds)

    def CreateThread(self, security, stack_size, function, argument, flags, identifier):
        handle = self.new_handle("other thread")
        self.machine.start_thread(handle, function, argument, lambda code: self.signalled.update({handle: code}))
        self.machine.write_words(identifier, handle)
        return handle

    def GetExitCodeThread(self, thread, result):
        self.machine.write_words(result, self.signalled.get(thread, STILL_ACTIVE))
        return 1

    def CreateEventW(self, security, manual, is_set, name):
        if not manual or is_set or name:
            raise Fault("an event that resets itself, is set already or has a name")
        return self.new_handle("event")

    def SetEvent(self, event):
        if self.handles.get(event) != "event":
            raise Fault(f"{event:#x} is set, which is no event")
        self.signalled[event] = 0
        return 1

    def WaitForSingleObject(self, handle, limit):
        if self.handles.get(handle) not in ("event", "other thread"):
            raise Fault(f"{handle:#x} is waited for, which is neither an event nor a thread")
        return 0 if self._wait(lambda: handle in self.signalled, 1000 * limit) else WAIT_TIMEOUT

    def TerminateProcess(self, process, exit_code):
        if process != 66:
            raise Fault(f"process {process:#x} is terminated, not this one")
        raise ProgramEnd(exit_code)

    def CreateProcessW(self, program: Wide, arguments: Wide, security1, security2, inherit, flags, environment, directory,
                       startup, result):
        if security1 or security2 or inherit or environment or directory or startup:
            raise Fault("CreateProcessW: a phone takes none of these arguments")
        if program.lower() not in self.settings.listed("programs", "present"):
            self.journal.append(f"process {program} {arguments} not found")
            return self.fail(ERROR_FILE_NOT_FOUND)
        self.journal.append(f"process {program} {arguments}")
        self.machine.write_words(result, self.new_handle("process"), self.new_handle("thread"), 1, 1)
        return 1

    def GetLastError(self):
        return self.last_error

    # ---- Registry ------------------------------------------------------------------------------------------------------

    def _key(self, handle):
        """(root, path) of an open key, and the key itself; None for no key."""
        place = (handle, "") if handle in ROOT_NAMES.values() else self.open_keys.get(handle)
        return (place, self.keys.get((place[0], place[1].lower()))) if place else (None, None)

    def _open_key(self, root, path, result, create):
        (place, key) = self._key(root)
        if not key:
            return ERROR_INVALID_HANDLE
        full = "\\".join(part for part in (place[1], (path or "").strip("\\")) if part)
        if (place[0], full.lower()) not in self.keys:
            if not create:
                return ERROR_FILE_NOT_FOUND
            add_key(self.keys, place[0], full)
        handle = self.new_handle("key")
        self.open_keys[handle] = (place[0], full)
        self.machine.write_words(result, handle)
        return 0

    def RegOpenKeyExW(self, root, path: Wide, options, access, result):
        if self.fault_due("registry", f"open:{path}"):
            return ERROR_REGISTRY_IO_FAILED
        return self._open_key(root, path, result, False)

    def RegCreateKeyExW(self, root, path: Wide, reserved, kind, options, access, security, result, disposition):
        if self.fault_due("registry", f"create:{path}"):
            return ERROR_REGISTRY_IO_FAILED
        return self._open_key(root, path, result, True)

    def RegCloseKey(self, key):
        place = self.open_keys.pop(key, None)   # closed even when the call is to fail
        if place is None:
            return ERROR_INVALID_HANDLE
        return ERROR_REGISTRY_IO_FAILED if self.fault_due("registry", f"close:{place[1]}") else 0

    def RegFlushKey(self, handle):
        place, key = self._key(handle)
        if self.fault_due("registry", f"flush:{place[1] if place else ''}"):
            return ERROR_REGISTRY_IO_FAILED
        return 0 if key else ERROR_INVALID_HANDLE

    def RegQueryValueExW(self, handle, name: Wide, reserved, kind, data, size):
        if self.fault_due("registry", f"read:{name or ''}"):
            return ERROR_REGISTRY_IO_FAILED
        _, key = self._key(handle)
        if not key:
            return ERROR_INVALID_HANDLE
        if (name or "").lower() not in key.values:
            return ERROR_FILE_NOT_FOUND
        _, stored_kind, stored = key.values[(name or "").lower()]
        self.machine.write_words(kind, stored_kind)
        if not size:
            return ERROR_INVALID_PARAMETER if data else 0
        room = self.machine.word(size)
        self.machine.write_words(size, len(stored))
        if data and len(stored) > room:
            return ERROR_MORE_DATA
        if data:
            self.machine.write(data, stored)
        return 0

    def RegSetValueExW(self, handle, name: Wide, reserved, kind, data, size):
        if self.fault_due("registry", f"write:{name or ''}"):
            return ERROR_REGISTRY_IO_FAILED
        _, key = self._key(handle)
        if not key:
            return ERROR_INVALID_HANDLE
        if size > 4096 or (size and not data) or len(name or "") > 255:
            return ERROR_INVALID_PARAMETER
        key.values[(name or "").lower()] = (name or "", kind, self.machine.read(data, size) if size else b"")
        return 0

    def RegDeleteValueW(self, handle, name: Wide):
        _, key = self._key(handle)
        return 0 if key and key.values.pop(name.lower(), None) else ERROR_FILE_NOT_FOUND

    def _enumerated(self, names, index, buffer, size):
        """Hands out the name with that index in the order of the alphabet."""
        if index >= len(names):
            return 259
        if len(names[index]) >= self.machine.word(size):
            return ERROR_MORE_DATA
        self.machine.write_wide(buffer, names[index])
        self.machine.write_words(size, len(names[index]))
        return 0

    def RegEnumValueW(self, handle, index, buffer, size, reserved, kind, data, data_size):
        _, key = self._key(handle)
        return self._enumerated(sorted(name for name, _, _ in key.values.values()), index, buffer, size)

    def RegEnumKeyExW(self, handle, index, buffer, size, reserved, kind, kind_size, time):
        (root, path), _ = self._key(handle)
        below = path.lower() + "\\" if path else ""
        names = {other[len(below):].partition("\\")[0] for owner, other in self.keys
                 if owner == root and other.startswith(below) and other != path.lower()}
        return self._enumerated(sorted(names), index, buffer, size)

    def RegDeleteKeyW(self, handle, path: Wide):
        if self.fault_due("registry", f"delete:{path}"):
            return ERROR_REGISTRY_IO_FAILED
        place, _ = self._key(handle)
        if not place:
            return ERROR_INVALID_HANDLE
        full = "\\".join(part for part in (place[1], path) if part).lower()
        if (place[0], full) not in self.keys:
            return ERROR_FILE_NOT_FOUND
        for other in [other for other in self.keys
                      if other[0] == place[0] and (other[1] + "\\").startswith(full + "\\")]:
            del self.keys[other]
        return 0

    # ---- Files ---------------------------------------------------------------------------------------------------------

    def _is_read_only(self, path):
        return any((path.lower() + "\\").startswith(folder + "\\") for folder in self.settings.listed("storage", "readonly"))

    def CreateFileW(self, path: Wide, access, sharing, security, disposition, flags, template):
        if self.fault_due("file", f"open:{path}"):
            return self.fail(ERROR_IO_DEVICE, INVALID_HANDLE)
        exists, writing = path.lower() in self.files, access & GENERIC_WRITE
        folder = path.lower().rpartition("\\")[0]
        if not exists and disposition == 3:
            return self.fail(ERROR_FILE_NOT_FOUND, INVALID_HANDLE)
        if folder not in self.folders:
            return self.fail(ERROR_PATH_NOT_FOUND, INVALID_HANDLE)
        if path.lower() in self.folders or (writing and self._is_read_only(path)):
            return self.fail(ERROR_ACCESS_DENIED, INVALID_HANDLE)
        if any(path.lower() == file.path and (uses_of(access) & ~file.sharing or file.uses & ~sharing)
               for file in self.open_files.values()):
            return self.fail(32, INVALID_HANDLE)
        if not exists or disposition in (2, 5):
            self.files[path.lower()] = bytearray()
        handle = self.new_handle("file")
        self.open_files[handle] = File(path.lower(), self.files[path.lower()], access, sharing)
        return handle

    def CloseHandle(self, handle):
        file = self.open_files.pop(handle, None)
        self.signalled.pop(handle, None)
        if not self.handles.pop(handle, None):
            return self.fail(ERROR_INVALID_HANDLE)
        return 0 if file and self.fault_due("file", f"close:{file.path}") else 1

    def _file(self, handle, operation):
        """The open file, or None when the call is to fail."""
        file = self.open_files.get(handle)
        if not file:
            return self.fail(ERROR_INVALID_HANDLE, None)
        if self.fault_due("file", f"{operation}:{file.path}"):
            return self.fail(ERROR_IO_DEVICE, None)
        return file

    def ReadFile(self, handle, data, size, done, overlapped):
        file = self._file(handle, "read")
        if not file:
            return 0
        content = file.data[file.position:file.position + size]
        file.position += len(content)
        self.machine.write(data, content)
        self.machine.write_words(done, len(content))
        return 1

    def WriteFile(self, handle, data, size, done, overlapped):
        self.machine.write_words(done, 0)
        file = self._file(handle, "write")
        if not file or not file.writing:
            return 0
        if size and self.settings.number("storage", "full", 0):
            return self.fail(112)
        file.data[file.position:file.position + size] = self.machine.read(data, size)
        file.position += size
        self.machine.write_words(done, size)
        return 1

    def SetFilePointer(self, handle, distance: int, high, method):
        file = self._file(handle, "seek")
        if not file:
            return INVALID_HANDLE
        file.position = (0, file.position, len(file.data))[method] + distance
        return file.position

    def GetFileSize(self, handle, high):
        file = self._file(handle, "size")
        return len(file.data) if file else INVALID_HANDLE

    def DeleteFileW(self, path: Wide):
        if self.fault_due("file", f"delete:{path}"):
            return self.fail(ERROR_IO_DEVICE)
        if any(file.path == path.lower() for file in self.open_files.values()):
            return self.fail(32)
        if path.lower() not in self.files:
            return self.fail(ERROR_FILE_NOT_FOUND)
        del self.files[path.lower()]
        return 1

    def MoveFileW(self, source: Wide, target: Wide):
        if self.fault_due("file", f"move:{source}"):
            return self.fail(ERROR_IO_DEVICE)
        if source.lower() not in self.files:
            return self.fail(ERROR_FILE_NOT_FOUND)
        if target.lower() in self.files or target.lower() in self.folders:
            return self.fail(183)
        self.files[target.lower()] = self.files.pop(source.lower())
        return 1

    def GetFileAttributesW(self, path: Wide):
        if self.fault_due("file", f"attributes:{path}"):
            return self.fail(ERROR_IO_DEVICE, INVALID_HANDLE)
        if not path:
            return self.fail(ERROR_PATH_NOT_FOUND, INVALID_HANDLE)
        if path.lower() in self.files:
            return 0x20
        if path.lower().rstrip("\\") not in self.folders:
            return self.fail(ERROR_FILE_NOT_FOUND, INVALID_HANDLE)
        return self._folder_attributes(path)

    def FindFirstFileW(self, pattern: Wide, result):
        if self.fault_due("file", f"find:{pattern}"):
            return self.fail(ERROR_IO_DEVICE, INVALID_HANDLE)
        wanted = re.sub(r"\\+", r"\\", "\\" + pattern).lower()
        found = sorted(path for path in self.folders | set(self.files) if is_in(wanted, path))
        if not found:
            return self.fail(ERROR_FILE_NOT_FOUND, INVALID_HANDLE)
        handle = self.new_handle("search")
        self.searches[handle] = (pattern, found)
        self._hand_out_entry(found, result)
        return handle

    def FindNextFileW(self, handle, result):
        pattern, found = self.searches[handle]
        if self.fault_due("file", f"next:{pattern}"):
            return self.fail(ERROR_IO_DEVICE)
        return self._hand_out_entry(found, result) if found else self.fail(18)

    def _hand_out_entry(self, found, result):
        path = found.pop(0)
        name = self.spelling.get(path, path).rpartition("\\")[2].encode("utf-16-le")
        attributes = 0x20 if path in self.files else self._folder_attributes(path)
        self.machine.write(result, struct.pack("<10I", attributes, *[0] * 9) + name.ljust(520, b"\0"))
        return 1

    def FindClose(self, handle):
        return 1 if self.searches.pop(handle, None) else self.fail(ERROR_INVALID_HANDLE)

    def _folder_attributes(self, path):
        return 0x110 if path[1:].lower() in self.settings.listed("storage", "cards") else 0x10

    # ---- Libraries -----------------------------------------------------------------------------------------------------

    def LoadLibraryW(self, name: Wide):
        if name.lower() in self.settings.listed("exports", "missing_modules"):
            return self.fail(126)
        self.libraries += 1
        return 0x10000

    def FreeLibrary(self, module):
        self.libraries -= 1
        return 1

    def GetProcAddressW(self, module, name: Wide):
        """The functions a phone may have and this one can do."""
        if name in LOOKED_UP and name.lower() not in self.settings.listed("exports", "missing"):
            return self.machine.entry_point(name)
        return self.fail(127)

    def LocalFree(self, block):
        self.free(block)
        return 0

    def SndGetSoundDirectoriesList(self, event, locations: int, directories, count):
        """The simulator's, as far as phone.ini steers it; see there."""
        if event != 1 or locations != -1:
            raise Fault(f"sound folders of event {event} at {locations}")
        text = self.settings.get(("sounds", "directories"), "")
        paths = [path.strip() for path in text.split(",") if path.strip()]
        result = self.settings.number("sounds", "result", 0)
        if result & 0x80000000:
            return result
        told = self.settings.number("sounds", "count", len(paths))
        if self.settings.number("sounds", "array", 1):
            records = self.malloc(520 * max(len(paths), told, 1))
            if not records:
                return 0x8007000E
            content = b"".join(path.encode("utf-16-le")[:520].ljust(520, b"\0") for path in paths)
            self.machine.write(records, content.ljust(520 * max(len(paths), told, 1), b"\0"))
            self.machine.write_words(directories, records)
        self.machine.write_words(count, told)
        return result

    # ---- Facts -----------------------------------------------------------------------------------------------------------

    def GetLocalTime(self, result):
        year, month, weekday, day, hour, minute, second, fraction = self.clock or (2008, 3, 5, 7, 14, 5, 9, 0)
        self.machine.write(result, struct.pack("<8H", year, month, weekday, day, hour, minute, second, fraction))

    def GetTickCount(self):
        return 1000 + self.elapsed // 1000

    def QueryPerformanceFrequency(self, result):
        self.machine.write_words(result, 1_000_000, 0)
        return 1

    def QueryPerformanceCounter(self, result):
        self.elapsed += 1   # or a loop until some time would have no end
        self.machine.write_words(result, self.elapsed, self.elapsed >> 32)
        return 1

    def GetVersionExW(self, result):
        if self.machine.word(result) != 276:
            return self.fail(ERROR_INSUFFICIENT_BUFFER)
        version = [int(part) for part in self.settings.get(("phone", "os"), "5.2.1235").split(".")]
        self.machine.write_words(result + 4, *version, 3, 0)
        return 1

    def SystemParametersInfoW(self, action, number, data, notify):
        if action not in (257, 258):
            return self.fail(ERROR_INVALID_PARAMETER)
        key, default = {257: ("platform", "PocketPC"), 258: ("oem", "")}[action]
        text = self.settings.get(("phone", key), default)
        if not data or number < len(text) + 1:
            return self.fail(ERROR_INSUFFICIENT_BUFFER)
        self.machine.write_wide(data, text)
        return 1

    def GetLocaleInfoW(self, locale, kind, data, size):
        """The user's region only; of it, the time separator and whether the hours are counted to 24."""
        known = {0x0409: (":", "0"), 0x0407: (":", "1"), 0x040B: (".", "1")}
        fields = {0x1E: 0, 0x23: 1}   # LOCALE_STIME, LOCALE_ITIME
        texts = known.get(self.settings.number("locale", "id", 0x0409))
        if locale != 0x0400 or kind not in fields or not texts or size < 2:
            return self.fail(ERROR_INVALID_PARAMETER)
        self.machine.write_wide(data, texts[fields[kind]])
        return 2

    def GetSystemMetrics(self, index):
        screen = {0: ("width", 240), 1: ("height", 320)}
        return self.settings.number("screen", *screen[index]) if index in screen else 0

    # ---- COM -------------------------------------------------------------------------------------------------------------

    def CoInitializeEx(self, reserved, concurrency):
        return 0

    def CoUninitialize(self):
        return 0

    def CoCreateInstance(self, class_id, outer, context, interface_id, result):
        self.machine.write_words(result, 0)
        return 0x80040154   # not registered: no objects here
