// The path in the part's frame and the tool on it, which the mouse turns. Z is up, lengths are
// those of the run. It draws when something has changed, and only then.

import {
  AmbientLight, BufferAttribute, BufferGeometry, CanvasTexture, Color, ColorManagement,
  DirectionalLight, DoubleSide, Group, LatheGeometry, Line, LineBasicMaterial,
  LineDashedMaterial, LineSegments, LinearSRGBColorSpace, Mesh, MeshLambertMaterial,
  OrthographicCamera, Points, PointsMaterial, Quaternion, Scene, Spherical, Sprite, SpriteMaterial,
  Vector2, Vector3, WebGLRenderer,
} from 'three';
import {OrbitControls} from 'three/examples/jsm/controls/OrbitControls.js';
import {LineMaterial} from 'three/examples/jsm/lines/LineMaterial.js';
import {LineSegments2} from 'three/examples/jsm/lines/LineSegments2.js';
import {LineSegmentsGeometry} from 'three/examples/jsm/lines/LineSegmentsGeometry.js';

import {formatNumber} from './format.js';
import {kFlag} from './run.js';
import {collect} from './segments.js';
import {rampColor} from './theme.js';

ColorManagement.enabled = false;

// Up to so many segments the path has lines of some width, which cost more.
const kMostWide = 60000;
// Above so many a coarser path is drawn while the view or the tool moves.
const kMostWhileMoving = 150000;
const kCoarseStep = 1 / 350;
const kSettle = 250;
// So many points say how large the path looks.
const kFitted = 4000;
const kFarOut = 4.5;
// Up to so many times the path's size the tool is fitted into the view.
const kToolShare = 1.2;

const kViews = {
  home: [0.62, -1, 0.72],
  top: [0, -1e-6, 1],
  front: [0, -1, 0],
  side: [1, 0, 0],
};

function niceStep(size) {
  const power = 10 ** Math.floor(Math.log10(size));
  const lead = size / power;
  return (lead < 2 ? 1 : lead < 5 ? 2 : 5) * power;
}

function letterSprite(letter, color) {
  const canvas = document.createElement('canvas');
  canvas.width = canvas.height = 64;
  const ctx = canvas.getContext('2d');
  ctx.font = 'bold 44px system-ui, sans-serif';
  ctx.textAlign = 'center';
  ctx.textBaseline = 'middle';
  ctx.fillStyle = color;
  ctx.fillText(letter, 32, 34);
  const material = new SpriteMaterial({map: new CanvasTexture(canvas), depthTest: false,
    sizeAttenuation: false});
  return new Sprite(material);
}

function discTexture() {
  const canvas = document.createElement('canvas');
  canvas.width = canvas.height = 32;
  const ctx = canvas.getContext('2d');
  ctx.fillStyle = '#fff';
  ctx.beginPath();
  ctx.arc(16, 16, 15, 0, 7);
  ctx.fill();
  return new CanvasTexture(canvas);
}

export class View3d {
  // Null where the browser has no WebGL. `markedRows`: {rows, color} of the marks on the path.
  static make(options) {
    const canvas = options.canvas;
    const attributes = {antialias: true, alpha: true, powerPreference: 'high-performance'};
    let context = null;
    try {
      context = canvas.getContext('webgl2', attributes);
    } catch {
      return null;
    }
    return context ? new View3d(options, context) : null;
  }

