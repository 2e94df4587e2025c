// Opens a lesson preview (orvandel preview) from disk, file://, in headless
// Chromium, clicks every cue row, tries the keys, and prints what the page
// did as JSON; the callers compare it with the package and the deck.
//   node preview-check.mjs FOLDER [SCREENSHOT.png]
import { chromium } from 'playwright-core';
import path from 'node:path';
import { pathToFileURL } from 'node:url';

const [folder, screenshot] = process.argv.slice(2);
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
         '--disable-component-update', '--disable-sync', '--autoplay-policy=no-user-gesture-required'],
});
try {
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 } });
  const result = { requests: [], errors: [], clicks: [], keys: {} };
  page.on('request', r => { if (!r.url().startsWith('file:')) result.requests.push(r.url()); });
  page.on('pageerror', e => result.errors.push(String(e)));
  page.on('console', m => { if (m.type() === 'error') result.errors.push(m.text()); });
  await page.goto(pathToFileURL(path.join(path.resolve(folder), 'index.html')).href);
  await page.waitForFunction(() => document.getElementById('movie').readyState >= 1, null, { timeout: 60000 });

  // What the page shows now.
  const state = () => page.evaluate(() => {
    const video = document.getElementById('movie');
    const rows = [...document.querySelectorAll('#outline .row')];
    return { currentTime: video.currentTime, paused: video.paused,
             highlighted: rows.findIndex(r => r.classList.contains('current')),
             notesTitle: document.getElementById('notes-title')?.textContent ?? null,
             notes: document.getElementById('notes')?.textContent ?? null };
  });
  // Does `act` and waits until the seek it starts has finished.
  const seeking = async act => {
    await page.evaluate(() => {
      const video = document.getElementById('movie');
      window.seekDone = new Promise(ok => {
        video.addEventListener('seeked', ok, { once: true });
        setTimeout(ok, 5000);
      });
    });
    await act();
    await page.evaluate(() => window.seekDone);
    return state();
  };

  const rows = await page.$$eval('#outline .row', items => items.map(li => li.textContent));
  const row = i => page.locator('#outline .row').nth(i);
  result.rows = rows.length;
  for (let i = 0; i < rows.length; ++i) {
    result.clicks.push({ row: i, text: rows[i], ...await seeking(() => row(i).click()) });
  }
  if (rows.length > 1) {
    await seeking(() => row(0).click());
    result.keys.right = await seeking(() => page.keyboard.press('ArrowRight'));
    result.keys.left = await seeking(() => page.keyboard.press('ArrowLeft'));
  }
  await page.keyboard.press(' ');
  await page.waitForTimeout(400);
  result.keys.spacePlays = !(await state()).paused;
  await page.keyboard.press(' ');
  result.keys.spacePauses = (await state()).paused;

  if (screenshot) {
    await seeking(() => row(Math.min(rows.length, Math.ceil(rows.length / 3)) - 1).click());
    await page.waitForTimeout(300);
    await page.screenshot({ path: screenshot, fullPage: true });
  }
  console.log(JSON.stringify(result));
} finally {
  await browser.close();
}
