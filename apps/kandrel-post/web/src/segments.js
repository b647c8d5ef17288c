// The path as straight segments, for drawing.

import {kFlag} from './run.js';

// A path's segments of one sort, two ends each; `row` is the row that each leads to.
class Segments {
  constructor(ends, rows) {
    this.ends = ends;
    this.rows = rows;
  }
}

// The segments of feed or rapid moves; `step` above 0 leaves out points nearer than that to the
// last one kept. A merged segment bears the row of its last part.
export function collect(points, run, isRapid, step) {
  const rows = [];
  const from = [];
  let start = -1;
  const {flags} = run.col;
  const isFinite3 = (i) => Number.isFinite(points[3 * i] + points[3 * i + 1] + points[3 * i + 2]);
  const push = (a, b) => {
    from.push(a);
    rows.push(b);
  };
  let held = -1;
  for (let i = 1; i < run.n; ++i) {
    const fits = Boolean(flags[i] & kFlag.rapid) === isRapid && isFinite3(i) && isFinite3(i - 1);
    if (!fits) {
      if (held >= 0) push(start, held);
      held = start = -1;
      continue;
    }
    if (start < 0) start = i - 1;
    held = i;
    if (step > 0) {
      const far = Math.hypot(points[3 * i] - points[3 * start],
        points[3 * i + 1] - points[3 * start + 1], points[3 * i + 2] - points[3 * start + 2]);
      if (far < step) continue;
    }
    push(start, i);
    start = i;
    held = -1;
  }
  if (held >= 0) push(start, held);
  const ends = new Float32Array(rows.length * 6);
  for (let s = 0; s < rows.length; ++s) {
    for (let k = 0; k < 3; ++k) {
      ends[6 * s + k] = points[3 * from[s] + k];
      ends[6 * s + 3 + k] = points[3 * rows[s] + k];
    }
  }
  return new Segments(ends, Uint32Array.from(rows));
}
