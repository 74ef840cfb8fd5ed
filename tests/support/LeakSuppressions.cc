// The Objective-C runtime and Foundation keep tables for the process's life and take their locks in cyclic order; that
// is theirs. The suppressions are compiled in because test discovery already runs the programs during the build. Leaks
// of our own Objective-C objects are found by counting live objects instead. The wrapper of the password database locks
// its own mutexes past the thread sanitizer.

extern "C" {
const char* __lsan_default_suppressions();
const char* __tsan_default_suppressions();

const char* __lsan_default_suppressions() {
  return "leak:libobjc.so\nleak:libgnustep-base.so\nleak:libgnustep-gui.so\n";
}

const char* __tsan_default_suppressions() {
  return "deadlock:libobjc.so\ndeadlock:libgnustep-base.so\n"
         "race:libobjc.so\nrace:libgnustep-base.so\n"
         "called_from_lib:libobjc.so\n"
         "mutex:libnss_wrapper.so\n";
}
}
