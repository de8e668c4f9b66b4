"""Status codes as Python exceptions and warnings."""

import warnings


class _Status:
    def __init__(self, code, name, function):
        super().__init__(f"{function}: {name} ({code})")
        self.code, self.name, self.function = code, name, function


class Error(_Status, Exception):
    """A call returned a negative status: nothing was written. Attributes: code
    (the status as an int), name (e.g. "ovkStatusSizeError") and function (the
    C function that returned it)."""


class StatusWarning(_Status, UserWarning):
    """A call returned a positive status: the result was written, but something
    deserves attention (a division by zero, the logarithm of zero, ...). Same
    attributes as Error."""


def check(status, function, names):
    """Raises or warns for a non-zero status; `names` maps codes to names."""
    if status == 0:
        return
    name = names.get(status, f"status {status}")
    if status < 0:
        raise Error(status, name, function)
    # stacklevel 4: past check, the call machinery and the family function, so
    # the warning points at the caller's line.
    warnings.warn(StatusWarning(status, name, function), stacklevel=4)
