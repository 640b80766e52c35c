#!/usr/bin/env python3
"""Draws the program's small pictures (icon and 16x16 bitmaps) into res/images.

The pictures are simple vector shapes rasterised here, so that they can be
regenerated and changed without an image editor:  python3 tools/make-images.py
"""
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


def ico(canvases):
    """32-bit icon images with alpha; pixels equal to KEY are transparent."""
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
    out = bytearray(struct.pack('<HHH', 0, 1, len(images)))
    offset = 6 + 16 * len(images)
    for w, h, blob in images:
        out += struct.pack('<BBBBHHII', w % 256, h % 256, 0, 0, 1, 32, len(blob), offset)
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


def main():
    os.makedirs(OUT, exist_ok=True)
    files = {
        'app.ico': ico([folder_icon(16), folder_icon(32), folder_icon(48)]),
        'action_message.bmp': bmp24(message_bitmap()),
        'action_log.bmp': bmp24(log_bitmap()),
        'action_run.bmp': bmp24(run_bitmap()),
    }
    for name, blob in files.items():
        with open(os.path.join(OUT, name), 'wb') as f:
            f.write(blob)
    return 0


if __name__ == '__main__':
    sys.exit(main())
