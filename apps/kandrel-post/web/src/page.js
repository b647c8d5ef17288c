// The page of a posted run: reads it, works out what is to be seen, and ties the parts together.
//
// window.kandrel, for scripts that look at the page:
//   ready    true once the run is drawn; false where there is none that can be shown
//   counts   {source, posted, inserted, rapid, largeJumps, rewindings}
//   error    only where ready is false: why, in words
//   state()  what is shown: row, line and x of the cursor (seconds, or lines in a run of no time),
//            chartX (the same, read back from the charts' line), tool ({tip, axis} as drawn, or
//            null), view ([from, to] of the charts), hasView, isPlaying, points (drawn, of each
//            chart), marks (rows of findings of each chart)
//   goToLine(line), goTo(x)   put the cursor there
//   times    milliseconds of the last updates of the cursor, without drawing, and draws of the view

import {Charts} from './charts.js';
import {Cursor} from './cursor.js';
import {byId, element} from './dom.js';
import {studyRun} from './facts.js';
import {fillFindings, gatherFindings} from './findings.js';
import {formatDigits} from './format.js';
import {fillHead} from './head.js';
import {Player} from './player.js';
import {Readout} from './readout.js';
import {readRun, rowOfLine, RunError} from './run.js';
import {rampGradient, Theme} from './theme.js';
import {View3d} from './view3d.js';

// One outlier must not take all colours: the bar ends where so much of the run lies below.
const kColorShare = 0.995;
const kSampled = 50000;

function chartSpecs(run, facts, found) {
  const {info, unit} = run;
  const marksOf = (chart) =>
    uniqueSorted(found.filter((one) => one.chart === chart).map((one) => one.row));
  const specs = run.axes.map((axis, i) => ({
    title: axis.letter,
    unit: axis.isRotary ? 'deg' : unit,
    kind: axis.isRotary ? 'rotary' : 'linear',
    values: axis.values,
    wrapped: axis.wrapped,
    extent: facts.axes[i],
    min: axis.min,
    max: axis.max,
    decimals: unit === 'in' && !axis.isRotary ? 4 : 3,
    leastSpan: axis.isRotary || unit === 'mm' ? 0.2 : 0.01,
    marks: marksOf(axis.letter),
  }));
  const more = (id, title, unitWords, bound, empty) => specs.push({
    title, unit: unitWords, kind: 'other', values: facts[id].values, extent: facts[id],
    isStepped: true, fromZero: true, bound, empty, leastSpan: bound ? bound / 100 : 1,
    marks: marksOf(id),
  });
  const {tolerance} = info;
  const number = (value) => typeof value === 'number' && Number.isFinite(value) ? value : null;
  more('feed', 'Feed', `${unit}/min`, null, 'rapid moves have none');
  if (!run.axes.some((axis) => axis.isRotary)) return specs;
  if (run.hasTime) {
    more('speed', 'Rotary speed', 'deg/min', number(info.maxRotarySpeed), 'nothing fed here');
  }
  more('tip', 'Tip off its line', unit, number(tolerance?.tip), 'not measured here');
  more('axis', 'Axis off its arc', 'deg', number(tolerance?.axis), 'not measured here');
  return specs;
}

function uniqueSorted(rows) {
  return Uint32Array.from(new Set(rows.filter((row) => row >= 0))).sort();
}

function laneList(run, facts, found) {
  const hasRotary = run.axes.some((axis) => axis.isRotary);
  const {rows} = facts;
  const lanes = [
    {name: 'rapid', spans: rows.rapid, color: 'muted'},
    {name: 'inserted', spans: rows.inserted, color: 'linear'},
  ];
  if (hasRotary) {
    lanes.push({name: 'on a pole', ticks: rows.pole, color: 'pole'},
      {name: 'jump', spans: rows.jump, ticks: facts.jumps, color: 'warn'},
      {name: 'rewinding', spans: rows.rewinding, ticks: facts.rewindings, color: 'mark'});
  }
  // All lines of a finding, not its worst alone.
  const lookAt = [];
  for (const {row, from, to} of found) {
    lookAt.push(row);
    if (!(to > from)) continue;
    const last = rowOfLine(run, to);
    for (let i = rowOfLine(run, from); i <= last; ++i) lookAt.push(i);
  }
  lanes.push({name: 'to look at', ticks: uniqueSorted(lookAt), color: 'bad'});
  return lanes;
}

