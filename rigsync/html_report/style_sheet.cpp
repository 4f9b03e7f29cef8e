// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/style_sheet.h"

namespace rigsync {

const char* Style_Sheet() {
  return R"(:root {
  color-scheme: light dark;
  --paper: #ffffff; --ink: #1b1f24; --quiet: #59636e; --line: #d1d9e0; --soft: #f3f5f7;
  --good: #1a7f37; --warn: #9a6700; --bad: #cf222e;
  --kept: #0969da; --dropped: #cf222e; --found: #bc4c00; --predicted: #0969da;
  --camera: #6639ba; --board: #1b7c83;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --paper: #0d1117; --ink: #e6edf3; --quiet: #9198a1; --line: #3d444d; --soft: #161b22;
    --good: #3fb950; --warn: #d29922; --bad: #ff7b72;
    --kept: #4493f8; --dropped: #ff7b72; --found: #f0883e; --predicted: #58a6ff;
    --camera: #b392f0; --board: #56d4dd;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, "Segoe UI", "Liberation Sans", sans-serif;
}
main { max-width: 72rem; margin: 0 auto; padding: 1rem; }
h1, h2, h3 { line-height: 1.25; text-wrap: balance; }
h2 { margin: 2.5rem 0 0.5rem; padding-top: 0.5rem; border-top: 1px solid var(--line); }
h3 { margin: 0; font-size: 1rem; }
p { margin: 0.25rem 0 0.75rem; max-width: 44rem; }
figure { margin: 1rem 0; break-inside: avoid; }
figcaption p { color: var(--quiet); }
svg { display: block; width: 100%; height: auto; max-height: 90vh; font: 12px/1.2 system-ui, sans-serif; }
img { max-width: 100%; height: auto; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; }
th, td { padding: 0.2rem 0.75rem 0.2rem 0; text-align: left; vertical-align: top; }
td.number, th.number { text-align: right; }
.table { overflow-x: auto; }
.pair { display: grid; grid-template-columns: repeat(auto-fit, minmax(20rem, 1fr)); gap: 1rem 2rem; }
.quiet { color: var(--quiet); }
a { color: var(--kept); }
.axis { stroke: var(--quiet); fill: none; }
.grid { stroke: var(--line); fill: none; }
.tick, .label, .note { fill: var(--quiet); stroke: none; }
.label { fill: var(--ink); }
.kept { fill: var(--kept); stroke: var(--kept); }
.dropped { fill: none; stroke: var(--dropped); stroke-width: 2; }
.good { fill: var(--good); stroke: var(--good); }
.warn { fill: var(--warn); stroke: var(--warn); }
.bad { fill: var(--bad); stroke: var(--bad); }
.found { fill: none; stroke: var(--found); }
.predicted { fill: none; stroke: var(--predicted); }
.arrow { fill: none; stroke: var(--predicted); }
.camera { fill: none; stroke: var(--camera); stroke-width: 2; }
.tracker { fill: none; stroke: var(--warn); stroke-width: 2; }
.board { fill: none; stroke: var(--board); }
.reference { fill: none; stroke: var(--quiet); stroke-dasharray: 4 3; }
@media print {
  body { font-size: 10pt; }
  main { max-width: none; padding: 0; }
  a { color: inherit; text-decoration: none; }
}
)";
}

}  // namespace rigsync
