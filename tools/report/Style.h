// tools/report/Style.h: the style sheet of the report's pages.
// The series colours are those of Okabe and Ito, which people with any colour vision can
// distinguish; lighter ones of the same hues on a dark background.
#pragma once

namespace tarvek::tools {

inline constexpr const char* kReportStyle = R"css(
:root {
  color-scheme: light dark;
  --ground: #f4f6f8; --card: #ffffff; --ink: #1c2733; --soft: #55626f; --rule: #d8dfe6;
  --s1: #0072b2; --s2: #e69f00; --s3: #009e73; --s4: #d55e00; --s6: #aab4be;
  --usual: #00704f; --look: #b04a00; --look-ground: #fdf0e4; --on-strong: #ffffff;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #11161c; --card: #1a2129; --ink: #e7edf3; --soft: #a3b0bd; --rule: #35404b;
    --s1: #56b4e9; --s2: #f0b93a; --s3: #2fc29a; --s4: #ff8c4f; --s6: #66727e;
    --usual: #4fd1a8; --look: #ffa366; --look-ground: #33261b; --on-strong: #10161c;
  }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--ink);
  font: 1rem/1.5 system-ui, "Segoe UI", Roboto, "Noto Sans", "DejaVu Sans", sans-serif; }
main { max-width: 1240px; margin: 0 auto; padding: 28px 20px 48px; }
h1 { font-size: 1.7rem; line-height: 1.2; margin: 0 0 4px; overflow-wrap: anywhere; }
h2 { font-size: 1.08rem; margin: 0; }
p { margin: 0; }
a { color: var(--s1); }
.lead { color: var(--soft); }
.summary { margin: 14px 0 0; }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(104px, 1fr)); gap: 10px;
  margin: 18px 0; padding: 0; list-style: none; }
.tiles li { background: var(--card); border: 1px solid var(--rule); border-radius: 8px;
  padding: 10px 12px; }
.tiles b { display: block; font-size: 1.2rem; line-height: 1.25; font-variant-numeric: tabular-nums;
  white-space: nowrap; }
.tiles small { font-size: .68em; font-weight: 600; margin-left: .15em; }
.tiles span { color: var(--soft); font-size: .82rem; line-height: 1.3; display: block; }
.cards { display: grid; grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 16px; }
@media (max-width: 860px) { .cards { grid-template-columns: 1fr; } }
.small.cards { grid-template-columns: repeat(auto-fill, minmax(330px, 1fr)); }
.card { background: var(--card); border: 1px solid var(--rule); border-radius: 10px;
  padding: 16px 18px; display: flex; flex-direction: column; gap: 10px; }
.card.look { border-color: var(--look); }
@media (min-width: 861px), print {
  .story > .card:last-child:nth-child(odd) { grid-column: 1 / -1; }
  .story > .card:last-child:nth-child(odd) { display: grid; grid-template-columns: repeat(2, minmax(0, 1fr));
    gap: 10px 34px; }
  .story > .card:last-child:nth-child(odd) > .head, .story > .card:last-child:nth-child(odd) > p
    { grid-column: 1 / -1; }
  .story > .card:last-child:nth-child(odd) > .nodata { grid-column: 1; }
  .story > .card:last-child:nth-child(odd) > dl { align-self: center; margin: 0; border: 0; padding: 0; }
}
.card p, .card dl { font-size: .92rem; }
.head { display: flex; justify-content: space-between; gap: 12px; align-items: baseline; }
.badge { font-size: .8rem; font-weight: 600; white-space: nowrap; color: var(--soft); }
.badge.usual { color: var(--usual); }
.badge.look { color: var(--look); background: var(--look-ground); border-radius: 6px;
  padding: 1px 8px; }
dl { margin: 0; display: grid; grid-template-columns: max-content 1fr; gap: 4px 10px;
  color: var(--soft); border-top: 1px solid var(--rule); padding-top: 10px; margin-top: auto; }
dt { font-weight: 600; color: var(--ink); }
dd { margin: 0; }
code { font: inherit; white-space: nowrap; color: var(--ink); }
.nodata { color: var(--soft); border: 1px dashed var(--rule); border-radius: 8px; padding: 40px 20px;
  text-align: center; }
.section { margin-top: 26px; }
.section h2 { margin-bottom: 8px; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; background: var(--card);
  border: 1px solid var(--rule); font-size: .9rem; }
th, td { text-align: left; padding: 7px 10px; border-bottom: 1px solid var(--rule);
  vertical-align: top; }
