# SPDX-License-Identifier: Apache-2.0
"""The front end and the engine as streams."""

import copy
import sys
import threading
from typing import Any, Dict, Optional, TypeVar

import numpy as np
from numpy.typing import NDArray

from . import _library
from ._beams import Beams, stored_beams

Samples = NDArray[np.int16]
Decisions = np.recarray[Any, np.dtype[np.record]]
Self = TypeVar("Self", bound="_Stream")

RATES = (8000, 16000, 32000, 48000)  # Hz, of the engine
DECISION = np.dtype([("time_s", "f8"), ("input_dbfs", "f8"), ("output_dbfs", "f8"), ("beam", "i4"),
                     ("direction_deg", "f8"), ("voice", "?"), ("agc_index", "i4"),
                     ("agc_gain_db", "f8"), ("floor_db", "f8"), ("mean_suppression_db", "f8")])


def _check_switches(**switches: object) -> None:
    for name, value in switches.items():
        if not isinstance(value, (bool, np.bool_)):
            raise TypeError(f"{name} is {value!r}, neither True nor False")


def _checked_int(name: str, value: object) -> int:
    if isinstance(value, (bool, np.bool_)) or not isinstance(value, (int, np.integer)):
        raise TypeError(f"{name} is {value!r}, not an integer")
    return int(value)


def _check_samples(samples: object, channels: int) -> None:
    if not isinstance(samples, np.ndarray):
        raise TypeError(f"samples are a {type(samples).__name__}, not a NumPy array")
    if samples.dtype != np.int16:
        raise TypeError(f"samples are {samples.dtype}, not int16; nothing is converted. "
                        "soundfile.read gives int16 with dtype='int16'")
    if channels == 1 and samples.ndim != 1:
        raise ValueError(f"samples have the shape {samples.shape}, not (samples,)")
    if channels == 2 and (samples.ndim != 2 or samples.shape[1] != 2):
        raise ValueError(f"samples have the shape {samples.shape}, not (samples, 2): microphone 1 "
                         "is samples[:, 0], microphone 2 is samples[:, 1]")


class _Stream:
    """What both streams have in common. Threads that share one take turns."""

    _functions: _library.StreamFunctions
    _fields = list(DECISION.names or ())
    _frame: int  # samples of 10 ms
    _settings: Dict[str, Any]
    _state: NDArray[np.uint64]
    _rows: NDArray[np.float64]  # of decisions

    def __init__(self, frame: int, **settings: Any) -> None:
        self._lock = threading.Lock()
        self._frame = frame
        self._settings = settings
        self._restart()

    def _new_state(self) -> NDArray[np.uint64]:
        raise NotImplementedError

    def _restart(self) -> None:
        self._state = self._new_state()
        self._rows = np.empty((0, _library.COLUMNS))

    @property
    def latency(self) -> int:
        """Samples by which the output lags the input, at the rate of the stream."""
        return self._functions.latency(self._state)

    def process(self, samples: Samples) -> Samples:
        """Takes the next samples, any number of them, and gives all that is ready.

        The output comes in whole frames of 10 ms and begins with the delay: its sample
        ``i + latency`` is at the place of sample ``i`` of the input. The part of a frame that was
        not completed is kept for the next call.
        """
        _check_samples(samples, self._functions.channels)
        with self._lock:
            out, self._rows = self._functions.process(self._state, samples, self._frame)
        return out

    def flush(self) -> Samples:
        """Gives what is left and ends the stream; what is processed next begins another.

        In all, ``latency`` samples more come out than went in.
        """
        with self._lock:
            out, rows = self._functions.process(self._state, None, self._frame)
            self._restart()
            self._rows = rows
        return out

    @property
    def decisions(self) -> Decisions:
        """What was decided, a record for each frame that the latest call completed.

        Its fields are the columns of ``arvessa trace``. ``output_dbfs`` is the level of the samples
        that came in with the frame, so that a record comes one frame late. ``flush`` brings the
        last.

        time_s               beginning of these 10 ms, in the input
        input_dbfs           level of all channels, at least -100
        output_dbfs          level of the same 10 ms in the output
        beam                 in use, 0 to 2; not of ``Engine``
        direction_deg        where it looks; not of ``Engine``
        voice                whether the frame carries voice
        agc_index            place of the AGC's gain in its table, 0 to 31; -1 before voice sets it
        agc_gain_db          that gain
        floor_db             the least gain that the suppression may reach, -15 to -4
        mean_suppression_db  mean gain of the suppression over all bins
        """
        records = np.rec.fromarrays(list(self._rows.T), dtype=DECISION)
        return records[self._fields].view(np.recarray)

    def reset(self) -> None:
        """Forgets everything but the settings."""
        with self._lock:
            self._restart()

    def copy(self: Self) -> Self:
        """A stream that goes on from here by itself. Pickles do the same, also elsewhere."""
        return copy.copy(self)

    def __getstate__(self) -> Dict[str, Any]:
        with self._lock:
            fields = {name: value for name, value in vars(self).items() if name != "_lock"}
            return {**fields, "_state": self._state.copy(), "_build": _build(self._functions)}

    def __setstate__(self, fields: Dict[str, Any]) -> None:
        build = fields.pop("_build")
        if build != _build(self._functions):
            raise ValueError(f"the stream is one of another build of Arvessa: {build}, here "
                             f"{_build(self._functions)}")
        vars(self).update(fields, _lock=threading.Lock())


