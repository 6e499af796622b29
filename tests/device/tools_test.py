#!/usr/bin/env python3
"""Tests of the device build's tools: each kind of mistake they exist for is made here, and has to be found."""

import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
DEVICE = HERE.parent.parent / "ce" / "device"
sys.path[:0] = [str(HERE), str(DEVICE)]

import check_image                                   # noqa: E402
import elf_to_pe                                     # noqa: E402
from emulator import Fault, Machine                  # noqa: E402
from pe_image import PeImage                         # noqa: E402
from phone_services import WAIT_TIMEOUT              # noqa: E402
from phone_windows import Phone                      # noqa: E402

EXPORTS = check_image.read_exports(DEVICE.parent / "phone_exports.txt")

# Ends with exit code 7.
GOOD = """
    .text
    .global startProgram
startProgram:
    mov     r1, #7
    mov     r0, #66
    b       TerminateProcess
    .data
    .word   startProgram
"""


def in_place_of(instructions):
    """A program that does something else first."""
    return GOOD.replace("    mov     r1, #7", instructions + "\n    mov     r1, #7")


THREAD_FUNCTIONS = "CreateThread\nEnterCriticalSection\nSleep\nTerminateProcess\nWaitForSingleObject"


def with_thread(body):
    """A program that waits 100 milliseconds for another thread; what comes of that is its exit code."""
    return f"""
    .text
    .global startProgram
startProgram:
    mov     r0, #0
    mov     r1, #0
    ldr     r2, =runThread
    ldr     r3, =section
    sub     sp, sp, #8
    str     r0, [sp]
    str     r0, [sp, #4]
    bl      CreateThread
    mov     r1, #100
    bl      WaitForSingleObject
    mov     r1, r0
    mov     r0, #66
    b       TerminateProcess
runThread:
{body}
    .ltorg
    .data
section:
    .space  20
"""


def resource(kind, name, data):
    """One record of a .res file, identifiers being numbers."""
    header = struct.pack("<HHHH", 0xFFFF, kind, 0xFFFF, name) + struct.pack("<IHHII", 0, 0, 0x409, 0, 0)
    return struct.pack("<II", len(data), 8 + len(header)) + header + data + bytes(-len(data) % 4)


