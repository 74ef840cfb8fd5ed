// The rows of imports.txt, which the loader adds to its own, and the function that every variable of a thread names.

  .section .rodata
  .globl macho_more_imports_start, macho_more_imports_end
macho_more_imports_start:
  .incbin "imports.txt"
macho_more_imports_end:

// The descriptor comes in rdi and the variable's address goes out in rax. Every other integer register is kept.
#define KEPT rcx, rdx, rsi, r8, r9, r10, r11
  .text
  .globl macos_tlv_bootstrap
  .type macos_tlv_bootstrap, @function
macos_tlv_bootstrap:
  .cfi_startproc
  pushq %rbp
  .cfi_def_cfa_offset 16
  .cfi_offset %rbp, -16
  movq %rsp, %rbp
  .cfi_def_cfa_register %rbp
  .irp register, KEPT
  pushq %\register
  .endr
  pushq %rdi
  callq macos_thread_variable@PLT
  popq %rdi
  .irp register, r11, r10, r9, r8, rsi, rdx, rcx
  popq %\register
  .endr
  popq %rbp
  .cfi_def_cfa %rsp, 8
  retq
  .cfi_endproc

  .section .note.GNU-stack, "", @progbits
