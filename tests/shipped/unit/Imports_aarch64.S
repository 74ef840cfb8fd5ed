// The rows of imports.txt, which the loader adds to its own, and the function that every variable of a thread names.

  .section .rodata
  .globl macho_more_imports_start, macho_more_imports_end
macho_more_imports_start:
  .incbin "imports.txt"
macho_more_imports_end:

// The descriptor comes in x0 and so goes out the variable's address. Every other register is kept.
  .text
  .globl macos_tlv_bootstrap
  .type macos_tlv_bootstrap, @function
macos_tlv_bootstrap:
  .cfi_startproc
  stp x29, x30, [sp, #-16]!
  .cfi_def_cfa_offset 16
  .cfi_offset x29, -16
  .cfi_offset x30, -8
  mov x29, sp
  .cfi_def_cfa x29, 16
  .irp pair, "x1,x2", "x3,x4", "x5,x6", "x7,x8", "x9,x10", "x11,x12", "x13,x14", "x15,x16", "x17,x18"
  stp \pair, [sp, #-16]!
  .endr
  .irp pair, "q0,q1", "q2,q3", "q4,q5", "q6,q7", "q16,q17", "q18,q19", "q20,q21", "q22,q23", "q24,q25", "q26,q27", "q28,q29", "q30,q31"
  stp \pair, [sp, #-32]!
  .endr
  bl macos_thread_variable
  .irp pair, "q30,q31", "q28,q29", "q26,q27", "q24,q25", "q22,q23", "q20,q21", "q18,q19", "q16,q17", "q6,q7", "q4,q5", "q2,q3", "q0,q1"
  ldp \pair, [sp], #32
  .endr
  .irp pair, "x17,x18", "x15,x16", "x13,x14", "x11,x12", "x9,x10", "x7,x8", "x5,x6", "x3,x4", "x1,x2"
  ldp \pair, [sp], #16
  .endr
  ldp x29, x30, [sp], #16
  .cfi_def_cfa sp, 0
  ret
  .cfi_endproc

  .section .note.GNU-stack, "", @progbits
