'use strict';
// The live view page: drives its own frame loop against /api/frame, polls
// /api/status for statistics and feature changes, and edits features through
// /api/feature. Everything it does goes through the documented JSON API.

const $ = (id) => document.getElementById(id);

// Read by the browser test; also handy in the developer console.
const view = {
  seq: 0,            // sequence number of the frame on screen
  framesShown: 0,
  framesReceived: 0, // a frame drawn late gives way to a newer one: received >= shown
  frameTimes: [],    // when recent frames were drawn (ms), for the page's own fps
  pageFps: 0,
  histogramDraws: 0,
  frameWidth: 0,
  frameHeight: 0,
  open: false,
  grabbing: false,
  featureChanges: -1,
};
window.lumoView = view;

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

// Calls the API; answers the parsed JSON (or null for 204) and throws an
// Error carrying the server's message for every refused request.
async function api(method, path, params = {}, body = undefined) {
  const query = new URLSearchParams(params).toString();
  const options = { method, cache: 'no-store' };
  if (body !== undefined) {
    options.body = body;
    options.headers = { 'Content-Type': 'text/plain' };
  }
  const response = await fetch(path + (query ? '?' + query : ''), options);
  if (response.status === 204) return null;
  const type = response.headers.get('Content-Type') || '';
  const data = type.startsWith('application/json') ? await response.json() : await response.text();
  if (!response.ok) {
    throw new Error(data && data.error ? data.error : `HTTP ${response.status}`);
  }
  return data;
}

function say(text, isError = false) {
  const message = $('message');
  message.textContent = text;
  message.className = isError ? 'error' : '';
}

// Runs an action from a button; its failure is shown, never thrown away.
function action(fn) {
  return async (event) => {
    try {
      await fn(event);
    } catch (error) {
      say(error.message, true);
    }
  };
}

/* ---- cameras ---- */

async function loadCameras() {
  const data = await api('GET', '/api/cameras');
  const list = $('camera-list');
  const chosen = list.value;
  list.replaceChildren();
  for (const camera of data.cameras) {
    const option = document.createElement('option');
    option.value = camera.serial || String(camera.index);
    option.textContent = `${camera.index}: ${camera.vendor} ${camera.model} (${camera.serial}) ` +
      `${camera.tlType}, ${camera.accessStatus}`;
    list.append(option);
  }
  if (chosen) list.value = chosen;
  if (!data.cameras.length) {
    const option = document.createElement('option');
    option.textContent = 'no camera found';
    option.disabled = true;
    list.append(option);
  }
  const producers = $('producer-list');
  producers.replaceChildren();
  for (const p of data.producers) {
    const item = document.createElement('li');
    let text = `${p.state}: ${p.path} (${p.origin})`;
    if (p.state === 'loaded') {
      text += ` ${p.tlType} ${p.vendor} ${p.model} ${p.version}, ${p.interfaceCount} interface(s)`;
    } else {
      text += ` ${p.reason}${p.failedStep ? ' at ' + p.failedStep : ''}` +
        `${p.errorCode ? ' (' + p.errorCode + ')' : ''}${p.producerError ? ': ' + p.producerError : ''}`;
      item.className = p.state === 'failed' ? 'error' : 'muted';
    }
    item.textContent = text;
    producers.append(item);
  }
  $('producers').querySelector('summary').textContent = `Producers (${data.producers.length})`;
}

function showStatus(status) {
  view.open = status.open;
  view.grabbing = status.grabbing;
  $('camera-state').textContent = status.open
    ? `${status.camera} open (${status.mode})${status.grabbing ? ', acquiring (' + status.strategy + ')' : ''}`
    : 'no camera open';
  $('close').disabled = !status.open;
  $('start').disabled = !status.open || status.grabbing;
  $('stop').disabled = !status.grabbing;
  $('save-set').disabled = !status.open;
  $('load-set').disabled = !status.open;
  const s = status.stats;
  $('stat-fps').textContent = s.fps.toFixed(1);
  $('stat-mbps').textContent = s.mbps.toFixed(2);
  $('stat-received').textContent = s.received;
  $('stat-incomplete').textContent = s.incomplete;
  $('stat-dropped').textContent = s.dropped;
  $('stat-frame-id').textContent = s.frameId;
  $('stat-timestamp').textContent = s.timestamp;
  $('stat-error').textContent = s.lastError;
  $('stat-size').textContent = status.frame
    ? `${status.frame.width} × ${status.frame.height} ${status.frame.pixelFormat}` : '–';
  if (status.featureChanges !== view.featureChanges) {
    view.featureChanges = status.featureChanges;
    if (status.open) loadFeatures().catch((error) => say(error.message, true));
    else $('feature-tree').replaceChildren('open a camera to see its features');
  }
}

