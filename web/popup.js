// The pairing pop-up over the screen: its texts and buttons as the service set them, the
// countdown to its hide timeout, and the remote-control keys that answer it.
import { $, request, textElement } from './api.js';

let shownPopupId = null;  // id of the pop-up on screen, null when none
let popupDeadline = 0;    // Date.now() at which the pop-up hides itself, 0 when never

function setAnswering(answering) {
  for (const button of $('popup-buttons').querySelectorAll('button')) {
    button.disabled = answering;
  }
}

function answer(name) {
  setAnswering(true);
  // 409 means the pop-up went away meanwhile; the next state event tells the rest.
  request('POST', 'api/notification/' + name).catch(() => {}).finally(() => setAnswering(false));
}

export function renderPopup(popup) {
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
    const label = button.label !== '' ? button.label : 'Button ' + button.number;
    const element = textElement('button', '', label);
    element.type = 'button';
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

export function renderCountdown() {
  const left = popupDeadline > 0 ? Math.max(0, Math.ceil((popupDeadline - Date.now()) / 1000)) : 0;
  $('popup-countdown').textContent = left > 0 ? 'Closes in ' + left + ' s' : '';
}

// Remote-control keys: Enter presses the focused button (the browser does that for buttons),
// Escape dismisses the pop-up, the arrow keys move between its buttons.
document.addEventListener('keydown', (event) => {
  if ($('popup-layer').hidden) {
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
