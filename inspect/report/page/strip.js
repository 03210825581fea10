// Drawing a stretch of the file on a canvas. Ranges narrower than a pixel are weighed up: the pixel shows
// what most of its bytes are, but never hides a failed one.

class Palette {
  constructor() {
    const style = getComputedStyle(document.documentElement);
    const colour = (token) => style.getPropertyValue(token).trim();
    this.kinds = kinds.map((kind) => colour(`--kind-${kind.name}`));
    this.ground = colour('--map-ground');
    this.ink = colour('--ink');
    this.quiet = colour('--quiet');
    this.failed = colour('--failed');
    this.accent = colour('--accent');
    this.paper = colour('--paper');
    this.severities = {error: colour('--failed'), warning: colour('--suspect'), note: colour('--note')};
    this.hatches = this.kinds.map((kind) => this.hatch(kind));
    this.font = colour('--sans');
  }

  // Failed bytes keep a breath of their owner's colour under the strokes.
  hatch(kind) {
    const tile = document.createElement('canvas');
    const scale = window.devicePixelRatio || 1;
    const side = Math.round(7 * scale);
    tile.width = tile.height = side;
    const pen = tile.getContext('2d');
    pen.fillStyle = this.ground;
    pen.fillRect(0, 0, side, side);
    pen.globalAlpha = 0.28;
    pen.fillStyle = kind;
    pen.fillRect(0, 0, side, side);
    pen.globalAlpha = 1;
    pen.strokeStyle = this.failed;
    pen.lineWidth = 2.2 * scale;
    for (const shift of [-side, 0, side]) {
      pen.beginPath();
      pen.moveTo(shift - 1, side + 1);
      pen.lineTo(shift + side + 1, -1);
      pen.stroke();
    }
    return pen.createPattern(tile, 'repeat');
  }
}

const strengths = [1, 1, 0.34, 0.16, 0];  // of the owner's colour, by protection

class Strip {
  constructor(canvas, map) {
    this.canvas = canvas;
    this.map = map;
  }

  // Sets the canvas to its size on the screen; `from` and `to` are the bytes at its edges.
  begin(palette, from, to) {
    const scale = window.devicePixelRatio || 1;
    this.scale = scale;
    this.width = Math.max(1, Math.round(this.canvas.clientWidth * scale));
    this.height = Math.max(1, Math.round(this.canvas.clientHeight * scale));
    if (this.canvas.width !== this.width || this.canvas.height !== this.height) {
      this.canvas.width = this.width;
      this.canvas.height = this.height;
    }
    this.palette = palette;
    this.from = from;
    this.perPixel = Math.max((to - from) / this.width, Number.MIN_VALUE);
    this.to = to;
    this.pen = this.canvas.getContext('2d');
    this.pen.clearRect(0, 0, this.width, this.height);
  }

  xOf(byte) {
    return (byte - this.from) / this.perPixel;
  }

  fill(kind, protection, x, width, top, height) {
    const pen = this.pen;
    if (protection === protectionFailed) {
      pen.fillStyle = width < 4 * this.scale ? this.palette.failed : this.palette.hatches[kind];
    } else {
      pen.globalAlpha = strengths[protection];
      pen.fillStyle = this.palette.kinds[kind];
    }
    pen.fillRect(x, top, width, height);
    pen.globalAlpha = 1;
  }

  drawRanges(top, height) {
    this.pen.fillStyle = this.palette.ground;
    this.pen.fillRect(0, top, this.width, height);
    const styles = kinds.length * protections.length;
    const weights = new Map();
    const map = this.map;
    for (let at = map.indexAt(this.from); at < map.ends.length && map.starts[at] < this.to; ++at) {
      const left = Math.max(0, this.xOf(map.starts[at]));
      const right = Math.min(this.width, this.xOf(map.ends[at]));
      if (right - left >= 1) {
        this.drawWide(at, Math.round(left), Math.max(Math.round(left) + 1, Math.round(right)), top, height);
        continue;
      }
      const column = Math.min(this.width - 1, Math.floor(left));
      if (!weights.has(column)) weights.set(column, new Float64Array(styles));
      weights.get(column)[map.kinds[at] * protections.length + map.protections[at]] += right - left;
    }
    for (const [column, weight] of weights) this.drawColumn(column, weight, top, height);
  }

  drawWide(at, left, right, top, height) {
    const gap = right - left > 5 * this.scale ? Math.round(this.scale) : 0;
    this.fill(this.map.kinds[at], this.map.protections[at], left, right - left - gap, top, height);
  }