  constructor({canvas, box, run, cursor, theme, markedRows}, context) {
    Object.assign(this, {canvas, box, run, cursor, theme, markedRows});
    this.renderer = new WebGLRenderer({canvas, context, antialias: true, alpha: true});
    // Colours go to the screen as they stand in the style sheet and in the colour bar.
    this.renderer.outputColorSpace = LinearSRGBColorSpace;
    this.scene = new Scene();
    this.camera = new OrthographicCamera(-1, 1, 1, -1, -1000, 1000);
    this.camera.up.set(0, 0, 1);
    this.drawTimes = [];
    this.outline = (run.info.tool?.outline ?? []).filter((p) => Array.isArray(p) &&
      Number.isFinite(p[0]) && Number.isFinite(p[1]) && p[0] >= 0);
    this.toolHeight = this.outline.reduce((top, p) => Math.max(top, p[1]), 0);
    this.measurePart();
    this.makeLights();
    this.makePath();
    this.makeMarks();
    this.makeTool();
    this.makeFrame();
    this.controls = new OrbitControls(this.camera, canvas);
    this.controls.enableDamping = false;
    this.controls.zoomToCursor = true;
    // What was fitted stays so when the box changes, until somebody looks elsewhere.
    this.controls.addEventListener('start', () => { this.isFitted = false; });
    this.controls.addEventListener('change', () => {
      this.moving();
      this.draw();
    });
    canvas.addEventListener('keydown', (event) => this.onKey(event));
    cursor.onChange(() => {
      this.moving();
      this.placeTool();
      this.draw();
    });
    theme.onChange(() => this.retheme());
    new ResizeObserver(() => this.resize()).observe(box);
    this.resize();
    this.placeTool();
    this.look('home');
    this.retheme();
  }

  // The points less the middle of the part, so that single precision holds where it lies far out,
  // and the extents that the view is fitted to: those of all moves, unless rapid ones lead so far
  // out that the part would be small.
  measurePart() {
    const {run} = this;
    const {px, py, pz, flags} = run.col;
    const extents = (wantsAll) => {
      const low = [Infinity, Infinity, Infinity];
      const high = [-Infinity, -Infinity, -Infinity];
      for (let i = 0; i < run.n; ++i) {
        if (!Number.isFinite(px[i] + py[i] + pz[i])) continue;
        if (!wantsAll && flags[i] & kFlag.rapid) continue;
        [px[i], py[i], pz[i]].forEach((v, k) => {
          if (v < low[k]) low[k] = v;
          if (v > high[k]) high[k] = v;
        });
      }
      return {low, high, size: Math.hypot(...low.map((v, k) => high[k] - v))};
    };
    const all = extents(true);
    const feed = extents(false);
    const isFarOut = feed.low[0] <= feed.high[0] && feed.size > 0 && all.size > kFarOut * feed.size;
    const {low, high} = isFarOut ? feed : all;
    if (!(low[0] <= high[0])) {
      low.fill(0);
      high.fill(0);
    }
    this.middle = low.map((v, k) => (v + high[k]) / 2);
    const size = Math.hypot(...low.map((v, k) => high[k] - v));
    this.isPoint = !(size > 0) || !Number.isFinite(size);
    this.size = this.isPoint ? Math.max(10, 1.5 * this.toolHeight) : size;
    this.low = low.map((v, k) => v - this.middle[k]);
    this.high = high.map((v, k) => v - this.middle[k]);
    // Some of the points that the view is fitted to.
    this.outer = [];
    const stride = Math.max(1, Math.floor(run.n / kFitted));
    const points = new Float32Array(run.n * 3);
    for (let i = 0; i < run.n; ++i) {
      points[3 * i] = px[i] - this.middle[0];
      points[3 * i + 1] = py[i] - this.middle[1];
      points[3 * i + 2] = pz[i] - this.middle[2];
      if (i % stride !== 0) continue;
      const p = new Vector3().fromArray(points, 3 * i);
      if (p.toArray().every((v, k) => v >= this.low[k] && v <= this.high[k])) this.outer.push(p);
    }
    if (this.outer.length === 0) this.outer.push(new Vector3());
    this.points = points;
  }

  makeLights() {
    this.scene.add(new AmbientLight(0xffffff, 1.5));
    const sun = new DirectionalLight(0xffffff, 2.2);
    sun.position.set(-0.4, -1, 0.9);
    this.scene.add(sun);
  }

