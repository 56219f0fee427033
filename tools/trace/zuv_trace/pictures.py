"""Pictures in a recording: what was to be seen at a moment of the run."""

import base64
import binascii
import json
import os
import time

from .recording import VERSION

ROLE = "camera"  # of the process that adds a picture
LARGEST = 1 << 20  # bytes: a recording has room for some dozens
_SIGNATURES = {"image/png": b"\x89PNG\r\n\x1a\n", "image/jpeg": b"\xff\xd8\xff"}


class PictureError(Exception):
    """The file is no picture that a recording can take."""


def add(path, image, words):
    """Appends the PNG or JPEG file `image` to the recording `path`, as what there is to be seen now.

    @throws PictureError; OSError if a file cannot be read or written.
    """
    moment = time.clock_gettime_ns(time.CLOCK_MONOTONIC)
    with open(image, "rb") as file:
        data = file.read(LARGEST + 1)
    if len(data) > LARGEST:
        raise PictureError(f"it has more than {LARGEST} bytes")
    kind = _type_of(data)
    if kind is None:
        raise PictureError("it is neither PNG nor JPEG")
    common = {"t": moment, "p": os.getpid(), "th": os.getpid()}
    begin = {**common, "k": "begin", "version": VERSION, "wall": time.time_ns(), "program": "zuv-trace",
             "args": ["zuv-trace", "picture", path, image, words], "role": ROLE}
    picture = {**common, "k": "picture", "type": kind, "text": words, "data": base64.b64encode(data).decode()}
    _append(path, f"{json.dumps(begin)}\n{json.dumps(picture)}\n".encode())


def data_url(record):
    """The picture as a URL; empty if there is none, as in a redacted recording, or none that is PNG or JPEG."""
    try:
        data = base64.b64decode(record.data, validate=True)
    except (binascii.Error, ValueError):
        return ""
    kind = _type_of(data)
    return f"data:{kind};base64,{base64.b64encode(data).decode()}" if kind else ""


def _type_of(data):
    return next((kind for kind, signature in _SIGNATURES.items() if data.startswith(signature)), None)


def _append(path, lines):
    """By one write, as all processes of a run do, so that lines do not mix."""
    descriptor = os.open(path, os.O_WRONLY | os.O_APPEND)
    try:
        os.write(descriptor, lines)
    finally:
        os.close(descriptor)
