@ Entry point of every program: the system jumps here with WinMain's four arguments in r0 to r3.
@
@ It promises a stack aligned to 4 bytes; our compiler counts on 8.

    .syntax unified
    .arm
    .section .text.start, "ax"
    .global phoneEntry
    .type phoneEntry, %function
phoneEntry:
    bic     sp, sp, #7
    bl      startProgram
    .size phoneEntry, . - phoneEntry
