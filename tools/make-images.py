#!/usr/bin/env python3
"""Draws the program's pictures (icon, cursor, bitmaps) into res/images.

The pictures are simple vector shapes rasterised here, so that they can be
regenerated and changed without an image editor:  python3 tools/make-images.py
"""
import math
import os
import struct
import sys

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'res', 'images')
KEY = (255, 0, 255)  # the transparent colour: the top-left pixel of each bitmap


class Canvas:
    def __init__(self, w, h, fill):
        self.w, self.h = w, h
        self.px = [[fill for _ in range(w)] for _ in range(h)]

    def set(self, x, y, c):
        if 0 <= x < self.w and 0 <= y < self.h:
            self.px[y][x] = c

    def rect(self, x0, y0, x1, y1, c):  # inclusive
        for y in range(y0, y1 + 1):
            for x in range(x0, x1 + 1):
                self.set(x, y, c)

    def frame(self, x0, y0, x1, y1, c):
        for x in range(x0, x1 + 1):
            self.set(x, y0, c)
            self.set(x, y1, c)
        for y in range(y0, y1 + 1):
            self.set(x0, y, c)
            self.set(x1, y, c)

    def line(self, x0, y0, x1, y1, c):
        n = max(abs(x1 - x0), abs(y1 - y0), 1)
        for i in range(n + 1):
            self.set(round(x0 + (x1 - x0) * i / n), round(y0 + (y1 - y0) * i / n), c)


def bmp24(canvas):
    row = (canvas.w * 3 + 3) & ~3
    data = bytearray()
    for y in range(canvas.h - 1, -1, -1):
        line = bytearray()
        for x in range(canvas.w):
            r, g, b = canvas.px[y][x][:3]
            line += bytes((b, g, r))
        data += line + b'\0' * (row - len(line))
    header = struct.pack('<2sIHHI', b'BM', 54 + len(data), 0, 0, 54)
    info = struct.pack('<IiiHHIIiiII', 40, canvas.w, canvas.h, 1, 24, 0, len(data), 2835, 2835, 0, 0)
    return header + info + bytes(data)


