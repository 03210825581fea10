// The picture of the file: one strip for all of it, one for the part that is looked at, and what is selected
// there.

const closestView = 16;  // bytes across the strip

class ByteMap {
  constructor(map, findings, onSelect) {
    this.map = map;
    this.findings = findings;  // placed ones: {start, length, severity, number}
    this.onSelect = onSelect;
    this.from = 0;
    this.to = map.size;
    this.selected = null;  // {start, end}
    this.current = -1;     // the range that the keys move from
    this.overview = element('canvas', {class: 'strip overview', 'aria-hidden': 'true'});
    this.detail = element('canvas', {
      class: 'strip detail',
      tabindex: '0',
      role: 'application',
      'aria-roledescription': 'byte map',
      'aria-label': 'Byte map of the file. Arrow keys step through the ranges, plus and minus zoom, ' +
          '0 shows the whole file, D steps through the findings.',
    });
    this.tip = element('div', {class: 'tip', hidden: true, 'aria-hidden': 'true'});
    this.whole = new Strip(this.overview, map);
    this.zoomed = new Strip(this.detail, map);
    this.listen();
  }

  buttons() {
    const button = (text, title, act) => element('button', {type: 'button', title, text, onclick: act});
    const marks = this.findings.length > 0;
    return element(
        'div', {class: 'tools', role: 'group', 'aria-label': 'Zoom of the map'},
        button('Whole file', 'Show the whole file (0)', () => this.show(0, this.map.size)),
        button('Zoom in', 'Zoom in (+)', () => this.zoom(0.4)),
        button('Zoom out', 'Zoom out (-)', () => this.zoom(2.5)),
        marks && button('Previous finding', 'Previous finding (shift D)', () => this.stepFinding(-1)),
        marks && button('Next finding', 'Next finding (D)', () => this.stepFinding(1)));
  }

  show(from, to) {
    const span = Math.min(this.map.size, Math.max(closestView, to - from));
    const middle = (from + to) / 2;
    this.from = Math.max(0, Math.min(this.map.size - span, Math.floor(middle - span / 2)));
    this.to = this.from + span;
    this.draw();
  }

  zoom(factor, around = this.middle()) {
    const span = (this.to - this.from) * factor;
    const share = (around - this.from) / (this.to - this.from);
    this.show(around - share * span, around + (1 - share) * span);
  }

  // The keys zoom around what is selected as long as it is in sight.
  middle() {
    if (this.selected !== null) {
      const middle = (this.selected.start + this.selected.end) / 2;
      if (middle >= this.from && middle <= this.to) return middle;
    }
    return (this.from + this.to) / 2;
  }

  pan(bytes) {
    this.show(this.from + bytes, this.to + bytes);
  }

  select(start, end, about) {
    this.selected = {start, end};
    this.current = this.map.indexAt(start);
    this.onSelect(start, end, about);
    this.draw();
  }

  selectRange(at) {
    if (this.map.ends.length === 0) return;
    const range = Math.max(0, Math.min(this.map.ends.length - 1, at));
    this.select(this.map.starts[range], this.map.ends[range], null);
    this.bringIntoView(this.map.starts[range], this.map.ends[range]);
  }

  bringIntoView(start, end) {
    if (start >= this.from && end <= this.to) return;
    const span = Math.max(this.to - this.from, (end - start) * 1.2);
    const middle = (start + end) / 2;
    this.show(middle - span / 2, middle + span / 2);
  }

  // A stretch with some room around it, so that its neighbours are seen.
  zoomTo(start, length) {
    const room = Math.max(length * 0.35, 64);
    this.show(start - room, start + length + room);
  }

  stepFinding(by) {
    const places = this.findings;
    if (places.length === 0) return;
    const here = this.selected === null ? -1 : this.selected.start;
    const sorted = [...places].sort((left, right) => left.start - right.start || left.number - right.number);
    const now = sorted.findIndex((one) => one.number === this.findingShown);
    let next = now >= 0 ? now + by : sorted.findIndex((one) => one.start > here);
    if (next < 0) next = by > 0 ? 0 : sorted.length - 1;
    window.location.hash = sorted[next % sorted.length].hash;
  }

  listen() {
    this.detail.addEventListener('keydown', (event) => this.onKey(event));
    this.detail.addEventListener(
        'dblclick', (event) => this.zoom(0.25, this.byteAt(this.detail, event, this.from, this.to)));
    this.detail.addEventListener('wheel', (event) => this.onWheel(event), {passive: false});
    this.dragging(this.detail, (moved) => this.onPan(moved), (event) => this.onPick(event));
    this.dragging(this.overview, (moved) => this.onSweep(moved), (event) => this.onJump(event));
    for (const [canvas, whole] of [[this.detail, false], [this.overview, true]]) {
      canvas.addEventListener('pointermove', (event) => this.showTip(canvas, event, whole));
      canvas.addEventListener('pointerleave', () => {
        this.tip.hidden = true;
      });
    }
    new ResizeObserver(() => this.draw()).observe(this.detail);
  }

  byteAt(canvas, event, from, to) {
    const box = canvas.getBoundingClientRect();
    const share = Math.max(0, Math.min(1, (event.clientX - box.left) / Math.max(1, box.width)));
    return Math.min(this.map.size - 1, from + share * (to - from));
  }

