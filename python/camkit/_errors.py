"""The exception camkit raises."""


class Error(Exception):
    """A camkit failure.

    Attributes:
        symbol: the error's symbol, as the library's log writes it.
        code: the library's numeric error code.
        message: the library's text for the code.
    """

    symbol = "CAMERA_ERROR"
    code = 1
    message = "Camera Error"

    def __str__(self):
        detail = super().__str__()
        return f"{self.symbol} ({self.message}): {detail}" if detail else f"{self.symbol} ({self.message})"


class GrabError(Error):
    """A frame could not be grabbed whole (grab, marker, buffer size)."""


class SensorError(Error):
    """The sensor description: parse failures, no match, no sensor."""


class BusError(Error):
    """The two-wire bus: bit error, no acknowledge, time-out."""


class CameraTimeout(Error):
    """The camera did not answer in time."""


class NotSupportedError(Error):
    """The camera or its transport does not do this."""


class PresetError(Error):
    """A preset could not be loaded or run."""


_KINDS = [
    (range(3, 7), GrabError),
    (range(7, 11), SensorError),
    (range(32, 39), SensorError),
    (range(11, 14), BusError),
    (range(14, 15), CameraTimeout),
    (range(16, 17), NotSupportedError),
    (range(256, 262), PresetError),
]


def _error_for(code):
    """The exception class of a library error code."""
    for codes, kind in _KINDS:
        if code in codes:
            return kind
    return Error
