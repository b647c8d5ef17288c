// The charts along the run: one for each axis, feed, rotary speed and deviations, and above them
// the lanes of marks. All show the same stretch of the run.

import uPlot from 'uplot';

import {element} from './dom.js';
import {formatClock, formatCount, formatDigits, formatNumber, plural} from './format.js';
import {Extremes, pickPoints} from './levels.js';
import {lowerBound} from './run.js';

const kGutter = 62;
const kRight = 10;
const kChartHeight = 116;
const kLaneHeight = 17;
const kTimeAxis = 21;
const kTimeLabel = 15;
const kClickSlack = 5;
const kMostPlaces = 60;
// A limit is drawn where the curve keeps this part of the height.
const kCurveShare = 0.45;

const kTimeSteps = [1e-4, 2e-4, 5e-4, .001, .002, .005, .01, .02, .05, .1, .2, .5, 1, 2, 5, 10, 15,
  30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 28800, 86400, 172800, 432000, 864000];
const kLineSteps = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1e3, 2e3, 5e3, 1e4, 2e4, 5e4, 1e5, 2e5, 5e5,
  1e6, 2e6, 5e6, 1e7];

// One chart. `spec`: title, unit, kind (a colour of the theme), values, isStepped, decimals,
// min and max (limits or null), isChecked, bound (a tolerance or null), marks (rows of findings).
class Chart {
  constructor(charts, spec) {
    this.charts = charts;
    this.spec = spec;
    this.extremes = new Extremes(spec.values);
    this.readout = element('output', {class: 'chart-now', 'aria-live': 'off'});
    this.note = element('span', {class: 'chart-note'});
    this.body = element('div', {class: 'chart-body', role: 'img'});
    this.root = element('figure', {class: 'chart'},
      element('figcaption', {}, element('strong', {class: 'chart-title'}, spec.title),
        element('span', {class: 'chart-unit'}, spec.unit), this.note, this.readout),
      this.body);
    this.root.style.setProperty('--curve', `var(--${spec.kind})`);
    this.yRange = [0, 1];
    this.plot = null;
  }

  make(width) {
    const {charts, spec} = this;
    const {theme} = charts;
    const stepped = uPlot.paths.stepped({align: -1});
    const linear = uPlot.paths.linear();
    const grid = {stroke: () => theme.grid, width: 1};
    this.plot = new uPlot({
      width,
      height: kChartHeight,
      padding: [6, kRight, 4, 0],
      cursor: {show: false},
      legend: {show: false},
      scales: {
        x: {time: false, range: () => [...charts.view]},
        y: {range: () => this.yRange},
      },
      axes: [
        {size: 0, ticks: {show: false}, values: (_, splits) => splits.map(() => null), grid,
          ...charts.steps()},
        {size: kGutter, gap: 4, ticks: {show: false}, stroke: () => theme.muted, grid,
          font: charts.font, space: 26, values: (_, splits) => splits.map((v) => yLabel(v))},
      ],
      series: [{}, {
        stroke: () => theme[spec.kind],
        width: 1.5,
        paths: spec.isStepped ? stepped : linear,
        points: {size: 4, space: 9, fill: () => theme[spec.kind], stroke: () => theme[spec.kind]},
      }],
      hooks: {
        drawClear: [(u) => this.drawBehind(u)],
        draw: [(u) => this.drawMarks(u)],
      },
    }, this.pick(width), this.body);
    charts.addHandles(this.plot);
  }

  pick(width) {
    const {charts, spec} = this;
    const {run, view} = charts;
    const pixels = Math.max(width - kGutter - kRight, 1);
    let data = pickPoints(run.x, this.extremes, view[0], view[1], pixels);
    let min = Infinity;
    let max = -Infinity;
    for (const y of data[1]) {
      if (y === null) continue;
      if (y < min) min = y;
      if (y > max) max = y;
    }
    this.hasCurve = min <= max;
    if (data[0].length === 0) data = [[view[0], view[1]], [null, null]];
    if (!this.hasCurve) min = max = 0;
    this.fitRange(min, max, spec);
    return data;
  }

