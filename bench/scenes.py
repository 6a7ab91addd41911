"""What the benchmark drivers share: the scratch directory, and the scenes
that vekgen generates in it (reused while the generator and its arguments
stay the same)."""
import glob
import hashlib
import json
import os
import re
import shutil
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
VEKGEN = os.path.join(ROOT, "build", "native", "tools", "vekgen", "vekgen")
SEED = 1
GB = 1e9

# Without $OMBREL_BENCH_DIR: tmpfs when it has room (the disk's writeback
# stays out of the figures), else the disk.
SHM_SCRATCH, DISK_SCRATCH = "/dev/shm/ombrel-bench", "/tmp/ombrel-bench"


def say(text):
    print(text, flush=True)


def file_digest(path):
    """The sha256 of a file, read in 1 MiB pieces."""
    digest = hashlib.sha256()
    with open(path, "rb") as f:
        for chunk in iter(lambda: f.read(1 << 20), b""):
            digest.update(chunk)
    return digest.hexdigest()


def _bytes_held(path):
    """The bytes the files under `path` occupy (0 when it does not exist)."""
    total = 0
    for directory, _, names in os.walk(path):
        for name in names:
            try:
                total += os.lstat(os.path.join(directory, name)).st_blocks * 512
            except OSError:
                pass
    return total


def _memory_available():
    with open("/proc/meminfo") as f:
        return next(int(line.split()[1]) * 1024 for line in f if line.startswith("MemAvailable:"))


def room_in(scratch, reused):
    """The bytes a run could write under `scratch`: what its file system has
    free (on tmpfs, at most the memory available too) plus what the run's
    own earlier files there hold (`reused`: paths under `scratch` that the
    run reuses or replaces)."""
    existing = scratch
    while not os.path.exists(existing):
        existing = os.path.dirname(existing)
    status = os.statvfs(existing)
    free = status.f_bavail * status.f_frsize
    if _file_system(existing) == "tmpfs":
        free = min(free, _memory_available())
    return free + sum(_bytes_held(os.path.join(scratch, path)) for path in reused)


def _file_system(path):
    found = subprocess.run(["findmnt", "-n", "-o", "FSTYPE", "-T", path], capture_output=True, text=True)
    return found.stdout.strip()


def scratch_directory(need, reused):
    """(directory, note): $OMBREL_BENCH_DIR when it is set; else
    SHM_SCRATCH when it has room for `need` bytes (see room_in), else
    DISK_SCRATCH, with a note that says why (empty when tmpfs or the given
    directory is used)."""
    given = os.environ.get("OMBREL_BENCH_DIR")
    if given:
        return os.path.abspath(given), ""
    if not os.path.isdir("/dev/shm"):
        return DISK_SCRATCH, "no /dev/shm on this machine: the scratch directory is on disk (%s)" % DISK_SCRATCH
    room = room_in(SHM_SCRATCH, reused)
    if room >= need:
        return SHM_SCRATCH, ""
    return DISK_SCRATCH, ("/dev/shm has room for %.1f GB of the %.1f GB needed: the scratch directory is on "
                          "disk (%s), whose writeback may show in the figures" % (room / GB, need / GB,
                                                                                  DISK_SCRATCH))


def block_counts(path, vekgen=VEKGEN):
    """The count of every block of a Vek file, by block name, as `vekgen
    info` lists them (the first block of each name)."""
    listing = subprocess.run([vekgen, "info", path], capture_output=True, text=True, check=True).stdout
    counts = {}
    for name, count in re.findall(r"^\s+\d+\s+\d+\s+(\w+)\s+(\d+)\s+\d+", listing, re.M):
        counts.setdefault(name, int(count))
    return counts


# Bytes per element of the arrays an export holds for one file.
ARRAY_BYTES = {"Points": 12, "Face4": 16, "UV4": 32, "MRGB": 4}


class Scene:
    """One generated scene in the scratch directory:
    `vekgen scene --faces FACES --files FILES --seed 1`."""

    def __init__(self, scratch, label, faces, files, vekgen=VEKGEN):
        self.label, self.faces, self.file_count, self.vekgen = label, faces, files, vekgen
        self.dir = os.path.join(scratch, "scenes", label)
        arguments = ["scene", "--faces", str(faces), "--files", str(files), "--seed", str(SEED)]
        stamp = {"arguments": arguments, "vekgen": file_digest(vekgen)}
        stamp_path = os.path.join(self.dir, "stamp.json")
        if not os.path.exists(stamp_path) or json.load(open(stamp_path)) != stamp:
            say("[%s] generating: vekgen %s" % (label, " ".join(arguments)))
            shutil.rmtree(self.dir, ignore_errors=True)
            subprocess.run([vekgen] + arguments + [self.dir], check=True, stdout=subprocess.DEVNULL)
            json.dump(stamp, open(stamp_path, "w"))
        self.files = sorted(glob.glob(os.path.join(self.dir, "part*.vek")),
                            key=lambda p: int(re.search(r"(\d+)\.vek$", p).group(1)))
        self.blocks = [block_counts(p, vekgen) for p in self.files]

    @property
    def largest_arrays(self):
        """Bytes of the arrays an export holds for the largest file."""
        return max(sum(ARRAY_BYTES.get(name, 0) * count for name, count in blocks.items())
                   for blocks in self.blocks)

    @property
    def largest_points(self):
        """The point count of the file with the most points."""
        return max(blocks.get("Points", 0) for blocks in self.blocks)

    def ply(self, kind, height):
        """The scene as PLY for the peers: "tri" (triangles) or "poly",
        placed like an export at this height."""
        path = os.path.join(self.dir, kind + ".ply")
        if not os.path.exists(path):
            say("[%s] converting to %s" % (self.label, os.path.basename(path)))
            options = ["--triangles"] if kind == "tri" else []
            subprocess.run([self.vekgen, "ply"] + options + ["--height", str(height), path + ".part"] + self.files,
                           check=True, stdout=subprocess.DEVNULL)
            os.replace(path + ".part", path)
        return path
