/* Stands in for the maker's library where a bundle is tried without it: it offers the entry and refuses to be used. */

unsigned long C_GetFunctionList(void** list);

unsigned long C_GetFunctionList(void** list) {
  *list = 0;
  return 0x54; /* CKR_FUNCTION_NOT_SUPPORTED */
}
