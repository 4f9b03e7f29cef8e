// SPDX-License-Identifier: Apache-2.0
//
// The checks see what they are for: each of these pages has one fault, and is complained of.
import assert from 'node:assert/strict';
import { mkdirSync, writeFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { launch, visit, VARIANTS } from './browser.mjs';

const FOLDER = new URL('./faulty/', import.meta.url).pathname;
const [WIDE, , PHONE, , PRINT] = VARIANTS;
let browser;
before(async () => {
  mkdirSync(FOLDER, { recursive: true });
  browser = await launch();
});
after(() => browser.close());

const POLICY = '<meta http-equiv="Content-Security-Policy" content="default-src \'none\'">';

async function complaintsOf(name, body, { head = '', variant = WIDE } = {}) {
  const file = `${FOLDER}${name}.html`;
  writeFileSync(file, '<!DOCTYPE html><html lang="en"><head><meta charset="utf-8"><meta ' +
    `name="viewport" content="width=device-width">${head}<title>T</title></head><body><main>` +
    `<h1>T</h1>${body}</main></body></html>`);
  return visit(browser, file, variant);
}

test('each variant is what its name says', async () => {
  const faint = 'p { color: #bbb; }';
  const rules = {
    dark: `@media (prefers-color-scheme: dark) { ${faint} }`,
    print: `@media print { ${faint} }`,
    phone: `@media (max-width: 400px) { ${faint} }`,
  };
  for (const [word, rule] of Object.entries(rules)) {
    for (const variant of VARIANTS) {
      const found = await complaintsOf(word, '<p>Text</p>',
                                       { head: `<style>${rule}</style>`, variant });
      assert.equal(found.length > 0, variant.name.includes(word), `${word}, ${variant.name}`);
    }
  }
});

test('a page without a fault has no complaint', async () => {
  for (const variant of VARIANTS) {
    assert.deepEqual(await complaintsOf('sound', '<p>Text</p>', { head: POLICY, variant }), []);
  }
});

test('a script that the policy stops is complained of', async () => {
  const found = await complaintsOf('stopped', '<script>alert(1)</script>', { head: POLICY });
  assert.match(found.join('\n'), /console: .*Content Security Policy/);
});

test('a script that runs is complained of', async () => {
  const found = await complaintsOf('running', '<script>alert(1)</script>');
  assert.match(found.join('\n'), /dialog: 1/);
});

test('a style attribute that the policy stops is complained of', async () => {
  const found = await complaintsOf('style', '<p style="color: red">Text</p>', { head: POLICY });
  assert.match(found.join('\n'), /console: .*Content Security Policy/);
});

test('a request is complained of', async () => {
  const found = await complaintsOf('request', '<img src="other.png" alt="other">');
  assert.match(found.join('\n'), /request: file:.*other\.png/);
});

test('what is wider than a phone is complained of', async () => {
  const found = await complaintsOf('broad', '<pre>' + 'x'.repeat(200) + '</pre>',
                                   { variant: PHONE });
  assert.match(found.join('\n'), /overflow: the page is/);
});

test('a table that print cuts off is complained of', async () => {
  const found = await complaintsOf('clipped', '<div class="table"><pre>' + 'x'.repeat(200) +
    '</pre></div>', { head: '<style>.table { overflow: hidden; }</style>', variant: PRINT });
  assert.match(found.join('\n'), /clipped in print/);
});

test('faults of accessibility are complained of', async () => {
  assert.match((await complaintsOf('image', '<img src="data:," >')).join('\n'), /axe: image-alt/);
  assert.match((await complaintsOf('faint', '<p style="color: #bbb">Text</p>')).join('\n'),
               /axe: color-contrast/);
});
