// A loadable PIN dialog library whose dialog is the test program's.

extern "C" {
int QELTestDialog(int first, int second, int third);
int PINPadDialogP(int first, int second, int third);

int PINPadDialogP(int first, int second, int third) {
  return QELTestDialog(first, second, third);
}
}
