#!/usr/bin/env python3
"""Writes camkit's sample image files into data/images/.

One small image per loader and depth, all patterns of our own, with side
files ("<name>_info.txt") where a sample needs one.  Beside each sample the
script writes the frame the image-file camera must deliver for it, as it
opens (expected/<file>.frame), and one line per sample in manifest.txt:

    file width height image-type pixel-order pedestal

(image types by number, as camkit.h numbers them).  The tests open every
sample through the library and compare the grabbed frame with these bytes.

It also writes the seed corpus of the fuzz target fuzz_imagefile
(fuzz/seeds/fuzz_imagefile/): each sample behind the byte that picks its
extension, and a side file in front where the sample has one.

Run from anywhere:  python3 data/tools/gen_image_samples.py
The output is committed; rerun this script after changing it.
"""
import os
import struct
import zlib

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "images")
SEEDS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "fuzz", "seeds", "fuzz_imagefile")
# The fuzz target's extension list (fuzz/imagefile_input.h), in its order.
FUZZ_EXTENSIONS = [".bmp", ".ccr", ".dxr", ".csv", ".tab", ".txt", ".itx", ".raw", ".bin", ".jpg", ".jpeg", ".png",
                   ".tif", ".tiff", ".dat", ".sdat"]

# Image types (camkit.h).
BAYER_8, BAYER_10, BAYER_12, BAYER_14, BAYER_20 = 1, 2, 12, 21, 24
RGB32, RGB48, JPEG, PNG = 11, 15, 16, 18


def pattern(w, h, maximum, seed):
    """A deterministic w x h grid of samples in 0..maximum."""
    return [[(x * 37 + y * 101 + seed * 59 + (x * y) % 7) % (maximum + 1) for x in range(w)] for y in range(h)]


def le16(values):
    return b"".join(struct.pack("<H", v) for v in values)


def le32(values):
    return b"".join(struct.pack("<I", v) for v in values)


def flat(grid):
    return [v for row in grid for v in row]


def bgrx(r, g, b, x=255):
    return bytes((b, g, r, x))


class Samples:
    def __init__(self):
        self.manifest = []

    def write(self, name, data, expected, width, height, image_type, order=0, pedestal=42, info=None):
        with open(os.path.join(OUT, name), "wb") as f:
            f.write(data)
        with open(os.path.join(OUT, "expected", name + ".frame"), "wb") as f:
            f.write(expected)
        if info is not None:
            base = name.rsplit(".", 1)[0]
            with open(os.path.join(OUT, base + "_info.txt"), "w") as f:
                f.write(info)
        ext = FUZZ_EXTENSIONS.index("." + name.rsplit(".", 1)[1])
        side = b"" if info is None else bytes((len(info),)) + info.encode()
        with open(os.path.join(SEEDS, name), "wb") as f:
            f.write(bytes((ext | (0x80 if info is not None else 0),)) + side + data)
        self.manifest.append(f"{name} {width} {height} {image_type} {order} {pedestal}")


# ---------------------------------------------------------------- bitmaps
def bmp_file(width, height, bits, rows, palette=None, top_down=False):
    """Our bitmap layout: "BM", two unused bytes, size at 4, reserved words
    at 8 and 10, data offset at 12, the 40-byte information header at 16."""
    pad = (4 - width % 4) % 4 if bits == 8 else (width % 4 if bits == 24 else 0)
    data = b"".join(row + b"\0" * pad for row in (rows if top_down else rows[::-1]))
    pal = b"".join(palette or [])
    offset = 16 + 40 + len(pal)
    info = struct.pack("<IiiHHIIiiII", 40, width, -height if top_down else height, 1, bits, 0, len(data), 2835, 2835,
                       len(palette or []), 0)
    header = b"BM" + b"\0\0" + struct.pack("<IHHI", offset + len(data), 0, 0, offset)
    return header + info + pal + data


