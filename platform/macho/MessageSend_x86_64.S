// Apple's compiler calls a method by a jump through the runtime; GCC's runtime looks up the method and leaves the call to
// the caller. Between the two every register that may carry an argument is kept.

#define VECTORS 0, 1, 2, 3, 4, 5, 6, 7

// Calls `function` and jumps to what it returns. The look-up's arguments are in rdi and rsi, or one register further when
// the first holds the place of the result.
.macro SEND name, function, shift=0
  .globl \name
  .type \name, @function
  .p2align 4
\name:
  .cfi_startproc
  pushq %rbp
  .cfi_def_cfa_offset 16
  .cfi_offset %rbp, -16
  movq %rsp, %rbp
  .cfi_def_cfa_register %rbp
  .irp register, rdi, rsi, rdx, rcx, r8, r9, rax
  pushq %\register
  .endr
  subq $136, %rsp
  .irp number, VECTORS
  movaps %xmm\number, \number*16(%rsp)
  .endr
  .if \shift
  movq %rsi, %rdi
  movq %rdx, %rsi
  .endif
  leaq -8(%rbp), %rdx  // where the receiver is kept
  callq \function@PLT
  movq %rax, %r11
  .irp number, VECTORS
  movaps \number*16(%rsp), %xmm\number
  .endr
  addq $136, %rsp
  .irp register, rax, r9, r8, rcx, rdx, rsi, rdi, rbp
  popq %\register
  .endr
  .cfi_def_cfa %rsp, 8
  jmpq *%r11
  .cfi_endproc
.endm

  .text
  SEND macos_objc_msgSend_to_object, objc_msg_lookup
  SEND macos_objc_msgSend_stret, objc_msg_lookup, 1
  SEND macos_objc_msgSendSuper2, macos_super_lookup

  .globl macos_objc_msgSend
  .type macos_objc_msgSend, @function
macos_objc_msgSend:
  .cfi_startproc
  testq %rdi, %rdi
  jne macos_objc_msgSend_to_object@PLT
  xorl %eax, %eax  // nil answers zero, whatever the type
  xorl %edx, %edx
  xorps %xmm0, %xmm0
  xorps %xmm1, %xmm1
  retq
  .cfi_endproc

  .section .note.GNU-stack, "", @progbits
