// Draws the model that stands in the page, with a slider for each argument. WebGL 2 and nothing else, so that the page is whole.
// Matrices are arrays of 16 in row-vector convention (a point is v x M), quaternions x, y, z, w: as in the file.
'use strict';
const data = JSON.parse(document.getElementById('data').textContent);
const blob = Uint8Array.from(atob(data.blob), c => c.charCodeAt(0)).buffer;
const canvas = document.getElementById('view');
const gl = canvas.getContext('webgl2', { antialias: true, preserveDrawingBuffer: true });
const values = new Map(data.values);  // of arguments, by number; 0 for those that aren't there
const shown = { lights: true, connectors: true, shells: false, level: 0 };

// ---------------------------------------------------------------- matrices and keys

const identity = () => [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];

function times(a, b) {
  const out = new Array(16);
  for (let r = 0; r < 16; r += 4)
    for (let c = 0; c < 4; ++c) out[r + c] = a[r] * b[c] + a[r + 1] * b[4 + c] + a[r + 2] * b[8 + c] + a[r + 3] * b[12 + c];
  return out;
}

function turned([x, y, z, w]) {
  const n = x * x + y * y + z * z + w * w, s = n > 0 ? 2 / n : 0, one = n > 0 ? 1 : 0;
  return [one - s * (y * y + z * z), s * (x * y + w * z), s * (x * z - w * y), 0,
    s * (x * y - w * z), one - s * (x * x + z * z), s * (y * z + w * x), 0,
    s * (x * z + w * y), s * (y * z - w * x), one - s * (x * x + y * y), 0, 0, 0, 0, 1];
}

const then = ([x, y, z, w], [a, b, c, d]) =>
  [x * d + w * a + z * b - y * c, y * d - z * a + w * b + x * c, z * d + y * a - x * b + w * c, w * d - x * a - y * b - z * c];

function scaled(matrix, axes, [x, y, z]) {
  const back = [-axes[0], -axes[1], -axes[2], axes[3]];
  return times(times(times(matrix, turned(axes)), [x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1]), turned(back));
}

// The keys around a time, and the share of the second one.
function neighbours(keys, time) {
  const last = keys.time.length - 1;
  if (time <= keys.time[0]) return [0, 0, 0];
  if (time >= keys.time[last]) return [last, last, 0];
  let low = 0, high = last;  // the time at `high` lies behind, the one at `low` doesn't
  while (high - low > 1) { const middle = low + high >> 1; if (keys.time[middle] > time) high = middle; else low = middle; }
  return [low, high, (time - keys.time[low]) / (keys.time[high] - keys.time[low])];
}

function vectorAt(keys, time) {
  const [i, j, t] = neighbours(keys, time);
  return i === j ? keys.value[i] : keys.value[i].map((v, k) => t * keys.value[j][k] + (1 - t) * v);
}

function rotationAt(keys, time) {
  const [i, j, t] = neighbours(keys, time), a = keys.value[i];
  if (i === j) return a;
  let b = keys.value[j], dot = a.reduce((sum, v, k) => sum + v * b[k], 0);
  if (dot < 0) { b = b.map(v => -v); dot = -dot; }
  let u = 1 - t, v = t;
  if (1 - dot > 1e-5) { const angle = Math.acos(dot), s = Math.sin(angle); u = Math.sin((1 - t) * angle) / s; v = Math.sin(t * angle) / s; }
  return a.map((value, k) => u * value + v * b[k]);
}

const valueOf = number => Math.fround(values.get(number) || 0);

function localMatrix(node) {
  if (!node.motion) return node.matrix;
  const m = node.motion, still = [0, 0, 0, 1];
  let position = m.position, shift = [0, 0, 0], turn = still, rotation = still, size = [0, 0, 0], matrix = identity();
  for (const c of m.positions) {
    if (c.keys.time.length) shift = vectorAt(c.keys, valueOf(c.argument));
    position = position.map((v, k) => v + shift[k]);
  }
  for (const c of m.rotations) {
    if (c.keys.time.length) turn = rotationAt(c.keys, valueOf(c.argument));
    rotation = then(rotation, turn);
  }
  for (const c of m.scales) {
    const at = valueOf(c.argument), axes = c.axes.time.length ? rotationAt(c.axes, at) : still;
    if (c.keys.time.length) size = vectorAt(c.keys, at);
    matrix = scaled(matrix, axes, size);
  }
  matrix = times(scaled(matrix, m.axes, m.scale), turned(then(rotation, m.rotation)));
  return times(times(matrix, [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, ...position, 1]), node.matrix || identity());
}

