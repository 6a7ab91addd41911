"""The benchmark driver: generates the scenes, measures Ombrel's exports, the
I/O floor, the printf baseline and the peer tools on them, compares every kept
export with what ombrel_model (tests/model, the model of the export script
calls) writes for the same calls, and writes the report. bench/run.sh builds
the programs and calls it; see bench/README.md.

Usage: bench.py [--quick] [--started-at EPOCH]
Exit status: 0, or 1 when an output differs from the model's or a benchmark
program of the project fails.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import time

from measure import RunFailed, Runner
import report
from scenes import GB, ROOT, VEKGEN, Scene, say, scratch_directory

NATIVE = os.path.join(ROOT, "build", "native")
LIBRARY = os.path.join(NATIVE, "libombrel.so")
MODEL = os.path.join(NATIVE, "tests", "model", "ombrel_model")
BENCH_EXPORT = os.path.join(NATIVE, "bench", "bench_export")
BENCH_FLOOR = os.path.join(NATIVE, "bench", "bench_io_floor")
BENCH_PRINTF = os.path.join(NATIVE, "bench", "bench_printf")
BENCH_RUSAGE = os.path.join(NATIVE, "bench", "bench_rusage")
PEERS_SCRIPT = os.path.join(ROOT, "bench", "peers.py")
PYTHON = "/usr/bin/python3"

FILES, HEIGHT = 4, 100
# label, faces, timed runs after the warm-up, and of them the peers' and the
# printf baseline's. Ombrel's exports and the I/O floors get every run (five
# at 10M: writing gigabytes, both sides meet the virtual machine's memory in
# varying states, and the median needs the runs); peers and the printf
# baseline fewer when slow (see measure.py), and at most QUICK_PEER_RUNS in
# quick mode.
SCENES = [("100k", 100_000, 7, 7), ("1M", 1_000_000, 7, 7), ("10M", 10_000_000, 5, 3)]
QUICK_SCENES = SCENES[:2]
QUICK_PEER_RUNS = 3
# A peer whose warm-up takes longer than this is measured by that run alone.
SINGLE_RUN, QUICK_SINGLE_RUN = 20.0, 5.0
# Room the scratch directory needs (scenes, PLY files, the outputs kept for
# the model's check and the largest output), full and quick.
SCRATCH_NEED, QUICK_SCRATCH_NEED = 8 * GB, 2 * GB

# Ombrel's measured exports: mode, file extension, kind of I/O floor.
EXPORTS = [("bounds", ".box", "bounds"), ("stl-binary", ".stl", "stl"), ("stl-ascii", ".stl", "stl"),
           ("vrml", ".wrl", "vrml"), ("vrml-colors", ".wrl", "vrml")]
PRINTF_MODES = ("stl-ascii", "vrml", "vrml-colors")
# The exports the model writes too (it has no scene-bounds pass), and those
# of them compared at 10M (all of them at the smaller sizes).
MODEL_MODES = ("stl-binary", "stl-ascii", "vrml", "vrml-colors")
MODEL_10M = ("stl-binary",)
# At 10M a peer (or the printf baseline) runs only when ten times its 1M
# median stays within this many seconds.
LIMIT_10M = 20.0


def peer_table():
    """Per export mode: (label, program, PLY kind, arguments of IN and OUT, timers)."""
    own = {"time": lambda r: r.reported()}
    assimp = {"assimp CLI (wall, includes PLY import)": lambda r: r.wall,
              "assimp export step (its own timer)": lambda r: r.assimp_export_step()}

    def script(peer):
        return lambda i, o: [PYTHON, PEERS_SCRIPT, peer, i, o]

    return {
        "stl-binary": [("assimp", "assimp", "tri", lambda i, o: ["assimp", "export", i, o, "-fstlb"], assimp),
                       ("numpy-stl", "stl", "tri", script("numpy-stl-binary"), own),
                       ("meshio", "meshio", "tri", script("meshio-binary"), own)],
        "stl-ascii": [("assimp", "assimp", "tri", lambda i, o: ["assimp", "export", i, o, "-fstl"], assimp),
                      ("numpy-stl", "stl", "tri", script("numpy-stl-ascii"), own),
                      ("meshio", "meshio", "tri", script("meshio-ascii"), own)],
        "vrml": [("VTK vtkVRMLExporter", "vtk", "poly", script("vtk-vrml"), own)],
        "vrml-colors": [("VTK vtkVRMLExporter", "vtk", "poly", script("vtk-vrml-colors"), own)],
    }


def available(program):
    """Whether a peer's program (assimp) or Python module is installed."""
    if program == "assimp":
        return shutil.which("assimp") is not None
    return subprocess.run([PYTHON, "-c", "import " + program], capture_output=True).returncode == 0


