"""A phone's processor with one program file in its memory (Unicorn, Debian package python3-unicorn).

Stricter than a phone: code and constants are write-protected, every access has to be aligned, the memory below the stack is
not there, and the stack begins on a word that is not a multiple of 8, as the system does not promise one.
"""

import inspect
import struct
from bisect import bisect_right

from unicorn import (UC_ARCH_ARM, UC_HOOK_CODE, UC_HOOK_INTR, UC_HOOK_MEM_READ, UC_HOOK_MEM_WRITE, UC_MODE_ARM,
                     UC_PROT_ALL, UC_PROT_EXEC, UC_PROT_READ, UC_PROT_WRITE, Uc, UcError)
from unicorn import arm_const as arm

PROCESSORS = {"SA-1110": arm.UC_CPU_ARM_SA1110, "ARM926": arm.UC_CPU_ARM_926, "PXA270": arm.UC_CPU_ARM_PXA270}

PAGE = 0x1000
STACK_TOP, STACK_SIZE = 0x0C010000, 0x10000
THREAD_STACKS = 0x0D000000  # of the other threads, each with nothing below it
HEAP, HEAP_SIZE = 0x20000000, 0x1000000
IMPORTS = 0xE0000000      # one word per imported function; calls to them end up here
RETURN = IMPORTS - 4      # where calls from outside return to
USER_DATA = 0xFFFFC000    # the page in which the system keeps the current thread's identifier
THREAD = 0x4242           # the first thread's
CALLS_PER_TURN = 7        # of the system, by another thread before the next one goes on
CALL_LIMIT = 50_000_000   # instructions between two calls of the system; more is an endless loop

ARGUMENT_REGISTERS = (arm.UC_ARM_REG_R0, arm.UC_ARM_REG_R1, arm.UC_ARM_REG_R2, arm.UC_ARM_REG_R3)


class Fault(Exception):
    """The program did something that would go wrong on a phone."""


class ProgramEnd(Exception):
    """The program has ended itself."""

    def __init__(self, exit_code):
        super().__init__(exit_code)
        self.exit_code = exit_code


class ThrowOrdered(Exception):
    """Raised by an imported function in place of a result: the program goes on where its test image throws."""


class Blocked(Exception):
    """Raised by an imported function that another thread has to wait in: it is called again at that thread's next turn."""


class Wide:
    """Marks an argument that is a pointer to a wide text: the function gets the text, or None."""


class Narrow:
    """The same for a narrow text."""


def as_signed(value):
    return value - 0x100000000 if value & 0x80000000 else value


