"""Writes a bumpy sphere as PLY, GLB and OBJ: the one of make_meshes.py with its vertices joined.

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


def write_ply(file, points, faces):
    file.write(f"ply\nformat binary_little_endian 1.0\nelement vertex {len(points)}\nproperty float x\n"
               f"property float y\nproperty float z\nelement face {len(faces)}\n"
               "property list uchar int vertex_indices\nend_header\n".encode())
    file.write(points.tobytes())
    lists = np.zeros(len(faces), np.dtype([("count", "u1"), ("corners", "<i4", 3)]))
    lists["count"], lists["corners"] = 3, faces
    file.write(lists.tobytes())


def write_glb(file, points, faces):
    low, high = points.min(axis=0).tolist(), points.max(axis=0).tolist()
    views = [{"buffer": 0, "byteOffset": 0, "byteLength": points.nbytes},
             {"buffer": 0, "byteOffset": points.nbytes, "byteLength": faces.nbytes}]
    accessors = [{"bufferView": 0, "componentType": 5126, "count": len(points), "type": "VEC3", "min": low, "max": high},
                 {"bufferView": 1, "componentType": 5125, "count": faces.size, "type": "SCALAR"}]
    content = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}], "nodes": [{"mesh": 0}],
               "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]}],
               "buffers": [{"byteLength": points.nbytes + faces.nbytes}], "bufferViews": views, "accessors": accessors}
    text = json.dumps(content).encode()
    text += b" " * (-len(text) % 4)
    size = points.nbytes + faces.nbytes
    file.write(struct.pack("<4sIIII", b"glTF", 2, 28 + len(text) + size, len(text), 0x4E4F534A) + text)
    file.write(struct.pack("<II", size, 0x004E4942) + points.tobytes() + faces.tobytes())


def write_obj(file, points, faces):
    np.savetxt(file, points, "v %.7g %.7g %.7g")
    np.savetxt(file, faces + 1, "f %d %d %d")


WRITERS = {"ply": write_ply, "glb": write_glb, "obj": write_obj}


def make(folder, name, suffix):
    path = os.path.join(folder, f"bumpy-sphere-{name}.{suffix}")
    if not os.path.exists(path):
        with open(path + ".part", "wb") as file:
            WRITERS[suffix](file, *joined(make_meshes.RINGS[name]))
        os.replace(path + ".part", path)
    return path


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder")
    parser.add_argument("name", choices=make_meshes.RINGS)
    parser.add_argument("suffix", choices=WRITERS)
    arguments = parser.parse_args()
    print(make(arguments.folder, arguments.name, arguments.suffix))