  // The range of values shown: the curve, and each limit near enough not to squeeze it.
  fitRange(min, max, spec) {
    if (spec.fromZero) min = Math.min(min, 0);
    const least = spec.leastSpan ?? Math.max(Math.abs(max) * 1e-3, 1e-6);
    let span = max - min;
    if (!(span >= least)) {
      const middle = (max + min) / 2;
      min = spec.fromZero ? min : middle - least / 2;
      max = min + least;
      span = least;
    }
    this.drawn = {min: false, max: false, bound: false};
    let low = min;
    let high = max;
    for (const [name, value] of [['min', spec.min], ['max', spec.max], ['bound', spec.bound]]) {
      if (value === null || value === undefined) continue;
      const l = Math.min(low, value);
      const h = Math.max(high, value);
      if (span / (h - l) < kCurveShare) continue;
      [low, high] = [l, h];
      this.drawn[name] = true;
    }
    const margin = (high - low) * 0.08;
    this.yRange = [spec.fromZero && low >= 0 ? 0 : low - margin, high + margin];
    this.tellLimits();
  }

  // What the picture doesn't show of the limits, in words.
  tellLimits() {
    const {spec, note, drawn} = this;
    const words = [];
    const hasLimits = spec.min !== undefined;
    if (!this.hasCurve && this.charts.run.n > 0) words.push(spec.empty ?? 'no value here');
    if (hasLimits) {
      for (const [name, other] of [['min', 'no lower limit'], ['max', 'no upper limit']]) {
        if (spec[name] === null) words.push(other);
        else if (!drawn[name]) words.push(`far from its ${name} ${formatNumber(spec[name], 3)}`);
      }
      if (spec.min === null && spec.max === null) words.splice(-2, 2, 'no limits');
      else if (!drawn.min && !drawn.max && spec.min !== null && spec.max !== null) {
        words.splice(-2, 2, `far from its limits ${formatNumber(spec.min, 3)} to ` +
          formatNumber(spec.max, 3));
      }
    } else if (typeof spec.bound === 'number' && !drawn.bound) {
      words.push(`far below the ${formatNumber(spec.bound, 6)} allowed`);
    }
    note.textContent = words.join(', ');
    note.title = note.textContent;
  }

  drawBehind(u) {
    const {theme} = this.charts;
    const {left, top, width, height} = u.bbox;
    const {ctx} = u;
    ctx.save();
    ctx.fillStyle = theme['rapid-band'];
    for (const [from, to] of this.charts.rapidBands()) {
      ctx.fillRect(left + from * width, top, Math.max((to - from) * width, 1), height);
    }
    const {spec} = this;
    ctx.beginPath();
    ctx.rect(left, top, width, height);
    ctx.clip();
    this.drawPlaces(u, this.charts.facts.jumps, theme.warn);
    this.drawPlaces(u, this.charts.facts.rewindings, theme.mark);
    ctx.fillStyle = theme['bad-band'];
    if (typeof spec.max === 'number') this.band(u, spec.max, top);
    if (typeof spec.min === 'number') this.band(u, spec.min, top + height);
    if (typeof spec.bound === 'number') this.band(u, spec.bound, top);
    ctx.restore();
  }

  // A dashed line at each of few places; many are for the lanes alone.
  drawPlaces(u, rows, color) {
    const {run, view} = this.charts;
    const from = lowerBound(rows, lowerBound(run.x, view[0]));
    const {ctx, bbox} = u;
    const scale = devicePixelRatio;
    const places = [];
    for (let k = from; k < rows.length && run.x[rows[k]] <= view[1]; ++k) {
      if (places.push(run.x[rows[k]]) > kMostPlaces) return;
    }
    ctx.strokeStyle = color;
    ctx.lineWidth = scale;
    ctx.setLineDash([2 * scale, 3 * scale]);
    ctx.beginPath();
    for (const x of places) {
      const px = Math.round(u.valToPos(x, 'x', true)) + 0.5;
      ctx.moveTo(px, bbox.top);
      ctx.lineTo(px, bbox.top + bbox.height);
    }
    ctx.stroke();
    ctx.setLineDash([]);
  }

