"""Sculpt-sized scenes through the 32-bit build: a 30M-face scene in one Vek
file and a 40M-face scene in four, each exported as binary STL and as VRML
with colours by the 32-bit library (in the 32-bit bench_export) and by the
64-bit one. Every export runs once under bench_rusage (wall time, the
export's own time, peak RSS); its output is hashed (sha256) and deleted
before the next export starts, so that only one output, up to about 11 GB,
is on disk at a time. The two builds' hashes must be equal. The memory
target is checked per export: peak RSS at most 24 bytes per point of the
scene's largest file, plus 64 MiB. Writes bench/results-sculpt.md.

Builds nothing; the programs must exist (the command to build them is
printed when one is missing). Scenes are generated into the scratch
directory ($OMBREL_BENCH_DIR, else /dev/shm/ombrel-bench when it has room,
else /tmp/ombrel-bench) and reused while vekgen is unchanged.

Usage: sculpt.py [--quick] [--keep-scenes]
  --quick        the same at a tenth of the size (3M faces in one file, 4M in four)
  --keep-scenes  leave the generated scenes in the scratch directory for the
                 next run (by default they are removed at the end: on tmpfs
                 their 4.4 GB of memory would slow every later benchmark)
Exit status: 0; 1 when an export fails or the builds' outputs differ; 2 when
a program is missing or the scratch directory is short of room.
"""
import argparse
import os
import shutil
import sys
import time

from measure import RunFailed, Runner
import report
from scenes import GB, ROOT, VEKGEN, Scene, file_digest, room_in, say, scratch_directory

M32, NATIVE = os.path.join(ROOT, "build", "m32"), os.path.join(ROOT, "build", "native")
BENCH_RUSAGE = os.path.join(NATIVE, "bench", "bench_rusage")
# name, library, bench_export: the 32-bit build first, the 64-bit one as the reference.
BUILDS = [("32-bit", os.path.join(M32, "libombrel.so"), os.path.join(M32, "bench", "bench_export")),
          ("64-bit", os.path.join(NATIVE, "libombrel.so"), os.path.join(NATIVE, "bench", "bench_export"))]
BUILD_COMMANDS = ["cmake --build build/m32 --target ombrel bench_export",
                  "cmake --build build/native --target ombrel bench_export bench_rusage vekgen"]

# label, faces, files
SCENES = [("30M-1file", 30_000_000, 1), ("40M-4files", 40_000_000, 4)]
QUICK_SCENES = [("3M-1file", 3_000_000, 1), ("4M-4files", 4_000_000, 4)]
MODES = [("stl-binary", ".stl"), ("vrml-colors", ".wrl")]

MIB = 1024 * 1024
BYTES_PER_POINT, MEMORY_ALLOWANCE = 24, 64 * MIB
# For the room check: a generated scene takes about 63 bytes a face, the
# largest output (VRML with colours) about 270; both rounded up, plus a margin.
SCENE_BYTES_PER_FACE, OUTPUT_BYTES_PER_FACE, MARGIN = 72, 300, 0.5 * GB
OUT_DIR = "out-sculpt"
HASH_SHOWN = 16  # hex digits of the sha256 in the report


def programs_missing():
    programs = [p for _, library, export in BUILDS for p in (library, export)] + [BENCH_RUSAGE, VEKGEN]
    return [p for p in programs if not os.path.exists(p)]


def is_32_bit(path):
    """Whether an ELF file is a 32-bit one (its class byte)."""
    with open(path, "rb") as f:
        return f.read(5)[4:] == b"\x01"


def choose_scratch(sizes):
    """The scratch directory and its note; exits when it is short of room."""
    need = sum(faces * SCENE_BYTES_PER_FACE for _, faces, _ in sizes)
    need += max(faces for _, faces, _ in sizes) * OUTPUT_BYTES_PER_FACE + MARGIN
    reused = [OUT_DIR] + [os.path.join("scenes", label) for label, _, _ in sizes]
    scratch, note = scratch_directory(need, reused)
    room = room_in(scratch, reused)
    if room < need:
        sys.exit("sculpt.py: %s has room for %.1f GB (free space, and this run's earlier files there); the scenes "
                 "and the largest output need about %.1f GB. Free some space or set OMBREL_BENCH_DIR to a "
                 "larger file system." % (scratch, room / GB, need / GB))
    return scratch, note


def memory_limit(scene):
    return scene.largest_points * BYTES_PER_POINT + MEMORY_ALLOWANCE


def export_once(runner, build, scene, mode, output):
    """One export by one build: a row of the table, with the output's sha256
    (the output is deleted), or with the error when the export failed."""
    name, library, export = build
    row = {"scene": scene.label, "mode": mode, "build": name}
    try:
        run = runner.run_once([export, library, mode, output] + scene.files, output)
    except RunFailed as failure:
        if os.path.exists(output):
            os.remove(output)
        row["error"] = str(failure)
        say("[%s] %s %s: FAILED %s" % (scene.label, mode, name, row["error"][:500]))
        return row
    row.update(wall=run.wall, seconds=run.reported(), rss=run.max_rss_kib * 1024, bytes=run.output_bytes,
               sha256=file_digest(output))
    os.remove(output)
    row["memory_ok"] = row["rss"] <= memory_limit(scene)
    say("[%s] %-11s %s  %8.2f s wall  %8.2f s export  %8.1f MiB (limit %.1f, %s)  %.2f GB  %s" % (
        scene.label, mode, name, row["wall"], row["seconds"], row["rss"] / MIB, memory_limit(scene) / MIB,
        "PASS" if row["memory_ok"] else "FAIL", row["bytes"] / GB, row["sha256"][:HASH_SHOWN]))
    return row


