// Variable arguments: the other system keeps them on the stack in slots of eight bytes, and its va_list is a pointer to
// the first. `stack` is that pointer. Rows of imports_aarch64.txt and MessageSend_aarch64.S lead here.

#import <Foundation/Foundation.h>
#include <objc/message.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>

namespace {

/// Calls `function` with this system's va_list, as it is when no register holds an argument.
template <typename Function>
auto WithArguments(void *stack, Function function) {
  va_list arguments;
  std::memset(&arguments, 0, sizeof arguments);
  arguments.__stack = stack;
  return function(arguments);
}

struct Message {
  SEL selector;
  IMP function;
};

}  // namespace

extern "C" {

int __vsprintf_chk(char *to, int flag, size_t size, const char *format, va_list arguments);

void macos_NSLog_on_stack(NSString *format, void *stack) {
  WithArguments(stack, [&](va_list &arguments) { NSLogv(format, arguments); });
}
int macos_fprintf_on_stack(FILE *file, const char *format, void *stack) {
  return WithArguments(stack, [&](va_list &arguments) { return vfprintf(file, format, arguments); });
}
int macos_printf_on_stack(const char *format, void *stack) {
  return macos_fprintf_on_stack(stdout, format, stack);
}
int macos_snprintf_on_stack(char *to, size_t size, const char *format, void *stack) {
  return WithArguments(stack, [&](va_list &arguments) { return vsnprintf(to, size, format, arguments); });
}
int macos_sprintf_chk_on_stack(char *to, int flag, size_t size, const char *format, void *stack) {
  return WithArguments(stack, [&](va_list &arguments) { return __vsprintf_chk(to, flag, size, format, arguments); });
}
int macos_sscanf_on_stack(const char *from, const char *format, void *stack) {
  return WithArguments(stack, [&](va_list &arguments) { return vsscanf(from, format, arguments); });
}
int macos_swprintf_on_stack(wchar_t *to, size_t size, const wchar_t *format, void *stack) {
  return WithArguments(stack, [&](va_list &arguments) { return vswprintf(to, size, format, arguments); });
}

static id InitWithFormatArguments(NSString *self, SEL, NSString *format, void *stack) {
  return WithArguments(stack, [&](va_list &arguments) { return [self initWithFormat:format arguments:arguments]; });
}
id macos_stringWithFormat_on_stack(Class self, SEL, NSString *format, void *stack) {
  return [InitWithFormatArguments([self alloc], nullptr, format, stack) autorelease];
}
void macos_appendFormat_on_stack(NSMutableString *self, SEL, NSString *format, void *stack) {
  [self appendString:[InitWithFormatArguments([NSString alloc], nullptr, format, stack) autorelease]];
}

id macos_stringWithFormat(id self, SEL selector, ...);
id macos_appendFormat(id self, SEL selector, ...);

/// The code for a message of the image's. `receiver` is where the first argument comes from.
IMP macos_message_lookup(id object, SEL selector, id *) {
  static const auto initWithFormatArguments =
      reinterpret_cast<IMP>(reinterpret_cast<void (*)()>(InitWithFormatArguments));
  static const Message messages[] = {
      {sel_registerName("stringWithFormat:"), macos_stringWithFormat},
      {sel_registerName("appendFormat:"), macos_appendFormat},
      {sel_registerName("initWithFormat:arguments:"), initWithFormatArguments},
  };
  const auto isAsked = [selector](const Message &message) { return message.selector == selector; };
  const auto found = std::find_if(std::begin(messages), std::end(messages), isAsked);
  return found != std::end(messages) ? found->function : objc_msg_lookup(object, selector);
}

}  // extern "C"
