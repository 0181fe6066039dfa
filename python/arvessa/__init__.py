# SPDX-License-Identifier: Apache-2.0
"""Two microphones in, one clean voice out: the speech front end Arvessa on NumPy arrays.

    clean = arvessa.enhance(noisy)       # int16 (samples, 2) at 8 kHz to int16 (samples,)
    what = arvessa.trace(noisy)          # what was decided in every 10 ms

``FrontEnd`` and ``Engine`` do the same for streams, in chunks of any length.
"""

from typing import Optional

import numpy as np

from ._beams import Beams, read_beams, stored_beams
from ._library import VERSION as __version__
from ._streams import Decisions, Engine, FrontEnd, Samples

__all__ = ["Beams", "Decisions", "Engine", "FrontEnd", "enhance", "read_beams", "stored_beams",
           "trace"]


def enhance(x: Samples, *, suppression: bool = True, agc: bool = True, engine: bool = True,
            swap: bool = False, beam: Optional[int] = None,
            beams: Optional[Beams] = None) -> Samples:
    """A recording of two microphones to clean speech, as ``arvessa enhance`` does it.

    x:  int16 (samples, 2) at 8 kHz, microphone 1 in the first channel

    Gives int16 (samples,), each sample at the place of the one that it came from. The switches are
    those of ``FrontEnd``. TypeError or ValueError with the reason for anything else; nothing is
    converted.
    """
    stream = FrontEnd(suppression=suppression, agc=agc, engine=engine, swap=swap, beam=beam,
                      beams=beams)
    latency = stream.latency
    return np.concatenate((stream.process(x), stream.flush()))[latency:]


def trace(x: Samples, *, suppression: bool = True, agc: bool = True, engine: bool = True,
          swap: bool = False, beam: Optional[int] = None,
          beams: Optional[Beams] = None) -> Decisions:
    """What the front end decides about a recording: a record for every 10 ms.

    The arguments are those of ``enhance``, the fields those of ``FrontEnd.decisions``.
    """
    stream = FrontEnd(suppression=suppression, agc=agc, engine=engine, swap=swap, beam=beam,
                      beams=beams)
    stream.process(x)
    frames = stream.decisions
    stream.flush()
    return np.concatenate((frames, stream.decisions)).view(np.recarray)
