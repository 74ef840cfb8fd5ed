/// Answers in words, for checks in Objective-C.

#ifndef QEL_TESTS_MACPROBE_WORDS_H_
#define QEL_TESTS_MACPROBE_WORDS_H_

#import <Foundation/Foundation.h>

#include <string>

namespace probe {

/// The object's description, "nil" for none.
std::string Words(id object);

/// "yes" or "no".
std::string YesOrNo(bool answer);

/// Name of the NSException that the action raises, "none" when it raises none.
std::string RaisedBy(void (*action)());

/// The bytes in lower-case hexadecimal.
std::string Hex(NSData *bytes);

}  // namespace probe

#endif  // QEL_TESTS_MACPROBE_WORDS_H_
