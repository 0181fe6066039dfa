// SPDX-License-Identifier: Apache-2.0
// Plays what was and what became of it, both at once and in step; one of them is heard. So the
// switch needs no start, and there is no gap: 10 ms from the one to the other.
class Player {
  constructor() {
    this.offset = 0; // seconds, where it stands or where it was started
    this.heard = 'after';
    this.buffers = {}; // by name: {channels, rate}
    this.voices = null; // while it plays, by name: {source, gain}
    this.context = null;
  }

  get duration() {
    const { before } = this.buffers;
    return before ? before.channels[0].length / before.rate : 0;
  }
  get playing() {
    return this.voices !== null;
  }
  get time() {
    if (!this.playing) return this.offset;
    const past = Math.max(0, this.context.currentTime - this.started);
    return (this.offset + past) % this.duration;
  }

  // A new recording, or of the same one another result: then it goes on playing.
  load(before, after) {
    const same = this.buffers.before?.channels === before.channels;
    const at = same ? this.time : 0;
    const goOn = same && this.playing;
    this.pause();
    this.buffers = { before, after };
    this.audio = {};
    this.offset = at;
    if (goOn) this.play();
  }

  play() {
    if (this.playing || !this.duration) return;
    this.context ??= new AudioContext();
    this.context.resume();
    this.started = this.context.currentTime + 0.01;
    this.voices = {};
    for (const name of Object.keys(this.buffers)) {
      const buffer = (this.audio[name] ??= Player.audioOf(this.buffers[name]));
      const source = new AudioBufferSourceNode(this.context, { buffer, loop: true });
      const gain = new GainNode(this.context, { gain: name === this.heard ? 1 : 0 });
      source.connect(gain).connect(this.context.destination);
      source.start(this.started, this.offset);
      this.voices[name] = { source, gain };
    }
  }

  static audioOf({ channels, rate }) {
    const { length } = channels[0];
    const buffer = new AudioBuffer({ length, numberOfChannels: channels.length, sampleRate: rate });
    channels.forEach((channel, c) => {
      const samples = buffer.getChannelData(c);
      for (let n = 0; n < length; ++n) samples[n] = channel[n] / 32768;
    });
    return buffer;
  }

  pause() {
    if (!this.playing) return;
    this.offset = this.time;
    const now = this.context.currentTime;
    for (const { source, gain } of Object.values(this.voices)) {
      gain.gain.setTargetAtTime(0, now, 0.003);
      source.stop(now + 0.02);
    }
    this.voices = null;
  }

  seek(seconds) {
    const goOn = this.playing;
    this.pause();
    this.offset = Math.max(0, Math.min(seconds, this.duration - 0.01));
    if (goOn) this.play();
  }

  hear(name) {
    this.heard = name;
    if (!this.playing) return;
    const now = this.context.currentTime;
    for (const [other, { gain: { gain } }] of Object.entries(this.voices)) {
      gain.cancelScheduledValues(now);
      gain.setValueAtTime(gain.value, now);
      gain.linearRampToValueAtTime(other === name ? 1 : 0, now + 0.01);
    }
  }
}
