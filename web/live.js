// SPDX-License-Identifier: Apache-2.0
// The microphone through the engine in an audio worklet.

const ENGINE_RATES = [8000, 16000, 32000, 48000];

class Live {
  // `tell` gets levels and decisions twenty times a second, `fail` an error that came later.
  constructor(workletCode, module, tell, fail) {
    Object.assign(this, { workletCode, module, tell, fail });
  }

  get running() {
    return Boolean(this.context);
  }

  async start(settings) {
    if (!navigator.mediaDevices?.getUserMedia) {
      throw new Error('the browser gives a microphone only to pages from disk, localhost or https');
    }
    try {
      this.context = new AudioContext();
      if (!ENGINE_RATES.includes(this.context.sampleRate)) {
        await this.context.close();
        this.context = new AudioContext({ sampleRate: 48000 });
      }
      this.stream = await navigator.mediaDevices.getUserMedia({
        audio: { echoCancellation: false, noiseSuppression: false, autoGainControl: false },
      });
      this.node = await this.nodeIn(this.context, settings);
      this.node.port.onmessage = ({ data }) => this.tell(data);
      this.node.onprocessorerror = () => this.failed('the audio worklet stopped');
      const [track] = this.stream.getAudioTracks();
      track.onended = () => this.failed('the microphone is gone');
      // Firefox refuses a microphone of another rate here.
      const microphone = this.context.createMediaStreamSource(this.stream);
      microphone.connect(this.node).connect(this.context.destination);
      await this.context.resume();
    } catch (error) {
      const rate = this.context?.sampleRate;
      this.stop();
      throw new Error(Live.reasonOf(error, rate));
    }
  }

  static reasonOf(error, rate) {
    const reasons = {
      NotAllowedError: 'it was refused; the permission is in the settings of the page',
      NotFoundError: 'there is none',
      NotReadableError: 'another program has it, or the system withholds it',
      NotSupportedError: `it has another rate than ${rate} Hz, and this browser does not convert it`,
    };
    return reasons[error.name] ?? error.message;
  }

  // A worklet that says that it is ready; under file:// it can come only from a data: URL.
  async nodeIn(context, settings) {
    await context.audioWorklet.addModule(dataUrl(this.workletCode));
    const node = new AudioWorkletNode(context, 'arvessa', {
      numberOfInputs: 1,
      outputChannelCount: [1],
      channelCount: 1,
      channelCountMode: 'explicit',
      processorOptions: { module: this.module, settings },
    });
    await new Promise((resolve, reject) => {
      const silence = setTimeout(() => reject(new Error('the audio worklet does not answer')), 5000);
      node.port.onmessage = ({ data }) => {
        clearTimeout(silence);
        if (data.error) reject(new Error(`the audio worklet failed: ${data.error}`));
        else resolve();
      };
      node.onprocessorerror = () => reject(new Error('the audio worklet failed'));
    });
    return node;
  }

  // Seconds from the microphone to the ear as far as they can be measured: the worklet's, by the
  // largest correlation of half a second of speech with what comes out, and the browser's own.
  async delay(settings, speech, speechRate) {
    const rate = this.context.sampleRate;
    const offline = new OfflineAudioContext(1, rate, rate);
    const buffer = offline.createBuffer(1, rate, rate);
    const sent = buffer.getChannelData(0);
    for (let n = 0; n < rate; ++n) sent[n] = speech[Math.floor((n / rate) * speechRate)] / 32768;
    const source = new AudioBufferSourceNode(offline, { buffer });
    source.connect(await this.nodeIn(offline, settings)).connect(offline.destination);
    source.start();
    const heard = (await offline.startRendering()).getChannelData(0);
    let best = { lag: 0, sum: 0 };
    for (let lag = 0; lag < rate / 20; ++lag) {
      let sum = 0;
      for (let n = rate / 4; n < (3 * rate) / 4; n += 3) sum += sent[n] * heard[n + lag];
      if (sum > best.sum) best = { lag, sum };
    }
    const { baseLatency = 0, outputLatency = 0 } = this.context;
    const { latency = 0 } = this.stream.getAudioTracks()[0].getSettings();
    return { worklet: best.lag / rate, browser: baseLatency + outputLatency + latency };
  }

  bypass(on) {
    this.node?.port.postMessage({ bypass: on });
  }

  failed(reason) {
    this.stop();
    this.fail(reason);
  }

  stop() {
    this.stream?.getTracks().forEach((track) => {
      track.onended = null;
      track.stop();
    });
    this.context?.close();
    this.context = this.stream = this.node = null;
  }
}
