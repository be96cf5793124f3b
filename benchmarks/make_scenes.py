"""Writes assemblies, a city and scans, the same bytes on every machine and in every run.

    make_scenes.py assembly OUT.glb PARTS TRIANGLES [--moving N]   balls that stand in a square, with 16 materials
    make_scenes.py city OUT.glb                                    2,000 blocks of houses, each with a texture
    make_scenes.py scan OUT.ply POINTS                             coloured points on a wavy tube

Of an assembly each part has a mesh of its own of about so many triangles; N of them move up and down in four seconds.
"""
import argparse
import json
import math
import os
import struct
import zlib

import numpy as np

FLOAT, SHORT = 5126, 5123  # as glTF calls them
BLOCKS, HOUSES, PIXELS = 2000, 42, 128
MATERIALS = 16


class Glb:
    """A glTF file in one piece, whose arrays stand one after the other."""

    def __init__(self):
        self.pieces, self.size = [], 0
        self.content = {"asset": {"version": "2.0"}, "scene": 0, "nodes": [], "meshes": [], "accessors": [],
                        "bufferViews": [], "materials": []}

    def view(self, data):
        self.content["bufferViews"].append({"buffer": 0, "byteOffset": self.size, "byteLength": len(data)})
        data += b"\0" * (-len(data) % 4)
        self.pieces.append(data)
        self.size += len(data)
        return len(self.content["bufferViews"]) - 1

    def array(self, values, component, kind):
        accessor = {"bufferView": self.view(values.tobytes()), "componentType": component, "count": len(values),
                    "type": kind}
        if component == FLOAT:
            rows = values.reshape(len(values), -1)
            accessor.update(min=rows.min(axis=0).tolist(), max=rows.max(axis=0).tolist())
        self.content["accessors"].append(accessor)
        return len(self.content["accessors"]) - 1

    def add(self, name, place, material, indices, **attributes):
        """A node with a mesh of its own; `attributes` are arrays of floats."""
        kinds = {1: "SCALAR", 2: "VEC2", 3: "VEC3"}
        made = {key: self.array(values, FLOAT, kinds[values.shape[1]]) for key, values in attributes.items()}
        primitive = {"attributes": made, "indices": self.array(indices, SHORT, "SCALAR"), "material": material}
        self.content["meshes"].append({"primitives": [primitive]})
        self.content["nodes"].append({"name": name, "mesh": len(self.content["meshes"]) - 1, "translation": place})

    def write(self, path):
        content = {**self.content, "scenes": [{"nodes": list(range(len(self.content["nodes"])))}],
                   "buffers": [{"byteLength": self.size}]}
        text = json.dumps(content, separators=(",", ":")).encode()
        text += b" " * (-len(text) % 4)
        with open(path, "wb") as file:
            file.write(struct.pack("<4sII", b"glTF", 2, 28 + len(text) + self.size))
            file.write(struct.pack("<I4s", len(text), b"JSON") + text + struct.pack("<I4s", self.size, b"BIN\0"))
            file.writelines(self.pieces)


def ball(triangles):
    """Vertices and indices of as many as 4 rings (rings - 1), which is the nearest to what is asked for."""
    rings = round(0.5 + math.sqrt(0.25 + triangles / 4))
    sectors = 2 * rings
    theta = np.pi * np.arange(rings + 1)[:, None] / rings
    phi = 2 * np.pi * np.arange(sectors + 1)[None, :] / sectors
    points = np.stack([np.sin(theta) * np.cos(phi), np.cos(theta) + 0 * phi, -np.sin(theta) * np.sin(phi)], axis=-1)
    a = (np.arange(rings)[:, None] * (sectors + 1) + np.arange(sectors)[None, :])
    b = a + sectors + 1
    upper = np.stack([a, b + 1, a + 1], axis=-1)[1:]  # a and a + 1 are the same point in the first ring
    lower = np.stack([a, b, b + 1], axis=-1)[:-1]  # and b and b + 1 in the last
    indices = np.concatenate([upper.reshape(-1), lower.reshape(-1)])
    return points.reshape(-1, 3).astype("<f4"), indices.astype("<u2")


def assembly(path, parts, triangles, moving):
    random = np.random.default_rng(1)
    points, indices = ball(triangles)
    size = 2.5 * math.sqrt(20000 / parts)  # so that all take as much room
    scale = size / 2.5
    glb, side = Glb(), math.ceil(math.sqrt(parts))
    heights, materials = random.random(parts) * 3 * scale, random.integers(MATERIALS, size=parts)
    for part in range(parts):
        place = [part % side * size, float(heights[part]), part // side * size]
        glb.add(f"part{part}", place, int(materials[part]), indices, POSITION=points * np.float32(scale), NORMAL=points)
    for color in random.random((MATERIALS, 3)).tolist():
        glb.content["materials"].append({"pbrMetallicRoughness": {"baseColorFactor": [*color, 1], "metallicFactor": 0,
                                                                  "roughnessFactor": 0.6}})
    if moving:
        move(glb, range(0, parts, parts // moving))
    glb.write(path)


def move(glb, nodes):
    times = np.arange(5, dtype="<f4")
    clock = glb.array(times.reshape(-1, 1), FLOAT, "SCALAR")
    samplers, channels = [], []
    for node in nodes:
        places = np.array([glb.content["nodes"][node]["translation"]] * len(times), dtype="<f4")
        places[:, 1] += 4 * np.abs(np.sin(np.pi * times / 4))
        channels.append({"sampler": len(samplers), "target": {"node": node, "path": "translation"}})
        samplers.append({"input": clock, "output": glb.array(places, FLOAT, "VEC3")})
    glb.content["animations"] = [{"name": "up and down", "samplers": samplers, "channels": channels}]


def png(pixels):
    """Of rows of pixels of three bytes."""
    height, width, _ = pixels.shape
    rows = np.concatenate([np.zeros((height, 1), "u1"), pixels.reshape(height, -1)], axis=1)

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">2I5B", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows.tobytes(), 6)) + chunk(b"IEND", b""))


