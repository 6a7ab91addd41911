"""Opens the tool's STL, VRML and 3MF exports of the sample scene with
readers that share no code with Ombrel (numpy-stl, admesh, VTK's VRML
importer, Python's ZIP and XML readers and, when it is installed,
PrusaSlicer) and checks the triangle and face counts and the bounds they
report against the sample's own Vek files. The sample is
a figure made to be printed, so the STL files must also be watertight: one
closed, outward-facing shell per Vek file, with no degenerate triangles.

Usage: independent_readers.py OMBREL_TOOL SAMPLES_DIR SCRATCH_DIR
"""
import glob
import os
import re
import shutil
import struct
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
import zipfile
from collections import Counter

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


def check_numpy_stl_shells(path, shells):
    """Edges matched by the exact coordinates of their ends: each directed
    edge once and its reverse once; the shells as the connected sets of
    triangles, each of positive volume."""
    from stl import mesh
    m = mesh.Mesh.from_file(path)
    corners = [[tuple(c) for c in t] for t in m.vectors.tolist()]
    edges = Counter((t[k], t[(k + 1) % 3]) for t in corners for k in range(3))
    open_edges = sum(1 for a, b in edges if (b, a) not in edges)
    repeated = sum(1 for count in edges.values() if count > 1)
    vectors = m.vectors.astype(np.float64)
    areas = np.linalg.norm(np.cross(vectors[:, 1] - vectors[:, 0], vectors[:, 2] - vectors[:, 0]), axis=1) / 2
    parent = {}

    def root(p):
        parent.setdefault(p, p)
        while parent[p] != p:
            parent[p] = parent[parent[p]]
            p = parent[p]
        return p

    for t in corners:
        parent[root(t[1])] = root(t[0])
        parent[root(t[2])] = root(t[0])
    volumes = Counter()
    for t, v in zip(corners, vectors):
        volumes[root(t[0])] += float(np.dot(v[0], np.cross(v[1], v[2]))) / 6
    name = os.path.basename(path)
    return (check(open_edges == 0 and repeated == 0,
                  f"numpy-stl {name}: {open_edges} open edges, {repeated} edges used twice the same way")
            & check(int(np.sum(areas == 0)) == 0, f"numpy-stl {name}: {int(np.sum(areas == 0))} degenerate triangles")
            & check(len(volumes) == shells and min(volumes.values()) > 0,
                    f"numpy-stl {name}: {len(volumes)} shells, volumes {sorted(round(v, 1) for v in volumes.values())}"))


def check_admesh(path, triangles, extent, shells):
    # --no-check: report the file as it is, without admesh's repairs.
    out = subprocess.run(["admesh", "--no-check", path], capture_output=True).stdout.decode("latin-1")
    facets = int(re.search(r"Number of facets\s*:\s*(\d+)", out).group(1))
    mins = [float(re.search(rf"Min {axis}\s*=\s*([-+0-9.eE]+)", out).group(1)) for axis in "XYZ"]
    maxs = [float(re.search(rf"Max {axis}\s*=\s*([-+0-9.eE]+)", out).group(1)) for axis in "XYZ"]
    # With its checks: the "Original" column and the repair counts describe
    # the file as it was read; a sound mesh needs no repair at all.
    out = subprocess.run(["admesh", path], capture_output=True).stdout.decode("latin-1")
    disconnected = int(re.search(r"Total disconnected facets\s*:\s*(\d+)", out).group(1))
    parts = int(re.search(r"Number of parts\s*:\s*(\d+)", out).group(1))
    volume = float(re.search(r"Volume\s*:\s*([-+0-9.eE]+)", out).group(1))
    repairs = {label: int(re.search(rf"{label}\s*:\s*(\d+)", out).group(1))
               for label in ("Degenerate facets", "Edges fixed", "Facets removed", "Facets added",
                             "Facets reversed", "Backwards edges", "Normals fixed")}
    name = os.path.basename(path)
    return (check(facets == triangles, f"admesh {name}: {facets} facets")
            & check(close(mins, [0, 0, 0]) and close(maxs, extent), f"admesh {name}: bounds {mins} to {maxs}")
            & check(disconnected == 0 and parts == shells and volume > 0,
                    f"admesh {name}: {disconnected} disconnected facets, {parts} parts, volume {volume}")
            & check(not any(repairs.values()), f"admesh {name}: repairs {repairs}"))