  // From a limit to the edge beyond it: what the axis must not enter.
  band(u, value, edge) {
    const y = u.valToPos(value, 'y', true);
    if (!Number.isFinite(y) || (edge - y) * (edge - u.bbox.top - 1) < 0) return;
    u.ctx.fillRect(u.bbox.left, Math.min(y, edge), u.bbox.width, Math.abs(edge - y));
  }

  drawMarks(u) {
    const {theme, run, view} = this.charts;
    const {spec, drawn} = this;
    const {left, top, width, height} = u.bbox;
    const {ctx} = u;
    const scale = devicePixelRatio;
    ctx.save();
    ctx.beginPath();
    ctx.rect(left, top, width, height);
    ctx.clip();
    ctx.lineWidth = 1.5 * scale;
    ctx.font = `${11 * scale}px system-ui, sans-serif`;
    ctx.textAlign = 'right';
    for (const [name, word] of [['min', 'min'], ['max', 'max'], ['bound', 'allowed']]) {
      if (!drawn[name]) continue;
      const y = Math.round(u.valToPos(spec[name], 'y', true));
      ctx.strokeStyle = theme.bad;
      ctx.setLineDash([6 * scale, 4 * scale]);
      ctx.beginPath();
      ctx.moveTo(left, y);
      ctx.lineTo(left + width, y);
      ctx.stroke();
      const isBelow = y - top < 16 * scale || (name === 'min' && top + height - y > 16 * scale);
      const text = `${word} ${formatNumber(spec[name], 6)}`;
      const right = left + width - 4 * scale;
      const boxWidth = ctx.measureText(text).width + 6 * scale;
      const boxTop = isBelow ? y + 2 * scale : y - 16 * scale;
      ctx.globalAlpha = 0.85;
      ctx.fillStyle = theme.panel;
      ctx.fillRect(right - boxWidth + 3 * scale, boxTop, boxWidth, 14 * scale);
      ctx.globalAlpha = 1;
      ctx.fillStyle = theme.bad;
      ctx.textBaseline = 'middle';
      ctx.fillText(text, right, boxTop + 7.5 * scale);
    }
    // A triangle for each finding of this axis, one a pixel at most.
    ctx.setLineDash([]);
    ctx.fillStyle = theme.bad;
    ctx.strokeStyle = theme.panel;
    ctx.lineWidth = scale;
    let last = -Infinity;
    for (const row of spec.marks ?? []) {
      const x = run.x[row];
      if (x < view[0] || x > view[1]) continue;
      const px = u.valToPos(x, 'x', true);
      if (px - last < 3 * scale) continue;
      last = px;
      const value = spec.values[row];
      let y = Number.isFinite(value) ? u.valToPos(value, 'y', true) : top;
      y = Math.min(Math.max(y, top + 9 * scale), top + height);
      ctx.beginPath();
      ctx.moveTo(px, y - scale);
      ctx.lineTo(px - 5 * scale, y - 9 * scale);
      ctx.lineTo(px + 5 * scale, y - 9 * scale);
      ctx.closePath();
      ctx.fill();
      ctx.stroke();
    }
    ctx.restore();
  }

  update(width) {
    if (!this.plot) return;
    if (this.plot.width !== width) this.plot.setSize({width, height: kChartHeight});
    this.plot.setData(this.pick(width));
  }

  tellValue(value) {
    const {spec} = this;
    const text = spec.decimals === undefined ? formatDigits(value) :
      formatNumber(value, spec.decimals);
    const shown = Number.isNaN(value) ? '\u2013' : `${text}\u00a0${spec.unit}`;
    if (this.readout.textContent !== shown) this.readout.textContent = shown;
  }
}

function yLabel(value) {
  if (value === null) return null;
  const size = Math.abs(value);
  if (size !== 0 && (size < 1e-4 || size >= 1e6)) return value.toExponential(0);
  return formatNumber(value, 5);
}

