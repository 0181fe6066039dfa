// SPDX-License-Identifier: Apache-2.0
// The picture: both spectrograms and the decisions on one time axis, drawn once for each result;
// the cursor is an element above it.

const LEFT = 44; // pixels of the scales
const HEAD = 24; // above each plot, for its name

class Figure {
  constructor(canvas) {
    this.canvas = canvas;
    this.pictures = new Map();
    new ResizeObserver(() => this.draw()).observe(canvas);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.draw());
  }

  // {before, after: spectrograms; decisions: null or what the worker gives; directions}
  show(content) {
    this.content = content;
    this.draw();
  }

  get width() {
    return this.canvas.clientWidth - LEFT - 1;
  }
  secondsAt(x) {
    return Math.max(0, Math.min(1, (x - LEFT) / this.width)) * this.content.before.seconds;
  }
  xAt(seconds) {
    return LEFT + (seconds / this.content.before.seconds) * this.width;
  }
  // Hertz where `y` lies in a spectrogram.
  frequencyAt(y) {
    const rows = this.rows.filter((row) => row.picture);
    const row = rows.find(({ top, height }) => y >= top && y < top + height);
    return row && ((row.top + row.height - y) / row.height) * (this.content.before.rate / 2);
  }

  draw() {
    const { canvas, content } = this;
    if (!content || !canvas.clientWidth) return;
    const ratio = devicePixelRatio;
    canvas.width = canvas.clientWidth * ratio;
    canvas.height = canvas.clientHeight * ratio;
    const style = getComputedStyle(canvas);
    this.colour = (name) => style.getPropertyValue(`--${name}`);
    this.pen = canvas.getContext('2d');
    this.pen.scale(ratio, ratio);
    this.pen.font = `12px ${style.fontFamily}`;
    this.pen.textBaseline = 'middle';
    this.layOut();
    for (const row of this.rows) {
      this.pen.fillStyle = this.colour('text');
      this.pen.textAlign = 'left';
      this.pen.fillText(row.name, LEFT, row.top - HEAD / 2 + 1);
      row.draw(row);
    }
    this.drawColours();
    this.drawSeconds();
  }

  layOut() {
    const { before, after, decisions, directions, names } = this.content;
    const image = (picture) => (row) => this.drawSpectrogram(row, picture);
    const high = this.canvas.clientHeight - 22 - 6 * HEAD - 6;
    const share = (part) => Math.round(high * part);
    const beam = directions
      ? [{ name: 'Beam', height: share(0.1),
           draw: (row) => this.drawBeam(row, decisions, directions) }]
      : [];
    const rows = [
      { name: names.before, height: share(0.35), picture: before, draw: image(before) },
      { name: names.after, height: share(0.35), picture: after, draw: image(after) },
      { name: 'Voice', height: share(0.04), draw: (row) => this.drawVoice(row, decisions.voice) },
      ...beam,
      { name: 'AGC gain, dB', height: share(0.08),
        draw: (row) => this.drawLine(row, decisions.agcGain, 0, 20) },
      { name: 'Mean suppression, dB', height: share(0.08),
        draw: (row) => this.drawLine(row, decisions.meanSuppression, -20, 0) },
    ];
    let top = 0;
    for (const row of rows) {
      row.top = top + HEAD;
      top = row.top + row.height;
    }
    this.rows = rows;
    this.bottom = top;
  }

  drawSpectrogram({ top, height }, picture) {
    this.pen.imageSmoothingQuality = 'high';
    this.pen.drawImage(this.imageOf(picture), LEFT, top, this.width, height);
    const kilohertz = picture.rate / 2000;
    const step = [1, 2, 4, 8].find((s) => kilohertz / s <= 4) ?? 8;
    for (let k = 0; k <= kilohertz; k += step) {
      const y = top + height - (k / kilohertz) * height;
      this.scale(k ? String(k) : '0 kHz', Math.min(Math.max(y, top + 6), top + height - 6));
    }
  }

  imageOf(picture) {
    if (!this.pictures.has(picture)) {
      if (this.pictures.size > 3) this.pictures.clear();
      const { columns, bins, levels } = picture;
      const image = new ImageData(columns, bins);
      for (let x = 0; x < columns; ++x) {
        for (let k = 0; k < bins; ++k) {
          const at = 4 * ((bins - 1 - k) * columns + x);
          image.data.set(colourOf(levels[x * bins + k]), at);
          image.data[at + 3] = 255;
        }
      }
      const bitmap = Object.assign(document.createElement('canvas'), { width: columns, height: bins });
      bitmap.getContext('2d').putImageData(image, 0, 0);
      this.pictures.set(picture, bitmap);
    }
    return this.pictures.get(picture);
  }

  // Calls `put(x, width, from, to)` for each column of pixels that frames from..to - 1 share.
  eachColumn(frames, put) {
    const columns = Math.min(frames, Math.round(this.width * devicePixelRatio));
    const snapped = (x) => Math.round(x * devicePixelRatio) / devicePixelRatio;
    for (let c = 0; c < columns; ++c) {
      const [from, to] = [c, c + 1].map((edge) => Math.round((edge * frames) / columns));
      const [x, end] = [from, to].map((frame) => snapped(LEFT + (frame / frames) * this.width));
      put(x, end - x, from, to);
    }
  }

  frame({ top, height }) {
    this.pen.fillStyle = this.colour('plot');
    this.pen.fillRect(LEFT, top, this.width, height);
  }

  drawVoice(row, voice) {
    this.frame(row);
    this.pen.fillStyle = this.colour('voice');
    this.eachColumn(voice.length, (x, width, from, to) => {
      if (voice.subarray(from, to).includes(1)) this.pen.fillRect(x, row.top, width, row.height);
    });
  }

  drawBeam(row, { beam }, directions) {
    this.frame(row);
    const high = row.height / 3;
    const y = (index) => row.top + (2 - index) * high;
    directions.forEach((direction, index) => this.scale(direction, y(index) + high / 2));
    this.eachColumn(beam.length, (x, width, from) => {
      this.pen.fillStyle = this.colour(`beam${beam[from]}`);
      this.pen.fillRect(x, y(beam[from]), width, high);
    });
  }

  drawLine(row, values, lowest, highest) {
    this.frame(row);
    this.scale(String(highest), row.top + 6);
    this.scale(String(lowest).replace('-', '\u2212'), row.top + row.height - 6);
    this.pen.strokeStyle = this.colour('line');
    this.pen.lineWidth = 1.5;
    this.pen.beginPath();
    this.eachColumn(values.length, (x, width, from) => {
      const part = Math.max(0, Math.min(1, (values[from] - lowest) / (highest - lowest)));
      this.pen.lineTo(x, row.top + row.height - 1 - part * (row.height - 2));
      this.pen.lineTo(x + width, row.top + row.height - 1 - part * (row.height - 2));
    });
    this.pen.stroke();
  }

  scale(text, y) {
    this.pen.fillStyle = this.colour('quiet');
    this.pen.textAlign = 'right';
    this.pen.fillText(text, LEFT - 6, y);
  }

  // The colour map with its ends, beside the name of the first spectrogram.
  drawColours() {
    const { pen } = this;
    const right = LEFT + this.width;
    const wide = Math.min(160, this.width / 6);
    pen.fillStyle = this.colour('quiet');
    pen.textAlign = 'right';
    pen.fillText(`${HIGHEST} dBFS`.replace('-', '\u2212'), right, HEAD / 2 + 1);
    const end = right - pen.measureText('\u2212000 dBFS').width;
    for (let x = 0; x < wide; ++x) {
      pen.fillStyle = `rgb(${colourOf(LOWEST + (x / wide) * (HIGHEST - LOWEST))})`;
      pen.fillRect(end - wide + x, HEAD / 2 - 5, 1.5, 10);
    }
    pen.fillStyle = this.colour('quiet');
    pen.fillText(String(LOWEST).replace('-', '\u2212'), end - wide - 6, HEAD / 2 + 1);
  }

  drawSeconds() {
    const { seconds } = this.content.before;
    const step = [0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1800]
      .find((s) => (s / seconds) * this.width > 44) ?? 3600;
    this.pen.fillStyle = this.colour('quiet');
    for (let t = 0; t <= seconds; t += step) {
      this.pen.textAlign = t === 0 ? 'left' : this.xAt(t) > LEFT + this.width - 16 ? 'right' : 'center';
      this.pen.fillText(`${Number(t.toFixed(1))}${t === 0 ? ' s' : ''}`, this.xAt(t), this.bottom + 12);
    }
  }
}
