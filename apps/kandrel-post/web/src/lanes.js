// The lanes of marks above the charts, with the time axis that holds for all.

import uPlot from 'uplot';

import {kGutter, kRight} from './chart_frame.js';
import {element} from './dom.js';
import {formatCount} from './format.js';
import {lowerBound} from './run.js';

const kLaneHeight = 17;
const kTimeAxis = 21;
const kTimeLabel = 15;

export class Lanes {
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
