// Launches a SCORM package (orvandel scorm, unpacked) twice in headless
// Chromium, framed by scorm-harness.html, whose window.API is scorm-again's
// SCORM 1.2 API, served from 127.0.0.1. First launch: the movie is played
// from near its end to its end, then the student goes back to the middle
// and leaves. Second launch: with the first's cmi data, as an LMS resumes.
// Prints both launches' calls and what the SCO showed, as JSON.
//   node scorm-check.mjs FOLDER
import { chromium } from 'playwright-core';
import http from 'node:http';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const [folder] = process.argv.slice(2);
const roots = { '/sco/': path.resolve(folder), '/scorm-again/': path.join(here, 'node_modules/scorm-again/dist') };
const types = { '.html': 'text/html', '.js': 'text/javascript', '.mp4': 'video/mp4', '.xml': 'text/xml' };

// Serves the harness, scorm-again and the package, with byte ranges (a
// movie is only seekable over HTTP when its server takes them).
const server = http.createServer((request, response) => {
  const url = decodeURIComponent(new URL(request.url, 'http://x').pathname);
  let file = url === '/' ? path.join(here, 'scorm-harness.html') : null;
  for (const [prefix, root] of Object.entries(roots)) {
    if (url.startsWith(prefix)) file = path.join(root, path.normalize(url.slice(prefix.length)));
  }
  if (url === '/favicon.ico') { response.writeHead(204).end(); return; }
  if (!file || !fs.existsSync(file)) { response.writeHead(404).end(); return; }
  const size = fs.statSync(file).size;
  const headers = { 'Content-Type': types[path.extname(file)] || 'application/octet-stream', 'Accept-Ranges': 'bytes' };
  const range = /bytes=(\d+)-(\d*)/.exec(request.headers.range || '');
  if (!range) { response.writeHead(200, { ...headers, 'Content-Length': size }); fs.createReadStream(file).pipe(response); return; }
  const start = Number(range[1]), end = range[2] ? Math.min(Number(range[2]), size - 1) : size - 1;
  response.writeHead(206, { ...headers, 'Content-Length': end - start + 1, 'Content-Range': `bytes ${start}-${end}/${size}` });
  fs.createReadStream(file, { start, end }).pipe(response);
});
await new Promise(ok => server.listen(0, '127.0.0.1', ok));
const origin = `http://127.0.0.1:${server.address().port}`;

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
         '--disable-component-update', '--disable-sync', '--autoplay-policy=no-user-gesture-required'],
});
const result = { errors: [] };
try {
  const page = await browser.newPage({ viewport: { width: 1280, height: 820 } });
  page.on('pageerror', e => result.errors.push(String(e)));
  page.on('console', m => { if (m.type() === 'error') result.errors.push(m.text()); });
  const sco = () => page.frame({ url: /\/sco\/index\.html/ });
  // A launch of its own: another query, not only another fragment, reloads the harness.
  const open = async (launch, cmi) => {
    await page.goto(`${origin}/?launch=${launch}` + (cmi ? '#' + encodeURIComponent(JSON.stringify(cmi)) : ''));
    await page.waitForFunction(() => {
      const frame = document.getElementById('sco').contentDocument;
      return frame && frame.getElementById('movie') && frame.getElementById('movie').readyState >= 1;
    }, null, { timeout: 60000 });
    await page.waitForTimeout(500);  // a seek on launch lands
    return sco().evaluate(() => ({ movieAtMs: Math.round(document.getElementById('movie').currentTime * 1000),
                                   durationMs: window.orvandelLesson.durationMs() }));
  };
  // The SCO's page goes away, as when the student leaves the lesson.
  const leave = () => page.evaluate(() => new Promise(ok => {
    const frame = document.getElementById('sco');
    frame.addEventListener('load', ok, { once: true });
    frame.src = 'about:blank';
  }));
  const lms = () => page.evaluate(() => ({ calls: window.calls,
    cmi: { lesson_status: API.cmi.core.lesson_status, lesson_location: API.cmi.core.lesson_location,
           suspend_data: API.cmi.suspend_data } }));

  // First launch.
  const first = await open(1);
  const seekTo = async ms => sco().evaluate(ms => new Promise(ok => {
    const video = document.getElementById('movie');
    video.addEventListener('seeked', ok, { once: true });
    window.orvandelLesson.seek(ms);
  }), ms);
  await seekTo(Math.max(0, first.durationMs - 3000));
  first.ended = await sco().evaluate(() => new Promise(ok => {
    const video = document.getElementById('movie');
    video.addEventListener('ended', () => ok(true), { once: true });
    setTimeout(() => ok(false), 20000);
    video.play();
  }));
  first.backToMs = Math.round(first.durationMs * 0.4);
  await seekTo(first.backToMs);
  await page.waitForTimeout(300);
  await leave();
  Object.assign(first, await lms());
  result.first = first;

  // Second launch, resumed with what the first left.
  const { lesson_status, lesson_location, suspend_data } = first.cmi;
  const second = await open(2, { core: { lesson_status, lesson_location, entry: 'resume' }, suspend_data });
  await leave();
  Object.assign(second, await lms());
  result.second = second;
} finally {
  await browser.close();
  server.close();
}
console.log(JSON.stringify(result));
