"""One export by a general mesh tool, timed from data already in memory.

Usage: peers.py PEER INPUT.ply OUTPUT

PEER is one of
  numpy-stl-binary, numpy-stl-ascii   numpy-stl's Mesh.save
  meshio-binary, meshio-ascii         meshio.write(..., file_format="stl")
  vtk-vrml, vtk-vrml-colors           VTK's vtkVRMLExporter
The STL peers take the triangle PLY of `vekgen ply --triangles`, loaded with
numpy before the clock starts; the clock covers building the tool's mesh
object (gathering the corners, as an export does) and writing the file. The
VTK peers take the polygon PLY of `vekgen ply`, read with vtkPLYReader before
the clock; the clock covers exporter.Write() (without colours the RGB point
array is removed first). Prints "seconds S".
"""
import sys
import time
import warnings

import numpy as np


def read_triangle_ply(path):
    """Vertices (n x 3 float32) and triangles (m x 3 int32) of a binary
    little-endian PLY holding x y z per vertex and three-index faces."""
    with open(path, "rb") as f:
        header = []
        while not header or header[-1] != "end_header":
            header.append(f.readline().decode("ascii").strip())
        counts = {line.split()[1]: int(line.split()[2]) for line in header if line.startswith("element ")}
        vertices = np.fromfile(f, dtype="<f4", count=3 * counts["vertex"]).reshape(-1, 3)
        faces = np.fromfile(f, dtype=np.dtype([("n", "u1"), ("i", "<i4", (3,))]), count=counts["face"])
    if not (faces["n"] == 3).all():
        sys.exit("peers.py: %s holds faces that are not triangles" % path)
    return vertices, np.ascontiguousarray(faces["i"])


def numpy_stl(vertices, triangles, output, ascii_text):
    from stl import Mode, mesh
    start = time.perf_counter()
    data = np.zeros(len(triangles), dtype=mesh.Mesh.dtype)
    data["vectors"] = vertices[triangles]
    mesh.Mesh(data).save(output, mode=Mode.ASCII if ascii_text else Mode.BINARY)
    return time.perf_counter() - start


def meshio_stl(vertices, triangles, output, ascii_text):
    import meshio
    start = time.perf_counter()
    meshio.write(output, meshio.Mesh(vertices, [("triangle", triangles)]), file_format="stl",
                 binary=not ascii_text)
    return time.perf_counter() - start


def vtk_vrml(input_path, output, colours):
    import vtk
    reader = vtk.vtkPLYReader()
    reader.SetFileName(input_path)
    reader.Update()
    polydata = reader.GetOutput()
    if not colours:
        polydata.GetPointData().SetScalars(None)
    mapper = vtk.vtkPolyDataMapper()
    mapper.SetInputData(polydata)
    actor = vtk.vtkActor()
    actor.SetMapper(mapper)
    renderer = vtk.vtkRenderer()
    renderer.AddActor(actor)
    window = vtk.vtkRenderWindow()  # the exporter walks a window's renderers; it is never shown
    window.SetOffScreenRendering(1)
    window.AddRenderer(renderer)
    exporter = vtk.vtkVRMLExporter()
    exporter.SetRenderWindow(window)
    exporter.SetFileName(output)
    start = time.perf_counter()
    exporter.Write()
    return time.perf_counter() - start


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    peer, input_path, output = sys.argv[1:]
    warnings.simplefilter("ignore")
    if peer in ("vtk-vrml", "vtk-vrml-colors"):
        seconds = vtk_vrml(input_path, output, peer == "vtk-vrml-colors")
    elif peer.startswith(("numpy-stl-", "meshio-")) and peer.endswith(("-binary", "-ascii")):
        vertices, triangles = read_triangle_ply(input_path)
        write = numpy_stl if peer.startswith("numpy-stl-") else meshio_stl
        seconds = write(vertices, triangles, output, peer.endswith("-ascii"))
    else:
        sys.exit("peers.py: unknown peer " + peer)
    print("seconds %.6f" % seconds)


if __name__ == "__main__":
    main()
