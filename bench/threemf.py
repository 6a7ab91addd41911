"""The 3MF benchmark: Ombrel's 3MF export (with and without vertex colours)
beside its binary STL export of the same scene, and assimp's 3MF exporter
(`assimp export IN OUT.3mf`) on the same mesh, each timed with its output's
size and its peak memory (bench_rusage). Scenes are those of the main
benchmark (`vekgen scene --faces N --files 4 --seed 1`, shared with it in
the scratch directory, $OMBREL_BENCH_DIR or by default /dev/shm/ombrel-bench
when it has room). Writes bench/results-3mf.md.

assimp reads the binary STL of the scene that Ombrel wrote: from the PLY
files the other peers read (`vekgen ply`), assimp 5.2's 3MF exporter writes a
model without any object (it exports the meshes of the root's child nodes,
and its PLY importer puts the mesh on the root node itself). Every 3MF file
written is checked for its triangle count.

Usage: threemf.py [--build DIR] [--sizes 1M,10M] [--runs N]
The programs must be built first: bench_3mf, bench_rusage and vekgen, in the
build directory (default build/native):
    cmake --build build/native --target bench_3mf bench_rusage vekgen
"""
import argparse
import json
import os
import shutil
import sys
import time
import zipfile

import bench as main_bench
from measure import RunFailed, Runner
import report
from scenes import Scene, say, scratch_directory

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SIZES = {"100k": 100_000, "1M": 1_000_000, "10M": 10_000_000}
# assimp runs at 10M only when ten times its 1M time stays within this.
ASSIMP_LIMIT_10M = 240.0
# Ombrel's exports: mode of bench_3mf, the table's name, extension.
OWN = [("stl", "Ombrel binary STL", ".stl"), ("3mf", "Ombrel 3MF", ".3mf"),
       ("3mf-colors", "Ombrel 3MF with colours", ".3mf")]


def triangles_in(path):
    """The <triangle> elements of a 3MF file's model, counted as it is read
    (the last 9 bytes of each piece, too short to hold one, start the next)."""
    pattern = b"<triangle "
    with zipfile.ZipFile(path) as package:
        model = next(n for n in package.namelist() if n.lower().endswith(".model"))
        count, tail = 0, b""
        with package.open(model) as stream:
            for chunk in iter(lambda: stream.read(1 << 22), b""):
                text = tail + chunk
                count += text.count(pattern)
                tail = text[-(len(pattern) - 1):]
        return count