// World matrices and visibility of all nodes; parents stand before their children.
let worlds = [], visible = [];
function pose() {
  worlds = []; visible = [];
  data.nodes.forEach((node, index) => {
    const above = node.parent, local = localMatrix(node);
    const inRange = c => c.ranges.some(([low, high]) => valueOf(c.argument) >= low && valueOf(c.argument) < high);
    const level = above >= 0 && data.nodes[above].levels ? node.child === Math.min(shown.level, data.nodes[above].levels - 1) : true;
    worlds.push(above < 0 ? local || identity() : local ? times(local, worlds[above]) : worlds[above]);
    visible.push((above < 0 || visible[above]) && level && (node.conditions || []).every(inRange));
  });
}

const propertyAt = entry => entry.keys ? vectorAt(entry.keys, valueOf(entry.argument)) : entry.argument >= 0 ? [valueOf(entry.argument)] : entry.value;

// ---------------------------------------------------------------- drawing

const MESH_VERTEX = `#version 300 es
in vec3 position, normal; in uvec4 joint; in vec4 weight;
uniform highp sampler2D palette; uniform mat4 camera; out vec3 side;
void main() {
  vec3 place = vec3(0), toward = vec3(0);
  for (int k = 0; k < 4; ++k) {
    if (weight[k] == 0.0) continue;
    int at = int(joint[k]) * 4; ivec2 t = ivec2(at % 4096, at / 4096);
    vec3 x = texelFetch(palette, t, 0).xyz, y = texelFetch(palette, t + ivec2(1, 0), 0).xyz;
    vec3 z = texelFetch(palette, t + ivec2(2, 0), 0).xyz, o = texelFetch(palette, t + ivec2(3, 0), 0).xyz;
    place += weight[k] * (position.x * x + position.y * y + position.z * z + o);
    toward += weight[k] * (normal.x * x + normal.y * y + normal.z * z);
  }
  side = toward; gl_Position = camera * vec4(place, 1);
}`;
const MESH_FRAGMENT = `#version 300 es
precision highp float;
in vec3 side; uniform vec4 colour; uniform vec3 glow; out vec4 pixel;
void main() {
  vec3 n = normalize(side + vec3(1e-20)) * (gl_FrontFacing ? 1.0 : -1.0);
  float light = 0.45 + 0.2 * n.y + 0.35 * max(dot(n, normalize(vec3(0.5, 0.7, 0.6))), 0.0);
  pixel = vec4(colour.rgb * light + glow, colour.a);
}`;
const LINE_VERTEX = `#version 300 es
in vec3 position; uniform mat4 camera, world; void main() { gl_Position = camera * world * vec4(position, 1); }`;
const LINE_FRAGMENT = `#version 300 es
precision mediump float; uniform vec4 colour; out vec4 pixel; void main() { pixel = colour; }`;

function program(vertex, fragment) {
  const made = gl.createProgram();
  [[gl.VERTEX_SHADER, vertex], [gl.FRAGMENT_SHADER, fragment]].forEach(([kind, text]) => {
    const shader = gl.createShader(kind);
    gl.shaderSource(shader, text); gl.compileShader(shader); gl.attachShader(made, shader);
    if (!gl.getShaderParameter(shader, gl.COMPILE_STATUS)) throw new Error(gl.getShaderInfoLog(shader));
  });
  ['position', 'normal', 'joint', 'weight'].forEach((name, place) => gl.bindAttribLocation(made, place, name));
  gl.linkProgram(made);
  return { made, at: name => gl.getUniformLocation(made, name) };
}

function buffer(target, part) {
  const made = gl.createBuffer();
  gl.bindBuffer(target, made);
  gl.bufferData(target, new Uint8Array(blob, part[0], part[1]), gl.STATIC_DRAW);
}

