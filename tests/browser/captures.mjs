// SPDX-License-Identifier: Apache-2.0
//
// Calibrations whose pages the tests open, each made once for a build folder: simulated, with small
// images.
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

const PROGRAM = process.env.RIGSYNC_PROGRAM;
const FOLDER = new URL('./captures/', import.meta.url).pathname;
export const EVIL_NAME = '<script>alert(1)</script>&".png';

const SMALL = ['--size', '960x540', '--paths', 'relative', '--quiet'];
const STEADY = ['--position-noise', '0.2mm', '--rotation-noise', '0.01'];
const STATED = ['--board', '11x8', '--square', '30mm'];

// Exit status, the flags of simulate and those of calibrate, and what is done to the capture.
const CASES = {
  good: { status: 0, simulate: [...SMALL, ...STEADY, '--images', '12'] },
  look: { status: 20, simulate: [...SMALL, ...STEADY, '--images', '16', '--jumped', '1',
                                 '--blank', '1'], prepare: putBadRowLast },
  refused: { status: 21, simulate: [...SMALL, '--images', '16', '--spread', 'one-axis',
                                    '--position-noise', '0.5mm', '--rotation-noise', '0.05'] },
  library: { status: 0, simulate: [...SMALL, ...STEADY, '--images', '12'],
             calibrate: ['--library-only'], stage: true },
  many: { status: 0, simulate: [...SMALL, ...STEADY, '--images', '60', '--stale', '3'] },
  few: { status: 4, simulate: [...SMALL, '--images', '6', '--blank', '3'] },
  evil: { status: 0, simulate: [...SMALL, ...STEADY, '--images', '12'], prepare: renameImage },
  large: { status: 0, simulate: [...STEADY, '--paths', 'relative', '--quiet', '--images', '60'] },
};

function linesOf(csv) {
  return readFileSync(csv, 'utf8').trimEnd().split('\n');
}

// A last row that contradicts the others asks for a look.
function putBadRowLast(folder) {
  const csv = join(folder, 'capture.csv');
  const truth = JSON.parse(readFileSync(join(folder, 'truth.json'), 'utf8'));
  const [header, ...rows] = linesOf(csv);
  const bad = truth.images.findIndex((image) => image.kind === 'jumped');
  rows.push(...rows.splice(bad, 1));
  writeFileSync(csv, [header, ...rows].join('\n') + '\n');
}

// The slash makes it two: a folder, and the image in it.
function renameImage(folder) {
  const csv = join(folder, 'capture.csv');
  const lines = linesOf(csv);
  const [time, name, ...rest] = lines[3].split(',');
  mkdirSync(join(folder, dirname(EVIL_NAME)), { recursive: true });
  renameSync(join(folder, name), join(folder, EVIL_NAME));
  lines[3] = [time, EVIL_NAME, ...rest].join(',');
  writeFileSync(csv, lines.join('\n') + '\n');
}

// Runs the command and checks its exit status.
export function rigsync(args, status = 0) {
  const done = spawnSync(PROGRAM, args, { encoding: 'utf8' });
  if (done.status !== status) {
    throw new Error(`rigsync ${args.join(' ')}: exit status ${done.status}, not ${status}:\n` +
                    done.stdout + done.stderr);
  }
  return done.stdout;
}

// The output folder of a case's calibration: report.html, result.json and the run's folder.
export function resultOf(name) {
  const { status, simulate, calibrate = [], stage = false, prepare } = CASES[name];
  const folder = join(FOLDER, name), out = join(folder, 'result');
  const made = join(folder, 'made-by');
  // Made again when the command is another.
  const stamp = execFileSync('sha256sum', [PROGRAM], { encoding: 'utf8' });
  if (existsSync(made) && readFileSync(made, 'utf8') === stamp) return out;
  rmSync(folder, { recursive: true, force: true });
  rigsync(['simulate', folder, ...simulate]);
  if (prepare) prepare(folder);
  const board = stage ? ['--config', join(folder, 'stage.json')] : STATED;
  rigsync(['calibrate', join(folder, 'capture.csv'), ...board, ...calibrate, '--quiet', '--out',
           out], status);
  writeFileSync(made, stamp);
  return out;
}
