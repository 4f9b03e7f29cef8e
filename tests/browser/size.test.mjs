// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { statSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { launch, visit, VARIANTS } from './browser.mjs';
import { resultOf } from './captures.mjs';

const MOST_BYTES = 5_000_000;  // what still goes by mail

test('the page of 60 images of 1920 x 1080 pixels has at most 5 MB', async () => {
  const page = join(resultOf('large'), 'report.html');
  assert.ok(statSync(page).size <= MOST_BYTES, `${statSync(page).size} bytes`);
  const browser = await launch();
  const complaints = await visit(browser, page, VARIANTS[0], { picture: 'large' });
  await browser.close();
  assert.deepEqual(complaints, []);
});
