// SPDX-License-Identifier: Apache-2.0
//
// draw_report.mjs REPORTS DOCS: takes the pictures of docs/report.md from the reports that
// scripts/draw-report made in REPORTS, and writes them to DOCS. Each shows one section of a good
// report and, beside it, of a bad one.
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { launch } from './browser.mjs';

// Section of the page, and the report that shows it when something is wrong.
const PAIRS = [
  ['verdict', 'one-axis'],
  ['rig', 'one-axis'],
  ['images', 'stale'],
  ['scale', 'stale'],
  ['frame', 'noisy'],
  ['coverage', 'centred'],
  ['poses', 'frontal'],
  ['samples', 'stale'],
  ['lens', 'frontal'],
  ['cross-check', 'noisy'],
];
const WIDTH = 720, SHOWN_WIDTH = 600, MOST_HEIGHT = 1100;  // of one picture, CSS pixels

const [reports, docs] = process.argv.slice(2);

async function open(browser, report) {
  const page = await browser.newPage({
    viewport: { width: WIDTH, height: MOST_HEIGHT }, deviceScaleFactor: 1.5, colorScheme: 'light',
  });
  await page.goto(pathToFileURL(join(reports, report, 'result', 'report.html')).href);
  return page;
}

// The beginning of a section, as a data URL.
async function picture(page, section) {
  const box = await page.locator(`#${section}`).boundingBox();
  if (!box) throw new Error(`the report has no section ${section}`);
  const height = Math.min(box.height, MOST_HEIGHT);
  const png = await page.screenshot({
    clip: { x: 0, y: box.y, width: WIDTH, height }, fullPage: true,
  });
  return `data:image/png;base64,${png.toString('base64')}`;
}

async function beside(browser, good, bad, file) {
  const page = await browser.newPage({ viewport: { width: 2 * SHOWN_WIDTH + 20, height: 100 } });
  await page.setContent(`<body style="margin:0;background:#fff;font:16px sans-serif">
    <div style="display:flex;gap:20px;align-items:flex-start">
    <div>Good<br><img width="${SHOWN_WIDTH}" src="${good}"></div>
    <div>Bad<br><img width="${SHOWN_WIDTH}" src="${bad}"></div></div></body>`);
  await page.screenshot({ path: file, fullPage: true, type: 'jpeg', quality: 85 });
  await page.close();
}

// The beginning of the good report, for README.md.
async function beginning(browser, file) {
  const page = await browser.newPage({
    viewport: { width: 1100, height: 900 }, colorScheme: 'light',
  });
  await page.goto(pathToFileURL(join(reports, 'good', 'result', 'report.html')).href);
  const box = await page.locator('#mount').boundingBox();
  await page.screenshot({
    path: file, type: 'jpeg', quality: 85,
    clip: { x: 0, y: 0, width: 1100, height: Math.ceil(box.y + box.height) }, fullPage: true,
  });
}

const browser = await launch();
await beginning(browser, join(docs, 'report.jpg'));
const pages = {};
for (const report of new Set(['good', ...PAIRS.map(([, bad]) => bad)])) {
  pages[report] = await open(browser, report);
}
for (const [section, bad] of PAIRS) {
  const file = join(docs, `report-${section}.jpg`);
  await beside(browser, await picture(pages.good, section), await picture(pages[bad], section),
    file);
  console.log(`${file}: ${Math.round(readFileSync(file).length / 1024)} kB`);
}
await browser.close();