class Machine:
    """The processor, the memory, and one loaded program. Its imports are methods of the phone, by name."""

    def __init__(self, image, processor, base, phone, symbols=(), watch_accesses=True):
        self.image, self.base, self.phone, self.watch_accesses = image, base, phone, watch_accesses
        self.symbols = sorted(symbols)
        self.engine = Uc(UC_ARCH_ARM, UC_MODE_ARM)
        self.engine.ctl_set_cpu_model(PROCESSORS[processor])
        self.lowest_stack = STACK_TOP
        self.complaint = None
        self.thread, self.threads = THREAD, []
        self._load()
        self._connect_imports()
        self._watch()
        phone.machine = self

    # ---- Loading -----------------------------------------------------------------------------------------------------

    def _load(self):
        memory = self.image.relocated(self.base)
        self.engine.mem_map(self.base, len(memory), UC_PROT_ALL)
        self.engine.mem_write(self.base, bytes(memory))
        self.engine.mem_protect(self.base, PAGE, UC_PROT_READ)
        for section in self.image.sections:
            protection = UC_PROT_READ
            protection |= UC_PROT_WRITE if section.flags & 0x80000000 else 0
            protection |= UC_PROT_EXEC if section.flags & 0x20000000 else 0
            size = -(-section.size // PAGE) * PAGE
            self.engine.mem_protect(self.base + section.address, size, protection)
        self.engine.mem_map(STACK_TOP - STACK_SIZE, STACK_SIZE, UC_PROT_READ | UC_PROT_WRITE)
        self.engine.mem_map(HEAP, HEAP_SIZE, UC_PROT_READ | UC_PROT_WRITE)
        self.engine.mem_map(USER_DATA, PAGE, UC_PROT_READ)
        self._become(THREAD)

    def _become(self, thread):
        self.thread = thread
        self.engine.mem_write(USER_DATA + 0x804, struct.pack("<I", thread))

    def _connect_imports(self):
        self.imports, self.looked_up = {}, {}
        for number, (dll, name, slot) in enumerate(self.image.imports()):
            address = IMPORTS + 4 * number
            self.imports[address] = self._adapter(dll, name)
            self.engine.mem_write(self.base + slot, struct.pack("<I", address))
        self.engine.mem_map(IMPORTS - PAGE, PAGE + PAGE, UC_PROT_READ | UC_PROT_EXEC)

    def entry_point(self, name):
        """Where the program calls a function of the phone that it does not import."""
        for address, known in self.looked_up.items():
            if known == name:
                return address
        address = IMPORTS + 4 * len(self.imports)
        self.imports[address], self.looked_up[address] = self._adapter("the system", name), name
        return address

    def _adapter(self, dll, name):
        """Calls the phone's function of that name with its arguments taken from registers and stack."""
        function = getattr(self.phone, name, None)
        if function is None:
            def missing():
                raise Fault(f"{dll}: the stand-in phone has no {name}")
            return missing
        kinds = [parameter.annotation for parameter in inspect.signature(function).parameters.values()]

        def call():
            return function(*[self._argument(number, kind) for number, kind in enumerate(kinds)])
        return call

    def _argument(self, number, kind):
        if number < 4:
            value = self.engine.reg_read(ARGUMENT_REGISTERS[number])
        else:
            value = self.word(self.engine.reg_read(arm.UC_ARM_REG_SP) + 4 * (number - 4))
        if kind is Wide:
            return self.wide(value) if value else None
        if kind is Narrow:
            return self.narrow(value) if value else None
        return as_signed(value) if kind is int else value

    def _watch(self):
        if self.watch_accesses:
            self.engine.hook_add(UC_HOOK_MEM_READ | UC_HOOK_MEM_WRITE, self._on_access)
        self.engine.hook_add(UC_HOOK_CODE, self._on_import, begin=IMPORTS - PAGE, end=IMPORTS + PAGE)
        self.engine.hook_add(UC_HOOK_INTR, self._on_exception)

    def _on_access(self, engine, _access, address, size, _value, _data):
        if address & (size - 1):
            self._stop(f"unaligned access of {size} bytes at {address:#x}")
        if address < self.lowest_stack and address >= STACK_TOP - STACK_SIZE:
            self.lowest_stack = address

    def _on_import(self, engine, _address, _size, _data):
        engine.emu_stop()

    def _on_exception(self, engine, number, _data):
        self._stop(f"processor exception {number}")

    def _stop(self, complaint):
        self.complaint = f"{complaint} in {self.where(self.engine.reg_read(arm.UC_ARM_REG_PC))}"
        self.engine.emu_stop()

    # ---- Running -----------------------------------------------------------------------------------------------------

    def run(self, command_line=""):
        """Runs the program from its entry point; returns its exit code."""
        text = self.phone.heap.allocate_wide(command_line)
        self.engine.reg_write(arm.UC_ARM_REG_SP, STACK_TOP - 4)
        try:
            self.call(self.base + self.image.entry, self.base, 0, text, 5)
        except ProgramEnd as end:
            return end.exit_code
        raise Fault("the program returned from its entry point")

    def call(self, function, *arguments):
        """Calls a function of the program as the system does; returns its result."""
        stack = self.engine.reg_read(arm.UC_ARM_REG_SP)
        for register, value in zip(ARGUMENT_REGISTERS, arguments):
            self.engine.reg_write(register, value & 0xFFFFFFFF)
        self.engine.reg_write(arm.UC_ARM_REG_LR, RETURN)
        address = function
        while True:
            self._execute(address)
            address = self.engine.reg_read(arm.UC_ARM_REG_PC)
            if address == RETURN:
                break
            try:
                address = self._serve(address)
            except Blocked:
                raise Fault("another thread waits inside a call from the system") from None
        if self.engine.reg_read(arm.UC_ARM_REG_SP) != stack:
            raise Fault(f"{self.where(function)} did not restore the stack")
        return self.engine.reg_read(arm.UC_ARM_REG_R0)

    # ---- Other threads -----------------------------------------------------------------------------------------------

    def start_thread(self, thread, function, argument, when_ended):
        """It runs whenever the first thread waits; when_ended is called with its exit code."""
        used = {other.stack for other in self.threads}
        stack = next(place for place in range(THREAD_STACKS, HEAP, 2 * STACK_SIZE) if place not in used)
        if not any(start == stack for start, _, _ in self.engine.mem_regions()):
            self.engine.mem_map(stack, STACK_SIZE, UC_PROT_READ | UC_PROT_WRITE)
        first = self.engine.context_save()
        self.engine.reg_write(arm.UC_ARM_REG_SP, stack + STACK_SIZE - 4)
        self.engine.reg_write(arm.UC_ARM_REG_LR, RETURN)
        self.engine.reg_write(arm.UC_ARM_REG_R0, argument)
        self.threads.append(Thread(thread, stack, function, self.engine.context_save(), when_ended))
        self.engine.context_restore(first)

    def take_turns(self):
        """Each of the other threads goes on a little; whether any of them could."""
        return any([self._take_turn(thread) for thread in list(self.threads)])

    def _take_turn(self, thread):
        first, calls = self.engine.context_save(), 0
        self.engine.context_restore(thread.registers)
        self._become(thread.identifier)
        try:
            while calls < CALLS_PER_TURN and thread in self.threads:
                self._execute(thread.address)
                thread.address = self.engine.reg_read(arm.UC_ARM_REG_PC)
                if thread.address == RETURN:
                    self.threads.remove(thread)
                    thread.when_ended(self.engine.reg_read(arm.UC_ARM_REG_R0))
                else:
                    thread.address = self._serve(thread.address)
                calls += 1
        except Blocked:
            pass
        thread.registers = self.engine.context_save()
        self.engine.context_restore(first)
        self._become(THREAD)
        return calls > 0

    # ---- Steps -------------------------------------------------------------------------------------------------------

    def _execute(self, address):
        try:
            self.engine.emu_start(address, 0xFFFFFFFE, count=CALL_LIMIT)
        except UcError as error:
            raise Fault(f"{error} in {self.where(self.engine.reg_read(arm.UC_ARM_REG_PC))}") from None
        if self.complaint:
            raise Fault(self.complaint)

    def _serve(self, address):
        """Does what the imported function does; returns where the program goes on."""
        if address not in self.imports:
            raise Fault(f"endless loop or jump to nowhere: {self.where(address)}")
        caller = self.engine.reg_read(arm.UC_ARM_REG_LR)
        try:
            result = self.imports[address]()
        except ThrowOrdered:
            if not self.phone.thrower:
                raise Fault("a call is to throw, and the program has nothing that throws") from None
            self.engine.reg_write(arm.UC_ARM_REG_LR, caller)   # as if the program had called that instead
            return self.phone.thrower
        self.engine.reg_write(arm.UC_ARM_REG_R0, int(result or 0) & 0xFFFFFFFF)
        if self.watch_accesses:   # what the system may change, it changes
            for register in (arm.UC_ARM_REG_R1, arm.UC_ARM_REG_R2, arm.UC_ARM_REG_R3, arm.UC_ARM_REG_R12):
                self.engine.reg_write(register, 0xDEADBEEF)
        return caller

    def where(self, address):
        offset = address - self.base
        index = bisect_right(self.symbols, (offset, "\x7f")) - 1
        if index < 0 or not 0 <= offset < self.image.image_size:
            return f"{address:#x}"
        start, name = self.symbols[index]
        return f"{name}+{offset - start:#x}"

    # ---- Memory ------------------------------------------------------------------------------------------------------

    def read(self, address, size):
        return bytes(self.engine.mem_read(address, size))

    def write(self, address, data):
        self.engine.mem_write(address, bytes(data))

    def word(self, address):
        return struct.unpack("<I", self.engine.mem_read(address, 4))[0]

    def write_words(self, address, *values):
        """Nothing when address is null: results that are not wanted."""
        if address:
            self.write(address, struct.pack(f"<{len(values)}I", *(value & 0xFFFFFFFF for value in values)))

    def narrow(self, address):
        return self._until_zero(address, 1).decode("latin-1")

    def wide(self, address):
        return self._until_zero(address, 2).decode("utf-16-le", "surrogatepass")

    def _until_zero(self, address, width):
        text = bytearray()
        while True:
            size = 256 - address % 256
            piece = self.read(address, size)
            end = piece.find(bytes(width))
            while end % width and end >= 0:
                end = piece.find(bytes(width), end + 1)
            if end >= 0:
                return bytes(text + piece[:end])
            text += piece
            address += size

    def write_wide(self, address, text):
        self.write(address, text.encode("utf-16-le", "surrogatepass") + b"\0\0")


class Thread:
    """One of the other threads between its turns."""

    def __init__(self, identifier, stack, address, registers, when_ended):
        self.identifier, self.stack, self.address, self.registers = identifier, stack, address, registers
        self.when_ended = when_ended


class Heap:
    """Blocks with a guard behind each; memory is filled, so that nothing relies on what it finds there."""

    GUARD = b"\xfd" * 8

    def __init__(self, machine_of):
        self.machine_of = machine_of
        self.next = HEAP
        self.blocks = {}
        self.free_blocks = {}   # by size

    def allocate(self, size, fill=b"\xcd"):
        room = -(-size // 8) * 8 + len(self.GUARD)
        spare = self.free_blocks.get(room)
        address = spare.pop() if spare else self.next
        if not spare and address == self.next:
            if self.next + room > HEAP + HEAP_SIZE:
                return 0
            self.next += room
        self.blocks[address] = (size, room)
        self.machine_of().write(address, fill * size + self.GUARD)
        return address

    def release(self, address):
        if address not in self.blocks:
            raise Fault(f"free of {address:#x}, which is no block")
        size, room = self.blocks.pop(address)
        machine = self.machine_of()
        if machine.read(address + size, len(self.GUARD)) != self.GUARD:
            raise Fault(f"a block of {size} bytes was written beyond its end")
        machine.write(address, b"\xdd" * size)
        self.free_blocks.setdefault(room, []).append(address)

    def allocate_wide(self, text):
        data = text.encode("utf-16-le") + b"\0\0"
        address = self.allocate(len(data))
        self.machine_of().write(address, data)
        return address