function vertexArray(mesh) {
  const made = gl.createVertexArray();
  gl.bindVertexArray(made);
  const floats = (place, part, width) => {
    buffer(gl.ARRAY_BUFFER, part); gl.enableVertexAttribArray(place); gl.vertexAttribPointer(place, width, gl.FLOAT, false, 0, 0);
  };
  floats(0, mesh.position, 3);
  if (mesh.normal) floats(1, mesh.normal, 3);
  if (mesh.joint) { buffer(gl.ARRAY_BUFFER, mesh.joint); gl.enableVertexAttribArray(2); gl.vertexAttribIPointer(2, mesh.joints, gl.UNSIGNED_INT, 0, 0); }
  if (mesh.weight) floats(3, mesh.weight, 4);
  if (mesh.index) buffer(gl.ELEMENT_ARRAY_BUFFER, mesh.index);
  return made;
}

const TEXELS = 4096;
function fillPalette(mesh) {
  const rows = Math.max(1, Math.ceil(mesh.palette.length * 4 / TEXELS)), texels = new Float32Array(rows * TEXELS * 4);
  mesh.palette.forEach((node, k) => {
    if (!visible[mesh.skin ? mesh.palette[0] : node]) return;  // what isn't shown shrinks to a point
    texels.set(mesh.inverted ? times(mesh.inverted[k], worlds[node]) : worlds[node], k * 16);
  });
  gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA32F, TEXELS, rows, 0, gl.RGBA, gl.FLOAT, texels);
}

const view = { angle: [0.7, 0.4], distance: 3.1, middle: data.middle.slice() };
function camera() {
  const [a, e] = view.angle, far = view.distance * data.radius, aspect = canvas.width / canvas.height;
  const eye = [Math.sin(a) * Math.cos(e), Math.sin(e), Math.cos(a) * Math.cos(e)];
  const right = [Math.cos(a), 0, -Math.sin(a)];
  const up = [eye[1] * right[2] - eye[2] * right[1], eye[2] * right[0] - eye[0] * right[2], eye[0] * right[1] - eye[1] * right[0]];
  const dot = (u, v) => u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
  const looked = [right[0], up[0], eye[0], 0, right[1], up[1], eye[1], 0, right[2], up[2], eye[2], 0,
    -dot(right, view.middle), -dot(up, view.middle), -dot(eye, view.middle) - far, 1];
  const near = far / 200, end = far + 20 * data.radius, f = 1 / Math.tan(0.35);
  return { right, up, matrix: times(looked, [f / aspect, 0, 0, 0, 0, f, 0, 0, 0, 0, (end + near) / (near - end), -1, 0, 0, 2 * end * near / (near - end), 0]) };
}

let meshes, lines, meshProgram, lineProgram, asked = false;
function start() {
  meshProgram = program(MESH_VERTEX, MESH_FRAGMENT);
  lineProgram = program(LINE_VERTEX, LINE_FRAGMENT);
  meshes = data.meshes.map(mesh => ({ ...mesh, array: vertexArray(mesh) }));
  lines = data.lines.map(line => ({ ...line, array: vertexArray(line) }));
  gl.bindTexture(gl.TEXTURE_2D, gl.createTexture());
  gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MIN_FILTER, gl.NEAREST);
  gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MAG_FILTER, gl.NEAREST);
  gl.enable(gl.DEPTH_TEST);
  gl.blendFunc(gl.SRC_ALPHA, gl.ONE_MINUS_SRC_ALPHA);
}

function drawMeshes(matrix, blended) {
  gl.useProgram(meshProgram.made);
  gl.uniformMatrix4fv(meshProgram.at('camera'), false, matrix);
  for (const mesh of meshes) {
    const material = data.materials[mesh.material];
    if (material.blended !== blended) continue;
    const part = (name, otherwise) => material[name] ? propertyAt(material[name]) : otherwise;
    const [amount] = part('amount', [0]), opacity = blended ? part('opacity', [0.4])[0] : 1;
    gl.uniform4f(meshProgram.at('colour'), ...part('colour', [1, 1, 1]).slice(0, 3), opacity);
    gl.uniform3f(meshProgram.at('glow'), ...part('glow', [1, 1, 1]).slice(0, 3).map(v => v * Math.min(Math.max(amount, 0), 1)));
    fillPalette(mesh);
    gl.vertexAttribI4ui(2, 0, 0, 0, 0);
    gl.vertexAttrib4f(3, 1, 0, 0, 0);
    gl.bindVertexArray(mesh.array);
    gl.drawElements(gl.TRIANGLES, mesh.count, gl.UNSIGNED_INT, 0);
  }
}

