"""The stand-in phone's property databases and Pocket Outlook, as far as the program uses them.

The records come from the stores folder of a phone, whose format and the behaviour are the simulator's: see "Databases" in
simulator/README.md.
"""

import inspect
import struct

from emulator import Fault, OBJECTS, OBJECTS_SIZE, Wide

ERROR_FILE_NOT_FOUND, ERROR_INVALID_HANDLE, ERROR_SEEK, ERROR_NO_MORE_ITEMS = 2, 6, 25, 259
ERROR_NOT_ENOUGH_MEMORY, ERROR_DATABASE_FAILURE = 8, 4313
INVALID_HANDLE = 0xFFFFFFFF
OBJECT_STORE = "object store"

AUTOINCREMENT, ALLOW_REALLOC, SEEK_BEGINNING = 1, 1, 2
TEXT, BLOB = 0x1F, 0x41
NUMBERS = {0x02: "<hxx4x", 0x12: "<Hxx4x", 0x03: "<i4x", 0x13: "<I4x", 0x0B: "<I4x"}   # in the 8 bytes of a value

S_OK, E_NOINTERFACE, E_FAIL, E_INVALIDARG = 0, 0x80004002, 0x80004005, 0x80070057
REGDB_E_CLASSNOTREG, CO_E_NOTINITIALIZED, NO_ROOM = 0x80040154, 0x800401F0, 0x8007007A
OUTLOOK = "{05058F23-20BE-11D2-8F18-0000F87A4335}"
UNKNOWN = "{00000000-0000-0000-C000-000000000046}"
APPLICATION, APPLICATION2 = "{05058F22-20BE-11D2-8F18-0000F87A4335}", "{AF7D0DC7-3D35-424B-AA60-27A38B8B629E}"
FOLDER, ITEM = "{05058F20-20BE-11D2-8F18-0000F87A4335}", "{FB8998D0-38F0-4D12-AC56-4EC8FCE9F3D5}"
FOLDER_CATEGORIES, PROPERTY_NOT_FOUND, ERROR_NOT_FOUND = 0x101A001F, 0x0100, 1168


# ---- Databases ---------------------------------------------------------------------------------------------------------

def read_stores(folder):
    """{lower-case name of the volume: its text}"""
    return {file.stem.lower(): file.read_text("utf-8") for file in (folder / "stores").glob("*.txt")}


def parse_store(text):
    """{lower-case name: (identifier, name, [record: (identifier, [(property, value)])])}"""
    databases, records, identifier = {}, None, 0
    for line in text.splitlines():
        line = line.strip()
        if not line or line[0] in ";#" or line.startswith("sort "):
            continue
        identifier += line.startswith("[") or line == "record"
        if line.startswith("["):
            records = []
            databases[line[1:-1].lower()] = (identifier, line[1:-1], records)
        elif line == "record":
            records.append((identifier, []))
        else:
            key, _, value = line.partition("=")
            records[-1][1].append(parse_property(int(key, 0), value.strip()))
    return databases


def parse_property(key, text):
    kind = key & 0xFFFF
    if kind == TEXT:
        return key, text[1:-1] if len(text) > 1 and text[0] == text[-1] == '"' else text
    return key, bytes.fromhex(text) if kind == BLOB else int(text, 0)


class Database:
    """One opening of a database."""

    def __init__(self, name, records, moves_on):
        self.name, self.records, self.moves_on = name, records, moves_on
        self.position = self.reads = 0


