"""Runs one benchmark program in its own process and measures it: the time it
reports (or the process's wall time), and its peak resident memory. Every
command is started through bench_rusage, which reports the command's wall time
and its wait4 ru_maxrss. A measurement is a warm-up run followed by timed
runs."""
import os
import re
import statistics
import subprocess
import tempfile
from dataclasses import dataclass, field

# For the slow programs (peers, baselines), a warm-up longer than SLOW_RUN
# seconds is followed by at most 3 timed runs, and one longer than the
# runner's single-run limit is itself the only run (the caches are warm by
# then, and repeating would not fit the time budget). Items measured in full
# (Ombrel's exports, the I/O floors) always get the warm-up and every run.
SLOW_RUN = 5.0


class RunFailed(Exception):
    pass


def _number(pattern, text, what):
    found = re.search(pattern, text, re.M)
    if not found:
        raise RunFailed("no %s in the output:\n%s" % (what, text[-500:]))
    return float(found.group(1))


@dataclass
class Run:
    stdout: str
    output_bytes: int

    @property
    def wall(self):
        """From the start of the process to its end."""
        return _number(r"^wall_seconds ([0-9.eE+-]+)$", self.stdout, "wall time")

    @property
    def max_rss_kib(self):
        return int(_number(r"^peak_rss_kib (\d+)$", self.stdout, "peak RSS"))

    def reported(self):
        """The time the program measured itself ("seconds S")."""
        return _number(r"^seconds ([0-9.eE+-]+)$", self.stdout, "'seconds' line")

    def assimp_export_step(self):
        """The export step's time as assimp's command line reports it."""
        return _number(r"export took approx\. ([0-9.eE+-]+) seconds", self.stdout, "assimp export time")


@dataclass
class Result:
    """The summary of one measured item."""
    seconds: float  # median of the timed runs
    runs: int
    max_rss_kib: int  # the largest over the timed runs
    output_bytes: int
    note: str = ""
    times: list = field(default_factory=list)

    @property
    def rss_mib(self):
        return self.max_rss_kib / 1024.0


class Runner:
    def __init__(self, launcher, single_run):
        self.launcher = launcher  # bench_rusage
        self.single_run = single_run  # seconds

    def run_once(self, command, output=None):
        """Runs the command to its end (its output file, if any, removed and
        the file systems synced first, outside the measurement); raises
        RunFailed on a non-zero exit."""
        if output and os.path.exists(output):
            os.remove(output)
        # Every run starts with no dirty pages pending, whatever ran before it.
        os.sync()
        with tempfile.TemporaryFile() as errors:
            finished = subprocess.run([self.launcher] + command, stdout=subprocess.PIPE, stderr=errors)
            if finished.returncode != 0:
                errors.seek(0)
                raise RunFailed("%s exited with %d: %s" % (" ".join(command), finished.returncode,
                                                          errors.read().decode(errors="replace")[-1500:]))
        size = os.path.getsize(output) if output and os.path.exists(output) else 0
        return Run(finished.stdout.decode(errors="replace"), size)

    def measure(self, command, output, runs, timers, keep=None):
        """A warm-up run, then the timed runs (fewer for slow programs: see
        SLOW_RUN).
        `timers` maps a name to a function of a Run giving its time; one
        Result per timer is returned. The last output is moved to `keep`, if
        given, else removed."""
        warm = self.run_once(command, output)
        first = min(t(warm) for t in timers.values())
        if first > self.single_run:
            timed, note = [warm], "one run (over %g s)" % self.single_run
        else:
            count = runs if first <= SLOW_RUN else min(runs, 3)
            timed, note = [self.run_once(command, output) for _ in range(count)], ""
        settle_output(output, keep)
        return summarize(timed, timers, note)

    def measure_interleaved(self, first, make_second, runs):
        """Two commands timed in alternation, a run of the first then one of
        the second, so that a change of the machine's speed during the
        measurement (other virtual machines, memory pressure) weighs on both
        alike: their ratio is what the benchmark judges. `first` is (command,
        output, keep); `make_second(warm_run_of_first)` gives the second's
        (command, output), so that it can depend on the first's output size.
        Each gets a warm-up; returns the two "time" Results (own timer)."""
        command, output, keep = first
        warm = self.run_once(command, output)
        second_command, second_output = make_second(warm)
        self.run_once(second_command, second_output)
        timed, second_timed = [], []
        for _ in range(runs):
            timed.append(self.run_once(command, output))
            second_timed.append(self.run_once(second_command, second_output))
        settle_output(output, keep)
        settle_output(second_output, None)
        own = {"time": lambda r: r.reported()}
        return summarize(timed, own, "")["time"], summarize(second_timed, own, "")["time"]


def settle_output(output, keep):
    """The last output moved to `keep`, if given, else removed."""
    if keep:
        os.replace(output, keep)
    elif os.path.exists(output):
        os.remove(output)


def summarize(timed, timers, note):
    """One Result per timer over the timed runs."""
    results = {}
    for name, timer in timers.items():
        times = [timer(r) for r in timed]
        results[name] = Result(statistics.median(times), len(timed), max(r.max_rss_kib for r in timed),
                               timed[-1].output_bytes, note, times)
    return results