th { color: var(--soft); font-weight: 600; }
td.number, th.number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
th.number { white-space: normal; }
td.name { overflow-wrap: anywhere; min-width: 12em; }
td.out { color: var(--look); background: var(--look-ground); font-weight: 600; }
.bar { display: block; height: 4px; margin-top: 3px; background: var(--s1); margin-left: auto;
  border-radius: 2px; }
.advice { margin: 0; padding-left: 1.4em; } .advice li { margin-bottom: 6px; }
tr.differs td { color: var(--look); }
footer { margin-top: 28px; color: var(--soft); font-size: .85rem; }
svg { width: 100%; height: auto; display: block; overflow: visible; }
svg text { font: 12.5px system-ui, "Segoe UI", Roboto, "Noto Sans", "DejaVu Sans", sans-serif;
  fill: var(--soft); }
svg .label { fill: var(--ink); }
svg .value { fill: var(--ink); font-size: 11.5px; }
.small svg text { font-size: 19px; } .small svg .label { display: none; }
@media (max-width: 520px) { main { padding: 18px 12px 32px; } table { font-size: .84rem; }
  th, td { padding: 6px; } td.name { min-width: 9em; } }
@media (max-width: 520px) { .story svg text, .story svg .value { font-size: 16px; } }
.axis { stroke: var(--soft); stroke-width: 1; }
.grid { stroke: var(--rule); stroke-width: 1; }
.zero { stroke: var(--soft); stroke-width: 1; stroke-dasharray: 4 3; }
.s1 { fill: var(--s1); } .s2 { fill: var(--s2); } .s3 { fill: var(--s3); }
.s4 { fill: var(--s4); } .s6 { fill: var(--s6); }
path.outline { fill-opacity: .3; stroke-width: 2; stroke-linejoin: round; }
path.outline.s1 { stroke: var(--s1); } path.outline.s2 { stroke: var(--s2); }
.under { fill: var(--s1); fill-opacity: .18; }
.trace { fill: none; stroke: var(--s1); stroke-width: 1.5; stroke-linejoin: round; }
.dots { fill: none; stroke: var(--s1); stroke-width: 4; stroke-linecap: round;
  stroke-opacity: .6; }
.dot { fill: var(--s1); stroke: var(--card); stroke-width: 1.5; }
.median { fill: none; stroke: var(--s4); stroke-width: 2.4; stroke-linejoin: round; }
.median-edge { fill: none; stroke: var(--card); stroke-width: 5; stroke-linejoin: round;
  stroke-opacity: .8; }
.d1, .d2, .d3, .d4, .d5, .d6, .d7, .d8, .d9, .m1, .m2, .m3, .m4, .m5, .m6, .m7, .m8, .m9
  { fill: var(--s1); }
.m0 { fill: var(--rule); fill-opacity: .35; }
.d1, .m1 { fill-opacity: .14; } .d2, .m2 { fill-opacity: .24; } .d3, .m3 { fill-opacity: .35; }
.d4, .m4 { fill-opacity: .45; } .d5, .m5 { fill-opacity: .56; } .d6, .m6 { fill-opacity: .67; }
.d7, .m7 { fill-opacity: .78; } .d8, .m8 { fill-opacity: .89; }
svg .n1, svg .n2, svg .n3, svg .n4, svg .n5, svg .n6, svg .n7 { fill: var(--ink); }
svg .n8, svg .n9 { fill: var(--on-strong); font-weight: 600; }
@media (prefers-color-scheme: dark) { svg .n6, svg .n7 { fill: var(--on-strong); } }
@media print {
  :root {
    color-scheme: light;
    --ground: #ffffff; --card: #ffffff; --ink: #000000; --soft: #3c4650; --rule: #c3cad1;
    --s1: #0072b2; --s2: #e69f00; --s3: #009e73; --s4: #d55e00; --s6: #aab4be;
    --usual: #00704f; --look: #b04a00; --look-ground: #fdf0e4; --on-strong: #ffffff;
  }
  svg .n6, svg .n7 { fill: var(--ink); }
  * { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
  @page { size: A4; margin: 12mm; }
  html { font-size: 9.5px; }
  main { max-width: none; padding: 0; }
  .cards { grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 8px; }
  .small.cards { grid-template-columns: repeat(3, minmax(0, 1fr)); }
  .card { padding: 8px 10px; gap: 6px; border-radius: 0; break-inside: avoid; }
  .tiles { grid-template-columns: repeat(9, 1fr); gap: 4px; }
  .tiles li { padding: 4px 6px; border-radius: 0; }
  tr, .section h2 { break-inside: avoid; }
  .section h2 { break-after: avoid; }
  thead { display: table-header-group; }
  a { color: inherit; text-decoration: none; }
}
)css";

}  // namespace tarvek::tools
