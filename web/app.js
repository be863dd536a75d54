// The TV screen page: follows the service's state over server-sent events (or by polling
// without EventSource) and hands each state to the screen's sections.
import { $, request, timeOfDay } from './api.js';
import { renderKnobs } from './knobs.js';
import { followLog, renderRequests } from './logs.js';
import { renderClients, renderProduct, renderSettings } from './panel.js';
import { renderCountdown, renderPopup } from './popup.js';
import { renderScreen, renderTv } from './tv.js';

const RECONNECT_MS = 2000;

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
  $('clock').textContent = timeOfDay(new Date(), false, false);
  renderCountdown();
}

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
      } else {
        setConnection('The TV refused its state (HTTP ' + result.status + '); retrying…', true);
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
