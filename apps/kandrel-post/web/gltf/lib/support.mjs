// Runs kandrel-post and plays what it writes. Nothing here knows how a machine moves: places come
// from posted.csv alone.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import * as three from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';

export const repository = resolve(fileURLToPath(import.meta.url), '../../../../../..');
const program =
  process.env.KANDREL_POST || join(repository, 'build/release/apps/kandrel-post/kandrel-post');

export const kandrelPost = (...args) =>
  execFileSync(program, args, { encoding: 'utf8', maxBuffer: 1 << 28, stdio: 'pipe' });

export const scratch = mkdtempSync(join(tmpdir(), 'run-glb-'));
process.on('exit', () => rmSync(scratch, { recursive: true, force: true }));

let files = 0;
/** A file of this text, by its name. */
export function fileOf(text, ending) {
  const name = join(scratch, `${++files}${ending}`);
  writeFileSync(name, text);
  return name;
}

const samples = new Map();
export function sample(name) {
  if (!samples.has(name)) samples.set(name, fileOf(kandrelPost('sample', name), '.cl'));
  return samples.get(name);
}

/** Posts and returns the lines of posted.csv, as numbers, the bytes of run.glb and what was told. */
export function post(machine, toolPath, ...options) {
  const folder = join(scratch, `${++files}`);
  const command = ['post', '-m', machine, '-t', toolPath, '-o', folder, ...options];
  const { status, stderr } = spawnSync(program, command, { encoding: 'utf8' });
  if (status !== 0) throw new Error(`${command.join(' ')}: ${stderr}`);
  const [head, ...rows] = readFileSync(join(folder, 'posted.csv'), 'utf8').trim().split('\n');
  const columns = head.split(',');
  const lines = rows.map((row) =>
    Object.fromEntries(
      row.split(',').map((cell, i) => [columns[i], cell === '' ? null : Number(cell)])));
  const bytes = readFileSync(join(folder, 'run.glb'));
  rmSync(folder, { recursive: true });
  return { lines, bytes, notes: stderr };
}

/** The JSON of a .glb, without a library. */
export function jsonOf(bytes) {
  return JSON.parse(bytes.subarray(20, 20 + bytes.readUInt32LE(12)).toString('utf8'));
}

/** An array of numbers of a .glb, without a library. */
export function numbersOf(bytes, accessor) {
  const json = jsonOf(bytes);
  const { bufferView, count, type, componentType } = json.accessors[accessor];
  const { byteOffset = 0 } = json.bufferViews[bufferView];
  const start = 20 + bytes.readUInt32LE(12) + 8 + byteOffset;
  const length = count * { SCALAR: 1, VEC3: 3, VEC4: 4 }[type];
  const part = bytes.buffer.slice(bytes.byteOffset + start, bytes.byteOffset + start + 4 * length);
  return componentType === 5125 ? new Uint32Array(part) : new Float32Array(part);
}

/** The keys that a posting must have: sums of times, and the last line of each. */
export function keysOf(lines) {
  const keys = [];
  let seconds = 0;
  lines.forEach((line, index) => {
    seconds += line.time;
    if (keys.length && line.time === 0) keys.at(-1).index = index;
    else keys.push({ seconds, index });
  });
  return keys;
}

/** A scene that can be put to any time. */
export async function play(bytes) {
  const buffer = bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length);
  const { scene, animations } = await new GLTFLoader().parseAsync(buffer, '');
  const mixer = new three.AnimationMixer(scene);
  for (const clip of animations) {
    const action = mixer.clipAction(clip).setLoop(three.LoopOnce);
    action.clampWhenFinished = true;
    action.play();
  }
  const find = (name) => scene.getObjectByName(name);
  return {
    scene,
    animations,
    find,
    at(seconds) {
      // From the beginning: an action that has come to its end stays there.
      mixer.stopAllAction();
      for (const clip of animations) mixer.clipAction(clip).play();
      mixer.setTime(seconds);
      scene.updateMatrixWorld(true);
      const tool = find('path').matrixWorld.clone().invert().multiply(find('tip').matrixWorld);
      const axis = new three.Vector3().setFromMatrixColumn(tool, 2);
      return {
        tip: new three.Vector3().setFromMatrixPosition(tool),
        scale: axis.length(),
        axis: axis.normalize(),
      };
    },
  };
}