def front(random):
    """A wall of windows, some of them lit."""
    wall, glass = random.integers(90, 220, 3), random.integers(20, 90, 3)
    cell = PIXELS // 8
    lit = random.random((8, 8)) < 0.3
    pixels = np.empty((PIXELS, PIXELS, 3), "u1")
    pixels[:] = wall
    for row in range(8):
        for column in range(8):
            pane = (slice(row * cell + 3, row * cell + cell - 3), slice(column * cell + 4, column * cell + cell - 4))
            pixels[pane] = (250, 230, 150) if lit[row, column] else glass
    return (pixels + random.integers(0, 12, pixels.shape)).clip(0, 255).astype("u1")


def house():
    """Corners, normals, places in the texture and indices of a box on the ground, of 12 triangles."""
    corners, normals, places = [], [], []
    for axis in range(3):
        for side in (0, 1):
            for u, v in ((0, 0), (1, 0), (1, 1), (0, 1)):
                corner, normal = [0, 0, 0], [0, 0, 0]
                first, second = ((axis + 1) % 3, (axis + 2) % 3) if side else ((axis + 2) % 3, (axis + 1) % 3)
                corner[axis], corner[first], corner[second] = side, u, v
                normal[axis] = 2 * side - 1
                corners.append(corner)
                normals.append(normal)
                places.append([corner[2] if axis == 0 else corner[0], 1 - (corner[2] if axis == 1 else corner[1])])
    indices = [4 * face + k for face in range(6) for k in (0, 1, 2, 0, 2, 3)]
    return tuple(np.array(values, "f4") for values in (corners, normals, places)) + (np.array(indices),)


def city(path):
    random, glb = np.random.default_rng(3), Glb()
    corners, normals, places, indices = house()
    glb.content.update(images=[], textures=[], samplers=[{}])
    lots, side = 7, math.ceil(math.sqrt(BLOCKS))  # of a block, a row; of blocks
    for block in range(BLOCKS):
        lot = np.arange(HOUSES)
        sizes = np.stack([np.full(HOUSES, 0.8), 0.5 + 3 * random.random(HOUSES) ** 3, np.full(HOUSES, 0.8)], axis=-1)
        grounds = np.stack([lot % lots, np.zeros(HOUSES), lot // lots], axis=-1)
        points = corners[None] * sizes[:, None] + grounds[:, None]
        faces = indices[None] + len(corners) * lot[:, None]
        glb.add(f"block{block}", [block % side * 8.0, 0, block // side * 8.0], block, faces.reshape(-1).astype("<u2"),
                POSITION=points.reshape(-1, 3).astype("<f4"), NORMAL=np.tile(normals, (HOUSES, 1)).astype("<f4"),
                TEXCOORD_0=np.tile(places, (HOUSES, 1)).astype("<f4"))
        glb.content["images"].append({"bufferView": glb.view(png(front(random))), "mimeType": "image/png"})
        glb.content["textures"].append({"source": block, "sampler": 0})
        glb.content["materials"].append({"pbrMetallicRoughness": {"baseColorTexture": {"index": block},
                                                                  "metallicFactor": 0, "roughnessFactor": 0.9}})
    glb.write(path)


def scan(path, count):
    random = np.random.default_rng(2)
    point = np.dtype([("place", "<f4", 3), ("color", "u1", 3)])
    with open(path, "wb") as file:
        file.write(b"ply\nformat binary_little_endian 1.0\nelement vertex %d\n" % count)
        file.writelines(b"property float %c\n" % axis for axis in b"xyz")
        file.writelines(b"property uchar %s\n" % color for color in (b"red", b"green", b"blue"))
        file.write(b"end_header\n")
        for first in range(0, count, 1000000):
            angle, height = random.random((2, min(1000000, count - first)))
            angle, height = 2 * np.pi * angle, 2 * height - 1
            points = np.empty(len(angle), point)
            radius = 1 + 0.05 * np.sin(9 * angle)
            points["place"] = np.stack([radius * np.cos(angle), height, radius * np.sin(angle)], axis=-1)
            points["color"] = np.stack([127 + 127 * height, 127 + 127 * np.cos(angle), 128 + 0 * angle], axis=-1)
            file.write(points.tobytes())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kind", choices=["assembly", "city", "scan"])
    parser.add_argument("path")
    parser.add_argument("numbers", type=int, nargs="*")
    parser.add_argument("--moving", type=int, default=0)
    arguments = parser.parse_args()
    if os.path.exists(arguments.path):
        return
    made = arguments.path + ".part"
    if arguments.kind == "assembly":
        assembly(made, *arguments.numbers, arguments.moving)
    elif arguments.kind == "city":
        city(made)
    else:
        scan(made, *arguments.numbers)
    os.replace(made, arguments.path)


if __name__ == "__main__":
    main()
