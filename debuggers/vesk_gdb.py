"""gdb pretty printers for vesk: lists, vectors, matrices, meshes, tree nodes.

Load them by hand or from ~/.gdbinit:

    source /path/to/debuggers/vesk_gdb.py

`print mesh` then tells what a mesh holds and shows the beginning of its arrays (as many elements
as `set print elements` says), `print *node` a node of a tree, `print list` the elements of a list.
"""

import gdb
import gdb.printing
import gdb.types


def most_elements():
    """How many elements of an array are worth fetching."""
    return gdb.parameter("print elements") or 200


def array_of(pointer, count):
    """The first elements behind a pointer as one array value; None when there are none."""
    count = min(count, most_elements())
    if not pointer or count == 0:
        return None
    return pointer.dereference().cast(pointer.type.target().array(count - 1))


def elements(some_list):
    """The elements of a vesk_list in stored order."""
    return [some_list["data"][i] for i in range(int(some_list["count"]))]


def tuple_text(values):
    return "(" + ", ".join(str(value) for value in values) + ")"


def counted(number, noun, plural=None):
    return "%d %s" % (number, noun if number == 1 else plural or noun + "s")


class VectorPrinter:
    """vesk_vector2, 3 and 4, vesk_quaternion: (x, y, z)."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return tuple_text(self.value[field.name] for field in self.value.type.fields())


class MatrixPrinter:
    """vesk_matrix33 and 44: one row behind the other."""

    def __init__(self, value):
        self.rows = value["m"]

    def to_string(self):
        low, high = self.rows.type.range()
        rows = (VectorPrinter(self.rows[i]).to_string() for i in range(low, high + 1))
        return "[" + ", ".join(rows) + "]"


class ListPrinter:
    """vesk_list: how many elements, and the elements in stored order."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = "list of %d, capacity %d" % (self.value["count"], self.value["size"])
        return text + (", reversed" if self.value["reversed"] else "")

    def children(self):
        for i in range(int(self.value["count"])):
            yield "[%d]" % i, self.value["data"][i]

    def display_hint(self):
        return "array"


class TrianglePrinter:
    """The records of both trees: corners, UVs, word offset."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        def corners(name):
            return " ".join(str(self.value[name][c]) for c in range(3))

        return "%s (uvs %s) at %d" % (
            corners("vertex_indices"),
            corners("uv_indices"),
            self.value["record_offset"],
        )


class NodePrinter:
    """Nodes of both trees: their space, and what stands below them."""

    def __init__(self, value):
        self.value = value
        name = "box" if gdb.types.has_field(value.type, "box") else "bounding_rect"
        self.space = value[name]
        low, high = value["children"].type.range()
        self.child_numbers = [i for i in range(low, high + 1) if value["children"][i]]

    def to_string(self):
        return "%s to %s, %s, %s" % (
            VectorPrinter(self.space["min"]).to_string(),
            VectorPrinter(self.space["max"]).to_string(),
            counted(int(self.value["triangles"]["count"]), "triangle"),
            "children " + " ".join(str(i) for i in self.child_numbers)
            if self.child_numbers
            else "leaf",
        )

    def children(self):
        yield "triangles", self.value["triangles"]
        for i in self.child_numbers:
            yield "children[%d]" % i, self.value["children"][i]


class MeshPrinter:
    """vesk_mesh: counts in a line, then the beginning of each array."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        mesh = self.value
        parts = [
            counted(int(mesh["vertex_count"]), "vertex", "vertices"),
            counted(int(mesh["index_count"]) // 7, "triangle"),
            counted(int(mesh["subset_lookup_table"]["count"]) // 2, "subset"),
            counted(int(mesh["uv_channel_arrays"]["count"]), "channel")
            + " (current %d)" % mesh["cur_uv_channel"],
        ]
        if mesh["tangent_array"]:
            parts.append("tangents")
        if mesh["render_index_array"]:
            parts.append("render index")
        if mesh["octree"]:
            parts.append("octree")
        if mesh["uv_lookup_root"]:
            size = (mesh["uv_lookup_width"], mesh["uv_lookup_height"])
            parts.append("quadtree %d x %d" % size)
        for group in ("geometry", "tangents", "uv_lookup", "octree"):
            if mesh["instance_" + group]:
                parts.append("borrows " + group)
        parts += ['"%s"' % text.string() for text in elements(mesh["error_stack"])]
        return "mesh of " + ", ".join(parts)

    def children(self):
        mesh = self.value
        yield "box.min", mesh["bounding_box_min"]
        yield "box.max", mesh["bounding_box_max"]
        yield "subset_lookup_table", mesh["subset_lookup_table"]
        triangle = gdb.lookup_type("vesk_octree_triangle_s").pointer()
        arrays = (
            ("vertices", mesh["vertex_array"], mesh["vertex_count"]),
            ("triangles", mesh["index_array"].cast(triangle), int(mesh["index_count"]) // 7),
            ("uvs", mesh["uv_array"], mesh["uv_count"]),
            ("tangents", mesh["tangent_array"], mesh["tangent_count"]),
        )
        for name, pointer, count in arrays:
            array = array_of(pointer, int(count))
            if array is not None:
                yield name, array
        for name in ("octree", "uv_lookup_root"):
            if mesh[name]:
                yield name, mesh[name]


def printers():
    made = gdb.printing.RegexpCollectionPrettyPrinter("vesk")
    for name, pattern, printer in (
        ("vector", "^vesk_(vector[234]|quaternion)$", VectorPrinter),
        ("matrix", "^vesk_matrix(33|44)$", MatrixPrinter),
        ("list", "^vesk_list<.*>$", ListPrinter),
        ("triangle", "^vesk_(octree|uv_lookup)_triangle_s$", TrianglePrinter),
        ("node", "^vesk_(octree|uv_lookup)_node_s$", NodePrinter),
        ("mesh", "^vesk_mesh$", MeshPrinter),
    ):
        made.add_printer(name, pattern, printer)
    return made


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
