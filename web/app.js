// The TV screen page: follows the service's state over server-sent events, answers the pop-up,
// changes settings, paired clients and the virtual TV's testing knobs through the admin API, and
// shows the service's recent log lines.
'use strict';

(function () {
  const RECONNECT_MS = 2000;
  const OSD_MS = 2000;  // how long an overlay stays before it fades
  const $ = (id) => document.getElementById(id);

  let shownPopupId = null;  // id of the pop-up on screen, null when none
  let popupDeadline = 0;    // Date.now() at which the pop-up hides itself, 0 when never

  // --- Talking to the admin API -------------------------------------------------------------

  async function request(method, path, body) {
    const init = { method, headers: {} };
    if (body !== undefined) {
      init.headers['Content-Type'] = 'application/json';
      init.body = JSON.stringify(body);
    }
    const response = await fetch(path, init);
    let data = null;
    try {
      data = await response.json();
    } catch (ignored) {
      // An answer without a JSON body; the status says enough.
    }
    return { ok: response.ok, status: response.status, data };
  }

  function answer(name) {
    for (const button of $('popup-buttons').querySelectorAll('button')) {
      button.disabled = true;
    }
    // 409 means the pop-up went away meanwhile; the next state event tells the rest.
    request('POST', 'api/notification/' + name).catch(() => {}).finally(() => {
      for (const button of $('popup-buttons').querySelectorAll('button')) {
        button.disabled = false;
      }
    });
  }

  // --- The pop-up ---------------------------------------------------------------------------

  function renderPopup(popup) {
    const layer = $('popup-layer');
    if (popup === null || popup === undefined) {
      layer.hidden = true;
      shownPopupId = null;
      popupDeadline = 0;
      renderCountdown();
      return;
    }
    popupDeadline = popup.remainingMs > 0 ? Date.now() + popup.remainingMs : 0;
    renderCountdown();
    if (popup.id === shownPopupId) {
      return;
    }
    shownPopupId = popup.id;
    $('popup-title').textContent = popup.title;
    $('popup-content').textContent = popup.content;
    const buttons = $('popup-buttons');
    buttons.replaceChildren();
    for (const button of popup.buttons) {
      const element = document.createElement('button');
      element.type = 'button';
      element.textContent = button.label !== '' ? button.label : 'Button ' + button.number;
      element.dataset.answer = button.answer;
      element.addEventListener('click', () => answer(button.answer));
      buttons.appendChild(element);
    }
    layer.hidden = false;
    const first = buttons.querySelector('button');
    if (first !== null) {
      first.focus();
    }
  }

  function renderCountdown() {
    const left = popupDeadline > 0 ? Math.max(0, Math.ceil((popupDeadline - Date.now()) / 1000)) : 0;
    $('popup-countdown').textContent = left > 0 ? 'Closes in ' + left + ' s' : '';
  }

  function popupVisible() {
    return !$('popup-layer').hidden;
  }

  // Remote-control keys: Enter presses the focused button (the browser does that for buttons),
  // Escape dismisses the pop-up, the arrow keys move between its buttons.
  document.addEventListener('keydown', (event) => {
    if (!popupVisible()) {
      return;
    }
    const buttons = Array.from($('popup-buttons').querySelectorAll('button'));
    if (event.key === 'Escape') {
      event.preventDefault();
      answer('dismiss');
    } else if (event.key === 'ArrowLeft' || event.key === 'ArrowRight') {
      event.preventDefault();
      const step = event.key === 'ArrowLeft' ? -1 : 1;
      const at = buttons.indexOf(document.activeElement);
      const next = buttons[(at + step + buttons.length) % buttons.length];
      if (next !== undefined) {
        next.focus();
      }
    } else if (event.key === 'Enter' && !buttons.includes(document.activeElement)) {
      event.preventDefault();  // Enter only ever presses the button that has the focus
    }
  });

  // --- The screen and the panel -------------------------------------------------------------

  function setField(id, value) {
    const field = $(id);
    if (document.activeElement !== field && value !== null && value !== undefined) {
      field.value = value;
    }
  }

  function renderSettings(settings) {
    if (settings === null || settings === undefined) {
      return;
    }
    $('device-name').textContent = settings.deviceName || '\u00a0';
    const on = settings.ipRemoteSupport === 1;
    const status = $('ip-status');
    status.textContent = on ? 'IP remote control on' : 'IP remote control off';
    status.classList.toggle('off', !on);
    $('ipRemoteSupport').checked = on;
    setField('deviceName', settings.deviceName);
    setField('language', settings.language);
    setField('country', settings.country);
  }

  function renderProduct(product) {
    $('product-profile').textContent = product ? product.profile : '–';
    $('product-profile').title = product ? product.file : '';
  }

  // The reply's error text, or a fallback when it has none.
  function failure(result, fallback) {
    return (result.data && result.data.error) || fallback;
  }

  // Revoking or resetting goes to the running service, which answers once its list changed.
  async function changeClients(path, message) {
    try {
      const result = await request('DELETE', path);
      message.textContent = result.ok ? '' : failure(result, 'Refused');
    } catch (error) {
      message.textContent = 'The TV cannot be reached';
    }
  }

  function renderClients(clients) {
    const body = $('clients');
    body.replaceChildren();
    for (const client of clients || []) {
      const row = document.createElement('tr');
      for (const text of [client.MacAddr, String(client.AccessClass), client.AccessToken]) {
        const cell = document.createElement('td');
        cell.textContent = text;
        row.appendChild(cell);
      }
      const action = document.createElement('td');
      const revoke = document.createElement('button');
      revoke.type = 'button';
      revoke.className = 'small danger';
      revoke.textContent = 'Revoke';
      revoke.dataset.mac = client.MacAddr;
      revoke.addEventListener('click', () => {
        revoke.disabled = true;
        changeClients('api/clients/' + encodeURIComponent(client.MacAddr), $('clients-message'));
      });
      action.appendChild(revoke);
      row.appendChild(action);
      body.appendChild(row);
    }
    $('clients-empty').hidden = body.children.length > 0;
    $('clients-reset').hidden = body.children.length === 0;
  }

  // Forgetting every client takes a second click within a few seconds.
  let resetArmed = null;
  $('clients-reset').addEventListener('click', () => {
    const button = $('clients-reset');
    if (resetArmed === null) {
      button.textContent = 'Click again to forget all';
      resetArmed = setTimeout(() => {
        resetArmed = null;
        button.textContent = 'Forget all clients';
      }, 4000);
      return;
    }
    clearTimeout(resetArmed);
    resetArmed = null;
    button.textContent = 'Forget all clients';
    changeClients('api/clients', $('clients-message'));
  });

  // --- The request log ----------------------------------------------------------------------

  let lastRequestSeq = -1;

  function requestOutcome(entry) {
    if (entry.status !== 200) {
      return 'refused ' + entry.status + (entry.errorCode ? ' ' + entry.errorCode : '') +
        (entry.errorMessage ? ' ' + entry.errorMessage : '');
    }
    if (entry.errorCode) {
      return 'error ' + entry.errorCode + ' ' + entry.errorMessage;
    }
    return entry.answer;
  }

  // Newest first; redrawn only when a request was added.
  function renderRequests(entries) {
    const list = entries || [];
    const newest = list.length > 0 ? list[list.length - 1].seq : 0;
    if (newest === lastRequestSeq) {
      return;
    }
    lastRequestSeq = newest;
    const body = $('requests');
    const rows = [];
    for (let i = list.length - 1; i >= 0; --i) {
      const entry = list[i];
      const row = document.createElement('tr');
      row.className = entry.status !== 200 ? 'refused' : (entry.errorCode ? 'failed' : 'ok');
      const when = new Date(entry.time);
      const two = (n) => String(n).padStart(2, '0');
      const outcome = requestOutcome(entry);
      const cells = [two(when.getHours()) + ':' + two(when.getMinutes()) + ':' + two(when.getSeconds()),
        entry.client || '–', entry.method || '(unparsable)', entry.kind, outcome, String(entry.ms)];
      const columns = ['time', 'client', 'method', 'kind', 'answer', 'ms'];
      cells.forEach((text, index) => {
        const cell = document.createElement('td');
        cell.textContent = text;
        cell.className = columns[index];
        if (columns[index] === 'answer') {
          cell.title = outcome;
        }
        row.appendChild(cell);
      });
      rows.push(row);
    }
    body.replaceChildren(...rows);
    $('requests-empty').hidden = rows.length > 0;
    $('requests-count').textContent = rows.length > 0 ? '(' + rows.length + ')' : '';
  }

  // --- The service's log --------------------------------------------------------------------

  const LOG_SHOWN = 200;  // the newest lines that the panel shows
  let logSeen = -1;       // the state's latest line number when the list was last fetched
  let logFetching = false;
  let logStale = false;   // something changed while a fetch was under way

  // The lines are fetched when the state announces new ones or the level changes; one fetch at a
  // time, so a busy log costs the page one request per state it receives at most.
  async function fetchLog() {
    if (logFetching) {
      logStale = true;
      return;
    }
    logFetching = true;
    try {
      const level = encodeURIComponent($('log-level').value);
      const result = await request('GET', 'api/log?level=' + level);
      if (result.ok && result.data) {
        renderLog(result.data.lines || []);
      }
    } catch (ignored) {
      // The connection line already tells that the TV cannot be reached.
    } finally {
      logFetching = false;
      if (logStale) {
        logStale = false;
        fetchLog();
      }
    }
  }

  function followLog(log) {
    const last = log ? log.last : 0;
    if (last !== logSeen) {
      logSeen = last;
      fetchLog();
    }
  }

  // Newest first, as the requests.
  function renderLog(lines) {
    const items = lines.slice(-LOG_SHOWN).reverse().map((line) => {
      const item = document.createElement('li');
      item.className = line.level;
      const when = new Date(line.time);
      const two = (n) => String(n).padStart(2, '0');
      const parts = [
        ['when', two(when.getHours()) + ':' + two(when.getMinutes()) + ':' +
          two(when.getSeconds()) + '.' + String(when.getMilliseconds()).padStart(3, '0') + ' '],
        ['level', line.level.charAt(0).toUpperCase() + ' '],
        ['tag', line.tag + ': '],
        ['text', line.text],
      ];
      for (const [name, text] of parts) {
        const span = document.createElement('span');
        span.className = name;
        span.textContent = text;
        item.appendChild(span);
      }
      return item;
    });
    $('log-lines').replaceChildren(...items);
    $('log-empty').hidden = items.length > 0;
    $('log-count').textContent = items.length > 0 ? '(' + items.length + ')' : '';
  }

  $('log-level').addEventListener('change', fetchLog);

  // The TV itself: dark in standby, "Restarting…" while it reboots, badges for the ambient
  // screen and an unavailable service. A state without the TV section shows the TV on.
  function renderTv(tv) {
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

  function parseJson(text) {
    try {
      return JSON.parse(text);
    } catch (ignored) {
      return null;
    }
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
    if (view === null) {
      return;
    }
    layer.className = 'multiview-layer ' + view.layout;
    layer.replaceChildren();
    for (const source of view.sources || []) {
      const tile = document.createElement('div');
      tile.className = 'tile';
      tile.textContent = source;
      layer.appendChild(tile);
    }
  }

  // A wall display's cabinets at their rows and columns; null hides the grid.
  function renderWall(cabinets) {
    const layer = $('wall-layer');
    layer.hidden = !Array.isArray(cabinets);
    if (layer.hidden) {
      return;
    }
    layer.replaceChildren();
    for (const cabinet of cabinets) {
      const cell = document.createElement('div');
      cell.className = 'cabinet ' + (cabinet.error ? 'error' : cabinet.power);
      cell.style.gridRow = String(cabinet.row);
      cell.style.gridColumn = String(cabinet.column);
      cell.title = cabinet.error || '';
      cell.textContent = cabinet.cabinetId;
      const temperature = document.createElement('span');
      temperature.className = 'cabinet-temperature';
      temperature.textContent = cabinet.temperature + ' \u00b0C';
      cell.appendChild(temperature);
      if (cabinet.error) {
        const error = document.createElement('span');
        error.className = 'cabinet-error';
        error.textContent = cabinet.error;
        cell.appendChild(error);
      }
      layer.appendChild(cell);
    }
  }

  let lastSeen = null;  // the properties of the previous state, to see what changed

  // The picture itself: source or application, art mode, multi-view, rotation, a wall's
  // cabinets, and the overlays for a change of volume or a key press.
  function renderScreen(tv) {
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

  async function pressPower(word) {
    const message = $('tv-message');
    try {
      const result = await request('PUT', 'api/tv/power', word);
      message.textContent = result.ok ? '' : (result.data && result.data.error) || 'Refused';
    } catch (error) {
      message.textContent = 'The TV cannot be reached';
    }
  }

  for (const button of $('power-buttons').querySelectorAll('button')) {
    button.addEventListener('click', () => pressPower(button.dataset.power));
  }

  // --- Testing knobs ------------------------------------------------------------------------

  async function putTv(name, body) {
    const message = $('knobs-message');
    try {
      const result = await request('PUT', 'api/tv/' + name, body);
      message.textContent = result.ok ? '' : failure(result, 'Refused');
    } catch (error) {
      message.textContent = 'The TV cannot be reached';
    }
  }

  for (const input of $('knobs').querySelectorAll('input[data-knob]')) {
    input.addEventListener('change', () => {
      putTv('knobs', { [input.dataset.knob]: Number(input.value) });
    });
  }
  for (const input of $('knobs').querySelectorAll('input[data-flag]')) {
    input.addEventListener('change', () => putTv('knobs', { [input.dataset.flag]: input.checked }));
  }
  $('knob-failApply').addEventListener('click', () => {
    putTv('knobs', { failNext: { count: Number($('knob-failCount').value),
      error: Number($('knob-failError').value) } });
  });
  $('knobs').addEventListener('submit', (event) => event.preventDefault());

  // The connected devices as the TV lists them, kept for the next whole-list change.
  const devices = { speakers: [], usbDevices: [] };

  function renderDevices(name, list) {
    devices[name] = list;
    const element = $(name);
    element.replaceChildren();
    for (const device of list) {
      const item = document.createElement('li');
      const label = document.createElement('span');
      label.textContent = device.name + ' (' + device.id + ')' +
        (device.errorCode ? ' error ' + device.errorCode : '') + (device.unavailable ? ' unavailable' : '');
      const remove = document.createElement('button');
      remove.type = 'button';
      remove.className = 'small';
      remove.textContent = name === 'speakers' ? 'Disconnect' : 'Unplug';
      remove.addEventListener('click', () => {
        putTv(name, devices[name].filter((other) => other.id !== device.id));
      });
      item.append(label, remove);
      element.appendChild(item);
    }
  }

  for (const name of ['speakers', 'usbDevices']) {
    const form = $(name + '-add');
    form.querySelector('button').addEventListener('click', () => {
      const added = {};
      for (const input of form.querySelectorAll('input')) {
        added[input.dataset.field] = input.value.trim();
      }
      if (added.id === '' || added.name === '') {
        $('knobs-message').textContent = 'A device needs an id and a name';
        return;
      }
      putTv(name, devices[name].filter((other) => other.id !== added.id).concat([added]));
      for (const input of form.querySelectorAll('input')) {
        input.value = '';
      }
    });
  }

  // Only the parts the TV reports; a field being edited keeps what the viewer typed.
  function renderKnobs(tv) {
    $('knobs').hidden = !tv;
    if (!tv) {
      return;
    }
    const knobs = tv.knobs || {};
    for (const name of ['latencyMs', 'jitterMs', 'rebootMs']) {
      setField('knob-' + name, knobs[name]);
    }
    if (knobs.failNext) {
      setField('knob-failCount', knobs.failNext.count);
      setField('knob-failError', knobs.failNext.error);
    }
    $('knob-tvServiceAvailable').checked = Boolean(knobs.tvServiceAvailable);
    $('knob-wallServiceAvailable').checked = Boolean(knobs.wallServiceAvailable);
    const p = tv.properties || {};
    // USB devices are read with the optional members the TV keeps.
    const usb = (parseJson(p.connectedExtendedSourceList) || []).map((d) => {
      const device = { name: d.name, id: d.id };
      for (const key of ['uniqueKey', 'errorCode', 'unavailable']) {
        if (d[key] !== undefined && d[key] !== '' && d[key] !== null) {
          device[key] = d[key];
        }
      }
      return device;
    });
    renderDevices('speakers', (parseJson(p.connectedExternalSpeakerList) || [])
      .map((d) => ({ id: d.id, name: d.name })));
    renderDevices('usbDevices', usb);
  }

  function render(state) {
    renderTv(state.tv);
    renderScreen(state.tv);
    renderSettings(state.settings);
    renderProduct(state.product);
    renderClients(state.clients);
    renderKnobs(state.tv);
    renderRequests(state.requests);
    renderPopup(state.notification);
    followLog(state.log);
  }

  function tick() {
    const now = new Date();
    const two = (n) => String(n).padStart(2, '0');
    $('clock').textContent = two(now.getHours()) + ':' + two(now.getMinutes());
    renderCountdown();
  }

  // --- Settings form ------------------------------------------------------------------------

  async function saveSetting(name, value) {
    const message = $('settings-message');
    try {
      const result = await request('PUT', 'api/settings/' + name, value);
      message.textContent = result.ok ? '' : (result.data && result.data.error) || 'Refused';
      if (result.ok) {
        renderSettings(result.data);
      }
    } catch (error) {
      message.textContent = 'The TV cannot be reached';
    }
  }

  $('settings').addEventListener('submit', (event) => event.preventDefault());
  $('ipRemoteSupport').addEventListener('change', (event) => {
    saveSetting('ipRemoteSupport', event.target.checked ? 1 : 0);
  });
  for (const name of ['deviceName', 'language', 'country']) {
    $(name).addEventListener('change', (event) => saveSetting(name, event.target.value));
  }

  // --- Live updates -------------------------------------------------------------------------

  function setConnection(text, lost) {
    const element = $('connection');
    element.textContent = text;
    element.classList.toggle('lost', lost);
  }

  function poll() {
    request('GET', 'api/state')
      .then((result) => {
        if (result.ok) {
          render(result.data);
          setConnection('Live (polling)', false);
        }
      })
      .catch(() => setConnection('The TV cannot be reached; retrying…', true))
      .finally(() => setTimeout(poll, RECONNECT_MS));
  }

  function connect() {
    const events = new EventSource('api/events');
    events.addEventListener('state', (event) => {
      render(JSON.parse(event.data));
      setConnection('Live', false);
    });
    events.addEventListener('error', () => {
      setConnection('Connection lost; reconnecting…', true);
      // The browser retries by itself unless it gave up; then start over.
      if (events.readyState === EventSource.CLOSED) {
        events.close();
        setTimeout(connect, RECONNECT_MS);
      }
    });
  }

  tick();
  setInterval(tick, 250);
  if (typeof EventSource === 'function') {
    connect();
  } else {
    poll();
  }
})();
