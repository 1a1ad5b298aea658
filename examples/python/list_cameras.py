"""Lists the cameras camkit finds (the simulated camera when SIMCAM names its plugin)."""
import os
import sys

import camkit

plugin = os.environ.get("SIMCAM", "")
sensor_data = sys.argv[1] if len(sys.argv) > 1 else ""
with camkit.open(transports="plugin" if plugin else "all", sensor_data=sensor_data, plugin=plugin) as cams:
    for i, cam in enumerate(cams):
        s = cam.sensor
        print(f"{i}: {cam.transport} {cam.product}: {s['name']} {s['width']}x{s['height']} {s['image_type']}")
