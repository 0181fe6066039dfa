// SPDX-License-Identifier: Apache-2.0
// WAV files: what their header says, 16-bit samples exactly, and back.

// {rate, channels}, with channels undefined where the samples are not 16-bit integers; null if the
// bytes are not a WAV file.
function readWav(bytes) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const tag = (at) => String.fromCharCode(...bytes.subarray(at, at + 4));
  if (bytes.length < 12 || tag(0) !== 'RIFF' || tag(8) !== 'WAVE') return null;
  let format = null;
  for (let at = 12; at + 8 <= bytes.length; ) {
    const id = tag(at);
    const begin = at + 8;
    const size = Math.min(view.getUint32(at + 4, true), bytes.length - begin);
    if (id === 'fmt ' && size >= 16) {
      const code = view.getUint16(begin, true);
      format = {
        // The extensible form keeps the code further on.
        code: code === 0xfffe && size >= 26 ? view.getUint16(begin + 24, true) : code,
        channels: view.getUint16(begin + 2, true),
        rate: view.getUint32(begin + 4, true),
        bits: view.getUint16(begin + 14, true),
      };
    } else if (id === 'data') {
      if (!format || !format.channels || !format.rate) throw new Error('its header is damaged');
      if (format.code !== 1 || format.bits !== 16) return { rate: format.rate };
      const length = Math.floor(size / (2 * format.channels));
      const channels = Array.from({ length: format.channels }, (_, c) => {
        const samples = new Int16Array(length);
        for (let i = 0; i < length; ++i) {
          samples[i] = view.getInt16(begin + 2 * (i * format.channels + c), true);
        }
        return samples;
      });
      return { rate: format.rate, channels };
    }
    at = begin + size + (size % 2);
  }
  throw new Error('it holds no samples');
}

// A mono file.
function writeWav(samples, rate) {
  const view = new DataView(new ArrayBuffer(44 + 2 * samples.length));
  const put = (at, text) => [...text].forEach((c, i) => view.setUint8(at + i, c.charCodeAt(0)));
  put(0, 'RIFF');
  view.setUint32(4, 36 + 2 * samples.length, true);
  put(8, 'WAVEfmt ');
  view.setUint32(16, 16, true);
  view.setUint16(20, 1, true); // integers
  view.setUint16(22, 1, true); // channels
  view.setUint32(24, rate, true);
  view.setUint32(28, 2 * rate, true);
  view.setUint16(32, 2, true);
  view.setUint16(34, 16, true);
  put(36, 'data');
  view.setUint32(40, 2 * samples.length, true);
  samples.forEach((sample, i) => view.setInt16(44 + 2 * i, sample, true));
  return new Uint8Array(view.buffer);
}