// The ways to colour the path: {name, unit, values, min, max, isCut}.
function colorings(run, facts) {
  const list = [];
  const add = (name, unit, {values, min, max}) => {
    if (Number.isNaN(min)) return;
    const stride = Math.max(1, Math.floor(values.length / kSampled));
    const sample = [];
    for (let i = 0; i < values.length; i += stride) {
      if (Number.isFinite(values[i])) sample.push(values[i]);
    }
    sample.sort((a, b) => a - b);
    const high = sample[Math.floor((sample.length - 1) * kColorShare)] ?? max;
    const isCut = high > min && max > 2 * high - min;
    list.push({name, unit, values, min, max: isCut ? high : max, isCut});
  };
  add('feed', `${run.unit}/min`, facts.feed);
  add('deviation of the tip', run.unit, facts.tip);
  add('deviation of the axis', 'deg', facts.axis);
  add('rotary speed', 'deg/min', facts.speed);
  return list;
}

function tieColors(run, facts, view, theme) {
  const list = colorings(run, facts);
  const select = byId('color-by');
  list.forEach(({name}, i) =>
    select.append(element('option', {value: String(i)}, name)));
  select.parentElement.hidden = list.length === 0;
  const show = () => {
    const chosen = list[Number(select.value)];
    byId('scale').hidden = !chosen;
    if (!chosen) return;
    const {name, unit, min, max, isCut} = chosen;
    const low = formatDigits(min);
    const high = `${isCut ? '\u2265\u00a0' : ''}${formatDigits(max)}`;
    byId('scale-min').textContent = max > min ? low : '';
    byId('scale-max').textContent = max > min ? `${high} ${unit}` : `${low} ${unit} throughout`;
    byId('scale-bar').style.background = max > min ? rampGradient(theme.isDark) :
      rampGradient(theme.isDark).replace(/.*(rgb\([^)]*\))(, rgb\([^)]*\)){5}\)$/, '$1');
    byId('scale').setAttribute('aria-label', max > min ?
      `Colours by ${name}, from ${low} to ${high} ${unit}` : `${name} ${low} ${unit} throughout`);
    view?.colorBy(chosen);
  };
  // Rotary speed tells most about a run whose feed is the same throughout.
  const isFlat = list.length > 1 && !(list[0].max > list[0].min);
  if (isFlat) select.value = String(list.length - 1);
  select.addEventListener('change', show);
  theme.onChange(show);
  show();
}

function fillLegend(run, facts, found, view) {
  const items = [];
  const item = (color, text, name = '') => {
    const mark = element('i', {class: name});
    mark.style.setProperty('--c', `var(--${color})`);
    items.push(element('li', {}, mark, text));
  };
  if (facts.rows.rapid.length > 0) item('rapid-path', 'rapid', 'dash');
  if (found.some((one) => one.row >= 0)) item('bad', 'to look at');
  if (facts.jumps.length > 0) item('warn', 'large jump');
  if (facts.rewindings.length > 0) item('mark', 'rewinding');
  if (facts.poles.length > 0) item('pole', 'on a pole');
  items.push(element('li', {}, `grid ${view.gridText} ${run.unit}`));
  const {tool} = run.info;
  if (tool?.name) item('tool', `tool: ${tool.name}${tool.isStandIn ? ', not yours' : ''}`, 'square');
  byId('legend').append(...items);
}