def describe(label, what, result):
    say("[%s] %-44s %2d run%s  median %9.4f s  %8.1f MB/s  %7.1f MiB%s" %
        (label, what, result.runs, "" if result.runs == 1 else "s", result.seconds,
         result.output_bytes / 1e6 / result.seconds if result.seconds > 0 else 0, result.rss_mib,
         "  (" + result.note + ")" if result.note else ""))


def entry_name(peer, timer):
    """A peer's row: its name, or the timer's own name when it has several."""
    return peer if timer == "time" else timer


class SceneBench:
    """Everything measured on one scene, gathered into `data`; `earlier`
    holds the previous scene's data, for the time budget of slow items at 10M."""

    OWN_TIME = {"time": lambda r: r.reported()}

    def __init__(self, runner, scene, runs, peer_runs, out_dir, data, earlier):
        self.runner, self.scene, self.data, self.earlier = runner, scene, data, earlier
        self.runs, self.peer_runs = runs, peer_runs
        self.out_dir = out_dir
        self.keep_dir = os.path.join(out_dir, "kept")
        os.makedirs(self.keep_dir)
        self.installed = {}

    def run(self):
        peers = peer_table()
        for mode, extension, floor_kind in EXPORTS:
            self.ombrel_and_floor(mode, extension, floor_kind)
            if mode in PRINTF_MODES:
                self.printf(mode, extension)
            for peer in peers.get(mode, []):
                self.peer(mode, extension, *peer)

    def label(self):
        return self.scene.label

    def fits(self, kind, mode, name):
        """Whether a slow item fits the time budget, and why not."""
        if self.label() != "10M":
            return True, ""
        before = self.earlier.get(kind, {}).get(mode, {}).get(name) if self.earlier else None
        if not before or "seconds" not in before:
            return False, "skipped: not measured at 1M"
        if 10 * before["seconds"] > LIMIT_10M:
            return False, "skipped: 10 x its 1M time is %.0f s, over the %.0f s budget" % (
                10 * before["seconds"], LIMIT_10M)
        return True, ""

    def ombrel_and_floor(self, mode, extension, kind):
        """The export and its I/O floor, timed in alternation; returns the
        export's output size."""
        output = os.path.join(self.out_dir, "ombrel-" + mode + extension)
        keep = None
        if mode in MODEL_MODES and (self.label() != "10M" or mode in MODEL_10M):
            keep = os.path.join(self.keep_dir, "ombrel-" + mode + extension)
        command = [BENCH_EXPORT, LIBRARY, mode, output] + self.scene.files
        floor_output = os.path.join(self.out_dir, "floor" + extension)

        def floor_command(warm):
            return [BENCH_FLOOR, kind, str(warm.output_bytes), floor_output] + self.scene.files, floor_output

        result, floor = self.runner.measure_interleaved((command, output, keep), floor_command, self.runs)
        describe(self.label(), "Ombrel " + mode, result)
        describe(self.label(), "I/O floor for " + mode, floor)
        self.data["ombrel"][mode] = vars(result)
        self.data["floor"][mode] = vars(floor)
        return result.output_bytes

    def printf(self, mode, extension):
        entries = self.data["printf"].setdefault(mode, {})
        ok, why = self.fits("printf", mode, "printf")
        if not ok:
            say("[%s] printf baseline %s %s" % (self.label(), mode, why))
            entries["printf"] = {"skipped": why}
            return
        output = os.path.join(self.out_dir, "printf" + extension)
        command = [BENCH_PRINTF, mode, output] + self.scene.files
        result = self.runner.measure(command, output, self.peer_runs, self.OWN_TIME)["time"]
        describe(self.label(), "printf baseline " + mode, result)
        entries["printf"] = vars(result)

    def peer(self, mode, extension, name, program, ply_kind, arguments, timers):
        entries = self.data["peers"].setdefault(mode, {})

        def skip(why):
            for timer in timers:
                entries[entry_name(name, timer)] = {"skipped": why}
            say("[%s] %s %s %s" % (self.label(), name, mode, why))

        if program not in self.installed:
            self.installed[program] = available(program)
        if not self.installed[program]:
            return skip("not installed")
        ok, why = self.fits("peers", mode, entry_name(name, next(iter(timers))))
        if not ok:
            return skip(why)
        output = os.path.join(self.out_dir, "peer" + extension)
        try:
            results = self.runner.measure(arguments(self.scene.ply(ply_kind, HEIGHT), output), output,
                                          self.peer_runs, timers)
        except RunFailed as failure:
            return skip("failed: " + str(failure)[:300])
        for timer, result in results.items():
            describe(self.label(), entry_name(name, timer) + " " + mode, result)
            entries[entry_name(name, timer)] = vars(result)


