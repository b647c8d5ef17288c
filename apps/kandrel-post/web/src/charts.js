// The charts along the run: one for each axis, feed, rotary speed and deviations, and above them
// the lanes of marks. All show the same stretch of the run.

import {Chart} from './chart.js';
import {kGutter, kRight} from './chart_frame.js';
import {element} from './dom.js';
import {formatClock, formatCount, formatDigits, plural} from './format.js';
import {Lanes} from './lanes.js';
import {lowerBound} from './run.js';

const kClickSlack = 5;

const kTimeSteps = [1e-4, 2e-4, 5e-4, .001, .002, .005, .01, .02, .05, .1, .2, .5, 1, 2, 5, 10, 15,
  30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 28800, 86400, 172800, 432000, 864000];
const kLineSteps = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1e3, 2e3, 5e3, 1e4, 2e4, 5e4, 1e5, 2e5, 5e5,
  1e6, 2e6, 5e6, 1e7];

export class Charts {
  // `specs` of charts and `lanes` of marks: {name, color, spans, ticks}, rows whose blocks are filled
  // and rows at which a tick stands. `root` is filled; `onView` hears of zooms.
  constructor({root, run, facts, cursor, theme, specs, lanes, onView}) {
    Object.assign(this, {root, run, facts, cursor, theme, onView});
    this.font = '11px system-ui, sans-serif';
    this.whole = run.x1 > run.x0 ? [run.x0, run.x1] : [run.x0 - 0.5, run.x0 + 0.5];
    this.view = [...this.whole];
    this.handles = [];
    this.hoverX = null;
    this.shadow = null;
    this.hasMarks = true;
    this.lanes = new Lanes(this, lanes);
    this.charts = specs.map((spec) => new Chart(this, spec));
    root.append(this.lanes.root, ...this.charts.map((chart) => chart.root));
    this.width = this.measure();
    this.lanes.make(this.width);
    for (const chart of this.charts) chart.make(this.width);
    this.describe();
    cursor.onChange(() => this.follow());
    theme.onChange(() => this.redraw());
    new ResizeObserver(() => {
      const width = this.measure();
      if (width !== this.width && width > 0) {
        this.width = width;
        this.update();
      }
    }).observe(root);
    this.place();
  }

  measure() {
    return Math.max(Math.floor(this.root.clientWidth), kGutter + kRight + 40);
  }

  steps() {
    return {incrs: this.run.hasTime ? kTimeSteps : kLineSteps};
  }

  xLabel() {
    if (!this.run.hasTime) return 'line (the run has no times)';
    return this.run.x1 >= 3600 ? 'time, h:min:s' : 'time, min:s';
  }

  xText(value, step) {
    if (!this.run.hasTime) return formatCount(value);
    const decimals = step >= 1 ? 0 : Math.min(4, Math.ceil(-Math.log10(step) - 1e-9));
    return formatClock(value, decimals, this.run.x1 >= 3600);
  }

  describe() {
    for (const chart of this.charts) {
      const {min, max} = chart.spec.extent;
      const {title, unit} = chart.spec;
      chart.body.setAttribute('aria-label', Number.isNaN(min) ? `${title}: no value` :
        `${title} along the run, from ${formatDigits(min, 5)} to ${formatDigits(max, 5)} ${unit}`);
    }
  }

  // Where pixel columns begin: the row that the machine is on the way to there.
  edges(columns) {
    const {run, view} = this;
    const edges = new Uint32Array(columns + 1);
    for (let p = 0, row = 0; p <= columns; ++p) {
      row = lowerBound(run.x, view[0] + (view[1] - view[0]) * p / columns, row);
      edges[p] = row;
    }
    return edges;
  }

  // Of the rows that are moved to in a pixel column, how many are among `rows`: [column, share].
  *shares(rows, edges) {
    let from = 0;
    for (let p = 0; p + 1 < edges.length; ++p) {
      // No move leads to the first row.
      const first = Math.max(edges[p], 1);
      const last = Math.min(edges[p + 1], this.run.n - 1);
      from = lowerBound(rows, first, from);
      const to = lowerBound(rows, last + 1, from);
      if (to > from) yield [p, (to - from) / (last + 1 - first)];
    }
  }