function start(run) {
  const {info} = run;
  const facts = studyRun(run);
  const found = gatherFindings(run, facts);
  const theme = new Theme();
  const cursor = new Cursor(run);
  const goTo = (row) => {
    player.pause();
    cursor.setRow(row);
  };
  byId('main').hidden = false;

  const readout = new Readout(run, facts, cursor);
  const foundRows = found.map((one) => one.row);
  const marks = uniqueSorted([...facts.poles, ...facts.jumps, ...facts.rewindings, ...foundRows]);
  const player = new Player(run, cursor, readout, marks);
  fillHead(run, facts, goTo);
  fillFindings(run, found, cursor, goTo);
  byId('summary').textContent = String(info.summary ?? '');
  byId('summary').parentElement.hidden = !info.summary;
  const files = Array.isArray(info.files) ? info.files.map(String) : [];
  byId('files').textContent = files.length > 0 ? `Written with this page: ${files.join(', ')}` : '';
  byId('made').textContent = `Made by Kandrel ${info.kandrel ?? ''}`;

  const charts = new Charts({
    root: byId('charts'), run, facts, cursor, theme,
    specs: chartSpecs(run, facts, found),
    lanes: laneList(run, facts, found),
    onView: tellView,
  });
  function tellView(shown) {
    byId('stretch').textContent = (shown.isWhole ? 'The whole run, ' : 'From ') + shown.viewText;
  }
  tellView(charts);
  byId('dots-jump').hidden = facts.jumps.length === 0;
  byId('dots-rewinding').hidden = facts.rewindings.length === 0;
  const buttons = {
    'pan-left': () => charts.pan(-0.4), 'pan-right': () => charts.pan(0.4),
    'zoom-in': () => charts.zoom(0.4), 'zoom-out': () => charts.zoom(2.5),
    'zoom-all': () => charts.showAll(),
  };
  for (const [id, act] of Object.entries(buttons)) byId(id).addEventListener('click', act);
  byId('charts').addEventListener('keydown', (event) => {
    if (player.onKey(event) || event.ctrlKey || event.metaKey || event.altKey) return;
    const keys = {
      '+': () => charts.zoom(0.5), '=': () => charts.zoom(0.5), '-': () => charts.zoom(2),
      '0': () => charts.showAll(),
    };
    if (!keys[event.key]) return;
    keys[event.key]();
    event.preventDefault();
  });

  const view = View3d.make({
    canvas: byId('view'), box: byId('view-box'), run, cursor, theme,
    markedRows: [
      {rows: facts.poles, color: 'pole', size: 7},
      {rows: facts.jumps, color: 'warn', size: 8},
      {rows: facts.rewindings, color: 'mark', size: 8},
      {rows: uniqueSorted(foundRows), color: 'bad', size: 7},
    ],
  });
  if (view) {
    fillLegend(run, facts, found, view);
    for (const button of document.querySelectorAll('[data-look]')) {
      button.addEventListener('click', () => view.look(button.dataset.look));
    }
    byId('fit').addEventListener('click', () => view.fit());
    byId('done-only').addEventListener('change', (event) => view.showDone(event.target.checked));
    byId('view').addEventListener('keydown', (event) => {
      if (event.key === ' ' || event.key === 'n' || event.key === 'N') player.onKey(event);
    });
  } else {
    byId('view').hidden = true;
    byId('no-view').hidden = false;
    for (const button of document.querySelectorAll('[data-look], #fit, #done-only')) {
      button.disabled = true;
    }
  }
  byId('show-marks').addEventListener('change', (event) => {
    view?.showMarks(event.target.checked);
    charts.showMarks(event.target.checked);
  });
  tieColors(run, facts, view, theme);
  if (info.refused && run.n === 0) {
    document.querySelector('.columns').hidden = true;
    byId('player').hidden = true;
  }
  return {cursor, charts, view, player};
}

function inspection(run, {cursor, charts, view, player}) {
  const times = [];
  const timed = (act) => {
    const begin = performance.now();
    act();
    times.push(performance.now() - begin);
    if (times.length > 240) times.shift();
  };
  return {
    ready: true,
    counts: run.counts,
    state: () => ({
      row: cursor.row,
      line: cursor.row < 0 ? null : run.col.line[cursor.row],
      x: cursor.x,
      chartX: charts.cursorX,
      tool: view?.toolPlace ?? null,
      view: [...charts.view],
      hasView: view !== null,
      isPlaying: player.isPlaying,
      points: charts.charts.map((chart) => chart.plot.data[0].length),
      marks: charts.charts.map((chart) => [...chart.spec.marks]),
    }),
    goToLine: (line) => timed(() => cursor.setRow(rowOfLine(run, line))),
    goTo: (x) => timed(() => cursor.setX(x)),
    times: {updates: times, draws: view?.drawTimes ?? []},
  };
}

function showBroken(words) {
  byId('title').textContent = 'No run to show';
  byId('broken').hidden = false;
  byId('broken').textContent = words;
  window.kandrel = {ready: false, error: words};
}

function main() {
  const json = byId('kandrel-run');
  const lines = byId('kandrel-lines');
  if (!json || !lines) {
    showBroken('This page was written without a run.');
    return;
  }
  let run;
  try {
    run = readRun(json.textContent, lines.textContent);
  } catch (error) {
    if (!(error instanceof RunError)) throw error;
    showBroken(`The run in this page can\u2019t be shown. ${error.message}`);
    return;
  }
  window.kandrel = inspection(run, start(run));
}

main();