def check_prusa_slicer(path, triangles, shells):
    slicer = shutil.which("prusa-slicer")
    if not slicer:
        print(f"skip PrusaSlicer {os.path.basename(path)}: prusa-slicer is not installed")
        return True
    out = subprocess.run([slicer, "--info", path], capture_output=True).stdout.decode("latin-1")
    info = dict(re.findall(r"^(\w+) = (.*)$", out, re.MULTILINE))
    return check(info.get("number_of_facets", "").strip() == str(triangles) and info.get("manifold") == "yes"
                 and "open_edges" not in info and info.get("number_of_parts", "").strip() == str(shells)
                 and float(info.get("volume", "0")) > 0,
                 f"PrusaSlicer {os.path.basename(path)}: " + ", ".join(f"{k} = {v.strip()}" for k, v in info.items()
                                                                       if k in ("number_of_facets", "manifold",
                                                                                "open_edges", "number_of_parts",
                                                                                "volume")))


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


def check_3mf(path, samples, triangles, extent):
    """The demo's 3MF package, read with Python's zipfile (every part's CRC
    checked) and its XML parser: an object a Vek file, named after it, with
    its points as vertices; the triangles, their corners distinct and
    existing; the bounds; a colour a vertex."""
    core = "{http://schemas.microsoft.com/3dmanufacturing/core/2015/02}"
    material = "{http://schemas.microsoft.com/3dmanufacturing/material/2015/02}"
    name = os.path.basename(path)
    with zipfile.ZipFile(path) as package:
        good = check(package.testzip() is None and package.namelist() ==
                     ["[Content_Types].xml", "_rels/.rels", "3D/3dmodel.model"], f"zipfile {name}: parts and CRCs")
        model = ElementTree.fromstring(package.read("3D/3dmodel.model"))
    objects = model.findall(f"{core}resources/{core}object")
    names = [o.get("name") for o in objects]
    good &= check(model.get("unit") == "millimeter" and
                  names == [os.path.splitext(os.path.basename(p))[0] for p in samples],
                  f"ElementTree {name}: unit {model.get('unit')}, objects {names}")
    vertices_ok, written, corners_ok, coordinates = True, 0, True, []
    for o, sample in zip(objects, samples):
        vertices = [[float(v.get(a)) for a in "xyz"] for v in o.iter(f"{core}vertex")]
        vertices_ok &= len(vertices) == len(read_vek(sample)[0])
        coordinates += vertices
        for t in o.iter(f"{core}triangle"):
            corners = [int(t.get(a)) for a in ("v1", "v2", "v3")]
            corners_ok &= len(set(corners)) == 3 and max(corners) < len(vertices)
            written += 1
    good &= check(vertices_ok and corners_ok and written == triangles,
                  f"ElementTree {name}: {len(coordinates)} vertices, {written} triangles")
    coordinates = np.array(coordinates)
    good &= check(close(coordinates.min(axis=0), [0, 0, 0]) and close(coordinates.max(axis=0), extent),
                  f"ElementTree {name}: bounds {coordinates.min(axis=0)} to {coordinates.max(axis=0)}")
    colours = model.findall(f"{core}resources/{material}colorgroup/{material}color")
    good &= check(len(colours) == len(coordinates), f"ElementTree {name}: {len(colours)} colours")
    items = model.findall(f"{core}build/{core}item")
    good &= check([i.get("objectid") for i in items] == [o.get("id") for o in objects],
                  f"ElementTree {name}: {len(items)} build items")
    return good


def main():
    tool, samples_dir, scratch = sys.argv[1:4]
    samples = sorted(glob.glob(os.path.join(samples_dir, "*.vek")))
    os.makedirs(scratch, exist_ok=True)
    subprocess.run([tool, "demo", "-o", scratch, "--height", str(HEIGHT)], check=True, capture_output=True)
    faces, triangles, extent = expected_scene(samples)
    # The demo writes its STL files Z up, for slicers: the host's Y becomes Z
    # and its Z becomes minus Y. Its VRML stays Y up.
    stl_extent = [extent[0], extent[2], extent[1]]
    print(f"sample: {len(samples)} files, {faces} faces, {triangles} triangles, extent {extent}")
    good = True
    for name in ("sample-binary.stl", "sample-ascii.stl"):
        good &= check_numpy_stl(os.path.join(scratch, name), triangles, stl_extent)
        good &= check_numpy_stl_shells(os.path.join(scratch, name), len(samples))
        good &= check_admesh(os.path.join(scratch, name), triangles, stl_extent, len(samples))
        good &= check_prusa_slicer(os.path.join(scratch, name), triangles, len(samples))
    good &= check_vtk_vrml(os.path.join(scratch, "sample-colours.wrl"), faces, extent)
    # Only a tool built with the ombrel3mf library writes sample.3mf.
    if os.path.exists(os.path.join(scratch, "sample.3mf")):
        good &= check_3mf(os.path.join(scratch, "sample.3mf"), samples, triangles, stl_extent)
    else:
        print("skip sample.3mf: this tool writes no 3MF")
    print("independent readers agree" if good else "independent readers DISAGREE")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