async function refreshStatus() {
  showStatus(await api('GET', '/api/status'));
}

async function statusLoop() {
  for (;;) {
    try {
      await refreshStatus();
    } catch (error) {
      say('server unreachable: ' + error.message, true);
    }
    await sleep(500);
  }
}

/* ---- the picture ---- */

const picture = $('picture');
const pictureContext = picture.getContext('2d');

function countFrame() {
  const now = performance.now();
  view.framesShown += 1;
  view.frameTimes.push(now);
  while (view.frameTimes.length && now - view.frameTimes[0] > 1000) view.frameTimes.shift();
  view.pageFps = view.frameTimes.length;
  $('page-fps').textContent = view.pageFps;
}

async function drawFrame({ blob, seq }) {
  const bitmap = await createImageBitmap(blob);
  if (picture.width !== bitmap.width || picture.height !== bitmap.height) {
    picture.width = bitmap.width;
    picture.height = bitmap.height;
  }
  pictureContext.drawImage(bitmap, 0, 0);
  bitmap.close();
  view.frameWidth = picture.width;
  view.frameHeight = picture.height;
  view.seq = seq;
  $('snapshot-png').disabled = false;
  $('snapshot-raw').disabled = false;
  countFrame();
  requestHistogram();
}

// Decoding runs beside the next request; when frames come faster than they
// are drawn, only the newest waiting one is drawn.
let waitingFrame = null;
let drawing = false;
async function queueFrame(frame) {
  waitingFrame = frame;
  if (drawing) return;
  drawing = true;
  while (waitingFrame) {
    const next = waitingFrame;
    waitingFrame = null;
    try {
      await drawFrame(next);
    } catch (error) {
      say('cannot draw a frame: ' + error.message, true);
    }
  }
  drawing = false;
}

// Two requests are kept waiting, for the next frame and the one after it, so
// that the time a response takes to travel hides behind the other request.
// The frame rate is then what camera, server and browser manage together.
let issuedAfter = -1;
let receivedSeq = 0;
async function frameWorker() {
  let after = null;
  for (;;) {
    if (after === null) {
      after = Math.max(issuedAfter + 1, receivedSeq);
      issuedAfter = Math.max(issuedAfter, after);
    }
    try {
      const response = await fetch(`/api/frame?after=${after}&timeout=1000`, { cache: 'no-store' });
      if (response.status === 200) {
        const seq = Number(response.headers.get('X-Frame-Seq'));
        const blob = await response.blob();
        after = null;
        if (seq > receivedSeq) {  // the other request may have brought it already
          receivedSeq = seq;
          view.framesReceived += 1;
          queueFrame({ blob, seq });
        }
      } else if (response.status !== 204) {
        after = null;
        await sleep(500);
      } else if (!view.grabbing) {
        await sleep(200);  // nothing comes; ask again with the same threshold
      }
    } catch (error) {
      after = null;
      await sleep(500);
    }
  }
}

/* ---- histogram ---- */

let histogramBusy = false;
let histogramLast = 0;
const histogramColours = { red: '#d33', green: '#2a2', blue: '#36d', grey: '#444' };

function requestHistogram() {
  const now = performance.now();
  if (histogramBusy || now - histogramLast < 250) return;
  histogramBusy = true;
  histogramLast = now;
  api('GET', '/api/histogram', { seq: view.seq })
    .then(drawHistogram)
    .catch(() => {})  // the frame may be gone already; the next one brings a new histogram
    .finally(() => { histogramBusy = false; });
}

// Linear counts, scaled so that the 98th percentile bin reaches the top: one
// huge bin (a black border, a saturated area) does not flatten the rest.
function drawHistogram(data) {
  const canvas = $('histogram');
  const g = canvas.getContext('2d');
  g.clearRect(0, 0, canvas.width, canvas.height);
  const counts = data.bins.flat().filter((count) => count > 0).sort((a, b) => a - b);
  const top = counts.length ? counts[Math.floor((counts.length - 1) * 0.98)] : 1;
  const step = canvas.width / 256;
  g.globalAlpha = data.bins.length > 1 ? 0.5 : 1;
  data.bins.forEach((bins, channel) => {
    g.fillStyle = histogramColours[data.channels[channel]];
    bins.forEach((count, i) => {
      const h = Math.min(count / top, 1) * (canvas.height - 2);
      g.fillRect(i * step, canvas.height - h, Math.ceil(step), h);
    });
  });
  g.globalAlpha = 1;
  view.histogramDraws += 1;
}

/* ---- pixel under the pointer ---- */