// The lanes of marks above the charts, with the time axis that holds for all.
class Lanes {
  constructor(charts, lanes) {
    this.charts = charts;
    this.lanes = lanes;
    this.body = element('div', {class: 'chart-body lanes', role: 'img'});
    this.body.setAttribute('aria-label', 'Marks along the run: ' +
      lanes.map(({name, ticks, spans}) => `${name} ${formatCount((ticks ?? spans).length)}`).join(', '));
    this.root = element('figure', {class: 'chart'}, this.body);
    this.height = lanes.length * kLaneHeight + kTimeAxis + kTimeLabel + 4;
    this.plot = null;
  }

  make(width) {
    const {charts, lanes} = this;
    const {theme} = charts;
    const count = lanes.length;
    this.plot = new uPlot({
      width,
      height: this.height,
      padding: [4, kRight, 0, 0],
      cursor: {show: false},
      legend: {show: false},
      scales: {
        x: {time: false, range: () => [...charts.view]},
        y: {range: () => [0, count]},
      },
      axes: [
        {size: kTimeAxis, gap: 2, labelGap: 0, labelSize: kTimeLabel, label: charts.xLabel(),
          stroke: () => theme.muted, font: charts.font, labelFont: charts.font,
          ticks: {stroke: () => theme.line, size: 4}, grid: {stroke: () => theme.grid, width: 1},
          values: (_, splits, __, ___, step) => splits.map((v) => charts.xText(v, step)),
          space: 62, ...charts.steps()},
        {size: kGutter, gap: 4, ticks: {show: false}, grid: {show: false},
          stroke: () => theme.muted, font: charts.font,
          splits: () => lanes.map((_, i) => count - i - 0.5),
          values: () => lanes.map((lane) => lane.name), filter: (_, splits) => splits},
      ],
      series: [{}, {show: true, stroke: 'transparent', points: {show: false}}],
      hooks: {draw: [(u) => this.draw(u)]},
    }, this.data(), this.body);
    charts.addHandles(this.plot);
  }

  data() {
    return [[...this.charts.view], [null, null]];
  }

  draw(u) {
    const {charts, lanes} = this;
    const {run, view, theme} = charts;
    const {left, top, width, height} = u.bbox;
    const {ctx} = u;
    const scale = devicePixelRatio;
    const columns = Math.max(Math.round(width / scale), 1);
    const rowHeight = height / lanes.length;
    const edges = charts.edges(columns);
    ctx.save();
    lanes.forEach((lane, i) => {
      const y = Math.round(top + i * rowHeight);
      const h = Math.round(rowHeight - 3 * scale);
      ctx.fillStyle = theme.grid;
      ctx.fillRect(left, y, width, h);
      ctx.fillStyle = theme[lane.color];
      if (lane.spans) {
        for (const [p, share] of charts.shares(lane.spans, edges)) {
          ctx.globalAlpha = 0.35 + 0.65 * share;
          const a = left + Math.round(p * width / columns);
          ctx.fillRect(a, y, left + Math.round((p + 1) * width / columns) - a, h);
        }
        ctx.globalAlpha = 1;
      }
      const ticks = lane.ticks ?? [];
      const at = (row) => left + (run.x[row] - view[0]) / (view[1] - view[0]) * width;
      let k = lowerBound(ticks, lowerBound(run.x, view[0]));
      // A tick each, and no more than one where they would stand over each other.
      while (k < ticks.length && run.x[ticks[k]] <= view[1]) {
        const x = at(ticks[k]);
        ctx.fillRect(Math.round(x - 1.5 * scale), y, Math.round(3 * scale), h);
        const next = view[0] + (x + 2 * scale - left) / width * (view[1] - view[0]);
        k = Math.max(k + 1, lowerBound(ticks, lowerBound(run.x, next), k));
      }
    });
    ctx.restore();
  }

  update(width) {
    if (!this.plot) return;
    if (this.plot.width !== width) this.plot.setSize({width, height: this.height});
    this.plot.setData(this.data());
  }
}

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
