"""Opens the tool's STL and VRML exports of the sample scene with readers
that share no code with Ombrel (numpy-stl, admesh, VTK's VRML importer) and
checks the triangle and face counts and the bounds they report against the
sample's own Vek files.

Usage: independent_readers.py OMBREL_TOOL SAMPLES_DIR SCRATCH_DIR
"""
import glob
import os
import re
import struct
import subprocess
import sys

import numpy as np

HEIGHT = 100.0


def read_vek(path):
    """Points and faces of a Vek file: a 32-byte header, then blocks of
    (tag, size, count, reserved) followed by size - 16 bytes."""
    data = open(path, "rb").read()
    assert data[:4] == b"Vekb", path
    at, points, faces = 32, None, None
    while at + 16 <= len(data):
        tag, size, count, _ = struct.unpack_from("<4I", data, at)
        if tag == 0:
            break
        body = data[at + 16:at + size]
        if tag == 10001:
            points = np.frombuffer(body, dtype="<f4").reshape(-1, 3)
        elif tag == 20001:
            faces = np.frombuffer(body, dtype="<i4").reshape(-1, 4)
        at += size
    return points, faces


def expected_scene(samples):
    points = [read_vek(p)[0] for p in samples]
    faces = [read_vek(p)[1] for p in samples]
    allpoints = np.concatenate(points)
    low, high = allpoints.min(axis=0), allpoints.max(axis=0)
    scale = HEIGHT / (high[1] - low[1])
    face_count = sum(len(f) for f in faces)
    triangles = sum(int(np.sum(f[:, 3] == -1)) + 2 * int(np.sum(f[:, 3] != -1)) for f in faces)
    return face_count, triangles, (high - low) * scale


def close(a, b, tolerance=1e-3):
    return np.allclose(np.asarray(a, dtype=float), np.asarray(b, dtype=float), atol=tolerance)


def check(condition, message):
    print(("ok   " if condition else "FAIL ") + message)
    return bool(condition)


def check_numpy_stl(path, triangles, extent):
    from stl import mesh
    m = mesh.Mesh.from_file(path)
    vectors = m.vectors.reshape(-1, 3)
    return (check(len(m.vectors) == triangles, f"numpy-stl {os.path.basename(path)}: {len(m.vectors)} triangles")
            & check(close(vectors.min(axis=0), [0, 0, 0]) and close(vectors.max(axis=0), extent),
                    f"numpy-stl {os.path.basename(path)}: bounds {vectors.min(axis=0)} to {vectors.max(axis=0)}"))


def check_admesh(path, triangles, extent):
    # --no-check: report the file as it is, without admesh's repairs.
    out = subprocess.run(["admesh", "--no-check", path], capture_output=True).stdout.decode("latin-1")
    facets = int(re.search(r"Number of facets\s*:\s*(\d+)", out).group(1))
    mins = [float(re.search(rf"Min {axis}\s*=\s*([-+0-9.eE]+)", out).group(1)) for axis in "XYZ"]
    maxs = [float(re.search(rf"Max {axis}\s*=\s*([-+0-9.eE]+)", out).group(1)) for axis in "XYZ"]
    return (check(facets == triangles, f"admesh {os.path.basename(path)}: {facets} facets")
            & check(close(mins, [0, 0, 0]) and close(maxs, extent), f"admesh {os.path.basename(path)}: bounds {mins} to {maxs}"))


def check_vtk_vrml(path, faces, extent):
    import vtk
    importer = vtk.vtkVRMLImporter()
    importer.SetFileName(path)
    importer.Read()
    actors = importer.GetRenderer().GetActors()
    actors.InitTraversal()
    polygons, shapes = 0, 0
    bounds = [np.inf, -np.inf] * 3
    for _ in range(actors.GetNumberOfItems()):
        data = actors.GetNextActor().GetMapper().GetInput()
        shapes += 1
        polygons += data.GetNumberOfPolys()
        b = data.GetBounds()
        for axis in range(3):
            bounds[2 * axis] = min(bounds[2 * axis], b[2 * axis])
            bounds[2 * axis + 1] = max(bounds[2 * axis + 1], b[2 * axis + 1])
    return (check(polygons == faces, f"VTK {os.path.basename(path)}: {shapes} shapes, {polygons} faces")
            & check(close(bounds[0::2], [0, 0, 0]) and close(bounds[1::2], extent),
                    f"VTK {os.path.basename(path)}: bounds {bounds[0::2]} to {bounds[1::2]}"))


def main():
    tool, samples_dir, scratch = sys.argv[1:4]
    samples = sorted(glob.glob(os.path.join(samples_dir, "*.vek")))
    os.makedirs(scratch, exist_ok=True)
    subprocess.run([tool, "demo", "-o", scratch, "--height", str(HEIGHT)], check=True, capture_output=True)
    faces, triangles, extent = expected_scene(samples)
    print(f"sample: {len(samples)} files, {faces} faces, {triangles} triangles, extent {extent}")
    good = True
    for name in ("sample-binary.stl", "sample-ascii.stl"):
        good &= check_numpy_stl(os.path.join(scratch, name), triangles, extent)
        good &= check_admesh(os.path.join(scratch, name), triangles, extent)
    good &= check_vtk_vrml(os.path.join(scratch, "sample-colours.wrl"), faces, extent)
    print("independent readers agree" if good else "independent readers DISAGREE")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