def row(name, result, stl_seconds):
    ratio = result.seconds / stl_seconds if stl_seconds else 0
    return "| %s | %.3f | %d | %.1f | %.1f | %.2f | %s |" % (
        name, result.seconds, result.runs, result.output_bytes / 1e6, result.rss_mib, ratio, result.note)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "native"))
    parser.add_argument("--sizes", default="1M,10M")
    parser.add_argument("--runs", type=int, default=3)
    args = parser.parse_args()
    build = os.path.abspath(args.build)
    bench_3mf = os.path.join(build, "bench", "bench_3mf")
    rusage = os.path.join(build, "bench", "bench_rusage")
    vekgen = os.path.join(build, "tools", "vekgen", "vekgen")
    for program in (bench_3mf, rusage, vekgen):
        if not os.path.exists(program):
            sys.exit("threemf.py: %s is missing; build bench_3mf, bench_rusage and vekgen first" % program)
    reused = ["out-3mf"] + [os.path.join("scenes", label) for label in args.sizes.split(",")]
    scratch, scratch_note = scratch_directory(main_bench.SCRATCH_NEED, reused)
    if scratch_note:
        say(scratch_note)
    out_root = os.path.join(scratch, "out-3mf")
    shutil.rmtree(out_root, ignore_errors=True)
    os.makedirs(out_root)
    started = time.time()
    environment = report.machine(ROOT, "python3 bench/threemf.py --sizes %s --runs %d" % (args.sizes, args.runs),
                                 scratch)
    runner = Runner(rusage, main_bench.SINGLE_RUN)
    own_time = {"time": lambda r: r.reported()}
    assimp_timers = {"assimp 3MF (wall, includes its STL import)": lambda r: r.wall,
                     "assimp 3MF export step (its own timer)": lambda r: r.assimp_export_step()}
    have_assimp = shutil.which("assimp") is not None
    tables, data, assimp_1m = [], {}, None
    for label in args.sizes.split(","):
        scene = Scene(scratch, label, SIZES[label], main_bench.FILES, vekgen)
        results, notes = {}, []
        stl_file = os.path.join(out_root, "scene.stl")
        for mode, name, extension in OWN:
            output = os.path.join(out_root, mode + extension)
            kept = stl_file if mode == "stl" else os.path.join(out_root, "kept" + extension)
            results[name] = runner.measure([bench_3mf, mode, output] + scene.files, output, args.runs, own_time,
                                           kept)["time"]
            main_bench.describe(label, name, results[name])
            if mode != "stl":
                notes.append("%s: %d triangles in the file" % (name, triangles_in(kept)))
                os.remove(kept)
        if not have_assimp:
            notes.append("assimp is not installed (Debian package assimp-utils)")
        elif label == "10M" and (assimp_1m is None or 10 * assimp_1m > ASSIMP_LIMIT_10M):
            notes.append("assimp not run at 10M: ten times its 1M time is over %.0f s" % ASSIMP_LIMIT_10M
                         if assimp_1m else "assimp not run at 10M: not measured at 1M")
        else:
            output = os.path.join(out_root, "assimp.3mf")
            try:
                measured = runner.measure(["assimp", "export", stl_file, output, "-f3mf"], output, args.runs,
                                          assimp_timers, output + ".kept")
                notes.append("assimp 3MF: %d triangles in the file" % triangles_in(output + ".kept"))
                os.remove(output + ".kept")
                for name, result in measured.items():
                    results[name] = result
                    main_bench.describe(label, name, result)
                if label == "1M":
                    assimp_1m = next(iter(measured.values())).seconds
            except RunFailed as failure:
                notes.append("assimp failed: %s" % str(failure)[:300])
        os.remove(stl_file)
        stl = results["Ombrel binary STL"].seconds
        lines = ["### %s faces, 4 files" % label, "",
                 "| export | median s | runs | output MB | peak RSS MiB | time / binary STL | note |",
                 "|---|---:|---:|---:|---:|---:|---|"]
        lines += [row(name, result, stl) for name, result in results.items()]
        lines += [""] + ["- " + note for note in notes] + [""]
        tables.append("\n".join(lines))
        data[label] = {name: vars(result) for name, result in results.items()}
    environment["total_seconds"] = time.time() - started
    environment["load_after"] = report.load_average()
    text = ["# 3MF benchmark results", "",
            "Written by `bench/threemf.py`; see BENCHMARKS.md, section 3MF.", "",
            "- date: %s" % environment["date"],
            "- machine: %s, %s processors, %s" % (environment["cpu"], environment["nproc"], environment["memory"]),
            "- compiler: %s" % environment["compiler"],
            "- revision: %s" % environment["revision"],
            "- command: `%s`" % environment["command"],
            "- scratch: %s%s" % (environment["scratch"], "; " + scratch_note if scratch_note else ""),
            "- load average before / after: %s / %s" % (environment["load_before"], environment["load_after"]),
            "- total time: %.1f min" % (environment["total_seconds"] / 60), ""] + tables
    with open(os.path.join(ROOT, "bench", "results-3mf.md"), "w") as f:
        f.write("\n".join(text) + "\n")
    with open(os.path.join(scratch, "results-3mf.json"), "w") as f:
        json.dump({"environment": environment, "scenes": data}, f, indent=1)
    say("report written to bench/results-3mf.md")
    return 0


if __name__ == "__main__":
    sys.exit(main())