def compare_builds(runner, scene, mode, out_dir):
    """The mode's export by every build; each row gets `identical`, whether
    all builds exported successfully and wrote the same bytes."""
    extension = dict(MODES)[mode]
    rows = [export_once(runner, build, scene, mode, os.path.join(out_dir, "sculpt" + extension))
            for build in BUILDS]
    identical = all("sha256" in r for r in rows) and len({r["sha256"] for r in rows}) == 1
    for row in rows:
        row["identical"] = identical
    return rows


def markdown(environment, scenes, rows):
    lines = ["# Sculpt-sized scenes through the 32-bit build", "",
             "Written by `bench/sculpt.py`; see bench/README.md.", "",
             "- date: %s" % environment["date"],
             "- machine: %s, %s processors, %s, kernel %s" % (environment["cpu"], environment["nproc"],
                                                              environment["memory"], environment["kernel"]),
             "- compiler: %s" % environment["compiler"],
             "- revision: %s" % environment["revision"],
             "- command: `%s`" % environment["command"],
             "- scratch: %s%s" % (environment["scratch"],
                                  "; " + environment["scratch_note"] if environment["scratch_note"] else ""),
             "- load average before / after: %s / %s" % (environment["load_before"], environment["load_after"]),
             "- total time: %.1f min" % (environment["total_seconds"] / 60), "", "## Scenes", "",
             "| scene | faces | files | points of the largest file | memory target |",
             "|---|---:|---:|---:|---:|"]
    lines += ["| %s | %s | %d | %s | %.1f MiB |" % (s.label, format(s.faces, ","), len(s.files),
                                                   format(s.largest_points, ","), memory_limit(s) / MIB)
              for s in scenes]
    lines += ["", "Memory target: peak RSS at most %d bytes per point of the scene's largest file + %d MiB." % (
        BYTES_PER_POINT, MEMORY_ALLOWANCE // MIB), "", "## Exports", "",
        "| scene | mode | build | wall s | export s | output GB | peak RSS MiB | memory target | sha256 | "
        "identical |", "|---|---|---|---:|---:|---:|---:|---|---|---|"]
    limits = {s.label: memory_limit(s) for s in scenes}
    for r in rows:
        if "error" in r:
            lines.append("| %s | %s | %s | failed: %s | | | | | | **no** |" % (
                r["scene"], r["mode"], r["build"], r["error"].replace("\n", " ").replace("|", "/")[:300]))
            continue
        lines.append("| %s | %s | %s | %.2f | %.2f | %.2f | %.1f | %s (%.1f MiB) | %s | %s |" % (
            r["scene"], r["mode"], r["build"], r["wall"], r["seconds"], r["bytes"] / GB, r["rss"] / MIB,
            "PASS" if r["memory_ok"] else "FAIL", limits[r["scene"]] / MIB, r["sha256"][:HASH_SHOWN],
            "yes" if r["identical"] else "**no**"))
    lines += ["", "Each export runs once, through `bench_rusage` (wall time and peak RSS from `wait4`); \"export "
              "s\" is `bench_export`'s own figure, from InitExporter to the return of the export. \"identical\": "
              "the 32-bit and 64-bit outputs have the same sha256 (the first %d hex digits shown)." % HASH_SHOWN]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--quick", action="store_true", help="3M faces in one file and 4M in four")
    parser.add_argument("--keep-scenes", action="store_true", help="leave the generated scenes for the next run")
    args = parser.parse_args()
    started = time.time()
    missing = programs_missing()
    if missing:
        say("sculpt.py: missing:\n  " + "\n  ".join(missing) + "\nbuild them with:\n  " + "\n  ".join(BUILD_COMMANDS))
        return 2
    if not is_32_bit(BUILDS[0][2]):
        say("sculpt.py: %s is not a 32-bit program; build/m32 must be the -m32 build" % BUILDS[0][2])
        return 2
    sizes = QUICK_SCENES if args.quick else SCENES
    scratch, note = choose_scratch(sizes)
    say("scratch directory %s" % scratch + ("\n" + note if note else ""))
    out_dir = os.path.join(scratch, OUT_DIR)
    shutil.rmtree(out_dir, ignore_errors=True)
    os.makedirs(out_dir)
    environment = report.machine(ROOT, "python3 bench/sculpt.py" + (" --quick" if args.quick else ""), scratch)
    environment["scratch_note"] = note
    runner = Runner(BENCH_RUSAGE, 0)
    scenes, rows = [], []
    for label, faces, files in sizes:
        scene = Scene(scratch, label, faces, files)
        scenes.append(scene)
        for mode, _ in MODES:
            rows += compare_builds(runner, scene, mode, out_dir)
    shutil.rmtree(out_dir, ignore_errors=True)
    if not args.keep_scenes:
        for scene in scenes:
            shutil.rmtree(scene.dir, ignore_errors=True)
    environment["total_seconds"] = time.time() - started
    environment["load_after"] = report.load_average()
    with open(os.path.join(ROOT, "bench", "results-sculpt.md"), "w") as f:
        f.write(markdown(environment, scenes, rows))
    failed = [r for r in rows if not r["identical"]]
    say("memory target: %d of %d exports within it" % (sum(r.get("memory_ok", False) for r in rows), len(rows)))
    say("builds compared: %d exports, %d failed or different; report written to bench/results-sculpt.md" % (
        len(rows), len(failed)))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