  drawColumn(column, weight, top, height) {
    let heaviest = -1;
    let sum = 0;
    let failed = -1;
    weight.forEach((one, style) => {
      sum += one;
      if (one > 0 && (heaviest < 0 || one > weight[heaviest])) heaviest = style;
      if (one > 0 && style % protections.length === protectionFailed) failed = style;
    });
    const style = failed >= 0 ? failed : heaviest;
    if (style < 0 || (sum < 0.4 && failed < 0)) return;
    const width = failed >= 0 ? 2 * this.scale : 1;
    if (failed < 0) {
      this.pen.fillStyle = this.palette.ground;
      this.pen.fillRect(column, top, 1, height);
    }
    this.fill(Math.floor(style / protections.length), style % protections.length, column, width, top, height);
  }

  // A bracket over a stretch of bytes: a bar as long as the stretch, and a point that is seen when it is
  // short.
  drawMark(start, length, colour, top, height) {
    const left = Math.max(-8, this.xOf(start));
    const right = Math.max(left, Math.min(this.width + 8, this.xOf(start + length)));
    if (right < 0 || left > this.width) return;
    const pen = this.pen;
    const half = height * 0.62;
    const middle = Math.min(this.width - half, Math.max(half, (left + right) / 2));
    pen.fillStyle = colour;
    pen.fillRect(left, top + height - 2 * this.scale, Math.max(2 * this.scale, right - left), 2 * this.scale);
    pen.beginPath();
    pen.moveTo(middle - half, top);
    pen.lineTo(middle + half, top);
    pen.lineTo(middle, top + height - 2 * this.scale);
    pen.fill();
  }

  drawOutline(start, end, colour, top, height, thick) {
    const line = thick * this.scale;
    const left = Math.max(-line, this.xOf(start));
    const right = Math.max(left + 2 * line, Math.min(this.width + line, this.xOf(end)));
    this.pen.strokeStyle = colour;
    this.pen.lineWidth = line;
    this.pen.strokeRect(left, top + line / 2, right - left, height - line);
  }

  drawLabels(top, height) {
    const pen = this.pen;
    const map = this.map;
    pen.font = `${12 * this.scale}px ${this.palette.font}`;
    pen.textBaseline = 'middle';
    const room = 44 * this.scale;
    for (let at = map.indexAt(this.from); at < map.ends.length && map.starts[at] < this.to; ++at) {
      const left = Math.max(0, this.xOf(map.starts[at]));
      const right = Math.min(this.width, this.xOf(map.ends[at]));
      if (right - left < room) continue;
      this.drawLabel(at, left, right, top + height / 2);
    }
  }

  drawLabel(at, left, right, middle) {
    const pen = this.pen;
    const inset = 6 * this.scale;
    const text = this.fitting(ownerText(this.map.ranges[at].owner), right - left - 2 * inset);
    if (text === '') return;
    const width = pen.measureText(text).width;
    const protection = this.map.protections[at];
    if (protection === protectionFailed) {
      pen.fillStyle = this.palette.ground;
      pen.fillRect(
          left + inset - 3 * this.scale, middle - 9 * this.scale, width + 6 * this.scale, 18 * this.scale);
    }
    pen.fillStyle = protection === 0 ? this.palette.paper : this.palette.ink;
    pen.fillText(text, left + inset, middle);
  }

  // What of a text has room; nothing when that would be too little to be understood.
  fitting(text, room) {
    const width = this.pen.measureText(text).width;
    if (width <= room) return text;
    const kept = Math.floor((text.length * room) / width) - 1;
    return kept < 8 ? '' : `${text.slice(0, kept)}\u2026`;
  }

  // Offsets under the strip, at round numbers.
  drawAxis(top) {
    const pen = this.pen;
    pen.font = `${11 * this.scale}px ${this.palette.font}`;
    pen.textBaseline = 'top';
    pen.textAlign = 'center';
    const least = this.perPixel * 110 * this.scale;
    let step = Math.pow(10, Math.ceil(Math.log10(Math.max(1, least))));
    for (const part of [5, 2])
      if (step / part >= least && step / part >= 1) {
        step /= part;
        break;
      }
    const half = 34 * this.scale;
    for (let byte = Math.ceil(this.from / step) * step; byte <= this.to; byte += step) {
      const x = this.xOf(byte);
      pen.fillStyle = this.palette.quiet;
      pen.fillRect(Math.round(x), top, this.scale, 5 * this.scale);
      if (x > half && x < this.width - half) pen.fillText(count(byte), x, top + 8 * this.scale);
    }
    pen.textAlign = 'start';
  }
}
