#!/usr/bin/env python3
"""Writes the STL files of the sample machines: machines/<machine>/<part>.stl, binary; what
several machines have stands in machines/shared.

A part is a few boxes and cylinders, in millimetres and in the frame of the machine with all axes at
zero: the spindle nose stands in the origin. Workpieces and their stock are in the frame of the
part. Run it again after a change; it needs nothing besides Python, and the same tables give the
same bytes."""

import math
import pathlib
import struct

SIDES = 16


def box(x0, x1, y0, y1, z0, z1):
    """The triangles of a box, counter-clockwise from outside."""
    p = [(x, y, z) for x in (x0, x1) for y in (y0, y1) for z in (z0, z1)]
    faces = [(0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3)]
    return [t for a, b, c, d in faces for t in ((p[a], p[b], p[c]), (p[a], p[c], p[d]))]


def cone(axis, centre, low, high, low_radius, high_radius):
    """A frustum about a line parallel to an axis, 0 to 2, through centre (of the two others)."""

    def point(along, radius, i):
        turn = 2 * math.pi * (i % SIDES) / SIDES
        across = (centre[0] + radius * math.cos(turn), centre[1] + radius * math.sin(turn))
        # The two others follow the axis, so that the sense of the turn stays right-handed.
        place = [0.0, 0.0, 0.0]
        place[axis], place[(axis + 1) % 3], place[(axis + 2) % 3] = along, *across
        return tuple(place)

    triangles = []
    for i in range(SIDES):
        a, b = point(low, low_radius, i), point(low, low_radius, i + 1)
        c, d = point(high, high_radius, i + 1), point(high, high_radius, i)
        triangles += [(a, b, c), (a, c, d)]
        triangles += [(point(low, 0, 0), b, a), (point(high, 0, 0), d, c)]
    return triangles


def cylinder(axis, centre, low, high, radius):
    return cone(axis, centre, low, high, radius, radius)


X, Y, Z = range(3)
# What all machines have in their spindle: from the nose down to where the tool begins.
CHUCK = cone(Z, (0, 0), -60, 0, 22, 40) + cylinder(Z, (0, 0), -118, -60, 16)
SPINDLE = cylinder(Z, (0, 0), 0, 90, 60)

PARTS = {
    "shared": {
        "chuck": CHUCK,
        "gantry_base": box(-1900, 1900, -900, 1700, -900, -700)
        + box(-1900, -1700, -900, 1700, -700, 300)
        + box(1700, 1900, -900, 1700, -700, 300)
        + box(-600, 600, -500, 500, -700, 0),
        "gantry": box(-1900, 1900, 260, 560, 600, 900)
        + box(-1900, -1700, 160, 660, 300, 600)
        + box(1700, 1900, 160, 660, 300, 600),
        "gantry_carriage": box(-260, 260, 180, 260, 480, 980),
        "disc": cylinder(Z, (0, 0), -60, 0, 80),
        "disc_stock": cylinder(Z, (0, 0), -60, 30, 100),
    },
    "mill3": {
        "base": box(-450, 450, -650, 700, -600, -340) + box(-260, 260, 420, 900, -340, 1000),
        "saddle": box(-400, 400, -260, 260, -340, -250),
        "table": box(-620, 620, -230, 230, -250, -160),
        "vice": box(-190, 190, -150, 150, -160, -60),
        "head": box(-180, 180, -170, 420, 90, 520) + SPINDLE,
        "workpiece": box(0, 340, 0, 240, -25, 0),
        "stock": box(-5, 345, -5, 245, -60, 2),
    },
    "mill4_table_a": {
        "base": box(-450, 450, -650, 700, -600, -340) + box(-260, 260, 420, 900, -340, 1000),
        "saddle": box(-400, 400, -260, 260, -340, -250),
        "table": box(-620, 620, -230, 230, -250, -160)
        + box(150, 400, -140, 140, -160, 150)
        + box(-260, -200, -50, 50, -160, 40),
        "faceplate": cylinder(X, (0, 0), 110, 150, 120) + cone(X, (0, 0), -200, -100, 40, 10),
        "head": box(-180, 180, -170, 420, 90, 520) + SPINDLE,
        "workpiece": cylinder(X, (0, 0), 0, 210, 20),
        "stock": cylinder(X, (0, 0), 0, 210, 26),
    },
    "trunnion_ca": {
        "base": box(-800, 800, -600, 700, -700, -420)
        + box(-800, -640, -600, 700, -420, 700)
        + box(640, 800, -600, 700, -420, 700)
        + box(-420, -330, -150, 150, -420, 20)
        + box(330, 420, -150, 150, -420, 20),
        "cradle": box(-330, -260, -90, 90, -110, 10)
        + box(260, 330, -90, 90, -110, 10)
        + box(-330, 330, -180, 180, -150, -110),
        "table": cylinder(Z, (0, 0), -110, 0, 200),
        "crossbeam": box(-800, 800, 300, 440, 480, 700),
        "carriage": box(-200, 200, 180, 300, 380, 720),
        "head": box(-120, 120, -110, 180, 90, 650) + SPINDLE,
    },
    "head_table_bc": {
        "base": box(-900, 900, -300, 300, -600, -300) + box(-300, 300, 500, 900, -600, 900),
        "slide": box(-350, 350, -280, 280, -300, -120),
        "table": cylinder(Z, (0, 0), -120, 0, 260),
        "column": box(-240, 240, 400, 500, -400, 800),
        "carriage": box(-160, 160, 160, 400, 60, 420),
        "head": box(-90, 90, -110, 110, 90, 290) + cylinder(Y, (180, 0), 110, 160, 90) + SPINDLE,
    },
    "nutating_head_cb": {
        "ram": box(-140, 140, -140, 180, 420, 1500),
        "fork": cylinder(Z, (0, 0), 340, 420, 130) + box(-90, 90, -220, -100, 100, 340),
        "head": box(-80, 80, -100, 90, 90, 270) + SPINDLE,
    },
    "fork_ca": {
        "ram": box(-140, 140, -140, 180, 470, 1500),
        "fork": cylinder(Z, (0, 0), 400, 470, 190)
        + box(-190, -110, -90, 90, 160, 400)
        + box(110, 190, -90, 90, 160, 400),
        "head": cylinder(X, (0, 250), -110, 110, 80) + box(-80, 80, -80, 80, 90, 250) + SPINDLE,
    },
}


def normal(a, b, c):
    u = [b[i] - a[i] for i in range(3)]
    v = [c[i] - a[i] for i in range(3)]
    n = [u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]]
    length = math.sqrt(sum(x * x for x in n))
    return [x / length for x in n]


def main():
    folder = pathlib.Path(__file__).parent
    for machine, parts in PARTS.items():
        (folder / machine).mkdir(exist_ok=True)
        for part, triangles in parts.items():
            data = b"kandrel sample machine".ljust(80) + struct.pack("<I", len(triangles))
            for t in triangles:
                data += struct.pack("<12f", *normal(*t), *t[0], *t[1], *t[2]) + b"\0\0"
            (folder / machine / f"{part}.stl").write_bytes(data)


if __name__ == "__main__":
    main()