  // The stretches in view that are mostly rapid, as parts of the width; the same for all charts.
  rapidBands() {
    const key = `${this.view} ${this.width}`;
    if (this.shadow?.key !== key) {
      const columns = Math.max(this.width - kGutter - kRight, 1);
      const bands = [];
      for (const [p, share] of this.shares(this.facts.rows.rapid, this.edges(columns))) {
        if (share < 0.5) continue;
        const last = bands[bands.length - 1];
        if (last && last[1] === p / columns) last[1] = (p + 1) / columns;
        else bands.push([p / columns, (p + 1) / columns]);
      }
      this.shadow = {key, bands};
    }
    return this.shadow.bands;
  }

  get isWhole() {
    return this.view[0] === this.whole[0] && this.view[1] === this.whole[1];
  }

  setView(from, to) {
    const [w0, w1] = this.whole;
    const least = this.run.hasTime ? Math.max((w1 - w0) * 1e-7, 1e-4) : Math.min(2, w1 - w0);
    let span = Math.min(Math.max(to - from, least), w1 - w0);
    if (!Number.isFinite(span)) span = w1 - w0;
    let start = (from + to) / 2 - span / 2;
    start = Math.min(Math.max(start, w0), w1 - span);
    this.view = span >= w1 - w0 ? [w0, w1] : [start, start + span];
    if (!this.pending) {
      this.pending = requestAnimationFrame(() => {
        this.pending = 0;
        this.update();
      });
    }
  }

  zoom(factor, at = this.cursor.x) {
    const [a, b] = this.view;
    const center = at >= a && at <= b ? at : (a + b) / 2;
    this.setView(center - (center - a) * factor, center + (b - center) * factor);
  }

  pan(share) {
    const shift = (this.view[1] - this.view[0]) * share;
    this.setView(this.view[0] + shift, this.view[1] + shift);
  }

  showAll() {
    this.setView(...this.whole);
  }

  update() {
    this.lanes.update(this.width);
    for (const chart of this.charts) chart.update(this.width);
    this.place();
    this.onView?.(this);
  }

  // The triangles of findings and the lines of jumps and rewindings; lanes stay.
  showMarks(hasMarks) {
    this.hasMarks = hasMarks;
    this.redraw();
  }

  redraw() {
    this.lanes.plot.redraw();
    for (const chart of this.charts) chart.plot.redraw();
  }

  // Keeps the cursor in view, by a page at a time, and moves its line and the values with it.
  follow() {
    const [a, b] = this.view;
    const {x} = this.cursor;
    if (x < a || x > b) {
      const span = b - a;
      this.setView(x > b && x - b < span ? x - 0.05 * span : x - span / 2,
        x > b && x - b < span ? x + 0.95 * span : x + span / 2);
    }
    this.place();
  }

  place() {
    const [a, b] = this.view;
    const {x} = this.cursor;
    const width = this.width - kGutter - kRight;
    const at = (v) => (v - a) / (b - a) * width;
    const isIn = this.run.n > 0 && x >= a && x <= b;
    for (const {line} of this.handles) {
      line.style.visibility = isIn ? 'visible' : 'hidden';
      if (isIn) line.style.transform = `translateX(${at(x)}px)`;
    }
    if (this.hoverX === null) for (const chart of this.charts) this.tell(chart, this.cursor);
  }

  tell(chart, cursor) {
    const {spec} = chart;
    const value = spec.isStepped ? (cursor.row < 0 ? NaN : spec.values[cursor.row]) :
      cursor.valueOf(spec.values, spec.wrapped);
    chart.tellValue(value);
  }

  // Where the charts show the cursor: read back from the picture.
  get cursorX() {
    const {line} = this.handles[this.handles.length - 1];
    const shift = /translateX\((.*)px\)/.exec(line.style.transform);
    const width = this.width - kGutter - kRight;
    return shift ? this.view[0] + Number(shift[1]) / width * (this.view[1] - this.view[0]) : NaN;
  }

  addHandles(plot) {
    const line = element('div', {class: 'chart-cursor'});
    const hover = element('div', {class: 'chart-hover'});
    const band = element('div', {class: 'chart-select'});
    plot.over.append(band, hover, line);
    this.handles.push({line, hover, band});
    this.listen(plot.over);
  }

