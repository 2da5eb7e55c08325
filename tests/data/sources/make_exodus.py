#!/usr/bin/python3
"""Makes bar.exo and types.exo beside this script: Exodus II files written with the netCDF library alone.

bar.exo is a bar of 0.4 x 0.2 x 0.1 of 4 x 2 x 1 bricks, two blocks, with a node set and a side set at x = 0 and eight
steps: the six rigid motions, and two made-up shapes u = (0, 0, x^2) and (0, x^3, 0), each times 10. The stress of an
element in step s is s * (1 + x, 2 + y, 3 + z, 4, 5, 6) at its center (xx, yy, zz, xy, yz, zx).

types.exo holds one element of each quadratic solid type, with straight edges, and a shell with its thickness.
"""
import os
import sys

import netCDF4
import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))


def start(name, title, nodes, elements, blocks):
    data = netCDF4.Dataset(os.path.join(HERE, name), "w", format="NETCDF3_64BIT_OFFSET")
    data.title = title
    data.api_version = np.float32(6.02)
    data.version = np.float32(6.02)
    data.floating_point_word_size = np.int32(8)
    data.file_size = np.int32(1)
    for dimension, size in (("len_string", 33), ("len_line", 81), ("four", 4), ("len_name", 33), ("time_step", None),
                            ("num_dim", 3), ("num_nodes", len(nodes)), ("num_elem", elements), ("num_el_blk", blocks)):
        data.createDimension(dimension, size)
    data.createVariable("time_whole", "f8", ("time_step",))
    for k, axis in enumerate("xyz"):
        data.createVariable("coord" + axis, "f8", ("num_nodes",))[:] = nodes[:, k]
    data.createVariable("eb_status", "i4", ("num_el_blk",))[:] = 1
    ids = data.createVariable("eb_prop1", "i4", ("num_el_blk",))
    ids.setncattr("name", "ID")
    ids[:] = np.arange(1, blocks + 1) * 10
    return data


def text(data, name, dimensions, values):
    variable = data.createVariable(name, "S1", dimensions)
    width = data.dimensions[dimensions[-1]].size
    for i, value in enumerate(values):
        variable[i] = np.array([c.encode() for c in value.ljust(width, "\0")], dtype="S1")


def block(data, number, kind, connect):
    size = "num_el_in_blk%d" % number
    width = "num_nod_per_el%d" % number
    data.createDimension(size, connect.shape[0])
    data.createDimension(width, connect.shape[1])
    variable = data.createVariable("connect%d" % number, "i4", (size, width))
    variable.elem_type = kind
    variable[:] = connect
    return size


