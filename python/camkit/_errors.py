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