let pixelBusy = false;
picture.addEventListener('mousemove', (event) => {
  if (pixelBusy || !view.seq) return;
  const rect = picture.getBoundingClientRect();
  const x = Math.floor((event.clientX - rect.left) * picture.width / rect.width);
  const y = Math.floor((event.clientY - rect.top) * picture.height / rect.height);
  if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
  pixelBusy = true;
  api('GET', '/api/pixel', { x, y, seq: view.seq })
    .then((p) => {
      let text = `pixel (${p.x}, ${p.y}) ${p.pixelFormat}: `;
      text += p.rgb ? `R ${p.rgb[0]} G ${p.rgb[1]} B ${p.rgb[2]}` : `grey ${p.grey[0]}`;
      if (p.sample !== undefined) text += `, sample ${p.sample} (${p.bits} bit)`;
      $('pixel').textContent = text;
    })
    .catch(() => {})
    .finally(() => { pixelBusy = false; });
});

$('zoom-1to1').addEventListener('change', (event) => {
  $('picture-box').className = event.target.checked ? '' : 'fit';
});

/* ---- snapshots ---- */

function download(url) {
  const link = document.createElement('a');
  link.href = url;
  link.download = '';
  document.body.append(link);
  link.click();
  link.remove();
}

$('snapshot-png').addEventListener('click', () => download(`/api/snapshot?format=png&seq=${view.seq}`));
$('snapshot-raw').addEventListener('click', () => {
  // Both of the same frame: the sequence number pins it.
  const seq = view.seq;
  download(`/api/snapshot?format=raw&seq=${seq}`);
  setTimeout(() => download(`/api/snapshot?format=json&seq=${seq}`), 300);
});

/* ---- features ---- */

const rows = new Map();  // feature name -> {type, control, error, range, badge}
const visibilityRank = { beginner: 0, expert: 1, guru: 2, invisible: 3 };

// A feature locked by acquisition stays editable: the server pauses
// acquisition around the write.
function writable(feature) {
  return feature.access === 'RW' || feature.access === 'WO' || feature.pausable === true;
}

function badgeText(feature) {
  if (feature.pausable) return 'pauses acquisition';
  if (feature.access === 'RW' || feature.access === 'WO') return '';
  return feature.access === 'RO' ? 'read-only' : feature.access;
}

function rangeText(feature) {
  if (feature.min === undefined) return '';
  let text = `${feature.min} … ${feature.max}`;
  if (feature.inc !== undefined && feature.inc !== 1) text += `, step ${feature.inc}`;
  return text + (feature.unit ? ` ${feature.unit}` : '');
}

async function setFeature(name, value, row) {
  row.error.textContent = '';
  try {
    const result = await api('POST', '/api/feature', { module: $('module').value, name, value });
    updateRow(row, result.feature);
    if (result.paused) say(`${name}: acquisition paused for the change`);
  } catch (error) {
    row.error.textContent = error.message;
  }
}

function makeControl(feature, row) {
  let control;
  switch (feature.type) {
    case 'integer':
    case 'float':
      control = document.createElement('input');
      control.type = 'number';
      control.addEventListener('change', () => setFeature(feature.name, control.value, row));
      break;
    case 'enumeration':
      control = document.createElement('select');
      control.addEventListener('change', () => setFeature(feature.name, control.value, row));
      break;
    case 'boolean':
      control = document.createElement('input');
      control.type = 'checkbox';
      control.addEventListener('change', () => setFeature(feature.name, String(control.checked), row));
      break;
    case 'command':
      control = document.createElement('button');
      control.textContent = 'Execute';
      control.addEventListener('click', () => setFeature(feature.name, 'exec', row));
      break;
    case 'string':
      control = document.createElement('input');
      control.type = 'text';
      control.addEventListener('change', () => setFeature(feature.name, control.value, row));
      break;
    default:
      control = document.createElement('span');
  }
  control.dataset.feature = feature.name;
  return control;
}

function updateRow(row, feature) {
  const { control } = row;
  const canWrite = writable(feature);
  const editing = document.activeElement === control;
  row.badge.textContent = badgeText(feature);
  row.badge.hidden = row.badge.textContent === '';
  row.range.textContent = rangeText(feature);
  if (feature.error) row.error.textContent = feature.error;
  switch (feature.type) {
    case 'integer':
    case 'float':
      if (feature.min !== undefined) { control.min = feature.min; control.max = feature.max; }
      control.step = feature.inc !== undefined ? feature.inc : 'any';
      if (!editing && feature.value !== undefined) control.value = feature.value;
      control.disabled = !canWrite;
      break;
    case 'enumeration': {
      const entries = feature.entries || [];
      control.replaceChildren();
      for (const entry of entries) {
        const option = document.createElement('option');
        option.value = entry.name;
        option.textContent = entry.displayName || entry.name;
        control.append(option);
      }
      if (feature.value !== undefined && !entries.some((e) => e.name === feature.value)) {
        const option = document.createElement('option');
        option.value = feature.value;
        option.textContent = feature.value;
        option.disabled = true;
        control.append(option);
      }
      if (feature.value !== undefined) control.value = feature.value;
      control.disabled = !canWrite;
      break;
    }
    case 'boolean':
      control.checked = feature.value === '1' || feature.value === 'true';
      control.disabled = !canWrite;
      break;
    case 'command':
      control.disabled = !canWrite;
      break;
    case 'string':
      if (!editing && feature.value !== undefined) control.value = feature.value;
      control.disabled = !canWrite;
      break;
    default:
      control.textContent = feature.value !== undefined ? feature.value : '';
  }
}

