/// Exceptions on their way through Objective-C.

#ifndef QEL_TESTS_MACPROBE_THROWING_H_
#define QEL_TESTS_MACPROBE_THROWING_H_

namespace probe {

struct Thrown {
  int value;
};

/// Throws Thrown{7} from below a method of Objective-C. `destroyed` is set by a destructor on the way.
void ThrowThroughObjectiveC(bool* destroyed);

/// Raises an NSException across a frame with a destructor, and catches it. Returns whether the destructor ran.
bool RaiseAcrossADestructor();

}  // namespace probe

#endif  // QEL_TESTS_MACPROBE_THROWING_H_