def bitmaps(s):
    w, h = 13, 6  # row padding 3
    grid = pattern(w, h, 255, 1)
    palette = [bytes((i, 255 - i, i // 2, 0)) for i in range(256)]
    s.write("bmp8.bmp", bmp_file(w, h, 8, [bytes(r) for r in grid], palette), bytes(flat(grid)), w, h, BAYER_8, 1,
            info="Sensor: sample\nRGGB\n")
    w, h = 7, 5  # row padding 3
    pix = [[(v, (v * 3) % 256, (v * 7) % 256) for v in row] for row in pattern(w, h, 255, 2)]
    rows = [b"".join(bytes((b, g, r)) for (r, g, b) in row) for row in pix]
    s.write("bmp24.bmp", bmp_file(w, h, 24, rows), b"".join(bgrx(*p) for row in pix for p in row), w, h, RGB32)
    w, h = 6, 4
    pix = [[(v, 255 - v, (v * 5) % 256, v % 17) for v in row] for row in pattern(w, h, 255, 3)]
    rows = [b"".join(bytes((b, g, r, x)) for (r, g, b, x) in row) for row in pix]
    s.write("bmp32_topdown.bmp", bmp_file(w, h, 32, rows, top_down=True), b"".join(rows), w, h, RGB32)


# ---------------------------------------------------------------- CCR, DXR
def ccr_file(width, height, image_type, bits, data, black=0):
    header = struct.pack("<IIIIIId", 0x0A524343, 0x0102, width, height, image_type, bits, 1.0)
    header += struct.pack("<II", 0, 0) + struct.pack("<II", 0, 0) + struct.pack("<4I", black, black, black, black)
    header += struct.pack("<4I", 0, 0, 0, 0) + b"camkit sample".ljust(256, b"\0")
    assert len(header) == 336
    return header + data


def samples_of(values, bits):
    return bytes(values) if bits <= 8 else le16(values) if bits <= 16 else le32(values)


def ccrs(s):
    w, h = 10, 6
    g = flat(pattern(w, h, 255, 4))
    # type 7: both phase bits set, pixel order 3
    s.write("ccr8.ccr", ccr_file(w, h, 7, 8, bytes(g), black=16), bytes(g), w, h, BAYER_8, 3, 16)
    g = flat(pattern(w, h, 4095, 5))
    s.write("ccr12.ccr", ccr_file(w, h, 2, 12, le16(g), black=168), le16(g), w, h, BAYER_12, 1, 168,
            info="Width = 10\nHeight = 6\nFormat = Bayer 12\noutput = 16\nFuseID: 1234\nBGGR\n")
    g = flat(pattern(w, h, (1 << 20) - 1, 6))
    s.write("ccr20.ccr", ccr_file(w, h, 4, 20, le32(g), black=1000), le32(g), w, h, BAYER_20, 2, 1000)
    w, h = 5, 3
    planes = [flat(pattern(w, h, 255, 7 + c)) for c in range(3)]
    frame = b"".join(bgrx(planes[0][i], planes[1][i], planes[2][i]) for i in range(w * h))
    s.write("ccr_rgb8.ccr", ccr_file(w, h, 0, 8, b"".join(bytes(p) for p in planes)), frame, w, h, RGB32, 0, 0)
    planes = [flat(pattern(w, h, 1023, 10 + c)) for c in range(3)]
    frame = b"".join(le16([planes[2][i] << 6, planes[1][i] << 6, planes[0][i] << 6]) for i in range(w * h))
    s.write("ccr_rgb10.ccr", ccr_file(w, h, 0, 10, b"".join(le16(p) for p in planes), black=3), frame, w, h, RGB48,
            0, 3)


def dxr_file(kind, width, height, bits, channels, data, signed=0):
    header = struct.pack("<I16sIIIII", 0x20525844, kind, width, height, bits, signed, channels) + b"\0" * 24
    assert len(header) == 64
    return header + data


def dxrs(s):
    w, h = 9, 4
    g = flat(pattern(w, h, 255, 13))
    s.write("dxr8.dxr", dxr_file(b"", w, h, 8, 1, bytes(g)), bytes(g), w, h, BAYER_8)
    pw, ph = 4, 3
    planes = [pattern(pw, ph, 4095, 14 + p) for p in range(4)]
    image = [[0] * (2 * pw) for _ in range(2 * ph)]
    for p in range(4):
        for y in range(ph):
            for x in range(pw):
                image[2 * y + (p >> 1)][2 * x + (p & 1)] = planes[p][y][x]
    data = b"".join(le16(flat(p)) for p in planes)
    s.write("dxr_bayer12.dxr", dxr_file(b"Bayer1", pw, ph, 12, 4, data), le16(flat(image)), 2 * pw, 2 * ph, BAYER_12, 2)
    w, h = 3, 2
    planes = [flat(pattern(w, h, 65535, 18 + c)) for c in range(3)]
    frame = b"".join(le16([planes[2][i], planes[1][i], planes[0][i]]) for i in range(w * h))
    s.write("dxr_rgb16.dxr", dxr_file(b"RGB", w, h, 16, 3, b"".join(le16(p) for p in planes)), frame, w, h, RGB48)


# ---------------------------------------------------------------- text
def texts(s):
    w, h = 6, 5
    g = pattern(w, h, 3000, 21)
    body = "; camkit sample, 12 bits\n" + "\n".join(",".join(str(v) for v in row) for row in g) + "\n"
    body += "[CSV_FOOTERS]\nwidth = 6\nheight = 5\nbpp = 12\n"
    s.write("csv_footer.csv", body.encode(), le16(flat(g)), w, h, BAYER_12)
    w, h = 8, 6
    g = pattern(w, h, 255, 22)
    g[0] = [0x10, 0x25, 0x31, 0x47, 0x52, 0x66, 0x73, 0x80]  # read as decimal too
    g[2][3] = 0x1F  # the first value that reads only as hexadecimal
    body = "# hexadecimal\n" + "\n".join(" ".join("%X" % v for v in row) for row in g) + "\n"
    s.write("csv_hex.txt", body.encode(), bytes(flat(g)), w, h, BAYER_8)
    w, h = 88, 72  # one value a line: the size is the plausible one for the count
    g = flat(pattern(w, h, 1000, 23))
    s.write("csv_plain.tab", ("\n".join(str(v) for v in g) + "\n").encode(), le16(g), w, h, BAYER_10)
    w, h = 7, 4
    g = pattern(w, h, 4000, 24)
    body = "ITX[ITX]\n; camkit sample\n%d %d RGGB uint32 1.0 4095\nITX[ITX]\n" % (w, h)
    body += "\n".join(" ".join(str(v) for v in row) for row in g) + "\n"
    s.write("itx_header.itx", body.encode(), le16(flat(g)), w, h, BAYER_12, 1, min(flat(g)))
    w, h = 12, 6
    g = pattern(w, h, 200, 25)
    body = "%d %d\n" % (w, h) + "\n".join(", ".join(str(v) for v in row) for row in g) + "\n"
    s.write("itx_plain.itx", body.encode(), bytes(flat(g)), w, h, BAYER_8)


# ---------------------------------------------------------------- raw
def raws(s):
    w, h = 160, 120
    g = bytes(flat(pattern(w, h, 255, 26)))
    s.write("raw8.raw", g, g, w, h, BAYER_8)
    w, h = 88, 72
    g = le16(flat(pattern(w, h, 4095, 27)))
    s.write("raw12.bin", g, g, w, h, BAYER_12)
    w, h = 10, 6
    g = le16(flat(pattern(w, h, 1023, 28)))
    s.write("raw_info.raw", g, g, w, h, BAYER_10, 3,
            info="Width = 10\nHeight = 6\nFormat = Bayer 10\noutput = 16\nGBRG\n")


# ---------------------------------------------------------------- JPEG
def jpeg_file(width, height, level):
    """A baseline grey JPEG of one flat level (each block's DC only)."""
    def segment(marker, payload):
        return bytes((0xFF, marker)) + struct.pack(">H", len(payload) + 2) + payload
    dqt = segment(0xDB, b"\0" + b"\1" * 64)
    sof = segment(0xC0, struct.pack(">BHHB", 8, height, width, 1) + bytes((1, 0x11, 0)))
    dc = segment(0xC4, bytes((0x00,)) + bytes((0, 2) + (0,) * 14) + bytes((0, 8)))  # 00: size 0, 01: size 8
    ac = segment(0xC4, bytes((0x10,)) + bytes((1,) + (0,) * 15) + bytes((0,)))  # 0: end of block
    sos = segment(0xDA, bytes((1, 1, 0x00, 0, 63, 0)))
    blocks = ((width + 7) // 8) * ((height + 7) // 8)
    dc_value = 8 * (level - 128)
    assert 128 <= dc_value < 256
    bits = "01" + format(dc_value, "08b") + "0" + ("00" + "0") * (blocks - 1)
    bits += "1" * (-len(bits) % 8)
    scan = b""
    for i in range(0, len(bits), 8):
        byte = int(bits[i:i + 8], 2)
        scan += bytes((byte,)) + (b"\0" if byte == 0xFF else b"")
    return b"\xFF\xD8" + dqt + sof + dc + ac + sos + scan + b"\xFF\xD9"


def jpegs(s):
    data = jpeg_file(16, 16, 144)
    s.write("flat.jpg", data, data, 16, 16, JPEG)


# ---------------------------------------------------------------- PNG
def png_file(width, height, depth, colour, rows, palette=None):
    def chunk(kind, payload):
        return struct.pack(">I", len(payload)) + kind + payload + struct.pack(">I", zlib.crc32(kind + payload))
    ihdr = struct.pack(">IIBBBBB", width, height, depth, colour, 0, 0, 0)
    raw = b"".join(b"\0" + row for row in rows)
    body = chunk(b"IHDR", ihdr)
    if palette:
        body += chunk(b"PLTE", b"".join(palette))
    return b"\x89PNG\r\n\x1a\n" + body + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b"")


def pngs(s):
    w, h = 11, 7
    g = pattern(w, h, 255, 30)
    s.write("png_grey8.png", png_file(w, h, 8, 0, [bytes(r) for r in g]), bytes(flat(g)), w, h, BAYER_8)
    g = pattern(w, h, 4095, 31)
    rows = [b"".join(struct.pack(">H", v << 4) for v in r) for r in g]
    s.write("png_grey16.png", png_file(w, h, 16, 0, rows), le16(flat(g)), w, h, BAYER_12, 2, info="BGGR\n")
    pix = [[(v, (v * 3) % 256, (v * 11) % 256) for v in row] for row in pattern(w, h, 255, 32)]
    rows = [b"".join(bytes(p) for p in row) for row in pix]
    s.write("png_rgb.png", png_file(w, h, 8, 2, rows), b"".join(bgrx(*p) for row in pix for p in row), w, h, PNG)
    palette = [bytes(((i * 40) % 256, (i * 90) % 256, (i * 150) % 256)) for i in range(16)]
    g = pattern(w, h, 15, 33)
    rows = [bytes((r[x] << 4) | (r[x + 1] if x + 1 < w else 0) for x in range(0, w, 2)) for r in g]
    frame = b"".join(bgrx(*palette[v]) for v in flat(g))
    s.write("png_palette4.png", png_file(w, h, 4, 3, rows, palette), frame, w, h, PNG)


# ---------------------------------------------------------------- TIFF
def tiff_file(width, height, bits, spp, rows, order="<", rows_per_strip=None):
    """An uncompressed striped TIFF in either byte order."""
    rows_per_strip = rows_per_strip or height
    strips = [b"".join(rows[y:y + rows_per_strip]) for y in range(0, height, rows_per_strip)]
    magic = b"II*\0" if order == "<" else b"MM\0*"
    data_start = 8
    offsets, pos = [], data_start
    for strip in strips:
        offsets.append(pos)
        pos += len(strip)
    extra = pos + (pos % 2)
    extras = b""

    def array(kind, values):
        nonlocal extras
        fmt = order + ("H" if kind == 3 else "I") * len(values)
        packed = struct.pack(fmt, *values)
        if len(packed) <= 4:
            return packed.ljust(4, b"\0")
        where = extra + len(extras)
        extras += packed
        return struct.pack(order + "I", where)

    entries = [(256, 4, [width]), (257, 4, [height]), (258, 3, [bits] * spp), (259, 3, [1]),
               (262, 3, [1 if spp == 1 else 2]), (273, 4, offsets), (277, 3, [spp]), (278, 4, [rows_per_strip]),
               (279, 4, [len(s) for s in strips]), (284, 3, [1])]
    fields = b"".join(struct.pack(order + "HHI", tag, kind, len(v)) + array(kind, v) for tag, kind, v in entries)
    ifd_at = extra + len(extras)
    ifd = struct.pack(order + "H", len(entries)) + fields + struct.pack(order + "I", 0)
    head = magic + struct.pack(order + "I", ifd_at)
    body = b"".join(strips) + b"\0" * (extra - pos)
    return head + body + extras + ifd


def tiffs(s):
    w, h = 9, 5
    g = pattern(w, h, 255, 40)
    s.write("tiff_grey8.tif", tiff_file(w, h, 8, 1, [bytes(r) for r in g], "<", 2), bytes(flat(g)), w, h, BAYER_8)
    g = pattern(w, h, 4095, 41)
    rows = [b"".join(struct.pack(">H", v) for v in r) for r in g]
    s.write("tiff_grey12_be.tiff", tiff_file(w, h, 16, 1, rows, ">", 3), le16(flat(g)), w, h, BAYER_12)
    pix = [[(v, 255 - v, (v * 13) % 256) for v in row] for row in pattern(w, h, 255, 42)]
    rows = [b"".join(bytes(p) for p in row) for row in pix]
    s.write("tiff_rgb8.tif", tiff_file(w, h, 8, 3, rows), b"".join(bgrx(*p) for row in pix for p in row), w, h, RGB32)
    pix = [[(v, 65535 - v, (v * 13) % 65536) for v in row] for row in pattern(w, h, 65535, 43)]
    rows = [b"".join(struct.pack(">3H", *p) for p in row) for row in pix]
    frame = b"".join(le16([b, g_, r]) for row in pix for (r, g_, b) in row)
    s.write("tiff_rgb16_be.tif", tiff_file(w, h, 16, 3, rows, ">"), frame, w, h, RGB48)


def main():
    os.makedirs(os.path.join(OUT, "expected"), exist_ok=True)
    os.makedirs(SEEDS, exist_ok=True)
    s = Samples()
    for make in (bitmaps, ccrs, dxrs, texts, raws, jpegs, pngs, tiffs):
        make(s)
    with open(os.path.join(OUT, "manifest.txt"), "w") as f:
        f.write("# file width height image-type pixel-order pedestal (written by gen_image_samples.py)\n")
        f.write("\n".join(s.manifest) + "\n")


if __name__ == "__main__":
    main()