function makeRow(feature) {
  const element = document.createElement('div');
  element.className = 'feature';
  element.dataset.feature = feature.name;
  element.dataset.visibility = feature.visibility;
  const name = document.createElement('span');
  name.className = 'name';
  name.textContent = feature.displayName || feature.name;
  name.title = `${feature.name} (${feature.type})${feature.tooltip ? ': ' + feature.tooltip : ''}`;
  const cell = document.createElement('span');
  cell.className = 'control';
  const row = { type: feature.type, element };
  row.control = makeControl(feature, row);
  row.range = document.createElement('span');
  row.range.className = 'range';
  row.badge = document.createElement('span');
  row.badge.className = 'badge';
  row.error = document.createElement('span');
  row.error.className = 'error';
  cell.append(row.control, row.range, row.badge);
  element.append(name, cell, row.error);
  updateRow(row, feature);
  rows.set(feature.name, row);
  return element;
}

function makeCategory(node, depth) {
  const details = document.createElement('details');
  details.className = 'category';
  details.open = depth < 2;
  const summary = document.createElement('summary');
  summary.textContent = node.displayName || node.name;
  details.append(summary);
  for (const child of node.children || []) {
    details.append(child.type === 'category' ? makeCategory(child, depth + 1) : makeRow(child));
  }
  return details;
}

function collect(node, into) {
  for (const child of node.children || []) {
    if (child.type === 'category') collect(child, into);
    else into.push(child);
  }
  return into;
}

function applyVisibility() {
  const limit = visibilityRank[$('visibility').value];
  for (const row of rows.values()) {
    row.element.hidden = visibilityRank[row.element.dataset.visibility] > limit;
  }
}

// Values are updated in place when the tree keeps its shape, so that a field
// being edited keeps its focus; a new shape (another module) is drawn anew.
async function loadFeatures() {
  const data = await api('GET', '/api/features', { module: $('module').value });
  const features = collect(data.root, []);
  const sameShape = features.length === rows.size &&
    features.every((f) => rows.has(f.name) && rows.get(f.name).type === f.type);
  if (sameShape) {
    for (const feature of features) updateRow(rows.get(feature.name), feature);
  } else {
    rows.clear();
    const tree = $('feature-tree');
    tree.className = '';
    tree.replaceChildren(makeCategory(data.root, 0));
  }
  applyVisibility();
}

$('module').addEventListener('change', action(async () => {
  rows.clear();
  $('feature-tree').replaceChildren();
  await loadFeatures();
}));
$('visibility').addEventListener('change', applyVisibility);

$('save-set').addEventListener('click', () => download(`/api/featureset?module=${$('module').value}`));
$('load-set').addEventListener('change', action(async (event) => {
  const file = event.target.files[0];
  event.target.value = '';
  if (!file) return;
  const result = await api('POST', '/api/featureset', { module: $('module').value }, await file.text());
  const box = $('set-result');
  box.className = result.loaded ? '' : 'error';
  box.textContent = result.loaded
    ? `${file.name}: ${result.lines} values loaded`
    : `${file.name}: ${result.errors.join('; ')}`;
  await loadFeatures();
}));

/* ---- buttons ---- */

$('refresh-cameras').addEventListener('click', action(loadCameras));
$('open').addEventListener('click', action(async () => {
  const camera = $('camera-list').value;
  if (!camera) throw new Error('choose a camera first');
  showStatus(await api('POST', '/api/open', { camera, mode: $('open-mode').value }));
  say(`${camera} opened`);
}));
$('close').addEventListener('click', action(async () => {
  showStatus(await api('POST', '/api/close'));
  say('camera closed');
}));
$('start').addEventListener('click', action(async () => {
  showStatus(await api('POST', '/api/start', { strategy: $('strategy').value }));
}));
$('stop').addEventListener('click', action(async () => {
  showStatus(await api('POST', '/api/stop'));
}));
$('strategy').addEventListener('change', action(async () => {
  if (view.grabbing) showStatus(await api('POST', '/api/start', { strategy: $('strategy').value }));
}));

action(async () => {
  await loadCameras();
  await refreshStatus();
})();
statusLoop();
frameWorker();
frameWorker();
