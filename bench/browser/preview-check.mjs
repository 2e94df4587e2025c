// Opens a lesson preview (orvandel preview) from disk, file://, in headless
// Chromium, clicks every cue row, tries the keys, and prints what the page
// did as JSON; the callers compare it with the package and the deck. With a
// screenshot path it also looks at the picture each step row shows, the
// search box, the speed, a keyboard-only visit and the events a page that
// embeds this one hears, and keeps screenshots beside the given one
// (NAME.png at load, NAME-step.png after a click on a step, NAME-search.png
// with the search used).
//   node preview-check.mjs FOLDER [SCREENSHOT.png]
import { chromium } from 'playwright-core';
import path from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import fs from 'node:fs';

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

  // The page as it opens, before anything is clicked.
  if (screenshot) {
    await page.waitForFunction(() => document.getElementById('movie').readyState >= 2, null, { timeout: 60000 });
    await page.waitForTimeout(800);  // the player's loading circle fades out
    await page.screenshot({ path: screenshot, fullPage: true });
  }

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
    const shot = suffix => screenshot.replace(/\.png$/, '') + suffix + '.png';

    // The movie's picture at a time, paused there; without the controls, whose clock moves.
    await page.evaluate(() => { document.getElementById('movie').controls = false; });
    const frameAt = async ms => {
      await seeking(() => page.evaluate(ms => { window.orvandelLesson.seek(ms); }, ms));
      return (await page.locator('#movie').screenshot()).toString('base64');
    };
    // The share of pixels that differ clearly between two pictures: the
    // movie is lossy, so two frames of one still picture differ a little.
    const differing = (a, b) => page.evaluate(async ([a, b]) => {
      const pixels = async data => {
        const image = new Image();
        image.src = 'data:image/png;base64,' + data;
        await image.decode();
        const canvas = document.createElement('canvas');
        [canvas.width, canvas.height] = [image.width, image.height];
        const context = canvas.getContext('2d');
        context.drawImage(image, 0, 0);
        return context.getImageData(0, 0, image.width, image.height).data;
      };
      const [p, q] = [await pixels(a), await pixels(b)];
      let count = 0;
      for (let i = 0; i < p.length; i += 4) {
        if (Math.max(Math.abs(p[i] - q[i]), Math.abs(p[i + 1] - q[i + 1]), Math.abs(p[i + 2] - q[i + 2])) > 40) ++count;
      }
      return count / (p.length / 4);
    }, [a, b]);
    const cues = await page.evaluate(() => JSON.parse(document.getElementById('lesson').textContent).cues);
    // A step row: the picture at its cue is the one the step left (the same
    // 300 ms before: its change had ended) and not the row before's.
    result.steps = [];
    for (let i = 1; i < cues.length && result.steps.length < 8; ++i) {
      if (cues[i].slide !== cues[i - 1].slide) continue;
      const before = await frameAt(cues[i - 1].timeMs);
      const settled = await frameAt(cues[i].timeMs - 300);
      const clicked = await seeking(() => row(i).click());
      const shown = (await page.locator('#movie').screenshot()).toString('base64');
      const [sinceSettled, sinceBefore] = [await differing(shown, settled), await differing(shown, before)];
      result.steps.push({ row: i, label: cues[i].label, currentTime: clicked.currentTime, paused: clicked.paused,
                          sinceSettled, sinceBefore, settled: sinceSettled < 0.001, changed: sinceBefore > 0.002 });
    }
    await page.evaluate(() => { document.getElementById('movie').controls = true; });
    const firstStep = result.steps.find(s => s.changed);
    if (firstStep) {
      await seeking(() => row(firstStep.row).click());
      await page.waitForTimeout(300);
      await page.screenshot({ path: shot('-step'), fullPage: true });
    }

    // The search: rows left, the message, and everything back when cleared.
    const visibleRows = () => page.$$eval('#outline .row', rows => rows.filter(r => r.offsetParent !== null)
      .map(r => r.querySelector('.label').textContent));
    result.search = {};
    for (const words of ['clorofila', 'AGUA', 'nada disso existe']) {
      await page.fill('#search', words);
      result.search[words] = { rows: await visibleRows(), found: await page.textContent('#found') };
      if (words === 'AGUA') await page.screenshot({ path: shot('-search'), fullPage: true });
    }
    await page.fill('#search', '');
    result.search.cleared = (await visibleRows()).length;

    // Folding a slide hides its rows and says so.
    const toggle = page.locator('.toggle').first();
    await toggle.click();
    result.fold = { expanded: await toggle.getAttribute('aria-expanded'), rows: (await visibleRows()).length };
    await toggle.click();

    result.speed = {};
    for (const value of ['0.75', '1.5', '2', '1']) {
      await page.selectOption('#speed', value);
      result.speed[value] = await page.evaluate(() => document.getElementById('movie').playbackRate);
    }

    // Keyboard only: Tab from the top of the page to a step row, Enter on it, space plays and pauses.
    await page.reload();
    await page.waitForFunction(() => document.getElementById('movie').readyState >= 1, null, { timeout: 60000 });
    const target = result.steps.length ? result.steps[0].row : 0;
    const focusables = [];
    let reached = false;
    for (let tab = 0; tab < 80 && !reached; ++tab) {
      await page.keyboard.press('Tab');
      const focus = await page.evaluate(target => {
        const e = document.activeElement;
        const rows = [...document.querySelectorAll('#outline .row')];
        return { tag: e.tagName.toLowerCase(), id: e.id, cls: e.className, row: rows.indexOf(e),
                 target: rows.indexOf(e) === target };
      }, target);
      focusables.push(focus.id || focus.cls.split(' ')[0] || focus.tag);
      reached = focus.target;
    }
    result.keyboard = { reached, tabs: focusables.length, order: focusables.slice(0, 8) };
    if (reached) {
      const entered = await seeking(() => page.keyboard.press('Enter'));
      result.keyboard.enter = { currentTime: entered.currentTime, paused: entered.paused,
                                highlighted: entered.highlighted, cueTime: cues[target].timeMs / 1000 };
      await page.keyboard.press(' ');
      await page.waitForTimeout(400);
      result.keyboard.spacePlays = !(await state()).paused;
      await page.keyboard.press(' ');
      result.keyboard.spacePauses = (await state()).paused;
    }

    // The accessibility rules of axe-core, where it is installed: the page as loaded, then with the search used.
    const axe = path.join(path.dirname(fileURLToPath(import.meta.url)), 'node_modules', 'axe-core', 'axe.min.js');
    if (fs.existsSync(axe)) {
      await page.addScriptTag({ path: axe });
      result.axe = [];
      for (const words of ['', 'agua']) {
        await page.fill('#search', words);
        const found = await page.evaluate(() => window.axe.run(document).then(r => r.violations.map(v => ({
          id: v.id, impact: v.impact, help: v.help, nodes: v.nodes.map(n => n.target.join(' ')).slice(0, 5) }))));
        for (const v of found) if (!result.axe.some(w => w.id === v.id)) result.axe.push(v);
      }
      await page.fill('#search', '');
    }

    // What a page that embeds this one hears, and its handle on the movie.
    await page.evaluate(() => {
      window.heard = { progress: 0, chapters: [], ended: 0, lastProgress: null };
      document.addEventListener('orvandel:progress', e => { ++window.heard.progress; window.heard.lastProgress = e.detail; });
      document.addEventListener('orvandel:chapter', e => window.heard.chapters.push(e.detail.slide));
      document.addEventListener('orvandel:ended', () => ++window.heard.ended);
    });
    const duration = await page.evaluate(() => window.orvandelLesson.durationMs());
    await page.evaluate(() => { window.orvandelLesson.seek(0); document.getElementById('movie').play(); });
    await page.waitForTimeout(1500);
    await page.evaluate(d => { window.orvandelLesson.seek(d - 400); }, duration);
    await page.waitForFunction(() => window.heard.ended > 0, null, { timeout: 10000 }).catch(() => {});
    result.events = { durationMs: duration, ...await page.evaluate(() => window.heard) };
  }
  console.log(JSON.stringify(result));
} finally {
  await browser.close();
}
