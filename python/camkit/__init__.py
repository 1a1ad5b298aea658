"""camkit: cameras, sensor registers, modes and frames from Python.

    import camkit
    with camkit.open(transports="plugin", sensor_data="ck_bayer16.sdat") as cams:
        cam = cams[0]
        print(cam.sensor["name"], cam.regs["COARSE_INTEGRATION_TIME"])
        cam.regs["GLOBAL_GAIN.ANALOG_GAIN"] = 3
        cam.start()
        frame = cam.grab()          # a NumPy array: height x width for Bayer
"""

from ._errors import BusError, CameraTimeout, Error, GrabError, NotSupportedError, PresetError, SensorError
from ._camkit import Camera, CameraSet, Modes, Registers, close_log, set_log, version
from . import _camkit

__all__ = ["Error", "GrabError", "SensorError", "BusError", "CameraTimeout", "NotSupportedError", "PresetError",
           "Camera", "CameraSet", "Modes", "Registers", "open", "set_log", "close_log", "version"]


class _Opened:
    """The cameras of one open(); a context manager that closes them."""

    def __init__(self, cameras):
        self._cameras = cameras

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
        return False

    def __len__(self):
        return len(self._cameras)

    def __getitem__(self, index):
        return self._cameras[index]

    def __iter__(self):
        return (self._cameras[i] for i in range(len(self._cameras)))

    def close(self):
        """Closes the cameras; using them afterwards raises camkit.Error."""
        self._cameras.close()

    @property
    def closed(self):
        return self._cameras.closed


def open(transports="all", sensor_data="", plugin=""):
    """Opens the cameras of the given transports.

    transports: "usb", "plugin", "image", "video", "null", "all" (every one
    but null), a list of those, or the numeric mask.  sensor_data: the sensor
    data directory or file (for the image and video cameras, the file to
    play).  plugin: a plugin file or directory for the plugin transport.
    Raises camkit.Error when no camera is found.
    """
    return _Opened(_camkit._open(transports, str(sensor_data), str(plugin)))
