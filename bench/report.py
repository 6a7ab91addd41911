"""The benchmark's targets and its markdown report (bench/results.md)."""
import os
import platform
import subprocess
import time

MIB = 1024 * 1024
MEMORY_ALLOWANCE = 64 * MIB

EXPORT_NAMES = {"bounds": "scene-bounds pass", "stl-binary": "binary STL", "stl-ascii": "ASCII STL",
                "vrml": "VRML", "vrml-colors": "VRML with colours"}
# The exports with targets (the scene-bounds pass is reported for information).
TARGET_MODES = ("stl-binary", "stl-ascii", "vrml", "vrml-colors")

# Median time over the median of the export's own I/O floor, at these sizes.
FLOOR_LIMITS = {"stl-binary": 1.3, "stl-ascii": 2.0, "vrml": 1.6, "vrml-colors": 1.8}
FLOOR_SCENES = ("1M", "10M")
# Speed-up over a peer: mode, factor, peer (None: the fastest measured), at
# these sizes.
PEER_TARGETS = (("stl-ascii", 10, None), ("vrml", 5, "VTK"), ("vrml-colors", 5, "VTK"))
PEER_SCENES = ("100k", "1M")
# Time per face at the largest size over that at each smaller one.
GROWTH_LIMIT = 1.2
GROWTH_TOP, GROWTH_BASES = "10M", ("100k", "1M")


def load_average():
    return "%.2f %.2f %.2f" % os.getloadavg()


def _first_line(command):
    try:
        return subprocess.run(command, capture_output=True, text=True).stdout.splitlines()[0]
    except (OSError, IndexError):
        return "?"


def _sysctl(name):
    with open("/proc/sys/vm/" + name) as f:
        return f.read().strip()


def machine(root, command, scratch):
    """The facts about the machine and the sources that the report starts with."""
    cpu = "?"
    with open("/proc/cpuinfo") as f:
        for line in f:
            if line.startswith("model name"):
                cpu = line.split(":", 1)[1].strip()
                break
    with open("/proc/meminfo") as f:
        memory = next(line.split(":", 1)[1].strip() for line in f if line.startswith("MemTotal"))
    revision = _first_line(["git", "-C", root, "rev-parse", "--short", "HEAD"])
    dirty = subprocess.run(["git", "-C", root, "status", "--porcelain", "--untracked-files=no"],
                           capture_output=True, text=True).stdout.strip()
    return {"date": time.strftime("%Y-%m-%d %H:%M:%S %Z"), "cpu": cpu, "nproc": _first_line(["nproc"]),
            "memory": memory, "kernel": platform.release(), "compiler": _first_line(["g++", "--version"]),
            "revision": revision + (" with uncommitted changes" if dirty else ""), "command": command,
            "load_before": load_average(),
            "scratch": "%s (%s)" % (scratch, _first_line(["findmnt", "-n", "-o", "FSTYPE", "-T", scratch])),
            "dirty": "vm.dirty_background_ratio %s, vm.dirty_ratio %s" % (_sysctl("dirty_background_ratio"),
                                                                          _sysctl("dirty_ratio"))}


def _measured(entry):
    return entry is not None and "seconds" in entry


def fastest_peer(scene, mode, name=None):
    """(name, seconds) of the fastest measured peer of an export (of those
    whose name starts with `name`, when given), or None."""
    found = [(e["seconds"], peer) for peer, e in scene["peers"].get(mode, {}).items()
             if _measured(e) and (name is None or peer.startswith(name))]
    return (min(found)[1], min(found)[0]) if found else None


def _printf(scene, mode):
    entry = scene["printf"].get(mode, {}).get("printf")
    return entry if _measured(entry) else None


def memory_limit(scene):
    return scene["largest_arrays"] + MEMORY_ALLOWANCE


def floor_ratio(scene, mode):
    return scene["ombrel"][mode]["seconds"] / scene["floor"][mode]["seconds"]


def per_face(scene, mode):
    return scene["ombrel"][mode]["seconds"] / scene["faces"]


def growth(scenes):
    """Per export: {base label: time per face at GROWTH_TOP over that at the
    base}, for the bases measured; empty without GROWTH_TOP."""
    by = {s["label"]: s for s in scenes}
    if GROWTH_TOP not in by:
        return {}
    top = by[GROWTH_TOP]
    return {mode: {base: per_face(top, mode) / per_face(by[base], mode) for base in GROWTH_BASES if base in by}
            for mode in top["ombrel"]}