def model_check(runner, scenes, keep_dirs, out_root):
    """Writes the kept exports again with the model of the script calls and
    compares the bytes. Returns the list of comparisons."""
    checks = []
    for scene in scenes:
        for mode, extension, _ in EXPORTS:
            kept = os.path.join(keep_dirs[scene.label], "ombrel-" + mode + extension)
            if not os.path.exists(kept):
                continue
            expected = os.path.join(out_root, scene.label, "model-" + mode + extension)
            run = runner.run_once([MODEL, mode, str(HEIGHT), expected] + scene.files, expected)
            same = subprocess.run(["cmp", "-s", kept, expected]).returncode == 0
            checks.append({"scene": scene.label, "mode": mode, "bytes": os.path.getsize(kept),
                           "model_bytes": run.output_bytes, "identical": same, "model_seconds": run.wall})
            say("[%s] model, %-12s %s (%.2f s)" % (scene.label, mode, "identical" if same else "DIFFERENT", run.wall))
            if same:
                os.remove(kept)
                os.remove(expected)
            else:
                say("    kept for inspection: %s %s" % (kept, expected))
    return checks


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--quick", action="store_true",
                        help="100k and 1M only; peers and the printf baseline at most %d runs" % QUICK_PEER_RUNS)
    parser.add_argument("--started-at", type=float, help="when the command started (for the total time)")
    args = parser.parse_args()
    started = args.started_at or time.time()

    sizes = QUICK_SCENES if args.quick else SCENES
    reused = ["out"] + [os.path.join("scenes", label) for label, _, _, _ in sizes]
    scratch, scratch_note = scratch_directory(QUICK_SCRATCH_NEED if args.quick else SCRATCH_NEED, reused)
    if os.path.commonpath([scratch, ROOT]) == ROOT:
        sys.exit("bench.py: the scratch directory %s is inside the repository" % scratch)
    out_root = os.path.join(scratch, "out")
    shutil.rmtree(out_root, ignore_errors=True)
    for program in (LIBRARY, MODEL, VEKGEN, BENCH_EXPORT, BENCH_FLOOR, BENCH_PRINTF, BENCH_RUSAGE):
        if not os.path.exists(program):
            sys.exit("bench.py: %s is missing; run bench/run.sh, which builds it" % program)
    say("scratch directory %s" % scratch + ("\n" + scratch_note if scratch_note else ""))

    os.makedirs(scratch, exist_ok=True)
    environment = report.machine(ROOT, "bash bench/run.sh" + (" --quick" if args.quick else ""), scratch)
    environment["scratch_note"] = scratch_note
    runner = Runner(BENCH_RUSAGE, QUICK_SINGLE_RUN if args.quick else SINGLE_RUN)
    environment["launcher_rss_kib"] = runner.run_once(["true"]).max_rss_kib
    scenes, keep_dirs, measured = [], {}, []
    failed = None
    try:
        previous = None
        for label, faces, runs, peer_runs in sizes:
            scene = Scene(scratch, label, faces, FILES)
            data = {"label": label, "faces": faces, "files": FILES, "largest_arrays": scene.largest_arrays,
                    "ombrel": {}, "floor": {}, "printf": {}, "peers": {}}
            if args.quick:
                peer_runs = min(peer_runs, QUICK_PEER_RUNS)
            measured_scene = SceneBench(runner, scene, runs, peer_runs, os.path.join(out_root, label), data,
                                        previous)
            measured_scene.run()
            keep_dirs[label] = measured_scene.keep_dir
            scenes.append(scene)
            measured.append(data)
            previous = data
        say("comparing with the model of the script calls (%s)" % MODEL)
        checks = model_check(runner, scenes, keep_dirs, out_root)
    except RunFailed as failure:
        failed = str(failure)
        checks = []
        say("FAILED: " + failed)

    environment["total_seconds"] = time.time() - started
    environment["load_after"] = report.load_average()
    targets = report.targets(measured, args.quick)
    markdown = report.markdown(environment, measured, checks, targets, failed)
    with open(os.path.join(ROOT, "bench", "results.md"), "w") as f:
        f.write(markdown)
    with open(os.path.join(scratch, "results.json"), "w") as f:
        json.dump({"environment": environment, "scenes": measured, "checks": checks, "targets": targets}, f,
                  indent=1)

    say("")
    for target in targets:
        say("target %-4s %s: %s (%s)" % (target["result"], target["scene"], target["target"], target["measured"]))
    different = [c for c in checks if not c["identical"]]
    say("byte-exact check: %d outputs compared, %d different" % (len(checks), len(different)))
    say("total time %.1f min; report written to bench/results.md" % (environment["total_seconds"] / 60))
    if failed or different or not checks:
        say("BENCHMARK FAILED")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
