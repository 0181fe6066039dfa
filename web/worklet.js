// SPDX-License-Identifier: Apache-2.0
// The live microphone through the engine. The browser hands over blocks of 128 samples, the engine
// takes frames of 10 ms: the output waits for the longest gap between both, as short as can be.
const QUIET = { input: -100, output: -100 };
const gcd = (a, b) => (b ? gcd(b, a % b) : a);

class LiveProcessor extends AudioWorkletProcessor {
  constructor({ processorOptions: { module, settings } }) {
    super();
    this.bypass = false;
    this.levels = { ...QUIET };
    this.port.onmessage = ({ data }) => (this.bypass = data.bypass);
    try {
      this.processor = new Processor(new WebAssembly.Module(module), 1, sampleRate, settings);
      const { frame, latency } = this.processor;
      this.wait = frame - gcd(frame, 128);
      this.delay = this.wait + latency; // of what bypasses the engine too: switching keeps the time
      this.position = 0;
      this.wet = new Float32Array(2048);
      this.dry = new Float32Array(2048);
      this.port.postMessage({ ready: true });
    } catch (error) {
      this.port.postMessage({ error: String(error.message ?? error) });
    }
  }

  process([[input]], [[output]]) {
    if (!this.processor) return false;
    const { frame, library, input: [engineIn], output: engineOut } = this.processor;
    for (let i = 0; i < output.length; ++i) {
      const sample = input ? input[i] : 0;
      const at = this.position + i;
      this.dry[(at + this.delay) % 2048] = sample;
      engineIn[at % frame] = Math.max(-32768, Math.min(32767, Math.round(32768 * sample)));
      if ((at + 1) % frame !== 0) continue;
      library.frame();
      for (let k = 0; k < frame; ++k) {
        this.wet[(at + 1 - frame + k + this.wait) % 2048] = engineOut[k] / 32768;
      }
      this.levels.input = Math.max(this.levels.input, levelOf(engineIn));
      this.levels.output = Math.max(this.levels.output, levelOf(engineOut));
      if ((at + 1) % (5 * frame) === 0) this.tell();
    }
    const source = this.bypass ? this.dry : this.wet;
    for (let i = 0; i < output.length; ++i) output[i] = source[(this.position + i) % 2048];
    this.position += output.length;
    return true;
  }

  // Twenty times a second, with the loudest frame since.
  tell() {
    const { library } = this.processor;
    this.port.postMessage({ ...this.levels, voice: library.voice(), gain: library.agcGain() });
    this.levels = { ...QUIET };
  }
}
registerProcessor('arvessa', LiveProcessor);