def bar():
    count = (4, 2, 1)
    place = lambda i, j, k: i + 5 * (j + 3 * k)
    nodes = np.array([(0.1 * i, 0.1 * j, 0.1 * k) for k in range(2) for j in range(3) for i in range(5)])
    cells = [(i, j, k) for k in range(count[2]) for j in range(count[1]) for i in range(count[0])]
    corners = ((0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0, 0, 1), (1, 0, 1), (1, 1, 1), (0, 1, 1))
    connect = np.array([[place(i + a, j + b, k + c) + 1 for a, b, c in corners] for i, j, k in cells])
    data = start("bar.exo", "A bar of bricks", nodes, len(cells), 2)
    for name, values in (("node_num_map", 1001 + np.arange(len(nodes))[::-1]), ("elem_num_map", 500 + np.arange(8))):
        size = "num_nodes" if name[0] == "n" else "num_elem"
        data.createVariable(name, "i4", (size,))[:] = values
    sizes = [block(data, 1, "HEX8", connect[:5]), block(data, 2, "HEX", connect[5:])]
    text(data, "eb_names", ("num_el_blk", "len_name"), ["lower", ""])

    left = [n for n in range(len(nodes)) if nodes[n][0] == 0.0]
    data.createDimension("num_node_sets", 1)
    data.createDimension("num_nod_ns1", len(left))
    data.createVariable("ns_status", "i4", ("num_node_sets",))[:] = 1
    ids = data.createVariable("ns_prop1", "i4", ("num_node_sets",))
    ids.setncattr("name", "ID")
    ids[:] = 7
    data.createVariable("node_ns1", "i4", ("num_nod_ns1",))[:] = np.array(left) + 1
    text(data, "ns_names", ("num_node_sets", "len_name"), ["Left end"])
    ends = [e + 1 for e, cell in enumerate(cells) if cell[0] == 0]
    data.createDimension("num_side_sets", 1)
    data.createDimension("num_side_ss1", len(ends))
    data.createVariable("ss_status", "i4", ("num_side_sets",))[:] = 1
    ids = data.createVariable("ss_prop1", "i4", ("num_side_sets",))
    ids.setncattr("name", "ID")
    ids[:] = 3
    data.createVariable("elem_ss1", "i4", ("num_side_ss1",))[:] = ends
    data.createVariable("side_ss1", "i4", ("num_side_ss1",))[:] = 4  # x = 0
    text(data, "ss_names", ("num_side_sets", "len_name"), ["End face"])

    x, y, z = nodes.T
    zero, one = np.zeros(len(nodes)), np.ones(len(nodes))
    shapes = [(one, zero, zero), (zero, one, zero), (zero, zero, one), (zero, -z, y), (z, zero, -x), (-y, x, zero),
              (zero, zero, 10 * x**2), (zero, 10 * x**3, zero)]
    data.createDimension("num_nod_var", 3)
    data.createDimension("num_elem_var", 6)
    text(data, "name_nod_var", ("num_nod_var", "len_name"), ["disp_x", "disp_y", "disp_z"])
    text(data, "name_elem_var", ("num_elem_var", "len_name"), ["stress_" + c for c in ("xx", "yy", "zz", "xy", "yz", "zx")])
    data.createVariable("elem_var_tab", "i4", ("num_el_blk", "num_elem_var"))[:] = 1
    for s, shape in enumerate(shapes):
        data["time_whole"][s] = 0.0 if s < 6 else 100.0 * (s - 5)
        for k in range(3):
            name = "vals_nod_var%d" % (k + 1)
            if s == 0:
                data.createVariable(name, "f8", ("time_step", "num_nodes"))
            data[name][s] = shape[k]
        center = nodes[connect - 1].mean(axis=1)
        values = [1 + center[:, 0], 2 + center[:, 1], 3 + center[:, 2]] + [np.full(8, v) for v in (4.0, 5.0, 6.0)]
        for b, part in enumerate((slice(0, 5), slice(5, 8))):
            for k in range(6):
                name = "vals_elem_var%deb%d" % (k + 1, b + 1)
                if s == 0:
                    data.createVariable(name, "f8", ("time_step", sizes[b]))
                data[name][s] = (s + 1) * values[k][part]
    data.close()


def middles(corners, edges):
    return np.vstack([corners, [(corners[a] + corners[b]) / 2 for a, b in edges]])


def types():
    ring = lambda n, low, high: [(low + i, low + (i + 1) % n) for i in range(n)]
    box = np.array([(0, 0, 0), (1, 0, 0), (1, 2, 0), (0, 2, 0), (0, 0, 3), (1, 0, 3), (1, 2, 3), (0, 2, 3)], float)
    wedge = np.array([(0, 0, 0), (1, 0, 0), (0, 2, 0), (0, 0, 3), (1, 0, 3), (0, 2, 3)], float) + (10, 0, 0)
    tetra = np.array([(0, 0, 0), (1, 0, 0), (0, 2, 0), (0, 0, 3)], float) + (20, 0, 0)
    shell = np.array([(0, 0, 0), (1, 0, 0), (1, 2, 0), (0, 2, 0)], float) + (30, 0, 0)
    # Mid-edge nodes: lower ring, upright ones, upper ring.
    parts = [("HEX20", middles(box, ring(4, 0, 4) + [(i, i + 4) for i in range(4)] + ring(4, 4, 8))),
             ("WEDGE15", middles(wedge, ring(3, 0, 3) + [(i, i + 3) for i in range(3)] + ring(3, 3, 6))),
             ("TETRA10", middles(tetra, [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)])),
             ("SHELL4", shell)]
    nodes = np.vstack([p for _, p in parts])
    data = start("types.exo", "One element of each type", nodes, len(parts), len(parts))
    first = 1
    for b, (kind, places) in enumerate(parts, 1):
        size = block(data, b, kind, np.arange(first, first + len(places)).reshape(1, -1))
        first += len(places)
        if kind == "SHELL4":
            data.createDimension("num_att_in_blk%d" % b, 1)
            data.createVariable("attrib%d" % b, "f8", (size, "num_att_in_blk%d" % b))[:] = 0.25
    data.createDimension("num_nod_var", 3)
    text(data, "name_nod_var", ("num_nod_var", "len_name"), ["DispX", "DispY", "DispZ"])
    data["time_whole"][0] = 0.0
    for k in range(3):
        data.createVariable("vals_nod_var%d" % (k + 1), "f8", ("time_step", "num_nodes"))[0] = 1.0 if k == 0 else 0.0
    data.close()


if __name__ == "__main__":
    bar()
    types()
    sys.exit(0)
