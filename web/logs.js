// Under the screen, the latest JSON-RPC requests; at the end of the panel, the service's recent
// log lines. Both newest first.
import { $, changedSince, request, textElement, timeOfDay } from './api.js';

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

// Redrawn only when a request was added.
export function renderRequests(entries) {
  const list = entries || [];
  if (!changedSince('requests', list.length > 0 ? list[list.length - 1].seq : 0)) {
    return;
  }
  const columns = ['time', 'client', 'method', 'kind', 'answer', 'ms'];
  const rows = [];
  for (let i = list.length - 1; i >= 0; --i) {
    const entry = list[i];
    const row = document.createElement('tr');
    row.className = entry.status !== 200 ? 'refused' : (entry.errorCode ? 'failed' : 'ok');
    const outcome = requestOutcome(entry);
    const cells = [timeOfDay(new Date(entry.time), true, false), entry.client || '–',
      entry.method || '(unparsable)', entry.kind, outcome, String(entry.ms)];
    cells.forEach((text, index) => row.appendChild(textElement('td', columns[index], text)));
    row.querySelector('.answer').title = outcome;
    rows.push(row);
  }
  $('requests').replaceChildren(...rows);
  $('requests-empty').hidden = rows.length > 0;
  $('requests-count').textContent = rows.length > 0 ? '(' + rows.length + ')' : '';
}

const LOG_SHOWN = 200;  // the newest lines that the panel shows
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

// The state's latest line number tells whether there are new lines.
export function followLog(log) {
  if (changedSince('log', log ? log.last : 0)) {
    fetchLog();
  }
}

function renderLog(lines) {
  const items = lines.slice(-LOG_SHOWN).reverse().map((line) => {
    const item = document.createElement('li');
    item.className = line.level;
    const parts = [
      ['when', timeOfDay(new Date(line.time), true, true) + ' '],
      ['level', line.level.charAt(0).toUpperCase() + ' '],
      ['tag', line.tag + ': '],
      ['text', line.text],
    ];
    item.append(...parts.map(([name, text]) => textElement('span', name, text)));
    return item;
  });
  $('log-lines').replaceChildren(...items);
  $('log-empty').hidden = items.length > 0;
  $('log-count').textContent = items.length > 0 ? '(' + items.length + ')' : '';
}

$('log-level').addEventListener('change', fetchLog);
