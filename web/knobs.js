// The virtual TV's testing knobs and its connected speakers and USB devices, each change sent
// to the admin API (a device list always whole).
import { $, change, changedSince, parseJson, setField, textElement } from './api.js';

function putTv(name, body) {
  change('PUT', 'api/tv/' + name, body, $('knobs-message'));
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
  if (!changedSince(name, list)) {
    return;
  }
  const element = $(name);
  element.replaceChildren();
  for (const device of list) {
    const item = document.createElement('li');
    const label = textElement('span', '', device.name + ' (' + device.id + ')' +
      (device.errorCode ? ' error ' + device.errorCode : '') +
      (device.unavailable ? ' unavailable' : ''));
    const remove = textElement('button', 'small', name === 'speakers' ? 'Disconnect' : 'Unplug');
    remove.type = 'button';
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
export function renderKnobs(tv) {
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