def ico(canvases, hotspots=None):
    """32-bit icon images with alpha; pixels equal to KEY are transparent.
    With hotspots (one (x, y) per image) the file is a cursor instead."""
    images = []
    for c in canvases:
        xor = bytearray()
        for y in range(c.h - 1, -1, -1):
            for x in range(c.w):
                p = c.px[y][x]
                if p[:3] == KEY:
                    xor += b'\0\0\0\0'
                else:
                    xor += bytes((p[2], p[1], p[0], 255))
        mask_row = ((c.w + 31) // 32) * 4
        mask = bytearray()
        for y in range(c.h - 1, -1, -1):
            bits = bytearray(mask_row)
            for x in range(c.w):
                if c.px[y][x][:3] == KEY:
                    bits[x // 8] |= 0x80 >> (x % 8)
            mask += bits
        info = struct.pack('<IiiHHIIiiII', 40, c.w, c.h * 2, 1, 32, 0, len(xor) + len(mask), 0, 0, 0, 0)
        images.append((c.w, c.h, info + bytes(xor) + bytes(mask)))
    out = bytearray(struct.pack('<HHH', 0, 2 if hotspots else 1, len(images)))
    offset = 6 + 16 * len(images)
    for i, (w, h, blob) in enumerate(images):
        a, b = hotspots[i] if hotspots else (1, 32)  # hotspot, or planes and bit count
        out += struct.pack('<BBBBHHII', w % 256, h % 256, 0, 0, a, b, len(blob), offset)
        offset += len(blob)
    for _, _, blob in images:
        out += blob
    return bytes(out)


def folder_icon(size):
    """A blue-grey folder with a white gauge: the watched folder."""
    c = Canvas(size, size, KEY)
    s = size / 16.0
    def S(v):
        return int(round(v * s))
    dark, body, light = (52, 78, 128), (138, 166, 214), (198, 212, 238)
    c.rect(S(1), S(3), S(6), S(4), body)
    c.rect(S(1), S(4), S(14), S(13), body)
    c.rect(S(1), S(6), S(14), S(6) + max(0, S(0.5)), light)
    c.frame(S(1), S(4), S(14), S(13), dark)
    c.line(S(1), S(3), S(6), S(3), dark)
    # gauge: a white bar with a red fill on the right
    c.rect(S(3), S(9), S(12), S(11), (255, 255, 255))
    c.rect(S(3), S(9), S(9), S(11), (208, 48, 48))
    c.frame(S(3), S(9), S(12), S(11), dark)
    return c


def mix(a, b, t):
    """Colour a moved the fraction t towards colour b."""
    return tuple(round(a[i] + (b[i] - a[i]) * t) for i in range(3))


def cover(c, inside, colour, ss=4):
    """Paints the shape `inside` (a test of a point in pixel units) with edges
    smoothed by ss*ss samples per pixel. Over the transparent key a pixel is
    either painted or not, since a key blended with a colour is no longer the
    key."""
    for y in range(c.h):
        for x in range(c.w):
            hits = sum(inside(x + (i + 0.5) / ss, y + (j + 0.5) / ss) for i in range(ss) for j in range(ss))
            if not hits:
                continue
            t = hits / (ss * ss)
            old = c.px[y][x]
            if old[:3] == KEY:
                if t >= 0.5:
                    c.set(x, y, colour)
            else:
                c.set(x, y, mix(old, colour, t))


def in_round_rect(x0, y0, x1, y1, r):
    """A rectangle with corners rounded by r; the edges are on pixel borders
    (x1, y1 exclusive)."""
    def inside(x, y):
        if not (x0 <= x <= x1 and y0 <= y <= y1):
            return False
        cx = min(max(x, x0 + r), x1 - r)
        cy = min(max(y, y0 + r), y1 - r)
        return (x - cx) ** 2 + (y - cy) ** 2 <= r * r
    return inside


def outlined(c, x0, y0, x1, y1, r, edge, fill):
    """A rounded rectangle in `fill` with a one-pixel `edge`, smoothed."""
    cover(c, in_round_rect(x0, y0, x1, y1, r), edge)
    cover(c, in_round_rect(x0 + 1, y0 + 1, x1 - 1, y1 - 1, max(r - 1, 0)), fill)


# Folders are manila, so that they stand out on white rows and on the
# blue-grey of a selected row alike.
FOLDER_EDGE = (160, 110, 25)
FOLDER_BACK = (232, 180, 62)
FOLDER_FRONT = (252, 214, 112)
FOLDER_LIGHT = (255, 240, 190)
INK = (52, 78, 128)       # the program's dark blue
BODY = (138, 166, 214)    # the dialogs' body colour


def folder_small(c):
    """A 16x16 manila folder filling rows 2 to 13."""
    c.rect(1, 2, 6, 4, FOLDER_BACK)
    c.line(2, 2, 5, 2, FOLDER_EDGE)
    c.set(1, 3, FOLDER_EDGE)
    c.set(6, 3, FOLDER_EDGE)
    c.line(7, 4, 13, 4, FOLDER_EDGE)
    c.rect(1, 4, 14, 13, FOLDER_BACK)
    c.rect(1, 6, 14, 13, FOLDER_FRONT)
    c.line(2, 6, 13, 6, FOLDER_LIGHT)
    c.line(1, 4, 1, 12, FOLDER_EDGE)
    c.line(14, 5, 14, 12, FOLDER_EDGE)
    c.line(2, 13, 13, 13, FOLDER_EDGE)
    c.line(1, 5, 14, 5, FOLDER_EDGE)
    for corner in ((14, 4), (1, 13), (14, 13)):
        c.set(*corner, KEY)
    return c


def folder_bitmap():
    """A plain folder."""
    return folder_small(Canvas(16, 16, KEY))


def drive(c, x0, y0, w, h):
    """A hard drive seen from the front, w by h pixels at x0, y0: a grey box
    with rounded corners, vents and a green light in its lower part."""
    x1, y1 = x0 + w - 1, y0 + h - 1
    face, light, shade, low, dark = (214, 218, 226), (250, 250, 252), (170, 176, 188), (110, 116, 128), (60, 64, 74)
    c.rect(x0 + 1, y0, x1 - 1, y1, face)
    c.rect(x0, y0 + 1, x1, y1 - 1, face)
    c.line(x0 + 1, y0, x1 - 1, y0, low)
    c.line(x0, y0 + 1, x0, y1 - 1, low)
    c.line(x0 + 1, y1, x1 - 1, y1, dark)
    c.line(x1, y0 + 1, x1, y1 - 1, dark)
    c.line(x0 + 1, y0 + 1, x1 - 1, y0 + 1, light)
    vents = y1 - 3
    if h > 6:  # room for a shaded lower half
        c.line(x0 + 1, vents - 1, x1 - 1, vents - 1, shade)
        c.rect(x0 + 1, vents, x1 - 1, y1 - 1, (190, 195, 206))
    else:
        c.line(x0 + 1, y1 - 1, x1 - 1, y1 - 1, shade)
    c.rect(x1 - 3, vents, x1 - 2, vents + 1, (40, 200, 60))
    for x in range(x0 + 2, x1 - 4, 2):
        c.line(x, vents, x, vents + 1, low)


def local_folder_bitmap():
    """A folder on a local drive."""
    c = folder_small(Canvas(16, 16, KEY))
    c.rect(1, 10, 14, 13, KEY)
    drive(c, 0, 9, 16, 6)
    return c


def drive_root_bitmap():
    """A hard drive, 16x10: a drive root."""
    c = Canvas(16, 10, KEY)
    drive(c, 0, 1, 16, 8)
    return c


def network_folder_bitmap():
    """A folder plugged into a network cable: a network location."""
    c = Canvas(16, 16, KEY)
    folder_small(c)
    c.rect(0, 10, 15, 15, KEY)
    c.line(1, 9, 14, 9, FOLDER_EDGE)
    c.line(1, 5, 1, 9, FOLDER_EDGE)
    c.line(14, 5, 14, 9, FOLDER_EDGE)
    cable, plug = (40, 60, 110), (90, 130, 200)
    c.line(7, 10, 7, 12, cable)
    c.line(8, 10, 8, 12, cable)
    c.line(1, 13, 14, 13, cable)
    c.line(1, 14, 14, 14, plug)
    c.rect(5, 12, 10, 15, plug)
    c.frame(5, 12, 10, 15, cable)
    return c


def removable_drive_bitmap():
    """A memory stick standing up, plug at the top: a removable drive."""
    c = Canvas(16, 16, KEY)
    body, edge, metal, dark = (70, 110, 190), (30, 50, 100), (212, 216, 226), (110, 116, 128)
    c.rect(5, 1, 10, 5, metal)
    c.frame(5, 1, 10, 5, dark)
    c.rect(6, 2, 7, 3, (60, 64, 74))
    c.rect(8, 2, 9, 3, (60, 64, 74))
    c.rect(4, 5, 11, 14, body)
    c.frame(4, 5, 11, 14, edge)
    c.set(4, 14, KEY)
    c.set(11, 14, KEY)
    c.line(5, 6, 10, 6, (130, 165, 230))
    c.rect(6, 8, 9, 11, (230, 236, 248))
    c.frame(6, 8, 9, 11, edge)
    c.set(7, 13, (120, 230, 120))
    c.set(8, 13, (120, 230, 120))
    return c


WHITE = (255, 255, 255)


def folder_large(c, x0, y0, x1, y1):
    """A manila folder in the box x0..x1, y0..y1 (pixel borders), smoothed:
    the back with its tab, and the front flap a little lower and lighter."""
    w, h = x1 - x0, y1 - y0
    tab = x0 + w * 0.42
    cover(c, in_round_rect(x0, y0, tab, y0 + h * 0.3, 1.5), FOLDER_EDGE)
    cover(c, in_round_rect(x0 + 1, y0 + 1, tab - 1, y0 + h * 0.3, 0.8), FOLDER_BACK)
    outlined(c, x0, y0 + h * 0.14, x1, y1, 1.5, FOLDER_EDGE, FOLDER_BACK)
    flap = y0 + h * 0.3
    outlined(c, x0, flap, x1, y1, 1.5, FOLDER_EDGE, FOLDER_FRONT)
    # light along the top of the flap, shade towards the bottom
    cover(c, lambda x, y: x0 + 1.5 <= x <= x1 - 1.5 and flap + 1 <= y <= flap + 2, FOLDER_LIGHT)
    cover(c, lambda x, y: x0 + 1.5 <= x <= x1 - 1.5 and y1 - 3 <= y <= y1 - 1, mix(FOLDER_FRONT, FOLDER_BACK, 0.6))


def in_ring(cx, cy, r0, r1):
    return lambda x, y: r0 * r0 <= (x - cx) ** 2 + (y - cy) ** 2 <= r1 * r1


def gear(c, cx, cy, r, teeth=8):
    """A blue-grey gear of outer radius r with a hole, outlined."""

    def tooth_radius(x, y, grow):
        a = math.atan2(y - cy, x - cx)
        return (r if math.cos(teeth * a) > -0.15 else r * 0.74) + grow

    def body(grow):
        hole = r * 0.32 - grow
        return lambda x, y: hole ** 2 <= (x - cx) ** 2 + (y - cy) ** 2 <= tooth_radius(x, y, grow) ** 2

    cover(c, body(0), INK)
    cover(c, body(-1.1), BODY)
    cover(c, in_ring(cx, cy, r * 0.32 + 1.1, r * 0.55), mix(BODY, WHITE, 0.45))


def gauge(c, cx, cy, r):
    """A round size gauge: a white dial with a green-to-red scale over its
    upper half and the needle well into the red."""
    cover(c, in_ring(cx, cy, 0, r), INK)
    cover(c, in_ring(cx, cy, 0, r - 1.2), WHITE)
    arcs = ((180, 240, (60, 170, 70)), (240, 300, (240, 190, 40)), (300, 360, (210, 50, 40)))
    for start, end, colour in arcs:
        def on_arc(x, y, start=start, end=end):
            a = math.degrees(math.atan2(y - cy, x - cx)) % 360
            d = math.hypot(x - cx, y - cy)
            return start <= a <= end and r * 0.56 <= d <= r - 2.2
        cover(c, on_arc, colour)
    a = math.radians(-35)
    tx, ty = cx + math.cos(a) * (r - 2.5), cy + math.sin(a) * (r - 2.5)

    def needle(x, y):
        # distance from the segment centre..tip
        vx, vy = tx - cx, ty - cy
        t = max(0.0, min(1.0, ((x - cx) * vx + (y - cy) * vy) / (vx * vx + vy * vy)))
        return math.hypot(x - (cx + vx * t), y - (cy + vy * t)) <= 0.9
    cover(c, needle, (30, 30, 30))
    cover(c, in_ring(cx, cy, 0, 1.8), (30, 30, 30))


def main_header_bitmap():
    """32x32 on the white header band: a folder with a size gauge, the
    picture of the folder list."""
    c = Canvas(32, 32, WHITE)
    folder_large(c, 1, 3, 27, 25)
    gauge(c, 22, 22, 9)
    return c


def folder_header_bitmap():
    """32x32 on the white header band: a folder with a gear, the picture of
    the properties dialogs."""
    c = Canvas(32, 32, WHITE)
    folder_large(c, 1, 3, 27, 25)
    gear(c, 22.5, 22.5, 9)
    return c


def message_bitmap():
    """A speech balloon with an exclamation mark: "Show message"."""
    c = Canvas(16, 16, KEY)
    ink, paper = (40, 60, 110), (255, 250, 210)
    c.rect(1, 2, 14, 10, paper)
    c.frame(1, 2, 14, 10, ink)
    c.line(4, 11, 4, 13, ink)
    c.line(4, 13, 7, 11, ink)
    c.rect(7, 4, 8, 7, (200, 30, 30))
    c.rect(7, 9, 8, 9, (200, 30, 30))
    c.set(7, 9, (200, 30, 30))
    return c


def log_bitmap():
    """A ruled page with a pencil stroke: "Add to log"."""
    c = Canvas(16, 16, KEY)
    ink, paper = (60, 60, 60), (255, 255, 255)
    c.rect(2, 1, 12, 14, paper)
    c.frame(2, 1, 12, 14, ink)
    for y in (4, 6, 8, 10):
        c.line(4, y, 10, y, (90, 120, 190))
    c.line(9, 12, 14, 7, (220, 140, 20))
    c.line(10, 12, 14, 8, (220, 140, 20))
    c.set(9, 13, ink)
    return c


def run_bitmap():
    """An application window with a green start arrow: "Run application"."""
    c = Canvas(16, 16, KEY)
    ink = (40, 40, 40)
    c.rect(1, 2, 14, 13, (255, 255, 255))
    c.rect(1, 2, 14, 4, (50, 90, 170))
    c.frame(1, 2, 14, 13, ink)
    for i in range(5):
        c.line(6, 6 + i, 6 + i, 6 + i, (30, 150, 50))
        c.line(6, 14 - i - 0, 6 + i, 14 - i, (30, 150, 50))
    c.rect(6, 6, 6, 12, (30, 150, 50))
    return c


def strip(canvases):
    """Images side by side in one bitmap, in the given order."""
    out = Canvas(sum(c.w for c in canvases), max(c.h for c in canvases), KEY)
    x0 = 0
    for c in canvases:
        for y in range(c.h):
            for x in range(c.w):
                out.px[y][x0 + x] = c.px[y][x]
        x0 += c.w
    return out


def paint_where(c, inside, colour):
    for y in range(c.h):
        for x in range(c.w):
            if inside(x, y):
                c.set(x, y, colour)


def disc(c, cx, cy, r, colour):
    paint_where(c, lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r, colour)


def ring(c, cx, cy, r, colour):
    paint_where(c, lambda x, y: r - 0.6 <= ((x - cx) ** 2 + (y - cy) ** 2) ** 0.5 <= r + 0.5, colour)


def page(c, ink=(60, 60, 60)):
    c.rect(3, 1, 12, 14, (255, 255, 255))
    c.frame(3, 1, 12, 14, ink)
    for y in (4, 6, 8):
        c.line(5, y, 10, y, (150, 160, 180))


def page_arrow(c, shaft_top, shaft_bottom, base, tip, colour):
    """A page with a two-pixel arrow whose head goes from row base to row tip."""
    page(c)
    inner = tip - 1 if tip > base else tip + 1
    c.rect(7, shaft_top, 8, shaft_bottom, colour)
    c.line(4, base, 7, tip, colour)
    c.line(11, base, 8, tip, colour)
    c.line(5, base, 7, inner, colour)
    c.line(10, base, 8, inner, colour)
    return c


def import_image():
    """A page taking in a green arrow: "Import settings"."""
    return page_arrow(Canvas(16, 16, KEY), 6, 11, 9, 12, (30, 150, 50))


def export_image():
    """A page sending out a blue arrow: "Export settings"."""
    return page_arrow(Canvas(16, 16, KEY), 7, 13, 8, 5, (40, 90, 190))


def properties_image():
    """Three sliders on a panel: "Properties"."""
    c = Canvas(16, 16, KEY)
    ink = (52, 78, 128)
    c.rect(1, 2, 14, 13, (230, 236, 248))
    c.frame(1, 2, 14, 13, ink)
    for y, knob in ((5, 10), (8, 5), (11, 8)):
        c.line(3, y, 12, y, (120, 120, 120))
        c.rect(knob - 1, y - 1, knob + 1, y + 1, (220, 140, 20))
        c.frame(knob - 1, y - 1, knob + 1, y + 1, ink)
    return c


def exit_image():
    """An open door with a red arrow leaving: "Exit"."""
    c = Canvas(16, 16, KEY)
    wood, ink, red = (170, 110, 60), (70, 45, 25), (200, 40, 40)
    c.rect(2, 1, 9, 14, (250, 240, 220))
    c.frame(2, 1, 9, 14, ink)
    for y in range(2, 15):
        c.line(2, y, 6, y + (1 if y < 14 else 0), wood)
    c.set(5, 8, (240, 200, 60))
    c.rect(8, 7, 13, 8, red)
    c.line(11, 5, 14, 7, red)
    c.line(11, 10, 14, 8, red)
    return c


def help_image():
    """A blue ball with a white question mark: "Help"."""
    c = Canvas(16, 16, KEY)
    disc(c, 7.5, 7.5, 7, (40, 90, 190))
    w = (255, 255, 255)
    c.rect(6, 3, 9, 3, w)
    c.set(5, 4, w); c.set(10, 4, w); c.set(10, 5, w)
    c.rect(8, 6, 9, 6, w)
    c.rect(7, 7, 8, 8, w)
    c.rect(7, 11, 8, 12, w)
    return c


def web_image():
    """A globe with meridians: "web-site"."""
    c = Canvas(16, 16, KEY)
    disc(c, 7.5, 7.5, 6.8, (110, 180, 230))
    ink = (30, 80, 140)
    ring(c, 7.5, 7.5, 6.8, ink)
    c.line(1, 7, 14, 7, ink)
    c.line(2, 4, 13, 4, ink)
    c.line(2, 11, 13, 11, ink)
    c.line(7, 1, 7, 14, ink)
    for y in range(2, 14):
        dx = round(3.2 * (1 - ((y - 7.5) / 6.5) ** 2) ** 0.5)
        c.set(7 - dx, y, ink)
        c.set(8 + dx, y, ink)
    c.rect(3, 5, 5, 6, (60, 150, 60))
    c.rect(9, 8, 11, 10, (60, 150, 60))
    return c


def support_image():
    """A red and white life ring: "Support"."""
    c = Canvas(16, 16, KEY)
    red, white = (210, 40, 40), (255, 255, 255)
    disc(c, 7.5, 7.5, 7, white)
    # the two opposite quarters where x and y lie on the same side of the centre
    paint_where(c, lambda x, y: (x - 7.5) ** 2 + (y - 7.5) ** 2 <= 49 and (x - 7.5) * (y - 7.5) > 0, red)
    disc(c, 7.5, 7.5, 3, KEY)
    ring(c, 7.5, 7.5, 7, (90, 30, 30))
    ring(c, 7.5, 7.5, 3.2, (90, 30, 30))
    return c


def about_image():
    """A white "i" on a blue-grey ball: "About"."""
    c = Canvas(16, 16, KEY)
    disc(c, 7.5, 7.5, 7, (138, 166, 214))
    ring(c, 7.5, 7.5, 7, (52, 78, 128))
    w = (255, 255, 255)
    c.rect(7, 3, 8, 4, w)
    c.rect(6, 6, 8, 6, w)
    c.rect(7, 7, 8, 11, w)
    c.rect(6, 12, 9, 12, w)
    return c


# The image menu lists the commands in this order.
MENU_IMAGES = [import_image, export_image, properties_image, exit_image,
               help_image, web_image, support_image, about_image]


def hand_cursor():
    """A pointing hand, black outline on white; the hotspot is the fingertip."""
    c = Canvas(32, 32, KEY)
    black, white = (0, 0, 0), (255, 255, 255)
    # index finger
    c.rect(6, 1, 8, 12, white)
    # the other three fingers, shorter, then the palm
    c.rect(9, 8, 11, 12, white)
    c.rect(12, 9, 14, 12, white)
    c.rect(15, 10, 17, 13, white)
    c.rect(6, 12, 17, 19, white)
    # thumb
    c.line(2, 11, 5, 14, white); c.line(3, 11, 6, 14, white); c.line(2, 12, 5, 15, white)
    c.rect(7, 20, 16, 22, white)
    outline = [(x, y) for y in range(32) for x in range(32) if c.px[y][x] == white]
    for x, y in outline:
        for nx, ny in ((x - 1, y), (x + 1, y), (x, y - 1), (x, y + 1)):
            if 0 <= nx < 32 and 0 <= ny < 32 and c.px[ny][nx] == KEY:
                c.px[ny][nx] = black
    # knuckle lines
    for x in (9, 12, 15):
        c.line(x - 1, 12, x - 1, 14, black)
    c.line(5, 23, 18, 23, black)
    return c


def main():
    os.makedirs(OUT, exist_ok=True)
    files = {
        'app.ico': ico([folder_icon(16), folder_icon(32), folder_icon(48)]),
        'action_message.bmp': bmp24(message_bitmap()),
        'action_log.bmp': bmp24(log_bitmap()),
        'action_run.bmp': bmp24(run_bitmap()),
        'menu_images.bmp': bmp24(strip([draw() for draw in MENU_IMAGES])),
        'hand.cur': ico([hand_cursor()], hotspots=[(7, 0)]),
        'main_header.bmp': bmp24(main_header_bitmap()),
        'folder_header.bmp': bmp24(folder_header_bitmap()),
        'folder.bmp': bmp24(folder_bitmap()),
        'local_folder.bmp': bmp24(local_folder_bitmap()),
        'drive_root.bmp': bmp24(drive_root_bitmap()),
        'network_folder.bmp': bmp24(network_folder_bitmap()),
        'removable_drive.bmp': bmp24(removable_drive_bitmap()),
    }
    for name, blob in files.items():
        with open(os.path.join(OUT, name), 'wb') as f:
            f.write(blob)
    return 0


if __name__ == '__main__':
    sys.exit(main())
