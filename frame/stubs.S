/* Exported stubs of the dispatched functions: one load of the selector and one indirect tail jump
   through the row of the function. No frame; no argument register is touched (rax, r11 are scratch). */
#define LUM_ROW(name, s0, s1, s2, s3)           \
    .hidden lumRow_##name;                      \
    .globl name;                                \
    .type name, @function;                      \
    .p2align 4;                                 \
name:                                           \
    movslq LumTierIndex(%rip), %rax;            \
    leaq lumRow_##name(%rip), %r11;             \
    jmp *(%r11, %rax, 8);                       \
    .size name, . - name;

    .hidden LumTierIndex
    .text
#include "frame/exports.inc"

    .section .note.GNU-stack, "", @progbits
