// SPDX-License-Identifier: Apache-2.0
// Levels over time and frequency, and their colours.

const COLUMNS = 1000;
const LOWEST = -90; // dB: the ends of the colour map
const HIGHEST = -25;

// In place: a transform of size 2^k, real and imaginary parts apart (Cooley and Tukey 1965).
function transform(re, im) {
  const n = re.length;
  for (let i = 1, j = 0; i < n; ++i) {
    let bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) [re[i], re[j]] = [re[j], re[i]];
  }
  for (let size = 2; size <= n; size *= 2) {
    for (let k = 0; k < size / 2; ++k) {
      const c = Math.cos((2 * Math.PI * k) / size);
      const s = -Math.sin((2 * Math.PI * k) / size);
      for (let a = k; a < n; a += size) {
        const b = a + size / 2;
        const x = re[b] * c - im[b] * s;
        const y = re[b] * s + im[b] * c;
        re[b] = re[a] - x;
        im[b] = im[a] - y;
        re[a] += x;
        im[a] += y;
      }
    }
  }
}

// Hann windows of 32 ms (21 ms at 48 kHz) in as many columns as fit, or four windows to each; the
// levels are those of a sine, relative to full scale.
function spectrogram(samples, rate) {
  const size = Math.min(1024, 2 ** Math.round(Math.log2(0.032 * rate)));
  const bins = size / 2;
  const columns = Math.min(COLUMNS, Math.ceil(samples.length / (size / 8)));
  const span = samples.length / columns;
  const windows = Math.max(1, Math.min(4, Math.round(span / size)));
  const levels = new Float32Array(columns * bins);
  const window = Float64Array.from({ length: size }, (_, i) =>
    0.5 - 0.5 * Math.cos((2 * Math.PI * (i + 0.5)) / size));
  const scale = (2 / (size / 2) / 32768) ** 2 / windows;
  for (let column = 0; column < columns; ++column) {
    const power = new Float64Array(bins);
    for (let w = 0; w < windows; ++w) {
      const first = Math.round((column + (w + 0.5) / windows) * span) - size / 2;
      const re = window.map((value, i) => value * (samples[first + i] ?? 0));
      const im = new Float64Array(size);
      transform(re, im);
      for (let k = 0; k < bins; ++k) power[k] += (re[k] * re[k] + im[k] * im[k]) * scale;
    }
    for (let k = 0; k < bins; ++k) {
      levels[column * bins + k] = 10 * Math.log10(power[k] + 1e-12);
    }
  }
  return { columns, bins, rate, seconds: samples.length / rate, levels };
}

// Magma (Smith and van der Walt 2015): even steps to the eye, also in grey and for the colour-blind.
const MAGMA = ('000004 090720 1c1044 341069 4f127b 681c81 812581 9b2e7f b5367a cf4070 e55064 ' +
  'f4695c fb8761 fea571 fec287 fde0a1 fcfdbf').split(' ').map((c) => parseInt(c, 16));

const COLOURS = Array.from({ length: 256 }, (_, i) => {
  const at = (i / 256) * (MAGMA.length - 1);
  const index = Math.floor(at);
  return [16, 8, 0].map((shift) => {
    const [a, b] = [MAGMA[index], MAGMA[index + 1]].map((c) => (c >> shift) & 255);
    return Math.round(a + (b - a) * (at - index));
  });
});

// [red, green, blue] of a level.
const colourOf = (level) =>
  COLOURS[Math.max(0, Math.min(255, Math.floor((256 * (level - LOWEST)) / (HIGHEST - LOWEST))))];
