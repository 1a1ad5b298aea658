"""Prints every register of the first camera whose name matches a pattern."""
import os
import sys

import camkit

pattern = sys.argv[2] if len(sys.argv) > 2 else "*"
with camkit.open(transports="plugin", sensor_data=sys.argv[1], plugin=os.environ["SIMCAM"]) as cams:
    cam = cams[0]
    for name in cam.regs.find(pattern):
        try:
            print(f"{name:32} {cam.regs.raw[name]:#06x}  {cam.regs[name]}")
        except camkit.Error as e:
            print(f"{name:32} {e.symbol}")
