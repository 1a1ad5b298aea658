"""Python binding overhead, as ratios measured in one process.

    PYTHONPATH=build/test/python CAMKIT_SIMCAM=build/test/plugins/simcam.so \\
        python3 bench/bench_python.py

grab: cam.grab() (a new NumPy array per frame) against ci_grabFrame called
through ctypes into one preallocated buffer, on the simulated camera.
reads: cam.regs.raw[NAME] against ci_ReadSensorRegStr through ctypes.
A ratio is C time / Python time (1.0: no overhead)."""
import ctypes
import os
import time

import numpy as np

import camkit

SENSOR = os.path.join(os.path.dirname(__file__), "..", "data", "sensor_data", "ck_bayer16.sdat")


def best_of(fn, repeats=5):
    best = float("inf")
    for _ in range(repeats):
        start = time.perf_counter()
        fn()
        best = min(best, time.perf_counter() - start)
    return best


def main():
    lib = ctypes.CDLL("libcamkit.so.0")
    lib.ci_grabFrame.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint32]
    lib.ci_ReadSensorRegStr.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p,
                                        ctypes.POINTER(ctypes.c_uint32)]
    with camkit.open(transports="plugin", sensor_data=SENSOR, plugin=os.environ["CAMKIT_SIMCAM"]) as cams:
        cam = cams[0]
        cam.start()
        frames, reads = 20, 20000
        buffer = np.empty((1080, 1920), np.uint16)
        address = cam._address

        def c_grab():
            for _ in range(frames):
                lib.ci_grabFrame(address, buffer.ctypes.data, buffer.nbytes)

        def py_grab():
            for _ in range(frames):
                cam.grab()

        value = ctypes.c_uint32()

        def c_reads():
            for _ in range(reads):
                lib.ci_ReadSensorRegStr(address, b"COARSE_INTEGRATION_TIME", b"", ctypes.byref(value))

        raw = cam.regs.raw

        def py_reads():
            for _ in range(reads):
                raw["COARSE_INTEGRATION_TIME"]

        c_g, p_g = best_of(c_grab), best_of(py_grab)
        c_r, p_r = best_of(c_reads), best_of(py_reads)
        print(f"grab:  C {frames / c_g:8.1f} frames/s  Python {frames / p_g:8.1f} frames/s  ratio {c_g / p_g:.3f}")
        print(f"reads: C {reads / c_r:8.0f} reads/s   Python {reads / p_r:8.0f} reads/s   ratio {c_r / p_r:.3f}")


if __name__ == "__main__":
    main()
