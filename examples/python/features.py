#!/usr/bin/env python3
"""Reads, describes and writes features, then saves and restores them.

    python3 features.py SERIAL [FILE]

FILE (default ./camera-features.txt) receives the camera's settings, one
"Name<TAB>Value" line each; loading it sets them again.
"""

import sys

import lumogenicam


def show(features, name):
    info = features.describe(name)
    value = features[name] if info["access"] in ("RO", "RW") else "-"
    extra = ""
    if info["min"] is not None:
        extra = f" range {info['min']} .. {info['max']}"
        if info["increment"] is not None:
            extra += f" step {info['increment']}"
    if info["entries"]:
        extra = " one of " + ", ".join(info["entries"])
    unit = f" {info['unit']}" if info["unit"] else ""
    print(f"  {name} = {value!r}{unit} ({info['type']}, {info['access']}){extra}")


def main():
    if len(sys.argv) < 2:
        print(__doc__.strip())
        return 2
    path = sys.argv[2] if len(sys.argv) > 2 else "camera-features.txt"
    with lumogenicam.Camera(sys.argv[1]) as camera:
        features = camera.features
        print("camera features:")
        for name in ("Width", "Height", "PixelFormat", "AcquisitionFrameRate"):
            if name in features:
                show(features, name)
        print("producer:", camera.system["TLVendorName"], camera.system["TLModelName"])

        features.save(path)
        print(f"saved to {path}")

        # Values take their Python type: int, float, bool or an entry name.
        width = features["Width"]
        features["Width"] = features.describe("Width")["min"]
        print("Width changed to", features["Width"])
        try:
            features["Width"] = 10**9
        except lumogenicam.FeatureError as error:
            print("refused:", error)

        features.load(path)
        print("restored from file: Width =", features["Width"])
        assert features["Width"] == width
    return 0


if __name__ == "__main__":
    sys.exit(main())
