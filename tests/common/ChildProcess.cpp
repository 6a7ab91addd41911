#include "ChildProcess.h"

#include <csignal>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

int runInChildProcess(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) {
        int code = 255;
        try {
            code = body();
        } catch (...) {
        }
        _exit(code);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool limitFileSize(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {bytes, bytes};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

bool dropRootPrivileges() {
    if (geteuid() != 0) return true;
    const uid_t nobody = 65534;
    return setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0;
}