class Databases:
    """Mixed into the phone's services."""

    def use_stores(self, folder):
        self.stores, self.open_databases = read_stores(folder), {}

    def CeOpenDatabase(self, identifier, name: Wide, sort, flags, window):
        if sort or window:
            raise Fault("CeOpenDatabase: orders and notifications are not simulated here")
        if self.fault_due("database", f"open:{name}"):
            self.journal.append(f"database open {name} failed")
            return self.fail(ERROR_DATABASE_FAILURE, INVALID_HANDLE)
        found = parse_store(self.stores.get(OBJECT_STORE, "")).get(name.lower())
        if not found:
            self.journal.append(f"database open {name} not found")
            return self.fail(ERROR_FILE_NOT_FOUND, INVALID_HANDLE)
        self.machine.write_words(identifier, found[0])
        handle = self.new_handle("database")
        self.open_databases[handle] = Database(found[1], found[2], flags & AUTOINCREMENT)
        self.journal.append(f"database open {name} {OBJECT_STORE}")
        return handle

    def close_database(self, handle):
        database = self.open_databases.pop(handle, None)
        if database:
            self.journal.append(f"database close {database.name} {database.reads}")
            self.fault_due("database", f"close:{database.name}")   # closed all the same

    def _database(self, handle, operation):
        """The open database, or None when the call is to fail."""
        database = self.open_databases.get(handle)
        if not database:
            return self.fail(ERROR_INVALID_HANDLE, None)
        if self.fault_due("database", f"{operation}:{database.name}"):
            return self.fail(ERROR_DATABASE_FAILURE, None)
        return database

    def CeSeekDatabase(self, handle, kind, value, index):
        database = self._database(handle, "seek")
        if not database:
            return 0
        if kind != SEEK_BEGINNING:
            raise Fault("CeSeekDatabase: only seeking from the beginning is simulated here")
        self.journal.append(f"database seek {database.name} beginning {value}")
        database.position = min(value, len(database.records))
        if value >= len(database.records):
            return self.fail(ERROR_SEEK)
        self.machine.write_words(index, value)
        return database.records[value][0]

    def CeReadRecordPropsEx(self, handle, flags, count, wanted, buffer, size, heap):
        if flags != ALLOW_REALLOC or wanted or heap or self.machine.word(buffer):
            raise Fault("CeReadRecordPropsEx: only whole records in new local memory are simulated here")
        is_open = handle in self.open_databases
        database = self._database(handle, "read")
        if not database:
            if is_open:   # the phone may have made the block by then
                self.machine.write_words(buffer, self.malloc(16))
            return 0
        if database.position >= len(database.records):
            return self.fail(ERROR_NO_MORE_ITEMS)
        identifier, properties = database.records[database.position]
        content = self._values(properties)
        block = self.malloc(max(len(content(0)), 1))
        if not block:
            return self.fail(ERROR_NOT_ENOUGH_MEMORY)
        self.machine.write(block, content(block))
        self.machine.write_words(buffer, block)
        self.machine.write_words(size, len(content(0)))
        self.machine.write(count, struct.pack("<H", len(properties)))
        database.reads += 1
        database.position += 1 if database.moves_on else 0
        return identifier

    @staticmethod
    def _values(properties):
        """A function of the block's address: the array of values, then what they point to."""
        def content(address):
            values, data = b"", b""
            for key, value in properties:
                kind, place = key & 0xFFFF, address + 16 * len(properties) + len(data)
                if kind == TEXT:
                    own, packed = value.encode("utf-16-le") + b"\0\0", struct.pack("<I4x", place)
                elif kind == BLOB:
                    own, packed = value, struct.pack("<II", len(value), place)
                else:
                    own, packed = b"", struct.pack(NUMBERS[kind], value)
                values += struct.pack("<IHH", key, 0, 0) + packed
                data += own + bytes(-len(own) % 4)
            return values + data
        return content

    def LocalFree(self, block):
        self.free(block)
        return 0


# ---- Objects -----------------------------------------------------------------------------------------------------------

def identifier_text(data):
    first, second, third = struct.unpack("<IHH", data[:8])
    return f"{{{first:08X}-{second:04X}-{third:04X}-{data[8:10].hex().upper()}-{data[10:].hex().upper()}}}"


class Counted:
    """An object of COM. FUNCTIONS are its table: names by place, of methods that take what the program passes."""

    def __init__(self, phone):
        self.phone, self.references = phone, 1
        self.address = phone.show_object(self)

    def AddRef(self):
        self.references += 1
        return self.references

    def Release(self):
        self.references -= 1
        if not self.references:
            self.leave()
        return self.references

    def leave(self):
        del self.phone.objects[self.address]

    def answer(self, line, result):
        self.phone.journal.append(f"outlook {line} 0x{result:X}")
        return result

    def handed_out(self, shown, result):
        self.phone.machine.write_words(result, shown.address if shown else 0)
        if not shown:
            return E_NOINTERFACE
        shown.AddRef()
        return S_OK


class Application(Counted):
    FUNCTIONS = {0: "QueryInterface", 1: "AddRef", 2: "Release", 7: "Logon", 8: "Logoff", 10: "GetDefaultFolder"}
    is_logged_on = False

    def QueryInterface(self, interface, result):
        wanted = identifier_text(self.phone.machine.read(interface, 16))
        known = [UNKNOWN, APPLICATION] + [APPLICATION2] * self.phone.has_properties()
        return self.handed_out(self if wanted in known else None, result)

    def Logon(self, window):
        if self.phone.fault_due("com", "logon:"):
            return self.answer("logon", E_FAIL)
        self.is_logged_on = True
        return self.answer("logon", S_OK)

    def Logoff(self):
        failed = self.phone.fault_due("com", "logoff:") or not self.is_logged_on
        self.is_logged_on = False
        return self.answer("logoff", E_FAIL if failed else S_OK)

    def GetDefaultFolder(self, number, result):
        self.phone.machine.write_words(result, 0)
        if self.phone.fault_due("com", f"folder:{number}") or not self.is_logged_on:
            return self.answer(f"folder {number}", E_FAIL)
        if number not in (9, 10, 13):
            return self.answer(f"folder {number}", E_INVALIDARG)
        self.phone.machine.write_words(result, Folder(self).address)
        return self.answer(f"folder {number}", S_OK)


