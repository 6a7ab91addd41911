#pragma once

#include <string>

// Whether an output name means standard output: "-", or a name of the
// process's own standard output ("/dev/stdout", "/dev/fd/1", "/proc/self/fd/1").
bool namesStandardOutput(const std::string& output);

// Where an export to standard output writes. A pipe, a terminal or another
// device is written through "/dev/stdout" (the engine stages what cannot
// seek and sends it whole at the end). A regular file is not: the engine
// would replace the file by name, losing what a `>>` redirection or an
// earlier writer put in front; the export goes to a scratch file instead,
// copied to standard output at the end, where the shell's descriptor points.
class StandardOutputFile {
public:
    StandardOutputFile() = default;
    ~StandardOutputFile();  // removes the scratch file
    StandardOutputFile(const StandardOutputFile&) = delete;
    StandardOutputFile& operator=(const StandardOutputFile&) = delete;

    // Chooses the way; false with `error` set ("standard output: Bad file
    // descriptor") when standard output is not open or no scratch file can
    // be made.
    bool open(std::string& error);
    // The path for the engine's output option.
    const std::string& path() const { return m_path; }
    // After a successful export: copies the scratch file, if one was used,
    // to standard output. False with `error` set when a write fails.
    bool finish(std::string& error);

private:
    std::string m_path;
    bool m_scratch = false;
};

// Flushes stdout at the end of the process: when what was printed there
// could not be written (a full disk, a closed pipe), says so and turns a
// successful `status` into 1. Returns the process's exit status.
int finishStandardOutput(int status);
