// The panel's settings, product profile and paired clients: shown from the state and changed
// in place through the admin API.
import { $, change, changedSince, setField, textElement } from './api.js';

export function renderSettings(settings) {
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

export function renderProduct(product) {
  $('product-profile').textContent = product ? product.profile : '–';
  $('product-profile').title = product ? product.file : '';
}

// Revoking or resetting goes to the running service, which answers once its list changed.
function changeClients(path) {
  return change('DELETE', path, undefined, $('clients-message'));
}

export function renderClients(clients) {
  const list = clients || [];
  if (!changedSince('clients', list)) {
    return;
  }
  const body = $('clients');
  body.replaceChildren();
  for (const client of list) {
    const row = document.createElement('tr');
    for (const text of [client.MacAddr, String(client.AccessClass), client.AccessToken]) {
      row.appendChild(textElement('td', '', text));
    }
    const action = document.createElement('td');
    const revoke = textElement('button', 'small danger', 'Revoke');
    revoke.type = 'button';
    revoke.dataset.mac = client.MacAddr;
    revoke.addEventListener('click', async () => {
      revoke.disabled = true;
      const result = await changeClients('api/clients/' + encodeURIComponent(client.MacAddr));
      // A refusal leaves the list as it was, so no redraw brings the button back.
      if (result === null || !result.ok) {
        revoke.disabled = false;
      }
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
  changeClients('api/clients');
});

async function saveSetting(name, value) {
  const result = await change('PUT', 'api/settings/' + name, value, $('settings-message'));
  if (result !== null && result.ok) {
    renderSettings(result.data);
  }
}

$('settings').addEventListener('submit', (event) => event.preventDefault());
$('ipRemoteSupport').addEventListener('change', (event) => {
  saveSetting('ipRemoteSupport', event.target.checked ? 1 : 0);
});
for (const name of ['deviceName', 'language', 'country']) {
  $(name).addEventListener('change', (event) => saveSetting(name, event.target.value));
}
