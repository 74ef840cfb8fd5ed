#pragma once

/// From now on this process remains the program that it is, and leaves no core: the calls that would change this fail.
/// It can still become the program that `next` names, by this very pointer. For processes that gave up their privileges
/// for good (PR_SET_NO_NEW_PRIVS); does nothing in others.
void RemainTheStartedProgram(const char* next = nullptr);