  // Tells a click from a drag; `onDrag` gets where it began and where it is, in pixels and at which view.
  dragging(canvas, onDrag, onClick) {
    let start = null;
    canvas.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      start = {x: event.clientX, from: this.from, to: this.to, first: event, moved: false};
      canvas.setPointerCapture(event.pointerId);
    });
    canvas.addEventListener('pointermove', (event) => {
      if (start === null) return;
      start.moved = start.moved || Math.abs(event.clientX - start.x) > 4;
      if (start.moved) onDrag({...start, last: event});
    });
    canvas.addEventListener('pointerup', (event) => {
      if (start !== null && !start.moved) onClick(event);
      start = null;
    });
    canvas.addEventListener('pointercancel', () => {
      start = null;
    });
  }

  onPan(moved) {
    const bytes = ((moved.x - moved.last.clientX) / this.detail.clientWidth) * (moved.to - moved.from);
    this.show(moved.from + bytes, moved.to + bytes);
  }

  onPick(event) {
    const byte = this.byteAt(this.detail, event, this.from, this.to);
    this.selectRange(this.map.indexAt(Math.floor(byte)));
  }

  onSweep(moved) {
    const one = this.byteAt(this.overview, moved.first, 0, this.map.size);
    const other = this.byteAt(this.overview, moved.last, 0, this.map.size);
    this.show(Math.min(one, other), Math.max(one, other));
  }

  onJump(event) {
    const byte = this.byteAt(this.overview, event, 0, this.map.size);
    const span = this.to - this.from < this.map.size ? this.to - this.from : this.map.size / 10;
    this.show(byte - span / 2, byte + span / 2);
  }

  onWheel(event) {
    if (event.ctrlKey || event.metaKey) {
      event.preventDefault();
      this.zoom(Math.exp(event.deltaY / 300), this.byteAt(this.detail, event, this.from, this.to));
    } else if (Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      event.preventDefault();
      this.pan((event.deltaX / this.detail.clientWidth) * (this.to - this.from));
    }
  }

  onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const span = this.to - this.from;
    const acts = {
      ArrowRight: () => (event.shiftKey ? this.pan(span / 5) : this.selectRange(this.current + 1)),
      ArrowLeft: () => (event.shiftKey ? this.pan(-span / 5) : this.selectRange(this.current - 1)),
      Home: () => this.selectRange(0),
      End: () => this.selectRange(this.map.ends.length - 1),
      '+': () => this.zoom(0.4),
      '=': () => this.zoom(0.4),
      '-': () => this.zoom(2.5),
      '0': () => this.show(0, this.map.size),
      Enter: () => this.selected && this.zoomTo(this.selected.start, this.selected.end - this.selected.start),
      d: () => this.stepFinding(1),
      D: () => this.stepFinding(-1),
    };
    if (!(event.key in acts)) return;
    event.preventDefault();
    acts[event.key]();
  }

  showTip(canvas, event, whole) {
    const byte = Math.floor(
        whole ? this.byteAt(canvas, event, 0, this.map.size) :
                this.byteAt(canvas, event, this.from, this.to));
    const at = this.map.indexAt(byte);
    const range = this.map.ranges[at];
    if (range === undefined || this.map.starts[at] > byte) {
      this.tip.hidden = true;
      return;
    }
    this.tip.textContent =
        `${ownerText(range.owner)} \u2013 ${protections[this.map.protections[at]].title.toLowerCase()}`;
    this.tip.hidden = false;
    const box = this.tip.parentElement.getBoundingClientRect();
    const left = Math.min(event.clientX - box.left + 12, box.width - this.tip.offsetWidth - 4);
    this.tip.style.left = `${Math.max(0, left)}px`;
    this.tip.style.top = `${canvas.offsetTop - this.tip.offsetHeight - 2}px`;
  }

  draw() {
    if (this.detail.clientWidth === 0 || this.map.size === 0) return;
    if (this.palette === undefined) this.palette = new Palette();
    this.drawOverview();
    this.drawDetail();
    this.detail.dataset.from = Math.floor(this.from);
    this.detail.dataset.to = Math.ceil(this.to);
  }

  // After a change of the colours or of the resolution.
  redraw() {
    this.palette = undefined;
    this.draw();
  }

  drawOverview() {
    const strip = this.whole;
    strip.begin(this.palette, 0, this.map.size);
    const scale = strip.scale;
    const top = 12 * scale;
    const height = strip.height - top - 6 * scale;
    strip.drawRanges(top, height);
    this.drawMarks(strip, top - 2 * scale);
    if (this.to - this.from < this.map.size) {
      strip.drawOutline(this.from, this.to, this.palette.ink, top - 3 * scale, height + 6 * scale, 2);
    }
  }

  drawDetail() {
    const strip = this.zoomed;
    strip.begin(this.palette, this.from, this.to);
    const scale = strip.scale;
    const top = 14 * scale;
    const height = strip.height - top - 26 * scale;
    strip.drawRanges(top, height);
    strip.drawLabels(top, height);
    this.drawMarks(strip, top - 2 * scale);
    if (this.selected !== null) {
      strip.drawOutline(this.selected.start, this.selected.end, this.palette.paper, top, height, 5);
      strip.drawOutline(this.selected.start, this.selected.end, this.palette.accent, top, height, 3);
    }
    strip.drawAxis(top + height);
  }

  // Errors are drawn last, so that a note never covers one; marks that would look the same are drawn once.
  drawMarks(strip, height) {
    for (const severity of ['note', 'warning', 'error']) {
      const drawn = new Set();
      for (const one of this.findings) {
        if (one.severity !== severity) continue;
        const look = `${Math.round(strip.xOf(one.start))} ${Math.round(strip.xOf(one.start + one.length))}`;
        if (drawn.has(look)) continue;
        drawn.add(look);
        strip.drawMark(one.start, one.length, this.palette.severities[severity], 0, height);
      }
    }
  }
}
