#pragma once

#include <sys/resource.h>

#include <functional>

// Runs `body` in a forked child process and returns the value it returned
// (its exit code, 0 to 255), or -1 when the child did not exit normally.
// Limits and identities set inside `body` stay with the child.
int runInChildProcess(const std::function<int()>& body);

// For use inside such a child: files may not grow beyond `bytes`, and a
// write past the limit fails with EFBIG instead of killing the process.
// False when the limit could not be set.
bool limitFileSize(rlim_t bytes);

// For use inside such a child: gives up root's right to ignore file
// permissions by becoming the unprivileged user "nobody" (does nothing for a
// process that is not root). False when the identity could not be changed.
bool dropRootPrivileges();
