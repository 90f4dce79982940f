#!/usr/bin/env python3
"""Lists the cameras, then grabs a few images from one and saves them.

    python3 grab.py                 # list only
    python3 grab.py SERIAL [N] [DIR]

Each image is saved twice into DIR (default ./grabbed): the raw pixels as
NumPy's .npy (exactly as the camera sent them) and a viewable 8-bit picture
as binary PGM (mono) or PPM (colour).
"""

import os
import sys

import lumogenicam
import numpy


def write_netpbm(path, pixels):
    """Writes an (H, W) or (H, W, 3) RGB uint8 array as binary PGM or PPM."""
    height, width = pixels.shape[:2]
    magic = b"P5" if pixels.ndim == 2 else b"P6"
    with open(path, "wb") as out:
        out.write(b"%s\n%d %d\n255\n" % (magic, width, height))
        out.write(pixels.tobytes())


def main():
    records = lumogenicam.discover()
    if not records:
        print("no camera found; producers considered:")
        for report in lumogenicam.producer_reports():
            print(f"  {report['path']}: {report['state']} {report['reason']}")
        return 1
    for record in records:
        where = f" at {record.ip}" if record.ip else ""
        print(f"{record.serial:12} {record.vendor} {record.model} ({record.tl_type}){where}")
    if len(sys.argv) < 2:
        return 0

    serial = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    folder = sys.argv[3] if len(sys.argv) > 3 else "grabbed"
    os.makedirs(folder, exist_ok=True)

    with lumogenicam.Camera(serial) as camera:
        for image in camera.stream(count, timeout=5.0):
            stem = os.path.join(folder, f"frame-{image.frame_id:06d}")
            numpy.save(stem + ".npy", image.array)
            colour = image.pixel_format is None or not image.pixel_format.startswith("Mono")
            if image.incomplete:
                print(f"frame {image.frame_id}: incomplete, raw pixels only")
                continue
            if colour:
                write_netpbm(stem + ".ppm", image.to_rgb())
            else:
                write_netpbm(stem + ".pgm", image.to_mono8())
            print(f"frame {image.frame_id}: {image.width}x{image.height} "
                  f"{image.pixel_format} -> {stem}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