class Folder(Counted):
    FUNCTIONS = {0: "QueryInterface", 1: "AddRef", 2: "Release"}

    def __init__(self, application):
        super().__init__(application.phone)
        self.application = application
        application.AddRef()
        self.item = FolderItem(self)

    def leave(self):
        super().leave()
        del self.phone.objects[self.item.address]
        self.application.Release()

    def QueryInterface(self, interface, result):
        wanted = identifier_text(self.phone.machine.read(interface, 16))
        if wanted == ITEM and self.phone.has_properties() and not self.phone.fault_due("com", "interface:IItem"):
            return self.handed_out(self.item, result)
        return self.handed_out(self if wanted in (UNKNOWN, FOLDER) else None, result)


class FolderItem(Counted):
    """The folder's other face."""
    FUNCTIONS = {0: "QueryInterface", 1: "AddRef", 2: "Release", 3: "GetProps"}

    def __init__(self, folder):
        super().__init__(folder.phone)
        self.folder, self.size_told = folder, False

    def AddRef(self):
        return self.folder.AddRef()

    def Release(self):
        return self.folder.Release()

    def QueryInterface(self, interface, result):
        return self.folder.QueryInterface(interface, result)

    def GetProps(self, properties, flags, count, values, size, heap):
        machine = self.phone.machine
        if count != 1 or machine.word(properties) != FOLDER_CATEGORIES or flags:
            raise Fault("GetProps: only the categories, into the caller's buffer, are simulated here")
        line = f"property 0x{FOLDER_CATEGORIES:X}"
        failed = self.phone.fault_due("com", f"property:0x{FOLDER_CATEGORIES:X}")
        has_list = self.phone.settings.number("outlook", "lists", 1)
        text = self.phone.category_list(self.size_told).encode("utf-16-le") + b"\0\0" if has_list else b""
        room, needed, block = machine.word(size), 16 + len(text), machine.word(values)
        if block and room >= needed:   # even when it fails: the buffer may hold what it likes
            flags_and_value = (0, block + 16) if has_list else (PROPERTY_NOT_FOUND << 16, ERROR_NOT_FOUND)
            machine.write_words(block, FOLDER_CATEGORIES, *flags_and_value, 0)
            machine.write(block + 16, text)
        if failed:
            return self.answer(line, E_FAIL)
        self.size_told = True
        machine.write_words(size, needed)
        if not block or room < needed:
            return self.answer(line, NO_ROOM)
        return self.answer(line, S_OK)


class Objects:
    """Mixed into the phone's services."""

    def begin_objects(self):
        self.com_uses, self.objects, self.tables, self.next_object = 0, {}, {}, OBJECTS

    def has_properties(self):
        return int(self.settings.get(("phone", "os"), "5.2.1235").split(".")[0]) >= 5

    def category_list(self, with_late_ones):
        names = [name.strip() for name in self.settings.get(("categories", "names"), "").split(",")]
        text = self.settings.get(("categories", "list")) or ", ".join(name for name in names if name)
        return text + (self.settings.get(("categories", "late"), "") if with_late_ones else "")

    def show_object(self, shown):
        """Gives the object an address, at which the address of its table of functions stands."""
        kind = type(shown)
        if kind not in self.tables:
            self.tables[kind] = self._lay_down([self._function(kind, place) for place in range(max(kind.FUNCTIONS) + 1)])
        address = self._lay_down([self.tables[kind]])
        self.objects[address] = shown
        return address

    def _lay_down(self, words):
        address = self.next_object
        self.next_object += 4 * len(words)
        if self.next_object > OBJECTS + OBJECTS_SIZE:
            raise Fault("no room for further objects")
        self.machine.write_words(address, *words)
        return address

    def _function(self, kind, place):
        name = kind.FUNCTIONS.get(place)

        def call(this, *arguments):
            if name is None:
                raise Fault(f"function {place} of the stand-in's {kind.__name__} is called, which it does not have")
            if not isinstance(self.objects.get(this), kind):
                raise Fault(f"{kind.__name__}.{name} is called of an object that is not there any more")
            return getattr(self.objects[this], name)(*arguments)
        call.__signature__ = inspect.signature(getattr(kind, name) if name else lambda this: 0)
        return self.machine.offer(call)

    def held_objects(self):
        return sum(not isinstance(shown, FolderItem) for shown in self.objects.values())

    def CoInitializeEx(self, reserved, concurrency):
        self.journal.append("com initialize")
        self.com_uses += 1
        return S_OK

    def CoUninitialize(self):
        self.journal.append(f"com uninitialize {self.held_objects()}")
        self.com_uses -= 1

    def CoCreateInstance(self, class_id, outer, context, interface_id, result):
        name = identifier_text(self.machine.read(class_id, 16))
        self.machine.write_words(result, 0)
        status = self._create(name, interface_id, result)
        self.journal.append(f"com create {name} 0x{status:X}")
        return status

    def _create(self, name, interface_id, result):
        if self.fault_due("com", f"create:{name}"):
            return E_FAIL
        if not self.com_uses:
            return CO_E_NOTINITIALIZED
        if name != OUTLOOK or not self.settings.number("outlook", "present", 1):
            return REGDB_E_CLASSNOTREG   # no other objects here
        created = Application(self)
        status = created.QueryInterface(interface_id, result)
        created.Release()
        return status
