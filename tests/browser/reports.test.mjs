// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { launch, visit, VARIANTS } from './browser.mjs';
import { EVIL_NAME, resultOf } from './captures.mjs';

let browser;
before(async () => { browser = await launch(); });
after(() => browser.close());

// What the first heading of each page says, and the shape of its sign.
const VERDICTS = {
  good: ['agree', 'Usable.'],
  look: ['look', 'Look before you use it.'],
  refused: ['dont_use', "Don't use it."],
  library: ['look', 'Usable, but unconfirmed.'],
  many: ['agree', 'Usable.'],
  few: ['dont_use', "Don't use it."],
};

const DEAD_LINKS = `[...document.querySelectorAll('a')].map((each) => each.getAttribute('href'))
  .filter((href) => !href.startsWith('#') || !document.getElementById(href.slice(1)))`;

const pageOf = (name) => join(resultOf(name), 'report.html');
const jsonOf = (name) => JSON.parse(readFileSync(join(resultOf(name), 'result.json'), 'utf8'));

for (const [name, [tone, words]] of Object.entries(VERDICTS)) {
  for (const variant of VARIANTS) {
    test(`the page of the ${name} run is sound: ${variant.name}`, async () => {
      const inspect = async (evaluate) => {
        assert.equal(await evaluate('document.querySelector("h1").textContent'), words);
        assert.equal(await evaluate('document.getElementById("verdict").className'),
                     `verdict ${tone}`);
        assert.deepEqual(await evaluate(DEAD_LINKS), []);
        // Verdict and next step are there before anything scrolls.
        if (variant.name === 'wide') {
          const top = await evaluate('document.querySelector(".next").getBoundingClientRect().top');
          assert.ok(top < 700, `the next step begins at ${top} px`);
        }
      };
      assert.deepEqual(await visit(browser, pageOf(name), variant, { picture: name, inspect }), []);
    });
  }
}

test('markup in the name of an image is shown and does nothing', async () => {
  const inspect = async (evaluate) => {
    assert.ok((await evaluate('document.body.textContent')).includes(EVIL_NAME));
    assert.equal(await evaluate('document.querySelectorAll("script").length'), 0);
  };
  assert.deepEqual(await visit(browser, pageOf('evil'), VARIANTS[0], { inspect }), []);
});

// The value at "joint.half_width_mm.0" and the like.
function valueAt(root, key) {
  return key.split('.').reduce((at, name) => at?.[name], root);
}

const HOOKS = `[...document.querySelectorAll('[data-key]')].map((each) => ({
  key: each.dataset.key, value: each.dataset.value, factor: Number(each.dataset.factor || 1),
  text: each.closest('svg') ? null : each.textContent }))`;

// Half a unit of the last digit that is shown. Numbers of two figures end in zeros from 100 on.
function roundingOf(text) {
  const [whole, decimals = ''] = text.split('.');
  const zeros = !decimals && whole.length > 2 ? /0*$/.exec(whole)[0].length : 0;
  return 0.5 * 10 ** (zeros - decimals.length) * 1.000001;
}

// The number in "\u00b1 0.34 px".
const numberIn = (text) => /-?[0-9][0-9.]*/.exec(text)?.[0];

function checkHook(root, hook) {
  const expected = valueAt(root, hook.key);
  assert.notEqual(expected, undefined, `result.json has no ${hook.key}`);
  if (typeof expected === 'string') return assert.equal(hook.value, expected, hook.key);
  if (expected === null) return assert.equal(hook.value, 'null', hook.key);
  assert.equal(Number(hook.value), expected, hook.key);
  if (hook.text === null) return undefined;  // a mark of a drawing, which shows it by its place
  const shown = numberIn(hook.text);
  assert.ok(shown !== undefined, `${hook.key}: no number in ${hook.text}`);
  assert.ok(Math.abs(Number(shown) - expected * hook.factor) <= roundingOf(shown),
            `${hook.key}: ${hook.text} is shown for ${expected}`);
  return undefined;
}

// The rotation vector of a rotation, degrees, from its trace and its antisymmetric part.
function turnOf(t) {
  const angle = Math.acos((t[0] + t[5] + t[10] - 1) / 2);
  const scale = (angle * 180 / Math.PI) / (2 * Math.sin(angle));
  return [t[9] - t[6], t[2] - t[8], t[4] - t[1]].map((each) => each * scale);
}

const xyz = (key) => [0, 1, 2].map((k) => `${key}.${k}`);
const MOUNT_KEYS = ['second_opinion.difference_mm', 'second_opinion.difference_deg',
  'second_opinion.limits.mm', 'second_opinion.limits.deg', ...xyz('joint.half_width_mm'),
  ...xyz('joint.half_width_deg'), 'joint.at_talent.half_width_mm', 'joint.at_talent.half_width_px',
  ...[3, 7, 11].map((k) => `joint.transform_cam_tc.${k}`)];
const LIBRARY_KEYS = ['code', 'message', 'seconds', 'begun', 'inputs.square_m',
  ...[3, 7, 11].map((k) => `library.transform_cam_tc.${k}`),
  ...Array.from({ length: 16 }, (_, k) => `transform_cam_tc.${k}`), 'lens.norm_fxy.0',
  'lens.norm_fxy.1', 'lens.norm_cxy.0', 'lens.norm_cxy.1', 'lens.distortion.0',
  'lens.image_size.0', 'quality.reprojection_px', 'versions.rigsync', 'versions.rigsync_core'];

for (const name of ['good', 'look', 'refused', 'library', 'many', 'few']) {
  test(`the numbers in the page of the ${name} run are those of result.json`, async () => {
    const root = jsonOf(name);
    const inspect = async (evaluate) => {
      const hooks = await evaluate(HOOKS);
      for (const hook of hooks) checkHook(root, hook);
      const keys = hooks.map((hook) => hook.key);
      assert.ok(keys.includes('code'), 'no number is marked with its key');
      if (name !== 'few') {
        for (const key of LIBRARY_KEYS) assert.ok(keys.includes(key), key);
      }
      if (root.joint && name !== 'few') {
        for (const key of MOUNT_KEYS) assert.ok(keys.includes(key), key);
      }
      const turns = await evaluate(`[...document.querySelectorAll('[data-turn]')].map(
        (each) => [each.dataset.turn, Number(each.textContent)])`);
      assert.equal(turns.length, name === 'few' ? 0 : name === 'library' ? 3 : 6);
      for (const [hook, shown] of turns) {
        const [mount, k] = hook.split('.');
        const expected = turnOf(root[mount].transform_cam_tc)[Number(k)];
        assert.ok(Math.abs(shown - expected) < 0.00051, `${hook}: ${shown} for ${expected}`);
      }
    };
    await visit(browser, pageOf(name), VARIANTS[0], { inspect });
  });
}