  makePath() {
    const {run} = this;
    const make = (segments, isWide) => {
      const colors = new Uint8Array(segments.rows.length * 6);
      let object;
      if (isWide) {
        const geometry = new LineSegmentsGeometry();
        geometry.setPositions(segments.ends);
        geometry.setColors(new Float32Array(segments.rows.length * 6));
        const material = new LineMaterial({linewidth: 2.4, vertexColors: true});
        object = new LineSegments2(geometry, material);
      } else {
        const geometry = new BufferGeometry();
        geometry.setAttribute('position', new BufferAttribute(segments.ends, 3));
        geometry.setAttribute('color', new BufferAttribute(colors, 3, true));
        object = new LineSegments(geometry, new LineBasicMaterial({vertexColors: true}));
      }
      object.frustumCulled = false;
      this.scene.add(object);
      return {object, segments, colors, isWide};
    };
    const fine = collect(this.points, run, false, 0);
    this.feed = make(fine, fine.rows.length <= kMostWide);
    this.coarse = fine.rows.length > kMostWhileMoving ?
      make(collect(this.points, run, false, this.size * kCoarseStep), false) : null;
    if (this.coarse) this.coarse.object.visible = false;

    const rapid = collect(this.points, run, true, 0);
    const geometry = new BufferGeometry();
    geometry.setAttribute('position', new BufferAttribute(rapid.ends, 3));
    this.rapidMaterial = new LineDashedMaterial({dashSize: this.size / 90, gapSize: this.size / 110});
    this.rapid = {object: new LineSegments(geometry, this.rapidMaterial), segments: rapid};
    this.rapid.object.computeLineDistances();
    this.rapid.object.frustumCulled = false;
    this.scene.add(this.rapid.object);
  }

  makeMarks() {
    this.marks = [];
    const map = discTexture();
    for (const {rows, color, size} of this.markedRows) {
      if (rows.length === 0) continue;
      const places = new Float32Array(rows.length * 3);
      let n = 0;
      for (const row of rows) {
        const place = this.points.subarray(3 * row, 3 * row + 3);
        if (!Number.isFinite(place[0] + place[1] + place[2])) continue;
        places.set(place, 3 * n++);
      }
      const geometry = new BufferGeometry();
      geometry.setAttribute('position', new BufferAttribute(places.subarray(0, 3 * n), 3));
      const material = new PointsMaterial({size, sizeAttenuation: false, map,
        alphaTest: 0.5, depthTest: false});
      const object = new Points(geometry, material);
      object.renderOrder = 2;
      object.frustumCulled = false;
      this.scene.add(object);
      this.marks.push({object, material, color});
    }
  }

  makeTool() {
    this.tool = new Group();
    const {outline, toolHeight: top} = this;
    this.toolMaterial = new MeshLambertMaterial({side: DoubleSide, transparent: true, opacity: 0.7});
    if (outline.length > 1) {
      const geometry = new LatheGeometry(outline.map((p) => new Vector2(p[0], p[1])), 40);
      geometry.rotateX(Math.PI / 2);
      this.tool.add(new Mesh(geometry, this.toolMaterial));
    }
    const axis = new BufferGeometry().setFromPoints([new Vector3(0, 0, 0),
      new Vector3(0, 0, Math.max(top * 1.25, this.size * 0.35))]);
    this.axisMaterial = new LineBasicMaterial({depthTest: false});
    const line = new Line(axis, this.axisMaterial);
    line.renderOrder = 3;
    this.tool.add(line);
    const tip = new BufferGeometry().setFromPoints([new Vector3(0, 0, 0)]);
    this.tipMaterial = new PointsMaterial({size: 9, sizeAttenuation: false,
      map: discTexture(), alphaTest: 0.5, depthTest: false});
    const point = new Points(tip, this.tipMaterial);
    point.renderOrder = 4;
    this.tool.add(point);
    for (const child of this.tool.children) child.frustumCulled = false;
    this.tool.visible = false;
    this.scene.add(this.tool);
  }

  // A grid below the part and the part's axes at its origin.
  makeFrame() {
    this.gridStep = niceStep(this.size / 8);
    this.frame = new Group();
    this.scene.add(this.frame);
  }

