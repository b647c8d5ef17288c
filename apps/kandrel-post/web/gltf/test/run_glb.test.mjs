// run.glb of every kind of machine: the Khronos validator has nothing to say, and three.js puts the
// tool where posted.csv has it, seen from the part.
import assert from 'node:assert/strict';
import { cpSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { basename, join } from 'node:path';
import test from 'node:test';
import * as three from 'three';
import validator from 'gltf-validator';
import {
  fileOf, jsonOf, kandrelPost, keysOf, numbersOf, play, post, repository, sample, scratch,
} from '../lib/support.mjs';

// What floats leave of a machine of some metres: some 5e-5 is seen. Of inches as many, which is less.
const TIP = 5e-4;
const AXIS = 1e-5;
const MOST_SAMPLES = 250;
const MIDDLES = 60;

const presets = kandrelPost('machine', 'presets').trim().split('\n').map((l) => l.split(/\s+/)[0]);
const files = readdirSync(join(repository, 'machines')).filter((f) => f.endsWith('.xml'));
const show = (machine) => JSON.parse(kandrelPost('machine', 'show', machine, '--json'));

// A spiral whose tool leans and goes round, in inches: no sample has both.
const inches = fileOf(
  ['UNITS/INCHES', 'FROM/0,0,3', 'FEDRAT/60', ...Array.from({ length: 200 }, (_, i) => {
    const a = i / 9;
    const lean = 0.2 + i / 500;
    const axis = [Math.sin(lean) * Math.cos(a), Math.sin(lean) * Math.sin(a), Math.cos(lean)];
    return `GOTO/${[Math.cos(a) * (1 + i / 100), Math.sin(a), 1 + i / 300, ...axis].join(',')}`;
  })].join('\n'), '.cl');

// By axes; inches for the machines that have them.
const paths = (machine) => {
  const { axes, units } = show(machine);
  if (units === 'inch') return axes === 3 ? [sample('face_inch')] : [inches];
  if (axes === 3) return [sample('pocket_plate')];
  if (axes === 4) return [sample('worm')];
  return [sample('hemisphere_pole'), sample('tilted_pocket')];
};

const few = (count, most) => {
  const step = Math.max(1, Math.floor(count / most));
  return Array.from({ length: count }, (_, i) => i).filter((i) => i % step === 0 || i === count - 1);
};

// Names of objects without a body stand on empty nodes, which the validator notes and no more.
async function validate(bytes) {
  const { issues } = await validator.validateBytes(new Uint8Array(bytes), { maxIssues: 0 });
  assert.equal(issues.numErrors + issues.numWarnings + issues.numHints, 0);
  assert.deepEqual(issues.messages.filter((m) => m.code !== 'NODE_EMPTY'), []);
}

function checkKeys(bytes, lines) {
  const { animations } = jsonOf(bytes);
  assert.equal(animations.length, 1);
  const inputs = new Set(animations[0].samplers.map((s) => s.input));
  assert.equal(inputs.size, 1);
  const times = numbersOf(bytes, [...inputs][0]);
  const keys = keysOf(lines);
  assert.equal(times.length, keys.length);
  keys.forEach((key, i) => {
    assert.ok(Math.abs(times[i] - key.seconds) <= 0.01, `key ${i}: ${times[i]}, ${key.seconds}`);
  });
  return { times, keys };
}

function checkPlace(run, seconds, line, what) {
  const { tip, axis, scale } = run.at(seconds);
  const part = new three.Vector3(line.part_x, line.part_y, line.part_z);
  const dir = new three.Vector3(line.i, line.j, line.k).normalize();
  assert.ok(tip.distanceTo(part) < TIP, `${what}: tip off by ${tip.distanceTo(part)}`);
  assert.ok(axis.distanceTo(dir) < AXIS, `${what}: axis off by ${axis.distanceTo(dir)}`);
  assert.ok(Math.abs(scale - 1) < 1e-5, `${what}: the part's frame has other units, ${scale}`);
}

// How far an axis has turned, of all nodes that share its turn: modulo a turn, in degrees.
function turnOf(node, name, direction) {
  const turn = new three.Quaternion();
  for (let at = node; at === node || at.name.startsWith(`${name}_turn_`); at = at.parent)
    turn.premultiply(at.quaternion);
  const along = new three.Vector3(turn.x, turn.y, turn.z).dot(direction);
  return three.MathUtils.radToDeg(2 * Math.atan2(along, turn.w));
}
const apart = (a, b) => Math.abs(a - b - 360 * Math.round((a - b) / 360));

// Angles as the machine runs them, by line: a wrapped axis goes the shorter way.
function unwrapped(lines, column, isWrapped) {
  let carried = 0;
  let last = null;
  return lines.map((line) => {
    let deg = line[column] + carried;
    if (isWrapped && last !== null && Math.abs(deg - last) > 180) {
      const turns = Math.round((last - deg) / 360);
      carried += 360 * turns;
      deg += 360 * turns;
    }
    return (last = deg);
  });
}

// Halfway between two keys all axes stand halfway, whichever way that is.
function checkMiddles(run, machine, lines, times, keys, wrapped, names) {
  const { rotary = [] } = machine;
  let most = 0;
  for (const [i, { direction }] of rotary.slice(0, 2).entries()) {
    const degs = unwrapped(lines, `r${i + 1}`, wrapped[i]);
    const steps = keys.slice(1).map((key, k) => degs[key.index] - degs[keys[k].index]);
    const widest = steps.map((_, k) => k).sort((a, b) => Math.abs(steps[b]) - Math.abs(steps[a]));
    most = Math.max(most, ...widest.slice(0, 1).map((k) => Math.abs(steps[k])));
    const dir = new three.Vector3(...direction).normalize();
    for (const k of new Set([...widest.slice(0, MIDDLES / 2), ...few(steps.length, MIDDLES / 2)])) {
      for (const part of [0.25, 0.5]) {
        // A float's worth of time is a part of a short block.
        const seconds = times[k] + part * (times[k + 1] - times[k]);
        run.at(seconds);
        const wanted = degs[keys[k].index] + part * steps[k];
        const off = apart(turnOf(run.find(names[3 + i]), names[3 + i], dir), wanted);
        assert.ok(off < 0.01, `${names[3 + i]} behind key ${k}, ${part} of ${steps[k]}: off by ${off}`);
      }
    }
  }
  return most;
}

async function check(machineName, toolPath, options = [], wrapped = [false, false], most = MOST_SAMPLES) {
  const machine = show(machineName);
  const { lines, bytes, notes } = post(machineName, toolPath, ...options);
  await validate(bytes);
  const { times, keys } = checkKeys(bytes, lines);
  const run = await play(bytes);
  for (const k of few(keys.length, most))
    checkPlace(run, times[k], lines[keys[k].index], `key ${k}`);
  const widest = checkMiddles(run, machine, lines, times, keys, wrapped, machine.names);

  for (const name of ['tool', 'tip', 'workpiece', 'path', ...machine.names])
    assert.ok(run.find(name), name);
  assert.equal(run.find('tip').parent.name, 'tool');
  assert.equal(run.find('path').parent.name, 'workpiece');
  // Lines drawn and rapid ones apart, from the first place to the last.
  const drawn = new Set(lines.map((l) => l.rapid)).size;
  const { primitives } = jsonOf(bytes).meshes.find((m) => m.name === 'toolpath');
  assert.ok(primitives.length >= 1 && primitives.length <= drawn);
  const points = numbersOf(bytes, primitives[0].attributes.POSITION);
  assert.equal(points.length, 3 * lines.length);
  for (const i of few(lines.length, most))
    for (const [c, column] of ['part_x', 'part_y', 'part_z'].entries())
      assert.equal(points[3 * i + c], Math.fround(lines[i][column]));
  return { run, widest, notes };
}

const lengths = { metric: ['--origin', '11,-7,60', '--tool-length', '120'],
                  inch: ['--origin', '0.4,-0.3,2', '--tool-length', '5'] };

for (const name of presets) {
  test(`preset ${name}`, async () => {
    const machine = `preset:${name}`;
    for (const path of paths(machine)) await check(machine, path, lengths[show(machine).units]);
  });
}

for (const name of files) {
  test(`machine file ${basename(name)}`, async () => {
    const machine = join(repository, 'machines', name);
    const { run, notes } = await check(machine, paths(machine)[0], lengths.metric);
    assert.equal(notes, '');
    const bodies = [];
    run.scene.traverse((node) => { if (node.isMesh) bodies.push(node.name); });
    assert.ok(run.find('chuck').isMesh && bodies.length > 5, bodies.join());
  });
}

// Machines that nobody builds: left-handed, skew and scaled linear axes, a spindle from below, sides
// other than their flags say, and a third axis with an angle.
const odd = {
  skew: {
    axes: 5, names: ['X', 'Y', 'Z', 'C', 'B'], spindle: [0, 0, -1], fiveAxisKind: 2,
    xAxis: [-2, 0, 0], yAxis: [0.5, 1, 0], zAxis: [0, 0.1, 0.4],
    rotary: [{ direction: [0, 0, -3], pivot: [1, 2, 3] }, { direction: [0, 2, 0], pivot: [4, 5, 180] }],
  },
  'both in the head': {
    axes: 5, names: ['X', 'Y', 'Z', 'C', 'A'], fiveAxisKind: 1,
    rotary: [{ direction: [0, 0, 1], pivot: [30, 20, 70] }, { direction: [1, 0, 0], pivot: [-5, 9, 250] }],
  },
  six: {
    axes: 6, names: ['X', 'Y', 'Z', 'C', 'B', 'W'], thirdAngle: 33,
    firstOnWorkpiece: 0, secondOnWorkpiece: 1, thirdOnWorkpiece: 1,
    rotary: [{ direction: [0, 0, -1], pivot: [1, 2, 3] }, { direction: [0, 1, 0], pivot: [0, 5, 180] },
      { direction: [0, 0, 1], pivot: [9, 0, 0] }],
  },
  // The tool's own nodes and the part's keep their names.
  'named like our nodes': {
    axes: 5, names: ['tool', 'path', 'workpiece', 'base', 'A'], fiveAxisKind: 3,
    rotary: [{ direction: [0, 0, 1] }, { direction: [1, 0, 0], pivot: [0, 0, -50] }],
  },
  'four in the head': {
    axes: 4, names: ['X', 'Y', 'Z', 'A'], rotaryOnWorkpiece: 0,
    rotary: [{ direction: [1, 0, 0], pivot: [7, -8, 90] }],
  },
};
for (const [what, machine] of Object.entries(odd))
  test(`machine ${what}`, async () => {
    const name = fileOf(JSON.stringify(machine), '.json');
    await check(name, paths(name)[0], lengths.metric);
  });

// Whatever is done to a machine's file, the tool is where the posting has it.
cpSync(join(repository, 'machines'), join(scratch, 'machines'), { recursive: true });
const turn = (matrix, axis) => [`<axis id="${axis}"`,
  `<transform id="turned" initialvalue="${matrix}"><axis id="${axis}"`];
const quarter = '0,-1,0,0, 1,0,0,0, 0,0,1,40, 0,0,0,1';
const changed = [
  ['a turn about its axis', 'mill3', [turn(quarter, 'Z'), [/<\/axis>(\s*)<\/base>/, '</axis></transform></base>']],
    true, ['Z_frame', 'turned', 'chuck']],
  ['a turn across its axis', 'mill3', [turn(quarter, 'Y'), [/<\/axis>(\s*)<axis id="Z"/, '</axis></transform><axis id="Z"']],
    false, []],
  ['a part that lies on its side', 'trunnion_ca', [['1,0,0,0, 0,1,0,0, 0,0,1,60', '0,0,1,3, 0,1,0,4, -1,0,0,60']],
    true, ['chuck']],
  ['a tool that looks down', 'head_table_bc', [['1,0,0,0, 0,1,0,0, 0,0,1,-120', '1,0,0,0, 0,-1,0,0, 0,0,-1,7']],
    true, ['chuck']],
  ['the other word', 'trunnion_ca', [['name="workpiece"', 'name="werkstueck"'],
    ['tool,chuck" group2="workpiece,', 'tool,chuck" group2="werkstueck,']], true, ['werkstueck', 'chuck']],
  ['an old file of other directions', 'mill3', [['version="1.4"', 'version="1.2"'],
    ['id="Z" type="translation" x="0" y="0" z="1"', 'id="Z" type="translation" x="0" y="0" z="-1"']],
    false, []],
];
for (const [what, name, changes, isOfFile, nodes] of changed)
  test(`machine file with ${what}`, async () => {
    const machine = join(scratch, 'machines', `${what.replaceAll(' ', '_')}.xml`);
    let text = readFileSync(join(scratch, 'machines', `${name}.xml`), 'latin1');
    for (const [from, to] of changes) {
      assert.ok(text.search(from) >= 0, `${from}`);
      text = text.replace(from, to);
    }
    writeFileSync(machine, text, 'latin1');
    const { run, notes } = await check(machine, paths(machine)[0], lengths.metric);
    assert.equal(notes.startsWith('note: run.glb has plain bodies'), !isOfFile, notes);
    for (const node of nodes) assert.ok(run.find(node), node);
  });

test('the root turns up and scales', async () => {
  for (const [machine, metre] of [['preset:mill3_metric', 0.001], ['preset:mill3_inch', 0.0254]]) {
    const { bytes } = post(machine, metre === 0.001 ? sample('square') : sample('face_inch'),
      '--tool-length', '4');
    const run = await play(bytes);
    run.at(0);
    const up = new three.Vector3().setFromMatrixColumn(run.find('path').matrixWorld, 2);
    assert.ok(up.distanceTo(new three.Vector3(0, metre, 0)) < 1e-9, `${up.toArray()}`);
  }
});

// The tool lies nearly flat, so that the other solution turns more, and goes round in steps of this
// many degrees.
const round = (step, place = (i) => i) => fileOf(
  ['UNITS/MM', 'FEDRAT/900', ...Array.from({ length: 40 }, (_, i) => {
    const a = (i * step * Math.PI) / 180;
    const lean = (95 * Math.PI) / 180;
    return `GOTO/${[20, 10, place(i), Math.sin(lean) * Math.cos(a),
      Math.sin(lean) * Math.sin(a), Math.cos(lean)].join(',')}`;
  })].join('\n'), '.cl');
const plain = ['--tolerance', 'off', '--set', 'maxAngleStep=0', '--set', 'maxAngleJump=180'];

// With the widest turn of a block that is due at least: rewinding takes an axis back by whole turns.
const turning = [
  ['rewound', 'preset:trunnion_ca_limited', sample('screw'), ['--set', 'limitsCheck=3'], 1],
  ['rewound in one block', 'preset:trunnion_ca_limited', sample('screw'),
    ['--set', 'limitsCheck=3', ...plain], 720],
  ['rewound by ten turns', 'preset:mill4_table_a_limited', sample('worm'),
    ['--set', 'limitsCheck=3', ...plain], 3600],
  ['wrapped at 360', 'preset:trunnion_ca', sample('screw'), ['--control', '360,360'], 1],
  ['wrapped at 180', 'preset:trunnion_ca', sample('hemisphere_pole'), ['--control', '180,none'], 1],
  ['wide steps', 'preset:trunnion_ca', round(170), plain, 165],
  ['wide steps, wrapped', 'preset:trunnion_ca', round(170), ['--control', '360,none', ...plain],
    165],
  // Lines of no time: four of them share a key, and together turn by more than half a turn.
  ['on the spot', 'preset:trunnion_ca', round(70, (i) => Math.floor(i / 4)), plain, 210],
  ['on the spot, wrapped', 'preset:trunnion_ca', round(70, (i) => Math.floor(i / 4)),
    ['--control', '360,180', ...plain], 210],
  // This machine leaves the tool's length out, but not of a path along its spindle.
  ['a path of three axes', 'preset:table_table_cb', sample('square'), [], 0],
  ['wound', 'preset:mill4_table_a', sample('worm'), [], 1],
  ['small', 'preset:trunnion_ca', sample('screw'), ['--small'], 1],
  ['aligned', 'preset:mill3_metric', sample('tilted_pocket'), ['--set', 'alignToolpath=true'], 0],
];
for (const [what, machine, path, options, due] of turning)
  test(what, async () => {
    const control = options[options.indexOf('--control') + 1];
    const wrapped = options.includes('--control')
      ? control.split(',').map((limit) => limit !== 'none') : [false, false];
    const { widest } =
      await check(machine, path, ['--tool-length', '80', ...options], wrapped);
    assert.ok(widest >= due, `${widest}`);
  });

test('runs of few lines', async () => {
  const cases = {
    'FROM/1,2,3': 1,
    'FROM/1,2,3\nGOTO/1,2,3': 1,
    '': 0,
  };
  for (const [text, keys] of Object.entries(cases)) {
    const { lines, bytes } = post('preset:trunnion_ca', fileOf(`UNITS/MM\n${text}\nFINI\n`, '.cl'));
    await validate(bytes);
    const { animations, meshes } = jsonOf(bytes);
    assert.equal(keysOf(lines).length, keys, text);
    assert.equal(animations?.length ?? 0, keys === 0 ? 0 : 1);
    assert.ok(!(meshes ?? []).some((mesh) => mesh.name === 'toolpath'));
    const run = await play(bytes);
    const { tip } = run.at(0);
    if (keys) assert.ok(tip.distanceTo(new three.Vector3(1, 2, 3)) < TIP, `${tip.toArray()}`);
  }
});
