"""Writes bumpy spheres as binary STL files, the same bytes on every machine and in every run.

A sphere of `rings` x `2 * rings` quadrilaterals of two triangles each; the poles' triangles that have no area
are left out, so that the meshes are closed.
"""
import argparse
import os

import numpy as np

RINGS = {"100k": 160, "1m": 500, "4m": 1000}
FACET = np.dtype([("normal", "<f4", 3), ("corners", "<f4", (3, 3)), ("attribute", "<u2")])


def points(rings):
    sectors = 2 * rings
    theta = np.linspace(0, np.pi, rings + 1)[:, None]
    phi = (2 * np.pi * np.arange(sectors) / sectors)[None, :]
    radius = 1 + 0.05 * np.sin(20 * theta) * np.cos(20 * phi)
    xyz = np.stack([radius * np.sin(theta) * np.cos(phi), radius * np.sin(theta) * np.sin(phi),
                    radius * np.cos(theta) + 0 * phi], axis=-1)
    xyz[0], xyz[-1] = (0, 0, 1), (0, 0, -1)
    return xyz.astype("<f4")


def triangles(rings):
    p = points(rings)
    a, b = p[:-1], p[1:]
    c, d = np.roll(b, -1, axis=1), np.roll(a, -1, axis=1)
    lower = np.stack([a, b, c], axis=2)[:-1]  # b and c are the same point in the last ring
    upper = np.stack([a, c, d], axis=2)[1:]  # and a and d in the first
    return np.concatenate([lower.reshape(-1, 3, 3), upper.reshape(-1, 3, 3)])


def write(path, rings):
    corners = triangles(rings)
    facets = np.zeros(len(corners), FACET)
    facets["corners"] = corners
    normals = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    facets["normal"] = normals / np.linalg.norm(normals, axis=1, keepdims=True)
    with open(path + ".part", "wb") as file:
        file.write(b"bumpy sphere".ljust(80, b"\0"))
        file.write(np.uint32(len(corners)).astype("<u4").tobytes())
        file.write(facets.tobytes())
    os.replace(path + ".part", path)


def make_all(folder):
    """The meshes' paths by their names in RINGS; files that are there are taken as they are."""
    os.makedirs(folder, exist_ok=True)
    paths = {name: os.path.join(folder, f"bumpy-sphere-{name}.stl") for name in RINGS}
    for name, path in paths.items():
        if not os.path.exists(path):
            write(path, RINGS[name])
    return paths


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder")
    for made in make_all(parser.parse_args().folder).values():
        print(made)