class Folder(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = Path(holder.name)

    def tool(self, *command):
        subprocess.run([str(part) for part in command], check=True, cwd=self.folder, capture_output=True)

    def link(self, source, functions="TerminateProcess", dll="coredll.dll", march="armv4t"):
        """The ELF file of an assembly program."""
        (self.folder / "test.S").write_text(source)
        (self.folder / "test.def").write_text(f"LIBRARY {dll}\nEXPORTS\n{functions}\n")
        self.tool(sys.executable, DEVICE / "make_imports.py", "imports.S", "test.def")
        self.tool("arm-none-eabi-gcc", f"-march={march}", "-marm", "-nostdlib", "-T", DEVICE / "image.ld",
                  "-Wl,--emit-relocs,--target1-abs,--target2=rel", DEVICE / "start.S", "test.S", "imports.S",
                  "-o", "test.elf")
        return (self.folder / "test.elf").read_bytes()

    def image(self, source=GOOD, resources=b"", **options):
        return PeImage(elf_to_pe.convert(self.link(source, **options), resources))


class Converter(Folder):
    def refusal(self, source):
        with self.assertRaises(elf_to_pe.Unconvertible) as caught:
            elf_to_pe.convert(self.link(source), b"")
        return str(caught.exception)

    def test_a_relocation_of_an_unknown_type_is_refused(self):
        self.assertIn("unknown relocation type 43 in .data", self.refusal(GOOD + "    .reloc ., R_ARM_MOVW_ABS_NC, startProgram\n    .word 0"))

    def test_an_address_word_that_is_not_aligned_is_refused(self):
        self.assertIn("not aligned", self.refusal(GOOD + "    .byte 0\n    .4byte startProgram"))

    def test_a_section_without_a_place_is_refused(self):
        self.assertIn("section .odd", self.refusal(GOOD + '    .section .odd, "a"\n    .word 0'))

    def test_a_weak_symbol_that_nothing_defines_stays_null(self):
        image = self.image(GOOD + "    .weak absent\n    .word absent")
        self.assertEqual(image.word(image.section(".data").address + 4), 0)
        self.assertEqual(len(list(image.relocations())), 2)   # of the other word and of the thunk

    def test_address_words_hold_addresses_at_the_image_base(self):
        image = self.image()
        self.assertEqual(image.word(image.section(".data").address) & 0xFFFFF000, 0x11000)

    def test_resources_are_found_again_whatever_their_order(self):
        kept = {(5, 200): b"dialog", (3, 1): b"icon data", (5, 100): b"", (16, 1): b"v"}
        image = self.image(resources=b"".join(resource(*key, data) for key, data in kept.items()))
        for key, data in kept.items():
            self.assertEqual(image.resource(*key), data)
        self.assertIsNone(image.resource(5, 300))

    def test_an_import_by_number_is_refused(self):
        with self.assertRaises(subprocess.CalledProcessError):
            self.link(GOOD, functions="TerminateProcess\nOther @ 84 NONAME")


class Checks(Folder):
    def test_a_good_image_passes(self):
        elf = self.link(GOOD)
        image = PeImage(elf_to_pe.convert(elf, b""))
        self.assertEqual([*check_image.check_headers(image), *check_image.check_sections(image),
                          *check_image.check_relocations(image, elf_to_pe.ElfFile(elf)),
                          *check_image.check_imports(image, EXPORTS), *check_image.check_size(image),
                          *check_image.check_processor(self.folder / "test.elf")], [])

    def test_an_import_that_no_phone_has_is_found(self):
        image = self.image(GOOD + "    .word SetErrorMode", functions="TerminateProcess\nSetErrorMode")
        self.assertEqual(list(check_image.check_imports(image, EXPORTS)),
                         ["coredll.dll: no phone is known to export SetErrorMode"])

    def test_an_import_that_came_too_late_is_found(self):
        image = self.image(GOOD.replace("TerminateProcess", "SndPlaySync"), functions="SndPlaySync", dll="aygshell.dll")
        self.assertEqual(list(check_image.check_imports(image, EXPORTS)),
                         ["aygshell.dll: SndPlaySync came with system version 5.02; look it up at run time"])

    def test_an_import_from_the_wrong_dll_is_found(self):
        image = self.image(GOOD.replace("TerminateProcess", "PropertySheetW"), functions="PropertySheetW")
        self.assertIn("coredll.dll: no phone", next(check_image.check_imports(image, EXPORTS)))

    def test_a_missing_relocation_is_found(self):
        elf = self.link(GOOD)
        image = PeImage(elf_to_pe.convert(elf, b""))
        block = image.directories[5][0]
        struct.pack_into("<H", image.memory, block + 8, 0)
        self.assertIn("is not relocated", next(check_image.check_relocations(image, elf_to_pe.ElfFile(elf))))

    def test_a_relocation_too_many_is_found(self):
        elf = self.link(GOOD)
        image = PeImage(elf_to_pe.convert(elf, b""))
        struct.pack_into("<H", image.memory, image.directories[5][0] + 8, 0x3000 | 0x0FC)
        self.assertTrue(any("about no address word" in problem for problem in
                            check_image.check_relocations(image, elf_to_pe.ElfFile(elf))))

    def test_wrong_header_fields_and_flags_are_found(self):
        data = bytearray(elf_to_pe.convert(self.link(GOOD), b""))
        data[0x44] = 0xC4        # machine
        data[0x40 + 24 + 224 + 36] = 0   # flags of the first section
        image = PeImage(bytes(data))
        self.assertEqual(list(check_image.check_headers(image)), ["header: machine is 452, not 448"])
        self.assertIn("section .text: flags", next(check_image.check_sections(image)))

    def test_code_for_a_newer_processor_is_found(self):
        self.link(in_place_of("    clz     r2, r3"), march="armv5te")
        self.assertIn("the code is for processor v5TE", next(check_image.check_processor(self.folder / "test.elf")))

    def test_a_program_that_is_too_large_is_found(self):
        image = self.image(GOOD + "    .space 260000")
        self.assertIn("the limit is 256000", next(check_image.check_size(image)))

    def test_a_changed_resource_and_a_missing_mark_are_found(self):
        data = elf_to_pe.convert(self.link(GOOD), resource(5, 100, b"dialog"))
        program = self.folder / "test.exe"
        program.write_bytes(data)
        problems = list(check_image.check_resources(PeImage(data), program, resource(5, 100, b"Dialog")))
        self.assertEqual(len(problems), 3)
        self.assertIn("our reader", problems[0])
        self.assertIn("wrestool", problems[1])
        self.assertIn("high-resolution", problems[2])


class Stack(Folder):
    def problems(self, code):
        (self.folder / "code.cpp").write_text("void use(char *); extern int n;\n" + code)
        self.tool("arm-none-eabi-g++", "-Os", "-march=armv4t", "-fno-optimize-sibling-calls", "-fcallgraph-info=su",
                  "-c", "code.cpp", "-o", "code.o")
        return list(check_image.check_stack(check_image.CallGraph([self.folder / "code.ci"])))

    def test_a_small_program_passes(self):
        self.assertEqual(self.problems("void f() { char room[8000]; use(room); }"), [])

    def test_an_over_large_frame_is_found(self):
        self.assertIn("_Z1fv takes 9", self.problems("void f() { char room[9000]; use(room); }")[0])

    def test_a_chain_of_calls_that_is_too_deep_is_found(self):
        code = "void f0() { char room[7000]; use(room); }\n"
        for level in range(1, 5):
            code += f"void [[gnu::noinline]] f{level}();\n"
            code += f"void [[gnu::noinline]] f{level}() {{ char room[7000]; use(room); f{level - 1}(); use(room); }}\n"
        code = code.replace("void [[gnu::noinline]]", "[[gnu::noinline]] void").replace("void f0", "[[gnu::noinline]] void f0")
        self.assertIn("_Z2f4v > _Z2f3v > _Z2f2v > _Z2f1v > _Z2f0v", self.problems(code)[0])

    def test_recursion_is_found(self):
        found = self.problems("void g(); [[gnu::noinline]] void f() { char r[9]; use(r); g(); use(r); }\n"
                              "[[gnu::noinline]] void g() { char r[9]; use(r); if (n) f(); use(r); }")
        self.assertTrue(any("recursion" in problem for problem in found))

    def test_stack_taken_without_bound_is_found(self):
        found = self.problems("void f() { char *room = (char *)__builtin_alloca(n); use(room); }")
        self.assertIn("without a bound", found[0])


class Emulator(Folder):
    def run_program(self, source, base=0x10000, processor="SA-1110", **options):
        machine = Machine(self.image(source, **options), processor, base, Phone(HERE.parent.parent / "phones"))
        return machine.run()

    def fault(self, source, **options):
        with self.assertRaises(Fault) as caught:
            self.run_program(source, **options)
        return str(caught.exception)

    def test_a_program_runs_at_any_base_to_its_exit_code(self):
        self.assertEqual([self.run_program(GOOD, base) for base in (0x10000, 0x2010000)], [7, 7])

    def test_an_unaligned_access_is_a_fault(self):
        for access in ("ldr r3, [sp, #-6]", "str r3, [sp, #-7]", "ldrh r3, [sp, #-5]"):
            self.assertIn("unaligned access", self.fault(in_place_of("    " + access)))

    def test_an_aligned_access_is_none(self):
        self.assertEqual(self.run_program(in_place_of("    str r3, [sp, #-8]\n    ldrb r3, [sp, #-7]")), 7)

    def test_a_function_the_stand_in_lacks_is_a_fault(self):
        self.assertIn("has no SetErrorMode", self.fault(in_place_of("    bl SetErrorMode"),
                                                        functions="TerminateProcess\nSetErrorMode"))

    def test_writing_to_code_is_a_fault(self):
        self.assertIn("UC_ERR_WRITE_PROT", self.fault(in_place_of("    str r3, [pc]")))

    def test_running_out_of_stack_is_a_fault(self):
        self.assertIn("UNMAPPED", self.fault(in_place_of("    sub sp, sp, #0x10000\n    str r3, [sp]")))

    def test_an_instruction_the_processor_does_not_have_is_a_fault(self):
        self.assertIn("Invalid instruction", self.fault(in_place_of("    .word 0xE12FFF1E   @ bx lr")))
        self.assertIn("Invalid instruction", self.fault(in_place_of("    .word 0xE16F3F13   @ clz")))

    def test_another_thread_runs_while_the_first_one_waits(self):
        outcomes = {"    mov r0, #9\n    mov pc, lr": 0,
                    "    mov r0, #200\n    push {lr}\n    bl Sleep\n    pop {pc}": WAIT_TIMEOUT}
        for body, outcome in outcomes.items():
            self.assertEqual(self.run_program(with_thread(body), functions=THREAD_FUNCTIONS), outcome)

    def test_what_is_a_fault_is_one_in_another_thread(self):
        complaints = {"    ldr r3, [sp, #-6]": "unaligned access", "    sub sp, sp, #0x10000\n    push {lr}": "UNMAPPED",
                      "    bl EnterCriticalSection": "before it is set up"}
        for body, complaint in complaints.items():
            self.assertIn(complaint, self.fault(with_thread(body), functions=THREAD_FUNCTIONS))


if __name__ == "__main__":
    unittest.main()
