"""The rival's work, with the system's Python and python3-vtk9: a model to a PNG file or to raw video frames.

Needs an X display. Prints the seconds of its parts as a line of JSON on standard error.
"""
import argparse
import json
import math
import os
import sys
import time

STARTED = time.perf_counter()

# pylint: disable=wrong-import-position
import numpy  # noqa: E402
from vtkmodules import vtkRenderingOpenGL2  # noqa: E402,F401  registers what draws
from vtkmodules.util.numpy_support import numpy_to_vtk, vtk_to_numpy  # noqa: E402
from vtkmodules.vtkCommonDataModel import vtkImageData  # noqa: E402
from vtkmodules.vtkFiltersGeneral import vtkVertexGlyphFilter  # noqa: E402
from vtkmodules.vtkIOGeometry import vtkOBJReader, vtkSTLReader  # noqa: E402
from vtkmodules.vtkIOImport import vtkGLTFImporter  # noqa: E402
from vtkmodules.vtkIOPLY import vtkPLYReader  # noqa: E402
from vtkmodules.vtkIOImage import vtkPNGWriter  # noqa: E402
from vtkmodules.vtkRenderingCore import (vtkActor, vtkPolyDataMapper, vtkRenderer, vtkRenderWindow,  # noqa: E402
                                         vtkTexture, vtkResizingWindowToImageFilter, vtkWindowToImageFilter)

PANEL = (1280, 720)
OPENING_ANGLE = 45.0  # degrees, as in our videos
VIEW = (30.0, 25.0)  # degrees: azimuth and elevation, as ours begins with
READERS = {"stl": vtkSTLReader, "ply": vtkPLYReader, "obj": vtkOBJReader}
DISTANCE = 2.95  # from which the sphere shows as large as in our pictures


class Clock:
    """Seconds by the names of the parts that ended."""

    def __init__(self):
        self.last = STARTED
        self.parts = {}

    def end(self, part):
        now = time.perf_counter()
        self.parts[part] = now - self.last
        self.last = now


def draw_physically(renderer, actor):
    """Physically based shading in an environment of sky and floor, with ambient occlusion in screen space."""
    sky = numpy.repeat(numpy.linspace(0.2, 1.2, 64, dtype="f4"), 128 * 3).reshape(-1, 3)
    image = vtkImageData()
    image.SetDimensions(128, 64, 1)
    image.GetPointData().SetScalars(numpy_to_vtk(sky, deep=True))
    texture = vtkTexture()
    texture.SetInputData(image)
    texture.SetColorModeToDirectScalars()
    texture.MipmapOn()
    texture.InterpolateOn()
    renderer.UseImageBasedLightingOn()
    renderer.SetEnvironmentTexture(texture, False)
    actor.GetProperty().SetInterpolationToPBR()
    actor.GetProperty().SetRoughness(0.6)
    occlusion = vtkRenderingOpenGL2.vtkSSAOPass()
    occlusion.SetRadius(0.2)
    occlusion.SetBias(0.01)
    occlusion.SetKernelSize(32)
    occlusion.BlurOn()
    occlusion.SetDelegatePass(vtkRenderingOpenGL2.vtkRenderStepsPass())
    renderer.SetPass(occlusion)


def read_mesh(name, clock):
    """An actor of the one mesh, or of the points, that a file holds."""
    reader = READERS[name.rsplit(".", 1)[1]]()
    reader.SetFileName(name)
    reader.Update()
    clock.end("load")
    mapper = vtkPolyDataMapper()
    mapper.SetInputConnection(reader.GetOutputPort())
    actor = vtkActor()
    if reader.GetOutput().GetNumberOfCells() == 0:
        points = vtkVertexGlyphFilter()
        points.SetInputConnection(reader.GetOutputPort())
        mapper.SetInputConnection(points.GetOutputPort())
        actor.GetProperty().SetPointSize(2)
    actor.SetMapper(mapper)
    return actor


def read_assembly(name, renderer, clock):
    """Adds what a glTF file holds, drawn plainly: the importer would have it drawn physically. Returns its actors."""
    importer = vtkGLTFImporter()
    importer.SetFileName(name)
    importer.SetRenderWindow(renderer.GetRenderWindow())
    importer.Update()
    actors = list(renderer.GetActors())
    for actor in actors:
        surface = actor.GetProperty()
        actor.SetTexture(surface.GetTexture("albedoTex"))
        surface.RemoveAllTextures()
        surface.SetInterpolationToPhong()
    clock.end("load")
    return actors


