"""Runs a preset on the first camera and prints what each line did.

    SIMCAM=build/release/plugins/simcam.so python3 run_preset.py \
        data/sensor_data/ck_bayer16.sdat "Kite Initialization" [FILE.ini]
"""
import os
import sys

import camkit

sensor, name = sys.argv[1], sys.argv[2]
file = sys.argv[3] if len(sys.argv) > 3 else None  # default: the sensor's own preset file
with camkit.open(transports="plugin", sensor_data=sensor, plugin=os.environ["SIMCAM"]) as cams:
    lines = cams[0].preset(name, file=file)
    for line in lines:
        indent = "  " * line["depth"]
        detail = f"  ({line['error']}: {line['message']})" if line["outcome"] == "error" else ""
        print(f"{indent}{line['outcome']:13} {line['line']}{detail}")
    failed = sum(1 for line in lines if line["outcome"] == "error")
    sys.exit(1 if failed else 0)