def _build(functions: _library.StreamFunctions) -> str:
    """Names what the bytes of a stream depend on."""
    return f"{_library.VERSION}, {functions.words} words, {sys.byteorder} endian"


class FrontEnd(_Stream):
    """The whole front end as a stream at 8 kHz: two microphones in, one voice out.

    ``process`` takes int16 (samples, 2), microphone 1 in the first channel, and gives int16
    (samples,).

    suppression:  noise reduction, of the engine
    agc:          automatic gain control, of the engine
    engine:       False for the beamformer alone
    swap:         the first channel is microphone 2
    beam:         hold this beam, 0 to 2; None for the loudest
    beams:        other beams, of ``read_beams``; None for the stored ones
    """

    _functions = _library.FRONT_END

    def __init__(self, *, suppression: bool = True, agc: bool = True, engine: bool = True,
                 swap: bool = False, beam: Optional[int] = None,
                 beams: Optional[Beams] = None) -> None:
        _check_switches(suppression=suppression, agc=agc, engine=engine, swap=swap)
        if beams is None:
            beams = stored_beams()
        elif not isinstance(beams, Beams):
            raise TypeError(f"beams is a {type(beams).__name__}; read_beams gives Beams")
        count = len(beams.directions)
        held = -1 if beam is None else _checked_int("beam", beam)
        if beam is not None and not 0 <= held < count:
            raise ValueError(f"beam is {beam}; there are {count} beams, counted from 0")
        super().__init__(80, suppression=suppression, agc=agc, engine=engine, swap=swap, beam=held,
                         beams=beams)

    def _new_state(self) -> NDArray[np.uint64]:
        *switches, beams = self._settings.values()
        re = np.ascontiguousarray(beams.weights.real)
        im = np.ascontiguousarray(beams.weights.imag)
        directions = np.resize(beams.directions, 3)
        return self._functions.new(*switches, re.ctypes.data, im.ctypes.data,
                                   directions.ctypes.data)


class Engine(_Stream):
    """The engine alone as a stream: one channel in, one out, int16 (samples,).

    rate:         8000, 16000, 32000 or 48000 Hz
    suppression:  noise reduction
    agc:          automatic gain control
    agc_table:    its gains: 2 from -1.9 to 8.9 dB, 3 and 4 from 1.2 to 18.4 dB
    """

    _functions = _library.ENGINE
    _fields = [name for name in _Stream._fields if name not in ("beam", "direction_deg")]

    def __init__(self, rate: int, *, suppression: bool = True, agc: bool = True,
                 agc_table: int = 4) -> None:
        rate, agc_table = _checked_int("rate", rate), _checked_int("agc_table", agc_table)
        if rate not in RATES:
            raise ValueError(f"rate is {rate}; the engine works at {', '.join(map(str, RATES[:-1]))} "
                             f"and {RATES[-1]} Hz")
        _check_switches(suppression=suppression, agc=agc)
        if agc_table not in (2, 3, 4):
            raise ValueError(f"agc_table is {agc_table}; there are 2, 3 and 4")
        super().__init__(rate // 100, rate=rate, suppression=suppression, agc=agc,
                         agc_table=agc_table)

    def _new_state(self) -> NDArray[np.uint64]:
        return self._functions.new(*self._settings.values())