def look_as_we_do(renderer, up):
    """From the same direction, with all in view."""
    azimuth, elevation = numpy.radians(VIEW)
    eye = numpy.array([numpy.sin(azimuth) * numpy.cos(elevation), -numpy.cos(azimuth) * numpy.cos(elevation),
                       numpy.sin(elevation)])
    if up == "y":
        eye = eye[0], eye[2], -eye[1]
    camera = renderer.GetActiveCamera()
    camera.SetViewAngle(OPENING_ANGLE)
    camera.SetFocalPoint(0, 0, 0)
    camera.SetViewUp(*((0, 1, 0) if up == "y" else (0, 0, 1)))
    camera.SetPosition(*eye)
    renderer.ResetCamera()
    renderer.ResetCameraScreenSpace()


def open_window(arguments, clock):
    """The window, its camera, and the actors of an assembly."""
    clock.end("start")
    renderer = vtkRenderer()
    renderer.SetBackground(1, 1, 1)
    window = vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(arguments.samples)
    window.SetSize(*PANEL)
    window.AddRenderer(renderer)
    if arguments.mesh.endswith(".glb"):
        actors = read_assembly(arguments.mesh, renderer, clock)
        look_as_we_do(renderer, "y")
        return window, renderer.GetActiveCamera(), actors
    actor = read_mesh(arguments.mesh, clock)
    renderer.AddActor(actor)
    if arguments.physical:
        draw_physically(renderer, actor)
    camera = renderer.GetActiveCamera()
    if arguments.mesh.endswith(".ply"):
        look_as_we_do(renderer, "z")
        return window, camera, []
    camera.SetViewAngle(OPENING_ANGLE)
    camera.SetFocalPoint(0, 0, 0)
    camera.SetViewUp(0, 0, 1)
    camera.SetPosition(0.4 * DISTANCE, -0.8 * DISTANCE, 0.4472 * DISTANCE)
    renderer.ResetCameraClippingRange()
    return window, camera, []


def still(arguments, clock):
    window, *_ = open_window(arguments, clock)
    capture = vtkResizingWindowToImageFilter()
    capture.SetInput(window)
    capture.SetSize(arguments.width, arguments.width * PANEL[1] // PANEL[0])
    capture.SetInputBufferTypeToRGBA()
    capture.Update()
    clock.end("draw")
    writer = vtkPNGWriter()
    writer.SetFileName(arguments.output)
    writer.SetInputConnection(capture.GetOutputPort())
    writer.Write()
    clock.end("write")


def frames(arguments, clock):
    """Frames as BGRA rows to standard output, turning the camera or moving parts; the pipe's reader turns them
    upright."""
    window, camera, actors = open_window(arguments, clock)
    moving = actors[::len(actors) // arguments.moving] if arguments.moving else []
    capture = vtkWindowToImageFilter()
    capture.SetInput(window)
    capture.SetInputBufferTypeToRGBA()
    capture.ReadFrontBufferOff()
    for frame in range(arguments.frames):
        if moving:
            height = 4 * abs(math.sin(math.pi * frame / arguments.frames))
            for actor in moving:
                actor.SetPosition(0, height, 0)
        else:
            camera.Azimuth(360 / arguments.frames)
        capture.Modified()
        capture.Update()
        pixels = capture.GetOutput().GetPointData().GetScalars()
        sys.stdout.buffer.write(memoryview(vtk_to_numpy(pixels)))
    sys.stdout.buffer.flush()
    clock.end("frames")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("work", choices=["still", "frames"])
    parser.add_argument("mesh")
    parser.add_argument("--output")
    parser.add_argument("--width", type=int, default=10000)
    parser.add_argument("--samples", type=int, default=4)
    parser.add_argument("--frames", type=int, default=100)
    parser.add_argument("--moving", type=int, help="so many parts move, and not the camera")
    parser.add_argument("--physical", action="store_true", help="materials, environment and occlusion")
    arguments = parser.parse_args()
    clock = Clock()
    {"still": still, "frames": frames}[arguments.work](arguments, clock)
    print(json.dumps(clock.parts), file=sys.stderr, flush=True)
    # To take an assembly's window apart would take several times as long as all of the work.
    os._exit(0)


main()
