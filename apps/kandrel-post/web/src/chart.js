// One chart along the run: a curve, the limits drawn in or told in words, and marks.

import uPlot from 'uplot';

import {kGutter, kRight} from './chart_frame.js';
import {element} from './dom.js';
import {formatDigits, formatNumber} from './format.js';
import {Extremes, pickPoints} from './levels.js';
import {lowerBound} from './run.js';

const kChartHeight = 116;
const kMostPlaces = 60;
// A limit is drawn where the curve keeps this part of the height.
const kCurveShare = 0.45;
// What stays below this part of what is allowed is far below it.
const kFarShare = 0.1;

const kLimits = [['min', 'min'], ['max', 'max'], ['bound', 'allowed']];

function yLabel(value) {
  if (value === null) return null;
  const size = Math.abs(value);
  if (size !== 0 && (size < 1e-4 || size >= 1e6)) return value.toExponential(0);
  return formatNumber(value, 5);
}

// `spec`: title, unit, kind (a colour of the theme), values, isStepped, decimals,
// min and max (limits or null), isChecked, bound (a tolerance or null), marks (rows of findings).
export class Chart {
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
    } else if (spec.bound && this.hasCurve && !drawn.bound) {
      const isFar = !(spec.extent.max > kFarShare * spec.bound);
      words.push(`${isFar ? 'far ' : ''}below the ${formatNumber(spec.bound, 6)} allowed`);
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
    if (this.charts.hasMarks) {
      this.drawPlaces(u, this.charts.facts.jumps, theme.warn);
      this.drawPlaces(u, this.charts.facts.rewindings, theme.mark);
    }
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
    const {theme} = this.charts;
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
    for (const [name] of kLimits) {
      if (!drawn[name]) continue;
      const y = Math.round(u.valToPos(spec[name], 'y', true));
      ctx.strokeStyle = theme.bad;
      ctx.setLineDash([6 * scale, 4 * scale]);
      ctx.beginPath();
      ctx.moveTo(left, y);
      ctx.lineTo(left + width, y);
      ctx.stroke();
    }
    if (this.charts.hasMarks) this.drawFindings(u);
    // Above all else, so that they can be read.
    ctx.setLineDash([]);
    for (const [name, word] of kLimits) {
      if (!drawn[name]) continue;
      const y = Math.round(u.valToPos(spec[name], 'y', true));
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
    ctx.restore();
  }

  // A triangle for each finding that concerns this chart, none over the other.
  drawFindings(u) {
    const {theme, run, view} = this.charts;
    const {spec} = this;
    const {top, height} = u.bbox;
    const {ctx} = u;
    const scale = devicePixelRatio;
    ctx.setLineDash([]);
    ctx.fillStyle = theme.bad;
    ctx.strokeStyle = theme.panel;
    ctx.lineWidth = scale;
    let last = -Infinity;
    for (const row of spec.marks ?? []) {
      const x = run.x[row];
      if (x < view[0] || x > view[1]) continue;
      const px = u.valToPos(x, 'x', true);
      if (px - last < 10 * scale) continue;
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
