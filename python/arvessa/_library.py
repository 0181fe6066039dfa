# SPDX-License-Identifier: Apache-2.0
"""The shared object beside this file, its functions with their types."""

from ctypes import (CDLL, POINTER, byref, c_bool, c_char_p, c_double, c_int, c_size_t, c_void_p,
                    create_string_buffer)
from pathlib import Path
from typing import Any, NamedTuple, Optional, Tuple

import numpy as np
from numpy.typing import NDArray

_library = CDLL(str(Path(__file__).with_name("_arvessa.so")))
_library.arvessa_version.restype = c_char_p
_library.arvessa_beams.restype = c_size_t
_library.arvessa_beams.argtypes = [c_char_p, c_size_t, *[c_void_p] * 4, c_char_p, c_size_t]

VERSION: str = _library.arvessa_version().decode()
COLUMNS = 10  # of a row of decisions


class StreamFunctions:
    """The functions of one kind of stream, whose arguments at the start have the types `start`.

    A stream is a buffer: arrays of 64-bit words from `new`.
    """

    def __init__(self, kind: str, channels: int, start: Tuple[Any, ...]) -> None:
        def function(name: str, result: Any, *arguments: Any) -> Any:
            found = getattr(_library, f"arvessa_{kind}_{name}")
            found.restype, found.argtypes = result, arguments
            return found

        self.channels = channels
        self.words = -(-function("bytes", c_size_t)() // 8)
        self._start = function("start", None, c_void_p, *start)
        self._latency = function("latency", c_int, c_void_p)
        written = (c_void_p, c_void_p, POINTER(c_size_t))
        self._process = function("process", c_size_t, c_void_p, c_void_p, c_size_t, *written)
        self._flush = function("flush", c_size_t, c_void_p, *written)

    def new(self, *settings: Any) -> NDArray[np.uint64]:
        stream = np.zeros(self.words, np.uint64)
        self._start(stream.ctypes.data, *settings)
        return stream

    def latency(self, stream: NDArray[np.uint64]) -> int:
        return int(self._latency(stream.ctypes.data))

    def process(self, stream: NDArray[np.uint64], samples: Optional[NDArray[np.int16]],
                frame: int) -> Tuple[NDArray[np.int16], NDArray[np.float64]]:
        """What `samples` complete, or without them what is left: samples, and rows of decisions."""
        if samples is None:
            out = np.empty(frame + self.latency(stream), np.int16)
        else:
            samples = np.ascontiguousarray(samples)
            out = np.empty(len(samples) + frame, np.int16)
        rows = np.empty((len(out) // frame + 2, COLUMNS))
        count = c_size_t()
        ends = (out.ctypes.data, rows.ctypes.data, byref(count))
        if samples is None:
            written = self._flush(stream.ctypes.data, *ends)
        else:
            written = self._process(stream.ctypes.data, samples.ctypes.data, len(samples), *ends)
        return out[:written], rows[:count.value]


class BeamValues(NamedTuple):
    weights: NDArray[np.complex64]
    microphones: NDArray[np.float64]
    directions: NDArray[np.float64]


def beams(text: Optional[bytes]) -> BeamValues:
    """Those of a file's text, or the stored ones. ValueError with the reason against the text."""
    re, im = np.empty((2, 3, 64, 2), np.float32)
    microphones = np.empty((2, 2))
    directions = np.empty(3)
    reason = create_string_buffer(200)
    count = _library.arvessa_beams(text, len(text or b""), re.ctypes.data, im.ctypes.data,
                                   microphones.ctypes.data, directions.ctypes.data, reason,
                                   len(reason))
    if count == 0:
        raise ValueError(reason.value.decode(errors="replace"))
    weights = np.empty(re.shape, np.complex64)
    weights.real, weights.imag = re, im
    return BeamValues(weights, microphones, directions[:count])


FRONT_END = StreamFunctions("front_end", 2, (c_bool, c_bool, c_bool, c_bool, c_int, c_void_p,
                                             c_void_p, c_void_p))
ENGINE = StreamFunctions("engine", 1, (c_int, c_bool, c_bool, c_int))
