// SPDX-License-Identifier: Apache-2.0
// Beam weights from a file: lines "beam,bin,microphone,re,im", and comments with the geometry.
function readBeams(text) {
  const beams = { real: new Float32Array(384), imaginary: new Float32Array(384), directions: null };
  const known = new Set();
  for (const [index, line] of text.split(/\r?\n/).entries()) {
    const directions = /^# directions_deg:(.*)/.exec(line);
    if (directions) beams.directions = directions[1].split(',').map(Number);
    if (!line.trim() || line.startsWith('#') || line.startsWith('beam,')) continue;
    const numbers = line.split(',').map(Number);
    const [beam, bin, microphone, real, imaginary] = numbers;
    const within = (value, size) => Number.isInteger(value) && value >= 0 && value < size;
    const at = beam * 128 + bin * 2 + microphone;
    if (numbers.length !== 5 || !numbers.every(Number.isFinite) || !within(beam, 3) ||
        !within(bin, 64) || !within(microphone, 2) || known.has(at)) {
      throw new Error(`line ${index + 1} is not beam 0..2, bin 0..63, microphone 0..1 and a weight`);
    }
    known.add(at);
    beams.real[at] = real;
    beams.imaginary[at] = imaginary;
  }
  if (known.size !== 384) throw new Error(`it has ${known.size} weights; 384 are needed`);
  return beams;
}
