// The rows of imports.txt, as they are.

  .section .rodata
  .globl macho_imports_start, macho_imports_end
macho_imports_start:
  .incbin "imports.txt"
macho_imports_end:

  .section .note.GNU-stack, "", %progbits
