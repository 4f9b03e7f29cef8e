// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/style_sheet.h"

namespace rigsync {

// Colours of texts have a contrast of 4.5 to 1 with paper, soft and tint, in both schemes.
const char* Style_Sheet() {
  return R"(:root {
  color-scheme: light dark;
  --paper: #ffffff; --ink: #1b1f24; --quiet: #545d68; --line: #d1d9e0; --soft: #f3f5f7;
  --good: #116329; --warn: #7d4e00; --bad: #b31d28;
  --good-tint: #e3f5e7; --warn-tint: #fff3d1; --bad-tint: #ffe8e8;
  --kept: #0757ba; --dropped: #b31d28; --found: #a53f00; --predicted: #0757ba;
  --camera: #5a32a3; --board: #0f6469;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --paper: #0d1117; --ink: #e6edf3; --quiet: #9ea7b0; --line: #3d444d; --soft: #161b22;
    --good: #56d364; --warn: #e3b341; --bad: #ff8d85;
    --good-tint: #12261a; --warn-tint: #2b2111; --bad-tint: #301a1c;
    --kept: #58a6ff; --dropped: #ff8d85; --found: #f0883e; --predicted: #58a6ff;
    --camera: #b392f0; --board: #56d4dd;
  }
}
* { box-sizing: border-box; }
html { scroll-behavior: smooth; scroll-padding-top: 1rem; }
body {
  margin: 0; background: var(--paper); color: var(--ink); overflow-wrap: break-word;
  font: 16px/1.5 system-ui, "Segoe UI", "Liberation Sans", sans-serif;
}
main { max-width: 72rem; margin: 0 auto; padding: 1rem; }
h1, h2, h3 { line-height: 1.25; text-wrap: balance; }
h1.page-title { margin: 0; font-size: 1.5rem; }
h2 { margin: 2.5rem 0 0.5rem; padding-top: 0.75rem; border-top: 1px solid var(--line); }
h1.page-title + section h2:first-child { margin-top: 1rem; }
h3 { margin: 0; font-size: 1rem; }
p { margin: 0.25rem 0 0.75rem; max-width: 44rem; }
figure { margin: 1rem 0; break-inside: avoid; }
figcaption p { color: var(--quiet); }
svg { display: block; max-width: 100%; height: auto; font: 12px/1.2 system-ui, sans-serif; }
img { max-width: 100%; height: auto; }
.drawing { overflow-x: auto; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; }
caption { text-align: left; font-weight: 600; padding: 0.5rem 0 0.25rem; }
th, td { padding: 0.2rem 0.9rem 0.2rem 0; text-align: left; vertical-align: top; }
tbody th { font-weight: 400; color: var(--quiet); }
thead th { font-weight: 600; }
tbody tr { border-top: 1px solid var(--line); }
td.number, th.number { text-align: right; white-space: nowrap; }
td.words, td.hash { overflow-wrap: anywhere; }
td.hash { font: 0.8rem/1.5 ui-monospace, monospace; }
tr.chosen th, tr.chosen td { font-weight: 700; color: var(--ink); }
.table { overflow-x: auto; margin: 0.5rem 0; }
.pair {
  display: grid; gap: 0.5rem 2.5rem;
  grid-template-columns: repeat(auto-fit, minmax(min(22rem, 100%), 1fr));
}
.pair div { min-width: 0; }
.quiet { color: var(--quiet); }
.missing { border-left: 0.25rem solid var(--warn); padding-left: 0.75rem; }
details { margin: 0.75rem 0; }
summary { cursor: pointer; font-weight: 600; padding: 0.25rem 0; }
pre {
  margin: 0 0 0.75rem; padding: 0.5rem 0.75rem; background: var(--soft); white-space: pre-wrap;
  border: 1px solid var(--line); border-radius: 0.25rem; overflow-wrap: anywhere;
}
code { font: 0.9em/1.4 ui-monospace, "Liberation Mono", monospace; }
a { color: var(--kept); }
:focus-visible { outline: 3px solid var(--kept); outline-offset: 2px; }
.verdict {
  display: grid; grid-template-columns: auto minmax(0, 1fr); gap: 0 1.5rem;
  padding: 1.25rem 1.5rem; border: 2px solid var(--tone); border-radius: 0.5rem;
  background: var(--tint); break-inside: avoid;
}
.agree { --tone: var(--good); --tint: var(--good-tint); }
.look { --tone: var(--warn); --tint: var(--warn-tint); }
.dont_use { --tone: var(--bad); --tint: var(--bad-tint); }
.verdict h1 { margin: 0; font-size: 2.5rem; color: var(--tone); }
.verdict h2 { margin: 0.75rem 0 0.25rem; padding: 0; border: 0; font-size: 1.1rem; }
.verdict ul { margin: 0 0 0.75rem; padding-left: 1.25rem; }
.reason { font-size: 1.2rem; line-height: 1.4; }
.sign { width: 5rem; height: 5rem; }
.sign-shape { fill: var(--tone); }
.sign-mark {
  fill: none; stroke: var(--tint); stroke-width: 5; stroke-linecap: round; stroke-linejoin: round;
}
.contents ul { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; margin: 1rem 0; padding: 0; }
.contents li { list-style: none; }
.axis { stroke: var(--quiet); fill: none; }
.grid { stroke: var(--line); fill: none; }
.tick, .label, .note { fill: var(--quiet); stroke: none; }
.label { fill: var(--ink); }
.kept { fill: var(--kept); stroke: var(--kept); }
.dropped { fill: none; stroke: var(--dropped); stroke-width: 2; }
.aside { stroke: var(--quiet); }
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
.stale { fill: none; stroke: var(--warn); stroke-width: 2; }
.slip { fill: none; stroke: var(--bad); stroke-width: 2; stroke-dasharray: 6 3; }
.warn-text { color: var(--warn); font-weight: 600; }
.cell { fill: var(--kept); stroke: none; }
.gap { fill: var(--soft); stroke: var(--line); stroke-dasharray: 2 2; }
.gap-mark { fill: none; stroke: var(--quiet); }
.dot { fill: var(--ink); stroke: none; }
.dots { fill: none; stroke: var(--ink); stroke-width: 1.6; stroke-linecap: round; }
.ring { fill: none; stroke: var(--line); }
.ray { stroke: var(--kept); stroke-opacity: 0.4; fill: none; }
.band { fill: var(--kept); fill-opacity: 0.2; stroke: none; }
.matrix th, .matrix td { padding: 0.35rem 0.6rem; }
.shade-1 { background: color-mix(in srgb, var(--kept) 8%, transparent); }
.shade-2 { background: color-mix(in srgb, var(--kept) 16%, transparent); }
.shade-3 { background: color-mix(in srgb, var(--kept) 26%, transparent); }
.shade-4 { background: color-mix(in srgb, var(--kept) 38%, transparent); }
.shade-5 { background: color-mix(in srgb, var(--kept) 52%, transparent); }
.trio {
  display: grid; gap: 1rem 2rem;
  grid-template-columns: repeat(auto-fit, minmax(17rem, 1fr));
}
.trio figure { display: grid; grid-template-rows: subgrid; grid-row: span 2; gap: 0.5rem; }
svg.framed { max-width: 42rem; }
@media screen and (max-width: 40rem) {
  .wide svg { max-width: none; width: 34rem; }
  .verdict { padding: 1rem; gap: 0 0.75rem; }
  .verdict h1 { font-size: 1.75rem; line-height: 3rem; }
  .verdict .text { display: contents; }
  .verdict .text p, .verdict .text ul, .verdict .text .pair { grid-column: 1 / -1; }
  .sign { width: 3rem; height: 3rem; }
  .reason { font-size: 1.1rem; }
  th, td { padding-right: 0.6rem; }
}
@media print {
  @page { margin: 15mm; }
  body { font-size: 10pt; background: none; }
  main { max-width: none; padding: 0; }
  a { color: inherit; text-decoration: none; }
  h2, h2 + p, h3, caption, figcaption, thead { break-after: avoid; }
  tr, img, svg, .table { break-inside: avoid; }
  .contents { display: none; }
  .drawing, .table { overflow: visible; }
  .matrix th, .matrix td { padding: 1mm; font-size: 8pt; }
  .pair { grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 0 8mm; }
  .verdict h1 { font-size: 24pt; }
  .reason { font-size: 12pt; }
  .sign { width: 16mm; height: 16mm; }
  .verdict, .sign, svg { print-color-adjust: exact; }
}
)";
}

}  // namespace rigsync
