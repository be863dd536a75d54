// The screen page's shared helpers: element lookup, the admin API's requests and the small
// formatting every section uses.

export const $ = (id) => document.getElementById(id);

export async function request(method, path, body) {
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

// A change asked of the service: message shows the refusal (the reply's error text when it has
// one, else its HTTP status) or that the TV cannot be reached, and is cleared on success. Resolves
// with the reply, or null when none came.
export async function change(method, path, body, message) {
  try {
    const result = await request(method, path, body);
    message.textContent = result.ok ? ''
      : (result.data && result.data.error) || 'Refused (HTTP ' + result.status + ')';
    return result;
  } catch (error) {
    message.textContent = 'The TV cannot be reached';
    return null;
  }
}

// Whether value differs from what was last drawn under key. A state comes with every request and
// log line; redrawing a list that did not change would swallow a click on its buttons.
const drawn = new Map();
export function changedSince(key, value) {
  const text = JSON.stringify(value);
  if (drawn.has(key) && drawn.get(key) === text) {
    return false;
  }
  drawn.set(key, text);
  return true;
}

// An element showing text, never read as HTML.
export function textElement(tag, className, text) {
  const element = document.createElement(tag);
  element.className = className;
  element.textContent = text;
  return element;
}

export function parseJson(text) {
  try {
    return JSON.parse(text);
  } catch (ignored) {
    return null;
  }
}

// A field being edited keeps what the viewer typed.
export function setField(id, value) {
  const field = $(id);
  if (document.activeElement !== field && value !== null && value !== undefined) {
    field.value = value;
  }
}

// "HH:MM", with ":SS" and ".mmm" when asked, in local time.
export function timeOfDay(when, seconds, millis) {
  const two = (n) => String(n).padStart(2, '0');
  let text = two(when.getHours()) + ':' + two(when.getMinutes());
  if (seconds) {
    text += ':' + two(when.getSeconds());
  }
  if (millis) {
    text += '.' + String(when.getMilliseconds()).padStart(3, '0');
  }
  return text;
}
