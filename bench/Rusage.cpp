// bench_rusage: runs one command and reports its wall time and peak resident
// memory.
//
//   bench_rusage COMMAND [ARGUMENTS...]
//
// After the command's own output it prints "wall_seconds W" and
// "peak_rss_kib K" (ru_maxrss of the command, from wait4) and exits with the
// command's status (128 + the signal when it was killed).
//
// Linux carries a process's peak RSS across fork and exec, so a command
// started straight from the driver (a Python process of a few dozen MiB)
// would report at least the driver's size. Started from this small program
// it reports its own peak, at worst this program's few pages.

#include "bench/Stopwatch.h"

#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: bench_rusage COMMAND [ARGUMENTS...]\n", stderr);
        return 2;
    }
    std::fflush(stdout);
    const Stopwatch clock;
    const pid_t child = fork();
    if (child < 0) {
        std::perror("bench_rusage: fork");
        return 127;
    }
    if (child == 0) {
        execvp(argv[1], argv + 1);
        std::perror("bench_rusage: exec");
        _exit(127);
    }
    int status = 0;
    struct rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child) {
        std::perror("bench_rusage: wait4");
        return 127;
    }
    const double wall = clock.seconds();
    std::printf("wall_seconds %.6f\npeak_rss_kib %ld\n", wall, usage.ru_maxrss);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return WEXITSTATUS(status);
}
