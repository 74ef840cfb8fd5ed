// Apple's compiler calls a method by a jump through the runtime; GCC's runtime looks up the method and leaves the call to
// the caller. Between the two every register that may carry an argument is kept, x8 for the place of a result among them.

// Calls `function` with the receiver, the selector and the place where the receiver is kept, and jumps to what it returns.
.macro SEND name, function
  .globl \name
  .type \name, @function
  .p2align 4
\name:
  .cfi_startproc
  stp x29, x30, [sp, #-16]!
  .cfi_def_cfa_offset 16
  .cfi_offset x29, -16
  .cfi_offset x30, -8
  mov x29, sp
  .cfi_def_cfa x29, 16
  sub sp, sp, #208
  stp q0, q1, [sp]
  stp q2, q3, [sp, #32]
  stp q4, q5, [sp, #64]
  stp q6, q7, [sp, #96]
  stp x0, x1, [sp, #128]
  stp x2, x3, [sp, #144]
  stp x4, x5, [sp, #160]
  stp x6, x7, [sp, #176]
  str x8, [sp, #192]
  add x2, sp, #128
  bl \function
  mov x16, x0
  ldp q0, q1, [sp]
  ldp q2, q3, [sp, #32]
  ldp q4, q5, [sp, #64]
  ldp q6, q7, [sp, #96]
  ldp x0, x1, [sp, #128]
  ldp x2, x3, [sp, #144]
  ldp x4, x5, [sp, #160]
  ldp x6, x7, [sp, #176]
  ldr x8, [sp, #192]
  mov sp, x29
  ldp x29, x30, [sp], #16
  .cfi_def_cfa sp, 0
  br x16
  .cfi_endproc
.endm

  .text
  SEND macos_objc_msgSend_to_object, macos_message_lookup
  SEND macos_objc_msgSendSuper2, macos_super_lookup

  .globl macos_objc_msgSend
  .type macos_objc_msgSend, @function
macos_objc_msgSend:
  .cfi_startproc
  cbnz x0, macos_objc_msgSend_to_object
  mov x1, #0  // nil answers zero, whatever the type
  movi d0, #0
  movi d1, #0
  movi d2, #0
  movi d3, #0
  ret
  .cfi_endproc

// Where functions with variable arguments are called. The other system's compiler puts those on the stack, whatever they
// are; this one's takes the first of them from registers. So where the stack is goes along as one more argument, to a
// function of Variadic_aarch64.mm.
.macro VARIADIC name, named
  .globl macos_\name
  .type macos_\name, @function
macos_\name:
  .cfi_startproc
  mov x\named, sp
  b macos_\name\()_on_stack
  .cfi_endproc
.endm

  VARIADIC NSLog, 1
  VARIADIC fprintf, 2
  VARIADIC printf, 1
  VARIADIC snprintf, 3
  VARIADIC sprintf_chk, 4
  VARIADIC sscanf, 2
  VARIADIC swprintf, 3
  VARIADIC stringWithFormat, 3
  VARIADIC appendFormat, 3

  .section .note.GNU-stack, "", @progbits
