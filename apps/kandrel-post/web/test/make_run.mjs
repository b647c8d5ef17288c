// Runs of the form that the page takes, made up for its tests.

const kSizes = {u8: Uint8Array, u32: Uint32Array, f32: Float32Array, f64: Float64Array};

// A page of a template and a run: `columns` as [name, type, array].
export function makePage(template, info, columns) {
  const parts = columns.map(([, type, values]) => {
    const typed = kSizes[type].from(values);
    const bytes = Buffer.alloc(Math.ceil(typed.byteLength / 8) * 8);
    Buffer.from(typed.buffer).copy(bytes);
    return bytes;
  });
  const json = JSON.stringify({...info, columns: columns.map(([name, type]) => ({name, type}))})
    .replace(/</g, '\\u003c');
  return putRun(template, json, Buffer.concat(parts).toString('base64'));
}

export function putRun(template, json, base64) {
  const pieces = template.split('<!--KANDREL-RUN-->');
  if (pieces.length !== 2) throw new Error('the template has no place for a run');
  return `${pieces[0]}<script type="application/json" id="kandrel-run">${json}</script>\n` +
    `<script type="text/plain" id="kandrel-lines">${base64}</script>${pieces[1]}`;
}

const kRad = Math.PI / 180;

// A hemisphere of radius 45 finished in lanes by a trunnion, whose A reaches beyond its limit, with
// marks of each sort strewn in. `axes` is 3 to 6; findings as `findings` of them.
export function makeRun({lines = 2000, axes = 5, findings = 3, units = 'mm', hasTime = true,
  radius = 45} = {}) {
  const column = (n = lines) => new Float64Array(n);
  const a = Array.from({length: axes}, () => column());
  const [px, py, pz, ti, tj, tk, feed, tip, axis, time] = Array.from({length: 10}, () => column());
  const source = column();
  const flags = column();
  const perLane = Math.max(8, Math.round(Math.sqrt(lines) * 1.6));
  let seconds = 0;
  let rapid = 0;
  let inserted = 0;
  let jumps = 0;
  let rewindings = 0;
  let sources = 0;
  for (let n = 0; n < lines; ++n) {
    const lane = Math.floor(n / perLane);
    const k = n % perLane;
    const lanes = Math.ceil(lines / perLane);
    // The first and last of a lane are rapid, above the part.
    const isRapid = k === 0 || k === perLane - 1;
    const part = Math.min(Math.max((k - 1) / Math.max(perLane - 3, 1), 0), 1);
    const tilt = (part * 150 - 75) * (lane % 2 ? -1 : 1) * kRad;
    const turn = (lane / lanes * 165 + 90) * kRad;
    const normal = [Math.sin(tilt) * Math.cos(turn), Math.sin(tilt) * Math.sin(turn), Math.cos(tilt)];
    const reach = radius + (isRapid ? radius * 0.45 : 0);
    [px[n], py[n], pz[n]] = normal.map((c) => c * reach);
    [ti[n], tj[n], tk[n]] = axes > 3 ? normal : [0, 0, 1];
    const machine = [px[n] * Math.cos(turn) + py[n] * Math.sin(turn), Math.sin(3 * tilt) * 20 + lane,
      pz[n] + 12];
    for (let m = 0; m < 3; ++m) a[m][n] = machine[m];
    if (axes > 3) a[3][n] = turn / kRad;
    if (axes > 4) a[4][n] = tilt / kRad;
    if (axes > 5) a[5][n] = 30 * Math.sin(n / 400);
    feed[n] = n % 997 < 500 ? 1500 : 900;
    let flag = 0;
    if (isRapid) {
      flag |= 1;
      ++rapid;
    } else if (k % 5 === 0) {
      flag |= 2;
      ++inserted;
    }
    if (Math.abs(tilt) < 0.02 && !isRapid) flag |= 4;
    if (k === 0 && lane % 11 === 5) {
      flag |= 8;
      ++jumps;
    }
    if (k === 0 && lane % 17 === 9) {
      flag |= 16;
      ++rewindings;
    }
    flags[n] = flag;
    if (!(flag & 2)) ++sources;
    source[n] = n % 41 === 40 ? 0xFFFFFFFF : sources - 1;
    tip[n] = isRapid || axes < 4 ? NaN : 0.004 * Math.abs(Math.sin(n / 57)) + 0.001;
    axis[n] = isRapid || axes < 4 ? NaN : 0.03 * Math.abs(Math.sin(n / 83));
    if (n > 0) {
      const way = Math.hypot(px[n] - px[n - 1], py[n] - py[n - 1], pz[n] - pz[n - 1]);
      seconds += hasTime ? way / (isRapid ? 15000 : feed[n]) * 60 : 0;
    }
    time[n] = seconds;
  }
  const letters = ['X', 'Y', 'Z', 'C', 'A', 'W'].slice(0, axes);
  const limits = [[-500, 500], [-400, 400], [-300, 700], [-100000, 100000], [-120, 30], [null, null]];
  const info = {
    format: 1, kandrel: '0.1.0', title: 'hemisphere_pole.cl', machine: 'preset:trunnion_ca', units,
    axes: letters.map((letter, m) => ({letter, kind: m < 3 ? 'linear' : 'rotary',
      min: limits[m][0], max: limits[m][1], slack: m < 3 ? 0 : 1e-4, usedMin: lines ? Math.min(...sampled(a[m])) : null,
      usedMax: lines ? Math.max(...sampled(a[m])) : null, checked: false, wrapped: 'none'})),
    rows: lines, ofLines: lines,
    counts: {source: sources, posted: lines, inserted, rapid, largeJumps: jumps, rewindings},
    polesCrossed: axes > 4 ? 12 : 0, totalTime: seconds,
    tolerance: axes > 3 ? {tip: 0.01, axis: 0.1} : null, maxRotarySpeed: null,
    maxima: {tip: {value: 0.005, line: Math.min(90, Math.max(lines - 1, 0))},
      axis: {value: 0.03, line: Math.min(130, Math.max(lines - 1, 0))}},
    verified: findings === 0,
    verdict: findings ? [`not verified: ${findings} findings`, '  line 300: the tip leaves its line'] :
      [`verified: tip within 0.005 ${units}, axis within 0.03 deg`],
    findings: Array.from({length: Math.min(findings, 1000)}, (_, f) => {
      const line = Math.min(lines - 1, findings < 40 ? 300 + 40 * f : 2 * f);
      const isTurn = axes > 3 && f % 2 === 1;
      return {line, source: source[line] ?? -1, axis: isTurn ? 'C' : null,
        kind: isTurn ? 'rotarySpeed' : 'tipOffWay', text: isTurn ?
          'C turns at 7213 deg a minute at the feed there, 3600 allowed' :
          'on the way there the tip leaves its line by 0.01026 mm, 0.01 allowed',
        unit: isTurn ? 'deg/min' : units, value: isTurn ? 7213 : 0.01026,
        bound: isTurn ? 3600 : 0.01, excess: isTurn ? 3613 : 0.00026};
    }),
    findingCount: findings,
    notHeld: null,
    summary: `toolpath        hemisphere_pole.cl\nmachine         trunnion_ca, ${axes} axes\n` +
      `posted moves    ${lines}\n`,
    files: ['posted.csv', 'posted.nc', 'run.kdr', 'report.html', 'run.glb'],
    tool: {name: 'default end mill D8', isStandIn: true,
      outline: ballEnd(radius / 11, radius * 1.5)}, toolLength: 120,
  };
  const columns = [['line', 'u32', Float64Array.from({length: lines}, (_, n) => n)],
    ['time', 'f64', time], ...a.map((values, m) => [`a${m}`, 'f64', values]),
    ['px', 'f32', px], ['py', 'f32', py], ['pz', 'f32', pz],
    ['i', 'f32', ti], ['j', 'f32', tj], ['k', 'f32', tk],
    ['feed', 'f32', feed], ['tip', 'f32', tip], ['axis', 'f32', axis],
    ['source', 'u32', source], ['flags', 'u8', flags]];
  return {info, columns};
}

// Few of many, of which Math.min takes all at once.
function sampled(values) {
  const step = Math.max(1, Math.floor(values.length / 5000));
  return Array.from({length: Math.ceil(values.length / step)}, (_, i) => values[i * step]);
}

// The outline of an end mill whose end is a ball of that radius, with a wider shank.
function ballEnd(radius, length) {
  const outline = [];
  for (let i = 0; i <= 12; ++i) {
    const angle = i / 12 * Math.PI / 2;
    outline.push([radius * Math.sin(angle), radius * (1 - Math.cos(angle))]);
  }
  outline.push([radius, length * 0.55], [radius * 1.7, length * 0.65], [radius * 1.7, length],
    [0, length]);
  return outline;
}