def targets(scenes, quick):
    """Every target with its measured value and PASS, FAIL or n/a."""
    out = []
    not_measured = "not measured (quick mode)" if quick else "not measured"

    def add(target, scene, measured, ok):
        out.append({"target": target, "scene": scene, "measured": measured,
                    "result": "n/a" if ok is None else "PASS" if ok else "FAIL"})

    by = {s["label"]: s for s in scenes}
    for label in FLOOR_SCENES:
        for mode in TARGET_MODES:
            target = "%s at most %.1fx its I/O floor" % (EXPORT_NAMES[mode], FLOOR_LIMITS[mode])
            if label in by:
                ratio = floor_ratio(by[label], mode)
                add(target, label, "%.2fx the floor" % ratio, ratio <= FLOOR_LIMITS[mode])
            else:
                add(target, label, not_measured, None)
    for label in PEER_SCENES:
        for mode, factor, name in PEER_TARGETS:
            target = "%s at least %dx faster than %s" % (EXPORT_NAMES[mode], factor, name or "the fastest peer")
            peer = fastest_peer(by[label], mode, name) if label in by else None
            if peer:
                speedup = peer[1] / by[label]["ombrel"][mode]["seconds"]
                add(target, label, "%.1fx faster than %s" % (speedup, peer[0]), speedup >= factor)
            else:
                add(target, label, "no peer measured" if label in by else not_measured, None)
    for scene in scenes:
        worst = max(scene["ombrel"].items(), key=lambda item: item[1]["max_rss_kib"])
        rss = worst[1]["max_rss_kib"] * 1024
        add("peak RSS at most the largest file's arrays + 64 MiB", scene["label"],
            "largest %.1f MiB (%s) of %.1f MiB allowed" % (rss / MIB, EXPORT_NAMES[worst[0]],
                                                           memory_limit(scene) / MIB), rss <= memory_limit(scene))
    rows = growth(scenes)
    if not rows:
        add("every export: %s time per face at most %.1fx the %s figures" % (
            GROWTH_TOP, GROWTH_LIMIT, " and ".join(GROWTH_BASES)), "%s vs smaller" % GROWTH_TOP, not_measured, None)
    for mode in TARGET_MODES if rows else ():
        for base in GROWTH_BASES:
            target = "%s: %s time per face at most %.1fx the %s figure" % (EXPORT_NAMES[mode], GROWTH_TOP,
                                                                            GROWTH_LIMIT, base)
            ratio = rows.get(mode, {}).get(base)
            if ratio is None:
                add(target, "%s vs %s" % (GROWTH_TOP, base), not_measured, None)
            else:
                add(target, "%s vs %s" % (GROWTH_TOP, base), "%.2fx" % ratio, ratio <= GROWTH_LIMIT)
    return out


def _mb(n):
    return "%.1f" % (n / 1e6)


def _rate(entry):
    return "%.0f" % (entry["output_bytes"] / 1e6 / entry["seconds"]) if entry["seconds"] > 0 else "-"


