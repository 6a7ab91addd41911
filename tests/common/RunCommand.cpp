#include "RunCommand.h"

#include "TestFiles.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

CommandResult runCommand(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory) {
    TempDir capture;
    const std::string outPath = capture.file("out");
    const std::string errPath = capture.file("err");
    CommandResult result;
    pid_t child = fork();
    if (child == 0) {
        int in = open("/dev/null", O_RDONLY);
        int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || out < 0 || err < 0 || chdir(workingDirectory.c_str()) != 0) _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    result.out = readFileText(outPath);
    result.err = readFileText(errPath);
    return result;
}
