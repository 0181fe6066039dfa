# SPDX-License-Identifier: Apache-2.0
"""Beams other than the stored ones."""

import os
from dataclasses import dataclass
from typing import Tuple, Union

import numpy as np
from numpy.typing import NDArray

from . import _library


@dataclass(frozen=True, eq=False)
class Beams:
    """Three beams for two microphones, as ``arvessa beams`` designs them.

    weights:      complex64 (3, 64, 2): beam, bin of the transform of 128 samples at 8 kHz,
                  microphone. They multiply the microphones' bins: y = w[0] x1 + w[1] x2.
    microphones:  float64 (2, 2), x and y of both in metres
    directions:   float64 (2,) or (3,), degrees from the x axis. With two, the third beam repeats
                  the second.
    """

    weights: NDArray[np.complex64]
    microphones: NDArray[np.float64]
    directions: NDArray[np.float64]

    def __post_init__(self) -> None:
        _check("weights", self.weights, "complex64", (3, 64, 2))
        _check("microphones", self.microphones, "float64", (2, 2))
        _check("directions", self.directions, "float64", (2,), (3,))


def _check(name: str, values: object, dtype: str, *shapes: Tuple[int, ...]) -> None:
    if not isinstance(values, np.ndarray) or values.dtype != np.dtype(dtype):
        raise TypeError(f"{name} is not a NumPy array of {dtype}")
    if values.shape not in shapes:
        raise ValueError(f"{name} has the shape {values.shape}, not "
                         + " or ".join(map(str, shapes)))
    if not np.isfinite(values).all():
        raise ValueError(f"{name} holds values that are not finite")


def read_beams(path: Union[str, "os.PathLike[str]"]) -> Beams:
    """The beams of a file that ``arvessa beams`` wrote. ValueError says why if it is none."""
    with open(path, "rb") as file:
        text = file.read()
    try:
        return Beams(*_library.beams(text))
    except ValueError as error:
        raise ValueError(f"{os.fspath(path)} is not a file of beams: {error}") from None


def stored_beams() -> Beams:
    """The library's own beams."""
    return Beams(*_library.beams(None))
