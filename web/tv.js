// The TV itself: dark in standby, "Restarting…" while it reboots, badges for the ambient screen
// and an unavailable service; the picture (source or application, art mode, multi-view,
// rotation, a wall's cabinets) and the overlays for a change of volume or a key press.
import { $, change, changedSince, parseJson, textElement } from './api.js';

const OSD_MS = 2000;  // how long an overlay stays before it fades

// A state without the TV section shows the TV on.
export function renderTv(tv) {
  const power = tv ? tv.power : 'on';
  const layer = $('power-layer');
  layer.hidden = power === 'on';
  layer.classList.toggle('restarting', power === 'reboot');
  $('power-label').textContent = power === 'reboot' ? 'Restarting…' : 'Standby';
  $('screen').classList.toggle('off', power !== 'on');
  $('ambient-badge').hidden = !(tv && tv.ambient && power === 'on');
  $('service-badge').hidden = !(tv && power !== 'reboot' && tv.service && !tv.service.tv);
  for (const button of $('power-buttons').querySelectorAll('button')) {
    button.disabled = !tv || power === 'reboot';
    button.classList.toggle('current', button.dataset.power === power);
  }
}

// An overlay shown for a while after a change, then faded out.
const overlayTimers = new Map();
function flash(element) {
  element.hidden = false;
  element.classList.remove('fading');
  clearTimeout(overlayTimers.get(element));
  overlayTimers.set(element, setTimeout(() => {
    element.classList.add('fading');
    overlayTimers.set(element, setTimeout(() => { element.hidden = true; }, 400));
  }, OSD_MS));
}

// What the screen shows: the foreground application, else the source (the tuner with its
// channel).
function describeSource(p) {
  const app = parseJson(p.launchApp);
  if (app && app.title) {
    return { source: app.title, detail: p.foregroundUrl || '' };
  }
  if (p.extendedSource) {
    return { source: p.extendedSource, detail: '' };
  }
  const input = p.inputSource || '';
  if (input === 'dtv' || input === 'atv') {
    const channel = String(p.channelMajor) + (p.channelMinor > 0 ? '-' + p.channelMinor : '');
    return { source: (input === 'dtv' ? 'TV' : 'Analogue TV') + ' ' + channel, detail: '' };
  }
  return { source: input, detail: '' };
}

// The product has the property (it is not listed as unsupported).
function supports(tv, name) {
  return !(tv.unsupported || []).includes(name);
}

// Multi-view: one tile per source in the layout's arrangement; null hides the tiles.
function renderMultiView(view) {
  const layer = $('multiview-layer');
  layer.hidden = view === null;
  if (view === null || !changedSince('multiView', view)) {
    return;
  }
  layer.className = 'multiview-layer ' + view.layout;
  const sources = view.sources || [];
  layer.replaceChildren(...sources.map((source) => textElement('div', 'tile', source)));
}

// A wall display's cabinets at their rows and columns; null hides the grid.
function renderWall(cabinets) {
  const layer = $('wall-layer');
  layer.hidden = !Array.isArray(cabinets);
  if (layer.hidden || !changedSince('wall', cabinets)) {
    return;
  }
  layer.replaceChildren();
  for (const cabinet of cabinets) {
    const cell = textElement('div', 'cabinet ' + (cabinet.error ? 'error' : cabinet.power),
      cabinet.cabinetId);
    cell.style.gridRow = String(cabinet.row);
    cell.style.gridColumn = String(cabinet.column);
    cell.title = cabinet.error || '';
    cell.appendChild(textElement('span', 'cabinet-temperature', cabinet.temperature + ' \u00b0C'));
    if (cabinet.error) {
      cell.appendChild(textElement('span', 'cabinet-error', cabinet.error));
    }
    layer.appendChild(cell);
  }
}

let lastSeen = null;  // the properties of the previous state, to see what changed

export function renderScreen(tv) {
  const p = tv && tv.properties ? tv.properties : null;
  const on = tv && tv.power === 'on';
  $('now-showing').hidden = !p || !on;
  $('art-layer').hidden = !(p && on && p.artMode === 'on' && supports(tv, 'artMode'));
  const view = p && supports(tv, 'multiView') ? parseJson(p.multiView) : null;
  const split = Boolean(on && view && view.on);
  $('multiview-badge').hidden = !split;
  renderMultiView(split ? view : null);
  $('screen').classList.toggle('portrait',
    Boolean(p && supports(tv, 'displayRotation') && p.displayRotation === 'portrait'));
  renderWall(p && supports(tv, 'wallCabinetStates') ? parseJson(p.wallCabinetStates) : null);
  if (!p) {
    lastSeen = null;
    return;
  }
  const shown = describeSource(p);
  $('source').textContent = shown.source;
  $('source-detail').textContent = shown.detail;
  if (lastSeen !== null && on) {
    if (p.volume !== lastSeen.volume || p.mute !== lastSeen.mute) {
      const osd = $('volume-osd');
      $('volume-label').textContent = p.mute ? 'Muted' : 'Volume ' + p.volume;
      $('volume-fill').style.width = p.volume + '%';
      osd.classList.toggle('muted', p.mute);
      flash(osd);
    }
    if (p.keyPresses !== lastSeen.keyPresses && p.lastKey) {
      $('last-key').textContent = p.lastKey;
      flash($('last-key'));
    }
  }
  lastSeen = p;
}

// The panel's power buttons press the remote's power button.
for (const button of $('power-buttons').querySelectorAll('button')) {
  button.addEventListener('click', () => {
    change('PUT', 'api/tv/power', button.dataset.power, $('tv-message'));
  });
}
