"""Grabs ten frames and saves them: .npy always, PNG when Pillow is present."""
import os
import sys

import numpy as np

import camkit

with camkit.open(transports="plugin", sensor_data=sys.argv[1], plugin=os.environ["SIMCAM"]) as cams:
    cam = cams[0]
    cam.start()
    for n in range(10):
        frame = cam.grab()
        np.save(f"frame{n}.npy", frame)
        try:
            from PIL import Image

            Image.fromarray((frame >> 4).astype(np.uint8)).save(f"frame{n}.png")
        except ImportError:
            pass
        print(f"frame {n}: {frame.shape} {frame.dtype}, counter {int(frame[0, 0])}")
    cam.stop()