  fillFrame() {
    const {theme, size, middle, gridStep} = this;
    this.frame.clear();
    const cells = Math.min(2 * Math.ceil(0.75 * size / gridStep), 60);
    const half = cells * gridStep / 2;
    const rules = [];
    for (let v = -half, i = 0; i <= cells; v += gridStep, ++i) {
      rules.push(new Vector3(v, -half), new Vector3(v, half));
      rules.push(new Vector3(-half, v), new Vector3(half, v));
    }
    const grid = new LineSegments(new BufferGeometry().setFromPoints(rules),
      new LineBasicMaterial({color: theme.line}));
    // On round numbers of the part's frame.
    const offset = (k) => Math.round(middle[k] / gridStep) * gridStep - middle[k];
    grid.position.set(offset(0), offset(1), this.low[2] - size * 0.002);
    this.frame.add(grid);
    const origin = new Vector3(...middle).negate();
    if (origin.length() > 2 * size) return;
    const length = size * 0.14;
    const colors = ['#d55e00', '#009e73', '#3f8fd8'];
    const ends = [0, 1, 2].flatMap((k) => [new Vector3(), new Vector3().setComponent(k, length)]);
    const geometry = new BufferGeometry().setFromPoints(ends);
    geometry.setAttribute('color', new BufferAttribute(new Float32Array(colors.flatMap((c) => {
      const rgb = new Color(c).toArray();
      return [...rgb, ...rgb];
    })), 3));
    const axes = new LineSegments(geometry,
      new LineBasicMaterial({vertexColors: true, depthTest: false}));
    axes.position.copy(origin);
    axes.renderOrder = 1;
    this.frame.add(axes);
    ['X', 'Y', 'Z'].forEach((letter, k) => {
      const sprite = letterSprite(letter, colors[k]);
      sprite.position.copy(origin);
      sprite.position.setComponent(k, sprite.position.getComponent(k) + length * 1.12);
      sprite.userData.isLetter = true;
      sprite.renderOrder = 5;
      this.frame.add(sprite);
    });
  }

  retheme() {
    const {theme} = this;
    this.fillFrame();
    this.rapidMaterial.color.set(theme['rapid-path']);
    this.toolMaterial.color.set(theme.tool);
    this.axisMaterial.color.set(theme.cursor);
    this.tipMaterial.color.set(theme.cursor);
    for (const {material, color} of this.marks) material.color.set(theme[color]);
    if (this.coloring) this.colorBy(this.coloring);
    this.draw();
  }

  // Colours the feed path by a column: {values, min, max}. Values that are none have a grey.
  colorBy(coloring) {
    this.coloring = coloring;
    const {values, min, max} = coloring;
    const {isDark} = this.theme;
    const ramp = new Uint8Array(256 * 3);
    for (let i = 0; i < 256; ++i) ramp.set(rampColor(i / 255, isDark), 3 * i);
    const grey = isDark ? 120 : 150;
    for (const path of [this.feed, this.coarse]) {
      if (!path) continue;
      const {colors, segments, object} = path;
      for (let s = 0; s < segments.rows.length; ++s) {
        const v = values[segments.rows[s]];
        const part = max > min ? (v - min) / (max - min) : 0.5;
        const at = 3 * Math.round(255 * Math.min(Math.max(part, 0), 1));
        for (let k = 0; k < 3; ++k) {
          colors[6 * s + k] = colors[6 * s + 3 + k] = Number.isFinite(v) ? ramp[at + k] : grey;
        }
      }
      if (path.isWide) {
        const {data} = object.geometry.attributes.instanceColorStart;
        for (let e = 0; e < colors.length; ++e) data.array[e] = colors[e] / 255;
        data.needsUpdate = true;
      } else {
        object.geometry.attributes.color.needsUpdate = true;
      }
    }
    this.draw();
  }

  // The whole path, or what is done of it where the tool is.
  showDone(isDoneOnly) {
    this.isDoneOnly = isDoneOnly;
    this.draw();
  }

  showMarks(isShown) {
    for (const {object} of this.marks) object.visible = isShown;
    this.draw();
  }