def _table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "|".join("---" for _ in header) + "|"]
    lines += ["| " + " | ".join(str(c) for c in row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def _scene_section(scene):
    label = scene["label"]
    text = ["## Scene %s: %s faces in %d Vek files\n" % (label, format(scene["faces"], ","), scene["files"]),
            "Arrays of the largest file (points x 12 + faces x 16 + UV4 + MRGB bytes): %.1f MiB; "
            "peak memory allowed: %.1f MiB.\n" % (scene["largest_arrays"] / MIB, memory_limit(scene) / MIB)]
    rows = []
    for mode, entry in scene["ombrel"].items():
        peer = fastest_peer(scene, mode)
        baseline = _printf(scene, mode)
        rows.append([EXPORT_NAMES[mode], entry["runs"], "%.4f" % entry["seconds"], _mb(entry["output_bytes"]),
                     _rate(entry) if mode != "bounds" else "-", "%.2f" % floor_ratio(scene, mode),
                     "%.1f (%s)" % (peer[1] / entry["seconds"], peer[0]) if peer else "-",
                     "%.1f" % (baseline["seconds"] / entry["seconds"]) if baseline else "-",
                     "%.1f" % (entry["max_rss_kib"] / 1024),
                     "pass" if entry["max_rss_kib"] * 1024 <= memory_limit(scene) else "FAIL"])
    text.append("### Ombrel\n")
    text.append(_table(["export", "runs", "median s", "output MB", "MB/s", "time / I/O floor",
                        "x faster than fastest peer", "x faster than printf", "peak RSS MiB", "memory target"],
                       rows))
    rows = []
    for mode, entry in scene["floor"].items():
        rows.append(["I/O floor", EXPORT_NAMES[mode], entry["runs"], "%.4f" % entry["seconds"],
                     _mb(entry["output_bytes"]), _rate(entry), "%.1f" % (entry["max_rss_kib"] / 1024), entry["note"]])
    for mode, entries in list(scene["printf"].items()) + list(scene["peers"].items()):
        for name, entry in entries.items():
            program = "printf baseline" if name == "printf" else name
            if _measured(entry):
                rows.append([program, EXPORT_NAMES[mode], entry["runs"], "%.4f" % entry["seconds"],
                             _mb(entry["output_bytes"]), _rate(entry), "%.1f" % (entry["max_rss_kib"] / 1024),
                             entry["note"]])
            else:
                rows.append([program, EXPORT_NAMES[mode], "-", "-", "-", "-", "-", entry["skipped"]])
    text.append("### I/O floor, printf baseline and peers\n")
    text.append(_table(["program", "export", "runs", "median s", "output MB", "MB/s", "peak RSS MiB", "note"], rows))
    return "\n".join(text)


def _summary(scenes):
    """The tables across the scene sizes: time over the I/O floor, time per
    face and peak memory, one row per export."""
    labels = [s["label"] for s in scenes]
    modes = list(scenes[0]["ombrel"])
    floors = [[EXPORT_NAMES[m]] + ["%.2f" % floor_ratio(s, m) for s in scenes] +
              ["%.1f" % FLOOR_LIMITS[m] if m in FLOOR_LIMITS else "-"] for m in modes]
    rows = growth(scenes)
    faces = [[EXPORT_NAMES[m]] + ["%.1f" % (per_face(s, m) * 1e9) for s in scenes] +
             ["%.2f" % rows[m][b] if b in rows.get(m, {}) else "-" for b in GROWTH_BASES] for m in modes]
    memory = [[EXPORT_NAMES[m]] + ["%.1f" % (s["ombrel"][m]["max_rss_kib"] / 1024) for s in scenes]
              for m in modes]
    memory.append(["allowed (largest file's arrays + 64 MiB)"] + ["%.1f" % (memory_limit(s) / MIB) for s in scenes])
    return "\n".join([
        "## Time over the I/O floor\n",
        "Each export's median over the median of its own I/O floor (`bench_io_floor`).\n",
        _table(["export"] + labels + ["target at %s" % ", ".join(FLOOR_SCENES)], floors),
        "## Time per face\n",
        "Median time over the scene's faces, in ns; the last columns are the %s figure over the smaller "
        "scene's (target: at most %.1f).\n" % (GROWTH_TOP, GROWTH_LIMIT),
        _table(["export"] + ["%s ns/face" % l for l in labels] +
               ["%s / %s" % (GROWTH_TOP, b) for b in GROWTH_BASES], faces),
        "## Peak memory\n",
        "Largest peak RSS (MiB) over the timed runs of each export.\n",
        _table(["export"] + ["%s MiB" % l for l in labels], memory)])


METHOD = """## How it is measured

- Every measurement is a separate process, started after the previous one has
  ended: one warm-up run, then the median of the timed runs: 7 at 100k and
  1M, 3 at 10M, for Ombrel's exports and the I/O floors always (quick mode
  too). Peers and the printf baseline get the same count, but at most 3 when
  their warm-up took over 5 s, and the warm-up alone when it took over 20 s;
  in quick mode at most 3, and the warm-up alone over 5 s. Peak RSS is the
  largest `ru_maxrss` of the timed runs, taken with `wait4` by `bench_rusage`, a
  small launcher that starts every command (Linux carries the peak RSS over
  fork and exec, so a command started from the Python driver would report at
  least the driver's size; through the launcher an empty command reports the
  figure in the table above). Before each run, outside the measurement, its
  output file is removed and the file systems are synced, so that no run
  pays for the writeback of another. The scratch directory is
  `$OMBREL_BENCH_DIR`, or else `/dev/shm/ombrel-bench` (tmpfs) when it has
  room, which keeps the disk out of the figures; the fallback,
  `/tmp/ombrel-bench`, is named in the table above with the reason. On disk,
  outputs larger than the kernel's dirty background threshold (see the table
  above) are partly written back while the export runs.
- Ombrel (`bench_export`): `build/native/libombrel.so` loaded with `dlopen`;
  the script calls made as the host makes them (InitExporter,
  StartDeclareVekFiles, AddOneVekFile per file, EndDeclareVekFiles,
  DeclareBinaryOrASCII, DeclareHeight 100, DeclareExportVertexColors, then
  ExportSTLAllDeclaredVek or ExportVRMLAllDeclaredVek), timed from
  InitExporter to the return of the export. The scene-bounds pass is
  InitBBox3D, then GetBBoxFromVekFile and AddBBox3D per file.
- I/O floor (`bench_io_floor`), one per export: reads each input block the
  export needs exactly once (Points of every file for the bounds; Points and
  Face4 for STL; Points, Face4, UV4 and MRGB for VRML) with 8 MiB `pread`
  calls, then writes exactly as many bytes as the export wrote with 8 MiB
  `write` calls into the directory of the export's output. "time / I/O
  floor" is the export's median over its floor's median.
- printf baseline (`bench_printf`): the same meshes, loaded before the clock
  starts, written as ASCII STL or VRML text with one `fprintf` per number.
- Peers, on the same triangles (STL) or faces (VRML) converted to binary PLY
  by `vekgen ply --height 100` (placed like the export): `assimp export`
  (command line; its wall time includes process start and the PLY import, so
  its own export-step timer, CPU time, is listed as well); numpy-stl and
  meshio timed in Python from arrays already loaded with numpy (the clock
  covers building their mesh object and writing); VTK's vtkVRMLExporter
  timed around `Write()` on the PLY read beforehand (with per-vertex UVs and,
  for the colour variant, per-vertex colours). At 10M a peer or the printf
  baseline runs only when ten times its 1M median is at most 20 s.
  "x faster than ..." is the other program's median over Ombrel's. The
  printf baseline is reported for comparison; it has no target.
- Byte-exact check: the same exports written by `ombrel_model`, the model of
  the export script calls in `tests/model` (its own Vek reading, placement
  and stdio formatting, no code shared with the library; "model s" is its
  process's wall time), one run each, and compared with `cmp` against the
  outputs of the last timed run. The scene-bounds pass has no model and is
  not compared.
"""


def markdown(env, scenes, checks, targets_found, failed):
    text = ["# Ombrel benchmark results\n",
            _table(["", ""], [["date", env["date"]], ["command", "`%s`" % env["command"]],
                              ["git revision", env["revision"]], ["CPU", env["cpu"]],
                              ["processors (nproc)", env["nproc"]], ["memory (MemTotal)", env["memory"]],
                              ["kernel", env["kernel"]], ["compiler", env["compiler"]],
                              ["scratch directory (file system)",
                               env["scratch"] + ("; " + env["scratch_note"] if env.get("scratch_note") else "")],
                              ["page-cache writeback", env["dirty"]],
                              ["peak RSS of an empty command", "%.1f MiB" % (env["launcher_rss_kib"] / 1024)],
                              ["load average before / after", "%s / %s" % (env["load_before"], env["load_after"])],
                              ["total time", "%.1f min" % (env["total_seconds"] / 60)]])]
    if failed:
        text.append("**The run stopped: %s**\n" % failed)
    text.append("## Targets\n")
    counts = {r: sum(t["result"] == r for t in targets_found) for r in ("PASS", "FAIL", "n/a")}
    text.append("%(PASS)d passed, %(FAIL)d failed, %(n/a)d not measured.\n" % counts)
    text.append(_table(["target", "scene", "measured", "result"],
                       [[t["target"], t["scene"], t["measured"], t["result"]] for t in targets_found]))
    if scenes:
        text.append(_summary(scenes))
    text += [_scene_section(scene) for scene in scenes]
    text.append("## Byte-exact check against the model of the script calls\n")
    by = {s["label"]: s for s in scenes}
    text.append(_table(["scene", "export", "bytes", "identical", "model s", "x faster than model"],
                       [[c["scene"], EXPORT_NAMES[c["mode"]], c["bytes"], "yes" if c["identical"] else "**NO**",
                         "%.3f" % c["model_seconds"],
                         "%.1f" % (c["model_seconds"] / by[c["scene"]]["ombrel"][c["mode"]]["seconds"])]
                        for c in checks]))
    text.append(METHOD)
    return "\n".join(text)
