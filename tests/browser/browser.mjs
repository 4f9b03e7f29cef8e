// SPDX-License-Identifier: Apache-2.0
//
// Opens a file in a headless Chromium as a reader would, and lists everything that a page of a
// report must not do.
import { createRequire } from 'node:module';
import { mkdirSync } from 'node:fs';
import { pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';

const axe = createRequire(import.meta.url)('axe-core');

// Inner width and height in CSS pixels. Print is an A4 sheet between margins of 15 mm.
const SIZES = {
  wide: { width: 1280, height: 900 },
  phone: { width: 360, height: 740 },
  print: { width: 680, height: 1000 },
};
export const VARIANTS = [
  { name: 'wide', size: SIZES.wide, scheme: 'light', media: 'screen' },
  { name: 'wide-dark', size: SIZES.wide, scheme: 'dark', media: 'screen' },
  { name: 'phone', size: SIZES.phone, scheme: 'light', media: 'screen' },
  { name: 'phone-dark', size: SIZES.phone, scheme: 'dark', media: 'screen' },
  { name: 'print', size: SIZES.print, scheme: 'light', media: 'print' },
  { name: 'print-dark', size: SIZES.print, scheme: 'dark', media: 'print' },
];
export const SCREENSHOTS = new URL('./screenshots/', import.meta.url).pathname;

export function launch() {
  return chromium.launch({
    executablePath: process.env.RIGSYNC_CHROMIUM || '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
           '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
}

// What the browser itself complains of, from before the page is loaded.
function listen(page, url) {
  const complaints = [];
  page.on('console', (message) => complaints.push(`console: ${message.text()}`));
  page.on('pageerror', (error) => complaints.push(`error: ${error.message}`));
  page.on('dialog', (dialog) => {
    complaints.push(`dialog: ${dialog.message()}`);
    dialog.dismiss();
  });
  page.on('request', (request) => {
    if (request.url() !== url && !request.url().startsWith('data:')) {
      complaints.push(`request: ${request.url()}`);
    }
  });
  return complaints;
}

// A function that evaluates an expression in the page. The page's policy forbids scripts, so these
// come through the debugger, which it doesn't bind. The session stays open: the end of one resets
// the emulated medium.
async function debuggerOf(page) {
  const session = await page.context().newCDPSession(page);
  return async (expression) => {
    const answer = await session.send('Runtime.evaluate',
      { expression, awaitPromise: true, returnByValue: true });
    if (answer.exceptionDetails) {
      throw new Error(answer.exceptionDetails.exception?.description || 'evaluation failed');
    }
    return answer.result.value;
  };
}

// Elements that stick out of the page.
const FIND_OVERFLOW = `(() => {
  const found = [];
  const root = document.documentElement;
  if (root.scrollWidth > root.clientWidth) {
    found.push('overflow: the page is ' + root.scrollWidth + ' px wide in ' + root.clientWidth);
    for (const each of document.querySelectorAll('body *')) {
      const right = each.getBoundingClientRect().right;
      if (right > root.clientWidth + 1 && !each.closest('.table, .drawing')) {
        found.push('overflow: ' + each.tagName + '.' + each.className + ' ends at ' + right);
      }
    }
  }
  return found.slice(0, 10);
})()`;

// What a reader scrolls on a screen and nobody can on paper.
const FIND_CLIPPED = `[...document.querySelectorAll('.table, .drawing')]
  .filter((each) => each.scrollWidth > each.clientWidth + 1)
  .map((each) => 'clipped in print: ' + each.textContent.slice(0, 60))`;

const RUN_AXE = `axe.run(document, { preload: false }).then((found) => found.violations.map(
  (each) => 'axe: ' + each.id + ': ' + each.help + ': ' +
    each.nodes.slice(0, 3).map((node) => node.html + ' ' + node.failureSummary).join(' | ')))`;

// Opens file in one of VARIANTS and returns its complaints, none for a good page. Inspect, where
// given, gets a function that evaluates an expression in the page.
export async function visit(browser, file, variant, { picture, inspect } = {}) {
  const isPrint = variant.media === 'print';
  const context = await browser.newContext({ viewport: variant.size, colorScheme: variant.scheme });
  const page = await context.newPage();
  const evaluate = await debuggerOf(page);
  await page.emulateMedia({ media: variant.media, colorScheme: variant.scheme });
  const url = pathToFileURL(file).href;
  const complaints = listen(page, url);
  await page.goto(url, { waitUntil: 'load' });
  await evaluate('new Promise((done) => requestAnimationFrame(() => setTimeout(done, 50)))');
  if (picture) {
    mkdirSync(SCREENSHOTS, { recursive: true });
    await page.screenshot({ path: `${SCREENSHOTS}${picture}-${variant.name}.png`, fullPage: true });
    if (variant.name === 'print') {
      await page.pdf({ path: `${SCREENSHOTS}${picture}.pdf`, format: 'A4', printBackground: true });
    }
  }
  complaints.push(...await evaluate(FIND_OVERFLOW));
  if (isPrint) complaints.push(...await evaluate(FIND_CLIPPED));
  await evaluate(`${axe.source}; 0`);
  complaints.push(...await evaluate(RUN_AXE));
  if (inspect) await inspect(evaluate);
  await context.close();
  return complaints;
}
