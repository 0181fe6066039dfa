# SPDX-License-Identifier: Apache-2.0
"""A peer: the preprocessor of the Speex codec, from the shared library libspeexdsp."""
import ctypes

import numpy as np

FRAME = 80      # samples: 10 ms
RATE = 8000     # Hz
SET_DENOISE = 0
SET_AGC = 2

_library = ctypes.CDLL("libspeexdsp.so.1")
_library.speex_preprocess_state_init.restype = ctypes.c_void_p
_library.speex_preprocess_state_init.argtypes = [ctypes.c_int, ctypes.c_int]
_library.speex_preprocess_state_destroy.argtypes = [ctypes.c_void_p]
_library.speex_preprocess_ctl.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p]
_library.speex_preprocess_run.argtypes = [ctypes.c_void_p, ctypes.c_void_p]


def preprocess(x, *, denoise=True, agc):
    """int16 at 8 kHz to the same, each sample at the place of the one that it came from.

    All settings but the two switches are the library's own.
    """
    state = _library.speex_preprocess_state_init(FRAME, RATE)
    for request, on in ((SET_DENOISE, denoise), (SET_AGC, agc)):
        _library.speex_preprocess_ctl(state, request, ctypes.byref(ctypes.c_int(on)))
    # The output is a frame late.
    frames = len(x) // FRAME + 2
    out = np.zeros(frames * FRAME, np.int16)
    out[:len(x)] = x
    for begin in range(0, len(out), FRAME):
        _library.speex_preprocess_run(state, out[begin:].ctypes.data)
    _library.speex_preprocess_state_destroy(state)
    return out[FRAME:FRAME + len(x)]
