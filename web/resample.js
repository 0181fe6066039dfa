// SPDX-License-Identifier: Apache-2.0
// Another sample rate, by a windowed sinc: 32 zero crossings on each side, Blackman's window
// (stopband below -74 dB), cut off at 0.94 of the lower of both Nyquist frequencies.
function resample(samples, from, to) {
  if (from === to) return samples;
  const cutoff = 0.94 * Math.min(1, to / from); // of the input's Nyquist frequency
  const reach = Math.ceil(32 / cutoff);
  const out = new Int16Array(Math.ceil((samples.length * to) / from));
  const kernel = (t) => {
    const x = Math.PI * t;
    const w = x / reach;
    const window = 0.42 + 0.5 * Math.cos(w) + 0.08 * Math.cos(2 * w);
    return t === 0 ? cutoff : (Math.sin(cutoff * x) / x) * window;
  };
  // Rates have a common step: as many phases as the output has samples until they coincide again.
  const gcd = (a, b) => (b ? gcd(b, a % b) : a);
  const phases = to / gcd(from, to);
  const step = from / gcd(from, to);
  const taps = Array.from({ length: phases }, (_, phase) =>
    Float64Array.from({ length: 2 * reach }, (_, k) => kernel(k - reach + 1 - phase / phases)),
  );
  for (let n = 0; n < out.length; ++n) {
    const position = n * step; // in 1/phases of an input sample
    const table = taps[position % phases];
    const first = Math.floor(position / phases) - reach + 1;
    let sum = 0;
    for (let k = Math.max(0, -first); k < table.length && first + k < samples.length; ++k) {
      sum += table[k] * samples[first + k];
    }
    out[n] = Math.max(-32768, Math.min(32767, Math.round(sum)));
  }
  return out;
}
