#include "report/Redaction.h"

#include <pwd.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "report/ResultNames.h"

namespace Report {
namespace {

constexpr char kRemoved[] = "(removed)";
constexpr const char* kSecretWords[] = {"pin", "puk", "password", "passphrase", "secret"};
// What makes a name of a word before it: "Non pin pad reader ready to auth", "ACME PIN Reader 00 00".
constexpr const char* kNamedByThem[] = {"pad", "pads", "reader", "readers", "keypad", "entry", "dialog", "terminal"};
constexpr char kSeparators[] = " \t:=\"'([<>-";
constexpr size_t kLongHexadecimal = 32;

bool IsWordCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsHexadecimal(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// The length of the word at `at` when it names a secret; 0 when it does not.
size_t SecretWordAt(const std::string& line, size_t at) {
  if (at > 0 && IsWordCharacter(line[at - 1])) return 0;
  for (const char* word : kSecretWords) {
    const size_t length = std::strlen(word);
    if (strncasecmp(line.c_str() + at, word, length) == 0 && !IsWordCharacter(line[at + length])) return length;
  }
  return 0;
}

/// Whether what begins at `at` makes a name of the word before it.
bool IsNamedByTheWord(const std::string& line, size_t at) {
  return std::any_of(std::begin(kNamedByThem), std::end(kNamedByThem), [&](const char* name) {
    const size_t length = std::strlen(name);
    return strncasecmp(line.c_str() + at, name, length) == 0 && !IsWordCharacter(line[at + length]);
  });
}

/// Where the secret that begins at `at` ends: at the next blank, or behind the quotation mark that closes it.
size_t EndOfSecret(const std::string& line, size_t at) {
  const char before = line[at - 1];
  if (before == '"' || before == '\'') {
    const size_t closing = line.find(before, at);
    if (closing != std::string::npos) return closing + 1;
  }
  while (at < line.size() && !IsBlank(line[at])) ++at;
  return at;
}

std::string WithoutNamedSecrets(const std::string& line) {
  std::string shown;
  for (size_t at = 0; at < line.size();) {
    const size_t word = SecretWordAt(line, at);
    if (word == 0) {
      shown += line[at++];
      continue;
    }
    const size_t separators = line.find_first_not_of(kSeparators, at + word);
    const size_t end = separators == std::string::npos ? line.size() : separators;
    const bool assigned = line.find_first_of(":=", at + word) < end;
    const bool separated = assigned || (line.find_first_of(" \t", at + word) < end && !IsNamedByTheWord(line, end));
    shown.append(line, at, end - at);
    at = end;
    if (separated && at < line.size() && !IsBlank(line[at])) {
      shown += kRemoved;
      at = EndOfSecret(line, at);
    }
  }
  return shown;
}

std::string WithoutLongHexadecimal(const std::string& line) {
  std::string shown;
  for (size_t at = 0; at < line.size();) {
    size_t end = at;
    while (end < line.size() && IsHexadecimal(line[end])) ++end;
    if (end - at >= kLongHexadecimal) {
      shown += kRemoved;
    } else {
      end += end == at;
      shown.append(line, at, end - at);
    }
    at = end;
  }
  return shown;
}

/// Replaces `old` where it is no part of a longer word.
void ReplaceAll(std::string& text, const std::string& old, const std::string& replacement) {
  if (old.size() < 2) return;
  for (size_t at = text.find(old); at != std::string::npos;) {
    const bool isWhole = !IsWordCharacter(text[at + old.size()]) && (at == 0 || !IsWordCharacter(text[at - 1]));
    if (isWhole) text.replace(at, old.size(), replacement);
    at = text.find(old, at + (isWhole ? replacement.size() : 1));
  }
}

}  // namespace

std::string FailingCallIn(const std::string& logLine) {
  constexpr char kArrow[] = " => 0x";
  constexpr size_t kFewestDigits = 8, kMostDigits = 16;
  for (size_t arrow = logLine.rfind(kArrow); arrow != std::string::npos;
       arrow = arrow == 0 ? std::string::npos : logLine.rfind(kArrow, arrow - 1)) {
    size_t end = arrow;
    if (end >= 2 && logLine.compare(end - 2, 2, "()") == 0) end -= 2;
    size_t begin = end;
    while (begin > 0 && (IsWordCharacter(logLine[begin - 1]))) --begin;
    const std::string call = logLine.substr(begin, end - begin);
    const std::string rest = logLine.substr(arrow + sizeof kArrow - 1, kMostDigits);
    size_t digits = 0;
    while (digits < rest.size() && IsHexadecimal(rest[digits])) ++digits;
    const unsigned long result = std::strtoul(rest.substr(0, digits).c_str(), nullptr, 16);
    if (call.size() > 2 && call.compare(0, 2, "C_") == 0 && digits >= kFewestDigits && result != 0)
      return call + " => " + ResultName(result);
  }
  return {};
}

std::string WithoutSecrets(const std::string& logLine) {
  return WithoutLongHexadecimal(WithoutNamedSecrets(logLine));
}

std::string WithoutThePerson(std::string text) {
  const passwd* user = getpwuid(getuid());
  const char* home = std::getenv("HOME");
  if (home) ReplaceAll(text, home, "~");
  if (user) ReplaceAll(text, user->pw_dir, "~");
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  ReplaceAll(text, host, "(this computer)");
  return text;
}

}  // namespace Report
