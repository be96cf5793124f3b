"""Writes a bumpy sphere as PLY, GLB and OBJ: the one of make_meshes.py with its vertices joined, and with normals.

Files that are there are taken as they are.
"""
import argparse
import json
import os
import struct

import make_meshes
import numpy as np


def joined(rings):
    """Vertices, and triples of their numbers. The poles' triangles without area are left out."""
    grid = make_meshes.points(rings)
    number = np.arange(grid.shape[0] * grid.shape[1], dtype="<u4").reshape(grid.shape[:2])
    a, b = number[:-1], number[1:]
    c, d = np.roll(b, -1, axis=1), np.roll(a, -1, axis=1)
    lower = np.stack([a, b, c], axis=2)[:-1]
    upper = np.stack([a, c, d], axis=2)[1:]
    return grid.reshape(-1, 3), np.concatenate([lower.reshape(-1, 3), upper.reshape(-1, 3)])


def normals(points, faces):
    """Of vertices: the mean of their faces', by area."""
    a, b, c = points[faces].transpose(1, 0, 2).astype("f8")
    across = np.cross(b - a, c - a)
    sums = np.stack([np.bincount(faces.ravel(), np.repeat(across[:, axis], 3), len(points)) for axis in range(3)], axis=1)
    lengths = np.linalg.norm(sums, axis=1, keepdims=True)
    return np.divide(sums, lengths, out=np.zeros_like(sums), where=lengths > 0).astype("<f4")


def write_ply(file, points, directions, faces):
    names = "".join(f"property float {name}\n" for name in ("x", "y", "z", "nx", "ny", "nz"))
    file.write(f"ply\nformat binary_little_endian 1.0\nelement vertex {len(points)}\n{names}"
               f"element face {len(faces)}\nproperty list uchar int vertex_indices\nend_header\n".encode())
    file.write(np.hstack([points, directions]).tobytes())
    lists = np.zeros(len(faces), np.dtype([("count", "u1"), ("corners", "<i4", 3)]))
    lists["count"], lists["corners"] = 3, faces
    file.write(lists.tobytes())


def write_glb(file, points, directions, faces):
    views, accessors, size = [], [], 0
    for values, component, kind in ((points, 5126, "VEC3"), (directions, 5126, "VEC3"), (faces, 5125, "SCALAR")):
        accessors.append({"bufferView": len(views), "componentType": component, "type": kind,
                          "count": values.size if kind == "SCALAR" else len(values)})
        views.append({"buffer": 0, "byteOffset": size, "byteLength": values.nbytes})
        size += values.nbytes
    accessors[0].update(min=points.min(axis=0).tolist(), max=points.max(axis=0).tolist())
    content = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}], "nodes": [{"mesh": 0}],
               "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "NORMAL": 1}, "indices": 2}]}],
               "buffers": [{"byteLength": size}], "bufferViews": views, "accessors": accessors}
    text = json.dumps(content).encode()
    text += b" " * (-len(text) % 4)
    file.write(struct.pack("<4sIIII", b"glTF", 2, 28 + len(text) + size, len(text), 0x4E4F534A) + text)
    file.write(struct.pack("<II", size, 0x004E4942) + points.tobytes() + directions.tobytes() + faces.tobytes())


def write_obj(file, points, directions, faces):
    np.savetxt(file, points, "v %.7g %.7g %.7g")
    np.savetxt(file, directions, "vn %.4g %.4g %.4g")
    np.savetxt(file, np.repeat(faces + 1, 2, axis=1), "f %d//%d %d//%d %d//%d")


WRITERS = {"ply": write_ply, "glb": write_glb, "obj": write_obj}


def make(folder, name, suffix):
    path = os.path.join(folder, f"bumpy-sphere-{name}.{suffix}")
    if not os.path.exists(path):
        points, faces = joined(make_meshes.RINGS[name])
        with open(path + ".part", "wb") as file:
            WRITERS[suffix](file, points, normals(points, faces), faces)
        os.replace(path + ".part", path)
    return path


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder")
    parser.add_argument("name", choices=make_meshes.RINGS)
    parser.add_argument("suffix", choices=WRITERS)
    arguments = parser.parse_args()
    print(make(arguments.folder, arguments.name, arguments.suffix))