function drawLines(matrix) {
  gl.useProgram(lineProgram.made);
  gl.uniformMatrix4fv(lineProgram.at('camera'), false, matrix);
  for (const line of lines) {
    if (!shown[line.kind] || !visible[line.node]) continue;
    const lit = line.light ? propertyAt(line.light).slice(0, 3) : line.colour;
    gl.uniform4f(lineProgram.at('colour'), ...lit, 1);
    gl.uniformMatrix4fv(lineProgram.at('world'), false, worlds[line.node]);
    gl.bindVertexArray(line.array);
    gl.drawArrays(gl.LINES, 0, line.count);
  }
}

function draw() {
  asked = false;
  const scale = window.devicePixelRatio || 1, width = Math.round(canvas.clientWidth * scale), height = Math.round(canvas.clientHeight * scale);
  if (canvas.width !== width || canvas.height !== height) { canvas.width = width; canvas.height = height; }
  gl.viewport(0, 0, canvas.width, canvas.height);
  gl.clearColor(0.914, 0.929, 0.945, 1);
  gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
  pose();
  const { matrix } = camera();
  gl.disable(gl.BLEND); gl.depthMask(true);
  drawMeshes(matrix, false); drawLines(matrix);
  gl.enable(gl.BLEND); gl.depthMask(false);
  drawMeshes(matrix, true);
  gl.depthMask(true);
}

function redraw() { if (!asked) { asked = true; requestAnimationFrame(draw); } }

// ---------------------------------------------------------------- what can be moved

function control(parent, text, type, more, act) {
  const label = document.createElement('label'), input = Object.assign(document.createElement('input'), { type }, more), told = document.createElement('output');
  const changed = () => { told.value = type === 'range' ? (+input.value).toPrecision(3) : ''; act(input); redraw(); };
  label.append(type === 'range' ? text + ' ' : '', input, type === 'range' ? told : ' ' + text);
  document.getElementById(parent).append(label);
  input.addEventListener('input', changed);
  changed();
}

function panel() {
  for (const { number, low, high, value } of data.sliders)
    control('sliders', 'argument ' + number, 'range', { id: 'argument' + number, min: low, max: high, step: (high - low) / 1000, value }, input => { values.set(number, +input.value); });
  for (const kind of ['lights', 'connectors', 'shells'])
    if (data.lines.some(line => line.kind === kind)) control('switches', kind, 'checkbox', { id: kind, checked: shown[kind] }, input => { shown[kind] = input.checked; });
  const levels = Math.max(0, ...data.nodes.map(node => node.levels || 0));
  if (levels > 1) control('switches', 'level of detail', 'range', { id: 'level', min: 0, max: levels - 1, step: 1, value: 0 }, input => { shown.level = +input.value; });
  document.getElementById('told').textContent = data.told;
}

function mouse() {
  canvas.addEventListener('pointerdown', event => canvas.setPointerCapture(event.pointerId));
  canvas.addEventListener('pointermove', event => {
    if (!event.buttons) return;
    if (event.shiftKey || event.buttons > 1) {
      const { right, up } = camera(), step = view.distance * data.radius / canvas.clientHeight;
      view.middle = view.middle.map((v, k) => v - step * (event.movementX * right[k] - event.movementY * up[k]));
    } else {
      view.angle[0] -= event.movementX / 150;
      view.angle[1] = Math.max(-1.57, Math.min(1.57, view.angle[1] + event.movementY / 150));
    }
    redraw();
  });
  canvas.addEventListener('wheel', event => { view.distance *= Math.exp(event.deltaY / 600); event.preventDefault(); redraw(); }, { passive: false });
  canvas.addEventListener('contextmenu', event => event.preventDefault());
  window.addEventListener('resize', redraw);
}

if (gl) { start(); panel(); mouse(); redraw(); } else document.getElementById('told').textContent = 'This browser has no WebGL 2.';