  cutPaths() {
    const {row} = this.cursor;
    for (const path of [this.feed, this.coarse, this.rapid]) {
      if (!path) continue;
      const {rows} = path.segments;
      let count = rows.length;
      if (this.isDoneOnly) {
        let from = 0;
        while (from < count) {
          const middle = (from + count) >>> 1;
          if (rows[middle] <= row) from = middle + 1;
          else count = middle;
        }
      }
      const {geometry} = path.object;
      if (path.isWide) geometry.instanceCount = count;
      else geometry.setDrawRange(0, 2 * count);
    }
  }

  placeTool() {
    const {run, cursor, tool} = this;
    const {row, part} = cursor;
    tool.visible = false;
    if (row < 0) return;
    const at = (i) => new Vector3(this.points[3 * i], this.points[3 * i + 1], this.points[3 * i + 2]);
    const axisAt = (i) => new Vector3(run.col.i[i], run.col.j[i], run.col.k[i]).normalize();
    const place = at(row);
    const axis = axisAt(row);
    if (row > 0 && part < 1) {
      place.lerp(at(row - 1), 1 - part);
      axis.lerp(axisAt(row - 1), 1 - part).normalize();
    }
    if (!Number.isFinite(place.x + place.y + place.z)) return;
    if (!(axis.length() > 0.5)) axis.set(0, 0, 1);
    tool.position.copy(place);
    tool.quaternion.copy(new Quaternion().setFromUnitVectors(new Vector3(0, 0, 1), axis));
    tool.visible = true;
  }

  // Tip and axis of the tool as drawn, in the part's frame.
  get toolPlace() {
    if (!this.tool.visible) return null;
    const tip = this.tool.position.clone().add(new Vector3(...this.middle));
    const axis = new Vector3(0, 0, 1).applyQuaternion(this.tool.quaternion);
    return {tip: tip.toArray(), axis: axis.toArray()};
  }

  look(name) {
    const direction = new Vector3(...kViews[name]).normalize();
    this.controls.target.set(0, 0, 0);
    this.camera.position.copy(direction).multiplyScalar(this.size * 2);
    this.camera.lookAt(0, 0, 0);
    this.fit();
  }

  // How far the tool reaches where it stands, in the camera's axes. Of one that is much longer than
  // the path is large its lower end alone: the path has to be seen.
  *toolReach() {
    if (!this.tool.visible) return;
    const turn = this.camera.quaternion.clone().invert();
    const tip = this.tool.position.clone().applyQuaternion(turn);
    const axis = new Vector3(0, 0, 1).applyQuaternion(this.tool.quaternion).applyQuaternion(turn);
    const most = this.isPoint ? Infinity : kToolShare * this.size;
    for (const [radius, height] of this.outline) {
      const place = tip.clone().addScaledVector(axis, Math.min(height, most));
      // A circle about the axis.
      const half = new Vector3(...axis.toArray().map((c) => radius * Math.sqrt(Math.max(0, 1 - c * c))));
      yield place.clone().add(half);
      yield place.sub(half);
    }
  }

  // Part and tool fill the view, from where it is looked at.
  fit() {
    const {camera, controls} = this;
    const offset = camera.position.clone().sub(controls.target);
    const seen = new Vector3();
    const low = new Vector3(Infinity, Infinity, Infinity);
    const high = low.clone().negate();
    camera.position.copy(offset);
    camera.lookAt(0, 0, 0);
    camera.updateMatrixWorld();
    for (const point of this.outer) {
      seen.copy(point).applyQuaternion(camera.quaternion.clone().invert());
      low.min(seen);
      high.max(seen);
    }
    for (const reach of this.toolReach()) {
      low.min(reach);
      high.max(reach);
    }
    const target = low.clone().add(high).multiplyScalar(0.5).applyQuaternion(camera.quaternion);
    controls.target.copy(target);
    camera.position.copy(target).add(offset);
    const {clientWidth: w, clientHeight: h} = this.box;
    const margin = 1.16;
    const half = margin / 2 * Math.max((high.x - low.x) * h / Math.max(w, 1), high.y - low.y,
      this.size * (this.isPoint ? 1 : 0.1));
    this.half = half;
    this.isFitted = true;
    camera.zoom = 1;
    this.frameCamera();
    controls.update();
    this.draw();
  }

