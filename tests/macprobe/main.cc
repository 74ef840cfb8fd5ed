// macprobe [--list] [--here] [NAME...]: what this system does where the product takes something for granted.
//
// NAME is a check or the first part of its name. --here asks in this process, for a sandbox that lets it start no
// other. A line per check. Exit status: 0 everything is as assumed, 1 something differs, 2 usage. A check that ends its
// process or hangs is an answer too: each runs in a process of its own.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/macprobe/Check.h"
#include "tests/macprobe/Pool.h"

extern char** environ;

namespace {

constexpr unsigned kSecondsPerCheck = 20;

std::vector<probe::Check> AllChecks() {
  std::vector<probe::Check> all;
  for (const auto& group :
       {probe::FoundationChecks(), probe::TextChecks(), probe::ExceptionChecks(), probe::ItemChecks(),
        probe::TokenChecks(), probe::SecurityChecks(), probe::SystemChecks()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

const char* Expected(const probe::Check& check) {
#ifndef __APPLE__
  if (check.elsewhere != nullptr) return check.elsewhere;
#endif
  return check.assumed;
}

bool IsOneOf(const std::string& answer, const std::string& alternatives) {
  return ("|" + alternatives + "|").find("|" + answer + "|") != std::string::npos;
}

std::string ReadAll(int descriptor) {
  std::string text;
  char buffer[512];
  for (ssize_t count; (count = read(descriptor, buffer, sizeof buffer)) > 0;) text.append(buffer, count);
  return text;
}

/// The answer that a process of its own gives, or how that process ended.
std::string Ask(const char* program, const char* name) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  std::string words[] = {program, "--answer", name};
  char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t child = 0;
  const int failed = posix_spawn(&child, program, &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  const std::string answer = failed == 0 ? ReadAll(ends[0]) : "not started";
  close(ends[0]);
  int status = 0;
  if (failed != 0 || waitpid(child, &status, 0) != child) return answer;
  return WIFSIGNALED(status) ? "ended by signal " + std::to_string(WTERMSIG(status)) : answer;
}

int Answer(const std::vector<probe::Check>& all, const char* name) {
  const probe::InPool pool;
  alarm(kSecondsPerCheck);
  for (const probe::Check& check : all) {
    if (std::strcmp(check.name, name) == 0) std::fputs(check.find().c_str(), stdout);
  }
  return 0;
}

/// Asks, here when `program` is null, and prints. Returns whether the answer is as assumed, or cannot be had here.
bool Report(const probe::Check& check, const char* program) {
  const std::string answer = program == nullptr ? check.find() : Ask(program, check.name);
  if (answer.empty()) {
    std::printf("unasked %s: cannot be asked here\n", check.name);
    return true;
  }
  if (IsOneOf(answer, Expected(check))) {
    std::printf("ok      %s: %s\n", check.name, answer.c_str());
    return true;
  }
  std::printf("DIFFERS %s: %s, not %s; then %s\n", check.name, answer.c_str(), Expected(check), check.matters);
  return false;
}

bool Wanted(const char* name, int count, char** names) {
  for (int i = 0; i < count; ++i) {
    const size_t length = std::strlen(names[i]);
    if (std::strncmp(names[i], name, length) == 0 && (name[length] == '\0' || name[length] == '.')) return true;
  }
  return count == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<probe::Check> all = AllChecks();
  if (argc == 3 && std::strcmp(argv[1], "--answer") == 0) return Answer(all, argv[2]);
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
    for (const probe::Check& check : all) std::printf("%s: %s; else %s\n", check.name, check.assumed, check.matters);
    return 0;
  }
  const probe::InPool pool;
  const bool here = argc > 1 && std::strcmp(argv[1], "--here") == 0;
  char program[PATH_MAX];
  if (realpath(argv[0], program) == nullptr && !here) {
    std::fprintf(stderr, "macprobe: start it by its path, not as '%s'\n", argv[0]);
    return 2;
  }
  const int options = here ? 2 : 1;
  int asked = 0;
  int different = 0;
  for (const probe::Check& check : all) {
    if (!Wanted(check.name, argc - options, argv + options)) continue;
    ++asked;
    if (!Report(check, here ? nullptr : program)) ++different;
  }
  if (asked == 0) {
    std::fprintf(stderr, "macprobe: no check has that name; try --list\n");
    return 2;
  }
  std::printf("macprobe: %d checks, %d differ\n", asked, different);
  return different == 0 ? 0 : 1;
}
