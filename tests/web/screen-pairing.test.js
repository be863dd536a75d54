// Real-browser test of the TV screen page: the command-line client's pairing request shows the
// pop-up, a click on Allow answers it, the client stores its token and the page lists it, and the
// log panel shows the service's lines. The client's volume change then shows on the screen and in
// the request log, and once the page revokes it its next call is refused. The wire bytes of
// pairing are tested without a browser (tests/host).
// Usage: node screen-pairing.test.js <path of ipcontrold> <path of ipcontrol>.
// Exit 0 passed, 1 failed, 77 skipped.
'use strict';

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const SKIP = 77;
const CHROMIUM = '/usr/bin/chromium';
const TOKEN_LENGTH = 49;
const LOOPBACK_MAC = '02:00:00:00:00:01';  // what the service reports for a local client
const NOT_PAIRED = 8;  // the command-line client's exit code for a refused token
const WAIT_MS = 20000;
// Without the background-networking flags Chromium's own connections are refused by a closed
// network and slow everything down.
const CHROMIUM_ARGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic',
  '--no-first-run', '--disable-background-networking', '--disable-component-update',
  '--disable-sync', '--disable-dev-shm-usage'];

function skip(reason) {
  console.log('skipped: ' + reason);
  process.exit(SKIP);
}

// The daemon as a child process; stderr is collected for waiting on log lines and for failures.
class Daemon {
  constructor(program, args) {
    this.output = '';
    this.exited = false;
    this.child = spawn(program, args, { stdio: ['ignore', 'ignore', 'pipe'] });
    this.child.stderr.on('data', (chunk) => { this.output += chunk.toString(); });
    this.child.on('exit', () => { this.exited = true; });
  }

  // Resolves with the first match of pattern in the output.
  waitFor(pattern) {
    return new Promise((resolve, reject) => {
      const started = Date.now();
      const check = () => {
        const match = this.output.match(pattern);
        if (match) {
          resolve(match);
        } else if (this.exited || Date.now() - started > WAIT_MS) {
          reject(new Error('ipcontrold never logged ' + pattern));
        } else {
          setTimeout(check, 50);
        }
      };
      check();
    });
  }

  stop() {
    if (this.exited) {
      return Promise.resolve();
    }
    return new Promise((resolve) => {
      const timer = setTimeout(() => { this.child.kill('SIGKILL'); }, 10000);
      this.child.once('exit', () => { clearTimeout(timer); resolve(); });
      this.child.kill('SIGTERM');
    });
  }
}

// Runs the command-line client; resolves with its exit code and output.
function runCli(cliPath, configDir, args) {
  return new Promise((resolve, reject) => {
    const child = spawn(cliPath, args, {
      stdio: ['ignore', 'pipe', 'pipe'],
      env: { ...process.env, XDG_CONFIG_HOME: configDir },
    });
    let output = '';
    child.stdout.on('data', (chunk) => { output += chunk.toString(); });
    child.stderr.on('data', (chunk) => { output += chunk.toString(); });
    child.on('error', reject);
    child.on('exit', (code) => resolve({ code, output }));
  });
}

// The command-line client, paired through the page, changes the volume and is revoked on the
// page.
async function volumeThenRevoke(page, cliPath, rpcPort, configDir) {
  const port = ['--port', String(rpcPort)];
  const volume = await runCli(cliPath, configDir, [...port, 'volume', '20']);
  assert.match(volume.output, /Volume 20/);
  assert.equal(volume.code, 0, volume.output);
  await page.waitForFunction(() => document.getElementById('volume-label').textContent === 'Volume 20');
  await page.waitForFunction(() => Array.from(document.querySelectorAll('#requests tr'))
    .some((row) => row.children[2].textContent === 'directVolumeControl'));
  // The request log's newest row: time, client, method, kind, answer, ms.
  const newest = await page.$eval('#requests tr', (row) => Array.from(row.children).map((c) => c.textContent));
  assert.deepEqual(newest.slice(1, 4), [LOOPBACK_MAC, 'directVolumeControl', 'write'], newest.join(' | '));
  assert.match(newest[4], /"volume":20/);

  await page.locator('#clients button[data-mac="' + LOOPBACK_MAC + '"]').click();
  await page.waitForFunction(() => document.querySelectorAll('#clients tr').length === 0);
  const refused = await runCli(cliPath, configDir, [...port, 'call', 'getTVStates']);
  assert.equal(refused.code, NOT_PAIRED, refused.output);
  await page.waitForFunction(() => {
    const first = document.querySelector('#requests tr');
    return first !== null && first.children[2].textContent === 'getTVStates' &&
      first.classList.contains('refused');
  });
}

function withTimeout(promise, ms, what) {
  let timer;
  const timeout = new Promise((resolve, reject) => {
    timer = setTimeout(() => reject(new Error(what + ' did not happen within ' + ms + ' ms')), ms);
  });
  return Promise.race([promise, timeout]).finally(() => clearTimeout(timer));
}