  frameCamera() {
    const {camera, half} = this;
    const {clientWidth: w, clientHeight: h} = this.box;
    const aspect = w / Math.max(h, 1);
    camera.left = -half * aspect;
    camera.right = half * aspect;
    camera.top = half;
    camera.bottom = -half;
    const depth = 40 * this.size + 4 * this.toolHeight;
    camera.near = -depth;
    camera.far = depth;
    camera.updateProjectionMatrix();
  }

  resize() {
    const {clientWidth: w, clientHeight: h} = this.box;
    if (w === 0 || h === 0) return;
    this.renderer.setPixelRatio(Math.min(devicePixelRatio, 2));
    this.renderer.setSize(w, h, false);
    if (this.isFitted) this.fit();
    else if (this.half) this.frameCamera();
    this.draw();
  }

  turn(around, up) {
    this.isFitted = false;
    const {camera, controls} = this;
    // Spherical has Y for its pole: (x, y, z) stands for (y, z, x) of the part.
    const o = camera.position.clone().sub(controls.target);
    const s = new Spherical().setFromVector3(new Vector3(o.y, o.z, o.x));
    s.theta += around;
    s.phi += up;
    s.makeSafe();
    const v = new Vector3().setFromSpherical(s);
    camera.position.copy(controls.target).add(new Vector3(v.z, v.x, v.y));
    camera.lookAt(controls.target);
    controls.update();
    this.draw();
  }

  pan(right, up) {
    this.isFitted = false;
    const {camera, controls} = this;
    const step = 2 * this.half / camera.zoom;
    const shift = new Vector3(right * step, up * step, 0).applyQuaternion(camera.quaternion);
    camera.position.add(shift);
    controls.target.add(shift);
    controls.update();
    this.draw();
  }

  zoom(factor) {
    this.isFitted = false;
    this.camera.zoom = Math.min(Math.max(this.camera.zoom * factor, 1e-3), 1e6);
    this.camera.updateProjectionMatrix();
    this.draw();
  }

  onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1]};
    const keys = {
      '+': () => this.zoom(1.25), '=': () => this.zoom(1.25), '-': () => this.zoom(0.8),
      '0': () => this.fit(), f: () => this.fit(),
      '1': () => this.look('top'), '2': () => this.look('front'), '3': () => this.look('side'),
      '4': () => this.look('home'),
    };
    const arrow = arrows[event.key];
    if (arrow && event.shiftKey) this.pan(0.1 * arrow[0], 0.1 * arrow[1]);
    else if (arrow) this.turn(arrow[0] * Math.PI / 18, -arrow[1] * Math.PI / 18);
    else if (keys[event.key]) keys[event.key]();
    else return;
    this.moving();
    event.preventDefault();
  }

  // A coarser path for as long as something moves.
  moving() {
    if (!this.coarse) return;
    this.isMoving = true;
    clearTimeout(this.settle);
    this.settle = setTimeout(() => {
      this.isMoving = false;
      this.draw();
    }, kSettle);
  }

  draw() {
    if (this.pending) return;
    this.pending = requestAnimationFrame(() => {
      this.pending = 0;
      this.drawNow();
    });
  }

  drawNow() {
    const start = performance.now();
    this.cutPaths();
    if (this.coarse) {
      this.coarse.object.visible = this.isMoving === true;
      this.feed.object.visible = !this.coarse.object.visible;
    }
    for (const object of this.frame.children) {
      if (object.userData.isLetter) {
        // So many pixels high, however near the view is.
        const pixels = 22 / Math.max(this.box.clientHeight, 1);
        const size = pixels * 2 * this.half / this.camera.zoom;
        object.material.sizeAttenuation = true;
        object.scale.set(size, size, 1);
      }
    }
    this.renderer.render(this.scene, this.camera);
    this.drawTimes.push(performance.now() - start);
    if (this.drawTimes.length > 240) this.drawTimes.shift();
  }

  get gridText() {
    return formatNumber(this.gridStep, 6);
  }
}
