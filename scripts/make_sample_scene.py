"""Makes the bundled scene examples/data/workshop.fbx with Blender (tested with Debian's 3.4).

    blender --background --factory-startup --python scripts/make_sample_scene.py -- OUTPUT.fbx

The scene is small and shows what the import has to deal with: several objects, nested and uneven
transforms, an empty, a camera and a light as parents, two UV channels on some meshes, polygons of
many corners (concave ones too), custom normals, and two nodes that share one mesh.
"""

import math
import random
import sys

import bmesh
import bpy

random.seed(20)


def new_object(name, mesh, location=(0, 0, 0), rotation=(0, 0, 0), scale=(1, 1, 1), parent=None):
    thing = bpy.data.objects.new(name, mesh)
    thing.location = location
    thing.rotation_euler = [math.radians(angle) for angle in rotation]
    thing.scale = scale
    thing.parent = parent
    bpy.context.scene.collection.objects.link(thing)
    return thing


def mesh_from(name, build):
    mesh = bpy.data.meshes.new(name)
    work = bmesh.new()
    build(work)
    bmesh.ops.recalc_face_normals(work, faces=work.faces)
    work.to_mesh(mesh)
    work.free()
    return mesh


def into_tile(u, v, tile):
    """A place of the unit square, moved into a tile (low u, low v, width, height)."""
    return tile[0] + u * tile[2], tile[1] + v * tile[3]


def project_uvs(mesh, layer_name, axes, scale, tile=(0, 0, 1, 1)):
    """A planar map along the third axis."""
    layer = mesh.uv_layers.new(name=layer_name)
    for loop in mesh.loops:
        position = mesh.vertices[loop.vertex_index].co
        layer.data[loop.index].uv = into_tile(
            position[axes[0]] * scale + 0.5, position[axes[1]] * scale + 0.5, tile
        )


def cylinder_uvs(mesh, layer_name, height, tile=(0, 0, 1, 1)):
    """A map around the z axis."""
    layer = mesh.uv_layers.new(name=layer_name)
    for polygon in mesh.polygons:
        angles = []
        for loop_index in polygon.loop_indices:
            position = mesh.vertices[mesh.loops[loop_index].vertex_index].co
            angles.append(math.atan2(position.y, position.x) / (2 * math.pi) + 0.5)
        for loop_index, angle in zip(polygon.loop_indices, angles):
            if max(angles) - angle > 0.5:
                angle += 1.0
            position = mesh.vertices[mesh.loops[loop_index].vertex_index].co
            layer.data[loop_index].uv = into_tile(angle, position.z / height + 0.5, tile)


def move_uvs(mesh, layer_name, polygon, tile, scale):
    """Gives one polygon a planar map of its own, inside a tile."""
    layer = mesh.uv_layers[layer_name]
    for loop_index in polygon.loop_indices:
        position = mesh.vertices[mesh.loops[loop_index].vertex_index].co
        layer.data[loop_index].uv = into_tile(
            position.x * scale + 0.5, position.y * scale + 0.5, tile
        )


def smooth(mesh):
    for polygon in mesh.polygons:
        polygon.use_smooth = True


def vase(work):
    rings, corners = 40, 48
    profile = [
        0.55 + 0.22 * math.sin(4.1 * k / rings) + 0.08 * math.cos(11.0 * k / rings)
        for k in range(rings + 1)
    ]
    grid = [
        [
            work.verts.new(
                (
                    profile[k] * math.cos(2 * math.pi * c / corners),
                    profile[k] * math.sin(2 * math.pi * c / corners),
                    2.0 * k / rings - 1.0,
                )
            )
            for c in range(corners)
        ]
        for k in range(rings + 1)
    ]
    for k in range(rings):
        for c in range(corners):
            d = (c + 1) % corners
            work.faces.new((grid[k][c], grid[k][d], grid[k + 1][d], grid[k + 1][c]))
    work.faces.new(list(reversed(grid[0])))  # one polygon of 48 corners


def star(work):
    corners = 14
    outline = [
        (
            (1.0 if c % 2 == 0 else 0.45) * math.cos(2 * math.pi * c / corners),
            (1.0 if c % 2 == 0 else 0.45) * math.sin(2 * math.pi * c / corners),
        )
        for c in range(corners)
    ]
    low = [work.verts.new((x, y, -0.12)) for x, y in outline]
    high = [work.verts.new((x, y, 0.12)) for x, y in outline]
    work.faces.new(list(reversed(low)))
    work.faces.new(high)
    for c in range(corners):
        d = (c + 1) % corners
        work.faces.new((low[c], low[d], high[d], high[c]))


def ground(work):
    bmesh.ops.create_grid(work, x_segments=40, y_segments=40, size=4.0)
    for vertex in work.verts:
        vertex.co.z = 0.12 * math.sin(1.7 * vertex.co.x) * math.cos(1.3 * vertex.co.y)


def rock(work):
    bmesh.ops.create_icosphere(work, subdivisions=3, radius=0.5)
    for vertex in work.verts:
        vertex.co *= 1.0 + random.uniform(-0.06, 0.06)


def main():
    output = sys.argv[sys.argv.index("--") + 1]
    for thing in list(bpy.data.objects):
        bpy.data.objects.remove(thing)

    vase_mesh = mesh_from("vase", vase)
    smooth(vase_mesh)
    cylinder_uvs(vase_mesh, "paint", 2.0)
    # The second channel is an atlas: no two places of the scene share a texel.
    cylinder_uvs(vase_mesh, "light", 2.0, (0.01, 0.51, 0.95, 0.48))
    floor = max(vase_mesh.polygons, key=lambda polygon: len(polygon.loop_indices))
    move_uvs(vase_mesh, "light", floor, (0.55, 0.05, 0.4, 0.4), 0.7)

    star_mesh = mesh_from("star", star)
    project_uvs(star_mesh, "paint", (0, 1), 0.45)

    ground_mesh = mesh_from("ground", ground)
    smooth(ground_mesh)
    project_uvs(ground_mesh, "paint", (0, 1), 0.12)
    project_uvs(ground_mesh, "light", (0, 1), 0.125, (0.01, 0.01, 0.48, 0.48))

    rock_mesh = mesh_from("rock", rock)  # no UVs at all

    table = new_object("turntable", None, (0.3, 0.2, 0.0), (0, 0, 25))
    new_object("ground", ground_mesh, (0, 0, -1.05))
    pot = new_object("vase", vase_mesh, (0, 0, 0.05), (0, 0, 10), (1, 1, 1.1), table)
    new_object("star", star_mesh, (0, 0, 1.75), (90, 0, 15), (0.55, 0.55, 0.8), pot)

    camera = new_object("camera", bpy.data.cameras.new("camera"), (2.2, -1.4, 0.2), (10, 0, 40))
    new_object("rock on camera", rock_mesh, (0, 0, -0.8), (20, 30, 0), (1, 0.7, 0.6), camera)
    lamp = new_object("lamp", bpy.data.lights.new("lamp", "POINT"), (-2.0, 1.2, -0.3))
    new_object("rock on lamp", rock_mesh, (0, 0, -0.3), (0, 0, 70), (1.4, 1.1, 0.8), lamp)

    bpy.ops.export_scene.fbx(
        filepath=output,
        use_custom_props=False,
        bake_anim=False,
        add_leaf_bones=False,
        path_mode="STRIP",
    )


main()