// Every button of the pop-up lies inside the window.
async function expectButtonsVisible(page, size) {
  await page.setViewportSize(size);
  const boxes = await page.$$eval('#popup-buttons button', (buttons) => buttons.map((b) => {
    const r = b.getBoundingClientRect();
    return { left: r.left, top: r.top, right: r.right, bottom: r.bottom };
  }));
  assert.equal(boxes.length, 3);
  for (const box of boxes) {
    assert.ok(box.left >= 0 && box.top >= 0 && box.right <= size.width && box.bottom <= size.height,
      'a button lies outside a ' + size.width + 'x' + size.height + ' window: ' + JSON.stringify(box));
  }
}

async function run(playwright, daemonPath, cliPath, dirs) {
  const daemon = new Daemon(daemonPath, ['--data-dir', dirs.data, '--no-upnp', '--port', '0',
    '--admin-port', '0', '--approval', 'screen']);
  let browser = null;
  let page = null;
  try {
    const [, adminUrl] = await daemon.waitFor(/TV screen and admin API on (http:\/\/127\.0\.0\.1:\d+\/)/);
    const [, rpcText] = await daemon.waitFor(/JSON-RPC server listening on port (\d+)/);
    const rpcPort = Number(rpcText);

    browser = await playwright.chromium.launchPersistentContext(dirs.profile, {
      executablePath: CHROMIUM, headless: true, args: CHROMIUM_ARGS,
      viewport: { width: 1280, height: 720 },
    });
    page = browser.pages()[0] || await browser.newPage();
    await page.goto(adminUrl);
    await page.waitForFunction(() => document.getElementById('connection').textContent === 'Live');

    const pairing = runCli(cliPath, dirs.config, ['--port', String(rpcPort), 'pair']);
    const allow = page.locator('#popup-layer:not([hidden]) button[data-answer="allow"]');
    await allow.waitFor({ timeout: WAIT_MS });
    assert.notEqual((await page.textContent('#popup-title')).trim(), '');
    assert.notEqual((await page.textContent('#popup-content')).trim(), '');
    assert.deepEqual(await page.$$eval('#popup-buttons button', (b) => b.map((e) => e.dataset.answer)),
      ['allow', 'deny', 'close']);
    assert.equal(await page.evaluate(() => document.activeElement.dataset.answer), 'allow',
      'the first button does not have the focus');
    await expectButtonsVisible(page, { width: 390, height: 844 });
    await expectButtonsVisible(page, { width: 1280, height: 720 });

    await allow.click();
    const paired = await withTimeout(pairing, WAIT_MS, 'ipcontrol pair');
    assert.equal(paired.code, 0, paired.output);
    const tokens = JSON.parse(fs.readFileSync(path.join(dirs.config, 'ipcontrol', 'tokens.json')));
    const token = tokens['127.0.0.1:' + rpcPort];
    assert.match(token, new RegExp('^[0-9A-Za-z]{' + TOKEN_LENGTH + '}$'));

    await page.locator('#popup-layer').waitFor({ state: 'hidden' });
    await page.waitForFunction((prefix) => Array.from(document.querySelectorAll('#clients td'))
      .some((cell) => cell.textContent === prefix), token.slice(0, 6) + '\u2026');

    // The log panel follows the service's lines and shows only those at the level chosen.
    await page.waitForFunction(() => Array.from(document.querySelectorAll('#log-lines li'))
      .some((line) => line.textContent.includes('pop-up 1 taken down')));
    await page.selectOption('#log-level', 'error');
    await page.waitForFunction(() => document.querySelector('#log-lines li.info') === null);

    await volumeThenRevoke(page, cliPath, rpcPort, dirs.config);
  } catch (error) {
    if (page !== null) {
      // Beside the test's temporary folder, never in the source tree.
      const shot = path.join(os.tmpdir(), 'ipcontrol-screen-failure.png');
      await page.screenshot({ path: shot }).then(() => console.error('screenshot: ' + shot), () => {});
    }
    console.error('ipcontrold said:\n' + daemon.output.split('\n').slice(-40).join('\n'));
    throw error;
  } finally {
    if (browser !== null) {
      await browser.close();
    }
    await daemon.stop();
  }
}

async function main() {
  const daemonPath = process.argv[2];
  const cliPath = process.argv[3];
  if (!daemonPath || !cliPath) {
    console.error('usage: node screen-pairing.test.js <path of ipcontrold> <path of ipcontrol>');
    process.exit(2);
  }
  let playwright;
  try {
    playwright = require(path.join(__dirname, 'node_modules', 'playwright-core'));
  } catch (error) {
    skip('tests/web/node_modules is missing; run "make web-test-deps"');
  }
  try {
    fs.accessSync(CHROMIUM, fs.constants.X_OK);
  } catch (error) {
    skip(CHROMIUM + ' is not installed');
  }
  const root = fs.mkdtempSync(path.join(os.tmpdir(), 'ipctest-web-'));
  const dirs = { data: path.join(root, 'data'), profile: path.join(root, 'chromium'),
    config: path.join(root, 'config') };
  fs.mkdirSync(dirs.profile);
  fs.mkdirSync(dirs.config);
  try {
    await run(playwright, daemonPath, cliPath, dirs);
    console.log('passed: the command-line client paired through the pop-up, set the volume and ' +
      'was revoked on the page');
  } finally {
    fs.rmSync(root, { recursive: true, force: true });
  }
}

main().catch((error) => {
  console.error('failed: ' + (error && error.stack ? error.stack : error));
  process.exit(1);
});
