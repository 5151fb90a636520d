// Runs a piece of a test in a child process that has dropped root privileges, so that
// permission checks bite on CI (which runs as root) as they do for a user.
#pragma once

#include <functional>
#include <string>

namespace fftest {

/// Forks; the child drops to an unprivileged user (uid/gid 65534) when running as root,
/// runs `body` and exits 0 when it returned true, 1 otherwise (2 when it threw). Returns
/// the child's exit status, or -1 when it died of a signal. gtest assertions inside the
/// body do not reach the parent: return false instead.
int runUnprivileged(const std::function<bool()>& body);

/// Makes a directory tree readable and enterable by the unprivileged user (the temporary
/// directories are made by root with mode 0700 on some systems).
void openToEveryone(const std::string& path);

}  // namespace fftest