  listen(over) {
    const touches = new Map();
    let start = null;
    const xAt = (event) => {
      const box = over.getBoundingClientRect();
      const part = (event.clientX - box.left) / box.width;
      return this.view[0] + Math.min(Math.max(part, 0), 1) * (this.view[1] - this.view[0]);
    };
    over.addEventListener('pointerdown', (event) => {
      if (event.button > 1) return;
      if (event.pointerType === 'touch') touches.set(event.pointerId, event.clientX);
      over.setPointerCapture(event.pointerId);
      start = {
        px: event.clientX,
        x: xAt(event),
        view: [...this.view],
        isPan: event.pointerType === 'touch' || event.shiftKey || event.button === 1,
        isDrag: false,
        pinch: touches.size > 1 ? [...touches.values()] : null,
      };
      if (event.button === 1) event.preventDefault();
    });
    over.addEventListener('pointermove', (event) => {
      if (touches.has(event.pointerId)) touches.set(event.pointerId, event.clientX);
      if (!start) {
        if (event.pointerType !== 'touch') this.hover(xAt(event));
        return;
      }
      if (Math.abs(event.clientX - start.px) > kClickSlack || touches.size > 1) start.isDrag = true;
      if (!start.isDrag) return;
      const perPixel = (start.view[1] - start.view[0]) / over.clientWidth;
      if (start.pinch && touches.size > 1) {
        const [p, q] = [...touches.values()];
        const [p0, q0] = start.pinch;
        const left = over.getBoundingClientRect().left;
        const factor = Math.abs(p0 - q0) / Math.max(Math.abs(p - q), 1);
        const center = start.view[0] + ((p0 + q0) / 2 - left) * perPixel;
        const from = center - ((p + q) / 2 - left) * perPixel * factor;
        this.setView(from, from + (start.view[1] - start.view[0]) * factor);
      } else if (start.isPan) {
        const shift = (start.px - event.clientX) * perPixel;
        this.setView(start.view[0] + shift, start.view[1] + shift);
      } else {
        this.select(start.x, xAt(event));
      }
    });
    const end = (event) => {
      touches.delete(event.pointerId);
      const from = start;
      start = null;
      this.select(null);
      if (!from || event.type === 'pointercancel') return;
      if (!from.isDrag) this.cursor.setX(from.x);
      else if (!from.isPan) this.setView(...[from.x, xAt(event)].sort((a, b) => a - b));
    };
    over.addEventListener('pointerup', end);
    over.addEventListener('pointercancel', end);
    over.addEventListener('pointerleave', () => this.hover(null));
    over.addEventListener('dblclick', () => this.showAll());
    over.addEventListener('wheel', (event) => {
      if (event.ctrlKey || event.metaKey) {
        event.preventDefault();
        this.zoom(Math.exp(event.deltaY * 0.002), xAt(event));
      } else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
        event.preventDefault();
        this.pan((event.deltaX || event.deltaY) / over.clientWidth);
      }
    }, {passive: false});
  }

  select(from, to) {
    const [a, b] = this.view;
    for (const {band} of this.handles) {
      band.style.display = from === null ? 'none' : 'block';
      if (from === null) continue;
      band.style.left = `${(Math.min(from, to) - a) / (b - a) * 100}%`;
      band.style.width = `${Math.abs(to - from) / (b - a) * 100}%`;
    }
  }

  // The values below the pointer in place of those at the cursor.
  hover(x) {
    this.hoverX = x;
    const [a, b] = this.view;
    for (const {hover} of this.handles) {
      hover.style.display = x === null ? 'none' : 'block';
      if (x !== null) hover.style.left = `${(x - a) / (b - a) * 100}%`;
    }
    this.root.classList.toggle('is-hovered', x !== null);
    if (x === null) {
      this.place();
      return;
    }
    if (this.run.n === 0) return;
    this.probe ??= new this.cursor.constructor(this.run);
    this.probe.setX(x);
    for (const chart of this.charts) this.tell(chart, this.probe);
  }

  get viewText() {
    const {run, view} = this;
    if (!run.hasTime) {
      return `lines ${formatCount(view[0])} to ${formatCount(view[1])}`;
    }
    const span = view[1] - view[0];
    const decimals = span >= 20 ? 0 : span >= 1 ? 1 : 3;
    const text = (v) => formatClock(v, decimals);
    return `${text(view[0])} to ${text(view[1])}, ` +
      plural(Math.max(0, lowerBound(run.x, view[1]) - lowerBound(run.x, view[0]) + 1), 'line',
        'lines');
  }
}
